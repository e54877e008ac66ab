// Civil time and value formats. Day counts from the epoch are counted by hand:
// 1583-01-01 is day 79, and 1583..1958 hold 376 years with 91 leap days.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>

#include "format/CivilTime.h"
#include "format/ValueFormat.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kDay = 86400;

TEST(RenderCivilTime, NonFiniteHugeAndCarriedInputs) {
  for (const double bad : {kNaN, kInf, -kInf}) {
    const CivilTime t = toCivil(bad);
    EXPECT_TRUE(t.year == 1582 && t.month == 10 && t.day == 14 && t.weekday == 4) << bad;
  }
  const CivilTime huge = toCivil(std::numeric_limits<double>::max());  // clamped, still valid
  EXPECT_TRUE(huge.year > 1582 && huge.month >= 1 && huge.month <= 12 && huge.second < 60);
  // Just before the epoch: the previous day, a Wednesday; never second 60.
  const CivilTime before = toCivil(-0.25);
  EXPECT_EQ(before.day, 13);
  EXPECT_EQ(before.hour * 3600 + before.minute * 60 + before.second, kDay - 0.25);
  EXPECT_EQ(before.weekday, 3);
  EXPECT_EQ(toCivil(-1e-20).second, 0);

  EXPECT_EQ(fromCivil(2000, 13, 1), fromCivil(2001, 1, 1));
  EXPECT_EQ(fromCivil(2000, 0, 1), fromCivil(1999, 12, 1));
  EXPECT_EQ(fromCivil(2000, 3, 0), fromCivil(2000, 2, 29));
  EXPECT_EQ(fromCivil(1700, 2, 29), fromCivil(1700, 3, 1));  // 1700 is not leap
  EXPECT_EQ(fromCivil(2000, 1, 1, 25), fromCivil(2000, 1, 2, 1));
  EXPECT_TRUE(std::isnan(fromCivil(2000, 1, 1, 0, 0, kNaN)));
  EXPECT_TRUE(std::isfinite(fromCivil(std::numeric_limits<long long>::max(), 1, 1)));
}

TEST(RenderCivilTime, KnownDates) {
  struct Case {
    long long year;
    int month, day;
    double days;
    int weekday, dayOfYear;
  };
  const Case cases[] = {
      {1582, 10, 14, 0, 4, 287},    {1582, 10, 15, 1, 5, 288},  // Gregorian day one: Friday
      {1959, 1, 1, 137410, 4, 1},   {2000, 1, 1, 152385, 6, 1},    {2000, 2, 29, 152444, 2, 60},
      {1600, 12, 31, 6653, 0, 366}, {1700, 12, 31, 43177, 5, 365},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.year << "-" << c.month << "-" << c.day);
    const double seconds = fromCivil(c.year, c.month, c.day);
    EXPECT_EQ(seconds, c.days * kDay);
    const CivilTime t = toCivil(seconds);
    EXPECT_EQ(std::tuple(t.year, t.month, t.day, t.weekday, t.dayOfYear),
              std::tuple(c.year, c.month, c.day, c.weekday, c.dayOfYear));
  }
  EXPECT_EQ(fromCivil(1959, 1, 1), 11872224000.0);
}

TEST(RenderCivilTime, RoundTripsOverCenturies) {
  int checked = 0;
  for (double days = fromCivil(-400, 1, 1) / kDay; days < fromCivil(2500, 1, 1) / kDay;
       days += 37) {
    const double seconds = days * kDay + 3 * 3600 + 25 * 60 + 0.5;
    const CivilTime t = toCivil(seconds);
    ASSERT_EQ(fromCivil(t.year, t.month, t.day, t.hour, t.minute, t.second), seconds);
    ASSERT_EQ(t.hour * 3600 + t.minute * 60 + t.second, 3 * 3600 + 25 * 60 + 0.5);
    ++checked;
  }
  EXPECT_GT(checked, 28000);
}

NumberFormat digits(int minFraction, int maxFraction) {
  NumberFormat f;
  f.minFractionDigits = minFraction;
  f.maxFractionDigits = maxFraction;
  return f;
}

TEST(RenderFormat, NonFiniteAndExtremeNumbers) {
  const NumberFormat plain;
  EXPECT_EQ(formatNumber(kNaN, plain), "");
  EXPECT_EQ(formatNumber(kInf, plain), "\u221E");
  EXPECT_EQ(formatNumber(-kInf, plain), "-\u221E");
  EXPECT_EQ(formatNumber(1e300, plain), "1" + std::string(300, '0'));
  // The smallest subnormal, shortest form 5e-324: 324 fraction digits.
  const std::string tiny = formatNumber(5e-324, plain);
  EXPECT_EQ(tiny.size(), 326u);
  EXPECT_EQ(tiny.back(), '5');
  EXPECT_EQ(formatNumber(1.5, plain, 1'000'000).size(), 342u);  // capped at 340
}

TEST(RenderFormat, RoundingAndFractionDigits) {
  struct Case {
    double value;
    NumberFormat format;
    int fractionDigits;
    const char* expected;
  };
  const NumberFormat plain;
  // Half away from zero on the shortest decimal form; as few digits as needed at
  // most 15 significant; the format's own digits (round to max, drop zeros down
  // to min); an axis's digits, which override max but never go below min.
  const Case cases[] = {{2.5, plain, 0, "3"},
                        {-2.5, plain, 0, "-3"},
                        {1.005, plain, 2, "1.01"},
                        {1.0049999, plain, 2, "1.00"},
                        {9.995, plain, 2, "10.00"},
                        {-0.004, plain, 2, "0.00"},
                        {0.1 + 0.2, plain, -1, "0.3"},
                        {1.0 / 3, plain, -1, "0.333333333333333"},
                        {123456.789, plain, -1, "123456.789"},
                        {1.499, digits(-1, 2), -1, "1.5"},
                        {1.5, digits(2, 2), -1, "1.50"},
                        {3, digits(1, -1), -1, "3.0"},
                        {1.23456, digits(3, 1), -1, "1.235"},
                        {2.5, digits(3, -1), 1, "2.500"},
                        {2.5, digits(-1, 4), 0, "3"}};
  for (const Case& c : cases) {
    EXPECT_EQ(formatNumber(c.value, c.format, c.fractionDigits), c.expected) << c.value;
  }
}

TEST(RenderFormat, GroupingSignsAndAffixes) {
  NumberFormat money = digits(2, 2);
  money.grouping = true;
  money.prefix = "$";
  EXPECT_EQ(formatNumber(-1234.5, money), "-$1,234.50");
  EXPECT_EQ(formatNumber(999999.995, money), "$1,000,000.00");
  money.negativePrefix = "(";
  money.negativeSuffix = ")";
  EXPECT_EQ(formatNumber(-1234.5, money), "($1,234.50)");

  NumberFormat european = digits(-1, 1);
  european.grouping = true;
  european.groupingSeparator = ".";
  european.decimalSeparator = ",";
  EXPECT_EQ(formatNumber(1234567.54, european), "1.234.567,5");

  NumberFormat padded;
  padded.minIntegerDigits = 3;
  padded.suffix = "%";
  EXPECT_EQ(formatNumber(5.5, padded), "005.5%");
  padded.minIntegerDigits = 5;
  padded.grouping = true;
  EXPECT_EQ(formatNumber(42, padded), "00,042%");
}

TEST(RenderFormat, Scientific) {
  NumberFormat sci;
  sci.scientific = true;
  EXPECT_EQ(formatNumber(1234.5, sci, 2), "1.23E+03");
  EXPECT_EQ(formatNumber(0.000123, sci, 1), "1.2E-04");
  EXPECT_EQ(formatNumber(9.995, sci, 2), "1.00E+01");
  EXPECT_EQ(formatNumber(1e100, sci, 0), "1E+100");
  EXPECT_EQ(formatNumber(0, sci, 2), "0.00E+00");
  EXPECT_EQ(formatNumber(-1234.5, sci), "-1.2345E+03");
  sci.decimalSeparator = ",";
  EXPECT_EQ(formatNumber(15, sci, 1), "1,5E+01");
}

TEST(RenderFormat, DatePatternsAndQuotes) {
  EXPECT_EQ(formatDate(kNaN, "yyyy"), "");
  const double t = fromCivil(1959, 1, 1, 13, 5, 7.25);
  EXPECT_EQ(formatDate(t, "yyyy-MM-dd HH:mm:ss"), "1959-01-01 13:05:07");
  EXPECT_EQ(formatDate(t, "dd-MMM-yyyy"), "01-Jan-1959");
  EXPECT_EQ(formatDate(t, "EEEE d MMMM yy"), "Thursday 1 January 59");
  EXPECT_EQ(formatDate(t, "EEE h:mm a"), "Thu 1:05 PM");
  EXPECT_EQ(formatDate(t, "ss.SS"), "07.25");
  EXPECT_EQ(formatDate(t, "Q'Q' yyyy, q, D/M/y"), "1Q 1959, 1, 1/1/1959");
  EXPECT_EQ(formatDate(fromCivil(2000, 8, 1, 0, 30), "hh:mm a Q"), "12:30 AM 3");
  EXPECT_EQ(formatDate(fromCivil(2000, 2, 29), "dd MMM D"), "29 Feb 60");
  EXPECT_EQ(formatDate(fromCivil(-44, 3, 15), "yyyy yy"), "-0044 56");

  EXPECT_EQ(formatDate(t, "'o''clock' h"), "o'clock 1");
  EXPECT_EQ(formatDate(t, "'yyyy"), "yyyy");  // an unclosed quote runs to the end
  EXPECT_EQ(formatDate(t, "xZ! yyyy\u5E74"), "xZ! 1959\u5E74");
  // Rounded once, to the last place shown (whole seconds without S).
  const double late = fromCivil(1999, 12, 31, 23, 59, 59.9996);
  EXPECT_EQ(formatDate(late, "yyyy-MM-dd HH:mm:ss.SSS"), "2000-01-01 00:00:00.000");
  EXPECT_EQ(formatDate(late, "ss.SSSS"), "59.9996");
  EXPECT_EQ(formatDate(late, "yyyy-MM-dd"), "2000-01-01");
}

TEST(RenderFormat, FormatValueDispatchesByKind) {
  ValueFormat f;
  EXPECT_EQ(formatValue(2.5, f, 0), "3");
  f.kind = ValueFormat::Kind::kString;
  EXPECT_EQ(formatValue(2.5, f, 0), "3");
  f.kind = ValueFormat::Kind::kNumber;
  f.number.prefix = "$";
  EXPECT_EQ(formatValue(-2, f, 1), "-$2.0");
  f.kind = ValueFormat::Kind::kDate;
  EXPECT_EQ(formatValue(fromCivil(1959, 1, 1), f), "1959-01-01");
  f.datePattern = "MMM yyyy";
  EXPECT_EQ(formatValue(fromCivil(1959, 1, 1), f), "Jan 1959");
}

}  // namespace
}  // namespace chartxml::render
