/* Facets: the units sold in each quarter of two years, one panel for each
 * region, side by side on a common scale. */
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
  const int64_t quarter = 1, region = 2, units = 3; /* columns of shop.csv */

  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, interval = CX_WORD_INTERVAL;
  const int64_t barKind = CX_WORD_SIMPLEBAR;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Units sold by quarter, 2023-2024, in each region");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &quarter, &yes);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &units, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  int64_t bars = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &interval, &x, &y, &barKind, &bars);
  const int64_t sum = CX_WORD_SUM, sumCode = CX_SUMMARY_SUM_OF_VALUES;
  const double unused = 0;
  CX_ADDSTATISTIC(&chart, &bars, &sum);
  CX_SETSUMMARYFUNCTION(&chart, &y, &sumCode, &unused, &unused);
  const int64_t xTitle = CX_VARIABLELABEL(&quarter), yTitle = guide_text("Units sold");
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);

  //! [facets]
  /* A coordinate facet on the data frame: one panel across (role x) for each
   * region, and a labeling that titles each panel with its region. */
  const int64_t panels = CX_ADDVARIABLE(&chart, &source, &region, &yes);
  const int64_t facet = CX_ADDCOORDINATEFACET(&chart, &data);
  const int64_t across = CX_ROLE_X;
  CX_ADDFACETVARIABLE(&chart, &facet, &across, &panels);
  const int64_t labeling = CX_ADDFACETLABELING(&chart, &data);
  const int64_t panelWord = CX_WORD_PANEL;
  const int64_t labelStyle = CX_STYLESTRING(&panelWord, &one);
  CX_ADDFACETLABEL(&chart, &labeling, &labelStyle, &one, &no);
  //! [facets]

  for (int row = 0; row < shop.rows; ++row) {
    const int64_t when = guide_text(shop.cell[row][quarter]);
    const int64_t where = guide_text(shop.cell[row][region]);
    const double sold = guide_number(&shop, row, (int)units);
    CX_ADDROW(&chart, &source);
    CX_ADDDATAVALUE(&chart, &source, &x, &when);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &sold);
    CX_ADDDATAVALUE(&chart, &source, &panels, &where);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "facets");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
