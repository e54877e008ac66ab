#include "test_support.h"

#include <xercesc/dom/DOMNode.hpp>

namespace cxtest {

std::string childTags(const xercesc::DOMElement* parent) {
  std::string tags;
  for (auto* n = parent->getFirstChild(); n != nullptr; n = n->getNextSibling()) {
    if (n->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    if (!tags.empty()) tags += ' ';
    tags += utf8(n->getNodeName());
  }
  return tags;
}

}  // namespace cxtest
