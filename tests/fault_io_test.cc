// File failures: each script runs with its 1st, 2nd, 3rd, ... file call
// (open, read, write, sync, close, rename) failing with ENOSPC or EIO until a
// run meets no failure. Every run must leave no half-written file, report the
// failure naming the system's error, and let the next chart go out whole
// with the right number. Then a real full disk: a small tmpfs.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

#include "FileIo.h"
#include "chartxml/chartxml_host.h"
#include "fault_support.h"
#include "test_support.h"

namespace fs = std::filesystem;

namespace {

using faulttest::Problems;
using faulttest::Stepper;

faulttest::Injector fileCalls;
int injectedError = 0;

int injectFault(cxio::Call) {
  if (!fileCalls.shouldFail()) return 0;
  // Both kinds of failure a disk gives, by turns.
  injectedError = fileCalls.calls() % 2 == 0 ? ENOSPC : EIO;
  return injectedError;
}

constexpr long kMostRuns = 10000;

// Some report since `first` names the injected error.
::testing::AssertionResult reportedError(int first) {
  const std::string error = std::strerror(injectedError);
  std::string seen;
  for (int i = first; i < cxh_report_count(); ++i) {
    const std::string message = cxh_report_message(i);
    if (message.find(error) != std::string::npos) return ::testing::AssertionSuccess();
    seen += "\n  " + message;
  }
  return ::testing::AssertionFailure() << "no report says \"" << error << "\":" << seen;
}

void emptyFolder(const std::string& folder) {
  for (const std::string& name : faulttest::listing(folder)) fs::remove(folder + "/" + name);
}

class FileFaults : public cxtest::FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    cxh_clear_sent();
    data_ = cxtest::openCsv(CHARTXML_TEST_DATA_DIR "/people.csv");
    ASSERT_NE(data_, nullptr);
    // The host's copy of the file layer and the renderer's (linked here).
    cxh_testonly_set_io_fault_hook(injectFault);
    cxio::setFaultHook(injectFault);
  }
  void TearDown() override {
    fileCalls.disarm();
    cxh_testonly_set_io_fault_hook(nullptr);
    cxio::setFaultHook(nullptr);
    cxh_set_output_dir(nullptr);
    cxh_set_validate(0);
    FacadeTest::TearDown();
    cxh_close(data_);
    cxh_clear_sent();
  }

  // Sends the chart with nothing failing: its files are whole and numbered
  // after the charts the host holds.
  void expectChartSent(const std::string& folder, const std::string& when) {
    Stepper step(fileCalls);
    ASSERT_GE(faulttest::buildAndSend(*cx, *data_, step), 0) << when;
    const int number = cxh_sent_count();
    char expected[32];
    std::snprintf(expected, sizeof expected, "/chart-%04d.source0.csv", number);
    const char* path = cxh_sent_data_path(number - 1, "source0");
    ASSERT_NE(path, nullptr) << when;
    EXPECT_EQ(path, folder + expected) << when;
    Problems problems;
    faulttest::checkChartFiles(folder, {number}, problems);
    for (const std::string& problem : problems) ADD_FAILURE() << problem << "; " << when;
  }

  VORN_DataSource* data_ = nullptr;
};

TEST_F(FileFaults, SendingIntoAFolderLeavesWholeChartsOrNoneWhateverCallFails) {
  const std::string folder = cxtest::scratchDir("fault-io-send");
  cxh_set_output_dir(folder.c_str());
  cxh_set_validate(1);  // the schema is read too
  faulttest::eachFault(
      fileCalls, 1, kMostRuns, "send into a folder",
      [&](long, Stepper& step) {
        emptyFolder(folder);
        cxh_clear_sent();
        cxh_clear_reports();
        return faulttest::buildAndSend(*cx, *data_, step);
      },
      [&](long n, const Stepper& step, int ended) {
        const std::string when = "file call " + std::to_string(n);
        Problems problems;
        faulttest::checkChartFiles(folder, ended >= 0 ? std::vector<int>{1} : std::vector<int>{},
                                   problems);
        for (const std::string& problem : problems) ADD_FAILURE() << problem << "; " << when;
        if (step.hitResult() < 0) {
          EXPECT_TRUE(reportedError(0))
              << step.hitStep() << " did not report the system's error; " << when;
        }
        emptyFolder(folder);
        expectChartSent(folder, "the next chart after " + when);
      },
      [](int ended) { return ended >= 0; });
}

TEST_F(FileFaults, DrawingFromFilesWritesWholePicturesOrNoneWhateverCallFails) {
  const std::string charts = cxtest::scratchDir("fault-io-charts");
  const std::string folder = cxtest::scratchDir("fault-io-draw");
  cxh_set_output_dir(charts.c_str());
  expectChartSent(charts, "the chart to draw");
  const std::string document = charts + "/chart-0001.xml";
  Problems problems;
  Stepper clean(fileCalls);
  ASSERT_EQ(faulttest::drawLatest(folder, document, clean, problems), 2);
  const std::map<std::string, std::string> pictures{
      {"picture.png", faulttest::readAll(folder + "/picture.png")},
      {"picture.svg", faulttest::readAll(folder + "/picture.svg")}};
  faulttest::eachFault(
      fileCalls, 1, kMostRuns, "draw from files",
      [&](long, Stepper& step) {
        emptyFolder(folder);
        return faulttest::drawLatest(folder, document, step, problems);
      },
      [&](long n, const Stepper&, int written) {
        faulttest::checkPictures(folder, written, pictures,
                                 "after file call " + std::to_string(n) + " failed", problems);
        for (const std::string& problem : problems) ADD_FAILURE() << problem;
        problems.clear();
      },
      [&](int written) { return written == 2 && problems.empty(); });
}

TEST_F(FileFaults, ReadingACsvWithItsDictionaryFailsWithTheSystemsErrorOrReadsItAll) {
  // A procedure's run without Initialize: the data source goes with the
  // last chart, so each run ties its own.
  ChartXml::Terminate();
  cx = ChartXml::GetInstance();
  const std::string csv = faulttest::copyPeople(cxtest::scratchDir("fault-io-read"));
  const auto read = [&](long n, Stepper& step) {
    Problems problems;
    const int status = faulttest::readThroughHost(*cx, csv, step, problems);
    for (const std::string& problem : problems) ADD_FAILURE() << problem << ", file call " << n;
    return status;
  };
  faulttest::eachFault(
      fileCalls, 1, kMostRuns, "read CSV, dictionary and string tables",
      [&](long n, Stepper& step) {
        cxh_clear_reports();
        return read(n, step);
      },
      [&](long n, const Stepper& step, int) {
        if (step.hitResult() < 0) {
          EXPECT_TRUE(reportedError(0))
              << step.hitStep() << " did not report the system's error; file call " << n;
        }
        Stepper again(fileCalls);
        EXPECT_EQ(read(n, again), 0) << "the next read after file call " << n;
      },
      [](int status) { return status == 0; });
}

// A tmpfs of its own, unmounted when the test ends.
class SmallDisk {
 public:
  explicit SmallDisk(std::string folder) : folder_(std::move(folder)) {
    mounted_ = ::mount("tmpfs", folder_.c_str(), "tmpfs", 0, "size=256k") == 0;
    error_ = errno;
  }
  ~SmallDisk() {
    if (mounted_) ::umount2(folder_.c_str(), MNT_DETACH);
  }
  bool mounted() const { return mounted_; }
  int error() const { return error_; }

 private:
  std::string folder_;
  bool mounted_ = false;
  int error_ = 0;
};

TEST_F(FileFaults, AFullDiskLeavesNothingHalfWrittenAndTheNextChartGoesOutOnceThereIsRoom) {
  const std::string folder = cxtest::scratchDir("fault-io-disk");
  const SmallDisk disk(folder);
  if (!disk.mounted()) {
    GTEST_SKIP() << "cannot mount a tmpfs here: " << std::strerror(disk.error());
  }
  // The disk filled: no page is left for the chart's files.
  const std::string filler = folder + "/filler";
  {
    std::ofstream out(filler, std::ios::binary);
    const std::string block(4096, 'x');
    while (out.write(block.data(), block.size())) {
    }
  }
  cxh_set_output_dir(folder.c_str());
  Stepper step(fileCalls);
  const int reports = cxh_report_count();
  EXPECT_LT(faulttest::buildAndSend(*cx, *data_, step), 0);
  injectedError = ENOSPC;
  EXPECT_TRUE(reportedError(reports));
  EXPECT_EQ(faulttest::listing(folder), std::vector<std::string>{"filler"});

  fs::remove(filler);
  expectChartSent(folder, "the chart after room was made");
  EXPECT_EQ(cxh_sent_count(), 2);  // the failed chart kept its number
}

}  // namespace
