// The facade's instance and chart registry: handle numbering, resolution
// messages, removal and the release of shared state.
#include "test_support.h"

namespace {

using cxtest::FacadeTest;
using cxtest::messages;
using cxtest::reports;

using RegistryTest = FacadeTest;

TEST_F(RegistryTest, BadHandlesAreReportedAndHarmless) {
  EXPECT_EQ(cx->AddFrame(-1, 0, -1), -1);
  EXPECT_EQ(cx->AddFrame(0, 0, -1), -1);  // equal to the next handle: in range, not found
  EXPECT_EQ(cx->AddFrame(5, 0, -1), -1);
  EXPECT_EQ(cx->EndChart(3), -1);
  EXPECT_EQ(cx->GetXmlBuffer(0), "");
  EXPECT_EQ(cx->getChart(0), nullptr);
  EXPECT_EQ(cx->KillChart(7), 0);  // quiet
  EXPECT_EQ(messages(), (std::vector<std::string>{
                            "chart handle (-1) out of range (0-0)",
                            "chart with this handle not found 0",
                            "chart handle (5) out of range (0-0)",
                            "chart handle (3) out of range (0-0)",
                            "chart with this handle not found 0",
                            "chart with this handle not found 0",
                        }));
  const auto all = reports();
  EXPECT_EQ(all[0].source, "backend/chartxml/src/chartxml");
  EXPECT_EQ(all[3].line, 267);  // EndChart
  EXPECT_EQ(all[4].line, 360);  // GetXmlBuffer
}

TEST_F(RegistryTest, HandlesAreNotReusedUntilKillCharts) {
  EXPECT_EQ(newChart(), 0);
  EXPECT_EQ(newChart(), 1);
  EXPECT_EQ(cx->EndChart(0), 0);
  EXPECT_EQ(cx->KillChart(1), 0);
  EXPECT_EQ(newChart(), 2);
  // A removed chart no longer resolves.
  cxh_clear_reports();
  EXPECT_EQ(cx->AddFrame(0, 0, -1), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"chart with this handle not found 0"});

  EXPECT_EQ(cx->KillCharts(), 0);
  EXPECT_EQ(cx->getChart(2), nullptr);
  EXPECT_EQ(newChart(), 0);
}

TEST_F(RegistryTest, RegistryGrowsPastItsInitialBuckets) {
  // 66 charts fill the first table; the rest force growth to 179 and 359 buckets.
  for (int i = 0; i < 300; ++i) ASSERT_EQ(newChart(), i);
  for (int i = 0; i < 300; i += 3) cx->KillChart(i);
  for (int i = 0; i < 300; ++i) EXPECT_EQ(cx->getChart(i) != nullptr, i % 3 != 0) << i;
}

TEST_F(RegistryTest, WarningShownOncePerProcedure) {
  EXPECT_FALSE(cx->warningShownAlready());
  EXPECT_TRUE(cx->warningShownAlready());
  cx->SetProcedure(-1, "FREQUENCIES");
  EXPECT_FALSE(cx->warningShownAlready());
  cx->SetProcedure(-1, "FREQUENCIES");  // the same name does not reset it
  EXPECT_TRUE(cx->warningShownAlready());
  cx->SetProcedure(-1, "CROSSTABS");
  EXPECT_FALSE(cx->warningShownAlready());
}

TEST_F(RegistryTest, SetProcedureOnUnknownChartStillSelectsTables) {
  EXPECT_EQ(cx->SetProcedure(4, "REGRESSION"), "");
  EXPECT_EQ(messages(), std::vector<std::string>{"chart handle (4) out of range (0-0)"});
  EXPECT_EQ(reports()[0].line, 247);
}

TEST_F(RegistryTest, StringsSurviveTheLastChartOnlyWhenInitialized) {
  const int chart = newChart();
  const int kept = str("kept");
  EXPECT_EQ(cx->EndChart(chart), 0);
  EXPECT_EQ(cx->getUTF8String(kept), "kept");

  // An instance made by GetInstance alone releases its strings with the last
  // chart: the next caller string is 157 again.
  ChartXml::Terminate();
  cx = ChartXml::GetInstance();
  EXPECT_FALSE(ChartXml::_initialized);
  const int first = newChart();
  const int second = newChart();
  EXPECT_EQ(str("a"), 157);
  EXPECT_EQ(str("b"), 158);
  cx->KillChart(first);
  EXPECT_EQ(str("c"), 159);  // one chart still open
  cx->EndChart(second);
  EXPECT_EQ(str("d"), 157);
}

TEST_F(RegistryTest, TerminateEndsTheInstance) {
  newChart();
  EXPECT_EQ(ChartXml::Terminate(), nullptr);
  EXPECT_EQ(ChartXml::_instance, nullptr);
  EXPECT_FALSE(ChartXml::_initialized);
  EXPECT_EQ(ChartXml::Terminate(), nullptr);  // twice is harmless
  cx = ChartXml::Initialize();
  EXPECT_EQ(newChart(), 0);
}

}  // namespace
