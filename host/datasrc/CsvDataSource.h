// A data source read from a CSV file (internal to the host).
//
// The file is RFC 4180 text: a header row of variable names, then one row per
// case; an empty field is a missing value. Lines end in LF, CRLF or a lone CR.
// A UTF-8 byte order mark is accepted at the very start of the file only; one
// anywhere else, like a NUL byte in a variable name, is refused.
//
// A column is numeric when every non-empty field of it is an unquoted number:
// decimal text (blanks around it allowed) or an infinity, spelt "inf" or
// "infinity" in any letter case, with a sign or not ("inf", "+inf", "-inf",
// "Infinity"); a "nan" field is text. A quoted field is always text, even
// one that spells a number ("123"), so a single quoted field makes its column
// text; this is how the data the output sink writes keeps a text that looks
// like a number a text. Texts are kept as the file's bytes (the host's default
// code page), never transcoded.
//
// The optional PATH.dict.json beside the file describes variables by name:
// label, display format, measurement level, value labels, missing values.
// Without it (or for variables it leaves out) every variable gets its name,
// no label, measure scale (numbers) or nominal (texts), and a display format
// guessed from its values. Every problem in the dictionary is reported with
// the line and column of the key it concerns; a key given twice in one
// object is refused.
#ifndef CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_
#define CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/host/VORN_DataSource.h"

namespace cxhost {

class CsvDataSource final : public VORN_DataSource {
 public:
  // Loads `path` and its dictionary. Null when either is missing where
  // required, unreadable or malformed; every refusal is reported as
  // "FILE:LINE: ..." (or "FILE: ..." where no line applies).
  static std::unique_ptr<CsvDataSource> Open(const std::string& path);

  const std::string& Path() const { return path_; }

  int ColumnCount() const override { return static_cast<int>(variables_.size()); }
  int RowCount() const override { return rows_; }
  VORN_Variable* GetVariable(int column) override;
  // A text cell (quoted or not) gives the finite number its text spells, if
  // any: only the column's type follows the quoting.
  double GetNumber(int row, int column) const override;
  // A numeric cell reads back as printf("%.16g") of its value: the file's own
  // spelling of numbers is not kept, to keep numeric columns at 8 bytes a cell.
  std::string GetString(int row, int column) const override;
  int LineOfRow(int row) const override;

  // A column as stored: numbers (kVornMissingValue for an empty cell), or the
  // texts of all cells back to back with the end offset of each cell.
  struct Column {
    std::vector<double> numbers;
    std::string text;
    std::vector<std::size_t> ends;

    std::string_view cell(std::size_t row) const {
      const std::size_t begin = row == 0 ? 0 : ends[row - 1];
      return std::string_view(text).substr(begin, ends[row] - begin);
    }
  };

 private:
  explicit CsvDataSource(std::string path) : path_(std::move(path)) {}
  bool inRange(int row, int column) const {
    return row >= 0 && row < rows_ && column >= 0 && column < ColumnCount();
  }

  std::string path_;
  std::vector<VORN_Variable> variables_;
  std::vector<Column> columns_;
  int rows_ = 0;
  // The file line on which each row begins.
  std::vector<int> lines_;
};

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_
