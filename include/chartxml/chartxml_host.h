/** \file
 * The reference host's C API: settings, the report and debug logs, data
 * sources and the charts the host has been sent.
 *
 * Rules:
 * 1. Settings made here win over the environment (CHARTXML_LANG,
 *    CHARTXML_CODEPAGE, CHARTXML_STRINGS, CHARTXML_OUTPUT, CHARTXML_QUIET,
 *    CHARTXML_VALIDATE),
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
CHARTXML_HOST_EXPORT void cxh_set_language(const char* code); /**< "en", "ja", "zh-tw", ... */
/** The folder of the string tables (one folder per language); NULL: CHARTXML_STRINGS, else those
 * of the install tree the host library was loaded from (or of the source tree). A folder without
 * them is reported, once, when the library loads its texts. */
CHARTXML_HOST_EXPORT void cxh_set_string_tables(const char* dir);
/** The default multibyte code page. */
CHARTXML_HOST_EXPORT void cxh_set_code_page(const char* name);
/** 1: the host is bootstrapping, and charts are not sent: ending one sends nothing and returns -1.
 * Off by default. */
CHARTXML_HOST_EXPORT void cxh_set_bootstrapping(int on);
CHARTXML_HOST_EXPORT void cxh_set_quiet(int on); /**< 1: reports are not echoed to standard error */
/** 1: every chart sent is checked first (cxh_check_xml with the schema); a
 * document with a finding is refused: each finding is reported, the chart is
 * neither kept nor written and the send fails. Off by default. */
CHARTXML_HOST_EXPORT void cxh_set_validate(int on);
/** Where sent charts are written (chart-NNNN.xml and chart-NNNN.SOURCE.csv,
 * numbered after the highest chart number already in the folder);
 * NULL: keep them in memory only. */
CHARTXML_HOST_EXPORT void cxh_set_output_dir(const char* dir);

/** Data sources. cxh_open_csv reads PATH (RFC 4180: a header row of variable
 * names, one row per case; fields separated by ',', ';' or tab, whichever
 * splits the header line into the most fields, ',' then ';' on a tie) and,
 * when it exists, PATH.dict.json beside it (labels, display formats,
 * measurement levels, value labels, missing values). The encoding is the
 * byte order mark's (UTF-8, UTF-16LE, UTF-16BE), else the code page
 * (cxh_set_code_page, CHARTXML_CODEPAGE; UTF-8 by default); texts are
 * handed on in the code page. A column is numeric when its values are all
 * numbers ("inf" and "-inf" are infinities), or all dates or date-times
 * (ISO 8601 such as 2012-01-31, 2012-01-31T13:45:00.5+02:00 or
 * 2012-01-31 13:45; Jan 31 2012, January 31, 2012, 31 January 2012,
 * 31-Jan-2012, with an optional time), apart from missing values: an empty
 * field, NA, N/A, NaN, nan, null, NULL or ".". Dates become the host's date
 * values (seconds since 14 October 1582) with a date display format; a
 * date-time with a zone offset is converted to UTC. A quoted field is a
 * text, unless it is a date quoted for the delimiter in it ("January 1,
 * 2000") or the dictionary gives its variable a numeric or date format;
 * such a variable's first value that is neither a number nor a date is
 * refused with its line.
 * It returns a VORN_DataSource* to pass as the dictionary argument together
 * with the all-ones data pointer ((void*)-1), or NULL when the file cannot
 * be read or is malformed (reported with the file and line; nothing
 * half-loaded is returned). The caller owns it and releases it with
 * cxh_close; the library never frees it. */
CHARTXML_HOST_EXPORT void* cxh_open_csv(const char* path);
/** How to read a CSV data source; zero-initialise (all defaults), then set what you need. */
typedef struct cxh_csv_options {
  /** 0: detect from the header line (',', ';' or tab) */
  char delimiter;
  /** NULL: by byte-order mark, else the code page (cxh_set_code_page, CHARTXML_CODEPAGE; UTF-8 by
   * default); or a code-page name ("UTF-8", "CP1252", "UTF-16LE", ...) */
  const char* encoding;
  /** 0: numeric dates such as 01/02/2000 stay text; 1: month first; 2: day first */
  int date_order;
} cxh_csv_options;
/** cxh_open_csv with options; PATH "-" reads standard input (its dictionary, if any, is not looked
 * for). NULL OPTIONS: all defaults. Without a date order, numeric dates (01/02/2000, 01.02.2000,
 * 2000/02/01) are dates only in a variable the dictionary gives a date format: month first for type
 * 21, else day first. A delimiter other than a tab or a printable ASCII character, the quote, or a
 * date order out of range is refused. Standard input is read to its end once: opening "-" again
 * gets what is left, nothing ("standard input is empty"). Reports name standard input "<stdin>". */
CHARTXML_HOST_EXPORT void* cxh_open_csv_ex(const char* path, const cxh_csv_options* options);
/** What the reader decided for each column of SOURCE (as returned by cxh_open_csv[_ex]), one line
 * each, "NAME: KIND"; valid until SOURCE is closed. "" for NULL. KIND is "text", "number (2
 * decimals)", "number (all missing)", "date (yyyy-MM-dd)", "date-time (yyyy-MM-ddTHH:mm:ss)" (the
 * forms the values were written in, "; " between several) or "date-time with offsets converted to
 * UTC". Each line ends in "\n"; line breaks in a name show as `\r` and `\n`. */
CHARTXML_HOST_EXPORT const char* cxh_csv_column_kinds(void* source);
/** Releases a data source (cxh_open_csv, cxh_open_csv_ex) or a dictionary (cxh_dictionary);
 * NULL does nothing. A failure is reported, never thrown. */
CHARTXML_HOST_EXPORT void cxh_close(void* source_or_dictionary);
/** A procedure dictionary over SOURCE: variable number k (1-based) names column
 * columns[k-1] (0-based). Pass it as the dictionary argument with a data
 * pointer that is not all-ones. NULL (reported) when SOURCE is NULL, COUNT is
 * negative or a column is out of range. Release with cxh_close before its
 * source. */
CHARTXML_HOST_EXPORT void* cxh_dictionary(void* source, const int64_t* columns, int64_t count);

/** Reports: every ChartException and TsError, oldest first; the most recent
 * 100,000 are kept. */
CHARTXML_HOST_EXPORT int cxh_report_count(void);
CHARTXML_HOST_EXPORT const char* cxh_report_message(int i); /**< NULL when i is out of range */
CHARTXML_HOST_EXPORT const char* cxh_report_source(int i); /**< e.g. "backend/chartxml/src/chart" */
CHARTXML_HOST_EXPORT int cxh_report_line(int i);           /**< -1 when i is out of range */
CHARTXML_HOST_EXPORT void cxh_clear_reports(void);         /**< forgets every report */

/** Debug lines written through ChartBase::printDebugInfo; the most recent
 * 100,000 are kept. */
CHARTXML_HOST_EXPORT int cxh_debug_count(void);
CHARTXML_HOST_EXPORT const char* cxh_debug_line(int i); /**< NULL when i is out of range */
CHARTXML_HOST_EXPORT void cxh_clear_debug(void);        /**< forgets every debug line */

/** Checks the chart document XML (UTF-8, NUL-terminated): well formed, valid
 * against the chart schema when USE_SCHEMA is not 0 (the installed
 * data/schema/chart.xsd; CHARTXML_SCHEMA names another), and every reference
 * in it names a part of the right kind. Each finding is reported to the
 * report log as "LINE:COLUMN: MESSAGE". Returns the number of findings (0:
 * the document passed); -1 when XML is NULL. */
CHARTXML_HOST_EXPORT int cxh_check_xml(const char* xml, int use_schema);

/** Charts the host has been sent, oldest first. */
CHARTXML_HOST_EXPORT int cxh_sent_count(void);
CHARTXML_HOST_EXPORT const char* cxh_sent_xml(int i);         /**< the final document text */
CHARTXML_HOST_EXPORT const char* cxh_sent_description(int i); /**< UTF-8 */
CHARTXML_HOST_EXPORT const char* cxh_sent_template(int i);    /**< NULL when i is out of range */
/** The data of SOURCE (e.g. "source0") as CSV; NULL if the chart has none,
 * or when its data went to a file of the output folder (see
 * cxh_sent_data_path): a chart sent into a folder keeps no data in memory. */
CHARTXML_HOST_EXPORT const char* cxh_sent_data_csv(int i, const char* source);
/** The data file the sink wrote for SOURCE (the folder's path joined with
 * chart-NNNN.SOURCE.csv); NULL when the data is held in memory or there is no
 * such source. Valid until cxh_clear_sent; the file is the caller's to keep. */
CHARTXML_HOST_EXPORT const char* cxh_sent_data_path(int i, const char* source);
/** Forgets every sent chart and gives its memory back; the next chart is
 * numbered 1 again, or, into an output folder, after the highest chart
 * number already there (no chart's files are ever overwritten). */
CHARTXML_HOST_EXPORT void cxh_clear_sent(void);

#ifdef __cplusplus
}
#endif

#endif /* CHARTXML_CHARTXML_HOST_H_ */
