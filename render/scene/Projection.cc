#include "scene/Projection.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace chartxml::render {
namespace {

// The cube's size, as the camera's distance counts it: its diagonal, the
// most it spans seen from anywhere.
constexpr double kDiagonal = 1.7320508075688772;
// The cube's corners lie half a diagonal from its centre; an eye inside that
// sphere would see some of the cube behind it.
constexpr double kNearestEye = kDiagonal / 2 + 0.25;
// Past this the perspective is indistinguishable from none.
constexpr double kFarthestEye = 1e6;

double radians(double degrees) {
  return degrees * std::numbers::pi / 180;
}

}  // namespace

CubeProjection::CubeProjection(const CubeCamera& camera) {
  const CubeCamera fallback;
  const double theta =
      std::isfinite(camera.theta) ? std::clamp(camera.theta, -90.0, 90.0) : fallback.theta;
  const double phi = std::isfinite(camera.phi) ? std::fmod(camera.phi, 360.0) : fallback.phi;
  cosTheta_ = std::cos(radians(theta));
  sinTheta_ = std::sin(radians(theta));
  cosPhi_ = std::cos(radians(phi));
  sinPhi_ = std::sin(radians(phi));
  double distance = std::isnan(camera.distance) ? fallback.distance : camera.distance;
  if (distance <= 0 || distance > kFarthestEye) distance = 0;
  distance_ = distance > 0 ? std::max(distance * kDiagonal, kNearestEye) : 0;
}

CubeProjection::View CubeProjection::rotate(double x, double y, double z) const {
  // Turned about the vertical: a negative phi brings the eye round to the
  // front right, so x still runs to the right and z recedes to the right.
  const double x1 = x * cosPhi_ - z * sinPhi_;
  const double z1 = x * sinPhi_ + z * cosPhi_;
  // Tilted: a positive theta lifts the eye, so the far side rises and the
  // top comes nearer.
  return {x1, y * cosTheta_ + z1 * sinTheta_, z1 * cosTheta_ - y * sinTheta_};
}

Projected CubeProjection::project(double u, double v, double w) const {
  const View p = rotate(u - 0.5, v - 0.5, w - 0.5);
  if (distance_ <= 0) return {p.x, p.y, p.z};
  const double eye = distance_ + p.z;  // > 0 for anything near the cube
  const double f = distance_ / eye;
  return {p.x * f, p.y * f, std::sqrt(p.x * p.x + p.y * p.y + eye * eye)};
}

bool CubeProjection::facesEye(int axis, int side) const {
  double normal[3] = {0, 0, 0};
  normal[std::clamp(axis, 0, 2)] = side > 0 ? 1 : -1;
  const View n = rotate(normal[0], normal[1], normal[2]);
  // The face's centre lies at half its (unit) normal from the cube's centre
  // and the eye at -distance on the view axis, or infinitely far along it:
  // n . (eye - centre) = -n.z distance - 1/2.
  const double toward = distance_ > 0 ? -n.z * distance_ - 0.5 : -n.z;
  return toward > 1e-9;
}

}  // namespace chartxml::render
