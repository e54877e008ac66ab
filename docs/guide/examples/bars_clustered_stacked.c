/* Clustered and stacked bars: the units each region sold in each quarter of
 * two years, once side by side and once piled up. One function describes
 * both charts; only the position modifier differs. */
#include <stdint.h>
#include <stdio.h>

#include "chartxml/codes.h"
#include "guide_support.h"

static guide_table shop;
static const int64_t quarter = 1, region = 2, units = 3; /* columns of shop.csv */

//! [bars]
/* Bars of the sum of units per quarter, one bar per region in each quarter:
 * `modifier` is CX_WORD_DODGE (side by side) or CX_WORD_STACK (piled up). */
static int64_t quarterBars(VORN_FortranDictionary* dictionary, int64_t modifier,
                           const char* titleText) {
  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, interval = CX_WORD_INTERVAL;
  const int64_t colorAesthetic = CX_WORD_COLOR;
  const int64_t barKind = modifier == CX_WORD_STACK ? CX_WORD_STACKEDBAR : CX_WORD_CLUSTEREDBAR;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return -1;
  }
  const int64_t title = guide_text(titleText);
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  const int64_t x = CX_ADDVARIABLE(&chart, &source, &quarter, &yes);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &units, &no);
  const int64_t groups = CX_ADDVARIABLE(&chart, &source, &region, &yes);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  int64_t bars = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &interval, &x, &y, &barKind, &bars);
  const int64_t sum = CX_WORD_SUM, sumCode = CX_SUMMARY_SUM_OF_VALUES;
  const double unused = 0;
  CX_ADDSTATISTIC(&chart, &bars, &sum);
  CX_SETSUMMARYFUNCTION(&chart, &y, &sumCode, &unused, &unused);
  CX_ADDCOLOR(&chart, &bars, &groups);
  CX_SETELEMENTPOSITIONMODIFIER(&chart, &bars, &modifier);

  const int64_t xTitle = CX_VARIABLELABEL(&quarter), yTitle = guide_text("Units sold");
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  int64_t legendStyle = -1, legend = -1;
  CX_ADDLEGENDFRAME(&chart, &graph, &bars, &one, &colorAesthetic, NULL, &legendStyle, &legend);
  const int64_t legendTitle = CX_VARIABLELABEL(&region);
  CX_ADDLABEL(&chart, &legend, &none, &legendTitle);

  for (int row = 0; row < shop.rows; ++row) {
    const int64_t when = guide_text(shop.cell[row][quarter]);
    const int64_t where = guide_text(shop.cell[row][region]);
    const double sold = guide_number(&shop, row, (int)units);
    CX_ADDROW(&chart, &source);
    CX_ADDDATAVALUE(&chart, &source, &x, &when);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &sold);
    CX_ADDDATAVALUE(&chart, &source, &groups, &where);
  }
  return CX_ENDCHART(&chart);
}
//! [bars]

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  if (guide_read(argv[1], "shop.csv", &shop) != 0) return 1;
  VORN_FortranDictionary* dictionary = guide_open(argv[1], "shop.csv");
  if (dictionary == NULL) return 1;
  int failed = 0;
  //! [two]
  failed |=
      quarterBars(dictionary, CX_WORD_DODGE, "Units sold by quarter and region, 2023-2024") != 0;
  failed |= guide_save(argv[2], "bars_clustered");
  failed |= quarterBars(dictionary, CX_WORD_STACK,
                        "Units sold by quarter, 2023-2024, stacked by region") != 0;
  failed |= guide_save(argv[2], "bars_stacked");
  //! [two]
  CX_TERMINATE();
  cxh_close(dictionary);
  return failed;
}
