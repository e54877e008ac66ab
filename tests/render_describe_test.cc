// What a chart says to a reader who cannot see it (its description, in the
// SVG, the PDF and through the C functions), and texts in scripts beyond
// Latin: CJK drawn with a font that has them, Arabic and Hebrew from the
// right.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "chartxml/render.h"
#include "render_documents.h"
#include "text/TextEngine.h"

namespace {

using chartxml::PictureFormat;

std::string document(const std::string& variables, const std::string& body,
                     const std::string& title = "") {
  return "<visualization><source id=\"source0\"/>" + variables +
         "<frame id=\"frame_graph_1\"><frame id=\"frame_data_1\">"
         "<dimension role=\"x\"><axis id=\"ax\"/></dimension>"
         "<dimension role=\"y\"><axis id=\"ay\"/></dimension>" +
         body + "</frame>" +
         (title.empty() ? ""
                        : "<frame id=\"frame_title_1\"><label id=\"label_title_1\">" + title +
                              "</label></frame>") +
         "</frame></visualization>";
}

std::string variable(const std::string& id, const std::string& column, bool categorical,
                     const std::string& inner = "", const std::string& label = "") {
  return "<variable id=\"" + id + "\" label=\"" + (label.empty() ? id + " label" : label) +
         "\" source=\"source0\" sourceName=\"" + column + "\" categorical=\"" +
         (categorical ? "true" : "false") + "\">" + inner + "</variable>";
}

class Describe : public ::testing::Test, public rendertest::Drawn {};

TEST_F(Describe, ScatterNamesVariablesRangesCasesGroupsAndLines) {
  const std::string xml =
      document(variable("vx", "X", false, "", "R&amp;D spend") + variable("vy", "Y", false) +
                   variable("vg", "G", true),
               "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
               "<color variable=\"vg\"/></element>"
               "<guide id=\"fit\" type=\"function\" name=\"Linear fit line\">"
               "<parameter name=\"y\" value=\"2.000012345678+0.5*log10(x)\"/></guide>"
               "<guide id=\"ref\" type=\"line\"><parameter name=\"y\" value=\"4\"/></guide>",
               "Spend");
  // Six rows; one lacks y and one its group: four cases, x 0.5..4, y
  // -1.25..6, a once and b three times. The fit's long coefficient is cut
  // to four significant digits (2.000), and shown as 2; log10 stays whole.
  const std::string csv = "X,Y,G\n0.5,2,a\n1,3,b\n2.5,-1.25,b\n4,6,b\n3,,a\n5,5,\n";
  ASSERT_TRUE(load(xml, csv)) << renderer.error();
  const std::string expected =
      "Scatter plot of vy label by R&D spend, 4 cases. R&D spend runs from 0.5 to 4; vy label "
      "from -1.25 to 6. Points are coloured by vg label: a (1 case), b (3 cases). A linear fit "
      "line: y = 2+0.5*log10(x). A reference line marks vy label = 4.";
  EXPECT_EQ(renderer.description(), expected);

  // The SVG names itself by its title and describes itself by the same
  // paragraph, escaped.
  const std::string picture = svg();
  EXPECT_NE(picture.find("role=\"img\" aria-labelledby=\"chart-title chart-desc\""),
            std::string::npos);
  EXPECT_NE(picture.find("<title id=\"chart-title\">Spend</title>"), std::string::npos);
  EXPECT_NE(picture.find("<desc id=\"chart-desc\">Scatter plot of vy label by R&amp;D spend, 4 "
                         "cases. R&amp;D spend runs"),
            std::string::npos)
      << picture.substr(0, 800);
  // The PDF carries it as its subject, a UTF-16 string in hex.
  const std::string pdf = renderer.picture(PictureFormat::kPdf).value_or("");
  std::string subject = "/Subject <FEFF";
  for (const char c : expected) {
    char unit[8];
    std::snprintf(unit, sizeof unit, "%04X", static_cast<unsigned char>(c));
    subject += unit;
  }
  EXPECT_NE(pdf.find(subject + ">"), std::string::npos);

  // The C functions keep the last call's description, and drop it on failure.
  const std::string dir = ::testing::TempDir();
  std::ofstream(dir + "describe.xml") << xml;
  std::ofstream(dir + "describe.source0.csv") << csv;
  ASSERT_EQ(cxr_render_file((dir + "describe.xml").c_str(), nullptr, (dir + "describe.svg").c_str(),
                            nullptr),
            0)
      << cxr_error();
  EXPECT_EQ(std::string(cxr_description()), expected);
  EXPECT_EQ(
      cxr_render_file((dir + "missing.xml").c_str(), nullptr, (dir + "m.svg").c_str(), nullptr),
      -1);
  EXPECT_EQ(std::string(cxr_description()), "");
}

TEST_F(Describe, SummariesDatesAndPanelsAreWrittenAsTheChartShowsThem) {
  const std::string pie = rendertest::pie(variable("vc", "C", true) + variable("vv", "V", false));
  const std::string money =
      "<meta><numberFormat prefix=\"$\" useGrouping=\"true\" maximumFractionDigits=\"2\" "
      "minimumFractionDigits=\"2\"/></meta>";
  struct Case {
    std::string xml, csv, said;
  };
  const std::vector<Case> cases{
      // Means: a (4 + 6) / 2 = 5, b 10, c -2; four cases.
      {document(variable("vc", "C", true) + variable("vy", "Y", false),
                "<element id=\"e\" type=\"interval\"><statistic method=\"mean\"/>"
                "<x variable=\"vc\"/><y variable=\"vy\"/></element>"),
       "C,Y\na,4\na,6\nb,10\nc,-2\n",
       "Bar chart of the mean of vy label by vc label, 4 cases. Mean of vy label runs from -2 to "
       "10. vc label has 3 categories: a, b and c. Bar values: a (5), b (10) and c (-2)."},
      // Bins [0, .25) [.25, .5) [.5, .75]: 2, 1 and 2 cases.
      {document(variable("vx", "X", false),
                "<element id=\"e\" type=\"interval\"><statistic method=\"histogram\">"
                "<parameter name=\"bin-width\" value=\"0.25\"/></statistic>"
                "<x variable=\"vx\"/></element>"),
       "X\n0\n0.1\n0.3\n0.74\n0.75\n",
       "Histogram of vx label, 5 cases. vx label runs from 0 to 0.75 in bins 0.25 wide; the "
       "fullest bin holds 2 cases."},
      // Sums: w 0, x 1, y 2 + 1 = 3, z nothing; of 4 in all x is 25%, y 75%.
      // Every row has its category: five cases.
      {pie, "C,V\nx,1\ny,2\ny,1\nz,\nw,0\n",
       "Pie chart of the sum of vv label by vc label, 5 cases. Slices: x (1, 25%) and y (3, 75%)."},
      // 1 January 1960, 1980 and 2000 in seconds since 14 October 1582 (1980:
      // 7305 days, five of them leap days, after 1960).
      {document(
           variable("vd", "D", false, "<meta><dateTimeFormat pattern=\"dd-MMM-yyyy\"/></meta>") +
               variable("vy", "Y", false, money),
           "<element id=\"e\" type=\"line\"><x variable=\"vd\"/><y variable=\"vy\"/></element>"),
       "D,Y\n11903760000,1000\n12534912000,2500\n13166064000,5000\n",
       "Line chart of vy label by vd label, 3 cases. vd label runs from 01-Jan-1960 to "
       "01-Jan-2000; vy label from $1,000.00 to $5,000.00."},
      // Two cases in panel 1, one in panel 2: the ranges span both.
      {document(variable("vx", "X", false) + variable("vy", "Y", false) +
                    variable("vp", "P", true, "<relabel from=\"1\" to=\"First\"/>"),
                "<coordinateFacet><facetVariable role=\"x\" variable=\"vp\"/></coordinateFacet>"
                "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                "</element>"),
       "X,Y,P\n1,10,1\n2,20,1\n3,15,2\n",
       "Scatter plot of vy label by vx label, 3 cases. vx label runs from 1 to 3; vy label from 10 "
       "to 20. Drawn in 2 panels, one for each vp label: First and 2."},
  };
  for (const Case& c : cases) {
    ASSERT_TRUE(load(c.xml, c.csv)) << renderer.error();
    EXPECT_EQ(renderer.description(), c.said);
  }
  // An untitled chart's SVG is named by the description's first sentence.
  ASSERT_TRUE(load(cases[0].xml, cases[0].csv)) << renderer.error();
  EXPECT_NE(svg().find("<title id=\"chart-title\">Bar chart of the mean of vy label by vc label, "
                       "4 cases</title>"),
            std::string::npos)
      << svg().substr(0, 600);
}

// ---- Texts in other scripts ----

TEST(Scripts, EveryScriptHasItsGlyphsAndItsDirection) {
  chartxml::render::TextEngine engine;
  const chartxml::render::Font font{16, true};
  struct Case {
    const char* text;
    bool rightToLeft;
  };
  const Case cases[] = {
      {"\u6771\u4EAC\u306E\u6C17\u6E29", false},                    // Japanese: Tokyo's temperature
      {"\u5317\u4EAC\u5929\u6C14", false},                          // Chinese: Beijing weather
      {"\uC11C\uC6B8 \uB0A0\uC528", false},                         // Korean: Seoul weather
      {"\u0645\u0631\u062D\u0628\u0627 2024", true},                // Arabic, then a number
      {"\u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD", true},  // Hebrew
  };
  for (const Case& c : cases) {
    EXPECT_FALSE(engine.measure(c.text, font).missingGlyphs) << c.text;
    const auto& lines = engine.lines(c.text, font, 0.5);
    ASSERT_EQ(lines.size(), 1u) << c.text;
    EXPECT_EQ(lines[0].rightToLeft, c.rightToLeft) << c.text;
  }
}

class RightToLeft : public Describe {
 protected:
  std::string titled(const std::string& title) {
    return document(variable("vx", "X", false) + variable("vy", "Y", false),
                    "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                    "</element>",
                    title);
  }
};

TEST_F(RightToLeft, AHebrewTextStartsAtItsRightEnd) {
  // Two footnotes that differ in their first (logical) letter only, bet and
  // kaf. A footnote is set from the left margin (x 14): read from the right,
  // the rest of the text comes first and keeps its pixels, and the pixels
  // that differ lie past it.
  const std::string rest = "\u05D2\u05D3\u05D4\u05D5\u05D6";
  chartxml::render::TextEngine engine;
  const double restWidth = engine.measure(rest, {11, false}).width;
  std::vector<std::string> pngs;
  for (const std::string first : {"\u05D1", "\u05DB"}) {
    const std::string xml =
        std::regex_replace(titled(""), std::regex("</frame></visualization>$"),
                           "<frame id=\"frame_footnote_1\"><label id=\"label_footnote_1\">" +
                               first + rest + "</label></frame></frame></visualization>");
    ASSERT_TRUE(load(xml, "X,Y\n1,1\n2,2\n")) << renderer.error();
    pngs.push_back(png());
  }
  const rendertest::Image one(pngs[0]), other(pngs[1]);
  ASSERT_TRUE(one.width == 800 && other.width == 800 && one.height >= 600);
  int leftmost = 800, rightmost = -1;
  for (int y = 540; y < 600; ++y) {
    for (int x = 0; x < 800; ++x) {
      if (one.rgb(x, y) != other.rgb(x, y)) {
        leftmost = std::min(leftmost, x);
        rightmost = std::max(rightmost, x);
      }
    }
  }
  ASSERT_GE(rightmost, 0) << "the footnotes look alike";
  EXPECT_GE(leftmost, static_cast<int>(14 + restWidth) - 1)
      << "the first letter is drawn at the right end";

  // The SVG says the direction and anchors a centred title at its right
  // end, right of the centre (x 400); a Latin title starts left of it.
  const auto left = [&](const std::string& title, const std::string& direction) {
    EXPECT_TRUE(load(titled(title), "X,Y\n1,1\n2,2\n")) << renderer.error();
    const auto x = rendertest::matches(
        svg(), "<text class=\"title\"[^>]*" + direction + "[^>]*><tspan x=\"([0-9.]+)\"");
    return x.size() == 1 ? std::stod(x[0]) : std::nan("");
  };
  EXPECT_GT(left("\u05D1" + rest, " direction=\"rtl\""), 400);
  EXPECT_LT(left("Latin", ""), 400);
  EXPECT_EQ(svg().find("direction="), std::string::npos);
}

}  // namespace
