// Reading a chart document: the text is parsed by the same safe parser as the
// host uses (no DTD, no external entity, bounded nesting) and copied into a
// small tree of UTF-8 strings that the model stage reads without touching
// the XML library.
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
  std::string text;                                             // the element's own text content
  std::vector<XmlNode> children;                                // elements only

  // The attribute's value, or nothing when it is absent.
  const std::string* find(std::string_view name) const;
  // The attribute's value, or `fallback` when it is absent.
  std::string_view attr(std::string_view name, std::string_view fallback = {}) const;
  // The first child element of that tag, or null.
  const XmlNode* child(std::string_view tag) const;
};

// Parses `text`. Nothing, with `error` set ("not well formed at line L,
// column C: ..." or "DOCTYPE is not allowed ..."), when the text is not a
// well-formed document or nests too deep.
std::optional<XmlNode> parseXml(std::string_view text, std::string& error);

}  // namespace chartxml::render
