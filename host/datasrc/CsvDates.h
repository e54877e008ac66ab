// Dates and times written as text in a CSV file (internal to the host).
//
// A date is one of
//   2012-01-31            ISO 8601 (month and day may have one digit)
//   Jan 31 2012, January 31, 2012, Jan. 31, 2012
//   31 January 2012, 31 Jan 2012
//   31-Jan-2012, 31-JAN-2012
//   01/31/2012, 31/01/2012, 2012/01/31   numeric, only when the order of day
//                         and month is known; '.' and '-' separate as '/' does
// with a four-digit year from 1 to 9999 and English month names (three
// letters or whole, any letter case, "Sept" too). A date-time adds to the
// date a space (or, after an ISO date, a 'T') and HH:mm[:ss[.fraction]],
// hours 0 to 23, then optionally a zone offset: Z, +02:00, -0500 or +02,
// after at most one space. A value with an offset is converted to UTC.
//
// Values are the host's date values: seconds since 14 October 1582
// 00:00:00 in the proleptic Gregorian calendar.
#ifndef CHARTXML_HOST_DATASRC_CSVDATES_H_
#define CHARTXML_HOST_DATASRC_CSVDATES_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace cxhost {

// How numeric dates such as 01/02/2000 are read: not at all (they are then
// texts), month first, or day first.
enum class DateOrder : std::uint8_t { None, MonthFirst, DayFirst };

// The way a date or date-time is written; values written alike have equal
// forms, whatever their digits.
struct DateForm {
  enum class Date : std::uint8_t {
    Iso,                 // 2012-01-31
    MonthNameDayYear,    // Jan 31 2012
    DayMonthNameYear,    // 31 Jan 2012
    DayMonthNameDashed,  // 31-Jan-2012
    MonthDayYear,        // 01/31/2012
    DayMonthYear,        // 31/01/2012
    YearMonthDay,        // 2012/01/31
  };
  Date date = Date::Iso;
  bool fullMonthName = false;  // "January" rather than "Jan"
  bool comma = false;          // "January 31, 2012"
  char separator = 0;          // '/', '.' or '-' between the numbers of a numeric date
  char timeSeparator = 0;      // 0 for a date alone, else 'T' or ' '
  bool seconds = false;
  bool fraction = false;
  bool offset = false;

  bool operator==(const DateForm&) const = default;
  bool hasTime() const { return timeSeparator != 0; }
  // As a pattern: yyyy year, MM month, MMM and MMMM its name, dd day (d
  // when one digit will do), HH hour, mm minute, ss second, S fraction, XXX
  // zone offset: "yyyy-MM-dd", "MMMM d, yyyy", "yyyy-MM-ddTHH:mm:ss.SXXX".
  std::string pattern() const;
};

struct DateValue {
  double seconds = 0;  // the host's date value, in UTC when an offset was given
  int fractionDigits = 0;
  DateForm form;
};

// Reads the whole of `text` (no blanks around it) as a date or date-time;
// false when it is neither, or names a day that does not exist.
bool parseDate(std::string_view text, DateOrder order, DateValue& value);

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVDATES_H_
