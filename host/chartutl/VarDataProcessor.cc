// The data feed: typed columns per variable, grouped by source.
#include "chartxml/host/VarDataProcessor.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>

#include "chartxml/host/Platform.h"

namespace {

// A never-written number cell. A quiet NaN with a payload of its own, so that
// it survives copies and cannot be confused with a NaN that a caller stored
// (those are normalised to the canonical quiet NaN on the way in).
constexpr std::uint64_t kMissingBits = 0x7ff8'0000'4d49'5353ull;
const double kMissing = std::bit_cast<double>(kMissingBits);
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

// The cells of one kind of a column. Storage grows by doubling and is left
// uninitialised: only the cells below `filled` are valid, and a write past
// them marks the gap as missing. Sequential rows therefore never pay for a
// fill. The cells are trivially copyable, so growth uses realloc, which for
// large blocks remaps pages instead of copying them.
template <typename T>
class Cells {
  static_assert(std::is_trivially_copyable_v<T>);

 public:
  Cells() = default;
  Cells(const Cells&) = delete;
  Cells& operator=(const Cells&) = delete;
  ~Cells() { std::free(data_); }

  bool covers(std::uint32_t row) const { return row < filled_; }
  T& operator[](std::uint32_t row) { return data_[row]; }
  const T& operator[](std::uint32_t row) const { return data_[row]; }
  std::size_t capacity() const { return capacity_; }

  // Stores `value` at `row`; false when the storage cannot grow.
  bool store(std::uint32_t row, T value, T missing, std::uint32_t initialRows,
             std::size_t* allocations) {
    if (row >= capacity_ && !grow(row, initialRows, allocations)) [[unlikely]]
      return false;
    if (row > filled_) [[unlikely]]
      std::fill(data_ + filled_, data_ + row, missing);
    data_[row] = value;
    if (row >= filled_) filled_ = row + 1;
    return true;
  }

 private:
  [[gnu::noinline]] bool grow(std::uint32_t row, std::uint32_t initialRows,
                              std::size_t* allocations) {
    std::size_t capacity = capacity_ == 0 ? initialRows : capacity_;
    while (capacity <= row) capacity *= 2;
    capacity = std::min<std::size_t>(capacity, VarDataProcessor::kMaxRows);
    void* grown = std::realloc(data_, capacity * sizeof(T));
    if (grown == nullptr) return false;
    data_ = static_cast<T*>(grown);
    capacity_ = capacity;
    ++*allocations;
    return true;
  }

  T* data_ = nullptr;
  std::size_t capacity_ = 0;
  std::uint32_t filled_ = 0;
};

}  // namespace

class VarDataProcessor::Column {
 public:
  Column(std::string name, std::uint32_t initialRows, std::size_t* allocations)
      : name_(std::move(name)), initialRows_(initialRows), allocations_(allocations) {}

  // The hot path: a bounds check, a store, and the bookkeeping of the other
  // kind and the row span. Growth is out of line.
  bool setNumber(std::uint32_t row, double value) {
    if (!numbers_.store(row, value != value ? kCanonicalNaN : value, kMissing, initialRows_,
                        allocations_)) [[unlikely]]
      return false;
    if (codes_.covers(row)) codes_[row] = 0;
    if (row >= rows_) rows_ = row + 1;
    return true;
  }

  bool setText(std::uint32_t row, std::string_view text) {
    const auto found = dictionary_.find(text);
    const std::uint32_t code = found != dictionary_.end() ? found->second : intern(text);
    if (code == 0 || !codes_.store(row, code, 0, initialRows_, allocations_)) [[unlikely]]
      return false;
    if (numbers_.covers(row)) numbers_[row] = kMissing;
    if (row >= rows_) rows_ = row + 1;
    return true;
  }

  CellKind kind(std::uint32_t row) const {
    if (codes_.covers(row) && codes_[row] != 0) return CellKind::String;
    if (numbers_.covers(row) && !isMissing(numbers_[row])) return CellKind::Number;
    return CellKind::Missing;
  }

  double number(std::uint32_t row) const { return numbers_[row]; }
  std::string_view text(std::uint32_t row) const { return texts_[codes_[row] - 1]; }

  const std::string& name() const { return name_; }
  std::uint32_t rows() const { return rows_; }

  std::size_t bytesUsed() const {
    std::size_t bytes =
        numbers_.capacity() * sizeof(double) + codes_.capacity() * sizeof(std::uint32_t);
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

  Cells<double> numbers_;
  Cells<std::uint32_t> codes_;
  std::uint32_t rows_ = 0;
  std::unordered_map<std::string, std::uint32_t, TextHash, std::equal_to<>> dictionary_;
  std::vector<std::string_view> texts_;
  std::string name_;
  std::uint32_t initialRows_;
  std::size_t* allocations_;
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

void appendCsvField(std::string& out, std::string_view field) {
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
  if (!impl_->records.insert(record).second) return false;
  record->column = nullptr;
  const auto it = impl_->sourceByName.find(source);
  if (it == impl_->sourceByName.end()) return false;
  Source& s = *it->second;
  if (s.byName.contains(name)) return false;
  auto column = std::make_unique<Column>(name, s.initialRows, &impl_->allocations);
  s.byName.emplace(name, column.get());
  record->column = column.get();
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

std::string VarDataProcessor::ToCsv(const std::string& source) const {
  const Source* s = impl_->source(source);
  if (s == nullptr) return std::string();
  std::string out;
  for (std::size_t i = 0; i < s->columns.size(); ++i) {
    if (i > 0) out += ',';
    appendCsvField(out, s->columns[i]->name());
  }
  out += '\n';
  const std::uint32_t rows = GetRowCount(source);
  char number[32];
  for (std::uint32_t row = 0; row < rows; ++row) {
    for (std::size_t i = 0; i < s->columns.size(); ++i) {
      if (i > 0) out += ',';
      const Column& column = *s->columns[i];
      switch (column.kind(row)) {
        case CellKind::Number: {
          // NaN and the host's missing value are both missing cells to
          // every reader; anything else in the shortest text that reads
          // back to the same double ("inf" and "-inf" for infinities),
          // whatever the process locale.
          const double value = column.number(row);
          if (std::isnan(value) || value == kVornMissingValue) break;
          const auto written = std::to_chars(number, number + sizeof number, value);
          out.append(number, written.ptr);
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
  return out;
}

std::size_t VarDataProcessor::BytesUsed(const std::string& source,
                                        const std::string& variable) const {
  const Column* column = impl_->column(source, variable);
  return column == nullptr ? 0 : column->bytesUsed();
}

std::size_t VarDataProcessor::Allocations() const {
  return impl_->allocations;
}
