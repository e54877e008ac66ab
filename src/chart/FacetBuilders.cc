// Builders of facets: the coordinate facet and its algebra (cross, nest,
// blend) over facet variables, the table facet, the facet labeling with its
// labels, conditional facet styles, and the computed variables that scatter-
// plot matrices and overlays facet by.
#include <string>

#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chart/Chart.h"
#include "chart/Words.h"
#include "chartstringhandler/ChartStringHandler.h"
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
constexpr char16_t kCoordinateFacet[] = u"coordinateFacet";
constexpr char16_t kTableFacet[] = u"tableFacet";
constexpr char16_t kFacetVariable[] = u"facetVariable";
constexpr char16_t kFacetStyle[] = u"facetStyle";
constexpr char16_t kCellStyle[] = u"cellStyle";
constexpr char16_t kLevel[] = u"level";
constexpr char16_t kReverse[] = u"reverse";
constexpr char16_t kGap[] = u"gap";
constexpr char16_t kWhen[] = u"when";

// Short label of a matrix variable: the translated "Y Axis".
constexpr int kMatrixLabelCode = 148;

constexpr const char* kFacetNode = "coordinateFacet, cross, nest, or blend";

std::u16string decimal(int value) {
  return widenAscii(ChartBase::asString(value));
}

// The creator that marks variables the library made itself.
std::u16string internalCreator() {
  return std::u16string(ChartBase::_internal_) + KytoUni::_variable;
}

}  // namespace

// ---- Coordinate facet and its algebra --------------------------------------

int Chart::AddCoordinateFacet(int frame) {
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_frame)) {
    reportParent("can't add coordinateFacet to anything but graph or frame - ", owner, __LINE__);
    return -1;
  }
  if (!checkDepth(owner, kCoordinateFacet, __LINE__)) return -1;
  DOMElement* facet = document()->createElement(kCoordinateFacet);
  insertChild(owner, facet,
              {kCoordinateTransform, KytoUni::_dimension, KytoUni::_guide, kElementGroup,
               KytoUni::_element});
  return registerElement(facet);
}

namespace {

// A nest combines exactly two operands: a third is refused, naming the two it
// has.
bool nestHasRoom(Chart& chart, const DOMElement* node, int line) {
  if (!hasTag(node, KytoUni::_nest) || node->getChildNodes()->getLength() < 2) return true;
  const DOMNode* first = node->getFirstChild();
  chart.report("Nest must have only 2 children - " + ChartString::toUTF8(first->getNodeName()) +
                   " " + ChartString::toUTF8(first->getNextSibling()->getNodeName()),
               line);
  return false;
}

int addFacetOperator(Chart& chart, int node, const char16_t* tag, int line) {
  DOMElement* owner = chart.checkedElement(node, kFacetNode, line);
  if (owner == nullptr || !nestHasRoom(chart, owner, line) || !chart.checkDepth(owner, tag, line)) {
    return -1;
  }
  DOMElement* added = chart.document()->createElement(tag);
  owner->appendChild(added);
  return chart.registerElement(added);
}

}  // namespace

int Chart::AddCross(int node) {
  return addFacetOperator(*this, node, KytoUni::_cross, __LINE__);
}

int Chart::AddNest(int node) {
  return addFacetOperator(*this, node, KytoUni::_nest, __LINE__);
}

int Chart::AddBlend(int node) {
  return addFacetOperator(*this, node, KytoUni::_blend, __LINE__);
}

int Chart::AddFacetVariable(int node, int role, int variable) {
  DOMElement* owner = checkedElement(node, "facet", __LINE__);
  if (owner == nullptr || !checkRole(role, __LINE__)) return -1;
  DOMElement* source = checkedElement(variable, "variable", __LINE__);
  if (source == nullptr || !nestHasRoom(*this, owner, __LINE__) ||
      !checkDepth(owner, kFacetVariable, __LINE__)) {
    return -1;
  }
  DOMElement* facetVariable = document()->createElement(kFacetVariable);
  facetVariable->setAttribute(kRole, widenAscii(chartxml::roleText(role, errors())).c_str());
  facetVariable->setAttribute(KytoUni::_variable, source->getAttribute(KytoUni::_id));
  owner->appendChild(facetVariable);
  return registerElement(facetVariable);
}

// ---- Table facet and facet labeling ------------------------------------------

namespace {

// A frame holds at most one element of these kinds: later requests get the
// first one. Only the frame's own children count; a nested frame's belong to
// that frame.
int getOrCreate(Chart& chart, DOMElement* frame, const char16_t* tag, Chart::Tags before,
                int line) {
  if (DOMElement* existing = ChartBase::getChildByTagName(frame, tag)) {
    const int handle = chart.getHandle(existing);
    return handle >= 0 ? handle : chart.registerElement(existing);
  }
  if (!chart.checkDepth(frame, tag, line)) return -1;
  DOMElement* created = chart.document()->createElement(tag);
  chart.insertChild(frame, created, before);
  return chart.registerElement(created);
}

}  // namespace

int Chart::AddTableFacet(int frame) {
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_frame)) {
    reportParent("can't add a table facet to anything but a frame - ", owner, __LINE__);
    return -1;
  }
  return getOrCreate(*this, owner, kTableFacet,
                     {KytoUni::_facetLabeling, kCoordinateFacet, kCoordinateTransform,
                      KytoUni::_dimension, KytoUni::_guide, kElementGroup, KytoUni::_element},
                     __LINE__);
}

int Chart::AddFacetLabeling(int frame) {
  DOMElement* owner = checkedElement(frame, "frame", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_frame)) {
    reportParent("can't add a facet labeling to anything but a frame - ", owner, __LINE__);
    return -1;
  }
  const int handle = getOrCreate(*this, owner, KytoUni::_facetLabeling,
                                 {kCoordinateFacet, kCoordinateTransform, KytoUni::_dimension,
                                  KytoUni::_guide, kElementGroup, KytoUni::_element},
                                 __LINE__);
  if (handle >= 0) madeFacetLabeling_ = true;
  return handle;
}

int Chart::SetFacetLabelingCellAspect(int labeling, double aspect) {
  DOMElement* owner = checkedElement(labeling, "facetLabeling", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_facetLabeling)) {
    reportParent("can't set cell aspect for anything but facet labeling ", owner, __LINE__);
    return -1;
  }
  owner->setAttribute(kCellAspect, widenAscii(asString(aspect)).c_str());
  return labeling;
}

int Chart::AddFacetLabel(int labeling, int idText, int level, bool reverse) {
  if (!checkHandle(labeling, "facetLabeling", kChartSource, __LINE__)) return -1;
  if (idText != -1 && !checkString(idText, "suffix", __LINE__)) return -1;
  DOMElement* owner = checkedElement(labeling, "facetLabeling", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_facetLabeling)) {
    reportParent("can't add facet label to anything but facet labeling - ", owner, __LINE__);
    return -1;
  }
  if (!checkDepth(owner, KytoUni::_facetLabel, __LINE__)) return -1;
  DOMElement* label = document()->createElement(KytoUni::_facetLabel);
  assignId(label, idText);
  if (reverse) label->setAttribute(kReverse, KytoUni::_true);
  label->setAttribute(kLevel, decimal(level).c_str());
  owner->appendChild(label);
  return registerElement(label);
}

int Chart::GetFacetLabel(int labeling, int level) {
  DOMElement* owner = checkedElement(labeling, "facetLabeling", __LINE__);
  if (owner == nullptr) return -1;
  if (!hasTag(owner, KytoUni::_facetLabeling)) {
    reportParent("can't get facet label from anything but facet labeling ", owner, __LINE__);
    return -1;
  }
  const std::u16string wanted = decimal(level);
  // Item by item: the list is read only as far as the label wanted.
  xercesc::DOMNodeList* labels = owner->getElementsByTagName(KytoUni::_facetLabel);
  for (XMLSize_t i = 0; DOMNode* node = labels->item(i); ++i) {
    auto* label = static_cast<DOMElement*>(node);
    if (wanted == label->getAttribute(kLevel)) return getHandle(label);
  }
  return -1;  // no label of that level is an answer, not a fault
}

int Chart::SetFacetLabelCellStyle(int label, int styleText) {
  DOMElement* target = checkedElement(label, "facetLabel", __LINE__);
  if (target == nullptr) return -1;
  if (!hasTag(target, KytoUni::_facetLabel)) {
    reportParent("can't set the cellStyle for anything but a facetLabel ", target, __LINE__);
    return -1;
  }
  if (styleText == -1) {
    target->removeAttribute(kCellStyle);
    return label;
  }
  ChartString style;
  if (!checkString(styleText, "suffix", __LINE__) ||
      !callerText(styleText, kCellStyle, style, __LINE__)) {
    return -1;
  }
  target->setAttribute(kCellStyle, style.c_str());
  return label;
}

int Chart::SetFacetLabelGap(int label, int gapText) {
  DOMElement* target = checkedElement(label, "facetLabel", __LINE__);
  ChartString gap;
  if (target == nullptr || !checkString(gapText, "gap", __LINE__)) return -1;
  if (!hasTag(target, KytoUni::_facetLabel) && !hasTag(target, kFacetVariable)) return -1;
  if (!callerText(gapText, kGap, gap, __LINE__)) return -1;
  target->setAttribute(kGap, gap.c_str());
  return label;
}

int Chart::SetFacetLabelLevel(int label, int level) {
  DOMElement* target = checkedElement(label, "facetLabel", __LINE__);
  if (target == nullptr || !hasTag(target, KytoUni::_facetLabel)) return -1;
  target->setAttribute(kLevel, decimal(level).c_str());
  return label;
}

// ---- Facet styles and scales ---------------------------------------------------

int Chart::AddFacetStyle(int element, int whenText, int styleText) {
  DOMElement* owner = checkedElement(element, "element", __LINE__);
  if (owner == nullptr || !checkString(whenText, "when", __LINE__)) return -1;
  if (styleText != -1 && !checkString(styleText, "suffix", __LINE__)) return -1;
  if (!hasTag(owner, KytoUni::_element) && !hasTag(owner, kGridLines)) {
    reportParent("can't add a facetStyle to anything but an element or gridLines - ", owner,
                 __LINE__);
    return -1;
  }
  ChartString when;
  ChartString styleName;
  if (!callerText(whenText, kWhen, when, __LINE__) ||
      (styleText >= 0 && !callerText(styleText, KytoUni::_style, styleName, __LINE__))) {
    return -1;
  }
  std::u16string style = kFacetStyle;
  if (styleText >= 0) style += ChartBase::_underscore + styleName.str();
  style += ChartBase::_default_style;
  if (!checkDepth(owner, kFacetStyle, __LINE__)) return -1;

  DOMElement* facetStyle = document()->createElement(kFacetStyle);
  facetStyle->setAttribute(kWhen, when.c_str());
  facetStyle->setAttribute(KytoUni::_style, style.c_str());
  // The style it names must exist for the reference to hold; several facet
  // styles may share one.
  addStyle(styleContainer_, style.c_str());
  insertChild(
      owner, facetStyle,
      {KytoUni::_position, KytoUni::_x, KytoUni::_y, KytoUni::_z, KytoUni::_theta, KytoUni::_r,
       KytoUni::_phi, kStyleBy, KytoUni::_color, KytoUni::_labeling, KytoUni::_split});
  return registerElement(facetStyle);
}

int Chart::SetFacetsDifferentScale(int dimension) {
  DOMElement* target = checkedElement(dimension, "dimension", __LINE__);
  if (target != nullptr && hasTag(target, KytoUni::_dimension)) {
    target->setAttribute(kFacetsShareScale, KytoUni::_false);
  }
  return -1;  // also on success: the documented result, which callers ignore
}

// ---- Computed variables for matrices and overlays ----------------------------

int Chart::AddMatrixVariable(int list) {
  if (!checkVariableList(list, __LINE__)) return -1;
  auto found = variableLists_.find(list);
  if (found == variableLists_.end()) {
    report("AddMatrixVariable failed: could not find key " + std::to_string(list), __LINE__);
    return -1;
  }
  std::u16string expression;
  for (int member : found->second) {
    DOMElement* listed = getElement(member);
    if (listed == nullptr) continue;
    const std::u16string id = listed->getAttribute(KytoUni::_id);
    const std::u16string labelId = id + KytoUni::_label;
    const std::u16string labelValue = KytoUni::_label + id;
    // Each listed variable labels its own matrix row and column through a
    // constant variable, made once per chart.
    if (document()->getElementById(labelId.c_str()) == nullptr) {
      DOMElement* constant = document()->createElement(KytoUni::_variable);
      constant->setAttribute(
          KytoUni::_value, (std::u16string(KytoUni::_constant) + u"(" + labelValue + u")").c_str());
      std::u16string text = listed->getAttribute(KytoUni::_label);
      if (text.empty()) text = listed->getAttribute(KytoUni::_shortLabel);
      if (!text.empty())
        constant->appendChild(newRelabel(ChartString(labelValue), ChartString(text)));
      AddID(constant, labelId.c_str());
      constant->setAttribute(KytoUni::_categorical, KytoUni::_true);
      if (listed->hasAttribute(KytoUni::_source)) {
        constant->setAttribute(KytoUni::_source, listed->getAttribute(KytoUni::_source));
      }
      insertChild(root(), constant, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
      registerElement(constant);
      metaOf(constant)->setAttribute(KytoUni::_creator, internalCreator().c_str());
    }
    if (!expression.empty()) expression += u" + ";
    expression += id + u"/" + labelId;
  }
  DOMElement* matrix = document()->createElement(KytoUni::_variable);
  assignId(matrix, -1);
  matrix->setAttribute(KytoUni::_categorical, KytoUni::_false);
  matrix->setAttribute(KytoUni::_expression, expression.c_str());
  setTextAttribute(matrix, KytoUni::_shortLabel, strings().getString(kMatrixLabelCode).str());
  metaOf(matrix)->setAttribute(KytoUni::_creator, internalCreator().c_str());
  insertChild(root(), matrix, {KytoUni::_domain, KytoUni::_frame, KytoUni::_style});
  return registerElement(matrix);
}

int Chart::AddOverlayVariable(int list, int role) {
  return addExpressionVariable(list, role);
}
