// The sending library: parses the chart template, exposes the model, adjusts
// a few chart kinds and hands the result to the output sink.
//
// Adjustments, each a no-op on documents without what it looks for:
//
// customizeSPCharts: in a statistical-process (control) chart the control
// and specification limits are drawn as line guides beside the data line;
// drawn alike they read as data. Every guide whose id holds one of
// controlchart_UCL, controlchart_LCL, controlchart_USpec or
// controlchart_LSpec gets a dashed stroke ("stroke-dasharray:5px 3px" added
// to the `value` of the style it references). A style shared with other
// elements is not touched: the guide gets a copy of it, id GUIDEID_limitStyle,
// so that only the limit is dashed.
//
// customizeCharts::customizeIciclePlots: chart kinds 1 and 2 are icicle
// plots, drawn from ordinary interval elements. Each `element` of type
// `interval` in a graph (directly or in an element group) gets
// layout="icicle" (kind 1) or layout="icicle-vertical" (kind 2) so the
// renderer stacks the levels instead of drawing bars; with more than
// kDenseIcicleRows cases the cells get too thin for text, so the
// element's labelings get visible="false".
#include "chartxml/host/XDocument.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <xercesc/dom/DOMElement.hpp>
#include <xercesc/dom/DOMException.hpp>
#include <xercesc/dom/DOMNamedNodeMap.hpp>
#include <xercesc/dom/DOMNodeList.hpp>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLString.hpp>

#include "chartutl/ReportLog.h"
#include "chartutl/SafeParse.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/ElementTag.h"
#include "chartxml/host/KytoUni.h"
#include "chartxml/host/VarDataProcessor.h"
#include "xchart/OutputSink.h"

using namespace xercesc;
namespace safeparse = cxhost::safeparse;

namespace {

constexpr const char* kSource = "host/xchart";
constexpr unsigned kDenseIcicleRows = 50;
constexpr char16_t kDashed[] = u"stroke-dasharray:5px 3px";
constexpr char16_t kDashProperty[] = u"stroke-dasharray";
constexpr char16_t kLimitStyleSuffix[] = u"_limitStyle";
constexpr char16_t kElementGroup[] = u"elementGroup";

// Element names of the chart vocabulary, sorted for binary search.
// clang-format off
constexpr std::u16string_view kVocabulary[] = {
    u"axis", u"blend", u"color", u"coordinateFacet", u"coordinateTransform", u"cross",
    u"cycle", u"dateTimeFormat", u"dimension", u"domain", u"domainReference", u"element",
    u"elementGroup", u"extension", u"facetLabel", u"facetLabeling", u"facetStyle",
    u"facetVariable", u"frame", u"graph", u"gridLines", u"guide", u"interval", u"label",
    u"labeling", u"legend", u"legendTarget", u"majorTicks", u"meta", u"minorTicks", u"nest",
    u"numberFormat", u"otherAccess", u"parameter", u"phi", u"position", u"r", u"relabel",
    u"scale", u"simpleSort", u"size", u"sort", u"source", u"split", u"statistic",
    u"statisticSort", u"stringFormat", u"style", u"styleBy", u"styleCycle", u"tableFacet",
    u"theta", u"transform", u"variable", u"visualization", u"x", u"y", u"z"};
// clang-format on
static_assert(std::is_sorted(std::begin(kVocabulary), std::end(kVocabulary)));

bool inVocabulary(std::u16string_view name) {
  return std::binary_search(std::begin(kVocabulary), std::end(kVocabulary), name);
}

std::u16string text(const XMLCh* value) {
  return value ? std::u16string(value) : std::u16string();
}

// Elements of `tag` under `root`, in document order. The node list walks
// the tree without recursion; copying it out lets callers change the tree.
std::vector<DOMElement*> elementsByTag(DOMElement* root, const char16_t* tag) {
  std::vector<DOMElement*> found;
  const DOMNodeList* list = root->getElementsByTagName(tag);
  const XMLSize_t count = list ? list->getLength() : 0;
  found.reserve(count);
  for (XMLSize_t i = 0; i < count; ++i) found.push_back(static_cast<DOMElement*>(list->item(i)));
  return found;
}

struct DocumentReleaser {
  void operator()(DOMDocument* document) const { document->release(); }
};
using OwnedDocument = std::unique_ptr<DOMDocument, DocumentReleaser>;

OwnedDocument parse(const std::string& templateText) {
  if (!XMLPlatformUtils::fgMemoryManager) {
    throw ChartException("the XML platform is not initialised", kSource, __LINE__);
  }
  safeparse::FirstErrorHandler errors;
  safeparse::SafeDomParser parser(errors);
  try {
    MemBufInputSource input(reinterpret_cast<const XMLByte*>(templateText.data()),
                            templateText.size(), "chart template");
    parser.parse(input);
  } catch (const safeparse::DoctypeFound&) {
    throw ChartException(safeparse::kDoctypeRefused, kSource, __LINE__);
  } catch (const safeparse::UnsupportedVersion& e) {
    throw ChartException(safeparse::unsupportedVersionMessage(e), kSource, __LINE__);
  } catch (const DOMException& e) {
    // The DOM refuses what its parser let through; a chart template it is not.
    throw ChartException(
        "cannot read the chart template: " + ChartString::toUTF8(text(e.getMessage())), kSource,
        __LINE__);
  } catch (const safeparse::TooDeep& e) {
    throw ChartException("chart template nests elements deeper than " +
                             std::to_string(safeparse::kMaxDepth) + " levels at line " +
                             std::to_string(e.line) + ", column " + std::to_string(e.column),
                         kSource, __LINE__);
  } catch (const XMLException& e) {
    throw ChartException(
        "cannot read the chart template: " + ChartString::toUTF8(text(e.getMessage())), kSource,
        __LINE__);
  } catch (const OutOfMemoryException&) {
    throw ChartException("out of memory while parsing the chart template", kSource, __LINE__);
  }
  if (errors.failed()) throw ChartException(errors.problem(), kSource, __LINE__);
  OwnedDocument document(parser.adoptDocument());
  if (!document || !document->getDocumentElement()) {
    throw ChartException("the chart template has no document element", kSource, __LINE__);
  }
  return document;
}

// Removes text nodes that hold only white space (indentation), without
// recursion.
void dropBlankText(DOMNode* root) {
  std::vector<DOMNode*> blank;
  for (DOMNode* node = root; node;) {
    if (node->getNodeType() == DOMNode::TEXT_NODE &&
        text(node->getNodeValue()).find_first_not_of(u" \t\r\n") == std::u16string::npos) {
      blank.push_back(node);
    }
    if (DOMNode* child = node->getFirstChild()) {
      node = child;
      continue;
    }
    while (node && node != root && !node->getNextSibling()) node = node->getParentNode();
    node = (node && node != root) ? node->getNextSibling() : nullptr;
  }
  for (DOMNode* node : blank) node->getParentNode()->removeChild(node)->release();
}

// Unknown element names are reported once each; the document is kept, since
// a newer library may use words this host does not know yet.
void reportUnknownElements(DOMElement* root) {
  std::set<std::u16string> reported;
  std::vector<DOMElement*> elements = elementsByTag(root, u"*");
  elements.insert(elements.begin(), root);  // the list holds descendants only
  for (const DOMElement* element : elements) {
    const std::u16string name = text(element->getTagName());
    if (inVocabulary(name) || !reported.insert(name).second) continue;
    cxhost::report("unknown chart element " + ChartString::toUTF8(name), kSource, __LINE__);
  }
}

bool isControlLimit(std::u16string_view id) {
  for (const char16_t* limit : {ChartBase::_controlchart_UCL, ChartBase::_controlchart_LCL,
                                ChartBase::_controlchart_USpec, ChartBase::_controlchart_LSpec}) {
    if (id.find(limit) != std::u16string_view::npos) return true;
  }
  return false;
}

// ---- Control-limit guides and icicle elements ------------------------------

// Styles by id. Parsed ids are plain attributes (no DTD declares them), so
// DOMDocument::getElementById cannot find them.
class StyleIndex {
 public:
  explicit StyleIndex(DOMElement* root) : root_(root) {
    for (DOMElement* style : elementsByTag(root, KytoUni::_style)) {
      const std::u16string id = text(style->getAttribute(KytoUni::_id));
      if (!id.empty()) styles_.emplace(id, style);  // the first of an id wins
    }
    // Style references: `style` and the ...Style attributes (baselineStyle,
    // markStyle, ...).
    for (const DOMElement* element : elementsByTag(root, u"*")) {
      const DOMNamedNodeMap* attributes = element->getAttributes();
      for (XMLSize_t i = 0; attributes && i < attributes->getLength(); ++i) {
        const DOMNode* attribute = attributes->item(i);
        const std::u16string_view name = attribute->getNodeName();
        if (name == KytoUni::_style || name.ends_with(u"Style")) {
          ++uses_[text(attribute->getNodeValue())];
        }
      }
    }
  }

  // The style that only `guide` uses, made from a copy of its shared style
  // (or made empty) when there is none.
  DOMElement* ownStyle(DOMElement* guide) {
    const std::u16string current = text(guide->getAttribute(KytoUni::_style));
    DOMElement* style = find(current);
    if (style && uses_[current] == 1) return style;

    const std::u16string id = text(guide->getAttribute(KytoUni::_id)) + kLimitStyleSuffix;
    DOMElement* own = find(id);
    if (!own) {
      DOMDocument* document = root_->getOwnerDocument();
      own = style ? static_cast<DOMElement*>(style->cloneNode(false))
                  : document->createElement(KytoUni::_style);
      own->setAttribute(KytoUni::_id, id.c_str());
      // Beside the style it copies, else with the other styles.
      DOMNode* parent = style ? style->getParentNode() : nullptr;
      if (!parent) parent = ChartBase::getChildByTagName(root_, KytoUni::_style);
      if (!parent) parent = root_;
      parent->appendChild(own);
      styles_.emplace(id, own);
    }
    if (!current.empty()) --uses_[current];
    ++uses_[id];
    guide->setAttribute(KytoUni::_style, id.c_str());
    return own;
  }

 private:
  DOMElement* find(const std::u16string& id) const {
    const auto it = styles_.find(id);
    return it == styles_.end() ? nullptr : it->second;
  }

  DOMElement* root_;
  std::unordered_map<std::u16string, DOMElement*> styles_;
  std::unordered_map<std::u16string, int> uses_;
};

void addDash(DOMElement* style) {
  std::u16string value = text(style->getAttribute(KytoUni::_value));
  if (value.find(kDashProperty) != std::u16string::npos) return;  // already dashed
  if (!value.empty()) value += ChartBase::_semicolon;
  value += kDashed;
  style->setAttribute(KytoUni::_value, value.c_str());
}

// The interval elements of a graph: its own and those of its element groups.
std::vector<DOMElement*> intervalElements(DOMElement* frame) {
  std::vector<DOMElement*> found;
  auto collect = [&](DOMElement* parent) {
    for (DOMElement* child = parent->getFirstElementChild(); child;
         child = child->getNextElementSibling()) {
      if (hasTag(child, KytoUni::_element) &&
          XMLString::equals(child->getAttribute(KytoUni::_type), KytoUni::_interval)) {
        found.push_back(child);
      }
    }
  };
  collect(frame);
  for (DOMElement* child = frame->getFirstElementChild(); child;
       child = child->getNextElementSibling()) {
    if (hasTag(child, kElementGroup)) collect(child);
  }
  return found;
}

}  // namespace

// ---- XDocument --------------------------------------------------------------

XDocument::XDocument(const std::string& templateText, bool validate, bool keepWhiteSpace) {
  OwnedDocument document = parse(templateText);
  DOMElement* root = document->getDocumentElement();
  if (!keepWhiteSpace) dropBlankText(root);
  if (validate) reportUnknownElements(root);
  model_ = std::make_unique<KytoVisualization>(root);
  graph_ = std::make_unique<XGraph>(model_.get());
  document_ = document.release();
}

XDocument::~XDocument() {
  graph_.reset();
  model_.reset();
  if (document_) document_->release();
}

XGraph* XDocument::getExternalGraph() {
  return graph_.get();
}

void XDocument::customizeSPCharts() {
  DOMElement* root = document_->getDocumentElement();
  std::vector<DOMElement*> limits;
  for (DOMElement* guide : elementsByTag(root, KytoUni::_guide)) {
    if (isControlLimit(text(guide->getAttribute(KytoUni::_id)))) limits.push_back(guide);
  }
  if (limits.empty()) return;  // not a control chart
  StyleIndex styles(root);
  for (DOMElement* guide : limits) addDash(styles.ownStyle(guide));
}

void XDocument::SetDescription(const ChartString& description) {
  description_ = description;
}

void XDocument::SetChartTemplate(const std::string& name) {
  template_ = name;
}

void XDocument::SetChartData(VarDataProcessor* data) {
  data_ = data;
}

bool XDocument::SendChart(bool /*keep*/, bool /*show*/, bool /*print*/) {
  cxhost::SentChart chart;
  std::ostringstream xml;
  ChartPrinter printer;
  printer.setPrintWhiteSpace(true);
  printer.Print(document_, xml);
  // A stream swallows what goes wrong while writing (memory running out):
  // half a document is never sent.
  if (!xml) {
    cxhost::report("cannot send the chart: its document could not be written out", kSource,
                   __LINE__);
    return false;
  }
  chart.xml = xml.str();
  chart.description = description_.toUTF8();
  chart.chartTemplate = template_;
  // The sink reads the data from the feed's columns: into an output folder
  // it streams them to the files, never holding a whole CSV.
  return cxhost::sendChart(std::move(chart), data_);
}

// ---- customizeCharts --------------------------------------------------------

void customizeCharts::customizeIciclePlots(bool vertical, unsigned rows) {
  if (!model_) return;
  const char16_t* layout = vertical ? u"icicle-vertical" : u"icicle";
  const bool dense = rows > kDenseIcicleRows;
  for (KytoGraph* graph : model_->getGraphs()) {
    for (DOMElement* element : intervalElements(graph->element())) {
      element->setAttribute(u"layout", layout);
      if (!dense) continue;
      for (DOMElement* child = element->getFirstElementChild(); child;
           child = child->getNextElementSibling()) {
        if (hasTag(child, KytoUni::_labeling)) child->setAttribute(u"visible", KytoUni::_false);
      }
    }
  }
}
