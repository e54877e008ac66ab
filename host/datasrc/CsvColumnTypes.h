// Column typing for CSV data sources (internal to the host): what each
// column's cells make of it, and the display format guessed from them.
//
// Blanks around a cell are ignored. An empty cell, and NA, N/A, NaN, nan,
// null, NULL or "." unquoted, is a missing value in a numeric column. A
// column of numbers (infinities too) and missing values is numeric; one of
// dates or date-times (CsvDates.h) and missing values holds date values;
// anything else, or a quoted cell whose quotes were not needed for the
// delimiter inside a date, makes it text. A dictionary's format type can
// insist on numbers or dates (then every other value is refused) or keep
// dates as texts. The guessed formats are those CsvDataSource.h lists.
#ifndef CHARTXML_HOST_DATASRC_CSVCOLUMNTYPES_H_
#define CHARTXML_HOST_DATASRC_CSVCOLUMNTYPES_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/host/VORN_Format.h"
#include "datasrc/CsvDates.h"
#include "datasrc/CsvReader.h"

namespace cxhost::csv {

// The limits of a display format, for guessed ones and the dictionary's alike.
inline constexpr int kMaxType = 40;
inline constexpr int kMaxStringWidth = 32767;
inline constexpr int kMaxDecimals = 16;

// A number spelled by the whole of `text` (blanks around it allowed), read
// the same way whatever the process locale. Finite only, unless
// `infinities` lets "inf" and "infinity" (any letter case, with a sign or
// not) through as well; NaN never reads as a number.
bool parseNumber(std::string_view text, double& value, bool infinities = false);

// What the dictionary's format type asks of a column: nothing (no type, or
// one out of range, which the dictionary's own checks refuse later), text,
// numbers, or dates (numbers too, being date values).
struct Wanted {
  enum class Kind { Any, Text, Numeric, Date };
  Kind kind = Kind::Any;
  int type = 0;

  static Wanted byFormatType(int type);
  bool strict() const { return kind == Kind::Numeric || kind == Kind::Date; }
  // How numeric dates are read: the caller's order, else the one the
  // wanted date format implies (month first for mm/dd/yyyy, else day first).
  DateOrder dateOrder(DateOrder given) const;
};

// A column's type as its values decide it.
struct Typed {
  bool numeric = false;
  VORN_Format format;
  std::string kind;  // as CsvDataSource::ColumnKinds() words it
};

class DateColumn;

// Types one column cell by cell, as the reader meets them, so that a column
// of numbers or dates is never kept as text. Without a wish of the
// dictionary the column is numeric when every value is a number or an
// infinity, or every value a date, apart from missing values; else text. A
// quoted field is a text, unless its quotes were needed for the delimiter
// inside a date ("January 1, 2000"). A column the dictionary wants numeric
// or of dates must be so, quoted or not: refused (reported) at its first
// value that is not.
class ColumnTyper {
 public:
  // `file` names the data in reports, `name` the column (both outlive the
  // typer); `rowsAtMost` bounds the rows, for room taken once.
  ColumnTyper(const std::string& file, const std::string& name, char delimiter,
              const Wanted& wanted, DateOrder order, std::size_t rowsAtMost);
  ColumnTyper(ColumnTyper&&) noexcept;
  ~ColumnTyper();

  enum class Step {
    Typed,    // taken; go on
    Text,     // the column is text, this cell and those before it too: it
              // wants no more cells, the reader keeps their texts instead
    Refused,  // not what the dictionary wants (reported)
  };
  // Takes the next cell, its quotes removed; `line` is its row's file line.
  Step add(std::string_view cell, bool quoted, int line);

  // Once every row is added, or add() said Text: the column's type, its
  // numbers moved into `column` (whose texts are cleared) when it is
  // numeric; a text column keeps the texts the reader gave it.
  void finish(CsvColumn& column, Typed& typed);

 private:
  enum class Seen { Nothing, Numbers, Dates };
  void addNumber(double value, int decimals);
  Step refuse(std::string_view cell, int line, std::string problem) const;

  const std::string& file_;
  const std::string& name_;
  char delimiter_;
  Wanted wanted_;
  DateOrder order_;
  Seen seen_ = Seen::Nothing;
  bool text_ = false;
  std::vector<double> numbers_;
  double largest_ = 0;
  bool negative_ = false;
  int decimals_ = 0;
  std::unique_ptr<DateColumn> dates_;
};

}  // namespace cxhost::csv

#endif  // CHARTXML_HOST_DATASRC_CSVCOLUMNTYPES_H_
