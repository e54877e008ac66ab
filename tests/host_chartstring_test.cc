// ChartString: UTF-8 conversion, number texts and the two text forms.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <numbers>
#include <string>

#include "chartxml/host/ChartString.h"

namespace {

TEST(ChartStringUtf8, RoundTripsEveryEncodedLength) {
  const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";  // a é € 😀
  const std::u16string utf16 = ChartString::fromUTF8(utf8);
  EXPECT_EQ(utf16, (std::u16string{u'a', 0xE9, 0x20AC, 0xD83D, 0xDE00}));
  EXPECT_EQ(ChartString::toUTF8(utf16), utf8);
  std::string appended = "x";
  ChartString::appendUTF8(utf16, appended);
  EXPECT_EQ(appended, "x" + utf8);
  EXPECT_EQ(ChartString::fromUTF8("\xF4\x8F\xBF\xBF"), (std::u16string{0xDBFF, 0xDFFF}));
  // Unpaired surrogates cannot be encoded.
  EXPECT_EQ(ChartString::toUTF8(std::u16string{0xD800, u'x', 0xDC00}), "\xEF\xBF\xBDx\xEF\xBF\xBD");
}

TEST(ChartStringUtf8, InvalidInputBecomesOneReplacementPerBrokenPart) {
  const char16_t r = 0xFFFD;
  const struct {
    const char* bytes;
    std::u16string expected;
  } cases[] = {
      {"\xFF", {r}},
      {"a\x80z", {u'a', r, u'z'}},
      {"\xC0\xAF", {r, r}},                // overlong '/'
      {"\xE2\x82z", {r, u'z'}},            // truncated, next byte starts anew
      {"\xED\xA0\x80", {r, r, r}},         // encoded surrogate
      {"\xF4\x90\x80\x80", {r, r, r, r}},  // above U+10FFFF
      {"\xF0\x9F\x98", {r}},               // truncated at the end
      {"\xE0\x80\x80", {r, r, r}},         // overlong three-byte form
  };
  for (const auto& c : cases) {
    EXPECT_EQ(ChartString::fromUTF8(c.bytes), c.expected) << c.bytes;
  }
  ChartString s;
  s.assignUTF8("x\xC3");
  EXPECT_EQ(s.str(), (std::u16string{u'x', r}));
}

TEST(ChartStringNumbers, AssignDoubleWritesWhatPrintfWrites) {
  const struct {
    double value;
    const char* text;
  } cases[] = {
      {1000, "1000"},  {0.1, "0.1"},    {-35, "-35"},       {std::numbers::e, "2.718281828459045"},
      {1e21, "1e+21"}, {1e-5, "1e-05"}, {0.0001, "0.0001"}, {1.0 / 3, "0.3333333333333333"}};
  ChartString s;
  for (const auto& c : cases) {
    s.assignDouble(c.value);
    EXPECT_EQ(s.toUTF8(), c.text);
  }
  // Cross-check against the C library across magnitudes, signs and the
  // values at the edges.
  auto check = [&s](double value) {
    char expected[64];
    std::snprintf(expected, sizeof expected, "%.16g", value);
    s.assignDouble(value);
    EXPECT_EQ(s.toUTF8(), expected);
  };
  for (double v = 1e-300; v < 1e300; v *= 7.3e3) {
    check(v);
    check(-v * 1.37);
  }
  for (double v :
       {-0.0, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::denorm_min()}) {
    check(v);
  }
}

TEST(ChartStringNumbers, IsNumberAcceptsFiniteDecimalTextOnly) {
  for (const char16_t* yes : {u"12", u"-3.5", u"1e6", u".5", u"5.", u"+7", u"  42\t", u"1E-3"}) {
    EXPECT_TRUE(ChartString(yes).isNumber()) << ChartString::toUTF8(yes);
  }
  for (const char16_t* no : {u"", u"   ", u"nan", u"inf", u"-Infinity", u"0x10", u"1e", u"e5", u".",
                             u"-", u"1 2", u"12a", u"1e999", u"1,5"}) {
    EXPECT_FALSE(ChartString(no).isNumber()) << ChartString::toUTF8(no);
  }
}

TEST(ChartStringNumbers, ConvertToDoubleFollowsStrtod) {
  EXPECT_EQ(ChartString(u"  2.5  ").convertToDouble(), 2.5);
  EXPECT_EQ(ChartString(u"12abc").convertToDouble(), 12);
  EXPECT_EQ(ChartString(u"-1e3").convertToDouble(), -1000);
  EXPECT_EQ(ChartString(u"abc").convertToDouble(), 0);
  EXPECT_EQ(ChartString(u"").convertToDouble(), 0);
  EXPECT_EQ(ChartString(u"7\u00B2").convertToDouble(), 7);  // stops at non-ASCII
  EXPECT_TRUE(std::isnan(ChartString(u"nan").convertToDouble()));
  EXPECT_EQ(ChartString(u" inf").convertToDouble(), std::numeric_limits<double>::infinity());
}

TEST(ChartStringForms, EnglishFormReadsAsLocalisedUntilSet) {
  ChartString s(u"Titel");
  EXPECT_FALSE(s.hasEnglish());
  EXPECT_EQ(s.english(), u"Titel");
  EXPECT_EQ(s.toUTF8ForEng(), "Titel");

  s.assignUTF8ForEng("Title");
  s.assignUTF8("Ma\xC3\x9F");  // replaces the localised form only
  EXPECT_EQ(s.str(), u"Ma\u00DF");
  EXPECT_EQ(s.toUTF8ForEng(), "Title");

  s.assignDouble(2);  // a number has no separate English form
  EXPECT_FALSE(s.hasEnglish());
  EXPECT_EQ(s.english(), u"2");

  s.assign(u"a", u"b");
  s.clear();
  EXPECT_TRUE(s.empty());
  EXPECT_FALSE(s.hasEnglish());
  EXPECT_EQ(ChartString(static_cast<const char16_t*>(nullptr)).str(), u"");
}

TEST(ChartStringForms, AppendCombinesBothForms) {
  ChartString plain(u"Umsatz ");
  plain.append(ChartString(u"nach Jahr", u"by year"));
  EXPECT_EQ(plain.str(), u"Umsatz nach Jahr");
  EXPECT_EQ(plain.english(), u"Umsatz by year");  // our English started as our text

  ChartString both(u"A", u"a");
  both += u"!";
  both += ChartString(u"B");  // no English form: its text serves as one
  EXPECT_EQ(both.str(), u"A!B");
  EXPECT_EQ(both.english(), u"a!B");
  EXPECT_TRUE(ChartString(u"x") == u"x");
  EXPECT_TRUE(ChartString(u"x", u"y") == ChartString(u"x", u"z"));  // localised forms only
}

TEST(ChartStringForms, ReplaceEditsBothFormsAndCountsLocalised) {
  ChartString s(u"a-b-c", u"a-b");
  EXPECT_EQ(s.replace(u"-", u"--"), 2u);
  EXPECT_EQ(s.str(), u"a--b--c");
  EXPECT_EQ(s.english(), u"a--b");
  EXPECT_EQ(s.replace(u"", u"x"), 0u);
  EXPECT_EQ(s.replace(u"zz", u"x"), 0u);
  EXPECT_EQ(s.str(), u"a--b--c");

  ChartString overlap(u"aaa");
  EXPECT_EQ(overlap.replace(u"aa", u"b"), 1u);  // left to right, no overlaps
  EXPECT_EQ(overlap.str(), u"ba");
  EXPECT_FALSE(overlap.hasEnglish());  // replacing does not invent an English form

  ChartString grow(u"\r\r");
  grow.replace(u"\r", u"\r\n");  // the replacement contains the pattern
  EXPECT_EQ(grow.str(), u"\r\n\r\n");
}

}  // namespace
