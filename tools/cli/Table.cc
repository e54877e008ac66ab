#include "cli/Table.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <sstream>
#include <unordered_set>

namespace chartxml::cli {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

std::string_view trimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// A finite number spelled by the whole field (blanks around it allowed).
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

// RFC 4180 records, one at a time, with the line each one starts on.
class Reader {
 public:
  Reader(std::string_view data, const std::string& path) : data_(data), path_(path) {}

  bool atEnd() const { return pos_ >= data_.size(); }
  bool onlyLineBreaksLeft() const {
    return data_.find_first_not_of("\r\n", pos_) == std::string_view::npos;
  }
  std::int64_t line() const { return line_; }

  // The next record's fields; false and `error` when it is malformed.
  bool record(std::vector<std::string>& fields, std::string& error) {
    fields.clear();
    for (;;) {
      std::string& field = fields.emplace_back();
      if (pos_ < data_.size() && data_[pos_] == '"') {
        if (!quoted(field, error)) return false;
      } else {
        std::size_t end = pos_;
        while (end < data_.size() && data_[end] != ',' && data_[end] != '\n') ++end;
        std::size_t textEnd = end;
        if (textEnd > pos_ && data_[textEnd - 1] == '\r') --textEnd;
        field.assign(data_.substr(pos_, textEnd - pos_));
        pos_ = end;
      }
      if (pos_ >= data_.size()) return true;
      const char c = data_[pos_];
      if (c == ',') {
        ++pos_;
        continue;
      }
      if (c == '\r' && pos_ + 1 < data_.size() && data_[pos_ + 1] == '\n') ++pos_;
      if (data_[pos_] == '\n' || pos_ + 1 == data_.size()) {
        ++pos_;
        ++line_;
        return true;
      }
      error = at(line_) + "text after the closing quote of a field";
      return false;
    }
  }

  std::string at(std::int64_t line) const { return path_ + ":" + std::to_string(line) + ": "; }

 private:
  bool quoted(std::string& field, std::string& error) {
    const std::int64_t openedAt = line_;
    ++pos_;
    for (;;) {
      const std::size_t quote = data_.find('"', pos_);
      if (quote == std::string_view::npos) {
        error = at(openedAt) + "quoted field is not closed before the end of the file";
        return false;
      }
      const std::string_view text = data_.substr(pos_, quote - pos_);
      line_ += std::count(text.begin(), text.end(), '\n');
      field.append(text);
      pos_ = quote + 1;
      if (pos_ < data_.size() && data_[pos_] == '"') {
        field.push_back('"');
        ++pos_;
        continue;
      }
      return true;
    }
  }

  std::string_view data_;
  const std::string& path_;
  std::size_t pos_ = 0;
  std::int64_t line_ = 1;
};

bool readFile(const std::string& path, std::string& content, std::string& error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot open: " + std::strerror(errno);
    return false;
  }
  std::ostringstream text;
  text << in.rdbuf();
  content = std::move(text).str();
  return true;
}

// The dictionary's user-missing values by variable name. The host has
// checked the dictionary already; anything unexpected here is left alone.
void applyUserMissing(std::string_view dictionary, std::vector<Column>& columns) {
  const auto root = nlohmann::json::parse(dictionary, nullptr, false);
  if (!root.is_object() || !root.contains("variables") || !root["variables"].is_object()) return;
  for (Column& column : columns) {
    const auto entry = root["variables"].find(column.name);
    if (!column.numeric || entry == root["variables"].end() || !entry->is_object()) continue;
    const auto missing = entry->find("missing");
    if (missing == entry->end() || !missing->is_array()) continue;
    for (const auto& value : *missing) {
      if (!value.is_number()) continue;
      const double number = value.get<double>();
      std::replace(column.numbers.begin(), column.numbers.end(), number, kMissing);
    }
  }
}

}  // namespace

std::optional<Table> Table::load(const std::string& path, std::string& error) {
  std::string content;
  if (!readFile(path, content, error)) return std::nullopt;
  std::string dictionary;
  std::string ignored;
  std::ifstream probe(path + ".dict.json");
  if (probe.good()) readFile(path + ".dict.json", dictionary, ignored);
  return parse(content, path, dictionary, error);
}

std::optional<Table> Table::parse(std::string_view text, const std::string& path,
                                  std::string_view dictionary, std::string& error) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
  Reader reader(text, path);
  if (text.find_first_not_of("\r\n") == std::string_view::npos) {
    error = reader.at(1) + "empty file; a header row of variable names is needed";
    return std::nullopt;
  }
  Table table;
  table.path_ = path;
  std::vector<std::string> fields;
  if (!reader.record(fields, error)) return std::nullopt;
  std::unordered_set<std::string> seen;
  for (std::string& name : fields) {
    if (name.empty() || !seen.insert(name).second) {
      error = reader.at(1) + (name.empty() ? "a variable name is empty"
                                           : "variable name \"" + name + "\" is used twice");
      return std::nullopt;
    }
    table.columns_.emplace_back().name = std::move(name);
  }
  const std::size_t width = table.columns_.size();
  std::vector<std::vector<std::string>> cells(width);
  while (!reader.atEnd()) {
    if (width > 1 && reader.onlyLineBreaksLeft()) break;
    const std::int64_t line = reader.line();
    if (!reader.record(fields, error)) return std::nullopt;
    if (fields.size() != width) {
      error = reader.at(line) + "row has " + std::to_string(fields.size()) +
              (fields.size() == 1 ? " field" : " fields") + "; the header has " +
              std::to_string(width);
      return std::nullopt;
    }
    for (std::size_t c = 0; c < width; ++c) cells[c].push_back(std::move(fields[c]));
    table.lines_.push_back(line);
  }

  for (std::size_t c = 0; c < width; ++c) {
    Column& column = table.columns_[c];
    column.numbers.reserve(cells[c].size());
    for (std::size_t row = 0; row < cells[c].size() && column.numeric; ++row) {
      double value;
      if (trimBlanks(cells[c][row]).empty()) {
        column.numbers.push_back(kMissing);
      } else if (parseNumber(cells[c][row], value)) {
        column.numbers.push_back(value);
      } else {
        column.numeric = false;
        column.firstText = row;
      }
    }
    if (column.numeric) continue;
    std::vector<double>().swap(column.numbers);
    column.texts = std::move(cells[c]);
  }
  applyUserMissing(dictionary, table.columns_);
  return table;
}

int Table::find(std::string_view name) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

std::string Table::names() const {
  std::string out;
  for (const Column& column : columns_) {
    if (!out.empty()) out += ", ";
    out += column.name;
  }
  return out;
}

std::string Table::text(std::size_t column, std::size_t row) const {
  const Column& c = columns_[column];
  if (!c.numeric) return c.texts[row];
  if (std::isnan(c.numbers[row])) return std::string();
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.16g", c.numbers[row]);
  return buffer;
}

}  // namespace chartxml::cli
