// The facade's per-case data path. Charts resolve quietly here: these calls
// come once per case and variable, and a bad handle must cost no message.
#include "facade/Forward.h"

using chartxml::kFacadeSource;

int ChartXml::AddRow(int chart, int /*source*/) {
  return state_->guardChart(chart, __LINE__, [&] {
    Chart* target = state_->resolveQuietly(chart);
    return target == nullptr ? -1 : target->AddRow();
  });
}

int ChartXml::AddDataValue(int chart, int /*source*/, int variableHandle, int text) {
  if (text == -1) return -1;  // no value; the chart is not harmed
  return state_->guardChart(chart, __LINE__, [&] {
    Chart* target = state_->resolveQuietly(chart);
    if (target == nullptr) return -1;
    const int result = target->AddDataValue(variableHandle, text);
    if (result == -1) state_->discardChart(chart, *target, variableHandle, __LINE__);
    return result;
  });
}

int ChartXml::AddDoubleDataValue(int chart, int /*source*/, int variableHandle, double value) {
  return state_->guardChart(chart, __LINE__, [&] {
    Chart* target = state_->resolveQuietly(chart);
    if (target == nullptr) return -1;
    const int result = target->AddDoubleDataValue(variableHandle, value);
    if (result == -1) state_->discardChart(chart, *target, variableHandle, __LINE__);
    return result;
  });
}

// A value the feed refused ends the chart; the report says so at the call
// that did it, not later when the procedure wonders where its chart went.
void ChartXml::State::discardChart(int chart, Chart& target, int variableHandle, int line) {
  const std::string which = "chart " + std::to_string(chart) + " discarded: ";
  reportFacade(target.fatalError() ? which + "a data value came after the chart's fatal error"
                                   : which + "handle " + std::to_string(variableHandle) +
                                         " names no data-source variable of the chart",
               line);
  self.KillChart(chart);
}

void ChartXml::State::discardUnfinished(int chart, int line) noexcept {
  // Only a chart that is there is discarded: the out-of-memory may have come
  // while an unknown handle was being reported.
  if (resolveQuietly(chart) == nullptr) return;
  reportSafely([&] {
    reportFacade("chart " + std::to_string(chart) +
                     " discarded: out of memory part-way through an operation",
                 line);
  });
  reportSafely([&] { self.KillChart(chart); });
}

int ChartXml::AllDataDoubles(int chart) {
  state_->forward(chart, __LINE__, [](Chart& c) {
    c.AllDataDoubles();
    return 0;
  });
  return chart;
}

int ChartXml::SetFatalError(int chart) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    c.setFatalError();
    return chart;
  });
}
