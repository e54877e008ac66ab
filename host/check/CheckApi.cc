// The document-check part of the host C API (chartxml_host.h).
#include <string>

#include "chartutl/ReportLog.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/DocumentCheck.h"

extern "C" {

int cxh_check_xml(const char* xml, int use_schema) {
  if (xml == nullptr) return -1;
  try {
    cxhost::CheckOptions options;
    if (use_schema != 0) options.schemaPath = cxhost::shippedSchemaPath();
    const auto findings = cxhost::checkChartDocument(xml, options);
    for (const cxhost::CheckFinding& finding : findings) {
      cxhost::report(std::to_string(finding.line) + ":" + std::to_string(finding.column) + ": " +
                         finding.message,
                     "host/check", __LINE__);
    }
    return static_cast<int>(findings.size());
  } catch (...) {
    // Out of memory reporting: the document counts as failed.
    return 1;
  }
}

}  // extern "C"
