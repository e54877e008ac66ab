// The per-case data path: feeding rows through the facade against appending
// the same values to reserved vectors, allocations during the feed, and the
// feed's memory per value. Prints each figure and exits non-zero when one
// misses its target.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "bench_charts.h"
#include "bench_support.h"
#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/VarDataProcessor.h"

namespace {

constexpr int kRows = 1000000;
constexpr double kMaxRatio = 4.0;
constexpr double kMaxNumericBytes = 8.5;
constexpr double kMaxStringBytes = 4.5;

using bench::ThreeColumns;

struct FeedChart {
  explicit FeedChart(ChartXml* cx, VORN_DataSource* source) : cx(cx) {
    chart = cx->CreateChart();
    cx->SetDataSource(chart, source);
    src = cx->AddSource(chart);
    for (int c = 0; c < 3; ++c) vars[c] = cx->AddVariable(chart, src, c, false);
  }
  ~FeedChart() { cx->KillChart(chart); }
  void feed(int rows) {
    for (int r = 0; r < rows; ++r) {
      cx->AddRow(chart, src);
      const double v = r;
      cx->AddDoubleDataValue(chart, src, vars[0], v);
      cx->AddDoubleDataValue(chart, src, vars[1], v * 0.5);
      cx->AddDoubleDataValue(chart, src, vars[2], v + 1);
    }
  }
  ChartXml* cx;
  int chart = -1, src = -1;
  int vars[3] = {-1, -1, -1};
};

ThreeColumns* source() {
  static ThreeColumns columns;
  return &columns;
}

void BM_FacadeFeed(benchmark::State& state) {
  ChartXml* cx = ChartXml::Initialize();
  for (auto _ : state) {
    state.PauseTiming();
    auto chart = std::make_unique<FeedChart>(cx, source());
    state.ResumeTiming();
    chart->feed(kRows);
    state.PauseTiming();
    chart.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kRows * 3);
}
BENCHMARK(BM_FacadeFeed)->Unit(benchmark::kMillisecond)->MinTime(1.0);

void BM_VectorBaseline(benchmark::State& state) {
  for (auto _ : state) bench::fillReservedVectors(state, kRows);
  state.SetItemsProcessed(state.iterations() * kRows * 3);
}
BENCHMARK(BM_VectorBaseline)->Unit(benchmark::kMillisecond)->MinTime(1.0);

}  // namespace

int main(int argc, char** argv) {
  cxh_set_quiet(1);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  benchmark::Initialize(&argc, argv);
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);

  bool ok = true;
  std::printf("\n");
  const double facade = recorder.of("BM_FacadeFeed").cpu;
  const double baseline = recorder.of("BM_VectorBaseline").cpu;
  if (facade > 0 && baseline > 0) {
    std::printf("%-52s %10.3f ns\n", "facade, per value", facade * 1e6 / (3.0 * kRows));
    std::printf("%-52s %10.3f ns\n", "reserved vectors, per value", baseline * 1e6 / (3.0 * kRows));
    ok &= bench::check("facade / reserved vectors", facade / baseline, kMaxRatio, "x");
  }

  ChartXml* cx = ChartXml::Initialize();
  {
    // Allocations while feeding: only the columns' geometric growth may allocate.
    FeedChart chart(cx, source());
    const std::size_t before = bench::newCalls();
    chart.feed(kRows);
    const std::size_t during = bench::newCalls() - before;
    std::printf("%-52s %10zu\n", "operator new calls while feeding 3,000,000 values", during);
    // The columns' growth and the progress line every 10,000 rows allocate;
    // a value does not.
    ok &= bench::check("allocations per value", static_cast<double>(during) / (3.0 * kRows), 1e-4,
                       "");

    VarDataProcessor* feed = cx->getDataProcessor(chart.chart);
    std::printf("%-52s %10zu\n", "storage allocations of the feed (growth)", feed->Allocations());
    ok &= bench::check("numeric column, bytes per value",
                       static_cast<double>(feed->BytesUsed("source0", "V1")) / kRows,
                       kMaxNumericBytes, "bytes");
  }
  {
    // A column of strings over five distinct texts.
    FeedChart chart(cx, source());
    const char* texts[] = {"north", "south", "east", "west", "centre"};
    int handles[5];
    for (int i = 0; i < 5; ++i) handles[i] = cx->NStringNoTranslate(texts[i]);
    const std::size_t before = bench::newCalls();
    for (int r = 0; r < kRows; ++r) {
      cx->AddRow(chart.chart, chart.src);
      cx->AddDataValue(chart.chart, chart.src, chart.vars[0], handles[r % 5]);
    }
    const std::size_t during = bench::newCalls() - before;
    std::printf("%-52s %10zu\n", "operator new calls while feeding 1,000,000 texts", during);
    ok &= bench::check("allocations per text value", static_cast<double>(during) / kRows, 1e-3, "");
    VarDataProcessor* feed = cx->getDataProcessor(chart.chart);
    ok &= bench::check("string column (5 distinct), bytes per value",
                       static_cast<double>(feed->BytesUsed("source0", "V1")) / kRows,
                       kMaxStringBytes, "bytes");
  }
  ChartXml::Terminate();
  return bench::verdict(ok);
}
