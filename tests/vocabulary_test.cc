// One chart built with every family of builders, sent to a host that checks
// what it receives against the chart schema and the references: a builder
// that writes outside the vocabulary, or a reference to nothing, fails here.
#include <string>

#include "chartxml/codes.h"
#include "test_support.h"

namespace {

class VocabularyTest : public cxtest::SourcedChartTest {
 protected:
  void SetUp() override {
    SourcedChartTest::SetUp();
    cxh_clear_sent();
  }
  void TearDown() override {
    cxh_set_validate(1);  // as the suites run
    cxh_clear_sent();
    SourcedChartTest::TearDown();
  }
};

TEST_F(VocabularyTest, EveryFamilyOfBuildersWritesAValidDocument) {
  const int id = cx->AddVariable(chart, sourceElement, 0, false);
  const int sex = cx->AddVariable(chart, sourceElement, 1, true);
  const int income = cx->AddVariable(chart, sourceElement, 2, false);
  const int city = cx->AddLabelingVariable(chart, sourceElement, 3, true);
  cx->AddRelabel(chart, sex, str("1"), str("Men"));
  cx->AddWeightAggregate(chart, income, str("Weighted"), str("w"));
  // Variable lists make the expression variables of matrices and overlays.
  const int list = cx->BeginVariableList(chart);
  cx->AddToVariableList(chart, list, id);
  cx->AddToVariableList(chart, list, income);
  const int matrix = cx->AddMatrixVariable(chart, list);
  const int overlay = cx->AddOverlayVariable(chart, list, CX_ROLE_Y);

  // Domains with intervals, sorts and references.
  const int domain = cx->AddDomain(chart, true);
  const int numbers = cx->AddDomain(chart, false);
  cx->AddIntervalEx(chart, numbers, str("0"), str("100"));
  cx->AddDomainReference(chart, domain, sex);
  const int sort = cx->AddSort(chart, domain);
  cx->AddSimpleSort(chart, sort);
  cx->AddStatisticSort(chart, sort, sex, income);
  cx->SetDomainDescending(chart, domain, true);
  cx->AddNumberFormat(chart, numbers);

  // A frame with coordinates, facets, dimensions, axes, guides and legends.
  const int graph = cx->AddFrame(chart, 0, str("graph_1"));
  const int frame = cx->AddFrame(chart, graph, str("data_1"));
  cx->AddLabel(chart, graph, str("title_1"), str("Every\\nbuilder"));
  cx->AddCoordinateTransform(chart, frame, CX_WORD_TRANSPOSE);
  const int facets = cx->AddCoordinateFacet(chart, frame);
  const int nest = cx->AddNest(chart, cx->AddCross(chart, facets));
  cx->AddFacetVariable(chart, nest, CX_ROLE_X, sex);
  cx->AddFacetVariable(chart, cx->AddBlend(chart, nest), CX_ROLE_Y, city);
  cx->AddFacetVariable(chart, cx->AddTableFacet(chart, frame), CX_ROLE_X, sex);
  const int labeling = cx->AddFacetLabeling(chart, frame);
  cx->SetFacetLabelingCellAspect(chart, labeling, 1.5);
  const int facetLabel = cx->AddFacetLabel(chart, labeling, str("outer"), 1, true);
  cx->SetFacetLabelGap(chart, facetLabel, str("4"));
  const int x = cx->AddDimension(chart, frame, CX_ROLE_X, domain);
  const int y = cx->AddDimension(chart, frame, CX_ROLE_Y, -1);
  cx->SetDimensionDomain(chart, y, overlay);
  cx->SetDimensionLowerMargin(chart, y, str("5%"));
  cx->SetDimensionUpperMapping(chart, y, str("0.9"));
  cx->SetDimensionSameRatio(chart, y, false);
  cx->SetUnionDomain(chart, y);
  cx->SetFacetsDifferentScale(chart, y);
  cx->SetDimensionScale(chart, y, CX_WORD_LOG, str("10"), true);
  const int xAxis = cx->AddAxis(chart, x, str("axisx_1"), false);
  const int yAxis = cx->AddAxis(chart, y, -1, true);
  cx->AddMajorTicks(chart, xAxis, str("outside"), true, str("4"), str("-45"), true, str("2"));
  cx->AddMinorTicks(chart, yAxis, -1, true, -1, str("4"));
  cx->SetAxisPercent(chart, yAxis, yAxis);
  cx->AddXReferenceLine(chart, frame, str("2"), 1);
  cx->AddYOfXS(chart, frame, 1, 1.0, 2.0, false);

  const int group = cx->AddElementGroup(chart, frame, -1);
  const int bars = cx->AddElement(chart, group, CX_WORD_INTERVAL, str("bars_1"));
  const int position = cx->AddPosition(chart, bars);
  cx->AddX(chart, position, sex);
  cx->AddY(chart, position, income);
  cx->AddStack(chart, position, true);
  cx->AddStatistic(chart, position, str("mean"));
  cx->AddSplit(chart, bars, city);
  const int styleBy = cx->AddStyleByColorAndPattern(chart, bars, sex);
  cx->AddLabeling(chart, bars, income);
  cx->AddFacetStyle(chart, bars, str("cell"), -1);
  cx->SetElementName(chart, bars, str("Mean income"));
  const int points = cx->AddElement(chart, frame, CX_WORD_POINT, -1);
  cx->AddX(chart, points, id);
  cx->AddY(chart, points, matrix);
  cx->AddColor(chart, points, sex);
  cx->AddStyleBy(chart, points, city);
  cx->SetElementDot(chart, points, str("dot"));
  cx->SetDisplayOverlappingLabels(chart, points, false);
  const int binned = cx->AddBinnedElement(chart, frame, CX_WORD_POINT, str("binned_1"), id, income);
  const int legend = cx->AddLegend(chart, graph, str("legend_1"));
  cx->AddLegendTarget(chart, legend, points, -1, CX_WORD_COLOR);
  cx->AddLegendTargetEx(chart, legend, bars, styleBy, str("bars"));
  for (const int handle : {matrix, overlay, domain, numbers, sort, frame, x, y, xAxis, yAxis, group,
                           bars, position, styleBy, points, binned, legend}) {
    ASSERT_GT(handle, 0) << cxtest::messages()[0];
  }
  cx->SetFrameClipping(chart, frame, false);

  ASSERT_EQ(cx->EndChart(chart), 0) << ::testing::PrintToString(cxtest::messages());
  ASSERT_EQ(cxh_sent_count(), 1);
  // The chart exercised what it set out to: each of these parts was sent
  // and passed the check.
  const std::string sent = cxh_sent_xml(0);
  for (const char* tag : {"<domainReference",     "<statisticSort", "<simpleSort",   "<interval",
                          "<coordinateTransform", "<nest",          "<blend",        "<tableFacet",
                          "<facetLabel ",         "<scale",         "<minorTicks",   "<gridLines",
                          "<elementGroup",        "<split",         "<styleBy",      "<labeling",
                          "<facetStyle",          "<size",          "<legendTarget", "<relabel",
                          "<transform",           "expression="}) {
    EXPECT_NE(sent.find(tag), std::string::npos) << tag;
  }
}

// A host that does not validate takes what a validating one refuses, and a
// validating one says why.
TEST_F(VocabularyTest, AValidatingHostRefusesADocumentOutsideTheVocabulary) {
  const int frame = cx->AddFrame(chart, 0, -1);
  ASSERT_GT(cx->AddElement(chart, frame, str("glyph"), -1), 0);
  EXPECT_EQ(cx->EndChart(chart), -1);
  EXPECT_EQ(cxh_sent_count(), 0);
  bool named = false;
  for (const std::string& message : cxtest::messages()) {
    named |= message.find("chart document refused at line") != std::string::npos &&
             message.find("'glyph'") != std::string::npos;
  }
  EXPECT_TRUE(named) << ::testing::PrintToString(cxtest::messages());

  cxh_set_validate(0);
  const int again = newChart();
  ASSERT_GT(cx->AddElement(again, cx->AddFrame(again, 0, -1), str("glyph"), -1), 0);
  EXPECT_EQ(cx->EndChart(again), 0);
  EXPECT_EQ(cxh_sent_count(), 1);
}

}  // namespace
