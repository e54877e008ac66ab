// The model view: thin wrappers that read and change the parsed document in
// place, so that nothing has to be copied back before sending.
#include "chartxml/host/KytoModel.h"

#include <string>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ElementTag.h"
#include "chartxml/host/KytoUni.h"

using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

constexpr char16_t kTrueCentered[] = u"trueCentered";

// A view of each child of `parent` tagged `tag`, in document order: the
// views are owned by `owned` and handed out through `views`.
template <typename View>
void viewChildren(DOMElement* parent, const char16_t* tag,
                  std::vector<std::unique_ptr<View>>& owned, std::vector<View*>& views) {
  for (DOMElement* child = parent->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (!hasTag(child, tag)) continue;
    owned.push_back(std::make_unique<View>(child));
    views.push_back(owned.back().get());
  }
}

// Numbers as the library writes them, so a sent document reads the same
// whichever side wrote an attribute.
void setNumber(DOMElement* element, const char16_t* name, double value) {
  if (!element) return;
  element->setAttribute(name, ChartString::fromUTF8(ChartBase::asString(value)).c_str());
}

DOMElement* newChild(DOMElement* parent, const char16_t* tag) {
  return parent->getOwnerDocument()->createElement(tag);
}

// The node after `node` in document order within `root`'s subtree, or null.
DOMNode* nextInDocument(DOMNode* node, const DOMNode* root) {
  if (DOMNode* child = node->getFirstChild()) return child;
  for (; node && node != root; node = node->getParentNode()) {
    if (DOMNode* sibling = node->getNextSibling()) return sibling;
  }
  return nullptr;
}

}  // namespace

// ---- KytoExtension ----------------------------------------------------------

void KytoExtension::setAttribute(const char16_t* name, const ChartString& value) {
  if (!element_ || !name) return;
  element_->setAttribute(name, value.c_str());
}

void KytoExtension::setValue(double value) {
  setNumber(element_, KytoUni::_value, value);
}

void KytoExtension::setMin(double value) {
  setNumber(element_, KytoUni::_min, value);
}

void KytoExtension::setMax(double value) {
  setNumber(element_, KytoUni::_max, value);
}

// ---- CTVariableType ---------------------------------------------------------

CTVariableType::CTVariableType(DOMElement* element) : element_(element) {}
CTVariableType::~CTVariableType() = default;

ChartString CTVariableType::getDescription() const {
  const DOMElement* meta = ChartBase::getChildByTagName(element_, KytoUni::_meta);
  if (!meta) return ChartString();
  return ChartString(meta->getAttribute(KytoUni::_description));
}

void CTVariableType::removeDescription() {
  DOMElement* meta = ChartBase::getChildByTagName(element_, KytoUni::_meta);
  if (meta && meta->hasAttribute(KytoUni::_description)) {
    meta->removeAttribute(KytoUni::_description);
  }
}

KytoExtension* CTVariableType::getExtension() {
  if (!extension_) {
    DOMElement* found = ChartBase::getChildByTagName(element_, KytoUni::_extension);
    if (found) extension_ = std::make_unique<KytoExtension>(found);
  }
  return extension_.get();
}

KytoExtension* CTVariableType::addExtension() {
  // A variable carries one extension: asking twice gives the same one.
  if (KytoExtension* existing = getExtension()) return existing;
  if (!element_) return nullptr;
  DOMElement* made = newChild(element_, KytoUni::_extension);
  element_->appendChild(made);
  extension_ = std::make_unique<KytoExtension>(made);
  return extension_.get();
}

// ---- Axes and ticks ---------------------------------------------------------

void KytoMajorTicks::setLabelAngle(double degrees) {
  setNumber(element_, KytoUni::_labelAngle, degrees);
}

KytoAxis::KytoAxis(DOMElement* element) : element_(element) {}
KytoAxis::~KytoAxis() = default;

KytoMajorTicks* KytoAxis::getMajorTicks() {
  if (ticks_) return ticks_.get();
  DOMElement* ticks = ChartBase::getChildByTagName(element_, KytoUni::_majorTicks);
  if (!ticks) {
    // Placed where the library would put it: ahead of minor ticks and legend
    // targets.
    ticks = newChild(element_, KytoUni::_majorTicks);
    DOMElement* before = element_->getFirstElementChild();
    while (before && !hasTag(before, KytoUni::_minorTicks) &&
           !hasTag(before, KytoUni::_legendTarget)) {
      before = before->getNextElementSibling();
    }
    element_->insertBefore(ticks, before);
  }
  ticks_ = std::make_unique<KytoMajorTicks>(ticks);
  return ticks_.get();
}

KytoDimension::KytoDimension(DOMElement* element) : element_(element) {
  viewChildren(element, KytoUni::_axis, axes_, axisViews_);
}

KytoDimension::~KytoDimension() = default;

// ---- Coordinates and graphs -------------------------------------------------

KytoCoordinates::KytoCoordinates(DOMElement* frame) {
  viewChildren(frame, KytoUni::_dimension, dimensions_, dimensionViews_);
}

KytoCoordinates::~KytoCoordinates() = default;

int KytoCoordinates::getSameRatioTransformCount() const {
  for (const KytoDimension* dimension : dimensionViews_) {
    if (XMLString::equals(dimension->element()->getAttribute(u"sameRatio"), kTrueCentered)) {
      return 1;
    }
  }
  return 0;
}

KytoGraph::KytoGraph(DOMElement* frame) : frame_(frame) {
  coordinates_.push_back(std::make_unique<KytoCoordinates>(frame));
  coordinateViews_.push_back(coordinates_.back().get());
}

KytoGraph::~KytoGraph() = default;

// ---- KytoVisualization ------------------------------------------------------

KytoVisualization::KytoVisualization(DOMElement* root) : root_(root) {}
KytoVisualization::~KytoVisualization() = default;

std::vector<CTVariableType*> KytoVisualization::getSourceVariables() {
  std::vector<CTVariableType*> views;
  if (!root_) return views;
  for (DOMElement* child = root_->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    // Constant and expression variables read no column: nothing to annotate.
    if (!hasTag(child, KytoUni::_variable) || !child->hasAttribute(KytoUni::_sourceName)) continue;
    variables_.push_back(std::make_unique<CTVariableType>(child));
    views.push_back(variables_.back().get());
  }
  return views;
}

std::vector<KytoGraph*> KytoVisualization::getGraphs() {
  std::vector<KytoGraph*> views;
  if (!root_) return views;
  // One walk over the descendants in document order, without recursion: a
  // deep document costs no stack, and a wide one is visited once (a node
  // list asked for its length at every step walks its tail again each time).
  for (DOMNode* node = nextInDocument(root_, root_); node; node = nextInDocument(node, root_)) {
    if (node->getNodeType() != DOMNode::ELEMENT_NODE) continue;
    auto* frame = static_cast<DOMElement*>(node);
    if (!hasTag(frame, KytoUni::_frame) ||
        !ChartBase::getChildByTagName(frame, KytoUni::_dimension)) {
      continue;
    }
    graphs_.push_back(std::make_unique<KytoGraph>(frame));
    views.push_back(graphs_.back().get());
  }
  return views;
}
