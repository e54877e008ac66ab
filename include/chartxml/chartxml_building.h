/* What the chart library offers its host in C, beside the CX_ entry points:
 * a look at a chart while it is still being built. Implemented by
 * libchartxml (the host's own C API is chartxml_host.h).
 *
 * Threads: one at a time, as every entry point. Ownership: a returned text
 * belongs to the library and stays valid until the next call of the same
 * function or the end of the instance. */
#ifndef CHARTXML_CHARTXML_BUILDING_H_
#define CHARTXML_CHARTXML_BUILDING_H_

#include <stdint.h>

#include "chartxml/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The document of a chart still being built, as GetXmlBuffer gives it ("" if
 * there is no such chart). */
CHARTXML_EXPORT const char* cxh_chart_xml(int64_t chart);

#ifdef __cplusplus
}
#endif

#endif /* CHARTXML_CHARTXML_BUILDING_H_ */
