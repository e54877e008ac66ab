// ChartTranscoder: code pages by name, and how bad input is reported.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/ChartTranscoder.h"
#include "host_test_support.h"

namespace {

using hosttest::reportMessages;

class Transcoder : public hosttest::QuietReports {};

TEST_F(Transcoder, CodePagesRoundTripKnownBytes) {
  const struct {
    const char* codePage;
    const char* utf8;
    std::string bytes;
  } cases[] = {
      {"CP1252", "caf\xC3\xA9 \xE2\x82\xAC", "caf\xE9 \x80"},     // café €
      {"CP932", "\xE6\x97\xA5\xE6\x9C\xAC", "\x93\xFA\x96\x7B"},  // 日本
      {"cp932", "\xEF\xBD\xB1", "\xB1"},                          // half-width ｱ
      {"CP936", "\xE4\xB8\xAD", "\xD6\xD0"},                      // 中
      {"CP949", "\xEA\xB0\x80", "\xB0\xA1"},                      // 가
      {"CP949", "\xEA\xB0\x82", "\x81\x41"},                      // 갂: Windows' extension
      {"CP950", "\xE4\xB8\xAD\xE2\x82\xAC", "\xA4\xA4\xA3\xE1"},  // 中€
      {"CP1250", "\xC5\x82", "\xB3"},                             // ł
      {"CP1251", "\xD0\x96", "\xC6"},                             // Ж
      {"UTF-8", "\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"},
  };
  for (const auto& c : cases) {
    ChartTranscoder t(c.codePage);
    EXPECT_TRUE(t.valid()) << c.codePage;
    const ChartString text = t.transcode(c.bytes);
    EXPECT_EQ(text.toUTF8(), c.utf8) << c.codePage;
    EXPECT_EQ(t.transcodeTo(text), c.bytes) << c.codePage;
  }
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(Transcoder, InvalidBytesBecomeReplacementAndAreReported) {
  const std::string greek =
      "AB\xD2"
      "C\xFF";  // both bytes unassigned in CP1253
  ChartTranscoder cp1253("CP1253");
  EXPECT_EQ(cp1253.transcode(greek).str(), u"AB\uFFFDC\uFFFD");
  ChartTranscoder cp932("CP932");
  EXPECT_EQ(cp932.transcode("x\x93").str(), u"x\uFFFD");  // lead byte cut off
  ChartTranscoder utf8("UTF-8");
  EXPECT_EQ(utf8.transcode("ok\xFF").str(), u"ok\uFFFD");

  // One report per call, at the first bad byte.
  ASSERT_EQ(cxh_report_count(), 3);
  EXPECT_EQ(reportMessages(),
            (std::vector<std::string>{"invalid bytes for code page CP1253 at byte 2",
                                      "invalid bytes for code page CP932 at byte 1",
                                      "invalid bytes for code page UTF-8 at byte 2"}));
  EXPECT_STREQ(cxh_report_source(0), "host/chartutl");
  EXPECT_GT(cxh_report_line(0), 0);

  // The converter starts clean on the next call.
  cxh_clear_reports();
  EXPECT_EQ(cp932.transcode("\x93\xFA").str(), u"\u65E5");
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(Transcoder, UnrepresentableCharactersBecomeQuestionMarks) {
  ChartTranscoder cp1252("CP1252");
  EXPECT_EQ(cp1252.transcodeTo(std::u16string_view(u"a\u65E5b\U0001F600")), "a?b?");
  ChartTranscoder cp932("CP932");
  EXPECT_EQ(cp932.transcodeTo(std::u16string_view(u"\u20AC\u65E5")), "?\x93\xFA");
  ASSERT_EQ(cxh_report_count(), 2);
  EXPECT_STREQ(cxh_report_message(0),
               "characters not representable in code page CP1252 at character 1");
  EXPECT_STREQ(cxh_report_message(1),
               "characters not representable in code page CP932 at character 0");
}

TEST_F(Transcoder, UnknownCodePageIsReportedOnceAndWorksAsUtf8) {
  ChartTranscoder t("CP-NONSUCH");
  EXPECT_FALSE(t.valid());
  EXPECT_EQ(t.codePage(), "CP-NONSUCH");
  EXPECT_EQ(t.transcode("\xE6\x97\xA5").str(), u"\u65E5");
  EXPECT_EQ(t.transcodeTo(std::u16string_view(u"\u65E5")), "\xE6\x97\xA5");
  EXPECT_EQ(reportMessages(),
            std::vector<std::string>{"unknown code page CP-NONSUCH; using UTF-8"});
}

TEST_F(Transcoder, LargeInputsNeedNoFixedBuffer) {
  std::string sjis;
  std::u16string wide;
  for (int i = 0; i < 200000; ++i) {
    sjis +=
        "\x93\xFA"
        "a";
    wide += u"\u65E5a";
  }
  ChartTranscoder cp932("CP932");
  EXPECT_TRUE(cp932.transcode(sjis).str() == wide);
  EXPECT_TRUE(cp932.transcodeTo(wide) == sjis);
  // UTF-8 needs three bytes per character here: the output outgrows any
  // estimate taken from the input length.
  ChartTranscoder utf8("UTF-8");
  const std::string expanded = utf8.transcodeTo(wide);
  EXPECT_EQ(expanded.size(), 200000u * 4);
  EXPECT_TRUE(expanded == ChartString::toUTF8(wide));
  EXPECT_EQ(cxh_report_count(), 0);
}

}  // namespace
