// CSV data sources: the reader, column typing, guessed display formats and
// the JSON dictionary beside the file.
#include "datasrc/CsvDataSource.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_map>

#include "chartxml/host/Platform.h"
#include "datasrc/CsvEncoding.h"
#include "datasrc/CsvSupport.h"

namespace fs = std::filesystem;

namespace cxhost {

namespace {

using csv::Place;
using csv::placeOf;
using csv::refuse;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kDictionarySuffix = ".dict.json";
constexpr const char* kStandardInputPath = "-";
constexpr const char* kStandardInputName = "<stdin>";

constexpr std::uint8_t kFixedType = 5;
constexpr int kMaxType = 40;
constexpr int kMaxStringWidth = 32767;
constexpr int kMaxDecimals = 16;
// A guessed numeric format is never narrower than this, so that small whole
// numbers still line up with the values of neighbouring columns.
constexpr int kMinGuessedWidth = 8;

// Date display formats (formatter.h) and the widths they print in.
constexpr std::uint8_t kDateDmyName = 20;  // 26-SEP-1994
constexpr std::uint8_t kDateMdy = 21;      // 09/26/1994
constexpr std::uint8_t kDateDmy = 22;      // 26.09.1994
constexpr std::uint8_t kDateYmd = 23;      // 1994/09/26
constexpr std::uint8_t kDateTime = 24;     // 26-SEP-1994 23:06:40
constexpr std::uint8_t kDuration = 25;
constexpr std::uint8_t kIsoDateTime = 30;  // 1994-09-26T23:06:40
constexpr int kDateWidth = 10;
constexpr int kDateNameWidth = 11;
constexpr int kDateTimeWidth = 20;
constexpr int kIsoDateTimeWidth = 19;
// Seconds since 1582 keep milliseconds exactly up to the year 9999; finer
// fractions are kept as read but not shown by the guessed format.
constexpr int kMaxGuessedSecondDecimals = 3;

// Reads the whole file; `problem` says why not.
bool readFile(const std::string& path, std::string& content, std::string& problem) {
  std::error_code ec;
  if (fs::is_directory(path, ec)) {
    problem = "is a folder, not a file";
    return false;
  }
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    problem = std::string("cannot open: ") + std::strerror(errno);
    return false;
  }
  const auto size = fs::file_size(path, ec);
  if (!ec) content.reserve(static_cast<std::size_t>(size));
  char buffer[1 << 16];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) content.append(buffer, got);
  const bool failed = std::ferror(file) != 0;
  std::fclose(file);
  if (failed) problem = "read error";
  return !failed;
}

// Reads what is left of standard input. Once it has ended it stays ended
// (the C library keeps its end-of-file mark), so a second reader gets
// nothing rather than waiting on a terminal.
bool readStandardInput(std::string& content, std::string& problem) {
  char buffer[1 << 16];
  std::size_t got;
  while ((got = std::fread(buffer, 1, sizeof buffer, stdin)) > 0) content.append(buffer, got);
  if (std::ferror(stdin) == 0) return true;
  problem = "read error";
  return false;
}

std::string_view trimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// A number spelled by the whole of `text` (blanks around it allowed), read
// the same way whatever the process locale. Finite only, unless
// `infinities` lets "inf" and "infinity" (any letter case, with a sign or
// not) through as well; NaN never reads as a number.
bool parseNumber(std::string_view text, double& value, bool infinities = false) {
  text = trimBlanks(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return false;
  }
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return false;
  return infinities ? !std::isnan(value) : std::isfinite(value);
}

// How people write a missing value in a numeric column, besides leaving
// the field empty (`text` is trimmed).
bool isMissingToken(std::string_view text) {
  static constexpr std::string_view kTokens[] = {"NA", "N/A", "NaN", "nan", "null", "NULL", "."};
  return text.empty() ||
         std::find(std::begin(kTokens), std::end(kTokens), text) != std::end(kTokens);
}

std::int64_t countLineEnds(std::string_view text, std::size_t from, std::size_t to) {
  std::int64_t count = 0;
  for (std::size_t at = from; at < to; ++at) count += csv::endsLine(text, at) ? 1 : 0;
  return count;
}

// Decimals that fixed-point notation needs to show a number spelled as
// `text` (already known to be a number): "1.50" needs 2, "2.5e-3" needs 4.
int decimalsOf(std::string_view text) {
  const std::size_t exponentAt = text.find_first_of("eE");
  const std::string_view mantissa = text.substr(0, exponentAt);
  const std::size_t point = mantissa.find('.');
  long decimals =
      point == std::string_view::npos ? 0 : static_cast<long>(mantissa.size() - point - 1);
  if (exponentAt != std::string_view::npos) {
    long exponent = 0;
    std::string_view digits = text.substr(exponentAt + 1);
    if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    decimals -= std::clamp(exponent, -1000L, 1000L);
  }
  return static_cast<int>(std::clamp(decimals, 0L, static_cast<long>(kMaxDecimals)));
}

// The fields the first record of `text` splits into at `delimiter`; a
// delimiter or line break inside quotes splits nothing.
std::size_t headerFields(std::string_view text, char delimiter) {
  std::size_t fields = 1;
  bool fieldStart = true;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char c = text[at];
    if (fieldStart && c == '"') {
      for (++at; at < text.size(); ++at) {
        if (text[at] != '"') continue;
        if (at + 1 < text.size() && text[at + 1] == '"') {
          ++at;
        } else {
          break;
        }
      }
      fieldStart = false;
      continue;
    }
    if (c == '\r' || c == '\n') break;
    fieldStart = c == delimiter;
    if (fieldStart) ++fields;
  }
  return fields;
}

// The delimiter that splits the header line into the most fields; on a tie
// the first of ',', ';' and tab.
char detectDelimiter(std::string_view text) {
  char best = ',';
  std::size_t most = 0;
  for (const char delimiter : {',', ';', '\t'}) {
    const std::size_t fields = headerFields(text, delimiter);
    if (fields > most) {
      best = delimiter;
      most = fields;
    }
  }
  return best;
}

// RFC 4180 fields, one at a time, counting physical lines for reports. A
// line ends in LF, CRLF or a lone CR.
class CsvReader {
 public:
  enum class After { Delimiter, EndOfRecord };

  CsvReader(std::string_view data, const std::string& name, char delimiter)
      : data_(data), name_(name), delimiter_(delimiter), stops_{delimiter, '\r', '\n'} {}

  bool atEnd() const { return pos_ >= data_.size(); }
  std::int64_t line() const { return line_; }
  bool onlyLineBreaksLeft() const {
    return data_.find_first_not_of("\r\n", pos_) == std::string_view::npos;
  }

  // Appends the next field's text to `out`, tells what ended it and whether
  // it was quoted. False (reported) when the field is malformed.
  bool nextField(std::string& out, After& after, bool& quoted) {
    quoted = pos_ < data_.size() && data_[pos_] == '"';
    if (quoted) {
      if (!quotedField(out)) return false;
    } else {
      const std::size_t end = std::min(
          data_.find_first_of(std::string_view(stops_, sizeof stops_), pos_), data_.size());
      out.append(data_.substr(pos_, end - pos_));
      pos_ = end;
    }
    return delimiter(after);
  }

 private:
  bool quotedField(std::string& out) {
    const std::int64_t openedAt = line_;
    ++pos_;
    for (;;) {
      const std::size_t quote = data_.find('"', pos_);
      if (quote == std::string_view::npos) {
        refuse(name_, openedAt, "quoted field is not closed before the end of the file");
        return false;
      }
      line_ += countLineEnds(data_, pos_, quote);
      out.append(data_.substr(pos_, quote - pos_));
      pos_ = quote + 1;
      if (pos_ < data_.size() && data_[pos_] == '"') {
        out.push_back('"');
        ++pos_;
        continue;
      }
      return true;
    }
  }

  // What follows a field: the delimiter, a line end or the end of the file.
  // Anything else can only follow a closing quote.
  bool delimiter(After& after) {
    after = After::EndOfRecord;
    if (pos_ >= data_.size()) return true;
    const char c = data_[pos_];
    if (c == delimiter_) {
      after = After::Delimiter;
      ++pos_;
      return true;
    }
    if (c == '\n' || c == '\r') {
      ++pos_;
      if (c == '\r' && pos_ < data_.size() && data_[pos_] == '\n') ++pos_;
      ++line_;
      return true;
    }
    refuse(name_, line_, "text after the closing quote of a field");
    return false;
  }

  std::string_view data_;
  const std::string& name_;
  char delimiter_;
  char stops_[3];
  std::size_t pos_ = 0;
  std::int64_t line_ = 1;
};

// Which cells of a column were quoted; rows past the end were not.
using QuotedCells = std::vector<bool>;

// Reads the header and every row into text columns, noting the quoted
// cells; false (reported) when the file is malformed.
bool readTable(const std::string& name, std::string_view data, char delimiter,
               std::vector<std::string>& names, std::vector<CsvDataSource::Column>& columns,
               std::vector<QuotedCells>& quotedCells, std::vector<int>& lines, int& rows) {
  if (data.find_first_not_of("\r\n") == std::string_view::npos) {
    refuse(name, 1, "empty file; a header row of variable names is needed");
    return false;
  }
  CsvReader reader(data, name, delimiter);
  CsvReader::After after;
  bool quoted;
  std::vector<std::int64_t> nameLines;
  do {
    nameLines.push_back(reader.line());
    std::string text;
    if (!reader.nextField(text, after, quoted)) return false;
    names.push_back(std::move(text));
  } while (after == CsvReader::After::Delimiter);

  std::unordered_map<std::string_view, std::size_t> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string column = std::to_string(i + 1);
    if (names[i].empty()) {
      refuse(name, nameLines[i], "variable name of column " + column + " is empty");
      return false;
    }
    // A NUL would cut the name short wherever it is handed on as C text.
    if (names[i].find('\0') != std::string::npos) {
      refuse(name, nameLines[i], "variable name of column " + column + " contains a NUL byte");
      return false;
    }
    const auto [it, fresh] = seen.emplace(names[i], i);
    if (!fresh) {
      refuse(name, nameLines[i],
             "variable name \"" + names[i] + "\" is used by columns " +
                 std::to_string(it->second + 1) + " and " + column);
      return false;
    }
  }

  const std::size_t width = names.size();
  columns.resize(width);
  quotedCells.assign(width, QuotedCells());
  std::string surplus;
  std::int64_t count = 0;
  while (!reader.atEnd()) {
    // With several columns an empty line cannot be a case, so blank lines at
    // the end of the file are only its end; with one column each line is a
    // case and an empty one a missing value.
    if (width > 1 && reader.onlyLineBreaksLeft()) break;
    const std::int64_t startLine = reader.line();
    std::size_t fields = 0;
    do {
      std::string* out = &surplus;
      if (fields < width) {
        out = &columns[fields].text;
      } else {
        surplus.clear();
      }
      if (!reader.nextField(*out, after, quoted)) return false;
      if (fields < width) {
        columns[fields].ends.push_back(out->size());
        if (quoted) {
          QuotedCells& cells = quotedCells[fields];
          cells.resize(static_cast<std::size_t>(count) + 1, false);
          cells.back() = true;
        }
      }
      ++fields;
    } while (after == CsvReader::After::Delimiter);
    if (fields != width) {
      refuse(name, startLine,
             "row has " + std::to_string(fields) + (fields == 1 ? " field" : " fields") +
                 "; the header has " + std::to_string(width));
      return false;
    }
    if (++count > std::numeric_limits<int>::max()) {
      refuse(name, startLine, "more rows than a data source can hold");
      return false;
    }
    lines.push_back(csv::reportLine(startLine));
  }
  rows = static_cast<int>(count);
  return true;
}

// What the dictionary's format type asks of a column: nothing (no type, or
// one out of range, which the dictionary's own checks refuse later), text,
// numbers, or dates (numbers too, being date values).
struct Wanted {
  enum class Kind { Any, Text, Numeric, Date };
  Kind kind = Kind::Any;
  int type = 0;

  static Wanted byFormatType(int type) {
    if (type < 1 || type > kMaxType) return {};
    if (type == VORN_Format::kStringType) return {Kind::Text, type};
    const bool date = type >= kDateDmyName && type <= kIsoDateTime && type != kDuration;
    return {date ? Kind::Date : Kind::Numeric, type};
  }
  bool strict() const { return kind == Kind::Numeric || kind == Kind::Date; }
};

// A column's type as its values decide it.
struct Typed {
  bool numeric = false;
  VORN_Format format;
  std::string kind;  // as ColumnKinds() words it
};

// What the date values of a column have in common.
class DateColumn {
 public:
  // False, with `problem`, when `value` mixes zone offsets with the values
  // before it; a date alone has none.
  bool add(const DateValue& value, std::string& problem) {
    const bool offset = value.form.offset;
    if (offset ? local_ : zoned_) {
      problem = offset ? "has a zone offset, unlike the values above it"
                       : "has no zone offset, unlike the date-times above it";
      return false;
    }
    (offset ? zoned_ : local_) = true;
    time_ = time_ || value.form.hasTime();
    fractionDigits_ = std::max(fractionDigits_, value.fractionDigits);
    using Date = DateForm::Date;
    iso_ = iso_ && value.form.date == Date::Iso;
    for (auto [date, all] : {std::pair{Date::MonthDayYear, &monthFirst_},
                             {Date::DayMonthYear, &dayFirst_},
                             {Date::YearMonthDay, &yearFirst_}}) {
      *all = *all && value.form.date == date;
    }
    if (std::find(forms_.begin(), forms_.end(), value.form) == forms_.end()) {
      if (forms_.size() < kFormsShown) {
        forms_.push_back(value.form);
      } else {
        moreForms_ = true;
      }
    }
    return true;
  }

  // The format that shows the values as they were written, or as near as
  // the host's date formats come.
  VORN_Format format() const {
    if (time_) {
      const int decimals = std::min(fractionDigits_, kMaxGuessedSecondDecimals);
      const int width =
          (iso_ ? kIsoDateTimeWidth : kDateTimeWidth) + (decimals > 0 ? decimals + 1 : 0);
      return VORN_Format(iso_ ? kIsoDateTime : kDateTime, static_cast<std::uint16_t>(width),
                         static_cast<std::uint8_t>(decimals));
    }
    const std::uint8_t type = iso_ || yearFirst_ ? kDateYmd
                              : monthFirst_      ? kDateMdy
                              : dayFirst_        ? kDateDmy
                                                 : kDateDmyName;
    return VORN_Format(type, type == kDateDmyName ? kDateNameWidth : kDateWidth, 0);
  }

  std::string kind() const {
    if (zoned_) return "date-time with offsets converted to UTC";
    std::string patterns;
    for (const DateForm& form : forms_) patterns += (patterns.empty() ? "" : "; ") + form.pattern();
    if (moreForms_) patterns += "; ...";
    return (time_ ? "date-time (" : "date (") + patterns + ")";
  }

 private:
  static constexpr std::size_t kFormsShown = 3;
  bool zoned_ = false;
  bool local_ = false;
  bool time_ = false;
  int fractionDigits_ = 0;
  bool iso_ = true;
  bool monthFirst_ = true;
  bool dayFirst_ = true;
  bool yearFirst_ = true;
  std::vector<DateForm> forms_;
  bool moreForms_ = false;
};

// Types `column` (named `name`; its rows begin on `lines` of the file
// reports call `file`). Without a wish of the dictionary it is numeric when
// every value is a number or an infinity, or every value a date, apart from
// missing values; else text. A quoted field is a text, unless its quotes
// were needed for the delimiter inside a date ("January 1, 2000"). A column
// the dictionary wants numeric or of dates must be so, quoted or not: false
// (reported) at its first value that is not. Numeric columns keep their
// numbers only.
bool typeColumn(const std::string& file, const std::string& name, CsvDataSource::Column& column,
                const std::vector<int>& lines, const QuotedCells& quoted, char delimiter,
                const Wanted& wanted, DateOrder order, Typed& typed) {
  enum class Seen { Nothing, Numbers, Dates };
  Seen seen = Seen::Nothing;
  const std::size_t rows = lines.size();
  bool texts = false;
  std::vector<double> numbers;
  numbers.reserve(rows);
  double largest = 0;
  bool negative = false;
  int decimals = 0;
  DateColumn dates;
  for (std::size_t row = 0; row < rows && !texts; ++row) {
    const std::string_view cell = trimBlanks(column.cell(row));
    DateValue date;
    std::string problem;
    if (row < quoted.size() && quoted[row] && !wanted.strict()) {
      if (seen != Seen::Numbers && cell.find(delimiter) != std::string_view::npos &&
          parseDate(cell, order, date) && dates.add(date, problem)) {
        seen = Seen::Dates;
        numbers.push_back(date.seconds);
        continue;
      }
      texts = true;
      break;
    }
    if (isMissingToken(cell)) {
      numbers.push_back(kVornMissingValue);
      continue;
    }
    double value;
    if (seen != Seen::Dates && parseNumber(cell, value, true)) {
      seen = Seen::Numbers;
      numbers.push_back(value);
      if (!std::isfinite(value)) continue;
      largest = std::max(largest, std::fabs(value));
      negative = negative || std::signbit(value);
      decimals = std::max(decimals, decimalsOf(cell));
      continue;
    }
    if (seen != Seen::Numbers && parseDate(cell, order, date) && dates.add(date, problem)) {
      seen = Seen::Dates;
      numbers.push_back(date.seconds);
      continue;
    }
    if (!wanted.strict()) {
      texts = true;
      break;
    }
    if (problem.empty()) {
      const bool dateExpected =
          seen == Seen::Dates || (seen == Seen::Nothing && wanted.kind == Wanted::Kind::Date);
      problem = dateExpected ? "is not a date" : "is not a number";
    }
    refuse(file, lines[row],
           "variable \"" + name + "\": \"" + std::string(cell) + "\" " + problem +
               "; the dictionary gives it " +
               (wanted.kind == Wanted::Kind::Date ? "date" : "numeric") + " format type " +
               std::to_string(wanted.type));
    return false;
  }
  // The string format keeps dates the texts they were written as.
  if (seen == Seen::Dates && wanted.kind == Wanted::Kind::Text) texts = true;
  if (texts) {
    std::size_t longest = 1;
    for (std::size_t r = 0; r < rows; ++r) longest = std::max(longest, column.cell(r).size());
    typed.numeric = false;
    typed.format =
        VORN_Format(VORN_Format::kStringType,
                    static_cast<std::uint16_t>(std::min<std::size_t>(longest, kMaxStringWidth)), 0);
    typed.kind = "text";
    return true;
  }
  column.numbers = std::move(numbers);
  column.text = std::string();
  column.ends = std::vector<std::size_t>();
  typed.numeric = true;
  if (seen == Seen::Dates) {
    typed.format = dates.format();
    typed.kind = dates.kind();
    return true;
  }
  const int printed = std::snprintf(nullptr, 0, "%.*f", decimals, largest) + (negative ? 1 : 0);
  const int width = std::clamp(printed, kMinGuessedWidth, static_cast<int>(VORN_Format::kMaxWidth));
  typed.format = VORN_Format(kFixedType, static_cast<std::uint16_t>(width),
                             static_cast<std::uint8_t>(decimals));
  typed.kind = seen == Seen::Nothing ? "number (all missing)"
                                     : "number (" + std::to_string(decimals) +
                                           (decimals == 1 ? " decimal)" : " decimals)");
  return true;
}

// A name on one line of ColumnKinds().
std::string oneLine(std::string_view name) {
  std::string text;
  for (const char c : name) {
    if (c == '\n') {
      text += "\\n";
    } else if (c == '\r') {
      text += "\\r";
    } else {
      text += c;
    }
  }
  return text;
}

// A key of the dictionary by its path from the root, through objects only.
using KeyPath = std::vector<std::string>;

// A key as messages name it: "variables" is the only key of the root, its
// keys are variables, and theirs are a variable's settings.
std::string describeKey(const KeyPath& path) {
  if (path.size() < 2 || path[0] != "variables") {
    std::string joined;
    for (const std::string& part : path) joined += (joined.empty() ? "" : "/") + part;
    return "key \"" + joined + "\"";
  }
  const std::string variable = "variable \"" + path[1] + "\"";
  if (path.size() == 2) return variable;
  if (path.size() == 4 && path[2] == "format") return variable + ": format key \"" + path[3] + "\"";
  if (path.size() == 4 && path[2] == "valueLabels") {
    return variable + ": value label key \"" + path[3] + "\"";
  }
  return variable + ": " + describeKey(KeyPath(path.begin() + 2, path.end()));
}

// Hands the text to the JSON library one byte at a time and notes how far
// it has read, so that the parser below knows where each key ends.
class ReadingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  ReadingIterator(const char* at, const char* begin, std::size_t* read)
      : at_(at), begin_(begin), read_(read) {}
  reference operator*() const { return *at_; }
  ReadingIterator& operator++() {
    *read_ = static_cast<std::size_t>(++at_ - begin_);
    return *this;
  }
  ReadingIterator operator++(int) {
    ReadingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const ReadingIterator& other) const { return at_ == other.at_; }
  bool operator!=(const ReadingIterator& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  const char* begin_;
  std::size_t* read_;
};

// Builds the dictionary's JSON, noting where each key stands (the JSON
// library keeps no positions) and refusing a key given twice in one object
// (the library would silently keep the last).
class DictionaryParser final : public nlohmann::json_sax<nlohmann::ordered_json> {
 public:
  using Json = nlohmann::ordered_json;

  // The root of `text`; false, with the problem and the byte offset it
  // concerns, when the text is malformed or repeats a key.
  bool parse(std::string_view text, Json& root, std::string& problem, std::size_t& at) {
    text_ = text;
    root_ = &root;
    const char* begin = text.data();
    const bool parsed = Json::sax_parse(ReadingIterator(begin, begin, &read_),
                                        ReadingIterator(begin + text.size(), begin, &read_), this);
    problem = problem_.empty() ? "malformed JSON" : problem_;
    at = at_;
    return parsed;
  }

  // The byte offset of the key at `path` (its opening quote), or npos when
  // no such key was read.
  std::size_t keyAt(const KeyPath& path) const {
    const auto found = keys_.find(path);
    return found == keys_.end() ? std::string_view::npos : found->second;
  }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { return false; }  // JSON text has none

  bool start_object(std::size_t) override { return open(Json::object()); }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& key) override {
    // The library calls this with the closing quote just read; the opening
    // one is the first quote before it that no backslash escapes.
    std::size_t quote = read_ - 1;
    while (quote > 0) {
      const std::size_t before = text_.rfind('"', quote - 1);
      if (before == std::string_view::npos) break;
      quote = before;
      std::size_t backslashes = 0;
      while (backslashes < quote && text_[quote - 1 - backslashes] == '\\') ++backslashes;
      if (backslashes % 2 == 0) break;
    }
    Frame& frame = frames_.back();
    KeyPath path = frame.path;
    path.push_back(key);
    const auto [first, fresh] = frame.keys.emplace(key, quote);
    if (!fresh) {
      problem_ = describeKey(path) + " is given twice; the first is at line " +
                 std::to_string(placeOf(text_, first->second).line);
      at_ = quote;
      return false;
    }
    if (frame.located) keys_.emplace(path, quote);
    key_ = std::move(key);
    return true;
  }

  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::detail::exception& error) override {
    // "[json.exception.parse_error.101] parse error at line 1, column 2: WHAT":
    // the place is given in this file's own terms, so only WHAT is kept.
    std::string_view what = error.what();
    if (what.substr(0, 1) == "[") what.remove_prefix(std::min(what.size(), what.find("] ") + 2));
    if (what.substr(0, 11) == "parse error") {
      const std::size_t colon = what.find(": ");
      if (colon != std::string_view::npos) what.remove_prefix(colon + 2);
    }
    problem_ = "malformed JSON: " + std::string(what);
    at_ = position == 0 ? 0 : position - 1;  // the library counts the byte it stopped at
    return false;
  }

 private:
  // An object or array being read. Only the keys of objects reached through
  // object keys alone have a path that can be looked up.
  struct Frame {
    Json* value;
    bool located;
    KeyPath path;
    std::unordered_map<std::string, std::size_t> keys;  // each key's offset
  };

  // Places a value in the innermost object or array; the containers on the
  // stack take no new element while a child of theirs is open, so the
  // frames' pointers stay valid.
  Json* place(Json&& value) {
    if (frames_.empty()) {
      *root_ = std::move(value);
      return root_;
    }
    Json& container = *frames_.back().value;
    if (container.is_object()) {
      Json& slot = container[key_];
      slot = std::move(value);
      return &slot;
    }
    container.push_back(std::move(value));
    return &container.back();
  }
  bool add(Json&& value) {
    place(std::move(value));
    return true;
  }
  bool open(Json&& container) {
    Frame frame{nullptr, frames_.empty(), {}, {}};
    if (!frames_.empty() && frames_.back().located && frames_.back().value->is_object()) {
      frame.located = true;
      frame.path = frames_.back().path;
      frame.path.push_back(key_);
    }
    frame.value = place(std::move(container));
    frames_.push_back(std::move(frame));
    return true;
  }
  bool close() {
    frames_.pop_back();
    return true;
  }

  std::string_view text_;
  Json* root_ = nullptr;
  std::size_t read_ = 0;
  std::vector<Frame> frames_;
  std::string key_;
  std::map<KeyPath, std::size_t> keys_;
  std::string problem_;
  std::size_t at_ = 0;
};

// The dictionary beside the CSV file. Every problem is refused with the
// file, the line and column of the key it concerns and the variable named,
// and the whole data source with it.
class DictionaryLoader {
 public:
  using Json = nlohmann::ordered_json;

  explicit DictionaryLoader(std::string path) : path_(std::move(path)) {}

  // Reads the JSON of `content`, which must outlive the loader; false
  // (reported) when it is malformed.
  bool parse(std::string_view content) {
    // Places count from after a byte order mark, as an editor shows them.
    if (content.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
      content.remove_prefix(kByteOrderMark.size());
    }
    text_ = content;
    std::string problem;
    std::size_t at = 0;
    try {
      if (!parser_.parse(content, root_, problem, at)) return failAt(at, problem);
      return true;
    } catch (const Json::exception& e) {
      return fail(e.what());
    }
  }

  // The format type given for `variable`, or 0 when there is none in
  // 1..40; apply() says what is wrong with one that is not.
  int formatType(const std::string& variable) const {
    if (!root_.is_object()) return 0;
    const auto variables = root_.find("variables");
    if (variables == root_.end() || !variables->is_object()) return 0;
    const auto entry = variables->find(variable);
    if (entry == variables->end() || !entry->is_object()) return 0;
    const auto format = entry->find("format");
    if (format == entry->end() || !format->is_object()) return 0;
    const auto type = format->find("type");
    if (type == format->end() || !type->is_number_integer()) return 0;
    if (type->is_number_unsigned() && type->get<std::uint64_t>() > kMaxType) return 0;
    const long long value = type->get<long long>();
    return value >= 1 && value <= kMaxType ? static_cast<int>(value) : 0;
  }

  // Describes `variables` as the parsed dictionary says; false (reported)
  // at the first problem.
  bool apply(std::vector<VORN_Variable>& variables) {
    variables_ = &variables;
    try {
      // Every value's type is tested before it is read; this only keeps a
      // slip in those tests from escaping as an exception.
      return apply(root_);
    } catch (const Json::exception& e) {
      return fail(e.what());
    }
  }

 private:
  bool apply(const Json& root) {
    if (!root.is_object()) {
      return failAt(std::min(text_.find_first_not_of(" \t\r\n"), text_.size()),
                    "the dictionary must be a JSON object");
    }
    for (const auto& [key, value] : root.items()) {
      if (key != "variables") return failKey({key}, "unknown key \"" + key + "\"");
      if (!value.is_object()) return failKey({key}, "\"variables\" must be an object");
    }
    const auto variables = root.find("variables");
    if (variables == root.end()) return true;

    std::unordered_map<std::string_view, VORN_Variable*> byName;
    for (VORN_Variable& variable : *variables_) byName.emplace(variable.GetName(), &variable);
    for (const auto& [name, entry] : variables->items()) {
      name_ = name;
      const auto found = byName.find(name);
      if (found == byName.end()) return failVariable({}, "no such variable in the data file");
      if (!entry.is_object()) return failVariable({}, "the entry must be an object");
      if (!applyEntry(*found->second, entry)) return false;
    }
    return true;
  }

  bool fail(const std::string& problem) {
    refuse(path_, problem);
    return false;
  }
  bool failAt(std::size_t at, const std::string& problem) {
    const Place place = placeOf(text_, at);
    refuse(path_, place.line, place.column, problem);
    return false;
  }
  // At the key `path`; a key never read (which cannot happen for a key
  // taken from the parsed JSON) is named instead.
  bool failKey(const KeyPath& path, const std::string& problem) {
    const std::size_t at = parser_.keyAt(path);
    if (at == std::string_view::npos) return fail(describeKey(path) + ": " + problem);
    return failAt(at, problem);
  }
  // At the key `below` the current variable's entry (the entry itself when
  // empty).
  bool failVariable(const KeyPath& below, const std::string& problem) {
    KeyPath path{"variables", name_};
    path.insert(path.end(), below.begin(), below.end());
    return failKey(path, "variable \"" + name_ + "\": " + problem);
  }

  bool applyEntry(VORN_Variable& variable, const Json& entry) {
    for (const auto& [key, value] : entry.items()) {
      bool ok;
      if (key == "label") {
        ok = applyLabel(variable, value);
      } else if (key == "format") {
        ok = applyFormat(variable, value);
      } else if (key == "measure") {
        ok = applyMeasure(variable, value);
      } else if (key == "valueLabels") {
        ok = applyValueLabels(variable, value);
      } else if (key == "missing") {
        ok = applyMissing(variable, value);
      } else {
        ok = failVariable({key}, "unknown key \"" + key + "\"");
      }
      if (!ok) return false;
    }
    return true;
  }

  bool applyLabel(VORN_Variable& variable, const Json& label) {
    if (!label.is_string()) return failVariable({"label"}, "\"label\" must be a string");
    variable.SetLabel(label.get<std::string>());
    return true;
  }

  // Keys left out keep the guessed format's values. A problem with the
  // values together is placed at the first of `keys` the format gives.
  bool applyFormat(VORN_Variable& variable, const Json& format) {
    if (!format.is_object()) return failVariable({"format"}, "\"format\" must be an object");
    const auto failFormat = [&](std::initializer_list<const char*> keys,
                                const std::string& problem) {
      for (const char* key : keys) {
        if (format.contains(key)) return failVariable({"format", key}, problem);
      }
      return failVariable({"format"}, problem);
    };
    const VORN_Format& guessed = variable.GetFormatEx();
    long long type = guessed.type;
    long long width = guessed.width;
    long long decimals = guessed.decimals;
    for (const auto& [key, value] : format.items()) {
      long long* field = key == "type"       ? &type
                         : key == "width"    ? &width
                         : key == "decimals" ? &decimals
                                             : nullptr;
      if (field == nullptr) {
        return failVariable({"format", key}, "unknown format key \"" + key + "\"");
      }
      if (!value.is_number_integer()) {
        return failVariable({"format", key}, "format " + key + " must be a whole number");
      }
      // Too large for a long long is out of every range below anyway.
      *field = value.is_number_unsigned() && value.get<std::uint64_t>() > 1000000
                   ? 1000000
                   : value.get<long long>();
    }
    const bool stringType = type == VORN_Format::kStringType;
    const long long maxWidth = stringType ? kMaxStringWidth : VORN_Format::kMaxWidth;
    if (type < 1 || type > kMaxType) {
      return failFormat({"type"}, "format type " + std::to_string(type) + " is not in 1.." +
                                      std::to_string(kMaxType));
    }
    if (stringType != variable.IsString()) {
      return failFormat({"type"},
                        variable.IsString()
                            ? "a text variable needs format type 1, not " + std::to_string(type)
                            : "a numeric variable cannot have format type 1");
    }
    if (width < 1 || width > maxWidth) {
      return failFormat({"width"}, "format width " + std::to_string(width) + " is not in 1.." +
                                       std::to_string(maxWidth));
    }
    if (stringType && decimals != 0) {
      return failFormat({"decimals"}, "a string format has no decimals");
    }
    if (decimals < 0 || decimals > kMaxDecimals) {
      return failFormat({"decimals"}, "format decimals " + std::to_string(decimals) +
                                          " is not in 0.." + std::to_string(kMaxDecimals));
    }
    if (!stringType && decimals >= width) {
      return failFormat({"decimals", "width"}, "format decimals " + std::to_string(decimals) +
                                                   " leave no room in width " +
                                                   std::to_string(width));
    }
    variable.SetFormat(VORN_Format(static_cast<std::uint8_t>(type),
                                   static_cast<std::uint16_t>(width),
                                   static_cast<std::uint8_t>(decimals)));
    return true;
  }

  bool applyMeasure(VORN_Variable& variable, const Json& measure) {
    const std::string text = measure.is_string() ? measure.get<std::string>() : std::string();
    if (text == "nominal") {
      variable.SetMeasure(VORN_Measure::Nominal);
    } else if (text == "ordinal") {
      variable.SetMeasure(VORN_Measure::Ordinal);
    } else if (text == "scale") {
      variable.SetMeasure(VORN_Measure::Scale);
    } else {
      return failVariable({"measure"},
                          "measure " + measure.dump() + " is not nominal, ordinal or scale");
    }
    return true;
  }

  bool applyValueLabels(VORN_Variable& variable, const Json& labels) {
    if (!labels.is_object()) {
      return failVariable({"valueLabels"}, "\"valueLabels\" must be an object");
    }
    for (const auto& [key, label] : labels.items()) {
      if (!label.is_string()) {
        return failVariable({"valueLabels", key},
                            "the label of value \"" + key + "\" must be a string");
      }
      VORN_Value value;
      if (variable.IsString()) {
        value.isString = true;
        value.text = key;
      } else if (!parseNumber(key, value.number)) {
        return failVariable({"valueLabels", key},
                            "value label key \"" + key + "\" is not a number");
      }
      variable.GetValueLabels().Add(std::move(value), label.get<std::string>());
    }
    return true;
  }

  // Only numbers can be user-missing: the data source has no way to hide a
  // text cell, so a list for a text variable would silently do nothing.
  bool applyMissing(VORN_Variable& variable, const Json& missing) {
    if (!missing.is_array()) return failVariable({"missing"}, "\"missing\" must be an array");
    if (variable.IsString() && !missing.empty()) {
      return failVariable({"missing"}, "missing values are only for numeric variables");
    }
    for (const Json& value : missing) {
      if (!value.is_number() || !std::isfinite(value.get<double>())) {
        return failVariable({"missing"}, "missing value " + value.dump() + " is not a number");
      }
      variable.AddUserMissing(value.get<double>());
    }
    return true;
  }

  std::string path_;
  std::vector<VORN_Variable>* variables_ = nullptr;
  std::string_view text_;
  Json root_;
  DictionaryParser parser_;
  std::string name_;
};

}  // namespace

std::unique_ptr<CsvDataSource> CsvDataSource::Open(const std::string& path,
                                                   const CsvOptions& options) {
  const bool standardInput = path == kStandardInputPath;
  const std::string name = standardInput ? kStandardInputName : path;
  std::string content;
  std::string problem;
  if (!(standardInput ? readStandardInput(content, problem) : readFile(path, content, problem))) {
    refuse(name, problem);
    return nullptr;
  }
  if (standardInput && content.empty()) {
    refuse(name, "standard input is empty");
    return nullptr;
  }
  if (!decodeToHostCodePage(name, content, options.encoding)) return nullptr;
  const char delimiter = options.delimiter != 0 ? options.delimiter : detectDelimiter(content);
  std::unique_ptr<CsvDataSource> source(new CsvDataSource(path));
  std::vector<std::string> names;
  std::vector<QuotedCells> quoted;
  if (!readTable(name, content, delimiter, names, source->columns_, quoted, source->lines_,
                 source->rows_)) {
    return nullptr;
  }
  std::string().swap(content);

  // The dictionary is read before the columns are typed: its formats say
  // which columns must be numbers or dates.
  const std::string dictionaryPath = path + kDictionarySuffix;
  std::string dictionaryText;
  std::optional<DictionaryLoader> dictionary;
  std::error_code ec;
  if (!standardInput && fs::exists(dictionaryPath, ec)) {
    if (!readFile(dictionaryPath, dictionaryText, problem)) {
      refuse(dictionaryPath, problem);
      return nullptr;
    }
    dictionary.emplace(dictionaryPath);
    if (!dictionary->parse(dictionaryText)) return nullptr;
  }

  source->variables_.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    const Wanted wanted = Wanted::byFormatType(dictionary ? dictionary->formatType(names[i]) : 0);
    DateOrder order = options.dateOrder;
    if (order == DateOrder::None && wanted.kind == Wanted::Kind::Date) {
      order = wanted.type == kDateMdy ? DateOrder::MonthFirst : DateOrder::DayFirst;
    }
    Typed typed;
    if (!typeColumn(name, names[i], source->columns_[i], source->lines_, quoted[i], delimiter,
                    wanted, order, typed)) {
      return nullptr;
    }
    source->kinds_ += oneLine(names[i]) + ": " + typed.kind + "\n";
    VORN_Variable& variable = source->variables_.emplace_back(std::move(names[i]), !typed.numeric);
    variable.SetFormat(typed.format);
  }
  if (dictionary && !dictionary->apply(source->variables_)) return nullptr;
  return source;
}

VORN_Variable* CsvDataSource::GetVariable(int column) {
  return column >= 0 && column < ColumnCount() ? &variables_[column] : nullptr;
}

double CsvDataSource::GetNumber(int row, int column) const {
  if (!inRange(row, column)) return kVornMissingValue;
  const VORN_Variable& variable = variables_[column];
  double value;
  if (variable.IsString()) {
    return parseNumber(columns_[column].cell(row), value) ? value : kVornMissingValue;
  }
  value = columns_[column].numbers[row];
  return variable.IsUserMissing(value) ? kVornMissingValue : value;
}

int CsvDataSource::LineOfRow(int row) const {
  return row >= 0 && row < rows_ ? lines_[static_cast<std::size_t>(row)] : -1;
}

std::string CsvDataSource::GetString(int row, int column) const {
  if (!inRange(row, column)) return std::string();
  if (variables_[column].IsString()) return std::string(columns_[column].cell(row));
  const double value = columns_[column].numbers[row];
  if (value == kVornMissingValue) return std::string();
  char text[32];
  std::snprintf(text, sizeof text, "%.16g", value);
  return text;
}

}  // namespace cxhost
