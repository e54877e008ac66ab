// Layers and guides as scene items: points, lines, areas, bars and slices
// in a panel, and the reference lines and function lines of a frame.
#pragma once

#include <cstddef>

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

void drawLayer(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look);

// A pie's slices in `area`: the largest circle that fits, slices clockwise
// from twelve o'clock in group order.
void drawSlices(Scene& scene, const Layer& layer, const Rect& area);

// Reference lines and function lines of `frame` in the panel. Guide kinds
// not drawn are noted in `model`.
void drawGuides(Scene& scene, const DataFrame& frame, const PanelView& view, ChartModel& model);

}  // namespace chartxml::render
