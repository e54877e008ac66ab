// chartxml plot DATA.csv --type TYPE --x COL ...: one chart of the user's data.
#include <stdlib.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"

#include "cli/Args.h"
#include "cli/ChartRequest.h"
#include "cli/Commands.h"
#include "cli/Pictures.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "fit/CurveFit.h"

namespace chartxml::cli {
namespace {

// A date written in numbers (03/04/2024, 3.4.2024, 2024-3-4) is read only
// when its order is known: the refusal of such a column says how to give it.
std::string dateOrderHint(const std::string& text) {
  static const std::regex numericDate(R"(\s*\d{1,4}[/.-]\d{1,2}[/.-]\d{1,4}(\s.*)?)");
  if (!std::regex_match(text, numericDate)) return "";
  return "; to read dates written in numbers, give --date-order mdy (month first) or dmy "
         "(day first)";
}

constexpr std::array<Option, 20> kOptions{{
    {"type", "TYPE",
     "the kind of chart (required): scatter, line, bar, area, histogram, pie, "
     "splom, scatter3d"},
    {"x", "COL", "the x column (required); for splom a comma-separated list of columns"},
    {"y", "COL", "the y column (scatter, line, area, scatter3d need one; bar and pie take one)"},
    {"z", "COL", "the third axis of a scatter3d"},
    {"color", "COL",
     "colour the marks by the column, with a legend: one colour for each of its values, or, "
     "for the points of a scatter, splom or scatter3d, a continuous scale when the column holds "
     "numbers of more than 10 distinct values that the dictionary does not call categories "
     "(nominal, ordinal, value labels)"},
    {"color-categorical", "",
     "one colour for each value of a numeric --color column, however many"},
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
    {"lang", "CODE",
     "the output language of the library's texts: one of the string tables' (en, ja, ...)"},
    {"delimiter", "C",
     "the character between fields: , or ; or tab or any other single character "
     "(default: detected)"},
    {"encoding", "NAME",
     "the data's character encoding, such as CP1252 or UTF-16LE (default: by its byte order "
     "mark, else UTF-8)"},
    {"date-order", "ORDER",
     "read dates written in numbers, such as 03/04/2024, month first (mdy) or day first (dmy)"},
    {"verbose", "", "tell on standard error what kind of values each column was read as"},
    {"out", "DIR",
     "the folder for the chart's files, numbered after the charts already there (default: out)"},
    {"output", "FILE",
     "the chart's picture, FILE.png, FILE.svg, FILE.pdf or FILE.html; its document and data go "
     "beside it "
     "as FILE.xml and FILE.source0.csv",
     'o'},
    {"force", "", "with --output: replace files of those names"},
    {"picture", "FORMAT", "the picture in the folder: png (the default), svg, pdf, html or none"},
}};

constexpr const char* kHelpText =
    "usage: chartxml plot DATA.csv --type TYPE --x COL [--y COL] [--z COL]\n"
    "                [--color COL [--color-categorical]] [--panel COL] [--stat NAME]\n"
    "                [--fit FAMILY] [--bin-width W] [--title TEXT] [--lang CODE]\n"
    "                [--delimiter C] [--encoding NAME] [--date-order mdy|dmy]\n"
    "                [--verbose] [--out DIR [--picture png|svg|pdf|html|none]]\n"
    "                [-o FILE.png|FILE.svg|FILE.pdf|FILE.html [--force]]\n"
    "\n"
    "Builds one chart of DATA.csv (a header row of names, one row per case;\n"
    "DATA.csv.dict.json beside it may give labels, formats and value labels).\n"
    "DATA - reads standard input. The file is read once; its delimiter is\n"
    "detected unless --delimiter says.\n"
    "\n"
    "The chart goes to DIR/chart-NNNN.xml with its data DIR/chart-NNNN.source0.csv\n"
    "and its picture DIR/chart-NNNN.png, numbered after the charts already in\n"
    "DIR so that no earlier chart is replaced. With -o FILE.png it goes to\n"
    "FILE.png, FILE.xml and FILE.source0.csv instead; files of those names\n"
    "are only replaced with --force.\n"
    "\n"
    "Titles and axis titles name the columns by their labels in the dictionary\n"
    "(else by their names) and the statistic shown (\"Mean of Score\", \"Count\").\n"
    "Bars show the mean of y in each category of x (the count of cases without\n"
    "--y), pies the sum of y (the count without --y), unless --stat says\n"
    "otherwise. With --fit the fitted coefficients and R squared are printed.\n"
    "\n"
    "Exit status: 0 done, 1 the data, a file or the library refused, 2 the\n"
    "command line is wrong.\n"
    "\n"
    "options:\n";

// A numeric colour of more distinct values than this colours points on a
// continuous scale: past ten, distinct colours stop being told apart.
constexpr std::size_t kMostColorCategories = 10;

// The kinds whose colour is a property of each mark, not a grouping of the
// marks (clustered or stacked bars, one line or area for each colour).
bool takesColorScale(Kind kind) {
  return kind == Kind::kScatter || kind == Kind::kSplom || kind == Kind::kScatter3d;
}

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
    if (args_.has("color-categorical") && !args_.value("color")) {
      return Refusal{"--color-categorical goes with --color COL"};
    }
    if (const auto language = args_.value("lang")) {
      if (auto refusal = checkLanguage(*language)) return Refusal{"--lang: " + *refusal};
    }
    if (auto refusal = checkReading()) return refusal;
    return checkOutput();
  }

  // Files that --output would replace, unless --force; nothing to refuse
  // when writing into a folder, where charts never replace one another.
  std::optional<Refusal> checkReplacing() const {
    if (!output_ || args_.has("force")) return std::nullopt;
    std::string existing;
    for (const std::string& path : outputFiles()) {
      std::error_code ec;
      if (!std::filesystem::exists(path, ec)) continue;
      existing += (existing.empty() ? "" : ", ") + path;
    }
    if (existing.empty()) return std::nullopt;
    return Refusal{existing + ": already there; give --force to replace, or name another file",
                   kExitFailure};
  }

  const ReadOptions& reading() const { return reading_; }
  const std::optional<std::string>& output() const { return output_; }

  // --output FILE's picture, document and data: FILE, STEM.xml, STEM.source0.csv.
  std::vector<std::string> outputFiles() const {
    if (!output_) return {};
    const std::string stem = std::filesystem::path(*output_).replace_extension().string();
    return {*output_, stem + ".xml", stem + ".source0.csv"};
  }

  // How the host is to read the data.
  std::optional<Refusal> checkReading() {
    if (const auto delimiter = args_.value("delimiter")) {
      if (*delimiter == "tab" || *delimiter == "\\t") {
        reading_.delimiter = '\t';
      } else if (delimiter->size() != 1 || (*delimiter)[0] < ' ' || (*delimiter)[0] > '~') {
        return Refusal{"--delimiter needs one character (such as , ; | or :) or tab, not '" +
                       *delimiter + "'"};
      } else if ((*delimiter)[0] == '"') {
        return Refusal{"--delimiter cannot be the quote \", which quotes fields"};
      } else {
        reading_.delimiter = (*delimiter)[0];
      }
    }
    if (const auto encoding = args_.value("encoding")) {
      if (encoding->empty()) return Refusal{"--encoding needs the name of an encoding"};
      reading_.encoding = *encoding;
    }
    if (const auto order = args_.value("date-order")) {
      if (*order == "mdy") {
        reading_.dateOrder = 1;
      } else if (*order == "dmy") {
        reading_.dateOrder = 2;
      } else {
        return Refusal{"unknown date order '" + *order +
                       "'; valid orders: mdy (month first), dmy (day first)"};
      }
    }
    return std::nullopt;
  }

  // Where the chart goes: a folder, or the files --output names.
  std::optional<Refusal> checkOutput() {
    output_ = args_.value("output");
    if (!output_) {
      if (args_.has("force")) {
        return Refusal{
            "--force goes with --output FILE; charts written into a folder never "
            "replace one another"};
      }
      return std::nullopt;
    }
    if (args_.value("out")) {
      return Refusal{
          "give either --output FILE (one chart's files) or --out DIR (a folder of "
          "numbered charts), not both"};
    }
    if (args_.value("picture")) {
      return Refusal{
          "--output " + *output_ +
          " names the picture: its extension (.png, .svg, .pdf or .html) picks the format; "
          "--picture goes with --out"};
    }
    if (!pictureFormatOf(*output_) || std::filesystem::path(*output_).extension().empty()) {
      return Refusal{
          "--output " + *output_ +
          ": name the picture FILE.png, FILE.svg, FILE.pdf or FILE.html (its document and data "
          "go beside it)"};
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
                           " needs numbers there" + dateOrderHint(c.texts[c.firstText]),
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
    if (request_.color >= 0 && takesColorScale(kind) && !args_.has("color-categorical")) {
      const auto color = static_cast<std::size_t>(request_.color);
      const Column& c = table.column(color);
      request_.colorScale =
          c.numeric && !c.coded &&
          table.distinctNumbers(color, kMostColorCategories) > kMostColorCategories;
    }
    return std::nullopt;
  }

  // The fitted curve, printed; a family the data does not allow is refused
  // with the fitter's reason.
  std::optional<Refusal> fitCurve(const Table& table) {
    if (!family_) return std::nullopt;
    const ColumnFit fitted = fitColumns(table, *family_, request_.x.front(), request_.y);
    const fit::FitResult& result = fitted.result;
    if (!result) {
      const auto name = [&](int index) {
        return table.column(static_cast<std::size_t>(index)).name;
      };
      // A bad point is named by the file line it came from.
      const std::string where = fitted.row
                                    ? table.path() + ":" + std::to_string(table.lineOf(*fitted.row))
                                    : table.path();
      const std::string family(fit::familyName(*family_));
      // "an s curve" as it is said; "an inverse", "a linear".
      const bool vowel =
          family == "s" || std::string_view("aeiou").find(family[0]) != std::string_view::npos;
      return Refusal{where + ": cannot fit " + (vowel ? "an " : "a ") + family + " curve to " +
                         name(request_.y) + " by " + name(request_.x.front()) + ": " +
                         (fitted.row ? result.reason : result.error),
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

  // A title and description from the columns' labels, unless --title says.
  void describe(const Table& table) {
    const std::string shows = defaultTitle(table, request_);
    request_.title = args_.value("title").value_or(shows);
    const std::string from = args_.positional.front() == "-"
                                 ? "standard input"
                                 : std::filesystem::path(table.path()).filename().string();
    request_.description = std::string(kindName(request_.kind)) + " of " + shows + ", from " + from;
  }

  const ChartRequest& request() const { return request_; }

 private:
  const Parsed& args_;
  ChartRequest request_;
  ReadOptions reading_;
  std::optional<std::string> output_;
  std::optional<fit::Family> family_;
  int lastIndex_ = -1;
};

// Writes the chart just sent, kept in the host's memory, as --output names
// it: the document and data beside the picture.
int writeOutputFiles(const std::vector<std::string>& files) {
  std::string error;
  const int last = cxh_sent_count() - 1;
  const std::string& picture = files[0];
  const std::string& document = files[1];
  const std::string& data = files[2];
  const std::filesystem::path folder = std::filesystem::path(picture).parent_path();
  std::error_code ec;
  if (!folder.empty()) std::filesystem::create_directories(folder, ec);
  if (ec) {
    return complain("plot", folder.string() + ": cannot make the folder: " + ec.message(),
                    kExitFailure);
  }
  const char* csv = cxh_sent_data_csv(last, "source0");
  if (!writeWhole(document, cxh_sent_xml(last), error) ||
      (csv != nullptr && !writeWhole(data, csv, error))) {
    return complain("plot", error, kExitFailure);
  }
  std::printf("wrote %s and its data %s\n", document.c_str(), data.c_str());
  DrawnChart drawn;
  if (!drawLastSent({picture}, drawn, error)) return complain("plot", error, kExitFailure);
  for (const std::string& part : drawn.skipped) {
    std::fprintf(stderr, "chartxml plot: %s: not drawn yet: %s\n", picture.c_str(), part.c_str());
  }
  std::printf("wrote %s\n", picture.c_str());
  return kExitOk;
}

// Writes the chart into the folder, numbered after the charts already there.
int writeIntoFolder(const std::string& out, const std::vector<PictureFormat>& pictures) {
  // The host has just written the chart's files: its number is the highest.
  const int number = highestChartNumber(out);
  const std::string stem = chartStem(number);
  std::printf("wrote %s/%s.xml and its data %s/%s.source0.csv\n", out.c_str(), stem.c_str(),
              out.c_str(), stem.c_str());
  DrawnChart drawn;
  std::string error;
  if (!pictures.empty() && !drawLastSent(picturePaths(out, number, pictures), drawn, error)) {
    return complain("plot", stem + ": " + error, kExitFailure);
  }
  for (const std::string& part : drawn.skipped) {
    std::fprintf(stderr, "chartxml plot: %s: not drawn yet: %s\n", stem.c_str(), part.c_str());
  }
  for (const std::string& file : drawn.files) std::printf("wrote %s\n", file.c_str());
  return kExitOk;
}

// Reads the data, builds the chart and sends it: kExitOk, or the status of
// the refusal made. The data and the library instance are gone when it
// returns, so that drawing the chart reuses their memory.
int readAndSend(PlotSetup& setup, const Parsed& parsed, const std::string& out) {
  std::string error;
  auto session = Session::open(parsed.positional.front(), setup.reading(), error);
  if (!session) return complain("plot", error, kExitFailure);
  if (parsed.has("verbose")) {
    std::istringstream kinds(session->columnKinds());
    for (std::string line; std::getline(kinds, line);) {
      std::fprintf(stderr, "chartxml plot: %s: %s\n", session->name().c_str(), line.c_str());
    }
  }
  const Table table = session->table();
  if (table.rows() == 0) {
    return complain("plot", table.path() + ": has a header but no rows; nothing to chart",
                    kExitFailure);
  }
  if (auto refusal = setup.checkColumns(table)) {
    return complain("plot", refusal->message, refusal->status);
  }
  if (auto refusal = setup.fitCurve(table)) {
    return complain("plot", refusal->message, refusal->status);
  }
  setup.describe(table);

  if (setup.output()) {
    // Kept in memory only: the tool writes the files under the names given.
    ::unsetenv("CHARTXML_OUTPUT");
    cxh_set_output_dir(nullptr);
  } else if (!useOutputFolder(out, error)) {
    return complain("plot", error, kExitFailure);
  }
  if (!session->start(parsed.value("lang").value_or(""), error)) {
    return complain("plot", error, kExitFailure);
  }
  if (!session->send(table, setup.request(), error)) return complain("plot", error, kExitFailure);
  return kExitOk;
}

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
  if (auto refusal = setup.checkOptions()) {
    return complain("plot", refusal->message, refusal->status);
  }
  std::vector<PictureFormat> pictures{PictureFormat::kPng};
  if (const auto picture = parsed->value("picture")) {
    const auto format = parsePictureFormat(*picture);
    if (!format && *picture != "none") {
      return complain("plot",
                      "unknown picture format '" + *picture + "'; valid: png, svg, pdf, html, none",
                      kExitUsage);
    }
    pictures = format ? std::vector<PictureFormat>{*format} : std::vector<PictureFormat>{};
  }
  if (auto refusal = setup.checkReplacing()) {
    return complain("plot", refusal->message, refusal->status);
  }

  const std::string out = parsed->value("out").value_or("out");
  if (const int status = readAndSend(setup, *parsed, out); status != kExitOk) return status;
  return setup.output() ? writeOutputFiles(setup.outputFiles()) : writeIntoFolder(out, pictures);
}

}  // namespace chartxml::cli
