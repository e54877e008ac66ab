// The JSON dictionary beside a CSV file: parsed with each key's place kept,
// then applied to the variables.
#include "datasrc/CsvDictionary.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <map>
#include <new>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "datasrc/CsvColumnTypes.h"
#include "datasrc/CsvReader.h"
#include "datasrc/CsvSupport.h"

namespace cxhost {

namespace {

using csv::kMaxDecimals;
using csv::kMaxStringWidth;
using csv::kMaxType;
using csv::parseNumber;
using csv::Place;
using csv::placeOf;
using csv::refuse;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

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
// Empties `value` leaves first. The JSON library's destructor allocates to
// take apart a value with children; one taken apart here needs nothing. Past
// a depth that no dictionary reaches, the library's own way is left to it.
void dismantle(nlohmann::ordered_json& value, int depth = 0) noexcept {
  if (depth > 64) return;
  if (value.is_object()) {
    auto& object = value.get_ref<nlohmann::ordered_json::object_t&>();
    for (auto& member : object) dismantle(member.second, depth + 1);
    object.clear();
  } else if (value.is_array()) {
    auto& array = value.get_ref<nlohmann::ordered_json::array_t&>();
    for (auto& item : array) dismantle(item, depth + 1);
    array.clear();
  }
}

class DictionaryParser final : public nlohmann::json_sax<nlohmann::ordered_json> {
 public:
  using Json = nlohmann::ordered_json;

  // The root of `text`; false, with the problem and the byte offset it
  // concerns, when the text is malformed or repeats a key.
  bool parse(std::string_view text, Json& root, std::string& problem, std::size_t& at) {
    text_ = text;
    root_ = &root;
    const char* begin = text.data();
    bool parsed = false;
    try {
      parsed = Json::sax_parse(ReadingIterator(begin, begin, &read_),
                               ReadingIterator(begin + text.size(), begin, &read_), this);
    } catch (...) {
      release();
      throw;
    }
    release();
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

  // The JSON library cannot unwind an exception out of a callback: running
  // out of memory there ends the parse as a refusal instead.
  bool null() override {
    return guarded([&] { return add(nullptr); });
  }
  bool boolean(bool value) override {
    return guarded([&] { return add(value); });
  }
  bool number_integer(number_integer_t value) override {
    return guarded([&] { return add(value); });
  }
  bool number_unsigned(number_unsigned_t value) override {
    return guarded([&] { return add(value); });
  }
  bool number_float(number_float_t value, const string_t&) override {
    return guarded([&] { return add(value); });
  }
  bool string(string_t& value) override {
    return guarded([&] { return add(std::move(value)); });
  }
  bool binary(binary_t&) override { return false; }  // JSON text has none

  bool start_object(std::size_t) override {
    return guarded([&] { return open(Json::object()); });
  }
  bool start_array(std::size_t) override {
    return guarded([&] { return open(Json::array()); });
  }
  bool end_object() override {
    return guarded([&] { return close(); });
  }
  bool end_array() override {
    return guarded([&] { return close(); });
  }

  bool key(string_t& key) override {
    return guarded([&] { return readKey(key); });
  }

  template <class Step>
  bool guarded(Step step) {
    try {
      return step();
    } catch (const std::bad_alloc&) {
      problem_ = "out of memory";
      return false;
    }
  }

  bool readKey(string_t& key) {
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
  // object keys alone have a path that can be looked up. An object's members
  // are gathered aside and placed in it at its end, in one allocation: the
  // JSON library copies members when an object grows, and destroying the
  // old copies allocates inside a destructor, where running out of memory
  // ends the process.
  struct Frame {
    Json value;
    bool located;
    KeyPath path;
    std::unordered_map<std::string, std::size_t> keys;  // each key's offset
    std::vector<std::pair<std::string, Json>> members;
    std::string key;  // the key it goes under, when its parent is an object
  };

  // Places a value in the innermost object (under `key`) or array.
  void place(Json&& value, const std::string& key) {
    if (frames_.empty()) {
      *root_ = std::move(value);
      return;
    }
    Frame& frame = frames_.back();
    if (frame.value.is_object()) {
      frame.members.emplace_back(key, std::move(value));
    } else {
      frame.value.push_back(std::move(value));
    }
  }
  bool add(Json&& value) {
    place(std::move(value), key_);
    return true;
  }
  bool open(Json&& container) {
    Frame frame{std::move(container), frames_.empty(), {}, {}, {}, key_};
    if (!frames_.empty() && frames_.back().located && frames_.back().value.is_object()) {
      frame.located = true;
      frame.path = frames_.back().path;
      frame.path.push_back(key_);
    }
    frames_.push_back(std::move(frame));
    return true;
  }
  bool close() {
    Frame& frame = frames_.back();
    if (frame.value.is_object()) {
      auto& object = frame.value.get_ref<Json::object_t&>();
      object.reserve(frame.members.size());
      for (auto& [key, member] : frame.members) object.emplace(std::move(key), std::move(member));
    }
    Json done = std::move(frame.value);
    const std::string key = std::move(frame.key);
    frames_.pop_back();
    place(std::move(done), key);
    return true;
  }

 public:
  // Empties what a failed parse left open, leaves first, so that nothing is
  // destroyed with children (which allocates).
  void release() noexcept {
    for (Frame& frame : frames_) {
      dismantle(frame.value);
      for (auto& member : frame.members) dismantle(member.second);
    }
    frames_.clear();
  }

 private:
  std::string_view text_;
  Json* root_ = nullptr;
  std::size_t read_ = 0;
  std::vector<Frame> frames_;
  std::string key_;
  std::map<KeyPath, std::size_t> keys_;
  std::string problem_;
  std::size_t at_ = 0;
};

}  // namespace

// The dictionary beside the CSV file. Every problem is refused with the
// file, the line and column of the key it concerns and the variable named,
// and the whole data source with it.
class CsvDictionary::Loader {
 public:
  using Json = nlohmann::ordered_json;

  explicit Loader(std::string path) : path_(std::move(path)) {}
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;
  ~Loader() { dismantle(root_); }

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

CsvDictionary::CsvDictionary() = default;
CsvDictionary::~CsvDictionary() = default;

std::unique_ptr<CsvDictionary> CsvDictionary::Load(const std::string& path) {
  std::unique_ptr<CsvDictionary> dictionary(new CsvDictionary());
  std::string problem;
  if (!csv::readFile(path, dictionary->text_, problem)) {
    refuse(path, problem);
    return nullptr;
  }
  dictionary->loader_ = std::make_unique<Loader>(path);
  if (!dictionary->loader_->parse(dictionary->text_)) return nullptr;
  return dictionary;
}

int CsvDictionary::formatType(const std::string& variable) const {
  return loader_->formatType(variable);
}

bool CsvDictionary::apply(std::vector<VORN_Variable>& variables) {
  return loader_->apply(variables);
}

}  // namespace cxhost
