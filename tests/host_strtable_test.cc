// String tables: file format, look-up order, code pages and path safety.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/FacSTDictionary.h"
#include "host_test_support.h"

namespace fs = std::filesystem;

namespace {

class StringTableTest : public hosttest::QuietReports {
 protected:
  void TearDown() override {
    cxh_set_language(nullptr);
    QuietReports::TearDown();
  }
  void write(const std::string& relative, const std::string& content) {
    folder_.write(relative, content);
  }
  std::string path(const char* relative) const { return folder_.path(relative); }

  hosttest::TempFolder folder_{"chartxml-strtable"};
  const fs::path& dir_ = folder_.path();
};

// "text|companion" of `key`, or "MISS" when unknown (both then hold the key).
std::string lookUp(const FacSTDictionary& tables, const std::string& key) {
  std::string text, companion;
  if (!tables.LookUp(key, text, companion)) {
    EXPECT_EQ(text + companion, key + key);
    return "MISS";
  }
  return text + "|" + companion;
}

TEST_F(StringTableTest, ProcedureThenGlobalThenEnglish) {
  write("en/global.txt", "A\tglobal A\nB\tglobal B\nC\tglobal C\n");
  write("en/Proc.txt", "A\tproc A\n");
  write("de/global.txt", "A\tglobal A de\nB\tglobal B de\n");
  write("de/Proc.txt", "A\tproc A de\n");
  cxh_set_language("de");
  FacSTDictionary tables(dir_.string());
  EXPECT_EQ(lookUp(tables, "A"), "global A de|global A");
  EXPECT_EQ(tables.SetProcedure("Proc"), path("de/Proc.txt"));
  EXPECT_EQ(lookUp(tables, "A"), "proc A de|proc A");
  EXPECT_EQ(lookUp(tables, "B"), "global B de|global B");
  EXPECT_EQ(lookUp(tables, "C"), "global C|global C");
  EXPECT_EQ(lookUp(tables, "nowhere"), "MISS");
  EXPECT_EQ(tables.SetProcedure(""), "");
  EXPECT_EQ(lookUp(tables, "A"), "global A de|global A");
  EXPECT_EQ(tables.SetProcedure("Unknown"), "");

  // A file given as the global table serves the output language.
  write("other.txt", "A\tfrom file\n");
  tables.SetGlobalStringTable(path("other.txt"));
  EXPECT_EQ(lookUp(tables, "A"), "from file|global A");
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(StringTableTest, FileFormat) {
  write("en/global.txt",
        "\xEF\xBB\xBFK1\tone\r\n# a comment\tline\r\n\r\nno tab here\r\n"
        "K2\ttwo\\nlines\r\nK3\t\ttab kept");
  FacSTDictionary tables(dir_.string());
  EXPECT_EQ(lookUp(tables, "K1"), "one|one");
  EXPECT_EQ(lookUp(tables, "K2"), "two\\nlines|two\\nlines");
  EXPECT_EQ(lookUp(tables, "K3"), "\ttab kept|\ttab kept");
  EXPECT_EQ(lookUp(tables, "# a comment"), "MISS");
  EXPECT_EQ(lookUp(tables, "no tab here"), "MISS");
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_NE(std::string(cxh_report_message(0)).find(path("en/global.txt") + ":4"),
            std::string::npos)
      << cxh_report_message(0);
  EXPECT_STREQ(cxh_report_source(0), "host/strtable");
}

TEST_F(StringTableTest, HostileProcedureNamesAreRefused) {
  write("en/global.txt", "A\tglobal\n");
  write("en/Proc.txt", "A\tproc\n");
  write("secret.txt", "A\tsecret\n");
  FacSTDictionary tables(dir_.string());
  for (const char* name : {"../secret", "en/Proc", "en\\Proc", ".hidden", "a..b"}) {
    ASSERT_EQ(tables.SetProcedure("Proc"), path("en/Proc.txt"));
    cxh_clear_reports();
    EXPECT_EQ(tables.SetProcedure(name), "") << name;
    EXPECT_EQ(lookUp(tables, "A"), "global|global") << name;  // the old one is deselected
    EXPECT_EQ(cxh_report_count(), 1) << name;
  }
}

TEST_F(StringTableTest, TextsComeInTheOutputLanguagesCodePage) {
  const struct {
    const char* language;
    const char* utf8;
    std::string encoded;
  } cases[] = {
      {"ru", "\xD0\x96", "\xC6"},             // Ж in CP1251
      {"pl", "\xC5\x82", "\xB3"},             // ł in CP1250
      {"zh-tw", "\xE4\xB8\xAD", "\xA4\xA4"},  // 中 in CP950
      {"zh-cn", "\xE4\xB8\xAD", "\xD6\xD0"},  // 中 in CP936
      {"ko", "\xE4\xB8\xAD", "\xF1\xE9"},     // 中 in CP949
      {"ja", "\xE4\xB8\xAD", "\x92\x86"},     // 中 in CP932
      {"de", "\xC3\xA9", "\xE9"},             // é in CP1252
  };
  write("en/global.txt", "K\tenglish\n");
  for (const auto& c : cases) {
    write(std::string(c.language) + "/global.txt", std::string("K\t") + c.utf8);
    cxh_set_language(c.language);
    EXPECT_EQ(lookUp(FacSTDictionary(dir_.string()), "K"), c.encoded + "|english") << c.language;
  }
  EXPECT_EQ(cxh_report_count(), 0);

  // Codes match exactly: "JA" gets CP1252, which lacks 中: substituted and reported.
  write("JA/global.txt", "K\t\xE4\xB8\xAD");
  cxh_set_language("JA");
  EXPECT_EQ(lookUp(FacSTDictionary(dir_.string()), "K").size(), std::string("?|english").size());
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_NE(std::string(cxh_report_message(0)).find("CP1252"), std::string::npos);
}

using hosttest::reportMessages;

TEST_F(StringTableTest, AFolderWithoutTablesIsAnErrorToldOnce) {
  write("en/Proc.txt", "A\tproc\n");  // a procedure table is no global table
  FacSTDictionary tables(dir_.string());
  tables.SetProcedure("Proc");
  tables.SetGlobalStringTable(dir_.string());
  tables.SetProcedure("");
  EXPECT_EQ(lookUp(tables, "E61219"), "MISS");
  ASSERT_EQ(reportMessages().size(), 1u) << ::testing::PrintToString(reportMessages());
  EXPECT_EQ(
      reportMessages()[0].rfind("no string tables in " + dir_.string() + ": en/global.txt", 0), 0u)
      << reportMessages()[0];
  EXPECT_STREQ(cxh_report_source(0), "host/strtable");

  // In another language both tables it would read are named.
  cxh_clear_reports();
  cxh_set_language("ja");
  FacSTDictionary japanese(path("nowhere"));
  ASSERT_EQ(reportMessages().size(), 1u) << ::testing::PrintToString(reportMessages());
  EXPECT_EQ(reportMessages()[0].rfind("no string tables in " + path("nowhere") +
                                          ": neither ja/global.txt nor en/global.txt",
                                      0),
            0u)
      << reportMessages()[0];
}

TEST_F(StringTableTest, EitherGlobalTableIsEnough) {
  write("ja/global.txt", "A\tja\n");
  cxh_set_language("ja");
  EXPECT_EQ(lookUp(FacSTDictionary(dir_.string()), "A"), "ja|ja");
  write("en/global.txt", "A\ten\n");
  fs::remove(path("ja/global.txt"));
  EXPECT_EQ(lookUp(FacSTDictionary(dir_.string()), "A"), "en|en");
  EXPECT_EQ(reportMessages(), std::vector<std::string>{});
  // A file given as the global table serves, whatever the folder holds.
  fs::remove(path("en/global.txt"));
  write("file.txt", "A\tfile\n");
  FacSTDictionary tables(dir_.string());
  cxh_clear_reports();
  tables.SetGlobalStringTable(path("file.txt"));
  EXPECT_EQ(lookUp(tables, "A"), "file|file");
  EXPECT_EQ(reportMessages(), std::vector<std::string>{});
}

std::set<std::string> keysOf(const fs::path& file) {
  std::ifstream in(file);
  std::set<std::string> keys;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line[0] != '#') keys.insert(line.substr(0, line.find('\t')));
  }
  return keys;
}

TEST_F(StringTableTest, ShippedTablesAgree) {
  const fs::path shipped = CHARTXML_SOURCE_STRINGS_DIR;
  const std::set<std::string> keys = keysOf(shipped / "en/global.txt");
  EXPECT_EQ(keysOf(shipped / "ja/global.txt"), keys);
  for (const char* key : {"X Variable", "E60712", "E60561", "E61215^1", "E61219^1"}) {
    EXPECT_EQ(keys.count(key), 1u) << key;
  }
  cxh_set_language("ja");
  FacSTDictionary tables(shipped.string());
  EXPECT_EQ(lookUp(tables, "E61218"), "\x96\x7D\x97\xE1|Key");  // 凡例 in CP932
  for (const std::string& key : keys) EXPECT_NE(lookUp(tables, key), "MISS") << key;
  EXPECT_EQ(cxh_report_count(), 0);  // every line well formed, every text fits CP932
}

}  // namespace
