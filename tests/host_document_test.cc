// Chart utility services: documents, the printer, well-formedness checks,
// error handling, keys and the report and debug logs.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartKey.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/ChartString.h"
#include "host_test_support.h"

using namespace xercesc;

namespace {

const auto* const kXmlPlatform = ::testing::AddGlobalTestEnvironment(new hosttest::XmlPlatform);

using hosttest::startsWith;

std::string utf8(const XMLCh* text) {
  return text ? ChartString::toUTF8(text) : std::string();
}

std::string print(const DOMNode* node, bool whiteSpace) {
  ChartPrinter printer;
  printer.setPrintWhiteSpace(whiteSpace);
  std::ostringstream out;
  printer.Print(node, out);
  return out.str();
}

void parse(XercesDOMParser& parser, const std::string& xml) {
  MemBufInputSource input(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "mem");
  parser.parse(input);
}

// Owns a document made by ChartBase::createDocument.
struct Doc {
  DOMDocument* doc = ChartBase::createDocument(ChartBase::_utf8);
  ~Doc() { ChartBase::releaseDocument(doc); }
  DOMElement* root() const { return doc->getDocumentElement(); }
  DOMElement* add(DOMElement* parent, const char16_t* tag, const char16_t* text = nullptr) const {
    auto* element = static_cast<DOMElement*>(parent->appendChild(doc->createElement(tag)));
    if (text != nullptr) element->appendChild(doc->createTextNode(text));
    return element;
  }
};

class ChartDocument : public hosttest::QuietReports {
 protected:
  void SetUp() override {
    QuietReports::SetUp();
    cxh_clear_debug();
  }
};

TEST_F(ChartDocument, ElementHelpersFindSetAndMergeReportingDomFailures) {
  Doc d;
  ASSERT_NE(d.doc, nullptr);
  EXPECT_EQ(utf8(d.root()->getTagName()), "visualization");
  DOMElement* graph = d.add(d.root(), u"graph");
  DOMElement* label = d.add(graph, u"label");
  DOMElement* second = d.add(d.root(), u"label");
  ChartBase::AddID(label, u"label1");
  EXPECT_EQ(d.doc->getElementById(u"label1"), label);
  EXPECT_EQ(d.doc->getElementById(u"nothing"), nullptr);
  EXPECT_EQ(ChartBase::getChildByTagName(d.root(), u"label"), second);  // not the grandchild
  EXPECT_EQ(ChartBase::getChildByTagName(d.root(), u"graph"), graph);
  EXPECT_EQ(ChartBase::getChildByTagName(graph, u"graph"), nullptr);

  // Merging copies every attribute but the id, which the target keeps.
  ChartBase::AddAttribute(label, u"color", u"red");
  ChartBase::AddAttribute(second, u"color", u"blue");
  ChartBase::AddAttribute(second, u"color", u"green");  // replaces
  ChartBase::AddAttribute(second, u"width", u"2");
  ChartBase::AddID(second, u"label2");
  EXPECT_EQ(utf8(second->getAttribute(u"color")), "green");
  ChartBase::mergeAttributes(label, second);
  EXPECT_EQ(utf8(second->getAttribute(u"color")), "red");
  EXPECT_EQ(utf8(second->getAttribute(u"width")), "2");
  EXPECT_EQ(utf8(second->getAttribute(u"id")), "label2");
  EXPECT_EQ(d.doc->getElementById(u"label1"), label);
  EXPECT_EQ(d.doc->getElementById(u"label2"), second);
  EXPECT_EQ(label->getAttributes()->getLength(), 2u);  // the source is untouched
  EXPECT_EQ(cxh_report_count(), 0);

  ChartBase::AddAttribute(d.root(), u"bad name", u"x");
  ChartBase::AddID(nullptr, u"x");
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_STREQ(cxh_report_source(0), "xerces-dom");
  EXPECT_PRED2(startsWith, cxh_report_message(0), "DOM error 5: ");

  DOMDocument* released = d.doc;
  ChartBase::releaseDocument(released);
  EXPECT_EQ(released, nullptr);
  d.doc = nullptr;
}

TEST_F(ChartDocument, PrinterWritesIndentedUtf8ThatParsesBackToTheSameValues) {
  Doc plain;
  ChartBase::AddID(plain.root(), u"v1");
  ChartBase::AddAttribute(plain.root(), u"style", u"a&b \"q\"");
  plain.add(plain.root(), u"title", u"Sales <2024> \u65E5\u672C");
  DOMElement* graph = plain.add(plain.root(), u"graph");
  plain.add(graph, u"point");
  plain.add(plain.root(), u"empty");
  EXPECT_EQ(print(plain.doc, true),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
            "<visualization id=\"v1\" style=\"a&amp;b &quot;q&quot;\">\n"
            "  <title>Sales &lt;2024&gt; \xE6\x97\xA5\xE6\x9C\xAC</title>\n"
            "  <graph>\n"
            "    <point/>\n"
            "  </graph>\n"
            "  <empty/>\n"
            "</visualization>\n");
  EXPECT_EQ(print(graph, false), "<graph><point/></graph>");
  EXPECT_EQ(print(nullptr, true), "");

  const char16_t* tricky = u"a\"b'<c>&d\n\te\r\nf \u65E5\U0001F600";
  Doc d;
  ChartBase::AddAttribute(d.root(), u"label", tricky);
  d.add(d.root(), u"note", tricky);
  // Mixed content keeps its exact text: no indentation is added inside it.
  DOMElement* mixed = d.add(d.root(), u"mixed", u"x ");
  d.add(mixed, u"b", u"y");
  mixed->appendChild(d.doc->createTextNode(u" z"));
  // Texts that would end a comment or instruction early.
  d.root()->appendChild(d.doc->createComment(u"a--b-"));
  d.root()->appendChild(d.doc->createProcessingInstruction(u"pi", u"x?>y"));
  for (bool whiteSpace : {true, false}) {
    const std::string text = print(d.doc, whiteSpace);
    EXPECT_TRUE(ChartBase::ValidXML(text)) << text;
    XercesDOMParser parser;
    parse(parser, text);
    ASSERT_EQ(parser.getErrorCount(), 0u) << text;
    const DOMElement* root = parser.getDocument()->getDocumentElement();
    EXPECT_EQ(utf8(root->getAttribute(u"label")), ChartString::toUTF8(tricky));
    EXPECT_EQ(utf8(ChartBase::getChildByTagName(root, u"note")->getTextContent()),
              ChartString::toUTF8(tricky));
    EXPECT_EQ(utf8(ChartBase::getChildByTagName(root, u"mixed")->getTextContent()), "x y z");
  }
  EXPECT_EQ(cxh_report_count(), 0);
}

// What XML cannot carry, even as a reference, and surrogates without their
// partners print as U+FFFD; a pair prints as its one character.
TEST_F(ChartDocument, PrinterReplacesWhatXmlCannotCarry) {
  const std::u16string bad{u'a', 0x01, u'b', 0xD800, u'c', 0xDC00, 0xFFFF, 0xD83D, 0xDE00, 0xD83D};
  const std::string r = "\xEF\xBF\xBD";
  const std::string shown = "a" + r + "b" + r + "c" + r + r + "\xF0\x9F\x98\x80" + r;
  Doc d;
  ChartBase::AddAttribute(d.root(), u"v", bad.c_str());
  d.add(d.root(), u"t", bad.c_str());
  EXPECT_EQ(print(d.root(), false),
            "<visualization v=\"" + shown + "\"><t>" + shown + "</t></visualization>");
}

// Plain ASCII goes through the printer in blocks and each distinct name is
// converted once: a character needing escape or conversion at any offset of
// a block, a pair split across the printer's chunks, and more names than
// its cache holds must all read back as written.
TEST_F(ChartDocument, PrinterKeepsEveryCharacterOfLongTextsAndManyNames) {
  const std::u16string specials[] = {u"&",  u"<",      u">",      u"\"",         u"\r",  u"\n",
                                     u"\t", u"\u00E9", u"\u65E5", u"\U0001F600", u"\x7F"};
  Doc d;
  std::vector<std::u16string> values;
  for (const std::u16string& special : specials) {
    for (std::size_t at = 0; at < 17; ++at) {
      values.push_back(std::u16string(at, u'a') + special + std::u16string(20 - at, u'b'));
    }
  }
  // The printer converts 512 units at a time: the pair straddles the seam.
  values.push_back(std::u16string(511, u'x') + u"\U0001F600" + std::u16string(600, u'y'));
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::u16string tag = u"n" + ChartString::fromUTF8(std::to_string(i));
    DOMElement* element = d.add(d.root(), tag.c_str(), values[i].c_str());
    ChartBase::AddAttribute(element, u"v", values[i].c_str());
  }
  for (bool whiteSpace : {true, false}) {
    XercesDOMParser parser;
    parse(parser, print(d.doc, whiteSpace));
    ASSERT_EQ(parser.getErrorCount(), 0u);
    const DOMNode* child = parser.getDocument()->getDocumentElement()->getFirstChild();
    std::size_t i = 0;
    for (; child != nullptr; child = child->getNextSibling()) {
      if (child->getNodeType() != DOMNode::ELEMENT_NODE) continue;
      ASSERT_LT(i, values.size());
      const auto* element = static_cast<const DOMElement*>(child);
      EXPECT_EQ(utf8(element->getTagName()), "n" + std::to_string(i));
      EXPECT_EQ(utf8(element->getAttribute(u"v")), ChartString::toUTF8(values[i])) << i;
      EXPECT_EQ(utf8(element->getTextContent()), ChartString::toUTF8(values[i])) << i;
      ++i;
    }
    EXPECT_EQ(i, values.size());
  }
}
// A chain of `levels` nested <g> elements under the root, built from the
// bottom up: appending a detached chain keeps each DOM insertion's ancestor
// check short.
void addChain(const Doc& d, int levels) {
  DOMElement* chain = d.doc->createElement(u"g");
  for (int i = 1; i < levels; ++i) {
    DOMElement* parent = d.doc->createElement(u"g");
    parent->appendChild(chain);
    chain = parent;
  }
  d.root()->appendChild(chain);
}

// Trees deeper than the call stack print; indentation stops growing below
// the deepest level that reads back, or the text would grow with the square
// of the depth: gigabytes for 100,000 levels. (Not EXPECT_EQ: a failure
// would print megabytes.)
TEST_F(ChartDocument, PrinterHandlesTreesDeeperThanTheCallStackAndCapsIndentation) {
  Doc d;
  addChain(d, 200000);
  std::string open, close;
  for (int i = 1; i < 200000; ++i) open += "<g>", close += "</g>";
  EXPECT_TRUE(print(d.doc, false) == "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization>" +
                                         open + "<g/>" + close + "</visualization>");

  constexpr int kLevels = 2000;
  Doc indented;
  addChain(indented, kLevels);
  auto indent = [](int level) {
    return std::string(2 * static_cast<std::size_t>(std::min(level, ChartBase::kMaxDepth)), ' ');
  };
  std::string expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization>\n";
  for (int level = 1; level < kLevels; ++level) expected += indent(level) + "<g>\n";
  expected += indent(kLevels) + "<g/>\n";
  for (int level = kLevels - 1; level >= 1; --level) expected += indent(level) + "</g>\n";
  expected += "</visualization>\n";
  EXPECT_TRUE(print(indented.doc, true) == expected);
}

TEST_F(ChartDocument, ValidXmlAcceptsWellFormedTextAndRefusesDoctypes) {
  std::string laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol0 \"lol\">\n";
  for (int i = 1; i < 10; ++i) {
    laughs += "<!ENTITY lol" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k) laughs += "&lol" + std::to_string(i - 1) + ";";
    laughs += "\">\n";
  }
  const char* const kDoctype = "DOCTYPE is not allowed in a chart document";
  // Each text with the start of its one report, or null when it is valid.
  const std::pair<std::string, const char*> cases[] = {
      {"<?xml version=\"1.0\"?>\n<visualization a=\"1\"><x/></visualization>", nullptr},
      {"<visualization>\n  <x></y>\n</visualization>", "XML is not well-formed at line 2, column "},
      {"", ""},
      {"<a>&undefined;</a>", ""},
      {laughs + "]>\n<lolz>&lol9;</lolz>", kDoctype},
      {"<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><x>&e;</x>", kDoctype},
      {"<!DOCTYPE x SYSTEM \"http://example.invalid/x.dtd\"><x/>", kDoctype},
      {"<!DOCTYPE x><x/>", kDoctype},
      // What the DOM readers refuse is not well formed here either.
      {"<?xml version=\"1.5\"?><x/>", "XML version \"1.5\" is not supported"},
      {"<?xml version=\"1.*\"?><x/>", "XML version \"1.*\" is not supported"},
      {"<?xml version=\"1.1\"?><x/>", nullptr},
  };
  for (const auto& [xml, report] : cases) {
    SCOPED_TRACE(xml);
    cxh_clear_reports();
    EXPECT_EQ(ChartBase::ValidXML(xml), report == nullptr);
    ASSERT_EQ(cxh_report_count(), report == nullptr ? 0 : 1);
    if (report == nullptr) continue;
    EXPECT_PRED2(startsWith, cxh_report_message(0), report);
    EXPECT_STREQ(cxh_report_source(0), "host/chartutl");
  }
}

TEST_F(ChartDocument, NumbersAsText) {
  EXPECT_EQ(ChartBase::asString(1000.0) + " " + ChartBase::asString(0.1) + " " +
                ChartBase::asString(-35.0) + " " + ChartBase::asString(2.718281828459045),
            "1000 0.1 -35 2.718281828459045");
  EXPECT_EQ(ChartBase::asString(-2147483647 - 1), "-2147483648");
}

TEST(ChartKeyTest, EqualKeysHashEquallyAndSizeMatters) {
  ChartKey one(7), two, longer, swapped;
  two.setComponent(0, 7);
  longer.setComponent(1, 0);  // grows to two components, the first 0
  longer.setComponent(0, 7);
  swapped.setComponent(0, 0);
  swapped.setComponent(1, 7);
  for (ChartKey* key : {&two, &longer, &swapped}) key->UpdateHashCode();
  EXPECT_TRUE(one == two);
  EXPECT_EQ(one.hashcode, two.hashcode);
  EXPECT_EQ(longer.size(), 2u);
  EXPECT_TRUE(one != longer);
  EXPECT_NE(swapped.hashcode, longer.hashcode);
  for (int v : {-1, -2147483647 - 1, 2147483647}) EXPECT_GE(ChartKey(v).hashcode, 0) << v;
}

TEST_F(ChartDocument, ErrorHandlerReportsEveryKindInOrderAndLogsKeepTheNewestHundredThousand) {
  ChartErrorHandler handler;
  handler.error(ChartException("AddElement failed - ", "backend/chartxml/src/chart", 42));
  XercesDOMParser parser;
  parser.setErrorHandler(&handler);
  parse(parser, "<a>\n <b></a>");
  EXPECT_EQ(handler.errorCount(), 2u);
  ASSERT_EQ(cxh_report_count(), 2);
  EXPECT_STREQ(cxh_report_message(0), "AddElement failed - ");
  EXPECT_STREQ(cxh_report_source(0), "backend/chartxml/src/chart");
  EXPECT_EQ(cxh_report_line(0), 42);
  EXPECT_PRED2(startsWith, cxh_report_message(1), "mem:2:");
  EXPECT_EQ(cxh_report_line(1), 2);
  handler.resetErrors();
  EXPECT_EQ(handler.errorCount(), 0u);

  cxh_clear_reports();
  for (int i = 0; i < 100001; ++i) handler.error(ChartException("m", "s", i));
  ASSERT_EQ(cxh_report_count(), 100000);
  EXPECT_EQ(cxh_report_line(0), 1);
  EXPECT_EQ(cxh_report_line(100000), -1);
  EXPECT_EQ(cxh_report_message(-1), nullptr);

  for (int i = 0; i < 100002; ++i) ChartBase::printDebugInfo("line " + std::to_string(i));
  ASSERT_EQ(cxh_debug_count(), 100000);
  EXPECT_STREQ(cxh_debug_line(0), "line 2");
  EXPECT_STREQ(cxh_debug_line(99999), "line 100001");
  EXPECT_EQ(cxh_debug_line(100000), nullptr);
  cxh_clear_debug();
  EXPECT_EQ(cxh_debug_count(), 0);
}

}  // namespace
