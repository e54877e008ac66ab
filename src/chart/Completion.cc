// Ending a chart: the style elements kept aside while it was built join the
// document, the sending library parses the document into its model, adjusts
// it, and sends it with the chart's data.
#include <string>

#include <xercesc/dom/DOMException.hpp>
#include <xercesc/util/XMLStringTokenizer.hpp>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"
#include "chartxml/codes.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/KytoUni.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/TsCellText.h"
#include "chartxml/host/XDocument.h"
#include "common/SourceNames.h"

using xercesc::DOMElement;

namespace {

// Statistic annotations travel as "name;value" or "name;min;max" in a
// variable's description; the sending library wants them as an extension.
void annotateStatistics(KytoVisualization& model) {
  for (CTVariableType* variable : model.getSourceVariables()) {
    const ChartString description = variable->getDescription();
    if (description.empty() || description == KytoUni::_labeling) continue;
    xercesc::XMLStringTokenizer tokens(description.c_str(), ChartBase::_semicolon);
    if (tokens.countTokens() == 0) continue;
    std::vector<ChartString> parts;
    while (tokens.hasMoreTokens()) parts.emplace_back(tokens.nextToken());
    variable->removeDescription();
    KytoExtension* extension = variable->getExtension();
    if (extension == nullptr) extension = variable->addExtension();
    extension->setAttribute(KytoUni::_statistic, parts[0]);
    if (parts.size() == 2) {
      extension->setValue(parts[1].convertToDouble());
    } else if (parts.size() >= 3) {
      extension->setMin(parts[1].convertToDouble());
      extension->setMax(parts[2].convertToDouble());
    }
  }
}

// A single same-ratio pair of dimensions with one axis on the first: its tick
// labels read best unrotated.
void straightenLoneAxis(KytoVisualization& model) {
  const std::vector<KytoGraph*> graphs = model.getGraphs();
  if (graphs.size() != 1) return;
  const auto& coordinates = graphs[0]->getCoordinates();
  if (coordinates.size() != 1 || coordinates[0]->getSameRatioTransformCount() != 1) return;
  const auto& dimensions = coordinates[0]->getDimensions();
  if (dimensions.size() != 2 || dimensions[0]->getAxes().size() != 1) return;
  dimensions[0]->getAxes()[0]->getMajorTicks()->setLabelAngle(0.0);
}

}  // namespace

int Chart::attachStyles() {
  try {
    DOMElement* top = root();
    top->appendChild(styleContainer_);
    if (defaultStyleCycle_ != nullptr) top->appendChild(defaultStyleCycle_);
    top->appendChild(repositoryStyleCycle_);
  } catch (const xercesc::DOMException& e) {
    errors().error(e);
    return -1;
  } catch (...) {
    report("add styles error", chartxml::line::kAddStylesError);
    return -1;
  }
  return 0;
}

int Chart::EndChart() {
  if (QBOOTSTRAPPING()) {
    printDebugInfo("endChart - Bootstrapping");
    return -1;
  }
  if (fatalError()) {
    printDebugInfo("endChart - Fatal Error");
    return -1;
  }
  printDebugInfo("endChart - Start");
  int status = attachStyles();
  if (status == 0) {
    try {
      XDocument sending(serialize(), false, true);
      KytoVisualization& model = *sending.getExternalGraph()->getImplementation();
      if (chartKind_ == CX_CHART_ICICLE || chartKind_ == CX_CHART_ICICLE_VERTICAL) {
        customizeCharts(&model).customizeIciclePlots(chartKind_ == CX_CHART_ICICLE_VERTICAL,
                                                     dataProcessor_.GetRowCount("source0"));
      }
      annotateStatistics(model);
      sending.customizeSPCharts();
      straightenLoneAxis(model);
      sending.SetDescription(description_);
      sending.SetChartTemplate(chartTemplate_);
      sending.SetChartData(&dataProcessor_);
      if (!sending.SendChart(true, false, false)) {
        TsError(TsString("Chart XML Send Error", 1), 2, 3);
        status = -1;
      }
    } catch (const ChartException& e) {
      report(std::string("Fatal error while sending chart ( ") + e.what() + " )",
             chartxml::line::kSendChartException);
      status = -1;
    } catch (const VornGoToCaller&) {
      throw;
    } catch (...) {
      report("Fatal error while sending chart [ " + description_.toUTF8() + " ]",
             chartxml::line::kSendOtherException);
      status = -1;
    }
  }
  printDebugInfo("endChart - Final");
  return status;
}

int Chart::SetChartTemplate(const std::string& name) {
  if (name.empty()) return -1;
  chartTemplate_ = name;
  return 0;
}

int Chart::SetChartType(int kind) {
  if (kind != CX_CHART_ICICLE && kind != CX_CHART_ICICLE_VERTICAL) return -1;
  chartKind_ = kind;
  return 1;
}

int Chart::CreateChartDescription(int text) {
  if (!checkString(text, "description", __LINE__)) return -1;
  description_ = strings().getString(text);
  return description_.empty() ? -1 : 0;
}
