// Builders of a frame's coordinate system and guides: coordinate transforms,
// dimensions and their settings, axes with their ticks, guides, legends,
// reference lines and percentage axes.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <string>
#include <vector>

#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chart/Words.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/codes.h"
#include "chartxml/host/KytoUni.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"
#include "role/Roles.h"

using chartxml::kChartSource;
using chartxml::widenAscii;
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

using namespace chartxml::words;

namespace {

// Words of the vocabulary that the token set does not spell.
constexpr char16_t kFacetLabeling[] = u"facetLabeling";
constexpr char16_t kLowerMapping[] = u"lowerMapping";
constexpr char16_t kUpperMapping[] = u"upperMapping";
constexpr char16_t kLowerMargin[] = u"lowerMargin";
constexpr char16_t kUpperMargin[] = u"upperMargin";
constexpr char16_t kSameRatio[] = u"sameRatio";
constexpr char16_t kTrueCentered[] = u"trueCentered";
constexpr char16_t kUnionDomain[] = u"unionDomain";
constexpr char16_t kInvert[] = u"invert";
constexpr char16_t kOpposite[] = u"opposite";
constexpr char16_t kCombineAxisLabels[] = u"combineAxisLabels";
constexpr char16_t kLength[] = u"length";
constexpr char16_t kStagger[] = u"stagger";
constexpr char16_t kDelta[] = u"delta";
constexpr char16_t kNumber[] = u"number";
constexpr char16_t kMarkStyle[] = u"markStyle";
constexpr char16_t kTickLabelStyle[] = u"tickLabelStyle";
constexpr char16_t kAesthetic[] = u"aesthetic";
constexpr char16_t kSafe[] = u"safe";
constexpr char16_t kPercentSign[] = u"%";
constexpr char16_t kPercent[] = u"percent";

// Vocabulary codes that the scale and reference-line builders key on.
// A hole in the vocabulary that callers pass for the natural logarithm: it
// names no string, so its text is never read.
constexpr int kNaturalLogCode = 124;

const char16_t* flag(bool value) {
  return value ? KytoUni::_true : KytoUni::_false;
}

std::u16string roleToken(Chart& chart, int role) {
  return widenAscii(chartxml::roleText(role, chart.errors()));
}

// A string argument that may be absent (-1), the attribute it sets, and its
// text once read.
struct OptionalText {
  int handle;
  const char* role;
  const char16_t* attribute;
  ChartString text;
};

// Checks every given handle under its role word, then reads the texts, all
// before anything is made. False (reported) on the first failure.
template <std::size_t N>
bool readOptionalTexts(Chart& chart, OptionalText (&texts)[N], int line) {
  for (OptionalText& t : texts) {
    if (t.handle != -1 && !chart.checkString(t.handle, t.role, line)) return false;
  }
  for (OptionalText& t : texts) {
    if (t.handle != -1 && !chart.callerText(t.handle, t.attribute, t.text, line)) return false;
  }
  return true;
}

template <std::size_t N>
void writeOptionalTexts(DOMElement* target, const OptionalText (&texts)[N]) {
  for (const OptionalText& t : texts) {
    if (t.handle != -1) target->setAttribute(t.attribute, t.text.c_str());
  }
}

// The grid lines of a tick element: styled by `styleId`, registered, their
// handle not passed on.
void addGridLines(Chart& chart, DOMElement* ticks, const std::u16string& styleId,
                  DOMElement* styleContainer) {
  DOMElement* grid = chart.document()->createElement(kGridLines);
  grid->setAttribute(KytoUni::_style, styleId.c_str());
  chart.addStyle(styleContainer, styleId.c_str());
  ticks->appendChild(grid);
  chart.registerElement(grid);
}

// The dimension setters that write one string: the dimension, the string,
// then the tag (refused silently). The dimension handle, or -1.
int setDimensionText(Chart& chart, int dimension, int text, const char* role,
                     const char16_t* attribute) {
  DOMElement* target = chart.checkedElement(dimension, "dimension", __LINE__);
  if (target == nullptr || !chart.checkString(text, role, __LINE__)) return -1;
  ChartString value;
  if (!hasTag(target, KytoUni::_dimension) || !chart.callerText(text, attribute, value, __LINE__)) {
    return -1;
  }
  target->setAttribute(attribute, value.c_str());
  return dimension;
}

// Percentages are never shown in scientific notation. -1 (silently) for
// anything but a number format.
int setScientificNever(Chart& chart, int numberFormat) {
  DOMElement* format = chart.checkedElement(numberFormat, "NumberFormat", __LINE__);
  if (format == nullptr || !hasTag(format, KytoUni::_numberFormat)) return -1;
  format->setAttribute(KytoUni::_scientific, KytoUni::_never);
  return 0;
}

}  // namespace

int Chart::AddCoordinateTransform(int frame, int method) {
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  ChartString text;
  if (owner == nullptr || !checkString(method, "method", __LINE__) ||
      !callerText(method, kMethod, text, __LINE__) ||
      !checkDepth(owner, kCoordinateTransform, __LINE__)) {
    return -1;
  }
  DOMElement* transform = document()->createElement(kCoordinateTransform);
  transform->setAttribute(kMethod, text.c_str());
  insertChild(owner, transform,
              {KytoUni::_dimension, KytoUni::_guide, KytoUni::_element, kElementGroup});
  return registerElement(transform);
}

int Chart::AddDimension(int frame, int role, int domain) {
  if (!checkHandle(frame, "frame", kChartSource, __LINE__) || !checkRole(role, __LINE__)) {
    return -1;
  }
  if (domain != -1 && !checkHandle(domain, "domain", kChartSource, __LINE__)) return -1;
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  const DOMElement* domainElement = nullptr;
  if (domain != -1) {
    domainElement = checkedElement(domain, "domain", __LINE__);
    if (domainElement == nullptr) return -1;
  }
  const std::u16string token = roleToken(*this, role);

  // One dimension per role and frame: a later call refines the first.
  DOMElement* dimension = nullptr;
  for (DOMNode* node = owner->getFirstChild(); node != nullptr; node = node->getNextSibling()) {
    if (node->getNodeType() != DOMNode::ELEMENT_NODE) continue;
    auto* child = static_cast<DOMElement*>(node);
    if (hasTag(child, KytoUni::_dimension) &&
        XMLString::equals(child->getAttribute(kRole), token.c_str())) {
      dimension = child;
      break;
    }
  }
  int handle = -1;
  if (dimension != nullptr) {
    handle = getHandle(dimension);
  } else {
    if (!checkDepth(owner, KytoUni::_dimension, __LINE__)) return -1;
    dimension = document()->createElement(KytoUni::_dimension);
    insertChild(owner, dimension, {KytoUni::_guide, kElementGroup, KytoUni::_element});
    handle = registerElement(dimension);
  }
  dimension->setAttribute(kRole, token.c_str());
  if (domainElement != nullptr) {
    dimension->setAttribute(KytoUni::_domain, domainElement->getAttribute(KytoUni::_id));
  }
  // Pie frames keep each facet's own scale.
  if (std::u16string_view(owner->getAttribute(KytoUni::_id)).find(u"pie") ==
      std::u16string_view::npos) {
    dimension->setAttribute(kFacetsShareScale, KytoUni::_true);
  }
  return handle;
}

int Chart::GetDimension(int frame, int role) {
  if (!checkRole(role, __LINE__)) return -1;
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  const std::u16string token = roleToken(*this, role);
  // Item by item: the list is read only as far as the dimension wanted.
  xercesc::DOMNodeList* dimensions = owner->getElementsByTagName(KytoUni::_dimension);
  for (XMLSize_t i = 0; DOMNode* node = dimensions->item(i); ++i) {
    auto* dimension = static_cast<DOMElement*>(node);
    if (XMLString::equals(dimension->getAttribute(kRole), token.c_str())) {
      return getHandle(dimension);
    }
  }
  return -1;
}

int Chart::SetDimensionDomain(int dimension, int domain) {
  DOMElement* target = checkedElement(dimension, "dimension", __LINE__);
  if (target == nullptr) return -1;
  const DOMElement* domainElement = checkedElement(domain, "domain", __LINE__);
  if (domainElement == nullptr) return -1;
  target->setAttribute(KytoUni::_domain, domainElement->getAttribute(KytoUni::_id));
  return dimension;
}

int Chart::SetDimensionLowerMapping(int dimension, int mapping) {
  return setDimensionText(*this, dimension, mapping, "mapping", kLowerMapping);
}

int Chart::SetDimensionUpperMapping(int dimension, int mapping) {
  return setDimensionText(*this, dimension, mapping, "mapping", kUpperMapping);
}

int Chart::SetDimensionLowerMargin(int dimension, int margin) {
  return setDimensionText(*this, dimension, margin, "margin", kLowerMargin);
}

int Chart::SetDimensionUpperMargin(int dimension, int margin) {
  return setDimensionText(*this, dimension, margin, "margin", kUpperMargin);
}

int Chart::SetDimensionSameRatio(int dimension, bool sameRatio) {
  DOMElement* target = checkedElement(dimension, "dimension", __LINE__);
  if (target == nullptr) return -1;
  int result = -1;
  if (hasTag(target, KytoUni::_dimension)) {
    target->setAttribute(kSameRatio, sameRatio ? kTrueCentered : KytoUni::_false);
    result = dimension;
  }
  // Square panels follow a same-ratio request whatever it was made on. The
  // search reads only as far as the first labeling, and not at all before
  // any was made.
  if (madeFacetLabeling_) {
    if (DOMNode* labeling = root()->getElementsByTagName(kFacetLabeling)->item(0)) {
      static_cast<DOMElement*>(labeling)->setAttribute(kCellAspect, u"1");
    }
  }
  return result;
}

int Chart::SetUnionDomain(int dimension) {
  DOMElement* target = checkedElement(dimension, "dimension", __LINE__);
  if (target == nullptr) return -1;
  if (!hasTag(target, KytoUni::_dimension)) {
    reportParent("can't set unionDomain attribute for anything but a dimension ", target, __LINE__);
    return -1;
  }
  target->setAttribute(kUnionDomain, KytoUni::_true);
  return dimension;
}

int Chart::SetDimensionScale(int dimension, int method, int value, bool invert) {
  DOMElement* target = checkedElement(dimension, "dimension", __LINE__);
  if (target == nullptr || !checkString(method, "method", __LINE__)) return -1;
  const bool naturalLog = method == kNaturalLogCode;
  if (!naturalLog && !checkString(value, "value", __LINE__)) return -1;
  if (!hasTag(target, KytoUni::_dimension)) return -1;
  ChartString methodText(KytoUni::_log);
  if (!naturalLog && !callerText(method, kMethod, methodText, __LINE__)) return -1;
  // Only these two methods take the caller's value; read it before the
  // scale exists so that a bad one leaves no half-made scale behind.
  const bool ownValue = method == CX_WORD_LOG || method == CX_WORD_EXPONENT;
  ChartString valueText;
  if (ownValue && !callerText(value, KytoUni::_value, valueText, __LINE__)) return -1;
  // The scale and its parameters.
  if (!checkDepth(target, KytoUni::_scale, __LINE__, 2)) return -1;

  DOMElement* scale = document()->createElement(KytoUni::_scale);
  scale->setAttribute(kMethod, methodText.c_str());
  if (invert) scale->setAttribute(kInvert, KytoUni::_true);
  insertChild(target, scale, {KytoUni::_axis, KytoUni::_label});
  const int handle = registerElement(scale);

  if (method == CX_WORD_LOG) {
    AddParam(handle, CX_WORD_UTF_BASE, value);
  } else if (method == CX_WORD_EXPONENT) {
    AddParam(handle, CX_WORD_EXPONENT, value);
  } else {
    ChartString e;
    e.assignDouble(std::numbers::e);
    AddParam(handle, CX_WORD_UTF_BASE, strings().add(e));
  }
  const int safe = strings().add(ChartString(kSafe));
  AddParam(handle, safe, strings().add(ChartString(KytoUni::_true)));
  return handle;
}

int Chart::SetXYDimensionSameScale(double extent) {
  // An infinite extent would write "inf" into the document: refused too.
  if (!(extent > 0.0) || !std::isfinite(extent)) return -1;
  const std::u16string max = widenAscii(asString(extent));
  const std::u16string min = widenAscii(asString(-extent));
  // The domains first: each insertion changes the document, after which a
  // node list starts its walk from the top again.
  std::vector<DOMElement*> domains;
  xercesc::DOMNodeList* list = root()->getElementsByTagName(KytoUni::_domain);
  for (XMLSize_t i = 0; DOMNode* node = list->item(i); ++i) {
    domains.push_back(static_cast<DOMElement*>(node));
  }
  int result = -1;
  for (DOMElement* domain : domains) {
    DOMElement* interval = document()->createElement(KytoUni::_interval);
    interval->setAttribute(KytoUni::_min, min.c_str());
    interval->setAttribute(KytoUni::_max, max.c_str());
    insertChild(domain, interval,
                {kDomainReference, KytoUni::_sort, KytoUni::_numberFormat, KytoUni::_stringFormat,
                 KytoUni::_dateTimeFormat, KytoUni::_relabel});
    result = 1;
  }
  return result;
}

int Chart::AddAxis(int dimension, int idSuffix, bool opposite) {
  if (!checkHandle(dimension, "dimension", kChartSource, __LINE__)) return -1;
  if (idSuffix != -1 && !checkString(idSuffix, "id", __LINE__)) return -1;
  DOMElement* owner = checkedElement(dimension, "dimension", __LINE__);
  // Two levels: completion gives an axis without major ticks its ticks.
  if (owner == nullptr || !checkDepth(owner, KytoUni::_axis, __LINE__, 2)) return -1;
  DOMElement* axis = document()->createElement(KytoUni::_axis);
  assignId(axis, idSuffix);
  if (opposite) axis->setAttribute(kOpposite, KytoUni::_true);
  if (hasTag(owner, KytoUni::_dimension)) axis->setAttribute(kCombineAxisLabels, KytoUni::_true);
  owner->appendChild(axis);
  return registerElement(axis);
}

int Chart::AddMajorTicks(int parent, int position, bool gridLines, int length, int labelAngle,
                         bool stagger, int delta) {
  if (!checkHandle(parent, "parent", kChartSource, __LINE__)) return -1;
  OptionalText texts[] = {{position, "position", KytoUni::_position, {}},
                          {length, "length", kLength, {}},
                          {labelAngle, "labelAngle", KytoUni::_labelAngle, {}},
                          {delta, "delta", kDelta, {}}};
  if (!readOptionalTexts(*this, texts, __LINE__)) return -1;
  DOMElement* owner = checkedElement(parent, "parent", __LINE__);
  if (owner == nullptr || !checkDepth(owner, KytoUni::_majorTicks, __LINE__, gridLines ? 2 : 1)) {
    return -1;
  }

  DOMElement* ticks = document()->createElement(KytoUni::_majorTicks);
  if (gridLines) {
    addGridLines(*this, ticks,
                 std::u16string(KytoUni::_majorTicks) + ChartBase::_underscore +
                     owner->getAttribute(KytoUni::_id) + ChartBase::_gridLineStyle,
                 styleContainer_);
  }
  writeOptionalTexts(ticks, texts);
  ticks->setAttribute(kStagger, flag(stagger));
  addReferencedStyle(owner, ticks, kMarkStyle);
  addReferencedStyle(owner, ticks, kTickLabelStyle);
  insertChild(owner, ticks, {KytoUni::_minorTicks, KytoUni::_legendTarget});
  return registerElement(ticks);
}

int Chart::AddMinorTicks(int axis, int position, bool gridLines, int length, int number) {
  if (!checkHandle(axis, "axis", kChartSource, __LINE__)) return -1;
  OptionalText texts[] = {{position, "position", KytoUni::_position, {}},
                          {length, "length", kLength, {}},
                          {number, "number", kNumber, {}}};
  if (!readOptionalTexts(*this, texts, __LINE__)) return -1;
  DOMElement* owner = checkedElement(axis, "axis", __LINE__);
  if (owner == nullptr || !checkDepth(owner, KytoUni::_minorTicks, __LINE__, gridLines ? 2 : 1)) {
    return -1;
  }

  DOMElement* ticks = document()->createElement(KytoUni::_minorTicks);
  if (gridLines) {
    // Named after the major ticks, without their tag and joiner, so that
    // styles written for this naming keep finding it.
    addGridLines(*this, ticks,
                 owner->getAttribute(KytoUni::_id) + std::u16string(KytoUni::_majorTicks) +
                     ChartBase::_gridLineStyle,
                 styleContainer_);
  }
  writeOptionalTexts(ticks, texts);
  addReferencedStyle(owner, ticks, kMarkStyle);
  owner->appendChild(ticks);
  return registerElement(ticks);
}

int Chart::AddGuide(int frame, int type, int suffix) {
  if (!checkHandle(frame, "frame", kChartSource, __LINE__) ||
      !checkString(type, "type", __LINE__)) {
    return -1;
  }
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_frame)) {
    reportParent("can't add guide to anything but frame - ", owner, __LINE__);
    return -1;
  }
  ChartString typeText;
  if (!callerText(type, KytoUni::_type, typeText, __LINE__) ||
      !checkDepth(owner, KytoUni::_guide, __LINE__)) {
    return -1;
  }
  DOMElement* guide = document()->createElement(KytoUni::_guide);
  assignId(guide, suffix);
  guide->setAttribute(KytoUni::_type, typeText.c_str());
  owner->appendChild(guide);
  return registerElement(guide);
}

int Chart::AddLegend(int frame, int suffix) {
  if (!checkHandle(frame, "frame", kChartSource, __LINE__)) return -1;
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr || !checkDepth(owner, KytoUni::_legend, __LINE__)) return -1;
  DOMElement* legend = document()->createElement(KytoUni::_legend);
  assignId(legend, suffix);
  owner->appendChild(legend);
  return registerElement(legend);
}

int Chart::AddLegendTarget(int legend, int target, int suffix, int aesthetic) {
  if (!checkHandle(legend, "legend", kChartSource, __LINE__) ||
      !checkHandle(target, "element or guide", kChartSource, __LINE__)) {
    return -1;
  }
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  if (!checkString(aesthetic, "aesthetic", __LINE__)) return -1;
  DOMElement* owner = checkedElement(legend, "legend", __LINE__);
  if (owner == nullptr) return -1;
  const DOMElement* targetElement = checkedElement(target, "element or guide", __LINE__);
  if (targetElement == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_legend)) {
    reportParent("can't add legendTarget to anything but a legend - ", owner, __LINE__);
    return -1;
  }
  ChartString aestheticText;
  if (!callerText(aesthetic, kAesthetic, aestheticText, __LINE__) ||
      !checkDepth(owner, KytoUni::_legendTarget, __LINE__)) {
    return -1;
  }
  DOMElement* legendTarget = document()->createElement(KytoUni::_legendTarget);
  legendTarget->setAttribute(KytoUni::_element, targetElement->getAttribute(KytoUni::_id));
  assignId(legendTarget, suffix);
  legendTarget->setAttribute(kAesthetic, aestheticText.c_str());
  owner->appendChild(legendTarget);
  return registerElement(legendTarget);
}

int Chart::AddLegendTargetEx(int legend, int target, int styleBy, int suffix) {
  if (!checkHandle(legend, "legend", kChartSource, __LINE__) ||
      !checkHandle(target, "element or guide", kChartSource, __LINE__) ||
      !checkHandle(styleBy, "styleby", kChartSource, __LINE__)) {
    return -1;
  }
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* owner = checkedElement(legend, "legend", __LINE__);
  if (owner == nullptr) return -1;
  const DOMElement* targetElement = checkedElement(target, "element or guide", __LINE__);
  if (targetElement == nullptr) return -1;
  const DOMElement* styleByElement = checkedElement(styleBy, "styleby", __LINE__);
  if (styleByElement == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_legend)) {
    reportParent("can't add legendTarget to anything but a legend - ", owner, __LINE__);
    return -1;
  }
  if (!checkDepth(owner, KytoUni::_legendTarget, __LINE__)) return -1;
  DOMElement* legendTarget = document()->createElement(KytoUni::_legendTarget);
  legendTarget->setAttribute(KytoUni::_element, targetElement->getAttribute(KytoUni::_id));
  assignId(legendTarget, suffix);
  legendTarget->setAttribute(kAesthetic, styleByElement->getAttribute(KytoUni::_id));
  owner->appendChild(legendTarget);
  return registerElement(legendTarget);
}

int Chart::addReferenceLine(int axis, int frame, int value, int number) {
  if (!checkHandle(frame, "frame", kChartSource, __LINE__) ||
      !checkString(value, "value", __LINE__)) {
    return -1;
  }
  // A frame handle that names nothing, or a frame too deep for the guide and
  // its parameter, must not cost a style string. (Another parent is refused
  // by AddGuide.)
  const DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr ||
      (hasTag(owner, KytoUni::_frame) && !checkDepth(owner, KytoUni::_guide, __LINE__, 2))) {
    return -1;
  }
  int suffix = -1;
  if (number >= 0) {
    // A number too large for the index wraps negative and is refused there.
    const auto index = static_cast<int>(static_cast<std::int64_t>(axis) * 100 + number);
    suffix = strings().styleString(CX_WORD_REFERENCE_LINE, index);
    if (suffix < 0) return suffix;
  }
  const int guide = AddGuide(frame, CX_WORD_LINE, suffix);
  if (guide < 0) return -1;
  if (AddParam(guide, axis == 1 ? CX_WORD_X : CX_WORD_Y, value) >= 0) return guide;
  // The value could not be written: the line goes again, and gives up its id
  // so that a corrected call may take it.
  DOMElement* line = getElement(guide);
  line->removeAttribute(KytoUni::_id);
  line->getParentNode()->removeChild(line);
  return -1;
}

int Chart::SetAxisPercent(int parent, int formatOwner) {
  // Both owners are checked first: a refused transform must not leave a
  // number format behind.
  const DOMElement* numbers = checkedElement(formatOwner, "parent", __LINE__);
  if (numbers == nullptr) return -1;
  DOMElement* owner = checkedElement(parent, "parent", __LINE__);
  if (owner == nullptr || !checkDepth(numbers, KytoUni::_numberFormat, __LINE__) ||
      !checkDepth(owner, KytoUni::_transform, __LINE__)) {
    return -1;
  }

  const int format = AddNumberFormat(formatOwner);
  if (format < 0) return format;
  if (const int r = setNumberFormatSuffix(format, strings().add(ChartString(kPercentSign)));
      r < 0) {
    return r;
  }
  setScientificNever(*this, format);

  const int method = strings().add(ChartString(kPercent));
  ChartString methodText;
  if (!checkString(method, "method", __LINE__) ||
      !callerText(method, kMethod, methodText, __LINE__)) {
    return -1;
  }
  DOMElement* transform = document()->createElement(KytoUni::_transform);
  transform->setAttribute(kMethod, methodText.c_str());
  owner->appendChild(transform);
  registerElement(transform);
  return parent;
}
