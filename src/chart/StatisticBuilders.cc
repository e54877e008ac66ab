// Statistics and their parameters, summary functions, aggregate variables and
// number formats: how a chart summarises the values it shows.
#include <string>
#include <vector>

#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chart/Words.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/codes.h"
#include "chartxml/host/KytoUni.h"
#include "common/XmlText.h"

using chartxml::widenAscii;
using xercesc::DOMDocument;
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

using namespace chartxml::words;

namespace {

constexpr char16_t kHistogram[] = u"histogram";
constexpr char16_t kBinWidth[] = u"bin-width";
constexpr char16_t kFacetsShareSpecification[] = u"facetsShareSpecification";
constexpr char16_t kAggregate[] = u"aggregate";
constexpr char16_t kSystem[] = u"system";
constexpr char16_t kPrefix[] = u"prefix";
constexpr char16_t kSuffix[] = u"suffix";
constexpr char16_t kMaximumFractionDigits[] = u"maximumFractionDigits";
// Aggregates of the case number, the count and the percentage carry the
// vocabulary word of their code as source name.
constexpr int kCaseNumberCode = 135;
constexpr int kCountCode = 140;
constexpr int kPercentCode = 141;
constexpr char kFirstSource[] = "source0";

DOMElement* newParameter(DOMDocument* document, const char16_t* name, const char16_t* value) {
  DOMElement* parameter = document->createElement(KytoUni::_parameter);
  parameter->setAttribute(KytoUni::_name, name);
  parameter->setAttribute(KytoUni::_value, value);
  return parameter;
}

// The description word of a summary-function code and how many of the two
// numbers follow it; no word for a rejected code.
struct SummaryFunction {
  const char16_t* word;
  int numbers;
};

SummaryFunction summaryFunction(int code) {
  switch (code) {
    case CX_SUMMARY_CUSTOM_STATISTIC:
      return {KytoExtensionSV::_customStatistic, 0};
    case CX_SUMMARY_NUMBER_OF_CASES:
    case 15:  // as CX_SUMMARY_NUMBER_OF_CASES
      return {KytoExtensionSV::_numberOfCases, 0};
    case CX_SUMMARY_MINIMUM_VALUE:
      return {u"minimumValue", 0};
    case CX_SUMMARY_MAXIMUM_VALUE:
      return {u"maximumValue", 0};
    case CX_SUMMARY_VALID_N:
      return {KytoExtensionSV::_validN, 0};
    case CX_SUMMARY_SUM_OF_VALUES:
      return {u"sumOfValues", 0};
    case CX_SUMMARY_CUMULATIVE_SUM:
      return {u"cumulativeSum", 0};
    case CX_SUMMARY_MEAN_OF_VALUES:
      return {u"meanOfValues", 0};
    case CX_SUMMARY_STANDARD_DEVIATION:
      return {u"standardDeviation", 0};
    case CX_SUMMARY_VARIANCE:
      return {u"variance", 0};
    case CX_SUMMARY_MEDIAN_OF_VALUES:
      return {u"medianOfValues", 0};
    case CX_SUMMARY_MODE_OF_VALUES:
      return {u"modeOfValues", 0};
    case CX_SUMMARY_PERCENTAGE_OF_CASES:
      return {u"percentageOfCases", 0};
    case CX_SUMMARY_CUMULATIVE_PERCENTAGE_OF_CASES:
      return {u"cumulativePercentageOfCases", 0};
    case CX_SUMMARY_CUMULATIVE_NUMBER_OF_CASES:
      return {u"cumulativeNumberOfCases", 0};
    case CX_SUMMARY_PERCENTILE:
      return {u"percentile", 1};
    case CX_SUMMARY_PERCENTAGE_BELOW:
      return {u"percentageBelow", 1};
    case CX_SUMMARY_PERCENTAGE_ABOVE:
      return {u"percentageAbove", 1};
    case CX_SUMMARY_NUMBER_BELOW:
      return {u"numberBelow", 1};
    case CX_SUMMARY_NUMBER_ABOVE:
      return {u"numberAbove", 1};
    case CX_SUMMARY_PERCENTAGE_INSIDE:
      return {u"percentageInside", 2};
    case CX_SUMMARY_NUMBER_INSIDE:
      return {u"numberInside", 2};
    case CX_SUMMARY_G_MEDIAN:
      return {u"gMedian", 1};
    case CX_SUMMARY_G_PTILE:
      return {u"gPtile", 1};
    default:
      return {nullptr, 0};  // 0, 2, 24 and unknown codes
  }
}

// The feed source whose rows an aggregate's values fill: the one of the
// variable it derives from, followed through aggregates of aggregates (whose
// `source` is a variable's id) to a `source` element. When that leads nowhere
// (no source variable, or one declared without a source element) the chart's
// first source takes the values: charts of one source are the rule, and the
// feed needs some source to hold the column. `maxSteps` bounds the walk.
std::string feedSourceOf(DOMDocument* document, const DOMElement* variable, int maxSteps) {
  const DOMElement* current = variable;
  for (int step = 0; current != nullptr && step < maxSteps; ++step) {
    if (hasTag(current, KytoUni::_source)) {
      return ChartString::toUTF8(current->getAttribute(KytoUni::_id));
    }
    if (!hasTag(current, KytoUni::_variable)) break;
    current = document->getElementById(current->getAttribute(KytoUni::_source));
  }
  return kFirstSource;
}

// The number-format setters: a wrong kind fails without a report.
int setFormatText(Chart& chart, int numberFormat, int text, const char* role,
                  const char16_t* attribute) {
  DOMElement* format = chart.checkedElement(numberFormat, "NumberFormat", __LINE__);
  if (format == nullptr || !hasTag(format, KytoUni::_numberFormat)) return -1;
  ChartString value;
  if (!chart.checkString(text, role, __LINE__) ||
      !chart.callerText(text, attribute, value, __LINE__)) {
    return -1;
  }
  format->setAttribute(attribute, value.c_str());
  return 0;  // setting an attribute has no result of its own to pass on
}

}  // namespace

bool Chart::callerText(int handle, const char16_t* attribute, ChartString& text, int line) {
  const ChartString* found = strings().peek(handle);
  if (found == nullptr) {
    // A handle that passed the range check but names nothing (the next, not
    // yet issued one) reads as the empty text, reported; the caller goes on.
    text = strings().getString(handle);
    return true;
  }
  if (attribute != nullptr && !chartxml::isLegalXml(found->str())) {
    report("attribute " + ChartString::toUTF8(attribute) +
               " not set, its text holds a character not allowed in XML",
           line);
    return false;
  }
  text = *found;
  return true;
}

int Chart::AddStatistic(int parent, int methodText) {
  DOMElement* owner = checkedElement(parent, "parent", __LINE__);
  ChartString method;
  if (owner == nullptr || !checkString(methodText, "method", __LINE__) ||
      !callerText(methodText, kMethod, method, __LINE__) ||
      !checkDepth(owner, KytoUni::_statistic, __LINE__, method == kHistogram ? 2 : 1)) {
    return -1;
  }
  DOMElement* statistic = document()->createElement(KytoUni::_statistic);
  statistic->setAttribute(kMethod, method.c_str());
  if (method == kHistogram) {
    statistic->appendChild(newParameter(document(), kFacetsShareSpecification, KytoUni::_true));
  }
  insertChild(owner, statistic,
              {KytoUni::_x, KytoUni::_y, KytoUni::_z, KytoUni::_theta, KytoUni::_r, KytoUni::_phi});
  return registerElement(statistic);
}

int Chart::AddParam(int statisticOrElement, int nameText, int valueText) {
  DOMElement* owner = checkedElement(statisticOrElement, "statistic", __LINE__);
  if (owner == nullptr || !checkString(nameText, "name", __LINE__) ||
      !checkString(valueText, "value", __LINE__)) {
    return -1;
  }
  ChartString name;
  ChartString value;
  if (!callerText(nameText, KytoUni::_name, name, __LINE__) ||
      !callerText(valueText, KytoUni::_value, value, __LINE__) ||
      !checkDepth(owner, KytoUni::_parameter, __LINE__)) {
    return -1;
  }
  DOMElement* parameter = newParameter(document(), name.c_str(), value.c_str());
  owner->appendChild(parameter);
  return registerElement(parameter);
}

int Chart::SetBinWidth(double width) {
  if (!(width > 0.0)) return -1;
  const std::u16string text = widenAscii(asString(width));
  // The histograms first: each parameter changes the document, after which a
  // node list starts its walk from the top again. All are checked before any
  // changes.
  std::vector<DOMElement*> histograms;
  xercesc::DOMNodeList* statistics = document()->getElementsByTagName(KytoUni::_statistic);
  for (XMLSize_t i = 0; DOMNode* node = statistics->item(i); ++i) {
    auto* statistic = static_cast<DOMElement*>(node);
    if (!XMLString::equals(statistic->getAttribute(kMethod), kHistogram)) continue;
    if (!checkDepth(statistic, KytoUni::_parameter, __LINE__)) return -1;
    histograms.push_back(statistic);
  }
  for (DOMElement* statistic : histograms) {
    statistic->appendChild(newParameter(document(), kBinWidth, text.c_str()));
  }
  return histograms.empty() ? -1 : 1;
}

int Chart::SetSummaryFunction(int variable, int code, double p1, double p2) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr) return -1;
  // Set once per variable: later calls keep the first description and still
  // answer with their own code, whatever it is.
  DOMElement* meta = getChildByTagName(element, KytoUni::_meta);
  if (meta != nullptr && XMLString::stringLen(meta->getAttribute(KytoUni::_description)) != 0) {
    return code;
  }
  const SummaryFunction function = summaryFunction(code);
  if (function.word == nullptr) return -1;
  if (meta == nullptr && !checkDepth(element, KytoUni::_meta, __LINE__, kMetaLevels)) return -1;
  std::u16string description = function.word;
  if (function.numbers >= 1) description += ChartBase::_semicolon + widenAscii(asString(p1));
  if (function.numbers >= 2) description += ChartBase::_semicolon + widenAscii(asString(p2));
  metaOf(element)->setAttribute(KytoUni::_description, description.c_str());
  return code;
}

int Chart::addAggregate(int sourceVariable, const std::u16string& sourceName, bool categorical,
                        int labelText, int shortLabelText, int domain, bool weight) {
  const int texts[2] = {labelText, shortLabelText};
  const char* roles[2] = {"label", "shortLabel"};
  for (int i = 0; i < 2; ++i) {
    if (texts[i] != -1 && !checkString(texts[i], roles[i], __LINE__)) return -1;
  }
  DOMElement* domainElement = nullptr;
  if (domain != -1) {
    domainElement = checkedElement(domain, "domain", __LINE__);
    if (domainElement == nullptr) return -1;
  }
  // -1: an aggregate of no variable (the case number, say).
  DOMElement* source = nullptr;
  if (sourceVariable != -1) {
    source = checkedElement(sourceVariable, "sourceVariable", __LINE__);
    if (source == nullptr) return -1;
  }

  ChartString labels[2];
  for (int i = 0; i < 2; ++i) {
    if (texts[i] != -1 && !callerText(texts[i], nullptr, labels[i], __LINE__)) return -1;
    if (weight) chartxml::expandNewlines(labels[i]);
  }

  DOMElement* variable = document()->createElement(KytoUni::_variable);
  const char16_t* names[2] = {KytoUni::_label, KytoUni::_shortLabel};
  for (int i = 0; i < 2; ++i) {
    // A label that XML cannot hold is left out (and reported); the aggregate
    // is made all the same.
    if (texts[i] != -1) setTextAttribute(variable, names[i], labels[i].str());
  }
  if (source != nullptr) {
    variable->setAttribute(KytoUni::_source, source->getAttribute(KytoUni::_id));
  }
  variable->setAttribute(KytoUni::_sourceName, sourceName.c_str());
  assignId(variable, -1);
  if (domainElement != nullptr) {
    variable->setAttribute(KytoUni::_domain, domainElement->getAttribute(KytoUni::_id));
  }
  variable->setAttribute(KytoUni::_categorical, categorical ? KytoUni::_true : KytoUni::_false);

  DOMElement* meta = metaOf(variable);
  const std::u16string internalAggregate = std::u16string(ChartBase::_internal_) + kAggregate;
  if (sourceName == ChartBase::_casenum) {
    meta->setAttribute(KytoUni::_creator,
                       (std::u16string(ChartBase::_external_) + kSystem).c_str());
  } else if (sourceName != ChartBase::_countname) {
    meta->setAttribute(KytoUni::_creator, internalAggregate.c_str());
  }
  insertChild(root(), variable, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
  const int handle = registerElement(variable);
  if (weight) {
    meta->setAttribute(kWeight, KytoUni::_true);
    meta->setAttribute(KytoUni::_creator, internalAggregate.c_str());
  }

  // The feed takes the record over; a name it already holds leaves the record
  // untied, and values for it are then dropped by the feed.
  auto* record = new VarDataProcessor::_varinfo();
  dataProcessor_.AddVariable(feedSourceOf(document(), source, nextHandle_),
                             ChartString::toUTF8(sourceName), record);
  if (feedRecords_.size() <= static_cast<std::size_t>(handle)) feedRecords_.resize(handle + 1);
  feedRecords_[handle] = record;
  return handle;
}

int Chart::AddAggregate(int sourceVariable, int function, bool categorical, int labelText,
                        int shortLabelText, int domain) {
  std::u16string sourceName;
  switch (function) {
    case kCaseNumberCode:
      sourceName = ChartBase::_casenum;
      break;
    case kCountCode:
      sourceName = ChartBase::_countname;
      break;
    case kPercentCode:
      sourceName = ChartBase::_percentname;
      break;
    // The serial that the variable's own id is about to take.
    default:
      sourceName = u"V" + widenAscii(asString(nextIdSerial_));
      break;
  }
  return addAggregate(sourceVariable, sourceName, categorical, labelText, shortLabelText, domain,
                      false);
}

int Chart::AddWeightAggregate(int sourceVariable, int labelText, int shortLabelText) {
  return addAggregate(sourceVariable, ChartBase::_weightname, false, labelText, shortLabelText, -1,
                      true);
}

int Chart::SetAggregateExternal(int variable) {
  DOMElement* element = checkedElement(variable, "variable", __LINE__);
  if (element == nullptr || (getChildByTagName(element, KytoUni::_meta) == nullptr &&
                             !checkDepth(element, KytoUni::_meta, __LINE__, kMetaLevels))) {
    return -1;
  }
  DOMElement* meta = metaOf(element);
  meta->setAttribute(KytoUni::_creator,
                     (std::u16string(ChartBase::_external_) + kAggregate).c_str());
  return getHandle(meta);
}

int Chart::AddNumberFormat(int parent) {
  DOMElement* owner = checkedElement(parent, "parent", __LINE__);
  if (owner == nullptr || !checkDepth(owner, KytoUni::_numberFormat, __LINE__)) return -1;
  DOMElement* format = document()->createElement(KytoUni::_numberFormat);
  owner->appendChild(format);
  return registerElement(format);
}

int Chart::SetNumberFormatPrefix(int numberFormat, int text) {
  return setFormatText(*this, numberFormat, text, "prefix", kPrefix);
}

int Chart::setNumberFormatSuffix(int numberFormat, int text) {
  return setFormatText(*this, numberFormat, text, "suffix", kSuffix);
}

int Chart::SetNumberFormatMaxFractionDigits(int numberFormat, int text) {
  return setFormatText(*this, numberFormat, text, "maximumFractionDigits", kMaximumFractionDigits);
}
