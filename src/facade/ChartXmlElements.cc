// The facade's element, position and aesthetic operations: resolve the chart,
// then forward.
#include "facade/Forward.h"

int ChartXml::AddElement(int chart, int parent, int type, int suffix) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddElement(parent, type, suffix); });
}

int ChartXml::AddElementGroup(int chart, int frame, int suffix) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddElementGroup(frame, suffix); });
}

int ChartXml::AddBinnedElement(int chart, int parent, int type, int suffix, int xVariable,
                               int yVariable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddBinnedElement(parent, type, suffix, xVariable, yVariable);
  });
}

int ChartXml::AddPosition(int chart, int element) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddPosition(element); });
}

int ChartXml::AddX(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(1, parent, variable); });
}

int ChartXml::AddY(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(2, parent, variable); });
}

int ChartXml::AddZ(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(3, parent, variable); });
}

int ChartXml::AddR(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(4, parent, variable); });
}

int ChartXml::AddTheta(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(5, parent, variable); });
}

int ChartXml::AddPhi(int chart, int parent, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.addPositional(6, parent, variable); });
}

int ChartXml::AddColor(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddColor(element, variable); });
}

int ChartXml::AddSplit(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddSplit(element, variable); });
}

int ChartXml::AddStyleBy(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddStyleBy(element, variable); });
}

int ChartXml::AddStyleByColor(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddStyleByColor(element, variable); });
}

int ChartXml::AddStyleByPattern(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddStyleByPattern(element, variable); });
}

int ChartXml::AddStyleByColorAndPattern(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddStyleByColorAndPattern(element, variable); });
}

int ChartXml::AddLabeling(int chart, int element, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddLabeling(element, variable); });
}

int ChartXml::AddLabelingSuffix(int chart, int element, int variable, int suffix) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddLabelingSuffix(element, variable, suffix); });
}

int ChartXml::AddLabelingAggregate(int chart, int sourceVariable, int function, bool categorical,
                                   int labelText, int shortLabelText, int domain) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddLabelingAggregate(sourceVariable, function, categorical, labelText, shortLabelText,
                                  domain);
  });
}

int ChartXml::AddStack(int chart, int position, bool stacked) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddStack(position, stacked); });
}

int ChartXml::SetElementDot(int chart, int element, int dot) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.SetElementDot(element, dot); });
}

int ChartXml::SetElementName(int chart, int elementOrGuide, int name) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetElementName(elementOrGuide, name); });
}

int ChartXml::SetElementPositionModifier(int chart, int element, int modifier) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetElementPositionModifier(element, modifier); });
}

int ChartXml::SetLabelCollisionHandling(int chart, int element, int handling) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetLabelCollisionHandling(element, handling); });
}

int ChartXml::SetDisplayOverlappingLabels(int chart, int element, bool show) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDisplayOverlappingLabels(element, show); });
}

int ChartXml::SetFrameClipping(int chart, int frame, bool clip) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFrameClipping(frame, clip); });
}
