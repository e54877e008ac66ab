// Reading data files fast must not change what is read: the shortcut for
// decimals rounds as the general reader does, and a big file read in two
// halves at once gives the table a straight read gives.
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

// What the general reader makes of `text` (the reference).
double generalRead(const std::string& text) {
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

TEST(RenderCsvNumbers, ShortcutRoundsAsTheGeneralReader) {
  // Ties of the last bit (2^53 + 1 rounds to even, 2^53 + 3 up), values
  // beyond a double's 17 digits, tiny and huge ones, and the forms data
  // files hold; each must be read, and the same as the general reader reads.
  const std::vector<std::string> taken = {"9007199254740993",
                                          "9007199254740995",
                                          "0.1",
                                          "-0.0",
                                          "0",
                                          "007",
                                          "1e23",
                                          "1.7976931348623157e+200",
                                          "2.2250738585072014e-300",
                                          "-1.2345678901234567",
                                          "1234567890123456789e-10",
                                          "0.30000000000000004",
                                          "4.9406564584124654e-5",
                                          "1E+05",
                                          "123456.789012345678"};
  for (const std::string& text : taken) {
    double value = 0;
    // 2.2250738585072014e-300 and 1.79...e+200 lie beyond the shortcut's
    // powers of ten: the general reader takes those.
    const bool fast = fastDecimal(text, value);
    if (text.find("e-300") == std::string::npos && text.find("e+200") == std::string::npos) {
      EXPECT_TRUE(fast) << text;
    }
    if (fast) {
      EXPECT_EQ(bitsOf(value), bitsOf(generalRead(text))) << text;
    }
  }
  // Not decimals of the shortcut's form: the general reader decides.
  for (const char* text : {"", "-", ".5", "5.", "1e", "1e+", "+1", "1,5", "1 ", "inf", "0x10",
                           "12345678901234567890123", "1e12345"}) {
    double value = 0;
    EXPECT_FALSE(fastDecimal(text, value)) << text;
  }
  // Random digit strings of 1 to 19 digits, any point, any exponent: most
  // fall between two doubles, many near a tie.
  std::mt19937_64 random(7);
  int read = 0;
  for (int i = 0; i < 200000; ++i) {
    const int digits = 1 + static_cast<int>(random() % 19);
    std::string text = (random() & 1) ? "-" : "";
    std::string body;
    for (int d = 0; d < digits; ++d) body += static_cast<char>('0' + random() % 10);
    const std::size_t point = random() % (body.size() + 1);
    if (point > 0 && point < body.size()) body.insert(point, ".");
    text += body;
    if (random() % 3 == 0) text += "e" + std::to_string(static_cast<int>(random() % 61) - 30);
    double value = 0;
    if (!fastDecimal(text, value)) continue;
    ++read;
    ASSERT_EQ(bitsOf(value), bitsOf(generalRead(text))) << text;
  }
  EXPECT_GT(read, 150000) << "the shortcut should take most such decimals";
}

TEST(RenderCsvNumbers, ShortestTextsOfRandomDoublesReadBackBitForBit) {
  // A million random bit patterns as the sink spells them (the shortest
  // text that reads back), over two columns: a file big enough to be read
  // in halves.
  std::mt19937_64 random(0x5eed);
  std::vector<double> values;
  std::string csv = "a,b\n";
  char buffer[64];
  for (int i = 0; i < 1000000; ++i) {
    const double value = std::bit_cast<double>(random());
    values.push_back(value);
    csv.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
    csv += i % 2 == 0 ? ',' : '\n';
  }
  std::string error;
  const auto table = readCsv(csv, "r.csv", error);
  ASSERT_TRUE(table) << error;
  ASSERT_EQ(table->rows(), values.size() / 2);
  int wrong = 0;
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double got = table->columns[i % 2].numbers[i / 2];
    // NaN patterns are written "nan" and read as missing (a NaN).
    const bool same = std::isnan(values[i]) ? std::isnan(got) : bitsOf(got) == bitsOf(values[i]);
    if (!same && ++wrong <= 5) ADD_FAILURE() << std::hex << bitsOf(values[i]) << " read as " << got;
  }
  EXPECT_EQ(wrong, 0);
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
