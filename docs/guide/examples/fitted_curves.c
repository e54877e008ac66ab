/* Fitted curves: fuel consumption by engine power with two curves the
 * procedure fitted by least squares, a straight line and a logarithmic
 * curve. The library draws a curve from its coefficients; fitting is the
 * procedure's own work. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>

#include "chartxml/codes.h"
#include "guide_support.h"

/* The least-squares a and b of y = a + b u over n points. */
static void leastSquares(const double* u, const double* y, int n, double* a, double* b) {
  double su = 0, sy = 0, suu = 0, suy = 0;
  for (int i = 0; i < n; ++i) {
    su += u[i];
    sy += y[i];
    suu += u[i] * u[i];
    suy += u[i] * y[i];
  }
  *b = (n * suy - su * sy) / (n * suu - su * su);
  *a = (sy - *b * su) / n;
}

int main(int argc, char** argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s DATA_DIR OUT_DIR\n", argv[0]);
    return 2;
  }
  static guide_table cars;
  if (guide_read(argv[1], "cars.csv", &cars) != 0) return 1;
  VORN_FortranDictionary* dictionary = guide_open(argv[1], "cars.csv");
  if (dictionary == NULL) return 1;
  const int64_t power = 3, consumption = 4; /* columns of cars.csv */

  const int64_t one = 1, two = 2, none = -1, no = 0;
  const int64_t titleKind = CX_WORD_TITLE, point = CX_WORD_POINT, scatter = CX_WORD_SCATTER;
  void* const allOnes = (void*)~(uintptr_t)0;
  const int64_t nameLength = 5;
  int64_t chart = -1, source = -1, graph = -1, data = -1;
  if (CX_CREATECHARTEX(allOnes, &dictionary, "GUIDE", &nameLength, &chart, &source, &graph, &data) <
      0) {
    return 1;
  }
  const int64_t title = guide_text("Fuel consumption by engine power, with two fits");
  CX_ADDFRAMEWITHLABEL(&chart, &graph, &titleKind, &one, &title, NULL);
  const int64_t x = CX_ADDVARIABLE(&chart, &source, &power, &no);
  const int64_t y = CX_ADDVARIABLE(&chart, &source, &consumption, &no);
  int64_t xStyle = -1, xAxis = -1, yStyle = -1, yAxis = -1;
  CX_ADDXYDIMENSIONWITHAXIS(&chart, &data, &none, &none, &no, &no, &xStyle, &xAxis, &yStyle,
                            &yAxis);
  const int64_t xTitle = CX_VARIABLELABEL(&power), yTitle = CX_VARIABLELABEL(&consumption);
  CX_ADDLABEL(&chart, &xAxis, &none, &xTitle);
  CX_ADDLABEL(&chart, &yAxis, &none, &yTitle);
  int64_t points = -1;
  CX_ADDXYELEMENTEX(&chart, &data, &one, &point, &x, &y, &scatter, &points);

  //! [fit]
  double xs[GUIDE_MAX_ROWS], logXs[GUIDE_MAX_ROWS], ys[GUIDE_MAX_ROWS];
  for (int row = 0; row < cars.rows; ++row) {
    xs[row] = guide_number(&cars, row, (int)power);
    logXs[row] = log(xs[row]);
    ys[row] = guide_number(&cars, row, (int)consumption);
  }
  double a = 0, b = 0;
  /* y = a + b x, the first line of the frame (id number 1) ... */
  leastSquares(xs, ys, cars.rows, &a, &b);
  CX_ADDYOFXLINEAR(&chart, &data, &one, &a, &b, &no);
  /* ... and y = a + b log(x), the second. */
  leastSquares(logXs, ys, cars.rows, &a, &b);
  CX_ADDYOFXLOGARITHMIC(&chart, &data, &two, &a, &b, &no);
  //! [fit]

  for (int row = 0; row < cars.rows; ++row) {
    CX_ADDROW(&chart, &source);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &x, &xs[row]);
    CX_ADDDOUBLEDATAVALUE(&chart, &source, &y, &ys[row]);
  }
  const int64_t status = CX_ENDCHART(&chart);

  const int saved = guide_save(argv[2], "fitted_curves");
  CX_TERMINATE();
  cxh_close(dictionary);
  return status != 0 || saved != 0;
}
