/* Pie: each region's share of the units sold in two years. A pie is a
 * stacked interval whose size goes round a polar angle. */
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
  const int64_t region = 2, units = 3; /* columns of shop.csv */

  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, colorAesthetic = CX_WORD_COLOR;
  //! [pie]
  /* CX_CREATEPIECHART: as CX_CREATECHARTEX, with the inner frame "pie_1". */
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, pie = -1;
  if (CX_CREATEPIECHART(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &pie) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Share of units sold by region, 2023-2024");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  const int64_t polar = CX_WORD_POLAR, thetaRole = CX_ROLE_THETA;
  CX_ADDCOORDINATETRANSFORM(&chart, &pie, &polar);
  CX_ADDDIMENSION(&chart, &pie, &thetaRole, &none);
  const int64_t slices = CX_ADDVARIABLE(&chart, &source, &region, &yes);
  const int64_t angle = CX_ADDVARIABLE(&chart, &source, &units, &no);
  const int64_t interval = CX_WORD_INTERVAL, stack = CX_WORD_STACK;
  const int64_t wedges = CX_ADDELEMENT(&chart, &pie, &interval, &none);
  CX_ADDTHETA(&chart, &wedges, &angle);
  /* Each slice is the sum of its region's units, one colour a region. */
  const int64_t sum = CX_WORD_SUM, sumCode = CX_SUMMARY_SUM_OF_VALUES;
  const double unused = 0;
  CX_ADDSTATISTIC(&chart, &wedges, &sum);
  CX_SETSUMMARYFUNCTION(&chart, &angle, &sumCode, &unused, &unused);
  CX_SETELEMENTPOSITIONMODIFIER(&chart, &wedges, &stack);
  CX_ADDCOLOR(&chart, &wedges, &slices);
  //! [pie]
  int64_t legendStyle = -1, legend = -1;
  CX_ADDLEGENDFRAME(&chart, &graph, &wedges, &one, &colorAesthetic, NULL, &legendStyle, &legend);
  const int64_t legendTitle = CX_VARIABLELABEL(&region);
  CX_ADDLABEL(&chart, &legend, &none, &legendTitle);

  for (int row = 0; row < shop.rows; ++row) {
    const int64_t where = guide_text(shop.cell[row][region]);
    const double sold = guide_number(&shop, row, (int)units);
    CX_ADDROW(&chart, &source);
    CX_ADDDATAVALUE(&chart, &source, &slices, &where);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &angle, &sold);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "pie");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
