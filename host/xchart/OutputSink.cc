#include "xchart/OutputSink.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <set>
#include <system_error>

#include "chartutl/ReportLog.h"
#include "chartxml/host/DocumentCheck.h"
#include "platform/Settings.h"

namespace cxhost {
namespace {

constexpr const char* kSource = "host/xchart";
constexpr std::size_t kMaxNamePart = 64;

int nextNumber = 1;

// The highest chart number of the chart files in `folder` (0 for none), so
// that numbering that starts again never overwrites an earlier chart's files.
int highestNumberIn(const std::filesystem::path& folder) {
  int highest = 0;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(folder, ec), end; !ec && it != end;
       it.increment(ec)) {
    const std::string name = it->path().filename().string();
    int number = 0;
    if (name.size() > 10 && name.compare(0, 6, "chart-") == 0 &&
        std::sscanf(name.c_str() + 6, "%d", &number) == 1) {
      highest = std::max(highest, number);
    }
  }
  return highest;
}

std::string errorText(int error) {
  return std::error_code(error, std::generic_category()).message();
}

// O_NOFOLLOW: a symbolic link planted in the folder under a chart's file name
// must not redirect the write elsewhere.
bool writeFile(const std::filesystem::path& path, const std::string& content) {
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
  int error = fd < 0 ? errno : 0;
  for (std::size_t done = 0; error == 0 && done < content.size();) {
    const ssize_t written = ::write(fd, content.data() + done, content.size() - done);
    if (written < 0) {
      if (errno != EINTR) error = errno;
    } else {
      done += static_cast<std::size_t>(written);
    }
  }
  if (fd >= 0 && ::close(fd) != 0 && error == 0) error = errno;
  if (error == 0) return true;
  report("cannot write chart file " + path.string() + ": " + errorText(error), kSource, __LINE__);
  return false;
}

bool ensureFolder(const std::filesystem::path& folder) {
  std::error_code ec;
  std::filesystem::create_directory(folder, ec);  // one level: a mistyped parent shows
  if (!ec && std::filesystem::is_directory(folder, ec)) return true;
  report("cannot use output folder " + folder.string() + ": " +
             (ec ? ec.message() : std::string("not a folder")),
         kSource, __LINE__);
  return false;
}

bool writeFiles(const SentChart& chart, const std::filesystem::path& folder) {
  if (!ensureFolder(folder)) return false;
  char stem[32];
  std::snprintf(stem, sizeof stem, "chart-%04d", chart.number);
  bool written = writeFile(folder / (std::string(stem) + ".xml"), chart.xml);
  // Distinct sources may clean up to the same name; later ones get a number
  // so that no source's data overwrites another's.
  std::set<std::string> taken;
  for (const auto& [source, csv] : chart.data) {
    const std::string base = fileNamePart(source);
    std::string part = base;
    for (int n = 2; !taken.insert(part).second; ++n) part = base + '-' + std::to_string(n);
    written = writeFile(folder / (std::string(stem) + '.' + part + ".csv"), csv) && written;
  }
  return written;
}

// A host that validates what it receives refuses a document with any
// finding, and says where each is.
bool passesCheck(const std::string& xml) {
  const std::vector<CheckFinding> findings = checkChartDocument(xml, {shippedSchemaPath(), true});
  for (const CheckFinding& finding : findings) {
    report("chart document refused at line " + std::to_string(finding.line) + ", column " +
               std::to_string(finding.column) + ": " + finding.message,
           kSource, __LINE__);
  }
  return findings.empty();
}

}  // namespace

const std::string* SentChart::csv(std::string_view source) const {
  for (const auto& [name, text] : data) {
    if (name == source) return &text;
  }
  return nullptr;
}

std::string fileNamePart(std::string_view source) {
  std::string part;
  for (const char c : source.substr(0, kMaxNamePart)) {
    const bool kept = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                      c == '_' || c == '-';
    part += kept ? c : '_';
  }
  return part.empty() ? "_" : part;
}

std::deque<SentChart>& sentCharts() {
  static std::deque<SentChart> charts;
  return charts;
}

bool sendChart(SentChart chart) {
  if (settings::validate() && !passesCheck(chart.xml)) return false;
  const std::string folder = settings::outputDir();
  if (!folder.empty()) nextNumber = std::max(nextNumber, highestNumberIn(folder) + 1);
  chart.number = nextNumber++;
  SentChart& kept = sentCharts().emplace_back(std::move(chart));
  return folder.empty() || writeFiles(kept, folder);
}

void clearSentCharts() {
  // A swap gives the memory back; clear() may keep the deque's blocks.
  std::deque<SentChart>().swap(sentCharts());
  nextNumber = 1;
}

}  // namespace cxhost
