// Wide charts: N sibling frames under the document element, or N sibling
// elements in one frame, added and then ended (completion, printing, the
// send to the in-memory host). Reports the time per added frame or element
// for N = 1,000, 10,000 and 100,000; the time per item must stay flat as N
// grows. Prints each figure and exits non-zero when one misses its target.
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <cstdio>
#include <map>
#include <string>

#include "bench_support.h"
#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"

namespace {

// Per-item time at the largest size over that at the smallest: linear work
// keeps it near 1 (caches account for the rest); work growing with the
// square of N makes it about 100.
constexpr double kMaxGrowth = 2.0;

enum class Kind { kFrames, kElements };

// Builds and ends one chart of `n` siblings.
void wideChart(ChartXml* cx, Kind kind, int n) {
  const int chart = cx->CreateChart();
  if (kind == Kind::kFrames) {
    for (int i = 0; i < n; ++i) cx->AddFrame(chart, 0, -1);
  } else {
    const int frame = cx->AddFrame(chart, 0, -1);
    const int type = cx->NStringNoTranslate("point");
    for (int i = 0; i < n; ++i) cx->AddElement(chart, frame, type, -1);
  }
  if (cx->EndChart(chart) != 0) std::fprintf(stderr, "a wide chart was not sent\n");
  cxh_clear_sent();
}

void run(benchmark::State& state, Kind kind) {
  ChartXml* cx = ChartXml::Initialize();
  const int n = static_cast<int>(state.range(0));
  for (auto _ : state) wideChart(cx, kind, n);
  // Shown as time per frame or element.
  state.counters["per_item"] =
      benchmark::Counter(static_cast<double>(n), benchmark::Counter::kIsIterationInvariantRate |
                                                     benchmark::Counter::kInvert);
}

void BM_SiblingFrames(benchmark::State& state) {
  run(state, Kind::kFrames);
}
// Each size warms up first, so that the largest chart, which runs only once
// or twice, is not the only one to pay for fresh memory.
BENCHMARK(BM_SiblingFrames)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->MinWarmUpTime(1.0)
    ->MinTime(2.0)
    ->Unit(benchmark::kMillisecond);

void BM_SiblingElements(benchmark::State& state) {
  run(state, Kind::kElements);
}
BENCHMARK(BM_SiblingElements)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->MinWarmUpTime(1.0)
    ->MinTime(2.0)
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // Memory freed by one chart stays with the process for the next, as it
  // does between the many runs of a small chart: otherwise the largest
  // chart, run once or twice, alone pays for fresh pages from the system.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  cxh_set_quiet(1);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  benchmark::Initialize(&argc, argv);
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);

  // CPU time per item, by benchmark and size ("BM_SiblingFrames/1000").
  std::map<std::string, std::map<int, double>> perItem;
  for (const auto& [name, times] : recorder.times) {
    const std::size_t slash = name.find('/');
    const int n = std::stoi(name.substr(slash + 1));
    perItem[name.substr(0, slash)][n] = times.cpu / n;
  }
  bool ok = true;
  std::printf("\n");
  for (const auto& [name, sizes] : perItem) {
    for (const auto& [n, time] : sizes) {
      std::printf("%-20s N = %-7d %10.2f us per item\n", name.c_str(), n, time * 1e3);
    }
    if (sizes.size() < 2) continue;
    ok &= bench::check(name + ", per-item time, largest N / smallest N",
                       sizes.rbegin()->second / sizes.begin()->second, kMaxGrowth, "x");
  }
  ChartXml::Terminate();
  return bench::verdict(ok);
}
