// Layers as scene items: points, lines, areas, bars and slices in a panel
// (a frame's guides are drawn by scene/Guides.h).
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "layout/Geometry.h"
#include "model/ChartModel.h"
#include "scene/Scene.h"
#include "stats/Layers.h"
#include "text/TextEngine.h"

namespace chartxml::render {

// The colour of group `group` of a layer: its style cycle's colour when the
// cycle gives one, else the palette's (a layer without groups draws in the
// single colour).
Color groupColor(const Layer& layer, std::size_t group);
// The colour of a mark of group `group` whose cases' continuous colour
// values average `shade`: the gradient's over the layer's shade range when
// the layer is shaded and `shade` finite, else the group's.
Color markColor(const Layer& layer, std::size_t group, double shade);

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
// The same for a layer: its style cycle's entry when it says, else the above.
MarkerShape styleShape(const Layer& layer, std::size_t style);
std::vector<double> styleDash(const Layer& layer, std::size_t style);
std::size_t styleHatch(const Layer& layer, std::size_t style);
// The marker shape of colour group `group`: its cycle entry's shape when it
// has one, else what tells the colours apart.
MarkerShape groupShape(const Layer& layer, std::size_t group);

// The opacity of a point whose transparency aesthetic gives it `alpha`
// (0..1), in the kAlphaSteps steps points are drawn with.
std::size_t alphaStep(double alpha);
std::uint8_t alphaOfStep(std::size_t step);
// Hatching over `region` (a closed path within `bounds`) for `style`.
void addHatch(Scene& scene, const Path& region, const Rect& bounds, std::size_t style);

// The diameter of a marker whose size variable has `value`: between the
// element's low and high sizes, else the renderer's own range.
double markerSize(const Layer& layer, double value);

// The labels placed so far in a panel, measured by `text`: a contour's
// label gets a backing the line does not cross, an element that shifts
// colliding labels first tries other places around the mark, and one that
// hides them leaves out each that would still overlap a label placed before
// it (in drawing order, its own or another element's).
struct LabelRoom {
  explicit LabelRoom(TextEngine* engine) : text(engine) {}

  TextEngine* text = nullptr;
  std::vector<Rect> placed;

  // Whether `box` overlaps a placed label; looks only at the labels filed
  // under the grid cells it covers, so that thousands of labels stay cheap.
  bool collides(const Rect& box) const;
  void place(const Rect& box);

 private:
  static constexpr double kCell = 64;  // pixels
  template <typename Visit>
  void forCells(const Rect& box, Visit visit) const;
  std::unordered_map<std::int64_t, std::vector<std::size_t>> cells_;
};

// `labels` null: labels are drawn unmeasured, none left out.
void drawLayer(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look,
               LabelRoom* labels = nullptr);

// A pie's slices in `area`: the largest circle that fits, slices clockwise
// from twelve o'clock in group order.
void drawSlices(Scene& scene, const Layer& layer, const Rect& area);

// The tooltips' columns of a layer's points: x, y (z), then each
// aesthetic's values, in the layer's point order; none when the scene keeps
// no cases.
std::shared_ptr<const CaseTable> casesOf(const Scene& scene, const Layer& layer);

}  // namespace chartxml::render
