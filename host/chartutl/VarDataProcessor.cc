// The data feed: typed columns per variable, grouped by source.
#include "chartxml/host/VarDataProcessor.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

#include "chartutl/ShortestNumber.h"
#include "chartxml/host/Platform.h"

namespace {

// A never-written number cell (see the header); a NaN that a caller stored
// is normalised to the canonical quiet NaN on the way in.
constexpr std::uint64_t kMissingBits = VarDataProcessor::kMissingBits;
constexpr double kCanonicalNaN = std::numeric_limits<double>::quiet_NaN();
static_assert(std::bit_cast<std::uint64_t>(kCanonicalNaN) != kMissingBits);

// A source declared with no usable size still gets a modest first capacity.
constexpr std::uint32_t kFallbackInitialRows = 1024;

bool isMissing(double value) {
  return std::bit_cast<std::uint64_t>(value) == kMissingBits;
}

// Lets the dictionary be searched with a string_view, so a known text costs
// a hash and a compare but no temporary std::string.
struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const noexcept {
    return std::hash<std::string_view>{}(text);
  }
};

// Rough heap cost of one dictionary entry besides its characters: the hash
// node (next pointer, std::string, code, cached hash), its bucket slot and
// its view in the code-ordered table.
constexpr std::size_t kEntryOverhead = sizeof(void*) + sizeof(std::string) + sizeof(std::uint64_t) +
                                       sizeof(std::size_t) + sizeof(void*) +
                                       sizeof(std::string_view);

}  // namespace

// The cells and the bookkeeping of the other kind are ColumnCells (in the
// header, so that writes are inline on both sides); setNumber is there.
class VarDataProcessor::Column : public VarDataProcessor::ColumnCells {
 public:
  Column(std::string name, std::uint32_t initialRows, std::size_t* allocations)
      : ColumnCells(initialRows, allocations), name_(std::move(name)) {}

  bool setText(std::uint32_t row, std::string_view text) {
    const std::uint32_t code = textCode(text);
    return code != 0 && setCode(row, code);
  }

  // The text's dictionary code, added when new; 0 when it cannot be stored.
  std::uint32_t textCode(std::string_view text) {
    const auto found = dictionary_.find(text);
    return found != dictionary_.end() ? found->second : intern(text);
  }

  CellKind kind(std::uint32_t row) const {
    if (codes_.covers(row) && codes_[row] != 0) return CellKind::String;
    const bool number = wide_ ? numbers_.covers(row) && !isMissing(numbers_[row])
                              : wholes_.covers(row) && wholes_[row] != kMissingWhole;
    return number ? CellKind::Number : CellKind::Missing;
  }

  double number(std::uint32_t row) const { return wide_ ? numbers_[row] : wholes_[row]; }
  std::string_view text(std::uint32_t row) const { return texts_[codes_[row] - 1]; }

  const std::string& name() const { return name_; }
  std::uint32_t rows() const { return rows_; }

  std::size_t bytesUsed() const {
    std::size_t bytes = wholes_.capacity() * sizeof(std::int32_t) +
                        numbers_.capacity() * sizeof(double) +
                        codes_.capacity() * sizeof(std::uint32_t);
    // An empty table uses a bucket inside the map object, not the heap.
    if (!dictionary_.empty()) bytes += dictionary_.bucket_count() * sizeof(void*);
    for (const std::string_view text : texts_) bytes += text.size() + kEntryOverhead;
    return bytes;
  }

 private:
  // Adds a text to the dictionary; its code is one more than its index in
  // texts_ (code 0 means no string). 0 when it cannot be stored.
  [[gnu::noinline]] std::uint32_t intern(std::string_view text) {
    if (texts_.size() >= std::numeric_limits<std::uint32_t>::max() - 1) return 0;
    const auto code = static_cast<std::uint32_t>(texts_.size() + 1);
    const std::size_t buckets = dictionary_.bucket_count();
    const std::size_t slots = texts_.capacity();
    try {
      // Room first, so that the push_back below cannot fail after the
      // dictionary took the text.
      if (texts_.size() == texts_.capacity()) texts_.reserve(std::max<std::size_t>(8, 2 * slots));
      const auto inserted = dictionary_.emplace(std::string(text), code).first;
      // Hash nodes never move, so the view of the key stays valid.
      texts_.push_back(inserted->first);
    } catch (const std::bad_alloc&) {
      return 0;
    }
    ++*allocations_;  // the node
    if (text.size() > std::string().capacity()) ++*allocations_;
    if (dictionary_.bucket_count() != buckets) ++*allocations_;
    if (texts_.capacity() != slots) ++*allocations_;
    return code;
  }

  std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> dictionary_;
  std::vector<std::string_view> texts_;
  std::string name_;
};

namespace {

struct Source {
  std::string name;
  std::uint32_t initialRows;
  std::vector<std::unique_ptr<VarDataProcessor::Column>> columns;  // declaration order
  std::unordered_map<std::string, VarDataProcessor::Column*> byName;
};

// Whether a CSV reader of this project (the host's data sources, the
// renderer's data tables) could take `text` for a number: blanks around it,
// a leading '+', an infinity or NaN in any letter case, a value out of range.
// Both readers take a quoted field for text, so such a text is quoted.
bool readsAsNumber(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  if (text.empty()) return false;
  double value;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error != std::errc::invalid_argument && stop == end;
}

// `out` is a CsvBuffer or a BlockBuffer: one rule for both, so rows
// formatted on either thread cannot differ.
template <typename Out>
void appendCsvField(Out& out, std::string_view field) {
  if (field.find_first_of(",\"\r\n") == std::string_view::npos && !readsAsNumber(field)) {
    out += field;
    return;
  }
  out += '"';
  for (const char c : field) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

}  // namespace

struct VarDataProcessor::Impl {
  std::vector<std::unique_ptr<Source>> sources;  // declaration order
  std::unordered_map<std::string, Source*> sourceByName;
  // Every record handed over, tied to a column or not, so that a caller's
  // pointer stays valid (and harmless) for the feed's lifetime.
  std::unordered_set<_varinfo*> records;
  std::size_t allocations = 0;

  const Source* source(const std::string& name) const {
    const auto it = sourceByName.find(name);
    return it == sourceByName.end() ? nullptr : it->second;
  }
  const Column* column(const std::string& sourceName, const std::string& variable) const {
    const Source* s = source(sourceName);
    if (s == nullptr) return nullptr;
    const auto it = s->byName.find(variable);
    return it == s->byName.end() ? nullptr : it->second;
  }
};

VarDataProcessor::VarDataProcessor() : impl_(std::make_unique<Impl>()) {}

VarDataProcessor::~VarDataProcessor() {
  for (_varinfo* record : impl_->records) delete record;
}

bool VarDataProcessor::AddDataSource(const std::string& name, int initialRows) {
  if (impl_->sourceByName.contains(name)) return false;
  auto source = std::make_unique<Source>();
  source->name = name;
  source->initialRows =
      initialRows > 0 ? static_cast<std::uint32_t>(std::min<std::int64_t>(initialRows, kMaxRows))
                      : kFallbackInitialRows;
  impl_->sourceByName.emplace(name, source.get());
  impl_->sources.push_back(std::move(source));
  return true;
}

bool VarDataProcessor::AddVariable(const std::string& source, const std::string& name,
                                   _varinfo* record) {
  if (record == nullptr) return false;
  // A record already handed over stays with whatever it was tied to.
  bool fresh = false;
  try {
    fresh = impl_->records.insert(record).second;
  } catch (...) {
    delete record;  // handed over, though not yet kept: it is ours to free
    throw;
  }
  if (!fresh) return false;
  record->column = nullptr;
  record->cells = nullptr;
  const auto it = impl_->sourceByName.find(source);
  if (it == impl_->sourceByName.end()) return false;
  Source& s = *it->second;
  if (s.byName.contains(name)) return false;
  auto column = std::make_unique<Column>(name, s.initialRows, &impl_->allocations);
  s.byName.emplace(name, column.get());
  record->column = column.get();
  record->cells = column.get();
  s.columns.push_back(std::move(column));
  return true;
}

bool VarDataProcessor::SetVariableValue(_varinfo* record, std::uint32_t row, double value) {
  if (record == nullptr || record->column == nullptr || row >= kMaxRows) [[unlikely]]
    return false;
  return record->column->setNumber(row, value);
}

bool VarDataProcessor::SetStringVariableValue(_varinfo* record, std::uint32_t row,
                                              std::string_view utf8) {
  if (record == nullptr || record->column == nullptr || row >= kMaxRows) [[unlikely]]
    return false;
  return record->column->setText(row, utf8);
}

std::uint32_t VarDataProcessor::TextCode(_varinfo* record, std::string_view utf8) {
  if (record == nullptr || record->column == nullptr) [[unlikely]]
    return 0;
  return record->column->textCode(utf8);
}

// Out of line: growth is rare, and the writers inline the rest. The cells are
// trivially copyable, so realloc, which for large blocks remaps pages
// instead of copying them.
bool VarDataProcessor::GrowCells(void** data, std::size_t* capacity, std::size_t cellSize,
                                 std::uint32_t row, std::uint32_t initialRows,
                                 std::size_t* allocations) {
  std::size_t grown = *capacity == 0 ? initialRows : *capacity;
  while (grown <= row) grown *= 2;
  grown = std::min<std::size_t>(grown, kMaxRows);
  void* block = std::realloc(*data, grown * cellSize);
  if (block == nullptr) return false;
  *data = block;
  *capacity = grown;
  ++*allocations;
  return true;
}

bool VarDataProcessor::WidenCells(ColumnCells& cells) {
  if (cells.wide_) return true;
  const double missing = std::bit_cast<double>(kMissingBits);
  // The last row first, so that the doubles grow once.
  for (std::uint32_t row = cells.wholes_.filled(); row-- > 0;) {
    const std::int32_t whole = cells.wholes_[row];
    const double value = whole == ColumnCells::kMissingWhole ? missing : whole;
    if (!cells.numbers_.store(row, value, missing, cells.initialRows_, cells.allocations_)) {
      cells.numbers_.release();
      return false;
    }
  }
  cells.wholes_.release();
  cells.wide_ = true;
  return true;
}

std::uint32_t VarDataProcessor::GetRowCount(const std::string& source) const {
  const Source* s = impl_->source(source);
  if (s == nullptr) return 0;
  std::uint32_t rows = 0;
  for (const auto& column : s->columns) rows = std::max(rows, column->rows());
  return rows;
}

std::vector<std::string> VarDataProcessor::SourceNames() const {
  std::vector<std::string> names;
  names.reserve(impl_->sources.size());
  for (const auto& s : impl_->sources) names.push_back(s->name);
  return names;
}

std::vector<std::string> VarDataProcessor::VariableNames(const std::string& source) const {
  std::vector<std::string> names;
  if (const Source* s = impl_->source(source)) {
    names.reserve(s->columns.size());
    for (const auto& column : s->columns) names.push_back(column->name());
  }
  return names;
}

VarDataProcessor::CellKind VarDataProcessor::Kind(const std::string& source,
                                                  const std::string& variable,
                                                  std::uint32_t row) const {
  const Column* column = impl_->column(source, variable);
  return column == nullptr ? CellKind::Missing : column->kind(row);
}

std::optional<double> VarDataProcessor::Number(const std::string& source,
                                               const std::string& variable,
                                               std::uint32_t row) const {
  const Column* column = impl_->column(source, variable);
  if (column == nullptr || column->kind(row) != CellKind::Number) return std::nullopt;
  return column->number(row);
}

std::optional<std::string> VarDataProcessor::Text(const std::string& source,
                                                  const std::string& variable,
                                                  std::uint32_t row) const {
  const Column* column = impl_->column(source, variable);
  if (column == nullptr || column->kind(row) != CellKind::String) return std::nullopt;
  return std::string(column->text(row));
}

namespace {

// The CSV's bytes on their way to a sink: a fixed buffer handed over when it
// fills. After a refusal it keeps accepting bytes (and dropping them), so
// that writers check ok() at their own pace.
class CsvBuffer {
 public:
  CsvBuffer(char* buffer, std::size_t size, VarDataProcessor::CsvSink& sink)
      : begin_(buffer), pos_(buffer), end_(buffer + size), sink_(sink) {}

  bool ok() const { return ok_; }

  // At least `bytes` (at most the buffer's size) free at pos(); false when
  // making room failed.
  bool room(std::size_t bytes) { return static_cast<std::size_t>(end_ - pos_) >= bytes || flush(); }
  char* pos() { return pos_; }
  char* end() { return end_; }
  void advance(char* to) { pos_ = to; }

  CsvBuffer& operator+=(char c) {
    if (pos_ == end_) flush();
    *pos_++ = c;
    return *this;
  }
  CsvBuffer& operator+=(std::string_view text) {
    while (!text.empty()) {
      if (pos_ == end_) flush();
      const std::size_t n = std::min<std::size_t>(text.size(), end_ - pos_);
      std::copy_n(text.data(), n, pos_);
      pos_ += n;
      text.remove_prefix(n);
    }
    return *this;
  }

  // Hands the buffer over, then `bytes` (formatted elsewhere) in slices no
  // bigger than the buffer.
  bool flushWith(std::string_view bytes) {
    flush();
    const std::size_t slice = static_cast<std::size_t>(end_ - begin_);
    for (; ok_ && !bytes.empty(); bytes.remove_prefix(std::min(slice, bytes.size()))) {
      ok_ = sink_.Drain(bytes.substr(0, slice));
    }
    return ok_;
  }

  // Hands the buffer over (and empties it, whatever the sink said).
  bool flush() {
    if (ok_ && pos_ != begin_) {
      ok_ = sink_.Drain(std::string_view(begin_, static_cast<std::size_t>(pos_ - begin_)));
    }
    pos_ = begin_;
    return ok_;
  }

 private:
  char* begin_;
  char* pos_;
  char* end_;
  VarDataProcessor::CsvSink& sink_;
  bool ok_ = true;
};

// Room for a separator, the room writeShortest takes (more than the longest
// shortest double) and a line end.
constexpr std::size_t kNumberCellRoom = 64;
static_assert(kNumberCellRoom > cxhost::kShortestNumberRoom);

// A block of rows formatted away from the sink, with the buffer's
// interface; it grows as a block needs and is reused for the next.
class BlockBuffer {
 public:
  bool ok() const { return true; }
  bool room(std::size_t bytes) {
    if (bytes_.size() - used_ < bytes) bytes_.resize(std::max(2 * bytes_.size(), used_ + bytes));
    return true;
  }
  char* pos() { return bytes_.data() + used_; }
  void advance(char* to) { used_ = static_cast<std::size_t>(to - bytes_.data()); }
  BlockBuffer& operator+=(char c) {
    room(1);
    bytes_[used_++] = c;
    return *this;
  }
  BlockBuffer& operator+=(std::string_view text) {
    room(text.size());
    std::copy_n(text.data(), text.size(), bytes_.data() + used_);
    used_ += text.size();
    return *this;
  }
  std::string_view text() const { return std::string_view(bytes_.data(), used_); }
  void clear() { used_ = 0; }

 private:
  std::string bytes_;
  std::size_t used_ = 0;
};

// Appends rows [from, to) to `out` (a CsvBuffer or a BlockBuffer): one rule
// for both. `decimals` holds each column's decimals so far, the guess that
// makes numbers quick to write. False when the sink refused bytes.
template <typename Out>
bool appendRows(const std::vector<std::unique_ptr<VarDataProcessor::Column>>& columns,
                std::uint32_t from, std::uint32_t to, std::vector<int>& decimals, Out& out) {
  using CellKind = VarDataProcessor::CellKind;
  for (std::uint32_t row = from; row < to && out.ok(); ++row) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (!out.room(kNumberCellRoom)) return false;
      if (i > 0) out += ',';
      const VarDataProcessor::Column& column = *columns[i];
      switch (column.kind(row)) {
        case CellKind::Number: {
          // NaN and the host's missing value are both missing cells to
          // every reader; anything else in the shortest text that reads
          // back to the same double ("inf" and "-inf" for infinities),
          // whatever the process locale.
          const double value = column.number(row);
          if (std::isnan(value) || value == kVornMissingValue) break;
          out.advance(cxhost::writeShortest(out.pos(), value, decimals[i]));
          break;
        }
        case CellKind::String:
          appendCsvField(out, column.text(row));
          break;
        case CellKind::Missing:
          break;
      }
    }
    out += '\n';
  }
  return out.ok();
}

// Rows a block: what one thread formats and hands over whole.
constexpr std::uint32_t kBlockRows = 16384;
// Fewer rows than this are not worth a second thread.
constexpr std::uint32_t kRowsForTwoThreads = 4 * kBlockRows;

// Writes rows [0, rows) to `out` on two threads: a helper formats the odd
// blocks, one at a time, while this thread formats the even ones straight
// into `out` and hands the helper's over after each (so the sink is called
// on this thread only, in row order). False when the sink refused bytes or
// the helper could not grow its block; nothing written when no thread could
// be started (`started` false).
bool appendRowsOnTwoThreads(const std::vector<std::unique_ptr<VarDataProcessor::Column>>& columns,
                            std::uint32_t rows, CsvBuffer& out, bool& started) {
  const std::uint32_t blocks = (rows + kBlockRows - 1) / kBlockRows;
  const auto rowsOf = [&](std::uint32_t block) {
    return std::pair(block * kBlockRows, std::min(rows, (block + 1) * kBlockRows));
  };
  std::mutex mutex;
  std::condition_variable changed;
  BlockBuffer helperBlock;
  bool blockReady = false;  // helperBlock holds the next odd block
  bool stop = false, helperFailed = false;
  const auto helper = [&] {
    std::vector<int> decimals(columns.size(), 0);
    for (std::uint32_t block = 1; block < blocks; block += 2) {
      {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return !blockReady || stop; });
        if (stop) return;
      }
      bool formatted = true;
      try {
        helperBlock.clear();
        const auto [from, to] = rowsOf(block);
        appendRows(columns, from, to, decimals, helperBlock);
      } catch (const std::bad_alloc&) {
        formatted = false;
      }
      std::lock_guard lock(mutex);
      helperFailed = !formatted;
      blockReady = formatted;
      changed.notify_all();
      if (!formatted) return;
    }
  };
  std::thread thread;
  try {
    thread = std::thread(helper);
  } catch (const std::system_error&) {
    started = false;
    return false;
  }
  started = true;
  std::vector<int> decimals(columns.size(), 0);
  bool ok = true;
  for (std::uint32_t block = 0; block < blocks && ok; block += 2) {
    const auto [from, to] = rowsOf(block);
    ok = appendRows(columns, from, to, decimals, out);
    if (!ok || block + 1 == blocks) break;
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return blockReady || helperFailed; });
    if (helperFailed) {
      ok = false;
      break;
    }
    lock.unlock();
    ok = out.flushWith(helperBlock.text());
    lock.lock();
    blockReady = false;
    changed.notify_all();
  }
  {
    std::lock_guard lock(mutex);
    stop = true;
    changed.notify_all();
  }
  thread.join();
  return ok;
}

class StringSink final : public VarDataProcessor::CsvSink {
 public:
  explicit StringSink(std::string& out) : out_(out) {}
  bool Drain(std::string_view bytes) override {
    out_ += bytes;
    return true;
  }

 private:
  std::string& out_;
};

}  // namespace

std::string VarDataProcessor::ToCsv(const std::string& source) const {
  std::string out;
  StringSink sink(out);
  WriteCsv(source, sink);
  return out;
}

bool VarDataProcessor::WriteCsv(const std::string& source, CsvSink& sink) const {
  const Source* s = impl_->source(source);
  if (s == nullptr) return true;
  char buffer[kCsvBufferBytes];
  CsvBuffer out(buffer, sizeof buffer, sink);
  for (std::size_t i = 0; i < s->columns.size(); ++i) {
    if (i > 0) out += ',';
    appendCsvField(out, s->columns[i]->name());
  }
  out += '\n';
  const std::uint32_t rows = GetRowCount(source);
  if (rows >= kRowsForTwoThreads) {
    bool started = false;
    const bool ok = appendRowsOnTwoThreads(s->columns, rows, out, started);
    if (started) return ok && out.flush();
  }
  std::vector<int> decimals(s->columns.size(), 0);
  if (!appendRows(s->columns, 0, rows, decimals, out)) return false;
  return out.flush();
}

std::size_t VarDataProcessor::BytesUsed(const std::string& source,
                                        const std::string& variable) const {
  const Column* column = impl_->column(source, variable);
  return column == nullptr ? 0 : column->bytesUsed();
}

std::size_t VarDataProcessor::Allocations() const {
  return impl_->allocations;
}
