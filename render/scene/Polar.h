// Bars in polar coordinates: a rose. Each category of x takes an equal
// wedge of the circle, clockwise from twelve o'clock in category order; a
// bar's value is its wedge's radius, measured from the centre on the y
// scale. Rings at the y scale's ticks and the category names around the
// rim stand for the axes.
#pragma once

#include "layout/Geometry.h"
#include "scales/AxisScale.h"
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

}  // namespace chartxml::render
