// The tool's own copy of a data file's values, taken from the data source the
// host opened (a file is read once: standard input cannot be read again), so
// that rows can be fed to a chart case by case as a procedure feeds its data.
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
  std::string label;  // the dictionary's label; "" when it gives none
  bool numeric = true;
  // The dictionary calls the column nominal or ordinal, or gives it value
  // labels: its numbers are codes of categories, not amounts.
  bool coded = false;
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
  // The values of `source`, a handle the host opened (cxh_open_csv_ex);
  // `name` names the data in messages.
  static Table fromSource(void* source, const std::string& name);

  // The data's name in messages: its path, or "<stdin>".
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
  // What charts call the column: its label, else its name.
  const std::string& labelOf(std::size_t column) const;
  // How many distinct values a numeric column has, counting no further than
  // `limit` + 1.
  std::size_t distinctNumbers(std::size_t column, std::size_t limit) const;
  // The row's field as the file spells numbers back ("%.16g"); "" if missing.
  std::string text(std::size_t column, std::size_t row) const;

 private:
  std::string path_;
  std::vector<Column> columns_;
  std::vector<std::int64_t> lines_;
};

}  // namespace chartxml::cli
