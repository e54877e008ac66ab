// Host settings, platform helpers, display-format codes and the error channel.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/TsCellText.h"
#include "chartxml/host/VORN_Format.h"

namespace {

// Walks one setting through default, environment, setter, empty setter and
// NULL, and returns the default. The environment variable is restored.
std::string checkPrecedence(const char* variable, void (*setter)(const char*),
                            const std::function<std::string()>& read) {
  const char* saved = std::getenv(variable);
  const std::string original = saved ? saved : "";
  unsetenv(variable);
  setter(nullptr);
  const std::string fallback = read();
  setenv(variable, "from-env", 1);
  EXPECT_EQ(read(), "from-env") << variable;
  setter("from-setter");
  EXPECT_EQ(read(), "from-setter") << variable;
  setter("");  // an empty value counts as not set
  EXPECT_EQ(read(), "from-env") << variable;
  setter("from-setter");
  setter(nullptr);
  EXPECT_EQ(read(), "from-env") << variable;
  unsetenv(variable);
  EXPECT_EQ(read(), fallback) << variable;
  if (saved) setenv(variable, original.c_str(), 1);
  return fallback;
}

TEST(HostSettings, SetterWinsOverEnvironmentWhichWinsOverDefault) {
  EXPECT_EQ(
      checkPrecedence("CHARTXML_LANG", cxh_set_language, [] { return OLang().GetLanguageCode(); }),
      "en");
  EXPECT_EQ(checkPrecedence("CHARTXML_CODEPAGE", cxh_set_code_page,
                            [] { return VORNMBDefaultCodePage(); }),
            "UTF-8");
  const std::filesystem::path tables =
      checkPrecedence("CHARTXML_STRINGS", cxh_set_string_tables,
                      [] { return PathFactory::getPathInstance(3).getPath(); });
  EXPECT_TRUE(std::filesystem::is_regular_file(tables / "en/global.txt")) << tables;
  EXPECT_EQ(PathFactory::getPathInstance(2).getPath(), "");
  // The text stays put while the setting does; the process keeps no trail
  // of earlier names.
  cxh_set_code_page("CP1250");
  const char* current = VORNMBDefaultCodePage();
  EXPECT_STREQ(current, "CP1250");
  EXPECT_EQ(VORNMBDefaultCodePage(), current);
  cxh_set_code_page(nullptr);
  EXPECT_STREQ(VORNMBDefaultCodePage(), "UTF-8");

  EXPECT_FALSE(QBOOTSTRAPPING());
  cxh_set_bootstrapping(1);
  EXPECT_TRUE(QBOOTSTRAPPING());
  cxh_set_bootstrapping(0);
  EXPECT_FALSE(QBOOTSTRAPPING());
}

TEST(HostPlatform, TruncationNeverSplitsACharacter) {
  const struct {
    std::string text;
    std::size_t maxBytes;
    std::string expected;
  } cases[] = {
      {"abc", 3, "abc"},
      {"abc", 0, ""},
      {"a\xC3\xA9", 2, "a"},      // 2-byte é
      {"a\xE4\xB8\xAD", 3, "a"},  // 3-byte 中
      {"a\xE4\xB8\xAD"
       "b",
       4, "a\xE4\xB8\xAD"},
      {"a\xF0\x9F\x98\x80", 4, "a"},  // 4-byte emoji
      {"a\xF0\x9F\x98\x80"
       "b",
       5, "a\xF0\x9F\x98\x80"},
      {"\x80\x80"
       "abc",
       3,
       "\x80\x80"
       "a"},  // stray continuation bytes
      {"a\xE4\xB8"
       "bc",
       3, "a\xE4\xB8"},  // a cut-off sequence stays whole...
      {"a\xE4\xB8"
       "bc",
       2, "a"},  // ...or goes whole
  };
  for (const auto& c : cases) {
    std::string text = c.text;
    EXPECT_EQ(VORNMBStringTruncate_A(text, c.maxBytes), c.expected.size()) << c.text;
    EXPECT_EQ(text, c.expected) << c.text << " to " << c.maxBytes;
  }
}

TEST(HostFormat, PacksTypeWidthAndDecimals) {
  // Spelled out here, so that the packing macro is checked as well.
  const int code = (5 << 16) | (8 << 8) | 2;
  EXPECT_EQ(CX_FORMAT_CODE(CX_FORMAT_FIXED, 8, 2), code);
  EXPECT_EQ(VORN_Format::FromCode(code), VORN_Format(CX_FORMAT_FIXED, 8, 2));
  EXPECT_EQ(VORN_Format(CX_FORMAT_FIXED, 8, 2).ToCode(), code);
  EXPECT_EQ(VORN_Format::FromCode(-1), VORN_Format());
  EXPECT_EQ(VORN_Format::FromCode(256 << 16), VORN_Format());  // a type past the byte

  // Strings keep a 16-bit width across both low bytes and no decimals.
  const VORN_Format text = VORN_Format::FromCode((CX_FORMAT_STRING << 16) | 300);
  EXPECT_EQ(text.width, 300);
  EXPECT_EQ(text.decimals, 0);
  EXPECT_EQ(text.ToCode(), (CX_FORMAT_STRING << 16) | 300);
  EXPECT_EQ(VORN_Format(CX_FORMAT_STRING, 20, 7).decimals, 0);
}

TEST(HostFormat, WidthIsCappedAtFortyExceptForStrings) {
  EXPECT_EQ(VORN_Format(CX_FORMAT_FIXED, 300, 2).width, 40);
  EXPECT_EQ(VORN_Format::FromCode(CX_FORMAT_CODE(CX_FORMAT_FIXED, 200, 0)).width, 40);
  VORN_Format numeric(CX_FORMAT_FIXED, 8, 0);
  numeric.width = 200;  // past the cap directly: the code still carries 40
  EXPECT_EQ(numeric.ToCode(), CX_FORMAT_CODE(CX_FORMAT_FIXED, 40, 0));
  VORN_Format text(CX_FORMAT_STRING, 8, 0);
  text.SetWidth(300);
  EXPECT_EQ(text.width, 300);
}

TEST(HostCellText, ErrorsReachTheReportLogAsUtf8) {
  const int handle = TsCellText::Replicate(TsString("cell", 1));
  ASSERT_NE(TsCellText::Find(handle), nullptr);
  EXPECT_EQ(TsCellText::Find(handle)->text(), "cell");
  EXPECT_EQ(TsCellText::Find(handle + 1), nullptr);

  cxh_clear_reports();
  cxh_set_code_page("CP1252");
  TsError(TsString("caf\xE9"), 3, 99);
  cxh_set_code_page(nullptr);
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_STREQ(cxh_report_message(0), "caf\xC3\xA9");
  EXPECT_STREQ(cxh_report_source(0), "host/cpputil");
  EXPECT_EQ(cxh_report_line(0), 3);
}

}  // namespace
