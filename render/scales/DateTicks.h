// Calendar ticks for date and time axes. Values are seconds since 14 October
// 1582 00:00:00 in the proleptic Gregorian calendar, with no time zone (see
// format/CivilTime.h).
#pragma once

#include <vector>

namespace chartxml::render {

enum class DateUnit { kSecond, kMinute, kHour, kDay, kWeek, kMonth, kYear };

struct DateTicks {
  std::vector<double> values;  // ascending, within [lo, hi]
  DateUnit unit = DateUnit::kYear;
  // In units: every 5 years, every 3 months, every 6 hours... 0 means the ticks
  // are fractions of a second (the niceTicks fallback below).
  long long step = 1;
};

// Calendar ticks within [lo, hi], about `target` of them, from the steps
//   1, 5, 15, 30 s; 1, 5, 15, 30 min; 1, 3, 6, 12 h; 1, 2 days; 1 week;
//   1, 3 months; years by 1, 2, 5, 10, 20, 25, 50, 100, 200, 250, 500, ...
// Ticks align to the calendar: seconds, minutes, hours and days on multiples of
// the step counted from midnight of the epoch (3-hour ticks at 00, 03, 06, ...;
// 2-day ticks on every other day since the epoch), weeks on Mondays, months and
// quarters (January, April, July, October) on the 1st, years on 1 January of
// years divisible by the step.
//
// The step whose tick count is nearest the target without exceeding about
// 1.5 × target wins (the coarser one on a tie). When every step within that
// limit gives fewer than two ticks, the step with the fewest ticks from two up
// is taken instead.
//
// Input handling: target is clamped to [2, 100]; lo > hi is swapped; a
// non-finite bound takes the other's value (both: the epoch); a single instant
// is widened by a day either way. Spans that no calendar step divides twice
// (under a second or two), and ranges reaching past ±10^15 seconds (some 30
// million years), get niceTicks on the seconds with unit kSecond and step 0.
DateTicks dateTicks(double lo, double hi, int target);

}  // namespace chartxml::render
