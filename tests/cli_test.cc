// The chartxml tool run as a user runs it: as a process, judged by its exit
// status, what it prints and the files it writes.
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "chartxml/version.h"

extern char** environ;

namespace {

namespace fs = std::filesystem;

struct Result {
  int status = -1;
  std::string out;
  std::string err;
};

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// Starts `program` with `args` in `cwd`; standard output and error go to
// files beside it (no pipe can fill up and stall the child), standard input
// comes from `input` (relative to `cwd`) or /dev/null. A `terminal` named
// takes standard error instead, and standard output goes nowhere. -1 when it
// cannot start.
pid_t startProgram(const std::string& program, const std::vector<std::string>& args,
                   const fs::path& cwd, const fs::path& input = {},
                   const char* terminal = nullptr) {
  const fs::path inPath = input.empty() ? fs::path("/dev/null") : cwd / input;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  const int written = O_WRONLY | O_CREAT | O_TRUNC;
  if (terminal != nullptr) {
    posix_spawn_file_actions_addopen(&actions, 2, terminal, O_RDWR | O_NOCTTY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  } else {
    posix_spawn_file_actions_addopen(&actions, 1, (cwd / ".stdout").c_str(), written, 0644);
    posix_spawn_file_actions_addopen(&actions, 2, (cwd / ".stderr").c_str(), written, 0644);
  }
  posix_spawn_file_actions_addopen(&actions, 0, inPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  std::vector<std::string> words{program};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_t pid = -1;
  const int failed = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return failed == 0 ? pid : -1;
}

// Runs `program` as startProgram starts it, to its end.
Result runProgram(const std::string& program, const std::vector<std::string>& args,
                  const fs::path& cwd, const fs::path& input = {}) {
  Result result;
  if (const pid_t pid = startProgram(program, args, cwd, input); pid > 0) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  result.out = readFile(cwd / ".stdout");
  result.err = readFile(cwd / ".stderr");
  return result;
}

bool contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// The n-th numbered chart's document (or other file, by extension).
std::string chartName(int n, const char* extension = "xml") {
  char name[32];
  std::snprintf(name, sizeof name, "chart-%04d.%s", n, extension);
  return name;
}

// A refusal: the exit status and a piece of what it says on standard error.
void expectRefused(const Result& result, int status, const std::string& message) {
  EXPECT_EQ(result.status, status) << message;
  EXPECT_TRUE(contains(result.err, message)) << "expected: " << message << "\ngot: " << result.err;
}

// A refusal in full: the exit status and all it says on standard error.
void expectRefusedWith(const Result& result, int status, const std::string& err) {
  EXPECT_EQ(result.status, status) << err;
  EXPECT_EQ(result.err, err);
}

// The rows of a written data file, without its header.
std::string rowsOf(const std::string& csv) {
  return csv.substr(csv.find('\n') + 1);
}

// The width and height a PNG's header states.
std::pair<unsigned, unsigned> pngSize(const std::string& png) {
  if (png.size() < 24 || png.compare(0, 8, "\x89PNG\r\n\x1a\n") != 0) return {0, 0};
  const auto word = [&](std::size_t at) {
    unsigned value = 0;
    for (std::size_t i = 0; i < 4; ++i)
      value = value << 8 | static_cast<unsigned char>(png[at + i]);
    return value;
  };
  return {word(16), word(20)};
}

// The names of the files in `folder`, sorted.
std::vector<std::string> filesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

// Files of `dir` whose names start with a dot: a writer's leftovers.
std::vector<std::string> hiddenFiles(const fs::path& dir) {
  std::vector<std::string> out;
  for (const std::string& name : filesIn(dir)) {
    if (name[0] == '.' && name != ".stdout" && name != ".stderr") out.push_back(name);
  }
  return out;
}

// Every chart the tool sends in these tests is checked as a validating host
// checks it (the chart schema and the references): one that is not valid is
// refused and fails the command.
[[maybe_unused]] const bool kValidating = setenv("CHARTXML_VALIDATE", "1", 1) == 0;

class CliTest : public ::testing::Test {
 protected:
  // A fresh folder of this test's own: ctest runs tests side by side.
  void SetUp() override {
    const std::string test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    dir = fs::path(::testing::TempDir()) / ("cx-cli-" + std::to_string(getpid()) + "-" + test);
    fs::remove_all(dir);
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  Result chartxml(const std::vector<std::string>& args) {
    return runProgram(CHARTXML_CLI, args, dir);
  }
  // The same with standard input read from `input`, a file of the folder.
  Result chartxmlFed(const std::vector<std::string>& args, const std::string& input) {
    return runProgram(CHARTXML_CLI, args, dir, input);
  }
  // A run that must succeed: a failure ends the test with what the tool said.
  Result ran(const std::vector<std::string>& args, const std::string& input = "") {
    Result result = input.empty() ? chartxml(args) : chartxmlFed(args, input);
    if (result.status != 0) {
      throw std::runtime_error(testing::PrintToString(args) + " failed (" +
                               std::to_string(result.status) + "): " + result.err);
    }
    return result;
  }
  // `text` written to `name` in the folder.
  void write(const std::string& name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
  }
  // plot of `data` into ./out, with no picture: --type setup[0], then the rest
  // of `setup`. Returns the document of the `n`-th chart.
  std::string plotNumbered(const std::string& data, const std::vector<std::string>& setup, int n) {
    std::vector<std::string> args{"plot", data, "--type", setup.front(), "--picture", "none"};
    args.insert(args.end(), setup.begin() + 1, setup.end());
    ran(args);
    return readFile(dir / "out" / chartName(n));
  }

  // A small data set: a text group, a numeric category, three numbers.
  std::string sample() {
    std::ofstream csv(dir / "sample.csv");
    csv << "group,kind,a,b,c\n";
    for (int i = 0; i < 12; ++i) {
      csv << (i % 2 == 0 ? "north" : "\"south, far\"") << ',' << 1 + i % 3 << ',' << i << ','
          << 0.5 * i * i << ',' << 10 - i << '\n';
    }
    return (dir / "sample.csv").string();
  }
  // Four people's ages, scores and hours, and a dictionary that labels three
  // columns, names sex's values and makes a score of 9 missing.
  void survey() {
    write("survey.csv", "age,score,sex,hours\n20,3.5,1,2\n31,,2,4\n45,9,1,5\n52,4,2,1\n");
    write("survey.csv.dict.json", R"({ "variables": {
      "age": { "label": "Age in years" },
      "score": { "label": "Test score", "missing": [9] },
      "sex": { "label": "Sex", "valueLabels": { "1": "Male", "2": "Female" } } } })");
  }

  fs::path dir;
};

// The demo's gallery: each chart it lists is well formed, of its kind, has
// its data beside it, and is described by that data, in the gallery too.
TEST_F(CliTest, DemoWritesEveryChartItListsAndEachIsWellFormed) {
  // No options: the gallery goes to ./out of the folder it is run in.
  const Result demo = ran({"demo"});
  EXPECT_EQ(demo.err, "") << "every part of every chart is drawn";
  const std::string index = readFile(dir / "out" / "index.txt");
  std::vector<std::string> documents;
  std::istringstream lines(index);
  for (std::string line; std::getline(lines, line);) {
    const auto tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    EXPECT_GT(line.size(), tab + 10) << "no description: " << line;
    documents.push_back(line.substr(0, tab));
  }
  ASSERT_EQ(documents.size(), 9u) << index;
  std::vector<std::string> check{"check"};
  for (std::size_t i = 0; i < documents.size(); ++i) {
    EXPECT_EQ(documents[i], chartName(static_cast<int>(i) + 1));
    const fs::path data = dir / "out" / (documents[i].substr(0, 10) + ".source0.csv");
    EXPECT_TRUE(fs::exists(data)) << data;
    check.push_back("out/" + documents[i]);
  }
  const Result checked = ran(check);
  EXPECT_EQ(lineCount(checked.out), documents.size());

  // Each chart, in the order of the gallery: what its document holds, and
  // pieces of what render --describe says of it. Worked out from data/sets:
  // the quartet has 44 points, 11 in each set, x 4..19 and y 3.10..12.74
  // (two decimals, as y is written), the mean of y 7.50 in every set and the
  // fitted line y = 3.00 + 0.500x. CO2 has 65 years 1959..2023 of
  // 315.98..421.08 ppm, and 64 growths (none in 1959) of 0.42..3.40; the
  // growths of the 2010s sum to 24.01 of all 105.10 (22.8%); of the 65
  // years, 34 fall in the first half of their decade; the mean growth of a
  // half-decade runs from 0.728 (1960-64) to 2.568 (2015-19). Each bar of
  // chart 2 is one observation: its mean is its y.
  struct Chart {
    std::vector<std::string> marks, said;
  };
  const std::vector<Chart> charts{
      {{"type=\"point\"", "type=\"function\"", "guide_referenceLine_201", "aesthetic=\"color\""},
       {"Scatter plot of y by x, 44 cases.", "x runs from 4 to 19; y from 3.10 to 12.74.",
        "I (11 cases), II (11 cases), III (11 cases), IV (11 cases).",
        "A reference line marks y = 7.50."}},
      {{"<facetVariable role=\"x\"", "type=\"interval\"", "method=\"mean\""},
       {"y by Observation, 44 cases.", "Mean of y runs from 3.10 to 12.74.",
        "Observation has 11 categories",
        "Drawn in 4 panels, one for each Data set: I, II, III and IV."}},
      {{"type=\"line\"", "<dateTimeFormat pattern=\"dd-MMM-yyyy\"/>"},
       {", 65 cases.", "runs from 01-Jan-1959 to 01-Jan-2023;", "from 315.98 to 421.08."}},
      {{"positionModifier=\"dodge\"", "method=\"mean\"", "Half of the decade key",
        "<relabel from=\"1950\" to=\"1950s\"/>"},
       {"by Decade, 65 cases.", "runs from 0.73 to 2.57.",
        "Years 0-4 (34 cases), Years 5-9 (31 cases)."}},
      {{"method=\"histogram\"", "name=\"bin-width\" value=\"0.25\""},
       {"Histogram of Growth", "64 cases.", "from 0.42 to 3.40 in bins 0.25 wide"}},
      {{"method=\"polar\"", "<theta variable=", "method=\"sum\""},
       {"Pie chart of the sum of Growth", "by Decade", "2010s (24.01, 22.8%)"}},
      {{"matrixscatter", "X Axis"},
       {"Scatter-plot matrix of Year, Annual mean CO2 at Mauna Loa (ppm) and Growth",
        "Year runs from 1959 to 2023; Annual mean CO2 at Mauna Loa (ppm) from 315.98 to "
        "421.08;"}},
      {{"type=\"plane\"", "<z variable="},
       {"3-D scatter plot", "64 cases.", "Year runs from 1960 to 2023"}},
      // The Japanese chart's fit line and legend.
      {{"\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA", "\u306E\u51E1\u4F8B"},
       {"Scatter plot of y by x, 44 cases.", "(\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA)"}},
  };
  std::vector<std::string> said;
  for (std::size_t i = 0; i < charts.size(); ++i) {
    const std::string xml = readFile(dir / "out" / documents[i]);
    for (const std::string& mark : charts[i].marks) {
      EXPECT_TRUE(contains(xml, mark)) << documents[i] << " lacks " << mark;
    }
    const Result run = ran({"render", "out/" + documents[i], "--describe"});
    ASSERT_FALSE(run.out.empty());
    said.push_back(run.out.substr(0, run.out.size() - 1));
    for (const std::string& piece : charts[i].said) {
      EXPECT_TRUE(contains(said[i], piece)) << documents[i] << ": " << said[i];
    }
  }
  std::smatch fit;
  ASSERT_TRUE(std::regex_search(
      said[0], fit, std::regex("A linear fit line: y = ([0-9.]+) \\* x \\+ ([0-9.]+)\\.")))
      << said[0];
  EXPECT_NEAR(std::stod(fit[1].str()), 0.5, 0.001);
  EXPECT_NEAR(std::stod(fit[2].str()), 3.0, 0.002);
  // The gallery's pictures are described in the renderer's words.
  const std::string page = readFile(dir / "out" / "index.html");
  std::vector<std::string> alts;
  const std::regex alt("<img [^>]*alt=\"([^\"]*)\"");
  for (auto it = std::sregex_iterator(page.begin(), page.end(), alt); it != std::sregex_iterator();
       ++it) {
    alts.push_back(std::regex_replace((*it)[1].str(), std::regex("&amp;"), "&"));
  }
  EXPECT_EQ(alts, said);

  // The data went with the documents: the quartet's 44 points, 65 years of
  // CO2, each dated 1 January of its year in seconds since 14 October 1582.
  EXPECT_EQ(lineCount(readFile(dir / "out" / "chart-0001.source0.csv")), 45u);
  const std::string years = readFile(dir / "out" / "chart-0003.source0.csv");
  EXPECT_EQ(lineCount(years), 66u);
  EXPECT_TRUE(contains(years, "\n11872224000,315.98\n")) << years;
  EXPECT_TRUE(contains(years, "\n13891910400,421.08\n")) << years;
}

// The same input gives the same bytes: documents, data, pictures of every
// format and the gallery, run after run (no clock, no random or
// address-derived ids).
TEST_F(CliTest, EveryDemoFileIsTheSameOnEveryRun) {
  ran({"demo", "--out", "first"});
  ran({"demo", "--out", "second"});
  const std::vector<std::string> names = filesIn(dir / "first");
  // Each chart's document, data, PNG, SVG and page.
  EXPECT_GE(names.size(), 9u * 5);
  EXPECT_EQ(std::count_if(names.begin(), names.end(),
                          [](const std::string& name) { return name.ends_with(".html"); }),
            9 + 1);  // and the gallery
  for (const std::string& name : names) {
    ASSERT_TRUE(fs::exists(dir / "second" / name)) << name;
    EXPECT_TRUE(readFile(dir / "first" / name) == readFile(dir / "second" / name)) << name;
  }
  // PDF, which the demo does not write: each chart drawn twice.
  for (int n = 1; n <= 9; ++n) {
    const std::string document = "first/" + chartName(n);
    for (const char* pdf : {"a.pdf", "b.pdf"}) ran({"render", document, "-o", pdf});
    EXPECT_TRUE(readFile(dir / "a.pdf") == readFile(dir / "b.pdf")) << document;
  }
}

TEST_F(CliTest, PlotMakesEachTypeOfChart) {
  const std::string data = sample();
  const std::map<std::string, std::pair<std::vector<std::string>, std::string>> types{
      {"scatter",
       {{"--x", "a", "--y", "b", "--color", "group", "--panel", "kind"}, "type=\"point\""}},
      {"line", {{"--x", "a", "--y", "b", "--stat", "median"}, "method=\"median\""}},
      {"bar", {{"--x", "group", "--y", "b", "--color", "kind"}, "positionModifier=\"dodge\""}},
      {"area", {{"--x", "a", "--y", "c"}, "type=\"area\""}},
      {"histogram", {{"--x", "b", "--bin-width", "0.5"}, "value=\"0.5\""}},
      {"pie", {{"--x", "group"}, "method=\"count\""}},
      {"splom", {{"--x", "a,b,c", "--color", "group"}, "matrixscatter"}},
      {"scatter3d", {{"--x", "a", "--y", "b", "--z", "c"}, "<z variable="}},
  };
  for (const auto& [type, setup] : types) {
    SCOPED_TRACE(type);
    const std::string out = "out-" + type;
    std::vector<std::string> args{"plot", data, "--type", type, "--out", out};
    args.insert(args.end(), setup.first.begin(), setup.first.end());
    EXPECT_TRUE(contains(ran(args).out, out + "/chart-0001.xml"));
    const std::string xml = readFile(dir / out / "chart-0001.xml");
    EXPECT_TRUE(contains(xml, setup.second)) << "lacks " << setup.second;
    // Every case went into the data, the text with its comma quoted.
    const std::string rows = readFile(dir / out / "chart-0001.source0.csv");
    EXPECT_EQ(lineCount(rows), 13u);
    EXPECT_TRUE(!contains(xml, "shortLabel=\"group\"") || contains(rows, "\"south, far\""));
    ran({"check", out + "/chart-0001.xml"});
  }
}

// The coefficients printed by a fit of data made from the curve itself.
std::map<std::string, double> fitted(const std::string& printed) {
  std::map<std::string, double> values;
  const std::regex line(R"(^\s+(a|b|c|d|R squared) = (\S+)$)");
  std::istringstream lines(printed);
  for (std::string text; std::getline(lines, text);) {
    std::smatch match;
    if (std::regex_match(text, match, line)) values[match[1]] = std::stod(match[2]);
  }
  return values;
}

TEST_F(CliTest, FitsRecoverTheCoefficientsOfTheirCurve) {
  std::ofstream csv(dir / "curves.csv");
  csv << "x,straight,growing\n";
  for (int i = 1; i <= 20; ++i) {
    const double x = 0.5 * i;
    csv << x << ',' << 2 - 0.75 * x << ',' << 3 * std::exp(0.2 * x) << '\n';
  }
  csv.close();
  // straight = 2 - 0.75 x, growing = 3 e^(0.2 x): the printed a and b, and
  // the fitted curve the document draws.
  struct Curve {
    std::string column, type, family;
    double a, b, tolerance;
    std::string drawn;
  };
  for (const Curve& c :
       {Curve{"straight", "scatter", "linear", 2.0, -0.75, 1e-9, "name=\"Linear fit line\""},
        Curve{"growing", "line", "exponential", 3.0, 0.2, 1e-6, "exp( "}}) {
    const Result fit = ran({"plot", "curves.csv", "--type", c.type, "--x", "x", "--y", c.column,
                            "--fit", c.family, "--out", c.family});
    const auto values = fitted(fit.out);
    EXPECT_NEAR(values.at("a"), c.a, c.tolerance) << c.family;
    EXPECT_NEAR(values.at("b"), c.b, c.tolerance) << c.family;
    EXPECT_NEAR(values.at("R squared"), 1.0, c.tolerance) << c.family;
    EXPECT_TRUE(contains(readFile(dir / c.family / "chart-0001.xml"), c.drawn)) << c.family;
  }
  const std::string line = readFile(dir / "linear" / "chart-0001.xml");
  std::smatch formula;  // "b * x + a", each as the library writes a number
  ASSERT_TRUE(std::regex_search(line, formula, std::regex(R"re(value="(\S+) \* x \+ (\S+)")re")))
      << line;
  EXPECT_NEAR(std::stod(formula[1]), -0.75, 1e-9);
  EXPECT_NEAR(std::stod(formula[2]), 2.0, 1e-9);
}

TEST_F(CliTest, BadArgumentsNameTheValidChoices) {
  const std::string data = sample();
  // A bar of a, with `extra` options.
  const auto bar = [&](std::vector<std::string> extra) {
    extra.insert(extra.begin(), {"plot", data, "--type", "bar", "--x", "a"});
    return extra;
  };
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{}, "usage: chartxml COMMAND"},
      {{"draw"}, "unknown command 'draw'; valid commands: demo, plot, check"},
      {{"plot", data, "--type", "donut", "--x", "a"},
       "unknown chart type 'donut'; valid types: scatter, line, bar, area, histogram, pie, splom, "
       "scatter3d"},
      {{"plot", data, "--type", "bar", "--x", "colour"},
       "has no column 'colour' (--x); its columns: group, kind, a, b, c"},
      {{"plot", data, "--type", "scatter", "--x", "a", "--y", "b", "--fit", "spline"},
       "unknown fit family 'spline'; valid families: linear, logarithmic, inverse, quadratic, "
       "cubic, compound, power, s, growth, exponential, logistic"},
      {bar({"--stat", "mode"}),
       "unknown statistic 'mode'; valid statistics: mean, median, sum, count, min, max"},
      {bar({"--shape", "round"}), "unknown option --shape; valid options: --type, --x, --y"},
      {{"plot", data, "--type", "scatter", "--x", "a"}, "a scatter needs --y"},
      {bar({"--fit", "linear"}),
       "--fit draws a fitted curve on scatter, line, area charts, not on a bar"},
      {{"plot", data, "--type", "histogram", "--x", "a", "--bin-width", "-2"},
       "--bin-width needs a positive number, not '-2'"},
      {{"plot", data, "--type", "scatter3d", "--x", "a", "--y", "b"}, "a scatter3d needs --z"},
      {{"plot", data, "--type", "pie", "--x", "group", "--color", "kind"},
       "a pie is coloured by its --x"},
      {{"plot", data, "--x", "a"}, "--type is required; valid types:"},
      {{"plot", data, "--type", "bar", "--x"}, "--x needs a value"},
      {bar({"--x", "b"}), "--x is given twice"},
      {{"demo", "--lang", "Japanese"},
       "--lang: unknown language 'Japanese'; valid languages: en, ja"},
      {bar({"--lang", "fr"}), "--lang: unknown language 'fr'; valid languages: en, ja"},
      {bar({"--delimiter", ";;"}),
       "--delimiter needs one character (such as , ; | or :) or tab, not ';;'"},
      {bar({"--delimiter", "\""}), "--delimiter cannot be the quote"},
      {bar({"--date-order", "ymd"}),
       "unknown date order 'ymd'; valid orders: mdy (month first), dmy (day first)"},
      {{"plot", data, "--type", "scatter", "--x", "a", "--y", "b", "--color-categorical"},
       "--color-categorical goes with --color COL"},
      {bar({"-o", "a.png", "--out", "charts"}),
       "give either --output FILE (one chart's files) or --out DIR"},
      {bar({"--output", "a.gif"}),
       "--output a.gif: name the picture FILE.png, FILE.svg, FILE.pdf or FILE.html"},
      {bar({"-o", "a.png", "--picture", "svg"}), "--picture goes with --out"},
      {{"plot", data, "--type", "pie", "--x", "group", "--picture", "gif"},
       "unknown picture format 'gif'; valid: png, svg, pdf, html, none"},
      {bar({"--force"}), "--force goes with --output FILE"},
      {{"check"}, "name the XML files to check"},
      {{"render"}, "name the chart's document (chartxml render CHART.xml)"},
      {{"render", "c.xml", "-o", "c.gif"},
       "--out c.gif: name the picture .png, .svg, .pdf or .html"},
      {{"render", "c.xml", "--width", "5"},
       "--width needs a whole number of pixels from 16 to 32767, not '5'"},
      {{"render", "c.xml", "--scale", "0"},
       "--scale needs a number above 0 and at most 10, not '0'"},
  };
  for (const auto& [args, message] : cases) {
    const Result result = chartxml(args);
    expectRefused(result, 2, message);
    EXPECT_EQ(result.out, "") << message;
  }
}

// Data the tool cannot chart is refused with its file, and the file's line
// when one is to blame (rows without both values are no points, and a quoted
// field may span lines), and nothing is written.
TEST_F(CliTest, BadDataIsRefusedByFileAndLineAndNothingIsWritten) {
  write("ragged.csv", "x,y\n1,2\n3\n");
  write("words.csv", "x,y,note\n1,2,\"two\nlines\"\n2,3,\n3,n/a,\n");
  write("points.csv", "x,y,note\n1,2,\"two\nlines\"\n2,,\n3,-4,\n4,5,\n");
  write("flat.csv", "x,y\n2,1\n2,3\n");
  write("header.csv", "x,y\n");
  // The data, the type and further options; what the refusal says.
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"ragged.csv", "line", "--y", "y"}, "ragged.csv:3: row has 1 field; the header has 2"},
      {{"words.csv", "line", "--y", "y"},
       "words.csv:5: column 'y' (--y) holds text (\"n/a\"); a line needs numbers there"},
      {{"absent.csv", "line", "--y", "y"},
       std::string("absent.csv: cannot open: ") + std::strerror(ENOENT)},
      {{"points.csv", "scatter", "--y", "y", "--fit", "exponential"},
       "points.csv:5: cannot fit an exponential curve to y by x: exponential fit needs y > 0; "
       "y = -4"},
      // A refusal that concerns no one point names the file alone.
      {{"flat.csv", "line", "--y", "y", "--fit", "linear"},
       "flat.csv: cannot fit a linear curve to y by x: linear fit needs x values that vary; "
       "every x = 2"},
      {{"header.csv", "scatter", "--y", "y"},
       "header.csv: has a header but no rows; nothing to chart"},
      {{"-", "histogram", "-o", "h.png"}, "<stdin>: has a header but no rows; nothing to chart"},
  };
  for (const auto& [setup, said] : cases) {
    SCOPED_TRACE(setup.front());
    std::vector<std::string> args{"plot", setup[0], "--type", setup[1], "--x", "x"};
    args.insert(args.end(), setup.begin() + 2, setup.end());
    const Result refused = setup[0] == "-" ? chartxmlFed(args, "header.csv") : chartxml(args);
    expectRefusedWith(refused, 1, "chartxml plot: " + said + "\n");
    EXPECT_EQ(refused.out, "");
  }
  EXPECT_FALSE(fs::exists(dir / "out"));
  EXPECT_FALSE(fs::exists(dir / "h.png"));
}

// The library's own texts follow --lang; one demo chart is Japanese always.
TEST_F(CliTest, LanguageOfTheLibrarysTexts) {
  write("pairs.csv", "x,y,g\n1,2,a\n2,4.5,b\n3,6,a\n");
  const std::string xml = plotNumbered(
      "pairs.csv",
      {"scatter", "--x", "x", "--y", "y", "--color", "g", "--fit", "linear", "--lang", "ja"}, 1);
  EXPECT_TRUE(contains(xml, "name=\"\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA\"")) << xml;
  EXPECT_TRUE(contains(xml, ">g \u306E\u51E1\u4F8B</label>")) << xml;

  ran({"demo", "--lang", "ja", "--out", "gallery"});
  EXPECT_TRUE(contains(readFile(dir / "gallery" / "chart-0007.xml"), "shortLabel=\"X \u8EF8\""));
  EXPECT_TRUE(contains(readFile(dir / "gallery" / "chart-0004.xml"),
                       "Half of the decade \u306E\u51E1\u4F8B"));
}

TEST_F(CliTest, CheckTellsLineAndColumnOfEachFinding) {
  // Without the schema, only well-formedness, as a generic XML check.
  write("good.xml", "<?xml version=\"1.0\"?>\n<a><b/></a>\n");
  write("bad.xml", "<a>\n  <b></a>\n");
  EXPECT_EQ(ran({"check", "--no-schema", "good.xml"}).out, "good.xml: well formed\n");
  const Result bad = chartxml({"check", "--no-schema", "good.xml", "bad.xml", "none.xml"});
  expectRefused(bad, 1, "bad.xml:2:8: not well formed: expected end of tag 'b'");
  expectRefused(bad, 1, "none.xml: cannot open");
  EXPECT_EQ(bad.out, "good.xml: well formed\n");

  // With it, a chart's faults: a vocabulary the schema does not know, and a
  // reference to nothing, each at its line.
  const std::string sent = plotNumbered(sample(), {"scatter", "--x", "a", "--y", "b"}, 1);
  write("sent.xml", sent);
  EXPECT_EQ(chartxml({"check", "sent.xml"}).out, "sent.xml: valid\n");
  std::string broken = sent;
  const std::size_t x = broken.find("<x variable=\"") + 13;
  broken.replace(x, broken.find('"', x) - x, "nothing");
  broken.replace(broken.find("type=\"point\""), 12, "type=\"blob\"");
  write("broken.xml", broken);
  // The line of each planted fault, counted in the text.
  const auto lineOf = [&](const std::string& what) {
    return std::to_string(1 + std::count(broken.begin(), broken.begin() + broken.find(what), '\n'));
  };
  const Result checked = chartxml({"check", "broken.xml"});
  expectRefused(checked, 1, "broken.xml:" + lineOf("type=\"blob\"") + ":");
  EXPECT_TRUE(contains(checked.err, "'blob'")) << checked.err;
  expectRefused(checked, 1, "dangling reference: variable=\"nothing\" of <x>");
  expectRefused(checked, 1, "broken.xml:" + lineOf("variable=\"nothing\"") + ":");
  EXPECT_EQ(chartxml({"check", "--no-schema", "--schema", "x.xsd", "sent.xml"}).status, 2);
}

TEST_F(CliTest, HelpAndVersion) {
  EXPECT_EQ(ran({"--version"}).out, "chartxml " CHARTXML_VERSION_STRING "\n")
      << "the build's version is the headers'";
  // Each command's help, and options each must name.
  const std::map<std::string, std::vector<std::string>> commands{
      {"demo", {"--force"}},
      {"plot",
       {"--bin-width W", "--delimiter C", "--encoding NAME", "--date-order ORDER", "--verbose",
        "-o, --output FILE", "--force", "--color-categorical", "DATA - reads standard input"}},
      {"check", {}},
      {"render", {"--describe"}},
  };
  for (const auto& [command, options] : commands) {
    const Result help = ran({command, "--help"});
    EXPECT_EQ(help.out.rfind("usage: chartxml " + command, 0), 0u) << help.out;
    EXPECT_TRUE(contains(help.out, "--help")) << help.out;
    for (const std::string& option : options) {
      EXPECT_TRUE(contains(help.out, option)) << command << " --help lacks " << option;
    }
  }
}

// A long feed shows a progress bar, but only on a terminal.
TEST_F(CliTest, ProgressBarOnATerminalOnly) {
  {
    std::ofstream csv(dir / "long.csv");
    csv << "x\n";
    for (int i = 0; i < 100001; ++i) csv << i % 97 << '\n';
  }
  const std::vector<std::string> args{"plot", "long.csv", "--type", "histogram", "--x", "x"};
  const Result piped = ran(args);
  EXPECT_EQ(piped.err, "");

  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  const pid_t pid = startProgram(CHARTXML_CLI, args, dir, {}, ptsname(master));
  ASSERT_GT(pid, 0);
  // Read until the child's end closes the terminal (EIO), so that it never
  // waits on a full terminal buffer.
  std::string shown;
  char buffer[4096];
  for (ssize_t got; (got = read(master, buffer, sizeof buffer)) != 0;) {
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) break;
    shown.append(buffer, static_cast<std::size_t>(got));
  }
  close(master);
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << shown;
  EXPECT_TRUE(contains(shown, "\rfeeding rows [")) << shown;
  EXPECT_TRUE(contains(shown, "] 100%")) << shown;
}

// The data is read once, from a file or standard input, as the reader's
// options say; --verbose tells what each column was read as.
TEST_F(CliTest, PlotReadsDataAsItsReaderOptionsSay) {
  // Semicolons, from standard input (which cannot be read twice): detected.
  write("semi.csv", "city;temp;rain\nOslo;4.5;1\nRome;15.25;0\nLima;19;2\n");
  const Result piped = ran({"plot", "-", "--type", "bar", "--x", "city", "--y", "temp", "--verbose",
                            "--picture", "none"},
                           "semi.csv");
  EXPECT_EQ(piped.err,
            "chartxml plot: <stdin>: city: text\n"
            "chartxml plot: <stdin>: temp: number (2 decimals)\n"
            "chartxml plot: <stdin>: rain: number (0 decimals)\n");
  EXPECT_EQ(rowsOf(readFile(dir / "out" / "chart-0001.source0.csv")),
            "Oslo,4.5\nRome,15.25\nLima,19\n");

  // A bar of `y` by `x` of `file` into a folder named after it, read with
  // the options `extra`.
  const auto bars = [&](const std::string& file, const std::string& x, const std::string& y,
                        std::vector<std::string> args) {
    const std::string out = file.substr(0, file.find('.'));
    args.insert(args.begin(), {"plot", file, "--type", "bar", "--x", x, "--y", y, "--out", out,
                               "--picture", "none"});
    return chartxml(args);
  };
  // Tabs, named: with the wrong delimiter the header is one column.
  write("tabs.csv", "city\ttemp\nOslo\t4.5\nRome\t15\n");
  ASSERT_EQ(bars("tabs.csv", "city", "temp", {"--delimiter", "tab"}).status, 0);
  EXPECT_TRUE(contains(readFile(dir / "tabs" / "chart-0001.source0.csv"), "\nRome,15\n"));
  expectRefused(bars("tabs.csv", "city", "temp", {"--delimiter", ","}), 2,
                "has no column 'city' (--x); its columns: city\ttemp");

  // A file in Windows-1252 is refused as UTF-8 and read as what --encoding names.
  write("latin.csv", "name,v\nCaf\xe9,1\nTea,2\n");
  expectRefused(bars("latin.csv", "name", "v", {}), 1,
                "latin.csv:2:4: byte 0xE9 is not valid UTF-8");
  ASSERT_EQ(bars("latin.csv", "name", "v", {"--encoding", "CP1252"}).status, 0);
  EXPECT_TRUE(contains(readFile(dir / "latin" / "chart-0001.source0.csv"), "\nCaf\u00e9,1\n"));

  // 03/04/2024 is 4 March month first, 3 April day first, and a text without
  // a date order; 04/04/2024 is the same day either way.
  write("days.csv", "day,v\n03/04/2024,1\n04/04/2024,2\n");
  std::map<std::string, std::vector<long long>> days;  // order: the day column's values
  for (const std::string order : {"mdy", "dmy"}) {
    const Result dated =
        ran({"plot", "days.csv", "--type", "line", "--x", "day", "--y", "v", "--date-order", order,
             "--verbose", "--out", order, "--picture", "none"});
    EXPECT_TRUE(contains(dated.err, "chartxml plot: days.csv: day: date (")) << dated.err;
    std::istringstream lines(rowsOf(readFile(dir / order / "chart-0001.source0.csv")));
    for (std::string line; std::getline(lines, line);) days[order].push_back(std::stoll(line));
  }
  for (const auto& [order, values] : days) ASSERT_EQ(values.size(), 2u) << order;
  EXPECT_EQ(days["dmy"][0] - days["mdy"][0], 30 * 86400);
  EXPECT_EQ(days["dmy"][1], days["mdy"][1]);
  const Result undated =
      chartxml({"plot", "days.csv", "--type", "line", "--x", "day", "--y", "v", "--verbose"});
  for (const std::string said : {"chartxml plot: days.csv: day: text\n",
                                 "days.csv:2: column 'day' (--x) holds text (\"03/04/2024\")",
                                 "give --date-order mdy (month first) or dmy"}) {
    expectRefused(undated, 1, said);
  }
  // A text that is no date gets no such advice.
  write("words.csv", "day,v\nMonday,1\n");
  const Result words = chartxml({"plot", "words.csv", "--type", "line", "--x", "day", "--y", "v"});
  EXPECT_EQ(words.status, 1);
  EXPECT_FALSE(contains(words.err, "--date-order")) << words.err;
}

// A file of tens of megabytes makes the tool keep its memory in a heap on
// huge pages, grown at once: the chart is the same as without.
TEST_F(CliTest, PlotOfALargeFileChartsEveryRow) {
  constexpr int kRows = 20000;
  {
    // A long note per row takes the file past 16 MB with few rows to chart.
    std::ofstream csv(dir / "large.csv");
    csv << "x,y,note\n";
    const std::string note(900, 'n');
    for (int i = 0; i < kRows; ++i) csv << i << ',' << 2 * i << ',' << note << '\n';
  }
  ASSERT_GT(fs::file_size(dir / "large.csv"), std::uintmax_t{16} << 20);
  ran({"plot", "large.csv", "--type", "scatter", "--x", "x", "--y", "y", "--out", "large",
       "--picture", "none"});
  const std::string data = readFile(dir / "large" / chartName(1, "source0.csv"));
  EXPECT_EQ(lineCount(data), kRows + 1u);
  EXPECT_NE(data.find("\n19999,39998"), std::string::npos);
}

// A named pipe gives its data once: a tool that opened it again would wait
// for a writer that never comes, and one that read it again would find
// nothing. The tool is stopped, and the test failed, if it does not finish.
TEST_F(CliTest, PlotReadsANamedPipeOnlyOnce) {
  const fs::path pipe = dir / "feed.csv";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0) << std::strerror(errno);
  const pid_t pid = startProgram(CHARTXML_CLI,
                                 {"plot", "feed.csv", "--type", "scatter", "--x", "x", "--y", "y",
                                  "--color", "g", "--verbose", "--picture", "none"},
                                 dir);
  ASSERT_GT(pid, 0);

  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  const auto late = [&] { return std::chrono::steady_clock::now() > deadline; };
  // Without a reader a non-blocking open fails (ENXIO): the tool is not there yet.
  int fd = -1;
  while ((fd = open(pipe.c_str(), O_WRONLY | O_NONBLOCK)) < 0 && errno == ENXIO && !late()) {
    usleep(2000);
  }
  std::string data = "x,y,g\n";
  for (int i = 0; i < 2000; ++i) {
    data += std::to_string(i) + "," + std::to_string(i % 7) + ".5," + std::to_string(i % 3) + "\n";
  }
  if (fd >= 0) {
    fcntl(fd, F_SETFL, 0);  // blocking again: the tool takes the data as it comes
    for (std::size_t at = 0; at < data.size();) {
      const ssize_t put = ::write(fd, data.data() + at, data.size() - at);
      if (put <= 0) break;
      at += static_cast<std::size_t>(put);
    }
    close(fd);
  }
  int status = 0;
  pid_t done = 0;
  while ((done = waitpid(pid, &status, WNOHANG)) == 0 && !late()) usleep(5000);
  if (done == 0) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    FAIL() << "the tool did not finish: it waits on the pipe a second time";
  }
  ASSERT_GE(fd, 0) << "the tool never opened the pipe";
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << readFile(dir / ".stderr");
  EXPECT_EQ(readFile(dir / ".stderr"),
            "chartxml plot: feed.csv: x: number (0 decimals)\n"
            "chartxml plot: feed.csv: y: number (1 decimal)\n"
            "chartxml plot: feed.csv: g: number (0 decimals)\n");
  const std::string sent = readFile(dir / "out" / "chart-0001.source0.csv");
  EXPECT_EQ(lineCount(rowsOf(sent)), 2000u) << sent.substr(0, 200);
  EXPECT_TRUE(contains(sent, "\n1999,4.5,1\n")) << sent.substr(sent.size() - 200);
}

// Charts into a folder continue after those there, under the names printed;
// the demo's index lists one run, and nothing is replaced unasked.
TEST_F(CliTest, ChartsIntoAFolderNeverReplaceEarlierFiles) {
  const std::vector<std::string> pie{"plot", sample(), "--type", "pie",
                                     "--x",  "group",  "--out",  "charts"};
  fs::create_directories(dir / "charts");
  write("charts/chart-0041.png", "an earlier picture");
  const Result first = ran(pie);
  EXPECT_EQ(first.out,
            "wrote charts/chart-0042.xml and its data charts/chart-0042.source0.csv\n"
            "wrote charts/chart-0042.png\n");
  const Result second = ran(pie);
  EXPECT_TRUE(contains(second.out, "wrote charts/chart-0043.png\n")) << second.out;
  EXPECT_EQ(filesIn(dir / "charts"),
            (std::vector<std::string>{"chart-0041.png", "chart-0042.png", "chart-0042.source0.csv",
                                      "chart-0042.xml", "chart-0043.png", "chart-0043.source0.csv",
                                      "chart-0043.xml"}));
  EXPECT_EQ(readFile(dir / "charts" / "chart-0041.png"), "an earlier picture");

  // The demo refuses a folder of charts, and leaves it as it was.
  write("charts/notes.txt", "mine");
  expectRefusedWith(
      chartxml({"demo", "--out", "charts"}), 1,
      "chartxml demo: charts: already holds charts or an index of an earlier run "
      "(chart-0041.png and 6 more); name an empty folder with --out DIR, or give --force "
      "to remove them first\n");
  EXPECT_EQ(filesIn(dir / "charts").size(), 8u);

  // --force removes the charts and nothing else; the index lists this run's.
  const Result forced = ran({"demo", "--out", "charts", "--force"});
  EXPECT_EQ(readFile(dir / "charts" / "notes.txt"), "mine");
  EXPECT_FALSE(fs::exists(dir / "charts" / "chart-0041.png"));
  EXPECT_FALSE(fs::exists(dir / "charts" / "chart-0043.xml"));
  const std::string index = readFile(dir / "charts" / "index.txt");
  EXPECT_EQ(lineCount(index), 9u);
  EXPECT_EQ(index.rfind("chart-0001.xml\t", 0), 0u) << index;
  EXPECT_TRUE(contains(index, "\nchart-0009.xml\t")) << index;
  EXPECT_TRUE(contains(forced.out, "charts/chart-0009.xml  ")) << forced.out;
  const std::string page = readFile(dir / "charts" / "index.html");

  // A plot after the demo takes the next number and leaves its index alone;
  // the demo then refuses the folder again.
  const Result after = ran(pie);
  EXPECT_TRUE(contains(after.out, "wrote charts/chart-0010.xml")) << after.out;
  EXPECT_EQ(readFile(dir / "charts" / "index.txt"), index);
  EXPECT_EQ(readFile(dir / "charts" / "index.html"), page);
  EXPECT_EQ(chartxml({"demo", "--out", "charts"}).status, 1);

  // An index alone is the demo's too.
  fs::create_directories(dir / "indexed");
  write("indexed/index.html", "<p>someone's page</p>");
  expectRefused(chartxml({"demo", "--out", "indexed"}), 1,
                "indexed: already holds charts or an index");
  EXPECT_EQ(readFile(dir / "indexed" / "index.html"), "<p>someone's page</p>");
}

// -o names the picture; the document and data go beside it, and existing
// files of those names are replaced only with --force.
TEST_F(CliTest, PlotWritesTheFilesOutputNames) {
  const std::string data = sample();
  const auto plot = [&](const std::string& title, bool force) {
    std::vector<std::string> args{"plot", data, "--type", "scatter",     "--x",     "a",
                                  "--y",  "b",  "-o",     "figs/ab.svg", "--title", title};
    if (force) args.push_back("--force");
    return args;
  };
  EXPECT_EQ(ran(plot("First", false)).out,
            "wrote figs/ab.xml and its data figs/ab.source0.csv\nwrote figs/ab.svg\n");
  EXPECT_EQ(filesIn(dir / "figs"),
            (std::vector<std::string>{"ab.source0.csv", "ab.svg", "ab.xml"}));
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.svg"), "<svg"));
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">First</label>"));
  EXPECT_EQ(lineCount(readFile(dir / "figs" / "ab.source0.csv")), 13u);
  EXPECT_FALSE(fs::exists(dir / "out")) << "no folder of numbered charts";

  expectRefusedWith(
      chartxml(plot("Second", false)), 1,
      "chartxml plot: figs/ab.svg, figs/ab.xml, figs/ab.source0.csv: already there; give "
      "--force to replace, or name another file\n");
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">First</label>"));
  // Any one of the three is enough to refuse.
  fs::remove(dir / "figs" / "ab.svg");
  fs::remove(dir / "figs" / "ab.xml");
  EXPECT_EQ(chartxml(plot("Second", false)).status, 1);
  EXPECT_FALSE(fs::exists(dir / "figs" / "ab.xml"));

  ran(plot("Second", true));
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">Second</label>"));
  EXPECT_EQ(hiddenFiles(dir / "figs"), std::vector<std::string>{});
  // The data beside the document is where render looks for it.
  ran({"render", "figs/ab.xml", "-o", "again.pdf"});
  EXPECT_EQ(readFile(dir / "again.pdf").substr(0, 5), "%PDF-");
}

// The title of a chart and what its axes are titled, by role.
struct Titles {
  std::string title;
  std::map<std::string, std::string> axes;
};

Titles titlesOf(const std::string& xml) {
  Titles titles;
  std::smatch match;
  if (std::regex_search(xml, match, std::regex(R"(<label id="label_title_1"[^>]*>([^<]*)<)"))) {
    titles.title = match[1];
  }
  const std::regex axis(
      R"re(<dimension[^>]*role="(\w+)"[^>]*>\s*<axis[^>]*>\s*<label[^>]*>([^<]*)<)re");
  for (auto it = std::sregex_iterator(xml.begin(), xml.end(), axis); it != std::sregex_iterator();
       ++it) {
    titles.axes[(*it)[1]] = (*it)[2];
  }
  return titles;
}

// What the dictionary beside the data says reaches the chart: the labels
// title it and its axes, value labels name the values, and values that count
// as missing go as none.
TEST_F(CliTest, PlotUsesTheDictionaryBesideTheData) {
  survey();  // age, score and sex labelled; hours not
  using Axes = std::map<std::string, std::string>;
  const std::vector<std::tuple<std::vector<std::string>, std::string, Axes>> charts{
      {{"bar", "--x", "sex", "--y", "score"},
       "Mean of Test score by Sex",
       {{"x", "Sex"}, {"y", "Mean of Test score"}}},
      {{"bar", "--x", "sex"}, "Count by Sex", {{"x", "Sex"}, {"y", "Count"}}},
      {{"line", "--x", "age", "--y", "score", "--stat", "max"},
       "Maximum of Test score by Age in years",
       {{"x", "Age in years"}, {"y", "Maximum of Test score"}}},
      {{"area", "--x", "hours", "--y", "score"},
       "Test score by hours",
       {{"x", "hours"}, {"y", "Test score"}}},
      {{"scatter", "--x", "age", "--y", "hours", "--color", "sex"},
       "hours by Age in years",
       {{"x", "Age in years"}, {"y", "hours"}}},
      {{"histogram", "--x", "score"}, "Test score", {{"x", "Test score"}, {"y", "Count"}}},
      {{"scatter3d", "--x", "age", "--y", "hours", "--z", "score"},
       "Test score by Age in years and hours",
       {{"x", "Age in years"}, {"y", "hours"}, {"z", "Test score"}}},
      {{"pie", "--x", "sex", "--y", "score"}, "Sum of Test score by Sex", {}},
  };
  int number = 0;
  for (const auto& [setup, title, axes] : charts) {
    const std::string xml = plotNumbered("survey.csv", setup, ++number);
    const Titles titles = titlesOf(xml);
    EXPECT_EQ(titles.title, title) << setup.front();
    EXPECT_EQ(titles.axes, axes) << setup.front() << "\n" << xml;
  }
  // Value labels and values that count as missing reach the chart too.
  const std::string xml = plotNumbered(
      "survey.csv",
      {"scatter", "--x", "age", "--y", "score", "--color", "sex", "--title", "Scores by age"}, 9);
  for (const std::string mark : {"label=\"Test score\"", "<relabel from=\"2\" to=\"Female\"/>",
                                 ">Scores by age</label>", ">Sex key</label>"}) {
    EXPECT_TRUE(contains(xml, mark)) << "lacks " << mark << "\n" << xml;
  }
  // An empty field and the user-missing 9 both go as no value.
  EXPECT_EQ(rowsOf(readFile(dir / "out" / chartName(9, "source0.csv"))),
            "20,3.5,1\n31,,2\n45,,1\n52,4,2\n");
}

// The variable the marks are coloured by, as the document declares it.
std::string colourDeclared(const std::string& xml) {
  std::smatch color;
  if (!std::regex_search(xml, color, std::regex(R"re(<color variable="(\w+)")re"))) return "none";
  std::smatch variable;
  const std::regex declared("<variable categorical=\"(true|false)\" id=\"" + color[1].str() + "\"");
  return std::regex_search(xml, variable, declared) ? variable[1].str() : "undeclared";
}

TEST_F(CliTest, PointsColouredByManyNumbersGetAScale) {
  {
    std::ofstream csv(dir / "shades.csv");
    csv << "x,y,t,ten,code,name\n";
    for (int i = 0; i < 24; ++i) {
      csv << i << ',' << i * i << ',' << (i % 12) * 0.5 << ',' << i % 10 << ',' << i % 12 << ",n"
          << i % 12 << '\n';
    }
  }
  write("shades.csv.dict.json", R"({ "variables": { "code": { "measure": "nominal" } } })");
  // The kind and options, and whether the colour goes as categories.
  const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
      {{"scatter", "--x", "x", "--y", "y", "--color", "t"}, "false"},
      {{"splom", "--x", "x,y", "--color", "t"}, "false"},
      {{"scatter3d", "--x", "x", "--y", "y", "--z", "ten", "--color", "t"}, "false"},
      {{"scatter", "--x", "x", "--y", "y", "--color", "t", "--color-categorical"}, "true"},
      {{"scatter", "--x", "x", "--y", "y", "--color", "ten"}, "true"},   // ten values
      {{"scatter", "--x", "x", "--y", "y", "--color", "code"}, "true"},  // nominal
      {{"scatter", "--x", "x", "--y", "y", "--color", "name"}, "true"},  // texts
      {{"bar", "--x", "ten", "--y", "y", "--color", "t"}, "true"},       // clusters
      {{"line", "--x", "x", "--y", "y", "--color", "t"}, "true"},        // one line each
  };
  int number = 0;
  for (const auto& [setup, categorical] : cases) {
    const std::string xml = plotNumbered("shades.csv", setup, ++number);
    EXPECT_EQ(colourDeclared(xml), categorical) << testing::PrintToString(setup);
    EXPECT_TRUE(contains(xml, " key</label>")) << "a legend: " << testing::PrintToString(setup);
  }
}

// render draws a sent chart in the format asked for, and tells what it shows
// in words: printed by --describe and kept in the SVG.
TEST_F(CliTest, RenderDrawsASentChartInEachFormatAndInWords) {
  const std::string data = sample();
  const Result plot = ran({"plot", data, "--type", "scatter", "--x", "a", "--y", "b", "--color",
                           "group", "--out", "charts"});
  EXPECT_TRUE(contains(plot.out, "wrote charts/chart-0001.png")) << plot.out;
  EXPECT_EQ(pngSize(readFile(dir / "charts" / "chart-0001.png")), std::make_pair(800u, 600u));
  fs::remove(dir / "charts" / "chart-0001.png");

  // a is 0..11, b = a * a / 2 is 0..60.5 (one decimal, as the column has);
  // the even rows are north, the odd ones "south, far".
  const std::string expected =
      "Scatter plot of b by a, 12 cases. a runs from 0 to 11; b from 0.0 to 60.5. Points are "
      "coloured by group: north (6 cases), south, far (6 cases).";
  EXPECT_EQ(ran({"render", "charts/chart-0001.xml", "--describe"}).out, expected + "\n");
  EXPECT_FALSE(fs::exists(dir / "charts" / "chart-0001.png")) << "describing draws nothing";
  // With --out it draws too, and the SVG holds the same words.
  EXPECT_EQ(ran({"render", "charts/chart-0001.xml", "--describe", "-o", "d.svg"}).out,
            expected + "\n");
  EXPECT_TRUE(contains(readFile(dir / "d.svg"), "<desc id=\"chart-desc\">" + expected + "</desc>"));

  const Result svg = ran({"render", "charts/chart-0001.xml", "-o", "c.svg"});
  EXPECT_EQ(svg.out, "wrote c.svg\n");
  EXPECT_EQ(svg.err, "");
  // Twelve cases, two groups: twelve points and two legend keys.
  const std::string picture = readFile(dir / "c.svg");
  const std::regex circle("<circle");
  EXPECT_EQ(std::distance(std::sregex_iterator(picture.begin(), picture.end(), circle),
                          std::sregex_iterator()),
            14)
      << picture;
  EXPECT_FALSE(fs::exists(dir / "c.pdf")) << "one picture, of the format asked for";
  ran({"render", "charts/chart-0001.xml", "--out=c.pdf"});
  EXPECT_EQ(readFile(dir / "c.pdf").substr(0, 5), "%PDF-");
  // By default the picture goes beside the document; its size is the caller's.
  ran({"render", "charts/chart-0001.xml", "--width", "400", "--height", "300", "--scale", "2"});
  EXPECT_EQ(pngSize(readFile(dir / "charts" / "chart-0001.png")), std::make_pair(800u, 600u));
  // The data may live elsewhere.
  fs::create_directories(dir / "docs");
  fs::copy_file(dir / "charts" / "chart-0001.xml", dir / "docs" / "chart-0001.xml");
  ran({"render", "docs/chart-0001.xml", "--data", "charts"});

  // plot's own picture: none, or the format named.
  for (const std::string format : {"none", "svg"}) {
    ran({"plot", data, "--type", "pie", "--x", "group", "--out", format, "--picture", format});
  }
  EXPECT_FALSE(fs::exists(dir / "none" / "chart-0001.png"));
  EXPECT_TRUE(contains(readFile(dir / "svg" / "chart-0001.svg"), "class=\"mark slice\""));
}

TEST_F(CliTest, RenderRefusesBadInputAndLeavesNoPicture) {
  ran({"plot", sample(), "--type", "bar", "--x", "group", "--y", "b", "--out", "c", "--picture",
       "none"});
  const std::string xml = readFile(dir / "c" / "chart-0001.xml");
  const std::string csv = readFile(dir / "c" / "chart-0001.source0.csv");
  write("c/page.xml", "<html><body>not a chart</body></html>");
  for (const std::string stem : {"nocolumn", "empty", "text", "nodata"})
    write("c/" + stem + ".xml", xml);
  // The y column's name in the header changed: the document's variable finds none.
  write("c/nocolumn.source0.csv",
        std::regex_replace(csv, std::regex("^([^,\n]*),[^,\n]*"), "$1,Other",
                           std::regex_constants::format_first_only));
  write("c/empty.source0.csv", csv.substr(0, csv.find('\n') + 1));
  std::string wrong = csv;
  wrong.replace(wrong.find(",", wrong.find('\n')) + 1, 1, "x");
  write("c/text.source0.csv", wrong);
  const std::vector<std::pair<std::string, std::string>> cases{
      {"page", "c/page.xml: not a chart document: its root element is <html>"},
      {"nocolumn", "c/nocolumn.source0.csv: has no column V"},
      {"empty", "c/empty.source0.csv: holds no rows of data, only its header"},
      {"text", "c/text.source0.csv: line 2: 'x"},
      {"nodata", "c/nodata.source0.csv: not found"},
  };
  for (const auto& [stem, message] : cases) {
    const Result refused = chartxml({"render", "c/" + stem + ".xml", "-o", stem + ".png"});
    expectRefused(refused, 1, "chartxml render: " + message);
    EXPECT_FALSE(fs::exists(dir / (stem + ".png"))) << stem;
    if (stem == "nocolumn") expectRefused(refused, 1, " for variable 'b'");
  }
  EXPECT_EQ(hiddenFiles(dir), std::vector<std::string>{});
  EXPECT_EQ(hiddenFiles(dir / "c"), std::vector<std::string>{});
  // A folder that cannot be written to: reported, and nothing half-written.
  expectRefused(chartxml({"render", "c/chart-0001.xml", "-o", "missing/dir/c.png"}), 1,
                "missing/dir/c.png: cannot write: ");
}

// The demo's gallery as a browser shows it: every picture loads and the page
// is not blank.
TEST_F(CliTest, GalleryOpensInABrowserWithEveryPicture) {
  ran({"demo", "--out", "gallery"});
  const std::string page = readFile(dir / "gallery" / "index.html");
  ASSERT_TRUE(contains(page, "<img src=\"chart-0009.png\"")) << page;
  // The same page with a probe that lists what each picture loaded as.
  std::string probe = page;
  probe.replace(probe.find("</body>"), 7,
                "<script>addEventListener('load', () => { document.body.dataset.widths = "
                "[...document.images].map(i => i.naturalWidth).join(' '); });</script></body>");
  write("gallery/probe.html", probe);
  // A headless browser of its own profile, that fetches nothing else.
  const auto browser = [&](std::vector<std::string> args) {
    const std::string profile = "--user-data-dir=" + (dir / "profile").string();
    args.insert(args.begin(),
                {"--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--virtual-time-budget=20000", profile});
    return runProgram(CHARTXML_CHROMIUM, args, dir);
  };
  const Result dom = browser({"--dump-dom", "file://" + (dir / "gallery" / "probe.html").string()});
  ASSERT_EQ(dom.status, 0) << dom.err;
  std::smatch widths;
  ASSERT_TRUE(std::regex_search(dom.out, widths, std::regex("data-widths=\"([^\"]*)\"")))
      << dom.out.substr(0, 2000);
  std::istringstream each(widths[1].str());
  int images = 0;
  for (int width; each >> width; ++images) EXPECT_EQ(width, 800) << "picture " << images + 1;
  EXPECT_EQ(images, 9);

  const Result screen =
      browser({"--window-size=1280,1400", "--screenshot=" + (dir / "shot.png").string(),
               "file://" + (dir / "gallery" / "index.html").string()});
  ASSERT_EQ(screen.status, 0) << screen.err;
  // A blank page compresses to almost nothing; nine charts do not.
  const std::string png = readFile(dir / "shot.png");
  EXPECT_EQ(pngSize(png), std::make_pair(1280u, 1400u));
  EXPECT_GT(png.size(), 60000u);
}

}  // namespace
