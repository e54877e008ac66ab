// An instance's life leaves nothing behind: what it made for the host is
// given back when it ends, and so is the host's state when it is cleared.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
// The sanitizer's own count; its header is not installed everywhere.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_building.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/TsCellText.h"

namespace {

// Bytes the process has allocated and not freed.
std::size_t allocatedBytes() {
#if defined(__SANITIZE_ADDRESS__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return mallinfo2().uordblks;
#endif
}

// One procedure's run: charts with cell texts and sent documents, a look at
// a chart being built, then the end of the instance and a cleared host.
void procedureRound() {
  ChartXml* cx = ChartXml::Initialize();
  const std::string cell(1000, 'c');
  for (int n = 0; n < 4; ++n) {
    const int chart = cx->CreateChart();
    const int frame = cx->AddFrame(chart, 0, -1);
    for (int i = 0; i < 50; ++i) {
      cx->AddLabel(chart, frame, -1, cx->NStringNoTranslate("label " + std::to_string(i)));
      cx->ToTS(cx->NStringNoTranslate(cell + std::to_string(i)));
    }
    EXPECT_NE(std::string(cxh_chart_xml(chart)), "");
    cx->EndChart(chart);
  }
  ChartXml::Terminate();
  cxh_clear_sent();
  cxh_clear_reports();
  cxh_clear_debug();
}

TEST(Lifecycle, RoundsOfInitialiseAndTerminateDoNotGrow) {
  cxh_set_quiet(1);
  cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
  cxh_set_output_dir(nullptr);
  procedureRound();  // the first round may fill caches that stay
  EXPECT_EQ(TsCellText::Count(), 0) << "cell texts go with their instance";
  EXPECT_EQ(cxh_sent_count(), 0);
  const std::size_t after = allocatedBytes();
  procedureRound();
  procedureRound();
  // Each round makes 200 kB of cell texts and four sent documents: kept,
  // they would show many times over this allowance.
  EXPECT_LE(allocatedBytes(), after + 32 * 1024)
      << "grew from " << after << " to " << allocatedBytes() << " bytes";
}

}  // namespace
