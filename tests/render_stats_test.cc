// The renderer's stages before drawing: data files as the sink writes them,
// variables bound to columns, summaries, bins and formulas of function lines.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <string>

#include "model/ModelBuilder.h"
#include "read/DataTable.h"
#include "read/XmlTree.h"
#include "render_documents.h"
#include "scales/Extent.h"
#include "stats/Binding.h"
#include "stats/Bins.h"
#include "stats/Formula.h"
#include "stats/Summary.h"

namespace {

using namespace chartxml::render;
using rendertest::modelOf;
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(RenderData, RefusesMalformedFilesNamingTheLine) {
  std::string error;
  EXPECT_FALSE(readCsv("", "d.csv", error));
  EXPECT_EQ(error, "the file is empty: it has no header of column names");
  EXPECT_FALSE(readCsv("a,b\n1,2\n3\n", "d.csv", error));
  EXPECT_EQ(error, "line 3: 1 fields, but the header names 2 columns");
  EXPECT_FALSE(readCsv("a,b\n1,\"open\n2,3\n", "d.csv", error));
  EXPECT_EQ(error, "line 2: a quoted field is not closed");
}

TEST(RenderData, ReadsNumbersTextsAndMissingCellsAsTheSinkWritesThem) {
  std::string error;
  // A BOM, CRLF ends, a quoted comma and quote, a line break inside quotes,
  // infinities, a value too large for a double, an empty cell.
  const auto table = readCsv(
      "\xEF\xBB\xBFn,t\r\n1.5,\"a, \"\"b\"\"\"\r\n-inf,\"two\nlines\"\r\n1e999,\r\n,plain\r\n",
      "d.csv", error);
  ASSERT_TRUE(table) << error;
  ASSERT_EQ(table->rows(), 4u);
  // Rows start on lines 2, 3, 5 (the quoted field above spans two), 6.
  for (std::size_t row = 0; row < 4; ++row)
    EXPECT_EQ(table->line(row), row < 2 ? row + 2 : row + 3);
  const DataColumn& n = table->columns[0];
  EXPECT_EQ(std::vector<double>(n.numbers.begin(), n.numbers.begin() + 3),
            (std::vector<double>{1.5, -kInf, kInf}));
  EXPECT_TRUE(n.missing(3));
  EXPECT_TRUE(n.textIndex.empty()) << "a column of numbers keeps no texts";
  const DataColumn& t = table->columns[1];
  EXPECT_EQ(*t.text(0), "a, \"b\"");
  EXPECT_EQ(*t.text(1), "two\nlines");
  EXPECT_TRUE(t.missing(2));
  // A quoted field is a text, whatever it spells; infinities in any case.
  const auto quoted = readCsv("q,i\n\"123\",Infinity\n\"inf\",+INF\n4,-inf\n", "d.csv", error);
  ASSERT_TRUE(quoted) << error;
  const DataColumn& q = quoted->columns[0];
  ASSERT_FALSE(q.textIndex.empty());
  EXPECT_EQ(*q.text(0), "123");
  EXPECT_EQ(*q.text(1), "inf");
  EXPECT_EQ(q.numbers[2], 4);
  EXPECT_EQ(
      std::vector<double>(quoted->columns[1].numbers.begin(), quoted->columns[1].numbers.end()),
      (std::vector<double>{kInf, kInf, -kInf}));
  // Old Mac line ends, also inside a quoted field.
  const auto mac = readCsv("a\r\"x\ry\"\r2\r", "d.csv", error);
  ASSERT_TRUE(mac) << error;
  EXPECT_EQ(mac->line(0), 2);
  EXPECT_EQ(mac->line(1), 4);
  // One column: an empty line is a case whose value is missing.
  const auto single = readCsv("v\n1\n\n3\n", "d.csv", error);
  ASSERT_TRUE(single);
  EXPECT_EQ(single->rows(), 3u);
  EXPECT_TRUE(single->columns[0].missing(1));
  // Blank lines shift the rows after them: rows start on lines 2, 5, 6, 7,
  // counted from the text, and the count runs on after the last jump.
  const auto gaps = readCsv("a,b\n1,2\n\n\n3,4\n5,6\n7,8\n", "d.csv", error);
  ASSERT_TRUE(gaps) << error;
  ASSERT_EQ(gaps->rows(), 4u);
  EXPECT_EQ((std::vector{gaps->line(0), gaps->line(1), gaps->line(2), gaps->line(3)}),
            (std::vector<decltype(gaps->line(0))>{2, 5, 6, 7}));
}

TEST(RenderData, ReadsRowsOfNumbersAndTheOddFieldAmongThem) {
  // Each form of a field alone is checked with the number reader's tests;
  // here texts among the numbers of a column: only their own rows keep a
  // text. 15 digits is the longest mantissa read as digits, and the last
  // line needs no line end.
  std::string error;
  const auto table = readCsv("a,b\n-0.25,1\n-,x\n1234567890.12345,2\n3,4", "d.csv", error);
  ASSERT_TRUE(table) << error;
  ASSERT_EQ(table->rows(), 4u);
  const DataColumn& a = table->columns[0];
  EXPECT_EQ(a.numbers[0], -0.25);
  EXPECT_EQ(a.text(0), nullptr);
  ASSERT_NE(a.text(1), nullptr);
  EXPECT_EQ(*a.text(1), "-");
  EXPECT_EQ(*table->columns[1].text(1), "x");
  EXPECT_EQ(a.numbers[2], 1234567890.12345);
  EXPECT_EQ(a.text(2), nullptr);
  EXPECT_EQ(table->columns[1].numbers[3], 4);
  EXPECT_EQ(table->columns[1].text(3), nullptr);
}

TEST(RenderData, CategoriesComeInValueOrderWithTheirLabels) {
  ChartModel model = modelOf(
      "<visualization><variable id=\"v\" source=\"s\" sourceName=\"C\" categorical=\"true\">"
      "<relabel from=\"2\" to=\"Two\"/><relabel from=\"b\" to=\"Bee\"/></variable>"
      "<variable id=\"n\" source=\"s\" sourceName=\"C\"/>"
      "<variable id=\"lost\" source=\"s\" sourceName=\"Nope\"/></visualization>");
  std::string error;
  std::map<std::string, DataTable> tables;
  tables.emplace("s", *readCsv("C\nb\n10\n2\na\n2\n\n", "s.csv", error));
  DataBinder binder(model, tables);
  const BoundColumn* categories = binder.bind("v", true, error);
  ASSERT_NE(categories, nullptr) << error;
  // Numbers by value (2 before 10), then texts in byte order.
  EXPECT_EQ(categories->categories.keys, (std::vector<std::string>{"2", "10", "a", "b"}));
  EXPECT_EQ(categories->categories.labels, (std::vector<std::string>{"Two", "10", "a", "Bee"}));
  EXPECT_EQ(categories->codes, (LargeVector<std::int32_t>{3, 1, 0, 2, 0, -1}));
  EXPECT_EQ(binder.bind("v", true, error), categories) << "bound once";

  // Numbers alone, few of them (group codes): missing cells stay -1 and an
  // infinity is a category past every number.
  ChartModel numeric = modelOf(
      "<visualization><variable id=\"g\" source=\"t\" sourceName=\"G\" "
      "categorical=\"true\"/></visualization>");
  std::map<std::string, DataTable> groups;
  groups.emplace("t", *readCsv("G\n3\n1\n\n2.5\n1\ninf\n-0\n", "t.csv", error));
  DataBinder groupBinder(numeric, groups);
  const BoundColumn* bound = groupBinder.bind("g", true, error);
  ASSERT_NE(bound, nullptr) << error;
  EXPECT_EQ(bound->categories.keys, (std::vector<std::string>{"-0", "1", "2.5", "3", "inf"}));
  EXPECT_EQ(bound->codes, (LargeVector<std::int32_t>{3, 1, -1, 2, 1, 4, 0}));

  EXPECT_EQ(binder.bind("n", false, error), nullptr);
  EXPECT_EQ(error,
            "s.csv: line 2: 'b' in column C is not a number, but variable 'n' (n) is numeric");
  EXPECT_EQ(binder.bind("lost", false, error), nullptr);
  EXPECT_EQ(error, "s.csv: has no column Nope for variable 'lost' (lost)");
  EXPECT_EQ(binder.bind("ghost", false, error), nullptr);
  EXPECT_EQ(error, "the document refers to variable 'ghost', which it does not declare");
}

// Past a few hundred thousand rows a column is bound in two halves at once;
// what a half alone holds must still come out in one order for all rows.
TEST(RenderData, ManyRowsBindAndMeasureAsFewDo) {
  constexpr int kRows = 400000;
  // Column G: the first half holds 3, 1 and missing cells; the second 2, 3
  // and, when `withText`, the text "x". Column M: a number per row, with
  // 5000 distinct values (past the gathering of few), the least of them in
  // the second half. Column V: values for the extent.
  for (const bool withText : {false, true}) {
    std::string csv = "G,M,V\n";
    for (int i = 0; i < kRows; ++i) {
      const bool first = i < kRows / 2;
      const std::string g = first ? (i % 3 == 0   ? ""
                                     : i % 3 == 1 ? "3"
                                                  : "1")
                                  : (withText && i % 7 == 0 ? "x"
                                     : i % 2 == 0           ? "2"
                                                            : "3");
      const int m = first ? 1 + i % 5000 : i % 5000;
      const std::string v = i == kRows - 2 ? "-1e9"
                            : i == 17      ? "inf"
                            : i == 18      ? "nan"
                                           : std::to_string(i % 1000);
      csv += g + "," + std::to_string(m) + "," + v + "\n";
    }
    ChartModel model = modelOf(
        "<visualization><variable id=\"g\" source=\"s\" sourceName=\"G\" categorical=\"true\"/>"
        "<variable id=\"m\" source=\"s\" sourceName=\"M\" categorical=\"true\"/>"
        "</visualization>");
    std::string error;
    std::map<std::string, DataTable> tables;
    tables.emplace("s", *readCsv(csv, "s.csv", error));
    DataBinder binder(model, tables);
    const BoundColumn* g = binder.bind("g", true, error);
    ASSERT_NE(g, nullptr) << error;
    const std::vector<std::string> keys = withText ? std::vector<std::string>{"1", "2", "3", "x"}
                                                   : std::vector<std::string>{"1", "2", "3"};
    EXPECT_EQ(g->categories.keys, keys);
    int wrong = 0;
    for (int i = 0; i < kRows; ++i) {
      const DataColumn& column = tables.at("s").columns[0];
      const double number = column.numbers[static_cast<std::size_t>(i)];
      const int want = column.text(static_cast<std::size_t>(i)) ? 3
                       : std::isnan(number)                     ? -1
                                                                : static_cast<int>(number) - 1;
      wrong += g->codes[static_cast<std::size_t>(i)] != want;
    }
    EXPECT_EQ(wrong, 0);

    const BoundColumn* m = binder.bind("m", true, error);
    ASSERT_NE(m, nullptr) << error;
    ASSERT_EQ(m->categories.size(), 5001u);
    EXPECT_EQ(m->categories.keys.front(), "0");
    EXPECT_EQ(m->categories.keys.back(), "5000");
    EXPECT_EQ(m->codes[0], 1);
    EXPECT_EQ(m->codes[kRows / 2], (kRows / 2) % 5000);

    // The finite extent, an infinity and NaN aside, wherever its ends lie.
    const NumberVector& v = tables.at("s").columns[2].numbers;
    Extent extent;
    widen(extent, v.data(), v.size());
    EXPECT_EQ(extent.lo, -1e9);
    EXPECT_EQ(extent.hi, 999);
  }
}

TEST(RenderSummary, EachSummaryOfKnownValues) {
  const auto of = [](Summary summary, std::vector<double> values, double cases = 0,
                     double total = 0) { return summarize(summary, values, cases, total); };
  EXPECT_TRUE(std::isnan(of(Summary::kMean, {})));
  EXPECT_EQ(of(Summary::kSum, {}), 0);
  EXPECT_TRUE(std::isnan(of(Summary::kStdDev, {4})));
  EXPECT_EQ(of(Summary::kMean, {1, 2, 6}), 3);
  EXPECT_EQ(of(Summary::kMedian, {5, 1, 3}), 3);
  EXPECT_EQ(of(Summary::kMedian, {4, 1, 3, 10}), 3.5);
  EXPECT_EQ(of(Summary::kSum, {0.1, 0.2, 0.3}), 0.6);
  EXPECT_EQ(of(Summary::kMinimum, {3, -2, 7}), -2);
  EXPECT_EQ(of(Summary::kMaximum, {3, -2, 7}), 7);
  EXPECT_EQ(of(Summary::kRange, {3, -2, 7}), 9);
  EXPECT_EQ(of(Summary::kMode, {2, 3, 3, 2, 1}), 2) << "the smallest of the most frequent";
  EXPECT_EQ(of(Summary::kVariance, {2, 4, 4, 4, 5, 5, 7, 9}), 32.0 / 7);
  // Counts are of cases, with or without a value; valid N only with one.
  EXPECT_EQ(of(Summary::kCount, {1}, 3), 3);
  EXPECT_EQ(of(Summary::kValidN, {1}, 3), 1);
  EXPECT_EQ(of(Summary::kPercent, {}, 1, 4), 25);
  EXPECT_EQ(summaryOf("meanOfValues"), Summary::kMean);
  EXPECT_EQ(summaryOf("histogram"), std::nullopt);
  EXPECT_TRUE(isAdditive(Summary::kCount));
  EXPECT_FALSE(isAdditive(Summary::kMean));
}

TEST(RenderBins, WidthsAlignToTheirMultiplesAndTheLastEdgeIsClosed) {
  EXPECT_FALSE(makeBins(0, 1, 1e-9, 10)) << "a billion bins are refused";
  EXPECT_FALSE(makeBins(0, std::nan(""), 1, 10));
  EXPECT_FALSE(makeBins(0, 1, -1, 10));
  const auto bins = makeBins(0.3, 1.5, 0.25, 10);
  ASSERT_TRUE(bins);
  EXPECT_EQ(bins->start, 0.25);
  EXPECT_EQ(bins->count, 5u);  // [0.25, 1.5]
  EXPECT_EQ(bins->binOf(0.3), 0u);
  EXPECT_EQ(bins->binOf(0.5), 1u) << "bins are closed on the left";
  EXPECT_EQ(bins->binOf(1.5), 4u) << "the last bin also on the right";
  EXPECT_EQ(bins->binOf(1.6), std::nullopt);
  EXPECT_EQ(bins->binOf(0.2), std::nullopt);
  // One value: one bin around it.
  const auto one = makeBins(2, 2, std::nullopt, 1);
  ASSERT_TRUE(one);
  EXPECT_EQ(one->binOf(2), 0u);
  // Without a width: about Sturges' count of nice-width bins.
  const auto sturges = makeBins(0, 100, std::nullopt, 1000);
  ASSERT_TRUE(sturges);
  EXPECT_GE(sturges->count, 8u);
  EXPECT_LE(sturges->count, 20u);
}

TEST(RenderFormula, RefusesWhatIsNotAFormula) {
  std::string error;
  EXPECT_FALSE(Formula::parse("", error));
  EXPECT_FALSE(Formula::parse("2 * (x + 1", error));
  EXPECT_EQ(error, "a ')' is missing at character 11 of \"2 * (x + 1\"");
  EXPECT_FALSE(Formula::parse("sin(x)", error));
  EXPECT_FALSE(Formula::parse("x y", error));
  EXPECT_FALSE(Formula::parse("datetodouble(\"soon\")", error));
  EXPECT_FALSE(Formula::parse(std::string(100000, '(') + "x" + std::string(100000, ')'), error));
  EXPECT_EQ(error.substr(0, 26), "the formula nests too deep");
}

TEST(RenderFormula, EvaluatesTheCurveFamiliesAsWritten) {
  std::string error;
  const auto at = [&](const std::string& text, double x) {
    const auto formula = Formula::parse(text, error);
    EXPECT_TRUE(formula) << text << ": " << error;
    return formula ? (*formula)(x) : std::nan("");
  };
  // Each family with a = 2, b = 0.5 (c = 3, d = 0.25) at x = 4, plain and in
  // date form: date forms measure x from the calendar's start, which is date
  // value 0, so the two agree.
  const std::string d = "datetodouble(\"1582-10-14T00:00:00.000\")";
  const struct {
    std::string plain, date;
    double expected;
  } families[] = {
      {"0.5 * x + 2", "0.5 * (x - " + d + " ) + 2", 4},
      {"2 + 0.5 * log(x)", "2 + 0.5 * log(x - " + d + ")", 2 + 0.5 * std::log(4.0)},
      {"2 + 0.5 / x", "2 + 0.5 / (x - " + d + " )", 2.125},
      {"2 + 0.5 * x + 3 * x*x",
       "2 + 0.5 * (x - " + d + " ) + 3 * (x - " + d + " )*(x - " + d + " )", 52},
      {"2 + 0.5 * x + 3 * x*x + 0.25 * x*x*x",
       "2 + 0.5 * (x - " + d + ") + 3 * (x - " + d + ")*(x - " + d + ") + 0.25 * (x - " + d +
           ")*(x - " + d + ")*(x - " + d + " )",
       68},
      {"2 * 0.5**x", "2 * 0.5**(x - " + d + " )", 0.125},
      {"2 * x**0.5", "2 * (x - " + d + " )**0.5", 4},
      {"exp( 2 + 0.5 / x )", "exp( 2 + 0.5 / (x - " + d + " ) )", std::exp(2.125)},
      {"exp( 2 + -0.5 * x )", "exp( 2 + -0.5 * (x - " + d + " ) )", 1},
      {"2 * exp( 0.5 * x )", "2 * exp( 0.5 * (x  - " + d + " ) )", 2 * std::exp(2.0)},
      {"1 / ( 3 + 2 * 0.5**x )", "1 / ( 3 + 2 * 0.5**(x - " + d + " ) )", 1 / 3.125},
  };
  for (const auto& family : families) {
    for (const std::string& text : {family.plain, family.date}) {
      EXPECT_NEAR(at(text, 4), family.expected, 1e-12 * std::fabs(family.expected)) << text;
    }
  }
  EXPECT_DOUBLE_EQ(at("2**3**2", 0), 512) << "power groups to the right";
  EXPECT_DOUBLE_EQ(at("-2**2", 0), -4) << "power binds tighter than minus";
  EXPECT_DOUBLE_EQ(at("1.5e3 * x", 2), 3000);
  EXPECT_DOUBLE_EQ(at("x - datetodouble(\"1582-10-15T00:00:00.000\")", 86400), 0);
  EXPECT_TRUE(std::isnan(at("log(x)", -1)));
  EXPECT_TRUE(std::isnan(at("1 / x", 0))) << "an infinite value is no value";
}

}  // namespace
