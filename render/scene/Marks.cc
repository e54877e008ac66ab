#include "scene/Marks.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <numbers>
#include <optional>
#include <tuple>

#include "scales/Palette.h"
#include "scene/Guides.h"
#include "work/Halves.h"

namespace chartxml::render {
namespace {

Color withAlpha(Color color, std::uint8_t alpha) {
  color.a = alpha;
  return color;
}

// `color` at `alpha` (0..1) of its own opacity: a mark's transparency.
Color faded(Color color, double alpha) {
  color.a = static_cast<std::uint8_t>(std::lround(color.a * std::clamp(alpha, 0.0, 1.0)));
  return color;
}

std::size_t groupCount(const Layer& layer) {
  return layer.groups ? std::max<std::size_t>(1, layer.groups->categories.size()) : 1;
}

// The gradient step of a colour value.
std::size_t shadeIndex(const Layer& layer, double value) {
  const double span = layer.shadeHi - layer.shadeLo;
  const double share = span > 0 ? (value - layer.shadeLo) / span : 0.5;
  return static_cast<std::size_t>(
      std::lround(std::clamp(share, 0.0, 1.0) * static_cast<double>(kGradientSteps - 1)));
}

// A marker shape by the word a style cycle names it with.
std::optional<MarkerShape> shapeNamed(const std::string& word) {
  if (word == "circle" || word == "dot") return MarkerShape::kCircle;
  if (word == "square") return MarkerShape::kSquare;
  if (word == "triangle") return MarkerShape::kTriangle;
  if (word == "diamond") return MarkerShape::kDiamond;
  if (word == "cross" || word == "x") return MarkerShape::kCross;
  if (word == "plus") return MarkerShape::kPlus;
  return std::nullopt;
}

// Sizes snap to quarter pixels, so that sized markers share few batches.
double sizeStep(double size) {
  return std::round(size * 4) / 4;
}

// How many colours a batch's palette holds with the transparency
// aesthetic: each in every step of opacity, indexed by 16 bits.
constexpr std::size_t kColoursPerPalette = 65536 / kAlphaSteps;

// The batch's look: colours first..end-1 (each in every step of opacity with
// the transparency aesthetic) and its outline.
void dressBatch(PointBatch& batch, const Layer& layer, const PointLook& look, std::size_t first,
                std::size_t end) {
  batch.role = "mark point";
  for (std::size_t g = first; g < end; ++g) {
    const Color color =
        layer.shades
            ? gradientColor(static_cast<double>(g) / static_cast<double>(kGradientSteps - 1))
            : groupColor(layer, g);
    const Color drawn = layer.element->hollow ? Color{color.r, color.g, color.b, 40}
                        : layer.sizes         ? withAlpha(color, 190)
                                              : withAlpha(color, look.alpha);
    if (layer.transparency == nullptr) {
      batch.palette.push_back(drawn);
      continue;
    }
    // Each colour in every step of opacity: colour g, step k at (g - first) * steps + k.
    for (std::size_t k = 0; k < kAlphaSteps; ++k) {
      batch.palette.push_back(withAlpha(
          drawn, static_cast<std::uint8_t>(std::lround(drawn.a * alphaOfStep(k) / 255.0))));
    }
  }
  if (look.outlined || layer.sizes) batch.outline = {Color{255, 255, 255, 255}, 0.6, {}, false};
}

// The pixels along one side of a panel of a linear (or date) scale's
// values: as PanelView places them, one value after another.
void placeLinear(const Coordinates& values, const AxisScale& scale, double start, double length,
                 bool upward, LargeVector<float>& out) {
  const double lo = scale.lo(), span = scale.hi() - scale.lo();
  out.resize(values.size());
  const double* in = values.data();
  float* to = out.data();
  const double step = upward ? -length : length;
  inHalves(values.size(), [&](std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
      to[i] = static_cast<float>(start + (in[i] - lo) / span * step);
    }
  });
}

bool linearScale(const AxisScale& scale) {
  return scale.kind() == AxisScale::Kind::kLinear || scale.kind() == AxisScale::Kind::kDate;
}

// The diameter of unsized points: the look's; a dot plot's dots are one
// count of y across, so that a stack's dots touch (within reason).
double unsizedPoint(const Layer& layer, const PanelView& view, const PointLook& look) {
  if (!layer.element->dot || !layer.countsOnY) return look.size;
  const double x = layer.px.empty() ? 0 : layer.px[0];
  const double across = std::hypot(view.px(x, 1) - view.px(x, 0), view.py(x, 1) - view.py(x, 0));
  return std::isfinite(across) ? std::clamp(across, 1.0, 16.0) : look.size;
}

// Points of one look in one batch, placed a column at a time: the common
// scatter of many points. False, with nothing drawn, for any other.
bool drawPlainPoints(Scene& scene, const Layer& layer, const PanelView& view,
                     const PointLook& look) {
  if (layer.styles || layer.sizes || layer.shades || layer.transparency || !linearScale(*view.x) ||
      !linearScale(*view.y)) {
    return false;
  }
  const std::size_t groups = groupCount(layer);
  const MarkerShape shape = groupShape(layer, 0);
  for (std::size_t g = 1; g < groups; ++g) {
    if (groupShape(layer, g) != shape) return false;
  }
  for (const std::uint16_t group : layer.pointGroup) {
    if (group >= groups) return false;
  }
  PointBatch batch;
  batch.shape = shape;
  batch.size = unsizedPoint(layer, view, look);
  dressBatch(batch, layer, look, 0, groups);
  const Rect& area = view.area;
  placeLinear(view.transposed ? layer.py : layer.px, view.horizontal(), area.x, area.width, false,
              batch.x);
  placeLinear(view.transposed ? layer.px : layer.py, view.vertical(), area.bottom(), area.height,
              true, batch.y);
  batch.colorIndex.resize(layer.pointGroup.size());
  inHalves(layer.pointGroup.size(), [&](std::size_t begin, std::size_t end) {
    std::copy(layer.pointGroup.begin() + static_cast<std::ptrdiff_t>(begin),
              layer.pointGroup.begin() + static_cast<std::ptrdiff_t>(end),
              batch.colorIndex.begin() + static_cast<std::ptrdiff_t>(begin));
  });
  batch.cases = casesOf(scene, layer);
  scene.items.emplace_back(std::move(batch));
  return true;
}

void drawPoints(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look) {
  if (drawPlainPoints(scene, layer, view, look)) return;
  const std::size_t groups = groupCount(layer);
  const std::size_t colours = layer.shades ? kGradientSteps : groups;
  // One batch per shape, size and palette: shapes tell style-by categories
  // apart, or colour groups past the distinct colours; sizes come from the
  // size aesthetic; with the transparency aesthetic, colours past what 16
  // bits index in every step of opacity go to batches of their own.
  const double unsized = unsizedPoint(layer, view, look);
  const bool fading = layer.transparency != nullptr;
  const std::size_t perPalette = fading ? kColoursPerPalette : colours;
  using Key = std::tuple<MarkerShape, double, std::size_t>;
  std::vector<PointBatch> batches;
  std::map<Key, std::size_t> batchOf;
  // The batch of the point before: most points share it, and a scatter of
  // millions should not ask the map for each.
  Key lastKey{};
  std::size_t current = 0;
  // Each group's shape once: a style cycle names shapes in words.
  std::vector<MarkerShape> shapes(groups);
  for (std::size_t g = 0; g < groups; ++g) shapes[g] = groupShape(layer, g);
  const std::shared_ptr<const CaseTable> cases = casesOf(scene, layer);
  for (std::size_t i = 0; i < layer.px.size(); ++i) {
    const std::size_t group = layer.pointGroup[i];
    const MarkerShape shape = layer.styles     ? styleShape(layer, layer.pointStyle[i])
                              : group < groups ? shapes[group]
                                               : groupShape(layer, group);
    const double size = layer.sizes ? sizeStep(markerSize(layer, layer.pointSize[i])) : unsized;
    const std::size_t colour = layer.shades ? shadeIndex(layer, layer.pointShade[i]) : group;
    const std::size_t palette = fading ? colour / perPalette : 0;
    const Key key{shape, size, palette};
    const bool same = i > 0 && key == lastKey;
    const auto [at, added] =
        same ? std::pair{batchOf.end(), false} : batchOf.try_emplace(key, batches.size());
    if (!same) {
      lastKey = key;
      current = at->second;
    }
    if (added) {
      PointBatch batch;
      batch.shape = shape;
      batch.size = size;
      const std::size_t first = palette * perPalette;
      dressBatch(batch, layer, look, first, std::min(colours, first + perPalette));
      batch.cases = cases;
      if (layer.sizes == nullptr && layer.styles == nullptr && colours <= perPalette) {
        // One size and, mostly, one shape: room for every point.
        batch.x.reserve(layer.px.size());
        batch.y.reserve(layer.px.size());
        batch.colorIndex.reserve(layer.px.size());
      }
      batches.push_back(std::move(batch));
    }
    PointBatch& batch = batches[current];
    batch.x.push_back(static_cast<float>(view.px(layer.px[i], layer.py[i])));
    batch.y.push_back(static_cast<float>(view.py(layer.px[i], layer.py[i])));
    const std::size_t index =
        fading ? (colour - palette * perPalette) * kAlphaSteps + alphaStep(layer.pointAlpha[i])
               : colour;
    batch.colorIndex.push_back(static_cast<std::uint16_t>(index));
    batch.caseIndex.push_back(static_cast<std::uint32_t>(i));
  }
  // Big markers first, so that small ones stay visible on top of them.
  std::stable_sort(batches.begin(), batches.end(),
                   [](const PointBatch& a, const PointBatch& b) { return a.size > b.size; });
  for (PointBatch& batch : batches) scene.items.emplace_back(std::move(batch));
}

// A line through a series' points; NaN values leave a gap. Segments are cut
// to a box well around the panel: what lies beyond cannot be seen (the
// panel clips it) and could overflow a device's coordinates.
Path seriesPath(const Series& series, const std::vector<double>& ys, const PanelView& view) {
  const Rect& area = view.area;
  const Rect box{area.x - area.width, area.y - area.height, area.width * 3, area.height * 3};
  std::vector<std::pair<double, double>> points;
  points.reserve(series.x.size());
  for (std::size_t i = 0; i < series.x.size(); ++i) {
    const double x = series.x[i], y = ys[i];
    if (std::isfinite(x) && std::isfinite(y)) {
      const double px = view.px(x, y), py = view.py(x, y);
      if (std::isfinite(px) && std::isfinite(py)) {
        points.emplace_back(px, py);
        continue;
      }
    }
    points.emplace_back(NAN, NAN);
  }
  return clippedPolyline(points, box);
}

// A value of `bound` as a reader sees it: a category's label, a number by
// its variable's format.
std::string shownValue(const BoundColumn* bound, double value) {
  if (bound == nullptr) return formatNumber(value, NumberFormat{});
  if (bound->categorical) {
    const double code = std::round(value);
    if (code >= 0 && code < static_cast<double>(bound->categories.size())) {
      return bound->categories.labels[static_cast<std::size_t>(code)];
    }
    return "";
  }
  return formatValue(value, bound->variable->format);
}

std::string groupLine(const Layer& layer, std::uint16_t group) {
  if (layer.groups == nullptr || group >= layer.groups->categories.size()) return "";
  return layer.groups->variable->title() + ": " + layer.groups->categories.labels[group] + "\n";
}

// The line of a tooltip naming a mark's place on x: its category, its
// value, or the span it covers; none without an x.
std::string placeLine(const Layer& layer, double x0, double x1) {
  // A category coloured by itself is named once, by its group's line.
  if (layer.x == nullptr || (layer.groups && layer.groups->variable == layer.x->variable)) {
    return "";
  }
  const std::string title = layer.x->variable->title() + ": ";
  if (layer.x->categorical || !(x1 > x0)) return title + shownValue(layer.x, (x0 + x1) / 2) + "\n";
  return title + shownValue(layer.x, x0) + " to " + shownValue(layer.x, x1) + "\n";
}

// What a layer's marks stand for on y: its variable under its summary
// ("Mean mpg"), or "Count".
std::string valueTitle(const Layer& layer) {
  if (layer.countsOnY || layer.y == nullptr) return "Count";
  const std::string title = layer.y->variable->title();
  return layer.summary ? std::string(summaryTitle(*layer.summary)) + " " + title : title;
}

// A bar's tooltip: its group, its place on x and the value it stands for.
std::string barTip(const Layer& layer, const Bar& bar) {
  std::string tip = groupLine(layer, bar.group) + placeLine(layer, bar.x0, bar.x1);
  const BoundColumn* y = layer.countsOnY ? nullptr : layer.y;
  if (layer.spans) {
    tip += valueTitle(layer) + ": " + shownValue(y, bar.y0) + " to " + shownValue(y, bar.y1);
  } else {
    tip += valueTitle(layer) + ": " + shownValue(y, bar.y1 - bar.y0);
  }
  return tip;
}

// A box's tooltip: its group and place, then its five numbers and how many
// cases lie beyond the whiskers.
std::string boxTip(const Layer& layer, const Box& box) {
  const BoxStats& s = box.stats;
  const auto shown = [&](double v) { return shownValue(layer.y, v); };
  std::string tip = groupLine(layer, box.group) + placeLine(layer, box.x0, box.x1);
  const std::string of = layer.y ? " of " + layer.y->variable->title() : "";
  tip += "Median" + of + ": " + shown(s.median) + "\n";
  tip += "Quartiles: " + shown(s.lowerHinge) + " to " + shown(s.upperHinge) + "\n";
  tip += "Whiskers: " + shown(s.lowWhisker) + " to " + shown(s.highWhisker);
  if (!s.outliers.empty()) tip += "\nOutliers: " + std::to_string(s.outliers.size());
  if (!s.extremes.empty()) tip += "\nExtremes: " + std::to_string(s.extremes.size());
  return tip;
}

// An error bar's tooltip: its group and place, its centre and its interval.
std::string errorBarTip(const Layer& layer, const ErrorBar& bar) {
  const BoundColumn* y = layer.countsOnY ? nullptr : layer.y;
  return groupLine(layer, bar.group) + placeLine(layer, bar.x0, bar.x1) + valueTitle(layer) + ": " +
         shownValue(y, bar.centre) + "\nInterval: " + shownValue(y, bar.low) + " to " +
         shownValue(y, bar.high);
}

// A new column of `table` for the values of `bound` (null: plain numbers),
// titled `title` or else by its variable, shown in its variable's format.
CaseColumn& addCaseColumn(CaseTable& table, const BoundColumn* bound, std::string title) {
  CaseColumn& out = table.columns.emplace_back();
  out.title = std::move(title);
  if (bound != nullptr && bound->variable != nullptr) {
    if (out.title.empty()) out.title = bound->variable->title();
    out.format = bound->variable->format;
    out.categorical = bound->categorical;
    if (bound->categorical) out.labels = bound->categories.labels;
  }
  return out;
}

// A line's vertices as hover targets of a page, each showing its place on
// x, the value it stands for and its group; pictures draw nothing of them.
void addVertices(Scene& scene, const Layer& layer, const Series& series, const PanelView& view,
                 Color color) {
  auto table = std::make_shared<CaseTable>();
  table->columns.reserve(3);  // x, y and group: the pointers below stay valid
  const auto column = [&](const BoundColumn* bound, std::string title) -> CaseColumn& {
    return addCaseColumn(*table, bound, std::move(title));
  };
  PointBatch vertices;
  vertices.pageOnly = true;
  vertices.role = "mark vertex";
  vertices.size = 9;
  vertices.palette = {withAlpha(color, 0)};
  CaseColumn* x = layer.x ? &column(layer.x, "") : nullptr;
  CaseColumn& y = column(layer.countsOnY ? nullptr : layer.y, valueTitle(layer));
  CaseColumn* group = nullptr;
  if (layer.groups != nullptr) {
    table->groupColumn = static_cast<int>(table->columns.size());
    group = &column(layer.groups, "");
  }
  for (std::size_t i = 0; i < series.x.size() && i < series.y.size(); ++i) {
    if (!std::isfinite(series.y[i])) continue;
    vertices.x.push_back(static_cast<float>(view.px(series.x[i], series.y[i])));
    vertices.y.push_back(static_cast<float>(view.py(series.x[i], series.y[i])));
    if (x) x->values.push_back(series.x[i]);
    y.values.push_back(series.y[i]);
    if (group) group->values.push_back(series.group);
  }
  if (vertices.x.empty()) return;
  vertices.cases = std::move(table);
  scene.items.emplace_back(std::move(vertices));
}

void drawLines(Scene& scene, const Layer& layer, const PanelView& view) {
  for (const Series& series : layer.series) {
    ShapeItem line;
    line.path = seriesPath(series, series.y, view);
    line.stroke = {faded(markColor(layer, series.group, series.shade), series.alpha), 2,
                   layer.styles ? styleDash(layer, series.style) : std::vector<double>{}, true};
    line.role = "mark line";
    if (layer.groups) line.group = series.group;
    line.tip = groupLine(layer, series.group);
    if (!line.tip.empty()) line.tip.pop_back();
    const Color color = line.stroke.color;
    if (line.path.empty()) continue;
    scene.items.emplace_back(std::move(line));
    if (scene.keepsCases) addVertices(scene, layer, series, view, color);
  }
}

void drawAreas(Scene& scene, const Layer& layer, const PanelView& view) {
  const bool overlapping = layer.series.size() > 1 && layer.element->positionModifier != "stack";
  for (const Series& series : layer.series) {
    // Each run of finite values is a polygon: along the top, back along the base.
    ShapeItem area;
    area.filled = true;
    area.fill =
        faded(withAlpha(markColor(layer, series.group, series.shade), overlapping ? 140 : 220),
              series.alpha);
    area.role = "mark area";
    if (layer.groups) area.group = series.group;
    std::size_t i = 0;
    while (i < series.x.size()) {
      while (i < series.x.size() && !std::isfinite(series.y[i])) ++i;
      std::size_t j = i;
      while (j < series.x.size() && std::isfinite(series.y[j])) ++j;
      if (j > i) {
        for (std::size_t k = i; k < j; ++k) {
          const double px = view.px(series.x[k], series.y[k]);
          const double py = view.py(series.x[k], series.y[k]);
          if (k == i) {
            area.path.moveTo(px, py);
          } else {
            area.path.lineTo(px, py);
          }
        }
        for (std::size_t k = j; k-- > i;) {
          area.path.lineTo(view.px(series.x[k], series.y0[k]), view.py(series.x[k], series.y0[k]));
        }
        area.path.close();
      }
      i = j;
    }
    if (area.path.empty()) continue;
    const Path region = area.path;
    scene.items.emplace_back(std::move(area));
    if (layer.styles) addHatch(scene, region, view.area, styleHatch(layer, series.style));
    ShapeItem edge;
    edge.path = seriesPath(series, series.y, view);
    edge.stroke = {
        faded(markColor(layer, series.group, series.shade), series.alpha), 1.5, {}, true};
    edge.role = "mark area-edge";
    if (layer.groups) edge.group = series.group;
    scene.items.emplace_back(std::move(edge));
  }
}

void drawBars(Scene& scene, const Layer& layer, const PanelView& view) {
  // Bars that touch (histogram bins, stacks) keep a thin white seam.
  const bool seams = layer.countsOnY || layer.groups != nullptr;
  for (const Bar& bar : layer.bars) {
    if (!std::isfinite(bar.y0) || !std::isfinite(bar.y1)) continue;
    const double xa = view.px(bar.x0, bar.y0), ya = view.py(bar.x0, bar.y0);
    const double xb = view.px(bar.x1, bar.y1), yb = view.py(bar.x1, bar.y1);
    ShapeItem item;
    item.path.rectangle(std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa), std::fabs(yb - ya));
    item.filled = true;
    item.fill =
        faded(withAlpha(markColor(layer, bar.group, bar.shade), layer.overlapping ? 150 : 255),
              bar.alpha);
    if (seams) item.stroke = {Color{255, 255, 255, 255}, 0.75, {}, false};
    item.role = "mark bar";
    if (layer.groups) item.group = bar.group;
    item.tip = barTip(layer, bar);
    const Path region = item.path;
    scene.items.emplace_back(std::move(item));
    if (layer.styles) {
      addHatch(scene, region,
               {std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa), std::fabs(yb - ya)},
               styleHatch(layer, bar.style));
    }
  }
}

// A rectangle between two data corners, whatever the projection.
Path dataRectangle(const PanelView& view, double x0, double y0, double x1, double y1) {
  const double xa = view.px(x0, y0), ya = view.py(x0, y0);
  const double xb = view.px(x1, y1), yb = view.py(x1, y1);
  Path path;
  path.rectangle(std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa), std::fabs(yb - ya));
  return path;
}

// A segment between two data points.
void dataSegment(Path& path, const PanelView& view, double x0, double y0, double x1, double y1) {
  path.moveTo(view.px(x0, y0), view.py(x0, y0));
  path.lineTo(view.px(x1, y1), view.py(x1, y1));
}

constexpr Color kInk{51, 51, 51, 255};  // the outlines of boxes and bars of error

// Box plots: the box between the hinges in the group's colour, a dark line
// at the median, whiskers with caps, outliers as open circles and extremes
// as crosses. Every part carries its box's legend group, so that a page
// hides a group's boxes whole.
void drawBoxes(Scene& scene, const Layer& layer, const PanelView& view) {
  std::vector<PointBatch> beyond;  // drawn over every box
  for (const Box& box : layer.boxes) {
    const BoxStats& s = box.stats;
    const std::int32_t group = layer.groups ? box.group : -1;
    const double centre = (box.x0 + box.x1) / 2, cap = (box.x1 - box.x0) / 4;
    ShapeItem whiskers;
    dataSegment(whiskers.path, view, centre, s.upperHinge, centre, s.highWhisker);
    dataSegment(whiskers.path, view, centre - cap, s.highWhisker, centre + cap, s.highWhisker);
    dataSegment(whiskers.path, view, centre, s.lowerHinge, centre, s.lowWhisker);
    dataSegment(whiskers.path, view, centre - cap, s.lowWhisker, centre + cap, s.lowWhisker);
    whiskers.stroke = {kInk, 1.2, {}, false};
    whiskers.role = "mark whisker";
    whiskers.group = group;
    scene.items.emplace_back(std::move(whiskers));
    ShapeItem body;
    body.path = dataRectangle(view, box.x0, s.lowerHinge, box.x1, s.upperHinge);
    body.filled = true;
    body.fill = faded(withAlpha(markColor(layer, box.group, box.shade), 200), box.alpha);
    body.stroke = {kInk, 1.2, {}, false};
    body.role = "mark box";
    body.group = group;
    body.tip = boxTip(layer, box);
    const Path region = body.path;
    scene.items.emplace_back(std::move(body));
    if (layer.styles) {
      const double xa = view.px(box.x0, s.lowerHinge), ya = view.py(box.x0, s.lowerHinge);
      const double xb = view.px(box.x1, s.upperHinge), yb = view.py(box.x1, s.upperHinge);
      addHatch(scene, region,
               {std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa), std::fabs(yb - ya)},
               styleHatch(layer, box.style));
    }
    ShapeItem median;
    dataSegment(median.path, view, box.x0, s.median, box.x1, s.median);
    median.stroke = {kInk, 2.5, {}, false};
    median.role = "mark box-median";
    median.group = group;
    scene.items.emplace_back(std::move(median));
    for (const bool extreme : {false, true}) {
      const std::vector<double>& values = extreme ? s.extremes : s.outliers;
      if (values.empty()) continue;
      PointBatch& batch = beyond.emplace_back();
      batch.shape = extreme ? MarkerShape::kCross : MarkerShape::kCircle;
      batch.size = 7;
      batch.palette = {extreme ? kInk : Color{255, 255, 255, 0}};
      batch.outline = {kInk, extreme ? 1.4 : 1.2, {}, false};
      batch.role = extreme ? "mark extreme" : "mark outlier";
      batch.group = group;
      for (const double v : values) {
        batch.x.push_back(static_cast<float>(view.px(centre, v)));
        batch.y.push_back(static_cast<float>(view.py(centre, v)));
      }
    }
  }
  for (PointBatch& batch : beyond) scene.items.emplace_back(std::move(batch));
}

// Error bars: a line from low to high with caps, and a dot at the centre
// (drawn over every bar), each with its bar's legend group and tooltip.
void drawErrorBars(Scene& scene, const Layer& layer, const PanelView& view) {
  std::vector<PointBatch> centres;
  constexpr double kCapPixels = 6;  // half a cap on a number axis
  for (const ErrorBar& bar : layer.errorBars) {
    const double centre = (bar.x0 + bar.x1) / 2;
    ShapeItem item;
    dataSegment(item.path, view, centre, bar.low, centre, bar.high);
    for (const double end : {bar.low, bar.high}) {
      if (bar.x1 > bar.x0) {
        dataSegment(item.path, view, bar.x0, end, bar.x1, end);
      } else {
        const double px = view.px(centre, end), py = view.py(centre, end);
        const double dx = view.transposed ? 0 : kCapPixels, dy = view.transposed ? kCapPixels : 0;
        item.path.moveTo(px - dx, py - dy);
        item.path.lineTo(px + dx, py + dy);
      }
    }
    const bool coloured = layer.groups || (layer.shades && std::isfinite(bar.shade));
    item.stroke = {faded(coloured ? markColor(layer, bar.group, bar.shade) : kInk, bar.alpha), 1.5,
                   layer.styles ? styleDash(layer, bar.style) : std::vector<double>{}, false};
    item.role = "mark error-bar";
    item.group = layer.groups ? bar.group : -1;
    item.tip = errorBarTip(layer, bar);
    PointBatch& dot = centres.emplace_back();
    dot.shape = MarkerShape::kCircle;
    dot.size = 7;
    dot.role = "mark error-mean";
    dot.palette = {faded(markColor(layer, bar.group, bar.shade), bar.alpha)};
    dot.x.push_back(static_cast<float>(view.px(centre, bar.centre)));
    dot.y.push_back(static_cast<float>(view.py(centre, bar.centre)));
    dot.group = item.group;
    dot.tip = item.tip;
    scene.items.emplace_back(std::move(item));
  }
  for (PointBatch& dot : centres) scene.items.emplace_back(std::move(dot));
}

// A heat map's cells: the gradient's colour of their value, or their group's.
void drawTiles(Scene& scene, const Layer& layer, const PanelView& view) {
  for (const Tile& tile : layer.tiles) {
    ShapeItem cell;
    cell.path = dataRectangle(view, tile.x0, tile.y0, tile.x1, tile.y1);
    cell.filled = true;
    cell.fill =
        faded(std::isnan(tile.value) ? groupColor(layer, tile.group) : gradientColor(tile.value),
              tile.alpha);
    // A thin seam parts cells large enough to show it; small ones would
    // turn white under their seams.
    const double w = std::fabs(view.px(tile.x1, tile.y1) - view.px(tile.x0, tile.y0));
    const double h = std::fabs(view.py(tile.x1, tile.y1) - view.py(tile.x0, tile.y0));
    if (std::min(w, h) >= 8) cell.stroke = {Color{255, 255, 255, 255}, 0.5, {}, false};
    cell.role = "mark tile";
    scene.items.emplace_back(std::move(cell));
  }
}

// Contour lines, each level in the gradient's colour of its value.
void drawContours(Scene& scene, const Layer& layer, const PanelView& view) {
  const double span = layer.tileHi - layer.tileLo;
  for (const ContourLine& line : layer.contours) {
    ShapeItem item;
    for (std::size_t i = 0; i + 3 < line.segments.size(); i += 4) {
      dataSegment(item.path, view, line.segments[i], line.segments[i + 1], line.segments[i + 2],
                  line.segments[i + 3]);
    }
    item.stroke = {
        gradientColor(span > 0 ? (line.level - layer.tileLo) / span : 0.5), 1.6, {}, true};
    item.role = "mark contour";
    scene.items.emplace_back(std::move(item));
  }
}

constexpr Font kMarkLabelFont{10, false};

// A label that would cross the panel's edge, where the panel clips it, moves
// inside: below its mark when there is no room above it, else along the edge.
void keepInside(TextItem& item, Rect& box, const Rect& area, double markY) {
  if (box.y < area.y && item.vAlign == 1) {
    const double gap = markY - item.y;  // between the mark and the text
    item.vAlign = 0;
    item.y = markY + gap;
    box.y = item.y;
  }
  const double dx = std::max(area.x - box.x, 0.0) - std::max(box.right() - area.right(), 0.0);
  const double dy = std::max(area.y - box.y, 0.0) - std::max(box.bottom() - area.bottom(), 0.0);
  item.x += dx;
  box.x += dx;
  item.y += dy;
  box.y += dy;
}

// Labels at their marks: above points, lines and bars (beside them when the
// frame is transposed), in the middle of boxes and cells.
void drawLabels(Scene& scene, const Layer& layer, const PanelView& view, LabelRoom* room) {
  const bool centred = layer.kind == LayerKind::kTiles || layer.kind == LayerKind::kBoxes ||
                       layer.kind == LayerKind::kContours;
  const bool hide = layer.element->hideCollidingLabels;
  const bool shift = layer.element->shiftCollidingLabels;
  // Cells label in white where their colour is dark.
  const bool onTiles = layer.kind == LayerKind::kTiles && layer.labels.size() == layer.tiles.size();
  for (std::size_t i = 0; i < layer.labels.size(); ++i) {
    const MarkLabel& label = layer.labels[i];
    TextItem item;
    item.text = label.text;
    item.font = label.size > 0 ? Font{label.size, false} : kMarkLabelFont;
    item.color = kTextColor;
    if (onTiles) {
      const Tile& tile = layer.tiles[i];
      const Color fill =
          std::isnan(tile.value) ? groupColor(layer, tile.group) : gradientColor(tile.value);
      if (0.299 * fill.r + 0.587 * fill.g + 0.114 * fill.b < 128) item.color = {255, 255, 255, 255};
    }
    item.x = view.px(label.x, label.y);
    item.y = view.py(label.x, label.y);
    if (centred) {
      item.hAlign = item.vAlign = 0.5;
    } else if (layer.kind == LayerKind::kErrorBars) {
      // Beside the mean, clear of the bar.
      if (view.transposed) {
        item.y -= 6;
        item.hAlign = 0.5;
        item.vAlign = 1;
      } else {
        item.x += 6;
        item.vAlign = 0.5;
      }
    } else if (view.transposed) {
      item.x += 4;
      item.vAlign = 0.5;
    } else {
      item.y -= layer.kind == LayerKind::kPoints ? 5 : 3;
      item.hAlign = 0.5;
      item.vAlign = 1;
    }
    item.role = "mark-label";
    if (room != nullptr && room->text != nullptr) {
      const TextBox measured = room->text->measure(item.text, item.font);
      Rect box{item.x - item.hAlign * measured.width, item.y - item.vAlign * measured.height,
               measured.width, measured.height};
      const double markX = view.px(label.x, label.y), markY = view.py(label.x, label.y);
      keepInside(item, box, view.area, markY);
      if (shift && !centred && room->collides(box)) {
        // Other places around the mark, nearest first, the first clear one
        // winning: below it, beside it (hanging from the place above),
        // then a line farther out each round.
        constexpr double kReach = 5;
        const double line = measured.height;
        for (int round = 0; round < 3; ++round) {
          const double out = round * line;
          const double beside = markY - kReach + 0.5 + out;  // just clear of the place above
          const double places[][4] = {{markX, markY + kReach + out, 0.5, 0},
                                      {markX + kReach, beside, 0, 0},
                                      {markX - kReach, beside, 1, 0},
                                      {markX, markY - kReach - out, 0.5, 1}};
          bool placed = false;
          for (const auto& [x, y, h, v] : places) {
            if (round == 0 && v == 1) continue;  // the first place, taken
            TextItem moved = item;
            moved.x = x;
            moved.y = y;
            moved.hAlign = h;
            moved.vAlign = v;
            Rect movedBox{x - h * measured.width, y - v * measured.height, measured.width,
                          measured.height};
            keepInside(moved, movedBox, view.area, markY);
            if (room->collides(movedBox)) continue;
            item = std::move(moved);
            box = movedBox;
            placed = true;
            break;
          }
          if (placed) break;
        }
      }
      if (hide && room->collides(box)) continue;
      room->place(box);
      if (layer.kind == LayerKind::kContours) {
        ShapeItem backing;
        backing.path.rectangle(box.x - 1.5, box.y, box.width + 3, box.height);
        backing.filled = true;
        backing.fill = Color{255, 255, 255, 220};
        backing.role = "mark-label-backing";
        scene.items.emplace_back(std::move(backing));
      }
    }
    scene.items.emplace_back(std::move(item));
  }
}

}  // namespace

std::shared_ptr<const CaseTable> casesOf(const Scene& scene, const Layer& layer) {
  if (!scene.keepsCases) return nullptr;
  auto table = std::make_shared<CaseTable>();
  const std::size_t n = layer.px.size();
  const auto column = [&](const BoundColumn* bound, std::string title) -> CaseColumn& {
    CaseColumn& out = addCaseColumn(*table, bound, std::move(title));
    out.values.resize(n);
    return out;
  };
  const auto copy = [&](CaseColumn& out, const auto& values) {
    const std::size_t count = std::min<std::size_t>(n, values.size());
    for (std::size_t i = 0; i < count; ++i) out.values[i] = static_cast<double>(values[i]);
    for (std::size_t i = count; i < n; ++i) out.values[i] = std::nan("");
    if (!out.categorical) return;
    for (double& v : out.values) {
      if (!(v >= 0 && v < static_cast<double>(out.labels.size()))) v = std::nan("");
    }
  };
  if (layer.x != nullptr) copy(column(layer.x, ""), layer.px);
  if (layer.countsOnY) {
    copy(column(nullptr, "Count"), layer.py);
  } else if (layer.y != nullptr) {
    copy(column(layer.y, ""), layer.py);
  }
  if (layer.z != nullptr) copy(column(layer.z, ""), layer.pz);
  if (layer.groups != nullptr) {
    table->groupColumn = static_cast<int>(table->columns.size());
    copy(column(layer.groups, ""), layer.pointGroup);
  }
  if (layer.styles != nullptr && layer.styles != layer.groups) {
    copy(column(layer.styles, ""), layer.pointStyle);
  }
  if (layer.sizes != nullptr && !layer.sizesCount) copy(column(layer.sizes, ""), layer.pointSize);
  if (layer.shades != nullptr && layer.shades != layer.groups) {
    copy(column(layer.shades, ""), layer.pointShade);
  }
  return table;
}

MarkerShape styleShape(const Layer& layer, std::size_t style) {
  if (layer.styleCycle != nullptr && !layer.styleCycle->empty()) {
    const CycleStyle& entry = (*layer.styleCycle)[style % layer.styleCycle->size()];
    if (const auto shape = shapeNamed(entry.shape)) return *shape;
  }
  return styleShape(style);
}

std::vector<double> styleDash(const Layer& layer, std::size_t style) {
  if (layer.styleCycle != nullptr && !layer.styleCycle->empty()) {
    const CycleStyle& entry = (*layer.styleCycle)[style % layer.styleCycle->size()];
    if (!entry.dash.empty()) return entry.dash;
  }
  return styleDash(style);
}

std::size_t styleHatch(const Layer& layer, std::size_t style) {
  if (layer.styleCycle != nullptr && !layer.styleCycle->empty()) {
    const CycleStyle& entry = (*layer.styleCycle)[style % layer.styleCycle->size()];
    if (entry.pattern) return static_cast<std::size_t>(*entry.pattern);
  }
  return style;
}

MarkerShape groupShape(const Layer& layer, std::size_t group) {
  if (layer.groupCycle != nullptr && !layer.groupCycle->empty()) {
    const CycleStyle& entry = (*layer.groupCycle)[group % layer.groupCycle->size()];
    if (const auto shape = shapeNamed(entry.shape)) return *shape;
  }
  return categoryShape(group, groupCount(layer));
}

std::size_t alphaStep(double alpha) {
  return static_cast<std::size_t>(
      std::lround(std::clamp(alpha, 0.0, 1.0) * static_cast<double>(kAlphaSteps - 1)));
}

std::uint8_t alphaOfStep(std::size_t step) {
  return static_cast<std::uint8_t>(
      std::lround(255.0 * static_cast<double>(step) / static_cast<double>(kAlphaSteps - 1)));
}

MarkerShape styleShape(std::size_t style) {
  static constexpr MarkerShape kShapes[] = {MarkerShape::kCircle,  MarkerShape::kTriangle,
                                            MarkerShape::kSquare,  MarkerShape::kPlus,
                                            MarkerShape::kDiamond, MarkerShape::kCross};
  return kShapes[style % std::size(kShapes)];
}

std::vector<double> styleDash(std::size_t style) {
  switch (style % 5) {
    case 1:
      return {7, 4};
    case 2:
      return {2, 3};
    case 3:
      return {9, 3, 2, 3};
    case 4:
      return {4, 2, 1, 2, 1, 2};
    default:
      return {};
  }
}

void addHatch(Scene& scene, const Path& region, const Rect& bounds, std::size_t style) {
  // Style 0 is plain; then one direction each, then crossings.
  const int kind = static_cast<int>(style % 7);
  if (kind == 0 || !(bounds.width > 0) || !(bounds.height > 0)) return;
  constexpr double kSpacing = 6;
  ShapeItem lines;
  const double x0 = bounds.x, y0 = bounds.y, x1 = bounds.right(), y1 = bounds.bottom();
  const double reach = bounds.width + bounds.height;
  const auto diagonals = [&](bool rising) {
    for (double d = 0; d <= reach; d += kSpacing) {
      if (rising) {
        lines.path.moveTo(x0 + d - bounds.height, y1);
        lines.path.lineTo(x0 + d, y0);
      } else {
        lines.path.moveTo(x0 + d - bounds.height, y0);
        lines.path.lineTo(x0 + d, y1);
      }
    }
  };
  const auto straight = [&](bool across) {
    const double extent = across ? bounds.height : bounds.width;
    for (double d = kSpacing / 2; d <= extent; d += kSpacing) {
      if (across) {
        lines.path.moveTo(x0, y0 + d);
        lines.path.lineTo(x1, y0 + d);
      } else {
        lines.path.moveTo(x0 + d, y0);
        lines.path.lineTo(x0 + d, y1);
      }
    }
  };
  if (kind == 1 || kind == 5) diagonals(true);
  if (kind == 2 || kind == 5) diagonals(false);
  if (kind == 3 || kind == 6) straight(true);
  if (kind == 4 || kind == 6) straight(false);
  lines.stroke = {Color{0, 0, 0, 110}, 1, {}, false};
  lines.role = "mark hatch";
  ClipBegin clip;
  clip.path = region;
  scene.items.emplace_back(std::move(clip));
  scene.items.emplace_back(std::move(lines));
  scene.items.emplace_back(ClipEnd{});
}

double markerSize(const Layer& layer, double value) {
  // The document may give the sizes of the least and greatest values (the
  // greatest may be the smaller: larger values then draw smaller markers).
  const double smallest = layer.element && layer.element->sizeLow ? *layer.element->sizeLow : 4;
  const double largest = layer.element && layer.element->sizeHigh ? *layer.element->sizeHigh : 18;
  const double span = layer.sizeHi - layer.sizeLo;
  const double share = span > 0 ? std::clamp((value - layer.sizeLo) / span, 0.0, 1.0) : 0.5;
  // Areas, not diameters, grow with the value.
  return smallest + (largest - smallest) * std::sqrt(share);
}

Color groupColor(const Layer& layer, std::size_t group) {
  if (layer.groupCycle != nullptr && !layer.groupCycle->empty()) {
    const CycleStyle& entry = (*layer.groupCycle)[group % layer.groupCycle->size()];
    if (entry.color) {
      return Color{static_cast<std::uint8_t>(*entry.color >> 16),
                   static_cast<std::uint8_t>(*entry.color >> 8),
                   static_cast<std::uint8_t>(*entry.color), 255};
    }
  }
  return layer.groups ? categoryColor(group) : kSingleColor;
}

template <typename Visit>
void LabelRoom::forCells(const Rect& box, Visit visit) const {
  // Boxes far off the picture share a cell at its edge; one that is not
  // finite anywhere is filed under one cell of its own.
  if (!std::isfinite(box.x) || !std::isfinite(box.y) || !std::isfinite(box.right()) ||
      !std::isfinite(box.bottom())) {
    visit(std::numeric_limits<std::int64_t>::min());
    return;
  }
  const auto cell = [](double v) {
    return static_cast<std::int64_t>(std::floor(std::clamp(v, -1e6, 1e6) / kCell));
  };
  for (std::int64_t cx = cell(box.x); cx <= cell(box.right()); ++cx) {
    for (std::int64_t cy = cell(box.y); cy <= cell(box.bottom()); ++cy) visit(cx * 1000003 + cy);
  }
}

bool LabelRoom::collides(const Rect& box) const {
  bool hit = false;
  forCells(box, [&](std::int64_t key) {
    const auto found = cells_.find(key);
    if (hit || found == cells_.end()) return;
    for (const std::size_t i : found->second) {
      const Rect& other = placed[i];
      if (box.x < other.right() && other.x < box.right() && box.y < other.bottom() &&
          other.y < box.bottom()) {
        hit = true;
        return;
      }
    }
  });
  return hit;
}

void LabelRoom::place(const Rect& box) {
  forCells(box, [&](std::int64_t key) { cells_[key].push_back(placed.size()); });
  placed.push_back(box);
}

Color markColor(const Layer& layer, std::size_t group, double shade) {
  if (layer.shades == nullptr || !std::isfinite(shade)) return groupColor(layer, group);
  const double span = layer.shadeHi - layer.shadeLo;
  return gradientColor(span > 0 ? std::clamp((shade - layer.shadeLo) / span, 0.0, 1.0) : 0.5);
}

PointLook pointLook(std::size_t points) {
  if (points <= 500) return {8, 255, true};
  if (points <= 5000) return {5, 200, false};
  if (points <= 50000) return {3, 140, false};
  return {2, 90, false};
}

void drawLayer(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look,
               LabelRoom* labels) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      drawPoints(scene, layer, view, look);
      break;
    case LayerKind::kLines:
      drawLines(scene, layer, view);
      break;
    case LayerKind::kAreas:
      drawAreas(scene, layer, view);
      break;
    case LayerKind::kBars:
      drawBars(scene, layer, view);
      break;
    case LayerKind::kSlices:
      break;
    case LayerKind::kBoxes:
      drawBoxes(scene, layer, view);
      break;
    case LayerKind::kErrorBars:
      drawErrorBars(scene, layer, view);
      break;
    case LayerKind::kTiles:
      drawTiles(scene, layer, view);
      break;
    case LayerKind::kContours:
      drawContours(scene, layer, view);
      break;
  }
  if (layer.kind != LayerKind::kSlices) drawLabels(scene, layer, view, labels);
}

// A slice's tooltip: its group, its value and its share of the whole.
std::string sliceTip(const Layer& layer, std::size_t group, double value, double total) {
  std::string tip =
      groupLine(layer, static_cast<std::uint16_t>(std::min<std::size_t>(group, 65535)));
  const BoundColumn* values = layer.sliceValues;
  if (values != nullptr) {
    const std::string title = values->variable->title();
    tip += layer.summary ? std::string(summaryTitle(*layer.summary)) + " " + title : title;
  } else {
    tip += "Count";
  }
  NumberFormat percent;
  percent.minFractionDigits = percent.maxFractionDigits = 1;
  percent.suffix = "%";
  return tip + ": " + shownValue(values, value) +
         "\nShare: " + formatNumber(100 * value / total, percent);
}

void drawSlices(Scene& scene, const Layer& layer, const Rect& area) {
  double total = 0;
  for (const double value : layer.slices) total += value;
  if (!(total > 0) || !std::isfinite(total)) return;
  const double radius = std::max(1.0, std::min(area.width, area.height) / 2 - 6);
  const double cx = area.x + area.width / 2, cy = area.y + area.height / 2;
  double angle = -std::numbers::pi / 2;
  const std::size_t styles = std::max<std::size_t>(1, layer.styleCount);
  for (std::size_t cell = 0; cell < layer.slices.size(); ++cell) {
    const double value = layer.slices[cell];
    const std::size_t group = cell / styles;
    if (!(value > 0)) continue;
    const double sweep = 2 * std::numbers::pi * value / total;
    ShapeItem slice;
    if (sweep < 2 * std::numbers::pi - 1e-9) slice.path.moveTo(cx, cy);
    slice.path.arc(cx, cy, radius, angle, angle + sweep);
    slice.path.close();
    slice.filled = true;
    slice.fill = groupColor(layer, group);
    if (cell < layer.sliceAlpha.size()) slice.fill = faded(slice.fill, layer.sliceAlpha[cell]);
    slice.stroke = {Color{255, 255, 255, 255}, 1.5, {}, true};
    slice.role = "mark slice";
    if (layer.groups) slice.group = static_cast<std::int32_t>(group);
    slice.tip = sliceTip(layer, group, value, total);
    const Path region = slice.path;
    scene.items.emplace_back(std::move(slice));
    if (layer.styles) {
      addHatch(scene, region, {cx - radius, cy - radius, 2 * radius, 2 * radius},
               styleHatch(layer, cell % styles));
    }
    // A slice's label (its value) two thirds of the way out, mid-slice.
    for (const MarkLabel& label : layer.labels) {
      if (static_cast<std::size_t>(label.x) != cell) continue;
      TextItem item;
      item.text = label.text;
      item.font = kMarkLabelFont;
      item.color = kTextColor;
      item.x = cx + radius * 0.65 * std::cos(angle + sweep / 2);
      item.y = cy + radius * 0.65 * std::sin(angle + sweep / 2);
      item.hAlign = item.vAlign = 0.5;
      item.role = "mark-label";
      scene.items.emplace_back(std::move(item));
    }
    angle += sweep;
  }
}

}  // namespace chartxml::render
