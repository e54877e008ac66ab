// Fuzzes the reading of chart documents: the well-formedness check of
// `chartxml check` (ChartBase::ValidXML), the host's safe DOM parser, and
// the sending library's document (XDocument) printed back by ChartPrinter.
//
// Input: the document's bytes, as a file handed to `chartxml check`.
//
// Beyond not crashing, the host's readers must agree: the SAX check and the
// DOM parser accept the same texts (but for nesting deeper than the DOM
// parser allows), and a document that was read prints as a well-formed
// document that reads back and prints the same. The full check (the chart
// schema and the references) calls well formed what the SAX check does.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/XMLException.hpp>

#include "chartutl/SafeParse.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/DocumentCheck.h"
#include "chartxml/host/XDocument.h"

namespace {

namespace safeparse = cxhost::safeparse;

[[noreturn]] void fail(const std::string& what, const std::string& document) {
  std::fprintf(stderr, "fuzz_check: %s\n--- document ---\n%s\n--- end ---\n", what.c_str(),
               document.c_str());
  std::abort();
}

enum class Dom { Accepted, Refused, TooDeep };

Dom parseDom(const std::string& text) {
  safeparse::FirstErrorHandler errors;
  safeparse::SafeDomParser parser(errors);
  xercesc::MemBufInputSource input(reinterpret_cast<const XMLByte*>(text.data()), text.size(),
                                   "fuzz");
  try {
    parser.parse(input);
  } catch (const safeparse::DoctypeFound&) {
    return Dom::Refused;
  } catch (const safeparse::TooDeep&) {
    return Dom::TooDeep;
  } catch (const safeparse::UnsupportedVersion&) {
    return Dom::Refused;
  } catch (const xercesc::XMLException&) {
    return Dom::Refused;
  } catch (const xercesc::DOMException&) {
    // The DOM builder refuses what the scanner let through, such as an XML
    // declaration of a version it does not know.
    return Dom::Refused;
  }
  const xercesc::DOMDocument* document = parser.getDocument();
  if (errors.failed() || document == nullptr || document->getDocumentElement() == nullptr) {
    return Dom::Refused;
  }
  return Dom::Accepted;
}

// The document as the sending library prints it, "" when it does not read.
bool printDocument(const std::string& text, bool keepWhiteSpace, std::string& printed) {
  try {
    XDocument document(text, true, keepWhiteSpace);
    document.customizeSPCharts();
    std::ostringstream out;
    ChartPrinter printer;
    printer.setPrintWhiteSpace(!keepWhiteSpace);
    printer.Print(document.document(), out);
    printed = out.str();
    return true;
  } catch (const ChartException&) {
    return false;
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  cxh_set_quiet(1);
  // As `chartxml check` does: the instance brings up the XML platform.
  VORN_FortranDictionary* none = nullptr;
  const std::int64_t length = 5;
  if (CX_INIT(nullptr, &none, "CHECK", &length) != 0) {
    std::fprintf(stderr, "fuzz_check: CX_INIT failed\n");
    std::exit(1);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const bool wellFormed = ChartBase::ValidXML(text);
  const Dom dom = parseDom(text);
  // Well-formedness alone, then everything: the latter must merely survive.
  const bool checkedWellFormed = cxhost::checkChartDocument(text, {"", false}).empty();
  if (checkedWellFormed != wellFormed && dom != Dom::TooDeep) {
    fail(wellFormed ? "the document check calls ill formed what the SAX check accepts"
                    : "the document check calls well formed what the SAX check refuses",
         text);
  }
  static const cxhost::CheckOptions kFullCheck{cxhost::shippedSchemaPath(), true};
  cxhost::checkChartDocument(text, kFullCheck);
  if (dom != Dom::TooDeep && wellFormed != (dom == Dom::Accepted)) {
    fail(wellFormed ? "the check accepts what the DOM parser refuses"
                    : "the DOM parser accepts what the check refuses",
         text);
  }

  // Printing a read document gives a well-formed one, whose own reading
  // prints the same: white space kept, so that nothing changes the text.
  for (const bool keepWhiteSpace : {false, true}) {
    std::string printed;
    if (!printDocument(text, keepWhiteSpace, printed)) continue;
    if (!ChartBase::ValidXML(printed)) fail("a printed document is not well formed", printed);
    std::string again;
    if (!printDocument(printed, keepWhiteSpace, again)) {
      fail("a printed document does not read back", printed);
    }
    if (keepWhiteSpace && again != printed) {
      fail("a printed document prints differently when read back:\n" + again, printed);
    }
  }
  cxh_clear_reports();
  cxh_clear_debug();
  return 0;
}
