// ChartPrinter: writes a DOM document as UTF-8 XML text.
//
// Output: an XML declaration (version 1.0, encoding UTF-8) and a line feed,
// then the document element. With white space on, every element starts on
// its own line indented by two spaces per level (up to 512 levels, as deep
// as a document the host reads), and an element whose children are text
// only is written on one line with its text; an element mixing text and
// elements is written as is, since added white space would change its
// text. Empty elements are written <tag/>. Attributes appear in
// the DOM's order. Text escapes & < > and carriage return; attribute values
// also " and line feed and tab (as &quot; and character references), so the
// output parses back to the same document. Characters XML cannot carry
// (most C0 controls, unpaired surrogates) become U+FFFD.
#ifndef CHARTXML_HOST_CHARTPRINTER_H_
#define CHARTXML_HOST_CHARTPRINTER_H_

#include <ostream>

#include <xercesc/dom/DOMNode.hpp>

#include "chartxml/export.h"

class CHARTXML_HOST_EXPORT ChartPrinter {
 public:
  void setPrintWhiteSpace(bool on) { whiteSpace_ = on; }
  // Prints `node` (a document, or an element and its subtree) to `out`.
  // A null node prints nothing.
  void Print(const xercesc::DOMNode* node, std::ostream& out) const;

 private:
  bool whiteSpace_ = false;
};

#endif  // CHARTXML_HOST_CHARTPRINTER_H_
