// The facade's coordinate, dimension, axis, guide and legend operations:
// resolve the chart, then forward.
#include "facade/Forward.h"

int ChartXml::AddCoordinateTransform(int chart, int frame, int method) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddCoordinateTransform(frame, method); });
}

int ChartXml::AddDimension(int chart, int frame, int role, int domain) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddDimension(frame, role, domain); });
}

int ChartXml::GetDimension(int chart, int frame, int role) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.GetDimension(frame, role); });
}

int ChartXml::SetDimensionDomain(int chart, int dimension, int domain) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionDomain(dimension, domain); });
}

int ChartXml::SetDimensionLowerMapping(int chart, int dimension, int mapping) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionLowerMapping(dimension, mapping); });
}

int ChartXml::SetDimensionUpperMapping(int chart, int dimension, int mapping) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionUpperMapping(dimension, mapping); });
}

int ChartXml::SetDimensionLowerMargin(int chart, int dimension, int margin) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionLowerMargin(dimension, margin); });
}

int ChartXml::SetDimensionUpperMargin(int chart, int dimension, int margin) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionUpperMargin(dimension, margin); });
}

int ChartXml::SetDimensionSameRatio(int chart, int dimension, bool sameRatio) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDimensionSameRatio(dimension, sameRatio); });
}

int ChartXml::SetUnionDomain(int chart, int dimension) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.SetUnionDomain(dimension); });
}

int ChartXml::SetDimensionScale(int chart, int dimension, int method, int value, bool invert) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.SetDimensionScale(dimension, method, value, invert);
  });
}

int ChartXml::SetXYDimensionSameScale(int chart, const double& extent) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetXYDimensionSameScale(extent); });
}

int ChartXml::AddAxis(int chart, int dimension, int idSuffix, bool opposite) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddAxis(dimension, idSuffix, opposite); });
}

int ChartXml::AddMajorTicks(int chart, int parent, int position, bool gridLines, int length,
                            int labelAngle, bool stagger, int delta) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddMajorTicks(parent, position, gridLines, length, labelAngle, stagger, delta);
  });
}

int ChartXml::AddMinorTicks(int chart, int axis, int position, bool gridLines, int length,
                            int number) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddMinorTicks(axis, position, gridLines, length, number);
  });
}

int ChartXml::AddGuide(int chart, int frame, int type, int suffix) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddGuide(frame, type, suffix); });
}

int ChartXml::AddLegend(int chart, int frame, int suffix) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddLegend(frame, suffix); });
}

int ChartXml::AddLegendTarget(int chart, int legend, int target, int suffix, int aesthetic) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddLegendTarget(legend, target, suffix, aesthetic);
  });
}

int ChartXml::AddLegendTargetEx(int chart, int legend, int target, int styleBy, int suffix) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddLegendTargetEx(legend, target, styleBy, suffix);
  });
}

int ChartXml::AddXReferenceLine(int chart, int frame, int value, int number) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addReferenceLine(1, frame, value, number); });
}

int ChartXml::AddYReferenceLine(int chart, int frame, int value, int number) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addReferenceLine(2, frame, value, number); });
}

int ChartXml::SetAxisPercent(int chart, int parent, int formatOwner) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetAxisPercent(parent, formatOwner); });
}
