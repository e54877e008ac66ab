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
#include <limits>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "chartutl/ReportLog.h"
#include "chartxml/host/Platform.h"

namespace fs = std::filesystem;

namespace cxhost {

namespace {

constexpr const char* kSource = "host/datasrc";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kDictionarySuffix = ".dict.json";

constexpr std::uint8_t kFixedType = 5;
constexpr int kMaxType = 40;
constexpr int kMaxStringWidth = 32767;
constexpr int kMaxDecimals = 16;
// A guessed numeric format is never narrower than this, so that small whole
// numbers still line up with the values of neighbouring columns.
constexpr int kMinGuessedWidth = 8;

// Reports carry the file line as their line; a file longer than an int can
// count is reported at the last line an int can hold.
int reportLine(std::int64_t line) {
  return static_cast<int>(std::min<std::int64_t>(line, std::numeric_limits<int>::max()));
}

void refuse(const std::string& path, std::int64_t line, const std::string& problem) {
  report(path + ":" + std::to_string(line) + ": " + problem, kSource, reportLine(line));
}

void refuse(const std::string& path, const std::string& problem) {
  report(path + ": " + problem, kSource, 0);
}

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

std::string_view trimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// A finite number spelled by the whole of `text` (blanks around it allowed),
// read the same way whatever the process locale.
bool parseNumber(std::string_view text, double& value) {
  text = trimBlanks(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return false;
  }
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end && std::isfinite(value);
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

// RFC 4180 fields, one at a time, counting physical lines for reports.
class CsvReader {
 public:
  enum class After { Comma, EndOfRecord };

  CsvReader(std::string_view data, const std::string& path) : data_(data), path_(path) {}

  bool atEnd() const { return pos_ >= data_.size(); }
  std::int64_t line() const { return line_; }
  bool onlyLineBreaksLeft() const {
    return data_.find_first_not_of("\r\n", pos_) == std::string_view::npos;
  }

  // Appends the next field's text to `out` and tells what ended it. False
  // (reported) when the field is malformed.
  bool nextField(std::string& out, After& after) {
    if (pos_ < data_.size() && data_[pos_] == '"') {
      if (!quotedField(out)) return false;
    } else {
      std::size_t end = pos_;
      while (end < data_.size() && data_[end] != ',' && data_[end] != '\n') ++end;
      std::size_t textEnd = end;
      if (textEnd > pos_ && data_[textEnd - 1] == '\r' &&
          (textEnd == data_.size() || data_[textEnd] == '\n')) {
        --textEnd;
      }
      out.append(data_.substr(pos_, textEnd - pos_));
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
        refuse(path_, openedAt, "quoted field is not closed before the end of the file");
        return false;
      }
      const std::string_view text = data_.substr(pos_, quote - pos_);
      line_ += std::count(text.begin(), text.end(), '\n');
      out.append(text);
      pos_ = quote + 1;
      if (pos_ < data_.size() && data_[pos_] == '"') {
        out.push_back('"');
        ++pos_;
        continue;
      }
      return true;
    }
  }

  // What follows a field: a comma, a line end (LF or CRLF) or the end of
  // the file. Anything else can only follow a closing quote.
  bool delimiter(After& after) {
    after = After::EndOfRecord;
    if (pos_ >= data_.size()) return true;
    const char c = data_[pos_];
    const bool lastByte = pos_ + 1 == data_.size();
    if (c == ',') {
      after = After::Comma;
      ++pos_;
      return true;
    }
    if (c == '\n' || (c == '\r' && !lastByte && data_[pos_ + 1] == '\n')) {
      pos_ += c == '\n' ? 1 : 2;
      ++line_;
      return true;
    }
    if (c == '\r' && lastByte) {
      ++pos_;
      return true;
    }
    refuse(path_, line_, "text after the closing quote of a field");
    return false;
  }

  std::string_view data_;
  const std::string& path_;
  std::size_t pos_ = 0;
  std::int64_t line_ = 1;
};

// Reads the header and every row into text columns; false (reported) when
// the file is malformed.
bool readTable(const std::string& path, std::string_view data, std::vector<std::string>& names,
               std::vector<CsvDataSource::Column>& columns, std::vector<int>& lines, int& rows) {
  if (data.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    data.remove_prefix(kByteOrderMark.size());
  }
  if (data.find_first_not_of("\r\n") == std::string_view::npos) {
    refuse(path, 1, "empty file; a header row of variable names is needed");
    return false;
  }
  CsvReader reader(data, path);
  CsvReader::After after;
  do {
    std::string name;
    if (!reader.nextField(name, after)) return false;
    names.push_back(std::move(name));
  } while (after == CsvReader::After::Comma);

  std::unordered_map<std::string_view, std::size_t> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (names[i].empty()) {
      refuse(path, 1, "variable name of column " + std::to_string(i + 1) + " is empty");
      return false;
    }
    const auto [it, fresh] = seen.emplace(names[i], i);
    if (!fresh) {
      refuse(path, 1,
             "variable name \"" + names[i] + "\" is used by columns " +
                 std::to_string(it->second + 1) + " and " + std::to_string(i + 1));
      return false;
    }
  }

  const std::size_t width = names.size();
  columns.resize(width);
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
      if (!reader.nextField(*out, after)) return false;
      if (fields < width) columns[fields].ends.push_back(out->size());
      ++fields;
    } while (after == CsvReader::After::Comma);
    if (fields != width) {
      refuse(path, startLine,
             "row has " + std::to_string(fields) + (fields == 1 ? " field" : " fields") +
                 "; the header has " + std::to_string(width));
      return false;
    }
    if (++count > std::numeric_limits<int>::max()) {
      refuse(path, startLine, "more rows than a data source can hold");
      return false;
    }
    lines.push_back(reportLine(startLine));
  }
  rows = static_cast<int>(count);
  return true;
}

// Makes `column` numeric when every non-blank cell is a finite number, and
// gives the display format its values suggest: fixed-point wide enough for
// the largest value with the most decimals seen, or a string as wide as the
// longest text.
bool typeColumn(CsvDataSource::Column& column, std::size_t rows, VORN_Format& format) {
  std::vector<double> numbers;
  numbers.reserve(rows);
  double largest = 0;
  bool negative = false;
  int decimals = 0;
  for (std::size_t row = 0; row < rows; ++row) {
    const std::string_view cell = trimBlanks(column.cell(row));
    if (cell.empty()) {
      numbers.push_back(kVornMissingValue);
      continue;
    }
    double value;
    if (!parseNumber(cell, value)) {
      std::size_t longest = 1;
      for (std::size_t r = 0; r < rows; ++r) longest = std::max(longest, column.cell(r).size());
      format = VORN_Format(
          VORN_Format::kStringType,
          static_cast<std::uint16_t>(std::min<std::size_t>(longest, kMaxStringWidth)), 0);
      return false;
    }
    numbers.push_back(value);
    largest = std::max(largest, std::fabs(value));
    negative = negative || std::signbit(value);
    decimals = std::max(decimals, decimalsOf(cell));
  }
  column.numbers = std::move(numbers);
  column.text = std::string();
  column.ends = std::vector<std::size_t>();
  const int printed = std::snprintf(nullptr, 0, "%.*f", decimals, largest) + (negative ? 1 : 0);
  const int width = std::clamp(printed, kMinGuessedWidth, static_cast<int>(VORN_Format::kMaxWidth));
  format = VORN_Format(kFixedType, static_cast<std::uint16_t>(width),
                       static_cast<std::uint8_t>(decimals));
  return true;
}

// The dictionary beside the CSV file. Every problem is refused with the
// file (and the variable) named, and the whole data source with it.
class DictionaryLoader {
 public:
  using Json = nlohmann::ordered_json;

  DictionaryLoader(std::string path, std::vector<VORN_Variable>& variables)
      : path_(std::move(path)), variables_(variables) {}

  bool load(const std::string& content) {
    Json root;
    try {
      root = Json::parse(content);
    } catch (const Json::exception& e) {
      refuse(path_, std::string("malformed JSON: ") + e.what());
      return false;
    }
    // Every value's type is tested before it is read; this only keeps a
    // slip in those tests from escaping as an exception.
    try {
      return apply(root);
    } catch (const Json::exception& e) {
      return fail(e.what());
    }
  }

 private:
  bool apply(const Json& root) {
    if (!root.is_object()) return fail("the dictionary must be a JSON object");
    for (const auto& [key, value] : root.items()) {
      if (key != "variables") return fail("unknown key \"" + key + "\"");
      if (!value.is_object()) return fail("\"variables\" must be an object");
    }
    const auto variables = root.find("variables");
    if (variables == root.end()) return true;

    std::unordered_map<std::string_view, VORN_Variable*> byName;
    for (VORN_Variable& variable : variables_) byName.emplace(variable.GetName(), &variable);
    for (const auto& [name, entry] : variables->items()) {
      name_ = name;
      const auto found = byName.find(name);
      if (found == byName.end()) return failVariable("no such variable in the data file");
      if (!entry.is_object()) return failVariable("the entry must be an object");
      if (!applyEntry(*found->second, entry)) return false;
    }
    return true;
  }

  bool fail(const std::string& problem) {
    refuse(path_, problem);
    return false;
  }
  bool failVariable(const std::string& problem) {
    return fail("variable \"" + name_ + "\": " + problem);
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
        ok = failVariable("unknown key \"" + key + "\"");
      }
      if (!ok) return false;
    }
    return true;
  }

  bool applyLabel(VORN_Variable& variable, const Json& label) {
    if (!label.is_string()) return failVariable("\"label\" must be a string");
    variable.SetLabel(label.get<std::string>());
    return true;
  }

  // Keys left out keep the guessed format's values.
  bool applyFormat(VORN_Variable& variable, const Json& format) {
    if (!format.is_object()) return failVariable("\"format\" must be an object");
    const VORN_Format& guessed = variable.GetFormatEx();
    long long type = guessed.type;
    long long width = guessed.width;
    long long decimals = guessed.decimals;
    for (const auto& [key, value] : format.items()) {
      long long* field = key == "type"       ? &type
                         : key == "width"    ? &width
                         : key == "decimals" ? &decimals
                                             : nullptr;
      if (field == nullptr) return failVariable("unknown format key \"" + key + "\"");
      if (!value.is_number_integer()) {
        return failVariable("format " + key + " must be a whole number");
      }
      // Too large for a long long is out of every range below anyway.
      *field = value.is_number_unsigned() && value.get<std::uint64_t>() > 1000000
                   ? 1000000
                   : value.get<long long>();
    }
    const bool stringType = type == VORN_Format::kStringType;
    const long long maxWidth = stringType ? kMaxStringWidth : VORN_Format::kMaxWidth;
    if (type < 1 || type > kMaxType) {
      return failVariable("format type " + std::to_string(type) + " is not in 1.." +
                          std::to_string(kMaxType));
    }
    if (stringType != variable.IsString()) {
      return failVariable(variable.IsString()
                              ? "a text variable needs format type 1, not " + std::to_string(type)
                              : "a numeric variable cannot have format type 1");
    }
    if (width < 1 || width > maxWidth) {
      return failVariable("format width " + std::to_string(width) + " is not in 1.." +
                          std::to_string(maxWidth));
    }
    if (stringType && decimals != 0) return failVariable("a string format has no decimals");
    if (decimals < 0 || decimals > kMaxDecimals) {
      return failVariable("format decimals " + std::to_string(decimals) + " is not in 0.." +
                          std::to_string(kMaxDecimals));
    }
    if (!stringType && decimals >= width) {
      return failVariable("format decimals " + std::to_string(decimals) +
                          " leave no room in width " + std::to_string(width));
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
      return failVariable("measure " + measure.dump() + " is not nominal, ordinal or scale");
    }
    return true;
  }

  bool applyValueLabels(VORN_Variable& variable, const Json& labels) {
    if (!labels.is_object()) return failVariable("\"valueLabels\" must be an object");
    for (const auto& [key, label] : labels.items()) {
      if (!label.is_string()) {
        return failVariable("the label of value \"" + key + "\" must be a string");
      }
      VORN_Value value;
      if (variable.IsString()) {
        value.isString = true;
        value.text = key;
      } else if (!parseNumber(key, value.number)) {
        return failVariable("value label key \"" + key + "\" is not a number");
      }
      variable.GetValueLabels().Add(std::move(value), label.get<std::string>());
    }
    return true;
  }

  // Only numbers can be user-missing: the data source has no way to hide a
  // text cell, so a list for a text variable would silently do nothing.
  bool applyMissing(VORN_Variable& variable, const Json& missing) {
    if (!missing.is_array()) return failVariable("\"missing\" must be an array");
    if (variable.IsString() && !missing.empty()) {
      return failVariable("missing values are only for numeric variables");
    }
    for (const Json& value : missing) {
      if (!value.is_number() || !std::isfinite(value.get<double>())) {
        return failVariable("missing value " + value.dump() + " is not a number");
      }
      variable.AddUserMissing(value.get<double>());
    }
    return true;
  }

  std::string path_;
  std::vector<VORN_Variable>& variables_;
  std::string name_;
};

}  // namespace

std::unique_ptr<CsvDataSource> CsvDataSource::Open(const std::string& path) {
  std::string content;
  std::string problem;
  if (!readFile(path, content, problem)) {
    refuse(path, problem);
    return nullptr;
  }
  std::unique_ptr<CsvDataSource> source(new CsvDataSource(path));
  std::vector<std::string> names;
  if (!readTable(path, content, names, source->columns_, source->lines_, source->rows_))
    return nullptr;
  std::string().swap(content);

  source->variables_.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    VORN_Format format;
    const bool numeric =
        typeColumn(source->columns_[i], static_cast<std::size_t>(source->rows_), format);
    VORN_Variable& variable = source->variables_.emplace_back(std::move(names[i]), !numeric);
    variable.SetFormat(format);
  }

  const std::string dictionaryPath = path + kDictionarySuffix;
  std::error_code ec;
  if (fs::exists(dictionaryPath, ec)) {
    std::string dictionary;
    if (!readFile(dictionaryPath, dictionary, problem)) {
      refuse(dictionaryPath, problem);
      return nullptr;
    }
    if (!DictionaryLoader(dictionaryPath, source->variables_).load(dictionary)) return nullptr;
  }
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
