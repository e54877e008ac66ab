// Display values: every format type, rounding, padding, dates and trimming.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/formatter.h"

namespace {

struct Case {
  int type;
  int width;
  int decimals;
  double value;
  const char* expected;
};

// 1994-09-26 23:06:40, a Monday, in seconds since 1582-10-14 00:00:00.
constexpr double kSep1994 = 13e9;
// 2000-02-29 12:00:00, a Tuesday.
constexpr double kLeapDay2000 = 13171204800.0;

TEST(Formatter, RendersEveryTypeOfTheTable) {
  const Case cases[] = {
      {CX_FORMAT_STRING, 0, 0, 1234.567, "1234.567"},
      {CX_FORMAT_STRING, 8, 0, -35, "-35     "},
      {CX_FORMAT_STRING, 0, 0, 0.1, "0.1"},
      {CX_FORMAT_GROUPED, 0, 2, 1234567.891, "1,234,567.89"},
      {CX_FORMAT_GROUPED, 0, 0, -999.5, "-1,000"},
      {CX_FORMAT_GROUPED, 0, 2, 1e21, "1,000,000,000,000,000,000,000.00"},
      {CX_FORMAT_DOLLAR, 0, 2, 1234.567, "$1,234.57"},
      {CX_FORMAT_DOLLAR, 0, 2, -1234.5, "-$1,234.50"},
      {CX_FORMAT_FIXED, 0, 2, 1234.567, "1234.57"},
      {CX_FORMAT_FIXED, 0, 0, 2.5, "3"},  // binary ties round away from zero too
      {CX_FORMAT_FIXED, 0, 0, -2.5, "-3"},
      {CX_FORMAT_FIXED, 0, 2, 1.005, "1.01"},  // on the decimal form, not the binary 1.00499...
      {CX_FORMAT_FIXED, 0, 2, 0.125, "0.13"},
      {CX_FORMAT_FIXED, 0, 2, -0.001, "0.00"},  // no sign on a rounded zero
      {CX_FORMAT_FIXED, 10, 1, 3.14159, "       3.1"},
      {CX_FORMAT_FIXED, 0, 0, 0.5, "1"},
      {CX_FORMAT_FIXED, 0, 2, 0.004, "0.00"},
      {CX_FORMAT_PERCENT, 0, 2, 12.345, "12.35%"},
      {CX_FORMAT_PERCENT, 0, 1, -0.05, "-0.1%"},
      {CX_FORMAT_SCIENTIFIC, 0, 2, 1234.567, "1.23E+03"},
      {CX_FORMAT_SCIENTIFIC, 0, 3, -0.00012345, "-1.235E-04"},
      {CX_FORMAT_SCIENTIFIC, 0, 0, 9.6, "1E+01"},
      {CX_FORMAT_SCIENTIFIC, 0, 1, 0, "0.0E+00"},
      {CX_FORMAT_SCIENTIFIC, 0, 2, 1e300, "1.00E+300"},
      {CX_FORMAT_ZERO_PADDED, 5, 0, 42, "00042"},
      {CX_FORMAT_ZERO_PADDED, 5, 2, -41.6, "-0042"},
      {CX_FORMAT_ZERO_PADDED, 2, 0, 12345, "12345"},  // too wide: written whole
      {CX_FORMAT_UNPADDED_FIXED, 10, 2, -1.5, "-1.50"},
      {CX_FORMAT_DOT_GROUPED, 0, 2, 1234567.891, "1.234.567,89"},
      {CX_FORMAT_DOT_GROUPED, 0, 1, -0.25, "-0,3"},
      {CX_FORMAT_DATE_DMY, 0, 0, 0, "14-OCT-1582"},
      {CX_FORMAT_DATE_DMY, 0, 0, -1, "13-OCT-1582"},
      {CX_FORMAT_DATE_DMY, 12, 0, kSep1994, " 26-SEP-1994"},
      {CX_FORMAT_DATE_MDY, 0, 0, kSep1994, "09/26/1994"},
      {CX_FORMAT_DATE_DOTTED, 0, 0, kLeapDay2000, "29.02.2000"},
      {CX_FORMAT_DATE_YMD, 0, 0, kSep1994, "1994/09/26"},
      {CX_FORMAT_DATE_TIME, 0, 0, kSep1994, "26-SEP-1994 23:06:40"},
      {CX_FORMAT_DATE_TIME, 0, 2, kSep1994 + 0.125, "26-SEP-1994 23:06:40.13"},
      {CX_FORMAT_DATE_TIME, 0, 0, 86399.6,
       "15-OCT-1582 00:00:00"},  // rounds to the shown second first
      {CX_FORMAT_DURATION, 0, 2, 3725.5, "01:02:05.50"},
      {CX_FORMAT_DURATION, 0, 0, -90, "-00:01:30"},
      {CX_FORMAT_DURATION, 0, 0, 360000, "100:00:00"},
      {CX_FORMAT_MONTH_YEAR, 0, 0, kSep1994, "SEP 1994"},
      {CX_FORMAT_QUARTER, 0, 0, kSep1994, "3 Q 1994"},
      {CX_FORMAT_QUARTER, 0, 0, 0, "4 Q 1582"},
      {CX_FORMAT_WEEKDAY, 0, 0, 0, "Thursday"},
      {CX_FORMAT_WEEKDAY, 0, 0, kSep1994, "Monday"},
      {CX_FORMAT_WEEKDAY, 0, 0, kLeapDay2000, "Tuesday"},
      {CX_FORMAT_MONTH_NAME, 0, 0, kLeapDay2000, "February"},
      {CX_FORMAT_ISO_DATE_TIME, 0, 0, kSep1994, "1994-09-26T23:06:40"},
      {CX_FORMAT_DATE_DMY, 0, 0, -49916217600.0, "01-JAN-0001"},
      {CX_FORMAT_DATE_DMY, 0, 0, -49916217601.0, ""},  // before year 1
      {CX_FORMAT_DATE_DMY, 0, 0, 1e300, ""},
      {CX_FORMAT_DURATION, 0, 0, 1e15, ""},
      {CX_FORMAT_CURRENCY_A, 0, 2, 1234.567, "CCA 1,234.57"},
      {CX_FORMAT_CURRENCY_E, 0, 0, -1e6, "-CCE 1,000,000"},
      {CX_FORMAT_ACCOUNTING, 0, 2, -1234.5, "(1,234.50)"},
      {CX_FORMAT_ACCOUNTING, 0, 0, 1234.5, "1,235"},
      {CX_FORMAT_TRAILING_MINUS, 0, 1, -2.25, "2.3-"},
      {CX_FORMAT_TRAILING_MINUS, 0, 1, 2.25, "2.3"},
      {99, 0, 1, 1.25, "1.3"},  // unknown types render as fixed
  };
  for (const Case& c : cases) {
    EXPECT_EQ(formatter::formattedValue(c.value, c.type, c.width, c.decimals), c.expected)
        << "type " << c.type << " width " << c.width << " decimals " << c.decimals << " value "
        << c.value;
  }
}

TEST(Formatter, MissingAndNonFiniteValuesAreEmpty) {
  const double blanks[] = {kVornMissingValue, std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity(),
                           -std::numeric_limits<double>::infinity()};
  for (const int type : {CX_FORMAT_STRING, CX_FORMAT_GROUPED, CX_FORMAT_FIXED, CX_FORMAT_SCIENTIFIC,
                         CX_FORMAT_ZERO_PADDED, CX_FORMAT_DATE_DMY, CX_FORMAT_DURATION}) {
    for (const double value : blanks) {
      EXPECT_EQ(formatter::formattedValue(value, type, 10, 2), "") << type << " " << value;
    }
  }
}

TEST(Formatter, HugeValuesAndWidthsStayWhole) {
  const std::string grouped = formatter::formattedValue(-1e300, CX_FORMAT_GROUPED, 40, 2);
  ASSERT_EQ(grouped.size(), 1 + 301 + 100 + 3u);  // sign, digits, commas, ".00"
  EXPECT_EQ(grouped.substr(0, 7), "-1,000,");
  EXPECT_EQ(formatter::formattedValue(-1.7e308, CX_FORMAT_DOLLAR, 40, 255).size(),
            2 + 309 + 102 + 1 + 255u);
  EXPECT_EQ(formatter::formattedValue(1, CX_FORMAT_FIXED, 1000, 0),
            std::string(39, ' ') + "1");  // capped at 40
  EXPECT_EQ(formatter::formattedValue(1, CX_FORMAT_STRING, 300, 0).size(),
            300u);  // strings are not capped
  EXPECT_EQ(formatter::formattedValue(2.5, CX_FORMAT_FIXED, -3, -1), "3");
}

TEST(Formatter, AsStringTrimsBlanksOnRequest) {
  EXPECT_EQ(formatter::AsString(1234.567, VORN_Format(CX_FORMAT_FIXED, 10, 2), false),
            "   1234.57");
  EXPECT_EQ(formatter::AsString(1234.567, VORN_Format(CX_FORMAT_FIXED, 10, 2), true), "1234.57");
  EXPECT_EQ(formatter::AsString(-35, VORN_Format(CX_FORMAT_STRING, 8, 0), false), "-35     ");
  EXPECT_EQ(formatter::AsString(-35, VORN_Format(CX_FORMAT_STRING, 8, 0), true), "-35");
  EXPECT_EQ(formatter::AsString(0, VORN_Format(CX_FORMAT_DATE_DMY, 15, 0), true), "14-OCT-1582");
  EXPECT_EQ(formatter::AsString(kVornMissingValue, VORN_Format(CX_FORMAT_FIXED, 10, 2), true), "");
}

}  // namespace
