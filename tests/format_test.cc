// Display formats derived for means and standard deviations.
#include <gtest/gtest.h>

#include <type_traits>

#include "chartxml/codes.h"
#include "chartxml/formatSpec.h"

// Part of its binary interface: callers copy and move format specs.
static_assert(std::is_copy_assignable_v<formatSpec> && std::is_move_assignable_v<formatSpec>);

namespace {

TEST(FormatSpecTest, PrintNumericTypes) {
  for (int type = 0; type < 64; ++type) {
    const bool expected = (type >= CX_FORMAT_GROUPED && type <= CX_FORMAT_SCIENTIFIC) ||
                          (type >= CX_FORMAT_ZERO_PADDED && type <= CX_FORMAT_DOT_GROUPED) ||
                          (type >= CX_FORMAT_CURRENCY_A && type <= CX_FORMAT_TRAILING_MINUS);
    EXPECT_EQ(formatSpec::is_print_numeric(type), expected) << type;
  }
}

TEST(FormatSpecTest, MeanAddsTwoDecimalsUpToSixteen) {
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 2)),
            VORN_Format(CX_FORMAT_FIXED, 8, 4));
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 15)).decimals, 16);
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 16)).decimals, 16);
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_UNPADDED_FIXED, 10, 1)),
            VORN_Format(CX_FORMAT_FIXED, 10, 3));
  // Not print-numeric: unchanged.
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_STRING, 8, 0)),
            VORN_Format::FromCode(CX_FORMAT_CODE(CX_FORMAT_STRING, 8, 0)));
  EXPECT_EQ(formatSpec::Mean(CX_FORMAT_CODE(CX_FORMAT_DATE_DMY, 11, 0)),
            VORN_Format(CX_FORMAT_DATE_DMY, 11, 0));
}

TEST(FormatSpecTest, StdDevAddsThreeDecimalsAndWidens) {
  EXPECT_EQ(formatSpec::StdDev(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 2)),
            VORN_Format(CX_FORMAT_FIXED, 40, 5));
  EXPECT_EQ(formatSpec::StdDev(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 14)).decimals, 16);
  EXPECT_EQ(formatSpec::StdDev(CX_FORMAT_CODE(CX_FORMAT_UNPADDED_FIXED, 8, 0)),
            VORN_Format(CX_FORMAT_FIXED, 40, 3));
  EXPECT_EQ(formatSpec::StdDev(CX_FORMAT_CODE(CX_FORMAT_DATE_DOTTED, 8, 0)),
            VORN_Format(CX_FORMAT_DATE_DOTTED, 8, 0));
}

}  // namespace
