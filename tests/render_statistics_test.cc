// The statistics an element's statistic can name, worked out by hand from
// small samples: weighted summaries, percentiles and their grouped forms,
// cuts, running totals, bins by number, box-plot hinges and the t quantiles
// behind confidence intervals; then the same through whole layers, and
// grouped bars dodged and stacked.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "model/ModelBuilder.h"
#include "read/DataTable.h"
#include "read/XmlTree.h"
#include "render_documents.h"
#include "stats/Bins.h"
#include "stats/Layers.h"
#include "stats/Summary.h"

namespace {

using namespace chartxml::render;
using rendertest::modelOf;

double of(Summary summary, std::vector<double> values, std::vector<double> weights = {},
          SummaryArgs args = {}) {
  Sample sample;
  sample.values = std::move(values);
  sample.weights = std::move(weights);
  for (std::size_t i = 0; i < sample.values.size(); ++i) {
    sample.cases += sample.weights.empty() ? 1 : sample.weights[i];
  }
  Totals totals;
  totals.cases = 10;
  totals.sum = 40;
  return summarize(summary, sample, totals, args);
}

TEST(RenderStatistics, WeightsCountCasesAsManyTimesAsTheyWeigh) {
  // 1 weighing 3 and 5 weighing 1 are the four cases 1, 1, 1, 5.
  const std::vector<double> values{1, 5}, weights{3, 1};
  EXPECT_EQ(of(Summary::kMean, values, weights), 2);
  EXPECT_EQ(of(Summary::kSum, values, weights), 8);
  EXPECT_EQ(of(Summary::kCount, values, weights), 4);
  EXPECT_EQ(of(Summary::kValidN, values, weights), 4);
  EXPECT_EQ(of(Summary::kMode, values, weights), 1);
  // Squares about the mean 2: 3 * 1 + 9 = 12, over 4 - 1.
  EXPECT_EQ(of(Summary::kVariance, values, weights), 4);
  EXPECT_EQ(of(Summary::kStdDev, values, weights), 2);
  // Ranks (4 + 1) p: the median at 2.5 (1 and 1), the 75th at 3.75 (1 to 5).
  EXPECT_EQ(of(Summary::kMedian, values, weights), 1);
  EXPECT_EQ(of(Summary::kPercentile, values, weights, {75, 0}), 4);
  // Percentages against the totals: 4 of 10 cases, 8 of a sum of 40.
  EXPECT_EQ(of(Summary::kPercent, values, weights), 40);
  EXPECT_EQ(of(Summary::kPercentOfSum, values, weights), 20);
}

TEST(RenderStatistics, PercentilesCutsAndGroupedMedians) {
  // Ranks (n + 1) p / 100 of 1, 2, 3, 4: 1.25 for the 25th, held at the ends.
  EXPECT_EQ(of(Summary::kPercentile, {4, 2, 1, 3}, {}, {25, 0}), 1.25);
  EXPECT_EQ(of(Summary::kPercentile, {4, 2, 1, 3}, {}, {0, 0}), 1);
  EXPECT_EQ(of(Summary::kPercentile, {4, 2, 1, 3}, {}, {100, 0}), 4);
  EXPECT_EQ(of(Summary::kMedian, {4, 2, 1, 3}), 2.5);
  // Classes of 1, 2, 2, 3 are [0.5, 1.5], [1.5, 2.5] (two cases), [2.5, 3.5]:
  // half of the four cases lies at 1.5 + 1/2; a quarter at the end of the first.
  EXPECT_EQ(of(Summary::kGroupedMedian, {1, 2, 2, 3}), 2);
  EXPECT_EQ(of(Summary::kGroupedPercentile, {1, 2, 2, 3}, {}, {25, 0}), 1.5);
  EXPECT_EQ(of(Summary::kGroupedPercentile, {1, 2, 2, 3}, {}, {10, 0}), 0.9);
  // Cuts are strict below and above, inclusive inside.
  EXPECT_EQ(of(Summary::kPercentBelow, {1, 2, 3, 4}, {}, {3, 0}), 50);
  EXPECT_EQ(of(Summary::kNumberAbove, {1, 2, 3, 4}, {}, {2, 0}), 2);
  EXPECT_EQ(of(Summary::kNumberBelow, {1, 2, 3, 4}, {}, {1, 0}), 0);
  EXPECT_EQ(of(Summary::kPercentInside, {1, 2, 3, 4}, {}, {2, 3}), 50);
  EXPECT_EQ(of(Summary::kNumberInside, {1, 2, 3, 4}, {2, 1, 1, 1}, {1, 2}), 3);
  EXPECT_TRUE(std::isnan(of(Summary::kPercentile, {})));
  // Every word of the summary functions names its summary.
  for (const char* word :
       {"percentile", "gMedian", "gPtile", "percentageBelow", "percentageAbove", "numberBelow",
        "numberAbove", "percentageInside", "numberInside", "cumulativeSum",
        "cumulativeNumberOfCases", "cumulativePercentageOfCases"}) {
    EXPECT_TRUE(summaryOf(word)) << word;
  }
  EXPECT_TRUE(isCumulative(*summaryOf("cumulativePercentageOfCases")));
  EXPECT_TRUE(isPercentage(*summaryOf("cumulativePercentageOfCases")));
  EXPECT_FALSE(isAdditive(*summaryOf("percentile")));
}

TEST(RenderStatistics, BoxesTakeTukeysHingesAndFences) {
  // 1..9, 20, 30: the median is the 6th value, each half holds it (hinges
  // 3.5 and 8.5); spread 5: outer fences -11.5 and 23.5, beyond which 30 is
  // an extreme. The drawn boxes check the rest of this box.
  std::vector<double> values{30, 1, 2, 3, 4, 5, 6, 7, 8, 9, 20};
  EXPECT_EQ(boxStats(values).extremes, std::vector<double>{30});
  // Low whisker, hinges, median, high whisker. 2, 4, 6, 8: halves 2, 4 and
  // 6, 8; one value is all five.
  const auto five = [](const BoxStats& b) {
    return std::vector<double>{b.lowWhisker, b.lowerHinge, b.median, b.upperHinge, b.highWhisker};
  };
  std::vector<double> even{8, 2, 6, 4}, one{7};
  EXPECT_EQ(five(boxStats(even)), (std::vector<double>{2, 3, 5, 7, 8}));
  EXPECT_EQ(five(boxStats(one)), (std::vector<double>{7, 7, 7, 7, 7}));
}

TEST(RenderStatistics, IntervalsOfTheMean) {
  // Two-sided t quantiles as printed in statistical tables.
  EXPECT_NEAR(studentQuantile(0.95, 1), 12.7062, 1e-4);
  EXPECT_NEAR(studentQuantile(0.95, 4), 2.7764, 1e-4);
  EXPECT_NEAR(studentQuantile(0.99, 10), 3.1693, 1e-4);
  EXPECT_NEAR(studentQuantile(0.90, 1000), 1.6464, 1e-3);
  EXPECT_TRUE(std::isnan(studentQuantile(0.95, 0.5)));
  // 4 and 6: mean 5, deviation sqrt 2, standard error 1 (the drawn error
  // bars check two of them).
  Sample sample;
  sample.values = {4, 6};
  sample.cases = 2;
  const auto ci = meanInterval(sample, Spread::kConfidence, 95);
  ASSERT_TRUE(ci);
  EXPECT_NEAR(ci->high, 5 + 12.7062, 1e-4);
  const auto sd = meanInterval(sample, Spread::kStandardDeviation, 1);
  EXPECT_NEAR(sd->low, 5 - std::sqrt(2.0), 1e-12);
  sample.values = {4};
  EXPECT_FALSE(meanInterval(sample, Spread::kStandardError, 2)) << "one case has no spread";
}

TEST(RenderStatistics, BinsByTheirNumberShareTheRangeEqually) {
  // 0..11 in three bins of width 11/3: 0-3, 4-7 and 8-11, four values each.
  const auto bins = makeBinsByCount(0, 11, 3);
  ASSERT_TRUE(bins);
  std::vector<int> counts(3);
  for (int v = 0; v <= 11; ++v) counts[*bins->binOf(v)] += 1;
  EXPECT_EQ(counts, (std::vector<int>{4, 4, 4}));
  EXPECT_FALSE(makeBinsByCount(0, 1, 0));
  EXPECT_EQ(makeBinsByCount(5, 5, 2)->binOf(5), 1u) << "one value: bins of width 1 around it";
}

// The layer of the one element of `body` over `csv` (columns C, G, Y, W);
// `weight` marks W as the chart's weight variable.
struct Made {
  ChartModel model;
  std::map<std::string, DataTable> tables;
  std::unique_ptr<DataBinder> binder;
  std::optional<Layer> layer;
};

std::unique_ptr<Made> layerOf(const std::string& body, const std::string& csv,
                              bool weight = false) {
  auto made = std::make_unique<Made>();
  made->model = modelOf(
      "<visualization><variable id=\"c\" source=\"s\" sourceName=\"C\" categorical=\"true\"/>"
      "<variable id=\"g\" source=\"s\" sourceName=\"G\" categorical=\"true\"/>"
      "<variable id=\"y\" source=\"s\" sourceName=\"Y\"/>"
      "<variable id=\"w\" source=\"s\" sourceName=\"W\">" +
      std::string(weight ? "<meta weight=\"true\"/>" : "") + "</variable><frame><frame id=\"f\">" +
      body + "</frame></frame></visualization>");
  std::string error;
  made->tables.emplace("s", *readCsv(csv, "s.csv", error));
  made->binder = std::make_unique<DataBinder>(made->model, made->tables);
  made->layer = computeLayer(made->model.frames[0].elements[0], made->model.frames[0], nullptr,
                             *made->binder, made->model, error);
  EXPECT_TRUE(made->layer) << error;
  return made;
}

// The top of each bar; the bottom and top of each.
std::vector<double> tops(const std::vector<Bar>& bars) {
  std::vector<double> out;
  for (const Bar& bar : bars) out.push_back(bar.y1);
  return out;
}
using Spans = std::vector<std::pair<double, double>>;
Spans spans(const std::vector<Bar>& bars) {
  Spans out;
  for (const Bar& bar : bars) out.emplace_back(bar.y0, bar.y1);
  return out;
}

TEST(RenderStatistics, LayersRunTotalsWeighCasesAndBinByNumber) {
  // Sums per category 1, 5, 4: running 1, 6, 10, the last being the total.
  const std::string data = "C,G,Y,W\na,p,1,1\nb,p,2,1\nb,p,3,1\nc,p,4,2\n";
  auto sums = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"cumulativeSum\"/>"
      "<x variable=\"c\"/><y variable=\"y\"/></element>",
      data);
  ASSERT_TRUE(sums->layer);
  EXPECT_EQ(tops(sums->layer->bars), (std::vector<double>{1, 6, 10}));
  // Weighted by W, c's 4 counts twice: running 1, 6, 14; counts 1, 3, 5.
  auto weighted = layerOf(
      "<element id=\"e\" type=\"line\"><statistic method=\"cumulativeSum\"/>"
      "<x variable=\"c\"/><y variable=\"y\"/></element>",
      data, true);
  ASSERT_TRUE(weighted->layer && weighted->layer->series.size() == 1);
  EXPECT_EQ(weighted->layer->series[0].y, (std::vector<double>{1, 6, 14}));
  auto counts = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"cumulativeNumberOfCases\">"
      "<parameter name=\"wgt\" value=\"w\"/></statistic><x variable=\"c\"/></element>",
      data);
  ASSERT_TRUE(counts->layer);
  EXPECT_EQ(tops(counts->layer->bars), (std::vector<double>{1, 3, 5}));
  // A chart weight without data of its own leaves every case weighing 1.
  auto unweighed = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"sum\"/>"
      "<x variable=\"c\"/><y variable=\"y\"/></element>",
      "C,G,Y\na,p,1\nb,p,2\nb,p,3\nc,p,4\n", true);
  ASSERT_TRUE(unweighed->layer);
  EXPECT_EQ(tops(unweighed->layer->bars), (std::vector<double>{1, 5, 4}));
  EXPECT_EQ(unweighed->model.skipped,
            std::vector<std::string>{
                "weights of element e (the weight variable w cannot be read: cases weigh 1)"});
  // Cumulative percentages of cases end at 100.
  auto percents = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"cumulativePercentageOfCases\"/>"
      "<x variable=\"c\"/></element>",
      data);
  ASSERT_TRUE(percents->layer);
  EXPECT_EQ(tops(percents->layer->bars), (std::vector<double>{25, 75, 100}));
  // A histogram of Y 1..4 in two bins by number: 1-2.5 and 2.5-4, weighted
  // 1 + 1 and 1 + 2.
  auto histogram = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"histogram\">"
      "<parameter name=\"bins\" value=\"2\"/></statistic><x variable=\"y\"/></element>",
      data, true);
  ASSERT_TRUE(histogram->layer && histogram->layer->bars.size() == 2);
  EXPECT_EQ(histogram->layer->bars[0].x0, 1);
  EXPECT_EQ(histogram->layer->bars[1].x1, 4);
  EXPECT_EQ(tops(histogram->layer->bars), (std::vector<double>{2, 3}));
}

TEST(RenderStatistics, RangeBarsSpanTheirValuesAndBinnedPointsCountTheirCells) {
  // a holds 1, 5 and 3: its bar spans 1 to 5; b's one value spans nothing.
  auto ranges = layerOf(
      "<element id=\"e\" type=\"interval\"><statistic method=\"range\"/>"
      "<x variable=\"c\"/><y variable=\"y\"/></element>",
      "C,G,Y,W\na,p,1,1\na,p,5,1\na,p,3,1\nb,p,2,1\n");
  ASSERT_TRUE(ranges->layer);
  EXPECT_EQ(spans(ranges->layer->bars), (Spans{{1, 5}, {2, 2}}));
  // Two square cells a side over 0..10: (0, 0) and (1, 1) fall in the cell
  // centred on (2.5, 2.5), (9, 1) in (7.5, 2.5), (9, 9) and (10, 10) in
  // (7.5, 7.5), the greatest values closing the last cell.
  auto binned = layerOf(
      "<element id=\"e\" type=\"point\"><position><statistic method=\"bin\">"
      "<parameter name=\"location\" value=\"grid\"/><parameter name=\"bins\" value=\"2\"/>"
      "</statistic><x variable=\"w\"/><y variable=\"y\"/></position></element>",
      "C,G,Y,W\na,p,0,0\na,p,1,1\na,p,9,9\na,p,10,10\na,p,1,9\n");
  ASSERT_TRUE(binned->layer);
  const Layer& points = *binned->layer;
  ASSERT_EQ(points.px.size(), 3u);
  std::map<std::pair<double, double>, double> sizes;
  for (std::size_t i = 0; i < points.px.size(); ++i) {
    sizes[{points.px[i], points.py[i]}] = points.pointSize[i];
  }
  EXPECT_EQ(sizes, (std::map<std::pair<double, double>, double>{
                       {{2.5, 2.5}, 2}, {{7.5, 2.5}, 1}, {{7.5, 7.5}, 2}}));
  EXPECT_TRUE(points.sizesCount);
  EXPECT_EQ(points.sizeLo, 1);
  EXPECT_EQ(points.sizeHi, 2);
}

// Two groups in two categories, as dodged and as stacked bars.
std::vector<Bar> barsOf(const std::string& modifier, const std::string& method) {
  const auto made = layerOf("<element id=\"e\" type=\"interval\" positionModifier=\"" + modifier +
                                "\"><statistic method=\"" + method +
                                "\"/><x variable=\"c\"/><y variable=\"y\"/>"
                                "<color variable=\"g\"/></element>",
                            "C,G,Y\na,p,1\na,q,2\nb,p,3\na,p,5\n");
  return made->layer ? made->layer->bars : std::vector<Bar>{};
}

TEST(RenderLayers, GroupsStandSideBySideOrStacked) {
  // Dodged: each category's band holds a slot per group, left to right.
  const std::vector<Bar> dodged = barsOf("dodge", "mean");
  ASSERT_EQ(dodged.size(), 3u);
  EXPECT_NEAR(dodged[0].x0, -0.4, 1e-12);  // a, p: mean 3
  EXPECT_NEAR(dodged[0].x1, 0.0, 1e-12);
  EXPECT_EQ(dodged[0].y1, 3);
  EXPECT_NEAR(dodged[1].x0, 0.0, 1e-12);  // a, q: 2
  EXPECT_EQ(dodged[1].y1, 2);
  EXPECT_NEAR(dodged[2].x0, 0.6, 1e-12);  // b, p: 3, in p's slot though q has none
  EXPECT_NEAR(dodged[2].x1, 1.0, 1e-12);
  // Coloured by their own category, bars keep their whole band.
  const auto own = layerOf(
      "<element id=\"e\" type=\"interval\" positionModifier=\"dodge\"><statistic "
      "method=\"mean\"/><x variable=\"c\"/><y variable=\"y\"/><color variable=\"c\"/></element>",
      "C,G,Y\na,p,1\nb,q,3\n");
  ASSERT_TRUE(own->layer && own->layer->bars.size() == 2u);
  EXPECT_NEAR(own->layer->bars[1].x0, 0.6, 1e-12);
  EXPECT_NEAR(own->layer->bars[1].x1, 1.4, 1e-12);
  // Stacked sums: q sits on p in category a.
  const auto find = [](const std::vector<Bar>& bars, double x0, std::uint16_t group) {
    for (const Bar& bar : bars) {
      if (std::fabs(bar.x0 - x0) < 1e-12 && bar.group == group) return bar;
    }
    return Bar{-9, -9, -9, -9, 9};
  };
  const std::vector<Bar> stacked = barsOf("stack", "sum");
  ASSERT_EQ(stacked.size(), 3u);
  EXPECT_EQ(find(stacked, -0.4, 0).y0, 0);
  EXPECT_EQ(find(stacked, -0.4, 0).y1, 6);
  EXPECT_EQ(find(stacked, -0.4, 1).y0, 6);
  EXPECT_EQ(find(stacked, -0.4, 1).y1, 8);
  EXPECT_EQ(find(stacked, 0.6, 0).y1, 3);
  // Without a modifier, sums stack and means stand side by side.
  EXPECT_EQ(find(barsOf("", "sum"), -0.4, 1).y0, 6);
  EXPECT_EQ(find(barsOf("", "mean"), 0.0, 1).y1, 2);
}

}  // namespace
