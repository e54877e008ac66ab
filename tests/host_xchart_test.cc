// The sending library: safe parsing of the chart template, the model view,
// the chart-kind adjustments and what sending leaves in memory and on disk.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <xercesc/dom/DOM.hpp>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/ChartBase.h"
#include "chartxml/host/ChartException.h"
#include "chartxml/host/ChartPrinter.h"
#include "chartxml/host/VarDataProcessor.h"
#include "chartxml/host/XDocument.h"
#include "host_test_support.h"

using namespace xercesc;
namespace fs = std::filesystem;

namespace {

const auto* const kXmlPlatform = ::testing::AddGlobalTestEnvironment(new hosttest::XmlPlatform);

using hosttest::readFile;
using hosttest::startsWith;

std::string repeat(const std::string& text, int times) {
  std::string out;
  for (int i = 0; i < times; ++i) out += text;
  return out;
}

std::string nested(int depth, const std::string& inner = "") {
  return repeat("<frame>", depth) + inner + repeat("</frame>", depth);
}

std::string attr(const DOMNode* element, const char16_t* name) {
  return ChartString::toUTF8(static_cast<const DOMElement*>(element)->getAttribute(name));
}

std::string print(const XDocument& doc) {
  ChartPrinter printer;
  printer.setPrintWhiteSpace(true);
  std::ostringstream out;
  printer.Print(doc.document(), out);
  return out.str();
}

// The ids of the graphs' frames, joined by '|'.
std::string graphIds(const std::vector<KytoGraph*>& graphs) {
  std::string out;
  for (const KytoGraph* graph : graphs)
    out += (out.empty() ? "" : "|") + attr(graph->element(), u"id");
  return out;
}

// The element whose id is `id`: parsed ids are not declared as ids, so the
// document's own lookup cannot be used.
DOMElement* byId(const XDocument& doc, const char16_t* id) {
  DOMNodeList* all = doc.document()->getElementsByTagName(u"*");
  for (XMLSize_t i = 0; i < all->getLength(); ++i) {
    auto* element = static_cast<DOMElement*>(all->item(i));
    if (XMLString::equals(element->getAttribute(u"id"), id)) return element;
  }
  return nullptr;
}

// Attribute `name` of each element named by id, joined by '|': "-" when the
// element lacks it, "?" when there is no such element.
std::string attrs(const XDocument& doc, const char16_t* name,
                  std::initializer_list<const char16_t*> ids) {
  std::string out;
  for (const char16_t* id : ids) {
    const DOMElement* element = byId(doc, id);
    out += "|" + (!element ? "?" : element->hasAttribute(name) ? attr(element, name) : "-");
  }
  return out.substr(1);
}

// What the constructor throws, or "" when it parses.
std::string parseFailure(const std::string& text) {
  try {
    XDocument doc(text, false, true);
  } catch (const ChartException& e) {
    EXPECT_EQ(e.file(), "host/xchart");
    return e.message();
  }
  return "";
}

std::set<std::string> listing(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

// "chart-NNNN" for the newest chart file in `folder` (0 when none) plus
// `ahead`. The names sort by number: tests send far fewer than 9999 charts.
std::string chartStem(const fs::path& folder, int ahead = 0) {
  int number = 0;
  for (const std::string& name : listing(folder)) {
    if (name.ends_with(".xml")) number = std::stoi(name.substr(6));
  }
  char text[32];
  std::snprintf(text, sizeof text, "chart-%04d", number + ahead);
  return text;
}

class XChart : public hosttest::QuietReports {
 protected:
  void SetUp() override {
    QuietReports::SetUp();
    cxh_clear_sent();
  }
  void TearDown() override {
    cxh_set_output_dir(nullptr);
    QuietReports::TearDown();
  }
  hosttest::TempFolder folder_{"cxh-xchart"};
  const fs::path& temp_ = folder_.path();
};

TEST_F(XChart, ParseRefusesUnsafeMalformedAndTooDeepTextWithoutReporting) {
  std::string bomb = "<!DOCTYPE v [<!ENTITY a0 \"lol\">";
  for (int i = 1; i < 10; ++i) {
    bomb += "<!ENTITY a" + std::to_string(i) + " \"" +
            repeat("&a" + std::to_string(i - 1) + ";", 10) + "\">";
  }
  for (const std::string& text :
       {bomb + "]><visualization>&a9;</visualization>",
        std::string("<!DOCTYPE v [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><v>&e;</v>"),
        std::string("<!DOCTYPE v SYSTEM \"http://example.invalid/v.dtd\"><v/>"),
        std::string("<!DOCTYPE v><v/>")}) {
    EXPECT_EQ(parseFailure(text), "DOCTYPE is not allowed in a chart document") << text;
  }
  EXPECT_PRED2(startsWith, parseFailure(nested(100000)),
               "chart template nests elements deeper than 512 levels at line 1, column ");

  EXPECT_PRED2(startsWith, parseFailure("<visualization>\n  <frame></element>\n</visualization>"),
               "XML is not well-formed at line 2, column ");
  EXPECT_NE(parseFailure(""), "");
  EXPECT_EQ(parseFailure("<?xml version=\"1.5\"?><visualization/>"),
            "XML version \"1.5\" is not supported: a chart document is XML 1.0 or 1.1");
  EXPECT_NE(parseFailure("<visualization>&undefined;</visualization>"), "");
  EXPECT_EQ(parseFailure(nested(512)), "");
  EXPECT_NE(parseFailure(nested(513)), "");
  // Empty elements are levels that close at once: many of them leave the
  // count where it was, and width is never bounded.
  EXPECT_NE(parseFailure(nested(1, repeat("<label/>", 600) + nested(512))), "");
  EXPECT_EQ(parseFailure("<visualization>" + repeat("<frame><label/></frame><variable/>", 5000) +
                         "</visualization>"),
            "");
  // The caller reports what it catches; the parser must not report twice.
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(XChart, FlagsDropIndentationAndReportUnknownElementsOnce) {
  const std::string text =
      "<visualization>\n  <frame>\n    <widget/><widget/>\n    <label>  </label>\n  </frame>\n"
      "  <gadget/>\n</visualization>";
  XDocument kept(text, false, true);
  EXPECT_EQ(kept.document()->getDocumentElement()->getChildNodes()->getLength(), 5u);
  EXPECT_EQ(cxh_report_count(), 0);

  XDocument checked(text, true, false);
  const DOMElement* root = checked.document()->getDocumentElement();
  EXPECT_EQ(root->getChildNodes()->getLength(), 2u);
  EXPECT_FALSE(root->getFirstElementChild()->getLastElementChild()->hasChildNodes());  // label
  ASSERT_EQ(cxh_report_count(), 2);
  EXPECT_STREQ(cxh_report_message(0), "unknown chart element widget");
  EXPECT_STREQ(cxh_report_message(1), "unknown chart element gadget");
  EXPECT_STREQ(cxh_report_source(0), "host/xchart");
}

constexpr const char* kModelDocument = R"(<?xml version="1.0" encoding="UTF-8"?>
<visualization><source id="source0"/>
  <variable id="variable1" sourceName="V1"><meta creator="external_datasource" description="mean;4.5"/></variable>
  <variable id="variable2" value="3"><meta description="sum;1"/></variable>
  <variable id="variable3" sourceName="V3"><meta description="labeling"/><relabel from="1" to="a"/></variable>
  <frame id="frame4"><frame id="frame5">
    <dimension role="x" sameRatio="trueCentered"><axis id="axis6"><minorTicks/></axis></dimension>
    <dimension role="y"><axis id="axis7"/><axis id="axis8"/></dimension>
  </frame></frame>
  <frame id="frame9"><dimension role="x" sameRatio="false"/></frame>
</visualization>)";

TEST_F(XChart, ModelViewReadsAndWritesTheDocument) {
  XDocument doc(kModelDocument, false, true);
  KytoVisualization* model = doc.getExternalGraph()->getImplementation();

  // Graphs: only frames with dimensions, nested ones included, in order.
  std::vector<KytoGraph*> graphs = model->getGraphs();
  ASSERT_EQ(graphIds(graphs), "frame5|frame9");
  ASSERT_EQ(graphs[0]->getCoordinates().size(), 1u);
  KytoCoordinates* coordinates = graphs[0]->getCoordinates()[0];
  EXPECT_EQ(coordinates->getSameRatioTransformCount(), 1);
  EXPECT_EQ(graphs[1]->getCoordinates()[0]->getSameRatioTransformCount(), 0);
  ASSERT_EQ(coordinates->getDimensions().size(), 2u);
  ASSERT_EQ(coordinates->getDimensions()[0]->getAxes().size(), 1u);
  EXPECT_EQ(coordinates->getDimensions()[1]->getAxes().size(), 2u);

  // Major ticks are made ahead of the minor ticks, once.
  KytoAxis* axis = coordinates->getDimensions()[0]->getAxes()[0];
  KytoMajorTicks* ticks = axis->getMajorTicks();
  EXPECT_EQ(axis->getMajorTicks(), ticks);
  ticks->setLabelAngle(0.0);

  // Source variables: those reading a column, in order.
  std::vector<CTVariableType*> variables = model->getSourceVariables();
  ASSERT_EQ(variables.size(), 2u);
  EXPECT_EQ(variables[0]->getDescription(), u"mean;4.5");
  EXPECT_EQ(variables[1]->getDescription(), u"labeling");
  variables[0]->removeDescription();

  EXPECT_EQ(variables[0]->getExtension(), nullptr);
  KytoExtension* extension = variables[0]->addExtension();
  EXPECT_EQ(variables[0]->addExtension(), extension);
  extension->setAttribute(u"statistic", ChartString(u"mean"));
  extension->setValue(4.5);
  extension->setMin(0.1);
  extension->setMax(1e20);

  const std::string text = print(doc);
  for (const char* part :
       {"<variable id=\"variable1\" sourceName=\"V1\">\n"
        "    <meta creator=\"external_datasource\"/>\n    <extension max=\"1e+20\" "
        "min=\"0.1\" statistic=\"mean\" value=\"4.5\"/>\n  </variable>",
        "<axis id=\"axis6\">\n          <majorTicks labelAngle=\"0\"/>\n"
        "          <minorTicks/>\n        </axis>"}) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
  }
  // No control-chart limits: nothing to change.
  doc.customizeSPCharts();
  EXPECT_EQ(print(doc), text);
}

TEST_F(XChart, GraphsAreFoundInDocumentOrderAtAnyDepth) {
  XDocument doc(R"(<visualization>
    <frame id="a"><dimension/><frame id="b"><x><frame id="c"><dimension/></frame></x></frame></frame>
    <variable/>
    <frame id="d"><frame id="e"><frame id="f"><dimension/></frame></frame><dimension/></frame>
    <frame id="g"><label/></frame><frame id="h"><dimension/></frame>
  </visualization>)",
                false, true);
  EXPECT_EQ(graphIds(doc.getExternalGraph()->getImplementation()->getGraphs()), "a|c|d|f|h");

  // A chain far deeper than any chart, walked without recursion.
  constexpr int kLevels = 20000;
  DOMDocument* deep = ChartBase::createDocument(ChartBase::_utf8);
  DOMElement* innermost = deep->createElement(u"frame");
  innermost->appendChild(deep->createElement(u"dimension"));
  DOMElement* chain = innermost;
  for (int i = 1; i < kLevels; ++i) {  // from the bottom up: each append stays short
    DOMElement* frame = deep->createElement(u"frame");
    frame->appendChild(deep->createElement(u"dimension"));
    frame->appendChild(chain);
    chain = frame;
  }
  deep->getDocumentElement()->appendChild(chain);
  {
    KytoVisualization model(deep->getDocumentElement());
    const std::vector<KytoGraph*> graphs = model.getGraphs();
    ASSERT_EQ(graphs.size(), static_cast<std::size_t>(kLevels));
    EXPECT_EQ(graphs.front()->element(), chain);
    EXPECT_EQ(graphs.back()->element(), innermost);
  }
  ChartBase::releaseDocument(deep);
}

constexpr const char* kKindsDocument = R"(<visualization>
  <frame id="frame1" style="_default_style">
    <dimension role="x"/>
    <element id="element2" type="interval"><labeling id="label2" variable="v"/></element>
    <element id="element3" type="point"><labeling id="label3" variable="v"/></element>
    <elementGroup id="elementGroup4"><element id="element5" type="interval"/></elementGroup>
    <guide id="guide_controlchart_UCL" type="line" style="guide_controlchart_UCL_default_style"/>
    <guide id="guide_controlchart_LCL" type="line" style="_default_style"/>
    <guide id="guide_controlchart_USpec" type="line" style="nowhere"/>
    <guide id="guide_controlchart_Average" type="line" style="guide_controlchart_Average_default_style"/>
  </frame>
  <frame id="frame6"><element id="element7" type="interval"><labeling id="label7" variable="v"/></element></frame>
  <style id="container">
    <style id="_default_style" value="stroke:#000000"/>
    <style id="guide_controlchart_UCL_default_style" value="stroke-width:2px"/>
    <style id="guide_controlchart_Average_default_style"/>
  </style>
</visualization>)";

TEST_F(XChart, IciclePlotsAndControlChartLimitsAreCustomised) {
  XDocument doc(kKindsDocument, false, true);
  // Icicle plots mark the intervals of graphs (frame6 has no dimensions: not
  // a graph) and hide their labels when dense.
  KytoVisualization* model = doc.getExternalGraph()->getImplementation();
  const auto elements = {u"element2", u"element3", u"element5", u"element7"};
  const auto labels = {u"label2", u"label3", u"label7"};
  customizeCharts(model).customizeIciclePlots(false, 50);
  EXPECT_EQ(attrs(doc, u"layout", elements), "icicle|-|icicle|-");
  EXPECT_EQ(attrs(doc, u"visible", labels), "-|-|-");
  customizeCharts(model).customizeIciclePlots(true, 51);
  EXPECT_EQ(attrs(doc, u"layout", elements), "icicle-vertical|-|icicle-vertical|-");
  EXPECT_EQ(attrs(doc, u"visible", labels), "false|-|-");

  // Control-chart limits are dashed. A style shared with the frame is left
  // alone and copied for the guide, a missing one is made, both beside the
  // other styles; the centre line is data-like and stays solid.
  doc.customizeSPCharts();
  EXPECT_EQ(attr(byId(doc, u"guide_controlchart_LCL"), u"style"),
            "guide_controlchart_LCL_limitStyle");
  EXPECT_EQ(attrs(doc, u"value",
                  {u"guide_controlchart_UCL_default_style", u"_default_style",
                   u"guide_controlchart_LCL_limitStyle", u"guide_controlchart_USpec_limitStyle",
                   u"guide_controlchart_Average_default_style"}),
            "stroke-width:2px;stroke-dasharray:5px 3px|stroke:#000000|"
            "stroke:#000000;stroke-dasharray:5px 3px|stroke-dasharray:5px 3px|-");
  for (const char16_t* id :
       {u"guide_controlchart_LCL_limitStyle", u"guide_controlchart_USpec_limitStyle"}) {
    ASSERT_NE(byId(doc, id), nullptr);
    EXPECT_EQ(attr(byId(doc, id)->getParentNode(), u"id"), "container");
  }
  const std::string once = print(doc);
  doc.customizeSPCharts();
  EXPECT_EQ(print(doc), once);
}

// A feed with source0 (a quoted text and a missing cell) and, for each extra
// name, a source of one number.
struct Feed {
  VarDataProcessor data;
  explicit Feed(const std::vector<std::string>& extraSources = {}) {
    data.AddDataSource("source0", 4);
    auto* number = new VarDataProcessor::_varinfo;
    auto* label = new VarDataProcessor::_varinfo;
    data.AddVariable("source0", "V1", number);
    data.AddVariable("source0", "V2", label);
    data.SetVariableValue(number, 0, 1.5);
    data.SetStringVariableValue(label, 0, "a,\"b\"");
    data.SetStringVariableValue(label, 1, "c");
    for (const std::string& name : extraSources) {
      data.AddDataSource(name, 1);
      auto* value = new VarDataProcessor::_varinfo;
      data.AddVariable(name, "V9", value);
      data.SetVariableValue(value, 0, 2);
    }
  }
};
constexpr const char* kSource0Csv = "V1,V2\n1.5,\"a,\"\"b\"\"\"\n,c\n";

bool send(Feed& feed, const std::string& description = "Sales \xC3\xBC") {
  XDocument doc(kModelDocument, false, true);
  doc.SetDescription(ChartString(ChartString::fromUTF8(description)));
  doc.SetChartTemplate("bar.tpl");
  doc.SetChartData(&feed.data);
  return doc.SendChart(true, false, false);
}

TEST_F(XChart, SendingKeepsChartsAndWritesTheirFilesUnderSafeNames) {
  Feed feed({"source1"});
  ASSERT_TRUE(send(feed));
  ASSERT_EQ(cxh_sent_count(), 1);
  EXPECT_STREQ(cxh_sent_xml(0), print(XDocument(kModelDocument, false, true)).c_str());
  EXPECT_EQ(std::string(cxh_sent_description(0)) + "|" + cxh_sent_template(0),
            "Sales \xC3\xBC|bar.tpl");
  EXPECT_STREQ(cxh_sent_data_csv(0, "source0"), kSource0Csv);
  EXPECT_STREQ(cxh_sent_data_csv(0, "source1"), "V9\n2\n");
  EXPECT_TRUE(cxh_sent_data_csv(0, "source2") == nullptr && cxh_sent_xml(1) == nullptr);

  fs::create_directory(temp_ / "a");
  const fs::path out = temp_ / "a" / "out";  // made by the next send
  cxh_set_output_dir(out.c_str());
  ASSERT_TRUE(send(feed, "second"));
  ASSERT_EQ(cxh_sent_count(), 2);
  EXPECT_STREQ(cxh_sent_description(1), "second");
  const std::string first = chartStem(out);
  std::set<std::string> files{first + ".source0.csv", first + ".source1.csv", first + ".xml"};
  EXPECT_EQ(listing(out), files);
  EXPECT_EQ(readFile(out / (first + ".xml")), cxh_sent_xml(1));
  EXPECT_EQ(readFile(out / (first + ".source0.csv")), kSource0Csv);
  EXPECT_EQ(readFile(out / (first + ".source1.csv")), "V9\n2\n");

  // Clearing starts numbering again, but into a folder it goes on after the
  // charts already there, so files are never overwritten; source names are
  // cleaned up so that no file lands outside the folder.
  cxh_clear_sent();
  EXPECT_EQ(cxh_sent_count(), 0);
  const std::string next = chartStem(out, 1);
  Feed escaping({"../../escape", "/tmp/sub/dir", "sub_dir", "\xC3\xBC", ""});
  ASSERT_TRUE(send(escaping));
  files.insert(next + ".xml");
  for (const char* part : {"source0", "______escape", "_tmp_sub_dir", "sub_dir", "__", "_"}) {
    files.insert(next + "." + part + ".csv");
  }
  EXPECT_EQ(listing(out), files);
  EXPECT_EQ(listing(temp_), std::set<std::string>{"a"});
  EXPECT_EQ(listing(temp_ / "a"), std::set<std::string>{"out"});

  // Distinct sources that clean up alike keep distinct files.
  Feed alike({"a/b", "a_b", "a?b"});
  ASSERT_TRUE(send(alike));
  const std::string last = chartStem(out);
  for (const char* part : {".a_b.csv", ".a_b-2.csv", ".a_b-3.csv"}) {
    EXPECT_TRUE(fs::exists(out / (last + part))) << last + part;
  }
  EXPECT_EQ(cxh_report_count(), 0);
}

TEST_F(XChart, UnwritableOutputMakesSendingFailWithAReport) {
  std::ofstream(temp_ / "file") << "x";
  Feed feed;
  for (const fs::path& bad : {temp_ / "file" / "out", temp_ / "missing" / "out"}) {
    cxh_clear_reports();
    cxh_set_output_dir(bad.c_str());
    EXPECT_FALSE(send(feed)) << bad;
    ASSERT_EQ(cxh_report_count(), 1);
    EXPECT_PRED2(startsWith, cxh_report_message(0), "cannot use output folder " + bad.string());
    EXPECT_STREQ(cxh_report_source(0), "host/xchart");
  }
  EXPECT_FALSE(fs::exists(temp_ / "missing"));
  EXPECT_EQ(cxh_sent_count(), 2);  // kept in memory all the same

  // A link planted under the next chart's name is never written through: the
  // chart takes the number after it.
  const fs::path out = temp_ / "out";
  cxh_set_output_dir(out.c_str());
  ASSERT_TRUE(send(feed));
  const std::string planted = chartStem(out, 1);
  fs::create_symlink(temp_ / "file", out / (planted + ".xml"));
  cxh_clear_reports();
  EXPECT_TRUE(send(feed));
  EXPECT_EQ(readFile(temp_ / "file"), "x");
  EXPECT_EQ(cxh_report_count(), 0);
  EXPECT_TRUE(fs::is_symlink(out / (planted + ".xml")));
  EXPECT_TRUE(fs::is_regular_file(out / (chartStem(out, 0) + ".xml"))) << chartStem(out, 0);
}

}  // namespace
