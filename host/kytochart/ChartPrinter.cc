#include "chartxml/host/ChartPrinter.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string>
#include <vector>

#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/dom/DOMNode.hpp>

#include "chartutl/ReportLog.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartString.h"
#include "kytochart/Utf8.h"

using xercesc::DOMNode;

using cxhost::appendCodePoint;

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

// Escapes and converts to UTF-8 in one pass, straight into `out`: a
// document's names and values are mostly ASCII, copied a run at a time. A
// surrogate without its partner becomes U+FFFD, as the text conversion does.
void appendEscaped(std::string& out, const XMLCh* text, Escape escape) {
  if (!text) return;
  constexpr char32_t kReplacement = 0xFFFD;
  const std::array<bool, 128>& plain = kPlain[static_cast<int>(escape)];
  char run[256];
  for (const XMLCh* p = text; *p;) {
    std::size_t n = 0;
    while (n < sizeof run && p[n] < 0x80 && p[n] != 0 && plain[p[n]]) {
      run[n] = static_cast<char>(p[n]);
      ++n;
    }
    if (n > 0) {
      out.append(run, n);
      p += n;
      continue;
    }
    const char16_t c = *p++;
    if (c < 0x80) {
      const char* reference = escape == Escape::kNone ? nullptr : referenceFor(c, escape);
      if (reference != nullptr) {
        out += reference;
      } else {
        appendCodePoint(out, kReplacement);  // forbidden: plain characters went above
      }
      continue;
    }
    char32_t code = c;
    if (c >= 0xD800 && c <= 0xDBFF && *p >= 0xDC00 && *p <= 0xDFFF) {
      code = 0x10000 + ((char32_t{c} - 0xD800) << 10) + (char32_t{*p} - 0xDC00);
      ++p;
    } else if ((c >= 0xD800 && c <= 0xDFFF) || isForbidden(c)) {
      code = kReplacement;
    }
    appendCodePoint(out, code);
  }
}

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
      if (buffer_.size() >= kFlushSize) flush();
    }
    flush();
  }

 private:
  static constexpr std::size_t kFlushSize = 1 << 16;

  void flush() {
    out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
    buffer_.clear();
  }

  // Indentation stops growing past the deepest nesting a chart document may
  // have: no deeper document reads back, and below it the indentation alone
  // would grow with the square of the depth.
  void indent(int depth) {
    buffer_.append(2 * static_cast<std::size_t>(std::min(depth, ChartBase::kMaxDepth)), ' ');
  }

  void startLine(bool ownLine, int depth) {
    if (ownLine) indent(depth);
  }
  void endLine(bool ownLine) {
    if (ownLine) buffer_ += '\n';
  }

  void visit(const DOMNode* node, bool ownLine, int depth) {
    switch (node->getNodeType()) {
      case DOMNode::DOCUMENT_NODE:
        buffer_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
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
        if (!ownLine) appendEscaped(buffer_, node->getNodeValue(), Escape::kText);
        break;
      case DOMNode::COMMENT_NODE:
        startLine(ownLine, depth);
        buffer_ += "<!--" + ChartString::toUTF8(guardedComment(node->getNodeValue())) + "-->";
        endLine(ownLine);
        break;
      case DOMNode::PROCESSING_INSTRUCTION_NODE:
        startLine(ownLine, depth);
        buffer_ += "<?";
        appendEscaped(buffer_, node->getNodeName(), Escape::kNone);
        if (const XMLCh* data = node->getNodeValue(); data && *data) {
          buffer_ += ' ' + ChartString::toUTF8(guarded(data, u"?>"));
        }
        buffer_ += "?>";
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
    buffer_ += '<';
    appendEscaped(buffer_, element->getNodeName(), Escape::kNone);
    if (const xercesc::DOMNamedNodeMap* attributes = element->getAttributes()) {
      for (XMLSize_t i = 0; i < attributes->getLength(); ++i) {
        const DOMNode* attribute = attributes->item(i);
        buffer_ += ' ';
        appendEscaped(buffer_, attribute->getNodeName(), Escape::kNone);
        buffer_ += "=\"";
        appendEscaped(buffer_, attribute->getNodeValue(), Escape::kAttribute);
        buffer_ += '"';
      }
    }
    if (layout == Layout::kEmpty) {
      buffer_ += "/>";
      endLine(ownLine);
      return;
    }
    buffer_ += '>';
    const bool block = layout == Layout::kBlock;
    endLine(block);
    stack_.push_back({element, element->getFirstChild(), block, ownLine, depth + 1});
  }

  void close(const Frame& frame) {
    if (frame.node->getNodeType() != DOMNode::ELEMENT_NODE) return;
    startLine(frame.block, frame.depth - 1);
    buffer_ += "</";
    appendEscaped(buffer_, frame.node->getNodeName(), Escape::kNone);
    buffer_ += '>';
    endLine(frame.ownLine);
  }

  std::ostream& out_;
  const bool whiteSpace_;
  std::string buffer_;
  std::vector<Frame> stack_;
};

}  // namespace

void ChartPrinter::Print(const DOMNode* node, std::ostream& out) const {
  if (!node) return;
  try {
    Writer(out, whiteSpace_).print(node);
  } catch (const std::exception& e) {
    // Out of memory, or a stream set to throw: the text is incomplete.
    cxhost::report(std::string("cannot print the document: ") + e.what(), "host/kytochart",
                   __LINE__);
  }
}
