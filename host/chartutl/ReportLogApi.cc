// The report and debug logs as the host C API gives them.
#include <cstddef>

#include "chartutl/ReportLog.h"
#include "chartxml/chartxml_host.h"

namespace {

template <typename Log>
bool inRange(const Log& log, int i) {
  return i >= 0 && static_cast<std::size_t>(i) < log.size();
}

}  // namespace

extern "C" {

int cxh_report_count(void) {
  return static_cast<int>(cxhost::reportLog().size());
}

const char* cxh_report_message(int i) {
  const auto& log = cxhost::reportLog();
  return inRange(log, i) ? log[i].message.c_str() : nullptr;
}

const char* cxh_report_source(int i) {
  const auto& log = cxhost::reportLog();
  return inRange(log, i) ? log[i].source.c_str() : nullptr;
}

int cxh_report_line(int i) {
  const auto& log = cxhost::reportLog();
  return inRange(log, i) ? log[i].line : -1;
}

void cxh_clear_reports(void) {
  cxhost::reportLog().clear();
}

int cxh_debug_count(void) {
  return static_cast<int>(cxhost::debugLog().size());
}

const char* cxh_debug_line(int i) {
  const auto& log = cxhost::debugLog();
  return inRange(log, i) ? log[i].c_str() : nullptr;
}

void cxh_clear_debug(void) {
  cxhost::debugLog().clear();
}

}  // extern "C"
