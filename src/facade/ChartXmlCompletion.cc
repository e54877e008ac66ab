// The facade's operations on what a chart sends.
#include "facade/Forward.h"

int ChartXml::SetChartTemplate(int chart, const std::string& name) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.SetChartTemplate(name); });
}

int ChartXml::SetChartType(int chart, int kind) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.SetChartType(kind); });
}

int ChartXml::CreateChartDescription(int chart, int text) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.CreateChartDescription(text); });
}

int ChartXml::SetChartDescription(int chart, const std::string& text) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.CreateChartDescription(NStringNoTranslate(text));
  });
}

bool ChartXml::ValidXML(const std::string& xml) {
  return state_->guard(false, __LINE__, [&] {
    return getValidChart(0, chartxml::kFacadeSource, __LINE__, true) != nullptr &&
           ChartBase::ValidXML(xml);
  });
}
