// The facade's document operations: resolve the chart, then forward.
#include "facade/Forward.h"

int ChartXml::CopyAttributes(int chart, int fromElement, int toElement) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.CopyAttributes(fromElement, toElement); });
}

int ChartXml::AddMeta(int chart, int variable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddMeta(variable); });
}

int ChartXml::AddFrame(int chart, int parent, int suffix) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddFrame(parent, suffix); });
}

int ChartXml::AddLabel(int chart, int parent, int idSuffix, int content) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddLabel(parent, idSuffix, content); });
}
