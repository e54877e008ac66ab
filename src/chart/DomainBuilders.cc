// Builders of domains and their parts: intervals, references to other domains
// or variables, and sorts.
#include <string>

#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chart/Words.h"
#include "chartxml/host/KytoUni.h"

using xercesc::DOMElement;
using xercesc::XMLString;

using namespace chartxml::words;

namespace {

constexpr char16_t kSimpleSort[] = u"simpleSort";
constexpr char16_t kStatisticSort[] = u"statisticSort";
constexpr char16_t kDescending[] = u"descending";
constexpr char16_t kSourceVariable[] = u"sourceVariable";
constexpr char16_t kStatVariable[] = u"statVariable";

const char16_t* flag(bool value) {
  return value ? KytoUni::_true : KytoUni::_false;
}

// A new sort of `domain`, placed ahead of the domain's formats and relabels.
DOMElement* newSort(Chart& chart, DOMElement* domain) {
  DOMElement* sort = chart.document()->createElement(KytoUni::_sort);
  chart.insertChild(domain, sort,
                    {KytoUni::_numberFormat, KytoUni::_stringFormat, KytoUni::_dateTimeFormat,
                     KytoUni::_relabel});
  return sort;
}

}  // namespace

int Chart::AddDomain(bool categorical) {
  DOMElement* domain = document()->createElement(KytoUni::_domain);
  assignId(domain, -1);
  domain->setAttribute(KytoUni::_categorical, flag(categorical));
  insertChild(root(), domain, {KytoUni::_frame, KytoUni::_style});
  return registerElement(domain);
}

int Chart::AddDomainReference(int domain, int target) {
  DOMElement* parent = checkedElement(domain, "parent", __LINE__);
  if (parent == nullptr) return -1;
  DOMElement* referred = checkedElement(target, "domain", __LINE__);
  if (referred == nullptr) return -1;
  if (!hasTag(parent, KytoUni::_domain)) {
    reportParent("can't add domainReference to anything but domain - ", parent, __LINE__);
    return -1;
  }
  if (!hasTag(referred, KytoUni::_domain) && !hasTag(referred, KytoUni::_variable)) {
    reportParent("domainReference must refer to a domain or variable ", referred, __LINE__);
    return -1;
  }
  // An absent attribute reads as empty text, so it matches neither setting.
  const std::u16string referredCategorical = referred->getAttribute(KytoUni::_categorical);
  const std::u16string parentCategorical = parent->getAttribute(KytoUni::_categorical);
  if (referredCategorical != parentCategorical) {
    report("domainReference (" + ChartString::toUTF8(referred->getAttribute(KytoUni::_id)) +
               ") categorical value of " + ChartString::toUTF8(referredCategorical) +
               " is not consistent with that of the parent( " +
               ChartString::toUTF8(parent->getAttribute(KytoUni::_id)) + ") value of " +
               ChartString::toUTF8(parentCategorical),
           __LINE__);
    return -1;
  }
  DOMElement* reference = document()->createElement(kDomainReference);
  reference->setAttribute(referred->getTagName(), referred->getAttribute(KytoUni::_id));
  parent->appendChild(reference);
  return registerElement(reference);
}

int Chart::AddIntervalEx(int domain, int minText, int maxText) {
  DOMElement* parent = checkedElement(domain, "element", __LINE__);
  if (parent == nullptr) return -1;
  if (minText != -1 && !checkString(minText, "min", __LINE__)) return -1;
  if (maxText != -1 && !checkString(maxText, "max", __LINE__)) return -1;
  if (!hasTag(parent, KytoUni::_domain)) {
    reportParent("can't add interval to anything but domain - ", parent, __LINE__);
    return -1;
  }
  ChartString bounds[2];
  const int handles[2] = {minText, maxText};
  const char16_t* names[2] = {KytoUni::_min, KytoUni::_max};
  for (int i = 0; i < 2; ++i) {
    if (handles[i] != -1 && !callerText(handles[i], names[i], bounds[i], __LINE__)) return -1;
  }
  DOMElement* interval = document()->createElement(KytoUni::_interval);
  for (int i = 0; i < 2; ++i) {
    if (handles[i] != -1) interval->setAttribute(names[i], bounds[i].c_str());
  }
  insertChild(parent, interval,
              {kDomainReference, KytoUni::_sort, KytoUni::_numberFormat, KytoUni::_stringFormat,
               KytoUni::_dateTimeFormat, KytoUni::_relabel});
  return registerElement(interval);
}

int Chart::AddSort(int domain) {
  DOMElement* parent = checkedElement(domain, "domain", __LINE__);
  if (parent == nullptr) return -1;
  if (!hasTag(parent, KytoUni::_domain)) {
    reportParent("can't add sort to anything but domain - ", parent, __LINE__);
    return -1;
  }
  return registerElement(newSort(*this, parent));
}

int Chart::SetDomainDescending(int domain, bool descending) {
  DOMElement* parent = checkedElement(domain, "domain", __LINE__);
  if (parent == nullptr) return -1;
  if (!hasTag(parent, KytoUni::_domain)) {
    reportParent("can't set descending attribute for anything but a domain ", parent, __LINE__);
    return -1;
  }
  DOMElement* sort = getChildByTagName(parent, KytoUni::_sort);
  if (sort == nullptr) {
    sort = newSort(*this, parent);
    registerElement(sort);
  }
  sort->setAttribute(kDescending, flag(descending));
  return domain;
}

int Chart::SetSortDescending(int sort, bool descending) {
  DOMElement* element = checkedElement(sort, "sort", __LINE__);
  if (element == nullptr) return -1;
  if (!hasTag(element, KytoUni::_sort)) {
    reportParent("can't set descending attribute for anything but a sort ", element, __LINE__);
    return -1;
  }
  element->setAttribute(kDescending, flag(descending));
  return sort;
}

int Chart::AddSimpleSort(int sort) {
  DOMElement* parent = checkedElement(sort, "sort", __LINE__);
  if (parent == nullptr) return -1;
  if (!hasTag(parent, KytoUni::_sort)) {
    reportParent("can't add simpleSort to anything but sort - ", parent, __LINE__);
    return -1;
  }
  DOMElement* simpleSort = document()->createElement(kSimpleSort);
  parent->appendChild(simpleSort);
  return registerElement(simpleSort);
}

int Chart::SetSimpleSortMethod(int simpleSort, int methodText) {
  DOMElement* element = checkedElement(simpleSort, "simpleSort", __LINE__);
  if (element == nullptr) return -1;
  if (!hasTag(element, kSimpleSort)) return -1;  // a wrong kind fails without a report
  ChartString method;
  if (!checkString(methodText, "method", __LINE__) ||
      !callerText(methodText, kMethod, method, __LINE__)) {
    return -1;
  }
  element->setAttribute(kMethod, method.c_str());
  return 0;  // setting an attribute has no result of its own to pass on
}

int Chart::AddStatisticSort(int sort, int sourceVariable, int statVariable) {
  DOMElement* parent = checkedElement(sort, "sort", __LINE__);
  if (parent == nullptr) return -1;
  DOMElement* source = checkedElement(sourceVariable, "sourceVariable", __LINE__);
  if (source == nullptr) return -1;
  DOMElement* statistic = nullptr;
  if (statVariable != -1) {
    statistic = checkedElement(statVariable, "statVariable", __LINE__);
    if (statistic == nullptr) return -1;
  }
  if (!hasTag(parent, KytoUni::_sort)) {
    reportParent("can't add statisticSort to anything but sort - ", parent, __LINE__);
    return -1;
  }
  DOMElement* statisticSort = document()->createElement(kStatisticSort);
  parent->appendChild(statisticSort);
  const int handle = registerElement(statisticSort);
  statisticSort->setAttribute(kSourceVariable, source->getAttribute(KytoUni::_id));
  if (statistic != nullptr) {
    statisticSort->setAttribute(kStatVariable, statistic->getAttribute(KytoUni::_id));
  }
  return handle;
}
