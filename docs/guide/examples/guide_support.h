/* What every example program of the guide shares, apart from the calls the
 * guide teaches: opening its data file, making string handles, and writing
 * out what the host was sent so that the guide can show it.
 *
 * Each example is run by the docs build as `EXAMPLE DATA_DIR OUT_DIR`. For
 * every chart it sends, it writes into OUT_DIR:
 *   NAME.xml          the final document the host was sent;
 *   NAME.png          its picture, drawn by the renderer from that document
 *                     and its data alone;
 *   NAME.reports.txt  every report of the library or host and every part the
 *                     renderer could not draw, one a line; empty when none.
 * It exits 1 when anything was reported, so that the guide never shows a chart
 * that went wrong. Compiles as C and as C++. */
#ifndef CHARTXML_GUIDE_SUPPORT_H_
#define CHARTXML_GUIDE_SUPPORT_H_

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/render.h"

/* A text as a new string handle: every argument goes by address, a text
 * with its length in bytes. */
static inline int64_t guide_text(const char* text) {
  const int64_t length = (int64_t)strlen(text);
  return CX_NSTRINGNOTRANSLATE(text, &length);
}

/* DATA_DIR/FILE opened as the host's data source (its dictionary, FILE.dict.json,
 * is read beside it); NULL when it cannot be read, which the host has reported. */
static inline void* guide_open(const char* dataDir, const char* file) {
  char path[4096];
  if (snprintf(path, sizeof path, "%s/%s", dataDir, file) >= (int)sizeof path) {
    fprintf(stderr, "%s/%s: path too long\n", dataDir, file);
    return NULL;
  }
  return cxh_open_csv(path);
}

/* Writes TEXT to OUT_DIR/NAME.SUFFIX whole; 0, or 1 with a message naming the file. */
static inline int guide_write(const char* outDir, const char* name, const char* suffix,
                              const char* text) {
  char path[4096];
  if (snprintf(path, sizeof path, "%s/%s.%s", outDir, name, suffix) >= (int)sizeof path) {
    fprintf(stderr, "%s/%s.%s: path too long\n", outDir, name, suffix);
    return 1;
  }
  FILE* file = fopen(path, "w");
  if (file == NULL) {
    perror(path);
    return 1;
  }
  const size_t length = strlen(text);
  const int failed = fwrite(text, 1, length, file) != length;
  if (fclose(file) != 0 || failed) {
    perror(path);
    return 1;
  }
  return 0;
}

/* The chart the host was sent last, as NAME.xml and NAME.png, and what went
 * wrong since the program started as NAME.reports.txt: 0 when the chart was
 * sent and drawn whole without a report, else 1. */
static inline int guide_save(const char* outDir, const char* name) {
  const int sent = cxh_sent_count();
  if (sent == 0) {
    fprintf(stderr, "%s: no chart was sent\n", name);
    guide_write(outDir, name, "reports.txt", "no chart was sent\n");
    return 1;
  }
  if (guide_write(outDir, name, "xml", cxh_sent_xml(sent - 1)) != 0) return 1;
  char picture[4096];
  snprintf(picture, sizeof picture, "%s/%s.png", outDir, name);
  char problems[16384] = "";
  size_t used = 0;
  for (int i = 0; i < cxh_report_count(); ++i) {
    used += (size_t)snprintf(problems + used, sizeof problems - used, "report: %s:%d: %s\n",
                             cxh_report_source(i), cxh_report_line(i), cxh_report_message(i));
    if (used >= sizeof problems) used = sizeof problems - 1;
  }
  if (cxr_render_sent(sent - 1, picture, NULL) != 0) {
    used +=
        (size_t)snprintf(problems + used, sizeof problems - used, "not drawn: %s\n", cxr_error());
    if (used >= sizeof problems) used = sizeof problems - 1;
  }
  for (int i = 0; i < cxr_skipped_count(); ++i) {
    used += (size_t)snprintf(problems + used, sizeof problems - used, "not drawn yet: %s\n",
                             cxr_skipped(i));
    if (used >= sizeof problems) used = sizeof problems - 1;
  }
  if (used > 0) fprintf(stderr, "%s:\n%s", name, problems);
  if (guide_write(outDir, name, "reports.txt", problems) != 0) return 1;
  return used > 0;
}

/* The example's own copy of its cases, read from the same file: a procedure
 * passes its cases to the library one by one, the host's data source only
 * describes the columns. Small files of plain fields (no quotes) only. */
#define GUIDE_MAX_ROWS 400
#define GUIDE_MAX_COLUMNS 8
#define GUIDE_MAX_FIELD 32
typedef struct guide_table {
  int rows;
  int columns;
  char cell[GUIDE_MAX_ROWS][GUIDE_MAX_COLUMNS][GUIDE_MAX_FIELD];
} guide_table;

/* Reads DATA_DIR/FILE (its header row skipped) into TABLE: 0, or 1 with a
 * message naming the file and line. */
static inline int guide_read(const char* dataDir, const char* file, guide_table* table) {
  char path[4096];
  snprintf(path, sizeof path, "%s/%s", dataDir, file);
  FILE* in = fopen(path, "r");
  if (in == NULL) {
    perror(path);
    return 1;
  }
  char line[512];
  int number = 0;
  table->rows = 0;
  table->columns = 0;
  while (fgets(line, sizeof line, in) != NULL) {
    ++number;
    line[strcspn(line, "\r\n")] = '\0';
    if (number == 1 || line[0] == '\0') continue;
    if (table->rows == GUIDE_MAX_ROWS) {
      fprintf(stderr, "%s:%d: more than %d rows\n", path, number, GUIDE_MAX_ROWS);
      fclose(in);
      return 1;
    }
    int column = 0;
    for (char* field = line;; ++column) {
      const size_t length = strcspn(field, ",");
      if (column == GUIDE_MAX_COLUMNS || length >= GUIDE_MAX_FIELD) {
        fprintf(stderr, "%s:%d: too many fields or a field too long\n", path, number);
        fclose(in);
        return 1;
      }
      memcpy(table->cell[table->rows][column], field, length);
      table->cell[table->rows][column][length] = '\0';
      if (field[length] == '\0') break;
      field += length + 1;
    }
    table->columns = column + 1;
    ++table->rows;
  }
  fclose(in);
  return 0;
}

/* A field as a number. */
static inline double guide_number(const guide_table* table, int row, int column) {
  return strtod(table->cell[row][column], NULL);
}

/* An ISO date field (yyyy-mm-dd) as the host's date value: seconds since
 * 14 October 1582, the start of the Gregorian calendar. */
static inline double guide_date(const guide_table* table, int row, int column) {
  int y = 0, m = 0, d = 0;
  sscanf(table->cell[row][column], "%d-%d-%d", &y, &m, &d);
  /* Days from the civil date, counted from 1 March of year 0. */
  y -= m <= 2;
  const long era = (y >= 0 ? y : y - 399) / 400;
  const long yoe = y - era * 400;
  const long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  const long days = era * 146097 + doe;
  const long start = 578040; /* 1582-10-14 on the same count */
  return (double)(days - start) * 86400.0;
}

#endif /* CHARTXML_GUIDE_SUPPORT_H_ */
