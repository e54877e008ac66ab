#include "read/XmlTree.h"

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>

#include "chartutl/SafeParse.h"
#include "chartxml/host/ChartString.h"

using namespace xercesc;

namespace chartxml::render {
namespace {

std::string utf8(const XMLCh* text) {
  return text ? ChartString::toUTF8(text) : std::string();
}

// The XML platform is reference counted: this keeps it up for one parse
// whether or not the library or the host brought it up already.
class PlatformScope {
 public:
  PlatformScope() { XMLPlatformUtils::Initialize(); }
  ~PlatformScope() { XMLPlatformUtils::Terminate(); }
};

// Nesting is bounded by the parser, so the recursion is too.
void copyElement(const DOMElement& from, XmlNode& to) {
  to.tag = utf8(from.getTagName());
  const DOMNamedNodeMap* attributes = from.getAttributes();
  const XMLSize_t count = attributes ? attributes->getLength() : 0;
  to.attributes.reserve(count);
  for (XMLSize_t i = 0; i < count; ++i) {
    const DOMNode* attribute = attributes->item(i);
    to.attributes.emplace_back(utf8(attribute->getNodeName()), utf8(attribute->getNodeValue()));
  }
  for (const DOMNode* node = from.getFirstChild(); node; node = node->getNextSibling()) {
    switch (node->getNodeType()) {
      case DOMNode::ELEMENT_NODE:
        to.children.emplace_back();
        copyElement(*static_cast<const DOMElement*>(node), to.children.back());
        break;
      case DOMNode::TEXT_NODE:
      case DOMNode::CDATA_SECTION_NODE:
        to.text += utf8(node->getNodeValue());
        break;
      default:
        break;
    }
  }
}

}  // namespace

const std::string* XmlNode::find(std::string_view name) const {
  for (const auto& [key, value] : attributes) {
    if (key == name) return &value;
  }
  return nullptr;
}

std::string_view XmlNode::attr(std::string_view name, std::string_view fallback) const {
  const std::string* value = find(name);
  return value ? std::string_view(*value) : fallback;
}

const XmlNode* XmlNode::child(std::string_view tag) const {
  for (const XmlNode& node : children) {
    if (node.tag == tag) return &node;
  }
  return nullptr;
}

std::optional<XmlNode> parseXml(std::string_view text, std::string& error) {
  try {
    PlatformScope platform;
    cxhost::safeparse::FirstErrorHandler errors;
    std::optional<XmlNode> root;
    {
      cxhost::safeparse::SafeDomParser parser(errors);
      MemBufInputSource input(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                              "chart document");
      try {
        parser.parse(input);
      } catch (const cxhost::safeparse::DoctypeFound&) {
        error = cxhost::safeparse::kDoctypeRefused;
        return std::nullopt;
      } catch (const cxhost::safeparse::UnsupportedVersion& e) {
        error = cxhost::safeparse::unsupportedVersionMessage(e);
        return std::nullopt;
      } catch (const DOMException& e) {
        error = "cannot parse the document: " + utf8(e.getMessage());
        return std::nullopt;
      } catch (const cxhost::safeparse::TooDeep& deep) {
        error = "elements nest deeper than " + std::to_string(cxhost::safeparse::kMaxDepth) +
                " levels at line " + std::to_string(deep.line) + ", column " +
                std::to_string(deep.column);
        return std::nullopt;
      }
      if (errors.failed()) {
        error = errors.problem();
        return std::nullopt;
      }
      const DOMDocument* document = parser.getDocument();
      const DOMElement* element = document ? document->getDocumentElement() : nullptr;
      if (!element) {
        error = "the document has no root element";
        return std::nullopt;
      }
      root.emplace();
      copyElement(*element, *root);
    }
    return root;
  } catch (const XMLException& e) {
    error = "cannot parse the document: " + utf8(e.getMessage());
  } catch (const std::bad_alloc&) {
    error = "cannot parse the document: out of memory";
  } catch (...) {
    error = "cannot parse the document";
  }
  return std::nullopt;
}

}  // namespace chartxml::render
