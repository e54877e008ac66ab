// Display formats derived for means and standard deviations.
#include <gtest/gtest.h>

#include <type_traits>

#include "chartxml/formatSpec.h"

// Part of its binary interface: callers copy and move format specs.
static_assert(std::is_copy_assignable_v<formatSpec> && std::is_move_assignable_v<formatSpec>);

namespace {

int code(int type, int width, int decimals) {
  return (type << 16) | (width << 8) | decimals;
}

TEST(FormatSpecTest, PrintNumericTypes) {
  for (int type = 0; type < 64; ++type) {
    const bool expected =
        (type >= 3 && type <= 7) || (type >= 15 && type <= 17) || (type >= 31 && type <= 37);
    EXPECT_EQ(formatSpec::is_print_numeric(type), expected) << type;
  }
}

TEST(FormatSpecTest, MeanAddsTwoDecimalsUpToSixteen) {
  EXPECT_EQ(formatSpec::Mean(code(5, 8, 2)), VORN_Format(5, 8, 4));
  EXPECT_EQ(formatSpec::Mean(code(5, 8, 15)).decimals, 16);
  EXPECT_EQ(formatSpec::Mean(code(5, 8, 16)).decimals, 16);
  EXPECT_EQ(formatSpec::Mean(code(16, 10, 1)), VORN_Format(5, 10, 3));
  // Not print-numeric: unchanged.
  EXPECT_EQ(formatSpec::Mean(code(1, 8, 0)), VORN_Format::FromCode(code(1, 8, 0)));
  EXPECT_EQ(formatSpec::Mean(code(20, 11, 0)), VORN_Format(20, 11, 0));
}

TEST(FormatSpecTest, StdDevAddsThreeDecimalsAndWidens) {
  EXPECT_EQ(formatSpec::StdDev(code(5, 8, 2)), VORN_Format(5, 40, 5));
  EXPECT_EQ(formatSpec::StdDev(code(5, 8, 14)).decimals, 16);
  EXPECT_EQ(formatSpec::StdDev(code(16, 8, 0)), VORN_Format(5, 40, 3));
  EXPECT_EQ(formatSpec::StdDev(code(22, 8, 0)), VORN_Format(22, 8, 0));
}

}  // namespace
