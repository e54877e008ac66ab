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

class CHARTXML_EXPORT XGraph {
 public:
  explicit XGraph(KytoVisualization* model) : model_(model) {}
  KytoVisualization* getImplementation() const { return model_; }

 private:
  KytoVisualization* model_;
};

class CHARTXML_EXPORT XDocument {
 public:
  // Parses `templateText`. `validate`: check the document against the
  // chart vocabulary's element names (unknown elements are reported, not
  // refused); `keepWhiteSpace`: keep white-space-only text nodes.
  XDocument(const std::string& templateText, bool validate, bool keepWhiteSpace);
  ~XDocument();
  XDocument(const XDocument&) = delete;
  XDocument& operator=(const XDocument&) = delete;

  XGraph* getExternalGraph();
  // Adjusts statistical-process charts (see the implementation's comment).
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
class CHARTXML_EXPORT customizeCharts {
 public:
  explicit customizeCharts(KytoVisualization* model) : model_(model) {}
  // Icicle plots: see the implementation's comment. `vertical` for chart
  // kind 2; `rows` is the number of cases of the first data source.
  void customizeIciclePlots(bool vertical, unsigned rows);

 private:
  KytoVisualization* model_;
};

#endif  // CHARTXML_HOST_XDOCUMENT_H_
