// Rectangles and the mapping of a panel's data units to picture pixels.
#pragma once

#include <cmath>

#include "scales/AxisScale.h"

namespace chartxml::render {

struct Rect {
  double x = 0, y = 0, width = 0, height = 0;
  double right() const { return x + width; }
  double bottom() const { return y + height; }
};

// One panel: its rectangle and the scales of its two axes. In transposed
// coordinates x runs up the panel and y across it.
struct PanelView {
  Rect area;
  const AxisScale* x = nullptr;
  const AxisScale* y = nullptr;
  bool transposed = false;

  // The pixel of data position (x, y).
  double px(double xValue, double yValue) const {
    return transposed ? across(*y, yValue) : across(*x, xValue);
  }
  double py(double xValue, double yValue) const {
    return transposed ? up(*x, xValue) : up(*y, yValue);
  }
  // The scale drawn along the bottom and the one drawn up the left side.
  const AxisScale& horizontal() const { return transposed ? *y : *x; }
  const AxisScale& vertical() const { return transposed ? *x : *y; }

  double across(const AxisScale& scale, double value) const {
    return area.x + scale.fraction(value) * area.width;
  }
  double up(const AxisScale& scale, double value) const {
    return area.bottom() - scale.fraction(value) * area.height;
  }
};

// Lines of one pixel look sharp on the pixel grid only through its middle.
inline double crisp(double position) {
  return std::floor(position) + 0.5;
}

}  // namespace chartxml::render
