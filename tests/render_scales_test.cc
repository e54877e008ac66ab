// Nice, log and calendar ticks. Expected tick sets were scored by hand with the
// extended Wilkinson weights (e.g. [0, 100] at 5: step 25 scores 0.85, step 20
// 0.775, step 10 0.25) and dates counted on the calendar.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <vector>

#include "format/CivilTime.h"
#include "scales/DateTicks.h"
#include "scales/Ticks.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDay = 86400;

using Values = std::vector<double>;

// What every nice tick set must satisfy: ascending, evenly spaced, inside the
// range, a sane count, no -0, and each tick shown exactly by fractionDigits.
void expectWellFormed(const Ticks& t, double lo, double hi, int target) {
  SCOPED_TRACE(testing::Message() << "[" << lo << ", " << hi << "] target " << target);
  ASSERT_GE(t.values.size(), 2u);
  EXPECT_LE(t.values.size(), 2u * target);
  for (std::size_t i = 0; i < t.values.size(); ++i) {
    const double v = t.values[i];
    EXPECT_GE(v, lo - 1e-9 * (hi - lo));
    EXPECT_LE(v, hi + 1e-9 * (hi - lo));
    EXPECT_FALSE(v == 0 && std::signbit(v)) << "-0";
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", t.fractionDigits, v);
    EXPECT_EQ(std::strtod(text, nullptr), v) << text;
    if (i > 0) {
      EXPECT_NEAR(v - t.values[i - 1], t.step, 1e-9 * t.step);
    }
  }
}

TEST(RenderTicks, BadBoundsSingleValuesAndReversedRanges) {
  const Values unit = {-1, -0.5, 0, 0.5, 1};  // [-1, 1]: step 0.5 scores 0.95
  EXPECT_EQ(niceTicks(kNaN, kNaN, 5).values, unit);
  EXPECT_EQ(niceTicks(kInf, -kInf, 5).values, unit);
  EXPECT_EQ(niceTicks(0, 0, 5).values, unit);
  const Ticks five = niceTicks(5, 5, 5);  // widened to [4.5, 5.5]
  EXPECT_EQ(five.values, (Values{4.5, 4.75, 5, 5.25, 5.5}));
  EXPECT_EQ(five.step, 0.25);
  EXPECT_EQ(five.fractionDigits, 2);
  EXPECT_EQ(niceTicks(kNaN, 5, 5).values, five.values);
  EXPECT_EQ(niceTicks(-5, -5, 5).values, (Values{-5.5, -5.25, -5, -4.75, -4.5}));
  EXPECT_EQ(niceTicks(100, 0, 5).values, niceTicks(0, 100, 5).values);
  // A target below 2 counts as 2; a huge one is capped but still works.
  expectWellFormed(niceTicks(0, 1, -3), 0, 1, 2);
  expectWellFormed(niceTicks(0, 1, 1000000), 0, 1, 100);
}

TEST(RenderTicks, ExtremeMagnitudes) {
  // [1, 2] at 5 gives 1, 1.25, ..., 2 (0.6 against 0.525 for step 0.2); scaled
  // by any power of ten, the labels scale with it.
  EXPECT_EQ(niceTicks(1e-300, 2e-300, 5).values,
            (Values{1e-300, 1.25e-300, 1.5e-300, 1.75e-300, 2e-300}));
  EXPECT_EQ(niceTicks(1e300, 2e300, 5).values, (Values{1e300, 1.25e300, 1.5e300, 1.75e300, 2e300}));
  EXPECT_EQ(niceTicks(-1e308, 1e308, 5).values, (Values{-1e308, -5e307, 0, 5e307, 1e308}));
  // Step 4e307 from 0 (0.734) beats 5e307 (0.724); 0 itself is below the range.
  EXPECT_EQ(niceTicks(1e300, 1.7e308, 5).values, (Values{4e307, 8e307, 1.2e308, 1.6e308}));
  // A span tiny next to the magnitude: the [1, 2] labelling moved to 1e9.
  EXPECT_EQ(niceTicks(1e9, 1e9 + 1, 5).values,
            (Values{1e9, 1e9 + 0.25, 1e9 + 0.5, 1e9 + 0.75, 1e9 + 1}));
  // Bounds an ulp or a few apart, subnormals, the largest doubles: still two or
  // more distinct ascending ticks inside.
  for (const auto& [lo, hi] :
       {std::pair{1.0, std::nextafter(1.0, 2.0)}, std::pair{1e15, 1e15 + 0.25},
        std::pair{0.0, 5e-324}, std::pair{1.7e308, std::numeric_limits<double>::max()}}) {
    const Ticks t = niceTicks(lo, hi, 5);
    ASSERT_GE(t.values.size(), 2u) << lo;
    for (std::size_t i = 1; i < t.values.size(); ++i) EXPECT_LT(t.values[i - 1], t.values[i]);
    EXPECT_GE(t.values.front(), lo);
    EXPECT_LE(t.values.back(), hi);
  }
}

TEST(RenderTicks, HandScoredRanges) {
  struct Case {
    double lo, hi;
    int target;
    Values values;
    double step;
    int fractionDigits;
  };
  const Case cases[] = {
      {0, 100, 5, {0, 25, 50, 75, 100}, 25, 0},
      {0, 10, 6, {0, 2, 4, 6, 8, 10}, 2, 0},
      {1, 2, 5, {1, 1.25, 1.5, 1.75, 2}, 0.25, 2},
      // The published example: labels 8..14 by 2; 8 lies below the range.
      {8.1, 14.1, 4, {10, 12, 14}, 2, 0},
      // Crossing zero off-centre: -2.5..7.5 by 2.5 (0.8) beats step 2 (at most 0.7).
      {-3, 7, 5, {-2.5, 0, 2.5, 5}, 2.5, 1},
      // The zero bonus decides: -8..0 by 2 scores 0.7 (0.45 without it), the odd
      // labels -9..1 (every other unit) 0.5.
      {-9, 1, 6, {-8, -6, -4, -2, 0}, 2, 0},
      // 0.1 + 0.2 as the top: the last tick is 0.3 itself, not 3 × 0.1.
      {0, 0.1 + 0.2, 4, {0, 0.1, 0.2, 0.3}, 0.1, 1},
  };
  for (const Case& c : cases) {
    const Ticks t = niceTicks(c.lo, c.hi, c.target);
    EXPECT_EQ(t.values, c.values) << c.lo << " " << c.hi;
    EXPECT_EQ(t.step, c.step) << c.lo << " " << c.hi;
    EXPECT_EQ(t.fractionDigits, c.fractionDigits) << c.lo << " " << c.hi;
  }
}

TEST(RenderTicks, PropertiesHoldAcrossRanges) {
  const double ranges[][2] = {{0, 1},           {-7.3, 2.1},      {0.001, 0.0013}, {-5e6, -4.2e6},
                              {123.456, 789.1}, {-1e-5, 3e-5},    {1, 1e6},        {-0.5, 0.5},
                              {99.5, 100.5},    {2.718, 3.14159}, {-1e12, 1},      {0.07, 0.93}};
  for (const auto& r : ranges) {
    for (const int target : {2, 3, 5, 7, 10, 20}) {
      expectWellFormed(niceTicks(r[0], r[1], target), r[0], r[1], target);
    }
  }
}

TEST(RenderTicks, FractionDigitsFor) {
  const std::pair<double, int> cases[] = {{1, 0},          {0.5, 1},  {0.25, 2},  {2.5, 1},
                                          {1e-7, 7},       {1000, 0}, {-0.05, 2}, {1e-300, 15},
                                          {0.1 + 0.2, 15}, {0, 0},    {kNaN, 0},  {-kInf, 0}};
  for (const auto& [step, digits] : cases) EXPECT_EQ(fractionDigitsFor(step), digits) << step;
}

TEST(RenderTicks, LogTicks) {
  // Bad bounds: both bad is [1, 10]; one bad is a single value, left to niceTicks.
  EXPECT_EQ(logTicks(kNaN, -3, 5).values, (Values{1, 2, 5, 10}));
  EXPECT_EQ(logTicks(0, 100, 5).values, niceTicks(100, 100, 5).values);
  // Powers (3 ticks) tie with 1-2-5 (7) at distance 2 from 5: the simpler wins.
  EXPECT_EQ(logTicks(100, 1, 5).values, (Values{1, 10, 100}));
  EXPECT_EQ(logTicks(1, 10, 5).values, (Values{1, 2, 5, 10}));
  EXPECT_EQ(logTicks(2, 30, 5).values, (Values{2, 5, 10, 20}));
  // 13 powers: every 2 decades (7) ties every 5 (3); the finer one wins.
  const Ticks wide = logTicks(0.01, 1e10, 5);
  EXPECT_EQ(wide.values, (Values{0.01, 1, 100, 1e4, 1e6, 1e8, 1e10}));
  EXPECT_EQ(wide.fractionDigits, 2);
  EXPECT_EQ(wide.step, 0);
  EXPECT_EQ(logTicks(1e-300, 1e300, 5).values,
            (Values{1e-300, 1e-200, 1e-100, 1, 1e100, 1e200, 1e300}));
  // Inside one decade log ticks are too few: linear ticks instead.
  EXPECT_EQ(logTicks(2, 3, 5).values, niceTicks(2, 3, 5).values);
}

double at(long long y, int m, int d, int h = 0, int mi = 0, double s = 0) {
  return fromCivil(y, m, d, h, mi, s);
}

void expectDates(const DateTicks& d, DateUnit unit, long long step, const Values& values) {
  EXPECT_EQ(d.unit, unit);
  EXPECT_EQ(d.step, step);
  EXPECT_EQ(d.values, values);
}

TEST(RenderDateTicks, BadInputAndFallbacks) {
  // Both bounds NaN: the epoch widened by a day; at 5 the 12-hour step gives 5.
  expectDates(dateTicks(kNaN, kNaN, 5), DateUnit::kHour, 12, {-kDay, -kDay / 2, 0, kDay / 2, kDay});
  const double day = at(2020, 1, 1);
  expectDates(dateTicks(day, day, 5), DateUnit::kHour, 12,
              {at(2019, 12, 31), at(2019, 12, 31, 12), day, at(2020, 1, 1, 12), at(2020, 1, 2)});
  EXPECT_EQ(dateTicks(at(2023, 1, 1), at(1959, 1, 1), 7).values,
            dateTicks(at(1959, 1, 1), at(2023, 1, 1), 7).values);
  // Under a second: niceTicks on the seconds (0, 0.1, ..., 0.5 s), step 0.
  const DateTicks sub = dateTicks(day, day + 0.5, 5);
  EXPECT_EQ(sub.step, 0);
  EXPECT_EQ(sub.values.size(), 6u);
  // Far beyond any calendar: niceTicks on the seconds as well.
  EXPECT_EQ(dateTicks(-1e300, 1e300, 5).values, niceTicks(-1e300, 1e300, 5).values);
}

TEST(RenderDateTicks, ClockSteps) {
  // 10 s at 3: 5-second ticks (3) beat 1 s (11) and 15 s (1).
  const double t = at(2020, 6, 1, 10, 20, 0);
  expectDates(dateTicks(t, t + 10, 3), DateUnit::kSecond, 5, {t, t + 5, t + 10});
  expectDates(
      dateTicks(at(2020, 6, 1, 10, 7), at(2020, 6, 1, 11, 2), 4), DateUnit::kMinute, 15,
      {at(2020, 6, 1, 10, 15), at(2020, 6, 1, 10, 30), at(2020, 6, 1, 10, 45), at(2020, 6, 1, 11)});
  // A day at 5: 6-hour ticks (5); 3-hour ones (9) pass the 1.5× limit.
  expectDates(
      dateTicks(at(2020, 6, 1), at(2020, 6, 2), 5), DateUnit::kHour, 6,
      {at(2020, 6, 1), at(2020, 6, 1, 6), at(2020, 6, 1, 12), at(2020, 6, 1, 18), at(2020, 6, 2)});
  // 6 hours (3 ticks) and 3 hours (5) are equally near 4: the coarser wins.
  EXPECT_EQ(dateTicks(at(2020, 6, 1), at(2020, 6, 1, 12), 4).step, 6);
  // 3-hour ticks fall on 00, 03, 06... even when the range starts at 01:00.
  expectDates(dateTicks(at(2020, 6, 1, 1), at(2020, 6, 1, 13), 4), DateUnit::kHour, 3,
              {at(2020, 6, 1, 3), at(2020, 6, 1, 6), at(2020, 6, 1, 9), at(2020, 6, 1, 12)});
}

TEST(RenderDateTicks, DaysAcrossLeapRules) {
  // 2000 and 1600 are leap years (divisible by 400), 1700 is not.
  for (const long long y : {2000LL, 1600LL}) {
    expectDates(dateTicks(at(y, 2, 27), at(y, 3, 3), 6), DateUnit::kDay, 1,
                {at(y, 2, 27), at(y, 2, 28), at(y, 2, 29), at(y, 3, 1), at(y, 3, 2), at(y, 3, 3)});
  }
  expectDates(dateTicks(at(1700, 2, 27), at(1700, 3, 3), 5), DateUnit::kDay, 1,
              {at(1700, 2, 27), at(1700, 2, 28), at(1700, 3, 1), at(1700, 3, 2), at(1700, 3, 3)});
}

TEST(RenderDateTicks, WeeksMonthsAndYears) {
  // 1 January 2024 was a Monday.
  expectDates(dateTicks(at(2023, 12, 30), at(2024, 1, 30), 5), DateUnit::kWeek, 1,
              {at(2024, 1, 1), at(2024, 1, 8), at(2024, 1, 15), at(2024, 1, 22), at(2024, 1, 29)});
  expectDates(dateTicks(at(2021, 1, 15), at(2021, 12, 20), 4), DateUnit::kMonth, 3,
              {at(2021, 4, 1), at(2021, 7, 1), at(2021, 10, 1)});
  expectDates(dateTicks(at(1959, 1, 1), at(2023, 1, 1), 7), DateUnit::kYear, 10,
              {at(1960, 1, 1), at(1970, 1, 1), at(1980, 1, 1), at(1990, 1, 1), at(2000, 1, 1),
               at(2010, 1, 1), at(2020, 1, 1)});
  // 1000-year ticks (7) across year 0; 500 years (13) pass the limit of 9.
  const DateTicks ages = dateTicks(at(-3000, 1, 1), at(3000, 1, 1), 6);
  EXPECT_EQ(ages.step, 1000);
  ASSERT_EQ(ages.values.size(), 7u);
  EXPECT_EQ(ages.values[3], at(0, 1, 1));
  // 25-year steps land on years divisible by 25; at 3 they (3) beat 20 years (4).
  expectDates(dateTicks(at(1901, 6, 1), at(1999, 6, 1), 3), DateUnit::kYear, 25,
              {at(1925, 1, 1), at(1950, 1, 1), at(1975, 1, 1)});
}

}  // namespace
}  // namespace chartxml::render
