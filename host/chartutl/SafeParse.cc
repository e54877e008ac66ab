#include "chartutl/SafeParse.h"

#include <xercesc/internal/XMLScanner.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "chartxml/host/ChartString.h"

using namespace xercesc;

namespace cxhost::safeparse {
namespace {

// Without a DOCTYPE no entity but the predefined ones can occur; the limit
// only matters should a DOCTYPE ever get past the refusal.
constexpr XMLSize_t kEntityExpansionLimit = 16;

// Refuses a declared version the DOM cannot hold.
void checkVersion(const XMLCh* version) {
  if (version == nullptr || *version == 0 || XMLString::equals(version, u"1.0") ||
      XMLString::equals(version, u"1.1")) {
    return;
  }
  throw UnsupportedVersion{ChartString::toUTF8(version)};
}

}  // namespace

void SafeReader::XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
                         const XMLCh* const standalone, const XMLCh* const autoEncoding) {
  checkVersion(version);
  SAX2XMLReaderImpl::XMLDecl(version, encoding, standalone, autoEncoding);
}

void SafeDomParser::XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
                            const XMLCh* const standalone, const XMLCh* const autoEncoding) {
  checkVersion(version);
  XercesDOMParser::XMLDecl(version, encoding, standalone, autoEncoding);
}

void FirstErrorHandler::record(const SAXParseException& e) {
  if (failed_) return;
  failed_ = true;
  line_ = static_cast<std::size_t>(e.getLineNumber());
  column_ = static_cast<std::size_t>(e.getColumnNumber());
  problem_ = "XML is not well-formed at line " + std::to_string(line_) + ", column " +
             std::to_string(column_) + ": " +
             ChartString::toUTF8(e.getMessage() ? e.getMessage() : u"");
}

SafeReader::SafeReader(DefaultHandler& handler) {
  security_.setEntityExpansionLimit(kEntityExpansionLimit);
  setFeature(XMLUni::fgSAX2CoreValidation, false);
  setFeature(XMLUni::fgSAX2CoreNameSpaces, false);
  setFeature(XMLUni::fgXercesLoadExternalDTD, false);
  setFeature(XMLUni::fgXercesDisableDefaultEntityResolution, true);
  setProperty(XMLUni::fgXercesSecurityManager, &security_);
  setContentHandler(&handler);
  setErrorHandler(&handler);
  setDTDHandler(&handler);  // without one the reader skips doctypeDecl
}

SafeDomParser::SafeDomParser(ErrorHandler& handler) {
  security_.setEntityExpansionLimit(kEntityExpansionLimit);
  setValidationScheme(Val_Never);
  setDoNamespaces(false);
  setDoSchema(false);
  setLoadExternalDTD(false);
  setDisableDefaultEntityResolution(true);
  setCreateEntityReferenceNodes(false);
  setCreateCommentNodes(true);
  setSecurityManager(&security_);
  setErrorHandler(&handler);
}

void SafeDomParser::startElement(const XMLElementDecl& decl, const unsigned int urlId,
                                 const XMLCh* const prefix, const RefVectorOf<XMLAttr>& attrs,
                                 const XMLSize_t attrCount, const bool isEmpty, const bool isRoot) {
  if (depth_ + 1 > kMaxDepth) {
    const Locator* where = getScanner()->getLocator();
    throw TooDeep{where ? static_cast<std::size_t>(where->getLineNumber()) : 0,
                  where ? static_cast<std::size_t>(where->getColumnNumber()) : 0};
  }
  // An empty element opens no level; whether the base class closes it
  // through endElement or not, the count must not change.
  inEmptyElement_ = isEmpty;
  XercesDOMParser::startElement(decl, urlId, prefix, attrs, attrCount, isEmpty, isRoot);
  inEmptyElement_ = false;
  if (!isEmpty) ++depth_;
}

void SafeDomParser::endElement(const XMLElementDecl& decl, const unsigned int urlId,
                               const bool isRoot, const XMLCh* const prefix) {
  XercesDOMParser::endElement(decl, urlId, isRoot, prefix);
  if (!inEmptyElement_ && depth_ > 0) --depth_;
}

}  // namespace cxhost::safeparse
