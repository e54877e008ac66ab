// The facade's domain, sort, statistic, aggregate and number-format
// operations: resolve the chart, then forward.
#include "facade/Forward.h"

int ChartXml::AddDomain(int chart, bool categorical) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddDomain(categorical); });
}

int ChartXml::AddDomainReference(int chart, int domain, int target) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddDomainReference(domain, target); });
}

int ChartXml::AddIntervalEx(int chart, int domain, int minText, int maxText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddIntervalEx(domain, minText, maxText); });
}

int ChartXml::AddSort(int chart, int domain) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddSort(domain); });
}

int ChartXml::SetDomainDescending(int chart, int domain, bool descending) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetDomainDescending(domain, descending); });
}

int ChartXml::SetSortDescending(int chart, int sort, bool descending) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetSortDescending(sort, descending); });
}

int ChartXml::AddSimpleSort(int chart, int sort) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddSimpleSort(sort); });
}

int ChartXml::SetSimpleSortMethod(int chart, int simpleSort, int methodText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetSimpleSortMethod(simpleSort, methodText); });
}

int ChartXml::AddStatisticSort(int chart, int sort, int sourceVariable, int statVariable) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddStatisticSort(sort, sourceVariable, statVariable);
  });
}

int ChartXml::AddStatistic(int chart, int parent, int methodText) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.AddStatistic(parent, methodText); });
}

int ChartXml::AddParam(int chart, int statisticOrElement, int nameText, int valueText) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddParam(statisticOrElement, nameText, valueText);
  });
}

int ChartXml::SetBinWidth(int chart, const double& width) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.SetBinWidth(width); });
}

int ChartXml::SetSummaryFunction(int chart, int variable, int code, const double& p1,
                                 const double& p2) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetSummaryFunction(variable, code, p1, p2); });
}

int ChartXml::AddAggregate(int chart, int sourceVariable, int function, bool categorical,
                           int labelText, int shortLabelText, int domain) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddAggregate(sourceVariable, function, categorical, labelText, shortLabelText, domain);
  });
}

int ChartXml::AddWeightAggregate(int chart, int sourceVariable, int labelText, int shortLabelText) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.AddWeightAggregate(sourceVariable, labelText, shortLabelText);
  });
}

int ChartXml::SetAggregateExternal(int chart, int variable) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetAggregateExternal(variable); });
}

int ChartXml::AddNumberFormat(int chart, int parent) {
  return state_->forward(chart, __LINE__, [&](Chart& c) { return c.AddNumberFormat(parent); });
}

int ChartXml::SetNumberFormatPrefix(int chart, int numberFormat, int text) {
  return state_->forward(chart, __LINE__,
                         [&](Chart& c) { return c.SetNumberFormatPrefix(numberFormat, text); });
}

int ChartXml::SetNumberFormatMaxFractionDigits(int chart, int numberFormat, int text) {
  return state_->forward(chart, __LINE__, [&](Chart& c) {
    return c.SetNumberFormatMaxFractionDigits(numberFormat, text);
  });
}

// Kept for callers that still make the call: the minimum follows from the
// variable's display format, so there is nothing to set.
int ChartXml::SetNumberFormatMinFractionDigits(int /*chart*/, int /*numberFormat*/,
                                               int /*digits*/) {
  return -1;
}
