// Data sources: CSV reading, column typing, the dictionary file and the
// procedure's view through a dictionary.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdint>
#include <cstdio>

#include <filesystem>
#include <limits>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/formatter.h"
#include "host_test_support.h"

namespace fs = std::filesystem;

namespace {

constexpr double kMissing = kVornMissingValue;
using Numbers = std::vector<double>;
using Cells = std::vector<std::string>;

using hosttest::asSource;
using hosttest::handleOf;
using hosttest::Source;

// A row's texts joined by '|', every row, and a column's numbers.
std::string row(const VORN_DataSource& source, int r) {
  std::string out = source.GetString(r, 0);
  for (int c = 1; c < source.ColumnCount(); ++c) out += "|" + source.GetString(r, c);
  return out;
}
std::vector<std::string> rows(const VORN_DataSource& source) {
  std::vector<std::string> out;
  for (int r = 0; r < source.RowCount(); ++r) out.push_back(row(source, r));
  return out;
}
// A column's numbers, cell by cell; the bulk read must give the same, in
// whole and from the second row on.
Numbers numbers(const VORN_DataSource& source, int column) {
  Numbers out;
  for (int r = 0; r < source.RowCount(); ++r) out.push_back(source.GetNumber(r, column));
  Numbers bulk(out.size());
  source.GetNumbers(column, 0, source.RowCount(), bulk.data());
  EXPECT_EQ(bulk, out) << "GetNumbers of column " << column;
  if (out.size() > 1) {
    source.GetNumbers(column, 1, source.RowCount() - 1, bulk.data());
    EXPECT_EQ(Numbers(bulk.begin(), bulk.end() - 1), Numbers(out.begin() + 1, out.end()));
  }
  return out;
}
// Whether each column holds texts: "T" or "n" per column.
std::string textColumns(VORN_DataSource& source) {
  std::string out;
  for (int c = 0; c < source.ColumnCount(); ++c)
    out += source.GetVariable(c)->IsString() ? 'T' : 'n';
  return out;
}
// Each variable as "label:type.width.decimals:measure", joined by spaces.
std::string variables(VORN_DataSource& source) {
  static const char* const kMeasures[] = {"nominal", "ordinal", "scale"};
  std::string out;
  for (int c = 0; c < source.ColumnCount(); ++c) {
    const VORN_Variable& v = *source.GetVariable(c);
    const VORN_Format& f = v.GetFormatEx();
    out += (c > 0 ? " " : "") + v.GetLabel() + ":" + std::to_string(f.type) + "." +
           std::to_string(f.width) + "." + std::to_string(f.decimals) + ":" +
           kMeasures[static_cast<int>(v.GetMeasure())];
  }
  return out;
}
// A column's cells as its display format shows them, joined by '|'.
std::string shown(VORN_DataSource& source, int column) {
  std::string out;
  for (int r = 0; r < source.RowCount(); ++r) {
    out +=
        (r > 0 ? "|" : "") + formatter::AsString(source.GetNumber(r, column),
                                                 source.GetVariable(column)->GetFormatEx(), true);
  }
  return out;
}
std::string kinds(const Source& source) {
  return cxh_csv_column_kinds(handleOf(source.get()));
}

class DataSourceTest : public hosttest::QuietReports {
 protected:
  void TearDown() override {
    cxh_set_code_page(nullptr);
    QuietReports::TearDown();
  }

  std::string write(const std::string& name, const std::string& content) {
    return folder_.write(name, content);
  }
  // A source that must open: a refusal ends the test with its report.
  static Source opened(Source source) {
    if (source == nullptr) throw std::runtime_error("refused: " + lastReport());
    return source;
  }
  Source open(const std::string& path) { return opened(hosttest::openCsv(path)); }
  Source load(const std::string& csv) { return open(write("data.csv", csv)); }
  Source tryOpenEx(const std::string& path, const cxh_csv_options& options) {
    return Source(asSource(cxh_open_csv_ex(path.c_str(), &options)));
  }
  Source openEx(const std::string& path, const cxh_csv_options& options) {
    return opened(tryOpenEx(path, options));
  }
  Source loadEx(const std::string& csv, const cxh_csv_options& options) {
    return openEx(write("data.csv", csv), options);
  }
  static std::string lastReport() { return hosttest::lastReport(); }
  // The one report made when opening `path` fails.
  std::string refusal(const std::string& path) {
    cxh_clear_reports();
    EXPECT_EQ(hosttest::openCsv(path), nullptr);
    EXPECT_EQ(cxh_report_count(), 1);
    return lastReport();
  }

  hosttest::TempFolder folder_{"chartxml-datasrc"};
  const fs::path& dir_ = folder_.path();
};

TEST_F(DataSourceTest, ReadsQuotesByteOrderMarkLineEndingsAndEmptyLines) {
  Source source = load(
      "\xEF\xBB\xBFid,name,note\r\n"
      "1,\"Smith, Jo\",\"said \"\"hi\"\"\"\r\n"
      "2,plain,\"two\r\nlines\"\r\n"
      "3,,\r\n"
      "\r\n");
  EXPECT_EQ(cxh_report_count(), 0);
  EXPECT_EQ(source->GetVariable(0)->GetName(), "id");
  EXPECT_EQ(rows(*source), (Cells{"1|Smith, Jo|said \"hi\"", "2|plain|two\r\nlines", "3||"}));
  EXPECT_EQ(source->GetNumber(2, 0), 3);
  // Each row's first line: the field spanning two lines moves the next row on.
  for (auto [r, line] : {std::pair{0, 2}, {1, 3}, {2, 5}, {3, -1}, {-1, -1}}) {
    EXPECT_EQ(source->LineOfRow(r), line) << r;
  }
  // Lines may end in a lone carriage return too.
  source = load("id,note\r1,\"two\rlines\"\r2,\r\r");
  EXPECT_EQ(rows(*source), (Cells{"1|two\rlines", "2|"}));
  EXPECT_EQ(source->LineOfRow(1), 4);
  EXPECT_EQ(numbers(*source, 0), (Numbers{1, 2}));

  // In a one-column file an empty line is a missing value; only the final
  // line break ends the file.
  EXPECT_EQ(numbers(*load("x\n1\n\n2\n\n"), 0), (Numbers{1, kMissing, 2, kMissing}));
}

TEST_F(DataSourceTest, RefusesMalformedFilesNamingFileAndLine) {
  const std::tuple<std::string, int, const char*> cases[] = {
      {"a,b\r1,2\r3\r", 3, "row has 1 field; the header has 2"},
      {"a,b\n1,2\n\xEF\xBB\xBF"
       "3,4\n",
       3, "a byte order mark is only allowed at the very start of the file"},
      {"\xEF\xBB\xBF\xEF\xBB\xBF"
       "a\n1\n",
       1, "byte order mark"},
      {"a,\"x\ny\"\n1,\"\xEF\xBB\xBF\"\n", 3, "byte order mark"},
      {std::string("a,b\0c\n1,2\n", 10), 1, "variable name of column 2 contains a NUL byte"},
      {"a,b\n1,2\n3\n", 3, "row has 1 field; the header has 2"},
      {"a,b\n\"x\ny\",2\n1,2,3\n", 4, "row has 3 fields"},
      {"a,b\n1,2\n\n3,4\n", 3, "row has 1 field"},
      {"a,b\n1,2\n3,\"open\n4,5\n", 3, "not closed"},
      {"a\n\"x\"y\n", 2, "after the closing quote"},
      {"", 1, "empty file"},
      {"\r\n", 1, "empty file"},
      {"a,,c\n1,2,3\n", 1, "column 2 is empty"},
      {"a,b,a\n1,2,3\n", 1, "\"a\" is used by columns 1 and 3"},
  };
  for (const auto& [content, line, problem] : cases) {
    SCOPED_TRACE(content);
    const std::string path = write("bad.csv", content);
    const std::string message = refusal(path);
    EXPECT_EQ(message.rfind(path + ":" + std::to_string(line) + ": ", 0), 0u) << message;
    EXPECT_NE(message.find(problem), std::string::npos) << message;
    EXPECT_EQ(cxh_report_line(0), line);
  }

  const std::string missing = (dir_ / "absent.csv").string();
  EXPECT_EQ(refusal(missing).rfind(missing + ": ", 0), 0u) << lastReport();
  EXPECT_EQ(cxh_open_csv(nullptr), nullptr);
  EXPECT_EQ(cxh_report_count(), 2);
}

TEST_F(DataSourceTest, TypesColumnsAndGuessesFormatsWithoutADictionary) {
  Source source = load(
      "small,wide,tiny,text,mixed,special,empty\n"
      "1.50,123456789.125,2.5e-3,a,1,nan,\n"
      "-20,+7, 1 ,\xC3\xBC\x6E\xC3\xAF,x,1,\n"
      ",0,0,,2,inf,\n");
  // Numbers, infinities and missing values ("nan" is one) make a numeric
  // column; an empty one is numeric.
  EXPECT_EQ(textColumns(*source), "nnnTTnn");
  // Numbers never narrower than 8; text widths count bytes, not characters.
  EXPECT_EQ(variables(*source),
            ":5.8.2:scale :5.13.3:scale :5.8.4:scale :1.5.0:nominal :1.1.0:nominal :5.8.0:scale "
            ":5.8.0:scale");
  EXPECT_EQ(source->GetVariable(0)->GetValueLabels().Count(), 0u);

  EXPECT_EQ(numbers(*source, 0), (Numbers{1.5, -20, kMissing}));
  EXPECT_EQ(numbers(*source, 1), (Numbers{123456789.125, 7, 0}));
  EXPECT_EQ(numbers(*source, 2), (Numbers{0.0025, 1, 0}));
  EXPECT_EQ(numbers(*source, 4), (Numbers{1, kMissing, 2}));  // text that spells a number
  EXPECT_EQ(numbers(*source, 5), (Numbers{kMissing, 1, std::numeric_limits<double>::infinity()}));
  EXPECT_EQ(numbers(*source, 6), (Numbers{kMissing, kMissing, kMissing}));
  EXPECT_EQ(source->GetString(0, 0), "1.5");
  EXPECT_EQ(source->GetString(2, 0), "");
  EXPECT_EQ(source->GetString(1, 3), "\xC3\xBC\x6E\xC3\xAF");
  // Out of range.
  EXPECT_EQ(source->GetVariable(7), nullptr);
  EXPECT_EQ(source->GetNumber(3, 0), kMissing);
  EXPECT_EQ(source->GetString(0, 7), "");
}

// Cells are typed as they are read; a column found to be text late must
// still give back every earlier cell as written, past quoted fields of
// other columns that hold delimiters, quotes and line breaks.
TEST_F(DataSourceTest, ColumnFoundToBeTextLateKeepsEveryCellAsWritten) {
  std::string csv = "late,note,num,early\r\n";
  std::vector<std::string> late, note;
  for (int r = 0; r < 40; ++r) {
    late.push_back(r % 7 == 0 ? "" : r % 5 == 0 ? " 1.50 " : std::to_string(r * 3));
    note.push_back(r % 3 == 0 ? "a,\"b\"\r\nc" : "n" + std::to_string(r));
    const std::string quoted = r % 3 == 0 ? "\"a,\"\"b\"\"\r\nc\"" : note.back();
    csv +=
        late.back() + "," + quoted + "," + std::to_string(r) + "," + (r == 2 ? "x" : "7") + "\r\n";
  }
  late.push_back("1e999x");
  note.push_back("last");
  csv += "1e999x,last,40,8\r\n";
  Source source = load(csv);
  ASSERT_EQ(source->RowCount(), 41);
  EXPECT_EQ(textColumns(*source), "TTnT");
  for (int r = 0; r < 41; ++r) {
    EXPECT_EQ(source->GetString(r, 0), late[r]) << r;
    EXPECT_EQ(source->GetString(r, 1), note[r]) << r;
    EXPECT_EQ(source->GetNumber(r, 2), r) << r;
    EXPECT_EQ(source->GetString(r, 3), r == 2 ? "x" : r == 40 ? "8" : "7") << r;
  }
  // Rows begin a line further on after each quoted line break.
  EXPECT_EQ(std::tuple(source->LineOfRow(0), source->LineOfRow(1), source->LineOfRow(40)),
            std::tuple(2, 4, 2 + 40 + 14));
  EXPECT_EQ(source->GetVariable(0)->GetFormatEx(), (VORN_Format{1, 6, 0}));
}

// Plain decimals of up to 19 digits are read the quick way: they must read
// as std::from_chars reads them, bit for bit, and count their decimals for
// the guessed format as longer ones do (at most 16 shown).
TEST_F(DataSourceTest, DecimalsReadAsFromCharsReadsThem) {
  std::uint64_t state = 0x5EEDu;
  const auto next = [&state] {
    state = state * 6364136223846793005u + 1442695040888963407u;
    return state >> 33;
  };
  std::vector<std::string> texts;
  std::string csv = "n\n";
  int most = 0;
  for (int i = 0; i < 20000; ++i) {
    const int digits = 1 + static_cast<int>(next() % 19);
    const int point = static_cast<int>(next() % static_cast<std::uint64_t>(digits + 1));
    std::string text = next() % 3 == 0 ? "-" : "";
    for (int d = 0; d < digits; ++d) {
      if (d == point && d > 0) text += '.';
      text += static_cast<char>('0' + next() % 10);
    }
    if (point > 0 && point < digits) most = std::max(most, digits - point);
    texts.push_back(text);
    csv += text + "\n";
  }
  Source source = load(csv);
  ASSERT_EQ(source->RowCount(), 20000);
  for (int r = 0; r < 20000; ++r) {
    double want = 0;
    std::from_chars(texts[r].data(), texts[r].data() + texts[r].size(), want);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(source->GetNumber(r, 0)),
              std::bit_cast<std::uint64_t>(want))
        << texts[r];
  }
  EXPECT_EQ(source->GetVariable(0)->GetFormatEx().decimals, std::min(most, 16));
}

TEST_F(DataSourceTest, ReadsInfinitiesAsNumbersAndQuotedFieldsAsTexts) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  Source source = load(
      "inf,big,quoted,blank\n"
      "inf,123456789012.5,\"123\",1\n"
      "-inf,+Infinity,1,\"\"\n"
      " +inf ,-INF,2,3\n");
  EXPECT_EQ(numbers(*source, 0), (Numbers{kInf, -kInf, kInf}));
  EXPECT_EQ(numbers(*source, 1), (Numbers{123456789012.5, kInf, -kInf}));
  // Infinities leave the guessed width to the finite values.
  EXPECT_EQ(source->GetVariable(1)->GetFormatEx(), VORN_Format(5, 14, 1));
  // One quoted field, even an empty one, makes the column text.
  EXPECT_EQ(textColumns(*source), "nnTT");
  EXPECT_EQ(rows(*source), (Cells{"inf|123456789012.5|123|1", "-inf|inf|1|", "inf|-inf|2|3"}));
}

TEST_F(DataSourceTest, AppliesTheDictionary) {
  const std::string path =
      write("survey.csv", "sex,income,city\n1,1000.5,Oslo\n2,,Bergen\n9,20,Oslo\n");
  write("survey.csv.dict.json", R"({ "variables": {
    "sex": { "label": "Sex of respondent", "format": { "type": 5, "width": 1, "decimals": 0 },
             "measure": "nominal", "valueLabels": { "2": "Female", "1.0": "Male" }, "missing": [9] },
    "income": { "label": "Household income", "format": { "type": 4, "width": 10, "decimals": 2 },
                "measure": "scale" },
    "city": { "measure": "ordinal", "format": { "width": 12 }, "valueLabels": { "Oslo": "Capital" } }
  } })");
  Source source = open(path);

  // Format keys left out keep the guessed values.
  EXPECT_EQ(variables(*source),
            "Sex of respondent:5.1.0:nominal Household income:4.10.2:scale :1.12.0:ordinal");
  VORN_Variable& sex = *source->GetVariable(0);
  EXPECT_TRUE(sex.IsUserMissing(9));
  EXPECT_FALSE(sex.IsUserMissing(1));
  EXPECT_EQ(numbers(*source, 0), (Numbers{1, 2, kMissing}));
  EXPECT_EQ(source->GetString(2, 0), "9");

  // Pairs come in the dictionary's order, and a walk can be restarted.
  VORN_ValueLabelMap& labels = sex.GetValueLabels();
  for (int walk = 0; walk < 2; ++walk) {
    labels.Reset();
    VORN_Value value;
    std::string label;
    ASSERT_TRUE(labels.GetNextPair(value, label));
    EXPECT_EQ(std::tie(value.number, label), std::make_tuple(2.0, "Female"));
    ASSERT_TRUE(labels.GetNextPair(value, label));
    EXPECT_FALSE(labels.GetNextPair(value, label));  // leaves the last pair as it was
    EXPECT_EQ(std::tie(value.isString, value.number, label), std::make_tuple(false, 1.0, "Male"));
  }
  const auto label = [](const std::string* found) { return found ? *found : "(none)"; };
  EXPECT_EQ(
      label(labels.Find(1.0)) + label(labels.Find(3.0)) + label(labels.Find(std::string("1"))),
      "Male(none)(none)");

  EXPECT_EQ(label(source->GetVariable(2)->GetValueLabels().Find(std::string("Oslo"))), "Capital");
}

TEST_F(DataSourceTest, RefusesABadDictionaryNamingTheFileLineColumnAndVariable) {
  // Each problem is placed at the key it concerns.
  const std::tuple<const char*, const char*, const char*> cases[] = {
      {R"("nope": {})", "\"nope\"", "variable \"nope\": no such variable"},
      {R"("n": { "format": { "type": 0 } })", "\"type\"", "type 0 is not in 1..40"},
      {R"("n": { "format": { "type": 41 } })", "\"type\"", "type 41 is not in 1..40"},
      {R"("n": { "format": { "width": 0 } })", "\"width\"", "width 0 is not in 1..40"},
      {R"("n": { "format": { "width": 41 } })", "\"width\"", "width 41 is not in 1..40"},
      {R"("s": { "format": { "width": 32768 } })", "\"width\"", "width 32768 is not in 1..32767"},
      {R"("n": { "format": { "decimals": 17, "width": 30 } })", "\"decimals\"",
       "decimals 17 is not in 0..16"},
      {R"("n": { "format": { "type": 5, "width": 4, "decimals": 4 } })", "\"decimals\"",
       "decimals 4 leave"},
      {R"("n": { "format": { "type": 1 } })", "\"type\"",
       "numeric variable cannot have format type 1"},
      {R"("n": { "format": { "width": 8.5 } })", "\"width\"", "width must be a whole number"},
      {R"("n": { "measure": "interval" })", "\"measure\"", "measure \"interval\" is not"},
      {R"("n": { "valueLabels": { "one": "One" } })", "\"one\"", "key \"one\" is not a number"},
      {R"("s": { "missing": ["x"] })", "\"missing\"", "only for numeric variables"},
      {R"("n": { "lable": "typo" })", "\"lable\"", "unknown key \"lable\""},
  };
  const std::string path = write("d.csv", "n,s\n1,a\n");
  const std::string dictionary = path + ".dict.json";
  for (const auto& [variables, key, problem] : cases) {
    SCOPED_TRACE(variables);
    const std::string json = std::string(R"({"variables": {)") + variables + "}}";
    write("d.csv.dict.json", json);
    const std::string message = refusal(path);
    const std::string at = ":1:" + std::to_string(json.find(key) + 1) + ": variable \"";
    EXPECT_EQ(message.rfind(dictionary + at, 0), 0u) << message;
    EXPECT_NE(message.find(problem), std::string::npos) << message;
    EXPECT_EQ(cxh_report_line(0), 1);
  }

  // Lines count from the top of the file; a problem that is no key's is
  // placed where the JSON goes wrong.
  const std::pair<const char*, const char*> placed[] = {
      {"{\"variables\": {\n  \"n\": {\n    \"measure\": 1}}}",
       ":3:5: variable \"n\": measure 1 is not nominal, ordinal or scale"},
      {"\n  [1]", ":2:3: the dictionary must be a JSON object"},
      {"{\"variables\": {},\r\n \"varables\": {}}", ":2:2: unknown key \"varables\""},
      {"{\"variables\": {\n  \"n\": {\"label\": }\n}}",
       ":2:18: malformed JSON: syntax error while parsing value - unexpected '}'; expected '[', "
       "'{', or a literal"},
      {R"({"variables": {"n": )",
       ":1:21: malformed JSON: syntax error while parsing value - unexpected end of input; "
       "expected '[', '{', or a literal"},
      // A key given twice names the line of the first.
      {"{\n  \"variables\": {\n    \"n\": { \"label\": \"a\",\n           \"label\": \"b\" } } }",
       ":4:12: variable \"n\": key \"label\" is given twice; the first is at line 3"},
      {"{\"variables\": {\n  \"n\": {},\n  \"s\": {},\n  \"n\": {}\n}}",
       ":4:3: variable \"n\" is given twice; the first is at line 2"},
      {"{\"variables\": {},\n \"variables\": {}}",
       ":2:2: key \"variables\" is given twice; the first is at line 1"},
      {"{\"variables\": {\"n\": {\"format\": {\"width\": 8,\n \"width\": 9}}}}",
       ":2:2: variable \"n\": format key \"width\" is given twice; the first is at line 1"},
      {R"({"variables": {"n": {"valueLabels": {"1": "a",)"
       "\n"
       R"("1": "b"}}}})",
       ":2:1: variable \"n\": value label key \"1\" is given twice; the first is at line 1"},
      // The same key spelt with an escape is still the same key.
      {R"({"variables": {"s": {"label": "a", "l\u0061bel": "b"}}})",
       ":1:36: variable \"s\": key \"label\" is given twice; the first is at line 1"},
  };
  for (const auto& [json, expected] : placed) {
    SCOPED_TRACE(json);
    write("d.csv.dict.json", json);
    EXPECT_EQ(refusal(path), dictionary + expected);
  }
}

TEST_F(DataSourceTest, ProcedureDictionaryMapsOneBasedNumbersToColumns) {
  Source source = load("a,b,c\n1,2,3\n4,5,6\n");
  const int64_t columns[] = {2, 0};
  void* handle = cxh_dictionary(handleOf(source.get()), columns, 2);
  ASSERT_NE(handle, nullptr) << lastReport();
  ProcedureDataSource procedure(reinterpret_cast<void*>(0x10),
                                static_cast<VORN_FortranDictionary*>(handle));
  EXPECT_EQ(procedure.Parent(), source.get());
  // Variables 1 and 2; positions outside the dictionary name no column.
  for (auto [position, column] : {std::pair{0, 2}, {1, 0}, {2, -1}, {-1, -1}}) {
    EXPECT_EQ(procedure.DicPtr(position), column) << position;
  }
  // The data source's own services keep the parent's column numbers.
  EXPECT_EQ(procedure.ColumnCount(), 3);
  EXPECT_EQ(procedure.RowCount(), 2);
  EXPECT_EQ(procedure.GetVariable(1), source->GetVariable(1));
  EXPECT_EQ(procedure.GetNumber(1, 2), 6);
  EXPECT_EQ(procedure.LineOfRow(1), 3);
  cxh_close(handle);

  // A data source as its own dictionary: position k is column k.
  ProcedureDataSource direct(nullptr, source.get());
  EXPECT_EQ(direct.Parent(), source.get());
  EXPECT_EQ(direct.DicPtr(2), 2);
  EXPECT_EQ(direct.DicPtr(3), -1);
  void* empty = cxh_dictionary(handleOf(source.get()), nullptr, 0);
  ASSERT_NE(empty, nullptr);
  EXPECT_EQ(ProcedureDataSource(nullptr, static_cast<VORN_FortranDictionary*>(empty)).DicPtr(0),
            -1);
  cxh_close(empty);
  EXPECT_EQ(cxh_report_count(), 0);

  // Refused arguments, each reported; closing null is harmless.
  const int64_t tooFar[] = {0, 3};
  const int64_t negative[] = {-1};
  EXPECT_EQ(cxh_dictionary(nullptr, tooFar, 1), nullptr);
  EXPECT_EQ(cxh_dictionary(handleOf(source.get()), tooFar, -1), nullptr);
  EXPECT_EQ(cxh_dictionary(handleOf(source.get()), nullptr, 1), nullptr);
  EXPECT_EQ(cxh_dictionary(handleOf(source.get()), tooFar, 2), nullptr);
  EXPECT_NE(lastReport().find("variable 2 names column 3"), std::string::npos) << lastReport();
  EXPECT_EQ(cxh_dictionary(handleOf(source.get()), negative, 1), nullptr);
  cxh_close(nullptr);
  EXPECT_EQ(cxh_report_count(), 5);
}

TEST_F(DataSourceTest, ReadsMissingValuesAsUsersWriteThem) {
  Source source = load(
      "x,word,quoted\n"
      "1.5,NA,1\n"
      "NA,N/A,\"NA\"\n"
      " N/A ,x,2\n"
      "NaN,,3\n"
      "nan,.,4\n"
      "null,null,5\n"
      "NULL,NULL,6\n"
      ".,y,7\n"
      ",z,8\n");
  EXPECT_EQ(numbers(*source, 0), (Numbers{1.5, kMissing, kMissing, kMissing, kMissing, kMissing,
                                          kMissing, kMissing, kMissing}));
  EXPECT_EQ(source->GetString(1, 0), "");
  // In a text column they are the texts written; a quoted one is a text.
  EXPECT_EQ(source->GetString(0, 1), "NA");
  EXPECT_EQ(source->GetString(4, 1), ".");
  EXPECT_EQ(source->GetString(1, 2), "NA");
  EXPECT_EQ(kinds(source), "x: number (1 decimal)\nword: text\nquoted: text\n");

  // Other spellings are texts.
  for (const char* spelling : {"n/a", "NAN", "-", "None"}) {
    EXPECT_EQ(textColumns(*load(std::string("x\n1\n") + spelling + "\n")), "T") << spelling;
  }

  // The dictionary's missing values hide numbers besides.
  const std::string path = write("codes.csv", "score\n1\nNA\n99\n");
  write("codes.csv.dict.json", R"({"variables": {"score": {"missing": [99]}}})");
  EXPECT_EQ(numbers(*open(path), 0), (Numbers{1, kMissing, kMissing}));
}

TEST_F(DataSourceTest, ReadsDatesAndDateTimesAsDateValues) {
  Source source = load(
      "iso,english,stamp,zoned\n"
      "2012-01-31,Jan 1 2000,2012-01-01T13:45:00,2012-01-01T13:45:00Z\n"
      "2012-2-29,\"January 2, 2000\",2012-01-01T13:45:30.25,2012-01-01T15:45:00+02:00\n"
      "NA,3 January 2000,2012-01-02,2012-01-01 08:45-0500\n"
      ",4-Jan-2000,,2012-01-01 14:45 +01\n"
      "1582-10-15, 05-SEP-2000 ,2012-01-01T00:00:00.12345,2012-01-01T13:45:00.5Z\n");
  EXPECT_EQ(textColumns(*source), "nnnn");
  // Seconds since the start of 14 October 1582.
  EXPECT_EQ(source->GetNumber(4, 0), 86400);
  EXPECT_EQ(source->GetVariable(0)->GetFormatEx(), VORN_Format(23, 10, 0));
  EXPECT_EQ(shown(*source, 0), "2012/01/31|2012/02/29|||1582/10/15");
  EXPECT_EQ(source->GetVariable(1)->GetFormatEx(), VORN_Format(20, 11, 0));
  EXPECT_EQ(shown(*source, 1), "01-JAN-2000|02-JAN-2000|03-JAN-2000|04-JAN-2000|05-SEP-2000");
  // ISO date-times show as ISO, with the seconds' decimals seen (at most 3).
  EXPECT_EQ(source->GetVariable(2)->GetFormatEx(), VORN_Format(30, 23, 3));
  EXPECT_EQ(shown(*source, 2),
            "2012-01-01T13:45:00.000|2012-01-01T13:45:30.250|2012-01-02T00:00:00.000||"
            "2012-01-01T00:00:00.123");
  // Offsets are converted to UTC: all are 13:45 there.
  EXPECT_EQ(shown(*source, 3),
            "2012-01-01T13:45:00.0|2012-01-01T13:45:00.0|2012-01-01T13:45:00.0|"
            "2012-01-01T13:45:00.0|2012-01-01T13:45:00.5");
  EXPECT_EQ(kinds(source),
            "iso: date (yyyy-MM-dd)\n"
            "english: date (MMM d yyyy; MMMM d, yyyy; d MMMM yyyy; ...)\n"
            "stamp: date-time (yyyy-MM-ddTHH:mm:ss; yyyy-MM-ddTHH:mm:ss.S; yyyy-MM-dd)\n"
            "zoned: date-time with offsets converted to UTC\n");

  // English date-times that are not ISO show day, month name and year.
  source = load("t\nJan 5 2000 9:30\n6 Feb 2000 23:59:59\n");
  EXPECT_EQ(source->GetVariable(0)->GetFormatEx(), VORN_Format(24, 20, 0));
  EXPECT_EQ(shown(*source, 0), "05-JAN-2000 09:30:00|06-FEB-2000 23:59:59");

  // Each of these keeps its column text: a day that does not exist, dates
  // mixed with numbers, offsets with none, a numeric date with no order
  // given, hour 24, a two-digit year, a quoted date with no delimiter in it.
  source = load(
      "a,b,c,d,e,f,g\n"
      "2011-02-29,2012-01-01,2012-01-01T10:00Z,01/02/2000,2012-01-01T24:00,Jan 1 12,"
      "\"2012-01-01\"\n"
      "2012-01-01,5,2012-01-01T10:00,02/02/2000,2012-01-01,Jan 2 2012,2012-01-02\n");
  EXPECT_EQ(textColumns(*source), "TTTTTTT");
  EXPECT_EQ(row(*source, 0),
            "2011-02-29|2012-01-01|2012-01-01T10:00Z|01/02/2000|2012-01-01T24:00|Jan 1 12|"
            "2012-01-01");
}

TEST_F(DataSourceTest, ReadsNumericDatesInTheOrderTheCallerOrDictionaryGives) {
  const std::string csv = "dm,ymd\n01/02/2000,2000/01/31\n13.01.2000,2000.02.01\n";
  cxh_csv_options options{};
  options.date_order = 2;
  Source source = loadEx(csv, options);
  EXPECT_EQ(source->GetVariable(0)->GetFormatEx(), VORN_Format(22, 10, 0));
  EXPECT_EQ(shown(*source, 0), "01.02.2000|13.01.2000");
  EXPECT_EQ(shown(*source, 1), "2000/01/31|2000/02/01");
  EXPECT_EQ(kinds(source),
            "dm: date (dd/MM/yyyy; dd.MM.yyyy)\nymd: date (yyyy/MM/dd; yyyy.MM.dd)\n");
  // Month first, there is no month 13: a text, not a guess at the other order.
  options.date_order = 1;
  source = loadEx(csv, options);
  EXPECT_EQ(textColumns(*source), "Tn");
  EXPECT_EQ(textColumns(*load(csv)), "TT");

  // A dictionary date format makes them dates: month first for type 21, day
  // first for the others; the caller's order wins over both.
  const std::string path = write("d.csv", "a,b\n01/02/2000,01/02/2000\n");
  write("d.csv.dict.json", R"({"variables": {"a": {"format": {"type": 21}},
                                             "b": {"format": {"type": 20, "width": 11}}}})");
  source = open(path);
  EXPECT_EQ(shown(*source, 0), "01/02/2000");
  EXPECT_EQ(shown(*source, 1), "01-FEB-2000");
  EXPECT_EQ(shown(*openEx(path, options), 1), "02-JAN-2000");
}

TEST_F(DataSourceTest, DictionaryFormatsDecideBetweenTextsNumbersAndDates) {
  const std::string path =
      write("d.csv", "n,when,q\n1,2012-01-01,\"7\"\n\"2\",NA,\"8\"\nabc,x,9\n");
  const std::string dictionary = path + ".dict.json";
  // A numeric or date format wants numbers or dates: the first value that is
  // neither is refused with its line.
  const std::pair<const char*, const char*> refused[] = {
      {R"("n": {"format": {"type": 5}})",
       ":4: variable \"n\": \"abc\" is not a number; the dictionary gives it numeric format type "
       "5"},
      {R"("when": {"format": {"type": 24}})",
       ":4: variable \"when\": \"x\" is not a date; the dictionary gives it date format type 24"},
      {R"("when": {"format": {"type": 5}})",
       ":4: variable \"when\": \"x\" is not a date; the dictionary gives it numeric format type "
       "5"},
  };
  for (const auto& [variables, expected] : refused) {
    SCOPED_TRACE(variables);
    write("d.csv.dict.json", std::string(R"({"variables": {)") + variables + "}}");
    EXPECT_EQ(refusal(path), path + expected);
    EXPECT_EQ(cxh_report_line(0), expected[1] - '0');
  }

  // Quoted numbers are numbers for it; the string format keeps dates texts.
  const std::string dates = write("e.csv", "q,when\n\"7\",2012-01-01\n8,2012-01-02\n");
  write("e.csv.dict.json", R"({"variables": {"q": {"format": {"type": 5, "decimals": 0}},
                                             "when": {"format": {"type": 1}}}})");
  Source source = open(dates);
  EXPECT_EQ(numbers(*source, 0), (Numbers{7, 8}));
  EXPECT_EQ(textColumns(*source) + source->GetString(0, 1), "nT2012-01-01");

  // Numbers under a date format are date values already.
  const std::string seconds = write("s.csv", "s\n86400\n");
  write("s.csv.dict.json", R"({"variables": {"s": {"format": {"type": 20, "width": 11}}}})");
  EXPECT_EQ(shown(*open(seconds), 0), "15-OCT-1582");

  const std::string zones = write("z.csv", "t\n2012-01-01T10:00Z\n2012-01-01T11:00\n");
  write("z.csv.dict.json", R"({"variables": {"t": {"format": {"type": 30}}}})");
  EXPECT_EQ(refusal(zones), zones +
                                ":3: variable \"t\": \"2012-01-01T11:00\" has no zone offset, "
                                "unlike the date-times above it; the dictionary gives it date "
                                "format type 30");
}

TEST_F(DataSourceTest, DetectsTheDelimiterFromTheHeaderLine) {
  const std::tuple<std::string, const char*, const char*> cases[] = {
      // The most fields win; decimal commas are not read as numbers.
      {"a;b;c\n1,5;2;x\n", "a|b|c", "1,5|2|x"},
      {"a\tb\n1\t2\n", "a|b", "1|2"},
      {"a,b;c;d\n1;2;3\n", "a,b|c|d", "1|2|3"},
      // A tie goes to the comma; delimiters inside quotes split nothing.
      {"a;b,c\n1;2,3\n", "a;b|c", "1;2|3"},
      {"\"x;y;z\",w\n1,2\n", "x;y;z|w", "1|2"},
  };
  for (const auto& [csv, names, first] : cases) {
    SCOPED_TRACE(csv);
    Source source = load(csv);
    std::string header = source->GetVariable(0)->GetName();
    for (int c = 1; c < source->ColumnCount(); ++c)
      header += "|" + source->GetVariable(c)->GetName();
    EXPECT_EQ(header + "/" + row(*source, 0), std::string(names) + "/" + first);
  }
  Source source = load("a;b;c\n1,5;2;January 1, 2000\n");
  EXPECT_TRUE(source->GetVariable(0)->IsString());
  EXPECT_EQ(shown(*source, 2), "01-JAN-2000");

  // The caller's delimiter is used as given.
  cxh_csv_options options{};
  options.delimiter = ';';
  EXPECT_EQ(loadEx("a,b\n1,2\n", options)->ColumnCount(), 1);
  options.delimiter = '|';
  EXPECT_EQ(numbers(*loadEx("a|b\n1|2\n", options), 1), (Numbers{2}));
}

TEST_F(DataSourceTest, ReadsEncodingsIntoTheHostCodePage) {
  // UTF-16 with either byte order mark, as Windows editors save it.
  const std::u16string text = u"name,v\r\nZ\u00FCrich,1\r\n";
  std::string little = "\xFF\xFE";
  std::string big = "\xFE\xFF";
  for (const char16_t unit : text) {
    little += {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    big += {static_cast<char>(unit >> 8), static_cast<char>(unit & 0xFF)};
  }
  for (const std::string& bytes : {little, big}) EXPECT_EQ(row(*load(bytes), 0), "Z\xC3\xBCrich|1");

  // Bytes invalid in UTF-8 are placed and the way out named.
  const std::string latin = write("latin.csv", "name\ncaf\xE9\n");
  EXPECT_EQ(refusal(latin), latin +
                                ":2:4: byte 0xE9 is not valid UTF-8; if the file is in another "
                                "encoding, name it with --encoding or CHARTXML_CODEPAGE (such as "
                                "CP1252)");
  cxh_csv_options options{};
  options.encoding = "CP1252";
  EXPECT_EQ(openEx(latin, options)->GetString(0, 0), "caf\xC3\xA9");
  // In the host's code page the bytes are read, and kept, as they are.
  cxh_set_code_page("CP1252");
  EXPECT_EQ(open(latin)->GetString(0, 0), "caf\xE9");
  // A UTF-8 file is converted to it; a character it lacks is refused.
  EXPECT_EQ(load("\xEF\xBB\xBFname\ncaf\xC3\xA9\n")->GetString(0, 0), "caf\xE9");
  const std::string greek = write("greek.csv", "\xEF\xBB\xBFname\nx \xCE\xA9\n");
  EXPECT_EQ(refusal(greek), greek +
                                ":2:3: the character U+03A9 cannot be written in the host's code "
                                "page CP1252; set CHARTXML_CODEPAGE (or cxh_set_code_page) to one "
                                "that has it, such as UTF-8");
  cxh_set_code_page(nullptr);

  const std::pair<std::string, const char*> refused[] = {
      {std::string("\xFF\xFE"
                   "a\0\n\0\0\xD8\n\0",
                   8),
       ":2:1: bytes 0x00 0xD8 are not valid UTF-16LE"},
      {little + "\xFF\xFE", ":3: a byte order mark is only allowed"},
      {"a\n\xC3", ":2:1: byte 0xC3 is not valid UTF-8"},
  };
  for (const auto& [bytes, expected] : refused) {
    const std::string path = write("bad.csv", bytes);
    EXPECT_EQ(refusal(path).rfind(path + expected, 0), 0u) << lastReport();
  }
  options.encoding = "no-such-code-page";
  EXPECT_EQ(tryOpenEx(latin, options), nullptr);
  EXPECT_EQ(lastReport(), latin +
                              ": unknown encoding \"no-such-code-page\"; name one such as "
                              "UTF-8, UTF-16LE, UTF-16BE, CP1252 or ISO-8859-15");
  options.encoding = "UTF-8";
  EXPECT_EQ(tryOpenEx(write("le.csv", little), options), nullptr);
  EXPECT_EQ(lastReport(), (dir_ / "le.csv").string() +
                              ":1: the file begins with a UTF-16LE byte order mark, but its "
                              "encoding is given as UTF-8");
  options.encoding = "UTF-16";
  EXPECT_NE(tryOpenEx(write("le.csv", little), options), nullptr) << lastReport();
}

TEST_F(DataSourceTest, ReadsStandardInputOnceWithoutADictionary) {
  const fs::path before = fs::current_path();
  fs::current_path(dir_);
  write("-.dict.json", "not JSON");
  ASSERT_NE(std::freopen(write("in.csv", "x,when\n1,2012-01-01\n").c_str(), "rb", stdin), nullptr);
  Source source = open("-");
  EXPECT_EQ(numbers(*source, 0), (Numbers{1}));
  EXPECT_EQ(shown(*source, 1), "2012/01/01");
  // What is left is nothing.
  EXPECT_EQ(refusal("-"), "<stdin>: standard input is empty");
  ASSERT_NE(std::freopen(write("in.csv", "x,y\n1\n").c_str(), "rb", stdin), nullptr);
  EXPECT_EQ(refusal("-"), "<stdin>:2: row has 1 field; the header has 2");
  fs::current_path(before);
}

TEST_F(DataSourceTest, OpensAHeaderWithoutRows) {
  for (const char* csv : {"a,b\r\n", "a,b"}) {
    Source source = load(csv);
    EXPECT_EQ(source->ColumnCount(), 2);
    EXPECT_EQ(source->RowCount(), 0);
    EXPECT_EQ(source->GetNumber(0, 0), kMissing);
    EXPECT_EQ(kinds(source), "a: number (all missing)\nb: number (all missing)\n");
  }
}

TEST_F(DataSourceTest, RefusesBadOptionsAndHandlesThatAreNoCsvSource) {
  const std::string path = write("d.csv", "\"first\nname\",x\n1,a\n");
  cxh_csv_options options{};
  const std::pair<cxh_csv_options, const char*> refused[] = {
      {{'"', nullptr, 0}, "cxh_open_csv_ex: the delimiter cannot be the quote '\"'"},
      {{'\n', nullptr, 0},
       "cxh_open_csv_ex: delimiter 0x0A is neither a tab nor a printable ASCII character"},
      {{0, nullptr, 3},
       "cxh_open_csv_ex: date_order 3 is not 0 (numeric dates stay texts), 1 (month first) or 2 "
       "(day first)"},
  };
  for (const auto& [bad, expected] : refused) {
    EXPECT_EQ(tryOpenEx(path, bad), nullptr);
    EXPECT_EQ(lastReport(), expected);
  }
  EXPECT_EQ(cxh_open_csv_ex(nullptr, &options), nullptr);
  EXPECT_EQ(lastReport(), "cxh_open_csv_ex: no file name");

  cxh_clear_reports();
  Source source = opened(Source(asSource(cxh_open_csv_ex(path.c_str(), nullptr))));
  EXPECT_EQ(kinds(source), "first\\nname: number (0 decimals)\nx: text\n");
  EXPECT_STREQ(cxh_csv_column_kinds(nullptr), "");
  EXPECT_EQ(cxh_report_count(), 0);
  const int64_t columns[] = {0};
  void* dictionary = cxh_dictionary(handleOf(source.get()), columns, 1);
  EXPECT_STREQ(cxh_csv_column_kinds(dictionary), "");
  EXPECT_EQ(lastReport(), "cxh_csv_column_kinds: the handle is not a CSV data source");
  cxh_close(dictionary);
}

}  // namespace
