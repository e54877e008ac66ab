// Element kinds and aesthetics drawn from small documents: box plots, error
// bars, paths, heat-map tiles, contours, labels on marks, transparency and
// the document's style cycles. Positions are checked in the SVG against
// values worked out by hand, mapped to pixels through the axis's own ticks;
// colours are probed in the PNG.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "render_documents.h"
#include "scales/Palette.h"

namespace {

using namespace rendertest;

double minOdd(const std::vector<double>& numbers) {
  double lo = 1e300;
  for (std::size_t i = 1; i < numbers.size(); i += 2) lo = std::min(lo, numbers[i]);
  return lo;
}
double maxOdd(const std::vector<double>& numbers) {
  double hi = -1e300;
  for (std::size_t i = 1; i < numbers.size(); i += 2) hi = std::max(hi, numbers[i]);
  return hi;
}

// Whether `actual` is within `tolerance` of each channel of `expected`.
bool near(unsigned actual, unsigned expected, int tolerance = 2) {
  for (int shift : {16, 8, 0}) {
    const int a = static_cast<int>((actual >> shift) & 255),
              e = static_cast<int>((expected >> shift) & 255);
    if (std::abs(a - e) > tolerance) return false;
  }
  return true;
}

unsigned rgb(chartxml::render::Color c) {
  return (unsigned{c.r} << 16) | (unsigned{c.g} << 8) | c.b;
}

class RenderElements : public ::testing::Test, public Drawn {};

TEST_F(RenderElements, BoxPlotsShowHingesWhiskersOutliersAndExtremes) {
  const std::string xml = document(variable("vc", "C", true) + variable("vy", "Y", false),
                                   kAxes +
                                       "<element id=\"e\" type=\"schema\"><x variable=\"vc\"/>"
                                       "<y variable=\"vy\"/></element>");
  // a: 1..9, 20, 30: hinges 3.5 and 8.5 (halves 1..6 and 6..9, 20, 30),
  // median 6, whiskers 1 and 9 (inner fences -4 and 16), 20 an outlier,
  // 30 beyond the outer fence 23.5. b: 2, 4, 6, 8: hinges 3 and 7, median 5.
  std::string csv = "C,Y\n";
  for (const int v : {1, 2, 3, 4, 5, 6, 7, 8, 9, 20, 30}) csv += "a," + std::to_string(v) + "\n";
  for (const int v : {2, 4, 6, 8}) csv += "b," + std::to_string(v) + "\n";
  ASSERT_TRUE(load(xml, csv)) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string picture = svg();
  const auto y = axisMap(picture, "y");
  ASSERT_TRUE(y) << picture;
  const auto boxes = paths(picture, "mark box");
  const auto medians = paths(picture, "mark box-median");
  const auto whiskers = paths(picture, "mark whisker");
  ASSERT_EQ(boxes.size(), 2u);
  ASSERT_EQ(medians.size(), 2u);
  ASSERT_EQ(whiskers.size(), 2u);
  EXPECT_NEAR(minOdd(boxes[0]), (*y)(8.5), 0.6);
  EXPECT_NEAR(maxOdd(boxes[0]), (*y)(3.5), 0.6);
  EXPECT_NEAR(minOdd(medians[0]), (*y)(6), 0.6);
  EXPECT_NEAR(minOdd(whiskers[0]), (*y)(9), 0.6);
  EXPECT_NEAR(maxOdd(whiskers[0]), (*y)(1), 0.6);
  EXPECT_NEAR(minOdd(boxes[1]), (*y)(7), 0.6);
  EXPECT_NEAR(maxOdd(boxes[1]), (*y)(3), 0.6);
  EXPECT_NEAR(minOdd(medians[1]), (*y)(5), 0.6);
  const auto outliers = circles(picture, "mark outlier");
  ASSERT_EQ(outliers.size(), 1u);
  EXPECT_NEAR(outliers[0].second, (*y)(20), 0.6);
  EXPECT_EQ(count(picture, "<g class=\"mark extreme\""), 1u);
  // Box a is the single colour at opacity 200/255 over white:
  // 255 - (255 - c) * 200/255 for c = 0, 114, 178 gives 55, 144, 195.
  const std::string png = this->png();
  const int column = static_cast<int>((boxes[0][0] + boxes[0][2]) / 2);
  EXPECT_TRUE(near(pixel(png, column, static_cast<int>((*y)(4.5))), 0x3790C3))
      << std::hex << pixel(png, column, static_cast<int>((*y)(4.5)));
  EXPECT_EQ(pixel(png, column - 12, static_cast<int>((*y)(14))), 0xFFFFFFu)
      << "beside the whisker's end, above the box: background";
  // Without an x, one box of all cases stands in a category named after y:
  // 2, 4, 6, 8 has hinges 3 and 7.
  const std::string lone =
      document(variable("vy", "Y", false),
               kAxes + "<element id=\"e\" type=\"schema\"><y variable=\"vy\"/></element>");
  ASSERT_TRUE(load(lone, "Y\n2\n4\n6\n8\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string single = svg();
  EXPECT_EQ(texts(single, "tick-label x"), std::vector<std::string>{"vy"});
  const auto loneY = axisMap(single, "y");
  const auto loneBox = paths(single, "mark box");
  ASSERT_TRUE(loneY && loneBox.size() == 1u) << single;
  EXPECT_NEAR(minOdd(loneBox[0]), (*loneY)(7), 0.6);
  EXPECT_NEAR(maxOdd(loneBox[0]), (*loneY)(3), 0.6);
}

TEST_F(RenderElements, ErrorBarsSpanTheMeanPlusMinusTwoStandardErrors) {
  const std::string xml =
      document(variable("vc", "C", true) + variable("vy", "Y", false),
               kAxes +
                   "<element id=\"e\" type=\"interval\"><statistic method=\"meanSE\">"
                   "<parameter name=\"multiplier\" value=\"2\"/></statistic>"
                   "<x variable=\"vc\"/><y variable=\"vy\"/></element>");
  // a: 4, 6: mean 5, deviation sqrt 2, error 1: 3 to 7. b: 10, 12, 14:
  // mean 12, deviation 2, error 2 / sqrt 3: 12 -+ 2.3094.
  ASSERT_TRUE(load(xml, "C,Y\na,4\na,6\nb,10\nb,12\nb,14\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string picture = svg();
  const auto y = axisMap(picture, "y");
  ASSERT_TRUE(y) << picture;
  const auto bars = paths(picture, "mark error-bar");
  ASSERT_EQ(bars.size(), 2u);
  EXPECT_NEAR(minOdd(bars[0]), (*y)(7), 0.6);
  EXPECT_NEAR(maxOdd(bars[0]), (*y)(3), 0.6);
  const double error = 2 * 2 / std::sqrt(3.0);
  EXPECT_NEAR(minOdd(bars[1]), (*y)(12 + error), 0.6);
  EXPECT_NEAR(maxOdd(bars[1]), (*y)(12 - error), 0.6);
  const auto means = circles(picture, "mark error-mean");
  ASSERT_EQ(means.size(), 2u);
  EXPECT_NEAR(means[0].second, (*y)(5), 0.6);
  EXPECT_NEAR(means[1].second, (*y)(12), 0.6);
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Mean of vy"});
  // The mean's dot is the marks' single colour.
  EXPECT_EQ(pixel(png(), static_cast<int>(means[1].first), static_cast<int>(means[1].second)),
            0x0072B2u);
}

TEST_F(RenderElements, PathsKeepDataOrderWhereLinesSortByX) {
  const auto firstXs = [&](const std::string& type) {
    const std::string xml = document(variable("vx", "X", false) + variable("vy", "Y", false),
                                     kAxes + "<element id=\"e\" type=\"" + type +
                                         "\"><x variable=\"vx\"/><y variable=\"vy\"/></element>");
    EXPECT_TRUE(load(xml, "X,Y\n0,0\n10,10\n5,0\n")) << renderer.error();
    const auto lines = paths(svg(), "mark line");
    std::vector<double> xs;
    if (lines.size() == 1) {
      for (std::size_t i = 0; i < lines[0].size(); i += 2) xs.push_back(lines[0][i]);
    }
    return xs;
  };
  const std::vector<double> path = firstXs("path");
  ASSERT_EQ(path.size(), 3u);
  EXPECT_LT(path[0], path[2]);
  EXPECT_LT(path[2], path[1]) << "0, 10, then back to 5";
  const std::vector<double> line = firstXs("line");
  ASSERT_EQ(line.size(), 3u);
  EXPECT_LT(line[0], line[1]);
  EXPECT_LT(line[1], line[2]);
}

TEST_F(RenderElements, TilesTakeTheGradientColourOfTheirMean) {
  const std::string xml =
      document(variable("vx", "X", true) + variable("vy", "Y", true) + variable("vv", "V", false),
               kAxes +
                   "<element id=\"e\" type=\"tile\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vv\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\">"
               "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  // Cells (a, p) 0, (a, q) 10, (b, p) mean of 4 and 6: 5; (b, q) has no case.
  ASSERT_TRUE(load(xml, "X,Y,V\na,p,0\na,q,10\nb,p,4\nb,p,6\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string picture = svg();
  const auto tiles = paths(picture, "mark tile");
  ASSERT_EQ(tiles.size(), 3u);
  const std::string png = this->png();
  const double shares[] = {0, 1, 0.5};  // of the range 0..10, in (x, y) order
  for (std::size_t i = 0; i < 3; ++i) {
    const int cx = static_cast<int>((tiles[i][0] + tiles[i][2]) / 2);
    const int cy = static_cast<int>((minOdd(tiles[i]) + maxOdd(tiles[i])) / 2);
    EXPECT_TRUE(near(pixel(png, cx, cy), rgb(chartxml::render::gradientColor(shares[i]))))
        << "tile " << i << ": " << std::hex << pixel(png, cx, cy);
  }
  EXPECT_NE(picture.find("legend"), std::string::npos) << "the colour key of the values";
}

TEST_F(RenderElements, ContourLinesLieOnTheirLevel) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vv", "V", false),
               kAxes +
                   "<element id=\"e\" type=\"contour\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vv\"/></element>");
  // V = X + Y over a 5 x 5 grid: every line is a diagonal x + y = level.
  std::string csv = "X,Y,V\n";
  for (int x = 0; x <= 4; ++x) {
    for (int y = 0; y <= 4; ++y) {
      csv += std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(x + y) + "\n";
    }
  }
  ASSERT_TRUE(load(xml, csv)) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string picture = svg();
  const auto x = axisMap(picture, "x"), y = axisMap(picture, "y");
  ASSERT_TRUE(x && y);
  const auto lines = paths(picture, "mark contour");
  ASSERT_GE(lines.size(), 3u);
  for (const auto& line : lines) {
    ASSERT_GE(line.size(), 4u);
    // Back from pixels to data: x + y is the same all along the line.
    const auto sum = [&](std::size_t i) {
      return (line[i] - x->a) / x->b + (line[i + 1] - y->a) / y->b;
    };
    for (std::size_t i = 2; i + 1 < line.size(); i += 2) EXPECT_NEAR(sum(i), sum(0), 0.02);
  }
}

TEST_F(RenderElements, LabelsShowTheValueEachMarkDraws) {
  const std::string bars = document(variable("vc", "C", true) + variable("vy", "Y", false),
                                    kAxes +
                                        "<element id=\"e\" type=\"interval\">"
                                        "<statistic method=\"mean\"/><x variable=\"vc\"/>"
                                        "<y variable=\"vy\"/><labeling/></element>");
  // Means: a (4 + 6) / 2 = 5, b 10.5 and 9.5: 10.
  ASSERT_TRUE(load(bars, "C,Y\na,4\na,6\nb,10.5\nb,9.5\n")) << renderer.error();
  std::string picture = svg();
  EXPECT_EQ(texts(picture, "mark-label"), (std::vector<std::string>{"5", "10"}));
  // Points labelled by a variable show its value in their row.
  const std::string points =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vn", "N", true),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<labeling variable=\"vn\"/></element>");
  ASSERT_TRUE(load(points, "X,Y,N\n1,1,Ann\n2,3,Bob\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  picture = svg();
  EXPECT_EQ(texts(picture, "mark-label"), (std::vector<std::string>{"Ann", "Bob"}));
  // A pie's slices: counts 3 and 1.
  const std::string pie =
      document(variable("vg", "G", true),
               "<coordinateTransform method=\"polar\"/><dimension role=\"theta\"/>"
               "<element id=\"e\" type=\"interval\"><color variable=\"vg\"/><labeling/>"
               "</element>");
  ASSERT_TRUE(load(pie, "G\na\na\na\nb\n")) << renderer.error();
  EXPECT_EQ(texts(svg(), "mark-label"), (std::vector<std::string>{"3", "1"}));
}

TEST_F(RenderElements, TransparencyFadesPointsAndIsKeyed) {
  const std::string xml =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vt", "T", true),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<transparency variable=\"vt\"/></element>",
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\">"
               "<legendTarget aesthetic=\"transparency\" element=\"e\"/></legend></frame>");
  ASSERT_TRUE(load(xml, "X,Y,T\n0,0,hi\n10,10,lo\n")) << renderer.error();
  EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
  const std::string picture = svg();
  EXPECT_EQ(texts(picture, "legend-entry"), (std::vector<std::string>{"hi", "lo"}));
  const auto points = circles(picture, "mark point");
  ASSERT_EQ(points.size(), 2u);
  const std::string png = this->png();
  // The first category is opaque; the last a quarter opaque, in the step
  // 4/15 (68/255): 255 - (255 - c) * 68/255 for 0, 114, 178 is 187, 217, 234.
  EXPECT_EQ(pixel(png, static_cast<int>(points[0].first), static_cast<int>(points[0].second)),
            0x0072B2u);
  EXPECT_TRUE(near(
      pixel(png, static_cast<int>(points[1].first), static_cast<int>(points[1].second)), 0xBBD9EA))
      << std::hex
      << pixel(png, static_cast<int>(points[1].first), static_cast<int>(points[1].second));
}

TEST_F(RenderElements, StyleCyclesGiveTheGroupsTheirColoursAndDashesInOrder) {
  const std::string cycles =
      "<styleCycle id=\"styleCycleColor\"><cycle>"
      "<style id=\"c1\" value=\"color:#ff0000\"/><style id=\"c2\" value=\"color:#00ff00\"/>"
      "</cycle></styleCycle>"
      "<styleCycle id=\"styleCyclePattern\"><cycle>"
      "<style id=\"p1\" value=\"stroke-dasharray:2 2\"/>"
      "<style id=\"p2\" value=\"stroke-dasharray:8,3\"/></cycle></styleCycle>\n";
  const std::string points =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<styleBy variable=\"vg\" styleCycle=\"styleCycleColor\"/></element>",
               "", cycles);
  ASSERT_TRUE(load(points, "X,Y,G\n0,0,a\n10,10,b\n")) << renderer.error();
  const auto at = circles(svg(), "mark point");
  ASSERT_EQ(at.size(), 2u);
  const std::string png = this->png();
  EXPECT_EQ(pixel(png, static_cast<int>(at[0].first), static_cast<int>(at[0].second)), 0xFF0000u);
  EXPECT_EQ(pixel(png, static_cast<int>(at[1].first), static_cast<int>(at[1].second)), 0x00FF00u);
  const std::string lines =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true),
               kAxes +
                   "<element id=\"e\" type=\"line\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<styleBy variable=\"vg\" styleCycle=\"styleCyclePattern\"/></element>",
               "", cycles);
  ASSERT_TRUE(load(lines, "X,Y,G\n0,0,a\n10,10,a\n0,5,b\n10,5,b\n")) << renderer.error();
  const std::string picture = svg();
  EXPECT_NE(picture.find("stroke-dasharray=\"2,2\""), std::string::npos);
  EXPECT_NE(picture.find("stroke-dasharray=\"8,3\""), std::string::npos);
  // A cycle's symbols shape the points of its categories in turn: a square,
  // then the renderer's own second shape where the entry names none.
  const std::string shapes =
      document(variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true),
               kAxes +
                   "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
                   "<color variable=\"vg\"/><styleBy variable=\"vg\" styleCycle=\"shapes\"/>"
                   "</element>",
               "",
               "<styleCycle id=\"shapes\"><cycle><style id=\"s1\" value=\"symbol:square\"/>"
               "<style id=\"s2\" value=\"color:#123456\"/></cycle></styleCycle>\n");
  ASSERT_TRUE(load(shapes, "X,Y,G\n0,0,a\n10,10,b\n")) << renderer.error();
  const std::string marked = svg();
  EXPECT_EQ(count(marked, "\" width=\"8\" height=\"8\""), 1u) << "one square marker";
  EXPECT_EQ(circles(marked, "mark point").size(), 0u) << "b takes the second shape, a triangle";
}

}  // namespace
