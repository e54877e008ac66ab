// Axes: the choice of ticks and of the tick labels' angle for an axis's
// length (labels never overlap: thinned first for numbers and dates,
// turned 45 or 90 degrees first for categories), and the drawing of
// baselines, ticks, labels, grid lines and axis titles.
#pragma once

#include <optional>
#include <string>

#include "format/ValueFormat.h"
#include "layout/Geometry.h"
#include "scales/AxisScale.h"
#include "scene/Scene.h"
#include "text/TextEngine.h"

namespace chartxml::render {

// The look every axis shares, flat or in a cube.
inline constexpr Font kTickFont{11, false};
inline constexpr Font kAxisTitleFont{12, false};
inline constexpr double kTickLength = 5;
inline constexpr double kLabelGap = 3;    // between a tick's end and its label
inline constexpr double kTitleGap = 8;    // between the labels and the axis title
inline constexpr double kLabelSpace = 8;  // the least room between two labels side by side

// Which edge of its panels an axis runs along; top and right are the
// opposite sides.
enum class AxisSide { kBottom, kLeft, kTop, kRight };
inline bool isVertical(AxisSide side) {
  return side == AxisSide::kLeft || side == AxisSide::kRight;
}

struct AxisPlan {
  AxisSide side = AxisSide::kBottom;
  const AxisScale* scale = nullptr;
  ValueFormat format;
  std::string title;
  bool drawn = true;  // the document gives the dimension an axis
  bool grid = false;
  std::optional<double> angle;  // the document's label angle, if it sets one
  bool minor = false;           // minor ticks between the major ones
  bool minorGrid = false;
  int minorCount = 0;  // minors between two majors; 0: the scale's choice
  // Chosen by planAxis:
  AxisScale::TickSet ticks;
  std::vector<double> minorValues;
  double labelAngle = 0;  // 0, 45 or 90 (drawn turned counter-clockwise)
  double labelDepth = 0;  // the labels' extent away from the axis
  double titleDepth = 0;
};

// Chooses ticks and label angle for an axis `length` pixels long.
void planAxis(AxisPlan& plan, double length, TextEngine& text);

// The room the axis takes beside its panels: ticks, labels and title.
double axisDepth(const AxisPlan& plan);

// How far the tick labels reach past the panel's start (`atEnd` false) or
// end along an axis `length` long: what a neighbouring panel must leave free.
double labelOverhang(const AxisPlan& plan, double length, bool atEnd, TextEngine& text);

// Grid lines across the panel at the ticks, when the axis has them.
void drawGrid(Scene& scene, const AxisPlan& plan, const PanelView& view);

// The baseline and ticks along the panel's edge (its side's); the tick
// labels too when `labelled` (panels inside a grid leave them to the outer
// ones).
void drawAxis(Scene& scene, const AxisPlan& plan, const PanelView& view, bool labelled);

// The axis title, centred along `span` (the panels the axis serves) and
// placed beyond the plan's ticks and labels on its side.
void drawAxisTitle(Scene& scene, const AxisPlan& plan, const Rect& span);

}  // namespace chartxml::render
