// The camera's view of the data cube: positions as fractions of the three
// scales (u across, v up, w into depth, each 0..1) to a plane with y up, in
// cube units, plus how far each lies from the eye so marks can be drawn back
// to front. The picture's scale and offset are the caller's.
#pragma once

#include "scene/Cube.h"

namespace chartxml::render {

struct Projected {
  double x = 0, y = 0;  // y up
  double depth = 0;     // larger is farther from the eye
};

class CubeProjection {
 public:
  // Non-finite or out-of-range camera values fall back to something drawable:
  // tilt clamped to [-90, 90], turn taken modulo 360, a camera too close
  // moved out of the cube's bounding sphere.
  explicit CubeProjection(const CubeCamera& camera);

  Projected project(double u, double v, double w) const;

  // Whether the eye lies on the outer side of the cube's face where
  // coordinate `axis` (0 x, 1 y, 2 z) is `side` (0 or 1). A face seen edge
  // on does not face the eye.
  bool facesEye(int axis, int side) const;

  // The eye's distance from the cube's centre in edge lengths (the camera
  // counts it in diagonals); 0 when the view is orthographic.
  double distance() const { return distance_; }

 private:
  struct View {
    double x, y, z;  // z away from the eye
  };
  // Turned and tilted, about the cube's centre.
  View rotate(double x, double y, double z) const;

  double cosPhi_ = 1, sinPhi_ = 0, cosTheta_ = 1, sinTheta_ = 0;
  double distance_ = 0;
};

}  // namespace chartxml::render
