// Internals of the devices: the cairo painter behind PNG and PDF, and the
// rules of what gets drawn at all, which the SVG writer follows too so that
// every format shows the same items, points and arcs.
#pragma once

#include <cstddef>
#include <vector>

#include "scene/Scene.h"
#include "text/TextEngine.h"

typedef struct _cairo cairo_t;

namespace chartxml::render::device {

// Draws `scene`'s background and then every item in order on `cr`, in
// picture pixels (the caller sets any device scale). Failures leave `cr` in
// an error state for the caller to report.
void paint(cairo_t* cr, const Scene& scene, TextEngine& text);

// A path is drawn only when all of its arguments are finite.
bool drawable(const Path& path);

// An outline is drawn when its width is finite and above 0.
bool stroked(const Stroke& stroke);

// Whether `dash` can be drawn as a dash pattern: every length finite and not
// negative, and some above 0. Anything else draws solid.
bool dashed(const std::vector<double>& dash);

// The signed sweep (radians, positive clockwise) of an arc from `angle1` to
// `angle2`, normalised as cairo_arc (forward) and cairo_arc_negative do:
// forward sweeps are never negative, backward ones never positive. Sweeps of
// more than one turn keep one whole turn plus the remainder, since further
// turns only draw over the first.
double arcSweep(bool forward, double angle1, double angle2);

// A batch is drawn when its size is finite and above 0 and it has a palette.
bool drawable(const PointBatch& batch);
std::size_t pointCount(const PointBatch& batch);

// The colour of point `i` of a drawable batch, or null when that point is not
// drawn: a coordinate not finite, or a colour index outside the palette.
const Color* pointColor(const PointBatch& batch, std::size_t i);

// The outline of a filled marker other than a circle, as offsets from its
// centre (y down): squares, upward triangles and diamonds of about the area
// of a square of side `size`.
struct MarkerPolygon {
  int count = 0;
  double x[4] = {}, y[4] = {};
};
MarkerPolygon markerPolygon(MarkerShape shape, double size);

// Crosses and pluses are two strokes of this width, reaching size / 2 from
// the centre.
double markerLineWidth(double size);

// Adds one marker of `batch`'s shape and size centred at (x, y) to `cr`'s
// path: a closed outline to fill, or for crosses and pluses two lines to
// stroke. `polygon` is markerPolygon(batch.shape, batch.size).
void markerPath(cairo_t* cr, const PointBatch& batch, const MarkerPolygon& polygon, double x,
                double y);

// Sets `cr`'s source colour, line width, joins, caps and dashes to `stroke`'s.
void setStroke(cairo_t* cr, const Stroke& stroke);

}  // namespace chartxml::render::device
