/* Box plot: the days each courier took to deliver, one box for each courier,
 * with the late deliveries drawn one by one beyond the whiskers. */
#include <stdint.h>
#include <stdio.h>

#include "chartxml/codes.h"
#include "guide_support.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  static guide_table deliveries;
  if (guide_read(argv[1], "deliveries.csv", &deliveries) != 0) return 1;
  VORN_FortranDictionary* dictionary = guide_open(argv[1], "deliveries.csv");
  if (dictionary == NULL) return 1;
  const int64_t courier = 0, days = 1; /* columns of deliveries.csv */

  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Days to delivery by courier");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [boxes]
  /* A schema element with the boxplot statistic: the chart engine finds the
   * quartiles, the whiskers and the outliers of y in each category of x. */
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &courier, &yes);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &days, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t schema = CX_WORD_SCHEMA, boxplot = CX_WORD_BOXPLOT;
  int64_t boxes = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &schema, &x, &y, &boxplot, &boxes);
  CX_ADDSTATISTIC(&chart, &boxes, &boxplot);
  const int64_t xTitle = CX_VARIABLELABEL(&courier), yTitle = CX_VARIABLELABEL(&days);
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  //! [boxes]

  for (int row = 0; row < deliveries.rows; ++row) {
    const int64_t who = guide_text(deliveries.cell[row][courier]);
    const double value = guide_number(&deliveries, row, (int)days);
    CX_ADDROW(&chart, &source);
    CX_ADDDATAVALUE(&chart, &source, &x, &who);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &value);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "boxplot");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
