// An element's data ready to draw, in data units: the statistics stage's
// output. Categorical positions are category numbers (0, 1, 2, ...), so a
// category's band is [k - 0.5, k + 0.5]; continuous positions are the
// variable's values (dates in seconds).
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "model/ChartModel.h"
#include "read/LargeBuffer.h"
#include "stats/Binding.h"
#include "stats/Summary.h"

namespace chartxml::render {

// kLines also draws paths (in data order); kBoxes are box plots (the
// schema element), kErrorBars intervals around means, kTiles a heat map's
// cells, kContours lines of equal value over a grid.
enum class LayerKind {
  kPoints,
  kLines,
  kAreas,
  kBars,
  kSlices,
  kBoxes,
  kErrorBars,
  kTiles,
  kContours
};

// One line or area: a group's points in x order. An area fills between y0
// and y; NaN in y breaks a line.
struct Series {
  std::uint16_t group = 0;
  std::uint16_t style = 0;  // the style-by category: a dash pattern or hatching
  double alpha = 1;         // the transparency aesthetic's opacity (0..1) of its cases
  double shade = 0;         // the mean of a continuous colour over its cases (with shades)
  std::vector<double> x, y, y0;
};

struct Bar {
  double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  std::uint16_t group = 0;
  std::uint16_t style = 0;
  double alpha = 1;  // the mean opacity of its cases (transparency aesthetic)
  double shade = 0;  // the mean of a continuous colour over its cases (with shades)
};

// A box plot's box at x0..x1 (see boxStats for its parts).
struct Box {
  double x0 = 0, x1 = 0;
  BoxStats stats;
  std::uint16_t group = 0;
  std::uint16_t style = 0;
  double alpha = 1;  // the mean opacity of its cases (transparency aesthetic)
  double shade = 0;  // the mean of a continuous colour over its cases (with shades)
};

// An error bar from low to high at x, capped over x0..x1, through `centre`.
struct ErrorBar {
  double x0 = 0, x1 = 0;
  double low = 0, centre = 0, high = 0;
  std::uint16_t group = 0;
  std::uint16_t style = 0;
  double alpha = 1;  // the mean opacity of its cases (transparency aesthetic)
  double shade = 0;  // the mean of a continuous colour over its cases (with shades)
};

// A heat map's cell: a rectangle filled by its value's colour (`value` is a
// share 0..1 of the layer's tile range, or NaN when it is coloured by its
// group instead).
struct Tile {
  double x0 = 0, x1 = 0, y0 = 0, y1 = 0;
  double value = 0;
  std::uint16_t group = 0;
  double alpha = 1;  // the mean opacity of its cases (transparency aesthetic)
};

// A line of equal value: segments (x, y pairs: ax ay bx by) at `level`.
struct ContourLine {
  double level = 0;
  std::vector<double> segments;
};

// A mark's own label: the value it draws, at its anchor in data units.
struct MarkLabel {
  double x = 0, y = 0;
  std::string text;
  double size = 0;  // the text's size in pixels by the labeling's size variable; 0: the default
};

// A column the statistics make for a layer of their own: the one category
// of a box plot without an x, say.
struct OwnColumn {
  Variable variable;
  BoundColumn column;
};

// A layer's point positions, read as a vector of doubles: values of their
// own, or a view of a bound column's numbers when every row is drawn as it
// is (the millions of a big scatter are then not copied). Writing to a view
// copies it first.
class Coordinates {
 public:
  Coordinates() = default;
  static Coordinates viewOf(std::span<const double> values) {
    Coordinates out;
    out.view_ = values;
    out.viewing_ = true;
    return out;
  }

  bool viewing() const { return viewing_; }
  std::size_t size() const { return viewing_ ? view_.size() : own_.size(); }
  bool empty() const { return size() == 0; }
  const double* data() const { return viewing_ ? view_.data() : own_.data(); }
  const double* begin() const { return data(); }
  const double* end() const { return data() + size(); }
  double operator[](std::size_t i) const { return data()[i]; }
  double& operator[](std::size_t i) {
    own();
    return own_[i];
  }
  void push_back(double value) {
    own();
    own_.push_back(value);
  }
  void reserve(std::size_t n) {
    own();
    own_.reserve(n);
  }
  void clear() {
    own_.clear();
    view_ = {};
    viewing_ = false;
  }

 private:
  void own() {
    if (!viewing_) return;
    own_.assign(view_.begin(), view_.end());
    view_ = {};
    viewing_ = false;
  }

  std::vector<double> own_;
  std::span<const double> view_;
  bool viewing_ = false;
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
  bool sizesCount = false;  // sizes show counts of cases (binned points), not the variable
  // A scale variable colouring points from a gradient, and its range.
  const BoundColumn* shades = nullptr;
  double shadeLo = 0, shadeHi = 0;
  std::optional<Summary> summary;        // what y shows of the data, if summarised
  SummaryArgs summaryArgs;               // the percentile or cuts it takes
  const BoundColumn* weights = nullptr;  // what each case weighs, or null
  // The transparency aesthetic: a categorical or continuous variable and
  // the range of its values (continuous only).
  const BoundColumn* transparency = nullptr;
  double transparencyLo = 0, transparencyHi = 0;
  // The style cycles the groups and the style-by categories take, in order;
  // null or empty: the renderer's own colours, shapes, dashes and hatching.
  const std::vector<CycleStyle>* groupCycle = nullptr;
  const std::vector<CycleStyle>* styleCycle = nullptr;
  bool countsOnY = false;    // y counts cases (histograms, counts without a y)
  bool overlapping = false;  // groups drawn over one another: draw translucent
  bool spans = false;        // bars span their values' range instead of standing on 0

  // kPoints; pz in 3-D frames
  Coordinates px, py, pz;
  LargeVector<std::uint16_t> pointGroup;
  std::vector<std::uint16_t> pointStyle;  // when styles
  std::vector<double> pointSize;          // when sizes: the size variable's values
  std::vector<double> pointShade;         // when shades: the colour variable's values
  std::vector<double> pointAlpha;         // when transparency: 0 (clear) .. 1 (opaque)
  // kLines, kAreas
  std::vector<Series> series;
  // kBars
  std::vector<Bar> bars;
  // kSlices: one value per group and style, in that order (group g, style s
  // at g * styleCount + s; a pair with no cases: 0)
  std::vector<double> slices;
  std::vector<double> sliceAlpha;  // with the transparency aesthetic: each slice's opacity
  const BoundColumn* sliceValues = nullptr;  // what the slices summarise (null: cases counted)
  std::size_t styleCount = 1;
  // kBoxes, kErrorBars, kTiles, kContours
  std::vector<Box> boxes;
  std::vector<ErrorBar> errorBars;
  std::vector<Tile> tiles;
  double tileLo = 0, tileHi = 0;  // the range of tile or contour values
  std::vector<ContourLine> contours;
  // Values the axes must show beyond the marks' own positions: whisker
  // ends, outliers, error-bar ends, cell edges.
  std::vector<double> extentX, extentY;
  // The element's labeling: a label at each mark.
  std::vector<MarkLabel> labels;
  std::shared_ptr<const OwnColumn> ownX;  // x when the layer made its own
};

// How many steps of opacity the transparency aesthetic draws points in.
inline constexpr std::size_t kAlphaSteps = 16;

// The opacity (0..1) the transparency aesthetic gives category `index` of
// `count` (the first opaque, the last a quarter), and a value of lo..hi (the
// largest opaque).
inline double categoryOpacity(std::size_t index, std::size_t count) {
  return count < 2 ? 1.0 : 1.0 - 0.75 * static_cast<double>(index) / static_cast<double>(count - 1);
}
inline double valueOpacity(double value, double lo, double hi) {
  return 0.25 + 0.75 * (hi > lo ? (value - lo) / (hi - lo) : 1.0);
}

// The rows of one panel (all rows when the frame has no facets).
using RowSet = std::vector<std::uint32_t>;

// The layer of `element` over `rows`. Nothing with `error` set when the data
// cannot be read (a missing column, text in a numeric column); nothing with
// `error` empty when the element cannot be drawn yet (noted in `model`).
std::optional<Layer> computeLayer(const Element& element, const DataFrame& frame,
                                  const RowSet* rows, DataBinder& binder, ChartModel& model,
                                  std::string& error);

}  // namespace chartxml::render
