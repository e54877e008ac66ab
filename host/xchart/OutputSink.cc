#include "xchart/OutputSink.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <system_error>

#include "chartutl/ReportLog.h"
#include "chartxml/host/DocumentCheck.h"
#include "platform/FileIo.h"
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

// One file of a chart, written whole or not at all (cxio::WholeFile) and fed
// by the feed's CSV writer.
class ChartFile final : public VarDataProcessor::CsvSink {
 public:
  explicit ChartFile(std::filesystem::path path) : path_(std::move(path)), file_(path_.string()) {}

  bool open() { return file_.open() == 0; }
  bool Drain(std::string_view bytes) override { return file_.write(bytes) == 0; }
  bool writeOut() { return file_.writeOut() == 0; }
  // Syncs and closes the temporary file; false when the system reports a
  // failed write only now.
  bool finish() { return file_.finish() == 0; }
  bool commit() { return file_.commit() == 0; }
  // Removes whatever of the file exists, under either name.
  void discard() { file_.discard(); }

  // The failure, as the report gives it; "" when there was none.
  std::string failure() const {
    return file_.error() == 0 ? std::string()
                              : "cannot write chart file " + path_.string() + ": " +
                                    cxio::errorText(file_.error());
  }
  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
  cxio::WholeFile file_;
};

bool ensureFolder(const std::filesystem::path& folder) {
  std::error_code ec;
  std::filesystem::create_directory(folder, ec);  // one level: a mistyped parent shows
  if (!ec && std::filesystem::is_directory(folder, ec)) return true;
  report("cannot use output folder " + folder.string() + ": " +
             (ec ? ec.message() : std::string("not a folder")),
         kSource, __LINE__);
  return false;
}

// The data of every source of `feed`, in memory.
void keepData(SentChart& chart, const VarDataProcessor* feed) {
  chart.data.clear();
  if (feed == nullptr) return;
  for (std::string& source : feed->SourceNames()) {
    std::string csv = feed->ToCsv(source);
    chart.data.push_back({std::move(source), std::move(csv), {}});
  }
}

// Writes the chart's files and records their paths in `chart`; on failure
// removes every file written so far, reports and returns false.
bool writeFiles(SentChart& chart, const VarDataProcessor* feed,
                const std::filesystem::path& folder) {
  if (!ensureFolder(folder)) return false;
  char stem[32];
  std::snprintf(stem, sizeof stem, "chart-%04d", chart.number);
  const std::vector<std::string> sources = feed ? feed->SourceNames() : std::vector<std::string>();
  // The document is files.front(), committed last so that a reader that
  // waits for it finds the data complete.
  std::vector<std::unique_ptr<ChartFile>> files;
  files.reserve(sources.size() + 1);
  const auto opened = [&](const std::filesystem::path& path) -> ChartFile* {
    files.push_back(std::make_unique<ChartFile>(path));
    return files.back()->open() ? files.back().get() : nullptr;
  };
  bool ok = false;
  if (ChartFile* file = opened(folder / (std::string(stem) + ".xml"))) ok = file->Drain(chart.xml);
  // Distinct sources may clean up to the same name; later ones get a number
  // so that no source's data overwrites another's.
  std::set<std::string> taken;
  for (std::size_t i = 0; ok && i < sources.size(); ++i) {
    const std::string base = fileNamePart(sources[i]);
    std::string part = base;
    for (int n = 2; !taken.insert(part).second; ++n) part = base + '-' + std::to_string(n);
    ChartFile* file = opened(folder / (std::string(stem) + '.' + part + ".csv"));
    ok = file && feed->WriteCsv(sources[i], *file);
  }
  // Every file's data on the device before the first sync, whose journal
  // commit then holds them all: one wait for the device, not one a file.
  for (std::size_t i = 0; ok && i < files.size(); ++i) ok = files[i]->writeOut();
  for (std::size_t i = 0; ok && i < files.size(); ++i) ok = files[i]->finish();
  for (std::size_t i = 1; ok && i <= files.size(); ++i) ok = files[i % files.size()]->commit();
  if (!ok) {
    std::string failure;
    for (const auto& file : files) {
      if (failure.empty()) failure = file->failure();
      file->discard();
    }
    report(failure.empty() ? "cannot write chart " + std::string(stem) + " into " + folder.string()
                           : failure,
           kSource, __LINE__);
    return false;
  }
  chart.data.clear();
  for (std::size_t i = 0; i < sources.size(); ++i) {
    chart.data.push_back({sources[i], {}, files[i + 1]->path().string()});
  }
  return true;
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
  for (const Data& entry : data) {
    if (entry.source == source) return entry.path.empty() ? &entry.csv : nullptr;
  }
  return nullptr;
}

const std::string* SentChart::dataPath(std::string_view source) const {
  for (const Data& entry : data) {
    if (entry.source == source) return entry.path.empty() ? nullptr : &entry.path;
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

bool sendChart(SentChart chart, const VarDataProcessor* feed) {
  if (settings::validate() && !passesCheck(chart.xml)) return false;
  const std::string folder = settings::outputDir();
  if (!folder.empty()) nextNumber = std::max(nextNumber, highestNumberIn(folder) + 1);
  chart.number = nextNumber++;
  SentChart& kept = sentCharts().emplace_back(std::move(chart));
  if (!folder.empty() && writeFiles(kept, feed, folder)) return true;
  keepData(kept, feed);
  return folder.empty();
}

void clearSentCharts() {
  // A swap gives the memory back; clear() may keep the deque's blocks.
  std::deque<SentChart>().swap(sentCharts());
  nextNumber = 1;
}

}  // namespace cxhost
