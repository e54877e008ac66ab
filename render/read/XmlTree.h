// Reading a chart document: a small, strict, non-validating reader of
// XML 1.0 in UTF-8 fills a tree of UTF-8 strings that the model stage reads.
// It resolves no entity but the predefined ones, refuses any DOCTYPE, bounds
// the nesting and recurses nowhere, so that the renderer needs no XML library
// (and none of what one loads) to draw a chart.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace chartxml::render {

struct XmlNode {
  std::string tag;
  std::vector<std::pair<std::string, std::string>> attributes;  // in document order
  // The element's own character data (text and CDATA sections, whitespace
  // included), in document order, without that of its children.
  std::string text;
  std::vector<XmlNode> children;  // elements only

  // The attribute's value, or nothing when it is absent.
  const std::string* find(std::string_view name) const;
  // The attribute's value, or `fallback` when it is absent.
  std::string_view attr(std::string_view name, std::string_view fallback = {}) const;
  // The first child element of that tag, or null.
  const XmlNode* child(std::string_view tag) const;
};

// Parses `text`. Nothing, with `error` set ("XML is not well-formed at line
// L, column C: ...", "DOCTYPE is not allowed ...", "XML version ... is not
// supported ..." or "elements nest deeper than N levels ..."), when the text
// is not a well-formed document or nests too deep.
std::optional<XmlNode> parseXml(std::string_view text, std::string& error);

}  // namespace chartxml::render
