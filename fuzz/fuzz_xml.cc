// Fuzzes the renderer's XML reader.
//
// Input: the document's bytes. A refusal must say why in one of the reader's
// forms; an accepted document is written out again from its tree and must
// read back as the same tree, so that what the reader decodes (references,
// CDATA, line ends, attribute whitespace) is what the document says.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "read/XmlTree.h"

namespace {

using chartxml::render::XmlNode;

[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "fuzz_xml: %s\n", what.c_str());
  std::abort();
}

// Every character that the reader would change or take for markup is
// written as a reference.
void escape(std::string_view text, std::string& out) {
  for (const char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;  // "]]>" may not stand in text
      case '&':
        out += "&amp;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\t':
        out += "&#9;";
        break;
      case '\n':
        out += "&#10;";
        break;
      case '\r':
        out += "&#13;";
        break;
      default:
        out += c;
    }
  }
}

// The tree's depth is bounded by the reader, so this recursion is too.
void write(const XmlNode& node, std::string& out) {
  out += '<';
  out += node.tag;
  for (const auto& [name, value] : node.attributes) {
    out += ' ';
    out += name;
    out += "=\"";
    escape(value, out);
    out += '"';
  }
  out += '>';
  // A node's text is one piece however it was split between its children.
  escape(node.text, out);
  for (const XmlNode& child : node.children) write(child, out);
  out += "</";
  out += node.tag;
  out += '>';
}

void expectSame(const XmlNode& a, const XmlNode& b) {
  if (a.tag != b.tag || a.attributes != b.attributes || a.text != b.text ||
      a.children.size() != b.children.size()) {
    fail("the tree written out reads back differently at <" + a.tag + ">");
  }
  for (std::size_t i = 0; i < a.children.size(); ++i) expectSame(a.children[i], b.children[i]);
}

bool startsWith(const std::string& text, std::string_view prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string error;
  const auto tree = chartxml::render::parseXml(text, error);
  if (!tree) {
    if (!startsWith(error, "XML is not well-formed at line ") &&
        !startsWith(error, "DOCTYPE is not allowed") && !startsWith(error, "XML version \"") &&
        !startsWith(error, "the encoding \"") && !startsWith(error, "elements nest deeper than ")) {
      fail("a refusal in no known form: " + error);
    }
    return 0;
  }
  std::string again;
  write(*tree, again);
  const auto reread = chartxml::render::parseXml(again, error);
  if (!reread) fail("the tree written out is refused: " + error);
  expectSame(*tree, *reread);
  return 0;
}
