// A first chart through the ChartXml facade: a frame with a title label,
// printed as the document the library builds.
#include <cstdio>
#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"

int main() {
  ChartXml* cx = ChartXml::Initialize();
  const int chart = cx->CreateChart();
  if (chart < 0) {
    std::fprintf(stderr, "chartxml_demo: no chart could be made\n");
    return 1;
  }
  constexpr int kTitleCode = 17;  // vocabulary code of "title"
  const int graph = cx->AddFrame(chart, 0, cx->NStringNoTranslate("graph_1"));
  const int data = cx->AddFrame(chart, graph, cx->NStringNoTranslate("data_1"));
  const int title = cx->StyleString(kTitleCode, 1);
  const int label = cx->AddLabel(chart, graph, title, cx->NString("Sepal length\\nby species"));
  if (graph < 0 || data < 0 || label < 0) {
    std::fprintf(stderr, "chartxml_demo: building the chart failed (%d reports)\n",
                 cxh_report_count());
    return 1;
  }
  const std::string xml = cx->GetXmlBuffer(chart);
  std::fwrite(xml.data(), 1, xml.size(), stdout);
  const int status = cx->EndChart(chart);
  ChartXml::Terminate();
  return status == 0 ? 0 : 1;
}
