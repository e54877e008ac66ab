// The statistics stage alone over a million cases: each element kind's
// layer made from data already read, so that the cost of its statistic
// (sorting for box plots and percentiles, t quantiles for intervals,
// marching squares for contours, binning) shows apart from reading and
// drawing.
//
//   bench_statistics                              every benchmark
//   bench_statistics --benchmark_filter=Box       box plots only
#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <random>
#include <string>

#include "model/ModelBuilder.h"
#include "read/DataTable.h"
#include "read/XmlTree.h"
#include "stats/Layers.h"

namespace {

using namespace chartxml::render;

constexpr std::size_t kCases = 1000000;

// A million cases: category C (ten), group G (three), value Y, weight W,
// and a 1000 x 1000 grid of columns X and rows R with a value V at each.
const std::string& data() {
  static const std::string csv = [] {
    std::mt19937 random(7);
    std::normal_distribution<double> normal(0, 2);
    std::string out = "C,G,Y,W,X,R,V\n";
    out.reserve(kCases * 40);
    for (std::size_t i = 0; i < kCases; ++i) {
      const int c = static_cast<int>(i % 10);
      out += "c" + std::to_string(c) + ",g" + std::to_string(i % 3) + "," +
             std::to_string(c + normal(random)) + "," + std::to_string(1 + i % 4) + "," +
             std::to_string(i % 1000) + "," + std::to_string(i / 1000) + "," +
             std::to_string(std::sin(i % 1000 / 50.0) * std::cos(i / 1000 / 40.0)) + "\n";
    }
    return out;
  }();
  return csv;
}

// Makes the layer of `element` over the data, `state.iterations()` times.
void makeLayer(benchmark::State& state, const std::string& element) {
  std::string error;
  const auto tree = parseXml(
      "<visualization><variable id=\"c\" source=\"s\" sourceName=\"C\" categorical=\"true\"/>"
      "<variable id=\"g\" source=\"s\" sourceName=\"G\" categorical=\"true\"/>"
      "<variable id=\"y\" source=\"s\" sourceName=\"Y\"/>"
      "<variable id=\"w\" source=\"s\" sourceName=\"W\"/>"
      "<variable id=\"x\" source=\"s\" sourceName=\"X\"/>"
      "<variable id=\"r\" source=\"s\" sourceName=\"R\"/>"
      "<variable id=\"v\" source=\"s\" sourceName=\"V\"/><frame><frame id=\"f\">" +
          element + "</frame></frame></visualization>",
      error);
  auto model = tree ? buildModel(*tree, error) : std::nullopt;
  auto table = readCsv(data(), "s.csv", error);
  if (!model || !table) {
    state.SkipWithError(error.c_str());
    return;
  }
  std::map<std::string, DataTable> tables;
  tables.emplace("s", std::move(*table));
  DataBinder binder(*model, tables);
  // Columns are bound once, as a chart binds them before its panels.
  computeLayer(model->frames[0].elements[0], model->frames[0], nullptr, binder, *model, error);
  for (auto _ : state) {
    auto layer = computeLayer(model->frames[0].elements[0], model->frames[0], nullptr, binder,
                              *model, error);
    benchmark::DoNotOptimize(layer);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kCases));
}

void BM_BoxPlot(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"schema\"><x variable=\"c\"/><y variable=\"y\"/>"
            "<color variable=\"g\"/></element>");
}
BENCHMARK(BM_BoxPlot)->Unit(benchmark::kMillisecond);

void BM_MeanBars(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"interval\"><statistic method=\"mean\"/><x variable=\"c\"/>"
            "<y variable=\"y\"/><color variable=\"g\"/></element>");
}
BENCHMARK(BM_MeanBars)->Unit(benchmark::kMillisecond);

void BM_WeightedPercentile(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"line\"><statistic method=\"percentile\">"
            "<parameter name=\"value\" value=\"90\"/><parameter name=\"wgt\" value=\"w\"/>"
            "</statistic><x variable=\"c\"/><y variable=\"y\"/></element>");
}
BENCHMARK(BM_WeightedPercentile)->Unit(benchmark::kMillisecond);

void BM_ConfidenceIntervals(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"interval\"><statistic method=\"meanCI\"/><x variable=\"c\"/>"
            "<y variable=\"y\"/><color variable=\"g\"/></element>");
}
BENCHMARK(BM_ConfidenceIntervals)->Unit(benchmark::kMillisecond);

void BM_Tiles(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"tile\"><x variable=\"x\"/><y variable=\"c\"/>"
            "<color variable=\"y\"/></element>");
}
BENCHMARK(BM_Tiles)->Unit(benchmark::kMillisecond);

void BM_HexBins(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"point\"><position><statistic method=\"bin\">"
            "<parameter name=\"grid\" value=\"hex\"/></statistic><x variable=\"x\"/>"
            "<y variable=\"y\"/></position></element>");
}
BENCHMARK(BM_HexBins)->Unit(benchmark::kMillisecond);

void BM_Contours(benchmark::State& state) {
  makeLayer(state,
            "<element id=\"e\" type=\"contour\"><x variable=\"x\"/><y variable=\"r\"/>"
            "<color variable=\"v\"/></element>");
}
BENCHMARK(BM_Contours)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
