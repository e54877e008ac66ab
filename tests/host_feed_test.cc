// The data feed: typed columns, missing cells, row spans, refusals, memory.
#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "chartxml/host/Platform.h"
#include "chartxml/host/VarDataProcessor.h"

namespace {

using Kind = VarDataProcessor::CellKind;
using Record = VarDataProcessor::_varinfo;
using Cells = std::vector<std::string>;

// A number as a cell shows it: every digit a double holds.
std::string numberCell(double number) {
  char digits[40];
  std::snprintf(digits, sizeof digits, "n:%.17g", number);
  return digits;
}

// A feed with one source "s" of the given first capacity.
struct Feed {
  explicit Feed(int initialRows = 4) { EXPECT_TRUE(feed.AddDataSource("s", initialRows)); }
  Record* add(const std::string& name, const std::string& source = "s") {
    auto* record = new Record;
    EXPECT_TRUE(feed.AddVariable(source, name, record)) << name;
    return record;
  }
  // A cell as "n:NUMBER", "s:TEXT" or "-" (missing), once the kind and both
  // readers agree on it.
  std::string cell(const std::string& variable, std::uint32_t row,
                   const std::string& source = "s") const {
    const std::optional<double> number = feed.Number(source, variable, row);
    const std::optional<std::string> text = feed.Text(source, variable, row);
    const Kind kind = feed.Kind(source, variable, row);
    if (kind == Kind::String && text && !number) return "s:" + *text;
    if (kind != Kind::Number || !number || text) {
      return kind == Kind::Missing && !number && !text ? "-" : "readers disagree";
    }
    return numberCell(*number);
  }
  Cells cells(const std::string& variable, std::uint32_t rows) const {
    Cells out;
    for (std::uint32_t row = 0; row < rows; ++row) out.push_back(cell(variable, row));
    return out;
  }
  VarDataProcessor feed;
};

TEST(VarDataProcessor, StoresTypedCellsAndTheLatestWriteWins) {
  Feed f;
  Record* v = f.add("v");
  EXPECT_TRUE(f.feed.SetVariableValue(v, 0, 2.5));
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 1, "abc"));
  EXPECT_TRUE(f.feed.SetVariableValue(v, 3, std::nan("7")));  // a caller's NaN is a number
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 4, ""));       // the empty text is a string
  // Row 2 is skipped inside the capacity; row 1000 is beyond anything allocated.
  EXPECT_EQ(f.cells("v", 5), (Cells{"n:2.5", "s:abc", "-", "n:nan", "s:"}));
  EXPECT_EQ(f.cell("v", 1000), "-");
  // Stored NaNs are normalised, so no caller payload can pose as a missing cell.
  EXPECT_EQ(std::bit_cast<std::uint64_t>(*f.feed.Number("s", "v", 3)),
            std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN()));

  EXPECT_TRUE(f.feed.SetVariableValue(v, 1, -1.0));
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 0, "now text"));
  EXPECT_EQ(f.cells("v", 2), (Cells{"s:now text", "n:-1"}));
}

TEST(VarDataProcessor, RowCountSpansAllVariablesOfASource) {
  Feed f;
  ASSERT_TRUE(f.feed.AddDataSource("other", 4));
  Record* a = f.add("a");
  Record* b = f.add("b");
  Record* c = f.add("c", "other");
  EXPECT_EQ(f.feed.GetRowCount("s"), 0u);
  f.feed.SetVariableValue(a, 2, 1.0);
  f.feed.SetStringVariableValue(b, 6, "x");
  f.feed.SetVariableValue(a, 4, 1.0);
  f.feed.SetVariableValue(c, 0, 1.0);
  EXPECT_EQ(f.feed.GetRowCount("s"), 7u);
  EXPECT_EQ(f.feed.GetRowCount("other"), 1u);
  EXPECT_EQ(f.feed.GetRowCount("unknown"), 0u);
  EXPECT_EQ(f.feed.SourceNames(), (Cells{"s", "other"}));
  EXPECT_EQ(f.feed.VariableNames("s"), (Cells{"a", "b"}));
  EXPECT_TRUE(f.feed.VariableNames("unknown").empty());
}

TEST(VarDataProcessor, RefusesBadRowsRecordsAndNames) {
  Feed f;
  Record* v = f.add("v");
  for (const std::uint32_t row : {VarDataProcessor::kMaxRows, 4294967295u}) {
    EXPECT_FALSE(f.feed.SetVariableValue(v, row, 1.0)) << row;
    EXPECT_FALSE(f.feed.SetStringVariableValue(v, row, "x")) << row;
  }
  EXPECT_FALSE(f.feed.SetVariableValue(nullptr, 0, 1.0));
  EXPECT_FALSE(f.feed.SetStringVariableValue(nullptr, 0, "x"));
  EXPECT_EQ(f.feed.GetRowCount("s"), 0u);
  EXPECT_EQ(f.feed.Allocations(), 0u);

  // Refused declarations: the record is kept but untied, so writes fail.
  EXPECT_FALSE(f.feed.AddDataSource("s", 10));
  auto* unknownSource = new Record;
  EXPECT_FALSE(f.feed.AddVariable("nope", "w", unknownSource));
  EXPECT_FALSE(f.feed.SetVariableValue(unknownSource, 0, 1.0));
  auto* takenName = new Record;
  EXPECT_FALSE(f.feed.AddVariable("s", "v", takenName));
  EXPECT_FALSE(f.feed.SetStringVariableValue(takenName, 0, "x"));
  EXPECT_FALSE(f.feed.AddVariable("s", "again", v));  // already handed over
  EXPECT_TRUE(f.feed.SetVariableValue(v, 0, 3.0));
  EXPECT_EQ(f.feed.VariableNames("s"), (Cells{"v"}));

  EXPECT_EQ(f.cell("nope", 0), "-");
  EXPECT_EQ(f.cell("v", 0, "nope"), "-");
  EXPECT_EQ(f.feed.BytesUsed("s", "nope"), 0u);
  EXPECT_EQ(f.feed.ToCsv("nope"), "");
}

TEST(VarDataProcessor, ColumnsPayOnlyForWhatTheyHoldAndSteadyWritesAllocateNothing) {
  Feed f(1024);
  Record* n = f.add("n");
  Record* t = f.add("t");
  const char* const words[] = {"alpha", "beta", "a text well beyond the short-string buffer"};
  for (std::uint32_t row = 0; row < 3; ++row) f.feed.SetStringVariableValue(t, row, words[row]);
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 0u);
  EXPECT_GE(f.feed.BytesUsed("s", "t"), 1024 * sizeof(std::uint32_t));
  EXPECT_LT(f.feed.BytesUsed("s", "t"), 1024 * sizeof(double));
  f.feed.SetVariableValue(n, 0, 1.0);  // whole numbers take 4 bytes a cell
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 1024 * sizeof(std::int32_t));
  f.feed.SetVariableValue(n, 1, 0.5);  // until the first other number
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 1024 * sizeof(double));
  const std::size_t before = f.feed.Allocations();
  EXPECT_GE(before, 5u);  // two columns, three texts (one on the heap)
  for (std::uint32_t row = 0; row < 1024; ++row) {
    ASSERT_TRUE(f.feed.SetVariableValue(n, row, row * 0.5));
    ASSERT_TRUE(f.feed.SetStringVariableValue(t, row, words[row % 3]));
  }
  EXPECT_EQ(f.feed.Allocations(), before);
  EXPECT_EQ(f.cell("t", 1023), "s:alpha");
  // Growth doubles the capacity, only when a row beyond it arrives.
  f.feed.SetVariableValue(n, 1024, 0.0);
  EXPECT_EQ(f.feed.Allocations(), before + 1);
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 2048 * sizeof(double));
  f.feed.SetVariableValue(n, 10000, 0.0);
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 16384 * sizeof(double));
  f.feed.SetStringVariableValue(t, 0, "new");  // a new text: its dictionary entry
  EXPECT_GT(f.feed.Allocations(), before + 1);

  // A million values of each kind stay within their memory budget.
  for (std::uint32_t row = 0; row < 1000000; ++row) {
    f.feed.SetVariableValue(n, row, row * 1.25);
    f.feed.SetStringVariableValue(t, row, words[row % 3]);
  }
  EXPECT_LE(f.feed.BytesUsed("s", "n") / 1e6, 8.5);
  EXPECT_LE(f.feed.BytesUsed("s", "t") / 1e6, 4.5);
  EXPECT_EQ(f.feed.GetRowCount("s"), 1000000u);
  EXPECT_EQ(f.cell("n", 999999) + " " + f.cell("t", 999999), "n:1249998.75 s:alpha");
}

// A column keeps whole numbers in 32 bits until its first other number;
// every cell must read the same before and after it moves to doubles, and
// values at the edges of the range or with a sign of zero must not be taken
// for whole numbers they are not.
TEST(VarDataProcessor, WholeNumbersReadTheSameAfterTheColumnWidens) {
  const double edges[] = {2147483647.0, -2147483647.0, -2147483648.0, 2147483648.0, -0.0, 1e300,
                          3.0};
  for (const double edge : edges) {
    Feed f(2);
    Record* n = f.add("n");
    ASSERT_TRUE(f.feed.SetVariableValue(n, 0, 7));
    ASSERT_TRUE(f.feed.SetStringVariableValue(n, 1, "text"));
    ASSERT_TRUE(f.feed.SetVariableValue(n, 2, -12));  // row 3 left missing
    ASSERT_TRUE(f.feed.SetVariableValue(n, 4, edge));
    ASSERT_TRUE(f.feed.SetVariableValue(n, 5, 0));
    ASSERT_TRUE(f.feed.SetStringVariableValue(n, 5, "over"));  // a string replaces a number
    const Cells before = f.cells("n", 7);
    EXPECT_EQ(f.cell("n", 4), numberCell(edge)) << edge;
    EXPECT_EQ(std::signbit(*f.feed.Number("s", "n", 4)), std::signbit(edge));
    ASSERT_TRUE(f.feed.SetVariableValue(n, 6, 0.25));
    Cells widened = before;
    widened[6] = "n:0.25";
    EXPECT_EQ(f.cells("n", 7), widened) << edge;
    EXPECT_EQ(f.cells("n", 7),
              (Cells{"n:7", "s:text", "n:-12", "-", widened[4], "s:over", "n:0.25"}));
    EXPECT_EQ(f.feed.ToCsv("s").substr(0, 12), "n\n7\ntext\n-12");
  }
}

TEST(VarDataProcessor, WritesCsvWithQuotingAndShortestExactNumbers) {
  Feed f;
  Record* num = f.add("num");
  Record* text = f.add("a,b");
  Record* mixed = f.add("mixed");
  f.feed.SetVariableValue(num, 0, 0.1);
  f.feed.SetVariableValue(num, 1, -35);
  f.feed.SetVariableValue(num, 3, 1e21);
  f.feed.SetStringVariableValue(text, 0, "say \"hi\"");
  f.feed.SetStringVariableValue(text, 1, "two\nlines");
  f.feed.SetStringVariableValue(text, 2, "cr\rhere");
  f.feed.SetStringVariableValue(text, 3, "plain");
  f.feed.SetVariableValue(mixed, 0, 2.718281828459045);
  f.feed.SetStringVariableValue(mixed, 2, "x");
  f.feed.SetVariableValue(mixed, 2, 1000);  // overwritten: the number wins
  EXPECT_EQ(f.feed.ToCsv("s"),
            "num,\"a,b\",mixed\n"
            "0.1,\"say \"\"hi\"\"\",2.718281828459045\n"
            "-35,\"two\nlines\",\n"
            ",\"cr\rhere\",1000\n"
            "1e+21,plain,\n");

  // Numbers in the fewest digits that read back exactly; texts that would
  // read as numbers are quoted.
  constexpr double kInf = std::numeric_limits<double>::infinity();
  Feed g;
  Record* exact = g.add("num");
  Record* quoted = g.add("text");
  const double values[] = {0.1 + 0.2,     std::numeric_limits<double>::max(),
                           5e-324,        -0.0,
                           kInf,          -kInf,
                           std::nan(""),  kVornMissingValue,
                           123456789.0125};
  const char* const texts[] = {"123", "1e5", "inf", " 12", "-Infinity", "NaN", "", "12a", "+7"};
  for (std::uint32_t row = 0; row < 9; ++row) {
    g.feed.SetVariableValue(exact, row, values[row]);
    g.feed.SetStringVariableValue(quoted, row, texts[row]);
  }
  // NaN and the host's missing value both write a missing cell.
  EXPECT_EQ(g.feed.ToCsv("s"),
            "num,text\n"
            "0.30000000000000004,\"123\"\n"
            "1.7976931348623157e+308,\"1e5\"\n"
            "5e-324,\"inf\"\n"
            "-0,\" 12\"\n"
            "inf,\"-Infinity\"\n"
            "-inf,\"NaN\"\n"
            ",\n"
            ",12a\n"
            "123456789.0125,\"+7\"\n");
}

}  // namespace
