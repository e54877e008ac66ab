// What the sink writes, the host's CSV reader reads back unchanged: every
// double bit for bit, and texts that look like numbers as texts.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/VarDataProcessor.h"
#include "host_test_support.h"

namespace {

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CHARTXML_TEST_SANITIZED 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(CHARTXML_TEST_SANITIZED)
#define CHARTXML_TEST_SANITIZED 1
#endif

// A million values take about a second in an optimised build; under the
// sanitizers, where every byte the writer and reader touch is checked, that
// grows to several, so fewer are drawn there.
#ifdef CHARTXML_TEST_SANITIZED
constexpr std::uint32_t kRandomValues = 200000;
#else
constexpr std::uint32_t kRandomValues = 1000000;
#endif

using Limits = std::numeric_limits<double>;

using hosttest::Source;

std::uint64_t bitsOf(double value) {
  return std::bit_cast<std::uint64_t>(value);
}

class SinkRoundTrip : public hosttest::QuietReports {
 protected:
  // Source "s" of `feed` as the sink writes it, opened again by the host.
  Source reopen(const VarDataProcessor& feed) {
    Source source = hosttest::openCsv(folder_.write("s.csv", feed.ToCsv("s")));
    EXPECT_NE(source, nullptr) << hosttest::lastReport();
    return source;
  }

  // Feeds `values` row by row across `columns` numeric variables, the way the
  // library adds a case's values, and counts the cells that do not read back
  // with the same bits (a NaN reads back as the missing value).
  int mismatches(const std::vector<double>& values, int columns) {
    VarDataProcessor feed;
    EXPECT_TRUE(feed.AddDataSource("s", 1024));
    std::vector<VarDataProcessor::_varinfo*> records;
    for (int c = 0; c < columns; ++c) {
      records.push_back(new VarDataProcessor::_varinfo);
      EXPECT_TRUE(feed.AddVariable("s", "v" + std::to_string(c), records.back()));
    }
    for (std::size_t i = 0; i < values.size(); ++i) {
      EXPECT_TRUE(feed.SetVariableValue(records[i % columns],
                                        static_cast<std::uint32_t>(i / columns), values[i]));
    }
    Source source = reopen(feed);
    if (source == nullptr) return -1;
    EXPECT_EQ(source->ColumnCount(), columns);
    EXPECT_EQ(source->RowCount(), static_cast<int>(values.size() / columns));
    for (int c = 0; c < source->ColumnCount(); ++c) {
      EXPECT_FALSE(source->GetVariable(c)->IsString()) << c;
    }
    int wrong = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
      const double expected = std::isnan(values[i]) ? kVornMissingValue : values[i];
      const double got =
          source->GetNumber(static_cast<int>(i / columns), static_cast<int>(i % columns));
      if (bitsOf(got) == bitsOf(expected)) continue;
      if (++wrong <= 5) {
        ADD_FAILURE() << std::hex << "sent 0x" << bitsOf(values[i]) << ", read 0x" << bitsOf(got);
      }
    }
    return wrong;
  }

  hosttest::TempFolder folder_{"chartxml-roundtrip"};
};

const std::vector<double>& specials() {
  static const std::vector<double> values = {
      0.0,
      -0.0,
      Limits::infinity(),
      -Limits::infinity(),
      Limits::quiet_NaN(),
      -Limits::signaling_NaN(),
      Limits::denorm_min(),
      -Limits::denorm_min(),
      std::bit_cast<double>(std::uint64_t{0x000f'ffff'ffff'ffff}),  // largest subnormal
      Limits::min(),
      -Limits::min(),
      Limits::max(),
      Limits::lowest(),
      kVornMissingValue,
      std::nextafter(kVornMissingValue, 0.0),
      Limits::epsilon(),
      0.1,
      1e23,
      9007199254740993.0,
  };
  return values;
}

TEST_F(SinkRoundTrip, SpecialDoublesReadBackBitForBitInOneColumn) {
  // A one-column file spells a missing value as an empty line: the NaNs
  // (one of them the last row) test that path too.
  std::vector<double> values = specials();
  values.push_back(Limits::quiet_NaN());
  EXPECT_EQ(mismatches(values, 1), 0);
}

TEST_F(SinkRoundTrip, RandomBitPatternsReadBackBitForBit) {
  std::vector<double> values = specials();
  std::mt19937_64 random(0x5eed);  // fixed: a failure repeats
  while (values.size() < specials().size() + kRandomValues) {
    values.push_back(std::bit_cast<double>(random()));
  }
  while (values.size() % 4 != 0) values.push_back(1.0);
  EXPECT_EQ(mismatches(values, 4), 0);
}

TEST_F(SinkRoundTrip, TextsThatReadAsNumbersStayTexts) {
  const std::vector<std::vector<std::string>> columns = {
      {"123", "1e5", " 12 ", "-0", "+7"},
      {"inf", "-Infinity", "1e999", "nan", "0x10"},
  };
  VarDataProcessor feed;
  ASSERT_TRUE(feed.AddDataSource("s", 8));
  for (std::size_t c = 0; c < columns.size(); ++c) {
    auto* record = new VarDataProcessor::_varinfo;
    ASSERT_TRUE(feed.AddVariable("s", "t" + std::to_string(c), record));
    for (std::uint32_t row = 0; row < columns[c].size(); ++row) {
      feed.SetStringVariableValue(record, row, columns[c][row]);
    }
  }
  Source source = reopen(feed);
  ASSERT_NE(source, nullptr);
  ASSERT_EQ(source->RowCount(), 5);
  for (int c = 0; c < 2; ++c) {
    EXPECT_TRUE(source->GetVariable(c)->IsString()) << c;
    for (int row = 0; row < 5; ++row) EXPECT_EQ(source->GetString(row, c), columns[c][row]);
  }
}

}  // namespace
