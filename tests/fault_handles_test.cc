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

// An operation called on `chart` with the arguments that follow it.
// clang-format off
#define OP(name, ...) \
  ChartOperation{#name, [](ChartXml& cx, int chart) { cx.name(chart __VA_OPT__(, ) __VA_ARGS__); }}
// clang-format on

// Every operation of the facade whose first argument is a chart handle.
const ChartOperation kOperations[] = {
    OP(EndChart),
    OP(KillChart),
    OP(SetLogUnsafe),
    OP(SetChartTemplate, "x"),
    OP(SetChartType, 1),
    OP(CreateChartDescription, 1),
    OP(SetChartDescription, "x"),
    OP(GetXmlBuffer),
    OP(SetProcedure, "x"),
    OP(CopyAttributes, 1, 1),
    OP(AddMeta, 1),
    OP(AddCoordinateTransform, 1, 1),
    OP(AddDimension, 1, 1, 1),
    OP(GetDimension, 1, 1),
    OP(SetDimensionDomain, 1, 1),
    OP(SetDimensionLowerMapping, 1, 1),
    OP(SetDimensionUpperMapping, 1, 1),
    OP(SetDimensionLowerMargin, 1, 1),
    OP(SetDimensionUpperMargin, 1, 1),
    OP(SetDimensionSameRatio, 1, false),
    OP(SetUnionDomain, 1),
    OP(SetDimensionScale, 1, 1, 1, false),
    OP(SetXYDimensionSameScale, 1.0),
    OP(AddAxis, 1, 1, false),
    OP(AddMajorTicks, 1, 1, false, 1, 1, false, 1),
    OP(AddMinorTicks, 1, 1, false, 1, 1),
    OP(AddGuide, 1, 1, 1),
    OP(AddLegend, 1, 1),
    OP(AddLegendTarget, 1, 1, 1, 1),
    OP(AddLegendTargetEx, 1, 1, 1, 1),
    OP(AddXReferenceLine, 1, 1, 1),
    OP(AddYReferenceLine, 1, 1, 1),
    OP(SetAxisPercent, 1, 1),
    OP(AddYOfXLinear, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXLogarithmic, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXInverse, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXQuadratic, 1, 1, 1.0, 1.0, 1.0, false),
    OP(AddYOfXCubic, 1, 1, 1.0, 1.0, 1.0, 1.0, false),
    OP(AddYOfXCompound, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXPower, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXS, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXGrowth, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXExponential, 1, 1, 1.0, 1.0, false),
    OP(AddYOfXLogistic, 1, 1, 1.0, 1.0, 1.0, false),
    OP(AddYOfXWithAB, 1, 1, 1, 1.0, 1.0),
    OP(AddYFunctionOfX, 1, 1, 1),
    OP(AddCoordinateFacet, 1),
    OP(AddCross, 1),
    OP(AddNest, 1),
    OP(AddBlend, 1),
    OP(AddFacetVariable, 1, 1, 1),
    OP(AddTableFacet, 1),
    OP(AddFacetLabeling, 1),
    OP(SetFacetLabelingCellAspect, 1, 1.0),
    OP(AddFacetLabel, 1, 1, 1, false),
    OP(GetFacetLabel, 1, 1),
    OP(SetFacetLabelCellStyle, 1, 1),
    OP(SetFacetLabelGap, 1, 1),
    OP(SetFacetLabelLevel, 1, 1),
    OP(AddFacetStyle, 1, 1, 1),
    OP(SetFacetsDifferentScale, 1),
    OP(AddMatrixVariable, 1),
    OP(AddOverlayVariable, 1, 1),
    OP(SetDataSource, static_cast<VORN_DataSource*>(nullptr)),
    {"SetDataSource (dictionary)",
     [](ChartXml& cx, int chart) {
       VORN_FortranDictionary* dictionary = nullptr;
       cx.SetDataSource(chart, nullptr, dictionary);
     }},
    OP(AddSource),
    OP(AddVariable, 1, 1, false),
    OP(AddLabelingVariable, 1, 1, false),
    OP(SetVariable, 1, 1, false),
    OP(CopyVariable, 1),
    OP(CreateLogVar, 1),
    OP(SetVariableCategorical, 1, false),
    OP(SetVariableFormat, 1, 5),
    OP(SetVariableLabel, 1, 1),
    OP(SetVariableName, 1, 1),
    OP(SetVariableValue, 1, 1),
    OP(GetVariableFormat, 1),
    OP(BeginVariableList),
    OP(AddToVariableList, 1, 1),
    OP(AddRangeVariable, 1),
    OP(AddRelabel, 1, 1, 1),
    OP(AddRelabels, 1, 1),
    OP(AddRow, 1),
    OP(AddDataValue, 1, 1, 1),
    OP(AddDoubleDataValue, 1, 1, 1.0),
    OP(AllDataDoubles),
    OP(SetFatalError),
    OP(AddFrame, 1, 1),
    OP(AddElement, 1, 1, 1),
    OP(AddElementGroup, 1, 1),
    OP(AddBinnedElement, 1, 1, 1, 1, 1),
    OP(AddPosition, 1),
    OP(AddX, 1, 1),
    OP(AddY, 1, 1),
    OP(AddZ, 1, 1),
    OP(AddR, 1, 1),
    OP(AddTheta, 1, 1),
    OP(AddPhi, 1, 1),
    OP(AddColor, 1, 1),
    OP(AddSplit, 1, 1),
    OP(AddStyleBy, 1, 1),
    OP(AddStyleByColor, 1, 1),
    OP(AddStyleByPattern, 1, 1),
    OP(AddStyleByColorAndPattern, 1, 1),
    OP(AddLabel, 1, 1, 1),
    OP(AddLabeling, 1, 1),
    OP(AddLabelingSuffix, 1, 1, 1),
    OP(AddLabelingAggregate, 1, 1, false, 1, 1, 1),
    OP(AddStack, 1, false),
    OP(SetElementDot, 1, 1),
    OP(SetElementName, 1, 1),
    OP(SetElementPositionModifier, 1, 1),
    OP(SetLabelCollisionHandling, 1, 1),
    OP(SetDisplayOverlappingLabels, 1, false),
    OP(SetFrameClipping, 1, false),
    OP(AddDomain, false),
    OP(AddDomainReference, 1, 1),
    OP(AddIntervalEx, 1, 1, 1),
    OP(AddSort, 1),
    OP(SetDomainDescending, 1, false),
    OP(SetSortDescending, 1, false),
    OP(AddSimpleSort, 1),
    OP(SetSimpleSortMethod, 1, 1),
    OP(AddStatisticSort, 1, 1, 1),
    OP(AddStatistic, 1, 1),
    OP(AddParam, 1, 1, 1),
    OP(SetBinWidth, 1.0),
    OP(SetSummaryFunction, 1, 1, 1.0, 1.0),
    OP(AddAggregate, 1, 1, false, 1, 1, 1),
    OP(AddWeightAggregate, 1, 1, 1),
    OP(SetAggregateExternal, 1),
    OP(AddNumberFormat, 1),
    OP(SetNumberFormatPrefix, 1, 1),
    OP(SetNumberFormatMaxFractionDigits, 1, 1),
    OP(SetNumberFormatMinFractionDigits, 1, 1),
    OP(SplitList, 1, 0, nullptr, "", 0, 0),
    OP(AddWeightVariable, 1, 1),
    OP(GetVariableLabel, 1)};
#undef OP

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
