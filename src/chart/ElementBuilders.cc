// Builders of graphic elements, their positions and aesthetics, and the
// setters of element and frame attributes.
#include <string>

#include <xercesc/dom/DOMAttr.hpp>
#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMText.hpp>
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
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

using namespace chartxml::words;

namespace {

// Words of the vocabulary that the token set does not spell.
constexpr char16_t kStyleCycle[] = u"styleCycle";
constexpr char16_t kLabelCollisionHandling[] = u"labelCollisionHandling";
constexpr char16_t kShowCollidingLabels[] = u"showCollidingLabels";
constexpr char16_t kPositionModifier[] = u"positionModifier";
constexpr char16_t kHigh[] = u"high";
constexpr char16_t kLow[] = u"low";
constexpr char16_t kClip[] = u"clip";

// Vocabulary codes of the position modifiers.

constexpr int kLastPositionalRole = CX_ROLE_PHI;

const char16_t* booleanToken(bool value) {
  return value ? KytoUni::_true : KytoUni::_false;
}

// An aesthetic names its variable by the variable's id.
void setVariableReference(DOMElement* target, const DOMElement* variable) {
  target->setAttribute(KytoUni::_variable, variable->getAttribute(KytoUni::_id));
}

// Adds a declaration to the `value` of the style that the element refers to;
// an element without a style, or whose style is gone, is left alone.
void appendToStyle(Chart& chart, const DOMElement* element, std::u16string_view declaration) {
  const XMLCh* styleId = element->getAttribute(KytoUni::_style);
  if (XMLString::stringLen(styleId) == 0) return;
  DOMElement* style = chart.document()->getElementById(styleId);
  if (style == nullptr) return;
  // Elements sharing a style add to one value: appending to its text in place
  // costs the declaration, where setting the whole value anew costs its
  // length each time and keeps every old copy in the document's memory.
  const xercesc::DOMAttr* attribute = style->getAttributeNode(KytoUni::_value);
  DOMNode* text = attribute == nullptr ? nullptr : attribute->getFirstChild();
  if (text != nullptr && text->getNextSibling() == nullptr &&
      text->getNodeType() == DOMNode::TEXT_NODE && attribute->getValue()[0] != 0) {
    std::u16string addition = ChartBase::_semicolon;
    addition += declaration;
    static_cast<xercesc::DOMText*>(text)->appendData(addition.c_str());
    return;
  }
  std::u16string value = style->getAttribute(KytoUni::_value);
  if (!value.empty()) value += ChartBase::_semicolon;
  value += declaration;
  style->setAttribute(KytoUni::_value, value.c_str());
}

// The variable element that a positional member or a size refers to; null
// (reported) otherwise. A handle that names nothing reports no tag.
const DOMElement* referencedVariable(Chart& chart, int variable, const std::string& referrer) {
  const DOMElement* target = chart.getElement(variable);
  if (target != nullptr && hasTag(target, KytoUni::_variable)) return target;
  chart.report(referrer + " requires a variable id reference " +
                   (target == nullptr ? std::string() : ChartString::toUTF8(target->getTagName())),
               __LINE__);
  return nullptr;
}

// The checks of a new graphic element: its handles and strings, then the
// parent's tag, then room for `levels` levels below the parent. The parent,
// or null (reported).
DOMElement* checkElementParent(Chart& chart, int parent, int type, int suffix, int levels = 1) {
  if (!chart.checkHandle(parent, "frame or elementGroup", kChartSource, __LINE__)) return nullptr;
  if (!chart.checkString(type, "type", __LINE__)) return nullptr;
  if (suffix != -1 && !chart.checkString(suffix, "suffix", __LINE__)) return nullptr;
  DOMElement* container = chart.checkedElement(parent, "frame or elementGroup", __LINE__);
  if (container == nullptr) return nullptr;
  if (!hasTag(container, KytoUni::_frame) && !hasTag(container, kElementGroup)) {
    chart.reportParent("can't add element to anything but frame or elementGroup - ", container,
                       __LINE__);
    return nullptr;
  }
  return chart.checkDepth(container, KytoUni::_element, __LINE__, levels) ? container : nullptr;
}

// The checks of an aesthetic that refers to a variable: both handles, both
// elements, then the owner's tag. False (reported) on failure.
bool checkAesthetic(Chart& chart, int element, int variable, const char* wrongParent,
                    DOMElement*& owner, DOMElement*& target) {
  if (!chart.checkHandle(element, "element", kChartSource, __LINE__) ||
      !chart.checkHandle(variable, "variable", kChartSource, __LINE__)) {
    return false;
  }
  owner = chart.checkedElement(element, "element", __LINE__);
  if (owner == nullptr) return false;
  target = chart.checkedElement(variable, "variable", __LINE__);
  if (target == nullptr) return false;
  if (!hasTag(owner, KytoUni::_element)) {
    chart.reportParent(wrongParent, owner, __LINE__);
    return false;
  }
  return true;
}

int addVariableAesthetic(Chart& chart, int element, int variable, const char16_t* tag,
                         const char* wrongParent) {
  DOMElement* owner = nullptr;
  DOMElement* target = nullptr;
  if (!checkAesthetic(chart, element, variable, wrongParent, owner, target) ||
      !chart.checkDepth(owner, tag, __LINE__)) {
    return -1;
  }
  DOMElement* aesthetic = chart.document()->createElement(tag);
  setVariableReference(aesthetic, target);
  owner->appendChild(aesthetic);
  return chart.registerElement(aesthetic);
}

// A style cycle made on demand joins the document at once. A later style-by
// of the same kind reuses it rather than making (and reporting) another.
void ensureStyleCycle(Chart& chart, const std::u16string& cycleId, const std::u16string& styleId) {
  if (chart.document()->getElementById(cycleId.c_str()) != nullptr) return;
  if (DOMElement* cycle = chart.addStyleCycle(cycleId.c_str(), styleId.c_str())) {
    chart.root()->appendChild(cycle);
  }
}

int addStyleByElement(Chart& chart, DOMElement* owner, const DOMElement* variable,
                      const char16_t* cycleId) {
  DOMElement* styleBy = chart.document()->createElement(kStyleBy);
  setVariableReference(styleBy, variable);
  chart.assignId(styleBy, -1);
  styleBy->setAttribute(kStyleCycle, cycleId);
  chart.insertChild(owner, styleBy, {KytoUni::_color, KytoUni::_labeling, KytoUni::_split});
  return chart.registerElement(styleBy);
}

// A style-by whose cycle is made on first use.
int addCycledStyleBy(Chart& chart, int element, int variable, const std::u16string& cycleId,
                     const std::u16string& styleId) {
  DOMElement* owner = nullptr;
  DOMElement* target = nullptr;
  if (!checkAesthetic(chart, element, variable, "can't add styleBy to anything but element ", owner,
                      target) ||
      !chart.checkDepth(owner, kStyleBy, __LINE__)) {
    return -1;
  }
  ensureStyleCycle(chart, cycleId, styleId);
  return addStyleByElement(chart, owner, target, cycleId.c_str());
}

int setSizeBound(Chart& chart, int size, int text, const char* role, const char16_t* attribute) {
  DOMElement* target = chart.checkedElement(size, "size", __LINE__);
  if (target == nullptr || !hasTag(target, KytoUni::_size)) return -1;
  if (!chart.checkString(text, role, __LINE__)) return -1;
  return chart.setTextAttribute(target, attribute, chart.strings().getString(text).str()) ? size
                                                                                          : -1;
}

// The string-valued setters: the element, the string, then the tag (refused
// silently). The handle given, or -1.
int setStringAttribute(Chart& chart, int handle, int text, const char* role,
                       const char16_t* attribute, std::initializer_list<const char16_t*> tags) {
  DOMElement* target = chart.checkedElement(handle, "element", __LINE__);
  if (target == nullptr || !chart.checkString(text, role, __LINE__)) return -1;
  bool admitted = tags.size() == 0;
  for (const char16_t* tag : tags) admitted = admitted || hasTag(target, tag);
  if (!admitted) return -1;
  return chart.setTextAttribute(target, attribute, chart.strings().getString(text).str()) ? handle
                                                                                          : -1;
}

}  // namespace

int Chart::AddElement(int parent, int type, int suffix) {
  DOMElement* container = checkElementParent(*this, parent, type, suffix);
  if (container == nullptr) return -1;
  const ChartString typeText = strings().getString(type);
  DOMElement* element = document()->createElement(KytoUni::_element);
  // The type goes first: a refused type must not cost an id or leave a style.
  if (!setTextAttribute(element, KytoUni::_type, typeText.str())) return -1;
  assignId(element, suffix);
  if (typeText == KytoUni::_point) {
    appendToStyle(*this, element, std::u16string(u"fill-pattern") + ChartBase::_colon + u"0");
    AddAttribute(element, kLabelCollisionHandling, KytoUni::_normal);
  }
  AddAttribute(element, kShowCollidingLabels, KytoUni::_true);
  container->appendChild(element);
  return registerElement(element);
}

int Chart::AddElementGroup(int frame, int suffix) {
  if (!checkHandle(frame, "frame", kChartSource, __LINE__)) return -1;
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* container = checkedElement(frame, "frame", __LINE__);
  if (container == nullptr) return -1;
  if (!hasTag(container, KytoUni::_frame)) {
    reportParent("can't add element to anything but frame - ", container, __LINE__);
    return -1;
  }
  if (!checkDepth(container, kElementGroup, __LINE__)) return -1;
  DOMElement* group = document()->createElement(kElementGroup);
  assignId(group, suffix);
  container->appendChild(group);
  return registerElement(group);
}

int Chart::AddBinnedElement(int parent, int type, int suffix, int xVariable, int yVariable) {
  // Element, position, statistic and its parameters: four levels.
  if (checkElementParent(*this, parent, type, suffix, 4) == nullptr) return -1;
  if (!checkHandle(xVariable, "x-variable", kChartSource, __LINE__) ||
      !checkHandle(yVariable, "y-variable", kChartSource, __LINE__)) {
    return -1;
  }
  // The steps below do not undo each other: refuse here what they would
  // refuse half way, so that a failure leaves the document as it was.
  if (referencedVariable(*this, xVariable, "x") == nullptr ||
      referencedVariable(*this, yVariable, "y") == nullptr) {
    return -1;
  }
  // The element goes first: a refused type then registers no strings either.
  const int element = AddElement(parent, type, suffix);
  if (element < 0) return element;

  // Callers see the string handles move on by all eight, "both" included.
  auto add = [this](const char16_t* text) { return strings().add(ChartString(text)); };
  const int bin = add(u"bin");
  const int location = add(KytoUni::_location);
  const int grid = add(KytoUni::_grid);
  const int hex = add(KytoUni::_hex);
  add(KytoUni::_both);
  const int high = add(KytoUni::_binhighval);
  const int low = add(KytoUni::_binlowval);
  const int count = add(KytoUni::_count);

  const int position = AddPosition(element);
  if (position < 0) return position;
  const int statistic = AddStatistic(position, bin);
  if (statistic < 0) return statistic;
  if (const int r = AddParam(statistic, location, grid); r < 0) return r;
  if (const int r = AddParam(statistic, grid, hex); r < 0) return r;
  if (const int r = addPositional(1, position, xVariable); r < 0) return r;
  if (const int r = addPositional(2, position, yVariable); r < 0) return r;
  const int size = addSize(element, xVariable);
  if (size < 0) return size;
  if (const int r = setSizeHigh(size, high); r < 0) return r;
  if (const int r = setSizeLow(size, low); r < 0) return r;
  if (const int r = AddStatistic(size, count); r < 0) return r;
  return element;
}

int Chart::AddPosition(int element) {
  DOMElement* owner = checkedElement(element, "element", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_element)) {
    reportParent("can't add position to anything but element - ", owner, __LINE__);
    return -1;
  }
  if (!checkDepth(owner, KytoUni::_position, __LINE__)) return -1;
  DOMElement* position = document()->createElement(KytoUni::_position);
  insertChild(owner, position, {kStyleBy, KytoUni::_color, KytoUni::_labeling, KytoUni::_split});
  return registerElement(position);
}

int Chart::addPositional(int role, int parent, int variable) {
  if (role < chartxml::kFirstRole || role > kLastPositionalRole) {
    report("invalid role " + std::to_string(role), __LINE__);
    return -1;
  }
  const std::string tag = chartxml::roleText(role, errors());
  if (!checkHandle(parent, "element or position", kChartSource, __LINE__) ||
      !checkHandle(variable, "variable", kChartSource, __LINE__)) {
    return -1;
  }
  DOMElement* owner = checkedElement(parent, "element or position", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_element) && !hasTag(owner, KytoUni::_position)) {
    reportParent(("can't add " + tag + " to anything but element or position - ").c_str(), owner,
                 __LINE__);
    return -1;
  }
  const DOMElement* target = referencedVariable(*this, variable, tag);
  if (target == nullptr) return -1;
  const std::u16string wideTag = chartxml::widenAscii(tag);
  if (!checkDepth(owner, wideTag.c_str(), __LINE__)) return -1;
  DOMElement* positional = document()->createElement(wideTag.c_str());
  setVariableReference(positional, target);
  // Each member stays ahead of those that follow it in its coordinate system,
  // and every member ahead of the element's other aesthetics.
  switch (role) {
    case CX_ROLE_X:
      insertChild(owner, positional,
                  {KytoUni::_y, KytoUni::_z, kStyleBy, KytoUni::_color, KytoUni::_labeling,
                   KytoUni::_split});
      break;
    case CX_ROLE_Y:
      insertChild(owner, positional,
                  {KytoUni::_z, kStyleBy, KytoUni::_color, KytoUni::_labeling, KytoUni::_split});
      break;
    case CX_ROLE_Z:
    case CX_ROLE_PHI:
      insertChild(owner, positional,
                  {kStyleBy, KytoUni::_color, KytoUni::_labeling, KytoUni::_split});
      break;
    case CX_ROLE_R:
      insertChild(owner, positional,
                  {KytoUni::_phi, KytoUni::_z, kStyleBy, KytoUni::_color, KytoUni::_labeling,
                   KytoUni::_split});
      break;
    default:  // theta
      insertChild(owner, positional,
                  {KytoUni::_r, KytoUni::_phi, KytoUni::_z, kStyleBy, KytoUni::_color,
                   KytoUni::_labeling, KytoUni::_split});
      break;
  }
  return registerElement(positional);
}

int Chart::AddColor(int element, int variable) {
  return addVariableAesthetic(*this, element, variable, KytoUni::_color,
                              "can't add color to anything but element - ");
}

int Chart::AddSplit(int element, int variable) {
  return addVariableAesthetic(*this, element, variable, KytoUni::_split,
                              "can't add split to anything but element - ");
}

int Chart::AddStyleBy(int element, int variable) {
  DOMElement* owner = nullptr;
  DOMElement* target = nullptr;
  if (!checkAesthetic(*this, element, variable, "can't add styleBy to anything but element - ",
                      owner, target) ||
      !checkDepth(owner, kStyleBy, __LINE__)) {
    return -1;
  }
  // Points styled by a variable show the cycle's markers, not a fill.
  if (XMLString::equals(owner->getAttribute(KytoUni::_type), KytoUni::_point)) {
    appendToStyle(*this, owner,
                  std::u16string(KytoUni::_fill) + ChartBase::_colon + u"transparent");
  }
  return addStyleByElement(*this, owner, target, ChartBase::_styleCycleDefault);
}

int Chart::AddStyleByColor(int element, int variable) {
  return addCycledStyleBy(*this, element, variable, ChartBase::_styleCycleColor,
                          std::u16string(u"style_") + ChartBase::_styleCycleColor);
}

int Chart::AddStyleByPattern(int element, int variable) {
  return addCycledStyleBy(*this, element, variable, ChartBase::_styleCyclePattern,
                          std::u16string(u"style_") + ChartBase::_styleCyclePattern);
}

int Chart::AddStyleByColorAndPattern(int element, int variable) {
  return addCycledStyleBy(*this, element, variable,
                          std::u16string(KytoUni::_color) + u"_" + KytoUni::_pattern,
                          KytoUni::_style);
}

int Chart::addSize(int parent, int variable) {
  if (!checkHandle(parent, "element or labeling", kChartSource, __LINE__) ||
      !checkHandle(variable, "variable", kChartSource, __LINE__)) {
    return -1;
  }
  DOMElement* owner = checkedElement(parent, "element or labeling", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_element) && !hasTag(owner, KytoUni::_labeling)) {
    reportParent("can't add size to anything but element or labeling - ", owner, __LINE__);
    return -1;
  }
  const DOMElement* target = referencedVariable(*this, variable, "size");
  if (target == nullptr || !checkDepth(owner, KytoUni::_size, __LINE__)) return -1;
  DOMElement* size = document()->createElement(KytoUni::_size);
  setVariableReference(size, target);
  insertChild(owner, size,
              {KytoUni::_numberFormat, KytoUni::_stringFormat, KytoUni::_dateTimeFormat});
  return registerElement(size);
}

int Chart::setSizeHigh(int size, int text) {
  return setSizeBound(*this, size, text, "high", kHigh);
}

int Chart::setSizeLow(int size, int text) {
  return setSizeBound(*this, size, text, "low", kLow);
}

int Chart::AddLabeling(int element, int variable) {
  return AddLabelingSuffix(element, variable, -1);
}

int Chart::AddLabelingSuffix(int element, int variable, int suffix) {
  if (!checkHandle(element, "element", kChartSource, __LINE__) ||
      !checkHandle(variable, "variable", kChartSource, __LINE__)) {
    return -1;
  }
  if (suffix != -1 && !checkString(suffix, "suffix", __LINE__)) return -1;
  DOMElement* owner = checkedElement(element, "element", __LINE__);
  if (owner == nullptr) return -1;
  DOMElement* target = checkedElement(variable, "variable", __LINE__);
  if (target == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_element)) {
    reportParent("can't add labeling to anything but element - ", owner, __LINE__);
    return -1;
  }
  std::u16string styleId = std::u16string(KytoUni::_labeling) + ChartBase::_underscore;
  if (suffix >= 0) styleId += strings().getString(suffix).str();
  styleId += ChartBase::_default_style;
  if (!chartxml::isLegalXml(styleId)) {
    report("labeling not added, its style id holds a character not allowed in XML - " +
               ChartString::toUTF8(styleId),
           __LINE__);
    return -1;
  }
  // The variable gets a meta child too, when it has none yet.
  if (!checkDepth(owner, KytoUni::_labeling, __LINE__) ||
      (getChildByTagName(target, KytoUni::_meta) == nullptr &&
       !checkDepth(target, KytoUni::_meta, __LINE__, kMetaLevels))) {
    return -1;
  }
  DOMElement* labeling = document()->createElement(KytoUni::_labeling);
  setVariableReference(labeling, target);
  // The completion step recognises labeling variables by this description.
  metaOf(target)->setAttribute(KytoUni::_description, KytoUni::_labeling);
  AddAttribute(labeling, KytoUni::_style, styleId.c_str());
  addStyle(styleContainer_, styleId.c_str());
  insertChild(owner, labeling, {KytoUni::_split});
  return registerElement(labeling);
}

int Chart::AddLabelingAggregate(int sourceVariable, int function, bool categorical, int labelText,
                                int shortLabelText, int domain) {
  const int handle =
      AddAggregate(sourceVariable, function, categorical, labelText, shortLabelText, domain);
  if (handle < 0) return handle;
  metaOf(getElement(handle))->setAttribute(KytoUni::_description, KytoUni::_labeling);
  return handle;
}

int Chart::AddStack(int position, bool stacked) {
  DOMElement* target = checkedElement(position, "position", __LINE__);
  if (target == nullptr) return -1;
  // The modifier belongs to the element that owns the position.
  DOMNode* parent = target->getParentNode();
  DOMElement* owner = parent != nullptr && parent->getNodeType() == DOMNode::ELEMENT_NODE
                          ? static_cast<DOMElement*>(parent)
                          : nullptr;
  const ChartString modifier = strings().getString(stacked ? CX_WORD_STACK : CX_WORD_NONE);
  return setPositionModifier(owner, modifier) < 0 ? -1 : position;
}

int Chart::setPositionModifier(DOMElement* target, const ChartString& text) {
  if (target == nullptr || !hasTag(target, KytoUni::_element)) {
    std::string message = "can't set positionModifier attribute for anything but an element ";
    if (target != nullptr) message += ChartString::toUTF8(target->getTagName());
    report(message, __LINE__);
    return -1;
  }
  return setTextAttribute(target, kPositionModifier, text.str()) ? 0 : -1;
}

int Chart::SetElementDot(int element, int dot) {
  return setStringAttribute(*this, element, dot, "dot", KytoUni::_dot, {KytoUni::_element});
}

int Chart::SetElementName(int elementOrGuide, int name) {
  return setStringAttribute(*this, elementOrGuide, name, "name", KytoUni::_name,
                            {KytoUni::_element, KytoUni::_guide});
}

int Chart::SetElementPositionModifier(int element, int modifier) {
  DOMElement* target = checkedElement(element, "element", __LINE__);
  if (target == nullptr || !checkString(modifier, "positionModifier", __LINE__)) return -1;
  return setPositionModifier(target, strings().getString(modifier)) < 0 ? -1 : element;
}

int Chart::SetLabelCollisionHandling(int element, int handling) {
  const int result =
      setStringAttribute(*this, element, handling, "handling", kLabelCollisionHandling, {});
  return result < 0 ? -1 : 0;
}

int Chart::SetDisplayOverlappingLabels(int element, bool show) {
  DOMElement* target = checkedElement(element, "element", __LINE__);
  if (target == nullptr) return -1;
  AddAttribute(target, kShowCollidingLabels, booleanToken(show));
  return element;
}

int Chart::SetFrameClipping(int frame, bool clip) {
  DOMElement* target = checkedElement(frame, "frame", __LINE__);
  if (target == nullptr || !hasTag(target, KytoUni::_frame)) return -1;
  AddAttribute(target, kClip, booleanToken(clip));
  return frame;
}
