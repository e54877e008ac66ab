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
  return handle;
}

int Chart::getHandle(const DOMElement* element) {
  int handle = -1;
  elements_.forEach([&](const ChartKey& key, DOMElement* candidate) {
    if (candidate != nullptr && candidate->isSameNode(element)) {
      handle = key.component(0);
      return false;
    }
    return true;
  });
  return handle;
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

void Chart::insertChild(DOMElement* parent, DOMElement* child, Tags before) {
  for (DOMNode* node = parent->getFirstChild(); node != nullptr; node = node->getNextSibling()) {
    for (const char16_t* tag : before) {
      if (XMLString::equals(node->getNodeName(), tag)) {
        parent->insertBefore(child, node);
        return;
      }
    }
  }
  parent->appendChild(child);
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
  DOMElement* meta = document_->createElement(KytoUni::_meta);
  insertChild(owner, meta, {KytoUni::_relabel});
  return registerElement(meta);
}

int Chart::SetLogUnsafe() {
  xercesc::DOMNodeList* dimensions = document_->getElementsByTagName(KytoUni::_dimension);
  for (XMLSize_t i = 0; i < dimensions->getLength(); ++i) {
    auto* dimension = static_cast<DOMElement*>(dimensions->item(i));
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
