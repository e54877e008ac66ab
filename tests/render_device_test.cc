// The text engine and the PNG, PDF and SVG devices, checked through what
// they produce: decoded PNG pixels, parsed SVG, PDF bytes.
#include <cairo.h>
#include <gtest/gtest.h>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/HandlerBase.hpp>
#include <xercesc/util/PlatformUtils.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "device/Devices.h"
#include "render_documents.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
const Color kRed{255, 0, 0, 255};
const Color kBlue{0, 0, 255, 255};
constexpr unsigned red = 0xFF0000, blue = 0x0000FF, white = 0xFFFFFF;
using rendertest::count;
using rendertest::expectPixels;

// A decoded PNG of an opaque picture (the tests' backgrounds are opaque, so
// its premultiplied pixels are plain colours).
struct Picture : rendertest::Image {
  using Image::Image;
  Color at(int x, int y) const {
    const std::uint32_t v = pixels.at(static_cast<std::size_t>(y * width + x));
    return {static_cast<std::uint8_t>(v >> 16), static_cast<std::uint8_t>(v >> 8),
            static_cast<std::uint8_t>(v), static_cast<std::uint8_t>(v >> 24)};
  }

  // Pixels darker than mid grey within [x0, x1) x [y0, y1).
  int darkIn(int x0, int y0, int x1, int y1) const {
    int dark = 0;
    for (int y = std::max(y0, 0); y < std::min(y1, height); ++y)
      for (int x = std::max(x0, 0); x < std::min(x1, width); ++x) {
        const Color c = at(x, y);
        dark += c.r + c.g + c.b < 3 * 128;
      }
    return dark;
  }
};

// Whether `svg` parses as XML (well formed; no schema).
bool wellFormed(const std::string& svg) {
  static const bool initialised = [] {
    xercesc::XMLPlatformUtils::Initialize();
    return true;
  }();
  (void)initialised;
  xercesc::XercesDOMParser parser;
  parser.setValidationScheme(xercesc::XercesDOMParser::Val_Never);
  parser.setDoNamespaces(true);
  xercesc::HandlerBase handler;  // throws on fatal errors
  parser.setErrorHandler(&handler);
  xercesc::MemBufInputSource input(reinterpret_cast<const XMLByte*>(svg.data()), svg.size(),
                                   "scene.svg");
  try {
    parser.parse(input);
  } catch (...) {
    return false;
  }
  return parser.getErrorCount() == 0;
}

ShapeItem rectangle(double x, double y, double w, double h, Color fill, std::string role = "") {
  ShapeItem shape;
  shape.path.rectangle(x, y, w, h);
  shape.filled = true;
  shape.fill = fill;
  shape.role = std::move(role);
  return shape;
}

PointBatch points(MarkerShape shape, double size, std::vector<float> x, std::vector<float> y,
                  std::vector<Color> palette) {
  PointBatch batch;
  batch.shape = shape;
  batch.size = size;
  batch.x.assign(x.begin(), x.end());
  batch.y.assign(y.begin(), y.end());
  batch.palette = std::move(palette);
  return batch;
}

TextItem label(std::string words, double x, double y, std::string role = "") {
  TextItem item;
  item.text = std::move(words);
  item.x = x;
  item.y = y;
  item.role = std::move(role);
  return item;
}

Scene smallScene() {
  Scene scene;
  scene.width = 100;
  scene.height = 80;
  return scene;
}

class RenderDevices : public ::testing::Test {
 protected:
  std::string png(const Scene& scene, double scale = 1) {
    std::string out, error;
    EXPECT_TRUE(drawPng(scene, text, scale, out, error)) << error;
    return out;
  }
  std::string svg(const Scene& scene) {
    std::string out, error;
    EXPECT_TRUE(drawSvg(scene, text, out, error)) << error;
    EXPECT_TRUE(wellFormed(out)) << out;
    return out;
  }
  TextEngine text;
};

TEST(RenderText, MeasuresRealGlyphWidthsThatScaleLinearly) {
  TextEngine engine;
  const Font font{20, false};
  const TextBox narrow = engine.measure("iiiii", font);
  const TextBox wide = engine.measure("WWW", font);
  EXPECT_GT(wide.width, narrow.width);  // fewer characters, but wider ones
  EXPECT_GT(engine.measure("WWW", Font{20, true}).width, wide.width);
  // Unhinted: twice the size is twice the width, to a hair.
  EXPECT_NEAR(engine.measure("WWW", Font{40, false}).width, 2 * wide.width, 0.01);
  EXPECT_GT(wide.baseline, 0.5 * wide.height);
  EXPECT_LT(wide.baseline, wide.height);
  // A font that cannot be drawn gives an empty box and no lines.
  EXPECT_EQ(engine.measure("x", Font{kNaN, false}).width, 0);
  EXPECT_EQ(engine.measure("x", Font{0, false}).lines, 0);
  EXPECT_TRUE(engine.lines("x", Font{-3, false}, 0).empty());
}

TEST(RenderText, LinesAreAlignedWithinTheBox) {
  TextEngine engine;
  const Font font{12, false};
  const std::string text = "a\nlonger line\nmid";
  const TextBox box = engine.measure(text, font);
  ASSERT_EQ(box.lines, 3);
  EXPECT_NEAR(box.height, 3 * engine.measure("a", font).height, 0.5);
  for (double align : {0.0, 0.5, 1.0}) {
    const std::vector<TextLine>& lines = engine.lines(text, font, align);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ((std::vector<std::string_view>{lines[0].text, lines[1].text, lines[2].text}),
              (std::vector<std::string_view>{"a", "longer line", "mid"}));
    EXPECT_NEAR(lines[1].width, box.width, 1e-9);
    EXPECT_NEAR(lines[0].baseline, box.baseline, 1e-9);
    EXPECT_TRUE(lines[0].baseline < lines[1].baseline && lines[1].baseline < lines[2].baseline);
    for (const TextLine& line : lines) {
      EXPECT_NEAR(line.left, (box.width - line.width) * align, 1e-9) << line.text;
    }
  }
}

TEST(RenderText, CleansBadTextAndFallsBackForOtherScripts) {
  TextEngine engine;
  const Font font{12, false};
  const TextBox japanese = engine.measure("日本語のラベル", font);
  EXPECT_FALSE(japanese.missingGlyphs);
  EXPECT_GT(japanese.width, 6 * 12 * 0.8);                              // full-width characters
  EXPECT_TRUE(engine.measure("\xf3\xbf\xbf\xbd", font).missingGlyphs);  // U+FFFFD, private use

  // Invalid UTF-8 becomes U+FFFD; control characters go.
  const std::vector<TextLine>& lines = engine.lines(
      "a\x01\x1b"
      "b\xff"
      "c\xed\xa0\x80",
      font, 0);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].text,
            "ab\xef\xbf\xbd"
            "c\xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(engine.lines(std::string_view("x\0y", 3), font, 0)[0].text, "x\xef\xbf\xbdy");
  EXPECT_EQ(engine.measure("", font).width, 0);
}

TEST_F(RenderDevices, RefusesPicturesThatCannotBeDrawn) {
  const Scene scene = smallScene();
  std::string out = "stale", error;
  for (double scale : {0.0, -1.0, kNaN, std::numeric_limits<double>::infinity(), 1000.0}) {
    EXPECT_FALSE(drawPng(scene, text, scale, out, error)) << scale;
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(count(error, "cannot draw the picture"), 1u);
  }
  EXPECT_EQ(count(error, "32767"), 1u);
  Scene flat = scene;
  flat.height = -5;
  EXPECT_FALSE(drawPdf(flat, text, out, error));
  EXPECT_FALSE(drawSvg(flat, text, out, error));
  EXPECT_FALSE(error.empty());
}

TEST_F(RenderDevices, EmptySceneAndUnmatchedClips) {
  Scene scene = smallScene();
  scene.background = kBlue;
  expectPixels(Picture(png(scene)), {{50, 40, blue}});
  svg(scene);

  // A stray ClipEnd is ignored; the clip left open still clips, and closes.
  scene.items.push_back(ClipEnd{});
  scene.items.push_back(ClipBegin::rectangle(0, 0, 50, 80));
  scene.items.push_back(rectangle(10, 10, 80, 60, kRed));
  expectPixels(Picture(png(scene)), {{30, 40, red}, {70, 40, blue}});
  const std::string doc = svg(scene);
  EXPECT_EQ(count(doc, "<g clip-path=\"url(#clip1)\">"), 1u);
  EXPECT_EQ(count(doc, "</g>"), 1u);
  std::string out, error;
  EXPECT_TRUE(drawPdf(scene, text, out, error)) << error;
}

TEST_F(RenderDevices, SkipsUndrawablePointsAlikeInEveryFormat) {
  Scene scene = smallScene();
  PointBatch batch =
      points(MarkerShape::kCircle, 10, {20, 50, 80, std::nanf(""), 50},
             {20, 20, 20, 50, std::numeric_limits<float>::infinity()}, {kRed, kBlue});
  batch.colorIndex = {0, 7, 1, 0, 0};  // 7: no such colour
  batch.role = "mark point";
  scene.items.push_back(batch);
  expectPixels(Picture(png(scene)), {{20, 20, red}, {50, 20, white}, {80, 20, blue}});
  const std::string doc = svg(scene);
  EXPECT_EQ(count(doc, "<circle"), 2u);
  EXPECT_EQ(count(doc, "<g class=\"mark point\">"), 1u);

  // Colour indices short of the points, or no palette: nothing past them.
  std::get<PointBatch>(scene.items[0]).colorIndex = {0};
  EXPECT_EQ(count(svg(scene), "<circle"), 1u);
  std::get<PointBatch>(scene.items[0]).palette.clear();
  EXPECT_EQ(count(svg(scene), "<circle"), 0u);
}

TEST_F(RenderDevices, EscapesEveryTextInTheSvg) {
  Scene scene = smallScene();
  scene.title = "Sales <2024> & \"more\"\x02";
  scene.description = "bad \xc3 byte, lone \xed\xb0\x80 surrogate, \xef\xbf\xbe";
  scene.items.push_back(label("a<b & c>\"d\"\x07\n\xff", 10, 10, "axis-label \"x\""));
  scene.items.push_back(rectangle(1, 1, 5, 5, kRed, "mark <bar>"));
  const std::string doc = svg(scene);
  for (const std::string once :
       {"<title id=\"chart-title\">Sales &lt;2024&gt; &amp; &quot;more&quot;</title>",
        "bad \xef\xbf\xbd byte, lone \xef\xbf\xbd\xef\xbf\xbd\xef\xbf\xbd surrogate, <",
        ">a&lt;b &amp; c&gt;&quot;d&quot;</tspan><tspan", ">\xef\xbf\xbd</tspan>",
        "class=\"axis-label &quot;x&quot;\"", "class=\"mark &lt;bar&gt;\""}) {
    EXPECT_EQ(count(doc, once), 1u) << once;
  }
  std::string out, error;
  EXPECT_TRUE(drawPdf(scene, text, out, error)) << error;
}

TEST_F(RenderDevices, ShapesLandWhereTheSceneSaysAtEveryScale) {
  Scene scene = smallScene();
  scene.items.push_back(rectangle(10, 20, 30, 20, kRed));
  ShapeItem wedge;  // the lower-right quarter of a disc: clockwise from +x to +y
  wedge.path.moveTo(70, 40);
  wedge.path.arc(70, 40, 20, 0, M_PI / 2);
  wedge.path.close();
  wedge.filled = true;
  wedge.fill = kBlue;
  scene.items.push_back(wedge);
  ShapeItem ring;  // a full turn with no move: it starts on the circle
  ring.path.arc(70, 40, 5, 0, 2 * M_PI);
  ring.stroke = {kRed, 4, {-1, 2}, false};  // an unusable dash draws solid
  scene.items.push_back(ring);

  expectPixels(Picture(png(scene)),
               {{25, 30, red}, {5, 30, white}, {80, 50, blue}, {60, 30, white}, {75, 40, red}});
  const Picture two(png(scene, 2));
  ASSERT_TRUE(two.width == 200 && two.height == 160);
  expectPixels(two, {{50, 60, red}, {10, 60, white}, {160, 100, blue}, {150, 80, red}});

  const std::string doc = svg(scene);
  EXPECT_EQ(count(doc, "d=\"M10 20 L40 20 L40 40 L10 40 Z\""), 1u);
  EXPECT_EQ(count(doc, "d=\"M70 40 L90 40 A20 20 0 0 1 70 60 Z\""), 1u);
  EXPECT_EQ(count(doc, "d=\"M75 40 A5 5 0 0 1 65 40 A5 5 0 0 1 75 40\""), 1u);
  EXPECT_EQ(count(doc, "stroke-dasharray"), 0u);
}

TEST_F(RenderDevices, MarkersCoverTheirCentres) {
  for (MarkerShape shape : {MarkerShape::kCircle, MarkerShape::kSquare, MarkerShape::kTriangle,
                            MarkerShape::kDiamond, MarkerShape::kCross, MarkerShape::kPlus}) {
    Scene scene = smallScene();
    scene.items.push_back(points(shape, 12, {30.5f, 70.5f}, {40.5f, 40.5f}, {kRed}));
    SCOPED_TRACE(static_cast<int>(shape));
    expectPixels(Picture(png(scene)),
                 {{30, 40, red}, {70, 40, red}, {50, 40, white}, {30, 60, white}});
    const std::string doc = svg(scene);
    EXPECT_EQ(count(doc, "<circle") + count(doc, "<rect") + count(doc, "<path"), 3u);
  }

  // Translucent markers darken where they overlap, in the PNG as in the SVG.
  Scene scene = smallScene();
  scene.items.push_back(points(MarkerShape::kCircle, 20, {40, 50}, {40, 40}, {{0, 0, 255, 128}}));
  Picture picture(png(scene));
  EXPECT_LT(picture.at(45, 40).r, picture.at(33, 40).r - 40);
  EXPECT_EQ(count(svg(scene), "fill=\"#0000ff\" fill-opacity=\"0.502\""), 2u);
}

TEST_F(RenderDevices, TextIsDrawnInsideItsAnchoredBox) {
  const Font font{16, false};
  const std::string words = "Hello\nworld";
  const TextBox box = text.measure(words, font);
  Scene scene = smallScene();
  scene.width = 200;
  scene.height = 200;
  TextItem item = label(words, 100, 100, "axis-label x");
  item.font = font;
  item.hAlign = 1;  // anchored at the middle of its right side
  item.vAlign = 0.5;
  scene.items.push_back(item);

  Picture flat(png(scene));
  const int x0 = static_cast<int>(100 - box.width), y0 = static_cast<int>(100 - box.height / 2);
  const int x1 = 100 + 1, y1 = static_cast<int>(100 + box.height / 2) + 1;
  EXPECT_GT(flat.darkIn(x0, y0, x1, y1), 40);
  EXPECT_EQ(flat.darkIn(0, 0, 200, 200), flat.darkIn(x0, y0, x1, y1));

  // Turned by -90 degrees, reading upwards: the text ends at the anchor, so
  // the box now stands below it.
  std::get<TextItem>(scene.items[0]).angle = -90;
  Picture turned(png(scene));
  const int v1 = static_cast<int>(100 + box.width) + 1;
  EXPECT_GT(turned.darkIn(y0, 99, y1, v1), 40);
  EXPECT_EQ(turned.darkIn(0, 0, 200, 200), turned.darkIn(y0, 99, y1, v1));

  const std::string doc = svg(scene);
  EXPECT_EQ(count(doc, "<text class=\"axis-label x\""), 1u);
  EXPECT_EQ(count(doc, "<tspan"), 2u);
  EXPECT_EQ(count(doc, "transform=\"rotate(-90 100 100)\""), 1u);
  EXPECT_EQ(count(doc, TextEngine::familyList()), 1u);
  // The second line, right-aligned, starts where pango puts it.
  const double left = 100 - box.width + text.lines(words, font, 1)[1].left;
  const std::size_t second = doc.find("<tspan x=\"", doc.find("<tspan") + 1);
  ASSERT_NE(second, std::string::npos);
  EXPECT_NEAR(std::stod(doc.substr(second + 10)), left, 0.006);
}

TEST_F(RenderDevices, SameSceneGivesSameBytes) {
  Scene scene = smallScene();
  scene.title = "Déterminisme";
  scene.items.push_back(rectangle(1.0 / 3, -0.001, 2.5, 10, Color{10, 20, 30, 254}));
  scene.items.push_back(label("Σ values 日本", 5, 30));
  std::string pdf1, pdf2, error;
  // No date without a reproducible build's epoch (cairo would write the
  // time of day); the epoch's date when it is set; none for a bad one.
  ::unsetenv("SOURCE_DATE_EPOCH");
  ASSERT_TRUE(drawPdf(scene, text, pdf1, error)) << error;
  ASSERT_TRUE(drawPdf(scene, text, pdf2, error)) << error;
  EXPECT_EQ(pdf1.rfind("%PDF-", 0), 0u);
  EXPECT_TRUE(pdf1 == pdf2);
  EXPECT_EQ(count(pdf1, "Date ("), 0u);
  ::setenv("SOURCE_DATE_EPOCH", "1005270400", 1);
  ASSERT_TRUE(drawPdf(scene, text, pdf2, error)) << error;
  EXPECT_EQ(count(pdf2, "/CreationDate (20011109014640Z)"), 1u);
  EXPECT_EQ(count(pdf2, "/ModDate (20011109014640Z)"), 1u);
  for (const char* bad : {"-5", "12x", "", "99999999999999999999"}) {
    ::setenv("SOURCE_DATE_EPOCH", bad, 1);
    ASSERT_TRUE(drawPdf(scene, text, pdf2, error)) << error;
    EXPECT_TRUE(pdf1 == pdf2) << bad;
  }
  ::unsetenv("SOURCE_DATE_EPOCH");
  EXPECT_TRUE(png(scene, 1.5) == png(scene, 1.5));
  const std::string doc = svg(scene);
  EXPECT_EQ(doc, svg(scene));
  EXPECT_EQ(
      count(doc,
            "d=\"M0.33 0 L2.83 0 L2.83 10 L0.33 10 Z\" fill=\"#0a141e\" fill-opacity=\"0.996\""),
      1u);
}

}  // namespace
}  // namespace chartxml::render
