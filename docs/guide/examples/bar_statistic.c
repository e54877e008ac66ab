/* Bars of a statistic: the mean fuel consumption of each size class of car.
 * The procedure passes the cases; the chart engine computes the means. */
#include <stdint.h>
#include <stdio.h>

#include "chartxml/codes.h"
#include "guide_support.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  static guide_table cars;
  if (guide_read(argv[1], "cars.csv", &cars) != 0) return 1;
  VORN_FortranDictionary* dictionary = guide_open(argv[1], "cars.csv");
  if (dictionary == NULL) return 1;
  const int64_t size = 1, consumption = 4; /* columns of cars.csv */

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
  const int64_t title = guide_text("Mean fuel consumption by size class");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [bars]
  /* x is categorical: one bar for each size class. */
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &size, &yes);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &consumption, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  int64_t bars = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &interval, &x, &y, &barKind, &bars);
  /* The statistic each bar shows, and the same noted on y so that its
   * texts say "mean". */
  const int64_t mean = CX_WORD_MEAN, meanCode = CX_SUMMARY_MEAN_OF_VALUES;
  const double unused = 0;
  CX_ADDSTATISTIC(&chart, &bars, &mean);
  CX_SETSUMMARYFUNCTION(&chart, &y, &meanCode, &unused, &unused);
  const int64_t xTitle = CX_VARIABLELABEL(&size);
  const int64_t yTitle = guide_text("Mean fuel consumption (l/100 km)");
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  //! [bars]

  //! [rows]
  /* One handle for each distinct text, made once. */
  const int64_t classes[] = {guide_text("small"), guide_text("medium"), guide_text("large")};
  const char* const names[] = {"small", "medium", "large"};
  for (int row = 0; row < cars.rows; ++row) {
    const double litres = guide_number(&cars, row, (int)consumption);
    CX_ADDROW(&chart, &source);
    for (int c = 0; c < 3; ++c) {
      if (strcmp(cars.cell[row][size], names[c]) == 0) {
        CX_ADDDATAVALUE(&chart, &source, &x, &classes[c]);
      }
    }
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &litres);
  }
  //! [rows]
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "bar_statistic");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
