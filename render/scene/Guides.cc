#include "scene/Guides.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "scales/Palette.h"
#include "stats/Formula.h"

namespace chartxml::render {
namespace {

// Function lines: at least this many points, at most this many.
constexpr int kMinCurvePoints = 50;
constexpr int kMaxCurvePoints = 2000;

std::optional<double> parseValue(const std::string& text) {
  double value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

void referenceLine(Scene& scene, const Guide& guide, const PanelView& view, ChartModel& model) {
  const Rect& area = view.area;
  for (const auto& [name, text] : guide.parameters) {
    const auto value = parseValue(text);
    const bool alongX = name == "x";
    if (!value || (!alongX && name != "y")) {
      model.skip("parameter '" + name + "' of reference line " + guide.id);
      continue;
    }
    const AxisScale& scale = alongX ? *view.x : *view.y;
    // Beyond the range (or at infinity) the line would lie outside the panel.
    const double share = scale.fraction(*value);
    if (!std::isfinite(*value) || !(share >= -1e-9 && share <= 1 + 1e-9)) continue;
    ShapeItem line;
    // A reference at x is a vertical line (horizontal when transposed).
    if (alongX != view.transposed) {
      const double px = std::min(crisp(view.across(scale, *value)), area.right() - 0.5);
      line.path.moveTo(px, area.y);
      line.path.lineTo(px, area.bottom());
    } else {
      const double py = std::max(crisp(view.up(scale, *value)), area.y + 0.5);
      line.path.moveTo(area.x, py);
      line.path.lineTo(area.right(), py);
    }
    line.stroke = {kGuideColor, 1.25, {6, 4}, false};
    line.role = "guide reference-line";
    scene.items.emplace_back(std::move(line));
  }
}

void functionLine(Scene& scene, const Guide& guide, const PanelView& view, ChartModel& model,
                  std::vector<double> dash) {
  const std::string* text = findParameter(guide.parameters, "y");
  std::string problem;
  const auto formula = text ? Formula::parse(*text, problem) : std::nullopt;
  if (!formula) {
    model.skip("function line " + guide.id + (problem.empty() ? "" : ": " + problem));
    return;
  }
  if (view.x->kind() == AxisScale::Kind::kBand) {
    model.skip("function line " + guide.id + " over a categorical x");
    return;
  }
  int count = 1000;
  if (const std::string* asked = findParameter(guide.parameters, "numPoints")) {
    const double n = parseValue(*asked).value_or(1000);
    count = std::isfinite(n) ? static_cast<int>(std::clamp(n, 0.0, 1e6)) : 1000;
  }
  count = std::clamp(count, kMinCurvePoints, kMaxCurvePoints);
  // Evenly spaced along the drawn axis, so a log or power x bends no less
  // smoothly at one end than at the other.
  std::vector<std::pair<double, double>> points;
  points.reserve(static_cast<std::size_t>(count));
  const bool across = view.transposed;  // the value runs across the panel
  const double extent = across ? view.area.width : view.area.height;
  double lastY = NAN;
  for (int i = 0; i < count; ++i) {
    const double x = view.x->valueAt(static_cast<double>(i) / (count - 1));
    const double y = (*formula)(x);
    const std::pair<double, double> point{view.px(x, y), view.py(x, y)};
    // A step longer than the panel may jump a pole (1 / x at 0): if the
    // value halfway does not lie between its ends, the line breaks there.
    if (!points.empty() && std::isfinite(lastY) && std::isfinite(y)) {
      const auto& [px, py] = points.back();
      const double step = across ? point.first - px : point.second - py;
      if (std::fabs(step) > extent) {
        const double middle = (*formula)(view.x->valueAt((i - 0.5) / (count - 1)));
        if (!(middle >= std::min(lastY, y) && middle <= std::max(lastY, y))) {
          points.emplace_back(NAN, NAN);
        }
      }
    }
    points.push_back(point);
    lastY = y;
  }
  ShapeItem line;
  line.path = clippedPolyline(points, view.area);
  line.stroke = {kGuideColor, 1.75, std::move(dash), true};
  line.role = "guide function";
  if (!line.path.empty()) scene.items.emplace_back(std::move(line));
}

}  // namespace

Path clippedPolyline(const std::vector<std::pair<double, double>>& points, const Rect& area) {
  // An infinite coordinate becomes one well past the edge it points at, so
  // that clipping ends the line on that edge.
  const Rect far{area.x - area.width - 1, area.y - area.height - 1, 3 * area.width + 2,
                 3 * area.height + 2};
  const auto tame = [&](double value, double lo, double hi) {
    return value == INFINITY ? hi : value == -INFINITY ? lo : value;
  };
  Path path;
  bool havePrevious = false, open = false;
  double lastX = 0, lastY = 0;
  for (const auto& [rawX, rawY] : points) {
    const double px = tame(rawX, far.x, far.right()), py = tame(rawY, far.y, far.bottom());
    if (std::isnan(px) || std::isnan(py)) {
      havePrevious = open = false;
      continue;
    }
    if (havePrevious) {
      double ax = lastX, ay = lastY, bx = px, by = py;
      if (clipSegment(area, ax, ay, bx, by)) {
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

std::vector<double> functionDash(const DataFrame& frame, const Guide& guide) {
  static const std::vector<double> kPatterns[] = {{}, {8, 4}, {2, 3}, {8, 3, 2, 3}, {14, 4}};
  std::size_t lines = 0, place = 0;
  for (const Guide& other : frame.guides) {
    if (other.type != "function") continue;
    if (&other == &guide) place = lines;
    ++lines;
  }
  if (lines < 2) return {};
  return kPatterns[place % std::size(kPatterns)];
}

void drawFrameGuides(Scene& scene, const DataFrame& frame, const PanelView& view,
                     ChartModel& model) {
  for (const Guide& guide : frame.guides) {
    if (guide.type == "line") {
      referenceLine(scene, guide, view, model);
    } else if (guide.type == "function") {
      functionLine(scene, guide, view, model, functionDash(frame, guide));
    } else {
      model.skip("guide " + guide.id + " of type '" + guide.type + "'");
    }
  }
}

}  // namespace chartxml::render
