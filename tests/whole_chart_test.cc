// A small chart built through the facade, checked against the whole document
// it must produce: declarations first, the frame with its element, position,
// colour and statistic, and the domain with its sort.
#include "test_support.h"
#include "whole_charts.h"

namespace {

using WholeChartTest = cxtest::SourcedChartTest;

TEST_F(WholeChartTest, ScatterWithColourDomainSortAndStatistic) {
  cxtest::wholeChart("coloured mean scatter").build(*cx, chart, sourceElement);
  EXPECT_TRUE(cxtest::messages().empty());
  EXPECT_EQ(xml(),
            R"(<?xml version="1.0" encoding="UTF-8"?>
<visualization>
  <source id="source0">
    <otherAccess type="object"/>
  </source>
  <variable categorical="false" id="variable1" label="Household income" shortLabel="income" source="source0" sourceName="V1">
    <meta creator="external_datasource">
      <numberFormat maximumFractionDigits="2" minimumFractionDigits="2" prefix="$" useGrouping="true"/>
    </meta>
  </variable>
  <variable categorical="false" id="variable2" shortLabel="id" source="source0" sourceName="V2">
    <meta creator="external_datasource">
      <numberFormat maximumFractionDigits="0" minimumFractionDigits="0" useGrouping="false"/>
    </meta>
  </variable>
  <variable categorical="true" id="variable3" label="Sex of respondent" shortLabel="sex" source="source0" sourceName="V3">
    <meta creator="external_datasource"/>
  </variable>
  <domain categorical="true" id="domain6">
    <sort>
      <simpleSort method="auto"/>
    </sort>
  </domain>
  <frame id="frame_graph_1" style="frame_graph_1_default_style">
    <element id="element5" labelCollisionHandling="normal" showCollidingLabels="true" style="_default_style" type="point">
      <position>
        <x variable="variable1"/>
        <y variable="variable2"/>
      </position>
      <color variable="variable3"/>
      <statistic method="mean"/>
    </element>
  </frame>
</visualization>
)");
}

}  // namespace
