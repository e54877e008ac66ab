// The string-handle table through the facade: vocabulary codes, caller
// strings, composites, numbers as text, translation and transcoding.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <utility>

#include "chartxml/codes.h"
#include "chartxml/host/TsCellText.h"
#include "test_support.h"

namespace {

using cxtest::FacadeTest;
using cxtest::messages;
using cxtest::reports;

using StringsTest = FacadeTest;

TEST_F(StringsTest, VocabularyCodesResolveToTheirTokens) {
  // The first and last words, those on either side of the holes, and words
  // with blanks.
  const std::pair<int, const char*> words[] = {
      {CX_WORD_AXISX, "axisx"},
      {CX_WORD_AXISTHETA, "axistheta"},
      {CX_WORD_AXISXTICK, "axisxtick"},
      {CX_WORD_AXISRTICK, "axisrtick"},
      {CX_WORD_TITLE, "title"},
      {CX_WORD_AREABAR, "areabar"},
      {CX_WORD_BINS, "bins"},
      {CX_WORD_MATRIXSCATTERINNERY, "matrixscatterinnery"},
      {CX_WORD_YZPLANE, "yzplane"},
      {CX_WORD_CLUSTEREDBAR, "clusteredbar"},
      {CX_WORD_DOT, "dot"},
      {CX_WORD_X_VARIABLE, "X Variable"},
      {CX_WORD_Y_AXIS, "Y Axis"},
  };
  for (const auto& [code, text] : words) EXPECT_EQ(cx->getUTF8String(code), text) << code;
  EXPECT_TRUE(messages().empty());
  // The two holes and 0 name nothing.
  EXPECT_EQ(cx->getUTF8String(46), "");
  EXPECT_EQ(cx->getUTF8String(124), "");
  EXPECT_EQ(cx->getUTF8String(0), "");
  EXPECT_EQ(messages(), (std::vector<std::string>{"String not found for handle 46",
                                                  "String not found for handle 124",
                                                  "String not found for handle 0"}));
  EXPECT_EQ(reports()[0].source, "backend/chartxml/src/chartstringhandler");
}

TEST_F(StringsTest, CallerStringsStartAt157AndResetStartsOver) {
  EXPECT_EQ(str("first"), 157);
  EXPECT_EQ(cx->NString("E99999"), 158);  // unknown key: stands for itself
  EXPECT_EQ(cx->getUTF8String(158), "E99999");
  EXPECT_EQ(cx->ResetStrings(), 0);
  EXPECT_EQ(cx->getUTF8String(157), "");  // gone
  EXPECT_EQ(str("again"), 157);
  EXPECT_EQ(cx->getUTF8String(CX_WORD_TITLE), "title");  // vocabulary reloaded
}

TEST_F(StringsTest, HandleChecksAdmitTheNextHandleOnly) {
  EXPECT_EQ(cx->StyleString(158, 1), -1);
  EXPECT_EQ(cx->StyleString(-1, 1), -1);
  EXPECT_EQ(cx->StyleString(CX_WORD_TITLE, -1), -1);
  // 157 is the next handle: it passes the range check, is not found, and the
  // style string is made from the empty text.
  EXPECT_EQ(cx->StyleString(157, 1), 157);
  EXPECT_EQ(cx->getUTF8String(157), "_1");
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "string handle out of range",
                            "string handle out of range",
                            "negative handles are not allowed -1",
                            "String not found for handle 157",
                        }));
}

TEST_F(StringsTest, StyleStringJoinsTextAndIndex) {
  const int style = cx->StyleString(CX_WORD_TITLE, 2);
  EXPECT_EQ(cx->getUTF8String(style), "title_2");
  EXPECT_EQ(cx->getUTF8String(cx->StyleString(style, 0)), "title_2_0");
}

TEST_F(StringsTest, CompositeSubstitutesParametersInOrder) {
  const int pattern = cx->CompositeString("^2 of ^1");
  EXPECT_EQ(cx->AddParameter(pattern, str("income")), 0);
  EXPECT_EQ(cx->AddParameter(pattern, str("Mean")), 0);
  EXPECT_EQ(cx->EndCompositeString(pattern), pattern);
  EXPECT_EQ(cx->getUTF8String(pattern), "Mean of income");
}

TEST_F(StringsTest, CompositeRepeatListFillsOnePlace) {
  const int pattern = cx->CompositeString("^1: ^2");
  cx->AddParameter(pattern, str("Groups"));
  EXPECT_EQ(cx->BeginRepeat(pattern), 0);
  cx->AddParameter(pattern, str("a"));
  cx->AddParameter(pattern, str("b"));
  cx->AddParameter(pattern, str("c"));
  EXPECT_EQ(cx->EndRepeat(pattern), 0);
  cx->EndCompositeString(pattern);
  EXPECT_EQ(cx->getUTF8String(pattern), "Groups: a, b, c");
}

TEST_F(StringsTest, CompositeFetchedEarlyIsCached) {
  const int pattern = cx->CompositeString("^1 and ^2");
  cx->AddParameter(pattern, str("x"));
  const std::string early = cx->getUTF8String(pattern);
  EXPECT_EQ(early.rfind("x and", 0), 0u) << early;
  cx->AddParameter(pattern, str("y"));
  cx->EndCompositeString(pattern);
  EXPECT_EQ(cx->getUTF8String(pattern), early);
}

TEST_F(StringsTest, CompositeMisuseIsReported) {
  const int plain = str("plain");
  EXPECT_EQ(cx->AddParameter(plain, CX_WORD_TITLE), -1);
  EXPECT_EQ(cx->AddParameter(9999, CX_WORD_TITLE), -1);
  EXPECT_EQ(cx->AddParameter(plain, -5), -1);
  EXPECT_EQ(cx->BeginRepeat(-2), -1);
  EXPECT_EQ(cx->EndCompositeString(plain), -1);
  const int pattern = cx->CompositeString("^1");
  EXPECT_EQ(cx->EndRepeat(pattern), -1);  // no list open
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "composite string not found 157",
                            "composite handle out of range",
                            "parameter handle out of range",
                            "pattern handle out of range",
                            "composite string not found 157",
                            "end repeat list failed",
                        }));
}

TEST_F(StringsTest, NumbersAsText) {
  EXPECT_EQ(cx->getUTF8String(cx->Double(1000)), "1000");
  EXPECT_EQ(cx->getUTF8String(cx->Double(0.1)), "0.1");
  EXPECT_EQ(cx->getUTF8String(cx->Double(-35)), "-35");
  EXPECT_EQ(cx->getUTF8String(cx->Double(M_E)), "2.718281828459045");
  EXPECT_EQ(cx->getUTF8String(cx->Integer(-2147483647 - 1)), "-2147483648");
  EXPECT_EQ(cx->getUTF8String(cx->LRValue(2.5, -1)), "2.5");
  const int next = str("probe");
  // The missing value makes no string and no report; NaN and infinity are reported.
  EXPECT_EQ(cx->Double(-1.7976931348623157e308), -1);
  EXPECT_EQ(cx->LRValue(-1.7976931348623157e308, -1), -1);
  EXPECT_EQ(cx->Double(std::numeric_limits<double>::quiet_NaN()), -1);
  EXPECT_EQ(cx->Double(std::numeric_limits<double>::infinity()), -1);
  EXPECT_EQ(str("after"), next + 1);
  EXPECT_EQ(messages().size(), 2u);
}

TEST_F(StringsTest, ToTSMakesCellTexts) {
  const int cell = cx->ToTS(str("Mean"));
  ASSERT_GT(cell, 0);
  ASSERT_NE(TsCellText::Find(cell), nullptr);
  EXPECT_EQ(TsCellText::Find(cell)->text(), "Mean");
  EXPECT_EQ(cx->ToTS(str("")), -1);
  EXPECT_EQ(cx->ToTS(0), -1);
  EXPECT_EQ(cx->ToTS(-1), -1);
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "converting string handle to Tessel handle failed 158",
                            "String not found for handle 0",
                            "converting string handle to Tessel handle failed 0",
                            "string handle out of range",
                        }));
}

TEST_F(StringsTest, TranslationUsesTablesAndKeepsUnknownKeys) {
  EXPECT_EQ(cx->translate("E60551").toUTF8(), cx->translate("E60551").toUTF8ForEng());
  EXPECT_NE(cx->translate("E60551").toUTF8(), "E60551");
  const ChartString unknown = cx->translate("E12345\\nsecond");
  EXPECT_EQ(unknown.toUTF8(), "E12345\nsecond");
  EXPECT_EQ(cx->translate("^1 ^2").toUTF8(), "^1 ^2");
}

TEST_F(StringsTest, JapaneseTablesComeBackThroughTheirCodePage) {
  const std::string english = cx->translate("X Axis").toUTF8();
  ChartXml::Terminate();
  cxh_set_language("ja");
  cx = ChartXml::Initialize();
  // Stored as UTF-8 on disk, handed over in CP932, turned back into characters.
  const ChartString axis = cx->translate("X Axis");
  EXPECT_EQ(axis.toUTF8(), "X \u8EF8");
  EXPECT_EQ(axis.toUTF8ForEng(), english);
  EXPECT_EQ(cx->getUTF8String(CX_WORD_X_AXIS), "X \u8EF8");
  EXPECT_EQ(cx->translate("E60712").toUTF8(), "\u6B20\u640D\u5024");
  EXPECT_TRUE(messages().empty());

  // The vocabulary keeps the language of construction until a reset.
  cxh_set_language("en");
  EXPECT_EQ(cx->getUTF8String(CX_WORD_X_AXIS), "X \u8EF8");
}

// Each output language's texts arrive in its own code page; the facade must
// pick the same one to read them back.
TEST_F(StringsTest, EveryOutputLanguageReadsBackItsOwnCodePage) {
  const std::string dir = cxtest::scratchDir("cx-codepages");
  const std::vector<std::pair<std::string, std::string>> samples = {
      {"ru", "\u041E\u0441\u044C"},                // Cyrillic, CP1251
      {"pl", "O\u015B"},                           // Polish, CP1250
      {"zh-tw", "\u8EF8\u7DDA"},                   // Traditional Chinese, CP950
      {"zh-cn", "\u8F74\u7EBF"},                   // Simplified Chinese, CP936
      {"ko", "\uCD95"},                            // Korean, CP949
      {"fr", "Axe d\u2019abscisse \u00E9t\u00E9"}  // anything else, CP1252
  };
  for (const auto& [language, text] : samples) {
    std::filesystem::create_directories(dir + "/" + language);
    std::ofstream(dir + "/" + language + "/global.txt") << "AXIS\t" << text << "\n";
  }
  std::filesystem::create_directories(dir + "/en");
  std::ofstream(dir + "/en/global.txt") << "AXIS\tAxis\n";
  cxh_set_string_tables(dir.c_str());
  for (const auto& [language, text] : samples) {
    ChartXml::Terminate();
    cxh_set_language(language.c_str());
    cx = ChartXml::Initialize();
    const ChartString translated = cx->translate("AXIS");
    EXPECT_EQ(translated.toUTF8(), text) << language;
    EXPECT_EQ(translated.toUTF8ForEng(), "Axis") << language;
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(StringsTest, InvalidBytesForTheCodePageAreReported) {
  const int handle = str(std::string("ok\xff\xfe", 4));
  EXPECT_EQ(cx->getUTF8String(handle), "ok\xEF\xBF\xBD\xEF\xBF\xBD");
  ASSERT_EQ(messages().size(), 1u);
}

// A text the output language's code page cannot hold keeps its other
// characters: only the missing ones become '?', which XML can carry.
TEST_F(StringsTest, TextsTheCodePageLacksCostOnlyTheirMissingCharacters) {
  const std::string dir = cxtest::scratchDir("cx-lacking");
  std::filesystem::create_directories(dir + "/en");
  std::filesystem::create_directories(dir + "/ru");
  std::ofstream(dir + "/en/global.txt") << "TITLE\tSales\nBROKEN\tplain\n";
  std::ofstream(dir + "/ru/global.txt", std::ios::binary)
      << "TITLE\t\u041E\u0441\u044C \u4E2D\u6587\nBROKEN\tok\xff\n";
  cxh_set_string_tables(dir.c_str());
  ChartXml::Terminate();
  cxh_set_language("ru");
  cxh_clear_reports();
  cx = ChartXml::Initialize();
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  const int title = cx->AddLabel(chart, frame, -1, cx->NString("TITLE"));
  ASSERT_GT(title, 0) << "the label is kept";
  EXPECT_NE(cx->GetXmlBuffer(chart).find(">\u041E\u0441\u044C ?\?</label>"), std::string::npos)
      << cx->GetXmlBuffer(chart);
  // Invalid bytes in the table become U+FFFD, which CP1251 lacks too.
  const int other = cx->AddFrame(chart, 0, -1);
  ASSERT_GT(cx->AddLabel(chart, other, -1, cx->NString("BROKEN")), 0);
  EXPECT_NE(cx->GetXmlBuffer(chart).find(">ok?</label>"), std::string::npos);
  // Each problem is told once, however often the text is used.
  cx->NString("TITLE");
  newChart();
  cx->NString("BROKEN");
  EXPECT_EQ(messages(),
            (std::vector<std::string>{
                dir + "/ru/global.txt:2: string table text is not valid UTF-8; its invalid bytes "
                      "became U+FFFD",
                "string table text of TITLE has characters that CP1251 cannot represent (U+4E2D, "
                "U+6587); they became '?'",
                "string table text of BROKEN has characters that CP1251 cannot represent "
                "(U+FFFD); they became '?'",
            }));
}

// A handle that passes the range check but names no string yet reads as the
// empty text: the operation that wanted it goes on.
TEST_F(StringsTest, NotYetIssuedHandlesReadAsEmptyText) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  const int next = cx->NStringNoTranslate("x") + 1;  // the next handle, not yet issued
  const int statistic = cx->AddStatistic(chart, frame, next);
  EXPECT_GT(statistic, 0);
  const int value = cx->NStringNoTranslate("v");  // takes `next`
  EXPECT_GT(cx->AddParam(chart, statistic, value + 1, value), 0);
  EXPECT_NE(cx->GetXmlBuffer(chart).find("<statistic method=\"\">"), std::string::npos)
      << cx->GetXmlBuffer(chart);
  for (const int unassigned : {46, 124}) {
    EXPECT_GT(cx->AddStatistic(chart, frame, unassigned), 0) << unassigned;
  }
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "String not found for handle " + std::to_string(next),
                            "String not found for handle " + std::to_string(next + 1),
                            "String not found for handle 46",
                            "String not found for handle 124",
                        }));
}

}  // namespace
