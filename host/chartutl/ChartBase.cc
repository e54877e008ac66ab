#include "chartxml/host/ChartBase.h"

#include <charconv>
#include <memory>
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/dom/DOMImplementation.hpp>
#include <xercesc/dom/DOMImplementationRegistry.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chartutl/ReportLog.h"
#include "chartutl/SafeParse.h"
#include "chartxml/host/ChartErrorHandler.h"
#include "chartxml/host/ChartString.h"

using namespace xercesc;
namespace safeparse = cxhost::safeparse;

namespace {

constexpr const char* kSource = "host/chartutl";
constexpr char16_t kId[] = u"id";

bool platformReady(int line) {
  if (XMLPlatformUtils::fgMemoryManager) return true;
  cxhost::report("the XML platform is not initialised", kSource, line);
  return false;
}

// Runs a DOM operation, turning whatever it throws into a report. Returns
// false when the operation did not complete.
template <typename Operation>
bool guarded(Operation operation, int line) noexcept {
  try {
    try {
      operation();
      return true;
    } catch (const DOMException& e) {
      ChartErrorHandler().error(e);
    } catch (const XMLException& e) {
      ChartErrorHandler().error(e);
    } catch (const OutOfMemoryException&) {
      cxhost::report("out of memory in the XML library", kSource, line);
    } catch (const std::exception& e) {
      cxhost::report(std::string("unexpected failure: ") + e.what(), kSource, line);
    } catch (...) {
      cxhost::report("unexpected failure", kSource, line);
    }
  } catch (...) {
    // Reporting itself failed (no memory): nothing more can be done.
  }
  return false;
}

}  // namespace

DOMDocument* ChartBase::createDocument(const char16_t* /*encoding*/) {
  if (!platformReady(__LINE__)) return nullptr;
  DOMDocument* document = nullptr;
  guarded(
      [&] {
        DOMImplementation* dom = DOMImplementationRegistry::getDOMImplementation(u"LS");
        if (!dom) dom = DOMImplementation::getImplementation();
        document = dom->createDocument(nullptr, u"visualization", nullptr);
      },
      __LINE__);
  return document;
}

void ChartBase::releaseDocument(DOMDocument*& document) {
  if (!document) return;
  guarded([&] { document->release(); }, __LINE__);
  document = nullptr;
}

void ChartBase::AddID(DOMElement* element, const char16_t* id) {
  if (!element || !id) return;
  guarded(
      [&] {
        element->setAttribute(kId, id);
        element->setIdAttribute(kId, true);
      },
      __LINE__);
}

void ChartBase::AddAttribute(DOMElement* element, const char16_t* name, const char16_t* value) {
  if (!element || !name) return;
  guarded([&] { element->setAttribute(name, value ? value : u""); }, __LINE__);
}

DOMElement* ChartBase::getChildByTagName(const DOMElement* parent, const char16_t* tag) {
  if (!parent || !tag) return nullptr;
  for (DOMElement* child = parent->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (XMLString::equals(child->getTagName(), tag)) return child;
  }
  return nullptr;
}

void ChartBase::mergeAttributes(const DOMElement* from, DOMElement* to) {
  if (!from || !to || from == to) return;
  guarded(
      [&] {
        const DOMNamedNodeMap* attributes = from->getAttributes();
        for (XMLSize_t i = 0; attributes && i < attributes->getLength(); ++i) {
          const DOMNode* attribute = attributes->item(i);
          // Ids are unique in a document: the target keeps its own.
          if (XMLString::equals(attribute->getNodeName(), u"id")) continue;
          to->setAttribute(attribute->getNodeName(), attribute->getNodeValue());
        }
      },
      __LINE__);
}

void ChartBase::printDebugInfo(std::string_view line) {
  cxhost::debug(line);
}

std::string ChartBase::asString(double value) {
  // Equivalent to printf("%.16g") in the "C" locale, whatever the process
  // locale is.
  char buffer[64];
  auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 16);
  return std::string(buffer, result.ptr);
}

std::string ChartBase::asString(int value) {
  return std::to_string(value);
}

bool ChartBase::ValidXML(const std::string& xml) {
  if (!platformReady(__LINE__)) return false;
  bool wellFormed = false;
  safeparse::FirstErrorHandler handler;
  try {
    // Nothing outside the text is ever read (see SafeParse.h).
    auto parser = std::make_unique<safeparse::SafeReader>(handler);
    MemBufInputSource input(reinterpret_cast<const XMLByte*>(xml.data()), xml.size(), "chart");
    parser->parse(input);
    if (handler.failed()) {
      cxhost::report(handler.problem(), kSource, __LINE__);
    } else {
      wellFormed = true;
    }
  } catch (const safeparse::DoctypeFound&) {
    cxhost::report(safeparse::kDoctypeRefused, kSource, __LINE__);
  } catch (const safeparse::UnsupportedVersion& e) {
    guarded([&] { cxhost::report(safeparse::unsupportedVersionMessage(e), kSource, __LINE__); },
            __LINE__);
  } catch (const SAXException& e) {
    guarded(
        [&] {
          const XMLCh* message = e.getMessage();
          cxhost::report("XML is not well-formed: " + ChartString::toUTF8(message ? message : u""),
                         kSource, __LINE__);
        },
        __LINE__);
  } catch (...) {
    // Rethrown inside guarded, which sorts and reports it like any other.
    guarded([] { throw; }, __LINE__);
  }
  return wellFormed;
}
