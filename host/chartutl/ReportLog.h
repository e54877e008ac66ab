// The process-wide report and debug logs of the reference host (internal).
// Every host library writes its reports here; chartxml_host.h reads them.
#ifndef CHARTXML_HOST_CHARTUTL_REPORTLOG_H_
#define CHARTXML_HOST_CHARTUTL_REPORTLOG_H_

#include <deque>
#include <string>
#include <string_view>

namespace cxhost {

// Appends a report (UTF-8) and, unless quiet, echoes it to standard error as
// "chartxml: SOURCE:LINE: MESSAGE". The oldest entries are dropped beyond
// 100,000.
void report(std::string_view message, std::string_view source, int line);

// Appends a debug line. The oldest entries are dropped beyond 100,000.
void debug(std::string_view line);

// The logs themselves, oldest first, for the C API that reads them. Entries
// keep their address until dropped, so their c_str() can be handed out.
struct ReportEntry {
  std::string message;
  std::string source;
  int line;
};
std::deque<ReportEntry>& reportLog();
std::deque<std::string>& debugLog();

}  // namespace cxhost

#endif  // CHARTXML_HOST_CHARTUTL_REPORTLOG_H_
