#include "read/DataTable.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Whether `text` spells an infinity: "inf" or "infinity" in any letter case.
bool isInfinity(std::string_view text) {
  constexpr std::string_view kInfinity = "infinity";
  if (text.size() != 3 && text.size() != kInfinity.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if ((c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c) != kInfinity[i]) return false;
  }
  return true;
}

// The value of a plain decimal such as "-12.375" (no exponent, at most 15
// digits), or false for anything else. A mantissa below 2^53 and a power of
// ten up to 10^22 are both exact doubles, and one division of exact values
// rounds correctly: the same double from_chars gives, several times faster
// (a data file of millions of rows is mostly such numbers).
bool plainDecimal(std::string_view text, double& value) {
  static constexpr double kPowers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                       1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const char* p = text.data();
  const char* const end = p + text.size();
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  std::uint64_t mantissa = 0;
  int digits = 0, decimals = 0;
  bool point = false;
  for (; p != end; ++p) {
    const char c = *p;
    if (c >= '0' && c <= '9') {
      if (++digits > 15) return false;
      mantissa = mantissa * 10 + static_cast<unsigned>(c - '0');
      decimals += point;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      return false;
    }
  }
  if (digits == 0) return false;
  value = static_cast<double>(mantissa) / kPowers[decimals];
  if (negative) value = -value;
  return true;
}

// A field's number, NaN for an empty or "nan" field, or nothing for a text.
// A quoted field is always a text: the sink quotes texts that spell numbers.
std::optional<double> numberOf(std::string_view field, bool quoted) {
  if (quoted) return std::nullopt;
  if (field.empty()) return kNaN;
  if (double plain = 0; plainDecimal(field, plain)) return plain;
  std::string_view digits = field;
  const bool negative = digits.front() == '-';
  if (negative || digits.front() == '+') digits.remove_prefix(1);
  if (isInfinity(digits)) return negative ? -kInf : kInf;
  if (digits == "nan" || digits == "NaN") return kNaN;
  double value = 0;
  const char* end = field.data() + field.size();
  // from_chars takes no leading '+'; it reads "1e999" as out of range.
  const char* begin = field.front() == '+' ? field.data() + 1 : field.data();
  const auto [ptr, ec] = std::from_chars(begin, end, value);
  if (ptr != end) return std::nullopt;
  if (ec == std::errc::result_out_of_range) return negative ? -kInf : kInf;
  if (ec != std::errc()) return std::nullopt;
  return value;
}

// The line feeds in `text`, eight bytes at a time: a byte equal to '\n' is
// one that XOR makes zero, and the zero bytes of a word are found exactly
// by the sign bits of ~((x & 0x7f..) + 0x7f.. | x | 0x7f..).
std::size_t lineFeeds(std::string_view text) {
  constexpr std::uint64_t kLow = 0x7f7f7f7f7f7f7f7fULL;
  constexpr std::uint64_t kFeeds = 0x0a0a0a0a0a0a0a0aULL;
  std::size_t count = 0, i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t word;
    std::memcpy(&word, text.data() + i, 8);
    const std::uint64_t x = word ^ kFeeds;
    count += static_cast<std::size_t>(std::popcount(~(((x & kLow) + kLow) | x | kLow)));
  }
  for (; i < text.size(); ++i) count += text[i] == '\n';
  return count;
}

// Splits CSV text into fields, line by line, keeping the line numbers. A
// field without quotes is a view of the text; a quoted one is unescaped
// into a buffer of the record's own.
class CsvScanner {
 public:
  // `text` without a byte order mark.
  explicit CsvScanner(std::string_view text) : text_(text) {}

  bool done() const { return pos_ >= text_.size(); }
  int line() const { return line_; }
  // The lines left, for reserving room: line feeds (a file of lone carriage
  // returns reserves nothing, and only grows as it reads).
  std::size_t linesLeft() const { return lineFeeds(text_.substr(pos_)) + 1; }

  // The next record when it holds exactly `columns` fields and no quote:
  // its fields into `fields`, none quoted. False, having read nothing, for
  // any other record (next() then reads it).
  bool plainRecord(std::size_t columns, std::vector<std::string_view>& fields) {
    fields.clear();
    const char* const data = text_.data();
    const std::size_t size = text_.size();
    std::size_t at = pos_;
    while (true) {
      if (at < size && data[at] == '"') return false;
      const std::size_t begin = at;
      while (at < size && data[at] != ',' && data[at] != '\n' && data[at] != '\r') ++at;
      if (fields.size() == columns) return false;
      fields.emplace_back(data + begin, at - begin);
      if (at >= size) break;
      const char c = data[at++];
      if (c == ',') continue;
      if (c == '\r' && at < size && data[at] == '\n') ++at;
      break;
    }
    if (fields.size() != columns) return false;
    pos_ = at;
    ++line_;
    return true;
  }

  // The next record's fields into `fields`, and whether each was quoted into
  // `quoted`; false with `error` set when a quoted field is not closed. The
  // views stay valid until the next call.
  bool next(std::vector<std::string_view>& fields, std::vector<bool>& quoted, std::string& error) {
    fields.clear();
    quoted.clear();
    places_.clear();
    unquoted_.clear();
    const int start = line_;
    const char* const data = text_.data();
    const std::size_t size = text_.size();
    while (true) {
      if (pos_ < size && data[pos_] == '"') {
        if (!quotedField(start, error)) return false;
      } else {
        // Up to the next comma or line end: the common case, scanned fast.
        const std::size_t begin = pos_;
        while (pos_ < size && data[pos_] != ',' && data[pos_] != '\n' && data[pos_] != '\r') {
          ++pos_;
        }
        places_.push_back({begin, pos_ - begin, false});
      }
      if (pos_ >= size) break;
      const char c = data[pos_++];
      if (c == ',') continue;
      if (c == '\r' && pos_ < size && data[pos_] == '\n') ++pos_;
      ++line_;
      break;
    }
    for (const Place& place : places_) {
      fields.push_back(place.unescaped ? std::string_view(unquoted_).substr(place.at, place.size)
                                       : text_.substr(place.at, place.size));
      quoted.push_back(place.unescaped);
    }
    return true;
  }

 private:
  // Where a field's text is: in the text, or unescaped in `unquoted_`.
  struct Place {
    std::size_t at = 0, size = 0;
    bool unescaped = false;
  };

  // A field that opens with a quote: "" stands for a quote, line breaks
  // count; whatever follows the closing quote up to the comma or line end
  // belongs to the field as it is.
  bool quotedField(int start, std::string& error) {
    const std::size_t at = unquoted_.size();
    ++pos_;
    bool open = true;
    while (pos_ < text_.size()) {
      const char c = text_[pos_];
      if (open) {
        ++pos_;
        if (c == '"') {
          if (pos_ < text_.size() && text_[pos_] == '"') {
            unquoted_ += '"';
            ++pos_;
          } else {
            open = false;
          }
          continue;
        }
        if (c == '\r' || (c == '\n' && (pos_ < 2 || text_[pos_ - 2] != '\r'))) ++line_;
        unquoted_ += c;
        continue;
      }
      if (c == ',' || c == '\n' || c == '\r') break;
      unquoted_ += c;
      ++pos_;
    }
    if (open) {
      error = "line " + std::to_string(start) + ": a quoted field is not closed";
      return false;
    }
    places_.push_back({at, unquoted_.size() - at, true});
    return true;
  }

  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
  std::vector<Place> places_;
  std::string unquoted_;
};

}  // namespace

int DataTable::line(std::size_t row) const {
  auto it = std::upper_bound(lineBreaks.begin(), lineBreaks.end(), row,
                             [](std::size_t r, const auto& mark) { return r < mark.first; });
  if (it == lineBreaks.begin()) return static_cast<int>(row) + 2;
  --it;
  return it->second + static_cast<int>(row - it->first);
}

const DataColumn* DataTable::column(std::string_view name) const {
  for (const DataColumn& column : columns) {
    if (column.name == name) return &column;
  }
  return nullptr;
}

namespace {

// Reads the rows left in `scanner` into `table`, whose columns are named.
bool readRows(CsvScanner& scanner, DataTable& table, std::string& error) {
  std::vector<std::string_view> fields;
  std::vector<bool> quoted;
  // Room for every row at once: growing a column of millions of numbers
  // step by step copies it over and over.
  const std::size_t expected = scanner.linesLeft();
  for (DataColumn& column : table.columns) column.numbers.reserve(expected);
  std::vector<std::unordered_map<std::string, std::int32_t>> textCodes(table.columns.size());
  int previousLine = 0;
  while (!scanner.done()) {
    const int line = scanner.line();
    if (scanner.plainRecord(table.columns.size(), fields)) {
      quoted.assign(fields.size(), false);
    } else if (!scanner.next(fields, quoted, error)) {
      return false;
    }
    // A lone empty line (a file's last newline, or a blank line) holds no case;
    // but for a one-column table it is a case whose value is missing, which
    // the sink writes as an empty line too.
    if (fields.size() == 1 && fields[0].empty() && !quoted[0] && table.columns.size() != 1)
      continue;
    if (fields.size() != table.columns.size()) {
      error = "line " + std::to_string(line) + ": " + std::to_string(fields.size()) +
              " fields, but the header names " + std::to_string(table.columns.size()) + " columns";
      return false;
    }
    const std::size_t row = table.rowCount++;
    if (row == 0 || line != previousLine + 1) table.lineBreaks.emplace_back(row, line);
    previousLine = line;
    for (std::size_t i = 0; i < fields.size(); ++i) {
      DataColumn& column = table.columns[i];
      const std::optional<double> number = numberOf(fields[i], quoted[i]);
      column.numbers.push_back(number.value_or(kNaN));
      if (number) {
        if (!column.textIndex.empty()) column.textIndex.push_back(-1);
        continue;
      }
      if (column.textIndex.empty()) {
        column.textIndex.reserve(column.numbers.capacity());
        column.textIndex.assign(row, -1);
      }
      auto [it, added] = textCodes[i].try_emplace(std::string(fields[i]),
                                                  static_cast<std::int32_t>(column.texts.size()));
      if (added) column.texts.emplace_back(fields[i]);
      column.textIndex.push_back(it->second);
    }
  }
  return true;
}

}  // namespace

std::optional<DataTable> readCsv(std::string_view text, std::string origin, std::string& error) {
  DataTable table;
  table.origin = std::move(origin);
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  CsvScanner scanner(text);
  std::vector<std::string_view> fields;
  std::vector<bool> quoted;
  if (scanner.done() || !scanner.next(fields, quoted, error)) {
    if (error.empty()) error = "the file is empty: it has no header of column names";
    return std::nullopt;
  }
  for (std::string_view name : fields) {
    table.columns.emplace_back();
    table.columns.back().name = std::string(name);
  }
  if (!readRows(scanner, table, error)) return std::nullopt;
  return table;
}

}  // namespace chartxml::render
