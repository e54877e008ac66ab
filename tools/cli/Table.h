// The tool's own copy of a data file's values, read through the host's data
// source (cxh_open_csv), so that rows can be fed to a chart case by case as a
// procedure feeds its data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace chartxml::cli {

struct Column {
  std::string name;
  bool numeric = true;
  // Numeric columns: one value a row, NaN where missing (an empty field or a
  // user-missing value of the dictionary beside the file).
  std::vector<double> numbers;
  // Text columns: one text a row, "" where missing.
  std::vector<std::string> texts;
  // Text columns: the first row whose field is not a number, for messages.
  std::size_t firstText = 0;
};

class Table {
 public:
  // Reads PATH (and PATH.dict.json beside it) through the host. Nothing and
  // `error` (the host's report, "PATH:LINE: ...") when the host refuses it.
  static std::optional<Table> load(const std::string& path, std::string& error);

  const std::string& path() const { return path_; }
  std::size_t rows() const { return lines_.size(); }
  std::size_t columnCount() const { return columns_.size(); }
  const Column& column(std::size_t index) const { return columns_[index]; }
  // The file line on which the row begins (the header is line 1).
  std::int64_t lineOf(std::size_t row) const { return lines_[row]; }
  // The column of that name, or -1.
  int find(std::string_view name) const;
  // Every column name in order, separated by ", ".
  std::string names() const;
  // The row's field as the file spells numbers back ("%.16g"); "" if missing.
  std::string text(std::size_t column, std::size_t row) const;

 private:
  std::string path_;
  std::vector<Column> columns_;
  std::vector<std::int64_t> lines_;
};

}  // namespace chartxml::cli
