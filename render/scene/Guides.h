// A frame's guides in one panel: reference lines at a value of x or y, and
// function lines drawn from their formula over the x scale's range. Both
// stay inside the panel: a reference line beyond the scale's range is not
// drawn, and a curve that leaves the panel (or whose value is infinite) is
// cut at the panel's edge.
#pragma once

#include "layout/Geometry.h"
#include "model/ChartModel.h"
#include "scene/Scene.h"

namespace chartxml::render {

// Guide kinds and parameters that cannot be drawn are noted in `model`.
void drawFrameGuides(Scene& scene, const DataFrame& frame, const PanelView& view,
                     ChartModel& model);

// The dashes of a frame's function line by its place among the frame's
// named function lines: one line is solid; two or more each get their own
// pattern, the same on the line and in its legend key, so that a reader can
// tell fits of one colour apart.
std::vector<double> functionDash(const DataFrame& frame, const Guide& guide);

// The polyline through `points` (pixels) cut to `area`: pieces outside are
// dropped, pieces crossing its edge end there, a NaN coordinate breaks the
// line and an infinite one runs it to the edge it points at.
Path clippedPolyline(const std::vector<std::pair<double, double>>& points, const Rect& area);

}  // namespace chartxml::render
