/* Line over dates: units sold each month of two years, one line for each
 * region, described through the CX_ entry points. */
#include <stdint.h>
#include <stdio.h>

#include "chartxml/codes.h"
#include "guide_support.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  static guide_table shop;
  if (guide_read(argv[1], "shop.csv", &shop) != 0) return 1;
  VORN_FortranDictionary* dictionary = guide_open(argv[1], "shop.csv");
  if (dictionary == NULL) return 1;
  /* The columns of shop.csv. */
  const int64_t month = 0, region = 2, units = 3;

  /* Every argument goes by address: codes and flags are constants too. */
  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, lineType = CX_WORD_LINE;
  const int64_t lineKind = CX_WORD_SIMPLELINE, colorAesthetic = CX_WORD_COLOR;

  //! [create]
  /* The all-ones data pointer: the dictionary is itself the data source. */
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1; /* the host's report log says why */
  }
  const int64_t title = guide_text("Units sold by month and region");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);
  //! [create]

  //! [axes]
  /* A date column is a scale variable: its values are the host's date values
   * and its display format, a date format, makes the axis a time line. */
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &month, &no);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &units, &no);
  const int64_t groups = CX_ADDVARIABLE(&chart, &source, &region, &yes);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t xTitle = CX_VARIABLELABEL(&month), yTitle = CX_VARIABLELABEL(&units);
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  //! [axes]

  //! [element]
  /* One line for each colour: the colour variable splits the element. */
  int64_t line = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &lineType, &x, &y, &lineKind, &line);
  CX_ADDCOLOR(&chart, &line, &groups);
  int64_t legendStyle = -1, legend = -1;
  CX_ADDLEGENDFRAME(&chart, &graph, &line, &one, &colorAesthetic, NULL, &legendStyle, &legend);
  const int64_t legendTitle = CX_VARIABLELABEL(&region);
  CX_ADDLABEL(&chart, &legend, &none, &legendTitle);
  //! [element]

  //! [rows]
  for (int row = 0; row < shop.rows; ++row) {
    const double when = guide_date(&shop, row, (int)month);
    const double sold = guide_number(&shop, row, (int)units);
    const int64_t where = guide_text(shop.cell[row][region]);
    CX_ADDROW(&chart, &source);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &when);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &sold);
    CX_ADDDATAVALUE(&chart, &source, &groups, &where);
  }
  const int64_t status = CX_ENDCHART(&chart);
  //! [rows]

  const int saved = guide_save(argv[2], "line_dates");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
