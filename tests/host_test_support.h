// What the host suites share: a scratch folder of each test's own, the
// report log read back, data sources opened and closed through the host's C
// API, and the XML platform the document suites parse with.
#ifndef CHARTXML_TESTS_HOST_TEST_SUPPORT_H_
#define CHARTXML_TESTS_HOST_TEST_SUPPORT_H_

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <xercesc/util/PlatformUtils.hpp>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/VORN_DataSource.h"

namespace hosttest {

namespace fs = std::filesystem;

// The messages reported since the last cxh_clear_reports, oldest first.
inline std::vector<std::string> reportMessages() {
  std::vector<std::string> messages;
  for (int i = 0; i < cxh_report_count(); ++i) messages.emplace_back(cxh_report_message(i));
  return messages;
}

// The newest report, or "" when there is none.
inline std::string lastReport() {
  const int count = cxh_report_count();
  return count > 0 ? cxh_report_message(count - 1) : "";
}

inline bool startsWith(const std::string& text, const std::string& prefix) {
  return text.starts_with(prefix);
}

// The bytes of a file ("" when it cannot be read).
inline std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// An empty folder for the running test alone, named after the process and
// the test so that suites run in parallel never share one; removed with the
// object.
class TempFolder {
 public:
  explicit TempFolder(const std::string& prefix)
      : path_(fs::path(::testing::TempDir()) /
              (prefix + "-" + std::to_string(getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
    fs::remove_all(path_);
    fs::create_directories(path_);
  }
  ~TempFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const fs::path& path() const { return path_; }
  std::string path(const std::string& relative) const { return (path_ / relative).string(); }

  // Writes `content` to `relative` (its folders made as needed), byte for
  // byte; the file's whole path.
  std::string write(const std::string& relative, const std::string& content) const {
    const fs::path file = path_ / relative;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << content;
    return file.string();
  }

 private:
  fs::path path_;
};

// A data source handle is a dictionary; a CSV handle is also its own source.
inline void* handleOf(VORN_DataSource* source) {
  return static_cast<VORN_FortranDictionary*>(source);
}
inline VORN_DataSource* asSource(void* handle) {
  return handle == nullptr ? nullptr : static_cast<VORN_FortranDictionary*>(handle)->Source();
}

struct SourceCloser {
  void operator()(VORN_DataSource* source) const { cxh_close(handleOf(source)); }
};
// A data source the host opened, closed through the host when dropped.
using Source = std::unique_ptr<VORN_DataSource, SourceCloser>;

// The CSV file at `path` as the host opens it; null when it refuses.
inline Source openCsv(const std::string& path) {
  return Source(asSource(cxh_open_csv(path.c_str())));
}

// A suite whose reports start empty and are not echoed to standard error.
class QuietReports : public ::testing::Test {
 protected:
  void SetUp() override {
    cxh_set_quiet(1);
    cxh_clear_reports();
  }
  void TearDown() override { cxh_set_quiet(-1); }
};

// The XML platform, up for the whole run: a suite that parses registers it
// with ::testing::AddGlobalTestEnvironment (the platform counts its users).
class XmlPlatform : public ::testing::Environment {
 public:
  void SetUp() override { xercesc::XMLPlatformUtils::Initialize(); }
  void TearDown() override { xercesc::XMLPlatformUtils::Terminate(); }
};

}  // namespace hosttest

#endif  // CHARTXML_TESTS_HOST_TEST_SUPPORT_H_
