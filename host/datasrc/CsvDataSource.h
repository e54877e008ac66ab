// A data source read from a CSV file (internal to the host).
//
// The file is RFC 4180 text: a header row of variable names, then one row per
// case. Lines end in LF, CRLF or a lone CR. Fields are separated by the
// caller's delimiter or else by the one of ',', ';' and tab that splits the
// header line (quotes respected) into the most fields, the first of them in
// that order on a tie. The encoding is the caller's, or the byte order
// mark's, or the host's code page (CsvEncoding.h); texts are handed on in the
// host's code page. A NUL byte in a variable name is refused. PATH "-" reads
// what is left of standard input, and looks for no dictionary.
//
// Each column is typed from its fields, blanks around them ignored:
// - an empty field, and NA, N/A, NaN, nan, null, NULL or "." unquoted, is a
//   missing value in a numeric column (a text in a text column);
// - numbers: decimal text or an infinity ("inf", "+inf", "-Infinity", any
//   letter case); a column of numbers and missing values is numeric;
// - dates and date-times (CsvDates.h): a column of them and missing values
//   holds the host's date values (seconds since 14 October 1582), numeric.
//   Numeric dates such as 01/02/2000 count only when the caller gives the
//   order of day and month, or the dictionary gives the variable a date
//   format (then month first for type 21, day first for the others). A
//   date-time with a zone offset is converted to UTC; a column that mixes
//   values with and without an offset stays text, as one that mixes dates
//   and numbers does;
// - anything else makes the column text, and so does a quoted field, unless
//   its quotes were needed for the delimiter inside a date ("January 1,
//   2000"): quoting keeps a text that looks like a number, a missing value
//   or a date a text, which is how the data the output sink writes reads
//   back unchanged. A variable the dictionary gives a
//   numeric or date format must hold numbers (quoted or not) or dates
//   throughout; its first value that is not is refused with its line. One it
//   gives the string format (type 1) keeps dates as texts.
//
// The guessed display format: fixed-point (type 5) wide enough for the
// largest finite value with the most decimals seen, at least 8; a string as
// wide as the longest text; for dates yyyy/mm/dd (23) when written as ISO
// 8601, mm/dd/yyyy (21) or dd.mm.yyyy (22) when numeric month or day first,
// dd-mmm-yyyy (20) otherwise; for date-times yyyy-mm-ddThh:mm:ss (30) when
// ISO 8601, dd-mmm-yyyy hh:mm:ss (24) otherwise, with the decimals of the
// seconds seen, at most 3.
//
// The optional PATH.dict.json beside the file describes variables by name:
// label, display format, measurement level, value labels, missing values.
// Without it (or for variables it leaves out) every variable gets its name,
// no label, measure scale (numbers) or nominal (texts), and the guessed
// format. Every problem in the dictionary is reported with the line and
// column of the key it concerns; a key given twice in one object is refused.
#ifndef CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_
#define CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/host/VORN_DataSource.h"
#include "datasrc/CsvDates.h"
#include "datasrc/CsvReader.h"

namespace cxhost {

// How to read a CSV file; the defaults detect what they can.
struct CsvOptions {
  char delimiter = 0;    // 0: detected from the header line
  std::string encoding;  // "": by byte order mark, else the host's code page
  DateOrder dateOrder = DateOrder::None;
};

class CsvDataSource final : public VORN_DataSource {
 public:
  // Loads `path` ("-": standard input) and its dictionary. Null when either
  // is missing where required, unreadable or malformed; every refusal is
  // reported as "FILE:LINE: ..." (or "FILE: ..." where no line applies),
  // standard input being "<stdin>".
  static std::unique_ptr<CsvDataSource> Open(const std::string& path,
                                             const CsvOptions& options = CsvOptions());

  const std::string& Path() const { return path_; }
  // What the reader made of each column, one line each ending in a line
  // break: "NAME: KIND", KIND being "text", "number (1 decimal)", "number
  // (all missing)", "date (yyyy-MM-dd)", "date-time (yyyy-MM-dd HH:mm)" or
  // "date-time with offsets converted to UTC". Line breaks in a name are
  // shown as \r and \n.
  const std::string& ColumnKinds() const { return kinds_; }

  int ColumnCount() const override { return static_cast<int>(variables_.size()); }
  int RowCount() const override { return rows_; }
  VORN_Variable* GetVariable(int column) override;
  // A text cell (quoted or not) gives the finite number its text spells, if
  // any: only the column's type follows the quoting.
  double GetNumber(int row, int column) const override;
  void GetNumbers(int column, int first, int count, double* out) const override;
  // A numeric cell reads back as printf("%.16g") of its value: the file's own
  // spelling of numbers is not kept, to keep numeric columns at 8 bytes a cell.
  std::string GetString(int row, int column) const override;
  int LineOfRow(int row) const override;

  // A column as stored (CsvReader.h).
  using Column = CsvColumn;

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
  std::string kinds_;
};

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVDATASOURCE_H_
