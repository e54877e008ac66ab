/* Scatter-plot matrix: every pair of weight, engine power and fuel
 * consumption of the thirty cars, each in a cell of a grid. */
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
  const int64_t columns[] = {2, 3, 4}; /* weight, power, consumption in cars.csv */

  const int64_t one = 1, no = 0;
  const int64_t titleKind = CX_WORD_TITLE;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Weight, engine power and fuel consumption");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [matrix]
  /* The variables in the order of the grid's rows and columns; the entry
   * point makes the matrix variable, its facets and the point element. */
  int64_t variables[3];
  for (int i = 0; i < 3; ++i) variables[i] = CX_ADDVARIABLE(&chart, &source, &columns[i], &no);
  const int64_t count = 3;
  int64_t points = -1;
  CX_ADDSPLOMELEMENT(&chart, &data, variables, &count, &points);
  //! [matrix]

  for (int row = 0; row < cars.rows; ++row) {
    CX_ADDROW(&chart, &source);
    for (int i = 0; i < 3; ++i) {
      const double value = guide_number(&cars, row, (int)columns[i]);
      CX_ADDDOUBLEDATAVALUE(&chart, &source, &variables[i], &value);
    }
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "splom");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
