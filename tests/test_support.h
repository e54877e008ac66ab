// Shared fixture of the library suites: a fresh instance per test, English
// string tables from the source tree, reports collected quietly.
#ifndef CHARTXML_TESTS_TEST_SUPPORT_H_
#define CHARTXML_TESTS_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <xercesc/dom/DOMDocument.hpp>
#include <xercesc/dom/DOMElement.hpp>

#include "chartxml/ChartXml.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/VORN_DataSource.h"

namespace cxtest {

struct Report {
  std::string message;
  std::string source;
  int line;
};

inline std::vector<Report> reports() {
  std::vector<Report> out;
  for (int i = 0; i < cxh_report_count(); ++i) {
    out.push_back({cxh_report_message(i), cxh_report_source(i), cxh_report_line(i)});
  }
  return out;
}

inline std::vector<std::string> messages() {
  std::vector<std::string> out;
  for (const Report& r : reports()) out.push_back(r.message);
  return out;
}

inline std::vector<std::string> debugLines() {
  std::vector<std::string> out;
  for (int i = 0; i < cxh_debug_count(); ++i) out.push_back(cxh_debug_line(i));
  return out;
}

inline std::string utf8(const XMLCh* text) {
  return text == nullptr ? std::string() : ChartString::toUTF8(std::u16string_view(text));
}

// A CSV data source; handles of the host are dictionaries.
inline VORN_DataSource* openCsv(const char* path) {
  return static_cast<VORN_DataSource*>(static_cast<VORN_FortranDictionary*>(cxh_open_csv(path)));
}

// A fresh folder of this test's own (ctest runs tests side by side),
// removed when the test process ends.
std::string scratchDir(const std::string& stem);

inline std::u16string widen(const std::string& ascii) {
  return std::u16string(ascii.begin(), ascii.end());
}

// The attribute's value as UTF-8.
inline std::string attr(const xercesc::DOMElement* e, const char16_t* name) {
  return utf8(e->getAttribute(name));
}

// Tags of the element's child elements, in order, joined by blanks.
std::string childTags(const xercesc::DOMElement* parent);

class FacadeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    cxh_set_quiet(1);
    cxh_set_language("en");
    cxh_set_string_tables(CHARTXML_SOURCE_STRINGS_DIR);
    cxh_set_code_page(nullptr);
    cxh_set_bootstrapping(0);
    cxh_clear_reports();
    cxh_clear_debug();
    cx = ChartXml::Initialize();
  }
  void TearDown() override {
    ChartXml::Terminate();
    cxh_set_language(nullptr);
  }

  // A new chart; fails the test if none could be made.
  int newChart() {
    const int chart = cx->CreateChart();
    EXPECT_GE(chart, 0);
    return chart;
  }
  int str(const std::string& text) { return cx->NStringNoTranslate(text); }
  xercesc::DOMElement* root(int chart) { return cx->getChart(chart)->getDocumentElement(); }
  // The element with this id in the chart's document.
  xercesc::DOMElement* byId(int chart, const std::u16string& id) {
    return cx->getChart(chart)->getElementById(id.c_str());
  }

  // The element of `chart` under `handle`, found through the facade's reverse
  // look-up; null when none.
  xercesc::DOMElement* elementAt(int chart, int handle);

  ChartXml* cx = nullptr;
};

// A chart tied to the people.csv data source, with one `source` element.
class SourcedChartTest : public FacadeTest {
 protected:
  void SetUp() override {
    FacadeTest::SetUp();
    source = openCsv(CHARTXML_TEST_DATA_DIR "/people.csv");
    ASSERT_NE(source, nullptr);
    chart = newChart();
    cx->SetDataSource(chart, source);
    sourceElement = cx->AddSource(chart);
  }
  void TearDown() override {
    FacadeTest::TearDown();  // the instance goes first: the source is the host's
    cxh_close(source);
  }
  xercesc::DOMElement* element(int handle) { return elementAt(chart, handle); }
  std::string xml() { return cx->GetXmlBuffer(chart); }

  VORN_DataSource* source = nullptr;
  int chart = -1;
  int sourceElement = -1;
};

using Messages = std::vector<std::string>;

}  // namespace cxtest

#endif  // CHARTXML_TESTS_TEST_SUPPORT_H_
