// Display values: every format type, rounding, padding, dates and trimming.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

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
      {1, 0, 0, 1234.567, "1234.567"},
      {1, 8, 0, -35, "-35     "},
      {1, 0, 0, 0.1, "0.1"},
      {3, 0, 2, 1234567.891, "1,234,567.89"},
      {3, 0, 0, -999.5, "-1,000"},
      {3, 0, 2, 1e21, "1,000,000,000,000,000,000,000.00"},
      {4, 0, 2, 1234.567, "$1,234.57"},
      {4, 0, 2, -1234.5, "-$1,234.50"},
      {5, 0, 2, 1234.567, "1234.57"},
      {5, 0, 0, 2.5, "3"},  // binary ties round away from zero too
      {5, 0, 0, -2.5, "-3"},
      {5, 0, 2, 1.005, "1.01"},  // on the decimal form, not the binary 1.00499...
      {5, 0, 2, 0.125, "0.13"},
      {5, 0, 2, -0.001, "0.00"},  // no sign on a rounded zero
      {5, 10, 1, 3.14159, "       3.1"},
      {5, 0, 0, 0.5, "1"},
      {5, 0, 2, 0.004, "0.00"},
      {6, 0, 2, 12.345, "12.35%"},
      {6, 0, 1, -0.05, "-0.1%"},
      {7, 0, 2, 1234.567, "1.23E+03"},
      {7, 0, 3, -0.00012345, "-1.235E-04"},
      {7, 0, 0, 9.6, "1E+01"},
      {7, 0, 1, 0, "0.0E+00"},
      {7, 0, 2, 1e300, "1.00E+300"},
      {15, 5, 0, 42, "00042"},
      {15, 5, 2, -41.6, "-0042"},
      {15, 2, 0, 12345, "12345"},  // too wide: written whole
      {16, 10, 2, -1.5, "-1.50"},
      {17, 0, 2, 1234567.891, "1.234.567,89"},
      {17, 0, 1, -0.25, "-0,3"},
      {20, 0, 0, 0, "14-OCT-1582"},
      {20, 0, 0, -1, "13-OCT-1582"},
      {20, 12, 0, kSep1994, " 26-SEP-1994"},
      {21, 0, 0, kSep1994, "09/26/1994"},
      {22, 0, 0, kLeapDay2000, "29.02.2000"},
      {23, 0, 0, kSep1994, "1994/09/26"},
      {24, 0, 0, kSep1994, "26-SEP-1994 23:06:40"},
      {24, 0, 2, kSep1994 + 0.125, "26-SEP-1994 23:06:40.13"},
      {24, 0, 0, 86399.6, "15-OCT-1582 00:00:00"},  // rounds to the shown second first
      {25, 0, 2, 3725.5, "01:02:05.50"},
      {25, 0, 0, -90, "-00:01:30"},
      {25, 0, 0, 360000, "100:00:00"},
      {26, 0, 0, kSep1994, "SEP 1994"},
      {27, 0, 0, kSep1994, "3 Q 1994"},
      {27, 0, 0, 0, "4 Q 1582"},
      {28, 0, 0, 0, "Thursday"},
      {28, 0, 0, kSep1994, "Monday"},
      {28, 0, 0, kLeapDay2000, "Tuesday"},
      {29, 0, 0, kLeapDay2000, "February"},
      {30, 0, 0, kSep1994, "1994-09-26T23:06:40"},
      {20, 0, 0, -49916217600.0, "01-JAN-0001"},
      {20, 0, 0, -49916217601.0, ""},  // before year 1
      {20, 0, 0, 1e300, ""},
      {25, 0, 0, 1e15, ""},
      {31, 0, 2, 1234.567, "CCA 1,234.57"},
      {35, 0, 0, -1e6, "-CCE 1,000,000"},
      {36, 0, 2, -1234.5, "(1,234.50)"},
      {36, 0, 0, 1234.5, "1,235"},
      {37, 0, 1, -2.25, "2.3-"},
      {37, 0, 1, 2.25, "2.3"},
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
  for (const int type : {1, 3, 5, 7, 15, 20, 25}) {
    for (const double value : blanks) {
      EXPECT_EQ(formatter::formattedValue(value, type, 10, 2), "") << type << " " << value;
    }
  }
}

TEST(Formatter, HugeValuesAndWidthsStayWhole) {
  const std::string grouped = formatter::formattedValue(-1e300, 3, 40, 2);
  ASSERT_EQ(grouped.size(), 1 + 301 + 100 + 3u);  // sign, digits, commas, ".00"
  EXPECT_EQ(grouped.substr(0, 7), "-1,000,");
  EXPECT_EQ(formatter::formattedValue(-1.7e308, 4, 40, 255).size(), 2 + 309 + 102 + 1 + 255u);
  EXPECT_EQ(formatter::formattedValue(1, 5, 1000, 0), std::string(39, ' ') + "1");  // capped at 40
  EXPECT_EQ(formatter::formattedValue(1, 1, 300, 0).size(), 300u);  // strings are not capped
  EXPECT_EQ(formatter::formattedValue(2.5, 5, -3, -1), "3");
}

TEST(Formatter, AsStringTrimsBlanksOnRequest) {
  EXPECT_EQ(formatter::AsString(1234.567, VORN_Format(5, 10, 2), false), "   1234.57");
  EXPECT_EQ(formatter::AsString(1234.567, VORN_Format(5, 10, 2), true), "1234.57");
  EXPECT_EQ(formatter::AsString(-35, VORN_Format(1, 8, 0), false), "-35     ");
  EXPECT_EQ(formatter::AsString(-35, VORN_Format(1, 8, 0), true), "-35");
  EXPECT_EQ(formatter::AsString(0, VORN_Format(20, 15, 0), true), "14-OCT-1582");
  EXPECT_EQ(formatter::AsString(kVornMissingValue, VORN_Format(5, 10, 2), true), "");
}

}  // namespace
