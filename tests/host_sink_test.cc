// The output sink: a chart's data streamed from the feed's columns to its
// files, the same bytes as the CSV held in memory, and nothing left behind
// when a write fails.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/ChartString.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VarDataProcessor.h"
#include "chartxml/host/XDocument.h"
#include "host_test_support.h"

namespace fs = std::filesystem;

namespace {

const auto* const kXmlPlatform = ::testing::AddGlobalTestEnvironment(new hosttest::XmlPlatform);

using hosttest::readFile;

constexpr const char* kDocument =
    "<visualization><source id=\"source0\"/><frame id=\"frame1\"/></visualization>";

std::set<std::string> listing(const fs::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

// A feed whose first rows hold every kind of cell that is written in a way
// of its own, then `rows` more rows of ordinary numbers and texts; a second
// source of `wide` bytes or somewhat fewer.
struct Feed {
  VarDataProcessor data;
  Feed(std::uint32_t rows, std::size_t wide = 0) {
    data.AddDataSource("source0", 16);
    auto* number = new VarDataProcessor::_varinfo;
    auto* text = new VarDataProcessor::_varinfo;
    auto* mixed = new VarDataProcessor::_varinfo;
    data.AddVariable("source0", "x", number);
    data.AddVariable("source0", "label, \"quoted\"", text);
    data.AddVariable("source0", "mixed", mixed);
    const double specials[] = {-0.0,
                               1e-320,
                               std::numeric_limits<double>::denorm_min(),
                               std::numeric_limits<double>::max(),
                               -1e300,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               kVornMissingValue,
                               0.1};
    const char* texts[] = {"",     "a,b", "say \"hi\"", "two\nlines", "inf",
                           " 12 ", "+3",  "nan",        "",           "plain"};
    for (std::uint32_t row = 0; row < 10; ++row) {
      data.SetVariableValue(number, row, specials[row]);
      data.SetStringVariableValue(text, row, texts[row]);
    }
    data.SetStringVariableValue(mixed, 0, "t");
    data.SetVariableValue(mixed, 2, 2.5);
    // Row 10 is written in no variable but the last row's: all missing.
    for (std::uint32_t row = 11; row < 11 + rows; ++row) {
      data.SetVariableValue(number, row, row + 0.5);
      data.SetStringVariableValue(text, row, row % 3 ? "group \"a\"" : "b");
    }
    if (wide > 0) {
      data.AddDataSource("source1", 1);
      auto* value = new VarDataProcessor::_varinfo;
      data.AddVariable("source1", "v", value);
      for (std::uint32_t row = 0; row < wide / 20; ++row)
        data.SetVariableValue(value, row, row / 7.0);
    }
  }
};

constexpr const char* kFirstRows =
    "x,\"label, \"\"quoted\"\"\",mixed\n"
    "-0,,t\n"
    "1e-320,\"a,b\",\n"
    "5e-324,\"say \"\"hi\"\"\",2.5\n"
    "1.7976931348623157e+308,\"two\nlines\",\n"
    "-1e+300,\"inf\",\n"
    "inf,\" 12 \",\n"
    "-inf,\"+3\",\n"
    ",\"nan\",\n"
    ",,\n"
    "0.1,plain,\n"
    ",,\n";

class Sink : public hosttest::QuietReports {
 protected:
  void SetUp() override {
    QuietReports::SetUp();
    cxh_clear_sent();
  }
  void TearDown() override {
    cxh_set_output_dir(nullptr);
    cxh_clear_sent();
    QuietReports::TearDown();
  }
  bool send(Feed& feed) {
    XDocument doc(kDocument, false, true);
    doc.SetDescription(ChartString(ChartString::fromUTF8("d")));
    doc.SetChartData(&feed.data);
    return doc.SendChart(true, false, false);
  }
  hosttest::TempFolder folder_{"cxh-sink"};
  const fs::path out_ = folder_.path() / "out";
};

// Lowers the process's file size limit, with SIGXFSZ ignored so that a write
// past it fails with EFBIG instead of ending the process; restores both.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &saved_);
    previous_ = std::signal(SIGXFSZ, SIG_IGN);
    rlimit lowered = saved_;
    lowered.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &lowered);
  }
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &saved_);
    std::signal(SIGXFSZ, previous_);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit saved_{};
  void (*previous_)(int) = SIG_DFL;
};

TEST_F(Sink, FailedWriteLeavesNothingBehindAndTheNextChartIsWrittenWhole) {
  Feed feed(100, 400 * 1024);
  {
    // The document and source0 fit; source1 fails part way through.
    const FileSizeLimit limit(256 * 1024);
    cxh_set_output_dir(out_.c_str());
    EXPECT_FALSE(send(feed));
  }
  ASSERT_EQ(cxh_report_count(), 1);
  EXPECT_EQ(
      std::string(cxh_report_message(0)),
      "cannot write chart file " + (out_ / "chart-0001.source1.csv").string() + ": File too large");
  EXPECT_EQ(listing(out_), std::set<std::string>{});
  // The chart is kept, its data in memory since no file holds it.
  ASSERT_EQ(cxh_sent_count(), 1);
  EXPECT_EQ(cxh_sent_data_path(0, "source1"), nullptr);
  ASSERT_NE(cxh_sent_data_csv(0, "source1"), nullptr);
  EXPECT_EQ(std::string(cxh_sent_data_csv(0, "source1")), feed.data.ToCsv("source1"));

  cxh_clear_reports();
  EXPECT_TRUE(send(feed));
  EXPECT_EQ(cxh_report_count(), 0);
  EXPECT_EQ(listing(out_), (std::set<std::string>{"chart-0002.source0.csv",
                                                  "chart-0002.source1.csv", "chart-0002.xml"}));
  EXPECT_EQ(readFile(out_ / "chart-0002.source1.csv"), feed.data.ToCsv("source1"));
  EXPECT_EQ(readFile(out_ / "chart-0002.xml"), cxh_sent_xml(1));
}

TEST_F(Sink, StreamedFilesHoldTheBytesOfTheCsvInMemory) {
  // Far more than the 64 KiB buffer, so that it is handed over many times.
  Feed feed(40000, 400 * 1024);
  ASSERT_TRUE(send(feed));
  const std::string source0 = cxh_sent_data_csv(0, "source0");
  const std::string source1 = cxh_sent_data_csv(0, "source1");
  EXPECT_EQ(source0.rfind(kFirstRows, 0), 0u) << source0.substr(0, 300);
  EXPECT_NE(source0.find("\n12.5,b,\n13.5,\"group \"\"a\"\"\",\n"), std::string::npos);
  EXPECT_GT(source0.size(), 4 * VarDataProcessor::kCsvBufferBytes);
  EXPECT_GT(source1.size(), 4 * VarDataProcessor::kCsvBufferBytes);

  // A temporary file left by a process of the same id, or a link planted
  // under the temporary name, is neither kept nor written through.
  fs::create_directory(out_);
  const std::string pid = std::to_string(getpid());
  std::ofstream(folder_.path() / "target") << "x";
  std::ofstream(out_ / (".chart-0002.xml.tmp-" + pid)) << "stale";
  fs::create_symlink(folder_.path() / "target", out_ / (".chart-0002.source0.csv.tmp-" + pid));
  cxh_set_output_dir(out_.c_str());
  ASSERT_TRUE(send(feed));
  EXPECT_EQ(listing(out_), (std::set<std::string>{"chart-0002.source0.csv",
                                                  "chart-0002.source1.csv", "chart-0002.xml"}));
  EXPECT_EQ(readFile(folder_.path() / "target"), "x");
  EXPECT_TRUE(readFile(out_ / "chart-0002.source0.csv") == source0);
  EXPECT_TRUE(readFile(out_ / "chart-0002.source1.csv") == source1);
  EXPECT_EQ(readFile(out_ / "chart-0002.xml"), cxh_sent_xml(1));
}

TEST_F(Sink, ChartSentIntoAFolderKeepsThePathsOfItsDataNotTheData) {
  Feed feed(3);
  ASSERT_TRUE(send(feed));  // in memory
  cxh_set_output_dir(out_.c_str());
  ASSERT_TRUE(send(feed));

  EXPECT_EQ(cxh_sent_data_path(-1, "source0"), nullptr);
  EXPECT_EQ(cxh_sent_data_path(2, "source0"), nullptr);
  EXPECT_EQ(cxh_sent_data_path(1, nullptr), nullptr);
  EXPECT_EQ(cxh_sent_data_path(1, "source9"), nullptr);
  EXPECT_EQ(cxh_sent_data_path(0, "source0"), nullptr);  // held in memory
  ASSERT_NE(cxh_sent_data_csv(0, "source0"), nullptr);

  EXPECT_EQ(cxh_sent_data_csv(1, "source0"), nullptr);
  ASSERT_NE(cxh_sent_data_path(1, "source0"), nullptr);
  EXPECT_EQ(fs::path(cxh_sent_data_path(1, "source0")), out_ / "chart-0002.source0.csv");
  EXPECT_EQ(readFile(cxh_sent_data_path(1, "source0")), cxh_sent_data_csv(0, "source0"));
  EXPECT_STREQ(cxh_sent_description(1), "d");
}

}  // namespace
