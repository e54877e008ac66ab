// Entry points of the chart's life, its variables and its data rows.
#include "chartxml/cx.h"

#include "chartxml/ChartXml.h"
#include "facade/CxArguments.h"

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

// ---- Data rows -------------------------------------------------------------

}  // extern "C"
