/* 3-D scatter: fuel consumption (up, the y dimension) by weight (across, x)
 * and engine power (into the picture, z), in front of three back planes,
 * coloured by size class. */
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
  const int64_t size = 1, weight = 2, power = 3, consumption = 4; /* columns of cars.csv */

  const int64_t one = 1, none = -1, no = 0, yes = 1;
  const int64_t titleKind = CX_WORD_TITLE, point = CX_WORD_POINT, scatter = CX_WORD_SCATTER;
  const int64_t colorAesthetic = CX_WORD_COLOR;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Fuel consumption by weight and engine power");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);

  //! [cube]
  /* Dimensions 1, 2 and 3 (x, y, z), each with its axis and 5% margins. */
  const int64_t columns[] = {weight, consumption, power};
  int64_t variables[3];
  const int64_t margin = guide_text("5%");
  for (int64_t dimension = 1; dimension <= 3; ++dimension) {
    variables[dimension - 1] = CX_ADDVARIABLE(&chart, &source, &columns[dimension - 1], &no);
    int64_t style = -1, axis = -1;
    CX_ADDDIMENSIONAXIS(&chart, &data, &dimension, &none, &no, &style, &axis, &margin, &margin,
                        &none, &none);
    const int64_t axisTitle = CX_VARIABLELABEL(&columns[dimension - 1]);
    CX_ADDLABEL(&chart, &axis, &none, &axisTitle);
  }
  /* The 3-D transform and the planes behind the points. */
  CX_ADDXYZBACKPLANES(&chart, &data);
  int64_t points = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &point, &variables[0], &variables[1], &scatter, &points);
  CX_ADDZ(&chart, &points, &variables[2]);
  //! [cube]
  const int64_t groups = CX_ADDVARIABLE(&chart, &source, &size, &yes);
  CX_ADDCOLOR(&chart, &points, &groups);
  int64_t legendStyle = -1, legend = -1;
  CX_ADDLEGENDFRAME(&chart, &graph, &points, &one, &colorAesthetic, NULL, &legendStyle, &legend);
  const int64_t legendTitle = CX_VARIABLELABEL(&size);
  CX_ADDLABEL(&chart, &legend, &none, &legendTitle);

  for (int row = 0; row < cars.rows; ++row) {
    const int64_t sizeClass = guide_text(cars.cell[row][size]);
    CX_ADDROW(&chart, &source);
    for (int i = 0; i < 3; ++i) {
      const double value = guide_number(&cars, row, (int)columns[i]);
      CX_ADDDOUBLEDATAVALUE(&chart, &source, &variables[i], &value);
    }
    CX_ADDDATAVALUE(&chart, &source, &groups, &sizeClass);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "scatter3d");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
