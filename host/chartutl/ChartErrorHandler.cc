#include "chartxml/host/ChartErrorHandler.h"

#include <string>

#include <xercesc/sax/SAXParseException.hpp>

#include "chartutl/ReportLog.h"
#include "chartxml/host/ChartString.h"

namespace {

constexpr const char* kSaxSource = "xerces-sax";

std::string utf8(const XMLCh* text) {
  return text ? ChartString::toUTF8(text) : std::string();
}

// "SYSTEMID:LINE:COLUMN: message", the usual form of a compiler diagnostic.
std::string describe(const xercesc::SAXParseException& e, const char* kind) {
  return utf8(e.getSystemId()) + ':' + std::to_string(e.getLineNumber()) + ':' +
         std::to_string(e.getColumnNumber()) + ": " + kind + utf8(e.getMessage());
}

// The handler runs inside error paths: building the message may fail for
// lack of memory, and that must not turn into a second failure.
template <typename MakeReport>
void submit(MakeReport make) noexcept {
  try {
    make();
  } catch (...) {
  }
}

}  // namespace

void ChartErrorHandler::error(const ChartException& e) {
  submit([&] { cxhost::report(e.message(), e.file(), e.line()); });
  ++errors_;
}

void ChartErrorHandler::error(const xercesc::DOMException& e) {
  submit([&] {
    cxhost::report("DOM error " + std::to_string(e.code) + ": " + utf8(e.getMessage()),
                   "xerces-dom", 0);
  });
  ++errors_;
}

void ChartErrorHandler::error(const xercesc::XMLException& e) {
  submit([&] {
    const char* file = e.getSrcFile();
    cxhost::report(utf8(e.getMessage()), file ? file : "xerces", static_cast<int>(e.getSrcLine()));
  });
  ++errors_;
}

void ChartErrorHandler::error(const xercesc::SAXParseException& e) {
  submit([&] { cxhost::report(describe(e, ""), kSaxSource, static_cast<int>(e.getLineNumber())); });
  ++errors_;
}

void ChartErrorHandler::fatalError(const xercesc::SAXParseException& e) {
  submit([&] { cxhost::report(describe(e, ""), kSaxSource, static_cast<int>(e.getLineNumber())); });
  ++errors_;
}

void ChartErrorHandler::warning(const xercesc::SAXParseException& e) {
  submit([&] {
    cxhost::report(describe(e, "warning: "), kSaxSource, static_cast<int>(e.getLineNumber()));
  });
}
