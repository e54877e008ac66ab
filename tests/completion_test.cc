// Charts from creation to the host's output: completion, the sent document,
// the sent data, and the charts that are not sent.
#include <filesystem>
#include <fstream>

#include <sstream>
#include <xercesc/dom/DOMNodeList.hpp>

#include "chartxml/codes.h"
#include "chartxml/host/ChartBase.h"
#include "test_support.h"
#include "whole_charts.h"

namespace {

using cxtest::debugLines;
using cxtest::messages;
namespace fs = std::filesystem;

std::string readFile(const fs::path& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Counts the lines of a text that end with a line feed.
std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

class CompletionTest : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    cxh_clear_sent();
    cxh_set_output_dir(nullptr);
    dir = cxtest::scratchDir("cx-completion");
    // 1,000 cases of x and y; every seventh y is missing.
    cxtest::writePointsCsv((dir / "points.csv").string());
    source = cxtest::openCsv((dir / "points.csv").c_str());
    ASSERT_NE(source, nullptr);
  }
  void TearDown() override {
    FacadeTest::TearDown();
    cxh_set_output_dir(nullptr);
    cxh_clear_sent();
    cxh_close(source);
  }

  // A scatter of y by x with a title, y's mean noted as its statistic, and
  // every case fed. Returns the chart.
  int buildScatter() {
    const int chart = newChart();
    cx->SetDataSource(chart, source);
    const int src = cx->AddSource(chart);
    const auto fed = cxtest::wholeChart("percentile scatter").build(*cx, chart, src);
    cxtest::feedRows(*cx, chart, src, *source, fed);
    EXPECT_EQ(cx->SetChartDescription(chart, "y by x"), 0);
    EXPECT_EQ(cx->SetChartTemplate(chart, "scatter.tpl"), 0);
    return chart;
  }

  fs::path dir;
  VORN_DataSource* source = nullptr;
};

TEST_F(CompletionTest, ScatterGoesFromCreationToTheOutput) {
  const fs::path out = dir / "out";
  cxh_set_output_dir(out.c_str());
  const int chart = buildScatter();
  cxh_clear_debug();
  EXPECT_EQ(cx->EndChart(chart), 0);
  EXPECT_EQ(debugLines(), (std::vector<std::string>{"endChart - Start", "endChart - Final"}));
  EXPECT_EQ(messages(), std::vector<std::string>{});
  EXPECT_EQ(cx->getChart(chart), nullptr);

  ASSERT_EQ(cxh_sent_count(), 1);
  const std::string xml = cxh_sent_xml(0);
  EXPECT_TRUE(ChartBase::ValidXML(xml));
  // The styles were appended last; the statistic moved into an extension.
  const auto container = xml.find("<style id=\"container\"");
  ASSERT_NE(container, std::string::npos);
  EXPECT_GT(container, xml.rfind("</frame>"));
  EXPECT_NE(xml.find("styleCycleRepository"), std::string::npos);
  EXPECT_NE(xml.find("statistic=\"percentile\""), std::string::npos);
  EXPECT_NE(xml.find("value=\"90\""), std::string::npos);
  EXPECT_EQ(xml.find("description=\"percentile;90\""), std::string::npos);
  EXPECT_EQ(std::string(cxh_sent_description(0)), "y by x");
  EXPECT_EQ(std::string(cxh_sent_template(0)), "scatter.tpl");

  // Sent into a folder, the data is in its file only.
  EXPECT_EQ(cxh_sent_data_csv(0, "source0"), nullptr);
  ASSERT_NE(cxh_sent_data_path(0, "source0"), nullptr);
  const std::string csv = readFile(cxh_sent_data_path(0, "source0"));
  EXPECT_EQ(lineCount(csv), 1001u);
  EXPECT_EQ(csv.rfind("V1,V2\n0,\n1,0.5\n2,1\n", 0), 0u) << csv.substr(0, 40);
  EXPECT_NE(csv.find("\n7,\n"), std::string::npos);  // a missing y is an empty field
  EXPECT_NE(csv.find("\n999,499.5\n"), std::string::npos);

  // The same, as files in the output folder.
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(out)) names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  ASSERT_EQ(names.size(), 2u);
  EXPECT_EQ(readFile(out / names[0]), csv);
  EXPECT_EQ(readFile(out / names[1]), xml);
  EXPECT_EQ(names[1].substr(names[1].size() - 4), ".xml");
  EXPECT_EQ(names[0].substr(names[0].size() - 12), ".source0.csv");
}

TEST_F(CompletionTest, ChartsThatAreNotSentAreReleasedAllTheSame) {
  cxh_set_bootstrapping(1);
  const int booting = buildScatter();
  EXPECT_EQ(cx->EndChart(booting), -1);
  cxh_set_bootstrapping(0);
  EXPECT_EQ(debugLines().back(), "endChart - Bootstrapping");

  const int failed = buildScatter();
  cx->SetFatalError(failed);
  EXPECT_EQ(cx->EndChart(failed), -1);
  EXPECT_EQ(debugLines().back(), "endChart - Fatal Error");

  EXPECT_EQ(cxh_sent_count(), 0);
  EXPECT_EQ(cx->getChart(booting), nullptr);
  EXPECT_EQ(cx->getChart(failed), nullptr);
}

TEST_F(CompletionTest, AFailedSendIsReported) {
  // An output folder below a plain file cannot be made.
  std::ofstream(dir / "plain") << "x";
  cxh_set_output_dir((dir / "plain" / "out").c_str());
  const int chart = buildScatter();
  cxh_clear_reports();
  EXPECT_EQ(cx->EndChart(chart), -1);
  const auto all = messages();
  EXPECT_NE(std::find(all.begin(), all.end(), "Chart XML Send Error"), all.end());
  EXPECT_EQ(cx->getChart(chart), nullptr);
}

TEST_F(CompletionTest, WhatIsSentIsCheckedWhenSet) {
  const int chart = newChart();
  EXPECT_EQ(cx->SetChartTemplate(chart, ""), -1);
  EXPECT_EQ(cx->SetChartType(chart, 0), -1);
  EXPECT_EQ(cx->SetChartType(chart, CX_CHART_ICICLE_VERTICAL + 1), -1);
  EXPECT_EQ(cx->SetChartType(chart, CX_CHART_ICICLE_VERTICAL), 1);
  EXPECT_EQ(cx->CreateChartDescription(chart, str("")), -1);
  EXPECT_EQ(cx->CreateChartDescription(chart, 99999), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"description handle out of range"});
}

TEST_F(CompletionTest, IciclePlotsAreCustomisedByKind) {
  const int chart = newChart();
  const int frame = cx->AddFrame(chart, 0, -1);
  cx->AddElement(chart, frame, CX_WORD_INTERVAL, -1);
  // The model's graphs are frames with dimensions.
  xercesc::DOMElement* dimension = cx->getChart(chart)->createElement(u"dimension");
  dimension->setAttribute(u"role", u"x");
  cx->getChart(chart)->getElementById(u"frame1")->appendChild(dimension);
  EXPECT_EQ(cx->SetChartType(chart, CX_CHART_ICICLE_VERTICAL), 1);
  EXPECT_EQ(cx->EndChart(chart), 0);
  ASSERT_EQ(cxh_sent_count(), 1);
  EXPECT_NE(std::string(cxh_sent_xml(0)).find("icicle-vertical"), std::string::npos);
}

// Statistic notes become extensions; a labeling description stays; a lone
// same-ratio pair of dimensions gets unrotated tick labels.
TEST_F(CompletionTest, ModelAdjustmentsBeforeSending) {
  const int chart = newChart();
  cx->SetDataSource(chart, source);
  const int src = cx->AddSource(chart);
  const int inside = cx->AddVariable(chart, src, 0, false);
  const int mean = cx->AddVariable(chart, src, 1, false);
  const int labels = cx->AddLabelingVariable(chart, src, 1, true);
  cx->SetSummaryFunction(chart, inside, CX_SUMMARY_PERCENTAGE_INSIDE, 1.0, 9.0);
  cx->SetSummaryFunction(chart, mean, CX_SUMMARY_MEAN_OF_VALUES, 0.0, 0.0);
  xercesc::DOMDocument* doc = cx->getChart(chart);
  const int graph = cx->AddFrame(chart, 0, -1);
  auto* owner = cx->getChart(chart)->getElementsByTagName(u"frame")->item(0);
  for (const char16_t* role : {u"x", u"y"}) {
    xercesc::DOMElement* dimension = doc->createElement(u"dimension");
    dimension->setAttribute(u"role", role);
    dimension->setAttribute(u"sameRatio", u"trueCentered");
    owner->appendChild(dimension);
  }
  xercesc::DOMElement* axis = doc->createElement(u"axis");
  axis->setAttribute(u"id", u"axis_by_hand");
  static_cast<xercesc::DOMElement*>(owner->getFirstChild())->appendChild(axis);
  ASSERT_GT(graph, 0);
  ASSERT_GT(labels, 0);
  EXPECT_EQ(cx->EndChart(chart), 0);
  ASSERT_EQ(cxh_sent_count(), 1);
  const std::string xml = cxh_sent_xml(0);
  EXPECT_NE(xml.find(R"(<extension max="9" min="1" statistic="percentageInside"/>)"),
            std::string::npos);
  EXPECT_NE(xml.find(R"(<extension statistic="meanOfValues"/>)"), std::string::npos);
  EXPECT_NE(xml.find(R"(description="labeling")"), std::string::npos);
  EXPECT_NE(xml.find(R"(<majorTicks labelAngle="0"/>)"), std::string::npos);
}

TEST_F(CompletionTest, ValidXmlNeedsChartZero) {
  EXPECT_FALSE(cx->ValidXML("<a/>"));
  const int first = newChart();
  newChart();
  EXPECT_TRUE(cx->ValidXML("<a/>"));
  EXPECT_FALSE(cx->ValidXML("<a>"));
  cx->KillChart(first);
  EXPECT_FALSE(cx->ValidXML("<a/>"));  // chart 1 exists, chart 0 does not
}

}  // namespace
