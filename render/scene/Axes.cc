#include "scene/Axes.h"

#include <algorithm>
#include <cmath>

#include "scales/Palette.h"

namespace chartxml::render {
namespace {

constexpr double kSin45 = 0.7071067811865476;
constexpr double kMinorTickLength = 3;
constexpr Color kMinorGridColor{242, 242, 242, 255};

// Where the ticks lie along an axis `length` long, from its start.
std::vector<double> offsets(const AxisScale& scale, const std::vector<double>& values,
                            double length) {
  std::vector<double> out;
  for (const double value : values) out.push_back(scale.fraction(value) * length);
  return out;
}

// Whether the labels fit at `angle` along an axis `length` long.
bool fits(const AxisPlan& plan, const AxisScale::TickSet& set, double length, double angle,
          TextEngine& text) {
  const std::vector<double> at = offsets(*plan.scale, set.values, length);
  std::vector<TextBox> boxes;
  for (const std::string& label : set.labels) boxes.push_back(text.measure(label, kTickFont));
  for (std::size_t i = 1; i < at.size(); ++i) {
    const double gap = std::fabs(at[i] - at[i - 1]);
    const TextBox& a = boxes[i - 1];
    const TextBox& b = boxes[i];
    double need;
    if (isVertical(plan.side)) {
      need = (a.height + b.height) / 2 + 2;
    } else if (angle == 0) {
      need = (a.width + b.width) / 2 + kLabelSpace;
    } else if (angle == 45) {
      need = std::max(a.height, b.height) / kSin45 + 2;
    } else {
      need = std::max(a.height, b.height) + 2;
    }
    if (gap < need) return false;
  }
  return true;
}

double depthOf(const AxisPlan& plan, TextEngine& text) {
  double widest = 0, tallest = 0;
  for (const std::string& label : plan.ticks.labels) {
    const TextBox box = text.measure(label, kTickFont);
    widest = std::max(widest, box.width);
    tallest = std::max(tallest, box.height);
  }
  if (isVertical(plan.side)) return widest;
  if (plan.labelAngle == 45) return (widest + tallest) * kSin45;
  if (plan.labelAngle == 90) return widest;
  return tallest;
}

void addLine(Scene& scene, double x0, double y0, double x1, double y1, Color color, double width,
             const char* role) {
  ShapeItem line;
  line.path.moveTo(x0, y0);
  line.path.lineTo(x1, y1);
  line.stroke = {color, width, {}, false};
  line.role = role;
  scene.items.emplace_back(std::move(line));
}

}  // namespace

void planAxis(AxisPlan& plan, double length, TextEngine& text) {
  plan.ticks = {};
  plan.labelDepth = plan.titleDepth = 0;
  if (!plan.drawn || plan.scale == nullptr) return;
  length = std::max(length, 1.0);
  const bool band = plan.scale->kind() == AxisScale::Kind::kBand;
  // Angles to try, in order; a document's own angle is the only one tried.
  std::vector<double> angles{0};
  if (!isVertical(plan.side)) {
    if (plan.angle) {
      angles = {std::fabs(*plan.angle) >= 67.5   ? 90.0
                : std::fabs(*plan.angle) >= 22.5 ? 45.0
                                                 : 0.0};
    } else if (band) {
      angles = {0, 45, 90};
    } else {
      angles = {0, 90};
    }
  }
  for (std::size_t i = 0; i < angles.size(); ++i) {
    const double angle = angles[i];
    const bool last = i + 1 == angles.size();
    const auto test = [&](const AxisScale::TickSet& set) {
      return fits(plan, set, length, angle, text);
    };
    // Categories keep all their labels while turning helps; numbers thin first.
    AxisScale::TickSet set;
    if (band && !last) {
      set = plan.scale->ticks(length, plan.format, [](const AxisScale::TickSet&) { return true; });
      if (!test(set)) continue;
    } else {
      set = plan.scale->ticks(length, plan.format, test);
      if (!last && !test(set)) continue;
    }
    plan.ticks = std::move(set);
    plan.labelAngle = angle;
    break;
  }
  plan.minorValues.clear();
  if (plan.minor) plan.minorValues = plan.scale->minorTicks(plan.ticks.values, plan.minorCount);
  plan.labelDepth = depthOf(plan, text);
  plan.titleDepth = plan.title.empty() ? 0 : text.measure(plan.title, kAxisTitleFont).height;
}

double axisDepth(const AxisPlan& plan) {
  if (!plan.drawn) return 0;
  return kTickLength + kLabelGap + plan.labelDepth +
         (plan.titleDepth > 0 ? kTitleGap + plan.titleDepth : 0);
}

double labelOverhang(const AxisPlan& plan, double length, bool atEnd, TextEngine& text) {
  if (!plan.drawn || plan.scale == nullptr || plan.ticks.values.empty()) return 0;
  const bool vertical = isVertical(plan.side);
  // Turned labels hang to one side of their tick only (and not past the end).
  if (!vertical && plan.labelAngle != 0) {
    if (atEnd) return 0;
    const TextBox box = text.measure(plan.ticks.labels.front(), kTickFont);
    const double reach = plan.labelAngle == 90 ? box.height / 2 : (box.width + box.height) * kSin45;
    return std::max(0.0, reach - plan.scale->fraction(plan.ticks.values.front()) * length);
  }
  // Vertical axes count from the bottom: their start is the panel's bottom.
  const std::size_t i = atEnd ? plan.ticks.values.size() - 1 : 0;
  const TextBox box = text.measure(plan.ticks.labels[i], kTickFont);
  const double half = (vertical ? box.height : box.width) / 2;
  const double f = plan.scale->fraction(plan.ticks.values[i]);
  const double room = (atEnd ? 1 - f : f) * length;
  return std::isfinite(room) ? std::max(0.0, half - room) : 0;
}

void drawGrid(Scene& scene, const AxisPlan& plan, const PanelView& view) {
  if (!plan.drawn || (!plan.grid && !plan.minorGrid)) return;
  const Rect& area = view.area;
  const bool vertical = isVertical(plan.side);
  const auto lines = [&](const std::vector<double>& values, Color color, const char* role) {
    for (const double value : values) {
      if (!vertical) {
        const double x = crisp(view.across(*plan.scale, value));
        if (std::isfinite(x)) addLine(scene, x, area.y, x, area.bottom(), color, 1, role);
      } else {
        const double y = crisp(view.up(*plan.scale, value));
        if (std::isfinite(y)) addLine(scene, area.x, y, area.right(), y, color, 1, role);
      }
    }
  };
  // Minor lines first, so that the major ones lie on top.
  if (plan.minorGrid) {
    lines(plan.minorValues, kMinorGridColor, vertical ? "minor-grid y" : "minor-grid x");
  }
  if (plan.grid) lines(plan.ticks.values, kGridColor, vertical ? "grid y" : "grid x");
}

void drawAxis(Scene& scene, const AxisPlan& plan, const PanelView& view, bool labelled) {
  if (!plan.drawn) return;
  const Rect& area = view.area;
  const bool vertical = isVertical(plan.side);
  const char* axisName = vertical ? "y" : "x";
  // The edge the axis runs along, and which way its ticks point (outwards).
  const double edge = crisp(plan.side == AxisSide::kBottom ? area.bottom()
                            : plan.side == AxisSide::kTop  ? area.y
                            : plan.side == AxisSide::kLeft ? area.x
                                                           : area.right());
  const double outward = plan.side == AxisSide::kBottom || plan.side == AxisSide::kRight ? 1 : -1;
  if (!vertical) {
    addLine(scene, area.x, edge, area.right(), edge, kAxisColor, 1, "axis-line x");
  } else {
    addLine(scene, edge, area.y, edge, area.bottom(), kAxisColor, 1, "axis-line y");
  }
  const std::string tickRole = std::string("tick ") + axisName;
  const std::string minorRole = std::string("minor-tick ") + axisName;
  const auto tick = [&](double at, double length, const std::string& role) {
    if (!vertical) {
      addLine(scene, at, edge, at, edge + outward * length, kAxisColor, 1, role.c_str());
    } else {
      addLine(scene, edge, at, edge + outward * length, at, kAxisColor, 1, role.c_str());
    }
  };
  for (const double value : plan.minorValues) {
    const double at =
        crisp(vertical ? view.up(*plan.scale, value) : view.across(*plan.scale, value));
    if (std::isfinite(at)) tick(at, kMinorTickLength, minorRole);
  }
  const double reach = kTickLength + kLabelGap;
  for (std::size_t i = 0; i < plan.ticks.values.size(); ++i) {
    const double value = plan.ticks.values[i];
    const double at =
        crisp(vertical ? view.up(*plan.scale, value) : view.across(*plan.scale, value));
    if (!std::isfinite(at)) continue;
    tick(at, kTickLength, tickRole);
    if (!labelled) continue;
    TextItem label;
    label.text = plan.ticks.labels[i];
    label.font = kTickFont;
    label.color = kMutedTextColor;
    label.role = std::string("tick-label ") + axisName;
    if (!vertical) {
      label.x = at;
      label.y = edge + outward * reach;
      const bool top = plan.side == AxisSide::kTop;
      if (plan.labelAngle == 0) {
        label.hAlign = 0.5;
        label.vAlign = top ? 1 : 0;
      } else {
        // Turned labels read upwards: under the axis they end at their
        // tick, above it they start there.
        label.angle = -plan.labelAngle;
        label.hAlign = top ? 0 : 1;
        label.vAlign = plan.labelAngle == 90 ? 0.5 : top ? 0.75 : 0.25;
      }
    } else {
      label.x = edge + outward * reach;
      label.y = at;
      label.hAlign = plan.side == AxisSide::kLeft ? 1 : 0;
      label.vAlign = 0.5;
    }
    scene.items.emplace_back(std::move(label));
  }
}

void drawAxisTitle(Scene& scene, const AxisPlan& plan, const Rect& span) {
  if (!plan.drawn || plan.title.empty()) return;
  TextItem title;
  title.text = plan.title;
  title.font = kAxisTitleFont;
  title.color = kTextColor;
  const double depth = kTickLength + kLabelGap + plan.labelDepth + kTitleGap;
  title.hAlign = 0.5;
  if (!isVertical(plan.side)) {
    title.x = span.x + span.width / 2;
    const bool top = plan.side == AxisSide::kTop;
    title.y = top ? span.y - depth : span.bottom() + depth;
    title.vAlign = top ? 1 : 0;
    title.role = "axis-title x";
  } else {
    const bool left = plan.side == AxisSide::kLeft;
    title.x = left ? span.x - depth : span.right() + depth;
    title.y = span.y + span.height / 2;
    title.angle = -90;
    // Turned, the text's foot faces right: towards a left axis, away from a right one.
    title.vAlign = left ? 1 : 0;
    title.role = "axis-title y";
  }
  scene.items.emplace_back(std::move(title));
}

}  // namespace chartxml::render
