// The data feed: typed columns, missing cells, row spans, refusals, memory.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "chartxml/host/VarDataProcessor.h"

namespace {

using Kind = VarDataProcessor::CellKind;
using Record = VarDataProcessor::_varinfo;

// A feed with one source "s" of the given first capacity.
struct Feed {
  explicit Feed(int initialRows = 4) { EXPECT_TRUE(feed.AddDataSource("s", initialRows)); }
  Record* add(const std::string& name, const std::string& source = "s") {
    auto* record = new Record;
    EXPECT_TRUE(feed.AddVariable(source, name, record)) << name;
    return record;
  }
  VarDataProcessor feed;
};

TEST(VarDataProcessor, StoresTypedCellsAndReadsThemBack) {
  Feed f;
  Record* v = f.add("v");
  EXPECT_TRUE(f.feed.SetVariableValue(v, 0, 2.5));
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 1, "abc"));
  EXPECT_TRUE(f.feed.SetVariableValue(v, 3, std::nan("7")));  // a caller's NaN is a number
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 4, ""));       // the empty text is a string

  EXPECT_EQ(f.feed.Kind("s", "v", 0), Kind::Number);
  EXPECT_EQ(f.feed.Number("s", "v", 0), 2.5);
  EXPECT_EQ(f.feed.Text("s", "v", 0), std::nullopt);
  EXPECT_EQ(f.feed.Kind("s", "v", 1), Kind::String);
  EXPECT_EQ(f.feed.Text("s", "v", 1), "abc");
  EXPECT_EQ(f.feed.Number("s", "v", 1), std::nullopt);
  EXPECT_EQ(f.feed.Kind("s", "v", 2), Kind::Missing);  // skipped row, inside capacity
  EXPECT_EQ(f.feed.Number("s", "v", 2), std::nullopt);
  EXPECT_EQ(f.feed.Text("s", "v", 2), std::nullopt);
  EXPECT_EQ(f.feed.Kind("s", "v", 3), Kind::Number);
  // Stored NaNs are normalised, so no caller payload can pose as a missing cell.
  EXPECT_EQ(std::bit_cast<std::uint64_t>(*f.feed.Number("s", "v", 3)),
            std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN()));
  EXPECT_EQ(f.feed.Kind("s", "v", 4), Kind::String);
  EXPECT_EQ(f.feed.Text("s", "v", 4), "");
  EXPECT_EQ(f.feed.Kind("s", "v", 1000), Kind::Missing);  // beyond anything allocated

  // The latest write wins, in both directions.
  EXPECT_TRUE(f.feed.SetVariableValue(v, 1, -1.0));
  EXPECT_EQ(f.feed.Kind("s", "v", 1), Kind::Number);
  EXPECT_EQ(f.feed.Text("s", "v", 1), std::nullopt);
  EXPECT_TRUE(f.feed.SetStringVariableValue(v, 0, "now text"));
  EXPECT_EQ(f.feed.Kind("s", "v", 0), Kind::String);
  EXPECT_EQ(f.feed.Number("s", "v", 0), std::nullopt);
  EXPECT_EQ(f.feed.Text("s", "v", 0), "now text");
}

TEST(VarDataProcessor, ColumnsPayOnlyForTheKindsTheyHold) {
  Feed f(100);
  Record* numbers = f.add("n");
  Record* texts = f.add("t");
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 0u);
  EXPECT_TRUE(f.feed.SetVariableValue(numbers, 0, 1.0));
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 100 * sizeof(double));
  EXPECT_TRUE(f.feed.SetStringVariableValue(texts, 0, "x"));
  const std::size_t textBytes = f.feed.BytesUsed("s", "t");
  EXPECT_GE(textBytes, 100 * sizeof(std::uint32_t));
  EXPECT_LT(textBytes, 100 * sizeof(double));
  // Growth doubles the first capacity, only when a row beyond it arrives.
  EXPECT_TRUE(f.feed.SetVariableValue(numbers, 99, 1.0));
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 100 * sizeof(double));
  EXPECT_TRUE(f.feed.SetVariableValue(numbers, 100, 1.0));
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 200 * sizeof(double));
  EXPECT_TRUE(f.feed.SetVariableValue(numbers, 1000, 1.0));
  EXPECT_EQ(f.feed.BytesUsed("s", "n"), 1600 * sizeof(double));
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
  EXPECT_EQ(f.feed.SourceNames(), (std::vector<std::string>{"s", "other"}));
  EXPECT_EQ(f.feed.VariableNames("s"), (std::vector<std::string>{"a", "b"}));
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
  EXPECT_EQ(f.feed.VariableNames("s"), (std::vector<std::string>{"v"}));

  EXPECT_EQ(f.feed.Kind("s", "nope", 0), Kind::Missing);
  EXPECT_EQ(f.feed.Number("nope", "v", 0), std::nullopt);
  EXPECT_EQ(f.feed.Text("s", "nope", 0), std::nullopt);
  EXPECT_EQ(f.feed.BytesUsed("s", "nope"), 0u);
  EXPECT_EQ(f.feed.ToCsv("nope"), "");
}

TEST(VarDataProcessor, SteadyStateWritesAllocateNothing) {
  Feed f(1024);
  Record* n = f.add("n");
  Record* t = f.add("t");
  const char* const words[] = {"alpha", "beta", "a text well beyond the short-string buffer"};
  for (std::uint32_t row = 0; row < 3; ++row) {
    f.feed.SetVariableValue(n, row, row);
    f.feed.SetStringVariableValue(t, row, words[row]);
  }
  const std::size_t before = f.feed.Allocations();
  EXPECT_GE(before, 5u);  // two columns, three texts (one on the heap)
  for (std::uint32_t row = 0; row < 1024; ++row) {
    ASSERT_TRUE(f.feed.SetVariableValue(n, row, row * 0.5));
    ASSERT_TRUE(f.feed.SetStringVariableValue(t, row, words[row % 3]));
  }
  EXPECT_EQ(f.feed.Allocations(), before);
  EXPECT_EQ(f.feed.Text("s", "t", 1023), "alpha");
  f.feed.SetVariableValue(n, 1024, 0.0);  // past capacity: one growth
  EXPECT_EQ(f.feed.Allocations(), before + 1);
  f.feed.SetStringVariableValue(t, 0, "new");  // a new text: its dictionary entry
  EXPECT_GT(f.feed.Allocations(), before + 1);
}

TEST(VarDataProcessor, MillionValuesFitTheirMemoryBudget) {
  Feed f(250000);
  Record* n = f.add("n");
  Record* t = f.add("t");
  const char* const words[] = {"red", "green", "blue", "cyan", "magenta"};
  for (std::uint32_t row = 0; row < 1000000; ++row) {
    f.feed.SetVariableValue(n, row, row * 1.25);
    f.feed.SetStringVariableValue(t, row, words[row % 5]);
  }
  EXPECT_LE(f.feed.BytesUsed("s", "n") / 1e6, 8.5);
  EXPECT_LE(f.feed.BytesUsed("s", "t") / 1e6, 4.5);
  EXPECT_EQ(f.feed.GetRowCount("s"), 1000000u);
  EXPECT_EQ(f.feed.Number("s", "n", 999999), 999999 * 1.25);
  EXPECT_EQ(f.feed.Text("s", "t", 999999), "magenta");
}

TEST(VarDataProcessor, WritesCsvWithQuoting) {
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
}

}  // namespace
