// Numbers read and written the quick ways must be, bit for bit and byte for
// byte, what std::from_chars and std::to_chars make of them: every CSV the
// host reads or writes goes through these.
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

#include "chartutl/ShortestNumber.h"
#include "chartxml/host/VarDataProcessor.h"
#include "platform/PlainDecimal.h"

namespace {

std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

double fromChars(const std::string& text) {
  double value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// Texts halfway between two neighbouring doubles, give or take the last of
// 19 digits: the cases where reading through a wider format and rounding
// again would go the wrong way.
std::vector<std::string> nearlyHalfway(std::mt19937_64& random, int count) {
  std::vector<std::string> texts;
  std::uniform_real_distribution<double> magnitude(-3, 9);
  for (int i = 0; i < count; ++i) {
    const double low = std::pow(10.0, magnitude(random));
    const long double halfway = (static_cast<long double>(low) + std::nextafter(low, 2 * low)) / 2;
    const int whole = halfway < 1 ? 1 : static_cast<int>(std::log10(halfway)) + 1;
    char text[64];
    std::snprintf(text, sizeof text, "%.*Lf", 19 - whole, halfway);
    texts.push_back(text);
  }
  return texts;
}

TEST(PlainDecimals, RefusesWhatIsNotOneAndReadsTheRestAsFromChars) {
  double value = 0;
  int decimals = 0;
  for (const std::string text : {"", "-", ".", "+1", "1e5", "1.5E-3", "12345678901234567890"}) {
    const char* end = text.data() + text.size();
    EXPECT_EQ(cxio::scanPlainDecimal(text.data(), end, value, decimals), nullptr) << text;
  }
  const std::string stops = "2.50,";
  EXPECT_EQ(cxio::scanPlainDecimal(stops.data(), stops.data() + stops.size(), value, decimals),
            stops.data() + 4);
  EXPECT_EQ(std::pair(value, decimals), std::pair(2.5, 2));

  std::mt19937_64 random(0xdec1);
  std::vector<std::string> texts = nearlyHalfway(random, 20000);
  for (int i = 0; i < 200000; ++i) {
    const int digits = 1 + static_cast<int>(random() % 19);
    const int point = static_cast<int>(random() % (digits + 1));
    std::string text = random() % 3 == 0 ? "-" : "";
    for (int d = 0; d < digits; ++d) {
      if (d == point && d > 0) text += '.';
      text += static_cast<char>('0' + random() % 10);
    }
    texts.push_back(text);
  }
  int left = 0, wrong = 0;
  for (const std::string& text : texts) {
    const char* end = text.data() + text.size();
    if (cxio::scanPlainDecimal(text.data(), end, value, decimals) != end) {
      ++left;
      continue;
    }
    const std::size_t point = text.find('.');
    const int written = point == std::string::npos ? 0 : static_cast<int>(text.size() - point - 1);
    if ((bitsOf(value) != bitsOf(fromChars(text)) || decimals != written) && ++wrong <= 5) {
      ADD_FAILURE() << text << " read as " << value << " with " << decimals << " decimals";
    }
  }
  EXPECT_EQ(wrong, 0);
  // Only the texts that land on a halfway point are left to the caller.
  EXPECT_GT(left, 0);
  EXPECT_LT(left, 20000 / 4);
}

// Every text must be to_chars' own: values with few decimals at every
// magnitude (whole numbers with trailing zeros among them, some shorter in
// scientific form), values in full precision at every magnitude the quicker
// ways serve and around it with their neighbours, the edges of those ways,
// and arbitrary bit patterns. Written in one sequence, as a column is, so
// that each value starts from the decimals its predecessor left.
TEST(ShortestNumbers, EveryValueIsWrittenAsToCharsWritesIt) {
  std::mt19937_64 random(0x5407);
  std::vector<double> values;
  for (int decimals = 0; decimals <= 12; ++decimals) {
    for (double scale = 1e-6; scale < 1e13; scale *= 10) {
      for (int i = 0; i < 40; ++i) {
        const double digits = static_cast<double>(random() % 100000000);
        values.push_back((i % 2 ? -1 : 1) * std::round(digits * scale) / std::pow(10, decimals));
      }
    }
  }
  for (const double edge : {1e-3, 0.00099999, 1e9, 999999999.5, 1e5, 1.2e5, 1.2e7, 1e4, -1e5,
                            1125899906842.62, 0.1 + 0.2, 0.5, 2.5e-3, 123456789.0125, 1.0 / 3,
                            2.0 / 3 * 1e8, 0.001 + 1e-19, 1e9 - 1e-7}) {
    values.push_back(edge);
    values.push_back(std::nextafter(edge, 0.0));
    values.push_back(std::nextafter(edge, 2 * edge));
  }
  std::uniform_real_distribution<double> magnitude(-5, 11);
  for (int i = 0; i < 300000; ++i) {
    const double value = std::pow(10.0, magnitude(random)) * (i % 2 ? -1 : 1);
    values.push_back(value);
    if (i % 64 == 0) {
      values.push_back(std::nextafter(value, 0.0));
      // Few digits, whose text a longer one must not replace.
      values.push_back(std::round(value * 1e4) / 1e4);
    }
  }
  // Around powers of two, where the interval is narrower below than above.
  for (int e = -12; e < 32; ++e) {
    values.push_back(std::nextafter(std::ldexp(1.0, e), 0.0));
    values.push_back(std::nextafter(std::ldexp(1.0, e), 1e300));
  }
  for (int i = 0; i < 20000; ++i) {
    const double any = std::bit_cast<double>(static_cast<std::uint64_t>(random()));
    if (std::isfinite(any)) values.push_back(any);
  }
  int decimals = 0, wrong = 0;
  for (const double value : values) {
    char mine[cxhost::kShortestNumberRoom], theirs[64];
    const std::string got(mine, cxhost::writeShortest(mine, value, decimals));
    const std::string want(theirs, std::to_chars(theirs, theirs + sizeof theirs, value).ptr);
    if (got != want && ++wrong <= 5) ADD_FAILURE() << "wrote " << got << " for " << want;
  }
  EXPECT_EQ(wrong, 0);
}

// Where `text` first differs from `expected`, with what each holds there (a
// megabyte-long pair is not worth printing, nor diffing); "" when equal.
std::string firstDifference(std::string_view text, std::string_view expected) {
  const auto at = std::mismatch(text.begin(), text.end(), expected.begin(), expected.end());
  if (at.first == text.end() && at.second == expected.end()) return "";
  const std::size_t offset = static_cast<std::size_t>(at.first - text.begin());
  return "at byte " + std::to_string(offset) + ": \"" + std::string(text.substr(offset, 40)) +
         "\" where \"" + std::string(expected.substr(offset, 40)) + "\" was expected";
}

// Keeps what it is given, refusing once it has taken `accepted` slices.
struct CountingSink final : VarDataProcessor::CsvSink {
  explicit CountingSink(int accepted) : accepted(accepted) {}
  bool Drain(std::string_view bytes) override {
    largest = std::max(largest, bytes.size());
    if (slices == accepted) return false;
    ++slices;
    text += bytes;
    return true;
  }
  int accepted;
  int slices = 0;
  std::size_t largest = 0;
  std::string text;
};

// A source big enough to be written on two threads, of numbers in full
// precision, whole numbers, texts that need quotes and missing cells, whose
// last block is short: written in row order, the same bytes as each row
// written alone, and when the sink stops taking them, a prefix of those.
TEST(WriteCsv, BigSourcesAreWrittenInRowOrderWhicheverThreadFormatsThem) {
  constexpr std::uint32_t kRows = 200003;
  VarDataProcessor feed;
  ASSERT_TRUE(feed.AddDataSource("s", 16));
  auto* x = new VarDataProcessor::_varinfo;
  auto* label = new VarDataProcessor::_varinfo;
  auto* count = new VarDataProcessor::_varinfo;
  ASSERT_TRUE(feed.AddVariable("s", "x", x) && feed.AddVariable("s", "label", label) &&
              feed.AddVariable("s", "n", count));
  std::mt19937_64 random(0xC5F);
  std::normal_distribution<double> normal(0, 1000);
  std::string expected = "x,label,n\n";
  char number[64];
  for (std::uint32_t row = 0; row < kRows; ++row) {
    const double value = normal(random);
    if (row % 7 != 3) {
      ASSERT_TRUE(feed.SetVariableValue(x, row, value));
      expected.append(number, std::to_chars(number, number + sizeof number, value).ptr);
    }
    const std::string text = row % 5 == 0 ? "say \"" + std::to_string(row) + "\", twice" : "r";
    ASSERT_TRUE(feed.SetStringVariableValue(label, row, text));
    expected += row % 5 == 0 ? ",\"say \"\"" + std::to_string(row) + "\"\", twice\"," : ",r,";
    ASSERT_TRUE(feed.SetVariableValue(count, row, row % 11));
    expected += std::to_string(row % 11) + "\n";
  }
  EXPECT_EQ(firstDifference(feed.ToCsv("s"), expected), "");
  // Refused at the first slice, inside the first block, and at ones handed
  // over from the second thread's blocks.
  for (const int accepted : {0, 3, 11, 20, 50, 85}) {
    CountingSink sink(accepted);
    EXPECT_FALSE(feed.WriteCsv("s", sink)) << accepted;
    EXPECT_EQ(sink.slices, accepted);
    EXPECT_EQ(firstDifference(sink.text, expected.substr(0, sink.text.size())), "") << accepted;
    EXPECT_LE(sink.largest, VarDataProcessor::kCsvBufferBytes);
  }
  CountingSink all(1 << 20);
  EXPECT_TRUE(feed.WriteCsv("s", all));
  EXPECT_EQ(firstDifference(all.text, expected), "");
}

}  // namespace
