// Bars in polar coordinates: a rose. Each category of x takes an equal
// wedge of the circle, clockwise from twelve o'clock in category order; a
// bar's value is its wedge's radius, measured from the centre on the y
// scale. Rings at the y scale's ticks and the category names around the
// rim stand for the axes.
//
// Points, lines and areas in polar coordinates map x to the angle (the x
// scale's whole range is one turn, clockwise from twelve o'clock) and y to
// the distance from the centre. Lines and area edges are cut into short
// steps before they are turned, so that a segment between two data points
// follows the arc between them.
#pragma once

#include <vector>

#include "layout/Geometry.h"
#include "scales/AxisScale.h"
#include "scene/Marks.h"
#include "scene/Scene.h"
#include "stats/Layers.h"
#include "text/TextEngine.h"

namespace chartxml::render {

// The screen angle (radians, 0 along +x, clockwise) of position `x` on the
// band scale `categories`: twelve o'clock at the first band's start.
double roseAngle(const AxisScale& categories, double x);

// `text` measures the rings' value labels, which get a backing of their own
// where they stand over the wedges.
void drawRose(Scene& scene, const Layer& layer, const Rect& area, const AxisScale& categories,
              const AxisScale& values, TextEngine& text);

// Points, lines and areas of `layers` (other kinds are left to drawRose
// and drawSlices) over `area`: rings at the radius ticks, spokes and names
// at the angle's, unless `rose` says a rose draws them. `angleFormat` and
// `radiusFormat` format the two scales' tick labels. Marks are cut at `clip`.
void drawPolarMarks(Scene& scene, const std::vector<Layer>& layers, const Rect& area,
                    const Rect& clip, const AxisScale& angle, const AxisScale& radius,
                    const ValueFormat& angleFormat, const ValueFormat& radiusFormat,
                    const PointLook& look, bool rose, TextEngine& text);

}  // namespace chartxml::render
