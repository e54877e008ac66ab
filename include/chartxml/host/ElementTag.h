// Tag tests on the elements of a chart document, shared by the library's
// builders and the host's model view so that both compare tags alike.
#ifndef CHARTXML_HOST_ELEMENTTAG_H_
#define CHARTXML_HOST_ELEMENTTAG_H_

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/util/XMLString.hpp>

// True when the element's tag is `tag` (a KytoUni constant, say).
inline bool hasTag(const xercesc::DOMElement* element, const char16_t* tag) {
  return xercesc::XMLString::equals(element->getTagName(), tag);
}

#endif  // CHARTXML_HOST_ELEMENTTAG_H_
