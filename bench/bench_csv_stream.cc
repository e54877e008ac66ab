// The data CSV of a chart sent into an output folder, streamed from the
// feed's columns to its file: its speed against a plain loop writing the
// same numbers (the anchor), and the memory a 10-million-row chart takes.
//
// bench_csv_stream            the CSV phase against its anchor, then the
//                             memory run in a fresh process of its own
// bench_csv_stream --peak     the memory run alone
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/util/PlatformUtils.hpp>

#include "bench_charts.h"
#include "bench_support.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#include "chartxml/host/ChartString.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/VarDataProcessor.h"
#include "chartxml/host/XDocument.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

using bench::Cloud;
using bench::kGroups;
constexpr std::size_t kBufferBytes = 64 * 1024;

// A scratch folder for this process, removed at exit.
struct Scratch {
  fs::path path = fs::temp_directory_path() / ("bench_csv_stream-" + std::to_string(getpid()));
  Scratch() { fs::create_directories(path); }
  ~Scratch() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

// ---- (a) the CSV phase ------------------------------------------------------

struct Columns {
  std::vector<double> x, y, group;
  explicit Columns(int rows) {
    Cloud cloud;
    for (int i = 0; i < rows; ++i) {
      double a = 0, b = 0;
      cloud.point(i % kGroups, a, b);
      x.push_back(a);
      y.push_back(b);
      group.push_back(i % kGroups + 1);
    }
  }
};

// The same values in the host's feed.
struct Feed {
  VarDataProcessor data;
  explicit Feed(const Columns& columns) {
    data.AddDataSource("source0", static_cast<int>(columns.x.size()));
    VarDataProcessor::_varinfo* vars[3];
    const char* names[] = {"x", "y", "group"};
    for (int c = 0; c < 3; ++c) {
      vars[c] = new VarDataProcessor::_varinfo;
      data.AddVariable("source0", names[c], vars[c]);
    }
    for (std::uint32_t row = 0; row < columns.x.size(); ++row) {
      data.SetVariableValue(vars[0], row, columns.x[row]);
      data.SetVariableValue(vars[1], row, columns.y[row]);
      data.SetVariableValue(vars[2], row, columns.group[row]);
    }
  }
};

// The anchor: the least a CSV writer does, the shortest text of each number
// with ',' and '\n' through a 64 KiB buffer handed to write(2); `synced`,
// the file is on the device before it is closed, as the host's files are
// before they take their names.
bool writePlain(const Columns& columns, const std::string& path, bool synced) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  auto buffer = std::make_unique<char[]>(kBufferBytes);
  char* const begin = buffer.get();
  char* const end = begin + kBufferBytes;
  char* pos = begin;
  bool ok = true;
  const auto flush = [&] {
    for (const char* from = begin; ok && from < pos;) {
      const ssize_t n = ::write(fd, from, static_cast<std::size_t>(pos - from));
      ok = n > 0;
      from += n > 0 ? n : 0;
    }
    pos = begin;
  };
  std::memcpy(pos, "x,y,group\n", 10);
  pos += 10;
  const double* values[] = {columns.x.data(), columns.y.data(), columns.group.data()};
  for (std::size_t row = 0; row < columns.x.size(); ++row) {
    if (end - pos < 100) flush();
    for (int c = 0; c < 3; ++c) {
      pos = std::to_chars(pos, end, values[c][row]).ptr;
      *pos++ = c < 2 ? ',' : '\n';
    }
  }
  flush();
  if (synced && ::fsync(fd) != 0) ok = false;
  return ::close(fd) == 0 && ok;
}

Scratch& scratch() {
  static Scratch folder;
  return folder;
}

void anchorCsv(benchmark::State& state, bool synced) {
  const Columns columns(static_cast<int>(state.range(0)));
  const std::string path = (scratch().path / "anchor.csv").string();
  for (auto _ : state) {
    if (!writePlain(columns, path, synced)) state.SkipWithError("cannot write the anchor's file");
    state.PauseTiming();
    ::unlink(path.c_str());
    state.ResumeTiming();
  }
}
void BM_AnchorCsv(benchmark::State& state) {
  anchorCsv(state, false);
}
void BM_AnchorCsvSynced(benchmark::State& state) {
  anchorCsv(state, true);
}
BENCHMARK(BM_AnchorCsv)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_AnchorCsvSynced)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// The host's path: the chart's document, then the source streamed from the
// feed into the output folder under a temporary name and renamed.
void BM_StreamCsv(benchmark::State& state) {
  const Columns columns(static_cast<int>(state.range(0)));
  Feed feed(columns);
  const fs::path out = scratch().path / "out";
  cxh_set_output_dir(out.c_str());
  for (auto _ : state) {
    XDocument doc("<visualization><source id=\"source0\"/></visualization>", false, false);
    doc.SetChartData(&feed.data);
    if (!doc.SendChart(true, false, false)) state.SkipWithError("the chart could not be sent");
    state.PauseTiming();
    cxh_clear_sent();
    std::error_code ignored;
    fs::remove_all(out, ignored);
    state.ResumeTiming();
  }
  cxh_set_output_dir(nullptr);
}
BENCHMARK(BM_StreamCsv)
    ->Arg(1000000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);

// ---- (b) a whole chart's memory ------------------------------------------------

struct Memory {
  double rssMb = 0, heapMb = 0;
  static Memory now() {
    const struct mallinfo2 info = mallinfo2();
    return {bench::statusField("VmRSS") / 1e6,
            static_cast<double>(info.uordblks + info.hblkhd) / 1e6};
  }
};

// A scatter of `points` rows (x, y and a group 1..5 as a number) built
// through the library's entry points as a procedure builds it and sent into
// `folder`; prints the memory at each stage. The status of the goals.
int peakRun(int points) {
  const Scratch folder;
  const Memory start = Memory::now();
  cxh_set_output_dir((folder.path / "out").c_str());
  bench::CxScatter scatter;
  bool ok = scatter.begin(false);
  const Memory built = Memory::now();
  ok = ok && scatter.feed(points);
  const Memory fed = Memory::now();
  const double peakFedMb = bench::statusField("VmHWM") / 1e6;
  ok = ok && scatter.end();
  const Memory ended = Memory::now();
  const double peakMb = bench::statusField("VmHWM") / 1e6;
  scatter.close();
  const Memory terminated = Memory::now();

  const char* csv = ok ? cxh_sent_data_path(0, "source0") : nullptr;
  std::error_code ec;
  const double fileMb = csv ? static_cast<double>(fs::file_size(csv, ec)) / 1e6 : 0;
  ok = ok && csv != nullptr && cxh_sent_data_csv(0, "source0") == nullptr && fileMb > 0;

  std::printf("\n%d rows (x, y and a whole-number group) sent into a folder (CSV file %.1f MB)\n",
              points, fileMb);
  // Heap: bytes malloc hands out, the columns' blocks counted at their
  // reserved size (touched or not); RSS: what is resident.
  std::printf("%-34s %10s %10s\n", "stage", "RSS MB", "heap MB");
  const auto row = [](const char* stage, const Memory& m) {
    std::printf("%-34s %10.1f %10.1f\n", stage, m.rssMb, m.heapMb);
  };
  row("start of the process", start);
  row("chart built, no rows", built);
  row("rows fed (before CX_ENDCHART)", fed);
  row("after CX_ENDCHART", ended);
  row("after CX_TERMINATE", terminated);
  std::printf("peak RSS while feeding: %.1f MB; the feed's columns alone: %.1f MB\n", peakFedMb,
              (8.0 + 8.0 + 4.0) * points / 1e6);
  std::printf("peak RSS added by CX_ENDCHART (the CSV written): %.1f MB\n", peakMb - peakFedMb);
  std::printf("\n");
  // The peak is the feed's columns (8 bytes a value, 4 for the group's whole
  // numbers) over the process's
  // own; sending adds only the stream's buffer and the document.
  bool met = bench::check("sent chart of 10M rows: peak resident memory", peakMb, 250, "MB");
  met &= bench::check("  peak resident memory added by CX_ENDCHART", peakMb - peakFedMb, 10, "MB");
  met &= bench::check("  resident memory held after CX_ENDCHART (over built)",
                      ended.rssMb - built.rssMb, 10, "MB");
  met &= bench::check("  heap held after CX_ENDCHART (over built)", ended.heapMb - built.heapMb, 1,
                      "MB");
  if (!ok) std::printf("the chart was not sent whole\n");
  return bench::verdict(met && ok);
}

// Runs this program again with --peak, so that the peak is the chart's alone.
int peakInFreshProcess() {
  char self[] = "/proc/self/exe";
  char peak[] = "--peak";
  char* args[] = {self, peak, nullptr};
  std::fflush(stdout);
  pid_t child = 0;
  if (posix_spawn(&child, self, nullptr, nullptr, args, environ) != 0) return 1;
  int status = 0;
  if (waitpid(child, &status, 0) != child) return 1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int argc, char** argv) {
  cxh_set_quiet(1);
  cxh_set_output_dir(nullptr);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  if (argc == 2 && std::strcmp(argv[1], "--peak") == 0) return peakRun(10000000);

  xercesc::XMLPlatformUtils::Initialize();
  benchmark::Initialize(&argc, argv);
  bench::Recorder recorder;
  benchmark::RunSpecifiedBenchmarks(&recorder);
  xercesc::XMLPlatformUtils::Terminate();

  bool ok = true;
  std::printf("\n");
  const double stream = recorder.of("BM_StreamCsv").real;
  const double anchor = recorder.of("BM_AnchorCsv").real;
  const double synced = recorder.of("BM_AnchorCsvSynced").real;
  if (stream > 0 && anchor > 0 && synced > 0) {
    // The host syncs the file before naming it (no chart is left
    // half-written): the like-for-like anchor syncs too.
    std::printf(
        "1M rows x 3 doubles to a CSV file: streamed and synced %.1f ms, anchor %.1f ms "
        "(%.1f ms unsynced)\n",
        stream, synced, anchor);
    std::printf("%-50s %10.3f x\n", "  streamed / unsynced anchor", stream / anchor);
    ok &= bench::check("  streamed / synced anchor", stream / synced, 1.15, "x");
  }
  std::fflush(stdout);
  ok &= peakInFreshProcess() == 0;
  return bench::verdict(ok);
}
