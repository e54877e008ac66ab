// chartxml demo: a gallery of the chart kinds, built from the data sets
// compiled into the tool, with an index of what each chart shows.
#include <array>
#include <cstdio>
#include <fstream>
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

constexpr std::array<Option, 2> kOptions{{
    {"out", "DIR", "where the charts and index.txt go (default: out)"},
    {"lang", "CODE",
     "the output language of the library's texts (en, ja, ...); one chart is "
     "always in Japanese"},
}};

constexpr const char* kHelpText =
    "usage: chartxml demo [--out DIR] [--lang CODE]\n"
    "\n"
    "Builds a gallery of charts from the data sets built into the tool:\n"
    "Anscombe's quartet (four sets of eleven x, y points) and the annual mean\n"
    "atmospheric CO2 at Mauna Loa of 1959 to 2023. Each chart's document\n"
    "goes to DIR/chart-NNNN.xml, its data to DIR/chart-NNNN.source0.csv and\n"
    "its pictures to DIR/chart-NNNN.png and DIR/chart-NNNN.svg.\n"
    "DIR/index.html shows every picture with what it shows (open it in a\n"
    "browser); DIR/index.txt lists each document with what it shows.\n"
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
  auto session = Session::open(*path, error);
  if (!session) return std::nullopt;
  auto table = Table::load(*path, error);
  if (!table) return std::nullopt;
  return DataSet{std::move(*session), std::move(*table)};
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
  const fit::FitResult line = fitColumns(set.table, fit::Family::kLinear, request.x[0], request.y);
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
  if (!language.empty() && !validLanguage(language)) {
    return complain("demo",
                    "--lang needs a language code such as en, ja or zh-tw, not '" + language + "'",
                    kExitUsage);
  }
  const std::string out = parsed->value("out").value_or("out");

  auto sets = openSets(error);
  if (!sets) return complain("demo", error, kExitFailure);
  DataSet& quartet = sets->quartet;
  DataSet& co2 = sets->co2;
  if (!useOutputFolder(out, error)) return complain("demo", error, kExitFailure);

  std::vector<std::pair<int, std::string>> sent;
  std::vector<GalleryEntry> gallery;
  const std::vector<PictureFormat> formats{PictureFormat::kPng, PictureFormat::kSvg};
  const auto run = [&](DataSet& set, const std::string& runLanguage,
                       const std::vector<ChartRequest>& charts) {
    set.session.start(runLanguage);
    for (const ChartRequest& request : charts) {
      const auto number = set.session.send(set.table, request, error);
      if (!number) return false;
      sent.emplace_back(*number, request.description);
      DrawnChart drawn;
      if (!drawLastSent(out, *number, formats, drawn, error)) return false;
      for (const std::string& part : drawn.skipped) {
        std::fprintf(stderr, "chartxml demo: %s: not drawn yet: %s\n", chartStem(*number).c_str(),
                     part.c_str());
      }
      gallery.push_back({chartStem(*number), request.description, drawn.skipped});
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
  std::ofstream index(indexPath, std::ios::trunc);
  for (const auto& [number, description] : sent) {
    const std::string name = chartStem(number) + ".xml";
    index << name << '\t' << description << '\n';
    std::printf("%s/%s  %s\n", out.c_str(), name.c_str(), description.c_str());
  }
  index.close();
  if (!index) return complain("demo", indexPath + ": cannot write the index", kExitFailure);
  if (!writeGallery(out, "chartxml demo", gallery, error)) {
    return complain("demo", error, kExitFailure);
  }
  std::printf("wrote %zu charts with their pictures to %s; open %s/index.html to see them\n",
              sent.size(), out.c_str(), out.c_str());
  return kExitOk;
}

}  // namespace chartxml::cli
