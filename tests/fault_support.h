// The call scripts that the fault suites run again and again, one more
// allocation or file call failing each time, and the checks that every run
// must pass: the step that met the fault either worked or reported, no file
// is left half-written, and what was sent parses and checks.
#ifndef CHARTXML_TESTS_FAULT_SUPPORT_H_
#define CHARTXML_TESTS_FAULT_SUPPORT_H_

#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "chartxml/ChartXml.h"
#include "chartxml/host/VORN_DataSource.h"

namespace faulttest {

// Makes the Nth call of some kind fail, once. Only calls made while a step
// of a script runs are counted (never the test's own), from any thread.
class Injector {
 public:
  // Counting starts again; 0: count only, fail nothing.
  void arm(long failAt) {
    failAt_ = failAt;
    calls_ = 0;
    fired_ = false;
  }
  void disarm() { arm(0); }
  // Asked by the hook at each call: true when this one must fail.
  bool shouldFail() {
    if (!active_.load(std::memory_order_relaxed)) return false;
    const long n = calls_.fetch_add(1, std::memory_order_relaxed) + 1;
    if (n != failAt_) return false;
    fired_ = true;
    return true;
  }
  void setActive(bool active) { active_ = active; }
  long calls() const { return calls_; }
  bool fired() const { return fired_; }

 private:
  std::atomic<bool> active_{false};
  std::atomic<long> calls_{0};
  std::atomic<long> failAt_{0};
  std::atomic<bool> fired_{false};
};

// Runs the steps of a script and notes the one during which the fault fired:
// its name, its result and whether it reported anything.
class Stepper {
 public:
  explicit Stepper(Injector& fault) : fault_(fault) {}

  int operator()(const char* name, const std::function<int()>& call);

  bool hit() const { return !hitStep_.empty(); }
  const std::string& hitStep() const { return hitStep_; }
  int hitResult() const { return hitResult_; }
  bool hitReported() const { return hitReported_; }

 private:
  Injector& fault_;
  std::string hitStep_;
  int hitResult_ = 0;
  bool hitReported_ = false;
};

// Names in `folder`, sorted.
std::vector<std::string> listing(const std::string& folder);

// The bytes of the file at `path`.
std::string readAll(const std::string& path);

// What the checks of one run found; empty when it passed.
using Problems = std::vector<std::string>;

// Runs `script` with its 1st, (1 + every)th, ... call failing, until a run
// meets no failure; `judge` checks each run that met one (which call failed,
// the steps, the script's result), and `clean` the result of the run that met
// none. Stops at the first failed check, and fails when `most` calls are not
// enough. Prints the count as `what`.
void eachFault(Injector& fault, long every, long most, const char* what,
               const std::function<int(long, Stepper&)>& script,
               const std::function<void(long, const Stepper&, int)>& judge,
               const std::function<bool(int)>& clean);

// Each picture of `folder` (there are `written`) has the bytes the clean
// run wrote, as `clean` holds them by name; `when` says which run.
void checkPictures(const std::string& folder, int written,
                   const std::map<std::string, std::string>& clean, const std::string& when,
                   Problems& problems);

// Every chart file in `folder` is whole: no temporary file is left, each
// chart-NNNN.xml parses and checks against the schema, and each of its data
// files named by its sources is there. `expected` lists the chart numbers
// that must be present.
void checkChartFiles(const std::string& folder, const std::vector<int>& expected,
                     Problems& problems);

// Script (a): one chart built through the facade with every family of
// builders (frames, labels, elements, positions, aesthetics, coordinates,
// dimensions, axes, guides, legends, facets, domains, sorts, statistics,
// fitted lines, variables, relabels), its rows of numbers and texts fed, and
// ended (sent). Returns EndChart's result, or -1 when an earlier step left
// nothing to end.
int buildAndSend(ChartXml& cx, VORN_DataSource& data, Stepper& step);

// Script (b): the latest sent chart drawn as picture.png and picture.svg
// into `folder`, read from the host in memory or, when `document` is given,
// from that file. Returns how many pictures were written. A step that fails
// without the renderer saying why adds to `problems`.
int drawLatest(const std::string& folder, const std::string& document, Stepper& step,
               Problems& problems);

// Script (c): the CSV at `csv` (with the dictionary beside it) opened
// through the host, a procedure dictionary over three of its columns, the
// string tables of a procedure loaded, and two variables of a chart declared
// through the dictionary; then all released. Returns 0, or -1 when a step
// failed. A source that opens has its dictionary's labels: a source that
// silently lost them adds to `problems`.
int readThroughHost(ChartXml& cx, const std::string& csv, Stepper& step, Problems& problems);

// The data script (c) reads: people.csv and its dictionary, copied into
// `folder`; the path of the CSV.
std::string copyPeople(const std::string& folder);

}  // namespace faulttest

#endif  // CHARTXML_TESTS_FAULT_SUPPORT_H_
