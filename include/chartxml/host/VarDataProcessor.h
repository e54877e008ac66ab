// VarDataProcessor: a chart's data feed. Data sources by name, each with its
// variables; each variable is one typed column addressed by row index.
//
// Storage: numbers are contiguous doubles, strings are dictionary-encoded
// (one code per row, each distinct text stored once per column). A column
// allocates the doubles only once a number arrives and the codes only once a
// string arrives, so a column of one kind pays for that kind only. A cell
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

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT VarDataProcessor {
 public:
  static constexpr std::uint32_t kMaxRows = 1u << 28;

  class Column;
  // A variable's record: the caller allocates it with new, AddVariable takes it over
  // and ties it to its column.
  struct CHARTXML_HOST_EXPORT _varinfo {
    Column* column = nullptr;
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
