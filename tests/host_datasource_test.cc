// Data sources: CSV reading, column typing, the dictionary file and the
// procedure's view through a dictionary.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"

namespace fs = std::filesystem;

namespace {

constexpr double kMissing = kVornMissingValue;
using Numbers = std::vector<double>;

// Handles are dictionaries; a CSV handle is also its own data source.
void* handleOf(VORN_DataSource* source) {
  return static_cast<VORN_FortranDictionary*>(source);
}
VORN_DataSource* asSource(void* handle) {
  return handle == nullptr ? nullptr : static_cast<VORN_FortranDictionary*>(handle)->Source();
}

struct Closer {
  void operator()(VORN_DataSource* source) const { cxh_close(handleOf(source)); }
};
using Source = std::unique_ptr<VORN_DataSource, Closer>;

// A row's texts joined by '|', and a column's numbers.
std::string row(const VORN_DataSource& source, int r) {
  std::string out = source.GetString(r, 0);
  for (int c = 1; c < source.ColumnCount(); ++c) out += "|" + source.GetString(r, c);
  return out;
}
Numbers numbers(const VORN_DataSource& source, int column) {
  Numbers out;
  for (int r = 0; r < source.RowCount(); ++r) out.push_back(source.GetNumber(r, column));
  return out;
}

class DataSourceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    cxh_set_quiet(1);
    cxh_clear_reports();
    dir_ = fs::path(::testing::TempDir()) /
           ("chartxml-datasrc-" + std::to_string(getpid()) + "-" +
            ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::remove_all(dir_);
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  std::string write(const std::string& name, const std::string& content) {
    const fs::path file = dir_ / name;
    std::ofstream(file, std::ios::binary) << content;
    return file.string();
  }
  Source open(const std::string& path) { return Source(asSource(cxh_open_csv(path.c_str()))); }
  Source load(const std::string& csv) { return open(write("data.csv", csv)); }
  std::string lastReport() const {
    const int count = cxh_report_count();
    return count > 0 ? cxh_report_message(count - 1) : "";
  }
  // The one report made when opening `path` fails.
  std::string refusal(const std::string& path) {
    cxh_clear_reports();
    EXPECT_EQ(open(path), nullptr);
    EXPECT_EQ(cxh_report_count(), 1);
    return lastReport();
  }

  fs::path dir_;
};

TEST_F(DataSourceTest, ReadsQuotesByteOrderMarkCrlfAndEmptyLines) {
  Source source = load(
      "\xEF\xBB\xBFid,name,note\r\n"
      "1,\"Smith, Jo\",\"said \"\"hi\"\"\"\r\n"
      "2,plain,\"two\r\nlines\"\r\n"
      "3,,\r\n"
      "\r\n");
  ASSERT_NE(source, nullptr) << lastReport();
  EXPECT_EQ(cxh_report_count(), 0);
  ASSERT_EQ(source->ColumnCount(), 3);
  ASSERT_EQ(source->RowCount(), 3);
  EXPECT_EQ(source->GetVariable(0)->GetName(), "id");
  EXPECT_EQ(row(*source, 0), "1|Smith, Jo|said \"hi\"");
  EXPECT_EQ(row(*source, 1), "2|plain|two\r\nlines");
  EXPECT_EQ(row(*source, 2), "3||");
  EXPECT_EQ(source->GetNumber(2, 0), 3);
  // Each row's first line: the field spanning two lines moves the next row on.
  for (auto [r, line] : {std::pair{0, 2}, {1, 3}, {2, 5}, {3, -1}, {-1, -1}}) {
    EXPECT_EQ(source->LineOfRow(r), line) << r;
  }

  // In a one-column file an empty line is a missing value; only the final
  // line break ends the file.
  source = load("x\n1\n\n2\n\n");
  ASSERT_NE(source, nullptr) << lastReport();
  EXPECT_EQ(numbers(*source, 0), (Numbers{1, kMissing, 2, kMissing}));
}

TEST_F(DataSourceTest, ReadsLinesEndingInALoneCarriageReturn) {
  Source source = load("id,note\r1,\"two\rlines\"\r2,\r\r");
  ASSERT_NE(source, nullptr) << lastReport();
  ASSERT_EQ(source->ColumnCount(), 2);
  ASSERT_EQ(source->RowCount(), 2);
  EXPECT_EQ(row(*source, 0), "1|two\rlines");
  EXPECT_EQ(row(*source, 1), "2|");
  EXPECT_EQ(source->LineOfRow(1), 4);
  EXPECT_EQ(numbers(*source, 0), (Numbers{1, 2}));
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
  ASSERT_NE(source, nullptr) << lastReport();
  ASSERT_EQ(source->ColumnCount(), 7);
  // Only finite numbers make a numeric column; an empty one is numeric.
  for (int c = 0; c < 7; ++c) EXPECT_EQ(source->GetVariable(c)->IsString(), c >= 3 && c <= 5) << c;
  // Never narrower than 8; text widths count bytes, not characters.
  const VORN_Format formats[] = {{5, 8, 2}, {5, 13, 3}, {5, 8, 4}, {1, 5, 0}};
  for (int c = 0; c < 4; ++c) EXPECT_EQ(source->GetVariable(c)->GetFormatEx(), formats[c]) << c;
  const VORN_Variable& small = *source->GetVariable(0);
  EXPECT_EQ(small.GetMeasure(), VORN_Measure::Scale);
  EXPECT_EQ(source->GetVariable(4)->GetMeasure(), VORN_Measure::Nominal);
  EXPECT_EQ(small.GetLabel(), "");
  EXPECT_EQ(small.GetValueLabels().Count(), 0u);

  EXPECT_EQ(numbers(*source, 0), (Numbers{1.5, -20, kMissing}));
  EXPECT_EQ(numbers(*source, 1), (Numbers{123456789.125, 7, 0}));
  EXPECT_EQ(numbers(*source, 2), (Numbers{0.0025, 1, 0}));
  EXPECT_EQ(numbers(*source, 4), (Numbers{1, kMissing, 2}));  // text that spells a number
  EXPECT_EQ(numbers(*source, 6), (Numbers{kMissing, kMissing, kMissing}));
  EXPECT_EQ(source->GetString(0, 0), "1.5");
  EXPECT_EQ(source->GetString(2, 0), "");
  EXPECT_EQ(source->GetString(1, 3), "\xC3\xBC\x6E\xC3\xAF");
  // Out of range.
  EXPECT_EQ(source->GetVariable(7), nullptr);
  EXPECT_EQ(source->GetNumber(3, 0), kMissing);
  EXPECT_EQ(source->GetString(0, 7), "");
}

TEST_F(DataSourceTest, ReadsInfinitiesAsNumbersAndQuotedFieldsAsTexts) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  Source source = load(
      "inf,big,quoted,blank\n"
      "inf,123456789012.5,\"123\",1\n"
      "-inf,+Infinity,1,\"\"\n"
      " +inf ,-INF,2,3\n");
  ASSERT_NE(source, nullptr) << lastReport();
  EXPECT_EQ(numbers(*source, 0), (Numbers{kInf, -kInf, kInf}));
  EXPECT_EQ(numbers(*source, 1), (Numbers{123456789012.5, kInf, -kInf}));
  EXPECT_EQ(row(*source, 1), "-inf|inf|1|");
  // Infinities leave the guessed width to the finite values.
  EXPECT_EQ(source->GetVariable(1)->GetFormatEx(), VORN_Format(5, 14, 1));
  // One quoted field, even an empty one, makes the column text.
  EXPECT_TRUE(source->GetVariable(2)->IsString());
  EXPECT_TRUE(source->GetVariable(3)->IsString());
  EXPECT_EQ(source->GetString(0, 2), "123");
  EXPECT_EQ(row(*source, 2), "inf|-inf|2|3");
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
  ASSERT_NE(source, nullptr) << lastReport();

  VORN_Variable& sex = *source->GetVariable(0);
  EXPECT_EQ(sex.GetLabel(), "Sex of respondent");
  EXPECT_EQ(sex.GetFormatEx(), VORN_Format(5, 1, 0));
  EXPECT_EQ(sex.GetMeasure(), VORN_Measure::Nominal);
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
  ASSERT_NE(labels.Find(1.0), nullptr);
  EXPECT_EQ(*labels.Find(1.0), "Male");
  EXPECT_EQ(labels.Find(3.0), nullptr);
  EXPECT_EQ(labels.Find(std::string("1")), nullptr);

  const VORN_Variable& income = *source->GetVariable(1);
  EXPECT_EQ(income.GetLabel(), "Household income");
  EXPECT_EQ(income.GetFormatEx(), VORN_Format(4, 10, 2));

  // Format keys left out keep the guessed values.
  const VORN_Variable& city = *source->GetVariable(2);
  EXPECT_EQ(city.GetLabel(), "");
  EXPECT_EQ(city.GetFormatEx(), VORN_Format(1, 12, 0));
  EXPECT_EQ(city.GetMeasure(), VORN_Measure::Ordinal);
  ASSERT_NE(city.GetValueLabels().Find(std::string("Oslo")), nullptr);
  EXPECT_EQ(*city.GetValueLabels().Find(std::string("Oslo")), "Capital");
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
      {R"("s": { "format": { "type": 5 } })", "\"type\"", "text variable needs format type 1"},
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
  };
  for (const auto& [json, expected] : placed) {
    SCOPED_TRACE(json);
    write("d.csv.dict.json", json);
    EXPECT_EQ(refusal(path), dictionary + expected);
  }
}

TEST_F(DataSourceTest, RefusesADictionaryKeyGivenTwiceNamingBothLines) {
  const std::pair<const char*, const char*> cases[] = {
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
  const std::string path = write("d.csv", "n,s\n1,a\n");
  for (const auto& [json, expected] : cases) {
    SCOPED_TRACE(json);
    write("d.csv.dict.json", json);
    EXPECT_EQ(refusal(path), path + ".dict.json" + expected);
  }
}

TEST_F(DataSourceTest, ProcedureDictionaryMapsOneBasedNumbersToColumns) {
  Source source = load("a,b,c\n1,2,3\n4,5,6\n");
  ASSERT_NE(source, nullptr) << lastReport();
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

}  // namespace
