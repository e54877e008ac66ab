// The host's check of a chart document: well-formedness, the chart schema
// and the references, each fault found at its line.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/DocumentCheck.h"

namespace cxhost {
bool operator==(const CheckFinding& a, const CheckFinding& b) {
  return a.line == b.line && a.column == b.column && a.message == b.message;
}
}  // namespace cxhost

namespace {

using cxhost::CheckFinding;

// A small valid chart, one part per line so that a fault planted on a line
// is reported there: line 1 is the declaration, 2 the document element.
const std::vector<std::string> kChart = {
    R"(<?xml version="1.0" encoding="UTF-8"?>)",
    R"(<visualization>)",
    R"(<source id="source0"><otherAccess type="object"/></source>)",
    R"(<variable categorical="false" id="v1" label="x" source="source0"/>)",
    R"(<variable categorical="true" id="v2" label="g" source="source0"/>)",
    R"(<domain categorical="false" id="d1"/>)",
    R"(<frame id="f1" style="s1">)",
    R"(<dimension domain="d1" lowerMargin="5%" role="x"/>)",
    R"(<element id="e1" style="s1" type="point">)",
    R"(<x variable="v1"/><styleBy id="sb1" styleCycle="cyc" variable="v2"/>)",
    R"(</element>)",
    R"(<legend id="l1" style="s1"><legendTarget aesthetic="color" element="e1" id="t1"/></legend>)",
    R"(</frame>)",
    R"(<style id="container"><style id="s1"/></style>)",
    R"(<styleCycle id="cyc"><cycle><style id="cs"/></cycle></styleCycle>)",
    R"(</visualization>)",
};

// kChart with line `line` (1-based) replaced.
std::string chartWith(std::size_t line, const std::string& text) {
  std::string xml;
  for (std::size_t i = 0; i < kChart.size(); ++i) xml += (i + 1 == line ? text : kChart[i]) + "\n";
  return xml;
}

std::vector<CheckFinding> check(const std::string& xml, bool schema = true) {
  return cxhost::checkChartDocument(xml, {schema ? cxhost::shippedSchemaPath() : "", true});
}

std::string describe(const std::vector<CheckFinding>& findings) {
  std::string all;
  for (const auto& f : findings) {
    all += std::to_string(f.line) + ":" + std::to_string(f.column) + ": " + f.message + "\n";
  }
  return all;
}

TEST(HostCheck, HostileInputIsRefusedBeforeTheSchemaIsConsulted) {
  std::string nested = "<visualization>";
  for (int i = 0; i < 600; ++i) nested += "<frame id=\"f" + std::to_string(i) + "\">";
  const struct {
    std::string xml;
    std::string message;
  } cases[] = {
      {"<!DOCTYPE v [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><visualization>&e;</visualization>",
       "DOCTYPE is not allowed"},
      {"<?xml version=\"2.0\"?><visualization/>", "unsupported XML version"},
      {"<visualization><frame></visualization>", "not well formed"},
      {"", "not well formed"},
      {nested, "nest deeper than 512"},
  };
  for (const auto& c : cases) {
    const auto findings = check(c.xml);
    ASSERT_EQ(findings.size(), 1u) << describe(findings);
    EXPECT_NE(findings[0].message.find(c.message), std::string::npos) << findings[0].message;
  }
  // The 513th frame opens on line 1, after 15 + 512 frames' start tags.
  EXPECT_EQ(check(nested)[0].line, 1u);
}

TEST(HostCheck, AMissingSchemaIsAFindingWithoutAPlace) {
  const auto findings = cxhost::checkChartDocument(chartWith(0, ""), {"/no/such/chart.xsd", true});
  ASSERT_EQ(findings.size(), 1u) << describe(findings);
  EXPECT_EQ(findings[0].line, 0u);
  EXPECT_EQ(findings[0].message,
            "cannot read the chart schema /no/such/chart.xsd: No such file or directory");
}

// Each planted fault is found on its line, and nothing else is found.
TEST(HostCheck, EachPlantedFaultIsFoundOnItsLine) {
  ASSERT_EQ(check(chartWith(0, "")), std::vector<CheckFinding>{})
      << describe(check(chartWith(0, "")));
  const struct {
    std::size_t line;
    std::string text;
    std::string message;
  } cases[] = {
      // The schema: vocabulary, value types, places.
      {9, R"(<element id="e1" style="s1" type="point"><glyph/>)", "glyph"},
      {9, R"(<element id="e1" style="s1" type="bubble">)", "bubble"},
      {8, R"(<dimension domain="d1" lowerMargin="five" role="x"/>)", "five"},
      {8, R"(<dimension domain="d1" role="w"/>)", "'w'"},
      {4, R"(<variable categorical="maybe" id="v1" label="x" source="source0"/>)", "maybe"},
      {13, R"(<x variable="v1"/></frame>)", "'x'"},
      {6, R"(<domain categorical="false" id="v1"/>)", "v1"},  // an id used twice
      // The references, one of each kind.
      {10, R"(<x variable="v9"/><styleBy id="sb1" styleCycle="cyc" variable="v2"/>)",
       "dangling reference: variable=\"v9\" of <x>"},
      {10, R"(<x variable="d1"/><styleBy id="sb1" styleCycle="cyc" variable="v2"/>)",
       "wrong reference: variable=\"d1\" of <x> names a <domain>, not a variable"},
      {4, R"(<variable categorical="false" id="v1" label="x" source="d1"/>)",
       "source=\"d1\" of <variable> names a <domain>, not a source or variable"},
      {8, R"(<dimension domain="f1" role="x"/>)", "names a <frame>, not a domain or variable"},
      {7, R"(<frame id="f1" style="cs">)",
       "style=\"cs\" of <frame> names a <style>, not a style of the style container"},
      {10, R"(<x variable="v1"/><styleBy id="sb1" styleCycle="s1" variable="v2"/>)",
       "styleCycle=\"s1\" of <styleBy> names a <style>, not a styleCycle"},
      {12, R"(<legend id="l1" style="s1"><legendTarget element="v1" id="t1"/></legend>)",
       "element=\"v1\" of <legendTarget> names a <variable>, not an element"},
  };
  for (const auto& c : cases) {
    const auto findings = check(chartWith(c.line, c.text));
    ASSERT_FALSE(findings.empty()) << c.text;
    EXPECT_EQ(findings[0].line, c.line) << describe(findings);
    EXPECT_NE(findings[0].message.find(c.message), std::string::npos) << describe(findings);
  }
}

TEST(HostCheck, WithoutTheSchemaOnlyReferencesAreChecked) {
  // An unknown element passes; a dangling reference does not.
  EXPECT_TRUE(check(chartWith(11, "<glyph/></element>"), false).empty());
  EXPECT_EQ(check(chartWith(10, R"(<x variable="v9"/>)"), false).size(), 1u);
}

// The C entry point reports each finding and counts them.
TEST(HostCheck, TheCEntryPointReportsEachFinding) {
  cxh_set_quiet(1);
  cxh_clear_reports();
  EXPECT_EQ(cxh_check_xml(nullptr, 1), -1);
  EXPECT_EQ(cxh_check_xml(chartWith(0, "").c_str(), 1), 0);
  EXPECT_EQ(cxh_check_xml(chartWith(10, R"(<x variable="v9"/><y variable="v8"/>)").c_str(), 1), 2);
  ASSERT_EQ(cxh_report_count(), 2);
  EXPECT_EQ(std::string(cxh_report_message(0)).rfind("10:", 0), 0u) << cxh_report_message(0);
  cxh_clear_reports();
}

}  // namespace
