// chartxml plot DATA.csv --type TYPE --x COL ...: one chart of the user's data.
#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>

#include "cli/Args.h"
#include "cli/ChartRequest.h"
#include "cli/Commands.h"
#include "cli/Pictures.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "fit/CurveFit.h"

namespace chartxml::cli {
namespace {

constexpr std::array<Option, 13> kOptions{{
    {"type", "TYPE",
     "the kind of chart (required): scatter, line, bar, area, histogram, pie, "
     "splom, scatter3d"},
    {"x", "COL", "the x column (required); for splom a comma-separated list of columns"},
    {"y", "COL", "the y column (scatter, line, area, scatter3d need one; bar and pie take one)"},
    {"z", "COL", "the third axis of a scatter3d"},
    {"color", "COL", "colour the marks by the column's categories, with a legend"},
    {"panel", "COL", "one panel for each category of the column"},
    {"stat", "NAME",
     "what bars, slices, lines and areas show of y: mean, median, sum, count, "
     "min, max"},
    {"fit", "FAMILY",
     "fit a curve to y by x and draw it (scatter, line, area): linear, "
     "logarithmic, inverse, quadratic, cubic, compound, power, s, growth, "
     "exponential, logistic"},
    {"bin-width", "W", "the width of a histogram's bins"},
    {"title", "TEXT", "the chart's title (default: what it shows)"},
    {"lang", "CODE", "the output language of the library's texts (en, ja, ...)"},
    {"out", "DIR", "where the chart's files go (default: out)"},
    {"picture", "FORMAT", "the chart's picture: png (the default), svg, pdf or none"},
}};

constexpr const char* kHelpText =
    "usage: chartxml plot DATA.csv --type TYPE --x COL [--y COL] [--z COL]\n"
    "                [--color COL] [--panel COL] [--stat NAME] [--fit FAMILY]\n"
    "                [--bin-width W] [--title TEXT] [--lang CODE] [--out DIR]\n"
    "                [--picture png|svg|pdf|none]\n"
    "\n"
    "Builds one chart of DATA.csv (a header row of names, one row per case;\n"
    "DATA.csv.dict.json beside it may give labels, formats and value labels) and\n"
    "writes DIR/chart-NNNN.xml with its data DIR/chart-NNNN.source0.csv and its\n"
    "picture DIR/chart-NNNN.png, numbered after the charts already in DIR so\n"
    "that no earlier chart is replaced.\n"
    "\n"
    "Bars show the mean of y in each category of x (the count of cases without\n"
    "--y), pies the sum of y (the count without --y), unless --stat says\n"
    "otherwise. With --fit the fitted coefficients and R squared are printed.\n"
    "\n"
    "Exit status: 0 done, 1 the data or the library refused, 2 the command line\n"
    "is wrong.\n"
    "\n"
    "options:\n";

// A usage problem: the message and that it is the command line's fault.
struct Refusal {
  std::string message;
  int status = kExitUsage;
};

class PlotSetup {
 public:
  explicit PlotSetup(const Parsed& args) : args_(args) {}

  // Checks the options that do not depend on the data.
  std::optional<Refusal> checkOptions() {
    if (args_.positional.size() != 1) {
      return Refusal{args_.positional.empty()
                         ? "name the data file (chartxml plot DATA.csv --type TYPE --x COL)"
                         : "one data file only; also given: " + args_.positional[1]};
    }
    const auto type = args_.value("type");
    if (!type) return Refusal{"--type is required; valid types: " + kindNames()};
    const auto kind = parseKind(*type);
    if (!kind) return Refusal{"unknown chart type '" + *type + "'; valid types: " + kindNames()};
    request_.kind = *kind;
    if (!args_.value("x")) return Refusal{"--x is required (the column on the x axis)"};

    const std::string name(kindName(*kind));
    if (args_.value("y") && !takesY(*kind)) {
      return Refusal{"a " + name + " takes no --y; charts with a y: " + kindsWhere(takesY)};
    }
    if (!args_.value("y") && needsY(*kind)) {
      return Refusal{"a " + name + " needs --y (the column on the y axis)"};
    }
    if (args_.value("z").has_value() != (*kind == Kind::kScatter3d)) {
      return Refusal{*kind == Kind::kScatter3d ? "a scatter3d needs --z (the third axis)"
                                               : "only a scatter3d takes --z"};
    }
    if (args_.value("color") && !takesColor(*kind)) {
      return Refusal{"a " + name +
                     " is coloured by its --x; charts with --color: " + kindsWhere(takesColor)};
    }
    if (args_.value("panel") && !takesPanel(*kind)) {
      return Refusal{"a " + name +
                     " takes no --panel; charts with panels: " + kindsWhere(takesPanel)};
    }
    if (const auto stat = args_.value("stat")) {
      if (!takesStat(*kind)) {
        return Refusal{"a " + name +
                       " takes no --stat; charts with a statistic: " + kindsWhere(takesStat)};
      }
      request_.stat = parseStat(*stat);
      if (!request_.stat) {
        return Refusal{"unknown statistic '" + *stat + "'; valid statistics: " + statNames()};
      }
    }
    if (const auto family = args_.value("fit")) {
      if (!takesFit(*kind)) {
        return Refusal{"--fit draws a fitted curve on " + kindsWhere(takesFit) +
                       " charts, not on a " + name};
      }
      family_ = fit::parseFamily(*family);
      if (!family_) {
        return Refusal{"unknown fit family '" + *family +
                       "'; valid families: " + fit::familyNames()};
      }
    }
    if (const auto width = args_.value("bin-width")) {
      if (*kind != Kind::kHistogram) return Refusal{"only a histogram takes --bin-width"};
      request_.binWidth = parsePositive(*width);
      if (!request_.binWidth) {
        return Refusal{"--bin-width needs a positive number, not '" + *width + "'"};
      }
    }
    if (const auto language = args_.value("lang"); language && !validLanguage(*language)) {
      return Refusal{"--lang needs a language code such as en, ja or zh-tw, not '" + *language +
                     "'"};
    }
    return std::nullopt;
  }

  // Finds the columns and checks that those that must hold numbers do.
  std::optional<Refusal> checkColumns(const Table& table) {
    const auto column = [&](const std::string& option, const std::string& name,
                            bool numeric) -> std::optional<Refusal> {
      const int index = table.find(name);
      if (index < 0) {
        return Refusal{table.path() + " has no column '" + name + "' (--" + option +
                       "); its columns: " + table.names()};
      }
      const Column& c = table.column(static_cast<std::size_t>(index));
      if (numeric && !c.numeric) {
        return Refusal{table.path() + ":" + std::to_string(table.lineOf(c.firstText)) +
                           ": column '" + name + "' (--" + option + ") holds text (\"" +
                           c.texts[c.firstText] + "\"); a " + std::string(kindName(request_.kind)) +
                           " needs numbers there",
                       kExitFailure};
      }
      lastIndex_ = index;
      return std::nullopt;
    };
    const Kind kind = request_.kind;
    const bool numericX = kind != Kind::kBar && kind != Kind::kPie;
    std::string xs = *args_.value("x");
    if (kind == Kind::kSplom) {
      for (std::size_t start = 0; start <= xs.size();) {
        const std::size_t comma = std::min(xs.find(',', start), xs.size());
        if (auto refusal = column("x", xs.substr(start, comma - start), true)) return refusal;
        request_.x.push_back(lastIndex_);
        start = comma + 1;
      }
      if (request_.x.size() < 2) {
        return Refusal{"a splom needs two or more columns in --x, separated by commas"};
      }
    } else {
      if (auto refusal = column("x", xs, numericX)) return refusal;
      request_.x.push_back(lastIndex_);
    }
    const std::array<std::pair<const char*, int*>, 4> roles{{{"y", &request_.y},
                                                             {"z", &request_.z},
                                                             {"color", &request_.color},
                                                             {"panel", &request_.panel}}};
    for (const auto& [option, index] : roles) {
      const auto name = args_.value(option);
      if (!name) continue;
      const bool numeric = std::string_view(option) == "y" || std::string_view(option) == "z";
      if (auto refusal = column(option, *name, numeric)) return refusal;
      *index = lastIndex_;
    }
    return std::nullopt;
  }

  // The fitted curve, printed; a family the data does not allow is refused
  // with the fitter's reason.
  std::optional<Refusal> fitCurve(const Table& table) {
    if (!family_) return std::nullopt;
    const fit::FitResult result = fitColumns(table, *family_, request_.x.front(), request_.y);
    if (!result) {
      const auto name = [&](int index) {
        return table.column(static_cast<std::size_t>(index)).name;
      };
      return Refusal{table.path() + ": cannot fit a " + std::string(fit::familyName(*family_)) +
                         " curve to " + name(request_.y) + " by " + name(request_.x.front()) +
                         ": " + result.error,
                     kExitFailure};
    }
    const fit::Curve& curve = *result.curve;
    std::printf("%s fit: %s\n", std::string(fit::familyName(curve.family)).c_str(),
                std::string(formulaOf(curve.family)).c_str());
    static constexpr const char* kNames[] = {"a", "b", "c", "d"};
    for (int i = 0; i < fit::coefficientCount(curve.family); ++i) {
      std::printf("  %s = %.10g\n", kNames[i], curve.coefficients[static_cast<std::size_t>(i)]);
    }
    std::printf("  R squared = %.6g\n", curve.rSquared);
    request_.fit = curve;
    return std::nullopt;
  }

  // A title and description from the columns shown, unless --title says.
  void describe(const Table& table) {
    const auto name = [&](int index) { return table.column(static_cast<std::size_t>(index)).name; };
    std::string shows;
    switch (request_.kind) {
      case Kind::kSplom:
        for (const int index : request_.x) shows += (shows.empty() ? "" : ", ") + name(index);
        break;
      case Kind::kHistogram:
        shows = name(request_.x.front());
        break;
      case Kind::kScatter3d:
        shows = name(request_.z) + " by " + name(request_.x.front()) + " and " + name(request_.y);
        break;
      default:
        shows = request_.y >= 0 ? name(request_.y) + " by " + name(request_.x.front())
                                : name(request_.x.front());
    }
    request_.title = args_.value("title").value_or(shows);
    request_.description = std::string(kindName(request_.kind)) + " of " + shows + " from " +
                           std::filesystem::path(table.path()).filename().string();
  }

  const ChartRequest& request() const { return request_; }

 private:
  const Parsed& args_;
  ChartRequest request_;
  std::optional<fit::Family> family_;
  int lastIndex_ = -1;
};

}  // namespace

int runPlot(std::span<char* const> args) {
  std::string error;
  const auto parsed = parseArgs(args, kOptions, error);
  if (!parsed) return complain("plot", error, kExitUsage);
  if (parsed->has("help")) {
    std::printf("%s%s", kHelpText, optionHelp(kOptions).c_str());
    return kExitOk;
  }
  PlotSetup setup(*parsed);
  if (auto refusal = setup.checkOptions())
    return complain("plot", refusal->message, refusal->status);

  const std::string& path = parsed->positional.front();
  auto session = Session::open(path, error);
  if (!session) return complain("plot", error, kExitFailure);
  const auto table = Table::load(path, error);
  if (!table) return complain("plot", error, kExitFailure);
  if (auto refusal = setup.checkColumns(*table)) {
    return complain("plot", refusal->message, refusal->status);
  }
  if (auto refusal = setup.fitCurve(*table))
    return complain("plot", refusal->message, refusal->status);
  setup.describe(*table);

  std::vector<PictureFormat> pictures{PictureFormat::kPng};
  if (const auto picture = parsed->value("picture")) {
    const auto format = parsePictureFormat(*picture);
    if (!format && *picture != "none") {
      return complain("plot",
                      "unknown picture format '" + *picture + "'; valid: png, svg, pdf, none",
                      kExitUsage);
    }
    pictures = format ? std::vector<PictureFormat>{*format} : std::vector<PictureFormat>{};
  }
  const std::string out = parsed->value("out").value_or("out");
  if (!useOutputFolder(out, error)) return complain("plot", error, kExitFailure);
  session->start(parsed->value("lang").value_or(""));
  const auto number = session->send(*table, setup.request(), error);
  if (!number) return complain("plot", error, kExitFailure);
  const std::string stem = chartStem(*number);
  std::printf("wrote %s/%s.xml and its data %s/%s.source0.csv\n", out.c_str(), stem.c_str(),
              out.c_str(), stem.c_str());
  DrawnChart drawn;
  if (!pictures.empty() && !drawLastSent(out, *number, pictures, drawn, error)) {
    return complain("plot", error, kExitFailure);
  }
  for (const std::string& part : drawn.skipped) {
    std::fprintf(stderr, "chartxml plot: %s: not drawn yet: %s\n", stem.c_str(), part.c_str());
  }
  for (const std::string& file : drawn.files) std::printf("wrote %s\n", file.c_str());
  return kExitOk;
}

}  // namespace chartxml::cli
