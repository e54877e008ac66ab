// The charts and data the benchmarks share: the scatter of five clouds that
// the render and CSV benchmarks send through the CX_ entry points, and a
// data source of three numeric columns for the feed benchmarks.
#ifndef CHARTXML_BENCH_BENCH_CHARTS_H_
#define CHARTXML_BENCH_BENCH_CHARTS_H_

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/codes.h"
#include "chartxml/cx.h"
#include "chartxml/host/VORN_DataSource.h"

namespace bench {

constexpr int kGroups = 5;

// Five round clouds of normal points (Box-Muller over a fixed linear
// congruential sequence), point i in group i % 5: the data
// bench/render_vs_matplotlib.py makes.
struct Cloud {
  std::uint64_t state = 42;
  double uniform() {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    return (static_cast<double>(state >> 11) + 0.5) / 9007199254740992.0;
  }
  void point(int group, double& x, double& y) {
    const double r = std::sqrt(-2 * std::log(uniform())), t = 2 * M_PI * uniform();
    x = group * 2.0 + r * std::cos(t);
    y = (group % 2) * 3.0 + r * std::sin(t);
  }
};

// A numeric data source of columns x, y and z with no rows: variables need
// columns to refer to; the values come from the benchmark's loop.
class ThreeColumns : public VORN_DataSource {
 public:
  ThreeColumns() {
    for (const char* name : {"x", "y", "z"}) columns_.emplace_back(name, false);
  }
  int ColumnCount() const override { return 3; }
  int RowCount() const override { return 0; }
  VORN_Variable* GetVariable(int column) override {
    return column >= 0 && column < 3 ? &columns_[static_cast<std::size_t>(column)] : nullptr;
  }
  double GetNumber(int, int) const override { return 0; }
  std::string GetString(int, int) const override { return {}; }

 private:
  std::vector<VORN_Variable> columns_;
};

// The feed benchmarks' anchor: `rows` rows of three values (r, r/2, r+1)
// appended to three vectors reserved beforehand, outside the timing.
inline void fillReservedVectors(benchmark::State& state, int rows) {
  state.PauseTiming();
  std::vector<double> columns[3];
  for (auto& c : columns) c.reserve(static_cast<std::size_t>(rows));
  state.ResumeTiming();
  for (int r = 0; r < rows; ++r) {
    const double x = r;
    columns[0].push_back(x);
    columns[1].push_back(x * 0.5);
    columns[2].push_back(x + 1);
    benchmark::ClobberMemory();
  }
  benchmark::DoNotOptimize(columns);
}

// A scatter of x and y (group as the third variable) built through the
// CX_ entry points as a procedure builds it, in steps, so that a benchmark
// can measure between them: begin, feed, end, then close.
class CxScatter {
 public:
  // Starts the library and builds the chart; with `coloured`, points are
  // coloured by group and a legend says so. False (said on stderr) when a
  // step fails.
  bool begin(bool coloured) {
    // The variables need a data source with the columns' names; its rows
    // come from the feed.
    char path[] = "/tmp/bench_scatter_XXXXXX.csv";
    const int fd = mkstemps(path, 4);
    if (fd < 0) return false;
    ::close(fd);
    std::ofstream(path) << "x,y,group\n0,0,1\n";
    source_ = cxh_open_csv(path);
    std::remove(path);
    if (source_ == nullptr) return false;
    auto* dictionary = static_cast<VORN_FortranDictionary*>(source_);
    const std::string procedure = "bench";
    const auto length = static_cast<int64_t>(procedure.size());
    int64_t graph = kNone, frame = kNone, element = kNone;
    int64_t xStyle = kNone, xAxis = kNone, yStyle = kNone, yAxis = kNone;
    bool ok = need(CX_INIT(allOnes(), &dictionary, procedure.data(), &length), "CX_INIT") &&
              need(CX_CREATECHARTEX(allOnes(), &dictionary, procedure.data(), &length, &chart_,
                                    &data_, &graph, &frame),
                   "CX_CREATECHARTEX");
    for (int64_t c = 0; ok && c < 3; ++c) {
      const int64_t categorical = c == 2 ? kYes : kNo;
      vars_[c] = CX_ADDVARIABLE(&chart_, &data_, &c, &categorical);
      ok = need(vars_[c], "CX_ADDVARIABLE");
    }
    ok = ok &&
         need(CX_ADDXYDIMENSIONWITHAXIS(&chart_, &frame, &kNone, &kNone, &kNo, &kNo, &xStyle,
                                        &xAxis, &yStyle, &yAxis),
              "CX_ADDXYDIMENSIONWITHAXIS") &&
         need(CX_ADDXYELEMENTEX(&chart_, &frame, &kFirst, &kPoint, &vars_[0], &vars_[1], &kScatter,
                                &element),
              "CX_ADDXYELEMENTEX");
    if (ok && coloured) {
      int64_t style = kNone, legend = kNone;
      ok = need(CX_ADDCOLOR(&chart_, &element, &vars_[2]), "CX_ADDCOLOR") &&
           need(CX_ADDLEGENDFRAME(&chart_, &graph, &element, &kFirst, &kColor, nullptr, &style,
                                  &legend),
                "CX_ADDLEGENDFRAME");
    }
    return ok;
  }

  // Feeds `points` rows of the clouds: x, y and group 1..5.
  bool feed(int points) {
    Cloud cloud;
    for (int i = 0; i < points; ++i) {
      double x = 0, y = 0;
      cloud.point(i % kGroups, x, y);
      const double group = i % kGroups + 1;
      if (CX_ADDROW(&chart_, &data_) < 0 ||
          CX_ADDDOUBLEDATAVALUE(&chart_, &data_, &vars_[0], &x) < 0 ||
          CX_ADDDOUBLEDATAVALUE(&chart_, &data_, &vars_[1], &y) < 0 ||
          CX_ADDDOUBLEDATAVALUE(&chart_, &data_, &vars_[2], &group) < 0) {
        std::fprintf(stderr, "bench: a row could not be fed\n");
        return false;
      }
    }
    return true;
  }

  // Ends (and so sends) the chart.
  bool end() { return need(CX_ENDCHART(&chart_), "CX_ENDCHART"); }

  // Stops the library and closes the data source.
  void close() {
    CX_TERMINATE();
    if (source_ != nullptr) cxh_close(source_);
    source_ = nullptr;
  }

 private:
  // Word codes of the chart vocabulary, as the command-line tool uses them.
  static constexpr int64_t kPoint = CX_WORD_POINT;
  static constexpr int64_t kScatter = CX_WORD_SCATTER;
  static constexpr int64_t kColor = CX_WORD_COLOR;
  static constexpr int64_t kNone = -1;
  static constexpr int64_t kNo = 0;
  static constexpr int64_t kYes = 1;
  static constexpr int64_t kFirst = 1;
  static void* allOnes() { return reinterpret_cast<void*>(~std::uintptr_t{0}); }

  static bool need(int64_t status, const char* step) {
    if (status >= 0) return true;
    std::fprintf(stderr, "bench: %s failed\n", step);
    return false;
  }

  void* source_ = nullptr;
  int64_t chart_ = kNone, data_ = kNone;
  int64_t vars_[3] = {kNone, kNone, kNone};
};

}  // namespace bench

#endif  // CHARTXML_BENCH_BENCH_CHARTS_H_
