#include "chartxml/host/ChartPrinter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <xercesc/dom/DOMCharacterData.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/dom/DOMNode.hpp>

#include "chartutl/ReportLog.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartString.h"
#include "kytochart/Utf8.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using xercesc::DOMNode;

using cxhost::putCodePoint;

namespace {

enum class Escape { kText, kAttribute, kNone };

bool isWhiteSpace(char16_t c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool isBlankText(const XMLCh* text) {
  for (; text && *text; ++text) {
    if (!isWhiteSpace(*text)) return false;
  }
  return true;
}

// Characters that XML 1.0 cannot carry even as references become U+FFFD;
// surrogates are left for the UTF-8 conversion to pair or replace.
constexpr bool isForbidden(char16_t c) {
  return (c < 0x20 && c != '\t' && c != '\n' && c != '\r') || c == 0xFFFE || c == 0xFFFF;
}

// The reference that stands for `c` in escaped text, or null.
constexpr const char* referenceFor(char16_t c, Escape escape) {
  switch (c) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    // A parser turns a literal CR into LF, and in attributes also LF and tab
    // into spaces; references keep them.
    case '\r':
      return "&#13;";
    case '"':
      return escape == Escape::kAttribute ? "&quot;" : nullptr;
    case '\n':
      return escape == Escape::kAttribute ? "&#10;" : nullptr;
    case '\t':
      return escape == Escape::kAttribute ? "&#9;" : nullptr;
    default:
      return nullptr;
  }
}

// Whether an ASCII character stands for itself in text of that escape: no
// reference replaces it and XML can carry it.
constexpr bool standsForItself(char16_t c, Escape escape) {
  if (c >= 0x80 || isForbidden(c)) return false;
  return escape == Escape::kNone || referenceFor(c, escape) == nullptr;
}

template <Escape kEscape>
constexpr std::array<bool, 128> plainTable() {
  std::array<bool, 128> table{};
  for (char16_t c = 0; c < 128; ++c) table[c] = standsForItself(c, kEscape);
  return table;
}

constexpr std::array<bool, 128> kPlain[] = {
    plainTable<Escape::kText>(), plainTable<Escape::kAttribute>(), plainTable<Escape::kNone>()};

// The printed text on its way to the stream: a fixed block filled through a
// cursor, so that copying a run of text checks for room once, not per byte.
class Output {
 public:
  explicit Output(std::ostream& out) : out_(out) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  static constexpr std::size_t kSize = 1 << 16;

  // The cursor, with room for at least `n` (at most kSize) bytes after it.
  char* room(std::size_t n) {
    if (static_cast<std::size_t>(end_ - at_) < n) flush();
    return at_;
  }
  // Ends a write that started at room(): `to` is the new cursor.
  void advance(char* to) { at_ = to; }

  void put(char c) {
    *room(1) = c;
    ++at_;
  }
  void put(std::string_view text) {
    if (text.size() > kSize) {  // a huge comment or PI: straight through
      flush();
      out_.write(text.data(), static_cast<std::streamsize>(text.size()));
      return;
    }
    std::memcpy(room(text.size()), text.data(), text.size());
    at_ += text.size();
  }
  void spaces(std::size_t n) {
    while (n > 0) {
      const std::size_t step = std::min(n, kSize);
      std::memset(room(step), ' ', step);
      at_ += step;
      n -= step;
    }
  }

  void flush() {
    out_.write(block_.get(), static_cast<std::streamsize>(at_ - block_.get()));
    at_ = block_.get();
  }

 private:
  std::ostream& out_;
  std::unique_ptr<char[]> block_ = std::make_unique<char[]>(kSize);
  char* at_ = block_.get();
  char* const end_ = at_ + kSize;
};

#if defined(__SSE2__)
// Whether the 8 code units at `p` all stand for themselves in text of that
// escape; then their bytes are written at `o`. Units at or past U+8000 read
// as negative, so the one compare below 0x20 also catches them.
inline bool copyPlainBlock(const XMLCh* p, Escape escape, char* o) {
  const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  __m128i bad = _mm_or_si128(_mm_cmplt_epi16(v, _mm_set1_epi16(0x20)),
                             _mm_cmpgt_epi16(v, _mm_set1_epi16(0x7F)));
  if (escape != Escape::kNone) {
    bad = _mm_or_si128(bad, _mm_cmpeq_epi16(v, _mm_set1_epi16('&')));
    bad = _mm_or_si128(bad, _mm_cmpeq_epi16(v, _mm_set1_epi16('<')));
    bad = _mm_or_si128(bad, _mm_cmpeq_epi16(v, _mm_set1_epi16('>')));
    if (escape == Escape::kAttribute) {
      bad = _mm_or_si128(bad, _mm_cmpeq_epi16(v, _mm_set1_epi16('"')));
    }
  }
  if (_mm_movemask_epi8(bad) != 0) return false;
  _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(v, v));
  return true;
}
#endif

// Each code unit becomes at most 6 bytes ("&quot;"; UTF-8 takes at most 3
// per unit, 4 for a pair of 2).
constexpr std::size_t kMostBytesPerUnit = 6;

// Escapes and converts the units from `p` on to UTF-8 at `o`, which has
// room for kMostBytesPerUnit bytes a unit, until `stop` (or one past it, when
// a surrogate pair straddles it; `end` ends the text). Returns the end of
// what was written. A document's names and values are mostly ASCII, which
// goes 8 units at a time. A surrogate without its partner becomes U+FFFD,
// as the text conversion does.
char* escapeRun(const XMLCh*& p, const XMLCh* stop, const XMLCh* end, Escape escape, char* o) {
  constexpr char32_t kReplacement = 0xFFFD;
  const std::array<bool, 128>& plain = kPlain[static_cast<int>(escape)];
  while (p < stop) {
#if defined(__SSE2__)
    if (stop - p >= 8 && copyPlainBlock(p, escape, o)) {
      p += 8;
      o += 8;
      continue;
    }
#endif
    const char16_t c = *p++;
    if (c < 0x80 && plain[c]) {
      *o++ = static_cast<char>(c);
      continue;
    }
    if (c < 0x80) {
      const char* reference = escape == Escape::kNone ? nullptr : referenceFor(c, escape);
      if (reference != nullptr) {
        const std::size_t length = std::strlen(reference);
        std::memcpy(o, reference, length);
        o += length;
      } else {
        o = putCodePoint(o, kReplacement);  // forbidden: plain characters went above
      }
      continue;
    }
    char32_t code = c;
    if (c >= 0xD800 && c <= 0xDBFF && p < end && *p >= 0xDC00 && *p <= 0xDFFF) {
      code = 0x10000 + ((char32_t{c} - 0xD800) << 10) + (char32_t{*p} - 0xDC00);
      ++p;
    } else if ((c >= 0xD800 && c <= 0xDFFF) || isForbidden(c)) {
      code = kReplacement;
    }
    o = putCodePoint(o, code);
  }
  return o;
}

// Escapes and converts `length` units of `text` straight into `out`, in
// chunks that each check for room once.
void appendEscaped(Output& out, const XMLCh* text, std::size_t length, Escape escape) {
  constexpr std::size_t kChunk = 512;
  const XMLCh* const end = text + length;
  for (const XMLCh* p = text; p < end;) {
    const XMLCh* const stop = p + std::min<std::size_t>(kChunk, static_cast<std::size_t>(end - p));
    out.advance(escapeRun(p, stop, end, escape, out.room(kChunk * kMostBytesPerUnit)));
  }
}

std::size_t lengthOf(const XMLCh* text) {
  return text ? std::char_traits<char16_t>::length(text) : 0;
}

// A character data node's text; its length is kept, not counted.
std::pair<const XMLCh*, std::size_t> textOf(const DOMNode* node) {
  const auto* data = static_cast<const xercesc::DOMCharacterData*>(node);
  return {data->getData(), data->getLength()};
}

// An attribute's value. The DOM keeps it as the attribute's text child, and
// reading that child directly spares the type checks the DOM's own getter
// makes on every call (a quarter of the printing time); values built of
// several nodes (entity references) take the getter.
std::pair<const XMLCh*, std::size_t> attributeValue(const DOMNode* attribute) {
  const DOMNode* first = attribute->getFirstChild();
  if (first != nullptr && first->getNodeType() == DOMNode::TEXT_NODE &&
      first->getNextSibling() == nullptr) {
    return textOf(first);
  }
  const XMLCh* value = attribute->getNodeValue();
  return {value, lengthOf(value)};
}

// Element and attribute names come from the document's pool of strings, one
// pointer per distinct name, and the document does not change while it is
// printed: each name is escaped and converted once per print, then copied.
class NameCache {
 public:
  std::string_view operator[](const XMLCh* name) {
    Slot& slot = slots_[(reinterpret_cast<std::uintptr_t>(name) >> 3) % slots_.size()];
    if (slot.name != name) {
      const std::size_t length = lengthOf(name);
      slot.utf8.resize(length * kMostBytesPerUnit);
      const XMLCh* p = name;
      char* begin = slot.utf8.data();
      slot.utf8.resize(static_cast<std::size_t>(
          escapeRun(p, name + length, name + length, Escape::kNone, begin) - begin));
      slot.name = name;
    }
    return slot.utf8;
  }

 private:
  struct Slot {
    const XMLCh* name = nullptr;  // the DOM names nothing with null: empty slots never match
    std::string utf8;
  };
  std::array<Slot, 64> slots_;
};

// Comment and PI texts cannot be escaped; break up the sequences that would
// end them early.
std::u16string guarded(const XMLCh* text, std::u16string_view closer) {
  std::u16string out = text ? text : u"";
  for (std::size_t at = out.find(closer); at != std::u16string::npos; at = out.find(closer, at)) {
    out.insert(at + 1, 1, u' ');
  }
  return out;
}

std::u16string guardedComment(const XMLCh* text) {
  std::u16string out = guarded(text, u"--");
  if (!out.empty() && out.back() == u'-') out += u' ';  // "--->" would not end it
  return out;
}

enum class Layout { kEmpty, kInline, kBlock };

// With white space on: an element with element children (and no text but
// white space) gets one line per child; one with text keeps its content as
// is, on one line, since added white space would change that text.
Layout classify(const DOMNode* element) {
  bool any = false, structural = false, text = false;
  for (const DOMNode* child = element->getFirstChild(); child; child = child->getNextSibling()) {
    any = true;
    const auto type = child->getNodeType();
    if (type == DOMNode::TEXT_NODE || type == DOMNode::CDATA_SECTION_NODE) {
      if (!isBlankText(child->getNodeValue())) text = true;
    } else {
      structural = true;
    }
  }
  if (!any) return Layout::kEmpty;
  return structural && !text ? Layout::kBlock : Layout::kInline;
}

// One open node of the walk: an explicit stack instead of recursion, so the
// depth of the tree is bounded by memory, not by the call stack.
struct Frame {
  const DOMNode* node;
  const DOMNode* next;  // the next child to print
  bool block;           // children each on their own line
  bool ownLine;         // this node is indented and ends its line
  int depth;            // indentation level of the children
};

class Writer {
 public:
  Writer(std::ostream& out, bool whiteSpace) : out_(out), whiteSpace_(whiteSpace) {}

  void print(const DOMNode* root) {
    visit(root, whiteSpace_, 0);
    while (!stack_.empty()) {
      Frame& top = stack_.back();
      if (top.next) {
        const DOMNode* child = top.next;
        top.next = child->getNextSibling();
        visit(child, top.block, top.depth);  // may grow the stack: `top` is not used after
      } else {
        const Frame done = top;
        stack_.pop_back();
        close(done);
      }
    }
    out_.flush();
  }

 private:
  // Indentation stops growing past the deepest nesting a chart document may
  // have: no deeper document reads back, and below it the indentation alone
  // would grow with the square of the depth.
  void indent(int depth) {
    out_.spaces(2 * static_cast<std::size_t>(std::min(depth, ChartBase::kMaxDepth)));
  }

  void startLine(bool ownLine, int depth) {
    if (ownLine) indent(depth);
  }
  void endLine(bool ownLine) {
    if (ownLine) out_.put('\n');
  }

  void visit(const DOMNode* node, bool ownLine, int depth) {
    switch (node->getNodeType()) {
      case DOMNode::DOCUMENT_NODE:
        out_.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
        stack_.push_back({node, node->getFirstChild(), whiteSpace_, false, 0});
        break;
      case DOMNode::DOCUMENT_FRAGMENT_NODE:
      case DOMNode::ENTITY_REFERENCE_NODE:
        // Transparent: the children take this node's place.
        stack_.push_back({node, node->getFirstChild(), ownLine, false, depth});
        break;
      case DOMNode::ELEMENT_NODE:
        openElement(node, ownLine, depth);
        break;
      case DOMNode::TEXT_NODE:
      case DOMNode::CDATA_SECTION_NODE:
        // Between block children only white space occurs (see classify);
        // the indentation stands in for it.
        if (!ownLine) {
          const auto [text, length] = textOf(node);
          appendEscaped(out_, text, length, Escape::kText);
        }
        break;
      case DOMNode::COMMENT_NODE:
        startLine(ownLine, depth);
        out_.put("<!--");
        out_.put(ChartString::toUTF8(guardedComment(node->getNodeValue())));
        out_.put("-->");
        endLine(ownLine);
        break;
      case DOMNode::PROCESSING_INSTRUCTION_NODE:
        startLine(ownLine, depth);
        out_.put("<?");
        out_.put(names_[node->getNodeName()]);
        if (const XMLCh* data = node->getNodeValue(); data && *data) {
          out_.put(' ');
          out_.put(ChartString::toUTF8(guarded(data, u"?>")));
        }
        out_.put("?>");
        endLine(ownLine);
        break;
      default:  // document types, and nodes that only occur inside others
        break;
    }
  }

  void openElement(const DOMNode* element, bool ownLine, int depth) {
    Layout layout = Layout::kEmpty;
    if (element->hasChildNodes()) layout = ownLine ? classify(element) : Layout::kInline;

    startLine(ownLine, depth);
    out_.put('<');
    out_.put(names_[element->getNodeName()]);
    if (const xercesc::DOMNamedNodeMap* attributes = element->getAttributes()) {
      for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
        const DOMNode* attribute = attributes->item(i);
        out_.put(' ');
        out_.put(names_[attribute->getNodeName()]);
        out_.put("=\"");
        const auto [value, length] = attributeValue(attribute);
        appendEscaped(out_, value, length, Escape::kAttribute);
        out_.put('"');
      }
    }
    if (layout == Layout::kEmpty) {
      out_.put("/>");
      endLine(ownLine);
      return;
    }
    out_.put('>');
    const bool block = layout == Layout::kBlock;
    endLine(block);
    stack_.push_back({element, element->getFirstChild(), block, ownLine, depth + 1});
  }

  void close(const Frame& frame) {
    if (frame.node->getNodeType() != DOMNode::ELEMENT_NODE) return;
    startLine(frame.block, frame.depth - 1);
    out_.put("</");
    out_.put(names_[frame.node->getNodeName()]);
    out_.put('>');
    endLine(frame.ownLine);
  }

  Output out_;
  NameCache names_;
  const bool whiteSpace_;
  std::vector<Frame> stack_;
};

}  // namespace

void ChartPrinter::Print(const DOMNode* node, std::ostream& out) const {
  if (!node) return;
  try {
    Writer(out, whiteSpace_).print(node);
  } catch (const std::exception& e) {
    // Out of memory, or a stream set to throw: the text is incomplete.
    // The stream says so too: a caller that checks it never takes the
    // incomplete text for a document.
    try {
      out.setstate(std::ios::badbit);
    } catch (...) {
    }
    try {
      cxhost::report(std::string("cannot print the document: ") + e.what(), "host/kytochart",
                     __LINE__);
    } catch (...) {
    }
  }
}
