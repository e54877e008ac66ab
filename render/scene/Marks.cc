#include "scene/Marks.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <numbers>

#include "scales/Palette.h"
#include "stats/Formula.h"

namespace chartxml::render {
namespace {

// Function lines: at least this many points, at most this many.
constexpr int kMinCurvePoints = 50;
constexpr int kMaxCurvePoints = 2000;

Color withAlpha(Color color, std::uint8_t alpha) {
  color.a = alpha;
  return color;
}

std::size_t groupCount(const Layer& layer) {
  return layer.groups ? std::max<std::size_t>(1, layer.groups->categories.size()) : 1;
}

std::optional<double> parseValue(const std::string& text) {
  double value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

// The gradient step of a colour value.
std::size_t shadeIndex(const Layer& layer, double value) {
  const double span = layer.shadeHi - layer.shadeLo;
  const double share = span > 0 ? (value - layer.shadeLo) / span : 0.5;
  return static_cast<std::size_t>(
      std::lround(std::clamp(share, 0.0, 1.0) * static_cast<double>(kGradientSteps - 1)));
}

// Sizes snap to quarter pixels, so that sized markers share few batches.
double sizeStep(double size) {
  return std::round(size * 4) / 4;
}

void drawPoints(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look) {
  const std::size_t groups = groupCount(layer);
  // One batch per shape and size: shapes tell style-by categories apart, or
  // colour groups past the distinct colours; sizes come from the size aesthetic.
  std::vector<PointBatch> batches;
  std::map<std::pair<MarkerShape, double>, std::size_t> batchOf;
  for (std::size_t i = 0; i < layer.px.size(); ++i) {
    const std::size_t group = layer.pointGroup[i];
    const MarkerShape shape =
        layer.styles ? styleShape(layer.pointStyle[i]) : categoryShape(group, groups);
    const double size = layer.sizes ? sizeStep(markerSize(layer, layer.pointSize[i])) : look.size;
    const auto [at, added] = batchOf.try_emplace({shape, size}, batches.size());
    if (added) {
      PointBatch batch;
      batch.shape = shape;
      batch.size = size;
      batch.role = "mark point";
      const std::size_t colours = layer.shades ? kGradientSteps : groups;
      for (std::size_t g = 0; g < colours; ++g) {
        const Color color =
            layer.shades
                ? gradientColor(static_cast<double>(g) / static_cast<double>(kGradientSteps - 1))
                : groupColor(layer, g);
        batch.palette.push_back(layer.element->hollow ? Color{color.r, color.g, color.b, 40}
                                : layer.sizes         ? withAlpha(color, 190)
                                                      : withAlpha(color, look.alpha));
      }
      if (look.outlined || layer.sizes) batch.outline = {Color{255, 255, 255, 255}, 0.6, {}, false};
      batches.push_back(std::move(batch));
    }
    PointBatch& batch = batches[at->second];
    batch.x.push_back(static_cast<float>(view.px(layer.px[i], layer.py[i])));
    batch.y.push_back(static_cast<float>(view.py(layer.px[i], layer.py[i])));
    batch.colorIndex.push_back(
        static_cast<std::uint16_t>(layer.shades ? shadeIndex(layer, layer.pointShade[i]) : group));
  }
  // Big markers first, so that small ones stay visible on top of them.
  std::stable_sort(batches.begin(), batches.end(),
                   [](const PointBatch& a, const PointBatch& b) { return a.size > b.size; });
  for (PointBatch& batch : batches) scene.items.emplace_back(std::move(batch));
}

// Clips the segment a-b to `box` (Liang-Barsky); false when nothing is left.
bool clipSegment(const Rect& box, double& ax, double& ay, double& bx, double& by) {
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
  const double x0 = ax + t0 * dx, y0 = ay + t0 * dy;
  bx = ax + t1 * dx;
  by = ay + t1 * dy;
  ax = x0;
  ay = y0;
  return true;
}

// A line through a series' points; NaN values leave a gap. Segments are cut
// to a box well around the panel: what lies beyond cannot be seen (the
// panel clips it) and could overflow a device's coordinates.
Path seriesPath(const Series& series, const std::vector<double>& ys, const PanelView& view) {
  const Rect& area = view.area;
  const Rect box{area.x - area.width, area.y - area.height, area.width * 3, area.height * 3};
  Path path;
  bool havePrevious = false, open = false;
  double lastX = 0, lastY = 0;
  for (std::size_t i = 0; i < series.x.size(); ++i) {
    const double x = series.x[i], y = ys[i];
    const double px = std::isfinite(x) && std::isfinite(y) ? view.px(x, y) : NAN;
    const double py = std::isfinite(px) ? view.py(x, y) : NAN;
    if (!std::isfinite(px) || !std::isfinite(py)) {
      havePrevious = open = false;
      continue;
    }
    if (havePrevious) {
      double ax = lastX, ay = lastY, bx = px, by = py;
      if (clipSegment(box, ax, ay, bx, by)) {
        if (!open || ax != lastX || ay != lastY) path.moveTo(ax, ay);
        path.lineTo(bx, by);
        // The path goes on from here only if the segment was not cut short.
        open = bx == px && by == py;
      } else {
        open = false;
      }
    }
    lastX = px;
    lastY = py;
    havePrevious = true;
  }
  return path;
}

void drawLines(Scene& scene, const Layer& layer, const PanelView& view) {
  for (const Series& series : layer.series) {
    ShapeItem line;
    line.path = seriesPath(series, series.y, view);
    line.stroke = {groupColor(layer, series.group), 2,
                   layer.styles ? styleDash(series.style) : std::vector<double>{}, true};
    line.role = "mark line";
    if (!line.path.empty()) scene.items.emplace_back(std::move(line));
  }
}

void drawAreas(Scene& scene, const Layer& layer, const PanelView& view) {
  const bool overlapping = layer.series.size() > 1 && layer.element->positionModifier != "stack";
  for (const Series& series : layer.series) {
    // Each run of finite values is a polygon: along the top, back along the base.
    ShapeItem area;
    area.filled = true;
    area.fill = withAlpha(groupColor(layer, series.group), overlapping ? 140 : 220);
    area.role = "mark area";
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
    if (layer.styles) addHatch(scene, region, view.area, series.style);
    ShapeItem edge;
    edge.path = seriesPath(series, series.y, view);
    edge.stroke = {groupColor(layer, series.group), 1.5, {}, true};
    edge.role = "mark area-edge";
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
    item.fill = withAlpha(groupColor(layer, bar.group), layer.overlapping ? 150 : 255);
    if (seams) item.stroke = {Color{255, 255, 255, 255}, 0.75, {}, false};
    item.role = "mark bar";
    const Path region = item.path;
    scene.items.emplace_back(std::move(item));
    if (layer.styles) {
      addHatch(scene, region,
               {std::min(xa, xb), std::min(ya, yb), std::fabs(xb - xa), std::fabs(yb - ya)},
               bar.style);
    }
  }
}

}  // namespace

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
  constexpr double kSmallest = 4, kLargest = 18;
  const double span = layer.sizeHi - layer.sizeLo;
  const double share = span > 0 ? std::clamp((value - layer.sizeLo) / span, 0.0, 1.0) : 0.5;
  // Areas, not diameters, grow with the value.
  return kSmallest + (kLargest - kSmallest) * std::sqrt(share);
}

Color groupColor(const Layer& layer, std::size_t group) {
  return layer.groups ? categoryColor(group) : kSingleColor;
}

PointLook pointLook(std::size_t points) {
  if (points <= 500) return {8, 255, true};
  if (points <= 5000) return {5, 200, false};
  if (points <= 50000) return {3, 140, false};
  return {2, 90, false};
}

void drawLayer(Scene& scene, const Layer& layer, const PanelView& view, const PointLook& look) {
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
  }
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
    slice.stroke = {Color{255, 255, 255, 255}, 1.5, {}, true};
    slice.role = "mark slice";
    const Path region = slice.path;
    scene.items.emplace_back(std::move(slice));
    if (layer.styles) {
      addHatch(scene, region, {cx - radius, cy - radius, 2 * radius, 2 * radius}, cell % styles);
    }
    angle += sweep;
  }
}

void drawGuides(Scene& scene, const DataFrame& frame, const PanelView& view, ChartModel& model) {
  const Rect& area = view.area;
  for (const Guide& guide : frame.guides) {
    if (guide.type == "line") {
      for (const auto& [name, text] : guide.parameters) {
        const auto value = parseValue(text);
        const bool alongX = name == "x";
        if (!value || (!alongX && name != "y")) {
          model.skip("parameter '" + name + "' of reference line " + guide.id);
          continue;
        }
        ShapeItem line;
        // A reference at x is a vertical line (horizontal when transposed).
        const bool vertical = alongX != view.transposed;
        const AxisScale& scale = alongX ? *view.x : *view.y;
        if (vertical) {
          const double px = crisp(view.across(scale, *value));
          line.path.moveTo(px, area.y);
          line.path.lineTo(px, area.bottom());
        } else {
          const double py = crisp(view.up(scale, *value));
          line.path.moveTo(area.x, py);
          line.path.lineTo(area.right(), py);
        }
        line.stroke = {kGuideColor, 1.25, {6, 4}, false};
        line.role = "guide reference-line";
        scene.items.emplace_back(std::move(line));
      }
    } else if (guide.type == "function") {
      const std::string* text = findParameter(guide.parameters, "y");
      std::string problem;
      const auto formula = text ? Formula::parse(*text, problem) : std::nullopt;
      if (!formula) {
        model.skip("function line " + guide.id + (problem.empty() ? "" : ": " + problem));
        continue;
      }
      if (view.x->kind() == AxisScale::Kind::kBand) {
        model.skip("function line " + guide.id + " over a categorical x");
        continue;
      }
      int points = 1000;
      if (const std::string* count = findParameter(guide.parameters, "numPoints")) {
        points = static_cast<int>(parseValue(*count).value_or(1000));
      }
      points = std::clamp(points, kMinCurvePoints, kMaxCurvePoints);
      Series curve;
      const double lo = view.x->lo(), hi = view.x->hi();
      for (int i = 0; i < points; ++i) {
        const double x = lo + (hi - lo) * i / (points - 1);
        curve.x.push_back(x);
        curve.y.push_back((*formula)(x));
      }
      ShapeItem line;
      line.path = seriesPath(curve, curve.y, view);
      line.stroke = {kGuideColor, 1.75, {}, true};
      line.role = "guide function";
      if (!line.path.empty()) scene.items.emplace_back(std::move(line));
    } else {
      model.skip("guide " + guide.id + " of type '" + guide.type + "'");
    }
  }
}

}  // namespace chartxml::render
