// Data sources and variables through the facade: variable elements from CSV
// columns, their labels and names, lists, relabels and the index rules.
#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "chartxml/host/KytoUni.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/VarDataProcessor.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::messages;
using xercesc::DOMElement;

class VariablesTest : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    source = cxtest::openCsv(CHARTXML_TEST_DATA_DIR "/people.csv");
    ASSERT_NE(source, nullptr);
  }
  void TearDown() override {
    FacadeTest::TearDown();  // the instance goes first: the source is the host's
    cxh_close(source);
  }
  // A chart tied to the CSV source, with one `source` element.
  int chartWithSource() {
    const int chart = newChart();
    cx->SetDataSource(chart, source);
    EXPECT_EQ(cx->AddSource(chart), 1);
    return chart;
  }
  // The id of the element under `handle`.
  std::u16string idOf(int chart, int handle);

  VORN_DataSource* source = nullptr;
};

std::u16string VariablesTest::idOf(int chart, int handle) {
  DOMElement* e = elementAt(chart, handle);
  return e == nullptr ? u"" : e->getAttribute(u"id");
}

TEST_F(VariablesTest, SourcesAreNumberedFromZero) {
  const int chart = chartWithSource();
  EXPECT_EQ(cx->AddSource(chart), 2);
  DOMElement* first = byId(chart, u"source0");
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(childTags(first), "otherAccess");
  EXPECT_EQ(attr(static_cast<DOMElement*>(first->getFirstChild()), u"type"), "object");
  EXPECT_NE(byId(chart, u"source1"), nullptr);
  EXPECT_EQ(cx->getDataProcessor(chart)->SourceNames().size(), 2u);
}

TEST_F(VariablesTest, VariableFromAColumn) {
  const int chart = chartWithSource();
  const int frame = cx->AddFrame(chart, 0, -1);
  const int income = cx->AddVariable(chart, 1, 2, false);
  DOMElement* variable = byId(chart, u"variable2");  // serial 1 went to the frame
  ASSERT_NE(variable, nullptr);
  EXPECT_EQ(cx->getHandle(chart, variable), income);
  EXPECT_EQ(attr(variable, u"label"), "Household income");  // blanks trimmed
  EXPECT_EQ(attr(variable, u"shortLabel"), "income");
  EXPECT_EQ(attr(variable, u"sourceName"), "V2");
  EXPECT_EQ(attr(variable, u"source"), "source0");
  EXPECT_EQ(attr(variable, u"categorical"), "false");
  EXPECT_FALSE(variable->hasAttribute(u"style"));
  DOMElement* meta = static_cast<DOMElement*>(variable->getFirstChild());
  EXPECT_EQ(attr(meta, u"creator"), "external_datasource");
  EXPECT_EQ(childTags(meta), "numberFormat");  // currency: a scale variable's format
  EXPECT_EQ(attr(static_cast<DOMElement*>(meta->getFirstChild()), u"prefix"), "$");
  // Declarations stay ahead of the frames.
  EXPECT_EQ(childTags(root(chart)), "source variable frame");
  EXPECT_EQ(cx->getDataProcessor(chart)->VariableNames("source0"), std::vector<std::string>{"V2"});
  (void)frame;
}

TEST_F(VariablesTest, LabelsAndNamesFollowTheHostText) {
  const int chart = chartWithSource();
  const int id = cx->AddVariable(chart, 1, 0, true);     // label with a bell: left out
  const int city = cx->AddVariable(chart, 1, 3, true);   // label of blanks: left out
  const int first = cx->AddVariable(chart, 1, 4, true);  // backslash-n in name and label
  EXPECT_FALSE(byId(chart, idOf(chart, id))->hasAttribute(u"label"));
  EXPECT_EQ(attr(byId(chart, idOf(chart, id)), u"shortLabel"), "id");
  EXPECT_FALSE(byId(chart, idOf(chart, city))->hasAttribute(u"label"));
  DOMElement* name = byId(chart, idOf(chart, first));
  EXPECT_EQ(attr(name, u"shortLabel"), "first\nname");
  EXPECT_EQ(attr(name, u"label"), "First\nname");
  EXPECT_EQ(attr(name, u"categorical"), "true");
  // Rewritten from the same column, the two characters stay as typed.
  EXPECT_EQ(cx->SetVariable(chart, first, 4, true), 4);
  EXPECT_EQ(attr(name, u"shortLabel"), "first\\nname");
  EXPECT_EQ(attr(name, u"label"), "First\\nname");
  EXPECT_TRUE(messages().empty());
}

TEST_F(VariablesTest, IndexAndSourceChecks) {
  const int chart = newChart();
  EXPECT_EQ(cx->AddVariable(chart, 0, 1, false), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"no datasource"});
  cxh_clear_reports();
  cx->SetDataSource(chart, source);
  EXPECT_EQ(cx->AddVariable(chart, 0, 5, false), -1);
  EXPECT_EQ(cx->AddVariable(chart, 0, -1, false), -1);
  EXPECT_EQ(cx->GetVariableFormat(chart, 7), -1);
  EXPECT_EQ(messages(),
            (std::vector<std::string>{"invalid variable index 5", "invalid variable index -1",
                                      "invalid variable index 7"}));
  EXPECT_EQ(cx->GetVariableFormat(chart, 2), CX_FORMAT_CODE(CX_FORMAT_DOLLAR, 10, 2));
}

TEST_F(VariablesTest, FirstDataSourceStays) {
  VORN_DataSource* other = cxtest::openCsv(CHARTXML_TEST_DATA_DIR "/people.csv");
  const int chart = newChart();
  cx->SetDataSource(-1, source);
  cx->SetDataSource(chart, other);
  const int v = cx->AddVariable(chart, 0, 1, false);
  EXPECT_GT(v, 0);
  cxh_close(other);  // not the chart's source: nothing refers to it
  EXPECT_EQ(cx->AddVariable(chart, 0, 2, false), v + 2);
}

TEST_F(VariablesTest, ProcedureDictionaryNumbersFromOne) {
  const int64_t columns[] = {2, 1};
  void* dictionary = cxh_dictionary(source, columns, 2);
  ASSERT_NE(dictionary, nullptr);
  auto* dict = static_cast<VORN_FortranDictionary*>(dictionary);
  const int chart = newChart();
  int area = 0;
  cx->SetDataSource(chart, &area, dict);
  cx->AddSource(chart);
  const int income = cx->AddVariable(chart, 1, 1, false);  // number 1 -> column 2
  EXPECT_EQ(attr(byId(chart, idOf(chart, income)), u"shortLabel"), "income");
  EXPECT_EQ(cx->AddVariable(chart, 1, 0, false), -1);
  EXPECT_EQ(messages(), (std::vector<std::string>{"variable index out of range 0 5",
                                                  "invalid variable index -1"}));
  ChartXml::Terminate();  // frees the wrapper it built, not the dictionary
  cx = ChartXml::Initialize();
  cxh_close(dictionary);
}

TEST_F(VariablesTest, ValueLabelsBecomeRelabels) {
  const int chart = chartWithSource();
  const int sex = cx->AddVariable(chart, 1, 1, true);
  EXPECT_EQ(cx->AddRelabels(chart, sex, 1), sex);
  DOMElement* variable = byId(chart, idOf(chart, sex));
  xercesc::DOMNodeList* relabels = variable->getElementsByTagName(u"relabel");
  ASSERT_EQ(relabels->getLength(), 2u);  // "3" labelled "3" is no relabel
  auto* male = static_cast<DOMElement*>(relabels->item(0));
  EXPECT_EQ(attr(male, u"from"), "1");
  EXPECT_EQ(attr(male, u"to"), "Male");
  // A column without value labels adds nothing, silently.
  const int income = cx->AddVariable(chart, 1, 2, false);
  EXPECT_EQ(cx->AddRelabels(chart, income, 2), -1);
  EXPECT_EQ(cx->AddRelabels(chart, 1, 2), -1);
  EXPECT_EQ(messages(),
            std::vector<std::string>{"can't add relabel to anything but a variable - source"});
}

TEST_F(VariablesTest, RelabelRules) {
  const int chart = chartWithSource();
  const int v = cx->AddVariable(chart, 1, 1, true);
  EXPECT_EQ(cx->AddRelabel(chart, v, str("2.50"), str("2.5")), -1);  // the same after renormalising
  const int r = cx->AddRelabel(chart, v, str("1.0"), str("one\\ntwo"));
  ASSERT_GT(r, 0);
  DOMElement* relabel = static_cast<DOMElement*>(
      byId(chart, idOf(chart, v))->getElementsByTagName(u"relabel")->item(0));
  EXPECT_EQ(attr(relabel, u"from"), "1");
  EXPECT_EQ(attr(relabel, u"to"), "one\ntwo");
  EXPECT_GT(cx->AddRelabel(chart, v, str("7"), str("")), 0);  // empty becomes a blank
  EXPECT_EQ(cx->AddRelabel(chart, 1, str("a"), str("b")), -1);
  EXPECT_EQ(messages(),
            std::vector<std::string>{"can't add relabel to anything but a variable - source"});
}

TEST_F(VariablesTest, RelabelsStopAfterAThousand) {
  const int chart = chartWithSource();
  const int v = cx->AddVariable(chart, 1, 3, true);
  const int to = str("x");
  for (int i = 0; i < 1001; ++i) {
    ASSERT_GT(cx->AddRelabel(chart, v, cx->Integer(i), to), 0) << i;
  }
  // More than 1000 relabels: 0, and nothing added.
  EXPECT_EQ(cx->AddRelabel(chart, v, cx->Integer(5000), to), 0);
  EXPECT_EQ(byId(chart, idOf(chart, v))->getElementsByTagName(u"relabel")->getLength(), 1001u);
}

TEST_F(VariablesTest, VariableListsAndRangeVariables) {
  const int chart = chartWithSource();
  const int a = cx->AddVariable(chart, 1, 2, false);
  const int b = cx->AddVariable(chart, 1, 1, false);
  EXPECT_EQ(cx->BeginVariableList(chart), 0);
  EXPECT_EQ(cx->BeginVariableList(chart), 1);
  EXPECT_EQ(cx->AddToVariableList(chart, 0, a), 0);
  EXPECT_EQ(cx->AddToVariableList(chart, 0, b), 0);
  EXPECT_EQ(cx->AddToVariableList(chart, 2, a), -1);
  EXPECT_EQ(cx->AddToVariableList(chart, 1, 1), -1);
  EXPECT_EQ(cx->AddRangeVariable(chart, 5), -1);
  const int range = cx->AddRangeVariable(chart, 0);
  DOMElement* expression = byId(chart, idOf(chart, range));
  EXPECT_EQ(attr(expression, u"expression"),
            ChartString::toUTF8(idOf(chart, a) + u" + " + idOf(chart, b)));
  EXPECT_EQ(attr(expression, u"shortLabel"), "Y Axis");
  EXPECT_EQ(attr(expression, u"categorical"), "false");
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "variable list handle out of range 2",
                            "handle does not refer to a variable element source 1",
                            "variable list handle out of range 5",
                        }));
}

TEST_F(VariablesTest, SettersActOnTheVariable) {
  const int chart = chartWithSource();
  const int v = cx->AddVariable(chart, 1, 2, false);
  DOMElement* variable = byId(chart, idOf(chart, v));
  DOMElement* meta = static_cast<DOMElement*>(variable->getFirstChild());
  EXPECT_EQ(cx->SetVariableCategorical(chart, v, true), v);
  EXPECT_EQ(attr(variable, u"categorical"), "true");
  EXPECT_EQ(childTags(meta), "");  // formats no longer apply
  EXPECT_EQ(cx->SetVariableFormat(chart, v, CX_FORMAT_CODE(CX_FORMAT_DATE_DMY, 11, 0)), v);
  EXPECT_EQ(childTags(meta), "dateTimeFormat");
  EXPECT_EQ(cx->SetVariableLabel(chart, v, str("Annual\\nincome")), v);
  EXPECT_EQ(attr(variable, u"label"), "Annual\nincome");
  EXPECT_EQ(cx->SetVariableName(chart, v, str("inc")), v);
  EXPECT_EQ(attr(variable, u"shortLabel"), "inc");
  EXPECT_EQ(cx->SetVariableValue(chart, v, str("42")), v);
  EXPECT_EQ(attr(variable, u"value"), "42");
  EXPECT_FALSE(variable->hasAttribute(u"sourceName"));
  EXPECT_EQ(cx->CreateLogVar(chart, v), chart);
  EXPECT_EQ(attr(meta, u"description"), "log");
  EXPECT_EQ(cx->CreateLogVar(77, v), 77);  // the chart argument, whatever happens
  EXPECT_EQ(cx->AllDataDoubles(77), 77);
}

TEST_F(VariablesTest, CopyReadsTheSameColumn) {
  const int chart = chartWithSource();
  const int v = cx->AddVariable(chart, 1, 2, false);
  const int copy = cx->CopyVariable(chart, v);
  DOMElement* original = byId(chart, idOf(chart, v));
  DOMElement* twin = byId(chart, idOf(chart, copy));
  ASSERT_NE(twin, nullptr);
  EXPECT_NE(original, twin);
  EXPECT_EQ(attr(twin, u"sourceName"), attr(original, u"sourceName"));
  EXPECT_EQ(childTags(twin), "");  // attributes only
  EXPECT_EQ(cx->getHandle(chart, original), v);
}

TEST_F(VariablesTest, ValueTexts) {
  cx->SetDataSource(-1, source);
  EXPECT_EQ(cx->getUTF8String(cx->VariableName(1)), "sex");
  EXPECT_EQ(cx->getUTF8String(cx->VariableLabel(1)), "Sex of respondent");
  EXPECT_EQ(cx->getUTF8String(cx->VariableLabel(3)), "city");  // blank label: the name
  EXPECT_EQ(cx->getUTF8String(cx->ValueLabel(1, 2, 0)), "Female");
  EXPECT_EQ(cx->getUTF8String(cx->ValueLabel(1, 2, 3)), "Fem");
  EXPECT_EQ(cx->getUTF8String(cx->ValueLabel(2, 1234.5, 0)), "$1,234.50");
  EXPECT_EQ(cx->getUTF8String(cx->ValueLabel(1, -1.7976931348623157e308, 0)),
            cx->translate("E60712").toUTF8());
  EXPECT_EQ(cx->getUTF8String(cx->Value(1, 2)), "2");
  EXPECT_EQ(cx->getUTF8String(cx->MeanValue(1, 1.5)), "1.50");
  EXPECT_EQ(cx->getUTF8String(cx->ObjectLabel(1, 1)), "Sex of respondent: Male");
  EXPECT_EQ(cx->getUTF8String(cx->LRValue(1234.5, CX_FORMAT_CODE(CX_FORMAT_DOLLAR, 10, 2))),
            "$1,234.50");
  EXPECT_EQ(cx->getUTF8String(cx->ValueLabel(1, 1, 0, "^1 only")), "Male only");
  EXPECT_EQ(cx->VariableName(9), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"invalid variable index 9"});
}
// What each kind of display format becomes in the variable's meta.
TEST_F(VariablesTest, DisplayFormatsAsFormatElements) {
  const int chart = chartWithSource();
  const int v = cx->AddVariable(chart, 1, 2, false);
  DOMElement* meta = static_cast<DOMElement*>(byId(chart, idOf(chart, v))->getFirstChild());
  struct Case {
    int type, width, decimals;
    const char* tag;
    const char16_t* attribute;
    const char* value;
  };
  const Case cases[] = {
      {CX_FORMAT_STRING, 8, 0, "stringFormat", nullptr, ""},
      {CX_FORMAT_GROUPED, 8, 2, "numberFormat", u"useGrouping", "true"},
      {CX_FORMAT_FIXED, 8, 3, "numberFormat", u"maximumFractionDigits", "3"},
      {CX_FORMAT_PERCENT, 8, 1, "numberFormat", u"suffix", "%"},
      {CX_FORMAT_SCIENTIFIC, 10, 2, "numberFormat", u"scientific", "true"},
      {CX_FORMAT_ZERO_PADDED, 5, 0, "numberFormat", u"minimumIntegerDigits", "5"},
      {CX_FORMAT_DOT_GROUPED, 8, 2, "numberFormat", u"decimalSeparator", ","},
      {CX_FORMAT_CURRENCY_C, 8, 2, "numberFormat", u"prefix", "CCC "},
      {CX_FORMAT_ACCOUNTING, 8, 2, "numberFormat", u"negativePrefix", "("},
      {CX_FORMAT_DATE_DMY, 11, 0, "dateTimeFormat", u"pattern", "dd-MMM-yyyy"},
      {CX_FORMAT_ISO_DATE_TIME, 19, 0, "dateTimeFormat", u"pattern", "yyyy-MM-dd'T'HH:mm:ss"},
      {99, 8, 0, "", nullptr, ""},  // unknown: nothing written
  };
  for (const Case& c : cases) {
    cx->SetVariableFormat(chart, v, CX_FORMAT_CODE(c.type, c.width, c.decimals));
    EXPECT_EQ(childTags(meta), c.tag) << c.type;  // the earlier format was replaced
    if (c.attribute != nullptr) {
      EXPECT_EQ(attr(static_cast<DOMElement*>(meta->getFirstChild()), c.attribute), c.value)
          << c.type;
    }
  }
}

}  // namespace
