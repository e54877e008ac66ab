// Three-dimensional frames: the data cube seen from the document's camera,
// its back planes with grid lines at the ticks, axes with ticks and labels
// along the cube's outer edges, and the points drawn back to front.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "format/ValueFormat.h"
#include "layout/Geometry.h"
#include "scales/AxisScale.h"
#include "scene/Marks.h"
#include "scene/Scene.h"
#include "stats/Layers.h"
#include "text/TextEngine.h"

namespace chartxml::render {

// One of the cube's three axes: x runs across, y up, z into depth.
struct CubeAxis {
  const AxisScale* scale = nullptr;  // finished (its range is fixed)
  ValueFormat format;                // tick labels
  std::string title;
  bool drawn = true;  // the document gives the dimension an axis
};

// Where the camera looks from, as the document's coordinate transform says:
// `theta` tilts the view up (degrees), `phi` turns it about the vertical axis
// (degrees), `distance` is the camera's distance in cube sizes (perspective;
// 0 or less: none).
struct CubeCamera {
  double theta = 10;
  double phi = -35;
  double distance = 1.3;
};

struct CubeContent {
  std::array<CubeAxis, 3> axes;  // x, y, z
  CubeCamera camera;
  std::array<bool, 3> backPlanes{};  // the planes whose normal is x, y, z
  // A wire frame: the cube's twelve edges, or (not complete) the nine
  // that stay clear of the corner nearest the eye.
  bool frame = false;
  bool frameComplete = true;
  // Layers of points with their third coordinate in `pz`.
  std::vector<const Layer*> layers;
  PointLook look;
};

// Draws the cube, fitted into `area` with room for its labels.
void drawCube(Scene& scene, TextEngine& text, const Rect& area, const CubeContent& content);

}  // namespace chartxml::render
