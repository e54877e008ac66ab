// VarDataProcessor: a chart's data feed. Data sources by name, each with its
// variables; each variable is one typed column addressed by row index.
//
// Storage: numbers are contiguous 32-bit integers while every number of the
// column is a whole number in that range (group codes, counts, years: half
// the room of doubles), and contiguous doubles from the first other number
// on; strings are dictionary-encoded (one code per row, each distinct text
// stored once per column). A column allocates the numbers only once a number
// arrives and the codes only once a string arrives, so a column of one kind
// pays for that kind only. A cell
// never written reads as missing. Capacity starts at the source's initial
// size and grows geometrically; writes allocate nothing once the column has
// grown, and a string already in the column's dictionary allocates nothing.
// The latest write to a cell wins, whatever its kind. A NaN stored as a
// number stays a number (NaN), distinct from a missing cell.
//
// Rows at or beyond kMaxRows are refused (false), so a stray row index
// cannot make the feed allocate without bound.
//
// Not thread-safe. Records handed to AddVariable belong to the feed.
#ifndef CHARTXML_HOST_VARDATAPROCESSOR_H_
#define CHARTXML_HOST_VARDATAPROCESSOR_H_

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT VarDataProcessor {
 public:
  static constexpr std::uint32_t kMaxRows = 1u << 28;
  // A never-written number cell: a quiet NaN with a payload of its own, so
  // that it cannot be confused with a NaN a caller stored (those are stored
  // as the canonical quiet NaN).
  static constexpr std::uint64_t kMissingBits = 0x7ff8'0000'4d49'5353ull;

  // Grows a column's cells to hold `row` (doubling from `initialRows`, at
  // most kMaxRows); false, with nothing changed, when memory runs out.
  static bool GrowCells(void** data, std::size_t* capacity, std::size_t cellSize, std::uint32_t row,
                        std::uint32_t initialRows, std::size_t* allocations);

  class ColumnCells;
  // Moves a column's whole numbers into doubles, for its first number that
  // is not one; false, with nothing changed, when memory runs out.
  static bool WidenCells(ColumnCells& cells);

  // The cells of one kind of a column. Storage grows by doubling and is left
  // uninitialised: only the cells below `filled` are valid, and a write past
  // them marks the gap as missing, so sequential rows never pay for a fill.
  template <typename T>
  class Cells {
    static_assert(std::is_trivially_copyable_v<T>);  // grown with realloc

   public:
    Cells() = default;
    Cells(const Cells&) = delete;
    Cells& operator=(const Cells&) = delete;
    ~Cells() { std::free(data_); }

    bool covers(std::uint32_t row) const { return row < filled_; }
    T& operator[](std::uint32_t row) { return data_[row]; }
    const T& operator[](std::uint32_t row) const { return data_[row]; }
    std::size_t capacity() const { return capacity_; }
    std::uint32_t filled() const { return filled_; }
    void release() {
      std::free(data_);
      data_ = nullptr;
      capacity_ = 0;
      filled_ = 0;
    }

    // Stores `value` at `row`; false when the storage cannot grow.
    bool store(std::uint32_t row, T value, T missing, std::uint32_t initialRows,
               std::size_t* allocations) {
      if (row >= capacity_ && !GrowCells(reinterpret_cast<void**>(&data_), &capacity_, sizeof(T),
                                         row, initialRows, allocations)) [[unlikely]]
        return false;
      if (row > filled_) [[unlikely]]
        std::fill(data_ + filled_, data_ + row, missing);
      data_[row] = value;
      if (row >= filled_) filled_ = row + 1;
      return true;
    }

   private:
    T* data_ = nullptr;
    std::size_t capacity_ = 0;
    std::uint32_t filled_ = 0;
  };

  // What a write touches of a column: its numbers, its dictionary codes (0:
  // no string) and its row span. Defined here so that a writer in another
  // library stores a value inline, without a call per value; the column
  // (VarDataProcessor.cc) adds its dictionary and name.
  class ColumnCells {
   public:
    bool setNumber(std::uint32_t row, double value) {
      if (!wide_) [[likely]] {
        if (isWhole(value)) {
          if (!wholes_.store(row, static_cast<std::int32_t>(value), kMissingWhole, initialRows_,
                             allocations_)) [[unlikely]]
            return false;
          return numberStored(row);
        }
        if (!WidenCells(*this)) [[unlikely]]
          return false;
      }
      if (!numbers_.store(row, value != value ? std::numeric_limits<double>::quiet_NaN() : value,
                          std::bit_cast<double>(kMissingBits), initialRows_, allocations_))
          [[unlikely]]
        return false;
      return numberStored(row);
    }
    // Stores a code that the column's dictionary gave out (TextCode).
    bool setCode(std::uint32_t row, std::uint32_t code) {
      if (!codes_.store(row, code, 0, initialRows_, allocations_)) [[unlikely]]
        return false;
      if (numbers_.covers(row)) numbers_[row] = std::bit_cast<double>(kMissingBits);
      if (wholes_.covers(row)) wholes_[row] = kMissingWhole;
      if (row >= rows_) rows_ = row + 1;
      return true;
    }

   protected:
    friend class VarDataProcessor;
    // A never-written cell of the whole numbers; outside the range they take.
    static constexpr std::int32_t kMissingWhole = std::numeric_limits<std::int32_t>::min();

    ColumnCells(std::uint32_t initialRows, std::size_t* allocations)
        : initialRows_(initialRows), allocations_(allocations) {}
    ~ColumnCells() = default;

    // Whether `value` is kept exactly by an int32 other than kMissingWhole
    // (not -0, whose sign a double keeps).
    static bool isWhole(double value) {
      if (!(value >= -2147483647.0 && value <= 2147483647.0)) return false;
      const double back = static_cast<double>(static_cast<std::int32_t>(value));
      return std::bit_cast<std::uint64_t>(back) == std::bit_cast<std::uint64_t>(value);
    }
    bool numberStored(std::uint32_t row) {
      if (codes_.covers(row)) codes_[row] = 0;
      if (row >= rows_) rows_ = row + 1;
      return true;
    }

    Cells<std::int32_t> wholes_;  // the numbers until wide_
    Cells<double> numbers_;       // the numbers once wide_
    Cells<std::uint32_t> codes_;
    bool wide_ = false;
    std::uint32_t rows_ = 0;
    std::uint32_t initialRows_;
    std::size_t* allocations_;
  };

  class Column;
  // A variable's record: the caller allocates it with new, AddVariable takes it over
  // and ties it to its column (both pointers name the same column).
  struct CHARTXML_HOST_EXPORT _varinfo {
    Column* column = nullptr;
    ColumnCells* cells = nullptr;
  };

  // What one cell holds.
  enum class CellKind { Missing, Number, String };

  VarDataProcessor();
  ~VarDataProcessor();
  VarDataProcessor(const VarDataProcessor&) = delete;
  VarDataProcessor& operator=(const VarDataProcessor&) = delete;

  // Declares a data source; `initialRows` is the columns' first capacity
  // (capped at kMaxRows; 1024 when not positive). False when the name is taken.
  bool AddDataSource(const std::string& name, int initialRows);
  // Declares a variable of a source and takes over `record` (also on
  // failure; the record then stays untied and writes through it fail). False
  // when the record is null or was handed over before (it is left as it
  // is), the source is unknown or the name taken.
  bool AddVariable(const std::string& source, const std::string& name, _varinfo* record);

  // Stores a value at `row`. False for a null record, a record that is not
  // tied to a variable, a row >= kMaxRows, or when memory runs out.
  bool SetVariableValue(_varinfo* record, std::uint32_t row, double value);
  bool SetStringVariableValue(_varinfo* record, std::uint32_t row, std::string_view utf8);

  // The per-value path split in two, for a writer that remembers what a text
  // became: TextCode is the column's dictionary code of `utf8` (added when
  // new; 0 for a null or untied record or when memory runs out), and
  // StoreCode stores such a code, as SetStringVariableValue stores the text.
  // A code stays valid for the feed's lifetime. StoreNumber is
  // SetVariableValue, inline.
  std::uint32_t TextCode(_varinfo* record, std::string_view utf8);
  static bool StoreCode(_varinfo* record, std::uint32_t row, std::uint32_t code) {
    if (record == nullptr || record->cells == nullptr || row >= kMaxRows || code == 0) [[unlikely]]
      return false;
    return record->cells->setCode(row, code);
  }
  static bool StoreNumber(_varinfo* record, std::uint32_t row, double value) {
    if (record == nullptr || record->cells == nullptr || row >= kMaxRows) [[unlikely]]
      return false;
    return record->cells->setNumber(row, value);
  }

  // One more than the highest row written in any variable of the source; 0
  // for an unknown source.
  std::uint32_t GetRowCount(const std::string& source) const;

  // ---- Reading back (for the sending host and tests) ----------------------
  std::vector<std::string> SourceNames() const;
  // The source's variable names, in declaration order (empty when unknown).
  std::vector<std::string> VariableNames(const std::string& source) const;
  // A cell, by source, variable and row.
  CellKind Kind(const std::string& source, const std::string& variable, std::uint32_t row) const;
  std::optional<double> Number(const std::string& source, const std::string& variable,
                               std::uint32_t row) const;
  std::optional<std::string> Text(const std::string& source, const std::string& variable,
                                  std::uint32_t row) const;
  // The source as CSV (RFC 4180): a header of variable names, then one line
  // per row, each ending in "\n"; missing cells, NaN and the host's missing
  // value are empty. Numbers in the shortest text that reads back as the same
  // double (infinities "inf", "-inf"); texts that a reader could take for a
  // number are quoted, and a quoted field is always a text. "" for an unknown
  // source.
  std::string ToCsv(const std::string& source) const;

  // Where WriteCsv puts the CSV: at most kCsvBufferBytes at a time, in row
  // order. Drain returns false to stop the writing (the sink keeps its own
  // account of why); the bytes it was given are then the last. Called on
  // the thread that called WriteCsv only.
  class CHARTXML_HOST_EXPORT CsvSink {
   public:
    virtual ~CsvSink() = default;
    virtual bool Drain(std::string_view bytes) = 0;
  };
  static constexpr std::size_t kCsvBufferBytes = 64 * 1024;
  // Writes the source's CSV, the very bytes of ToCsv (which is this into a
  // string), to `sink`; nothing for an unknown source. False when the sink
  // refused bytes (or memory ran out). A source of tens of thousands of rows
  // is formatted on two threads, a second thread formatting every other
  // block of rows into a buffer of its own (a few hundred KiB, kept for the
  // call); smaller ones allocate nothing, their buffer on the stack.
  bool WriteCsv(const std::string& source, CsvSink& sink) const;

  // ---- Accounting -----------------------------------------------------------
  // Bytes the variable's values take: its arrays' capacity and its string
  // dictionary (texts plus an estimate of the per-entry overhead); 0 when
  // unknown.
  std::size_t BytesUsed(const std::string& source, const std::string& variable) const;
  // Number of heap allocations made for storage since construction: each
  // growth of a column, each new dictionary text and its table's growth.
  std::size_t Allocations() const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

#endif  // CHARTXML_HOST_VARDATAPROCESSOR_H_
