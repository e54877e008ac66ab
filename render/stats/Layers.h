// An element's data ready to draw, in data units: the statistics stage's
// output. Categorical positions are category numbers (0, 1, 2, ...), so a
// category's band is [k - 0.5, k + 0.5]; continuous positions are the
// variable's values (dates in seconds).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/ChartModel.h"
#include "stats/Binding.h"
#include "stats/Summary.h"

namespace chartxml::render {

enum class LayerKind { kPoints, kLines, kAreas, kBars, kSlices };

// One line or area: a group's points in x order. An area fills between y0
// and y; NaN in y breaks a line.
struct Series {
  std::uint16_t group = 0;
  std::uint16_t style = 0;  // the style-by category: a dash pattern or hatching
  std::vector<double> x, y, y0;
};

struct Bar {
  double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  std::uint16_t group = 0;
  std::uint16_t style = 0;
};

struct Layer {
  LayerKind kind = LayerKind::kPoints;
  const Element* element = nullptr;
  const BoundColumn* x = nullptr;  // the variables on the axes (null: none)
  const BoundColumn* y = nullptr;
  const BoundColumn* z = nullptr;       // 3-D frames only
  const BoundColumn* groups = nullptr;  // the colour (or style-by) categories, or null
  // Style-by categories drawn as marker shapes, dashes or hatching, or null.
  const BoundColumn* styles = nullptr;
  // The size aesthetic's variable (points), and the range of its values.
  const BoundColumn* sizes = nullptr;
  double sizeLo = 0, sizeHi = 0;
  // A scale variable colouring points from a gradient, and its range.
  const BoundColumn* shades = nullptr;
  double shadeLo = 0, shadeHi = 0;
  std::optional<Summary> summary;  // what y shows of the data, if summarised
  bool countsOnY = false;          // y counts cases (histograms, counts without a y)
  bool overlapping = false;        // groups drawn over one another: draw translucent

  // kPoints; pz in 3-D frames
  std::vector<double> px, py, pz;
  std::vector<std::uint16_t> pointGroup;
  std::vector<std::uint16_t> pointStyle;  // when styles
  std::vector<double> pointSize;          // when sizes: the size variable's values
  std::vector<double> pointShade;         // when shades: the colour variable's values
  // kLines, kAreas
  std::vector<Series> series;
  // kBars
  std::vector<Bar> bars;
  // kSlices: one value per group and style, in that order (group g, style s
  // at g * styleCount + s; a pair with no cases: 0)
  std::vector<double> slices;
  std::size_t styleCount = 1;
};

// The rows of one panel (all rows when the frame has no facets).
using RowSet = std::vector<std::uint32_t>;

// The layer of `element` over `rows`. Nothing with `error` set when the data
// cannot be read (a missing column, text in a numeric column); nothing with
// `error` empty when the element cannot be drawn yet (noted in `model`).
std::optional<Layer> computeLayer(const Element& element, const DataFrame& frame,
                                  const RowSet* rows, DataBinder& binder, ChartModel& model,
                                  std::string& error);

}  // namespace chartxml::render
