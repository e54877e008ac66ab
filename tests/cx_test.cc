// The CX_ entry points as a procedure calls them: arguments by address,
// composites with their outputs, refusals of unusable arguments.
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "chartxml/chartxml_building.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#include "chartxml/host/VarDataProcessor.h"
#include "test_support.h"

namespace {

using cxtest::messages;
using cxtest::Messages;

void* const kAllOnes = reinterpret_cast<void*>(~std::uintptr_t{0});
constexpr int64_t kHigh = int64_t{1} << 32;  // a bit that a 32-bit reading drops

bool contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

// A chart made by CX_CREATECHARTEX over people.csv (id, sex, income, city).
class CxTest : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    dictionary =
        static_cast<VORN_FortranDictionary*>(cxh_open_csv(CHARTXML_TEST_DATA_DIR "/people.csv"));
    ASSERT_NE(dictionary, nullptr);
    chart =
        CX_CREATECHARTEX(kAllOnes, &dictionary, "GRAPH", in(5), &chartOut, &source, &graph, &data);
    ASSERT_EQ(chart, 0);
  }
  void TearDown() override {
    FacadeTest::TearDown();
    cxh_close(dictionary);
  }
  // The reports since the last check are `expected`; the log starts anew.
  void expectReported(const Messages& expected) {
    EXPECT_EQ(messages(), expected);
    cxh_clear_reports();
  }

  // The address of a new input value, stable for the whole test.
  const int64_t* in(int64_t value) { return &inputs.emplace_back(value); }
  const double* real(double value) { return &reals.emplace_back(value); }
  std::string text(int64_t handle) { return cx->getUTF8String(static_cast<int>(handle)); }
  std::string xml() { return cx->GetXmlBuffer(static_cast<int>(chart)); }
  int64_t variable(int column, bool categorical) {
    return CX_ADDVARIABLE(in(chart), in(source), in(column), in(categorical));
  }

  VORN_FortranDictionary* dictionary = nullptr;
  int64_t chart = -1, chartOut = -9, source = -9, graph = -9, data = -9;
  std::deque<int64_t> inputs;
  std::deque<double> reals;
};

TEST_F(CxTest, ChartsComeWithSourceAndFramesAndTheClippingResultsInTheOutputs) {
  EXPECT_EQ(chartOut, 0);
  EXPECT_EQ(source, 1);
  EXPECT_EQ(graph, 2);  // SetFrameClipping answers with the frame it clipped
  EXPECT_EQ(data, 3);
  EXPECT_EQ(cx->getHandle(0, byId(0, u"frame_graph_1")), 2);
  EXPECT_EQ(cxtest::attr(byId(0, u"frame_graph_1"), u"clip"), "true");
  EXPECT_EQ(cxtest::attr(byId(0, u"frame_data_1"), u"clip"), "false");
  EXPECT_NE(byId(0, u"source0"), nullptr);

  int64_t pie = -9, pieSource = -9, outer = -9, inner = -9;
  EXPECT_EQ(
      CX_CREATEPIECHART(kAllOnes, &dictionary, "PIE", in(3), &pie, &pieSource, &outer, &inner), 1);
  EXPECT_EQ(cxh_chart_xml(1), cx->GetXmlBuffer(1));
  EXPECT_EQ(cxtest::attr(byId(1, u"frame_pie_1"), u"clip"), "true");
  EXPECT_FALSE(byId(1, u"frame_graph_1")->hasAttribute(u"clip"));
  EXPECT_EQ(std::make_tuple(pieSource, outer, inner), std::make_tuple(1, 2, 3));
  expectReported({});
}

TEST_F(CxTest, IntegersReadTheLow32BitsAndLogicalsAll64) {
  // Chart 0 with a high bit set is still chart 0; categorical 2^32 is true.
  const int64_t sex = CX_ADDVARIABLE(in(chart | kHigh), in(source), in(1), in(kHigh));
  ASSERT_GT(sex, 0);
  EXPECT_EQ(cxtest::attr(elementAt(0, static_cast<int>(sex)), u"categorical"), "true");
  EXPECT_EQ(text(CX_INTEGER(nullptr, in(kHigh + 7))), "7");
  EXPECT_EQ(text(CX_INTEGER(nullptr, in(-3))), "-3");
  EXPECT_EQ(CX_STYLESTRING(in(-1 & 0xffffffffLL), in(1)), -1);  // low half reads as -1
}

TEST_F(CxTest, TextsAreExactlyTheirLength) {
  const char bytes[3] = {'a', 'b', 'c'};  // no terminator: nothing past it may be read
  EXPECT_EQ(text(CX_NSTRINGNOTRANSLATE(bytes, in(3))), "abc");
  EXPECT_EQ(text(CX_STRING(nullptr, "x  ", in(3))), "x  ");
  EXPECT_EQ(text(CX_NSTRING(nullptr, "E61218xyz", in(6))), "Key");
  EXPECT_EQ(text(CX_NSTRINGNOTRANSLATE(bytes, in(0))), "");
  EXPECT_EQ(CX_SETCHARTTEMPLATE(in(chart), "scatter.tpl", in(0)), -1);
  EXPECT_EQ(CX_SETCHARTTEMPLATE(in(chart), "scatter.tpl", in(7)), 0);
  EXPECT_EQ(CX_SETCHARTDESCRIPTION(in(chart), "People by sex", in(6)), 0);
}

TEST_F(CxTest, UnusableArgumentsAreRefusedAndReported) {
  const std::string before = xml();
  int64_t out = -9;
  EXPECT_EQ(CX_ADDFRAME(in(chart), nullptr, in(-1)), -1);
  EXPECT_EQ(CX_NSTRINGNOTRANSLATE("abc", in(-1)), -1);
  EXPECT_EQ(CX_NSTRINGNOTRANSLATE(nullptr, in(0)), -1);
  EXPECT_EQ(CX_ADDXYELEMENTEX(in(chart), in(data), in(1), in(CX_WORD_POINT), in(1), in(1),
                              in(CX_WORD_TITLE), nullptr),
            -1);
  EXPECT_EQ(CX_CREATECHARTEX(kAllOnes, nullptr, "P", in(1), &out, &out, &out, &out), -1);
  EXPECT_EQ(out, -9);
  EXPECT_EQ(xml(), before);
  EXPECT_EQ(cx->CreateChart(), 1);  // no chart was made by the refused call
  EXPECT_EQ(std::string(cxh_report_source(0)), "backend/chartxml/src/chartxml");
  expectReported((Messages{"null argument address for CX_ADDFRAME",
                           "negative text length for CX_NSTRINGNOTRANSLATE",
                           "null argument address for CX_NSTRINGNOTRANSLATE",
                           "null argument address for CX_ADDXYELEMENTEX",
                           "null argument address for CX_CREATECHARTEX"}));
  EXPECT_EQ(CX_DUMPXML(nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(CX_STATISTICSSUMMARY(), -1);
}

// ---- The per-case entry points: rows and data values ------------------------
// They take a fast lane for the chart resolved last; every refusal and report
// must stay the full path's, also right after that chart was resolved.
class CxDataTest : public CxTest {
 protected:
  void SetUp() override {
    CxTest::SetUp();
    income = variable(2, false);
    city = variable(3, true);
    paris = CX_NSTRINGNOTRANSLATE("Paris", in(5));
    ASSERT_EQ(CX_ADDROW(in(chart), in(source)), 1);  // the chart is now the one resolved last
    const std::vector<std::string> names = feed().VariableNames("source0");
    ASSERT_EQ(names.size(), 2u);
    incomeName = names[0];
    cityName = names[1];
  }
  // What a test leaves in the report log went unchecked: nothing may be there.
  void TearDown() override {
    EXPECT_EQ(messages(), Messages{}) << "reported and never checked";
    CxTest::TearDown();
  }
  VarDataProcessor& feed() { return *cx->getDataProcessor(static_cast<int>(chart)); }
  std::optional<double> number(std::uint32_t row) {
    return feed().Number("source0", incomeName, row);
  }
  std::optional<std::string> cityText(std::uint32_t row) {
    return feed().Text("source0", cityName, row);
  }

  int64_t income = -1, city = -1, paris = -1;
  std::string incomeName, cityName;
};

// Null addresses are reported; unknown charts and absent values are not.
// Either way nothing is counted or stored.
TEST_F(CxDataTest, NullAddressesAreReportedAndUnknownChartsRefusedQuietly) {
  EXPECT_EQ(CX_ADDROW(nullptr, in(source)), -1);
  EXPECT_EQ(CX_ADDROW(in(chart), nullptr), -1);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), nullptr), -1);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), nullptr, in(income), real(1)), -1);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), nullptr, in(paris)), -1);
  EXPECT_EQ(CX_ADDDATAVALUE(nullptr, in(source), in(city), in(paris)), -1);
  EXPECT_EQ(CX_ADDROW(in(7), in(source)), -1);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(7), in(source), in(income), real(1)), -1);
  EXPECT_EQ(CX_ADDDATAVALUE(in(-1), in(source), in(city), in(paris)), -1);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(-1)), -1);  // no value
  const std::string null = "null argument address for CX_";
  expectReported(
      (Messages{null + "ADDROW", null + "ADDROW", null + "ADDDOUBLEDATAVALUE",
                null + "ADDDOUBLEDATAVALUE", null + "ADDDATAVALUE", null + "ADDDATAVALUE"}));
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), 2);  // nothing counted a row
  EXPECT_EQ(feed().GetRowCount("source0"), 0u);    // nothing stored
}

TEST_F(CxDataTest, ABadVariableDiscardsTheChartWithAReport) {
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(999), real(1)), -1);
  expectReported(
      Messages{"chart 0 discarded: handle 999 names no data-source variable "
               "of the chart"});
  // Gone for every later call, quietly; a text for a non-variable was never an error.
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), -1);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), real(1)), -1);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris)), -1);
}

TEST_F(CxDataTest, AFailedChartRefusesRowsAndIsDiscardedByAValue) {
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris)), 0);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris)), 0);  // remembered
  cx->SetFatalError(static_cast<int>(chart));
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), -1);
  expectReported({});
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris)), -1);
  expectReported(Messages{"chart 0 discarded: a data value came after the chart's fatal error"});
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), real(1)), -1);
}

TEST_F(CxDataTest, KilledChartsAndAGoneInstanceRefuse) {
  EXPECT_EQ(CX_KILLCHART(in(chart)), 0);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), real(1)), -1);
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), -1);
  const int64_t again =
      CX_CREATECHARTEX(kAllOnes, &dictionary, "GRAPH", in(5), &chartOut, &source, &graph, &data);
  ASSERT_GE(again, 0);
  EXPECT_EQ(CX_ADDROW(in(again), in(source)), 1);
  EXPECT_EQ(CX_TERMINATE(), 0);
  EXPECT_EQ(CX_ADDROW(in(again), in(source)), -1);  // a new instance has no such chart
  cx = ChartXml::Initialize();
}

TEST_F(CxDataTest, ValuesLandAsTheFullPathStoresThem) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart | kHigh), in(source), in(income | kHigh), real(2.5)), 0);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris | kHigh)), 0);
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), 2);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), real(nan)), 0);
  EXPECT_EQ(CX_ADDDATAVALUE(in(chart), in(source), in(city), in(paris)), 0);
  EXPECT_EQ(CX_ADDROW(in(chart), in(source)), 3);
  EXPECT_EQ(CX_ADDDOUBLEDATAVALUE(in(chart), in(source), in(income), real(-inf)), 0);
  EXPECT_EQ(number(0), 2.5);
  EXPECT_TRUE(std::isnan(number(1).value_or(0)));
  EXPECT_EQ(number(2), -inf);
  EXPECT_EQ(cityText(0), "Paris");
  EXPECT_EQ(cityText(1), "Paris");
}

TEST_F(CxDataTest, RowsReportProgressEveryTenThousand) {
  cxh_clear_debug();
  for (int64_t row = 2; row <= 20000; ++row) ASSERT_EQ(CX_ADDROW(in(chart), in(source)), row);
  EXPECT_EQ(cxtest::debugLines(),
            (std::vector<std::string>{"Added 10000 rows of data", "Added 20000 rows of data"}));
}

TEST_F(CxTest, DimensionAxesAndTheirLimits) {
  int64_t style = -9, axis = -9;
  const std::string before = xml();
  EXPECT_EQ(CX_ADDDIMENSIONAXIS(in(chart), in(data), in(CX_ROLE_Z + 1), in(-1), in(0), &style,
                                &axis, in(-1), in(-1), in(-1), in(-1)),
            -1);
  // The dimension number is tested on all 64 bits: 2^32 + 1 is not 1.
  EXPECT_EQ(CX_ADDDIMENSIONAXIS(in(chart), in(data), in(kHigh + CX_ROLE_X), in(-1), in(0), &style,
                                &axis, in(-1), in(-1), in(-1), in(-1)),
            -1);
  EXPECT_EQ(xml(), before);
  EXPECT_EQ(style, -9);

  // A margin of -1 on the low half only is given (the handle -1 is then refused).
  const int64_t margin = CX_NSTRINGNOTRANSLATE("7%", in(2));
  const int64_t dim = CX_ADDDIMENSIONAXIS(in(chart), in(data), in(CX_ROLE_Y), in(-1), in(0), &style,
                                          &axis, in(margin), in(-1), in(-1), in(margin));
  ASSERT_GT(dim, 0);
  EXPECT_EQ(text(style), "axisy_1");
  xercesc::DOMElement* dimension = elementAt(0, static_cast<int>(dim));
  EXPECT_EQ(cxtest::attr(dimension, u"upperMargin") + cxtest::attr(dimension, u"lowerMapping"),
            "7%7%");
  EXPECT_FALSE(dimension->hasAttribute(u"lowerMargin"));
  EXPECT_EQ(cxtest::childTags(elementAt(0, static_cast<int>(axis))), "majorTicks");

  int64_t s1 = -9, a1 = -9, s2 = -9, a2 = -9;
  const int64_t x = CX_ADDXYDIMAXISWITHSAMERATIO(in(chart), in(data), in(-1), in(-1), in(0), in(0),
                                                 in(1), &s1, &a1, &s2, &a2);
  EXPECT_EQ(x, CX_GETDIMENSION(in(chart), in(data), in(CX_ROLE_X)));
  EXPECT_EQ(text(s1) + " " + text(s2), "axisx_1 axisy_1");
  // The y dimension is shared.
  for (const xercesc::DOMElement* made : {elementAt(0, static_cast<int>(x)), dimension}) {
    EXPECT_EQ(cxtest::attr(made, u"lowerMargin") + " " + cxtest::attr(made, u"sameRatio"),
              "0% trueCentered");
  }
}

TEST_F(CxTest, DomainsAnswerWithTheSortMethodsStatus) {
  const int64_t domain = CX_ADDDOMAIN(in(chart), nullptr, nullptr, in(1), in(-1));
  ASSERT_GT(domain, 0);
  EXPECT_FALSE(contains(xml(), "simpleSort"));
  // With a method the result is SetSimpleSortMethod's 0, not the domain.
  const int64_t method = CX_NSTRINGNOTRANSLATE("natural", in(7));
  EXPECT_EQ(CX_ADDDOMAIN(in(chart), nullptr, nullptr, in(kHigh), in(method)), 0);
  EXPECT_TRUE(contains(xml(), "method=\"natural\""));
  EXPECT_EQ(CX_ADDDOMAIN(in(chart + 5), nullptr, nullptr, in(1), in(method)), -1);
}

TEST_F(CxTest, FramesWithLabelsLegendsAndElements) {
  const int64_t title = CX_NSTRINGNOTRANSLATE("People", in(6));
  const int64_t frame =
      CX_ADDFRAMEWITHLABEL(in(chart), in(graph), in(CX_WORD_TITLE), in(1), in(title), nullptr);
  EXPECT_EQ(cxtest::childTags(byId(0, u"frame_title_1")), "label");
  EXPECT_EQ(cx->getHandle(0, byId(0, u"frame_title_1")), frame);

  const int64_t sex = variable(1, true), income = variable(2, false);
  int64_t element = -9;
  EXPECT_EQ(CX_ADDXYELEMENTEX(in(chart), in(data), in(2), in(CX_WORD_POINT), in(sex), in(income),
                              in(CX_WORD_ELEMENT), &element),
            element);
  EXPECT_EQ(cxtest::childTags(byId(0, u"element_element_2")), "x y");

  int64_t style = -9, legend = -9;
  EXPECT_EQ(CX_ADDLEGENDFRAME(in(chart), in(graph), in(element), in(3), in(CX_WORD_COLOR), nullptr,
                              &style, &legend),
            legend);
  EXPECT_EQ(text(style), "legend_3");
  EXPECT_TRUE(contains(xml(), "aesthetic=\"color\""));
  expectReported({});
  // Frame, legend and style come first and are written back whatever the
  // target step answers.
  CX_ADDLEGENDFRAMEEX(in(chart), in(graph), in(element), in(4), in(-1), &style, &legend);
  EXPECT_EQ(text(style), "legend_4");
  EXPECT_EQ(cx->getHandle(0, byId(0, u"legend_legend_4")), legend);
}

TEST_F(CxTest, ScatterMatrixListsTheSecondAxisInReverse) {
  const int64_t vars[] = {variable(0, false), variable(2, false), variable(1, false)};
  int64_t element = -9;
  EXPECT_EQ(CX_ADDSPLOMELEMENT(in(chart), in(data), vars, in(3), &element), element);
  ASSERT_GT(element, 0);
  std::string id[3];
  for (int i = 0; i < 3; ++i) {
    id[i] = cxtest::attr(elementAt(0, static_cast<int>(vars[i])), u"id");
    id[i] += "/" + id[i] + "label";
  }
  const std::string doc = xml();
  EXPECT_TRUE(contains(doc, "expression=\"" + id[0] + " + " + id[1] + " + " + id[2] + "\""));
  EXPECT_TRUE(contains(doc, "expression=\"" + id[2] + " + " + id[1] + " + " + id[0] + "\""));
  EXPECT_TRUE(contains(doc, "upperMargin=\"15%\"") && contains(doc, "matrixscatterdiagonal"));
  EXPECT_EQ(cxtest::childTags(elementAt(0, static_cast<int>(element))), "facetStyle x y");
}

TEST_F(CxTest, BackPlanesAndWireFrame) {
  EXPECT_EQ(CX_ADDXYZBACKPLANES(in(chart), in(data)), data);
  EXPECT_EQ(cxtest::childTags(byId(0, u"frame_data_1")),
            "facetLabeling coordinateTransform guide guide guide");
  EXPECT_EQ(CX_ADDXYZWIREFRAME(in(chart), in(graph)), graph);
  const std::string doc = xml();
  for (const char* part : {"value=\"-35\"", "name=\"dy\" value=\"0.1\"",
                           "name=\"complete\" value=\"false\"", "name=\"normal\" value=\"z\""}) {
    EXPECT_TRUE(contains(doc, part)) << part;
  }
}

TEST_F(CxTest, DescriptiveTexts) {
  EXPECT_EQ(text(CX_WEIGHTINFO(nullptr, nullptr, in(1), in(kHigh))),
            "Weighted by Sex of respondent");
  EXPECT_EQ(text(CX_WEIGHTINFO(nullptr, nullptr, in(1), in(0))),
            "Not weighted by Sex of respondent");
  EXPECT_EQ(CX_WEIGHTINFO(nullptr, nullptr, in(0), in(1)), -1);

  const int64_t name = CX_NSTRINGNOTRANSLATE("Sex", in(3));
  const double values[] = {2, 1};
  auto info = [&](int64_t head, int64_t count, int64_t showName, int64_t useKey) {
    return CX_SPLITVARIABLEINFO(in(chart), in(head), in(1), in(count), values, "", in(0), in(0),
                                in(showName), in(useKey));
  };
  EXPECT_EQ(text(info(name, 2, 1, 1)), "Sex key Female, Male");
  EXPECT_EQ(text(info(name, 2, 0, 0)), "Sex ; Female, Male");
  EXPECT_EQ(text(info(-1, 1, 1, 1)), "Key Female");
  EXPECT_EQ(text(info(-1, 1, 0, 0)), "; Female");
  EXPECT_EQ(info(name, 0, 1, 1), name);
  EXPECT_EQ(info(kHigh - 5, 2, 0, 1), kHigh - 5);  // returned as it came

  // A string column: blank-padded fields, a value label would win.
  const int64_t cities =
      CX_SPLITLIST(in(chart), in(3), in(2), real(0), "Oslo    Paris   ", in(8), in(0));
  EXPECT_EQ(text(cities), "Oslo, Paris");
  const int64_t frame = CX_ADDSPLITHEADEREX(in(chart), in(graph), in(cities), in(1));
  EXPECT_EQ(cx->getHandle(0, byId(0, u"frame_subtitle_1")), frame);
  EXPECT_TRUE(contains(xml(), "Oslo\nParis</label>"));
  EXPECT_EQ(CX_SPLITLIST(in(chart), in(3), in(2), real(0), "Oslo", in(-4), in(0)), -1);
  expectReported(Messages{"negative text length for CX_SPLITLIST"});
}

TEST_F(CxTest, ProcedureOperationsOfTheFacade) {
  const int64_t weight = CX_ADDWEIGHTVARIABLE(in(chart), in(source), in(2));
  EXPECT_TRUE(contains(xml(), "weight=\"true\""));
  EXPECT_EQ(cxtest::attr(elementAt(0, static_cast<int>(weight)), u"categorical"), "false");
  EXPECT_EQ(text(CX_GETVARIABLELABEL(in(chart), in(weight))), "Household income");
  const int64_t renamed = CX_NSTRINGNOTRANSLATE("Income", in(6));
  CX_SETVARIABLELABEL(in(chart), in(weight), in(renamed));
  EXPECT_EQ(text(CX_GETVARIABLELABEL(in(chart), in(weight))), "Income");
  EXPECT_EQ(CX_GETVARIABLELABEL(in(chart), in(graph)), -1);

  // A procedure dictionary: 1-based numbers, here 1 -> sex and 2 -> city.
  const int64_t columns[] = {1, 3};
  auto* procedure = static_cast<VORN_FortranDictionary*>(cxh_dictionary(dictionary, columns, 2));
  int64_t dummy = 0;
  EXPECT_EQ(text(CX_VARIABLELABELFROMDICTIONARY(&dummy, &procedure, in(1))), "Sex of respondent");
  EXPECT_EQ(text(CX_VARIABLELABELFROMDICTIONARY(&dummy, &procedure, in(2))), "city");
  EXPECT_EQ(text(CX_VARIABLELABELFROMDICTIONARY(kAllOnes, &dictionary, in(1))),
            "Sex of respondent");
  EXPECT_EQ(CX_VARIABLELABELFROMDICTIONARY(&dummy, &procedure, in(3)), -1);
  cxh_close(procedure);

  const int64_t title = CX_COMPOSITESTRING("Income, ^1", in(10));
  EXPECT_EQ(CX_SETSPLITCOMPOSITE(in(title), in(renamed)), title);
  EXPECT_EQ(text(title), "Income, Income");
  EXPECT_EQ(CX_TERMINATE(), 0);
  EXPECT_EQ(ChartXml::_instance, nullptr);
  cx = ChartXml::Initialize();  // for the fixture's own tear-down
}

}  // namespace
