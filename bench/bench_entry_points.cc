// The flat per-case entry points: CX_ADDDOUBLEDATAVALUE against the floor of
// an out-of-line call that takes pointer arguments and does one hash look-up,
// CX_ADDDATAVALUE of a repeated string against its goal, and a million rows
// of three values through CX_ calls against appending them to reserved
// vectors. Prints each figure beside its goal and anchor and exits non-zero
// when one misses.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench_charts.h"
#include "bench_support.h"
#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/host/VORN_DataSource.h"

namespace {

constexpr int kRows = 1000000;
constexpr int kValuesPerRun = 1000;  // values per timed iteration of the per-value runs
constexpr double kMaxOverFloor = 2.0;
constexpr double kMaxStringNs = 15.0;
constexpr double kMaxOverVectors = 2.5;

using bench::ThreeColumns;

ThreeColumns* source() {
  static ThreeColumns columns;
  return &columns;
}

// A chart with three data-source variables, its handles as the host passes
// them (64-bit, by address).
struct CxChart {
  CxChart() {
    ChartXml* cx = ChartXml::Initialize();
    chart = cx->CreateChart();
    cx->SetDataSource(static_cast<int>(chart), source());
    src = cx->AddSource(static_cast<int>(chart));
    for (int c = 0; c < 3; ++c)
      vars[c] = cx->AddVariable(static_cast<int>(chart), static_cast<int>(src), c, false);
  }
  ~CxChart() { ChartXml::GetInstance()->KillChart(static_cast<int>(chart)); }
  std::int64_t chart = -1, src = -1;
  std::int64_t vars[3] = {-1, -1, -1};
};

// The floor: what any entry point that resolves a handle costs at least.
struct Target {
  double sum = 0;
};
std::unordered_map<std::int64_t, Target*>& floorTable() {
  static std::unordered_map<std::int64_t, Target*> table;
  return table;
}
__attribute__((noinline)) std::int64_t floorCall(const std::int64_t* handle, const std::int64_t*,
                                                 const std::int64_t*, const double* value) {
  const auto it = floorTable().find(*handle);
  if (it == floorTable().end()) return -1;
  it->second->sum += *value;
  return 0;
}

void BM_Floor(benchmark::State& state) {
  Target target;
  for (std::int64_t h = 0; h < 16; ++h) floorTable()[h] = &target;
  const std::int64_t handle = 7, src = 0, var = 1;
  double value = 0;
  for (auto _ : state) {
    for (int i = 0; i < kValuesPerRun; ++i) {
      value += 1;
      benchmark::DoNotOptimize(floorCall(&handle, &src, &var, &value));
    }
  }
  benchmark::DoNotOptimize(target.sum);
  state.SetItemsProcessed(state.iterations() * kValuesPerRun);
}
BENCHMARK(BM_Floor)->Repetitions(5)->ReportAggregatesOnly(true);

// One row refilled again and again: the cost of a value, not of growth.
void BM_CxAddDouble(benchmark::State& state) {
  CxChart c;
  CX_ADDROW(&c.chart, &c.src);
  double value = 0;
  for (auto _ : state) {
    for (int i = 0; i < kValuesPerRun; ++i) {
      value += 1;
      benchmark::DoNotOptimize(CX_ADDDOUBLEDATAVALUE(&c.chart, &c.src, &c.vars[1], &value));
    }
  }
  state.SetItemsProcessed(state.iterations() * kValuesPerRun);
}
BENCHMARK(BM_CxAddDouble)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_CxAddRepeatedString(benchmark::State& state) {
  CxChart c;
  const char text[] = "north";
  const std::int64_t length = 5;
  const std::int64_t handle = CX_NSTRINGNOTRANSLATE(text, &length);
  CX_ADDROW(&c.chart, &c.src);
  for (auto _ : state) {
    for (int i = 0; i < kValuesPerRun; ++i) {
      benchmark::DoNotOptimize(CX_ADDDATAVALUE(&c.chart, &c.src, &c.vars[0], &handle));
    }
  }
  state.SetItemsProcessed(state.iterations() * kValuesPerRun);
}
BENCHMARK(BM_CxAddRepeatedString)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_CxRows(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto c = std::make_unique<CxChart>();
    state.ResumeTiming();
    for (int r = 0; r < kRows; ++r) {
      CX_ADDROW(&c->chart, &c->src);
      const double x = r, y = x * 0.5, z = x + 1;
      CX_ADDDOUBLEDATAVALUE(&c->chart, &c->src, &c->vars[0], &x);
      CX_ADDDOUBLEDATAVALUE(&c->chart, &c->src, &c->vars[1], &y);
      CX_ADDDOUBLEDATAVALUE(&c->chart, &c->src, &c->vars[2], &z);
    }
    state.PauseTiming();
    c.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kRows * 3);
}
BENCHMARK(BM_CxRows)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

void BM_VectorRows(benchmark::State& state) {
  for (auto _ : state) bench::fillReservedVectors(state, kRows);
  state.SetItemsProcessed(state.iterations() * kRows * 3);
}
BENCHMARK(BM_VectorRows)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);

// Nanoseconds per value of a per-value run (its unit is ns per iteration).
double perValue(const bench::Recorder& recorder, const char* name) {
  return recorder.of(name).cpu / kValuesPerRun;
}

}  // namespace

int main(int argc, char** argv) {
  cxh_set_quiet(1);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  benchmark::Initialize(&argc, argv);
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);

  bool ok = true;
  std::printf("\n");
  const double floor = perValue(recorder, "BM_Floor");
  const double addDouble = perValue(recorder, "BM_CxAddDouble");
  const double addString = perValue(recorder, "BM_CxAddRepeatedString");
  const double rows = recorder.of("BM_CxRows").cpu;
  const double vectors = recorder.of("BM_VectorRows").cpu;
  if (floor > 0 && addDouble > 0) {
    std::printf("%-52s %10.3f ns\n", "CX_ADDDOUBLEDATAVALUE, per value", addDouble);
    std::printf("%-52s %10.3f ns\n", "floor (out-of-line call, one hash look-up)", floor);
    ok &= bench::check("CX_ADDDOUBLEDATAVALUE / floor", addDouble / floor, kMaxOverFloor, "x");
  }
  if (addString > 0) {
    std::printf("%-52s %10.3f ns\n", "floor (out-of-line call, one hash look-up)", floor);
    ok &=
        bench::check("CX_ADDDATAVALUE, repeated string, per value", addString, kMaxStringNs, "ns");
  }
  if (rows > 0 && vectors > 0) {
    std::printf("%-52s %10.3f ms\n", "1M rows x 3 values via CX_ calls", rows);
    std::printf("%-52s %10.3f ms\n", "1M rows x 3 values into reserved vectors", vectors);
    ok &= bench::check("CX_ rows / reserved vectors", rows / vectors, kMaxOverVectors, "x");
  }
  ChartXml::Terminate();
  return bench::verdict(ok);
}
