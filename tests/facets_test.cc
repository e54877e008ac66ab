// Facets: nest rule, get-or-create, labels, styles, and a whole scatter-plot-matrix document.
#include "chartxml/codes.h"
#include "test_support.h"
#include "whole_charts.h"

namespace {

using cxtest::attr;
using cxtest::childTags;
using cxtest::messages;
using cxtest::Messages;

class FacetsTest : public cxtest::SourcedChartTest {
 protected:
  void SetUp() override {
    SourcedChartTest::SetUp();
    sex = cx->AddVariable(chart, sourceElement, 1, true);
    city = cx->AddVariable(chart, sourceElement, 3, true);
    frame = cx->AddFrame(chart, 0, str("data_1"));  // comes with a facet labeling
    point = cx->AddElement(chart, frame, CX_WORD_POINT, -1);
  }
  int sex = -1, city = -1, frame = -1, point = -1;
};

TEST_F(FacetsTest, ANestTakesTwoOperandsOtherNodesAny) {
  const int nest = cx->AddNest(chart, cx->AddCoordinateFacet(chart, frame));
  EXPECT_EQ(childTags(element(frame)), "facetLabeling coordinateFacet element");
  const int byRow = cx->AddFacetVariable(chart, nest, CX_ROLE_Y, sex);
  const int cross = cx->AddCross(chart, nest);
  EXPECT_EQ(attr(element(byRow), u"role") + " " + attr(element(byRow), u"variable"), "y variable1");
  EXPECT_EQ(cx->AddBlend(chart, nest) + cx->AddFacetVariable(chart, nest, CX_ROLE_X, city), -2);
  EXPECT_EQ(messages(), Messages(2, "Nest must have only 2 children - facetVariable cross"));
  for (int i = 0; i < 3; ++i) EXPECT_GT(cx->AddFacetVariable(chart, cross, CX_ROLE_X, city), 0);
}

TEST_F(FacetsTest, AFrameHasOneTableFacetAndOneLabelingOfItsOwn) {
  const int outer = cx->AddFrame(chart, 0, -1);
  const int innerLabeling = cx->AddFacetLabeling(chart, cx->AddFrame(chart, outer, -1));
  const int labeling = cx->AddFacetLabeling(chart, outer);
  EXPECT_NE(labeling, innerLabeling);  // a nested frame's labeling is its own
  const int table = cx->AddTableFacet(chart, outer);
  EXPECT_EQ(cx->AddFacetLabeling(chart, outer), labeling);
  EXPECT_EQ(cx->AddTableFacet(chart, outer), table);
  EXPECT_EQ(childTags(element(outer)), "frame tableFacet facetLabeling");
}

TEST_F(FacetsTest, LabelsStylesAndScales) {
  const int labeling = cx->AddFacetLabeling(chart, frame);
  const int rows = cx->AddFacetLabel(chart, labeling, str("rows"), 2, true);
  EXPECT_EQ(cx->GetFacetLabel(chart, labeling, 2), rows);
  EXPECT_EQ(cx->GetFacetLabel(chart, labeling, 3), -1);
  EXPECT_EQ(cx->SetFacetLabelCellStyle(chart, rows, str("cells")), rows);
  EXPECT_EQ(attr(element(rows), u"cellStyle"), "cells");
  EXPECT_EQ(cx->SetFacetLabelCellStyle(chart, rows, -1), rows);
  EXPECT_FALSE(element(rows)->hasAttribute(u"cellStyle"));
  cx->AddPosition(chart, point);
  const int plain = cx->AddFacetStyle(chart, point, str("odd"), -1);
  const int named = cx->AddFacetStyle(chart, point, str("even"), str("diag"));
  EXPECT_EQ(childTags(element(point)), "facetStyle facetStyle position");
  EXPECT_EQ(attr(element(plain), u"style") + " " + attr(element(named), u"style"),
            "facetStyle_default_style facetStyle_diag_default_style");
  const int dimension = cx->AddDimension(chart, frame, CX_ROLE_X, -1);
  EXPECT_EQ(cx->SetFacetsDifferentScale(chart, dimension), -1);
  EXPECT_EQ(attr(element(dimension), u"facetsShareScale"), "false");
  EXPECT_EQ(childTags(element(cx->AddFrame(chart, 0, str("pie_1")))), "facetLabeling");
  EXPECT_EQ(childTags(element(cx->AddFrame(chart, 0, str("data_2")))), "");
  EXPECT_EQ(cx->AddFacetStyle(chart, frame, str("odd"), -1), -1);
  EXPECT_EQ(messages().at(0),
            "can't add a facetStyle to anything but an element or gridLines - frame");
}

TEST_F(FacetsTest, ScatterPlotMatrixSkeleton) {
  cxtest::buildMatrixSkeleton(*cx, chart, frame, sex, city);
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(xml(), R"xml(<?xml version="1.0" encoding="UTF-8"?>
<visualization>
  <source id="source0">
    <otherAccess type="object"/>
  </source>
  <variable categorical="true" id="variable1" label="Sex of respondent" shortLabel="sex" source="source0" sourceName="V1">
    <meta creator="external_datasource"/>
  </variable>
  <variable categorical="true" id="variable2" shortLabel="city" source="source0" sourceName="V2">
    <meta creator="external_datasource"/>
  </variable>
  <variable categorical="true" id="variable1label" source="source0" value="constant(labelvariable1)">
    <meta creator="internal_variable"/>
    <relabel from="labelvariable1" to="Sex of respondent"/>
  </variable>
  <variable categorical="true" id="variable2label" source="source0" value="constant(labelvariable2)">
    <meta creator="internal_variable"/>
    <relabel from="labelvariable2" to="city"/>
  </variable>
  <variable categorical="false" expression="variable1/variable1label + variable2/variable2label" id="variable6" shortLabel="Y Axis">
    <meta creator="internal_variable"/>
  </variable>
  <variable categorical="false" expression="variable2/variable2label + variable1/variable1label" id="variable7" shortLabel="Y Axis">
    <meta creator="internal_variable"/>
  </variable>
  <frame id="frame_data_1" style="frame_data_1_default_style">
    <facetLabeling>
      <facetLabel cellStyle="data_1" id="facetLabel_data_1" level="0"/>
      <facetLabel id="facetLabel_matrixscatterx_1" level="1">
        <axis baselineStyle="axis_matrixscatterx_1baselineStyle" id="axis_matrixscatterx_1" style="axis_matrixscatterx_1_default_style"/>
      </facetLabel>
      <facetLabel cellStyle="matrixscattery_1" id="facetLabel_matrixscattery_1" level="2"/>
    </facetLabeling>
    <dimension domain="variable6" facetsShareScale="true" role="x"/>
    <dimension domain="variable7" facetsShareScale="true" role="y"/>
    <element id="element5" labelCollisionHandling="normal" showCollidingLabels="true" style="_default_style" type="point"/>
  </frame>
</visualization>
)xml");
}

}  // namespace
