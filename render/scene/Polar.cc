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

}  // namespace

double roseAngle(const AxisScale& categories, double x) {
  return -std::numbers::pi / 2 + 2 * std::numbers::pi * categories.fraction(x);
}

void drawRose(Scene& scene, const Layer& layer, const Rect& area, const AxisScale& categories,
              const AxisScale& values, TextEngine& text) {
  if (categories.kind() != AxisScale::Kind::kBand || categories.categories() == nullptr) return;
  const double radius = std::max(4.0, std::min(area.width, area.height) / 2 - kRimRoom);
  const double cx = area.x + area.width / 2, cy = area.y + area.height / 2;
  const auto reach = [&](double value) {
    const double f = values.fraction(value);
    return std::isfinite(f) ? radius * std::clamp(f, 0.0, 1.0) : 0.0;
  };
  // Rings at the value ticks, under the wedges; their labels up the
  // twelve o'clock spoke.
  ValueFormat format;
  if (layer.y != nullptr && !layer.countsOnY && !layer.summary) format = layer.y->variable->format;
  const AxisScale::TickSet ticks = values.ticks(radius, format, [&](const AxisScale::TickSet& set) {
    for (std::size_t i = 1; i < set.values.size(); ++i) {
      if (reach(set.values[i]) - reach(set.values[i - 1]) < 14) return false;
    }
    return true;
  });
  for (const double value : ticks.values) {
    const double r = reach(value);
    if (r <= 0.5) continue;
    ShapeItem ring;
    ring.path.arc(cx, cy, r, 0, 2 * std::numbers::pi);
    ring.stroke = {kGridColor, 1, {}, false};
    ring.role = "grid ring";
    scene.items.emplace_back(std::move(ring));
  }
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
    wedge.fill = groupColor(layer, bar.group);
    wedge.stroke = {Color{255, 255, 255, 255}, 1, {}, true};
    wedge.role = "mark wedge";
    const Path region = wedge.path;
    scene.items.emplace_back(std::move(wedge));
    if (layer.styles) {
      addHatch(scene, region, {cx - r1, cy - r1, 2 * r1, 2 * r1}, bar.style);
    }
  }
  for (std::size_t i = 0; i < ticks.values.size(); ++i) {
    if (reach(ticks.values[i]) <= 0.5) continue;  // the centre needs no name
    TextItem label;
    label.text = ticks.labels[i];
    label.font = kTickFont;
    label.color = kTextColor;
    label.x = cx + 3;
    label.y = cy - reach(ticks.values[i]);
    label.vAlign = 1;
    label.role = "tick-label y";
    // A light backing keeps the value legible over a wedge's colour.
    const TextBox box = text.measure(label.text, label.font);
    ShapeItem backing;
    backing.path.rectangle(label.x - 1.5, label.y - box.height, box.width + 3, box.height);
    backing.filled = true;
    backing.fill = Color{255, 255, 255, 210};
    backing.role = "tick-label-backing y";
    scene.items.emplace_back(std::move(backing));
    scene.items.emplace_back(std::move(label));
  }
  // The category names outside the rim, each at its wedge's middle.
  const Categories& names = *categories.categories();
  for (std::size_t k = 0; k < names.size(); ++k) {
    const double angle = roseAngle(categories, static_cast<double>(k));
    const double c = std::cos(angle), s = std::sin(angle);
    TextItem label;
    label.text = names.labels[k];
    label.font = kTickFont;
    label.color = kTextColor;
    label.x = cx + (radius + 6) * c;
    label.y = cy + (radius + 6) * s;
    // Anchored on the side that faces the centre.
    label.hAlign = c > 0.3 ? 0 : c < -0.3 ? 1 : 0.5;
    label.vAlign = s > 0.3 ? 0 : s < -0.3 ? 1 : 0.5;
    label.role = "tick-label x";
    scene.items.emplace_back(std::move(label));
  }
}

}  // namespace chartxml::render
