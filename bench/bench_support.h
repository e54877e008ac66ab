// What the benchmark programs share: the count of operator new calls and of
// the bytes they hold (kept by bench_support.cc, which replaces operator new
// in the programs that link it), the process's resident memory, a reporter
// that keeps each run's times, and the check of a figure against its goal.
#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace bench {

// Calls of operator new since the program started.
std::size_t newCalls();
// Bytes held through operator new, counted at each block's usable size, and
// the most held since the last resetPeak.
std::int64_t liveBytes();
std::int64_t peakBytes();
void resetPeak();

// A field of /proc/self/status in bytes ("VmRSS" resident now, "VmHWM" the
// peak since resetRssPeak): what C libraries take with malloc counts too.
inline std::int64_t statusField(const char* field) {
  std::ifstream in("/proc/self/status");
  const std::string prefix = std::string(field) + ":";
  for (std::string line; std::getline(in, line);) {
    if (line.compare(0, prefix.size(), prefix) == 0) {
      return std::atoll(line.c_str() + prefix.size()) * 1024;
    }
  }
  return 0;
}
inline void resetRssPeak() {
  std::ofstream("/proc/self/clear_refs") << "5";
}

// Keeps the CPU and wall time per iteration of each run, in the run's unit,
// by its name with arguments ("BM_Feed/1000/min_time:1.000"); runs that
// failed keep nothing.
class Recorder : public benchmark::ConsoleReporter {
 public:
  struct Times {
    double cpu = 0, real = 0;
  };
  // A benchmark run in repetitions is recorded by its median: a run's
  // first repetition pays for memory the kernel has yet to hand back.
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      const std::string name = run.run_name.str();
      const bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
      if (median) medians_.insert(name);
      if (median || (run.run_type == Run::RT_Iteration && medians_.count(name) == 0)) {
        times[name] = {run.GetAdjustedCPUTime(), run.GetAdjustedRealTime()};
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  // The times of the benchmark `base` (its name before any argument); zero
  // when it did not run.
  Times of(const std::string& base) const {
    for (const auto& [name, time] : times) {
      if (name.substr(0, name.find('/')) == base) return time;
    }
    return {};
  }
  std::map<std::string, Times> times;

 private:
  std::set<std::string> medians_;
};

// Prints a figure beside its goal; true when it meets it.
inline bool check(const std::string& what, double value, double limit, const char* unit) {
  const bool ok = value <= limit;
  std::printf("%-52s %10.4g %-8s (target <= %g) %s\n", what.c_str(), value, unit, limit,
              ok ? "ok" : "MISSED");
  return ok;
}

// The same for a figure that must reach its goal (a speed).
inline bool checkAtLeast(const std::string& what, double value, double limit, const char* unit) {
  const bool ok = value >= limit;
  std::printf("%-52s %10.4g %-8s (target >= %g) %s\n", what.c_str(), value, unit, limit,
              ok ? "ok" : "MISSED");
  return ok;
}

// Prints the verdict over every goal; the program's exit status.
inline int verdict(bool ok) {
  std::printf("\n%s\n", ok ? "all targets met" : "some targets MISSED");
  return ok ? 0 : 1;
}

}  // namespace bench
