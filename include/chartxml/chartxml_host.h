/* The reference host's C API: settings, the report and debug logs, data
 * sources and the charts the host has been sent.
 *
 * Rules:
 * 1. Settings made here win over the environment (CHARTXML_LANG,
 *    CHARTXML_CODEPAGE, CHARTXML_STRINGS, CHARTXML_OUTPUT, CHARTXML_QUIET),
 *    which wins over the built-in defaults. NULL restores the default.
 *    Settings that the library reads when its instance is made (language,
 *    code page, string tables) take effect for the next instance.
 * 2. Returned const char* stay valid until the next call that clears or
 *    changes that list or setting.
 * 3. Texts are UTF-8.
 * 4. One thread: none of these functions locks.
 */
#ifndef CHARTXML_CHARTXML_HOST_H_
#define CHARTXML_CHARTXML_HOST_H_

#include <stdint.h>

#include "chartxml/export.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Settings. */
CHARTXML_EXPORT void cxh_set_language(const char* code);   /* "en", "ja", "zh-tw", ... */
CHARTXML_EXPORT void cxh_set_string_tables(const char* dir);
CHARTXML_EXPORT void cxh_set_code_page(const char* name);  /* the default multibyte code page */
CHARTXML_EXPORT void cxh_set_bootstrapping(int on);
CHARTXML_EXPORT void cxh_set_quiet(int on); /* 1: reports are not echoed to standard error */

/* Reports: every ChartException and TsError, oldest first; the most recent
 * 100,000 are kept. */
CHARTXML_EXPORT int cxh_report_count(void);
CHARTXML_EXPORT const char* cxh_report_message(int i); /* NULL when i is out of range */
CHARTXML_EXPORT const char* cxh_report_source(int i);  /* e.g. "backend/chartxml/src/chart" */
CHARTXML_EXPORT int cxh_report_line(int i);            /* -1 when i is out of range */
CHARTXML_EXPORT void cxh_clear_reports(void);

/* Debug lines written through ChartBase::printDebugInfo; the most recent
 * 100,000 are kept. */
CHARTXML_EXPORT int cxh_debug_count(void);
CHARTXML_EXPORT const char* cxh_debug_line(int i); /* NULL when i is out of range */
CHARTXML_EXPORT void cxh_clear_debug(void);

/* The document of a chart still being built, as GetXmlBuffer gives it ("" if
 * there is no such chart). Provided by libchartxml. */
CHARTXML_EXPORT const char* cxh_chart_xml(int64_t chart);

#ifdef __cplusplus
}
#endif

#endif /* CHARTXML_CHARTXML_HOST_H_ */
