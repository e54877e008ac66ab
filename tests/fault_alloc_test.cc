// Allocation failures: each script runs with its 1st, 2nd, 3rd, ...
// allocation failing until a run meets no failure. Every run must end
// without a crash or an escaping exception, the step that met the failure
// must work or report, the instance must go on working, and what was sent
// or written must be whole. The sanitizer build adds: no leak.
//
// Only operator new (every form) is counted: cairo, pango and glib allocate
// with malloc, and glib aborts when malloc fails, so the renderer's drawing
// libraries are outside what this can test.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <new>

#include "chartxml/chartxml_host.h"
#include "fault_support.h"
#include "test_support.h"

namespace {

faulttest::Injector allocations;

void* allocate(std::size_t size, std::size_t alignment) {
  if (allocations.shouldFail()) return nullptr;
  if (size == 0) size = 1;
  if (alignment <= alignof(std::max_align_t)) return std::malloc(size);
  void* memory = nullptr;
  return ::posix_memalign(&memory, alignment, size) == 0 ? memory : nullptr;
}

void* allocateOrThrow(std::size_t size, std::size_t alignment) {
  if (void* memory = allocate(size, alignment)) return memory;
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new[](std::size_t size) {
  return allocateOrThrow(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return allocateOrThrow(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size, 0);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return allocate(size, static_cast<std::size_t>(alignment));
}

// Every form of delete frees: new took all its memory from malloc.
#define CHARTXML_DELETE_FORMS(...)                                           \
  void operator delete(void* memory __VA_OPT__(, ) __VA_ARGS__) noexcept {   \
    std::free(memory);                                                       \
  }                                                                          \
  void operator delete[](void* memory __VA_OPT__(, ) __VA_ARGS__) noexcept { \
    std::free(memory);                                                       \
  }
CHARTXML_DELETE_FORMS()
CHARTXML_DELETE_FORMS(std::size_t)
CHARTXML_DELETE_FORMS(std::align_val_t)
CHARTXML_DELETE_FORMS(std::size_t, std::align_val_t)
CHARTXML_DELETE_FORMS(const std::nothrow_t&)
CHARTXML_DELETE_FORMS(std::align_val_t, const std::nothrow_t&)
#undef CHARTXML_DELETE_FORMS

namespace {

using faulttest::Problems;
using faulttest::Stepper;

// The most runs a script may need; a script that still meets a failure
// after this many allocations has an allocation loop worth knowing about.
constexpr long kMostRuns = 200000;

// Which allocations fail: each in turn, or, in the sanitizers' build where a
// run costs ten times as much, every kStep-th (1, 1 + kStep, ...), which
// still reaches every stage of each script. Each faulted run is followed by
// a clean one on the same instance.
#if defined(CHARTXML_FAULT_STEP)
constexpr long kStep = CHARTXML_FAULT_STEP;
#else
constexpr long kStep = 1;
#endif

class AllocationFaults : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    // The host's own check of a sent chart is left out while allocations
    // fail: the XML library's schema loader crashes when one of its
    // allocations fails. What was sent is checked afterwards instead.
    cxh_set_validate(0);
    cxh_clear_sent();
    data_ = cxtest::openCsv(CHARTXML_TEST_DATA_DIR "/people.csv");
    ASSERT_NE(data_, nullptr);
  }
  void TearDown() override {
    allocations.disarm();
    cxh_set_validate(1);
    FacadeTest::TearDown();
    cxh_close(data_);
    cxh_clear_sent();
  }

  // The step that met the failure reported when it failed.
  static void expectReported(const Stepper& step, long n) {
    if (step.hit() && step.hitResult() < 0) {
      EXPECT_TRUE(step.hitReported())
          << step.hitStep() << " failed silently when allocation " << n << " failed";
    }
  }

  // Builds and sends the chart with nothing failing: it must be sent whole.
  void expectChartSent(const char* when, long n) {
    const int sent = cxh_sent_count();
    Stepper step(allocations);
    EXPECT_GE(faulttest::buildAndSend(*cx, *data_, step), 0) << when << n;
    ASSERT_EQ(cxh_sent_count(), sent + 1) << when << n;
    EXPECT_EQ(cxh_check_xml(cxh_sent_xml(sent), 1), 0) << when << n;
  }

  VORN_DataSource* data_ = nullptr;
};

TEST_F(AllocationFaults, BuildingAndSendingAChartSurvivesEveryAllocationFailing) {
  faulttest::eachFault(
      allocations, kStep, kMostRuns, "build and send",
      [&](long, Stepper& step) {
        cxh_clear_reports();
        cxh_clear_sent();
        return faulttest::buildAndSend(*cx, *data_, step);
      },
      [&](long n, const Stepper& step, int ended) {
        expectReported(step, n);
        // A chart that was sent is whole, however its building went.
        for (int i = 0; i < cxh_sent_count(); ++i) {
          const int reports = cxh_report_count();
          EXPECT_EQ(cxh_check_xml(cxh_sent_xml(i), 1), 0)
              << "sent after allocation " << n << " failed in " << step.hitStep() << ": "
              << (cxh_report_count() > reports ? cxh_report_message(reports) : "") << "\n"
              << std::string(cxh_sent_xml(i)).substr(0, 300);
        }
        if (ended >= 0) {
          EXPECT_EQ(cxh_sent_count(), 1) << "ended but not sent, allocation " << n;
        }
        expectChartSent("the next chart after allocation ", n);
      },
      [](int ended) { return ended >= 0; });
}

TEST_F(AllocationFaults, DrawingASentChartSurvivesEveryAllocationFailing) {
  const std::string folder = cxtest::scratchDir("fault-alloc-draw");
  expectChartSent("the chart to draw", 0);
  // What a run without failures writes: a run that writes a picture writes
  // exactly these bytes.
  Problems problems;
  Stepper clean(allocations);
  ASSERT_EQ(faulttest::drawLatest(folder, "", clean, problems), 2) << problems.front();
  const std::map<std::string, std::string> pictures{
      {"picture.png", faulttest::readAll(folder + "/picture.png")},
      {"picture.svg", faulttest::readAll(folder + "/picture.svg")}};
  faulttest::eachFault(
      allocations, kStep, kMostRuns, "draw",
      [&](long, Stepper& step) {
        std::filesystem::remove(folder + "/picture.png");
        std::filesystem::remove(folder + "/picture.svg");
        return faulttest::drawLatest(folder, "", step, problems);
      },
      [&](long n, const Stepper& step, int written) {
        faulttest::checkPictures(
            folder, written, pictures,
            "after allocation " + std::to_string(n) + " failed in " + step.hitStep(), problems);
        for (const std::string& problem : problems) ADD_FAILURE() << problem;
        problems.clear();
      },
      [&](int written) { return written == 2 && problems.empty(); });
}

TEST_F(AllocationFaults, ReadingACsvWithItsDictionarySurvivesEveryAllocationFailing) {
  // A procedure's run without Initialize: the data source goes with the
  // last chart, so each run ties its own.
  ChartXml::Terminate();
  cx = ChartXml::GetInstance();
  const std::string csv = faulttest::copyPeople(cxtest::scratchDir("fault-alloc-read"));
  const auto read = [&](long n, Stepper& step) {
    Problems problems;
    const int status = faulttest::readThroughHost(*cx, csv, step, problems);
    for (const std::string& problem : problems) ADD_FAILURE() << problem << ", allocation " << n;
    return status;
  };
  faulttest::eachFault(
      allocations, kStep, kMostRuns, "read CSV and dictionary",
      [&](long n, Stepper& step) {
        cxh_clear_reports();
        return read(n, step);
      },
      [&](long n, const Stepper& step, int) {
        expectReported(step, n);
        Stepper again(allocations);
        EXPECT_EQ(read(n, again), 0) << "the next read after allocation " << n;
      },
      [](int status) { return status == 0; });
}

}  // namespace
