#include "model/ChartModel.h"

#include <algorithm>

namespace chartxml::render {

const std::string* findParameter(const Parameters& parameters, std::string_view name) {
  for (const auto& [key, value] : parameters) {
    if (key == name) return &value;
  }
  return nullptr;
}

const std::string& Variable::title() const {
  if (!label.empty()) return label;
  if (!shortLabel.empty()) return shortLabel;
  return id;
}

const std::string* Variable::valueLabel(std::string_view value) const {
  for (const auto& [from, to] : relabels) {
    if (from == value) return &to;
  }
  return nullptr;
}

const char* roleName(Role role) {
  switch (role) {
    case Role::kX:
      return "x";
    case Role::kY:
      return "y";
    case Role::kZ:
      return "z";
    case Role::kTheta:
      return "theta";
    case Role::kR:
      return "r";
    case Role::kPhi:
      return "phi";
  }
  return "?";
}

const std::string* Element::position(Role role) const {
  const auto it = positions.find(role);
  return it == positions.end() ? nullptr : &it->second;
}

const Dimension* DataFrame::dimension(Role role) const {
  for (const Dimension& dimension : dimensions) {
    if (dimension.role == role) return &dimension;
  }
  return nullptr;
}

const Variable* ChartModel::variable(std::string_view id) const {
  for (const Variable& variable : variables) {
    if (variable.id == id) return &variable;
  }
  return nullptr;
}

const Element* ChartModel::element(std::string_view id) const {
  for (const DataFrame& frame : frames) {
    for (const Element& element : frame.elements) {
      if (element.id == id) return &element;
    }
  }
  return nullptr;
}

void ChartModel::skip(const std::string& what) {
  if (std::find(skipped.begin(), skipped.end(), what) == skipped.end()) skipped.push_back(what);
}

}  // namespace chartxml::render
