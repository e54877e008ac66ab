// Reading data files fast must not change what is read: every form of a
// number reads as its value, and a big file read in two halves at once
// gives the table a straight read gives.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "read/DataTable.h"
#include "read/FileText.h"

namespace {

using namespace chartxml::render;

std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

// What a one-column file holding `field` reads as: the cell's number (NaN
// for missing) and its text, "" when it is a number or missing.
std::pair<double, std::string> cellOf(const std::string& field) {
  std::string error;
  // Twice, so that the field is both the last of its line and one before a comma.
  const auto table = readCsv("a,b\n" + field + "," + field + "\n", "one.csv", error);
  EXPECT_TRUE(table) << field << ": " << error;
  if (!table) return {0, "?"};
  const DataColumn& a = table->columns[0];
  const DataColumn& b = table->columns[1];
  const std::string* text = a.text(0);
  const std::string* other = b.text(0);
  EXPECT_EQ(text == nullptr, other == nullptr) << field;
  EXPECT_EQ(bitsOf(a.numbers[0]), bitsOf(b.numbers[0])) << field;
  return {a.numbers[0], text ? *text : ""};
}

TEST(RenderCsvNumbers, EveryFormOfAFieldReadsAsItsNumberOrText) {
  // Ties of the last bit (2^53 + 1 rounds to even, 2^53 + 3 up), digits
  // beyond a double's 17, tiny and huge values, and loose forms.
  const std::vector<std::pair<std::string, double>> numbers = {
      {"9007199254740993", 9007199254740992.0},
      {"9007199254740995", 9007199254740996.0},
      {"0.1", 0.1},
      {"-0.0", -0.0},
      {"007", 7},
      {"1e23", 1e23},
      {"2.2250738585072014e-308", 2.2250738585072014e-308},
      {"4.9406564584124654e-324", 4.9406564584124654e-324},
      {"0.30000000000000004", 0.30000000000000004},
      {"123456.789012345678", 123456.789012345678},
      {"1E+05", 1e5},
      {".5", 0.5},
      {"5.", 5},
      {"+1", 1},
      {"-.25", -0.25},
      {"1e999", HUGE_VAL},
      {"-1e999", -HUGE_VAL},
      {"inf", HUGE_VAL},
      {"-Infinity", -HUGE_VAL},
      {"+INF", HUGE_VAL},
      {"1000000e303", HUGE_VAL},
      {"1e99999999999999999999999", HUGE_VAL}};
  for (const auto& [field, want] : numbers) {
    const auto [number, text] = cellOf(field);
    EXPECT_EQ(text, "") << field;
    EXPECT_EQ(bitsOf(number), bitsOf(want)) << field << " read as " << number;
  }
  // Below the smallest double: zero, with the sign, never an infinity.
  for (const std::string field :
       {"1e-400", "-1e-400", "0.000001e-320", "+0.0000000001e-315", "1e-99999999999999999999999"}) {
    const auto [number, text] = cellOf(field);
    EXPECT_EQ(number, 0.0) << field;
    EXPECT_EQ(std::signbit(number), field[0] == '-') << field;
  }
  for (const std::string field : {"", "nan", "NaN", "NAN"}) {
    const auto [number, text] = cellOf(field);
    EXPECT_TRUE(std::isnan(number)) << field;
    EXPECT_EQ(text, "") << field;
  }
  for (const std::string field :
       {"-", "1e", "1e+", "1 ", " 1", "0x10", "1.2.3", "12abc", "--1", "infinit"}) {
    const auto [number, text] = cellOf(field);
    EXPECT_TRUE(std::isnan(number)) << field;
    EXPECT_EQ(text, field);
  }
}

// Reads `texts`, two to a row, and expects each cell to hold its value
// bit for bit (a NaN as missing).
void expectReadAs(const std::vector<std::string>& texts, const std::vector<double>& values) {
  std::string csv = "a,b\n";
  for (std::size_t i = 0; i < texts.size(); ++i) csv += texts[i] + (i % 2 == 0 ? "," : "\n");
  std::string error;
  const auto table = readCsv(csv, "r.csv", error);
  ASSERT_TRUE(table) << error;
  ASSERT_EQ(table->rows(), texts.size() / 2);
  int wrong = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const double got = table->columns[i % 2].numbers[i / 2];
    const bool same = std::isnan(values[i]) ? std::isnan(got) : bitsOf(got) == bitsOf(values[i]);
    if (!same && ++wrong <= 5) ADD_FAILURE() << texts[i] << " read as " << got;
  }
  EXPECT_EQ(wrong, 0);
}

TEST(RenderCsvNumbers, ShortestTextsOfRandomDoublesReadBackBitForBit) {
  // 200,000 random bit patterns as the sink spells them (the shortest
  // text that reads back; NaN patterns are written "nan" and read as
  // missing), over two columns: a file big enough to be read in halves.
  std::mt19937_64 random(0x5eed);
  std::vector<std::string> texts;
  std::vector<double> values;
  char buffer[64];
  for (int i = 0; i < 200000; ++i) {
    values.push_back(std::bit_cast<double>(random()));
    texts.emplace_back(buffer, std::to_chars(buffer, buffer + sizeof buffer, values.back()).ptr);
  }
  expectReadAs(texts, values);
}

// Decimal texts as data holds them: up to 17 digits (15 and fewer are read
// the quick way), the point anywhere or nowhere, leading zeros, signs; each
// to read as from_chars reads it.
TEST(RenderCsvNumbers, DecimalsReadAsFromCharsReadsThem) {
  std::mt19937_64 random(0xdec1);
  std::vector<std::string> texts;
  std::vector<double> values;
  for (int i = 0; i < 200000; ++i) {
    const int digits = 1 + static_cast<int>(random() % 17);
    std::string text = random() % 3 == 0 ? "-" : "";
    const int point = static_cast<int>(random() % (digits + 2)) - 1;  // -1: none
    for (int d = 0; d < digits; ++d) {
      if (d == point) text += '.';
      text += static_cast<char>('0' + random() % 10);
    }
    if (point == digits) text += '.';
    std::from_chars(text.data(), text.data() + text.size(), values.emplace_back());
    texts.push_back(text);
  }
  expectReadAs(texts, values);
}

// A file of `rows` rows "i,i/4,cell" with CR LF ends, a blank line before
// every 1000th row and the texts "t0", "t1", "t2" in column c of every
// 7919th row from `firstText` on (numbers elsewhere).
std::string bigFile(int rows, int firstText) {
  std::string csv = "a,b,c\r\n";
  for (int i = 0; i < rows; ++i) {
    if (i % 1000 == 999) csv += "\r\n";
    csv += std::to_string(i) + "," + std::to_string(i / 4.0) + ",";
    csv += i >= firstText && i % 7919 == 0 ? "t" + std::to_string(i / 7919 % 3)
                                           : std::to_string(i % 10);
    csv += "\r\n";
  }
  return csv;
}

TEST(RenderCsvHalves, BigFileReadsAsAStraightReadWould) {
  constexpr int kRows = 60000;  // about a megabyte: read in two halves
  for (const int firstText : {0, kRows / 2, kRows}) {
    std::string error;
    const auto table = readCsv(bigFile(kRows, firstText), "big.csv", error);
    ASSERT_TRUE(table) << error;
    ASSERT_EQ(table->rows(), static_cast<std::size_t>(kRows));
    const DataColumn& c = table->columns[2];
    // Row i is on line i + 2 (the header is line 1) plus one per blank
    // line before it: rows 999, 1999, ... each follow one, (i + 1) / 1000
    // of them up to row i.
    std::vector<std::string> expectedTexts;
    for (int i = 0; i < kRows; ++i) {
      ASSERT_EQ(table->line(static_cast<std::size_t>(i)), i + 2 + (i + 1) / 1000) << i;
      ASSERT_EQ(table->columns[0].numbers[static_cast<std::size_t>(i)], i);
      ASSERT_EQ(table->columns[1].numbers[static_cast<std::size_t>(i)], i / 4.0);
      const std::string* text = c.text(static_cast<std::size_t>(i));
      if (i >= firstText && i % 7919 == 0) {
        const std::string want = "t" + std::to_string(i / 7919 % 3);
        ASSERT_NE(text, nullptr) << i;
        EXPECT_EQ(*text, want);
        EXPECT_TRUE(std::isnan(c.numbers[static_cast<std::size_t>(i)]));
        if (std::find(expectedTexts.begin(), expectedTexts.end(), want) == expectedTexts.end())
          expectedTexts.push_back(want);
      } else {
        ASSERT_EQ(text, nullptr) << i;
        ASSERT_EQ(c.numbers[static_cast<std::size_t>(i)], i % 10);
      }
    }
    // Texts in order of first appearance, each once, wherever the halves meet.
    EXPECT_EQ(c.texts, expectedTexts);
    if (firstText == kRows) {
      EXPECT_TRUE(c.textIndex.empty());
    }
  }
}

TEST(RenderCsvHalves, FaultInTheSecondHalfNamesItsLine) {
  constexpr int kRows = 60000;
  std::string csv = bigFile(kRows, kRows);
  // Row 50000 loses its last field: it is on line 50000 + 2 + 50001 / 1000.
  const std::string row = "\r\n50000,12500.000000,0\r\n";
  const std::size_t at = csv.find(row);
  ASSERT_NE(at, std::string::npos);
  csv.replace(at, row.size(), "\r\n50000,12500.000000\r\n");
  std::string error;
  EXPECT_FALSE(readCsv(csv, "big.csv", error));
  EXPECT_EQ(error, "line 50052: 2 fields, but the header names 3 columns");
}

}  // namespace

namespace chartxml::render {
namespace {

TEST(RenderFiles, ReadWholeOrSayWhy) {
  std::string error;
  EXPECT_FALSE(readFileText("/nonexistent/data.csv", 1 << 20, error));
  EXPECT_EQ(error, "/nonexistent/data.csv: cannot open: No such file or directory");
  EXPECT_FALSE(readFileText("/tmp", 1 << 20, error));
  EXPECT_EQ(error, "/tmp: is a folder, not a file");

  // Larger than a large block, so it lands in one; and then over a limit.
  const std::string path = ::testing::TempDir() + "render_files_big.csv";
  std::string text;
  for (int i = 0; text.size() < 3 * kLargeBlockBytes; ++i) text += std::to_string(i) + ",x\n";
  {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    ASSERT_EQ(std::fwrite(text.data(), 1, text.size(), file), text.size());
    std::fclose(file);
  }
  const auto read = readFileText(path, text.size(), error);
  ASSERT_TRUE(read) << error;
  EXPECT_TRUE(read->view() == text);
  EXPECT_FALSE(readFileText(path, text.size() - 1, error));
  EXPECT_EQ(error, path + ": is too large to be a chart's file (" + std::to_string(text.size()) +
                       " bytes)");
  std::remove(path.c_str());

  // A stream of unknown length (a pipe) is read to its end, and held to the limit too.
  std::FILE* pipe = popen("seq 1 100000", "r");
  ASSERT_NE(pipe, nullptr);
  const std::string fromPipe = "/dev/fd/" + std::to_string(fileno(pipe));
  const auto streamed = readFileText(fromPipe, 1 << 20, error);
  pclose(pipe);
  ASSERT_TRUE(streamed) << error;
  EXPECT_EQ(streamed->bytes.size(), 588895u) << "the digits and line ends of 1..100000";
  EXPECT_TRUE(streamed->view().substr(streamed->bytes.size() - 7) == "100000\n");
}

}  // namespace
}  // namespace chartxml::render
