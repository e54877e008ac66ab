// ChartPrinter: writes a DOM document as UTF-8 XML text.
//
// Output: an XML declaration (version 1.0, encoding UTF-8), then the document
// element. With white space on, every element starts on its own line indented
// by two spaces per level, and an element whose children are text only is
// written on one line with its text. Attributes appear in the DOM's order.
// Text and attribute values are escaped (&amp; &lt; &gt; &quot;, and line
// feed, carriage return and tab in attributes as character references), so
// the output parses back to the same document.
#ifndef CHARTXML_HOST_CHARTPRINTER_H_
#define CHARTXML_HOST_CHARTPRINTER_H_

#include <ostream>

#include <xercesc/dom/DOMNode.hpp>

#include "chartxml/export.h"

class CHARTXML_EXPORT ChartPrinter {
 public:
  void setPrintWhiteSpace(bool on) { whiteSpace_ = on; }
  // Prints `node` (a document, or an element and its subtree) to `out`.
  // A null node prints nothing.
  void Print(const xercesc::DOMNode* node, std::ostream& out) const;

 private:
  bool whiteSpace_ = false;
};

#endif  // CHARTXML_HOST_CHARTPRINTER_H_
