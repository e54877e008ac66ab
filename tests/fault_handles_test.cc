// Every operation that names a chart says so when the chart is unknown
// (out of range, never made, or gone), except the ones that resolve their
// chart quietly.
#include <functional>
#include <set>
#include <string>

#include "test_support.h"

namespace {

struct ChartOperation {
  const char* name;
  std::function<void(ChartXml&, int)> call;
};

// Every operation of the facade whose first argument is a chart handle.
const ChartOperation kOperations[] = {
    {"EndChart", [](ChartXml& cx, int chart) { cx.EndChart(chart); }},
    {"KillChart", [](ChartXml& cx, int chart) { cx.KillChart(chart); }},
    {"SetLogUnsafe", [](ChartXml& cx, int chart) { cx.SetLogUnsafe(chart); }},
    {"SetChartTemplate", [](ChartXml& cx, int chart) { cx.SetChartTemplate(chart, "x"); }},
    {"SetChartType", [](ChartXml& cx, int chart) { cx.SetChartType(chart, 1); }},
    {"CreateChartDescription",
     [](ChartXml& cx, int chart) { cx.CreateChartDescription(chart, 1); }},
    {"SetChartDescription", [](ChartXml& cx, int chart) { cx.SetChartDescription(chart, "x"); }},
    {"GetXmlBuffer", [](ChartXml& cx, int chart) { cx.GetXmlBuffer(chart); }},
    {"SetProcedure", [](ChartXml& cx, int chart) { cx.SetProcedure(chart, "x"); }},
    {"CopyAttributes", [](ChartXml& cx, int chart) { cx.CopyAttributes(chart, 1, 1); }},
    {"AddMeta", [](ChartXml& cx, int chart) { cx.AddMeta(chart, 1); }},
    {"AddCoordinateTransform",
     [](ChartXml& cx, int chart) { cx.AddCoordinateTransform(chart, 1, 1); }},
    {"AddDimension", [](ChartXml& cx, int chart) { cx.AddDimension(chart, 1, 1, 1); }},
    {"GetDimension", [](ChartXml& cx, int chart) { cx.GetDimension(chart, 1, 1); }},
    {"SetDimensionDomain", [](ChartXml& cx, int chart) { cx.SetDimensionDomain(chart, 1, 1); }},
    {"SetDimensionLowerMapping",
     [](ChartXml& cx, int chart) { cx.SetDimensionLowerMapping(chart, 1, 1); }},
    {"SetDimensionUpperMapping",
     [](ChartXml& cx, int chart) { cx.SetDimensionUpperMapping(chart, 1, 1); }},
    {"SetDimensionLowerMargin",
     [](ChartXml& cx, int chart) { cx.SetDimensionLowerMargin(chart, 1, 1); }},
    {"SetDimensionUpperMargin",
     [](ChartXml& cx, int chart) { cx.SetDimensionUpperMargin(chart, 1, 1); }},
    {"SetDimensionSameRatio",
     [](ChartXml& cx, int chart) { cx.SetDimensionSameRatio(chart, 1, false); }},
    {"SetUnionDomain", [](ChartXml& cx, int chart) { cx.SetUnionDomain(chart, 1); }},
    {"SetDimensionScale",
     [](ChartXml& cx, int chart) { cx.SetDimensionScale(chart, 1, 1, 1, false); }},
    {"SetXYDimensionSameScale",
     [](ChartXml& cx, int chart) { cx.SetXYDimensionSameScale(chart, 1.0); }},
    {"AddAxis", [](ChartXml& cx, int chart) { cx.AddAxis(chart, 1, 1, false); }},
    {"AddMajorTicks",
     [](ChartXml& cx, int chart) { cx.AddMajorTicks(chart, 1, 1, false, 1, 1, false, 1); }},
    {"AddMinorTicks", [](ChartXml& cx, int chart) { cx.AddMinorTicks(chart, 1, 1, false, 1, 1); }},
    {"AddGuide", [](ChartXml& cx, int chart) { cx.AddGuide(chart, 1, 1, 1); }},
    {"AddLegend", [](ChartXml& cx, int chart) { cx.AddLegend(chart, 1, 1); }},
    {"AddLegendTarget", [](ChartXml& cx, int chart) { cx.AddLegendTarget(chart, 1, 1, 1, 1); }},
    {"AddLegendTargetEx", [](ChartXml& cx, int chart) { cx.AddLegendTargetEx(chart, 1, 1, 1, 1); }},
    {"AddXReferenceLine", [](ChartXml& cx, int chart) { cx.AddXReferenceLine(chart, 1, 1, 1); }},
    {"AddYReferenceLine", [](ChartXml& cx, int chart) { cx.AddYReferenceLine(chart, 1, 1, 1); }},
    {"SetAxisPercent", [](ChartXml& cx, int chart) { cx.SetAxisPercent(chart, 1, 1); }},
    {"AddYOfXLinear",
     [](ChartXml& cx, int chart) { cx.AddYOfXLinear(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXLogarithmic",
     [](ChartXml& cx, int chart) { cx.AddYOfXLogarithmic(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXInverse",
     [](ChartXml& cx, int chart) { cx.AddYOfXInverse(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXQuadratic",
     [](ChartXml& cx, int chart) { cx.AddYOfXQuadratic(chart, 1, 1, 1.0, 1.0, 1.0, false); }},
    {"AddYOfXCubic",
     [](ChartXml& cx, int chart) { cx.AddYOfXCubic(chart, 1, 1, 1.0, 1.0, 1.0, 1.0, false); }},
    {"AddYOfXCompound",
     [](ChartXml& cx, int chart) { cx.AddYOfXCompound(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXPower",
     [](ChartXml& cx, int chart) { cx.AddYOfXPower(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXS", [](ChartXml& cx, int chart) { cx.AddYOfXS(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXGrowth",
     [](ChartXml& cx, int chart) { cx.AddYOfXGrowth(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXExponential",
     [](ChartXml& cx, int chart) { cx.AddYOfXExponential(chart, 1, 1, 1.0, 1.0, false); }},
    {"AddYOfXLogistic",
     [](ChartXml& cx, int chart) { cx.AddYOfXLogistic(chart, 1, 1, 1.0, 1.0, 1.0, false); }},
    {"AddYOfXWithAB", [](ChartXml& cx, int chart) { cx.AddYOfXWithAB(chart, 1, 1, 1, 1.0, 1.0); }},
    {"AddYFunctionOfX", [](ChartXml& cx, int chart) { cx.AddYFunctionOfX(chart, 1, 1, 1); }},
    {"AddCoordinateFacet", [](ChartXml& cx, int chart) { cx.AddCoordinateFacet(chart, 1); }},
    {"AddCross", [](ChartXml& cx, int chart) { cx.AddCross(chart, 1); }},
    {"AddNest", [](ChartXml& cx, int chart) { cx.AddNest(chart, 1); }},
    {"AddBlend", [](ChartXml& cx, int chart) { cx.AddBlend(chart, 1); }},
    {"AddFacetVariable", [](ChartXml& cx, int chart) { cx.AddFacetVariable(chart, 1, 1, 1); }},
    {"AddTableFacet", [](ChartXml& cx, int chart) { cx.AddTableFacet(chart, 1); }},
    {"AddFacetLabeling", [](ChartXml& cx, int chart) { cx.AddFacetLabeling(chart, 1); }},
    {"SetFacetLabelingCellAspect",
     [](ChartXml& cx, int chart) { cx.SetFacetLabelingCellAspect(chart, 1, 1.0); }},
    {"AddFacetLabel", [](ChartXml& cx, int chart) { cx.AddFacetLabel(chart, 1, 1, 1, false); }},
    {"GetFacetLabel", [](ChartXml& cx, int chart) { cx.GetFacetLabel(chart, 1, 1); }},
    {"SetFacetLabelCellStyle",
     [](ChartXml& cx, int chart) { cx.SetFacetLabelCellStyle(chart, 1, 1); }},
    {"SetFacetLabelGap", [](ChartXml& cx, int chart) { cx.SetFacetLabelGap(chart, 1, 1); }},
    {"SetFacetLabelLevel", [](ChartXml& cx, int chart) { cx.SetFacetLabelLevel(chart, 1, 1); }},
    {"AddFacetStyle", [](ChartXml& cx, int chart) { cx.AddFacetStyle(chart, 1, 1, 1); }},
    {"SetFacetsDifferentScale",
     [](ChartXml& cx, int chart) { cx.SetFacetsDifferentScale(chart, 1); }},
    {"AddMatrixVariable", [](ChartXml& cx, int chart) { cx.AddMatrixVariable(chart, 1); }},
    {"AddOverlayVariable", [](ChartXml& cx, int chart) { cx.AddOverlayVariable(chart, 1, 1); }},
    {"SetDataSource",
     [](ChartXml& cx, int chart) {
       cx.SetDataSource(chart, static_cast<VORN_DataSource*>(nullptr));
     }},
    {"SetDataSource (dictionary)",
     [](ChartXml& cx, int chart) {
       VORN_FortranDictionary* dictionary = nullptr;
       cx.SetDataSource(chart, nullptr, dictionary);
     }},
    {"AddSource", [](ChartXml& cx, int chart) { cx.AddSource(chart); }},
    {"AddVariable", [](ChartXml& cx, int chart) { cx.AddVariable(chart, 1, 1, false); }},
    {"AddLabelingVariable",
     [](ChartXml& cx, int chart) { cx.AddLabelingVariable(chart, 1, 1, false); }},
    {"SetVariable", [](ChartXml& cx, int chart) { cx.SetVariable(chart, 1, 1, false); }},
    {"CopyVariable", [](ChartXml& cx, int chart) { cx.CopyVariable(chart, 1); }},
    {"CreateLogVar", [](ChartXml& cx, int chart) { cx.CreateLogVar(chart, 1); }},
    {"SetVariableCategorical",
     [](ChartXml& cx, int chart) { cx.SetVariableCategorical(chart, 1, false); }},
    {"SetVariableFormat", [](ChartXml& cx, int chart) { cx.SetVariableFormat(chart, 1, 5); }},
    {"SetVariableLabel", [](ChartXml& cx, int chart) { cx.SetVariableLabel(chart, 1, 1); }},
    {"SetVariableName", [](ChartXml& cx, int chart) { cx.SetVariableName(chart, 1, 1); }},
    {"SetVariableValue", [](ChartXml& cx, int chart) { cx.SetVariableValue(chart, 1, 1); }},
    {"GetVariableFormat", [](ChartXml& cx, int chart) { cx.GetVariableFormat(chart, 1); }},
    {"BeginVariableList", [](ChartXml& cx, int chart) { cx.BeginVariableList(chart); }},
    {"AddToVariableList", [](ChartXml& cx, int chart) { cx.AddToVariableList(chart, 1, 1); }},
    {"AddRangeVariable", [](ChartXml& cx, int chart) { cx.AddRangeVariable(chart, 1); }},
    {"AddRelabel", [](ChartXml& cx, int chart) { cx.AddRelabel(chart, 1, 1, 1); }},
    {"AddRelabels", [](ChartXml& cx, int chart) { cx.AddRelabels(chart, 1, 1); }},
    {"AddRow", [](ChartXml& cx, int chart) { cx.AddRow(chart, 1); }},
    {"AddDataValue", [](ChartXml& cx, int chart) { cx.AddDataValue(chart, 1, 1, 1); }},
    {"AddDoubleDataValue",
     [](ChartXml& cx, int chart) { cx.AddDoubleDataValue(chart, 1, 1, 1.0); }},
    {"AllDataDoubles", [](ChartXml& cx, int chart) { cx.AllDataDoubles(chart); }},
    {"SetFatalError", [](ChartXml& cx, int chart) { cx.SetFatalError(chart); }},
    {"AddFrame", [](ChartXml& cx, int chart) { cx.AddFrame(chart, 1, 1); }},
    {"AddElement", [](ChartXml& cx, int chart) { cx.AddElement(chart, 1, 1, 1); }},
    {"AddElementGroup", [](ChartXml& cx, int chart) { cx.AddElementGroup(chart, 1, 1); }},
    {"AddBinnedElement",
     [](ChartXml& cx, int chart) { cx.AddBinnedElement(chart, 1, 1, 1, 1, 1); }},
    {"AddPosition", [](ChartXml& cx, int chart) { cx.AddPosition(chart, 1); }},
    {"AddX", [](ChartXml& cx, int chart) { cx.AddX(chart, 1, 1); }},
    {"AddY", [](ChartXml& cx, int chart) { cx.AddY(chart, 1, 1); }},
    {"AddZ", [](ChartXml& cx, int chart) { cx.AddZ(chart, 1, 1); }},
    {"AddR", [](ChartXml& cx, int chart) { cx.AddR(chart, 1, 1); }},
    {"AddTheta", [](ChartXml& cx, int chart) { cx.AddTheta(chart, 1, 1); }},
    {"AddPhi", [](ChartXml& cx, int chart) { cx.AddPhi(chart, 1, 1); }},
    {"AddColor", [](ChartXml& cx, int chart) { cx.AddColor(chart, 1, 1); }},
    {"AddSplit", [](ChartXml& cx, int chart) { cx.AddSplit(chart, 1, 1); }},
    {"AddStyleBy", [](ChartXml& cx, int chart) { cx.AddStyleBy(chart, 1, 1); }},
    {"AddStyleByColor", [](ChartXml& cx, int chart) { cx.AddStyleByColor(chart, 1, 1); }},
    {"AddStyleByPattern", [](ChartXml& cx, int chart) { cx.AddStyleByPattern(chart, 1, 1); }},
    {"AddStyleByColorAndPattern",
     [](ChartXml& cx, int chart) { cx.AddStyleByColorAndPattern(chart, 1, 1); }},
    {"AddLabel", [](ChartXml& cx, int chart) { cx.AddLabel(chart, 1, 1, 1); }},
    {"AddLabeling", [](ChartXml& cx, int chart) { cx.AddLabeling(chart, 1, 1); }},
    {"AddLabelingSuffix", [](ChartXml& cx, int chart) { cx.AddLabelingSuffix(chart, 1, 1, 1); }},
    {"AddLabelingAggregate",
     [](ChartXml& cx, int chart) { cx.AddLabelingAggregate(chart, 1, 1, false, 1, 1, 1); }},
    {"AddStack", [](ChartXml& cx, int chart) { cx.AddStack(chart, 1, false); }},
    {"SetElementDot", [](ChartXml& cx, int chart) { cx.SetElementDot(chart, 1, 1); }},
    {"SetElementName", [](ChartXml& cx, int chart) { cx.SetElementName(chart, 1, 1); }},
    {"SetElementPositionModifier",
     [](ChartXml& cx, int chart) { cx.SetElementPositionModifier(chart, 1, 1); }},
    {"SetLabelCollisionHandling",
     [](ChartXml& cx, int chart) { cx.SetLabelCollisionHandling(chart, 1, 1); }},
    {"SetDisplayOverlappingLabels",
     [](ChartXml& cx, int chart) { cx.SetDisplayOverlappingLabels(chart, 1, false); }},
    {"SetFrameClipping", [](ChartXml& cx, int chart) { cx.SetFrameClipping(chart, 1, false); }},
    {"AddDomain", [](ChartXml& cx, int chart) { cx.AddDomain(chart, false); }},
    {"AddDomainReference", [](ChartXml& cx, int chart) { cx.AddDomainReference(chart, 1, 1); }},
    {"AddIntervalEx", [](ChartXml& cx, int chart) { cx.AddIntervalEx(chart, 1, 1, 1); }},
    {"AddSort", [](ChartXml& cx, int chart) { cx.AddSort(chart, 1); }},
    {"SetDomainDescending",
     [](ChartXml& cx, int chart) { cx.SetDomainDescending(chart, 1, false); }},
    {"SetSortDescending", [](ChartXml& cx, int chart) { cx.SetSortDescending(chart, 1, false); }},
    {"AddSimpleSort", [](ChartXml& cx, int chart) { cx.AddSimpleSort(chart, 1); }},
    {"SetSimpleSortMethod", [](ChartXml& cx, int chart) { cx.SetSimpleSortMethod(chart, 1, 1); }},
    {"AddStatisticSort", [](ChartXml& cx, int chart) { cx.AddStatisticSort(chart, 1, 1, 1); }},
    {"AddStatistic", [](ChartXml& cx, int chart) { cx.AddStatistic(chart, 1, 1); }},
    {"AddParam", [](ChartXml& cx, int chart) { cx.AddParam(chart, 1, 1, 1); }},
    {"SetBinWidth", [](ChartXml& cx, int chart) { cx.SetBinWidth(chart, 1.0); }},
    {"SetSummaryFunction",
     [](ChartXml& cx, int chart) { cx.SetSummaryFunction(chart, 1, 1, 1.0, 1.0); }},
    {"AddAggregate", [](ChartXml& cx, int chart) { cx.AddAggregate(chart, 1, 1, false, 1, 1, 1); }},
    {"AddWeightAggregate", [](ChartXml& cx, int chart) { cx.AddWeightAggregate(chart, 1, 1, 1); }},
    {"SetAggregateExternal", [](ChartXml& cx, int chart) { cx.SetAggregateExternal(chart, 1); }},
    {"AddNumberFormat", [](ChartXml& cx, int chart) { cx.AddNumberFormat(chart, 1); }},
    {"SetNumberFormatPrefix",
     [](ChartXml& cx, int chart) { cx.SetNumberFormatPrefix(chart, 1, 1); }},
    {"SetNumberFormatMaxFractionDigits",
     [](ChartXml& cx, int chart) { cx.SetNumberFormatMaxFractionDigits(chart, 1, 1); }},
    {"SetNumberFormatMinFractionDigits",
     [](ChartXml& cx, int chart) { cx.SetNumberFormatMinFractionDigits(chart, 1, 1); }},
    {"SplitList", [](ChartXml& cx, int chart) { cx.SplitList(chart, 1, 0, nullptr, "", 0, 0); }},
    {"AddWeightVariable", [](ChartXml& cx, int chart) { cx.AddWeightVariable(chart, 1, 1); }},
    {"GetVariableLabel", [](ChartXml& cx, int chart) { cx.GetVariableLabel(chart, 1); }},
};

// KillChart and the per-case data calls resolve their chart quietly;
// SetNumberFormatMinFractionDigits does nothing at all, whatever it names.
const std::set<std::string> kQuiet = {"KillChart", "AddRow", "AddDataValue", "AddDoubleDataValue",
                                      "SetNumberFormatMinFractionDigits"};

using ChartHandles = cxtest::FacadeTest;

TEST_F(ChartHandles, EveryOperationOnAnUnknownChartReportsItUnlessItResolvesQuietly) {
  // Handle 0 once was a chart; 5 is past the next handle; -7 is negative.
  ASSERT_EQ(cx->KillChart(newChart()), 0);
  for (const int handle : {-7, 0, 5}) {
    for (const ChartOperation& operation : kOperations) {
      cxh_clear_reports();
      operation.call(*cx, handle);
      const std::vector<std::string> said = cxtest::messages();
      if (kQuiet.count(operation.name) != 0) {
        EXPECT_TRUE(said.empty()) << operation.name << "(" << handle << ") said " << said.front();
        continue;
      }
      bool named = false;
      for (const std::string& message : said) {
        named = named || (message.find("chart") != std::string::npos &&
                          message.find(std::to_string(handle)) != std::string::npos);
      }
      EXPECT_TRUE(named) << operation.name << "(" << handle << ") did not report the unknown chart"
                         << (said.empty() ? std::string(" (said nothing)")
                                          : "; said " + said.front());
    }
  }
}

}  // namespace
