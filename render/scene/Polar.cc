#include "scene/Polar.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "scales/Palette.h"
#include "scene/Axes.h"
#include "scene/Marks.h"

namespace chartxml::render {
namespace {

constexpr double kRimRoom = 24;  // between the largest ring and the picture's edge: names

// The circle a polar panel draws in: the largest that leaves room for the
// names around its rim.
struct Circle {
  double cx = 0, cy = 0, radius = 0;

  explicit Circle(const Rect& area)
      : cx(area.x + area.width / 2),
        cy(area.y + area.height / 2),
        radius(std::max(4.0, std::min(area.width, area.height) / 2 - kRimRoom)) {}

  // The distance from the centre of `value` on the radius scale `values`.
  double reach(const AxisScale& values, double value) const {
    const double f = values.fraction(value);
    return std::isfinite(f) ? radius * std::clamp(f, 0.0, 1.0) : 0.0;
  }
};

// The radius ticks: rings at least 14 pixels apart.
AxisScale::TickSet ringTicks(const AxisScale& values, const Circle& circle,
                             const ValueFormat& format) {
  return values.ticks(circle.radius, format, [&](const AxisScale::TickSet& set) {
    for (std::size_t i = 1; i < set.values.size(); ++i) {
      if (circle.reach(values, set.values[i]) - circle.reach(values, set.values[i - 1]) < 14) {
        return false;
      }
    }
    return true;
  });
}

void drawRings(Scene& scene, const AxisScale::TickSet& ticks, const AxisScale& values,
               const Circle& circle) {
  for (const double value : ticks.values) {
    const double r = circle.reach(values, value);
    if (r <= 0.5) continue;
    ShapeItem ring;
    ring.path.arc(circle.cx, circle.cy, r, 0, 2 * std::numbers::pi);
    ring.stroke = {kGridColor, 1, {}, false};
    ring.role = "grid ring";
    scene.items.emplace_back(std::move(ring));
  }
}

// The rings' values up the twelve o'clock spoke, over the marks.
void drawRingLabels(Scene& scene, const AxisScale::TickSet& ticks, const AxisScale& values,
                    const Circle& circle, TextEngine& text) {
  for (std::size_t i = 0; i < ticks.values.size(); ++i) {
    const double r = circle.reach(values, ticks.values[i]);
    if (r <= 0.5) continue;  // the centre needs no name
    TextItem label;
    label.text = ticks.labels[i];
    label.font = kTickFont;
    label.color = kTextColor;
    label.x = circle.cx + 3;
    label.y = circle.cy - r;
    label.vAlign = 1;
    label.role = "tick-label y";
    // A light backing keeps the value legible over a mark's colour.
    const TextBox box = text.measure(label.text, label.font);
    ShapeItem backing;
    backing.path.rectangle(label.x - 1.5, label.y - box.height, box.width + 3, box.height);
    backing.filled = true;
    backing.fill = Color{255, 255, 255, 210};
    backing.role = "tick-label-backing y";
    scene.items.emplace_back(std::move(backing));
    scene.items.emplace_back(std::move(label));
  }
}

// `base` opacity at `alpha` (0..1) of itself: a mark's transparency.
std::uint8_t opacity(std::uint8_t base, double alpha) {
  return static_cast<std::uint8_t>(std::lround(base * std::clamp(alpha, 0.0, 1.0)));
}

// A name outside the rim at `angle`, anchored on the side facing the centre.
void drawRimName(Scene& scene, const Circle& circle, double angle, const std::string& name) {
  const double c = std::cos(angle), s = std::sin(angle);
  TextItem label;
  label.text = name;
  label.font = kTickFont;
  label.color = kTextColor;
  label.x = circle.cx + (circle.radius + 6) * c;
  label.y = circle.cy + (circle.radius + 6) * s;
  label.hAlign = c > 0.3 ? 0 : c < -0.3 ? 1 : 0.5;
  label.vAlign = s > 0.3 ? 0 : s < -0.3 ? 1 : 0.5;
  label.role = "tick-label x";
  scene.items.emplace_back(std::move(label));
}

}  // namespace
double roseAngle(const AxisScale& categories, double x) {
  return -std::numbers::pi / 2 + 2 * std::numbers::pi * categories.fraction(x);
}

void drawRose(Scene& scene, const Layer& layer, const Rect& area, const AxisScale& categories,
              const AxisScale& values, TextEngine& text) {
  if (categories.kind() != AxisScale::Kind::kBand || categories.categories() == nullptr) return;
  const Circle circle(area);
  const double cx = circle.cx, cy = circle.cy;
  const auto reach = [&](double value) { return circle.reach(values, value); };
  // Rings at the value ticks, under the wedges; their labels up the
  // twelve o'clock spoke.
  ValueFormat format;
  if (layer.y != nullptr && !layer.countsOnY && !layer.summary) format = layer.y->variable->format;
  const AxisScale::TickSet ticks = ringTicks(values, circle, format);
  drawRings(scene, ticks, values, circle);
  // Each category's bars fill its whole wedge: the room a band leaves
  // between bars is for bars side by side, not for a circle.
  const std::size_t n = categories.categories()->size();
  std::vector<double> from(n, INFINITY), to(n, -INFINITY);
  const auto band = [&](const Bar& bar) {
    const double k = std::floor((bar.x0 + bar.x1) / 2 + 0.5);
    return k >= 0 && k < static_cast<double>(n) ? static_cast<std::size_t>(k) : n;
  };
  for (const Bar& bar : layer.bars) {
    const std::size_t k = band(bar);
    if (k == n) continue;
    from[k] = std::min(from[k], bar.x0);
    to[k] = std::max(to[k], bar.x1);
  }
  const auto stretched = [&](std::size_t k, double x) {
    const double width = to[k] - from[k];
    return width > 0 ? static_cast<double>(k) - 0.5 + (x - from[k]) / width : x;
  };
  for (const Bar& bar : layer.bars) {
    const std::size_t k = band(bar);
    if (k == n || !std::isfinite(bar.y0) || !std::isfinite(bar.y1)) continue;
    const double a0 = roseAngle(categories, stretched(k, bar.x0));
    const double a1 = roseAngle(categories, stretched(k, bar.x1));
    const double r0 = reach(std::min(bar.y0, bar.y1)), r1 = reach(std::max(bar.y0, bar.y1));
    if (!(r1 > r0) || !(a1 > a0)) continue;
    ShapeItem wedge;
    wedge.path.arc(cx, cy, r1, a0, a1);
    if (r0 > 0) {
      wedge.path.arcNegative(cx, cy, r0, a1, a0);
    } else {
      wedge.path.lineTo(cx, cy);
    }
    wedge.path.close();
    wedge.filled = true;
    wedge.fill = markColor(layer, bar.group, bar.shade);
    wedge.fill.a = opacity(wedge.fill.a, bar.alpha);
    wedge.stroke = {Color{255, 255, 255, 255}, 1, {}, true};
    wedge.role = "mark wedge";
    const Path region = wedge.path;
    scene.items.emplace_back(std::move(wedge));
    if (layer.styles) {
      addHatch(scene, region, {cx - r1, cy - r1, 2 * r1, 2 * r1}, bar.style);
    }
  }
  drawRingLabels(scene, ticks, values, circle, text);
  // The category names outside the rim, each at its wedge's middle.
  const Categories& names = *categories.categories();
  for (std::size_t k = 0; k < names.size(); ++k) {
    drawRimName(scene, circle, roseAngle(categories, static_cast<double>(k)), names.labels[k]);
  }
}

namespace {

// Positions on a polar panel: data to angle and distance, and the picture
// pixels they land on.
struct PolarMap {
  Circle circle;
  const AxisScale* angle;
  const AxisScale* radius;
  Rect area;

  // The pixel at fractions (fa of a turn, fr of the radius); NaN when either is.
  std::pair<double, double> at(double fa, double fr) const {
    const double a = -std::numbers::pi / 2 + 2 * std::numbers::pi * fa;
    const double r = circle.radius * std::clamp(fr, 0.0, 1.0);
    return {circle.cx + r * std::cos(a), circle.cy + r * std::sin(a)};
  }
  std::pair<double, double> fractions(double x, double y) const {
    return {angle->fraction(x), radius->fraction(y)};
  }
  // The pixel as the value an identity scale up the panel maps back to it.
  double upValue(double py) const { return area.y + area.bottom() - py; }

  // The polyline through (xs, ys) from `from` to `to` (backwards when
  // to < from), each segment cut into steps of at most two degrees of turn
  // so that it follows its arc; a non-finite point breaks the line (NaN).
  void munch(const std::vector<double>& xs, const std::vector<double>& ys, std::size_t from,
             std::size_t to, std::vector<std::pair<double, double>>& out) const {
    const int step = to >= from ? 1 : -1;
    bool previous = false;
    double fa0 = 0, fr0 = 0;
    for (std::size_t i = from;; i += static_cast<std::size_t>(step)) {
      const auto [fa, fr] = fractions(xs[i], ys[i]);
      if (!std::isfinite(fa) || !std::isfinite(fr)) {
        out.emplace_back(NAN, NAN);
        previous = false;
      } else {
        const int steps =
            previous ? std::clamp(static_cast<int>(std::ceil(std::fabs(fa - fa0) * 180)), 1, 720)
                     : 1;
        for (int k = previous ? 1 : steps; k <= steps; ++k) {
          const double t = static_cast<double>(k) / steps;
          out.push_back(at(fa0 + t * (fa - fa0), fr0 + t * (fr - fr0)));
        }
        fa0 = fa;
        fr0 = fr;
        previous = true;
      }
      if (i == to) break;
    }
  }
};

// Spokes and names around the rim: at each category's middle (spokes
// between categories), or at the angle scale's ticks.
void drawSpokes(Scene& scene, const AxisScale& angle, const Circle& circle,
                const ValueFormat& format, TextEngine& text) {
  std::vector<double> spokes;
  std::vector<std::pair<double, std::string>> names;
  if (angle.kind() == AxisScale::Kind::kBand && angle.categories() != nullptr) {
    const Categories& categories = *angle.categories();
    for (std::size_t k = 0; k < categories.size(); ++k) {
      spokes.push_back(static_cast<double>(k) - 0.5);
      names.emplace_back(static_cast<double>(k), categories.labels[k]);
    }
  } else {
    const double rim = 2 * std::numbers::pi * circle.radius;
    const AxisScale::TickSet ticks = angle.ticks(rim, format, [&](const AxisScale::TickSet& set) {
      double widest = 0;
      for (const std::string& label : set.labels) {
        widest = std::max(widest, text.measure(label, kTickFont).width);
      }
      for (std::size_t i = 1; i < set.values.size(); ++i) {
        const double apart = (angle.fraction(set.values[i]) - angle.fraction(set.values[i - 1]));
        if (apart * rim < widest + 10) return false;
      }
      return true;
    });
    // Ticks a hair beyond the data's ends (0 when the data start at 0.003)
    // still name their place on the circle.
    constexpr double kNear = 0.005;
    bool startNamed = false;
    for (const double value : ticks.values) {
      startNamed = startNamed || std::fabs(angle.fraction(value)) < kNear;
    }
    for (std::size_t i = 0; i < ticks.values.size(); ++i) {
      const double f = angle.fraction(ticks.values[i]);
      // The end of the turn is its start: one name there.
      const bool end = std::fabs(f - 1) < kNear;
      if (!(f > -kNear && f < 1 + kNear) || (end && startNamed)) continue;
      spokes.push_back(ticks.values[i]);
      names.emplace_back(ticks.values[i], ticks.labels[i]);
    }
  }
  ShapeItem lines;
  for (const double value : spokes) {
    const double a = roseAngle(angle, value);
    lines.path.moveTo(circle.cx, circle.cy);
    lines.path.lineTo(circle.cx + circle.radius * std::cos(a),
                      circle.cy + circle.radius * std::sin(a));
  }
  lines.stroke = {kGridColor, 1, {}, false};
  lines.role = "grid spoke";
  if (!lines.path.empty()) scene.items.emplace_back(std::move(lines));
  ShapeItem rim;
  rim.path.arc(circle.cx, circle.cy, circle.radius, 0, 2 * std::numbers::pi);
  rim.stroke = {Color{160, 160, 160, 255}, 1, {}, false};
  rim.role = "grid rim";
  scene.items.emplace_back(std::move(rim));
  for (const auto& [value, name] : names) {
    drawRimName(scene, circle, roseAngle(angle, value), name);
  }
}

// A polar area: between the series' y0 and y, the top edge forwards and the
// base back, each run of finite values its own polygon.
void drawPolarArea(Scene& scene, const Layer& layer, const Series& series, const PolarMap& map,
                   bool overlapping) {
  ShapeItem fill;
  fill.filled = true;
  Color colour = markColor(layer, series.group, series.shade);
  colour.a = opacity(overlapping ? 140 : 220, series.alpha);
  fill.fill = colour;
  fill.role = "mark area";
  ShapeItem edge;
  edge.stroke = {markColor(layer, series.group, series.shade), 1.5, {}, true};
  edge.stroke.color.a = opacity(255, series.alpha);
  edge.role = "mark area-edge";
  std::size_t i = 0;
  const std::size_t n = series.x.size();
  while (i < n) {
    while (i < n && !std::isfinite(series.y[i])) ++i;
    std::size_t j = i;
    while (j < n && std::isfinite(series.y[j])) ++j;
    if (j > i) {
      std::vector<std::pair<double, double>> top, base;
      map.munch(series.x, series.y, i, j - 1, top);
      map.munch(series.x, series.y0, j - 1, i, base);
      bool first = true;
      for (const auto& [x, y] : top) {
        if (!std::isfinite(x)) continue;
        first ? fill.path.moveTo(x, y) : fill.path.lineTo(x, y);
        first ? edge.path.moveTo(x, y) : edge.path.lineTo(x, y);
        first = false;
      }
      for (const auto& [x, y] : base) {
        if (std::isfinite(x)) fill.path.lineTo(x, y);
      }
      if (!first) fill.path.close();
    }
    i = j;
  }
  if (fill.path.empty()) return;
  const Path region = fill.path;
  scene.items.emplace_back(std::move(fill));
  if (layer.styles) {
    const Circle& c = map.circle;
    addHatch(scene, region, {c.cx - c.radius, c.cy - c.radius, 2 * c.radius, 2 * c.radius},
             styleHatch(layer, series.style));
  }
  scene.items.emplace_back(std::move(edge));
}

// A series around categories closes its loop: its first point again, one
// turn (`turn` positions) later.
Series closedLoop(const Series& series, double turn) {
  Series loop = series;
  if (series.x.size() < 2 || !std::isfinite(series.y.front())) return loop;
  loop.x.push_back(series.x.front() + turn);
  loop.y.push_back(series.y.front());
  if (!series.y0.empty()) loop.y0.push_back(series.y0.front());
  return loop;
}

}  // namespace

void drawPolarMarks(Scene& scene, const std::vector<Layer>& layers, const Rect& area,
                    const Rect& clip, const AxisScale& angle, const AxisScale& radius,
                    const ValueFormat& angleFormat, const ValueFormat& radiusFormat,
                    const PointLook& look, bool rose, TextEngine& text) {
  const PolarMap map{Circle(area), &angle, &radius, area};
  AxisScale::TickSet rings;
  if (!rose) {
    rings = ringTicks(radius, map.circle, radiusFormat);
    drawRings(scene, rings, radius, map.circle);
    drawSpokes(scene, angle, map.circle, angleFormat, text);
  }
  // The marks' own drawing takes picture pixels through scales that map
  // each pixel to itself: the turn is done here, once.
  AxisScale across, up;
  across.train(area.x);
  across.train(area.right());
  across.finish(nullptr);
  up.train(area.y);
  up.train(area.bottom());
  up.finish(nullptr);
  const PanelView view{area, &across, &up, false};
  scene.items.emplace_back(ClipBegin::rectangle(clip.x, clip.y, clip.width, clip.height));
  LabelRoom labels(&text);
  // Categories around the circle follow one another round and round.
  const bool around = angle.kind() == AxisScale::Kind::kBand && angle.categories() != nullptr;
  const double turn = around ? static_cast<double>(angle.categories()->size()) : 0;
  for (const Layer& layer : layers) {
    const bool drawn = layer.kind == LayerKind::kPoints || layer.kind == LayerKind::kLines ||
                       layer.kind == LayerKind::kAreas;
    if (!drawn) continue;
    Layer turned = layer;
    for (std::size_t i = 0; i < turned.px.size(); ++i) {
      const auto [fa, fr] = map.fractions(layer.px[i], layer.py[i]);
      // A position the scales cannot show lands far off the picture, culled.
      const auto [x, y] =
          std::isfinite(fa) && std::isfinite(fr) ? map.at(fa, fr) : std::pair{-1e6, -1e6};
      turned.px[i] = x;
      turned.py[i] = map.upValue(y);
    }
    for (MarkLabel& label : turned.labels) {
      const auto [fa, fr] = map.fractions(label.x, label.y);
      const auto [x, y] =
          std::isfinite(fa) && std::isfinite(fr) ? map.at(fa, fr) : std::pair{-1e6, -1e6};
      label.x = x;
      label.y = map.upValue(y);
    }
    if (layer.kind == LayerKind::kAreas) {
      const bool overlapping =
          layer.series.size() > 1 && layer.element->positionModifier != "stack";
      for (const Series& series : layer.series) {
        drawPolarArea(scene, layer, around ? closedLoop(series, turn) : series, map, overlapping);
      }
      turned.series.clear();  // drawn: only the labels are left
    } else {
      for (std::size_t s = 0; s < layer.series.size(); ++s) {
        const Series series = around ? closedLoop(layer.series[s], turn) : layer.series[s];
        Series& out = turned.series[s];
        out.x.clear();
        out.y.clear();
        out.y0.clear();
        if (series.x.empty()) continue;
        std::vector<std::pair<double, double>> points;
        map.munch(series.x, series.y, 0, series.x.size() - 1, points);
        for (const auto& [x, y] : points) {
          out.x.push_back(x);
          out.y.push_back(std::isfinite(y) ? map.upValue(y) : y);
        }
      }
    }
    drawLayer(scene, turned, view, look, &labels);
  }
  scene.items.emplace_back(ClipEnd{});
  if (!rose) drawRingLabels(scene, rings, radius, map.circle, text);
}

}  // namespace chartxml::render
