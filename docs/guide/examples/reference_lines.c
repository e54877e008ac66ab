/* Reference lines: fuel consumption by weight, with a line across at the
 * mean consumption and one up at the mean weight, which split the cars into
 * lighter and heavier, thriftier and thirstier. */
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
  const int64_t weight = 2, consumption = 4; /* columns of cars.csv */

  const int64_t one = 1, none = -1, no = 0;
  const int64_t titleKind = CX_WORD_TITLE, point = CX_WORD_POINT, scatter = CX_WORD_SCATTER;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Fuel consumption by weight, with the means");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &weight, &no);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &consumption, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t xTitle = CX_VARIABLELABEL(&weight), yTitle = CX_VARIABLELABEL(&consumption);
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  int64_t points = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &point, &x, &y, &scatter, &points);

  //! [lines]
  double meanX = 0, meanY = 0;
  for (int row = 0; row < cars.rows; ++row) {
    meanX += guide_number(&cars, row, (int)weight) / cars.rows;
    meanY += guide_number(&cars, row, (int)consumption) / cars.rows;
  }
  /* The value goes as a string handle; the number names the line's id. */
  const int64_t atX = CX_DOUBLE(&meanX), atY = CX_DOUBLE(&meanY);
  CX_ADDXREFERENCELINE(&chart, &data, &atX, &one);
  CX_ADDYREFERENCELINE(&chart, &data, &atY, &one);
  //! [lines]

  for (int row = 0; row < cars.rows; ++row) {
    const double w = guide_number(&cars, row, (int)weight);
    const double c = guide_number(&cars, row, (int)consumption);
    CX_ADDROW(&chart, &source);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &w);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &c);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "reference_lines");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
