// Drawing large scatters: a sent chart of N points in five colour groups,
// from its document and data in the host's memory to the finished PNG (time
// and peak memory), and its SVG's bytes per point. Prints each figure with
// its goal and exits non-zero when one misses it.
//
//   bench_render                      every benchmark
//   bench_render --benchmark_filter=1000000   the 1M ones only
#include <benchmark/benchmark.h>

#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <string>

#include "bench_charts.h"
#include "bench_support.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#include "chartxml/render.h"
#include "device/Devices.h"
#include "device/MarkerBlit.h"
#include "model/ModelBuilder.h"
#include "read/DataTable.h"
#include "read/LargeBuffer.h"
#include "read/XmlTree.h"
#include "scene/SceneBuilder.h"

namespace {

using bench::Cloud;
using bench::kGroups;

// Sends the host a scatter of `points` points coloured by group, built
// through the library's entry points as a procedure builds it: its index
// among the sent charts, or -1.
int sendScatter(int points) {
  bench::CxScatter scatter;
  const bool ok = scatter.begin(true) && scatter.feed(points) && scatter.end();
  scatter.close();
  return ok ? cxh_sent_count() - 1 : -1;
}

int sentScatter(int points) {
  static std::map<int, int> sent;
  const auto it = sent.find(points);
  if (it != sent.end()) return it->second;
  return sent[points] = sendScatter(points);
}

// What the runs measured, for the goals after them.
struct Figures {
  double seconds = 0;
  double peakMb = 0;     // operator new and large blocks
  double rssPeakMb = 0;  // the whole process
  double bytesPerPoint = 0;
};
std::map<std::string, Figures> figures;

void drawScatter(benchmark::State& state, chartxml::PictureFormat format) {
  const int points = static_cast<int>(state.range(0));
  const int chart = sentScatter(points);
  if (chart < 0) {
    state.SkipWithError("the scatter could not be sent");
    return;
  }
  chartxml::RenderOptions options;
  options.pageCases = format == chartxml::PictureFormat::kHtml;
  chartxml::ChartRenderer renderer(options);
  // Fonts and the text engine start once per process, not per chart.
  if (!renderer.loadSent(chart) || !renderer.picture(format)) {
    state.SkipWithError(renderer.error().c_str());
    return;
  }
  std::int64_t peak = 0, rssPeak = 0;
  std::size_t bytes = 0;
  for (auto _ : state) {
    bench::resetPeak();
    chartxml::render::resetLargePeak();
    const std::int64_t before = bench::liveBytes();
    const auto largeBefore = static_cast<std::int64_t>(chartxml::render::largeBytesLive());
    bench::resetRssPeak();
    const std::int64_t rssBefore = bench::statusField("VmRSS");
    const bool loaded = renderer.loadSent(chart);
    const auto picture = loaded ? renderer.picture(format) : std::nullopt;
    if (!picture) {
      state.SkipWithError(renderer.error().c_str());
      return;
    }
    bytes = picture->size();
    // Heap and large blocks may peak at different moments: their sum bounds both.
    const auto largePeak = static_cast<std::int64_t>(chartxml::render::largeBytesPeak());
    peak = std::max(peak, bench::peakBytes() - before + largePeak - largeBefore);
    rssPeak = std::max(rssPeak, bench::statusField("VmHWM") - rssBefore);
  }
  Figures& f =
      figures[(format == chartxml::PictureFormat::kPng ? "png/" : "svg/") + std::to_string(points)];
  f.peakMb = static_cast<double>(peak) / 1e6;
  f.rssPeakMb = static_cast<double>(rssPeak) / 1e6;
  f.bytesPerPoint = static_cast<double>(bytes) / points;
  state.counters["peak_MB"] = f.peakMb;
  state.counters["rss_peak_MB"] = f.rssPeakMb;
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["bytes_per_point"] = f.bytesPerPoint;
  state.SetItemsProcessed(state.iterations() * points);
}

void BM_ScatterPng(benchmark::State& state) {
  drawScatter(state, chartxml::PictureFormat::kPng);
}
BENCHMARK(BM_ScatterPng)
    ->Arg(1000000)
    ->Arg(10000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1.0)
    ->Repetitions(3)
    ->ReportAggregatesOnly(false);

void BM_ScatterSvg(benchmark::State& state) {
  drawScatter(state, chartxml::PictureFormat::kSvg);
}
BENCHMARK(BM_ScatterSvg)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The stages alone, to see where the time of a whole chart goes.

// Parsing the host's CSV text of a sent chart.
void BM_ReadCsv(benchmark::State& state) {
  const int points = static_cast<int>(state.range(0));
  const int chart = sentScatter(points);
  const char* csv = chart < 0 ? nullptr : cxh_sent_data_csv(chart, "source0");
  if (csv == nullptr) {
    state.SkipWithError("the scatter could not be sent");
    return;
  }
  const std::string_view text(csv);
  std::string error;
  for (auto _ : state) {
    auto table = chartxml::render::readCsv(text, "bench", error);
    benchmark::DoNotOptimize(table);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ReadCsv)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The sent 1M chart's model and data, read once, for the later stages.
struct ReadChart {
  std::optional<chartxml::render::ChartModel> model;
  std::map<std::string, chartxml::render::DataTable> tables;
};

bool readSent(int points, ReadChart& out, std::string& error) {
  const int chart = sentScatter(points);
  if (chart < 0) return (error = "the scatter could not be sent", false);
  const auto tree = chartxml::render::parseXml(cxh_sent_xml(chart), error);
  if (tree) out.model = chartxml::render::buildModel(*tree, error);
  if (!out.model) return false;
  for (const auto& variable : out.model->variables) {
    if (variable.source.empty() || out.tables.count(variable.source) > 0) continue;
    const char* csv = cxh_sent_data_csv(chart, variable.source.c_str());
    auto table = chartxml::render::readCsv(csv ? csv : "", "bench", error);
    if (!table) return false;
    out.tables.emplace(variable.source, std::move(*table));
  }
  return true;
}

// A picture's scene: no cases kept for a page's tooltips.
constexpr chartxml::render::SceneOptions kPictureOnly{800, 600, false};

// Statistics, scales and layout: the read chart to its scene.
void BM_BuildScene(benchmark::State& state) {
  ReadChart chart;
  std::string error;
  if (!readSent(static_cast<int>(state.range(0)), chart, error)) {
    state.SkipWithError(error.c_str());
    return;
  }
  chartxml::render::TextEngine text;
  for (auto _ : state) {
    auto scene =
        chartxml::render::buildScene(*chart.model, chart.tables, text, kPictureOnly, error);
    if (!scene) {
      state.SkipWithError(error.c_str());
      return;
    }
    benchmark::DoNotOptimize(scene);
  }
}
BENCHMARK(BM_BuildScene)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();

// The device: a built scene to PNG bytes.
void BM_DrawPng(benchmark::State& state) {
  ReadChart chart;
  std::string error;
  chartxml::render::TextEngine text;
  std::optional<chartxml::render::Scene> scene;
  if (readSent(static_cast<int>(state.range(0)), chart, error)) {
    scene = chartxml::render::buildScene(*chart.model, chart.tables, text, kPictureOnly, error);
  }
  if (!scene) {
    state.SkipWithError(error.c_str());
    return;
  }
  std::string png;
  for (auto _ : state) {
    if (!chartxml::render::drawPng(*scene, text, 1, png, error)) {
      state.SkipWithError(error.c_str());
      return;
    }
  }
}
BENCHMARK(BM_DrawPng)->Arg(1000000)->Arg(10000000)->Unit(benchmark::kMillisecond)->UseRealTime();

// Blending markers of 2 pixels in five translucent colours, spread evenly
// over an 800x600 image, as the 1M chart's panel holds them.
void BM_BlitPoints(benchmark::State& state) {
  namespace device = chartxml::render::device;
  const int points = static_cast<int>(state.range(0));
  chartxml::render::PointBatch batch;
  batch.size = 2;
  batch.palette = {{230, 159, 0, 90},
                   {86, 180, 233, 90},
                   {0, 158, 115, 90},
                   {0, 114, 178, 90},
                   {213, 94, 0, 90}};
  Cloud cloud;
  for (int i = 0; i < points; ++i) {
    batch.x.push_back(static_cast<float>(cloud.uniform() * 800));
    batch.y.push_back(static_cast<float>(cloud.uniform() * 600));
    batch.colorIndex.push_back(static_cast<std::uint16_t>(i % kGroups));
  }
  std::vector<std::uint32_t> pixels(800 * 600, 0xFFFFFFFFu);
  const device::PixelImage image{reinterpret_cast<unsigned char*>(pixels.data()), 800, 600,
                                 800 * 4};
  for (auto _ : state) {
    if (!device::blitPoints(batch, {}, {0, 0, 800, 600}, image)) {
      state.SkipWithError("no masks");
      return;
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * points);
}
BENCHMARK(BM_BlitPoints)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  cxh_set_quiet(1);
  cxh_set_output_dir(nullptr);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  benchmark::Initialize(&argc, argv);
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);
  // "BM_ScatterPng/1000000/min_time:2.000/real_time" is "png/1000000"; the
  // unit is milliseconds.
  for (const auto& [run, times] : recorder.times) {
    const std::size_t slash = run.find('/');
    const std::string kind = run.rfind("BM_ScatterPng/", 0) == 0   ? "png/"
                             : run.rfind("BM_ScatterSvg/", 0) == 0 ? "svg/"
                                                                   : "";
    if (kind.empty()) continue;
    const std::string points = run.substr(slash + 1, run.find('/', slash + 1) - slash - 1);
    figures[kind + points].seconds = times.real / 1e3;
  }

  bool ok = true;
  std::printf("\n");
  const auto have = [](const char* name) { return figures.count(name) > 0; };
  if (have("png/1000000")) {
    const Figures& f = figures["png/1000000"];
    ok &= bench::check("1M points, 5 groups, sent chart to PNG: time", f.seconds, 0.1, "s");
    ok &= bench::check("  peak memory (operator new, large blocks)", f.peakMb, 60, "MB");
    ok &= bench::check("  new resident memory (whole process)", f.rssPeakMb, 60, "MB");
  }
  if (have("png/10000000")) {
    const Figures& f = figures["png/10000000"];
    ok &= bench::check("10M points, 5 groups, sent chart to PNG: time", f.seconds, 1.0, "s");
    ok &= bench::check("  peak memory (operator new, large blocks)", f.peakMb, 400, "MB");
    ok &= bench::check("  new resident memory (whole process)", f.rssPeakMb, 400, "MB");
  }
  if (have("svg/1000000")) {
    const Figures& f = figures["svg/1000000"];
    ok &= bench::check("1M points to SVG: bytes per point", f.bytesPerPoint, 16, "B");
  }
  return bench::verdict(ok);
}
