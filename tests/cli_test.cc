// The chartxml tool run as a user runs it: as a process, judged by its exit
// status, what it prints and the files it writes.
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

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

// A fresh folder of this test's own: ctest runs tests side by side.
fs::path scratchDir() {
  const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
  const fs::path dir =
      fs::path(::testing::TempDir()) / ("cx-cli-" + std::to_string(getpid()) + "-" + test->name());
  fs::remove_all(dir);
  fs::create_directories(dir);
  return dir;
}

// Runs `program` with `args` in `cwd`; standard output and error go to
// files beside it (no pipe can fill up and stall the child), standard input
// comes from `input` (relative to `cwd`) or /dev/null.
Result runProgram(const std::string& program, const std::vector<std::string>& args,
                  const fs::path& cwd, const fs::path& input = {}) {
  std::vector<std::string> words{program};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  const fs::path outPath = cwd / ".stdout";
  const fs::path errPath = cwd / ".stderr";
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  posix_spawn_file_actions_addopen(&actions, 2, errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                   0644);
  const fs::path inPath = input.empty() ? fs::path("/dev/null") : cwd / input;
  posix_spawn_file_actions_addopen(&actions, 0, inPath.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addchdir_np(&actions, cwd.c_str());
  pid_t pid = -1;
  Result result;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  posix_spawn_file_actions_destroy(&actions);
  result.out = readFile(outPath);
  result.err = readFile(errPath);
  return result;
}

Result run(const std::vector<std::string>& args, const fs::path& cwd) {
  return runProgram(CHARTXML_CLI, args, cwd);
}

bool contains(const std::string& text, const std::string& piece) {
  return text.find(piece) != std::string::npos;
}

std::size_t lineCount(const std::string& text) {
  return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override { dir = scratchDir(); }
  void TearDown() override { fs::remove_all(dir); }

  Result chartxml(const std::vector<std::string>& args) { return run(args, dir); }
  // The same with standard input read from `input`, a file of the folder.
  Result chartxmlFed(const std::vector<std::string>& args, const std::string& input) {
    return runProgram(CHARTXML_CLI, args, dir, input);
  }

  // A small data set: a text group, a numeric category, three numbers.
  fs::path sample() {
    const fs::path path = dir / "sample.csv";
    std::ofstream csv(path);
    csv << "group,kind,a,b,c\n";
    for (int i = 0; i < 12; ++i) {
      csv << (i % 2 == 0 ? "north" : "\"south, far\"") << ',' << 1 + i % 3 << ',' << i << ','
          << 0.5 * i * i << ',' << 10 - i << '\n';
    }
    return path;
  }

  fs::path dir;
};

TEST_F(CliTest, DemoWritesEveryChartItListsAndEachIsWellFormed) {
  // No options: the gallery goes to ./out of the folder it is run in.
  const Result demo = chartxml({"demo"});
  ASSERT_EQ(demo.status, 0) << demo.err;
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
    char expected[32];
    std::snprintf(expected, sizeof expected, "chart-%04zu.xml", i + 1);
    EXPECT_EQ(documents[i], expected);
    const fs::path data = dir / "out" / (documents[i].substr(0, 10) + ".source0.csv");
    EXPECT_TRUE(fs::exists(data)) << data;
    check.push_back("out/" + documents[i]);
  }
  const Result checked = chartxml(check);
  EXPECT_EQ(checked.status, 0) << checked.err;
  EXPECT_EQ(lineCount(checked.out), documents.size());

  // Each chart is of the kind its line says, in the order of the gallery.
  const std::vector<std::vector<std::string>> marks{
      {"type=\"point\"", "type=\"function\"", "guide_referenceLine_201", "aesthetic=\"color\""},
      {"<facetVariable role=\"x\"", "type=\"interval\"", "method=\"mean\""},
      {"type=\"line\"", "<dateTimeFormat pattern=\"dd-MMM-yyyy\"/>"},
      {"positionModifier=\"dodge\"", "method=\"mean\"", "Half of the decade key",
       "<relabel from=\"1950\" to=\"1950s\"/>"},
      {"method=\"histogram\"", "name=\"bin-width\" value=\"0.25\""},
      {"method=\"polar\"", "<theta variable=", "method=\"sum\""},
      {"matrixscatter", "X Axis"},
      {"type=\"plane\"", "<z variable="},
      {"\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA", "\u306E\u51E1\u4F8B"},  // ja texts
  };
  for (std::size_t i = 0; i < marks.size(); ++i) {
    const std::string xml = readFile(dir / "out" / documents[i]);
    for (const std::string& mark : marks[i]) {
      EXPECT_TRUE(contains(xml, mark)) << documents[i] << " lacks " << mark;
    }
  }
  // The data went with the documents: the quartet's 44 points, 65 years of
  // CO2, each dated 1 January of its year in seconds since 14 October 1582.
  EXPECT_EQ(lineCount(readFile(dir / "out" / "chart-0001.source0.csv")), 45u);
  const std::string years = readFile(dir / "out" / "chart-0003.source0.csv");
  EXPECT_EQ(lineCount(years), 66u);
  EXPECT_TRUE(contains(years, "\n11872224000,315.98\n")) << years;
  EXPECT_TRUE(contains(years, "\n13891910400,421.08\n")) << years;
}

TEST_F(CliTest, PlotMakesEachTypeOfChart) {
  const std::string data = sample().string();
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
    const std::string out = "out-" + type;
    std::vector<std::string> args{"plot", data, "--type", type, "--out", out};
    args.insert(args.end(), setup.first.begin(), setup.first.end());
    const Result plot = chartxml(args);
    ASSERT_EQ(plot.status, 0) << type << ": " << plot.err;
    EXPECT_TRUE(contains(plot.out, out + "/chart-0001.xml")) << plot.out;
    const std::string xml = readFile(dir / out / "chart-0001.xml");
    EXPECT_TRUE(contains(xml, setup.second)) << type << " lacks " << setup.second;
    // Every case went into the data, the text with its comma quoted.
    const std::string rows = readFile(dir / out / "chart-0001.source0.csv");
    EXPECT_EQ(lineCount(rows), 13u) << type;
    if (contains(xml, "shortLabel=\"group\"")) {
      EXPECT_TRUE(contains(rows, "\"south, far\"")) << type;
    }
    EXPECT_EQ(chartxml({"check", out + "/chart-0001.xml"}).status, 0) << type;
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

  const Result linear = chartxml({"plot", "curves.csv", "--type", "scatter", "--x", "x", "--y",
                                  "straight", "--fit", "linear", "--out", "linear"});
  ASSERT_EQ(linear.status, 0) << linear.err;
  auto values = fitted(linear.out);
  EXPECT_NEAR(values["a"], 2.0, 1e-9);
  EXPECT_NEAR(values["b"], -0.75, 1e-9);
  EXPECT_NEAR(values["R squared"], 1.0, 1e-9);
  const std::string line = readFile(dir / "linear" / "chart-0001.xml");
  EXPECT_TRUE(contains(line, "name=\"Linear fit line\"")) << line;
  std::smatch formula;  // "b * x + a", each as the library writes a number
  ASSERT_TRUE(std::regex_search(line, formula, std::regex(R"re(value="(\S+) \* x \+ (\S+)")re")))
      << line;
  EXPECT_NEAR(std::stod(formula[1]), -0.75, 1e-9);
  EXPECT_NEAR(std::stod(formula[2]), 2.0, 1e-9);

  const Result exponential = chartxml({"plot", "curves.csv", "--type", "line", "--x", "x", "--y",
                                       "growing", "--fit", "exponential", "--out", "exp"});
  ASSERT_EQ(exponential.status, 0) << exponential.err;
  values = fitted(exponential.out);
  EXPECT_NEAR(values["a"], 3.0, 1e-6);
  EXPECT_NEAR(values["b"], 0.2, 1e-6);
  EXPECT_TRUE(contains(readFile(dir / "exp" / "chart-0001.xml"), "exp( "));

  // A family the data does not allow: the fitter's reason for the first
  // point out of its domain (x = 3, straight = -0.25: the sixth row, line 7),
  // and no chart.
  const Result refused = chartxml({"plot", "curves.csv", "--type", "scatter", "--x", "straight",
                                   "--y", "x", "--fit", "power", "--out", "power"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_TRUE(contains(refused.err,
                       "chartxml plot: curves.csv:7: cannot fit a power curve to x by straight: "
                       "power fit needs x > 0; x = -0.25\n"))
      << refused.err;
  EXPECT_FALSE(fs::exists(dir / "power" / "chart-0001.xml"));
}

// The line a refused point is named by is the file's: rows without both
// values are no points, and a quoted field may span lines.
TEST_F(CliTest, FitRefusalsNameTheFileLineOfTheBadPoint) {
  std::ofstream(dir / "points.csv") << "x,y,note\n1,2,\"two\nlines\"\n2,,\n3,-4,\n4,5,\n";
  const Result growth = chartxml(
      {"plot", "points.csv", "--type", "scatter", "--x", "x", "--y", "y", "--fit", "exponential"});
  EXPECT_EQ(growth.status, 1);
  EXPECT_TRUE(contains(growth.err,
                       "chartxml plot: points.csv:5: cannot fit an exponential curve to y by x: "
                       "exponential fit needs y > 0; y = -4\n"))
      << growth.err;
  EXPECT_FALSE(fs::exists(dir / "out")) << "nothing is written for a refused fit";

  // A refusal that concerns no one point names the file alone.
  std::ofstream(dir / "flat.csv") << "x,y\n2,1\n2,3\n";
  const Result flat =
      chartxml({"plot", "flat.csv", "--type", "line", "--x", "x", "--y", "y", "--fit", "linear"});
  EXPECT_EQ(flat.status, 1);
  EXPECT_TRUE(contains(flat.err,
                       "chartxml plot: flat.csv: cannot fit a linear curve to y by x: linear fit "
                       "needs x values that vary; every x = 2"))
      << flat.err;
}

TEST_F(CliTest, BadArgumentsNameTheValidChoices) {
  const std::string data = sample().string();
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
      {{"plot", data, "--type", "bar", "--x", "a", "--stat", "mode"},
       "unknown statistic 'mode'; valid statistics: mean, median, sum, count, min, max"},
      {{"plot", data, "--type", "bar", "--x", "a", "--shape", "round"},
       "unknown option --shape; valid options: --type, --x, --y"},
      {{"plot", data, "--type", "scatter", "--x", "a"}, "a scatter needs --y"},
      {{"plot", data, "--type", "bar", "--x", "a", "--fit", "linear"},
       "--fit draws a fitted curve on scatter, line, area charts, not on a bar"},
      {{"plot", data, "--type", "histogram", "--x", "a", "--bin-width", "-2"},
       "--bin-width needs a positive number, not '-2'"},
      {{"plot", data, "--type", "scatter3d", "--x", "a", "--y", "b"}, "a scatter3d needs --z"},
      {{"plot", data, "--type", "pie", "--x", "group", "--color", "kind"},
       "a pie is coloured by its --x"},
      {{"plot", data, "--x", "a"}, "--type is required; valid types:"},
      {{"plot", data, "--type", "bar", "--x"}, "--x needs a value"},
      {{"plot", data, "--type", "bar", "--x", "a", "--x", "b"}, "--x is given twice"},
      {{"demo", "--lang", "Japanese"},
       "--lang: unknown language 'Japanese'; valid languages: en, ja"},
      {{"plot", data, "--type", "bar", "--x", "a", "--lang", "fr"},
       "--lang: unknown language 'fr'; valid languages: en, ja"},
      {{"plot", data, "--type", "bar", "--x", "a", "--delimiter", ";;"},
       "--delimiter needs one character (such as , ; | or :) or tab, not ';;'"},
      {{"plot", data, "--type", "bar", "--x", "a", "--delimiter", "\""},
       "--delimiter cannot be the quote"},
      {{"plot", data, "--type", "bar", "--x", "a", "--date-order", "ymd"},
       "unknown date order 'ymd'; valid orders: mdy (month first), dmy (day first)"},
      {{"plot", data, "--type", "scatter", "--x", "a", "--y", "b", "--color-categorical"},
       "--color-categorical goes with --color COL"},
      {{"plot", data, "--type", "bar", "--x", "a", "-o", "a.png", "--out", "charts"},
       "give either --output FILE (one chart's files) or --out DIR"},
      {{"plot", data, "--type", "bar", "--x", "a", "--output", "a.gif"},
       "--output a.gif: name the picture FILE.png, FILE.svg or FILE.pdf"},
      {{"plot", data, "--type", "bar", "--x", "a", "-o", "a.png", "--picture", "svg"},
       "--picture goes with --out"},
      {{"plot", data, "--type", "bar", "--x", "a", "--force"}, "--force goes with --output FILE"},
      {{"check"}, "name the XML files to check"},
  };
  for (const auto& [args, message] : cases) {
    const Result result = chartxml(args);
    EXPECT_EQ(result.status, 2) << testing::PrintToString(args);
    EXPECT_TRUE(contains(result.err, message)) << result.err;
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(CliTest, BadDataIsNamedByFileAndLine) {
  std::ofstream(dir / "ragged.csv") << "x,y\n1,2\n3\n";
  const Result ragged =
      chartxml({"plot", "ragged.csv", "--type", "scatter", "--x", "x", "--y", "y"});
  EXPECT_EQ(ragged.status, 1);
  EXPECT_TRUE(contains(ragged.err, "ragged.csv:3: row has 1 field; the header has 2"))
      << ragged.err;

  // A quoted note spans two lines: the bad value is on the file's line 5.
  std::ofstream(dir / "words.csv") << "x,y,note\n1,2,\"two\nlines\"\n2,3,\n3,n/a,\n";
  const Result words = chartxml({"plot", "words.csv", "--type", "line", "--x", "x", "--y", "y"});
  EXPECT_EQ(words.status, 1);
  EXPECT_TRUE(contains(words.err,
                       "words.csv:5: column 'y' (--y) holds text (\"n/a\"); a line "
                       "needs numbers there"))
      << words.err;

  const Result absent = chartxml({"plot", "absent.csv", "--type", "bar", "--x", "x"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_TRUE(contains(absent.err, "absent.csv: cannot open")) << absent.err;
  EXPECT_FALSE(fs::exists(dir / "out"));
}

// What the dictionary beside the data says reaches the chart: labels, value
// labels, and values that count as missing.
TEST_F(CliTest, PlotUsesTheDictionaryBesideTheData) {
  std::ofstream(dir / "survey.csv") << "age,score,sex\n20,3.5,1\n31,,2\n45,9,1\n52,4,2\n";
  std::ofstream(dir / "survey.csv.dict.json") << R"({ "variables": {
      "score": { "label": "Test score", "missing": [9] },
      "sex": { "label": "Sex", "valueLabels": { "1": "Male", "2": "Female" } } } })";
  const Result plot = chartxml({"plot", "survey.csv", "--type", "scatter", "--x", "age", "--y",
                                "score", "--color", "sex", "--title", "Scores by age"});
  ASSERT_EQ(plot.status, 0) << plot.err;
  const std::string xml = readFile(dir / "out" / "chart-0001.xml");
  for (const std::string mark : {"label=\"Test score\"", "<relabel from=\"2\" to=\"Female\"/>",
                                 ">Scores by age</label>", ">Sex key</label>"}) {
    EXPECT_TRUE(contains(xml, mark)) << "lacks " << mark << "\n" << xml;
  }
  // An empty field and the user-missing 9 both go as no value.
  const std::string rows = readFile(dir / "out" / "chart-0001.source0.csv");
  EXPECT_EQ(rows.substr(rows.find('\n') + 1), "20,3.5,1\n31,,2\n45,,1\n52,4,2\n");
}

// The library's own texts follow --lang; one demo chart is Japanese always.
TEST_F(CliTest, LanguageOfTheLibrarysTexts) {
  std::ofstream(dir / "pairs.csv") << "x,y,g\n1,2,a\n2,4.5,b\n3,6,a\n";
  const Result plot = chartxml({"plot", "pairs.csv", "--type", "scatter", "--x", "x", "--y", "y",
                                "--color", "g", "--fit", "linear", "--lang", "ja"});
  ASSERT_EQ(plot.status, 0) << plot.err;
  const std::string xml = readFile(dir / "out" / "chart-0001.xml");
  EXPECT_TRUE(contains(xml, "name=\"\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA\"")) << xml;
  EXPECT_TRUE(contains(xml, ">g \u306E\u51E1\u4F8B</label>")) << xml;

  const Result demo = chartxml({"demo", "--lang", "ja", "--out", "gallery"});
  ASSERT_EQ(demo.status, 0) << demo.err;
  EXPECT_TRUE(contains(readFile(dir / "gallery" / "chart-0007.xml"), "shortLabel=\"X \u8EF8\""));
  EXPECT_TRUE(contains(readFile(dir / "gallery" / "chart-0004.xml"),
                       "Half of the decade \u306E\u51E1\u4F8B"));
}

TEST_F(CliTest, CheckTellsLineAndColumnOfTheFirstError) {
  std::ofstream(dir / "good.xml") << "<?xml version=\"1.0\"?>\n<a><b/></a>\n";
  std::ofstream(dir / "bad.xml") << "<a>\n  <b></a>\n";
  const Result good = chartxml({"check", "good.xml"});
  EXPECT_EQ(good.status, 0) << good.err;
  EXPECT_EQ(good.out, "good.xml: well formed\n");

  const Result bad = chartxml({"check", "good.xml", "bad.xml", "none.xml"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_TRUE(contains(bad.err, "bad.xml:2:8: not well formed: expected end of tag 'b'"))
      << bad.err;
  EXPECT_TRUE(contains(bad.err, "none.xml: cannot open")) << bad.err;
  EXPECT_EQ(bad.out, "good.xml: well formed\n");
}

TEST_F(CliTest, HelpAndVersion) {
  const Result version = chartxml({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_TRUE(std::regex_match(version.out, std::regex("chartxml \\d+\\.\\d+\\.\\d+\n")))
      << version.out;
  for (const std::string command : {"demo", "plot", "check"}) {
    const Result help = chartxml({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_EQ(help.out.rfind("usage: chartxml " + command, 0), 0u) << help.out;
    EXPECT_TRUE(contains(help.out, "--help")) << help.out;
  }
  const std::string plot = chartxml({"plot", "--help"}).out;
  for (const std::string option :
       {"--bin-width W", "--delimiter C", "--encoding NAME", "--date-order ORDER", "--verbose",
        "-o, --output FILE", "--force", "--color-categorical", "DATA - reads standard input"}) {
    EXPECT_TRUE(contains(plot, option)) << "plot --help lacks " << option;
  }
  EXPECT_TRUE(contains(chartxml({"demo", "--help"}).out, "--force"));
}

// A long feed shows a progress bar, but only on a terminal.
TEST_F(CliTest, ProgressBarOnATerminalOnly) {
  {
    std::ofstream csv(dir / "long.csv");
    csv << "x\n";
    for (int i = 0; i < 100001; ++i) csv << i % 97 << '\n';
  }
  const std::vector<std::string> args{"plot", "long.csv", "--type", "histogram", "--x", "x"};
  const Result piped = chartxml(args);
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.err, "");

  const int master = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_GE(master, 0);
  ASSERT_EQ(grantpt(master), 0);
  ASSERT_EQ(unlockpt(master), 0);
  std::vector<std::string> words{CHARTXML_CLI};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 2, ptsname(master), O_RDWR | O_NOCTTY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addchdir_np(&actions, dir.c_str());
  pid_t pid = -1;
  ASSERT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
  posix_spawn_file_actions_destroy(&actions);
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

// Files of `dir` whose names start with a dot: a writer's leftovers.
std::vector<std::string> hiddenFiles(const fs::path& dir) {
  std::vector<std::string> out;
  for (const auto& entry : fs::directory_iterator(dir)) {
    const std::string name = entry.path().filename().string();
    if (name[0] == '.' && name != ".stdout" && name != ".stderr") out.push_back(name);
  }
  return out;
}

// The data is read once, from a file or standard input, as the reader's
// options say; --verbose tells what each column was read as.
TEST_F(CliTest, PlotReadsDataAsItsReaderOptionsSay) {
  // Semicolons, from standard input (which cannot be read twice): detected.
  std::ofstream(dir / "semi.csv") << "city;temp;rain\nOslo;4.5;1\nRome;15.25;0\nLima;19;2\n";
  const Result piped = chartxmlFed({"plot", "-", "--type", "bar", "--x", "city", "--y", "temp",
                                    "--verbose", "--picture", "none"},
                                   "semi.csv");
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_EQ(piped.err,
            "chartxml plot: <stdin>: city: text\n"
            "chartxml plot: <stdin>: temp: number (2 decimals)\n"
            "chartxml plot: <stdin>: rain: number (0 decimals)\n");
  const std::string rows = readFile(dir / "out" / "chart-0001.source0.csv");
  EXPECT_EQ(rows.substr(rows.find('\n') + 1), "Oslo,4.5\nRome,15.25\nLima,19\n");

  // Tabs, named: with the wrong delimiter the header is one column.
  std::ofstream(dir / "tabs.csv") << "city\ttemp\nOslo\t4.5\nRome\t15\n";
  const std::vector<std::string> tabs{"plot", "tabs.csv", "--type", "bar",  "--x",       "city",
                                      "--y",  "temp",     "--out",  "tabs", "--picture", "none"};
  std::vector<std::string> named = tabs;
  named.insert(named.end(), {"--delimiter", "tab"});
  const Result tabbed = chartxml(named);
  ASSERT_EQ(tabbed.status, 0) << tabbed.err;
  EXPECT_TRUE(contains(readFile(dir / "tabs" / "chart-0001.source0.csv"), "\nRome,15\n"));
  std::vector<std::string> wrong = tabs;
  wrong.insert(wrong.end(), {"--delimiter", ","});
  const Result commas = chartxml(wrong);
  EXPECT_EQ(commas.status, 2);
  EXPECT_TRUE(contains(commas.err, "has no column 'city' (--x); its columns: city\ttemp"))
      << commas.err;

  // A file in Windows-1252 is refused as UTF-8 and read as what --encoding names.
  std::ofstream(dir / "latin.csv", std::ios::binary) << "name,v\nCaf\xe9,1\nTea,2\n";
  const std::vector<std::string> latin{"plot", "latin.csv", "--type",    "bar",  "--x",   "name",
                                       "--y",  "v",         "--picture", "none", "--out", "latin"};
  const Result undeclared = chartxml(latin);
  EXPECT_EQ(undeclared.status, 1);
  EXPECT_TRUE(contains(undeclared.err, "latin.csv:2:4: byte 0xE9 is not valid UTF-8"))
      << undeclared.err;
  std::vector<std::string> declared = latin;
  declared.insert(declared.end(), {"--encoding", "CP1252"});
  const Result decoded = chartxml(declared);
  ASSERT_EQ(decoded.status, 0) << decoded.err;
  EXPECT_TRUE(contains(readFile(dir / "latin" / "chart-0001.source0.csv"), "\nCaf\u00e9,1\n"));

  // 03/04/2024 is 4 March month first, 3 April day first, and a text without
  // a date order; 04/04/2024 is the same day either way.
  std::ofstream(dir / "days.csv") << "day,v\n03/04/2024,1\n04/04/2024,2\n";
  std::map<std::string, std::vector<std::string>> days;  // order: the day column's values
  for (const std::string order : {"mdy", "dmy"}) {
    const Result dated =
        chartxml({"plot", "days.csv", "--type", "line", "--x", "day", "--y", "v", "--date-order",
                  order, "--verbose", "--out", order, "--picture", "none"});
    ASSERT_EQ(dated.status, 0) << dated.err;
    EXPECT_TRUE(contains(dated.err, "chartxml plot: days.csv: day: date (")) << dated.err;
    std::istringstream lines(readFile(dir / order / "chart-0001.source0.csv"));
    std::string line;
    std::getline(lines, line);  // the header
    while (std::getline(lines, line)) days[order].push_back(line.substr(0, line.find(',')));
  }
  ASSERT_EQ(days["mdy"].size(), 2u);
  ASSERT_EQ(days["dmy"].size(), 2u);
  EXPECT_EQ(std::stoll(days["dmy"][0]) - std::stoll(days["mdy"][0]), 30 * 86400);
  EXPECT_EQ(days["dmy"][1], days["mdy"][1]);
  const Result undated =
      chartxml({"plot", "days.csv", "--type", "line", "--x", "day", "--y", "v", "--verbose"});
  EXPECT_EQ(undated.status, 1);
  EXPECT_TRUE(contains(undated.err, "chartxml plot: days.csv: day: text\n")) << undated.err;
  EXPECT_TRUE(contains(undated.err, "days.csv:2: column 'day' (--x) holds text (\"03/04/2024\")"))
      << undated.err;
  EXPECT_TRUE(contains(undated.err, "give --date-order mdy (month first) or dmy")) << undated.err;
  // A text that is no date gets no such advice.
  std::ofstream(dir / "words.csv") << "day,v\nMonday,1\n";
  const Result words = chartxml({"plot", "words.csv", "--type", "line", "--x", "day", "--y", "v"});
  EXPECT_EQ(words.status, 1);
  EXPECT_FALSE(contains(words.err, "--date-order")) << words.err;
}

TEST_F(CliTest, DataWithAHeaderAndNoRowsChartsNothing) {
  std::ofstream(dir / "header.csv") << "x,y\n";
  const Result file = chartxml({"plot", "header.csv", "--type", "scatter", "--x", "x", "--y", "y"});
  EXPECT_EQ(file.status, 1);
  EXPECT_EQ(file.err, "chartxml plot: header.csv: has a header but no rows; nothing to chart\n");
  EXPECT_EQ(file.out, "");
  EXPECT_FALSE(fs::exists(dir / "out"));
  const Result piped =
      chartxmlFed({"plot", "-", "--type", "histogram", "--x", "x", "-o", "h.png"}, "header.csv");
  EXPECT_EQ(piped.status, 1);
  EXPECT_EQ(piped.err, "chartxml plot: <stdin>: has a header but no rows; nothing to chart\n");
  EXPECT_FALSE(fs::exists(dir / "h.png"));
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

// Charts into a folder continue after those there, under the names printed;
// the demo's index lists one run, and nothing is replaced unasked.
TEST_F(CliTest, ChartsIntoAFolderNeverReplaceEarlierFiles) {
  const std::string data = sample().string();
  fs::create_directories(dir / "charts");
  std::ofstream(dir / "charts" / "chart-0041.png") << "an earlier picture";
  const std::vector<std::string> pie{"plot", data,    "--type", "pie",
                                     "--x",  "group", "--out",  "charts"};
  const Result first = chartxml(pie);
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.out,
            "wrote charts/chart-0042.xml and its data charts/chart-0042.source0.csv\n"
            "wrote charts/chart-0042.png\n");
  const Result second = chartxml(pie);
  ASSERT_EQ(second.status, 0) << second.err;
  EXPECT_TRUE(contains(second.out, "wrote charts/chart-0043.png\n")) << second.out;
  EXPECT_EQ(filesIn(dir / "charts"),
            (std::vector<std::string>{"chart-0041.png", "chart-0042.png", "chart-0042.source0.csv",
                                      "chart-0042.xml", "chart-0043.png", "chart-0043.source0.csv",
                                      "chart-0043.xml"}));
  EXPECT_EQ(readFile(dir / "charts" / "chart-0041.png"), "an earlier picture");

  // The demo refuses a folder of charts, and leaves it as it was.
  std::ofstream(dir / "charts" / "notes.txt") << "mine";
  const Result refused = chartxml({"demo", "--out", "charts"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.err,
            "chartxml demo: charts: already holds charts or an index of an earlier run "
            "(chart-0041.png and 6 more); name an empty folder with --out DIR, or give --force "
            "to remove them first\n");
  EXPECT_EQ(filesIn(dir / "charts").size(), 8u);

  // --force removes the charts and nothing else; the index lists this run's.
  const Result forced = chartxml({"demo", "--out", "charts", "--force"});
  ASSERT_EQ(forced.status, 0) << forced.err;
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
  const Result after = chartxml(pie);
  ASSERT_EQ(after.status, 0) << after.err;
  EXPECT_TRUE(contains(after.out, "wrote charts/chart-0010.xml")) << after.out;
  EXPECT_EQ(readFile(dir / "charts" / "index.txt"), index);
  EXPECT_EQ(readFile(dir / "charts" / "index.html"), page);
  EXPECT_EQ(chartxml({"demo", "--out", "charts"}).status, 1);

  // An index alone is the demo's too.
  fs::create_directories(dir / "indexed");
  std::ofstream(dir / "indexed" / "index.html") << "<p>someone's page</p>";
  const Result indexed = chartxml({"demo", "--out", "indexed"});
  EXPECT_EQ(indexed.status, 1);
  EXPECT_TRUE(contains(indexed.err, "indexed: already holds charts or an index")) << indexed.err;
  EXPECT_EQ(readFile(dir / "indexed" / "index.html"), "<p>someone's page</p>");
}

// -o names the picture; the document and data go beside it, and existing
// files of those names are replaced only with --force.
TEST_F(CliTest, PlotWritesTheFilesOutputNames) {
  const std::string data = sample().string();
  const auto plot = [&](const std::string& title, bool force) {
    std::vector<std::string> args{"plot", data, "--type", "scatter",     "--x",     "a",
                                  "--y",  "b",  "-o",     "figs/ab.svg", "--title", title};
    if (force) args.push_back("--force");
    return chartxml(args);
  };
  const Result first = plot("First", false);
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(first.out, "wrote figs/ab.xml and its data figs/ab.source0.csv\nwrote figs/ab.svg\n");
  EXPECT_EQ(filesIn(dir / "figs"),
            (std::vector<std::string>{"ab.source0.csv", "ab.svg", "ab.xml"}));
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.svg"), "<svg"));
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">First</label>"));
  EXPECT_EQ(lineCount(readFile(dir / "figs" / "ab.source0.csv")), 13u);
  EXPECT_FALSE(fs::exists(dir / "out")) << "no folder of numbered charts";

  const Result again = plot("Second", false);
  EXPECT_EQ(again.status, 1);
  EXPECT_EQ(again.err,
            "chartxml plot: figs/ab.svg, figs/ab.xml, figs/ab.source0.csv: already there; give "
            "--force to replace, or name another file\n");
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">First</label>"));
  // Any one of the three is enough to refuse.
  fs::remove(dir / "figs" / "ab.svg");
  fs::remove(dir / "figs" / "ab.xml");
  EXPECT_EQ(plot("Second", false).status, 1);
  EXPECT_FALSE(fs::exists(dir / "figs" / "ab.xml"));

  const Result forced = plot("Second", true);
  ASSERT_EQ(forced.status, 0) << forced.err;
  EXPECT_TRUE(contains(readFile(dir / "figs" / "ab.xml"), ">Second</label>"));
  EXPECT_EQ(hiddenFiles(dir / "figs"), std::vector<std::string>{});
  // The data beside the document is where render looks for it.
  const Result drawn = chartxml({"render", "figs/ab.xml", "-o", "again.pdf"});
  EXPECT_EQ(drawn.status, 0) << drawn.err;
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

TEST_F(CliTest, TitlesAndAxesNameTheColumnsByTheirLabels) {
  std::ofstream(dir / "survey.csv")
      << "age,score,sex,hours\n20,3.5,1,2\n31,6,2,4\n45,9,1,5\n52,4,2,1\n";
  std::ofstream(dir / "survey.csv.dict.json") << R"({ "variables": {
      "age": { "label": "Age in years" },
      "score": { "label": "Test score" },
      "sex": { "label": "Sex", "valueLabels": { "1": "Male", "2": "Female" } } } })";
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
    std::vector<std::string> args{"plot", "survey.csv", "--type", "--picture", "none"};
    args.insert(args.begin() + 3, setup.front());
    args.insert(args.end(), setup.begin() + 1, setup.end());
    const Result plot = chartxml(args);
    ASSERT_EQ(plot.status, 0) << setup.front() << ": " << plot.err;
    char name[32];
    std::snprintf(name, sizeof name, "chart-%04d.xml", ++number);
    const std::string xml = readFile(dir / "out" / name);
    const Titles titles = titlesOf(xml);
    EXPECT_EQ(titles.title, title) << setup.front();
    EXPECT_EQ(titles.axes, axes) << setup.front() << "\n" << xml;
    if (contains(setup.back(), "sex") && setup.front() == "scatter") {
      EXPECT_TRUE(contains(xml, ">Sex key</label>")) << xml;
    }
  }
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
  std::ofstream(dir / "shades.csv.dict.json")
      << R"({ "variables": { "code": { "measure": "nominal" } } })";
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
    std::vector<std::string> args{"plot", "shades.csv", "--type", "--picture", "none"};
    args.insert(args.begin() + 3, setup.front());
    args.insert(args.end(), setup.begin() + 1, setup.end());
    const Result plot = chartxml(args);
    ASSERT_EQ(plot.status, 0) << testing::PrintToString(args) << plot.err;
    char name[32];
    std::snprintf(name, sizeof name, "chart-%04d.xml", ++number);
    const std::string xml = readFile(dir / "out" / name);
    EXPECT_EQ(colourDeclared(xml), categorical) << testing::PrintToString(args);
    EXPECT_TRUE(contains(xml, " key</label>")) << "a legend: " << testing::PrintToString(args);
  }
}

TEST_F(CliTest, RenderDrawsASentChartInEachFormat) {
  const std::string data = sample().string();
  const Result plot = chartxml({"plot", data, "--type", "scatter", "--x", "a", "--y", "b",
                                "--color", "group", "--out", "charts"});
  ASSERT_EQ(plot.status, 0) << plot.err;
  EXPECT_TRUE(contains(plot.out, "wrote charts/chart-0001.png")) << plot.out;
  EXPECT_EQ(pngSize(readFile(dir / "charts" / "chart-0001.png")), std::make_pair(800u, 600u));

  const Result svg = chartxml({"render", "charts/chart-0001.xml", "-o", "c.svg"});
  ASSERT_EQ(svg.status, 0) << svg.err;
  EXPECT_EQ(svg.out, "wrote c.svg\n");
  EXPECT_EQ(svg.err, "");
  const std::string picture = readFile(dir / "c.svg");
  EXPECT_EQ(std::count(picture.begin(), picture.end(), '\n') > 0 && contains(picture, "<svg"),
            true);
  // Twelve cases, two groups: twelve points and two legend keys.
  std::size_t circles = 0;
  for (std::size_t at = picture.find("<circle"); at != std::string::npos;
       at = picture.find("<circle", at + 1)) {
    ++circles;
  }
  EXPECT_EQ(circles, 14u);
  EXPECT_EQ(readFile(dir / "c.pdf").size(), 0u);
  ASSERT_EQ(chartxml({"render", "charts/chart-0001.xml", "--out=c.pdf"}).status, 0);
  EXPECT_EQ(readFile(dir / "c.pdf").substr(0, 5), "%PDF-");
  // By default the picture goes beside the document; its size is the caller's.
  ASSERT_EQ(chartxml({"render", "charts/chart-0001.xml", "--width", "400", "--height", "300",
                      "--scale", "2"})
                .status,
            0);
  EXPECT_EQ(pngSize(readFile(dir / "charts" / "chart-0001.png")), std::make_pair(800u, 600u));
  // The data may live elsewhere.
  fs::create_directories(dir / "docs");
  fs::copy_file(dir / "charts" / "chart-0001.xml", dir / "docs" / "chart-0001.xml");
  const Result moved = chartxml({"render", "docs/chart-0001.xml", "--data", "charts"});
  EXPECT_EQ(moved.status, 0) << moved.err;
  EXPECT_EQ(chartxml({"render", "--help"}).status, 0);

  const Result none = chartxml(
      {"plot", data, "--type", "pie", "--x", "group", "--out", "bare", "--picture", "none"});
  ASSERT_EQ(none.status, 0) << none.err;
  EXPECT_FALSE(fs::exists(dir / "bare" / "chart-0001.png"));
  const Result vector =
      chartxml({"plot", data, "--type", "pie", "--x", "group", "--out", "vec", "--picture", "svg"});
  ASSERT_EQ(vector.status, 0) << vector.err;
  EXPECT_TRUE(contains(readFile(dir / "vec" / "chart-0001.svg"), "class=\"mark slice\""));
}

TEST_F(CliTest, RenderRefusesBadInputAndLeavesNoPicture) {
  const std::string data = sample().string();
  ASSERT_EQ(chartxml({"plot", data, "--type", "bar", "--x", "group", "--y", "b", "--out", "c",
                      "--picture", "none"})
                .status,
            0);
  const std::string xml = readFile(dir / "c" / "chart-0001.xml");
  const std::string csv = readFile(dir / "c" / "chart-0001.source0.csv");
  const auto write = [&](const std::string& name, const std::string& text) {
    std::ofstream(dir / "c" / name) << text;
  };
  write("page.xml", "<html><body>not a chart</body></html>");
  write("nocolumn.xml", xml);
  // The y column's name in the header changed: the document's variable finds none.
  write("nocolumn.source0.csv",
        std::regex_replace(csv, std::regex("^([^,\n]*),[^,\n]*"), "$1,Other",
                           std::regex_constants::format_first_only));
  write("empty.xml", xml);
  write("empty.source0.csv", csv.substr(0, csv.find('\n') + 1));
  write("text.xml", xml);
  std::string wrong = csv;
  wrong.replace(wrong.find(",", wrong.find('\n')) + 1, 1, "x");
  write("text.source0.csv", wrong);
  write("nodata.xml", xml);
  const std::vector<std::pair<std::string, std::string>> cases{
      {"page", "c/page.xml: not a chart document: its root element is <html>"},
      {"nocolumn", "c/nocolumn.source0.csv: has no column V"},
      {"empty", "c/empty.source0.csv: holds no rows of data, only its header"},
      {"text", "c/text.source0.csv: line 2: 'x"},
      {"nodata", "c/nodata.source0.csv: not found"},
  };
  for (const auto& [stem, message] : cases) {
    const Result refused = chartxml({"render", "c/" + stem + ".xml", "-o", stem + ".png"});
    EXPECT_EQ(refused.status, 1) << stem;
    EXPECT_TRUE(contains(refused.err, "chartxml render: " + message)) << refused.err;
    EXPECT_FALSE(fs::exists(dir / (stem + ".png"))) << stem;
    if (stem == "nocolumn") {
      EXPECT_TRUE(contains(refused.err, " for variable 'b'")) << refused.err;
    }
  }
  EXPECT_EQ(hiddenFiles(dir), std::vector<std::string>{});
  EXPECT_EQ(hiddenFiles(dir / "c"), std::vector<std::string>{});
  // A folder that cannot be written to: reported, and nothing half-written.
  const Result unwritable = chartxml({"render", "c/chart-0001.xml", "-o", "missing/dir/c.png"});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_TRUE(contains(unwritable.err, "missing/dir/c.png: cannot write: ")) << unwritable.err;

  EXPECT_EQ(chartxml({"render"}).status, 2);
  EXPECT_EQ(chartxml({"render", "c/chart-0001.xml", "-o", "c.gif"}).status, 2);
  EXPECT_EQ(chartxml({"render", "c/chart-0001.xml", "--width", "5"}).status, 2);
  EXPECT_EQ(chartxml({"render", "c/chart-0001.xml", "--scale", "0"}).status, 2);
  EXPECT_EQ(chartxml({"plot", data, "--type", "pie", "--x", "group", "--picture", "gif"}).status,
            2);
}

// The demo's gallery as a browser shows it: every picture loads and the page
// is not blank.
TEST_F(CliTest, GalleryOpensInABrowserWithEveryPicture) {
  ASSERT_EQ(chartxml({"demo", "--out", "gallery"}).status, 0);
  const std::string page = readFile(dir / "gallery" / "index.html");
  ASSERT_TRUE(contains(page, "<img src=\"chart-0009.png\"")) << page;
  // The same page with a probe that lists what each picture loaded as.
  std::string probe = page;
  probe.replace(probe.find("</body>"), 7,
                "<script>addEventListener('load', () => { document.body.dataset.widths = "
                "[...document.images].map(i => i.naturalWidth).join(' '); });</script></body>");
  std::ofstream(dir / "gallery" / "probe.html") << probe;
  const std::vector<std::string> browser{"--headless",
                                         "--no-sandbox",
                                         "--disable-gpu",
                                         "--disable-quic",
                                         "--no-first-run",
                                         "--disable-background-networking",
                                         "--disable-component-update",
                                         "--disable-sync",
                                         "--user-data-dir=" + (dir / "profile").string(),
                                         "--virtual-time-budget=20000"};
  std::vector<std::string> dump = browser;
  dump.push_back("--dump-dom");
  dump.push_back("file://" + (dir / "gallery" / "probe.html").string());
  const Result dom = runProgram(CHARTXML_CHROMIUM, dump, dir);
  ASSERT_EQ(dom.status, 0) << dom.err;
  std::smatch widths;
  ASSERT_TRUE(std::regex_search(dom.out, widths, std::regex("data-widths=\"([^\"]*)\"")))
      << dom.out.substr(0, 2000);
  std::istringstream each(widths[1].str());
  int images = 0;
  for (int width; each >> width; ++images) EXPECT_EQ(width, 800) << "picture " << images + 1;
  EXPECT_EQ(images, 9);

  std::vector<std::string> shot = browser;
  shot.push_back("--window-size=1280,1400");
  shot.push_back("--screenshot=" + (dir / "shot.png").string());
  shot.push_back("file://" + (dir / "gallery" / "index.html").string());
  const Result screen = runProgram(CHARTXML_CHROMIUM, shot, dir);
  ASSERT_EQ(screen.status, 0) << screen.err;
  // A blank page compresses to almost nothing; nine charts do not.
  const std::string png = readFile(dir / "shot.png");
  EXPECT_EQ(pngSize(png), std::make_pair(1280u, 1400u));
  EXPECT_GT(png.size(), 60000u);
}

// What a chart shows, in words: printed by render --describe, kept in the
// SVG, and the alt text of each picture in the demo's gallery.
TEST_F(CliTest, RenderDescribesTheChartInWords) {
  const std::string data = sample().string();
  ASSERT_EQ(chartxml({"plot", data, "--type", "scatter", "--x", "a", "--y", "b", "--color", "group",
                      "--out", "charts", "--picture", "none"})
                .status,
            0);
  // a is 0..11, b = a * a / 2 is 0..60.5 (one decimal, as the column has);
  // the even rows are north, the odd ones "south, far".
  const std::string expected =
      "Scatter plot of b by a, 12 cases. a runs from 0 to 11; b from 0.0 to 60.5. Points are "
      "coloured by group: north (6 cases), south, far (6 cases).";
  const Result said = chartxml({"render", "charts/chart-0001.xml", "--describe"});
  ASSERT_EQ(said.status, 0) << said.err;
  EXPECT_EQ(said.out, expected + "\n");
  EXPECT_FALSE(fs::exists(dir / "charts" / "chart-0001.png")) << "describing draws nothing";
  // With --out it draws too, and the SVG holds the same words.
  const Result both = chartxml({"render", "charts/chart-0001.xml", "--describe", "-o", "c.svg"});
  ASSERT_EQ(both.status, 0) << both.err;
  EXPECT_EQ(both.out, expected + "\n");
  EXPECT_TRUE(contains(readFile(dir / "c.svg"), "<desc id=\"chart-desc\">" + expected + "</desc>"));
  EXPECT_TRUE(contains(chartxml({"render", "--help"}).out, "--describe"));
}

TEST_F(CliTest, DemoChartsAreDescribedByTheirDataAndTheGalleryShowsIt) {
  ASSERT_EQ(chartxml({"demo", "--out", "d"}).status, 0);
  std::vector<std::string> said;
  for (int i = 1; i <= 9; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "d/chart-%04d.xml", i);
    const Result run = chartxml({"render", name, "--describe"});
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_FALSE(run.out.empty());
    said.push_back(run.out.substr(0, run.out.size() - 1));
  }
  // Worked out from data/sets: the quartet has 44 points, 11 in each set,
  // x 4..19 and y 3.10..12.74 (two decimals, as y is written), the mean of
  // y 7.50 in every set and the fitted line y = 3.00 + 0.500x. CO2 has 65
  // years 1959..2023 of 315.98..421.08 ppm, and 64 growths (none in 1959)
  // of 0.42..3.40; the growths of the 2010s sum to 24.01 of all 105.10
  // (22.8%); of the 65 years, 34 fall in the first half of their decade;
  // the mean growth of a half-decade runs from 0.728 (1960-64) to 2.568
  // (2015-19). Each bar of chart 2 is one observation: its mean is its y.
  const std::vector<std::vector<std::string>> fragments{
      {"Scatter plot of y by x, 44 cases.", "x runs from 4 to 19; y from 3.10 to 12.74.",
       "I (11 cases), II (11 cases), III (11 cases), IV (11 cases).",
       "A reference line marks y = 7.50."},
      {"y by Observation, 44 cases.", "Mean of y runs from 3.10 to 12.74.",
       "Observation has 11 categories",
       "Drawn in 4 panels, one for each Data set: I, II, III and IV."},
      {", 65 cases.", "runs from 01-Jan-1959 to 01-Jan-2023;", "from 315.98 to 421.08."},
      {"by Decade, 65 cases.", "runs from 0.73 to 2.57.",
       "Years 0-4 (34 cases), Years 5-9 (31 cases)."},
      {"Histogram of Growth", "64 cases.", "from 0.42 to 3.40 in bins 0.25 wide"},
      {"Pie chart of the sum of Growth", "by Decade", "2010s (24.01, 22.8%)"},
      {"Scatter-plot matrix of Year, Annual mean CO2 at Mauna Loa (ppm) and Growth",
       "Year runs from 1959 to 2023; Annual mean CO2 at Mauna Loa (ppm) from 315.98 to 421.08;"},
      {"3-D scatter plot", "64 cases.", "Year runs from 1960 to 2023"},
      {"Scatter plot of y by x, 44 cases.", "(\u7DDA\u5F62\u306E\u5F53\u3066\u306F\u3081\u7DDA)"},
  };
  for (std::size_t i = 0; i < fragments.size(); ++i) {
    for (const std::string& fragment : fragments[i]) {
      EXPECT_TRUE(contains(said[i], fragment)) << "chart " << i + 1 << ": " << said[i];
    }
  }
  std::smatch fit;
  ASSERT_TRUE(std::regex_search(
      said[0], fit, std::regex("A linear fit line: y = ([0-9.]+) \\* x \\+ ([0-9.]+)\\.")))
      << said[0];
  EXPECT_NEAR(std::stod(fit[1].str()), 0.5, 0.001);
  EXPECT_NEAR(std::stod(fit[2].str()), 3.0, 0.002);

  // The gallery's pictures are described in the renderer's words.
  const std::string page = readFile(dir / "d" / "index.html");
  std::vector<std::string> alts;
  const std::regex alt("<img [^>]*alt=\"([^\"]*)\"");
  for (auto it = std::sregex_iterator(page.begin(), page.end(), alt); it != std::sregex_iterator();
       ++it) {
    alts.push_back(std::regex_replace((*it)[1].str(), std::regex("&amp;"), "&"));
  }
  EXPECT_EQ(alts, said);
}

}  // namespace
