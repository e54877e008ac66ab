#include "chart/Chart.h"

#include <sstream>

#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/KytoUni.h"
#include "common/SourceNames.h"
#include "common/XmlText.h"

using chartxml::isLegalXml;
using chartxml::kChartSource;
using chartxml::keyOf;
using xercesc::DOMElement;
using xercesc::DOMNode;
using xercesc::XMLString;

namespace {

// Kinds of element that carry no style reference of their own.
bool exemptFromStyle(const DOMElement* element) {
  for (const char16_t* tag : {KytoUni::_domain, KytoUni::_source, KytoUni::_facetLabel,
                              KytoUni::_variable, u"styleBy", KytoUni::_legendTarget}) {
    if (hasTag(element, tag)) return true;
  }
  return false;
}

}  // namespace

Chart::Chart(int chartIndex, ChartStringHandler* strings)
    : strings_(strings), chartIndex_(chartIndex) {}

Chart::~Chart() {
  releaseDocument(document_);
}

bool Chart::CreateChart() {
  printDebugInfo("CreateChart");
  document_ = createDocument(ChartBase::_utf8);
  if (document_ == nullptr) return false;
  elements_.insert(keyOf(0), document_->getDocumentElement());
  handles_.emplace(document_->getDocumentElement(), 0);
  styleContainer_ = document_->createElement(KytoUni::_style);
  AddID(styleContainer_, ChartBase::_container);
  std::u16string styleId = std::u16string(KytoUni::_style) + u"_";
  repositoryStyleCycle_ = addStyleCycle(ChartBase::_styleCycleRepository,
                                        (styleId + ChartBase::_styleCycleRepository).c_str());
  defaultStyleCycle_ = addStyleCycle(ChartBase::_styleCycleDefault,
                                     (styleId + ChartBase::_styleCycleDefault).c_str());
  return true;
}

DOMElement* Chart::root() const {
  return document_ == nullptr ? nullptr : document_->getDocumentElement();
}

void Chart::report(const std::string& message, int line) {
  errorHandler_.error(ChartException(message, kChartSource, line));
}

bool Chart::checkString(int handle, const char* role, int line) {
  return strings_->checkHandle(handle, role, kChartSource, line);
}

void Chart::reportParent(const char* message, const DOMElement* parent, int line) {
  report(message + ChartString::toUTF8(parent->getTagName()), line);
}

bool Chart::checkHandle(int handle, const char* what, const char* file, int line) {
  if (handle >= 0 && handle <= nextHandle_) return true;
  std::ostringstream message;
  message << what << " handle (" << handle << ") out of range ("
          << "0-" << nextHandle_ << ")";
  errorHandler_.error(ChartException(message.str(), file, line));
  return false;
}

DOMElement* Chart::checkedElement(int handle, const char* what, int line) {
  if (!checkHandle(handle, what, kChartSource, line)) return nullptr;
  DOMElement* element = getElement(handle);
  if (element == nullptr) {
    report(std::string(what) + " handle (" + std::to_string(handle) + ") names no element", line);
  }
  return element;
}

DOMElement* Chart::getElement(int handle) {
  DOMElement** found = elements_.find(keyOf(handle));
  return found == nullptr ? nullptr : *found;
}

int Chart::registerElement(DOMElement* element) {
  const int handle = nextHandle_++;
  elements_.insert(keyOf(handle), element);
  if (element != nullptr) handles_.emplace(element, handle);
  return handle;
}

int Chart::getHandle(const DOMElement* element) {
  const auto found = handles_.find(element);
  return found == handles_.end() ? -1 : found->second;
}

bool Chart::checkIdUnused(const char16_t* id, const char* file, int line) {
  if (document_->getElementById(id) == nullptr) return true;
  errorHandler_.error(
      ChartException("id has already been used - " + ChartString::toUTF8(id), file, line));
  return false;
}

int Chart::assignId(DOMElement* element, int suffixHandle) {
  const std::u16string tag = element->getTagName();
  std::u16string id;
  bool automatic = true;
  // Only a real suffix makes a suffixed id; any other negative handle is "none"
  // (an empty id would break the look-up by id).
  if (suffixHandle >= 0) {
    id = tag + ChartBase::_underscore + strings_->getString(suffixHandle).str();
    if (!isLegalXml(id)) {
      report("id not used, it holds a character not allowed in XML - " + ChartString::toUTF8(id),
             __LINE__);
    } else if (checkIdUnused(id.c_str(), kChartSource, __LINE__)) {
      automatic = false;
    }
  }
  if (automatic) id = tag + chartxml::widenAscii(asString(nextIdSerial_));
  if (!checkIdUnused(id.c_str(), kChartSource, __LINE__)) return -1;
  AddID(element, id.c_str());
  const int serial = nextIdSerial_++;

  if (!exemptFromStyle(element)) {
    std::u16string style = automatic ? std::u16string() : id;
    style += ChartBase::_default_style;
    AddAttribute(element, KytoUni::_style, style.c_str());
    addStyle(styleContainer_, style.c_str());
  }
  if (!automatic && hasTag(element, KytoUni::_axis)) {
    addReferencedStyle(element, element, KytoUni::_baselineStyle);
  }
  return serial;
}

// Placing a child before the parent's first child of some tags took a scan of
// the children per insertion, quadratic for wide parents. A parent's index
// instead lists, in document order, the first child of each tag among its
// children. Entries being ordered by position and each being the earliest of
// its tag, the first entry whose tag is wanted is the first wanted child.
//
// Only insertChild inserts between children: elsewhere children are appended,
// or removed for good (never put back). Appended children follow the last
// child the index has read, so it reads them on its next use, each once; a
// tag new to the parent then goes last, as its first child comes after all
// the others. A removal matters only when it takes the last child read or a
// first of its tag: their parent is then no longer this one, and the index
// is read afresh.
Chart::ChildIndex& Chart::childIndex(DOMElement* parent) {
  ChildIndex& index = childIndexes_[parent];
  bool stale = index.lastSeen != nullptr && index.lastSeen->getParentNode() != parent;
  for (const ChildIndex::First& first : index.firsts) {
    stale = stale || first.child->getParentNode() != parent;
  }
  if (stale) {
    index.firsts.clear();
    index.lastSeen = nullptr;
  }
  DOMNode* node =
      index.lastSeen == nullptr ? parent->getFirstChild() : index.lastSeen->getNextSibling();
  for (; node != nullptr; node = node->getNextSibling()) {
    const XMLCh* tag = node->getNodeName();
    bool known = false;
    for (const ChildIndex::First& first : index.firsts) {
      known = known || XMLString::equals(first.tag, tag);
    }
    if (!known) index.firsts.push_back({tag, node});
    index.lastSeen = node;
  }
  return index;
}

void Chart::insertChild(DOMElement* parent, DOMElement* child, Tags before) {
  ChildIndex& index = childIndex(parent);
  std::vector<ChildIndex::First>& firsts = index.firsts;
  auto wanted = [&](const XMLCh* tag) {
    for (const char16_t* candidate : before) {
      if (XMLString::equals(tag, candidate)) return true;
    }
    return false;
  };
  const XMLCh* tag = child->getNodeName();
  std::size_t at = 0;
  while (at < firsts.size() && !wanted(firsts[at].tag)) ++at;
  std::size_t own = 0;
  while (own < firsts.size() && !XMLString::equals(firsts[own].tag, tag)) ++own;

  if (at == firsts.size()) {
    parent->appendChild(child);
    if (own == firsts.size()) firsts.push_back({tag, child});
    index.lastSeen = child;
    return;
  }
  parent->insertBefore(child, firsts[at].child);
  // The child directly precedes the entry at `at`: entries before it stay
  // ahead of it, those from it on now follow it. So it is the first of its
  // tag, with its entry at `at`, unless an earlier entry has its tag.
  if (own < at) return;
  if (own < firsts.size()) firsts.erase(firsts.begin() + static_cast<std::ptrdiff_t>(own));
  firsts.insert(firsts.begin() + static_cast<std::ptrdiff_t>(at), {tag, child});
}

bool Chart::checkDepth(const DOMElement* parent, const char16_t* tag, int line, int levels) {
  // The parent's level, counted only as far as the answer needs.
  int depth = 0;
  for (const DOMNode* node = parent;
       node != nullptr && node->getNodeType() == DOMNode::ELEMENT_NODE &&
       depth + levels <= kMaxDepth;
       node = node->getParentNode()) {
    ++depth;
  }
  if (depth + levels <= kMaxDepth) return true;
  reportParent(("can't add " + ChartString::toUTF8(tag) + " deeper than " +
                std::to_string(kMaxDepth) + " levels - ")
                   .c_str(),
               parent, line);
  return false;
}

int Chart::addStyle(DOMElement* container, const char16_t* id) {
  if (document_->getElementById(id) != nullptr) return -1;
  DOMElement* style = document_->createElement(KytoUni::_style);
  container->appendChild(style);
  AddID(style, id);
  if (XMLString::equals(id, ChartBase::_default_style)) defaultStyle_ = style;
  return 0;
}

int Chart::addReferencedStyle(DOMElement* idSource, DOMElement* target, const char16_t* attribute) {
  std::u16string value;
  if (!hasTag(target, KytoUni::_axis)) {
    value = std::u16string(target->getTagName()) + ChartBase::_underscore;
  }
  value += idSource->getAttribute(KytoUni::_id);
  value += attribute;
  if (checkIdUnused(value.c_str(), kChartSource, __LINE__)) {
    AddAttribute(target, attribute, value.c_str());
    addStyle(styleContainer_, value.c_str());
  }
  return -1;
}

DOMElement* Chart::addStyleCycle(const char16_t* cycleId, const char16_t* styleId) {
  if (!checkIdUnused(cycleId, kChartSource, __LINE__)) return nullptr;
  DOMElement* cycle = document_->createElement(u"styleCycle");
  AddID(cycle, cycleId);
  DOMElement* entries = document_->createElement(KytoUni::_cycle);
  cycle->appendChild(entries);
  if (styleId != nullptr) addStyle(entries, styleId);
  return cycle;
}

int Chart::CopyAttributes(int fromElement, int toElement) {
  DOMElement* from = checkedElement(fromElement, "fromElement", __LINE__);
  if (from == nullptr) return -1;
  DOMElement* to = checkedElement(toElement, "toElement", __LINE__);
  if (to == nullptr) return -1;
  mergeAttributes(from, to);
  return 0;
}

int Chart::AddMeta(int variable) {
  DOMElement* owner = checkedElement(variable, "variable", __LINE__);
  if (owner == nullptr) return -1;
  if (DOMElement* meta = getChildByTagName(owner, KytoUni::_meta)) return getHandle(meta);
  if (!checkDepth(owner, KytoUni::_meta, __LINE__, kMetaLevels)) return -1;
  DOMElement* meta = document_->createElement(KytoUni::_meta);
  insertChild(owner, meta, {KytoUni::_relabel});
  return registerElement(meta);
}

int Chart::SetLogUnsafe() {
  // Item by item: the list is read only as far as the first y dimension.
  xercesc::DOMNodeList* dimensions = document_->getElementsByTagName(KytoUni::_dimension);
  for (XMLSize_t i = 0; DOMNode* node = dimensions->item(i); ++i) {
    auto* dimension = static_cast<DOMElement*>(node);
    if (!XMLString::equals(dimension->getAttribute(u"role"), KytoUni::_y)) continue;
    DOMElement* scale = getChildByTagName(dimension, KytoUni::_scale);
    if (scale == nullptr) return -1;
    for (DOMNode* node = scale->getFirstChild(); node != nullptr; node = node->getNextSibling()) {
      if (node->getNodeType() != DOMNode::ELEMENT_NODE ||
          !XMLString::equals(node->getNodeName(), KytoUni::_parameter)) {
        continue;
      }
      auto* parameter = static_cast<DOMElement*>(node);
      if (XMLString::equals(parameter->getAttribute(KytoUni::_name), u"safe")) {
        parameter->setAttribute(KytoUni::_value, KytoUni::_false);
        return -1;
      }
    }
    return -1;
  }
  return -1;
}

void Chart::SetProcedure(const ChartString& name) {
  procedureName_ = name.toUTF8();
}

std::string Chart::serialize() const {
  ChartPrinter printer;
  printer.setPrintWhiteSpace(true);
  std::ostringstream out;
  printer.Print(document_, out);
  return out.str();
}
