// chartxml demo: a gallery of the chart kinds, built from the data sets
// compiled into the tool, with an index of what each chart shows.
#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "cli/Args.h"
#include "cli/ChartRequest.h"
#include "cli/Commands.h"
#include "cli/EmbeddedSets.h"
#include "cli/Gallery.h"
#include "cli/Pictures.h"
#include "cli/Session.h"
#include "cli/Table.h"

namespace chartxml::cli {
namespace {

constexpr std::array<Option, 3> kOptions{{
    {"out", "DIR", "where the charts, index.txt and index.html go (default: out)"},
    {"lang", "CODE",
     "the output language of the library's texts (en, ja, ...); one chart is "
     "always in Japanese"},
    {"force", "", "first remove the charts and index files DIR holds from an earlier run"},
}};

constexpr const char* kHelpText =
    "usage: chartxml demo [--out DIR] [--lang CODE] [--force]\n"
    "\n"
    "Builds a gallery of charts from the data sets built into the tool:\n"
    "Anscombe's quartet (four sets of eleven x, y points) and the annual mean\n"
    "atmospheric CO2 at Mauna Loa of 1959 to 2023. Each chart's document\n"
    "goes to DIR/chart-NNNN.xml, its data to DIR/chart-NNNN.source0.csv and\n"
    "its pictures to DIR/chart-NNNN.png, DIR/chart-NNNN.svg and an interactive page\n"
    "DIR/chart-NNNN.html.\n"
    "DIR/index.html shows every picture with what it shows (open it in a\n"
    "browser); DIR/index.txt lists each document with what it shows.\n"
    "\n"
    "A folder that already holds charts (chart-NNNN.*) or an index is refused,\n"
    "so that the index lists the charts of one run; --force removes those\n"
    "files first, and no others.\n"
    "\n"
    "Exit status: 0 done, 1 a chart could not be built or written, 2 the\n"
    "command line is wrong.\n"
    "\n"
    "options:\n";

// One data set of the tool, as the host and the tool read it.
struct DataSet {
  Session session;
  Table table;

  int column(const char* name) const { return table.find(name); }
};

std::optional<DataSet> openSet(const char* name, const TempDir& dir, std::string& error) {
  const auto path = writeEmbeddedSet(name, dir.path(), error);
  if (!path) return std::nullopt;
  auto session = Session::open(*path, ReadOptions{}, error);
  if (!session) return std::nullopt;
  Table table = session->table();
  return DataSet{std::move(*session), std::move(table)};
}

// The files of `dir` that the demo writes: charts (chart-NNNN.*) and its
// index, sorted.
std::vector<std::string> demoFilesIn(const std::string& dir) {
  std::vector<std::string> files;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    const std::string name = it->path().filename().string();
    if (chartNumberOf(name) || name == "index.txt" || name == "index.html") files.push_back(name);
  }
  std::sort(files.begin(), files.end());
  return files;
}

// Nothing when `dir` holds none of the demo's files, or when they may go
// (--force) and have gone; else why the demo cannot write there.
std::optional<std::string> clearFolder(const std::string& dir, bool force) {
  const std::vector<std::string> files = demoFilesIn(dir);
  if (files.empty()) return std::nullopt;
  if (!force) {
    std::string named = files.front();
    if (files.size() > 1) named += " and " + std::to_string(files.size() - 1) + " more";
    return dir + ": already holds charts or an index of an earlier run (" + named +
           "); name an empty folder with --out DIR, or give --force to remove them first";
  }
  for (const std::string& name : files) {
    std::error_code ec;
    std::filesystem::remove(std::filesystem::path(dir) / name, ec);
    if (ec) return dir + "/" + name + ": cannot remove: " + ec.message();
  }
  return std::nullopt;
}

struct DataSets {
  DataSet quartet;
  DataSet co2;
};

// The host reads its data sources from files: the sets are written out to a
// folder of their own for as long as they are being opened.
std::optional<DataSets> openSets(std::string& error) {
  const auto temp = TempDir::make(error);
  if (!temp) return std::nullopt;
  auto quartet = openSet("anscombe.csv", *temp, error);
  if (!quartet) return std::nullopt;
  auto co2 = openSet("co2.csv", *temp, error);
  if (!co2) return std::nullopt;
  return DataSets{std::move(*quartet), std::move(*co2)};
}

ChartRequest chart(Kind kind, std::string title, std::string description) {
  ChartRequest request;
  request.kind = kind;
  request.title = std::move(title);
  request.description = std::move(description);
  return request;
}

// Anscombe's quartet: y by x with the least-squares line, which is the same
// for all four sets, and a reference line at the mean of y.
std::optional<ChartRequest> quartetScatter(const DataSet& set, std::string& error) {
  ChartRequest request = chart(Kind::kScatter, "Anscombe's quartet: four sets, one fitted line",
                               "scatter of y by x for the four sets of Anscombe's quartet, "
                               "coloured by set, with the fitted linear line and a reference "
                               "line at the mean of y");
  request.x = {set.column("x")};
  request.y = set.column("y");
  request.color = set.column("set");
  const fit::FitResult line =
      fitColumns(set.table, fit::Family::kLinear, request.x[0], request.y).result;
  if (!line) {
    error = "the quartet's line: " + line.error;
    return std::nullopt;
  }
  request.fit = *line.curve;
  request.yReference = meanOf(set.table, request.y);
  return request;
}

std::vector<ChartRequest> quartetCharts(const DataSet& set, std::string& error) {
  std::vector<ChartRequest> charts;
  auto scatter = quartetScatter(set, error);
  if (!scatter) return {};
  charts.push_back(std::move(*scatter));

  ChartRequest panels = chart(Kind::kBar, "Anscombe's quartet: y of each observation, by set",
                              "bars of y for each of the eleven observations, one panel for each "
                              "set of Anscombe's quartet");
  panels.x = {set.column("obs")};
  panels.y = set.column("y");
  panels.panel = set.column("set");
  charts.push_back(std::move(panels));
  return charts;
}

// The annual mean CO2 at Mauna Loa, 1959 to 2023: growth is this year's mean
// less last year's, so 1959 has none and each decade's growth sums to its rise.
std::vector<ChartRequest> co2Charts(const DataSet& set) {
  const int date = set.column("date");
  const int year = set.column("year");
  const int decade = set.column("decade");
  const int half = set.column("half");
  const int co2 = set.column("co2");
  const int growth = set.column("growth");
  std::vector<ChartRequest> charts;

  ChartRequest line = chart(Kind::kLine, "Atmospheric CO2 at Mauna Loa, 1959-2023",
                            "line of the annual mean CO2 at Mauna Loa (ppm) over the dates from "
                            "1 January 1959 to 1 January 2023");
  line.x = {date};
  line.y = co2;
  charts.push_back(std::move(line));

  ChartRequest bars = chart(Kind::kBar, "Mean yearly growth of CO2 by decade and half-decade",
                            "clustered bars of the mean yearly growth of CO2 (ppm per year) in "
                            "each decade, one bar for each half of the decade, with a legend of "
                            "the halves");
  bars.x = {decade};
  bars.y = growth;
  bars.color = half;
  bars.stat = parseStat("mean");
  charts.push_back(std::move(bars));

  ChartRequest histogram = chart(Kind::kHistogram, "Years by growth of CO2",
                                 "histogram of the yearly growth of CO2 in bins 0.25 ppm wide");
  histogram.x = {growth};
  histogram.binWidth = 0.25;
  charts.push_back(std::move(histogram));

  ChartRequest pie = chart(Kind::kPie, "Rise of CO2 by decade, 1959-2023",
                           "pie of the rise of CO2 in each decade (the sum of its years' growth, "
                           "ppm), with a legend of the decades");
  pie.x = {decade};
  pie.y = growth;
  charts.push_back(std::move(pie));

  ChartRequest matrix = chart(Kind::kSplom, "Year, CO2 and growth",
                              "scatter-plot matrix of year, CO2 and its yearly growth");
  matrix.x = {year, co2, growth};
  charts.push_back(std::move(matrix));

  ChartRequest cloud = chart(Kind::kScatter3d, "Growth of CO2 by year and CO2",
                             "3-D scatter of the yearly growth of CO2 by year and CO2, with back "
                             "planes");
  cloud.x = {year};
  cloud.y = co2;
  cloud.z = growth;
  charts.push_back(std::move(cloud));
  return charts;
}

// The quartet's scatter again, its title and legend from the Japanese string
// tables (the fit line is named from them too).
std::optional<ChartRequest> japaneseChart(const DataSet& set, std::string& error) {
  auto request = quartetScatter(set, error);
  if (!request) return std::nullopt;
  request->title.clear();
  request->titleKey = "E60551";  // the linear fit line's name
  request->yReference.reset();
  request->description =
      "scatter of y by x for Anscombe's quartet with the fitted linear line; title, legend and "
      "line name from the Japanese string tables";
  return request;
}

}  // namespace

int runDemo(std::span<char* const> args) {
  std::string error;
  const auto parsed = parseArgs(args, kOptions, error);
  if (!parsed) return complain("demo", error, kExitUsage);
  if (parsed->has("help")) {
    std::printf("%s%s", kHelpText, optionHelp(kOptions).c_str());
    return kExitOk;
  }
  if (!parsed->positional.empty()) {
    return complain("demo", "takes no arguments, only options; given: " + parsed->positional[0],
                    kExitUsage);
  }
  const std::string language = parsed->value("lang").value_or("");
  if (const auto refusal = language.empty() ? std::nullopt : checkLanguage(language)) {
    return complain("demo", "--lang: " + *refusal, kExitUsage);
  }
  const std::string out = parsed->value("out").value_or("out");
  const bool force = parsed->has("force");
  if (const auto refusal = force ? std::nullopt : clearFolder(out, false)) {
    return complain("demo", *refusal, kExitFailure);
  }

  auto sets = openSets(error);
  if (!sets) return complain("demo", error, kExitFailure);
  DataSet& quartet = sets->quartet;
  DataSet& co2 = sets->co2;
  // Only once the data is there: a failed run leaves the folder as it was.
  if (const auto refusal = force ? clearFolder(out, true) : std::nullopt) {
    return complain("demo", *refusal, kExitFailure);
  }
  if (!useOutputFolder(out, error)) return complain("demo", error, kExitFailure);

  std::vector<std::pair<int, std::string>> sent;
  std::vector<GalleryEntry> gallery;
  const std::vector<PictureFormat> formats{PictureFormat::kPng, PictureFormat::kSvg,
                                           PictureFormat::kHtml};
  const auto run = [&](DataSet& set, const std::string& runLanguage,
                       const std::vector<ChartRequest>& charts) {
    if (!set.session.start(runLanguage, error)) return false;
    for (const ChartRequest& request : charts) {
      if (!set.session.send(set.table, request, error)) return false;
      // The host numbers the chart after every chart in the folder.
      const int number = highestChartNumber(out);
      const std::string stem = chartStem(number);
      sent.emplace_back(number, request.description);
      DrawnChart drawn;
      if (!drawLastSent(picturePaths(out, number, formats), drawn, error)) {
        error = stem + ": " + error;
        return false;
      }
      for (const std::string& part : drawn.skipped) {
        std::fprintf(stderr, "chartxml demo: %s: not drawn yet: %s\n", stem.c_str(), part.c_str());
      }
      // The picture's alt text is what the renderer saw in the chart it drew,
      // not what the chart was asked to be.
      gallery.push_back({stem, request.description, drawn.description, drawn.skipped});
    }
    set.session.stop();
    return true;
  };
  std::vector<ChartRequest> quartetFirst = quartetCharts(quartet, error);
  if (quartetFirst.empty() || !run(quartet, language, quartetFirst) ||
      !run(co2, language, co2Charts(co2))) {
    return complain("demo", error, kExitFailure);
  }
  const auto japanese = japaneseChart(quartet, error);
  if (!japanese || !run(quartet, "ja", {*japanese})) return complain("demo", error, kExitFailure);

  const std::string indexPath = out + "/index.txt";
  std::string index;
  for (const auto& [number, description] : sent) {
    const std::string name = chartStem(number) + ".xml";
    index += name + '\t' + description + '\n';
    std::printf("%s/%s  %s\n", out.c_str(), name.c_str(), description.c_str());
  }
  if (!writeWhole(indexPath, index, error)) return complain("demo", error, kExitFailure);
  if (!writeGallery(out, "chartxml demo", gallery, error)) {
    return complain("demo", error, kExitFailure);
  }
  std::printf("wrote %zu charts with their pictures to %s; open %s/index.html to see them\n",
              sent.size(), out.c_str(), out.c_str());
  return kExitOk;
}

}  // namespace chartxml::cli
