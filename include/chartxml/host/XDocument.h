// The sending library: a chart template text parsed into a document, adjusted
// through its model, and sent to the host's output.
//
// Parsing never resolves anything outside the text: no DTD is loaded, a
// document that declares a DOCTYPE is refused, external entities are not
// read, and entity expansion is limited. A text that does not parse makes the
// constructor throw ChartException with the first error's line and column.
//
// Sending hands the final document (printed with white space), the
// description, the template name and every data source of the feed (as CSV)
// to the output sink: kept in memory (cxh_sent_* in chartxml_host.h) and,
// when an output folder is set, written there as chart-NNNN.xml and
// chart-NNNN.SOURCE.csv (NNNN counts sends in this process, from 0001).
// Nothing is ever written outside that folder.
#ifndef CHARTXML_HOST_XDOCUMENT_H_
#define CHARTXML_HOST_XDOCUMENT_H_

#include <memory>
#include <string>

#include <xercesc/dom/DOMDocument.hpp>

#include "chartxml/export.h"
#include "chartxml/host/ChartString.h"
#include "chartxml/host/KytoModel.h"

class VarDataProcessor;

class CHARTXML_HOST_EXPORT XGraph {
 public:
  explicit XGraph(KytoVisualization* model) : model_(model) {}
  KytoVisualization* getImplementation() const { return model_; }

 private:
  KytoVisualization* model_;
};

class CHARTXML_HOST_EXPORT XDocument {
 public:
  // Parses `templateText`. `validate`: check the document against the
  // chart vocabulary's element names (unknown elements are reported, once
  // per name, not refused); `keepWhiteSpace`: keep white-space-only text
  // nodes. Throws ChartException (source "host/xchart") when the text does
  // not parse, declares a DOCTYPE or nests elements deeper than 512 levels;
  // nothing is reported then, the caller does.
  XDocument(const std::string& templateText, bool validate, bool keepWhiteSpace);
  ~XDocument();
  XDocument(const XDocument&) = delete;
  XDocument& operator=(const XDocument&) = delete;

  XGraph* getExternalGraph();
  // Statistical-process (control) charts: the control and specification
  // limits are line guides that would otherwise look like data. Every guide
  // whose id holds controlchart_UCL, controlchart_LCL, controlchart_USpec or
  // controlchart_LSpec is drawn dashed: "stroke-dasharray:5px 3px" is added
  // to the `value` of its style; a style shared with other elements is
  // copied first (id GUIDEID_limitStyle) so only the limit changes. Other
  // documents are left unchanged; running it twice changes nothing more.
  void customizeSPCharts();

  void SetDescription(const ChartString& description);
  void SetChartTemplate(const std::string& name);
  // The data to send with the chart; not owned, read at SendChart.
  void SetChartData(VarDataProcessor* data);

  // Sends to the output sink. `keep`: keep the chart in memory (always done
  // by this host); `show`, `print`: accepted for the host's viewer, unused.
  // False when the sink could not write a file (reported).
  bool SendChart(bool keep, bool show, bool print);

  xercesc::DOMDocument* document() const { return document_; }

 private:
  xercesc::DOMDocument* document_ = nullptr;
  std::unique_ptr<KytoVisualization> model_;
  std::unique_ptr<XGraph> graph_;
  ChartString description_;
  std::string template_;
  VarDataProcessor* data_ = nullptr;
};

// Chart-kind adjustments of the model made before sending.
class CHARTXML_HOST_EXPORT customizeCharts {
 public:
  explicit customizeCharts(KytoVisualization* model) : model_(model) {}
  // Icicle plots are drawn from interval elements stacked by level. Every
  // `element` of type `interval` in a graph (directly or in an element
  // group) gets layout="icicle", or "icicle-vertical" when `vertical`
  // (chart kind 2). With more than 50 `rows` (cases of the first data
  // source) the cells are too thin for text, so those elements' labelings
  // get visible="false". Elements of other types are left unchanged.
  void customizeIciclePlots(bool vertical, unsigned rows);

 private:
  KytoVisualization* model_;
};

#endif  // CHARTXML_HOST_XDOCUMENT_H_
