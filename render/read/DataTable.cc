#include "read/DataTable.h"

#include <charconv>
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

// A field's number, NaN for an empty or "nan" field, or nothing for a text.
// A quoted field is always a text: the sink quotes texts that spell numbers.
std::optional<double> numberOf(std::string_view field, bool quoted) {
  if (quoted) return std::nullopt;
  if (field.empty()) return kNaN;
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

// Splits CSV text into fields, line by line, keeping the line numbers.
class CsvScanner {
 public:
  explicit CsvScanner(std::string_view text) : text_(text) {
    if (text_.substr(0, 3) == "\xEF\xBB\xBF") text_.remove_prefix(3);
  }

  bool done() const { return pos_ >= text_.size(); }
  int line() const { return line_; }

  // The next record's fields into `fields`, and whether each was quoted into
  // `quoted`; false with `error` set when a quoted field is not closed.
  bool next(std::vector<std::string>& fields, std::vector<bool>& quoted, std::string& error) {
    fields.clear();
    quoted.clear();
    std::string field;
    bool inQuotes = false;
    bool wasQuoted = false;
    const int start = line_;
    while (pos_ < text_.size()) {
      const char c = text_[pos_++];
      if (inQuotes) {
        if (c == '"') {
          if (pos_ < text_.size() && text_[pos_] == '"') {
            field += '"';
            ++pos_;
          } else {
            inQuotes = false;
          }
        } else {
          if (c == '\r' || (c == '\n' && (pos_ < 2 || text_[pos_ - 2] != '\r'))) ++line_;
          field += c;
        }
        continue;
      }
      if (c == '"' && field.empty() && !wasQuoted) {
        inQuotes = wasQuoted = true;
      } else if (c == ',') {
        fields.push_back(std::move(field));
        quoted.push_back(wasQuoted);
        field.clear();
        wasQuoted = false;
      } else if (c == '\n' || c == '\r') {
        if (c == '\r' && pos_ < text_.size() && text_[pos_] == '\n') ++pos_;
        ++line_;
        fields.push_back(std::move(field));
        quoted.push_back(wasQuoted);
        return true;
      } else {
        field += c;
      }
    }
    if (inQuotes) {
      error = "line " + std::to_string(start) + ": a quoted field is not closed";
      return false;
    }
    fields.push_back(std::move(field));
    quoted.push_back(wasQuoted);
    return true;
  }

 private:
  std::string_view text_;
  std::size_t pos_ = 0;
  int line_ = 1;
};

}  // namespace

const DataColumn* DataTable::column(std::string_view name) const {
  for (const DataColumn& column : columns) {
    if (column.name == name) return &column;
  }
  return nullptr;
}

std::optional<DataTable> readCsv(std::string_view text, std::string origin, std::string& error) {
  DataTable table;
  table.origin = std::move(origin);
  CsvScanner scanner(text);
  std::vector<std::string> fields;
  std::vector<bool> quoted;
  if (scanner.done() || !scanner.next(fields, quoted, error)) {
    if (error.empty()) error = "the file is empty: it has no header of column names";
    return std::nullopt;
  }
  for (std::string& name : fields) {
    table.columns.emplace_back();
    table.columns.back().name = std::move(name);
  }
  std::vector<std::unordered_map<std::string, std::int32_t>> textCodes(table.columns.size());
  while (!scanner.done()) {
    const int line = scanner.line();
    if (!scanner.next(fields, quoted, error)) return std::nullopt;
    // A lone empty line (a file's last newline, or a blank line) holds no case;
    // but for a one-column table it is a case whose value is missing, which
    // the sink writes as an empty line too.
    if (fields.size() == 1 && fields[0].empty() && !quoted[0] && table.columns.size() != 1)
      continue;
    if (fields.size() != table.columns.size()) {
      error = "line " + std::to_string(line) + ": " + std::to_string(fields.size()) +
              " fields, but the header names " + std::to_string(table.columns.size()) + " columns";
      return std::nullopt;
    }
    const std::size_t row = table.rowLines.size();
    table.rowLines.push_back(line);
    for (std::size_t i = 0; i < fields.size(); ++i) {
      DataColumn& column = table.columns[i];
      const std::optional<double> number = numberOf(fields[i], quoted[i]);
      column.numbers.push_back(number.value_or(kNaN));
      if (number) {
        if (!column.textIndex.empty()) column.textIndex.push_back(-1);
        continue;
      }
      if (column.textIndex.empty()) column.textIndex.assign(row, -1);
      auto [it, added] =
          textCodes[i].try_emplace(fields[i], static_cast<std::int32_t>(column.texts.size()));
      if (added) column.texts.push_back(fields[i]);
      column.textIndex.push_back(it->second);
    }
  }
  return table;
}

}  // namespace chartxml::render
