// Every whole chart the library's suites build, fed its data, ended and
// drawn from what the host was sent: nothing may be left out but the gaps
// listed below, each with the reason it is not drawn yet.
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/render.h"
#include "test_support.h"
#include "whole_charts.h"

namespace {

struct Gap {
  std::vector<std::string> skipped;  // what the renderer says it leaves out, in order
  bool drawsMarks = true;            // whether any mark is drawn at all
  std::string reason;
};

// The one place where what cannot be drawn yet is said. A chart not listed
// must be drawn whole.
const std::map<std::string, Gap>& knownGaps() {
  static const std::map<std::string, Gap> kGaps = {
      {"scatter-plot matrix",
       {{"element element5 without an x variable"},
        false,
        "the skeleton's element has no positions: its blends of variables stand only as the "
        "dimensions' domains, which the matrix's panels do not read"}},
  };
  return kGaps;
}

std::vector<std::string> chartNames() {
  std::vector<std::string> names;
  for (const cxtest::WholeChart& chart : cxtest::wholeCharts()) names.push_back(chart.name);
  return names;
}

class RenderWholeCharts : public cxtest::FacadeTest,
                          public ::testing::WithParamInterface<std::string> {};

TEST_P(RenderWholeCharts, AreDrawnWithNothingLeftOutButTheirKnownGaps) {
  const cxtest::WholeChart& whole = cxtest::wholeChart(GetParam());
  cxh_clear_sent();
  const int ended =
      cxtest::sendWholeChart(*cx, newChart(), whole, cxtest::scratchDir("render-whole"));
  ASSERT_EQ(ended, 0) << ::testing::PrintToString(cxtest::messages());
  ASSERT_EQ(cxh_sent_count(), 1);
  const std::string xml = cxh_sent_xml(0);
  const std::string csv = cxh_sent_data_csv(0, "source0");
  cxh_clear_sent();

  chartxml::ChartRenderer renderer;
  ASSERT_TRUE(renderer.loadText(xml, whole.name, [&](const std::string& id) {
    return id == "source0" ? std::optional<std::string>(csv) : std::nullopt;
  })) << renderer.error();
  const auto gap = knownGaps().find(whole.name);
  const Gap none;
  const Gap& expected = gap == knownGaps().end() ? none : gap->second;
  EXPECT_EQ(renderer.skipped(), expected.skipped) << xml;
  const auto svg = renderer.picture(chartxml::PictureFormat::kSvg);
  ASSERT_TRUE(svg) << renderer.error();
  EXPECT_EQ(svg->find("class=\"mark ") != std::string::npos, expected.drawsMarks);
  EXPECT_TRUE(renderer.picture(chartxml::PictureFormat::kPng)) << renderer.error();
}

class RenderSentToFolder : public cxtest::FacadeTest {
 protected:
  void TearDown() override {
    cxh_set_output_dir(nullptr);
    cxh_clear_sent();
    FacadeTest::TearDown();
  }
};

// Sent into an output folder, a chart keeps no data in memory: the renderer
// reads the file the host wrote, and says so when it is gone.
TEST_F(RenderSentToFolder, ChartIsDrawnFromItsDataFileAndRefusedWithoutIt) {
  const std::string scratch = cxtest::scratchDir("render-sent");
  const std::filesystem::path out = std::filesystem::path(scratch) / "out";
  cxh_clear_sent();
  cxh_set_output_dir(out.c_str());
  const cxtest::WholeChart& whole = cxtest::wholeChart("coloured mean scatter");
  ASSERT_EQ(cxtest::sendWholeChart(*cx, newChart(), whole, scratch), 0);
  ASSERT_EQ(cxh_sent_count(), 1);
  ASSERT_EQ(cxh_sent_data_csv(0, "source0"), nullptr);
  ASSERT_NE(cxh_sent_data_path(0, "source0"), nullptr);
  const std::string file = cxh_sent_data_path(0, "source0");

  chartxml::ChartRenderer fromFile;
  ASSERT_TRUE(fromFile.loadFile((out / "chart-0001.xml").string())) << fromFile.error();
  chartxml::ChartRenderer sent;
  ASSERT_TRUE(sent.loadSent(0)) << sent.error();
  const auto svg = sent.picture(chartxml::PictureFormat::kSvg);
  ASSERT_TRUE(svg) << sent.error();
  EXPECT_NE(svg->find("class=\"mark "), std::string::npos);
  EXPECT_EQ(svg, fromFile.picture(chartxml::PictureFormat::kSvg));

  std::filesystem::remove(file);
  EXPECT_FALSE(sent.loadSent(0));
  EXPECT_NE(sent.error().find("not found"), std::string::npos) << sent.error();
}

INSTANTIATE_TEST_SUITE_P(LibraryCharts, RenderWholeCharts, ::testing::ValuesIn(chartNames()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                           std::string name;
                           for (const char c : info.param) name += std::isalnum(c) ? c : '_';
                           return name;
                         });

}  // namespace
