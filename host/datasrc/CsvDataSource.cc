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

void refuse(const std::string& path, std::int64_t line, std::int64_t column,
            const std::string& problem) {
  report(path + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + problem, kSource,
         reportLine(line));
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

// Whether text[at] ends a line: LF, a CR not followed by LF (old Mac files),
// and the CR of a CRLF (its LF then ends nothing more).
bool endsLine(std::string_view text, std::size_t at) {
  const char c = text[at];
  return c == '\r' || (c == '\n' && (at == 0 || text[at - 1] != '\r'));
}

std::int64_t countLineEnds(std::string_view text, std::size_t from, std::size_t to) {
  std::int64_t count = 0;
  for (std::size_t at = from; at < to; ++at) count += endsLine(text, at) ? 1 : 0;
  return count;
}

// The 1-based line and column of text[at]; columns count characters
// (UTF-8 sequences), as editors show them.
struct Place {
  std::int64_t line;
  std::int64_t column;
};
Place placeOf(std::string_view text, std::size_t at) {
  at = std::min(at, text.size());
  Place place{1, 1};
  for (std::size_t i = 0; i < at; ++i) {
    if (endsLine(text, i)) {
      ++place.line;
      place.column = 1;
    } else if (text[i] != '\n' && (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
      ++place.column;
    }
  }
  return place;
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

// RFC 4180 fields, one at a time, counting physical lines for reports. A
// line ends in LF, CRLF or a lone CR.
class CsvReader {
 public:
  enum class After { Comma, EndOfRecord };

  CsvReader(std::string_view data, const std::string& path) : data_(data), path_(path) {}

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
      const std::size_t end = std::min(data_.find_first_of(",\r\n", pos_), data_.size());
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
        refuse(path_, openedAt, "quoted field is not closed before the end of the file");
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

  // What follows a field: a comma, a line end or the end of the file.
  // Anything else can only follow a closing quote.
  bool delimiter(After& after) {
    after = After::EndOfRecord;
    if (pos_ >= data_.size()) return true;
    const char c = data_[pos_];
    if (c == ',') {
      after = After::Comma;
      ++pos_;
      return true;
    }
    if (c == '\n' || c == '\r') {
      ++pos_;
      if (c == '\r' && pos_ < data_.size() && data_[pos_] == '\n') ++pos_;
      ++line_;
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

// Reads the header and every row into text columns, noting the columns
// that hold a quoted field; false (reported) when the file is malformed.
bool readTable(const std::string& path, std::string_view data, std::vector<std::string>& names,
               std::vector<CsvDataSource::Column>& columns, std::vector<bool>& quotedColumns,
               std::vector<int>& lines, int& rows) {
  if (data.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    data.remove_prefix(kByteOrderMark.size());
  }
  // Anywhere else a byte order mark says that files were joined, or that
  // text from another encoding slipped in.
  if (const std::size_t mark = data.find(kByteOrderMark); mark != std::string_view::npos) {
    refuse(path, placeOf(data, mark).line,
           "a byte order mark is only allowed at the very start of the file");
    return false;
  }
  if (data.find_first_not_of("\r\n") == std::string_view::npos) {
    refuse(path, 1, "empty file; a header row of variable names is needed");
    return false;
  }
  CsvReader reader(data, path);
  CsvReader::After after;
  bool quoted;
  std::vector<std::int64_t> nameLines;
  do {
    nameLines.push_back(reader.line());
    std::string name;
    if (!reader.nextField(name, after, quoted)) return false;
    names.push_back(std::move(name));
  } while (after == CsvReader::After::Comma);

  std::unordered_map<std::string_view, std::size_t> seen;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string column = std::to_string(i + 1);
    if (names[i].empty()) {
      refuse(path, nameLines[i], "variable name of column " + column + " is empty");
      return false;
    }
    // A NUL would cut the name short wherever it is handed on as C text.
    if (names[i].find('\0') != std::string::npos) {
      refuse(path, nameLines[i], "variable name of column " + column + " contains a NUL byte");
      return false;
    }
    const auto [it, fresh] = seen.emplace(names[i], i);
    if (!fresh) {
      refuse(path, nameLines[i],
             "variable name \"" + names[i] + "\" is used by columns " +
                 std::to_string(it->second + 1) + " and " + column);
      return false;
    }
  }

  const std::size_t width = names.size();
  columns.resize(width);
  quotedColumns.assign(width, false);
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
        if (quoted) quotedColumns[fields] = true;
      }
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

// Makes `column` numeric when every non-blank cell is a number or an
// infinity and none was quoted, and gives the display format its values
// suggest: fixed-point wide enough for the largest finite value with the
// most decimals seen, or a string as wide as the longest text.
bool typeColumn(CsvDataSource::Column& column, std::size_t rows, bool quoted, VORN_Format& format) {
  bool texts = quoted;
  std::vector<double> numbers;
  numbers.reserve(texts ? 0 : rows);
  double largest = 0;
  bool negative = false;
  int decimals = 0;
  for (std::size_t row = 0; row < rows && !texts; ++row) {
    const std::string_view cell = trimBlanks(column.cell(row));
    if (cell.empty()) {
      numbers.push_back(kVornMissingValue);
      continue;
    }
    double value;
    if (!parseNumber(cell, value, true)) {
      texts = true;
      break;
    }
    numbers.push_back(value);
    if (!std::isfinite(value)) continue;
    largest = std::max(largest, std::fabs(value));
    negative = negative || std::signbit(value);
    decimals = std::max(decimals, decimalsOf(cell));
  }
  if (texts) {
    std::size_t longest = 1;
    for (std::size_t r = 0; r < rows; ++r) longest = std::max(longest, column.cell(r).size());
    format =
        VORN_Format(VORN_Format::kStringType,
                    static_cast<std::uint16_t>(std::min<std::size_t>(longest, kMaxStringWidth)), 0);
    return false;
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

  DictionaryLoader(std::string path, std::vector<VORN_Variable>& variables)
      : path_(std::move(path)), variables_(variables) {}

  bool load(std::string_view content) {
    // Places count from after a byte order mark, as an editor shows them.
    if (content.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
      content.remove_prefix(kByteOrderMark.size());
    }
    text_ = content;
    Json root;
    std::string problem;
    std::size_t at = 0;
    try {
      if (!parser_.parse(content, root, problem, at)) return failAt(at, problem);
      // Every value's type is tested before it is read; this only keeps a
      // slip in those tests from escaping as an exception.
      return apply(root);
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
    for (VORN_Variable& variable : variables_) byName.emplace(variable.GetName(), &variable);
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
  std::vector<VORN_Variable>& variables_;
  std::string_view text_;
  DictionaryParser parser_;
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
  std::vector<bool> quoted;
  if (!readTable(path, content, names, source->columns_, quoted, source->lines_, source->rows_))
    return nullptr;
  std::string().swap(content);

  source->variables_.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    VORN_Format format;
    const bool numeric =
        typeColumn(source->columns_[i], static_cast<std::size_t>(source->rows_), quoted[i], format);
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
