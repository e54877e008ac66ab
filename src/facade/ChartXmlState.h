// What the one ChartXml instance holds: kept out of the public header, so
// that callers see its operations only and a change here rebuilds the
// library alone.
#ifndef CHARTXML_FACADE_CHARTXMLSTATE_H_
#define CHARTXML_FACADE_CHARTXMLSTATE_H_

#include <memory>
#include <string>
#include <vector>

#include <xercesc/validators/schema/SchemaValidator.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartTranscoder.h"
#include "chartxml/host/FacSTDictionary.h"
#include "chartxml/host/VORN_DataSource.h"
#include "facade/ChartRegistry.h"

namespace chartxml {

// The chart resolved last, held outside State so that the flat entry points
// read it without a call. There is one instance at a time; its State keeps
// this up to date (and clears it when it is made).
struct ResolvedChart {
  int handle = -1;
  Chart* chart = nullptr;
};
inline ResolvedChart lastResolved;

}  // namespace chartxml

struct ChartXml::State {
  explicit State(ChartXml& owner) : self(owner) { chartxml::lastResolved = {}; }
  ~State() { chartxml::lastResolved = {}; }
  State(const State&) = delete;
  State& operator=(const State&) = delete;

  // The per-case resolution: the cached chart, else a quiet look-up.
  // Defined in facade/Forward.h.
  Chart* resolveQuietly(int chart);
  // Resolves the chart (reporting) and runs op(chart) under guard; -1 when the
  // chart does not resolve. Defined in facade/Forward.h.
  template <class Op>
  int forward(int chart, int line, Op op);
  // Runs op(); an exception becomes a report and `failure`.
  template <class Result, class Op>
  Result guard(Result failure, int line, Op op);
  // guard(-1, line, op) for an operation on `chart`; when memory runs out
  // part-way, the chart is discarded (reported): it may hold half an element
  // or half a row, and must never be sent. Defined in facade/Forward.h.
  template <class Op>
  int guardChart(int chart, int line, Op op);
  // Reports that `chart` was discarded after running out of memory, and
  // removes it; never throws.
  void discardUnfinished(int chart, int line) noexcept;

  void reportFacade(const std::string& message, int line);
  // A procedure's variable number as a column index (unchanged without a
  // procedure dictionary); -1 (reported) when out of range.
  int getVariableIndex(int variable);
  // The instance data source's column, checked: null (reported) when there is
  // no data source or the index is out of range.
  const VORN_Variable* columnOf(int variable, int line);
  // A new string handle holding `text` (UTF-8, as the formatter writes).
  int addFormatted(const std::string& text);
  void releaseIfEmpty();
  // Clears the strings and lets go of the data source.
  void releaseShared();
  // Reports why a data value ended `chart` and removes it.
  void discardChart(int chart, Chart& target, int variableHandle, int line);
  ChartTranscoder* createOLangTranscoder();
  ChartTranscoder* createLocalTranscoder();
  // Removes a chart from the registry (and from the resolution cache).
  void eraseChart(int chart);

  ChartXml& self;
  int nextHandle = 0;
  // The chart resolved last: per-case calls name the same chart again and
  // again, and skip the registry look-up. Cleared whenever a chart goes.
  int& lastChartHandle = chartxml::lastResolved.handle;
  Chart*& lastChart = chartxml::lastResolved.chart;
  std::unique_ptr<xercesc::SchemaValidator> validator;
  std::unique_ptr<ChartStringHandler> stringHandler;
  std::unique_ptr<chartxml::ChartRegistry> charts = std::make_unique<chartxml::ChartRegistry>();
  std::unique_ptr<FacSTDictionary> dictionary;
  VORN_DataSource* dataSource = nullptr;
  std::unique_ptr<ProcedureDataSource> ownedDataSource;
  std::unique_ptr<ChartErrorHandler> errorHandler;
  std::unique_ptr<ChartTranscoder> olangTranscoder;
  std::unique_ptr<ChartTranscoder> localTranscoder;
  std::vector<int> tsTexts;  // cell texts made by ToTS, released with the instance
  std::string procedureName;
  std::string procedureTable;
  bool warningShown = false;
  bool platformReady = false;
};

#endif  // CHARTXML_FACADE_CHARTXMLSTATE_H_
