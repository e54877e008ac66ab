// ChartErrorHandler: the one sink for the library's failures. Every
// ChartException, DOM exception, XML exception and SAX parse error handed to
// it is written to the host's report log (see chartxml_host.h), in order.
//
// It derives from the XML library's HandlerBase so that it can also serve as a
// parser's error handler. error() never throws; the SAX overrides do not
// rethrow either, so a parse goes on after an error and the caller inspects
// errorCount().
#ifndef CHARTXML_HOST_CHARTERRORHANDLER_H_
#define CHARTXML_HOST_CHARTERRORHANDLER_H_

#include <cstddef>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/XMLException.hpp>

#include "chartxml/export.h"
#include "chartxml/host/ChartException.h"

class CHARTXML_HOST_EXPORT ChartErrorHandler : public xercesc::HandlerBase {
 public:
  ChartErrorHandler() = default;
  ~ChartErrorHandler() override = default;

  // Reports the exception's message, source file and line.
  void error(const ChartException& e);
  // Reports the DOM exception's message with its code, source "xerces-dom".
  void error(const xercesc::DOMException& e);
  // Reports the XML exception's message with its source file and line.
  void error(const xercesc::XMLException& e);

  // SAX error callbacks: report "SYSTEMID:LINE:COLUMN: message".
  void error(const xercesc::SAXParseException& e) override;
  void fatalError(const xercesc::SAXParseException& e) override;
  void warning(const xercesc::SAXParseException& e) override;

  // Number of reports made through this handler (warnings excluded).
  std::size_t errorCount() const { return errors_; }
  void resetErrors() override { errors_ = 0; }

 private:
  std::size_t errors_ = 0;
};

#endif  // CHARTXML_HOST_CHARTERRORHANDLER_H_
