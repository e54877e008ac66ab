// The facade's forwarding pattern: resolve the chart, call the chart's
// operation, and make sure that no exception leaves the facade.
#ifndef CHARTXML_FACADE_FORWARD_H_
#define CHARTXML_FACADE_FORWARD_H_

#include <exception>
#include <new>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/XMLException.hpp>

#include "chart/Chart.h"
#include "chartxml/ChartXml.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/Platform.h"
#include "common/SourceNames.h"
#include "facade/ChartXmlState.h"

// Reports through `report` unless that too fails: a report that cannot be
// made (memory ran out again) must not throw out of a public operation.
template <class Report>
void reportSafely(Report report) noexcept {
  try {
    report();
  } catch (...) {
  }
}

template <class Result, class Op>
Result ChartXml::State::guard(Result failure, int line, Op op) {
  try {
    return op();
  } catch (const VornGoToCaller&) {
    throw;  // the host's own unwinding: it must reach the host
  } catch (const ChartException& e) {
    reportSafely([&] { errorHandler->error(e); });
  } catch (const xercesc::DOMException& e) {
    reportSafely([&] { errorHandler->error(e); });
  } catch (const xercesc::XMLException& e) {
    reportSafely([&] { errorHandler->error(e); });
  } catch (const std::bad_alloc&) {
    reportSafely([&] { reportFacade("out of memory", line); });
  } catch (const xercesc::OutOfMemoryException&) {
    reportSafely([&] { reportFacade("out of memory", line); });
  } catch (const std::exception& e) {
    reportSafely([&] { reportFacade(std::string("internal error - ") + e.what(), line); });
  } catch (...) {
    reportSafely([&] { reportFacade("internal error", line); });
  }
  return failure;
}

template <class Op>
int ChartXml::State::guardChart(int chart, int line, Op op) {
  bool outOfMemory = false;
  const int result = guard(-1, line, [&]() -> int {
    try {
      return op();
    } catch (const std::bad_alloc&) {
      outOfMemory = true;
      throw;
    } catch (const xercesc::OutOfMemoryException&) {
      outOfMemory = true;
      throw;
    }
  });
  if (outOfMemory) discardUnfinished(chart, line);
  return result;
}

template <class Op>
int ChartXml::State::forward(int chart, int line, Op op) {
  return guardChart(chart, line, [&]() -> int {
    Chart* target =
        self.getValidChart(chart, chartxml::kFacadeSource, static_cast<unsigned>(line), true);
    return target == nullptr ? -1 : op(*target);
  });
}

inline Chart* ChartXml::State::resolveQuietly(int chart) {
  if (chart == lastChartHandle) return lastChart;
  return self.getValidChart(chart, chartxml::kFacadeSource, 0, false);
}

#endif  // CHARTXML_FACADE_FORWARD_H_
