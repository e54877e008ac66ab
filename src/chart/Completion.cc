// Ending a chart: the style elements kept aside while the chart was built join
// the document.
#include <xercesc/dom/DOMException.hpp>

#include "chart/Chart.h"
#include "chartxml/host/Platform.h"
#include "common/SourceNames.h"

using xercesc::DOMElement;

int Chart::attachStyles() {
  try {
    DOMElement* top = root();
    top->appendChild(styleContainer_);
    if (defaultStyleCycle_ != nullptr) top->appendChild(defaultStyleCycle_);
    top->appendChild(repositoryStyleCycle_);
  } catch (const xercesc::DOMException& e) {
    errors().error(e);
    return -1;
  } catch (...) {
    report("add styles error", chartxml::line::kAddStylesError);
    return -1;
  }
  return 0;
}

int Chart::EndChart() {
  if (QBOOTSTRAPPING()) {
    printDebugInfo("endChart - Bootstrapping");
    return -1;
  }
  if (fatalError_) {
    printDebugInfo("endChart - Fatal Error");
    return -1;
  }
  printDebugInfo("endChart - Start");
  const int status = attachStyles();
  printDebugInfo("endChart - Final");
  return status;
}
