// The renderer's own XML reader: what it refuses and where, what it decodes,
// and that every document the library sends reads as the tree a full XML
// parser builds of it.
#include <gtest/gtest.h>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>

#include <algorithm>
#include <cctype>
#include <string>
#include <utility>
#include <vector>

#include "read/XmlTree.h"
#include "test_support.h"
#include "whole_charts.h"

namespace {

using chartxml::render::parseXml;
using chartxml::render::XmlNode;

std::string refusal(const std::string& xml) {
  std::string error;
  EXPECT_FALSE(parseXml(xml, error)) << xml;
  return error;
}

std::string repeat(std::string_view piece, std::size_t times) {
  std::string out;
  for (std::size_t i = 0; i < times; ++i) out += piece;
  return out;
}

TEST(RenderXml, RefusesWhatIsNotWellFormedSayingWhy) {
  // A document and a piece of the message that refuses it.
  const std::vector<std::pair<std::string, std::string>> cases{
      {"", "line 1, column 1: the document has no root element"},
      {" <!-- only a comment -->", "the document has no root element"},
      {"text<a/>", "text is not allowed before the root element"},
      {"<a/><b/>", "a document has one root element; another follows it"},
      {"<a/>text", "text is not allowed after the root element"},
      {"<a>", "the document ends inside <a>"},
      {"<a b=\"1", "the document ends inside an attribute value"},
      {"<a b/>", "expected '=' after attribute b"},
      {"<a b=1/>", "expected the quoted value of attribute b"},
      {"<a b='1'c='2'/>", "expected whitespace, '>' or '/>' in the start tag <a>"},
      {"<a b='1' c='' b=\"2\"/>", "column 15: attribute b is given twice in <a>"},
      {"<a b='<'/>", "'<' is not allowed in an attribute value"},
      {"<1a/>", "expected an element name, found '1'"},
      {"<a\xC2\xA0/>", "character U+00A0 cannot be part of a name"},
      {"<a></a x>", "expected '>' to end </a>, found 'x'"},
      {"<a>]]></a>", "']]>' is not allowed in text"},
      {"<a>&nbsp;</a>", "the entity &nbsp; is not declared"},
      {"<a>&amp</a>", "expected ';' after &amp"},
      {"<a>&#;</a>", "a character reference is &#DIGITS; or &#xHEXDIGITS;"},
      {"<a>&#X41;</a>", "a character reference is"},
      {"<a>&#0;</a>", "a character reference to U+0000, which XML does not allow"},
      {"<a b='&#1;'/>", "a character reference to U+0001"},
      {"<a>&#xD800;</a>", "a character reference to U+D800"},
      {"<a>&#xFFFE;</a>", "a character reference to U+FFFE"},
      {"<a>&#x110000;</a>", "a character reference beyond Unicode"},
      {"<a>&#99999999999999999999;</a>", "a character reference beyond Unicode"},
      {"<a>\x01</a>", "character U+0001 is not allowed"},
      {std::string("<a>\0</a>", 8), "character U+0000 is not allowed"},
      {"<a b='\x1F'/>", "character U+001F is not allowed"},
      {"<a>\xFF</a>", "invalid UTF-8: byte 0xFF cannot start a character"},
      {"<a>\x80</a>", "invalid UTF-8: byte 0x80 cannot start a character"},
      {"<a>\xC3</a>", "invalid UTF-8: byte 0x3C cannot continue a character"},
      {"<a>\xE2\x82", "invalid UTF-8: the document ends inside a character"},
      {"<a>\xC0\xAF</a>", "invalid UTF-8: an overlong form of U+002F"},
      {"<a>\xE0\x80\xAF</a>", "invalid UTF-8: an overlong form of U+002F"},
      {"<a>\xED\xA0\x80</a>", "invalid UTF-8: surrogate U+D800"},
      {"<a>\xF4\x90\x80\x80</a>", "invalid UTF-8: U+110000 is beyond Unicode"},
      {"<a>\xEF\xBF\xBF</a>", "character U+FFFF is not allowed"},
      {"<a><!-- x \xFF --></a>", "byte 0xFF cannot start a character"},
      {"<a><!-- a -- b --></a>", "'--' is not allowed inside a comment"},
      {"<a><!-- x ---></a>", "'--' is not allowed inside a comment"},
      {"<a><!-- open</a>", "line 1, column 4: the comment is not closed"},
      {"<a><![CDATA[open</a>", "the CDATA section is not closed"},
      {"<a><?pi open</a>", "the processing instruction is not closed"},
      {"<a><?pi?></a><?xml-ish?><?XmL?>", "an XML declaration is allowed only at the start"},
      {"<a><!ELEMENT a ANY></a>", "'<!' starts neither a comment nor a CDATA section"},
      {" <?xml version='1.0'?><a/>", "an XML declaration is allowed only at the start"},
      {"<?xml?><a/>", "the XML declaration must begin with the version"},
      {"<?xml encoding='UTF-8'?><a/>", "the XML declaration must begin with the version"},
      {"<?xml version='one'?><a/>", "\"one\" is not an XML version number"},
      {"<?xml version='1.'?><a/>", "\"1.\" is not an XML version number"},
      {"<?xml version='1.0'standalone='no'?><a/>", "expected whitespace or '?>'"},
      {"<?xml version='1.0' standalone='maybe'?><a/>", "standalone is \"yes\" or \"no\""},
      {"<?xml version='1.0' standalone='no' encoding='UTF-8'?><a/>", "unexpected 'encoding'"},
      {"<?xml version=\"1.0\"", "found the end of the document"},
      {"<?xml version=\"1.0", "the XML declaration is not closed"},
      {std::string("\xFF\xFE<\0a\0/\0>\0", 10), "the document is UTF-16"},
  };
  for (const auto& [xml, problem] : cases) {
    const std::string error = refusal(xml);
    EXPECT_EQ(error.rfind("XML is not well-formed at line ", 0), 0u) << error;
    EXPECT_NE(error.find(problem), std::string::npos) << error;
  }
  // Lines end at LF, CR LF or CR; columns count characters, not bytes.
  EXPECT_EQ(refusal("<a>\n  <b>\r\n</a>"),
            "XML is not well-formed at line 3, column 1: the end "
            "tag </a> does not match the start tag <b>");
  EXPECT_EQ(refusal("<a>\r\xC3\xA9t\xC3\xA9 &bad;</a>"),
            "XML is not well-formed at line 2, column 5: the entity &bad; is not declared "
            "(a chart document uses only &lt; &gt; &amp; &apos; &quot;)");
}

TEST(RenderXml, RefusesDoctypesOtherVersionsAndEncodingsAndDeepNesting) {
  const std::vector<std::pair<std::string, std::string>> cases{
      {"<!DOCTYPE a [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><a>&e;</a>",
       "DOCTYPE is not allowed in a chart document"},
      {"<?xml version=\"1.0\"?>\n<!-- c -->\n<!DOCTYPE a SYSTEM \"a.dtd\"><a/>",
       "DOCTYPE is not allowed in a chart document"},
      {"<?xml version=\"2.0\"?><a/>",
       "XML version \"2.0\" is not supported: a chart document is XML 1.0 or 1.1"},
      {"<?xml version='1.0' encoding='ISO-8859-1'?><a/>",
       "the encoding \"ISO-8859-1\" is not supported: a chart document is UTF-8"},
      {repeat("<a>", 513), "elements nest deeper than 512 levels at line 1, column 1537"},
      {repeat("<a>", 512) + "<a/>", "elements nest deeper than 512 levels at line 1, column 1537"},
      {repeat("<a>", 1000000), "elements nest deeper than 512 levels at line 1, column 1537"},
  };
  for (const auto& [xml, message] : cases) EXPECT_EQ(refusal(xml), message);
  std::string error;
  EXPECT_TRUE(parseXml(repeat("<a>", 512) + repeat("</a>", 512), error)) << error;
}

TEST(RenderXml, RefusesEveryTruncationOfADocument) {
  const std::string xml =
      "<?xml version=\"1.0\"?><!-- c --><r a='1' b=\"&lt;\">t&#233;x\xC3\xA9<![CDATA[d]]>"
      "<?p i?><c/></r>";
  std::string error;
  ASSERT_TRUE(parseXml(xml, error)) << error;
  for (std::size_t size = 0; size < xml.size(); ++size) {
    EXPECT_FALSE(parseXml(std::string_view(xml).substr(0, size), error)) << size;
  }
}

TEST(RenderXml, ReadsHugeValuesAndManyAttributes) {
  std::string error;
  const std::string value = repeat("0123456789\xC3\xA9", 400000);
  const auto huge = parseXml("<a v=\"" + value + "\">" + value + "</a>", error);
  ASSERT_TRUE(huge) << error;
  EXPECT_EQ(huge->attr("v"), value);
  EXPECT_EQ(huge->text, value);

  std::string many = "<a";
  for (int i = 0; i < 20000; ++i) many += " n" + std::to_string(i) + "='" + std::to_string(i) + "'";
  const auto wide = parseXml(many + "/>", error);
  ASSERT_TRUE(wide) << error;
  EXPECT_EQ(wide->attributes.size(), 20000u);
  EXPECT_EQ(wide->attr("n19999"), "19999");
  EXPECT_NE(refusal(many + " n7='x'/>").find("attribute n7 is given twice"), std::string::npos);
}

TEST(RenderXml, DecodesReferencesCdataAndNormalisesLineEndsAndAttributes) {
  std::string error;
  const auto root = parseXml(
      "\xEF\xBB\xBF<?xml version='1.1' encoding='utf-8' standalone='yes'?>\n<!-- c --><?pi x?>\n"
      "<r a=\"x&lt;&gt;&amp;&apos;&quot;y\" b='tab\there\nnl\r\ncrlf\rcr' c=\"&#9;&#xA;&#13;\" "
      "xmlns:p=\"urn:p\" p:d=\"&#x10348;&#233;\">one<!-- skipped -->two<![CDATA[<3> & ]]]>"
      "<?pi skipped?>&#65;&#x42;<k>in k</k>\r\nfour\rfive</r>\n<!-- after --><?after?>\n",
      error);
  ASSERT_TRUE(root) << error;
  EXPECT_EQ(root->tag, "r");
  const std::vector<std::pair<std::string, std::string>> attributes{
      {"a", "x<>&'\"y"},
      {"b", "tab here nl crlf cr"},
      {"c", "\t\n\r"},  // characters given by reference are kept
      {"xmlns:p", "urn:p"},
      {"p:d", "\xF0\x90\x8D\x88\xC3\xA9"}};
  EXPECT_EQ(root->attributes, attributes);
  EXPECT_EQ(root->text, "onetwo<3> & ]AB\nfour\nfive");
  ASSERT_EQ(root->children.size(), 1u);
  EXPECT_EQ(root->children[0].text, "in k");
}

// The tree a full XML parser builds of `xml`, as the reader's tree.
XmlNode reference(const xercesc::DOMElement& from) {
  XmlNode to;
  to.tag = cxtest::utf8(from.getTagName());
  const xercesc::DOMNamedNodeMap* attributes = from.getAttributes();
  for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
    to.attributes.emplace_back(cxtest::utf8(attributes->item(i)->getNodeName()),
                               cxtest::utf8(attributes->item(i)->getNodeValue()));
  }
  std::sort(to.attributes.begin(), to.attributes.end());
  for (auto* node = from.getFirstChild(); node; node = node->getNextSibling()) {
    if (node->getNodeType() == xercesc::DOMNode::ELEMENT_NODE) {
      to.children.push_back(reference(*static_cast<const xercesc::DOMElement*>(node)));
    } else if (node->getNodeType() == xercesc::DOMNode::TEXT_NODE ||
               node->getNodeType() == xercesc::DOMNode::CDATA_SECTION_NODE) {
      to.text += cxtest::utf8(node->getNodeValue());
    }
  }
  return to;
}

void expectSame(XmlNode ours, const XmlNode& theirs, const std::string& where) {
  ASSERT_EQ(ours.tag, theirs.tag) << where;
  std::sort(ours.attributes.begin(), ours.attributes.end());
  EXPECT_EQ(ours.attributes, theirs.attributes) << where << "/" << ours.tag;
  EXPECT_EQ(ours.text, theirs.text) << where << "/" << ours.tag;
  ASSERT_EQ(ours.children.size(), theirs.children.size()) << where << "/" << ours.tag;
  for (std::size_t i = 0; i < ours.children.size(); ++i) {
    expectSame(ours.children[i], theirs.children[i], where + "/" + ours.tag);
  }
}

class RenderXmlSent : public cxtest::FacadeTest,
                      public ::testing::WithParamInterface<cxtest::WholeChart> {};

TEST_P(RenderXmlSent, ReadsAsAFullParserReadsIt) {
  const cxtest::WholeChart& whole = GetParam();
  cxh_clear_sent();
  const int ended =
      cxtest::sendWholeChart(*cx, newChart(), whole, cxtest::scratchDir("render-xml"));
  ASSERT_EQ(ended, 0);
  ASSERT_EQ(cxh_sent_count(), 1);
  const std::string xml = cxh_sent_xml(0);
  cxh_clear_sent();

  std::string error;
  const auto ours = parseXml(xml, error);
  ASSERT_TRUE(ours) << error;
  xercesc::XercesDOMParser parser;
  parser.setCreateEntityReferenceNodes(false);
  xercesc::HandlerBase handler;  // throws on errors
  parser.setErrorHandler(&handler);
  xercesc::MemBufInputSource input(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(),
                                   "sent");
  parser.parse(input);
  expectSame(*ours, reference(*parser.getDocument()->getDocumentElement()), "");
}

INSTANTIATE_TEST_SUITE_P(LibraryCharts, RenderXmlSent, ::testing::ValuesIn(cxtest::wholeCharts()),
                         [](const ::testing::TestParamInfo<cxtest::WholeChart>& info) {
                           std::string name;
                           for (const char c : info.param.name) name += std::isalnum(c) ? c : '_';
                           return name;
                         });

}  // namespace
