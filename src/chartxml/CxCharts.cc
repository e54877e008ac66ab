// Entry points of the chart's life, its variables and its data rows.
#include "chartxml/cx.h"

#include "chartxml/ChartXml.h"
#include "chartxml/CxArguments.h"

using chartxml::cx::call;
using chartxml::cx::guarded;
using chartxml::cx::integer;
using chartxml::cx::run;
using chartxml::cx::Text;

extern "C" {

// ---- Charts --------------------------------------------------------------

int64_t CX_TERMINATE(void) {
  // Not through run(): that would make an instance only to destroy it.
  return guarded(__func__, [] { return ChartXml::Terminate() != nullptr ? -1 : 0; });
}

int64_t CX_ENDCHART(const int64_t* chart) {
  return call(__func__, &ChartXml::EndChart, chart);
}

int64_t CX_KILLCHART(const int64_t* chart) {
  return call(__func__, &ChartXml::KillChart, chart);
}

int64_t CX_KILLCHARTS(void) {
  return call(__func__, &ChartXml::KillCharts);
}

int64_t CX_SETLOGUNSAFE(const int64_t* chart) {
  return call(__func__, &ChartXml::SetLogUnsafe, chart);
}

int64_t CX_SETCHARTTEMPLATE(const int64_t* chart, const char* name, const int64_t* nameLength) {
  return call(__func__, &ChartXml::SetChartTemplate, chart, Text{name, nameLength});
}

int64_t CX_SETCHARTTYPE(const int64_t* chart, const int64_t* kind) {
  return call(__func__, &ChartXml::SetChartType, chart, kind);
}

int64_t CX_CREATECHARTDESCRIPTION(const int64_t* chart, const int64_t* text) {
  return call(__func__, &ChartXml::CreateChartDescription, chart, text);
}

int64_t CX_SETCHARTDESCRIPTION(const int64_t* chart, const char* text, const int64_t* textLength) {
  const Text description{text, textLength};
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        const int handle = cx.NStringNoTranslate(description.str());
        return handle < 0 ? handle : cx.CreateChartDescription(integer(chart), handle);
      },
      chart, description);
}

int64_t CX_DUMPXML(const void*, const void*, const void*) {
  return -1;
}

int64_t CX_STATISTICSSUMMARY(void) {
  return -1;
}

// ---- Data source and variables ---------------------------------------------

int64_t CX_ADDSOURCE(const int64_t* chart) {
  return call(__func__, &ChartXml::AddSource, chart);
}

int64_t CX_ADDVARIABLE(const int64_t* chart, const int64_t* source, const int64_t* variable,
                       const int64_t* categorical) {
  return call(__func__, &ChartXml::AddVariable, chart, source, variable, categorical);
}

int64_t CX_ADDLABELINGVARIABLE(const int64_t* chart, const int64_t* source, const int64_t* variable,
                               const int64_t* categorical) {
  return call(__func__, &ChartXml::AddLabelingVariable, chart, source, variable, categorical);
}

int64_t CX_ADDWEIGHTVARIABLE(const int64_t* chart, const int64_t* source, const int64_t* variable) {
  return call(__func__, &ChartXml::AddWeightVariable, chart, source, variable);
}

int64_t CX_SETVARIABLE(const int64_t* chart, const int64_t* variableHandle, const int64_t* variable,
                       const int64_t* categorical) {
  return call(__func__, &ChartXml::SetVariable, chart, variableHandle, variable, categorical);
}

int64_t CX_CREATELOGVAR(const int64_t* chart, const int64_t* variableHandle) {
  return call(__func__, &ChartXml::CreateLogVar, chart, variableHandle);
}

int64_t CX_SETVARIABLECATEGORICAL(const int64_t* chart, const int64_t* variableHandle,
                                  const int64_t* categorical) {
  return call(__func__, &ChartXml::SetVariableCategorical, chart, variableHandle, categorical);
}

int64_t CX_SETVARIABLEFORMAT(const int64_t* chart, const int64_t* variableHandle,
                             const int64_t* formatCode) {
  return call(__func__, &ChartXml::SetVariableFormat, chart, variableHandle, formatCode);
}

int64_t CX_GETVARIABLEFORMAT(const int64_t* chart, const int64_t* variable) {
  return call(__func__, &ChartXml::GetVariableFormat, chart, variable);
}

int64_t CX_GETVARIABLELABEL(const int64_t* chart, const int64_t* variableHandle) {
  return call(__func__, &ChartXml::GetVariableLabel, chart, variableHandle);
}

int64_t CX_SETVARIABLELABEL(const int64_t* chart, const int64_t* variableHandle,
                            const int64_t* text) {
  return call(__func__, &ChartXml::SetVariableLabel, chart, variableHandle, text);
}

int64_t CX_SETVARIABLENAME(const int64_t* chart, const int64_t* variableHandle,
                           const int64_t* text) {
  return call(__func__, &ChartXml::SetVariableName, chart, variableHandle, text);
}

int64_t CX_SETVARIABLEVALUE(const int64_t* chart, const int64_t* variableHandle,
                            const int64_t* text) {
  return call(__func__, &ChartXml::SetVariableValue, chart, variableHandle, text);
}

int64_t CX_BEGINVARIABLELIST(const int64_t* chart) {
  return call(__func__, &ChartXml::BeginVariableList, chart);
}

int64_t CX_ADDTOVARIABLELIST(const int64_t* chart, const int64_t* list,
                             const int64_t* variableHandle) {
  return call(__func__, &ChartXml::AddToVariableList, chart, list, variableHandle);
}

int64_t CX_ADDRANGEVARIABLE(const int64_t* chart, const int64_t* list) {
  return call(__func__, &ChartXml::AddRangeVariable, chart, list);
}

int64_t CX_ADDOVERLAYVARIABLE(const int64_t* chart, const int64_t* list, const int64_t* role) {
  return call(__func__, &ChartXml::AddOverlayVariable, chart, list, role);
}

int64_t CX_ADDMATRIXVARIABLE(const int64_t* chart, const int64_t* list) {
  return call(__func__, &ChartXml::AddMatrixVariable, chart, list);
}

int64_t CX_ADDRELABEL(const int64_t* chart, const int64_t* variableHandle, const int64_t* from,
                      const int64_t* to) {
  return call(__func__, &ChartXml::AddRelabel, chart, variableHandle, from, to);
}

int64_t CX_ADDRELABELS(const int64_t* chart, const int64_t* variableHandle,
                       const int64_t* variable) {
  return call(__func__, &ChartXml::AddRelabels, chart, variableHandle, variable);
}

// ---- Data rows -------------------------------------------------------------

int64_t CX_ADDROW(const int64_t* chart, const int64_t* source) {
  return call(__func__, &ChartXml::AddRow, chart, source);
}

int64_t CX_ADDDATAVALUE(const int64_t* chart, const int64_t* source, const int64_t* variableHandle,
                        const int64_t* text) {
  return call(__func__, &ChartXml::AddDataValue, chart, source, variableHandle, text);
}

int64_t CX_ADDDOUBLEDATAVALUE(const int64_t* chart, const int64_t* source,
                              const int64_t* variableHandle, const double* value) {
  return call(__func__, &ChartXml::AddDoubleDataValue, chart, source, variableHandle, value);
}

int64_t CX_ALLDATADOUBLES(const int64_t* chart) {
  return call(__func__, &ChartXml::AllDataDoubles, chart);
}

}  // extern "C"
