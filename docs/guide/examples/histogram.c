/* Histogram: how many deliveries took how many days, in bins half a day
 * wide. The chart engine counts the cases in each bin. */
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
  const int64_t days = 1; /* a column of deliveries.csv */

  const int64_t one = 1, none = -1, no = 0;
  const int64_t titleKind = CX_WORD_TITLE;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Deliveries by days to delivery");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [histogram]
  /* Only x is given: the histogram statistic makes y, the count in each bin. */
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &days, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t histogramWord = CX_WORD_HISTOGRAM, interval = CX_WORD_INTERVAL;
  const int64_t style = CX_STYLESTRING(&histogramWord, &one);
  const int64_t bars = CX_ADDELEMENT(&chart, &data, &interval, &style);
  CX_ADDX(&chart, &bars, &x);
  CX_ADDSTATISTIC(&chart, &bars, &histogramWord);
  /* The bin width applies to every histogram of the chart. */
  const double width = 0.5;
  CX_SETBINWIDTH(&chart, &width);
  const int64_t xTitle = CX_VARIABLELABEL(&days), yTitle = guide_text("Deliveries");
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  //! [histogram]

  for (int row = 0; row < deliveries.rows; ++row) {
    const double value = guide_number(&deliveries, row, (int)days);
    CX_ADDROW(&chart, &source);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &value);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "histogram");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
