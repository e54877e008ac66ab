// The named codes of chartxml/codes.h against what the library does with
// each: a word's name spells its text, a role's name the role a dimension
// gets, a summary function's name the description a variable gets.
#include <cctype>
#include <string>

#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "test_support.h"

namespace {

using cxtest::attr;
using cxtest::messages;
using xercesc::DOMElement;

// A text as its name is made: the words of camel case joined by "_", any
// other run of characters that are not letters or digits one "_", and all
// in capitals ("styleBy" -> "STYLE_BY", "X Axis" -> "X_AXIS").
std::string nameOf(const std::string& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (std::isalnum(c) == 0) {
      if (!out.empty() && out.back() != '_') out += '_';
      continue;
    }
    const bool camel = std::isupper(c) != 0 && i > 0 &&
                       (std::islower(static_cast<unsigned char>(text[i - 1])) != 0 ||
                        std::isdigit(static_cast<unsigned char>(text[i - 1])) != 0);
    if (camel && out.back() != '_') out += '_';
    out += static_cast<char>(std::toupper(c));
  }
  while (!out.empty() && out.back() == '_') out.pop_back();
  return out;
}

using CodesTest = cxtest::SourcedChartTest;

TEST_F(CodesTest, EveryWordNameSpellsTheTextOfItsCode) {
  int words = 0;
#define CHECK_WORD(name, code)                                         \
  EXPECT_EQ(nameOf(cx->getUTF8String(CX_WORD_##name)), #name) << code; \
  ++words;
  CX_WORD_LIST(CHECK_WORD)
#undef CHECK_WORD
  EXPECT_EQ(words, 154) << "156 codes, less the two that name nothing";
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(CX_WORD_TITLE, 17);
}

TEST_F(CodesTest, EveryRoleNameIsTheRoleItsDimensionGets) {
  const int frame = cx->AddFrame(chart, 0, -1);
#define CHECK_ROLE(name, code)                                                \
  {                                                                           \
    const int dimension = cx->AddDimension(chart, frame, CX_ROLE_##name, -1); \
    ASSERT_GE(dimension, 0) << #name;                                         \
    EXPECT_EQ(nameOf(attr(element(dimension), u"role")), #name) << code;      \
  }
  CX_ROLE_LIST(CHECK_ROLE)
#undef CHECK_ROLE
  EXPECT_TRUE(messages().empty());
}

TEST_F(CodesTest, EverySummaryNameIsTheDescriptionItWrites) {
  const auto description = [&](int variable) {
    const auto* element = this->element(variable);
    const auto* meta =
        static_cast<const DOMElement*>(element->getElementsByTagName(u"meta")->item(0));
    const std::string text = meta ? attr(meta, u"description") : "";
    return text.substr(0, text.find(';'));  // without the parameters
  };
#define CHECK_SUMMARY(name, code)                                                      \
  {                                                                                    \
    const int variable = cx->AddVariable(chart, 1, 1, true);                           \
    EXPECT_EQ(cx->SetSummaryFunction(chart, variable, CX_SUMMARY_##name, 5, 9), code); \
    EXPECT_EQ(nameOf(description(variable)), #name);                                   \
  }
  CX_SUMMARY_LIST(CHECK_SUMMARY)
#undef CHECK_SUMMARY
  EXPECT_TRUE(messages().empty());
}

}  // namespace
