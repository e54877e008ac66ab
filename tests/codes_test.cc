// The named codes of chartxml/codes.h against what the library does with
// each: a word's name spells its text, a role's name the role a dimension
// gets, a summary function's name the description a variable gets, a format
// type's name the way the host prints and the document describes it, a chart
// kind's name the layout its intervals are sent with.
#include <cctype>
#include <map>
#include <string>
#include <vector>

#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "chartxml/host/formatter.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::messages;
using xercesc::DOMElement;

// A text as its name is made: the words of camel case joined by "_", any
// other run of characters that are not letters or digits one "_", and all
// in capitals ("styleBy" -> "STYLE_BY", "X Axis" -> "X_AXIS").
std::string nameOf(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (std::isalnum(c) == 0) {
      if (!out.empty() && out.back() != '_') out += '_';
      continue;
    }
    const bool camel = std::isupper(c) != 0 && i > 0 &&
                       (std::islower(static_cast<unsigned char>(text[i - 1])) != 0 ||
                        std::isdigit(static_cast<unsigned char>(text[i - 1])) != 0);
    if (camel && out.back() != '_') out += '_';
    out += static_cast<char>(std::toupper(c));
  }
  while (!out.empty() && out.back() == '_') out.pop_back();
  return out;
}

// Each list of codes.h as names and codes.
struct Code {
  std::string name;
  int code;
};
#define CODE_ENTRY(name, code) Code{#name, code},
const std::vector<Code> kWords{CX_WORD_LIST(CODE_ENTRY)};
const std::vector<Code> kRoles{CX_ROLE_LIST(CODE_ENTRY)};
const std::vector<Code> kSummaries{CX_SUMMARY_LIST(CODE_ENTRY)};
const std::vector<Code> kFormats{CX_FORMAT_LIST(CODE_ENTRY)};
const std::vector<Code> kCharts{CX_CHART_LIST(CODE_ENTRY)};
#undef CODE_ENTRY

using CodesTest = cxtest::SourcedChartTest;

TEST_F(CodesTest, EveryWordNameSpellsTheTextOfItsCode) {
  for (const Code& word : kWords) EXPECT_EQ(nameOf(cx->getUTF8String(word.code)), word.name);
  EXPECT_EQ(kWords.size(), 154u) << "156 codes, less the two that name nothing";
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(CX_WORD_TITLE, 17);
}

TEST_F(CodesTest, EveryRoleNameIsTheRoleItsDimensionGets) {
  const int frame = cx->AddFrame(chart, 0, -1);
  for (const Code& role : kRoles) {
    const int dimension = cx->AddDimension(chart, frame, role.code, -1);
    ASSERT_GE(dimension, 0) << role.name;
    EXPECT_EQ(nameOf(attr(element(dimension), u"role")), role.name);
  }
  EXPECT_TRUE(messages().empty());
}

TEST_F(CodesTest, EverySummaryNameIsTheDescriptionItWrites) {
  for (const Code& summary : kSummaries) {
    const int variable = cx->AddVariable(chart, 1, 1, true);
    EXPECT_EQ(cx->SetSummaryFunction(chart, variable, summary.code, 5, 9), summary.code);
    const auto* meta =
        static_cast<const DOMElement*>(element(variable)->getElementsByTagName(u"meta")->item(0));
    const std::string text = meta ? attr(meta, u"description") : "";
    EXPECT_EQ(nameOf(text.substr(0, text.find(';'))), summary.name);  // without the parameters
  }
  EXPECT_TRUE(messages().empty());
}

// The header's examples are what the host prints: 1234.5 with 2 decimals, and
// 26 September 1994, 23:06:40 for the dates and times.
TEST(FormatCodes, EveryFormatTypePrintsAsItsNameSays) {
  constexpr double kNumber = 1234.5;
  constexpr double kMoment = 13000000000.0;  // seconds from 14 October 1582
  struct Example {
    double value;
    int width;
    const char* text;
  };
  const std::map<int, Example> examples = {
      {CX_FORMAT_GROUPED, {kNumber, 12, "1,234.50"}},
      {CX_FORMAT_DOLLAR, {kNumber, 12, "$1,234.50"}},
      {CX_FORMAT_FIXED, {kNumber, 12, "1234.50"}},
      {CX_FORMAT_PERCENT, {kNumber, 12, "1234.50%"}},
      {CX_FORMAT_SCIENTIFIC, {kNumber, 12, "1.23E+03"}},
      {CX_FORMAT_ZERO_PADDED, {1234, 6, "001234"}},
      {CX_FORMAT_UNPADDED_FIXED, {kNumber, 12, "1234.50"}},
      {CX_FORMAT_DOT_GROUPED, {kNumber, 12, "1.234,50"}},
      {CX_FORMAT_DATE_DMY, {kMoment, 11, "26-SEP-1994"}},
      {CX_FORMAT_DATE_MDY, {kMoment, 10, "09/26/1994"}},
      {CX_FORMAT_DATE_DOTTED, {kMoment, 10, "26.09.1994"}},
      {CX_FORMAT_DATE_YMD, {kMoment, 10, "1994/09/26"}},
      {CX_FORMAT_DATE_TIME, {kMoment, 20, "26-SEP-1994 23:06:40"}},
      {CX_FORMAT_DURATION, {23 * 3600 + 6 * 60 + 40, 8, "23:06:40"}},
      {CX_FORMAT_MONTH_YEAR, {kMoment, 8, "SEP 1994"}},
      {CX_FORMAT_QUARTER, {kMoment, 8, "3 Q 1994"}},
      {CX_FORMAT_WEEKDAY, {kMoment, 9, "Monday"}},
      {CX_FORMAT_MONTH_NAME, {kMoment, 9, "September"}},
      {CX_FORMAT_ISO_DATE_TIME, {kMoment, 19, "1994-09-26T23:06:40"}},
      {CX_FORMAT_CURRENCY_A, {kNumber, 14, "CCA 1,234.50"}},
      {CX_FORMAT_CURRENCY_B, {kNumber, 14, "CCB 1,234.50"}},
      {CX_FORMAT_CURRENCY_C, {kNumber, 14, "CCC 1,234.50"}},
      {CX_FORMAT_CURRENCY_D, {kNumber, 14, "CCD 1,234.50"}},
      {CX_FORMAT_CURRENCY_E, {kNumber, 14, "CCE 1,234.50"}},
      {CX_FORMAT_ACCOUNTING, {-kNumber, 12, "(1,234.50)"}},
      {CX_FORMAT_TRAILING_MINUS, {-kNumber, 12, "1234.50-"}},
  };
  for (const Code& type : kFormats) {
    if (type.code == CX_FORMAT_STRING) continue;
    const Example& example = examples.at(type.code);
    const int decimals = example.value == kNumber || example.value == -kNumber ? 2 : 0;
    const VORN_Format format(type.code, example.width, decimals);
    EXPECT_EQ(formatter::AsString(example.value, format, true), example.text) << type.name;
  }
  EXPECT_EQ(kFormats.size(), examples.size() + 1) << "an example for every type";
}

// Every listed type, and no other, is described in the document: text as a
// string format, points in time and durations as date-time patterns, the
// rest as numbers.
TEST_F(CodesTest, EveryFormatTypeAndNoOtherIsDescribed) {
  const int variable = cx->AddVariable(chart, sourceElement, 1, true);
  auto* meta = static_cast<DOMElement*>(element(variable)->getElementsByTagName(u"meta")->item(0));
  ASSERT_NE(meta, nullptr);
  std::map<int, std::string> listed;
  for (const Code& type : kFormats) listed[type.code] = type.name;
  for (int type = 0; type <= CX_FORMAT_TRAILING_MINUS + 3; ++type) {
    cx->SetVariableFormat(chart, variable, CX_FORMAT_CODE(type, 12, 2));
    const auto* child = meta->getFirstElementChild();
    const auto entry = listed.find(type);
    if (entry == listed.end()) {
      EXPECT_EQ(child, nullptr) << "type " << type << " is not listed but is described";
      continue;
    }
    ASSERT_NE(child, nullptr) << entry->second << " is listed but not described";
    const bool timed = type >= CX_FORMAT_DATE_DMY && type <= CX_FORMAT_ISO_DATE_TIME;
    const char* expected = type == CX_FORMAT_STRING ? "stringFormat"
                           : timed                  ? "dateTimeFormat"
                                                    : "numberFormat";
    EXPECT_EQ(cxtest::utf8(child->getTagName()), expected) << entry->second;
  }
  EXPECT_TRUE(messages().empty());
}

// A chart kind's name is the layout its interval elements are sent with.
TEST_F(CodesTest, EveryChartKindNamesTheLayoutItSends) {
  cxh_clear_sent();  // the charts sent here are counted from 0
  for (std::size_t sent = 0; sent < kCharts.size(); ++sent) {
    const Code& kind = kCharts[sent];
    const int made = newChart();
    cx->AddElement(made, cx->AddFrame(made, 0, -1), CX_WORD_INTERVAL, -1);
    xercesc::DOMElement* dimension = cx->getChart(made)->createElement(u"dimension");
    dimension->setAttribute(u"role", u"x");
    cx->getChart(made)->getElementById(u"frame1")->appendChild(dimension);
    ASSERT_EQ(cx->SetChartType(made, kind.code), 1) << kind.name;
    ASSERT_EQ(cx->EndChart(made), 0) << kind.name;
    const std::string xml = cxh_sent_xml(static_cast<int>(sent));
    const std::size_t at = xml.find("layout=\"");
    ASSERT_NE(at, std::string::npos) << kind.name;
    EXPECT_EQ(nameOf(xml.substr(at + 8, xml.find('"', at + 8) - at - 8)), kind.name);
  }
  EXPECT_EQ(kCharts.size(), 2u);
  EXPECT_EQ(cx->SetChartType(chart, CX_CHART_ICICLE_VERTICAL + 1), -1);
}

}  // namespace
