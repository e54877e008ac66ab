// Layers and guides as scene items: points, lines, areas, bars and slices
// in a panel, and the reference lines and function lines of a frame.
#pragma once

#include <cstddef>
#include <vector>

#include "layout/Geometry.h"
#include "model/ChartModel.h"
#include "scene/Scene.h"
#include "stats/Layers.h"

namespace chartxml::render {

// The colour of group `group` of a layer with `groups` categories (a layer
// without groups draws in the single colour).
Color groupColor(const Layer& layer, std::size_t group);

// Marker size and opacity for a chart of `points` points: big and opaque for
// a few, small and translucent for many, so dense clouds show their density.
struct PointLook {
  double size;
  std::uint8_t alpha;
  bool outlined;
};
PointLook pointLook(std::size_t points);

// What tells style-by category `style` apart: a marker shape for points, a
// dash pattern for lines, hatching for bars, areas and slices (style 0 is
// plain).
MarkerShape styleShape(std::size_t style);
std::vector<double> styleDash(std::size_t style);
// Hatching over `region` (a closed path within `bounds`) for `style`.
void addHatch(Scene& scene, const Path& region, const Rect& bounds, std::size_t style);

// The diameter of a marker whose size variable has `value`.
double markerSize(const Layer& layer, double value);

void drawLayer(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look);

// A pie's slices in `area`: the largest circle that fits, slices clockwise
// from twelve o'clock in group order.
void drawSlices(Scene& scene, const Layer& layer, const Rect& area);

// Reference lines and function lines of `frame` in the panel. Guide kinds
// not drawn are noted in `model`.
void drawGuides(Scene& scene, const DataFrame& frame, const PanelView& view, ChartModel& model);

}  // namespace chartxml::render
