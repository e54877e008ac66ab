#include "test_support.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include <xercesc/dom/DOMNode.hpp>
#include <xercesc/dom/DOMNodeList.hpp>

namespace cxtest {

namespace {

// The scratch folders made in this process, removed as it ends (each test
// runs in a process of its own under CTest), so that none outlives its test.
struct ScratchFolders {
  std::vector<std::filesystem::path> made;
  ~ScratchFolders() {
    for (const auto& dir : made) {
      std::error_code ec;
      std::filesystem::remove_all(dir, ec);
    }
  }
};

ScratchFolders& scratchFolders() {
  static ScratchFolders folders;
  return folders;
}

// Every chart these suites send is checked as a validating host checks it
// (the chart schema and the references), so a builder that writes outside
// the vocabulary fails the test that sent its chart. Tests that send a
// document outside the vocabulary on purpose turn it off for their time.
[[maybe_unused]] const bool kValidating = (cxh_set_validate(1), true);

}  // namespace

std::string scratchDir(const std::string& stem) {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  // Parameterised tests have "/" in their names: one folder, not a tree.
  std::string name =
      stem + "-" + std::to_string(getpid()) + "-" + test->test_suite_name() + "." + test->name();
  std::replace(name.begin(), name.end(), '/', '_');
  const std::filesystem::path dir = std::filesystem::path(::testing::TempDir()) / name;
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  scratchFolders().made.push_back(dir);
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
