// formatter: renders values by display format, as the host shows them.
//
// Display format types (the code packs type << 16 | width << 8 | decimals);
// the examples render 1234.567 (dates: 13000000000) with 2 decimals:
//   1  string: a number as printf("%.16g"): 1234.567
//   3  grouped: 1,234.57
//   4  currency: $1,234.57; negative -$1,234.57
//   5  fixed: 1234.57
//   6  percent (the value is a percentage already): 1234.57%
//   7  scientific, decimals digits after the point: 1.23E+03
//  15  zero-padded integer, width characters (sign included): width 5 gives
//      01235, and -42 gives -0042
//  16  fixed, never padded to the width: 1234.57
//  17  grouped with dots, decimal comma: 1.234,57
//  20  date dd-mmm-yyyy: 26-SEP-1994          21  date mm/dd/yyyy: 09/26/1994
//  22  date dd.mm.yyyy: 26.09.1994            23  date yyyy/mm/dd: 1994/09/26
//  24  date and time dd-mmm-yyyy hh:mm:ss[.s]: 26-SEP-1994 23:06:40.00
//  25  duration hh:mm:ss[.s] (hours unbounded, at least two digits;
//      negative durations take a leading "-"): 3725.5 gives 01:02:05.50
//  26  month mmm yyyy: SEP 1994               27  quarter q Q yyyy: 3 Q 1994
//  28  weekday name: Monday                   29  month name: September
//  30  ISO 8601 date and time yyyy-mm-ddThh:mm:ss[.s]: 1994-09-26T23:06:40.00
//  31-35  currencies CCA..CCE: like 4 with the prefix "CCA " .. "CCE ":
//      CCA 1,234.57; negative -CCA 1,234.57
//  36  accounting: grouped, negatives in parentheses: (1,234.57)
//  37  fixed with a trailing minus for negatives: 1234.57-
// Any other type renders as fixed (5).
//
// Numbers round half away from zero on their shortest decimal form (the
// digits that read back as the same double), so 2.5 gives 3 and 1.005 gives
// 1.01 with two decimals; a result that rounds to zero carries no sign.
// Dates and times are seconds since 14 October 1582 00:00:00 in the proleptic
// Gregorian calendar; only the types with [.s] show fractional seconds (up to
// 6 decimals); every date and time rounds to its last shown place first.
// Dates outside the years 1 to 9999, and durations of 10^15 seconds or more,
// render as "".
//
// Padding: strings are left-aligned and the other types right-aligned in
// `width` characters with blanks (type 15 pads with zeros, type 16 not at
// all). A value longer than its width is written whole, never cut or starred.
// Widths above 40 count as 40, except for strings.
#ifndef CHARTXML_HOST_FORMATTER_H_
#define CHARTXML_HOST_FORMATTER_H_

#include <string>

#include "chartxml/export.h"
#include "chartxml/host/VORN_Format.h"

class CHARTXML_HOST_EXPORT formatter {
 public:
  // The value as the format renders it; `trim` drops leading and trailing
  // blanks. The host's missing value and non-finite values render as "".
  static std::string AsString(double value, const VORN_Format& format, bool trim);
  // The same, with the format given by its parts, untrimmed. Negative widths
  // and decimals count as 0.
  static std::string formattedValue(double value, int type, int width, int decimals);
};

#endif  // CHARTXML_HOST_FORMATTER_H_
