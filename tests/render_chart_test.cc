// Whole charts drawn from documents as the host is sent them: what the SVG
// holds (marks, tick labels, legend entries, titles), where the PNG's
// pixels fall, and how bad documents and data are refused.
#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "chartxml/render.h"
#include "render_documents.h"

namespace {

using chartxml::ChartRenderer;
using chartxml::PictureFormat;
using rendertest::pixel;

// A document of one data frame around `body` (dimensions, elements,
// guides), with `variables` and optional legend and title.
std::string document(const std::string& variables, const std::string& body,
                     const std::string& extra = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization>\n"
         "<source id=\"source0\"/>\n" +
         variables + "<frame id=\"frame_graph_1\">\n<frame id=\"frame_data_1\">\n" + body +
         "</frame>\n<frame id=\"frame_title_1\"><label id=\"label_title_1\">The title</label>"
         "</frame>\n" +
         extra + "</frame>\n</visualization>\n";
}

std::string variable(const std::string& id, const std::string& column, bool categorical,
                     const std::string& inner = "") {
  return "<variable id=\"" + id + "\" label=\"" + id + " label\" source=\"source0\" sourceName=\"" +
         column + "\" categorical=\"" + (categorical ? "true" : "false") + "\">" + inner +
         "</variable>\n";
}

const std::string kAxes =
    "<dimension role=\"x\" lowerMargin=\"5%\" upperMargin=\"5%\"><axis id=\"axis_x\">"
    "<majorTicks/></axis></dimension>\n"
    "<dimension role=\"y\" lowerMargin=\"5%\" upperMargin=\"5%\"><axis id=\"axis_y\">"
    "<majorTicks/></axis></dimension>\n";

std::size_t count(const std::string& text, const std::string& piece) {
  std::size_t n = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
    ++n;
  }
  return n;
}

// The texts of the <text> elements of class `role`, in document order.
std::vector<std::string> texts(const std::string& svg, const std::string& role) {
  std::vector<std::string> out;
  const std::regex pattern("<text class=\"" + role + "\"[^>]*>(.*?)</text>");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), pattern);
       it != std::sregex_iterator(); ++it) {
    // Lines are tspans; a one-line text is one.
    out.push_back(std::regex_replace((*it)[1].str(), std::regex("<[^>]*>"), ""));
  }
  return out;
}

// The y of each tick of the left axis, in label order: "M<x> <y>L...".
std::vector<double> tickRows(const std::string& svg) {
  std::vector<double> out;
  const std::regex pattern("<path class=\"tick y\" d=\"M[-0-9.]+ ([-0-9.]+)");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), pattern);
       it != std::sregex_iterator(); ++it) {
    out.push_back(std::stod((*it)[1].str()));
  }
  return out;
}

class RenderChart : public ::testing::Test {
 protected:
  // Loads `xml` with `csv` as source0's data.
  bool load(const std::string& xml, const std::string& csv) {
    return renderer.loadText(xml, "test.xml", [csv](const std::string& source) {
      return source == "source0" ? std::optional<std::string>(csv) : std::nullopt;
    });
  }
  std::string svg() { return renderer.picture(PictureFormat::kSvg).value_or(""); }

  ChartRenderer renderer;
};

TEST_F(RenderChart, RefusesWhatIsNotAChartOrHasNoUsableData) {
  EXPECT_FALSE(load("<html><body/></html>", ""));
  EXPECT_EQ(renderer.error(),
            "test.xml: not a chart document: its root element is <html>, not <visualization>");
  EXPECT_FALSE(load("<visualization><frame></visualization>", ""));
  EXPECT_NE(renderer.error().find("test.xml: XML is not well-formed at line 1"), std::string::npos)
      << renderer.error();
  EXPECT_FALSE(
      load("<!DOCTYPE v [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><visualization/>", ""));
  EXPECT_NE(renderer.error().find("DOCTYPE"), std::string::npos) << renderer.error();
  EXPECT_FALSE(load("<?xml version=\"1.5\"?><visualization/>", ""));
  EXPECT_EQ(renderer.error(),
            "test.xml: XML version \"1.5\" is not supported: a chart document is XML 1.0 or 1.1");
  EXPECT_FALSE(renderer.picture(PictureFormat::kPng)) << "a refused chart leaves nothing to draw";

  const std::string xy = document(variable("vx", "X", false) + variable("vy", "Y", false),
                                  kAxes +
                                      "<element id=\"e\" type=\"point\"><x variable=\"vx\"/>"
                                      "<y variable=\"vy\"/></element>");
  EXPECT_FALSE(renderer.loadText(xy, "test.xml", [](const std::string&) { return std::nullopt; }));
  EXPECT_EQ(renderer.error(),
            "test.xml (data source source0): not found (the data of source "
            "'source0' of test.xml)");
  EXPECT_FALSE(load(xy, "X,Z\n1,2\n"));
  EXPECT_EQ(renderer.error(),
            "test.xml (data source source0): has no column Y for variable "
            "'vy label' (vy)");
  EXPECT_FALSE(load(xy, "X,Y\n1,2\n3,high\n"));
  EXPECT_EQ(renderer.error(),
            "test.xml (data source source0): line 3: 'high' in column Y is not "
            "a number, but variable 'vy label' (vy) is numeric");
  EXPECT_FALSE(load(xy, "X,Y\n"));
  EXPECT_EQ(renderer.error(),
            "test.xml (data source source0): holds no rows of data, only its header");
  EXPECT_FALSE(load(xy, "X,Y\n1,2,3\n"));
  EXPECT_NE(renderer.error().find("line 2: 3 fields, but the header names 2 columns"),
            std::string::npos)
      << renderer.error();
}

TEST_F(RenderChart, ScatterHasAPointPerCaseAndALegendInCategoryOrder) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) +
                   variable("vg", "G", true,
                            "<relabel from=\"1\" to=\"One\"/><relabel from=\"2\" to=\"Two\"/>"),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vg\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\"><label>Groups</label>"
               "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  // Six cases; one lacks y, one lacks its group: four points.
  ASSERT_TRUE(load(xml, "X,Y,G\n0,0,2\n2,4,1\n4,,1\n6,6,2\n8,8,\n10,10,1\n")) << renderer.error();
  EXPECT_TRUE(renderer.skipped().empty());
  const std::string picture = svg();
  EXPECT_EQ(count(picture, "<circle"), 4u + 2u) << "four points and two legend keys";
  EXPECT_EQ(texts(picture, "title"), std::vector<std::string>{"The title"});
  EXPECT_EQ(texts(picture, "legend-title"), std::vector<std::string>{"Groups"});
  EXPECT_EQ(texts(picture, "legend-entry"), (std::vector<std::string>{"One", "Two"}));
  // x runs over [-0.5, 10.5] with its margins: ticks at the even numbers.
  EXPECT_EQ(texts(picture, "tick-label x"),
            (std::vector<std::string>{"0", "2", "4", "6", "8", "10"}));
  EXPECT_EQ(texts(picture, "axis-title x"), std::vector<std::string>{"vx label"});
  EXPECT_NE(renderer.description().find("Scatter plot of vy label by vx label, 4 cases."),
            std::string::npos)
      << renderer.description();
  EXPECT_NE(renderer.description().find("Points are coloured by vg label: One (2 cases), Two "
                                        "(2 cases)."),
            std::string::npos)
      << renderer.description();
}

TEST_F(RenderChart, BarsStandOnZeroAndReachTheirValue) {
  const std::string xml =
      document(variable("vc", "C", true) + variable("vy", "Y", false),
               kAxes +
                   "<element id=\"e\" type=\"interval\"><statistic method=\"mean\"/>"
                   "<x variable=\"vc\"/><y variable=\"vy\"/></element>");
  // Means: a 5, b 10.
  ASSERT_TRUE(load(xml, "C,Y\na,4\na,6\nb,10\n")) << renderer.error();
  const std::string picture = svg();
  EXPECT_EQ(count(picture, "class=\"mark bar\""), 2u);
  EXPECT_EQ(texts(picture, "tick-label x"), (std::vector<std::string>{"a", "b"}));
  const std::vector<std::string> labels = texts(picture, "tick-label y");
  const std::vector<double> rows = tickRows(picture);
  ASSERT_EQ(labels.size(), rows.size());
  std::map<std::string, double> rowOf;
  for (std::size_t i = 0; i < labels.size(); ++i) rowOf[labels[i]] = rows[i];
  ASSERT_TRUE(rowOf.count("0") && rowOf.count("10")) << picture;
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Mean of vy label"});

  const std::string png = renderer.picture(PictureFormat::kPng).value_or("");
  ASSERT_FALSE(png.empty()) << renderer.error();
  // The second bar's centre column: bar b lies right of the middle.
  const std::regex bar("<path class=\"mark bar\" d=\"M([-0-9.]+) [-0-9.]+ L([-0-9.]+)");
  std::vector<double> centres;
  for (auto it = std::sregex_iterator(picture.begin(), picture.end(), bar);
       it != std::sregex_iterator(); ++it) {
    centres.push_back((std::stod((*it)[1].str()) + std::stod((*it)[2].str())) / 2);
  }
  ASSERT_EQ(centres.size(), 2u);
  const int column = static_cast<int>(centres[1]);
  const int top = static_cast<int>(rowOf["10"]);
  const unsigned blue = 0x0072B2;  // the colour of an uncoloured chart's marks
  EXPECT_EQ(pixel(png, column, top + 3), blue) << "inside bar b, just under its top";
  EXPECT_EQ(pixel(png, column, top - 3), 0xFFFFFFu) << "above bar b";
  // Bar a (mean 5) ends half way between the 0 and 10 ticks.
  const int half = static_cast<int>((rowOf["0"] + rowOf["10"]) / 2);
  EXPECT_EQ(pixel(png, static_cast<int>(centres[0]), half + 3), blue);
  EXPECT_EQ(pixel(png, static_cast<int>(centres[0]), half - 3), 0xFFFFFFu);
  EXPECT_EQ(pixel(png, static_cast<int>(centres[0]), static_cast<int>(rowOf["0"]) - 2), blue)
      << "bars reach down to the zero line";
}

TEST_F(RenderChart, PointsHaveTheirGroupsColourWhereTheirDataPuts) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vg\"/></element>");
  ASSERT_TRUE(load(xml, "X,Y,G\n0,0,a\n10,10,b\n")) << renderer.error();
  const std::string picture = svg();
  const std::string png = renderer.picture(PictureFormat::kPng).value_or("");
  const std::regex circle(
      "<circle cx=\"([-0-9.]+)\" cy=\"([-0-9.]+)\"[^>]*fill=\"#([0-9a-f]{6})\"");
  std::vector<std::pair<int, int>> at;
  for (auto it = std::sregex_iterator(picture.begin(), picture.end(), circle);
       it != std::sregex_iterator(); ++it) {
    at.emplace_back(static_cast<int>(std::stod((*it)[1].str())),
                    static_cast<int>(std::stod((*it)[2].str())));
  }
  ASSERT_EQ(at.size(), 2u) << picture;
  // Group a takes the palette's first colour (orange), b its second (blue).
  EXPECT_EQ(pixel(png, at[0].first, at[0].second), 0xE69F00u);
  EXPECT_EQ(pixel(png, at[1].first, at[1].second), 0x0072B2u);
  EXPECT_LT(at[0].first, at[1].first) << "x grows to the right";
  EXPECT_GT(at[0].second, at[1].second) << "y grows upwards";
}

TEST_F(RenderChart, PieHasASliceForEachGroupWithCases) {
  const std::string xml =
      "<visualization><source id=\"source0\"/>" + variable("vc", "C", true) +
      variable("vv", "V", false) +
      "<frame id=\"frame_graph_1\"><frame id=\"frame_pie_1\">"
      "<coordinateTransform method=\"polar\"/><dimension role=\"theta\"/>"
      "<element id=\"e\" type=\"interval\" positionModifier=\"stack\"><statistic method=\"sum\"/>"
      "<theta variable=\"vv\"/><color variable=\"vc\"/></element></frame></frame>"
      "</visualization>";
  ASSERT_TRUE(load(xml, "C,V\nx,1\ny,2\ny,1\nz,\nw,0\n")) << renderer.error();
  const std::string picture = svg();
  // x 1, y 3; z has no value and w sums to 0: no slices of theirs.
  EXPECT_EQ(count(picture, "class=\"mark slice\""), 2u);
  EXPECT_EQ(count(picture, "class=\"tick-label"), 0u) << "a pie has no axes";
}

TEST_F(RenderChart, HistogramBinsByTheDocumentsWidthAndStacksGroups) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vg", "G", true),
               kAxes +
                   "<element id=\"e\" type=\"interval\"><statistic method=\"histogram\">"
                   "<parameter name=\"bin-width\" value=\"0.25\"/></statistic><x variable=\"vx\"/>"
                   "<color variable=\"vg\"/></element>");
  // Bins [0, .25) [.25, .5) [.5, .75]: 0.75 closes the last bin.
  ASSERT_TRUE(load(xml, "X,G\n0,a\n0.1,b\n0.3,a\n0.74,a\n0.75,b\n")) << renderer.error();
  const std::string picture = svg();
  // Bin 1: a and b; bin 2: a; bin 3: a and b.
  EXPECT_EQ(count(picture, "class=\"mark bar\""), 5u);
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Count"});
  EXPECT_EQ(texts(picture, "tick-label y"), (std::vector<std::string>{"0", "1", "2"}))
      << "counts are whole numbers";
  // Every bin is as wide as every other.
  const std::regex bar("<path class=\"mark bar\" d=\"M([-0-9.]+) [-0-9.]+ L([-0-9.]+)");
  std::vector<double> widths;
  for (auto it = std::sregex_iterator(picture.begin(), picture.end(), bar);
       it != std::sregex_iterator(); ++it) {
    widths.push_back(std::stod((*it)[2].str()) - std::stod((*it)[1].str()));
  }
  ASSERT_EQ(widths.size(), 5u);
  for (const double width : widths) EXPECT_NEAR(width, widths.front(), 0.02);
}

TEST_F(RenderChart, PanelsSplitTheCasesAndShareTheirScales) {
  const std::string xml = document(
      variable("vx", "X", false) + variable("vy", "Y", false) +
          variable("vp", "P", true, "<relabel from=\"1\" to=\"First\"/>"),
      "<coordinateFacet><facetVariable role=\"x\" variable=\"vp\"/></coordinateFacet>" + kAxes +
          "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/></element>");
  ASSERT_TRUE(load(xml, "X,Y,P\n1,1,1\n2,2,1\n3,3,2\n")) << renderer.error();
  const std::string picture = svg();
  EXPECT_EQ(texts(picture, "panel-label"), (std::vector<std::string>{"First", "2"}));
  EXPECT_EQ(count(picture, "<circle"), 3u);
  // One row of panels: y labels once, on the left; x labels under each panel.
  const std::vector<std::string> y = texts(picture, "tick-label y");
  const std::vector<std::string> x = texts(picture, "tick-label x");
  EXPECT_EQ(x.size() % 2, 0u);
  EXPECT_EQ(std::vector<std::string>(x.begin(), x.begin() + x.size() / 2),
            std::vector<std::string>(x.begin() + x.size() / 2, x.end()))
      << "shared scales label both panels alike";
  EXPECT_EQ(count(picture, "class=\"tick y\""), 2 * y.size());
}

TEST_F(RenderChart, ScatterPlotMatrixPairsEveryVariableWithEveryOther) {
  std::string variables;
  for (const char* name : {"a", "b", "c"}) {
    variables += variable(name, std::string(1, static_cast<char>(name[0] - 32)), false);
    variables += "<variable id=\"" + std::string(name) +
                 "label\" source=\"source0\" value=\"constant(x)\" categorical=\"true\">"
                 "<relabel from=\"x\" to=\"Name " +
                 name + "\"/></variable>";
  }
  variables +=
      "<variable id=\"across\" expression=\"a/alabel + b/blabel + c/clabel\"/>"
      "<variable id=\"upward\" expression=\"c/clabel + b/blabel + a/alabel\"/>";
  const std::string xml =
      document(variables,
               "<dimension role=\"x\" domain=\"across\" lowerMargin=\"15%\" upperMargin=\"15%\">"
               "<axis id=\"ax\"><majorTicks/></axis></dimension>"
               "<dimension role=\"y\" domain=\"upward\" lowerMargin=\"15%\" upperMargin=\"15%\">"
               "<axis id=\"ay\"><majorTicks/></axis></dimension>"
               "<element id=\"m\" type=\"point\"><facetStyle when=\"matrixscatterdiagonal\"/>"
               "<x variable=\"across\"/><y variable=\"upward\"/></element>");
  // b lacks a value in one case: pairs with b have three points, a with c four.
  ASSERT_TRUE(load(xml, "A,B,C\n1,10,100\n2,,200\n3,30,300\n4,40,400\n")) << renderer.error();
  EXPECT_TRUE(renderer.skipped().empty()) << renderer.skipped().front();
  const std::string picture = svg();
  EXPECT_EQ(count(picture, "<circle"), 3u * 4 + 2u * 4);
  // The diagonal names the variables, top left to bottom right.
  EXPECT_EQ(texts(picture, "panel-label"),
            (std::vector<std::string>{"Name a", "Name b", "Name c"}));
  // Each column has its own scale: the bottom row labels a's, b's and c's.
  const std::vector<std::string> across = texts(picture, "tick-label x");
  EXPECT_NE(std::find(across.begin(), across.end(), "2"), across.end()) << picture;
  EXPECT_NE(std::find(across.begin(), across.end(), "20"), across.end()) << picture;
  EXPECT_NE(std::find(across.begin(), across.end(), "200"), across.end()) << picture;
}

TEST_F(RenderChart, StylesAndSizesAreDrawnAndKeyed) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true) +
                   variable("vs", "S", true) + variable("vz", "Z", false),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<styleBy id=\"by\" variable=\"vs\" styleCycle=\"styleCycleDefault\"/>"
                   "<color variable=\"vg\"/><size variable=\"vz\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"l\">"
               "<legendTarget aesthetic=\"color\" element=\"e\"/>"
               "<legendTarget aesthetic=\"by\" element=\"e\"/>"
               "<legendTarget aesthetic=\"size\" element=\"e\"/></legend></frame>");
  ASSERT_TRUE(load(xml, "X,Y,G,S,Z\n1,1,a,p,10\n2,2,a,q,20\n3,3,b,p,30\n4,4,b,q,40\n"))
      << renderer.error();
  EXPECT_TRUE(renderer.skipped().empty()) << renderer.skipped().front();
  const std::string picture = svg();
  // Colours, then the style-by's shapes, then sizes across the size's range.
  EXPECT_EQ(texts(picture, "legend-entry"),
            (std::vector<std::string>{"a", "b", "p", "q", "10", "20", "30", "40"}));
  // Style p takes circles, q triangles; each point's size grows with z.
  std::vector<double> radii;
  const std::regex circle("<circle cx=\"[-0-9.]+\" cy=\"[-0-9.]+\" r=\"([0-9.]+)\"");
  const std::string marks = picture.substr(0, picture.find("legend-"));
  for (auto it = std::sregex_iterator(marks.begin(), marks.end(), circle);
       it != std::sregex_iterator(); ++it) {
    radii.push_back(std::stod((*it)[1].str()));
  }
  ASSERT_EQ(radii.size(), 2u) << "the two cases of style p";
  EXPECT_NE(radii[0], radii[1]);

  const std::string bars = document(
      variable("vc", "C", true) + variable("vy", "Y", false) + variable("vs", "S", true),
      kAxes +
          "<element id=\"e\" type=\"interval\"><statistic method=\"sum\"/>"
          "<x variable=\"vc\"/><y variable=\"vy\"/>"
          "<styleBy id=\"by\" variable=\"vs\" styleCycle=\"styleCyclePattern\"/></element>");
  ASSERT_TRUE(load(bars, "C,Y,S\na,1,p\na,2,q\nb,3,q\n")) << renderer.error();
  const std::string hatched = svg();
  EXPECT_EQ(count(hatched, "class=\"mark bar\""), 3u);
  EXPECT_EQ(count(hatched, "class=\"mark hatch\""), 2u) << "the bars of q are hatched, p plain";
}

TEST_F(RenderChart, TitleSubtitleAndFootnoteTakeTheirPlaces) {
  const std::string xml = document(
      variable("vx", "X", false) + variable("vy", "Y", false),
      kAxes +
          "<element id=\"e\" type=\"line\"><x variable=\"vx\"/><y variable=\"vy\"/>"
          "</element>",
      "<frame id=\"frame_subtitle_1\"><label id=\"label_subtitle_1\">Second line</label></frame>"
      "<frame id=\"frame_footnote_1\"><label id=\"label_footnote_1\">Source: a survey</label>"
      "</frame>");
  ASSERT_TRUE(load(xml, "X,Y\n1,2\n2,4\n")) << renderer.error();
  EXPECT_TRUE(renderer.skipped().empty());
  const std::string picture = svg();
  const auto rowOf = [&](const std::string& role) {
    std::smatch at;
    const std::regex text("<text class=\"" + role + "\"[^>]*><tspan x=\"[-0-9.]+\" y=\"([-0-9.]+)");
    return std::regex_search(picture, at, text) ? std::stod(at[1].str()) : -1.0;
  };
  EXPECT_EQ(texts(picture, "subtitle"), std::vector<std::string>{"Second line"});
  EXPECT_EQ(texts(picture, "footnote"), std::vector<std::string>{"Source: a survey"});
  const double title = rowOf("title"), subtitle = rowOf("subtitle"), footnote = rowOf("footnote");
  const double axis = rowOf("axis-title x");
  EXPECT_GT(title, 0);
  EXPECT_LT(title, subtitle) << "the subtitle under the title";
  EXPECT_LT(axis, footnote) << "the footnote under everything";
  EXPECT_LE(footnote, 600);

  // A title wider than the picture breaks into lines rather than run off it.
  std::string longTitle = xml;
  const std::string words =
      "Annual mean atmospheric carbon dioxide measured at the observatory, by year, with its "
      "growth on the previous year and the mean of every decade since measurements began";
  longTitle.replace(longTitle.find("The title"), 9, words);
  ASSERT_TRUE(load(longTitle, "X,Y\n1,2\n2,4\n")) << renderer.error();
  const std::string wrappedPicture = svg();
  const std::size_t start = wrappedPicture.find("<text class=\"title\"");
  const std::size_t end = wrappedPicture.find("</text>", start);
  EXPECT_GE(count(wrappedPicture.substr(start, end - start), "<tspan"), 2u);
}

TEST_F(RenderChart, ScaleColoursShadePointsAlongAGradientWithItsKey) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vt", "T", false),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vt\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"l\"><label>Temperature</label>"
               "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  ASSERT_TRUE(load(xml, "X,Y,T\n1,1,-10\n2,2,5\n3,3,30\n")) << renderer.error();
  EXPECT_TRUE(renderer.skipped().empty());
  const std::string picture = svg();
  // The coldest point takes the gradient's dark end, the warmest its light end.
  const std::regex circle(
      "<circle cx=\"[-0-9.]+\" cy=\"[-0-9.]+\" r=\"[0-9.]+\" fill=\"#([0-9a-f]{6})\"");
  std::vector<std::string> fills;
  for (auto it = std::sregex_iterator(picture.begin(), picture.end(), circle);
       it != std::sregex_iterator(); ++it) {
    fills.push_back((*it)[1].str());
  }
  ASSERT_EQ(fills.size(), 3u) << "three points and no key markers";
  EXPECT_EQ(fills.front(), "440154");
  EXPECT_EQ(fills.back(), "fde725");
  EXPECT_NE(fills[1], fills[0]);
  EXPECT_GT(count(picture, "class=\"legend-gradient\""), 10u);
  EXPECT_EQ(texts(picture, "legend-title"), std::vector<std::string>{"Temperature"});
  EXPECT_EQ(texts(picture, "legend-entry"),
            (std::vector<std::string>{"-10", "0", "10", "20", "30"}));
}

TEST_F(RenderChart, WhatCannotBeDrawnIsNamedOnceAndTheRestIsDrawn) {
  const std::string xml = document(
      variable("vx", "X", false) + variable("vy", "Y", false),
      kAxes +
          "<element id=\"box\" type=\"edge\"><x variable=\"vx\"/><y variable=\"vy\"/></element>"
          "<element id=\"dots\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/></element>"
          "<guide id=\"plane_1\" type=\"plane\"/>"
          "<guide id=\"ref\" type=\"line\"><parameter name=\"y\" value=\"2\"/></guide>");
  ASSERT_TRUE(load(xml, "X,Y\n1,1\n2,3\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), (std::vector<std::string>{"element box of type 'edge'",
                                                          "guide plane_1 of type 'plane'"}));
  const std::string picture = svg();
  EXPECT_EQ(count(picture, "<circle"), 2u);
  EXPECT_EQ(count(picture, "class=\"guide reference-line\""), 1u);
}

TEST_F(RenderChart, DatesAndNumbersAreLabelledByTheirFormats) {
  const std::string xml = document(
      variable("vd", "D", false, "<meta><dateTimeFormat pattern=\"dd-MMM-yyyy\"/></meta>") +
          variable("vy", "Y", false,
                   "<meta><numberFormat prefix=\"$\" useGrouping=\"true\" "
                   "maximumFractionDigits=\"2\" minimumFractionDigits=\"2\"/></meta>"),
      kAxes + "<element id=\"e\" type=\"line\"><x variable=\"vd\"/><y variable=\"vy\"/></element>");
  // 1 January 1960 and 1 January 2000, in seconds since 14 October 1582.
  ASSERT_TRUE(load(xml, "D,Y\n11903760000,1000\n13166064000,5000\n")) << renderer.error();
  const std::string picture = svg();
  const std::vector<std::string> dates = texts(picture, "tick-label x");
  EXPECT_NE(std::find(dates.begin(), dates.end(), "01-Jan-1980"), dates.end()) << picture;
  for (const std::string& label : dates) EXPECT_EQ(label.substr(0, 7), "01-Jan-") << label;
  const std::vector<std::string> money = texts(picture, "tick-label y");
  EXPECT_NE(std::find(money.begin(), money.end(), "$2,000"), money.end()) << picture;
  EXPECT_EQ(count(picture, "class=\"mark line\""), 1u);
}

TEST_F(RenderChart, SameChartSameBytes) {
  const std::string xml = document(
      variable("vx", "X", false) + variable("vy", "Y", false),
      kAxes + "<element id=\"e\" type=\"area\"><x variable=\"vx\"/><y variable=\"vy\"/></element>");
  ASSERT_TRUE(load(xml, "X,Y\n1,3\n2,1\n3,4\n")) << renderer.error();
  for (const PictureFormat format :
       {PictureFormat::kPng, PictureFormat::kSvg, PictureFormat::kPdf}) {
    const auto first = renderer.picture(format);
    ChartRenderer again;
    ASSERT_TRUE(again.loadText(xml, "test.xml", [](const std::string&) {
      return std::optional<std::string>("X,Y\n1,3\n2,1\n3,4\n");
    }));
    ASSERT_TRUE(first.has_value()) << renderer.error();
    EXPECT_EQ(first, again.picture(format));
  }
}

}  // namespace
