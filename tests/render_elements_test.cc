// Element kinds and aesthetics drawn from small documents: box plots, error
// bars, paths, heat-map tiles, contours, labels on marks, transparency and
// the document's style cycles. Positions are checked in the SVG against
// values worked out by hand, mapped to pixels through the axis's own ticks;
// colours are probed in the PNG.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "render_documents.h"
#include "scales/Palette.h"
#include "scene/Guides.h"

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

// The colour of the pixel in the middle of a box's path.
unsigned middleColour(const std::string& png, const std::vector<double>& box) {
  return pixel(png, static_cast<int>((box[0] + box[2]) / 2),
               static_cast<int>((minOdd(box) + maxOdd(box)) / 2));
}

// Expects three boxes filled with the gradient's colours at shares 0, 1 and 0.5.
void expectGradientEndsAndMiddle(const std::string& png,
                                 const std::vector<std::vector<double>>& boxes) {
  ASSERT_EQ(boxes.size(), 3u);
  const double shares[] = {0, 1, 0.5};
  for (std::size_t i = 0; i < 3; ++i) {
    const unsigned got = middleColour(png, boxes[i]);
    EXPECT_TRUE(near(got, rgb(chartxml::render::gradientColor(shares[i]))))
        << i << ": " << std::hex << got;
  }
}

// The left end and baseline of each mark label, by its text.
std::map<std::string, std::pair<double, double>> labelsAt(const std::string& svg) {
  std::map<std::string, std::pair<double, double>> at;
  const std::regex label(R"re(class="mark-label"[^>]*><tspan x="([\d.]+)" y="([\d.]+)">(\w+)<)re");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), label); it != std::sregex_iterator();
       ++it) {
    at[(*it)[3]] = {std::stod((*it)[1]), std::stod((*it)[2])};
  }
  return at;
}

// Two numeric variables, or categories C and numbers Y, for the element of
// `type` (and `attributes`) holding `inner` of `element`.
const std::string kXY = variable("vx", "X", false) + variable("vy", "Y", false);
const std::string kCY = variable("vc", "C", true) + variable("vy", "Y", false);
const std::string kByX = "<x variable=\"vx\"/><y variable=\"vy\"/>";
const std::string kByC = "<x variable=\"vc\"/><y variable=\"vy\"/>";
std::string element(const std::string& type, const std::string& inner,
                    const std::string& attributes = "") {
  return kAxes + "<element id=\"e\" type=\"" + type + "\"" + attributes + ">" + inner +
         "</element>";
}
std::string pointsWith(const std::string& rest) {
  return element("point", kByX + rest);
}

// Expects the top and bottom of a path (its least and greatest pixel y) at
// the values `high` and `low`.
void expectSpan(const std::vector<double>& path, const AxisMap& y, double high, double low) {
  EXPECT_NEAR(minOdd(path), y(high), 0.6) << "top at " << high;
  EXPECT_NEAR(maxOdd(path), y(low), 0.6) << "bottom at " << low;
}

class RenderElements : public ::testing::Test, public Drawn {};

TEST_F(RenderElements, BoxPlotsShowHingesWhiskersOutliersAndExtremes) {
  // a: 1..9, 20, 30: hinges 3.5 and 8.5 (halves 1..6 and 6..9, 20, 30),
  // median 6, whiskers 1 and 9 (inner fences -4 and 16), 20 an outlier,
  // 30 beyond the outer fence 23.5. b: 2, 4, 6, 8: hinges 3 and 7, median 5,
  // whiskers 2 and 8. The same boxes weighted by W follow.
  std::string csv = "C,Y,W\n";
  for (const int v : {1, 2, 3, 4, 5, 6, 7, 8, 9, 20, 30}) csv += "a," + std::to_string(v) + ",1\n";
  for (const int v : {2, 4, 6, 8}) csv += "b," + std::to_string(v) + ",1\n";
  struct Box {
    double upper, lower, median, high, low;  // hinges, median, whiskers
  };
  const struct {
    std::string weight, csv;
    Box a, b;
    double outlier;
  } cases[] = {
      {"", csv, {8.5, 3.5, 6, 9, 1}, {7, 3, 5, 8, 2}, 20},
      // a: 1, 2, 3 once and 4 five times, W = 8: median depth 4.5 (4 and 4),
      // hinge depth 2.5: 2.5 and (depth 6.5) 4; the whisker reaches 1 (fence
      // 2.5 - 2.25). Unweighted it would be 1.5, 2.5, 3.5.
      // b: 10, 20 weigh a half, 30 two, W = 3: median depth 2 (30), hinge depth
      // 1.5: (20 + 30) / 2 = 25 and, at depth 2.5, 30; 10 lies below the inner
      // fence 17.5 but on the outer one (10): an outlier; its whiskers end at
      // 20 and 30.
      {"<weight variable=\"vw\"/>",
       "C,Y,W\na,1,1\na,2,1\na,3,1\na,4,5\nb,10,0.5\nb,20,0.5\nb,30,2\n",
       {4, 2.5, 4, 4, 1},
       {30, 25, 30, 30, 20},
       10},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.weight);
    const std::string picture =
        draw(document(kCY + variable("vw", "W", false), element("schema", kByC + c.weight)), c.csv);
    const auto y = axisMap(picture, "y");
    const auto boxes = paths(picture, "mark box");
    const auto medians = paths(picture, "mark box-median");
    const auto whiskers = paths(picture, "mark whisker");
    ASSERT_TRUE(y && boxes.size() == 2u && medians.size() == 2u && whiskers.size() == 2u)
        << picture;
    for (std::size_t i = 0; i < 2; ++i) {
      const Box& box = i == 0 ? c.a : c.b;
      expectSpan(boxes[i], *y, box.upper, box.lower);
      expectSpan(whiskers[i], *y, box.high, box.low);
      EXPECT_NEAR(minOdd(medians[i]), (*y)(box.median), 0.6);
    }
    const auto outliers = circles(picture, "mark outlier");
    ASSERT_EQ(outliers.size(), 1u);
    EXPECT_NEAR(outliers[0].second, (*y)(c.outlier), 0.6);
    EXPECT_EQ(count(picture, "<g class=\"mark extreme\""), c.weight.empty() ? 1u : 0u);
    if (!c.weight.empty()) continue;
    // Box a is the single colour at opacity 200/255 over white:
    // 255 - (255 - c) * 200/255 for c = 0, 114, 178 gives 55, 144, 195.
    const std::string png = this->png();
    const int column = static_cast<int>((boxes[0][0] + boxes[0][2]) / 2);
    EXPECT_TRUE(near(pixel(png, column, static_cast<int>((*y)(4.5))), 0x3790C3))
        << std::hex << pixel(png, column, static_cast<int>((*y)(4.5)));
    EXPECT_EQ(pixel(png, column - 12, static_cast<int>((*y)(14))), 0xFFFFFFu)
        << "beside the whisker's end, above the box: background";
  }
  // Without an x, one box of all cases stands in a category named after y:
  // 2, 4, 6, 8 has hinges 3 and 7.
  const std::string single =
      draw(document(variable("vy", "Y", false), element("schema", "<y variable=\"vy\"/>")),
           "Y\n2\n4\n6\n8\n");
  EXPECT_EQ(texts(single, "tick-label x"), std::vector<std::string>{"vy"});
  const auto loneY = axisMap(single, "y");
  const auto loneBox = paths(single, "mark box");
  ASSERT_TRUE(loneY && loneBox.size() == 1u) << single;
  expectSpan(loneBox[0], *loneY, 7, 3);
}

TEST_F(RenderElements, ErrorBarsSpanTheMeanPlusMinusTwoStandardErrors) {
  // a: 4, 6: mean 5, deviation sqrt 2, error 1: 3 to 7. b: 10, 12, 14:
  // mean 12, deviation 2, error 2 / sqrt 3: 12 -+ 2.3094.
  const std::string picture =
      draw(document(kCY, element("interval",
                                 "<statistic method=\"meanSE\"><parameter "
                                 "name=\"multiplier\" value=\"2\"/></statistic>" +
                                     kByC)),
           "C,Y\na,4\na,6\nb,10\nb,12\nb,14\n");
  const auto y = axisMap(picture, "y");
  const auto bars = paths(picture, "mark error-bar");
  ASSERT_TRUE(y && bars.size() == 2u) << picture;
  expectSpan(bars[0], *y, 7, 3);
  const double error = 2 * 2 / std::sqrt(3.0);
  expectSpan(bars[1], *y, 12 + error, 12 - error);
  const auto means = circles(picture, "mark error-mean");
  ASSERT_EQ(means.size(), 2u);
  EXPECT_NEAR(means[0].second, (*y)(5), 0.6);
  EXPECT_NEAR(means[1].second, (*y)(12), 0.6);
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Mean of vy"});
  // The mean's dot is the marks' single colour.
  EXPECT_EQ(pixel(png(), means[1]), 0x0072B2u);
}

TEST_F(RenderElements, HistogramLinesAreFrequencyPolygons) {
  // Bins [0, 1), [1, 2), [2, 3] hold 0.5 and 0.7; none; 2.5, 2.9 and 3:
  // counts 2, 0, 3 at the bins' middles 0.5, 1.5, 2.5.
  const std::string picture = draw(
      document(variable("vx", "X", false), element("line",
                                                   "<statistic method=\"histogram\"><parameter "
                                                   "name=\"bin-width\" value=\"1\"/></statistic>"
                                                   "<x variable=\"vx\"/>")),
      "X\n0.5\n0.7\n2.5\n2.9\n3\n");
  const auto x = axisMap(picture, "x"), y = axisMap(picture, "y");
  const auto lines = paths(picture, "mark line");
  ASSERT_TRUE(x && y && lines.size() == 1u) << picture;
  ASSERT_EQ(lines[0].size(), 6u);
  const double expected[][2] = {{0.5, 2}, {1.5, 0}, {2.5, 3}};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_NEAR(lines[0][2 * i], (*x)(expected[i][0]), 0.6) << i;
    EXPECT_NEAR(lines[0][2 * i + 1], (*y)(expected[i][1]), 0.6) << i;
  }
  EXPECT_EQ(texts(picture, "axis-title y"), std::vector<std::string>{"Count"});
}

// A line inside its box is one subpath, its points exactly as given, though
// a + (b - a) is not b for some of them in floating point; one leaving the
// box ends on its edge and starts again where it comes back.
TEST(RenderClipping, PolylinesStayWholeInsideAndBreakAtTheEdges) {
  using chartxml::render::clippedPolyline, chartxml::render::Path, chartxml::render::Rect;
  const Rect box{0, 0, 100, 100};
  const std::vector<std::pair<double, double>> inside = {
      {75.08766941938791, 10}, {22.677981217605048, 20}, {50, 30}};
  const Path whole = clippedPolyline(inside, box);
  ASSERT_EQ(whole.ops(),
            (std::vector<Path::Op>{Path::Op::kMove, Path::Op::kLine, Path::Op::kLine}));
  EXPECT_EQ(whole.args(),
            (std::vector<double>{75.08766941938791, 10, 22.677981217605048, 20, 50, 30}));
  const Path broken = clippedPolyline({{50, 50}, {150, 50}, {50, 60}}, box);
  ASSERT_EQ(broken.ops(), (std::vector<Path::Op>{Path::Op::kMove, Path::Op::kLine, Path::Op::kMove,
                                                 Path::Op::kLine}));
  EXPECT_EQ(broken.args(), (std::vector<double>{50, 50, 100, 50, 100, 55, 50, 60}));
}

TEST_F(RenderElements, PathsKeepDataOrderWhereLinesSortByX) {
  const auto firstXs = [&](const std::string& type) {
    const auto lines =
        paths(draw(document(kXY, element(type, kByX)), "X,Y\n0,0\n10,10\n5,0\n"), "mark line");
    std::vector<double> xs;
    if (lines.size() == 1) {
      for (std::size_t i = 0; i < lines[0].size(); i += 2) xs.push_back(lines[0][i]);
    }
    return xs;
  };
  // A path goes 0, 10, then back to 5; a line 0, 5, 10.
  const std::vector<double> path = firstXs("path"), line = firstXs("line");
  ASSERT_TRUE(path.size() == 3u && line.size() == 3u);
  EXPECT_TRUE(path[0] < path[2] && path[2] < path[1])
      << path[0] << " " << path[1] << " " << path[2];
  EXPECT_TRUE(line[0] < line[1] && line[1] < line[2])
      << line[0] << " " << line[1] << " " << line[2];
}

TEST_F(RenderElements, TilesTakeTheGradientColourOfTheirMean) {
  const std::string xml =
      document(variable("vx", "X", true) + variable("vy", "Y", true) + variable("vv", "V", false),
               element("tile", kByX + "<color variable=\"vv\"/>"),
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\">"
               "<legendTarget aesthetic=\"color\" element=\"e\"/></legend></frame>");
  // Cells (a, p) 0, (a, q) 10, (b, p) mean of 4 and 6: 5; (b, q) has no case.
  const std::string picture = draw(xml, "X,Y,V\na,p,0\na,q,10\nb,p,4\nb,p,6\n");
  // In (x, y) order: shares 0, 1 and 0.5 of the range 0..10.
  expectGradientEndsAndMiddle(png(), paths(picture, "mark tile"));
  EXPECT_NE(picture.find("legend"), std::string::npos) << "the colour key of the values";
}

TEST_F(RenderElements, ContourLinesLieOnTheirLevelAndTheirLabelsNameIt) {
  const std::string xml =
      document(kXY + variable("vv", "V", false),
               element("contour", kByX + "<color variable=\"vv\"/><labeling/>"));
  // V = X + Y over a 5 x 5 grid: every line is a diagonal x + y = level, and
  // the label of level k sits where x + y = k, on a backing of its own.
  std::string csv = "X,Y,V\n";
  for (int x = 0; x <= 4; ++x) {
    for (int y = 0; y <= 4; ++y) {
      csv += std::to_string(x) + "," + std::to_string(y) + "," + std::to_string(x + y) + "\n";
    }
  }
  const std::string picture = draw(xml, csv);
  const auto x = axisMap(picture, "x"), y = axisMap(picture, "y");
  ASSERT_TRUE(x && y);
  // Back from pixels to data.
  const auto level = [&](double px, double py) { return (px - x->a) / x->b + (py - y->a) / y->b; };
  const auto lines = paths(picture, "mark contour");
  ASSERT_GE(lines.size(), 3u);
  for (const auto& line : lines) {
    ASSERT_GE(line.size(), 4u);
    for (std::size_t i = 2; i + 1 < line.size(); i += 2) {
      EXPECT_NEAR(level(line[i], line[i + 1]), level(line[0], line[1]), 0.02);
    }
  }
  const std::vector<std::string> labels = texts(picture, "mark-label");
  const auto backings = paths(picture, "mark-label-backing");
  ASSERT_EQ(labels.size(), lines.size());
  ASSERT_EQ(backings.size(), labels.size());
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const auto& box = backings[i];
    double left = 1e300, right = -1e300;
    for (std::size_t k = 0; k < box.size(); k += 2) {
      left = std::min(left, box[k]);
      right = std::max(right, box[k]);
    }
    const double said = std::stod(labels[i]);
    EXPECT_NEAR(level((left + right) / 2, (minOdd(box) + maxOdd(box)) / 2), said, 0.05) << i;
    EXPECT_TRUE(said > 0 && said < 8) << "levels lie inside the values' range: " << said;
  }
}

TEST_F(RenderElements, CollidingLabelsAreHiddenWhenTheElementSaysSo) {
  // A and B stand on one spot, C far from both.
  const auto labelled = [&](const std::string& attributes) {
    EXPECT_TRUE(load(document(kXY + variable("vn", "N", true),
                              element("point", kByX + "<labeling variable=\"vn\"/>", attributes)),
                     "X,Y,N\n1,1,A\n1,1,B\n9,9,C\n"))
        << renderer.error();
    return texts(svg(), "mark-label");
  };
  // A way of handling collisions that is not drawn is said.
  labelled(" labelCollisionHandling=\"scatter\"");
  EXPECT_EQ(renderer.skipped(),
            std::vector<std::string>{"label collision handling 'scatter' of element e"});
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {"", {"A", "B", "C"}},
      {" showCollidingLabels=\"false\"", {"A", "C"}},
      {" labelCollisionHandling=\"hide\"", {"A", "C"}},
      {" labelCollisionHandling=\"normal\"", {"A", "B", "C"}},
      // Shifted, B leaves A's place above the point for the one below it.
      {" labelCollisionHandling=\"shift\" showCollidingLabels=\"false\"", {"A", "B", "C"}},
  };
  for (const auto& [attributes, shown] : cases) {
    EXPECT_EQ(labelled(attributes), shown) << attributes;
    EXPECT_EQ(renderer.skipped(), std::vector<std::string>{}) << attributes;
  }
  const std::string picture = svg();
  auto at = labelsAt(picture);
  ASSERT_EQ(at.size(), 3u) << picture;
  const auto points = circles(picture, "mark point");
  ASSERT_EQ(points.size(), 3u);
  // A ends 5 pixels above its point, B starts 5 below it: at least a line
  // of 10-pixel text and the 10 pixels between them.
  EXPECT_LT(at["A"].second, points[0].second - 5 + 0.5);
  EXPECT_GT(at["B"].second, points[0].second + 5 + 9);
  EXPECT_NEAR(at["A"].first, at["B"].first, 0.5);  // both centred on the point
}

// Labels of marks on the panel's edge stay inside it, where the panel would
// clip them: the top one goes below its point, the side ones along the edge.
TEST_F(RenderElements, LabelsAtThePanelsEdgeMoveInside) {
  // Without the axes' margins, the points lie on the panel's corners.
  const std::string xml = std::regex_replace(
      document(kXY + variable("vn", "N", true), pointsWith("<labeling variable=\"vn\"/>")),
      std::regex(" lowerMargin=\"8%\" upperMargin=\"8%\""), "");
  const std::string picture = draw(xml, "X,Y,N\n0,0,Lowest\n10,10,Highest\n");
  std::smatch clip;
  ASSERT_TRUE(
      std::regex_search(picture, clip,
                        std::regex(R"re(<clipPath id="clip\d+"><rect x="([\d.]+)" y="([\d.]+)" )re"
                                   R"re(width="([\d.]+)" height="([\d.]+)")re")));
  const double left = std::stod(clip[1]), top = std::stod(clip[2]);
  const double right = left + std::stod(clip[3]);
  auto at = labelsAt(picture);
  ASSERT_EQ(at.size(), 2u) << picture;
  // "Lowest", centred on the panel's left edge, would start half its width
  // left of it; it starts at the edge.
  EXPECT_NEAR(at["Lowest"].first, left, 0.5);
  // "Highest" sits on the top edge: its baseline is below the point by the
  // gap and a line of 10-pixel text, and its right end is inside.
  EXPECT_GT(at["Highest"].second, top + 10);
  EXPECT_LT(at["Highest"].first, right - 30);
}

TEST_F(RenderElements, LabelsShowTheValueEachMarkDraws) {
  const std::string labelled = "<labeling variable=\"vn\"/>";
  const std::string pie =
      "<coordinateTransform method=\"polar\"/><dimension role=\"theta\"/>"
      "<element id=\"e\" type=\"interval\"><color variable=\"vg\"/>"
      "<labeling/></element>";
  const struct {
    std::string xml, csv;
    std::vector<std::string> labels;
  } cases[] = {
      // Means: a (4 + 6) / 2 = 5, b 10.5 and 9.5: 10.
      {document(kCY, element("interval", "<statistic method=\"mean\"/>" + kByC + "<labeling/>")),
       "C,Y\na,4\na,6\nb,10.5\nb,9.5\n",
       {"5", "10"}},
      // Points labelled by a variable show its value in their row.
      {document(kXY + variable("vn", "N", true), pointsWith(labelled)),
       "X,Y,N\n1,1,Ann\n2,3,Bob\n",
       {"Ann", "Bob"}},
      // A pie's slices: counts 3 and 1.
      {document(variable("vg", "G", true), pie), "G\na\na\na\nb\n", {"3", "1"}},
  };
  for (const auto& c : cases) EXPECT_EQ(texts(draw(c.xml, c.csv), "mark-label"), c.labels);
  // A size in the labeling sizes each point's text by its value, 8 to 16
  // pixels; labels of summarised marks cannot take one, and say so.
  const std::string sized =
      document(kXY + variable("vn", "N", true) + variable("vs", "S", false),
               pointsWith("<labeling variable=\"vn\"><size variable=\"vs\"/></labeling>"));
  const std::string picture = draw(sized, "X,Y,N,S\n1,1,Ann,10\n2,3,Bob,30\n3,2,Cy,20\n");
  EXPECT_EQ(matches(picture, R"re(class="mark-label"[^>]*font-size="([\d.]+)")re"),
            (std::vector<std::string>{"8", "16", "12"}))
      << picture;
  ASSERT_TRUE(
      load(document(kCY + variable("vs", "S", false),
                    element("interval", "<statistic method=\"mean\"/>" + kByC +
                                            "<labeling><size variable=\"vs\"/></labeling>")),
           "C,Y,S\na,4,4\nb,6,6\n"))
      << renderer.error();
  EXPECT_EQ(renderer.skipped(),
            std::vector<std::string>{"size vs of the labels of element e (only the labels of "
                                     "single cases take a size by a number)"});
}

TEST_F(RenderElements, TransparencyFadesPointsAndIsKeyed) {
  const std::string xml =
      document(kXY + variable("vt", "T", true), pointsWith("<transparency variable=\"vt\"/>"),
               "<frame id=\"frame_legend_1\"><legend id=\"legend_1\">"
               "<legendTarget aesthetic=\"transparency\" element=\"e\"/></legend></frame>");
  const std::string picture = draw(xml, "X,Y,T\n0,0,hi\n10,10,lo\n");
  EXPECT_EQ(texts(picture, "legend-entry"), (std::vector<std::string>{"hi", "lo"}));
  const auto points = circles(picture, "mark point");
  ASSERT_EQ(points.size(), 2u);
  const std::string png = this->png();
  // The first category is opaque; the last a quarter opaque, in the step
  // 4/15 (68/255): 255 - (255 - c) * 68/255 for 0, 114, 178 is 187, 217, 234.
  EXPECT_EQ(pixel(png, points[0]), 0x0072B2u);
  EXPECT_TRUE(near(pixel(png, points[1]), 0xBBD9EA)) << std::hex << pixel(png, points[1]);
}

// Past 4,096 colours, every colour in 16 steps of opacity no longer fits one
// 16-bit palette: the points go to batches with palettes of their own.
TEST_F(RenderElements, TransparencyFadesPointsOfThousandsOfColours) {
  const std::string xml =
      document(kXY + variable("vg", "G", true) + variable("vt", "T", true),
               pointsWith("<color variable=\"vg\"/><transparency variable=\"vt\"/>"));
  // 5,000 colour groups g0000..g4999, all on one spot but g4950 and g4951
  // (past the first palette, and circles: the 276th round of 18 colours).
  std::string csv = "X,Y,G,T\n";
  for (int g = 0; g < 5000; ++g) {
    char name[16];
    std::snprintf(name, sizeof name, "g%04d", g);
    const std::string at = g == 4950 ? "10,10," : g == 4951 ? "10,0," : "0,0,";
    csv += at + name + (g % 2 ? ",lo\n" : ",hi\n");
  }
  const std::string picture = draw(xml, csv);
  EXPECT_GE(count(picture, "<g class=\"mark point\""), 2u);
  const auto x = axisMap(picture, "x"), y = axisMap(picture, "y");
  ASSERT_TRUE(x && y);
  const std::string png = this->png();
  // 5,000 points take the look's opacity 200; hi keeps it, lo is opaque in
  // step 4 of 15 (68/255): 200 * 68 / 255 = 53. Over white each channel is
  // 255 - (255 - c) * alpha / 255.
  const auto over = [](chartxml::render::Color c, double alpha) {
    const auto channel = [&](int v) {
      return static_cast<unsigned>(std::lround(255 - (255 - v) * alpha / 255));
    };
    return (channel(c.r) << 16) | (channel(c.g) << 8) | channel(c.b);
  };
  const unsigned high = pixel(png, static_cast<int>((*x)(10)), static_cast<int>((*y)(10)));
  const unsigned low = pixel(png, static_cast<int>((*x)(10)), static_cast<int>((*y)(0)));
  EXPECT_TRUE(near(high, over(chartxml::render::categoryColor(4950), 200), 3)) << std::hex << high;
  EXPECT_TRUE(near(low, over(chartxml::render::categoryColor(4951), 53), 3)) << std::hex << low;
}

// The size aesthetic maps its least value to the size low says and its
// greatest to high's, the marker's area growing with the value between.
TEST_F(RenderElements, SizesSpanTheRangeTheDocumentGives) {
  const auto radii = [&](const std::string& range) {
    const std::string xml = document(kXY + variable("vz", "Z", false),
                                     pointsWith("<size variable=\"vz\"" + range + "/>"));
    EXPECT_TRUE(load(xml, "X,Y,Z\n0,0,0\n5,5,25\n10,10,100\n")) << renderer.error();
    std::vector<double> out;
    for (const std::string& r :
         matches(svg(), R"re(<circle cx="[-0-9.]+" cy="[-0-9.]+" r="([0-9.]+)")re")) {
      out.push_back(std::stod(r));
    }
    std::sort(out.begin(), out.end());
    return out;
  };
  const struct {
    std::string range;
    std::vector<double> radii;
    std::vector<std::string> skipped;
  } cases[] = {
      // A high that is no length: the own range, 4 to 18 across, as with no range at all.
      {" high=\"huge\"",
       {2, 5.5, 9},
       {"size high 'huge' of element e (not a length: the default range is drawn)"}},
      // 2 px to a quarter inch (24 px): 2 + 22 * sqrt(share) for shares 0, 1/4
      // and 1 is 2, 13 and 24 across.
      {" low=\"2px\" high=\"0.25in\"", {1, 6.5, 12}, {}},
      // High below low: the greatest value takes the smallest marker, 18 pt is 24 px.
      {" low=\"18pt\" high=\"2\"", {1, 6.5, 12}, {}},
      // The binned element's words: the own range.
      {" low=\"binlowval\" high=\"binhighval\"", {2, 5.5, 9}, {}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(radii(c.range), c.radii) << c.range;
    EXPECT_EQ(renderer.skipped(), c.skipped) << c.range;
  }
}

// A point element of an x alone, set to dots, stacks its cases as a dot
// plot: one dot per case, one count of y apart, from zero up.
TEST_F(RenderElements, DotPlotsStackTheirCasesOverTheirValues) {
  // With a y the element stays a scatter, and says so.
  ASSERT_TRUE(load(document(kXY, element("point", kByX, " dot=\"dot\"")), "X,Y\n1,1\n"));
  EXPECT_EQ(renderer.skipped(),
            std::vector<std::string>{"dot plot of element e with a y (drawn as a scatter)"});
  const std::string picture =
      draw(document(variable("vx", "X", false),
                    element("point", "<x variable=\"vx\"/>", " dot=\"dot\"")),
           "X\n1\n3\n1\n2\n1\n3\n");
  const auto x = axisMap(picture, "x"), y = axisMap(picture, "y");
  ASSERT_TRUE(x && y);
  std::vector<std::pair<double, double>> dots;
  for (const auto& [px, py] : circles(picture, "mark point")) {
    dots.emplace_back(std::round((px - x->a) / x->b * 100) / 100,
                      std::round((py - y->a) / y->b * 100) / 100);
  }
  std::sort(dots.begin(), dots.end());
  EXPECT_EQ(dots, (std::vector<std::pair<double, double>>{
                      {1, 0.5}, {1, 1.5}, {1, 2.5}, {2, 0.5}, {3, 0.5}, {3, 1.5}}));
  // Dots of one stack touch: their diameter is one count (under 16 pixels).
  const auto radius = matches(picture, R"re(<circle [^>]*r="([0-9.]+)")re");
  ASSERT_FALSE(radius.empty());
  EXPECT_NEAR(2 * std::stod(radius[0]), std::min(16.0, std::fabs(y->b)), 0.01);
  EXPECT_NE(renderer.description().find("Dot plot of vx, 6 cases"), std::string::npos)
      << renderer.description();
  EXPECT_NE(renderer.description().find("Count from 1 to 3"), std::string::npos)
      << renderer.description();
}

TEST_F(RenderElements, BarsTakeTheMeanOpacityAndColourOfTheirCases) {
  const std::string xml =
      document(variable("vc", "C", true) + variable("vt", "T", true),
               element("interval", "<x variable=\"vc\"/><transparency variable=\"vt\"/>"));
  // hi is opaque, lo a quarter: a 1, b 0.25, c (1 + 0.25) / 2 = 0.625, so
  // alphas 255, 64 and 159; over white 255 - (255 - v) * alpha / 255 for the
  // single colour 0, 114, 178: 0072B2, BFDCEC and 60A7CF.
  const auto bars = paths(draw(xml, "C,T\na,hi\nb,lo\nc,hi\nc,lo\n"), "mark bar");
  ASSERT_EQ(bars.size(), 3u);
  const std::string png = this->png();
  const unsigned expected[] = {0x0072B2, 0xBFDCEC, 0x60A7CF};
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_TRUE(near(middleColour(png, bars[i]), expected[i]))
        << i << ": " << std::hex << middleColour(png, bars[i]);
  }
  // A continuous colour: means a (0 + 10) / 2 = 5, b 20, c (10 + 15) / 2
  // = 12.5 span the gradient, at shares 0, 1 and 0.5.
  const std::string shaded =
      document(variable("vc", "C", true) + variable("vv", "V", false),
               element("interval", "<x variable=\"vc\"/><color variable=\"vv\"/>"));
  const auto cells = paths(draw(shaded, "C,V\na,0\na,10\nb,20\nc,10\nc,15\n"), "mark bar");
  expectGradientEndsAndMiddle(this->png(), cells);
}

TEST_F(RenderElements, StyleCyclesGiveTheGroupsTheirColoursAndDashesInOrder) {
  const std::string cycles =
      "<styleCycle id=\"styleCycleColor\"><cycle>"
      "<style id=\"c1\" value=\"color:#ff0000\"/><style id=\"c2\" value=\"color:#00ff00\"/>"
      "</cycle></styleCycle>"
      "<styleCycle id=\"styleCyclePattern\"><cycle>"
      "<style id=\"p1\" value=\"stroke-dasharray:2 2\"/>"
      "<style id=\"p2\" value=\"stroke-dasharray:8,3\"/></cycle></styleCycle>\n";
  // Groups G of an element of `type` styled by `rest`, with the cycles `top`.
  const auto styled = [](const std::string& type, const std::string& rest, const std::string& top) {
    return document(kXY + variable("vg", "G", true), element(type, kByX + rest), "", top);
  };
  const auto at = circles(
      draw(styled("point", "<styleBy variable=\"vg\" styleCycle=\"styleCycleColor\"/>", cycles),
           "X,Y,G\n0,0,a\n10,10,b\n"),
      "mark point");
  ASSERT_EQ(at.size(), 2u);
  const std::string png = this->png();
  EXPECT_EQ(pixel(png, at[0]), 0xFF0000u);
  EXPECT_EQ(pixel(png, at[1]), 0x00FF00u);
  const std::string picture =
      draw(styled("line", "<styleBy variable=\"vg\" styleCycle=\"styleCyclePattern\"/>", cycles),
           "X,Y,G\n0,0,a\n10,10,a\n0,5,b\n10,5,b\n");
  EXPECT_NE(picture.find("stroke-dasharray=\"2,2\""), std::string::npos);
  EXPECT_NE(picture.find("stroke-dasharray=\"8,3\""), std::string::npos);
  // A cycle's symbols shape the points of its categories in turn: a square,
  // then the renderer's own second shape where the entry names none.
  const std::string marked = draw(
      styled("point", "<color variable=\"vg\"/><styleBy variable=\"vg\" styleCycle=\"shapes\"/>",
             "<styleCycle id=\"shapes\"><cycle><style id=\"s1\" value=\"symbol:square\"/>"
             "<style id=\"s2\" value=\"color:#123456\"/></cycle></styleCycle>\n"),
      "X,Y,G\n0,0,a\n10,10,b\n");
  EXPECT_EQ(count(marked, "\" width=\"8\" height=\"8\""), 1u) << "one square marker";
  EXPECT_EQ(circles(marked, "mark point").size(), 0u) << "b takes the second shape, a triangle";
}

}  // namespace
