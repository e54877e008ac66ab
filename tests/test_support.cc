#include "test_support.h"

#include <unistd.h>

#include <filesystem>

#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

namespace cxtest {

std::string scratchDir(const std::string& stem) {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const std::filesystem::path dir =
      std::filesystem::path(::testing::TempDir()) /
      (stem + "-" + std::to_string(getpid()) + "-" + test->test_suite_name() + "." + test->name());
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  return dir.string();
}

std::string childTags(const xercesc::DOMElement* parent) {
  std::string tags;
  for (auto* n = parent->getFirstChild(); n != nullptr; n = n->getNextSibling()) {
    if (n->getNodeType() != xercesc::DOMNode::ELEMENT_NODE) continue;
    if (!tags.empty()) tags += ' ';
    tags += utf8(n->getNodeName());
  }
  return tags;
}

xercesc::DOMElement* FacadeTest::elementAt(int chart, int handle) {
  xercesc::DOMNodeList* all = cx->getChart(chart)->getElementsByTagName(u"*");
  for (XMLSize_t i = 0; i < all->getLength(); ++i) {
    auto* e = static_cast<xercesc::DOMElement*>(all->item(i));
    if (cx->getHandle(chart, e) == handle) return e;
  }
  return nullptr;
}

}  // namespace cxtest
