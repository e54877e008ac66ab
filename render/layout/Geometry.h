// Rectangles and the mapping of a panel's data units to picture pixels.
#pragma once

#include <algorithm>
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

// Cuts the segment a-b to `box` (Liang-Barsky): false when none of it is
// inside, else a and b moved to the ends of the part inside.
inline bool clipSegment(const Rect& box, double& ax, double& ay, double& bx, double& by) {
  double t0 = 0, t1 = 1;
  const double dx = bx - ax, dy = by - ay;
  const double p[4] = {-dx, dx, -dy, dy};
  const double q[4] = {ax - box.x, box.right() - ax, ay - box.y, box.bottom() - ay};
  for (int i = 0; i < 4; ++i) {
    if (p[i] == 0) {
      if (q[i] < 0) return false;
      continue;
    }
    const double t = q[i] / p[i];
    if (p[i] < 0) {
      t0 = std::max(t0, t);
    } else {
      t1 = std::min(t1, t);
    }
    if (t0 > t1) return false;
  }
  // An end inside stays exactly where it was: a + (b - a) need not be b in
  // floating point, and a line continues only from the very point it reached.
  const double x0 = ax + t0 * dx, y0 = ay + t0 * dy;
  if (t1 < 1) {
    bx = ax + t1 * dx;
    by = ay + t1 * dy;
  }
  if (t0 > 0) {
    ax = x0;
    ay = y0;
  }
  return true;
}

}  // namespace chartxml::render
