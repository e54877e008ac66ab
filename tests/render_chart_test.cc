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
using rendertest::count;
using rendertest::document;
using rendertest::pixel;
using rendertest::texts;

// A variable labelled "<id> label", so that titles show where labels go.
std::string variable(const std::string& id, const std::string& column, bool categorical,
                     const std::string& inner = "") {
  return "<variable id=\"" + id + "\" label=\"" + id + " label\" source=\"source0\" sourceName=\"" +
         column + "\" categorical=\"" + (categorical ? "true" : "false") + "\">" + inner +
         "</variable>\n";
}

// Two numeric variables, and a point element of the one by the other.
const std::string kXY = variable("vx", "X", false) + variable("vy", "Y", false);
const std::string kPointXY =
    "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>";

const std::string kAxes =
    "<dimension role=\"x\" lowerMargin=\"5%\" upperMargin=\"5%\"><axis id=\"axis_x\">"
    "<majorTicks/></axis></dimension>\n"
    "<dimension role=\"y\" lowerMargin=\"5%\" upperMargin=\"5%\"><axis id=\"axis_y\">"
    "<majorTicks/></axis></dimension>\n";

// The left and right x of each bar, in order: "M<x0> <y0> L<x1> ...".
std::vector<std::pair<double, double>> barSpans(const std::string& svg) {
  std::vector<std::pair<double, double>> out;
  for (const auto& d : rendertest::paths(svg, "mark bar")) {
    if (d.size() >= 3) out.emplace_back(d[0], d[2]);
  }
  return out;
}

// The centre and fill of each circle, in document order.
struct Dot {
  double x, y, r;
  std::string fill;
};
std::vector<Dot> dots(const std::string& svg) {
  std::vector<Dot> out;
  const std::regex circle(
      "<circle cx=\"([-0-9.]+)\" cy=\"([-0-9.]+)\" r=\"([0-9.]+)\"[^>]*fill=\"#([0-9a-f]{6})\"");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), circle); it != std::sregex_iterator();
       ++it) {
    out.push_back({std::stod((*it)[1].str()), std::stod((*it)[2].str()), std::stod((*it)[3].str()),
                   (*it)[4].str()});
  }
  return out;
}

class RenderChart : public ::testing::Test, public rendertest::Drawn {};

TEST_F(RenderChart, RefusesWhatIsNotAChartOrHasNoUsableData) {
  const std::string xy = document(kXY, kAxes +
                                           "<element id=\"e\" type=\"point\"><x variable=\"vx\"/>"
                                           "<y variable=\"vy\"/></element>");
  const std::string source = "test.xml (data source source0): ";
  // The document, its data, and a piece of the error they are refused with.
  const std::vector<std::tuple<std::string, std::string, std::string>> cases{
      {"<html><body/></html>", "",
       "test.xml: not a chart document: its root element is <html>, not <visualization>"},
      {"<visualization><frame></visualization>", "", "test.xml: XML is not well-formed at line 1"},
      {"<!DOCTYPE v [<!ENTITY e SYSTEM \"file:///etc/passwd\">]><visualization/>", "", "DOCTYPE"},
      {"<?xml version=\"1.5\"?><visualization/>", "",
       "test.xml: XML version \"1.5\" is not supported: a chart document is XML 1.0 or 1.1"},
      {xy, "X,Z\n1,2\n", source + "has no column Y for variable 'vy label' (vy)"},
      {xy, "X,Y\n1,2\n3,high\n",
       source + "line 3: 'high' in column Y is not a number, but variable 'vy label' (vy) is "
                "numeric"},
      {xy, "X,Y\n", source + "holds no rows of data, only its header"},
      {xy, "X,Y\n1,2,3\n", source + "line 2: 3 fields, but the header names 2 columns"},
  };
  for (const auto& [xml, csv, error] : cases) {
    EXPECT_FALSE(load(xml, csv)) << error;
    EXPECT_NE(renderer.error().find(error), std::string::npos) << renderer.error();
    EXPECT_FALSE(renderer.picture(PictureFormat::kPng)) << "a refused chart leaves nothing to draw";
  }
  EXPECT_FALSE(renderer.loadText(xy, "test.xml", [](const std::string&) { return std::nullopt; }));
  EXPECT_EQ(renderer.error(), source + "not found (the data of source 'source0' of test.xml)");
}

TEST_F(RenderChart, ScatterHasAPointPerCaseAndALegendInCategoryOrder) {
  const std::string xml =
      document(kXY + variable("vg", "G", true,
                              "<relabel from=\"1\" to=\"One\"/><relabel from=\"2\" to=\"Two\"/>"),
               kAxes + kPointXY + "<color variable=\"vg\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\"><label>Groups</label>"
               "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  // Six cases; one lacks y, one lacks its group: four points.
  const std::string picture = draw(xml, "X,Y,G\n0,0,2\n2,4,1\n4,,1\n6,6,2\n8,8,\n10,10,1\n");
  EXPECT_EQ(count(picture, "<circle"), 4u + 2u) << "four points and two legend keys";
  EXPECT_EQ(texts(picture, "title"), std::vector<std::string>{"The title"});
  EXPECT_EQ(texts(picture, "legend-title"), std::vector<std::string>{"Groups"});
  EXPECT_EQ(texts(picture, "legend-entry"), (std::vector<std::string>{"One", "Two"}));
  // x runs over [-0.5, 10.5] with its margins: ticks at the even numbers.
  EXPECT_EQ(texts(picture, "tick-label x"),
            (std::vector<std::string>{"0", "2", "4", "6", "8", "10"}));
  EXPECT_EQ(texts(picture, "axis-title x"), std::vector<std::string>{"vx label"});
  // The description names the groups by their relabelled values.
  EXPECT_NE(renderer.description().find("Points are coloured by vg label: One (2 cases), Two "
                                        "(2 cases)."),
            std::string::npos)
      << renderer.description();
  // Group 1 takes the palette's first colour (orange), 2 its second (blue);
  // x grows to the right and y upwards.
  const std::vector<Dot> at = dots(picture);
  ASSERT_EQ(at.size(), 6u) << picture;
  const std::string png = this->png();
  EXPECT_EQ(pixel(png, {at[0].x, at[0].y}), 0x0072B2u) << "(0, 0) of group 2";
  EXPECT_EQ(pixel(png, {at[1].x, at[1].y}), 0xE69F00u) << "(2, 4) of group 1";
  EXPECT_LT(at[0].x, at[1].x);
  EXPECT_GT(at[0].y, at[1].y);
}

TEST_F(RenderChart, BarsStandOnZeroAndReachTheirValue) {
  const std::string xml =
      document(variable("vc", "C", true) + variable("vy", "Y", false),
               kAxes +
                   "<element id=\"e\" type=\"interval\"><statistic method=\"mean\"/>"
                   "<x variable=\"vc\"/><y variable=\"vy\"/></element>");
  // Means: a 5, b 10.
  const std::string picture = draw(xml, "C,Y\na,4\na,6\nb,10\n");
  EXPECT_EQ(count(picture, "class=\"mark bar\""), 2u);
  EXPECT_EQ(texts(picture, "tick-label x"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Mean of vy label"});
  const auto y = rendertest::axisMap(picture, "y");
  ASSERT_TRUE(y) << picture;
  const std::vector<std::pair<double, double>> bars = barSpans(picture);
  ASSERT_EQ(bars.size(), 2u);
  const std::string png = this->png();
  // Down the centre column of each bar, 3 pixels inside and outside its top
  // (a at 5, b at 10), and just above the zero line.
  const unsigned blue = 0x0072B2;  // the colour of an uncoloured chart's marks
  for (const auto& [bar, mean] : {std::pair{bars[0], 5.0}, std::pair{bars[1], 10.0}}) {
    const int column = static_cast<int>((bar.first + bar.second) / 2);
    const int top = static_cast<int>((*y)(mean));
    EXPECT_EQ(pixel(png, column, top + 3), blue) << "inside the bar of " << mean;
    EXPECT_EQ(pixel(png, column, top - 3), 0xFFFFFFu) << "above the bar of " << mean;
    EXPECT_EQ(pixel(png, column, static_cast<int>((*y)(0)) - 2), blue) << "bars stand on zero";
  }
}

TEST_F(RenderChart, PieHasASliceForEachGroupWithCases) {
  const std::string xml = rendertest::pie(variable("vc", "C", true) + variable("vv", "V", false));
  const std::string picture = draw(xml, "C,V\nx,1\ny,2\ny,1\nz,\nw,0\n");
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
  const std::string picture = draw(xml, "X,G\n0,a\n0.1,b\n0.3,a\n0.74,a\n0.75,b\n");
  // Bin 1: a and b; bin 2: a; bin 3: a and b.
  EXPECT_EQ(count(picture, "class=\"mark bar\""), 5u);
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Count"});
  EXPECT_EQ(texts(picture, "tick-label y"), (std::vector<std::string>{"0", "1", "2"}))
      << "counts are whole numbers";
  // Every bin is as wide as every other.
  const std::vector<std::pair<double, double>> bars = barSpans(picture);
  ASSERT_EQ(bars.size(), 5u);
  for (const auto& [left, right] : bars) {
    EXPECT_NEAR(right - left, bars.front().second - bars.front().first, 0.02);
  }
}

TEST_F(RenderChart, PanelsSplitTheCasesAndShareTheirScales) {
  const std::string xml =
      document(kXY + variable("vp", "P", true, "<relabel from=\"1\" to=\"First\"/>"),
               "<coordinateFacet><facetVariable role=\"x\" variable=\"vp\"/></coordinateFacet>" +
                   kAxes + kPointXY + "</element>");
  const std::string picture = draw(xml, "X,Y,P\n1,1,1\n2,2,1\n3,3,2\n");
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
  const std::string picture = draw(xml, "A,B,C\n1,10,100\n2,,200\n3,30,300\n4,40,400\n");
  EXPECT_EQ(count(picture, "<circle"), 3u * 4 + 2u * 4);
  // The diagonal names the variables, top left to bottom right.
  EXPECT_EQ(texts(picture, "panel-label"),
            (std::vector<std::string>{"Name a", "Name b", "Name c"}));
  // Each column has its own scale: the bottom row labels a's, b's and c's.
  const std::vector<std::string> across = texts(picture, "tick-label x");
  for (const std::string label : {"2", "20", "200"}) {
    EXPECT_NE(std::find(across.begin(), across.end(), label), across.end()) << label << picture;
  }
}

TEST_F(RenderChart, StylesAndSizesAreDrawnAndKeyed) {
  const std::string xml = document(
      kXY + variable("vg", "G", true) + variable("vs", "S", true) + variable("vz", "Z", false),
      kAxes + kPointXY +
          "<styleBy id=\"by\" variable=\"vs\" styleCycle=\"styleCycleDefault\"/>"
          "<color variable=\"vg\"/><size variable=\"vz\"/></element>",
      "<frame id=\"frame_legend_1\"><legend id=\"l\">"
      "<legendTarget aesthetic=\"color\" element=\"e\"/>"
      "<legendTarget aesthetic=\"by\" element=\"e\"/>"
      "<legendTarget aesthetic=\"size\" element=\"e\"/></legend></frame>");
  const std::string picture =
      draw(xml, "X,Y,G,S,Z\n1,1,a,p,10\n2,2,a,q,20\n3,3,b,p,30\n4,4,b,q,40\n");
  // Colours, then the style-by's shapes, then sizes across the size's range.
  EXPECT_EQ(texts(picture, "legend-entry"),
            (std::vector<std::string>{"a", "b", "p", "q", "10", "20", "30", "40"}));
  // Style p takes circles, q triangles; each point's size grows with z.
  std::vector<double> radii;
  for (const Dot& dot : dots(picture.substr(0, picture.find("legend-")))) radii.push_back(dot.r);
  ASSERT_EQ(radii.size(), 2u) << "the two cases of style p";
  EXPECT_NE(radii[0], radii[1]);

  const std::string bars = document(
      variable("vc", "C", true) + variable("vy", "Y", false) + variable("vs", "S", true),
      kAxes +
          "<element id=\"e\" type=\"interval\"><statistic method=\"sum\"/>"
          "<x variable=\"vc\"/><y variable=\"vy\"/>"
          "<styleBy id=\"by\" variable=\"vs\" styleCycle=\"styleCyclePattern\"/></element>");
  const std::string hatched = draw(bars, "C,Y,S\na,1,p\na,2,q\nb,3,q\n");
  EXPECT_EQ(count(hatched, "class=\"mark bar\""), 3u);
  EXPECT_EQ(count(hatched, "class=\"mark hatch\""), 2u) << "the bars of q are hatched, p plain";
}

TEST_F(RenderChart, TitleSubtitleAndFootnoteTakeTheirPlaces) {
  const std::string xml = document(
      kXY,
      kAxes +
          "<element id=\"e\" type=\"line\"><x variable=\"vx\"/><y variable=\"vy\"/>"
          "</element>",
      "<frame id=\"frame_subtitle_1\"><label id=\"label_subtitle_1\">Second line</label></frame>"
      "<frame id=\"frame_footnote_1\"><label id=\"label_footnote_1\">Source: a survey</label>"
      "</frame>");
  const std::string picture = draw(xml, "X,Y\n1,2\n2,4\n");
  const auto rowOf = [&](const std::string& role) {
    const auto at = rendertest::matches(
        picture, "<text class=\"" + role + "\"[^>]*><tspan x=\"[-0-9.]+\" y=\"([-0-9.]+)");
    return at.empty() ? -1.0 : std::stod(at[0]);
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
  const auto wrapped = texts(draw(longTitle, "X,Y\n1,2\n2,4\n"), "title", "|");
  ASSERT_EQ(wrapped.size(), 1u);
  EXPECT_GE(count(wrapped[0], "|"), 1u);
}

TEST_F(RenderChart, ScaleColoursShadePointsAlongAGradientWithItsKey) {
  const std::string xml = document(
      kXY + variable("vt", "T", false), kAxes + kPointXY + "<color variable=\"vt\"/></element>",
      "<frame id=\"frame_legend_1\"><legend id=\"l\"><label>Temperature</label>"
      "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  const std::string picture = draw(xml, "X,Y,T\n1,1,-10\n2,2,5\n3,3,30\n");
  // The coldest point takes the gradient's dark end, the warmest its light end.
  std::vector<std::string> fills;
  for (const Dot& dot : dots(picture)) fills.push_back(dot.fill);
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
      kXY,
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
  const std::string picture = draw(xml, "D,Y\n11903760000,1000\n13166064000,5000\n");
  const std::vector<std::string> dates = texts(picture, "tick-label x");
  EXPECT_NE(std::find(dates.begin(), dates.end(), "01-Jan-1980"), dates.end()) << picture;
  for (const std::string& label : dates) EXPECT_EQ(label.substr(0, 7), "01-Jan-") << label;
  const std::vector<std::string> money = texts(picture, "tick-label y");
  EXPECT_NE(std::find(money.begin(), money.end(), "$2,000"), money.end()) << picture;
  EXPECT_EQ(count(picture, "class=\"mark line\""), 1u);
}

TEST_F(RenderChart, SameChartSameBytes) {
  const std::string xml = document(
      kXY,
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
