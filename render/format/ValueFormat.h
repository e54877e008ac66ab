// Text for axis labels, data labels and legends: numbers by the number format
// a chart document states, and dates and times by a pattern.
//
// Locale-independent: digits come from std::to_chars, never from the C locale.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace chartxml::render {

// A number format as a chart document states it (numberFormat attributes).
struct NumberFormat {
  int minFractionDigits = -1;  // -1: not stated
  int maxFractionDigits = -1;  // -1: not stated
  bool grouping = false;
  std::string groupingSeparator = ",";
  std::string decimalSeparator = ".";
  std::string prefix, suffix;
  bool scientific = false;
  int minIntegerDigits = 0;
  std::optional<std::string> negativePrefix, negativeSuffix;  // default: "-" and ""
};

struct ValueFormat {
  enum class Kind { kPlain, kNumber, kDate, kString };
  Kind kind = Kind::kPlain;
  NumberFormat number;      // kNumber
  std::string datePattern;  // kDate, e.g. "dd-MMM-yyyy"
};

// `value` as the number format shows it.
//
// Fraction digits: with fractionDigits >= 0 (an axis asks for the digits its
// tick step needs), exactly that many but never fewer than minFractionDigits.
// With -1, the format's own: rounded to maxFractionDigits (when stated) and
// trailing zeros dropped down to minFractionDigits; when maxFractionDigits is
// not stated, as few as the value needs at up to 15 significant digits (so
// 0.1 + 0.2 shows 0.3), but at least minFractionDigits. Digit counts above 340
// count as 340.
//
// Rounding is half away from zero on the shortest decimal form (the digits
// that read back as the same double): 2.5 → 3, 1.005 with 2 digits → 1.01. A
// result that rounds to zero has no minus sign.
//
// The integer part has at least one digit ("0.5"), zero-padded to
// minIntegerDigits, then grouped in threes with groupingSeparator when grouping
// is set. Negatives are negativePrefix + prefix + digits + suffix +
// negativeSuffix: "-$1,234.50" by default, "($1,234.50)" with "(" and ")".
//
// Scientific: one integer digit, the fraction digits as above, then "E", the
// exponent's sign and at least two exponent digits: "1.23E+03". Grouping and
// minIntegerDigits do not apply.
//
// NaN gives ""; infinities "∞" and "-∞", without prefix or suffix.
std::string formatNumber(double value, const NumberFormat& format, int fractionDigits = -1);

// A date/time value (seconds since 1582-10-14 00:00:00, civil time) by a
// pattern. Runs of the same letter form one field:
//   yyyy year (zero-padded to the run's length; yy the last two digits; y as is)
//   MMMM January, MMM Jan, MM 01, M 1
//   dd, d day of month;  D day of year (1..366)
//   HH, H hour 0-23;  hh, h hour 1-12;  a AM/PM
//   mm, m minute;  ss, s second
//   S... fraction of the second, as many digits as S's
//   EEEE Monday; EEE, EE, E Mon
//   Q, q quarter 1-4
// Text in single quotes is copied as it is ('' is one quote, inside quotes or
// not); any other character, unknown letters included, is copied. The value is
// rounded to the finest fraction shown (whole seconds without S) before it is
// split, so 23:59:59.9996 shows the next day at three S's. NaN and infinities
// give "".
std::string formatDate(double seconds, std::string_view pattern);

// kPlain and kString: formatNumber with a default NumberFormat (a number in a
// string column shows as a plain number); kNumber: with format.number; kDate:
// formatDate with datePattern, or "yyyy-MM-dd" when that is empty (fraction
// digits do not apply to dates).
std::string formatValue(double value, const ValueFormat& format, int fractionDigits = -1);

}  // namespace chartxml::render
