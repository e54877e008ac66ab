// Parsing chart documents without reaching outside the text (internal).
//
// Chart documents come from the library, but the text may hold whatever a
// caller put into labels and names, so both parsers here are configured the
// same way: no DTD is loaded, no external entity is read, a DOCTYPE stops the
// parse before its internal subset could define entities, and the security
// manager bounds entity expansion regardless.
#ifndef CHARTXML_HOST_CHARTUTL_SAFEPARSE_H_
#define CHARTXML_HOST_CHARTUTL_SAFEPARSE_H_

#include <cstddef>
#include <string>

#include <xercesc/parsers/SAX2XMLReaderImpl.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "chartxml/host/ChartBase.h"

namespace cxhost::safeparse {

inline constexpr char kDoctypeRefused[] = "DOCTYPE is not allowed in a chart document";

// Thrown out of a parse that meets a DOCTYPE.
struct DoctypeFound {};

// Thrown out of a DOM parse whose elements nest deeper than kMaxDepth; the
// position is that of the element that went too deep.
// Thrown out of a parse whose XML declaration names a version other than
// 1.0 and 1.1: the DOM cannot hold such a document, and the event reader
// must not call well formed what the DOM readers refuse.
struct UnsupportedVersion {
  std::string version;  // UTF-8
};
inline std::string unsupportedVersionMessage(const UnsupportedVersion& e) {
  return "XML version \"" + e.version + "\" is not supported: a chart document is XML 1.0 or 1.1";
}

struct TooDeep {
  std::size_t line;
  std::size_t column;
};

// The deepest element nesting a chart document may have: the library's own
// limit, so that whatever it builds reads back. Whatever walks the tree later
// need not be written for millions of levels.
inline constexpr std::size_t kMaxDepth = ChartBase::kMaxDepth;

// Keeps the first error or fatal error of a parse; warnings are ignored.
class FirstErrorHandler : public xercesc::DefaultHandler {
 public:
  void error(const xercesc::SAXParseException& e) override { record(e); }
  void fatalError(const xercesc::SAXParseException& e) override { record(e); }
  void warning(const xercesc::SAXParseException&) override {}

  bool failed() const { return failed_; }
  std::size_t line() const { return line_; }
  std::size_t column() const { return column_; }
  // "XML is not well-formed at line L, column C: MESSAGE".
  const std::string& problem() const { return problem_; }

 private:
  void record(const xercesc::SAXParseException& e);

  bool failed_ = false;
  std::size_t line_ = 0;
  std::size_t column_ = 0;
  std::string problem_;
};

// A SAX2 reader configured as above. `handler` receives content and errors.
class SafeReader : public xercesc::SAX2XMLReaderImpl {
 public:
  explicit SafeReader(xercesc::DefaultHandler& handler);
  // The scanner announces every DOCTYPE here, before reading any internal
  // subset; the SAX lexical callback would miss one without subsets.
  void doctypeDecl(const xercesc::DTDElementDecl&, const XMLCh* const, const XMLCh* const,
                   const bool, const bool) override {
    throw DoctypeFound{};
  }
  void XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
               const XMLCh* const standalone, const XMLCh* const autoEncoding) override;

 private:
  xercesc::SecurityManager security_;
};

// A DOM parser configured as above that also refuses nesting deeper than
// kMaxDepth. Errors go to `handler`; whitespace-only text is kept.
class SafeDomParser : public xercesc::XercesDOMParser {
 public:
  explicit SafeDomParser(xercesc::ErrorHandler& handler);

  void doctypeDecl(const xercesc::DTDElementDecl&, const XMLCh* const, const XMLCh* const,
                   const bool, const bool) override {
    throw DoctypeFound{};
  }
  void XMLDecl(const XMLCh* const version, const XMLCh* const encoding,
               const XMLCh* const standalone, const XMLCh* const autoEncoding) override;
  void startElement(const xercesc::XMLElementDecl& decl, const unsigned int urlId,
                    const XMLCh* const prefix, const xercesc::RefVectorOf<xercesc::XMLAttr>& attrs,
                    const XMLSize_t attrCount, const bool isEmpty, const bool isRoot) override;
  void endElement(const xercesc::XMLElementDecl& decl, const unsigned int urlId, const bool isRoot,
                  const XMLCh* const prefix) override;

 private:
  xercesc::SecurityManager security_;
  std::size_t depth_ = 0;
  bool inEmptyElement_ = false;
};

}  // namespace cxhost::safeparse

#endif  // CHARTXML_HOST_CHARTUTL_SAFEPARSE_H_
