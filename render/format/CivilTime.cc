#include "format/CivilTime.h"

#include <algorithm>
#include <cmath>

namespace chartxml::render {
namespace {

constexpr double kSecondsPerDay = 86400;
constexpr double kMaxSeconds = 1e17;
constexpr long long kMaxYear = 1'000'000'000'000;

constexpr long long floorDiv(long long a, long long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

// Days from 1 March of year 0. Counting in 400-year cycles of 146097 days makes
// the leap rules fall out of integer division; starting each year in March puts
// the leap day at its end.
constexpr long long daysFromCivil(long long year, int month, int day) {
  const long long y = month <= 2 ? year - 1 : year;
  const long long cycle = floorDiv(y, 400);
  const long long yearOfCycle = y - cycle * 400;                     // 0..399
  const int marchMonth = month > 2 ? month - 3 : month + 9;          // March = 0
  const long long dayOfYear = (153 * marchMonth + 2) / 5 + day - 1;  // 0..365
  return cycle * 146097 + yearOfCycle * 365 + yearOfCycle / 4 - yearOfCycle / 100 + dayOfYear;
}

struct Date {
  long long year;
  int month;
  int day;
};

constexpr Date civilFromDays(long long days) {
  const long long cycle = floorDiv(days, 146097);
  const long long dayOfCycle = days - cycle * 146097;  // 0..146096
  // Years of the cycle, leaving out the leap days before this one.
  const long long yearOfCycle =
      (dayOfCycle - dayOfCycle / 1460 + dayOfCycle / 36524 - dayOfCycle / 146096) / 365;
  const long long dayOfYear =
      dayOfCycle - (365 * yearOfCycle + yearOfCycle / 4 - yearOfCycle / 100);  // from 1 March
  const int marchMonth = static_cast<int>((5 * dayOfYear + 2) / 153);
  const int day = static_cast<int>(dayOfYear - (153 * marchMonth + 2) / 5 + 1);
  const int month = marchMonth < 10 ? marchMonth + 3 : marchMonth - 9;
  return {cycle * 400 + yearOfCycle + (month <= 2 ? 1 : 0), month, day};
}

constexpr long long kEpochDay = daysFromCivil(1582, 10, 14);
static_assert(daysFromCivil(2000, 3, 1) - daysFromCivil(2000, 2, 28) == 2);  // 2000 is leap
static_assert(daysFromCivil(1900, 3, 1) - daysFromCivil(1900, 2, 28) == 1);  // 1900 is not
static_assert(civilFromDays(kEpochDay).year == 1582 && civilFromDays(kEpochDay).month == 10 &&
              civilFromDays(kEpochDay).day == 14);

}  // namespace

CivilTime toCivil(double seconds) {
  if (!std::isfinite(seconds)) return {};
  seconds = std::clamp(seconds, -kMaxSeconds, kMaxSeconds);
  // fmod is exact, so the time of day carries no rounding from the day count.
  double secondOfDay = std::fmod(seconds, kSecondsPerDay);
  auto days = static_cast<long long>(std::round((seconds - secondOfDay) / kSecondsPerDay));
  if (secondOfDay < 0) {
    secondOfDay += kSecondsPerDay;
    --days;
  }
  if (secondOfDay >= kSecondsPerDay) {  // a tiny negative time rounded up to midnight
    secondOfDay = 0;
    ++days;
  }
  const double whole = std::floor(secondOfDay);
  const auto wholeSeconds = static_cast<long long>(whole);

  const long long dayNumber = kEpochDay + days;
  const Date date = civilFromDays(dayNumber);
  CivilTime civil;
  civil.year = date.year;
  civil.month = date.month;
  civil.day = date.day;
  civil.hour = static_cast<int>(wholeSeconds / 3600);
  civil.minute = static_cast<int>(wholeSeconds / 60 % 60);
  // Exact: the fraction's last bit is no finer than a 59.x value can hold.
  civil.second = static_cast<double>(wholeSeconds % 60) + (secondOfDay - whole);
  // The epoch was a Thursday (4).
  civil.weekday = static_cast<int>(days + 4 - floorDiv(days + 4, 7) * 7);
  civil.dayOfYear = static_cast<int>(dayNumber - daysFromCivil(date.year, 1, 1) + 1);
  return civil;
}

double fromCivil(long long year, int month, int day, int hour, int minute, double second) {
  year = std::clamp(year, -kMaxYear, kMaxYear);
  const long long monthIndex = static_cast<long long>(month) - 1;
  year += floorDiv(monthIndex, 12);
  const int monthOfYear = static_cast<int>(monthIndex - floorDiv(monthIndex, 12) * 12) + 1;
  const long long days =
      daysFromCivil(year, monthOfYear, 1) + (static_cast<long long>(day) - 1) - kEpochDay;
  return static_cast<double>(days) * kSecondsPerDay + hour * 3600.0 + minute * 60.0 + second;
}

}  // namespace chartxml::render
