#include "chartxml/host/DocumentCheck.h"

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/common/Grammar.hpp>

#include "chartutl/SafeParse.h"
#include "chartxml/host/ChartString.h"
#include "check/ReferenceCheck.h"
#include "platform/FileIo.h"
#include "platform/Settings.h"

using namespace xercesc;

namespace cxhost {
namespace {

constexpr std::size_t kMostSchemaFindings = 100;

std::string utf8(const XMLCh* text) {
  return text ? ChartString::toUTF8(text) : std::string();
}

// Holds the XML platform up for the time of a check; the platform counts
// its users, so a caller's own start and end are left as they are.
class PlatformUse {
 public:
  PlatformUse() {
    try {
      XMLPlatformUtils::Initialize();
      up_ = true;
    } catch (...) {
    }
  }
  ~PlatformUse() {
    if (up_) XMLPlatformUtils::Terminate();
  }
  bool up() const { return up_; }

 private:
  bool up_ = false;
};

// Well-formedness and the references, in one pass.
class ReferenceReader : public safeparse::FirstErrorHandler {
 public:
  void setDocumentLocator(const Locator* const locator) override { locator_ = locator; }
  void startElement(const XMLCh* const, const XMLCh* const, const XMLCh* const qname,
                    const Attributes& attrs) override {
    if (++depth_ > safeparse::kMaxDepth) {
      throw safeparse::TooDeep{hereLine(), hereColumn()};
    }
    attrs_.clear();
    for (XMLSize_t i = 0; i < attrs.getLength(); ++i) {
      attrs_.emplace_back(utf8(attrs.getQName(i)), utf8(attrs.getValue(i)));
    }
    index_.element(utf8(qname), attrs_, hereLine(), hereColumn(), depth_);
  }
  void endElement(const XMLCh* const, const XMLCh* const, const XMLCh* const) override { --depth_; }
  const check::ReferenceIndex& index() const { return index_; }

 private:
  std::size_t hereLine() const {
    return locator_ ? static_cast<std::size_t>(locator_->getLineNumber()) : 0;
  }
  std::size_t hereColumn() const {
    return locator_ ? static_cast<std::size_t>(locator_->getColumnNumber()) : 0;
  }

  const Locator* locator_ = nullptr;
  std::size_t depth_ = 0;
  std::vector<std::pair<std::string, std::string>> attrs_;
  check::ReferenceIndex index_;
};

// Every schema violation, up to a bound that keeps a hostile document's
// report readable.
class AllErrors : public DefaultHandler {
 public:
  explicit AllErrors(std::vector<CheckFinding>& findings) : findings_(findings) {}
  void error(const SAXParseException& e) override { record(e); }
  void fatalError(const SAXParseException& e) override { record(e); }
  void warning(const SAXParseException&) override {}

 private:
  void record(const SAXParseException& e) {
    if (count_++ == kMostSchemaFindings) {
      findings_.push_back({static_cast<std::size_t>(e.getLineNumber()),
                           static_cast<std::size_t>(e.getColumnNumber()),
                           "more schema violations follow; only the first " +
                               std::to_string(kMostSchemaFindings) + " are listed"});
    }
    if (count_ > kMostSchemaFindings) return;
    findings_.push_back({static_cast<std::size_t>(e.getLineNumber()),
                         static_cast<std::size_t>(e.getColumnNumber()),
                         "schema: " + utf8(e.getMessage())});
  }
  std::vector<CheckFinding>& findings_;
  std::size_t count_ = 0;
};

MemBufInputSource memoryInput(std::string_view text, const char* name) {
  return MemBufInputSource(reinterpret_cast<const XMLByte*>(text.data()), text.size(), name);
}

// The first pass: a document that fails it gets one finding and no more.
bool checkWellFormedAndReferences(std::string_view xml, std::vector<CheckFinding>& findings,
                                  std::vector<CheckFinding>& references) {
  ReferenceReader reader;
  try {
    safeparse::SafeReader parser(reader);
    MemBufInputSource input = memoryInput(xml, "chart");
    parser.parse(input);
  } catch (const safeparse::DoctypeFound&) {
    findings.push_back({0, 0, safeparse::kDoctypeRefused});
    return false;
  } catch (const safeparse::UnsupportedVersion& e) {
    findings.push_back({0, 0, safeparse::unsupportedVersionMessage(e)});
    return false;
  } catch (const safeparse::TooDeep& e) {
    findings.push_back(
        {e.line, e.column,
         "elements nest deeper than " + std::to_string(safeparse::kMaxDepth) + " levels"});
    return false;
  } catch (const SAXException& e) {
    findings.push_back({0, 0, "not well formed: " + utf8(e.getMessage())});
    return false;
  }
  if (reader.failed()) {
    const std::string& problem = reader.problem();
    // "XML is not well-formed at line L, column C: MESSAGE" keeps MESSAGE.
    const std::size_t colon = problem.find(": ");
    findings.push_back(
        {reader.line(), reader.column(),
         "not well formed: " + (colon == std::string::npos ? problem : problem.substr(colon + 2))});
    return false;
  }
  references = reader.index().findings();
  return true;
}

// 0, or the system's error.
int readSchema(const std::string& path, std::string& text) {
  text.clear();
  return cxio::readWholeFile(path, text);
}

void checkSchema(std::string_view xml, const std::string& schemaPath,
                 std::vector<CheckFinding>& findings) {
  std::string schema;
  if (const int error = readSchema(schemaPath, schema)) {
    findings.push_back(
        {0, 0, "cannot read the chart schema " + schemaPath + ": " + cxio::errorText(error)});
    return;
  }
  AllErrors errors(findings);
  safeparse::SafeReader parser(errors);
  // The grammar comes from our own file, read here: the document cannot
  // name another through xsi:schemaLocation, and nothing is fetched.
  parser.setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  parser.setFeature(XMLUni::fgSAX2CoreValidation, true);
  parser.setFeature(XMLUni::fgXercesDynamic, false);
  parser.setFeature(XMLUni::fgXercesSchema, true);
  parser.setFeature(XMLUni::fgXercesSchemaFullChecking, true);
  parser.setFeature(XMLUni::fgXercesLoadSchema, false);
  parser.setFeature(XMLUni::fgXercesUseCachedGrammarInParse, true);
  parser.setFeature(XMLUni::fgXercesHandleMultipleImports, false);
  MemBufInputSource schemaInput = memoryInput(schema, "chart.xsd");
  const std::size_t before = findings.size();
  if (parser.loadGrammar(schemaInput, Grammar::SchemaGrammarType, true) == nullptr ||
      findings.size() != before) {
    // The schema's own faults are ours, not the document's.
    for (std::size_t i = before; i < findings.size(); ++i) {
      findings[i].message = schemaPath + ":" + std::to_string(findings[i].line) + ":" +
                            std::to_string(findings[i].column) + ": " + findings[i].message;
      findings[i].line = findings[i].column = 0;
    }
    if (findings.size() == before) findings.push_back({0, 0, "cannot load the chart schema"});
    return;
  }
  MemBufInputSource input = memoryInput(xml, "chart");
  parser.parse(input);
}

}  // namespace

std::vector<CheckFinding> checkChartDocument(std::string_view xml, const CheckOptions& options) {
  std::vector<CheckFinding> findings;
  try {
    PlatformUse platform;
    if (!platform.up()) return {{0, 0, "the XML platform cannot start"}};
    std::vector<CheckFinding> references;
    if (!checkWellFormedAndReferences(xml, findings, references)) return findings;
    if (!options.schemaPath.empty()) checkSchema(xml, options.schemaPath, findings);
    if (options.references) findings.insert(findings.end(), references.begin(), references.end());
  } catch (const std::bad_alloc&) {
    findings.push_back({0, 0, "out of memory while checking the document"});
  } catch (const XMLException& e) {
    findings.push_back({0, 0, "cannot check the document: " + utf8(e.getMessage())});
  } catch (const SAXException& e) {
    findings.push_back({0, 0, "cannot check the document: " + utf8(e.getMessage())});
  } catch (...) {
    findings.push_back({0, 0, "cannot check the document"});
  }
  return findings;
}

std::string shippedSchemaPath() {
  const char* set = std::getenv("CHARTXML_SCHEMA");
  if (set != nullptr && *set != '\0') return set;
  return settings::shippedDataFile("schema/chart.xsd");
}

}  // namespace cxhost
