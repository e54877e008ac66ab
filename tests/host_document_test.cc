// Chart utility services: documents, the printer, well-formedness checks,
// error handling, keys and the report and debug logs.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <string>

#include <xercesc/dom/DOM.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartKey.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/ChartString.h"

using namespace xercesc;

namespace {

class XmlPlatform : public ::testing::Environment {
 public:
  void SetUp() override { XMLPlatformUtils::Initialize(); }
  void TearDown() override { XMLPlatformUtils::Terminate(); }
};
const auto* const kXmlPlatform = ::testing::AddGlobalTestEnvironment(new XmlPlatform);

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

// Owns a document made by ChartBase::createDocument.
struct Doc {
  DOMDocument* doc = ChartBase::createDocument(ChartBase::_utf8);
  ~Doc() { ChartBase::releaseDocument(doc); }
  DOMElement* root() const { return doc->getDocumentElement(); }
  DOMElement* add(DOMElement* parent, const char16_t* tag) const {
    return static_cast<DOMElement*>(parent->appendChild(doc->createElement(tag)));
  }
};

class ChartDocument : public ::testing::Test {
 protected:
  void SetUp() override {
    cxh_set_quiet(1);
    cxh_clear_reports();
    cxh_clear_debug();
  }
  void TearDown() override { cxh_set_quiet(-1); }
};

TEST_F(ChartDocument, ElementsAreFoundByIdAndDirectChildTag) {
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

  ChartBase::AddAttribute(graph, u"kind", u"bar");
  ChartBase::AddAttribute(graph, u"kind", u"line");
  EXPECT_EQ(utf8(graph->getAttribute(u"kind")), "line");
  EXPECT_EQ(cxh_report_count(), 0);

  DOMDocument* released = d.doc;
  ChartBase::releaseDocument(released);
  EXPECT_EQ(released, nullptr);
  d.doc = nullptr;
}

TEST_F(ChartDocument, MergeAttributesKeepsTheTargetsId) {
  Doc d;
  DOMElement* from = d.add(d.root(), u"from");
  DOMElement* to = d.add(d.root(), u"to");
  ChartBase::AddID(from, u"x1");
  ChartBase::AddAttribute(from, u"color", u"red");
  ChartBase::AddAttribute(to, u"color", u"blue");
  ChartBase::AddAttribute(to, u"width", u"2");
  ChartBase::AddID(to, u"y1");

  ChartBase::mergeAttributes(from, to);
  EXPECT_EQ(utf8(to->getAttribute(u"color")), "red");
  EXPECT_EQ(utf8(to->getAttribute(u"width")), "2");
  EXPECT_EQ(utf8(to->getAttribute(u"id")), "y1");
  EXPECT_EQ(d.doc->getElementById(u"x1"), from);
  EXPECT_EQ(d.doc->getElementById(u"y1"), to);
  EXPECT_EQ(from->getAttributes()->getLength(), 2u);  // the source is untouched
}

TEST_F(ChartDocument, DomFailuresAreReportedNotThrown) {
  Doc d;
  ChartBase::AddAttribute(d.root(), u"bad name", u"x");
  ChartBase::AddID(nullptr, u"x");
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_STREQ(cxh_report_source(0), "xerces-dom");
  EXPECT_EQ(std::string(cxh_report_message(0)).rfind("DOM error 5: ", 0), 0u)
      << cxh_report_message(0);
}

TEST_F(ChartDocument, PrinterWritesIndentedUtf8) {
  Doc d;
  ChartBase::AddID(d.root(), u"v1");
  ChartBase::AddAttribute(d.root(), u"style", u"a&b \"q\"");
  DOMElement* title = d.add(d.root(), u"title");
  title->appendChild(d.doc->createTextNode(u"Sales <2024> \u65E5\u672C"));
  DOMElement* graph = d.add(d.root(), u"graph");
  d.add(graph, u"point");
  d.add(d.root(), u"empty");

  EXPECT_EQ(print(d.doc, true),
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
}

// Parses text the way a receiver of printed charts would.
std::unique_ptr<XercesDOMParser> parse(const std::string& xml) {
  auto parser = std::make_unique<XercesDOMParser>();
  parser->setDoNamespaces(false);
  MemBufInputSource input(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "test");
  parser->parse(input);
  return parser;
}

TEST_F(ChartDocument, PrintedTextParsesBackToTheSameValues) {
  const char16_t* tricky = u"a\"b'<c>&d\n\te\r\nf \u65E5\U0001F600";
  Doc d;
  ChartBase::AddAttribute(d.root(), u"label", tricky);
  DOMElement* note = d.add(d.root(), u"note");
  note->appendChild(d.doc->createTextNode(tricky));
  // Mixed content keeps its exact text: no indentation is added inside it.
  DOMElement* mixed = d.add(d.root(), u"mixed");
  mixed->appendChild(d.doc->createTextNode(u"x "));
  d.add(mixed, u"b")->appendChild(d.doc->createTextNode(u"y"));
  mixed->appendChild(d.doc->createTextNode(u" z"));
  // Texts that would end a comment or instruction early.
  d.root()->appendChild(d.doc->createComment(u"a--b-"));
  d.root()->appendChild(d.doc->createProcessingInstruction(u"pi", u"x?>y"));

  for (bool whiteSpace : {true, false}) {
    const std::string text = print(d.doc, whiteSpace);
    EXPECT_TRUE(ChartBase::ValidXML(text)) << text;
    auto parser = parse(text);
    ASSERT_EQ(parser->getErrorCount(), 0u) << text;
    const DOMElement* root = parser->getDocument()->getDocumentElement();
    EXPECT_EQ(utf8(root->getAttribute(u"label")), ChartString::toUTF8(tricky));
    EXPECT_EQ(utf8(ChartBase::getChildByTagName(root, u"note")->getTextContent()),
              ChartString::toUTF8(tricky));
    EXPECT_EQ(utf8(ChartBase::getChildByTagName(root, u"mixed")->getTextContent()), "x y z");
  }
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(ChartDocument, PrinterHandlesTreesDeeperThanTheCallStack) {
  // Built from the bottom up: appending a detached chain keeps each DOM
  // insertion's ancestor check short.
  constexpr int kDepth = 200000;
  Doc d;
  DOMElement* chain = d.doc->createElement(u"g");
  for (int i = 1; i < kDepth; ++i) {
    DOMElement* parent = d.doc->createElement(u"g");
    parent->appendChild(chain);
    chain = parent;
  }
  d.root()->appendChild(chain);
  const std::string text = print(d.doc, false);
  std::string expected = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization>";
  for (int i = 1; i < kDepth; ++i) expected += "<g>";
  expected += "<g/>";
  for (int i = 1; i < kDepth; ++i) expected += "</g>";
  expected += "</visualization>";
  EXPECT_TRUE(text == expected);
}

TEST_F(ChartDocument, ValidXmlAcceptsWellFormedAndReportsFirstError) {
  EXPECT_TRUE(
      ChartBase::ValidXML("<?xml version=\"1.0\"?>\n<visualization a=\"1\"><x/></visualization>"));
  EXPECT_EQ(cxh_report_count(), 0);

  EXPECT_FALSE(ChartBase::ValidXML("<visualization>\n  <x></y>\n</visualization>"));
  EXPECT_FALSE(ChartBase::ValidXML(""));
  EXPECT_FALSE(ChartBase::ValidXML("<a>&undefined;</a>"));
  ASSERT_EQ(cxh_report_count(), 3);
  EXPECT_EQ(
      std::string(cxh_report_message(0)).rfind("XML is not well-formed at line 2, column ", 0), 0u)
      << cxh_report_message(0);
  EXPECT_STREQ(cxh_report_source(0), "host/chartutl");
}

TEST_F(ChartDocument, ValidXmlRefusesAnyDoctypeQuickly) {
  std::string laughs = "<?xml version=\"1.0\"?>\n<!DOCTYPE lolz [\n<!ENTITY lol \"lol\">\n";
  for (int i = 1; i < 10; ++i) {
    laughs += "<!ENTITY lol" + std::to_string(i) + " \"";
    for (int k = 0; k < 10; ++k)
      laughs += "&lol" + (i == 1 ? std::string() : std::to_string(i - 1)) + ";";
    laughs += "\">\n";
  }
  laughs += "]>\n<lolz>&lol9;</lolz>";
  const std::string documents[] = {
      laughs,
      "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><x>&e;</x>",
      "<!DOCTYPE x SYSTEM \"http://example.invalid/x.dtd\"><x/>",
      "<!DOCTYPE x><x/>",
  };
  const auto start = std::chrono::steady_clock::now();
  for (const std::string& xml : documents) EXPECT_FALSE(ChartBase::ValidXML(xml)) << xml;
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  ASSERT_EQ(cxh_report_count(), 4);
  for (int i = 0; i < 4; ++i) {
    EXPECT_STREQ(cxh_report_message(i), "DOCTYPE is not allowed in a chart document");
  }
}

TEST_F(ChartDocument, ErrorHandlerReportsEveryKindInOrder) {
  ChartErrorHandler handler;
  handler.error(ChartException("AddElement failed - ", "backend/chartxml/src/chart", 42));
  XercesDOMParser parser;
  parser.setErrorHandler(&handler);
  MemBufInputSource input(reinterpret_cast<const XMLByte*>("<a>\n <b></a>"), 12, "mem");
  parser.parse(input);

  EXPECT_EQ(handler.errorCount(), 2u);
  ASSERT_EQ(cxh_report_count(), 2);
  EXPECT_STREQ(cxh_report_message(0), "AddElement failed - ");
  EXPECT_STREQ(cxh_report_source(0), "backend/chartxml/src/chart");
  EXPECT_EQ(cxh_report_line(0), 42);
  EXPECT_EQ(std::string(cxh_report_message(1)).rfind("mem:2:", 0), 0u) << cxh_report_message(1);
  EXPECT_EQ(cxh_report_line(1), 2);
  handler.resetErrors();
  EXPECT_EQ(handler.errorCount(), 0u);
}

TEST_F(ChartDocument, NumbersAsText) {
  EXPECT_EQ(ChartBase::asString(1000.0) + " " + ChartBase::asString(0.1) + " " +
                ChartBase::asString(-35.0) + " " + ChartBase::asString(2.718281828459045),
            "1000 0.1 -35 2.718281828459045");
  EXPECT_EQ(ChartBase::asString(-2147483647 - 1), "-2147483648");
}

TEST(ChartKeyTest, EqualKeysHashEquallyAndSizeMatters) {
  ChartKey one(7), two;
  two.setComponent(0, 7);
  two.UpdateHashCode();
  EXPECT_TRUE(one == two);
  EXPECT_EQ(one.hashcode, two.hashcode);

  ChartKey longer;
  longer.setComponent(1, 0);  // grows to two components, the first 0
  longer.setComponent(0, 7);
  longer.UpdateHashCode();
  EXPECT_EQ(longer.size(), 2u);
  EXPECT_TRUE(one != longer);

  ChartKey swapped;
  swapped.setComponent(0, 0);
  swapped.setComponent(1, 7);
  swapped.UpdateHashCode();
  EXPECT_NE(swapped.hashcode, longer.hashcode);
  for (int v : {-1, -2147483647 - 1, 2147483647}) EXPECT_GE(ChartKey(v).hashcode, 0) << v;
}

TEST_F(ChartDocument, LogsKeepTheNewestHundredThousand) {
  for (int i = 0; i < 100002; ++i) ChartBase::printDebugInfo("line " + std::to_string(i));
  ASSERT_EQ(cxh_debug_count(), 100000);
  EXPECT_STREQ(cxh_debug_line(0), "line 2");
  EXPECT_STREQ(cxh_debug_line(99999), "line 100001");
  EXPECT_EQ(cxh_debug_line(100000), nullptr);
  cxh_clear_debug();
  EXPECT_EQ(cxh_debug_count(), 0);

  ChartErrorHandler handler;
  for (int i = 0; i < 100001; ++i) handler.error(ChartException("m", "s", i));
  ASSERT_EQ(cxh_report_count(), 100000);
  EXPECT_EQ(cxh_report_line(0), 1);
  EXPECT_EQ(cxh_report_line(100000), -1);
  EXPECT_EQ(cxh_report_message(-1), nullptr);
}

}  // namespace
