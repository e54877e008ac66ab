// Calendar ticks: each step of the table is counted in closed form first, so
// that a fine step over a long span costs nothing; only the chosen step's ticks
// are generated.
#include "scales/DateTicks.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <tuple>
#include <utility>

#include "format/CivilTime.h"
#include "scales/Ticks.h"

namespace chartxml::render {
namespace {

constexpr int kMinTarget = 2;
constexpr int kMaxTarget = 100;
constexpr double kSecondsPerDay = 86400;
constexpr double kDomainLimit = 1e15;

// A step of the table. Fixed-length steps (up to weeks) have `seconds` > 0 and
// fall on offset + n × seconds; months and years have seconds == 0.
struct Step {
  DateUnit unit;
  long long step;
  double seconds = 0;
  double offset = 0;
};

// The first Monday after the epoch (a Thursday) is day 4.
constexpr double kFirstMonday = 4 * kSecondsPerDay;

constexpr Step kFixedSteps[] = {
    {DateUnit::kSecond, 1, 1},
    {DateUnit::kSecond, 5, 5},
    {DateUnit::kSecond, 15, 15},
    {DateUnit::kSecond, 30, 30},
    {DateUnit::kMinute, 1, 60},
    {DateUnit::kMinute, 5, 300},
    {DateUnit::kMinute, 15, 900},
    {DateUnit::kMinute, 30, 1800},
    {DateUnit::kHour, 1, 3600},
    {DateUnit::kHour, 3, 10800},
    {DateUnit::kHour, 6, 21600},
    {DateUnit::kHour, 12, 43200},
    {DateUnit::kDay, 1, kSecondsPerDay},
    {DateUnit::kDay, 2, 2 * kSecondsPerDay},
    {DateUnit::kWeek, 1, 7 * kSecondsPerDay, kFirstMonday},
};

long long floorDiv(long long a, long long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

long long ceilDiv(long long a, long long b) {
  return -floorDiv(-a, b);
}

// The calendar bounds of the range: the first month (as year × 12 + month - 1)
// and the first year whose start is at or after lo, and the month and year that
// hold hi.
struct CalendarRange {
  long long firstMonth, lastMonth;
  long long firstYear, lastYear;
};

CalendarRange calendarRange(double lo, double hi) {
  const CivilTime a = toCivil(lo);
  const CivilTime b = toCivil(hi);
  CalendarRange r{};
  r.firstMonth = a.year * 12 + (a.month - 1) + (fromCivil(a.year, a.month, 1) < lo ? 1 : 0);
  r.lastMonth = b.year * 12 + (b.month - 1);
  r.firstYear = a.year + (fromCivil(a.year, 1, 1) < lo ? 1 : 0);
  r.lastYear = b.year;
  return r;
}

long long tickCount(const Step& s, double lo, double hi, const CalendarRange& r) {
  if (s.seconds > 0) {
    const double first = std::ceil((lo - s.offset) / s.seconds);
    const double last = std::floor((hi - s.offset) / s.seconds);
    return static_cast<long long>(last - first) + 1;
  }
  if (s.unit == DateUnit::kMonth) {
    return floorDiv(r.lastMonth, s.step) - ceilDiv(r.firstMonth, s.step) + 1;
  }
  return floorDiv(r.lastYear, s.step) - ceilDiv(r.firstYear, s.step) + 1;
}

std::vector<double> tickValues(const Step& s, double lo, double hi, const CalendarRange& r) {
  std::vector<double> values;
  if (s.seconds > 0) {
    const double first = std::ceil((lo - s.offset) / s.seconds);
    const double last = std::floor((hi - s.offset) / s.seconds);
    for (double n = first; n <= last; ++n) values.push_back(s.offset + n * s.seconds);
  } else if (s.unit == DateUnit::kMonth) {
    for (long long m = ceilDiv(r.firstMonth, s.step) * s.step; m <= r.lastMonth; m += s.step) {
      values.push_back(
          fromCivil(floorDiv(m, 12), static_cast<int>(m - floorDiv(m, 12) * 12) + 1, 1));
    }
  } else {
    for (long long y = ceilDiv(r.firstYear, s.step) * s.step; y <= r.lastYear; y += s.step) {
      values.push_back(fromCivil(y, 1, 1));
    }
  }
  return values;
}

DateTicks fractionalSeconds(double lo, double hi, int target) {
  Ticks t = niceTicks(lo, hi, target);
  return {std::move(t.values), DateUnit::kSecond, 0};
}

}  // namespace

DateTicks dateTicks(double lo, double hi, int target) {
  const int m = std::clamp(target, kMinTarget, kMaxTarget);
  std::tie(lo, hi) = finiteOrdered(lo, hi);
  if (lo == hi) {
    lo -= kSecondsPerDay;
    hi += kSecondsPerDay;
  }
  if (lo < -kDomainLimit || hi > kDomainLimit) return fractionalSeconds(lo, hi, m);

  const CalendarRange range = calendarRange(lo, hi);
  std::vector<Step> steps(std::begin(kFixedSteps), std::end(kFixedSteps));
  steps.push_back({DateUnit::kMonth, 1});
  steps.push_back({DateUnit::kMonth, 3});
  // Years by 1, 2, 5, then 1, 2, 2.5, 5 × 10^n; once a step leaves at most one
  // tick, coarser ones cannot do better.
  for (long long scale = 1; scale <= 1'000'000'000'000; scale *= 10) {
    bool more = true;
    for (const long long tenths : {10, 20, 25, 50}) {
      if (tenths == 25 && scale == 1) continue;
      steps.push_back({DateUnit::kYear, scale * tenths / 10});
      if (tickCount(steps.back(), lo, hi, range) <= 1) more = false;
    }
    if (!more) break;
  }

  const long long cap = std::max(m + 1, m * 3 / 2);
  const Step* best = nullptr;
  long long bestCount = 0;
  const Step* fewest = nullptr;  // the fewest ticks from two up, for when none fits
  long long fewestCount = 0;
  for (const Step& s : steps) {
    const long long count = tickCount(s, lo, hi, range);
    if (count < 2) continue;
    if (count <= cap && (best == nullptr || std::llabs(count - m) <= std::llabs(bestCount - m))) {
      best = &s;
      bestCount = count;
    }
    if (fewest == nullptr || count <= fewestCount) {
      fewest = &s;
      fewestCount = count;
    }
  }
  if (best == nullptr) best = fewest;
  if (best == nullptr) return fractionalSeconds(lo, hi, m);
  return {tickValues(*best, lo, hi, range), best->unit, best->step};
}

}  // namespace chartxml::render
