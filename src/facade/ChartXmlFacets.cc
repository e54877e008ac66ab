// The facade's facet operations: resolve the chart, then forward.
#include "facade/Forward.h"

int ChartXml::AddCoordinateFacet(int chart, int frame) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddCoordinateFacet(frame); });
}

int ChartXml::AddCross(int chart, int node) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddCross(node); });
}

int ChartXml::AddNest(int chart, int node) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddNest(node); });
}

int ChartXml::AddBlend(int chart, int node) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddBlend(node); });
}

int ChartXml::AddFacetVariable(int chart, int node, int role, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddFacetVariable(node, role, variable); });
}

int ChartXml::AddTableFacet(int chart, int frame) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddTableFacet(frame); });
}

int ChartXml::AddFacetLabeling(int chart, int frame) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddFacetLabeling(frame); });
}

int ChartXml::SetFacetLabelingCellAspect(int chart, int labeling, const double& aspect) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFacetLabelingCellAspect(labeling, aspect); });
}

int ChartXml::AddFacetLabel(int chart, int labeling, int idText, int level, bool reverse) {
  return state_->forward(
      chart, __LINE__, [&](Chart& c) { return c.AddFacetLabel(labeling, idText, level, reverse); });
}

int ChartXml::GetFacetLabel(int chart, int labeling, int level) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.GetFacetLabel(labeling, level); });
}

int ChartXml::SetFacetLabelCellStyle(int chart, int label, int styleText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFacetLabelCellStyle(label, styleText); });
}

int ChartXml::SetFacetLabelGap(int chart, int label, int gapText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFacetLabelGap(label, gapText); });
}

int ChartXml::SetFacetLabelLevel(int chart, int label, int level) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFacetLabelLevel(label, level); });
}

int ChartXml::AddFacetStyle(int chart, int element, int whenText, int styleText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddFacetStyle(element, whenText, styleText); });
}

int ChartXml::SetFacetsDifferentScale(int chart, int dimension) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetFacetsDifferentScale(dimension); });
}

int ChartXml::AddMatrixVariable(int chart, int list) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddMatrixVariable(list); });
}

int ChartXml::AddOverlayVariable(int chart, int list, int role) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddOverlayVariable(list, role); });
}
