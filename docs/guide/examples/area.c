/* Area: the units sold each month, the three regions' areas stacked so that
 * the top edge is the month's total. */
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
  const int64_t month = 0, region = 2, units = 3; /* columns of shop.csv */

  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, colorAesthetic = CX_WORD_COLOR;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Units sold by month, stacked by region");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [area]
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &month, &no);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &units, &no);
  const int64_t groups = CX_ADDVARIABLE(&chart, &source, &region, &yes);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t areaType = CX_WORD_AREA, areaKind = CX_WORD_STACKEDAREA;
  const int64_t stack = CX_WORD_STACK;
  int64_t area = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &areaType, &x, &y, &areaKind, &area);
  CX_ADDCOLOR(&chart, &area, &groups);
  CX_SETELEMENTPOSITIONMODIFIER(&chart, &area, &stack);
  //! [area]
  const int64_t xTitle = CX_VARIABLELABEL(&month), yTitle = CX_VARIABLELABEL(&units);
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  int64_t legendStyle = -1, legend = -1;
  CX_ADDLEGENDFRAME(&chart, &graph, &area, &one, &colorAesthetic, NULL, &legendStyle, &legend);
  const int64_t legendTitle = CX_VARIABLELABEL(&region);
  CX_ADDLABEL(&chart, &legend, &none, &legendTitle);

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

  const int saved = guide_save(argv[2], "area");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
