// The per-case data path through the facade: rows, values landing in their
// cells, the kinds of value stored, and the charts it discards.
#include <map>
#include <string>
#include <vector>

#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/VarDataProcessor.h"
#include "test_support.h"

namespace {

using cxtest::messages;
using Kind = VarDataProcessor::CellKind;

class DataFeedTest : public cxtest::SourcedChartTest {
 protected:
  void SetUp() override {
    SourcedChartTest::SetUp();
    src = sourceElement;
    income = cx->AddVariable(chart, src, 2, false);  // sourceName V1
    city = cx->AddVariable(chart, src, 3, true);     // sourceName V2
  }
  VarDataProcessor& feed() { return *cx->getDataProcessor(chart); }

  int src = -1, income = -1, city = -1;
};

TEST_F(DataFeedTest, ValuesLandInTheirRowsAndKinds) {
  EXPECT_EQ(cx->AddRow(chart, src), 1);
  EXPECT_EQ(cx->AddDoubleDataValue(chart, src, income, 35000.5), 0);
  EXPECT_EQ(cx->AddDataValue(chart, src, city, str("Paris")), 0);
  EXPECT_EQ(cx->AddRow(chart, src), 2);
  EXPECT_EQ(cx->AddDataValue(chart, src, income, str(" 12.5 ")), 0);  // reads as a number
  EXPECT_EQ(cx->AddRow(chart, src), 3);
  EXPECT_EQ(cx->AddDataValue(chart, src, city, str("Rome, IT")), 0);

  EXPECT_EQ(feed().GetRowCount("source0"), 3u);
  EXPECT_EQ(feed().Number("source0", "V1", 0), 35000.5);
  EXPECT_EQ(feed().Number("source0", "V1", 1), 12.5);
  EXPECT_EQ(feed().Kind("source0", "V1", 2), Kind::Missing);  // never written
  EXPECT_EQ(feed().Text("source0", "V2", 0), "Paris");
  EXPECT_EQ(feed().Kind("source0", "V2", 1), Kind::Missing);
  EXPECT_EQ(feed().Text("source0", "V2", 2), "Rome, IT");
  EXPECT_TRUE(messages().empty());
}

TEST_F(DataFeedTest, AllDataDoublesTurnsTextIntoNumbers) {
  const int oslo = str("Oslo");
  cx->AddRow(chart, src);
  cx->AddDataValue(chart, src, city, str("12"));
  EXPECT_EQ(feed().Kind("source0", "V2", 0), Kind::Number);
  cx->AddDataValue(chart, src, income, oslo);  // remembered as a text
  EXPECT_EQ(cx->AllDataDoubles(chart), chart);
  cx->AddRow(chart, src);
  cx->AddDataValue(chart, src, city, str("Oslo"));
  EXPECT_EQ(feed().Kind("source0", "V2", 1), Kind::Number);
  cx->AddDataValue(chart, src, income, oslo);
  EXPECT_EQ(feed().Kind("source0", "V1", 0), Kind::String);
  EXPECT_EQ(feed().Kind("source0", "V1", 1), Kind::Number);
}

TEST_F(DataFeedTest, SourcesShareTheRowCounter) {
  const int second = cx->AddSource(chart);
  EXPECT_EQ(cx->AddRow(chart, src), 1);
  EXPECT_EQ(cx->AddRow(chart, second), 2);
  EXPECT_EQ(cx->AddRow(chart, src), 3);
}

TEST_F(DataFeedTest, ProgressLineEveryTenThousandRows) {
  cxh_clear_debug();
  for (int i = 1; i <= 20000; ++i) ASSERT_EQ(cx->AddRow(chart, src), i);
  EXPECT_EQ(cxtest::debugLines(),
            (std::vector<std::string>{"Added 10000 rows of data", "Added 20000 rows of data"}));
}

TEST_F(DataFeedTest, ValuesThatAreNoDataValues) {
  const int frame = cx->AddFrame(chart, 0, -1);
  // Before the first row the feed refuses the value; the chart lives on.
  EXPECT_EQ(cx->AddDoubleDataValue(chart, src, income, 1.0), 0);
  EXPECT_EQ(feed().GetRowCount("source0"), 0u);
  cx->AddRow(chart, src);
  EXPECT_EQ(cx->AddDataValue(chart, src, income, -1), -1);      // no value, chart unharmed
  EXPECT_EQ(cx->AddDataValue(chart, src, frame, str("x")), 0);  // not a variable: ignored
  EXPECT_NE(cx->getChart(chart), nullptr);
  EXPECT_EQ(cx->AddDoubleDataValue(chart, src, frame, 1.0), -1);  // stricter: the chart goes
  EXPECT_EQ(cx->getChart(chart), nullptr);
  cxh_clear_reports();
  EXPECT_EQ(cx->AddRow(chart, src), -1);  // quietly
  EXPECT_TRUE(messages().empty());
}

// A value that ends a chart says so at that call, naming chart and handle.
TEST_F(DataFeedTest, AFailedChartRefusesDataAndIsDiscarded) {
  cx->AddRow(chart, src);
  EXPECT_EQ(cx->SetFatalError(chart), chart);
  EXPECT_EQ(cx->AddRow(chart, src), -1);
  EXPECT_NE(cx->getChart(chart), nullptr);
  EXPECT_TRUE(messages().empty());
  EXPECT_EQ(cx->AddDataValue(chart, src, city, str("x")), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{
                            "chart " + std::to_string(chart) +
                            " discarded: a data value came after the chart's fatal error"});
  EXPECT_EQ(cx->getChart(chart), nullptr);

  cxh_clear_reports();
  const int second = newChart();
  cx->SetDataSource(second, source);
  const int secondSource = cx->AddSource(second);
  const int weight = cx->AddVariable(second, secondSource, 2, false);
  cx->AddRow(second, secondSource);
  EXPECT_EQ(cx->AddDoubleDataValue(second, secondSource, weight, 70.5), 0);
  EXPECT_EQ(cx->AddDoubleDataValue(second, secondSource, 999, 1.0), -1);
  EXPECT_EQ(messages(), std::vector<std::string>{"chart " + std::to_string(second) +
                                                 " discarded: handle 999 names no data-source "
                                                 "variable of the chart"});
  EXPECT_EQ(cx->getChart(second), nullptr);
}

// ---- A string handle's value is remembered per column -----------------------
// Each row stores a text twice: in V2 under a handle never seen before (the
// full conversion), in V1 under one handle per distinct text, fed again and
// again (remembered after its first value). The cells must not differ.
class RememberedTextTest : public DataFeedTest {
 protected:
  void feedTwice(const std::vector<std::string>& texts) {
    std::map<std::string, int> handles;
    for (const std::string& text : texts) handles.emplace(text, str(text));
    for (const std::string& text : texts) {
      cx->AddRow(chart, src);
      ASSERT_EQ(cx->AddDataValue(chart, src, city, str(text)), 0);
      ASSERT_EQ(cx->AddDataValue(chart, src, income, handles.at(text)), 0);
    }
  }
  void expectSameCells() {
    const std::uint32_t rows = feed().GetRowCount("source0");
    for (std::uint32_t row = 0; row < rows; ++row) {
      ASSERT_EQ(feed().Kind("source0", "V1", row), feed().Kind("source0", "V2", row)) << row;
      EXPECT_EQ(feed().Text("source0", "V1", row), feed().Text("source0", "V2", row)) << row;
      EXPECT_EQ(feed().Number("source0", "V1", row), feed().Number("source0", "V2", row)) << row;
    }
  }
  // The instance again, its default code page `codePage`, with this test's chart.
  void restartWith(const char* codePage) {
    ChartXml::Terminate();
    cxh_set_code_page(codePage);
    cx = ChartXml::Initialize();
    chart = newChart();
    cx->SetDataSource(chart, source);
    src = cx->AddSource(chart);
    income = cx->AddVariable(chart, src, 2, false);
    city = cx->AddVariable(chart, src, 3, true);
  }
};

TEST_F(RememberedTextTest, HandleNumberReusedAfterAResetStoresItsNewText) {
  cx->AddRow(chart, src);
  const int first = str("12");
  const int second = str("north");
  cx->AddDataValue(chart, src, income, first);
  cx->AddDataValue(chart, src, city, second);
  cx->AddRow(chart, src);
  cx->AddDataValue(chart, src, income, first);
  cx->AddDataValue(chart, src, city, second);
  // The table forgets every handle; the numbers come back for other texts.
  cx->ResetStrings();
  ASSERT_EQ(str("south"), first);
  ASSERT_EQ(str("7.5"), second);
  cx->AddRow(chart, src);
  cx->AddDataValue(chart, src, income, first);
  cx->AddDataValue(chart, src, city, second);
  EXPECT_EQ(feed().Number("source0", "V1", 1), 12);
  EXPECT_EQ(feed().Text("source0", "V2", 1), "north");
  EXPECT_EQ(feed().Text("source0", "V1", 2), "south");
  EXPECT_EQ(feed().Number("source0", "V2", 2), 7.5);
  EXPECT_TRUE(messages().empty());
}

TEST_F(RememberedTextTest, RepeatedTextsStoreWhatNewHandlesStore) {
  const std::vector<std::string> texts = {"Paris", "12", " 3.5", "1e5", "nan",  "",
                                          "Paris", "12", " 3.5", "1e5", "nan",  "",
                                          "Rome",  "",   "Rome", "1e5", "Paris"};
  feedTwice(texts);
  expectSameCells();
  EXPECT_EQ(feed().Number("source0", "V1", 7), 12);
  EXPECT_EQ(feed().Number("source0", "V1", 8), 3.5);
  EXPECT_EQ(feed().Number("source0", "V1", 9), 1e5);
  EXPECT_EQ(feed().Text("source0", "V1", 10), "nan");  // not a number to the feed
  EXPECT_EQ(feed().Text("source0", "V1", 11), "");
  EXPECT_EQ(feed().Text("source0", "V1", 16), "Paris");
  EXPECT_TRUE(messages().empty());
}

TEST_F(RememberedTextTest, TextsOfAnotherCodePageStoreWhatNewHandlesStore) {
  restartWith("CP1252");
  feedTwice({"Z\xfcrich", "Malm\xf6", "Z\xfcrich", "Malm\xf6", "Z\xfcrich"});
  expectSameCells();
  EXPECT_EQ(feed().Text("source0", "V1", 4), "Z\u00fcrich");
  EXPECT_TRUE(messages().empty());
}

// Many handles share a column's slots: each evicts another, none is confused.
TEST_F(RememberedTextTest, HandlesSharingASlotKeepTheirOwnTexts) {
  std::vector<std::string> texts;
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 600; ++i) texts.push_back("t" + std::to_string(i));
  }
  feedTwice(texts);
  expectSameCells();
  EXPECT_EQ(feed().Text("source0", "V1", 1799), "t599");
}

TEST_F(DataFeedTest, UnknownStringHandleStoresWhatTheTableYields) {
  cx->AddRow(chart, src);
  EXPECT_EQ(cx->AddDataValue(chart, src, city, 5000), 0);
  EXPECT_EQ(messages(), std::vector<std::string>{"String not found for handle 5000"});
  EXPECT_EQ(feed().Text("source0", "V2", 0), "");
}

}  // namespace
