#include "scene/Axes.h"

#include <algorithm>
#include <cmath>

#include "scales/Palette.h"

namespace chartxml::render {
namespace {

constexpr double kSin45 = 0.7071067811865476;

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
    if (plan.side == AxisSide::kLeft) {
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
  if (plan.side == AxisSide::kLeft) return widest;
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
  if (plan.side == AxisSide::kBottom) {
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
  plan.labelDepth = depthOf(plan, text);
  plan.titleDepth = plan.title.empty() ? 0 : text.measure(plan.title, kAxisTitleFont).height;
}

double axisDepth(const AxisPlan& plan) {
  if (!plan.drawn) return 0;
  return kTickLength + kLabelGap + plan.labelDepth +
         (plan.titleDepth > 0 ? kTitleGap + plan.titleDepth : 0);
}

void drawGrid(Scene& scene, const AxisPlan& plan, const PanelView& view) {
  if (!plan.grid || !plan.drawn) return;
  const Rect& area = view.area;
  for (const double value : plan.ticks.values) {
    if (plan.side == AxisSide::kBottom) {
      const double x = crisp(view.across(*plan.scale, value));
      addLine(scene, x, area.y, x, area.bottom(), kGridColor, 1, "grid x");
    } else {
      const double y = crisp(view.up(*plan.scale, value));
      addLine(scene, area.x, y, area.right(), y, kGridColor, 1, "grid y");
    }
  }
}

void drawAxis(Scene& scene, const AxisPlan& plan, const PanelView& view, bool labelled) {
  if (!plan.drawn) return;
  const Rect& area = view.area;
  const bool bottom = plan.side == AxisSide::kBottom;
  const char* axisName = bottom ? "x" : "y";
  if (bottom) {
    const double y = crisp(area.bottom());
    addLine(scene, area.x, y, area.right(), y, kAxisColor, 1, "axis-line x");
  } else {
    const double x = crisp(area.x);
    addLine(scene, x, area.y, x, area.bottom(), kAxisColor, 1, "axis-line y");
  }
  for (std::size_t i = 0; i < plan.ticks.values.size(); ++i) {
    const double value = plan.ticks.values[i];
    TextItem label;
    label.text = plan.ticks.labels[i];
    label.font = kTickFont;
    label.color = kMutedTextColor;
    label.role = std::string("tick-label ") + axisName;
    if (bottom) {
      const double x = crisp(view.across(*plan.scale, value));
      addLine(scene, x, area.bottom(), x, area.bottom() + kTickLength, kAxisColor, 1, "tick x");
      label.x = x;
      label.y = area.bottom() + kTickLength + kLabelGap;
      if (plan.labelAngle == 0) {
        label.hAlign = 0.5;
      } else {
        // Turned labels end at their tick, reading upwards to it.
        label.angle = -plan.labelAngle;
        label.hAlign = 1;
        label.vAlign = plan.labelAngle == 90 ? 0.5 : 0.25;
      }
    } else {
      const double y = crisp(view.up(*plan.scale, value));
      addLine(scene, area.x - kTickLength, y, area.x, y, kAxisColor, 1, "tick y");
      label.x = area.x - kTickLength - kLabelGap;
      label.y = y;
      label.hAlign = 1;
      label.vAlign = 0.5;
    }
    if (labelled) scene.items.emplace_back(std::move(label));
  }
}

void drawAxisTitle(Scene& scene, const AxisPlan& plan, const Rect& span) {
  if (!plan.drawn || plan.title.empty()) return;
  TextItem title;
  title.text = plan.title;
  title.font = kAxisTitleFont;
  title.color = kTextColor;
  const double depth = kTickLength + kLabelGap + plan.labelDepth + kTitleGap;
  if (plan.side == AxisSide::kBottom) {
    title.x = span.x + span.width / 2;
    title.y = span.bottom() + depth;
    title.hAlign = 0.5;
    title.role = "axis-title x";
  } else {
    title.x = span.x - depth;
    title.y = span.y + span.height / 2;
    title.angle = -90;
    title.hAlign = 0.5;
    title.vAlign = 1;
    title.role = "axis-title y";
  }
  scene.items.emplace_back(std::move(title));
}

}  // namespace chartxml::render
