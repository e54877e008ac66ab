// Display values: numbers, currencies, dates and times by format type. The
// table of types lives in formatter.h.
#include "chartxml/host/formatter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"

namespace {

enum Type : int {
  kString = CX_FORMAT_STRING,
  kGrouped = CX_FORMAT_GROUPED,
  kCurrency = CX_FORMAT_DOLLAR,
  kFixed = CX_FORMAT_FIXED,
  kPercent = CX_FORMAT_PERCENT,
  kScientific = CX_FORMAT_SCIENTIFIC,
  kZeroPadded = CX_FORMAT_ZERO_PADDED,
  kUnpaddedFixed = CX_FORMAT_UNPADDED_FIXED,
  kDotGrouped = CX_FORMAT_DOT_GROUPED,
  kDateDmy = CX_FORMAT_DATE_DMY,
  kDateMdy = CX_FORMAT_DATE_MDY,
  kDateDotted = CX_FORMAT_DATE_DOTTED,
  kDateYmd = CX_FORMAT_DATE_YMD,
  kDateTime = CX_FORMAT_DATE_TIME,
  kDuration = CX_FORMAT_DURATION,
  kMonthYear = CX_FORMAT_MONTH_YEAR,
  kQuarter = CX_FORMAT_QUARTER,
  kWeekday = CX_FORMAT_WEEKDAY,
  kMonthName = CX_FORMAT_MONTH_NAME,
  kIsoDateTime = CX_FORMAT_ISO_DATE_TIME,
  kFirstCustomCurrency = CX_FORMAT_CURRENCY_A,
  kLastCustomCurrency = CX_FORMAT_CURRENCY_E,
  kAccounting = CX_FORMAT_ACCOUNTING,
  kTrailingMinus = CX_FORMAT_TRAILING_MINUS,
};

constexpr int kMaxDecimals = 255;
constexpr int kMaxStringWidth = 0xFFFF;
constexpr int kMaxSecondDecimals = 6;

// ---- Decimal digits ---------------------------------------------------------

// |value| as decimal digits d1 d2 d3 ... with `point` of them before the
// decimal point (point may be negative or beyond the digits).
struct Decimal {
  std::string digits;
  int point = 1;
  bool negative = false;

  bool isZero() const { return digits.find_first_not_of('0') == std::string::npos; }
  char digitAt(int i) const {
    return i >= 0 && i < static_cast<int>(digits.size()) ? digits[i] : '0';
  }

  // Keeps the first `keep` digits, rounding half away from zero on the
  // magnitude. Beyond the last digit nothing changes.
  void roundTo(int keep) {
    if (keep >= static_cast<int>(digits.size())) return;
    const bool up = keep >= 0 && digits[keep] >= '5';
    digits.resize(std::max(keep, 0));
    if (up) {
      int i = keep - 1;
      while (i >= 0 && digits[i] == '9') digits[i--] = '0';
      if (i < 0) {
        digits.insert(digits.begin(), '1');
        ++point;
      } else {
        ++digits[i];
      }
    }
    if (digits.empty()) {
      digits = "0";
      point = 1;
    }
    if (isZero()) negative = false;
  }
};

// The shortest digits that read back as `value`: rounding these, rather than
// the exact binary expansion, makes 2.5 and 1.005 round the way people expect.
Decimal shortestDecimal(double value) {
  char buffer[64];
  const auto end =
      std::to_chars(buffer, buffer + sizeof buffer, std::fabs(value), std::chars_format::scientific)
          .ptr;
  Decimal d;
  d.negative = std::signbit(value) && value != 0;
  const char* p = buffer;
  for (; p != end && *p != 'e'; ++p) {
    if (*p != '.') d.digits += *p;
  }
  int exponent = 0;
  if (p != end) {
    ++p;  // 'e'
    const bool negativeExponent = *p == '-';
    if (*p == '-' || *p == '+') ++p;
    std::from_chars(p, end, exponent);
    if (negativeExponent) exponent = -exponent;
  }
  d.point = exponent + 1;
  return d;
}

void group(std::string& integer, char separator) {
  for (int i = static_cast<int>(integer.size()) - 3; i > 0; i -= 3) {
    integer.insert(integer.begin() + i, separator);
  }
}

// The magnitude with `decimals` places; `separator` groups thousands when set.
std::string fixedDigits(const Decimal& d, int decimals, char separator, char point) {
  std::string integer;
  if (d.point <= 0) {
    integer = "0";
  } else {
    for (int i = 0; i < d.point; ++i) integer += d.digitAt(i);
  }
  if (separator != 0) group(integer, separator);
  if (decimals == 0) return integer;
  integer += point;
  for (int i = 0; i < decimals; ++i) integer += d.digitAt(d.point + i);
  return integer;
}

Decimal roundedFixed(double value, int decimals) {
  Decimal d = shortestDecimal(value);
  d.roundTo(d.point + decimals);
  return d;
}

std::string scientific(double value, int decimals) {
  Decimal d = shortestDecimal(value);
  d.roundTo(decimals + 1);
  const int exponent = d.isZero() ? 0 : d.point - 1;
  std::string text = d.negative ? "-" : "";
  text += d.digitAt(0);
  if (decimals > 0) {
    text += '.';
    for (int i = 1; i <= decimals; ++i) text += d.digitAt(i);
  }
  char tail[16];
  std::snprintf(tail, sizeof tail, "E%c%02d", exponent < 0 ? '-' : '+', std::abs(exponent));
  return text + tail;
}

std::string number(double value, int type, int width, int decimals) {
  switch (type) {
    case kScientific:
      return scientific(value, decimals);
    case kZeroPadded: {
      const Decimal d = roundedFixed(value, 0);
      std::string digits = fixedDigits(d, 0, 0, '.');
      const int sign = d.negative ? 1 : 0;
      if (static_cast<int>(digits.size()) + sign < width) {
        digits.insert(0, width - sign - digits.size(), '0');
      }
      return d.negative ? "-" + digits : digits;
    }
    default:
      break;
  }
  const Decimal d = roundedFixed(value, decimals);
  const char separator = type == kGrouped || type == kCurrency || type == kAccounting ||
                                 (type >= kFirstCustomCurrency && type <= kLastCustomCurrency)
                             ? ','
                         : type == kDotGrouped ? '.'
                                               : 0;
  const std::string digits = fixedDigits(d, decimals, separator, type == kDotGrouped ? ',' : '.');
  const std::string sign = d.negative ? "-" : "";
  if (type == kCurrency) return sign + "$" + digits;
  if (type >= kFirstCustomCurrency && type <= kLastCustomCurrency) {
    return sign + "CC" + static_cast<char>('A' + type - kFirstCustomCurrency) + " " + digits;
  }
  if (type == kPercent) return sign + digits + "%";
  if (type == kAccounting) return d.negative ? "(" + digits + ")" : digits;
  if (type == kTrailingMinus) return digits + sign;
  return sign + digits;
}

// ---- Dates and times --------------------------------------------------------

struct CivilDate {
  std::int64_t year;
  int month;  // 1..12
  int day;    // 1..31
};

// Days from 1 March of year 0 (proleptic Gregorian), counted in 400-year
// cycles of 146097 days so that leap rules fall out of integer division.
// Starting the year in March puts the leap day at the end of the year.
constexpr std::int64_t daysFromCivil(std::int64_t year, int month, int day) {
  if (month <= 2) --year;
  const std::int64_t cycle = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfCycle = year - cycle * 400;                    // 0..399
  const int shiftedMonth = month > 2 ? month - 3 : month + 9;             // March = 0
  const std::int64_t dayOfYear = (153 * shiftedMonth + 2) / 5 + day - 1;  // 0..365
  const std::int64_t dayOfCycle =
      yearOfCycle * 365 + yearOfCycle / 4 - yearOfCycle / 100 + dayOfYear;  // 0..146096
  return cycle * 146097 + dayOfCycle;
}

constexpr CivilDate civilFromDays(std::int64_t days) {
  const std::int64_t cycle = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfCycle = days - cycle * 146097;
  const std::int64_t yearOfCycle =
      (dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / 146096) / 365;
  const std::int64_t dayOfYear =
      dayOfCycle - (365 * yearOfCycle + yearOfCycle / 4 - yearOfCycle / 100);
  const int shiftedMonth = static_cast<int>((5 * dayOfYear + 2) / 153);
  const int day = static_cast<int>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
  const int month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
  return {yearOfCycle + cycle * 400 + (month <= 2 ? 1 : 0), month, day};
}

constexpr std::int64_t kEpochDay = daysFromCivil(1582, 10, 14);
constexpr std::int64_t kSecondsPerDay = 86400;
constexpr double kFirstSecond = (daysFromCivil(1, 1, 1) - kEpochDay) * double{kSecondsPerDay};
constexpr double kEndSecond = (daysFromCivil(10000, 1, 1) - kEpochDay) * double{kSecondsPerDay};
constexpr double kDurationLimit = 1e15;
static_assert(civilFromDays(kEpochDay).year == 1582 && civilFromDays(kEpochDay).day == 14);
static_assert(daysFromCivil(2000, 3, 1) - daysFromCivil(2000, 2, 28) == 2);  // 2000 is leap
static_assert(daysFromCivil(1900, 3, 1) - daysFromCivil(1900, 2, 28) == 1);  // 1900 is not

constexpr const char* kMonthAbbreviations[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                               "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
constexpr const char* kMonthNames[] = {"January",   "February", "March",    "April",
                                       "May",       "June",     "July",     "August",
                                       "September", "October",  "November", "December"};
constexpr const char* kWeekdayNames[] = {"Monday", "Tuesday",  "Wednesday", "Thursday",
                                         "Friday", "Saturday", "Sunday"};

// A time split at the precision it is shown with: whole seconds and the
// fraction as `decimals` digits, rounded half away from zero.
struct Split {
  std::int64_t seconds;
  std::int64_t fraction;
};

Split splitSeconds(double value, int decimals) {
  const double whole = std::floor(value);
  const auto scale = static_cast<std::int64_t>(std::pow(10, decimals));
  auto fraction = static_cast<std::int64_t>(std::round((value - whole) * scale));
  auto seconds = static_cast<std::int64_t>(whole);
  if (fraction >= scale) {
    ++seconds;
    fraction = 0;
  }
  return {seconds, fraction};
}

std::string clockText(std::int64_t seconds, std::int64_t fraction, int decimals) {
  char text[64];
  int n = std::snprintf(
      text, sizeof text, "%02lld:%02lld:%02lld", static_cast<long long>(seconds / 3600),
      static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
  if (decimals > 0) {
    std::snprintf(text + n, sizeof text - n, ".%0*lld", decimals, static_cast<long long>(fraction));
  }
  return text;
}

std::string dateTime(double value, int type, int decimals) {
  if (type == kDuration) {
    if (!(std::fabs(value) < kDurationLimit)) return "";
    const Split t = splitSeconds(std::fabs(value), decimals);
    const bool negative = value < 0 && (t.seconds != 0 || t.fraction != 0);
    return (negative ? "-" : "") + clockText(t.seconds, t.fraction, decimals);
  }
  if (!(value >= kFirstSecond && value < kEndSecond)) return "";
  const bool showsTime = type == kDateTime || type == kIsoDateTime;
  if (!showsTime) decimals = 0;
  const Split t = splitSeconds(value, decimals);
  // Floor division: an instant before midnight belongs to the day before.
  const std::int64_t dayOffset = t.seconds >= 0
                                     ? t.seconds / kSecondsPerDay
                                     : -((-t.seconds + kSecondsPerDay - 1) / kSecondsPerDay);
  const std::int64_t days = kEpochDay + dayOffset;
  const std::int64_t secondOfDay = t.seconds - dayOffset * kSecondsPerDay;
  const CivilDate date = civilFromDays(days);
  if (date.year < 1 || date.year > 9999) return "";  // rounding crossed the range's edge
  const auto year = static_cast<int>(date.year);
  const char* month = kMonthAbbreviations[date.month - 1];
  char text[64];
  switch (type) {
    case kDateMdy:
      std::snprintf(text, sizeof text, "%02d/%02d/%04d", date.month, date.day, year);
      break;
    case kDateDotted:
      std::snprintf(text, sizeof text, "%02d.%02d.%04d", date.day, date.month, year);
      break;
    case kDateYmd:
      std::snprintf(text, sizeof text, "%04d/%02d/%02d", year, date.month, date.day);
      break;
    case kDateTime:
      std::snprintf(text, sizeof text, "%02d-%s-%04d ", date.day, month, year);
      return text + clockText(secondOfDay, t.fraction, decimals);
    case kMonthYear:
      std::snprintf(text, sizeof text, "%s %04d", month, year);
      break;
    case kQuarter:
      std::snprintf(text, sizeof text, "%d Q %04d", (date.month - 1) / 3 + 1, year);
      break;
    case kWeekday: {
      // Day 0 of the count (1 March of year 0) was a Wednesday.
      const std::int64_t weekday = ((days + 2) % 7 + 7) % 7;  // Monday = 0
      return kWeekdayNames[weekday];
    }
    case kMonthName:
      return kMonthNames[date.month - 1];
    case kIsoDateTime:
      std::snprintf(text, sizeof text, "%04d-%02d-%02dT", year, date.month, date.day);
      return text + clockText(secondOfDay, t.fraction, decimals);
    default:  // kDateDmy
      std::snprintf(text, sizeof text, "%02d-%s-%04d", date.day, month, year);
      break;
  }
  return text;
}

bool isDateOrTime(int type) {
  return type >= kDateDmy && type <= kIsoDateTime;
}

}  // namespace

std::string formatter::formattedValue(double value, int type, int width, int decimals) {
  if (value == kVornMissingValue || !std::isfinite(value)) return "";
  width = std::clamp(width, 0, type == kString ? kMaxStringWidth : int{VORN_Format::kMaxWidth});
  decimals = std::clamp(decimals, 0, kMaxDecimals);

  if (type == kString) {
    char text[32];
    std::snprintf(text, sizeof text, "%.16g", value);
    std::string result = text;
    if (static_cast<int>(result.size()) < width) result.append(width - result.size(), ' ');
    return result;
  }
  std::string result = isDateOrTime(type)
                           ? dateTime(value, type, std::min(decimals, kMaxSecondDecimals))
                           : number(value, type, width, decimals);
  if (type != kUnpaddedFixed && !result.empty() && static_cast<int>(result.size()) < width) {
    result.insert(0, width - result.size(), ' ');
  }
  return result;
}

std::string formatter::AsString(double value, const VORN_Format& format, bool trim) {
  std::string text = formattedValue(value, format.type, format.width, format.decimals);
  if (trim) {
    const std::size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) return "";
    text = text.substr(first, text.find_last_not_of(' ') - first + 1);
  }
  return text;
}
