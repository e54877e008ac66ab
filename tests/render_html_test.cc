// The HTML pages: hostile texts escaped for each place they land, nothing
// fetched from elsewhere, big charts embedded as data rather than an element
// per mark, and the same bytes on every run. (What the page's script does is
// checked in a real browser: tests/browser/page_test.py.)
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "chartxml/render.h"
#include "device/HtmlText.h"
#include "render_documents.h"

namespace {

using chartxml::ChartRenderer;
using chartxml::PictureFormat;
using rendertest::count;
using rendertest::document;
using rendertest::variable;

const std::string kScatter =
    variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true);
const std::string kScatterBody = rendertest::kAxes +
                                 "<element id=\"e\" type=\"point\"><x variable=\"vx\"/>"
                                 "<y variable=\"vy\"/><color variable=\"vg\"/></element>";
const std::string kLegend =
    "<frame id=\"frame_legend\"><legend id=\"legend_color\">"
    "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>";

// The page, or the picture of `format`, of `doc` over `csv`.
std::string page(const std::string& doc, const std::string& csv,
                 PictureFormat format = PictureFormat::kHtml) {
  ChartRenderer renderer;
  EXPECT_TRUE(renderer.loadText(doc, "test.xml", [&](const std::string&) { return csv; }))
      << renderer.error();
  return renderer.picture(format).value_or("");
}

// The text of the page's JSON data block.
std::string dataBlock(const std::string& html) {
  const std::string open = "<script type=\"application/json\" id=\"chart-data\">";
  const std::size_t from = html.find(open);
  if (from == std::string::npos) return "";
  const std::size_t start = from + open.size();
  return html.substr(start, html.find("</script>", start) - start);
}

std::vector<unsigned char> fromBase64(const std::string& text) {
  std::vector<unsigned char> out;
  std::uint32_t bits = 0;
  int held = 0;
  for (const char c : text) {
    const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const char* at = std::strchr(digits, c);
    if (c == '=' || at == nullptr) break;
    bits = bits << 6 | static_cast<std::uint32_t>(at - digits);
    held += 6;
    if (held >= 8) {
      held -= 8;
      out.push_back(static_cast<unsigned char>(bits >> held));
    }
  }
  return out;
}

TEST(HtmlText, EscapesEachContextAndEncodesBytes) {
  using chartxml::render::appendBase64;
  using chartxml::render::appendHtmlEscaped;
  using chartxml::render::appendJsonString;
  std::string html;
  appendHtmlEscaped(html, "</script>&\"'\x01\xff ok");
  EXPECT_EQ(html, "&lt;/script&gt;&amp;&quot;&#39;\xef\xbf\xbd ok");
  std::string json;
  appendJsonString(json, "</script>\"\\\n&\xe2\x80\xa8\xe2\x80\xa9\xc3");
  EXPECT_EQ(json, "\"\\u003c/script\\u003e\\\"\\\\\\n\\u0026\\u2028\\u2029\\ufffd\"");
  std::string base64;
  for (const char* text : {"foo", "fo", "f", ""}) {
    appendBase64(base64, text, std::strlen(text));
    base64 += '|';
  }
  EXPECT_EQ(base64, "Zm9v|Zm8=|Zg==||");
}

TEST(HtmlPage, ShowsHostileTextsAsTextInEveryContext) {
  const std::string hostile = "</script><script>alert(1)</script>";
  const std::string doc =
      document(variable("vx", "X", false) + variable("vy", "Y", false) +
                   "<variable id=\"vg\" label=\"&lt;b onclick=&quot;x()&quot;&gt;\" "
                   "source=\"source0\" sourceName=\"G\" categorical=\"true\"/>\n",
               kScatterBody, kLegend);
  const std::string html = page(doc, "X,Y,G\n1,2,\"" + hostile + "\"\n2,3,\"a\xe2\x80\xa8z\"\n");
  ASSERT_FALSE(html.empty());
  // Only our two script elements, each closed once.
  EXPECT_EQ(count(html, "<script>"), 1u);
  EXPECT_EQ(count(html, "<script"), count(html, "</script>"));
  EXPECT_EQ(count(html, "<script") - 1,
            count(html, "<script type=\"application/json\"") +
                count(html, "<script type=\"application/octet-stream\""));
  EXPECT_EQ(count(html, "onclick=\""), 0u);
  // In the drawing (legend text) and the description: entities.
  EXPECT_NE(html.find("&lt;/script&gt;&lt;script&gt;alert(1)&lt;/script&gt;"), std::string::npos);
  // In the data: \u escapes, the line separator too.
  const std::string data = dataBlock(html);
  EXPECT_NE(data.find("\\u003c/script\\u003e\\u003cscript\\u003ealert(1)"), std::string::npos);
  EXPECT_NE(data.find("a\\u2028z"), std::string::npos);
  EXPECT_EQ(data.find('<'), std::string::npos);
  EXPECT_EQ(data.find("\xe2\x80\xa8"), std::string::npos);
}

TEST(HtmlPage, WritesWholeOrNothing) {
  const std::filesystem::path dir = std::filesystem::temp_directory_path() / "chartxml-html-test";
  std::filesystem::remove_all(dir);
  std::filesystem::create_directories(dir);
  ChartRenderer renderer;
  ASSERT_TRUE(renderer.loadText(document(kScatter, kScatterBody), "test.xml",
                                [](const std::string&) { return "X,Y,G\n1,2,a\n"; }));
  EXPECT_FALSE(renderer.write((dir / "missing" / "chart.html").string()));
  EXPECT_NE(renderer.error().find("missing/chart.html"), std::string::npos) << renderer.error();
  ASSERT_TRUE(renderer.write((dir / "chart.HTM").string())) << renderer.error();
  std::size_t files = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir)) ++files;
  EXPECT_EQ(files, 1u);  // no temporary left behind
  EXPECT_EQ(chartxml::pictureFormatOf("a.html"), PictureFormat::kHtml);
  std::filesystem::remove_all(dir);
}

TEST(HtmlPage, IsSelfContainedAndTheSameTwice) {
  const std::string doc = document(kScatter, kScatterBody, kLegend);
  const std::string csv = "X,Y,G\n1,2,a\n2,3,b\n3,1,a\n";
  const std::string html = page(doc, csv);
  ASSERT_FALSE(html.empty());
  EXPECT_EQ(html, page(doc, csv));
  // The SVG namespace names, it does not fetch; nothing else leaves the page.
  const std::string rest = std::regex_replace(html, std::regex("http://www.w3.org/2000/svg"), "");
  EXPECT_EQ(rest.find("http:"), std::string::npos);
  EXPECT_EQ(rest.find("https:"), std::string::npos);
  EXPECT_EQ(rest.find(" src="), std::string::npos);
  EXPECT_EQ(rest.find("@import"), std::string::npos);
  // Legend entries name their group; the points are the script's to draw.
  EXPECT_EQ(count(html, "class=\"legend-entry\" data-group="), 2u);
  EXPECT_EQ(count(html, "data-batch=\"0\""), 1u);
  EXPECT_NE(html.find("<figcaption id=\"chart-text\">Scatter plot"), std::string::npos);
}

// Each kind of mark tells what it stands for, worked out from the data by
// hand, and names its legend group so that the page can hide it.
TEST(HtmlPage, EveryKindOfMarkCarriesItsValuesAndGroup) {
  const std::string categories = variable("vc", "C", true) + variable("vy", "Y", false);
  const auto body = [](const std::string& element) {
    return rendertest::kAxes + "<element id=\"e\" " + element + "<x variable=\"vc\"/>" +
           "<y variable=\"vy\"/><color variable=\"vc\"/></element>";
  };
  std::string boxData = "C,Y\n";
  for (const int v : {1, 2, 3, 4, 5, 6, 7, 8, 9, 20, 30})
    boxData += "a," + std::to_string(v) + "\n";
  const struct {
    const char* kind;
    std::string doc, csv;
    std::vector<std::string> tips;
  } cases[] = {
      {"bars",
       document(categories, body("type=\"interval\"><statistic method=\"mean\"/>")),
       "C,Y\nlow,1\nlow,2\nhigh,10\n",
       {"<path class=\"mark bar\" data-group=\"1\" data-tip=\"vc: low&#10;Mean of vy: "
        "1.5\"",
        "vc: high&#10;Mean of vy: 10\""}},
      // 1..9, 20, 30: hinges 3.5 and 8.5, median 6, whiskers 1 and 9, one
      // outlier (20) and one extreme (30).
      {"boxes",
       document(categories, body("type=\"schema\">")),
       boxData,
       {"<path class=\"mark box\" data-group=\"0\" data-tip=\"vc: a&#10;Median of vy: "
        "6&#10;Quartiles: 3.5 to 8.5&#10;Whiskers: 1 to 9&#10;Outliers: 1&#10;Extremes: 1\"",
        "class=\"mark whisker\" data-group=\"0\"", "class=\"mark box-median\" data-group=\"0\"",
        "class=\"mark outlier\" data-group=\"0\"", "class=\"mark extreme\" data-group=\"0\""}},
      // 4 and 6: mean 5, standard error 1, twice that either way.
      {"error bars",
       document(categories, body("type=\"interval\"><statistic method=\"meanSE\">"
                                 "<parameter name=\"multiplier\" value=\"2\"/></statistic>")),
       "C,Y\na,4\na,6\n",
       {"<path class=\"mark error-bar\" data-group=\"0\" data-tip=\"vc: a&#10;Mean of "
        "vy: 5&#10;Interval: 3 to 7\"",
        "<g class=\"mark error-mean\" data-group=\"0\" data-tip=\"vc: a&#10;Mean of vy: "
        "5&#10;Interval: 3 to 7\""}},
      // x 1 and y 3 of 4: a quarter and three quarters.
      {"slices",
       rendertest::pie(variable("vc", "C", true) + variable("vv", "V", false)),
       "C,V\nx,1\ny,2\ny,1\n",
       {"data-group=\"0\" data-tip=\"vc: x&#10;Sum of vv: 1&#10;Share: 25.0%\"",
        "data-group=\"1\" data-tip=\"vc: y&#10;Sum of vv: 3&#10;Share: 75.0%\""}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.kind);
    const std::string html = page(c.doc, c.csv);
    for (const std::string& tip : c.tips) EXPECT_NE(html.find(tip), std::string::npos) << tip;
  }
}

// A line's points are hover targets of its page, carrying their values,
// and nothing of them is drawn in a picture.
TEST(HtmlPage, LinePointsAreHoverTargetsOnlyInThePage) {
  const std::string doc = document(variable("vx", "X", false) + variable("vy", "Y", false),
                                   rendertest::kAxes +
                                       "<element id=\"e\" type=\"line\"><x variable=\"vx\"/>"
                                       "<y variable=\"vy\"/></element>");
  const std::string csv = "X,Y\n1,2\n2,5\n3,4\n";
  const std::string data = dataBlock(page(doc, csv));
  EXPECT_NE(data.find("\"count\":3"), std::string::npos) << data;
  EXPECT_NE(data.find("\"title\":\"vy\""), std::string::npos) << data;
  const std::string svg = page(doc, csv, PictureFormat::kSvg);
  EXPECT_NE(svg.find("mark line"), std::string::npos);
  EXPECT_EQ(svg.find("mark vertex"), std::string::npos);
  EXPECT_EQ(count(svg, "<circle"), 0u);
}

// A renderer told that no page will be drawn keeps no cases, and says so
// when a page is asked all the same; pictures are drawn as ever.
TEST(HtmlPage, IsRefusedWhenTheCasesWereNotKept) {
  chartxml::RenderOptions options;
  options.pageCases = false;
  ChartRenderer renderer(options);
  ASSERT_TRUE(renderer.loadText(document(kScatter, kScatterBody), "test.xml",
                                [](const std::string&) { return "X,Y,G\n1,2,a\n"; }));
  EXPECT_FALSE(renderer.picture(PictureFormat::kHtml));
  EXPECT_NE(renderer.error().find("without its cases"), std::string::npos) << renderer.error();
  EXPECT_TRUE(renderer.picture(PictureFormat::kPng)) << renderer.error();
}

TEST(HtmlPage, BigChartsEmbedCompactDataNotAnElementPerMark) {
  constexpr int kPoints = 20000;
  std::string csv = "X,Y,G\n";
  for (int i = 0; i < kPoints; ++i) {
    csv += std::to_string(i * 0.25) + "," + std::to_string((i * 7919) % 1000) + "," +
           (i % 3 == 0 ? "a" : "b") + "\n";
  }
  const std::string html = page(document(kScatter, kScatterBody, kLegend), csv);
  ASSERT_FALSE(html.empty());
  EXPECT_EQ(count(html, "<circle"), 2u);  // the legend's keys alone
  EXPECT_NE(html.find("\"elements\":false"), std::string::npos);
  EXPECT_LT(html.size(), 60000u + 20u * kPoints);
  // The x column, decoded, holds each case's value in data order.
  const std::string data = dataBlock(html);
  const std::string head = "\"values\":{\"type\":\"f32\",\"base\":0,\"blob\":";
  const std::size_t column = data.find("\"title\":\"vx\"");
  ASSERT_NE(column, std::string::npos);
  const std::size_t start = data.find(head, column);
  ASSERT_NE(start, std::string::npos);
  const int blob = std::stoi(data.substr(start + head.size()));
  const std::string open = "id=\"chart-blob-" + std::to_string(blob) + "\">";
  const std::size_t from = html.find(open) + open.size();
  ASSERT_GT(from, open.size());
  const std::vector<unsigned char> bytes =
      fromBase64(html.substr(from, html.find('<', from) - from));
  ASSERT_EQ(bytes.size(), 4u * kPoints);
  for (int i : {0, 1, 777, kPoints - 1}) {
    float value = 0;
    std::memcpy(&value, bytes.data() + 4 * i, 4);
    EXPECT_EQ(value, static_cast<float>(i * 0.25)) << i;
  }
}

}  // namespace
