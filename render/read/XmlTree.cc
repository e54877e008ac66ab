#include "read/XmlTree.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace chartxml::render {
namespace {

// The library's own nesting limit, and the host's: whatever the library
// builds reads back, and nothing that walks the tree need handle more.
constexpr std::size_t kMaxDepth = 512;
constexpr char kDoctypeRefused[] = "DOCTYPE is not allowed in a chart document";
// Names and values quoted in messages are cut to about this many bytes.
constexpr std::size_t kQuoteLimit = 64;
// Beyond this many attributes on one element, duplicates are found by
// sorting their names rather than by comparing every pair.
constexpr std::size_t kPairwiseAttributes = 8;

// Only the error path throws; the message is complete.
struct Refusal {
  std::string message;
};

// Byte classes of ASCII, so that the common runs are one table look-up a byte.
enum : std::uint8_t {
  kText = 1,       // character data that needs no attention
  kAttr = 2,       // attribute value data that needs no attention
  kNameStart = 4,  // may start a name
  kName = 8,       // may continue a name
  kSpace = 16,     // XML's S
  kChar = 32,      // any ASCII character XML allows
};

constexpr std::array<std::uint8_t, 256> makeClasses() {
  std::array<std::uint8_t, 256> c{};
  for (int b = 0x20; b < 0x80; ++b) c[b] = kText | kAttr | kChar;
  for (const char b : {'<', '&', ']'}) c[static_cast<unsigned char>(b)] &= ~kText;
  for (const char b : {'<', '&', '"', '\''}) c[static_cast<unsigned char>(b)] &= ~kAttr;
  c['\t'] = kText | kSpace | kChar;
  c['\n'] = kText | kSpace | kChar;
  c['\r'] = kSpace | kChar;  // line ends are normalised
  c[' '] |= kSpace;
  for (int b = 'a'; b <= 'z'; ++b) c[b] |= kNameStart | kName;
  for (int b = 'A'; b <= 'Z'; ++b) c[b] |= kNameStart | kName;
  for (int b = '0'; b <= '9'; ++b) c[b] |= kName;
  c['_'] |= kNameStart | kName;
  c[':'] |= kNameStart | kName;
  c['-'] |= kName;
  c['.'] |= kName;
  return c;
}
constexpr std::array<std::uint8_t, 256> kClass = makeClasses();

inline std::uint8_t classOf(char c) {
  return kClass[static_cast<unsigned char>(c)];
}

bool isXmlChar(char32_t c) {
  return c == 0x9 || c == 0xA || c == 0xD || (c >= 0x20 && c <= 0xD7FF) ||
         (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

// Non-ASCII name characters.
bool isNameStart(char32_t c) {
  return (c >= 0xC0 && c <= 0xD6) || (c >= 0xD8 && c <= 0xF6) || (c >= 0xF8 && c <= 0x2FF) ||
         (c >= 0x370 && c <= 0x37D) || (c >= 0x37F && c <= 0x1FFF) ||
         (c >= 0x200C && c <= 0x200D) || (c >= 0x2070 && c <= 0x218F) ||
         (c >= 0x2C00 && c <= 0x2FEF) || (c >= 0x3001 && c <= 0xD7FF) ||
         (c >= 0xF900 && c <= 0xFDCF) || (c >= 0xFDF0 && c <= 0xFFFD) ||
         (c >= 0x10000 && c <= 0xEFFFF);
}
bool isNameChar(char32_t c) {
  return isNameStart(c) || c == 0xB7 || (c >= 0x300 && c <= 0x36F) || (c >= 0x203F && c <= 0x2040);
}

std::string codePoint(char32_t c) {
  char buffer[16];
  std::snprintf(buffer, sizeof buffer, "U+%04X", static_cast<unsigned>(c));
  return buffer;
}

std::string byteHex(unsigned char b) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "0x%02X", b);
  return buffer;
}

// `text` (valid UTF-8) for a message, cut at a character boundary when long.
std::string shorten(std::string_view text) {
  if (text.size() <= kQuoteLimit) return std::string(text);
  std::size_t cut = kQuoteLimit;
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return std::string(text.substr(0, cut)) + "...";
}

void appendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// One pass over the text. Elements are opened and closed on an explicit
// stack, so that no nesting reaches the call stack.
class Reader {
 public:
  explicit Reader(std::string_view text)
      : begin_(text.data()), p_(text.data()), end_(text.data() + text.size()) {}

  void document(XmlNode& root) {
    if (at("\xEF\xBB\xBF")) {
      p_ += 3;
      begin_ = p_;  // columns count from after the byte order mark
    } else if (at("\xFE\xFF") || at("\xFF\xFE")) {
      fail(p_, "the document is UTF-16; a chart document is UTF-8");
    }
    if (at("<?xml") && end_ - p_ > 5 && (classOf(p_[5]) & kSpace || p_[5] == '?')) declaration();
    misc();
    if (p_ == end_) fail(p_, "the document has no root element");
    if (*p_ != '<') fail(p_, "text is not allowed before the root element");
    content(root);
    misc();
    if (p_ != end_) {
      fail(p_, *p_ == '<' ? "a document has one root element; another follows it"
                          : "text is not allowed after the root element");
    }
  }

 private:
  [[noreturn]] void fail(const char* where, const std::string& what) const {
    throw Refusal{"XML is not well-formed at " + position(where) + ": " + what};
  }

  // "line L, column C", both from 1, columns in characters.
  std::string position(const char* where) const {
    std::size_t line = 1;
    const char* lineStart = begin_;
    for (const char* q = begin_; q < where; ++q) {
      if (*q == '\n' || (*q == '\r' && (q + 1 == end_ || q[1] != '\n'))) {
        ++line;
        lineStart = q + 1;
      }
    }
    std::size_t column = 1;
    for (const char* q = lineStart; q < where; ++q) {
      if ((static_cast<unsigned char>(*q) & 0xC0) != 0x80) ++column;
    }
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
  }

  // What stands at p_, for a message.
  std::string found() const {
    if (p_ == end_) return "the end of the document";
    const auto b = static_cast<unsigned char>(*p_);
    if (b > 0x20 && b < 0x7F) return std::string("'") + *p_ + "'";
    if (classOf(*p_) & kSpace) return "whitespace";
    return b < 0x80 ? codePoint(b) : "a non-ASCII character";
  }

  bool at(std::string_view s) const {
    return static_cast<std::size_t>(end_ - p_) >= s.size() &&
           std::memcmp(p_, s.data(), s.size()) == 0;
  }

  // Skips XML's S; whether there was any.
  bool skipSpace() {
    const char* from = p_;
    while (p_ < end_ && classOf(*p_) & kSpace) ++p_;
    return p_ != from;
  }

  // Reads the character at p_ (p_ < end_), refusing invalid UTF-8 and what
  // XML does not allow.
  char32_t character() {
    const auto lead = static_cast<unsigned char>(*p_);
    if (lead < 0x80) {
      if (!(kClass[lead] & kChar)) fail(p_, "character " + codePoint(lead) + " is not allowed");
      ++p_;
      return lead;
    }
    std::ptrdiff_t length;
    char32_t c;
    char32_t least;
    if (lead >= 0xC0 && lead <= 0xDF) {
      length = 2, c = lead & 0x1F, least = 0x80;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3, c = lead & 0x0F, least = 0x800;
    } else if (lead >= 0xF0 && lead <= 0xF7) {
      length = 4, c = lead & 0x07, least = 0x10000;
    } else {
      fail(p_, "invalid UTF-8: byte " + byteHex(lead) + " cannot start a character");
    }
    for (std::ptrdiff_t i = 1; i < length; ++i) {
      if (i >= end_ - p_) fail(p_, "invalid UTF-8: the document ends inside a character");
      const auto next = static_cast<unsigned char>(p_[i]);
      if ((next & 0xC0) != 0x80) {
        fail(p_, "invalid UTF-8: byte " + byteHex(next) + " cannot continue a character");
      }
      c = (c << 6) | (next & 0x3F);
    }
    if (c < least) fail(p_, "invalid UTF-8: an overlong form of " + codePoint(c));
    if (c > 0x10FFFF) fail(p_, "invalid UTF-8: " + codePoint(c) + " is beyond Unicode");
    if (c >= 0xD800 && c <= 0xDFFF) fail(p_, "invalid UTF-8: surrogate " + codePoint(c));
    if (!isXmlChar(c)) fail(p_, "character " + codePoint(c) + " is not allowed");
    p_ += length;
    return c;
  }

  std::string_view name(const char* what) {
    const char* start = p_;
    if (p_ == end_) fail(p_, std::string("expected ") + what + ", found " + found());
    if (static_cast<unsigned char>(*p_) < 0x80) {
      if (!(classOf(*p_) & kNameStart)) {
        fail(p_, std::string("expected ") + what + ", found " + found());
      }
      ++p_;
    } else if (const char32_t c = character(); !isNameStart(c)) {
      fail(start, "character " + codePoint(c) + " cannot start a name");
    }
    while (p_ < end_) {
      if (static_cast<unsigned char>(*p_) < 0x80) {
        if (!(classOf(*p_) & kName)) break;
        ++p_;
      } else {
        const char* here = p_;
        const char32_t c = character();
        if (!isNameChar(c)) fail(here, "character " + codePoint(c) + " cannot be part of a name");
      }
    }
    return {start, static_cast<std::size_t>(p_ - start)};
  }

  // Whitespace, comments and processing instructions, before and after the
  // root element.
  void misc() {
    for (;;) {
      skipSpace();
      if (at("<!--")) {
        comment();
      } else if (at("<?")) {
        instruction();
      } else if (at("<!DOCTYPE")) {
        // Refused before its subset could declare a single entity.
        throw Refusal{kDoctypeRefused};
      } else {
        return;
      }
    }
  }

  // p_ at "<?xml" followed by whitespace or '?'.
  void declaration() {
    p_ += 5;
    struct Pseudo {
      std::string_view name, value;
      const char* where;
    } item{};
    // The next pseudo-attribute, or false after the closing "?>".
    auto next = [&]() {
      const bool spaced = skipSpace();
      if (at("?>")) {
        p_ += 2;
        return false;
      }
      if (!spaced) fail(p_, "expected whitespace or '?>' in the XML declaration, found " + found());
      item.where = p_;
      const char* start = p_;
      while (p_ < end_ && ((*p_ >= 'a' && *p_ <= 'z') || (*p_ >= 'A' && *p_ <= 'Z'))) ++p_;
      item.name = {start, static_cast<std::size_t>(p_ - start)};
      if (item.name.empty()) fail(p_, "expected version, encoding or standalone, found " + found());
      skipSpace();
      if (p_ == end_ || *p_ != '=')
        fail(p_, "expected '=' in the XML declaration, found " + found());
      ++p_;
      skipSpace();
      if (p_ == end_ || (*p_ != '"' && *p_ != '\'')) {
        fail(p_, "expected a quoted value in the XML declaration, found " + found());
      }
      const char quote = *p_++;
      start = p_;
      while (p_ < end_ && *p_ != quote) {
        const auto b = static_cast<unsigned char>(*p_);
        if (b <= 0x20 || b >= 0x7F) fail(p_, "unexpected " + found() + " in the XML declaration");
        ++p_;
      }
      if (p_ == end_) fail(p_, "the XML declaration is not closed");
      item.value = {start, static_cast<std::size_t>(p_ - start)};
      ++p_;
      return true;
    };
    bool more = next();
    if (!more || item.name != "version") {
      fail(more ? item.where : p_, "the XML declaration must begin with the version");
    }
    const std::string_view version = item.value;
    const std::size_t dot = version.find('.');
    if (dot == 0 || dot == std::string_view::npos || dot + 1 == version.size() ||
        version.substr(0, dot).find_first_not_of("0123456789") != std::string_view::npos ||
        version.find_first_not_of("0123456789", dot + 1) != std::string_view::npos) {
      fail(item.where, "\"" + shorten(version) + "\" is not an XML version number");
    }
    // 1.1 is read by the rules of 1.0, as strict or stricter for a chart's text.
    if (version != "1.0" && version != "1.1") {
      throw Refusal{"XML version \"" + shorten(version) +
                    "\" is not supported: a chart document is XML 1.0 or 1.1"};
    }
    more = next();
    if (more && item.name == "encoding") {
      std::string lower(item.value);
      for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
      if (lower != "utf-8") {
        throw Refusal{"the encoding \"" + shorten(item.value) +
                      "\" is not supported: a chart document is UTF-8"};
      }
      more = next();
    }
    if (more && item.name == "standalone") {
      if (item.value != "yes" && item.value != "no") {
        fail(item.where, "standalone is \"yes\" or \"no\", not \"" + shorten(item.value) + "\"");
      }
      more = next();
    }
    if (more) fail(item.where, "unexpected '" + shorten(item.name) + "' in the XML declaration");
  }

  // p_ at "<!--".
  void comment() {
    const char* start = p_;
    p_ += 4;
    for (;;) {
      while (p_ < end_ && classOf(*p_) & kChar && *p_ != '-') ++p_;
      if (p_ == end_) fail(start, "the comment is not closed");
      if (*p_ != '-') {
        character();
      } else if (end_ - p_ >= 2 && p_[1] == '-') {
        if (end_ - p_ >= 3 && p_[2] == '>') {
          p_ += 3;
          return;
        }
        fail(p_, "'--' is not allowed inside a comment");
      } else {
        ++p_;
      }
    }
  }

  // p_ at "<?".
  void instruction() {
    const char* start = p_;
    p_ += 2;
    const std::string_view target = name("a processing instruction's target");
    if (target.size() == 3 && (target[0] | 0x20) == 'x' && (target[1] | 0x20) == 'm' &&
        (target[2] | 0x20) == 'l') {
      fail(start, "an XML declaration is allowed only at the start of the document");
    }
    if (!skipSpace() && !at("?>")) {
      fail(p_,
           "expected whitespace or '?>' after a processing instruction's target, found " + found());
    }
    for (;;) {
      while (p_ < end_ && classOf(*p_) & kChar && *p_ != '?') ++p_;
      if (p_ == end_) fail(start, "the processing instruction is not closed");
      if (at("?>")) {
        p_ += 2;
        return;
      }
      character();
    }
  }

  // p_ at "<![CDATA["; the section's characters go to `out`.
  void cdata(std::string& out) {
    const char* start = p_;
    p_ += 9;
    const char* run = p_;
    for (;;) {
      while (p_ < end_ && classOf(*p_) & kChar && *p_ != ']' && *p_ != '\r') ++p_;
      if (p_ == end_) fail(start, "the CDATA section is not closed");
      if (*p_ == ']') {
        if (at("]]>")) {
          out.append(run, p_);
          p_ += 3;
          return;
        }
        ++p_;
      } else if (*p_ == '\r') {
        lineEnd(out, run);
      } else {
        character();
      }
    }
  }

  // p_ at '\r': the run before it and one '\n' for "\r\n" or "\r".
  void lineEnd(std::string& out, const char*& run, char replacement = '\n') {
    out.append(run, p_);
    out += replacement;
    ++p_;
    if (p_ < end_ && *p_ == '\n') ++p_;
    run = p_;
  }

  // p_ at '&': the character it stands for goes to `out`.
  void reference(std::string& out) {
    const char* start = p_++;
    if (p_ < end_ && *p_ == '#') {
      ++p_;
      const bool hex = p_ < end_ && *p_ == 'x';
      if (hex) ++p_;
      const char* digits = p_;
      char32_t value = 0;
      for (; p_ < end_; ++p_) {
        int digit;
        if (*p_ >= '0' && *p_ <= '9') {
          digit = *p_ - '0';
        } else if (hex && (*p_ | 0x20) >= 'a' && (*p_ | 0x20) <= 'f') {
          digit = (*p_ | 0x20) - 'a' + 10;
        } else {
          break;
        }
        if (value <= 0x10FFFF) value = value * (hex ? 16 : 10) + static_cast<char32_t>(digit);
      }
      if (p_ == digits || p_ == end_ || *p_ != ';') {
        fail(start, "a character reference is &#DIGITS; or &#xHEXDIGITS;");
      }
      ++p_;
      if (value > 0x10FFFF) fail(start, "a character reference beyond Unicode");
      if (!isXmlChar(value)) {
        fail(start, "a character reference to " + codePoint(value) + ", which XML does not allow");
      }
      appendUtf8(out, value);
      return;
    }
    const std::string_view entity = name("an entity name or '#' after '&'");
    if (p_ == end_ || *p_ != ';') fail(p_, "expected ';' after &" + shorten(entity));
    ++p_;
    static constexpr std::pair<std::string_view, char> kPredefined[] = {
        {"lt", '<'}, {"gt", '>'}, {"amp", '&'}, {"apos", '\''}, {"quot", '"'}};
    for (const auto& [known, c] : kPredefined) {
      if (entity == known) {
        out += c;
        return;
      }
    }
    fail(start, "the entity &" + shorten(entity) +
                    "; is not declared (a chart document uses only &lt; &gt; &amp; &apos; &quot;)");
  }

  // p_ at the opening quote; the normalised value goes to `out`.
  void attributeValue(std::string& out) {
    const char quote = *p_++;
    const char* run = p_;
    for (;;) {
      while (p_ < end_ && classOf(*p_) & kAttr) ++p_;
      if (p_ == end_) fail(p_, "the document ends inside an attribute value");
      const char c = *p_;
      if (c == quote) {
        out.append(run, p_);
        ++p_;
        return;
      }
      if (c == '"' || c == '\'') {
        ++p_;
      } else if (c == '\t' || c == '\n') {
        out.append(run, p_);
        out += ' ';
        run = ++p_;
      } else if (c == '\r') {
        lineEnd(out, run, ' ');
      } else if (c == '&') {
        out.append(run, p_);
        reference(out);
        run = p_;
      } else if (c == '<') {
        fail(p_, "'<' is not allowed in an attribute value");
      } else {
        character();
      }
    }
  }

  // p_ at '<' of a start tag; `node` receives the element.
  void startElement(XmlNode& node) {
    if (open_.size() >= kMaxDepth) {
      throw Refusal{"elements nest deeper than " + std::to_string(kMaxDepth) + " levels at " +
                    position(p_)};
    }
    ++p_;
    node.tag = name("an element name");
    names_.clear();
    for (;;) {
      const bool spaced = skipSpace();
      if (p_ == end_)
        fail(p_, "the document ends inside the start tag <" + shorten(node.tag) + ">");
      if (*p_ == '>') {
        ++p_;
        open_.push_back(&node);
        break;
      }
      if (at("/>")) {
        p_ += 2;
        break;
      }
      if (!spaced) {
        fail(p_, "expected whitespace, '>' or '/>' in the start tag <" + shorten(node.tag) +
                     ">, found " + found());
      }
      const std::string_view key = name("an attribute name");
      skipSpace();
      if (p_ == end_ || *p_ != '=') {
        fail(p_, "expected '=' after attribute " + shorten(key) + ", found " + found());
      }
      ++p_;
      skipSpace();
      if (p_ == end_ || (*p_ != '"' && *p_ != '\'')) {
        fail(p_, "expected the quoted value of attribute " + shorten(key) + ", found " + found());
      }
      names_.push_back(key);
      node.attributes.emplace_back(std::string(key), std::string());
      attributeValue(node.attributes.back().second);
    }
    refuseDuplicates(node);
  }

  void refuseDuplicates(const XmlNode& node) {
    const std::string_view* twice = nullptr;
    if (names_.size() <= kPairwiseAttributes) {
      for (std::size_t i = 1; i < names_.size() && !twice; ++i) {
        for (std::size_t j = 0; j < i && !twice; ++j) {
          if (names_[i] == names_[j]) twice = &names_[i];
        }
      }
    } else {
      sorted_ = names_;
      std::sort(sorted_.begin(), sorted_.end());
      const auto same = std::adjacent_find(sorted_.begin(), sorted_.end());
      if (same != sorted_.end()) twice = same[0].data() > same[1].data() ? &same[0] : &same[1];
    }
    if (twice) {
      fail(twice->data(),
           "attribute " + shorten(*twice) + " is given twice in <" + shorten(node.tag) + ">");
    }
  }

  // p_ at "</" of the end tag of `node`.
  void endElement(const XmlNode& node) {
    const char* start = p_;
    p_ += 2;
    const std::string_view tag = name("an element name after '</'");
    if (tag != node.tag) {
      fail(start, "the end tag </" + shorten(tag) + "> does not match the start tag <" +
                      shorten(node.tag) + ">");
    }
    skipSpace();
    if (p_ == end_ || *p_ != '>') {
      fail(p_, "expected '>' to end </" + shorten(tag) + ">, found " + found());
    }
    ++p_;
    open_.pop_back();
  }

  // Character data up to the next markup or reference, into `out`.
  void text(std::string& out) {
    const char* run = p_;
    for (;;) {
      while (p_ < end_ && classOf(*p_) & kText) ++p_;
      if (p_ == end_ || *p_ == '<' || *p_ == '&') break;
      if (*p_ == ']') {
        if (at("]]>")) fail(p_, "']]>' is not allowed in text");
        ++p_;
      } else if (*p_ == '\r') {
        lineEnd(out, run);
      } else {
        character();
      }
    }
    out.append(run, p_);
  }

  // p_ at '<' of the root element; returns after its end tag. A child is
  // added to its parent only while the parent is the innermost open element,
  // so the pointers on the stack stay valid.
  void content(XmlNode& root) {
    startElement(root);
    while (!open_.empty()) {
      XmlNode& node = *open_.back();
      text(node.text);
      if (p_ == end_) fail(p_, "the document ends inside <" + shorten(node.tag) + ">");
      if (*p_ == '&') {
        reference(node.text);
      } else if (at("</")) {
        endElement(node);
      } else if (at("<!--")) {
        comment();
      } else if (at("<![CDATA[")) {
        cdata(node.text);
      } else if (at("<?")) {
        instruction();
      } else if (at("<!")) {
        fail(p_, "'<!' starts neither a comment nor a CDATA section here");
      } else {
        node.children.emplace_back();
        startElement(node.children.back());
      }
    }
  }

  const char* begin_;
  const char* p_;
  const char* const end_;
  std::vector<XmlNode*> open_;           // the open elements, innermost last
  std::vector<std::string_view> names_;  // the attribute names of one start tag
  std::vector<std::string_view> sorted_;
};

}  // namespace

const std::string* XmlNode::find(std::string_view name) const {
  for (const auto& [key, value] : attributes) {
    if (key == name) return &value;
  }
  return nullptr;
}

std::string_view XmlNode::attr(std::string_view name, std::string_view fallback) const {
  const std::string* value = find(name);
  return value ? std::string_view(*value) : fallback;
}

const XmlNode* XmlNode::child(std::string_view tag) const {
  for (const XmlNode& node : children) {
    if (node.tag == tag) return &node;
  }
  return nullptr;
}

std::optional<XmlNode> parseXml(std::string_view text, std::string& error) {
  try {
    std::optional<XmlNode> root(std::in_place);
    Reader(text).document(*root);
    return root;
  } catch (const Refusal& refusal) {
    error = refusal.message;
  } catch (const std::bad_alloc&) {
    error = "cannot parse the document: out of memory";
  }
  return std::nullopt;
}

}  // namespace chartxml::render
