// Panels, coordinates, axes and guides of drawn charts: the facet algebra's
// panels and labels, scales per panel, power and percent axes, minor ticks,
// axes on the opposite side, roses, and the fitted-curve and reference lines.
// Expected values are worked out by hand from each test's data.
#include <gtest/gtest.h>

#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "chartxml/render.h"
#include "render_documents.h"
#include "text/TextEngine.h"

namespace {

using chartxml::ChartRenderer;
using chartxml::PictureFormat;
using rendertest::coordinates;
using rendertest::count;
using rendertest::matches;
using rendertest::pixel;
using rendertest::starts;
using rendertest::texts;

std::string document(const std::string& variables, const std::string& body) {
  return "<?xml version=\"1.0\"?>\n<visualization><source id=\"s\"/>" + variables +
         "<frame id=\"frame_graph_1\"><frame id=\"frame_data_1\">" + body +
         "</frame></frame></visualization>\n";
}

std::string variable(const std::string& id, const std::string& column, bool categorical) {
  return "<variable id=\"" + id + "\" label=\"" + id + "\" source=\"s\" sourceName=\"" + column +
         "\" categorical=\"" + (categorical ? "true" : "false") + "\"/>";
}

const std::string kPoints =
    "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/></element>";

std::string dimension(const std::string& role, const std::string& attributes,
                      const std::string& axis) {
  return "<dimension role=\"" + role + "\" " + attributes + "><axis id=\"axis_" + role + "\">" +
         axis + "</axis></dimension>";
}

// Plain x and y axes with ticks, and points of Y by X.
const std::string kTicks =
    dimension("x", "", "<majorTicks/>") + dimension("y", "", "<majorTicks/>");
const std::string kPlain = kTicks + kPoints;

// Cases of A (a, b) and B (p, q): (a, p) once, (b, p) and (b, q); (a, q) never.
const std::string kLevels = "X,Y,A,B\n1,1,a,p\n2,2,b,p\n3,3,b,q\n";
const std::string kLevelVariables = variable("vx", "X", false) + variable("vy", "Y", false) +
                                    variable("va", "A", true) + variable("vb", "B", true);

// Points of Y by X and `guides`.
std::string withGuides(const std::string& guides) {
  return document(kLevelVariables, kPlain + guides);
}

// A function guide of y by `formula`, with `attributes` and `parameters` of its own.
std::string function(const std::string& id, const std::string& formula,
                     const std::string& attributes = "", const std::string& parameters = "") {
  return "<guide id=\"" + id + "\"" + attributes +
         " type=\"function\"><parameter name=\"y\" value=\"" + formula + "\"/>" + parameters +
         "</guide>";
}

// The rectangles the panels clip their marks to: x, y, width and height.
std::vector<std::array<double, 4>> clips(const std::string& svg) {
  std::vector<std::array<double, 4>> out;
  for (const std::string& rect : matches(svg, "<clipPath id=\"[^\"]*\"><rect ([^/]*)/>")) {
    std::array<double, 4>& r = out.emplace_back();
    const char* names[] = {"x", "y", "width", "height"};
    for (int i = 0; i < 4; ++i) {
      const auto v = matches(rect, std::string("(?:^| )") + names[i] + "=\"([-0-9.]+)\"");
      r[i] = v.size() == 1 ? std::stod(v[0]) : std::nan("");
    }
  }
  return out;
}

class RenderPanels : public ::testing::Test {
 protected:
  // Draws `xml` over `csv`, which must load, and unless `partly` with every part drawn.
  void draw(const std::string& xml, const std::string& csv, bool partly = false) {
    ASSERT_TRUE(renderer.loadText(xml, "t.xml", [csv](const std::string&) {
      return std::optional<std::string>(csv);
    })) << renderer.error();
    if (!partly) {
      EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
    }
    svg = renderer.picture(PictureFormat::kSvg).value_or("");
  }
  std::string png() { return renderer.picture(PictureFormat::kPng).value_or(""); }

  ChartRenderer renderer;
  std::string svg;
};

std::string facets(const std::string& algebra) {
  return "<coordinateFacet>" + algebra + "</coordinateFacet>" + kPlain;
}

TEST_F(RenderPanels, CrossNestAndBlendMakeTheirPanels) {
  const std::string a = "<facetVariable role=\"x\" variable=\"va\"/>";
  const std::string b = "<facetVariable role=\"x\" variable=\"vb\"/>";
  const std::string bDown = "<facetVariable role=\"y\" variable=\"vb\"/>";
  // The algebra, its panels' labels (each on a strip of its own), and the
  // points drawn: each case once, or once for each blended variable.
  const std::vector<std::tuple<std::string, std::vector<std::string>, std::size_t>> cases{
      // A cross: every combination, the empty (a, q) too.
      {"<cross>" + a + b + "</cross>", {"a / p", "a / q", "b / p", "b / q"}, 3},
      // A nest: only the combinations with cases, outer level first.
      {"<nest>" + a + b + "</nest>", {"a / p", "b / p", "b / q"}, 3},
      // A blend: A's levels then B's, each case in its A panel and its B panel.
      {"<blend>" + a + b + "</blend>", {"a", "b", "p", "q"}, 6},
      // A across and B down: a 2 x 2 grid, labelled along the top and the right.
      {a + bDown, {"a", "b", "p", "a", "b", "q"}, 3},
      // A nest of A across in B down: the grid's (a, q) cell stays empty, and
      // each row is labelled beside its last panel.
      {"<nest>" + a + bDown + "</nest>", {"a", "b", "p", "b", "q"}, 3},
  };
  for (const auto& [algebra, labels, points] : cases) {
    draw(document(kLevelVariables, facets(algebra)), kLevels);
    EXPECT_EQ(texts(svg, "panel-label"), labels) << algebra;
    EXPECT_EQ(count(svg, "class=\"panel-strip\""), labels.size()) << algebra;
    EXPECT_EQ(count(svg, "<circle"), points) << algebra;
  }
}

TEST_F(RenderPanels, LongLevelNamesAreCutAndNeighboursNeverCollide) {
  // Eight panels side by side, each about 80 pixels wide: a long name takes
  // two lines at most and ends in an ellipsis.
  std::string csv = "X,Y,A\n";
  const std::string name = "An extraordinarily long level name that no panel strip holds";
  for (int i = 0; i < 8; ++i) {
    csv += std::to_string(1000000 * i) + "," + std::to_string(i) + "," + name + " " +
           std::to_string(i) + "\n";
  }
  draw(document(kLevelVariables, facets("<facetVariable role=\"x\" variable=\"va\"/>")), csv);
  const auto labels = texts(svg, "panel-label", "|");
  ASSERT_EQ(labels.size(), 8u);
  // Cut from the middle: each keeps the number that tells it apart.
  for (std::size_t i = 0; i < labels.size(); ++i) {
    EXPECT_LE(count(labels[i], "|"), 1u) << labels[i];
    EXPECT_NE(labels[i].find("\u2026"), std::string::npos) << labels[i];
    EXPECT_EQ(labels[i].back(), '0' + static_cast<char>(i)) << labels[i];
  }
  // The x tick labels (millions) of neighbouring panels: each one ends
  // before the next begins, measured with the engine that drew them.
  chartxml::render::TextEngine engine;
  const auto lefts = matches(svg, "<text class=\"tick-label x\"[^>]*><tspan x=\"([-0-9.]+)");
  const auto words = texts(svg, "tick-label x");
  ASSERT_EQ(lefts.size(), words.size());
  ASSERT_GT(words.size(), 8u);
  for (std::size_t i = 1; i < words.size(); ++i) {
    const double width = engine.measure(words[i - 1], {11, false}).width;
    EXPECT_LE(std::stod(lefts[i - 1]) + width, std::stod(lefts[i]) + 0.01)
        << words[i - 1] << " runs into " << words[i];
  }
}

TEST_F(RenderPanels, ScalesAreSharedUnlessTheDocumentSeparatesThem) {
  // Panel a holds y 1..2, panel b 1000..2000.
  const std::string csv = "X,Y,A\n1,1,a\n2,2,a\n1,1000,b\n2,2000,b\n";
  const std::string facet =
      "<coordinateFacet><facetVariable role=\"x\" variable=\"va\"/>"
      "</coordinateFacet>";
  const auto yTicks = [&](const std::string& shared) {
    draw(document(kLevelVariables, facet + dimension("x", "", "<majorTicks/>") +
                                       dimension("y", shared, "<majorTicks/>") + kPoints),
         csv);
    return texts(svg, "tick-label y");
  };
  // Shared: one axis on the left, up to 2,000 or so.
  const auto shared = yTicks("facetsShareScale=\"true\"");
  EXPECT_EQ(std::count(shared.begin(), shared.end(), "1"), 0) << "1..2 is a sliver of 0..2000";
  // Separate: each panel labels its own, so 1..2 shows its tenths.
  const auto own = yTicks("facetsShareScale=\"false\"");
  EXPECT_GT(own.size(), shared.size());
  EXPECT_EQ(std::count(shared.begin(), shared.end(), "1.2"), 0);
  EXPECT_NE(std::find(own.begin(), own.end(), "1.2"), own.end());
  EXPECT_NE(std::find(own.begin(), own.end(), "1800"), own.end());
}

TEST_F(RenderPanels, PowerScaleSpacesTicksByTheRootOfTheirValue) {
  // y from 0 to 100 fixed by its domain, exponent 0.5: value v lies at
  // sqrt(v / 100) of the way up, so 25 halfway and 81 at nine tenths.
  const std::string xml =
      document("<domain id=\"d\"><interval min=\"0\" max=\"100\"/></domain>" + kLevelVariables,
               dimension("x", "", "<majorTicks/>") +
                   "<dimension role=\"y\" domain=\"d\"><scale method=\"power\">"
                   "<parameter name=\"exponent\" value=\"0.5\"/></scale>"
                   "<axis id=\"ay\"><majorTicks/></axis></dimension>" +
                   kPoints);
  const std::string csv = "X,Y\n0,25\n1,25\n2,25\n";
  draw(xml, csv);
  const auto labels = texts(svg, "tick-label y");
  const auto ticks = starts(svg, "tick y");
  ASSERT_EQ(labels.size(), ticks.size());
  ASSERT_EQ(labels.front(), "0");
  ASSERT_EQ(labels.back(), "100");
  const double bottom = ticks.front().second, top = ticks.back().second;
  for (std::size_t i = 0; i < labels.size(); ++i) {
    const double share = std::sqrt(std::stod(labels[i]) / 100);
    EXPECT_NEAR(ticks[i].second, bottom - share * (bottom - top), 1.0) << labels[i];
  }
  // The points (y 25) sit halfway up, not a quarter of the way.
  const std::string picture = png();
  const auto xTicks = starts(svg, "tick x");  // 0 to 2, symmetric about the middle point
  const int x = static_cast<int>(xTicks[xTicks.size() / 2].first);
  const int half = static_cast<int>(std::lround((bottom + top) / 2));
  const int quarter = static_cast<int>(std::lround(bottom - (bottom - top) / 4));
  EXPECT_NE(pixel(picture, x, half), 0xFFFFFFu);
  EXPECT_EQ(pixel(picture, x, quarter), 0xFFFFFFu);
  // The builders write the method as "exponent": the same scale.
  std::string named = xml;
  named.replace(named.find("method=\"power\""), 14, "method=\"exponent\"");
  draw(named, csv);
  EXPECT_EQ(texts(svg, "tick-label y"), labels);
  EXPECT_EQ(starts(svg, "tick y"), ticks);
}

TEST_F(RenderPanels, PercentMinorAndOppositeAxes) {
  // y 0..100 fixed: majors at nice steps, four minors between each pair;
  // labels with %. x on the top, y on the right.
  const std::string xml = document(
      "<domain id=\"d\"><interval min=\"0\" max=\"100\"/></domain>" + kLevelVariables,
      "<dimension role=\"x\"><axis id=\"ax\" opposite=\"true\"><majorTicks/></axis></dimension>"
      "<dimension role=\"y\" domain=\"d\"><axis id=\"ay\" opposite=\"true\"><majorTicks/>"
      "<minorTicks number=\"4\"><gridLines/></minorTicks><transform method=\"percent\"/>"
      "</axis></dimension>" +
          kPoints);
  draw(xml, "X,Y\n1,10\n2,90\n");
  const auto labels = texts(svg, "tick-label y");
  ASSERT_GE(labels.size(), 3u);
  for (const std::string& label : labels) EXPECT_EQ(label.back(), '%') << label;
  EXPECT_EQ(count(svg, "class=\"minor-tick y\""), 4 * (labels.size() - 1));
  EXPECT_EQ(count(svg, "class=\"minor-grid y\""), 4 * (labels.size() - 1));
  // The y ticks point right from the panel's right edge, x ticks up from its top.
  const auto yTick = coordinates(svg, "tick y");
  EXPECT_GT(yTick[2], yTick[0]);
  const auto xTick = coordinates(svg, "tick x");
  const auto xLine = coordinates(svg, "axis-line x");
  EXPECT_LT(xTick[3], xTick[1]);
  EXPECT_DOUBLE_EQ(xTick[1], xLine[1]);
  // The x axis line is drawn at the top; nothing crosses the panel's foot.
  const std::string picture = png();
  const int middle = static_cast<int>((xLine[0] + xLine[2]) / 2);
  EXPECT_NE(pixel(picture, middle, static_cast<int>(xLine[1])), 0xFFFFFFu);
  const double foot = starts(svg, "tick y").front().second;  // the 0% tick
  EXPECT_EQ(pixel(picture, middle, static_cast<int>(foot)), 0xFFFFFFu);

  // On a log x from 1 to 1000, minors stand at 1..9 × 10^k (27 of them, and
  // 1000) wherever no major does.
  draw(document("<domain id=\"d\"><interval min=\"1\" max=\"1000\"/></domain>" + kLevelVariables,
                "<dimension role=\"x\" domain=\"d\"><scale method=\"log\"/><axis id=\"ax\">"
                "<majorTicks/><minorTicks/></axis></dimension>" +
                    dimension("y", "", "<majorTicks/>") + kPoints),
       "X,Y\n1,1\n1000,2\n");
  EXPECT_EQ(count(svg, "class=\"minor-tick x\""), 28 - texts(svg, "tick-label x").size());
}

TEST_F(RenderPanels, RoseWedgesTakeEqualAnglesAndRadiiByValue) {
  // Four categories, sums 4, 2, 1 and 3: quarter turns clockwise from
  // twelve o'clock, radii in proportion 4 : 2 : 1 : 3.
  const std::string xml = document(
      variable("vc", "C", true) + variable("vy", "Y", false),
      "<coordinateTransform method=\"polar\"/><dimension role=\"x\"/><dimension role=\"y\"/>"
      "<element id=\"e\" type=\"interval\"><statistic method=\"sum\"/>"
      "<x variable=\"vc\"/><y variable=\"vy\"/></element>");
  draw(xml, "C,Y\nn,4\ne,1\ne,1\ns,1\nw,3\n");
  const std::regex wedge(
      "class=\"mark wedge\" d=\"M([-0-9.]+) ([-0-9.]+) ?A[^L]*L([-0-9.]+) ([-0-9.]+)");
  std::vector<double> angles, radii;
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), wedge); it != std::sregex_iterator();
       ++it) {
    const double dx = std::stod((*it)[1].str()) - std::stod((*it)[3].str());
    const double dy = std::stod((*it)[2].str()) - std::stod((*it)[4].str());
    angles.push_back(std::atan2(dy, dx) * 180 / std::numbers::pi);
    radii.push_back(std::hypot(dx, dy));
  }
  // Categories in text order: e, n, s, w.
  ASSERT_EQ(angles.size(), 4u) << svg;
  const double expected[] = {-90, 0, 90, 180};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(std::remainder(angles[i] - expected[i], 360), 0, 0.1) << i;
  }
  const double sums[] = {2, 4, 1, 3};  // e, n, s, w
  for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(radii[i] / radii[1], sums[i] / 4, 0.01) << i;
  EXPECT_EQ(texts(svg, "tick-label x"), (std::vector<std::string>{"e", "n", "s", "w"}));
  // The rings' values stand over the wedges, each on a backing of its own.
  const std::size_t values = texts(svg, "tick-label y").size();
  EXPECT_GE(values, 2u) << svg;
  EXPECT_EQ(count(svg, "class=\"tick-label-backing y\""), values) << svg;
  EXPECT_NE(svg.find("<desc id=\"chart-desc\">Rose chart of "), std::string::npos) << svg;
}

TEST_F(RenderPanels, RoseCategoriesFollowTheirDomainsSort) {
  const auto rose = [](const std::string& sort) {
    return document("<domain id=\"dc\" categorical=\"true\">" + sort + "</domain>" +
                        variable("vc", "C", true) + variable("vy", "Y", false),
                    "<coordinateTransform method=\"polar\"/><dimension role=\"x\" domain=\"dc\"/>"
                    "<dimension role=\"y\"/><element id=\"e\" type=\"interval\"><statistic "
                    "method=\"sum\"/><x variable=\"vc\"/><y variable=\"vy\"/></element>");
  };
  // Sums: n 4, e 2 (two cases), s 1, w 3; first seen: n, e, s, w. By the
  // sum of Y, greatest first; by the count of cases, least first (n, s, w
  // one case each keep their text order; e has two).
  const std::pair<std::string, std::vector<std::string>> cases[] = {
      {"<sort descending=\"true\"/>", {"w", "s", "n", "e"}},
      {"<sort><simpleSort method=\"data\"/></sort>", {"n", "e", "s", "w"}},
      {"<sort descending=\"true\"><statisticSort sourceVariable=\"vc\" "
       "statVariable=\"vy\"/></sort>",
       {"n", "w", "e", "s"}},
      {"<sort><statisticSort sourceVariable=\"vc\"/></sort>", {"n", "s", "w", "e"}},
  };
  for (const auto& [sort, order] : cases) {
    draw(rose(sort), "C,Y\nn,4\ne,1\ne,1\ns,1\nw,3\n");
    EXPECT_EQ(texts(svg, "tick-label x"), order) << sort;
  }
}

TEST_F(RenderPanels, PolarPointsAndLinesTurnXIntoAnglesAndYIntoRadii) {
  // x spans 0..100 (one turn, clockwise from twelve o'clock), y 0..10 from
  // the centre out: x 0, 25, 50, 75 point north, east, south and west.
  const std::string xml = document(
      "<domain id=\"dx\"><interval min=\"0\" max=\"100\"/></domain>"
      "<domain id=\"dy\"><interval min=\"0\" max=\"10\"/></domain>" +
          variable("vx", "X", false) + variable("vy", "Y", false) + variable("vg", "G", true),
      "<coordinateTransform method=\"polar\"/><dimension role=\"x\" domain=\"dx\"/>"
      "<dimension role=\"y\" domain=\"dy\"/>" +
          kPoints +
          "<element id=\"l\" type=\"line\"><x variable=\"vx\"/><y variable=\"vy\"/>"
          "<split variable=\"vg\"/></element>");
  draw(xml, "X,Y,G\n0,10,a\n25,10,a\n50,5,b\n75,10,b\n");
  auto at = rendertest::circles(svg, "mark point");
  ASSERT_EQ(at.size(), 4u) << svg;
  // West and east by x, north by y; the centre halfway from west to east.
  std::sort(at.begin(), at.end());
  const auto west = at[0], east = at[3];
  const auto north = at[1].second < at[2].second ? at[1] : at[2];
  const auto south = at[1].second < at[2].second ? at[2] : at[1];
  const double cx = (west.first + east.first) / 2, cy = (west.second + east.second) / 2;
  const double r = east.first - cx;
  EXPECT_GT(r, 50);
  EXPECT_NEAR(west.second, east.second, 0.6);
  EXPECT_NEAR(north.first, cx, 0.6);
  EXPECT_NEAR(north.second, cy - r, 0.6);  // at the rim
  EXPECT_NEAR(south.first, cx, 0.6);       // half way out
  EXPECT_NEAR(south.second, cy + r / 2, 0.6);
  // The line from x 0 to 25 at y 10 is the rim's quarter arc, cut into
  // short steps: every point of it lies at distance r from the centre.
  const std::vector<double> line = coordinates(svg, "mark line");
  ASSERT_GE(line.size(), 20u) << svg;
  for (std::size_t i = 0; i + 1 < line.size() && i < 40; i += 2) {
    EXPECT_NEAR(std::hypot(line[i] - cx, line[i + 1] - cy), r, 0.6) << i;
  }
  // Rings at the radius ticks, names at the angle's; 100 is 0's place.
  EXPECT_GE(count(svg, "class=\"grid ring\""), 2u);
  const std::vector<std::string> names = texts(svg, "tick-label x");
  EXPECT_NE(std::find(names.begin(), names.end(), "0"), names.end());
  EXPECT_EQ(std::find(names.begin(), names.end(), "100"), names.end());
  EXPECT_NE(renderer.description().find("Polar scatter plot of vy by vx, vx around the circle"),
            std::string::npos)
      << renderer.description();
}

TEST_F(RenderPanels, FacetLabelingReversesLevelsAndShapesCells) {
  // Columns by A reversed (b before a), rows by B in order; square cells.
  const std::string labeling =
      "<facetLabeling cellAspect=\"1\"><facetLabel level=\"1\" reverse=\"true\"/>"
      "<facetLabel level=\"2\"/></facetLabeling>";
  draw(document(kLevelVariables, labeling + facets("<facetVariable role=\"x\" variable=\"va\"/>"
                                                   "<facetVariable role=\"y\" variable=\"vb\"/>")),
       kLevels);
  EXPECT_EQ(texts(svg, "panel-label"), (std::vector<std::string>{"b", "a", "p", "b", "a", "q"}));
  // Each panel clips its marks to its own area: four squares.
  const auto cells = clips(svg);
  ASSERT_EQ(cells.size(), 4u) << svg;
  for (const auto& cell : cells) EXPECT_NEAR(cell[2], cell[3], 0.6) << svg;
  // Gaps between the columns (level 1) and rows (level 2): an inch and
  // half an inch, the rows' beside the strips of the row below.
  const auto spaced = [&](const std::string& columns, const std::string& rows) {
    draw(document(kLevelVariables, "<facetLabeling><facetLabel level=\"1\"" + columns +
                                       "/><facetLabel level=\"2\"" + rows + "/></facetLabeling>" +
                                       facets("<facetVariable role=\"x\" variable=\"va\"/>"
                                              "<facetVariable role=\"y\" variable=\"vb\"/>")),
         kLevels);
    const auto at = clips(svg);
    EXPECT_EQ(at.size(), 4u);
    // Panels in reading order: the second is right of the first, the third below it.
    return at.size() != 4
               ? std::pair{0.0, 0.0}
               : std::pair{at[1][0] - at[0][0] - at[0][2], at[2][1] - at[0][1] - at[0][3]};
  };
  const auto plain = spaced("", "");
  const auto apart = spaced(" gap=\"1in\"", " gap=\"0.5in\" cellStyle=\"data_1\"");
  EXPECT_NEAR(apart.first, 96, 0.1);
  EXPECT_NEAR(apart.second - plain.second, 48 - 10, 0.1);  // 10: the gap when none is said
  // Axes along the levels name them once, at the grid's edge, in place of
  // the strips: the columns' under the bottom tick labels, the rows' turned
  // to read upwards beside the left ones.
  draw(document(kLevelVariables,
                "<facetLabeling><facetLabel level=\"1\"><axis id=\"ax\"><majorTicks/></axis>"
                "</facetLabel><facetLabel level=\"2\"><axis id=\"ay\"><majorTicks "
                "labelAngle=\"-90\"/></axis></facetLabel></facetLabeling>" +
                    facets("<facetVariable role=\"x\" variable=\"va\"/>"
                           "<facetVariable role=\"y\" variable=\"vb\"/>")),
       kLevels);
  EXPECT_EQ(count(svg, "panel-strip"), 0u);
  EXPECT_EQ(texts(svg, "facet-axis-label x"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(texts(svg, "facet-axis-label y"), (std::vector<std::string>{"p", "q"}));
  const auto lowest = [&](const std::string& role) {
    double y = 0;
    for (const std::string& at : matches(svg, "class=\"" + role +
                                                  "\"[^>]*><tspan x=\"[-0-9.]+\" "
                                                  "y=\"([-0-9.]+)\"")) {
      y = std::max(y, std::stod(at));
    }
    return y;
  };
  EXPECT_GT(lowest("facet-axis-label x"), lowest("tick-label x") + 6);
  EXPECT_EQ(matches(svg, "class=\"facet-axis-label y\"[^>]*(transform=\"rotate\\(-90 )").size(), 2u)
      << svg;
  // A gap and an axis at the cells' own level and a cell class our look
  // does not know are not drawn, and said.
  draw(document(kLevelVariables,
                "<facetLabeling><facetLabel level=\"0\" gap=\"5px\" cellStyle=\"fancy_1\">"
                "<axis id=\"strip_axis\"><majorTicks/></axis></facetLabel></facetLabeling>" +
                    facets("<facetVariable role=\"x\" variable=\"va\"/>")),
       kLevels, true);
  EXPECT_EQ(renderer.skipped(),
            (std::vector<std::string>{
                "gap '5px' of the facet label of level 0 of frame frame_data_1",
                "cell style 'fancy_1' of the facet label of level 0 of frame frame_data_1",
                "axis of the facet label of level 0 of frame frame_data_1"}));
  // A wide cell aspect of a half: cells twice as wide as high.
  draw(document(kLevelVariables, "<facetLabeling cellAspect=\"0.5\"/>" +
                                     facets("<facetVariable role=\"x\" variable=\"va\"/>")),
       kLevels);
  const auto wide = clips(svg);
  ASSERT_EQ(wide.size(), 2u) << svg;
  EXPECT_NEAR(wide[0][2], 2 * wide[0][3], 1.0);
}

// Marks are cut at their panel's edge unless the frame says not to clip:
// then a marker on the edge is drawn whole, over the axis's side.
TEST_F(RenderPanels, FramesThatDoNotClipDrawEdgeMarkersWhole) {
  const std::string csv = "X,Y\n0,5\n10,0\n10,10\n";
  const auto probe = [&](const std::string& clip) {
    draw(std::regex_replace(document(kLevelVariables, kPlain), std::regex("\"frame_data_1\""),
                            "\"frame_data_1\"" + clip),
         csv);
    // The point (0, 5) sits on the panel's left edge, half way up; 8 pixels
    // across, it reaches 4 pixels past the edge. Ticks at 0 and 10 give
    // the edge and the middle.
    const auto xs = starts(svg, "tick x"), ys = starts(svg, "tick y");
    const double left = xs.front().first, middle = (ys.front().second + ys.back().second) / 2;
    return pixel(png(), static_cast<int>(left - 2), static_cast<int>(middle));
  };
  const unsigned marker = 0x0072B2;
  EXPECT_EQ(probe(""), 0xFFFFFFu);
  EXPECT_EQ(count(svg, "<clipPath"), 1u);
  EXPECT_EQ(count(svg, "<rect x=\"0\" y=\"0\""), 0u) << "the clip is the panel";
  EXPECT_EQ(probe(" clip=\"true\""), 0xFFFFFFu);
  EXPECT_EQ(probe(" clip=\"false\""), marker);
  const auto clip = clips(svg);
  ASSERT_EQ(clip.size(), 1u) << svg;
  EXPECT_TRUE(clip[0][0] == 0 && clip[0][1] == 0) << "the clip is the picture";
}

TEST_F(RenderPanels, CubeWireFrameDrawsTwelveEdgesOrNineClearOfTheNearCorner) {
  const auto edges = [&](const std::string& complete) {
    draw(document(
             variable("vx", "X", false) + variable("vy", "Y", false) + variable("vz", "Z", false),
             "<coordinateTransform method=\"rectangular\"/><dimension role=\"x\"/>"
             "<dimension role=\"y\"/><dimension role=\"z\"/>"
             "<element id=\"e\" type=\"point\"><x variable=\"vx\"/><y variable=\"vy\"/>"
             "<z variable=\"vz\"/></element><guide id=\"g\" type=\"frame\">" +
                 complete + "</guide>"),
         "X,Y,Z\n0,0,0\n1,2,3\n");
    const auto d = matches(svg, "class=\"cube-frame\" d=\"([^\"]*)\"");
    return d.size() == 1 ? count(d[0], "M") : 0;
  };
  // A cube has 12 edges; three of them meet at the corner nearest the eye.
  EXPECT_EQ(edges(""), 12u);
  EXPECT_EQ(edges("<parameter name=\"complete\" value=\"false\"/>"), 9u);
}

TEST(TextFaces, ChineseAndKoreanTakeAFaceOfTheirOwnLanguage) {
  chartxml::render::TextEngine text;
  const std::string common = chartxml::render::TextEngine::familyList();
  // Latin text and Japanese (kana among the Han) keep the common list.
  EXPECT_EQ(text.familiesOf("Sales"), common);
  EXPECT_EQ(text.familiesOf("東京の売上"), common);
  // This machine's fontconfig holds a Simplified Chinese and a Korean face
  // (fc-list :lang=zh, :lang=ko): each goes after DejaVu Sans, before the
  // Japanese face, and they differ.
  const std::string zh = text.familiesOf("销售额"), ko = text.familiesOf("매출 합계");
  EXPECT_NE(zh, common);
  EXPECT_NE(ko, common);
  EXPECT_NE(zh, ko);
  for (const std::string& list : {zh, ko}) {
    EXPECT_EQ(list.rfind("DejaVu Sans, ", 0), 0u) << list;
    EXPECT_GT(list.find("Noto Sans CJK JP"), list.find(", ") + 2) << list;
  }
  // The SVG names the same faces for a Korean category's label.
  ChartRenderer renderer;
  ASSERT_TRUE(renderer.loadText(
      document(variable("vc", "C", true),
               "<dimension role=\"x\"><axis id=\"a\"><majorTicks/></axis></dimension>"
               "<element id=\"e\" type=\"interval\"><x variable=\"vc\"/></element>"),
      "t.xml", [](const std::string&) { return std::optional<std::string>("C\n매출 합계\n"); }))
      << renderer.error();
  const std::string svg = renderer.picture(PictureFormat::kSvg).value_or("");
  EXPECT_NE(svg.find("font-family=\"" + ko + "\""), std::string::npos) << svg;
}

TEST_F(RenderPanels, DateFormLineRunsThroughThePointsItWasFittedTo) {
  // 1 January 1960 and 2000 in seconds since 14 October 1582, with y 1000
  // and 5000: slope b = 4000 / 1262304000, intercept a = 1000 - b * 11903760000,
  // in the date form's text; the curve starts and ends on the two points.
  const std::string d = "datetodouble(&quot;1582-10-14T00:00:00.000&quot;)";
  const std::string xml = document(
      "<variable id=\"vx\" label=\"vx\" source=\"s\" sourceName=\"X\" categorical=\"false\">"
      "<meta><dateTimeFormat pattern=\"yyyy\"/></meta></variable>" +
          variable("vy", "Y", false),
      kTicks +
          "<element id=\"e\" type=\"line\"><x variable=\"vx\"/><y variable=\"vy\"/></element>"
          "<guide id=\"f\" type=\"function\"><parameter name=\"y\" value=\"3.168808781402895e-06 "
          "* (x - " +
          d + " ) + -36720.73921971252\"/></guide>");
  draw(xml, "X,Y\n11903760000,1000\n13166064000,5000\n");
  const auto line = coordinates(svg, "mark line");
  const auto curve = coordinates(svg, "guide function");
  ASSERT_EQ(line.size(), 4u);
  ASSERT_GE(curve.size(), 4u);
  EXPECT_NEAR(curve[0], line[0], 1);
  EXPECT_NEAR(curve[1], line[1], 1);
  EXPECT_NEAR(curve[curve.size() - 2], line[2], 1);
  EXPECT_NEAR(curve.back(), line[3], 1);
}

TEST_F(RenderPanels, GuidesStayInsideTheDataArea) {
  // Data from (0, 0) to (10, 10), no margins. The line y = x + 1 runs from
  // (0, 1) to (9, 10); 1 / (x - 5) + 5 leaves the panel through its foot
  // left of 5 and comes back through its top right of it; a quadratic with
  // an infinite coefficient lies wholly above the panel, and reference lines
  // at 1e300 and infinity neither stretch the scale nor show.
  const auto reference = [](const std::string& value) {
    return "<guide id=\"r" + value + "\" type=\"line\"><parameter name=\"y\" value=\"" + value +
           "\"/></guide>";
  };
  const std::string csv = "X,Y\n0,0\n10,10\n";
  draw(withGuides(""), csv);
  const auto plainTicks = texts(svg, "tick-label y");
  const std::string fine = "<parameter name=\"numPoints\" value=\"1000\"/>";
  draw(withGuides(function("f1", "x + 1", "", fine) + function("f2", "1 / (x - 5) + 5", "", fine) +
                  function("f3", "1 + inf * x + x*x", "", fine) + reference("1e300") +
                  reference("inf") + reference("5")),
       csv);
  EXPECT_EQ(texts(svg, "tick-label y"), plainTicks) << "far guides leave the scale alone";
  EXPECT_EQ(count(svg, "class=\"guide reference-line\""), 1u);
  // The panel's corners from its ticks at 0 and 10.
  const auto xs = starts(svg, "tick x"), ys = starts(svg, "tick y");
  const double left = xs.front().first, right = xs.back().first;
  const double bottom = ys.front().second, top = ys.back().second;
  const auto paths = matches(svg, "<path class=\"guide function\" d=\"([^\"]*)\"");
  ASSERT_EQ(paths.size(), 2u) << "nothing of the infinite quadratic is inside";
  for (const std::string& d : paths) {
    const auto numbers = matches(d, "([-0-9.e]+)");
    for (std::size_t i = 0; i + 1 < numbers.size(); i += 2) {
      EXPECT_GE(std::stod(numbers[i]), left - 1);
      EXPECT_LE(std::stod(numbers[i]), right + 1);
      EXPECT_GE(std::stod(numbers[i + 1]), top - 1);
      EXPECT_LE(std::stod(numbers[i + 1]), bottom + 1);
    }
  }
  // y = x + 1 starts at (0, 1) and ends where it meets the top, at x = 9.
  const auto line = matches(paths[0], "([-0-9.e]+)");
  const double unitX = (right - left) / 10, unitY = (bottom - top) / 10;
  EXPECT_NEAR(std::stod(line[0]), left, 1);
  EXPECT_NEAR(std::stod(line[1]), bottom - unitY, 1);
  EXPECT_NEAR(std::stod(line[line.size() - 2]), left + 9 * unitX, 1);
  EXPECT_NEAR(std::stod(line.back()), top, 1);
  // 1 / (x - 5) + 5 is cut in two near x = 5.
  EXPECT_EQ(count(paths[1], "M"), 2u) << "no line joins the pole's two sides";
}

// Fits share the guides' colour: alone a curve needs no key, but two or
// more each take their own dashes, keyed the same way in a legend that names
// them even when the chart has no other legend.
TEST_F(RenderPanels, SeveralFittedCurvesAreDashedApartAndKeyed) {
  const std::string csv = "X,Y\n1,1\n10,10\n";
  // The dashes of each path of `role` ("" when solid).
  const auto dashes = [&](const std::string& role) {
    std::vector<std::string> out;
    for (const std::string& attributes :
         matches(svg, "<path class=\"" + role + "\" d=\"[^\"]*\"([^>]*)/>")) {
      const auto dash = matches(attributes, "stroke-dasharray=\"([^\"]*)\"");
      out.push_back(dash.empty() ? "" : dash[0]);
    }
    return out;
  };

  const std::string linear = function("f1", "x", " name=\"Linear fit\"");
  draw(withGuides(linear), csv);
  EXPECT_TRUE(texts(svg, "legend-entry").empty()) << "one curve needs no key";
  EXPECT_EQ(dashes("guide function"), std::vector<std::string>{""}) << "one curve is solid";

  draw(withGuides(linear + function("f2", "x * x / 10", " name=\"Square fit\"")), csv);
  EXPECT_EQ(texts(svg, "legend-entry"), (std::vector<std::string>{"Linear fit", "Square fit"}));
  const std::vector<std::string> lines = dashes("guide function");
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0], lines[1]) << "each curve has dashes of its own";
  const std::vector<std::string> keys = dashes("legend-key");
  EXPECT_EQ(keys, lines) << "the keys are dashed as their lines";
}

}  // namespace
