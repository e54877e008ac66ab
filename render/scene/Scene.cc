#include "scene/Scene.h"

namespace chartxml::render {

void Path::moveTo(double x, double y) {
  ops_.push_back(Op::kMove);
  args_.insert(args_.end(), {x, y});
}

void Path::lineTo(double x, double y) {
  ops_.push_back(Op::kLine);
  args_.insert(args_.end(), {x, y});
}

void Path::arc(double cx, double cy, double radius, double angle1, double angle2) {
  ops_.push_back(Op::kArc);
  args_.insert(args_.end(), {cx, cy, radius, angle1, angle2});
}

void Path::arcNegative(double cx, double cy, double radius, double angle1, double angle2) {
  ops_.push_back(Op::kArcNegative);
  args_.insert(args_.end(), {cx, cy, radius, angle1, angle2});
}

void Path::close() {
  ops_.push_back(Op::kClose);
}

void Path::rectangle(double x, double y, double width, double height) {
  moveTo(x, y);
  lineTo(x + width, y);
  lineTo(x + width, y + height);
  lineTo(x, y + height);
  close();
}

}  // namespace chartxml::render
