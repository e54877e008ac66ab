// Markers of large batches: blended straight into the PNG's pixels, and
// written compact into the SVG. Checked through the files produced: PNG
// pixels decoded by cairo, SVG path data parsed back.
#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "device/Devices.h"
#include "device/MarkerBlit.h"
#include "device/PngWriter.h"
#include "render_documents.h"

namespace chartxml::render {
namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
const Color kRed{255, 0, 0, 255};
const Color kBlue{0, 0, 255, 255};

using Decoded = rendertest::Image;
using rendertest::expectPixels;
constexpr unsigned red = 0xFF0000, white = 0xFFFFFF;

Scene canvas(double width, double height) {
  Scene scene;
  scene.width = width;
  scene.height = height;
  return scene;
}

PointBatch batch(double size, std::vector<Color> palette,
                 std::vector<std::pair<float, float>> points, std::vector<std::uint16_t> colors) {
  PointBatch out;
  out.size = size;
  out.palette = std::move(palette);
  for (const auto& [x, y] : points) {
    out.x.push_back(x);
    out.y.push_back(y);
  }
  out.colorIndex.assign(colors.begin(), colors.end());
  out.role = "mark point";
  return out;
}

Decoded png(const Scene& scene, double scale = 1) {
  TextEngine text;
  std::string out, error;
  EXPECT_TRUE(drawPng(scene, text, scale, out, error)) << error;
  return Decoded(out);
}

TEST(RenderPoints, BlittedMarkersLandWhereTheyMust) {
  // A red disc of diameter 10 centred on the corner shared by pixels (9, 9)
  // and (10, 10): it covers x and y from 5 to 15.
  Scene scene = canvas(40, 30);
  scene.items.emplace_back(batch(10, {kRed}, {{10, 10}}, {}));
  const Decoded picture = png(scene);
  ASSERT_EQ(picture.width, 40);
  // Pixel (6, 10) is inside: its far corner (6, 11) is 4.1 from the centre;
  // (16, 10) is beyond the radius, and so is (14, 14), whose near corner is
  // 5.7 from the centre.
  expectPixels(picture, {{9, 9, red}, {10, 10, red}, {6, 10, red}, {16, 10, white}});
  expectPixels(picture, {{14, 14, white}});
  // Pixel (14, 12) is cut by the circle (its corners lie 4.5 and 5.8 from
  // the centre): red over white in part, so red stays full and green and
  // blue fall between.
  const std::uint32_t edge = picture.rgb(14, 12);
  EXPECT_EQ(edge >> 16, 0xFFu);
  EXPECT_GT(edge & 0xFF, 0u);
  EXPECT_LT(edge & 0xFF, 0xFFu);
  EXPECT_EQ((edge >> 8) & 0xFF, edge & 0xFF);

  // Points are blended band by band of rows; a marker taller than a band
  // of a wide picture is blended whole, once. Discs of diameter 60 at
  // (100, 110) and (110, 110), both half blue, reach across two bands:
  // where both cover a pixel, blue is blended twice (white -> 127,127,255
  // -> 63,63,255).
  Scene wide = canvas(3000, 200);
  const Color halfBlue{0, 0, 255, 128};
  wide.items.emplace_back(batch(60, {halfBlue}, {{100, 110}, {110, 110}}, {}));
  const Decoded banded = png(wide);
  ASSERT_EQ(banded.width, 3000);
  // The first disc alone, both in the upper band and in the lower, the
  // second alone, and neither.
  expectPixels(banded, {{75, 110, 0x7F7FFF}, {105, 90, 0x3F3FFF}, {105, 135, 0x3F3FFF}});
  expectPixels(banded, {{135, 110, 0x7F7FFF}, {145, 110, white}});

  // Twice the scale: twice the distances.
  const Decoded sharp = png(scene, 2);
  ASSERT_EQ(sharp.width, 80);
  expectPixels(sharp, {{20, 20, red}, {11, 20, red}, {31, 20, white}});
}

TEST(RenderPoints, ClipsSkipsAndBlendsInOrder) {
  Scene scene = canvas(40, 30);
  // Clipped at x = 20: a disc on the clip's edge keeps its left half, one
  // beyond it nothing; a disc on the picture's left edge keeps its right
  // half; a point without a position and one without a colour draw nothing.
  scene.items.emplace_back(ClipBegin::rectangle(0, 0, 20, 30));
  scene.items.emplace_back(batch(10, {kRed, kBlue},
                                 {{20, 20}, {0, 5}, {kNaN, 20}, {30, 20}, {10, 20}, {30, 8}},
                                 {0, 0, 1, 1, 7, 1}));
  scene.items.emplace_back(ClipEnd{});
  // Blue then red, each half opaque, on (30, 20), and red then blue on
  // (36, 26): discs of diameter 4 that cover those pixels wholly.
  const Color halfBlue{0, 0, 255, 128}, halfRed{255, 0, 0, 128};
  scene.items.emplace_back(batch(4, {halfBlue, halfRed}, {{30, 20}, {30, 20}}, {0, 1}));
  scene.items.emplace_back(batch(4, {halfBlue, halfRed}, {{36, 26}, {36, 26}}, {1, 0}));
  const Decoded picture = png(scene);
  ASSERT_EQ(picture.width, 40);
  // Inside the clip, right of it, the part of the disc inside the picture,
  // colour index 7 of a palette of two, a disc outside the clip.
  expectPixels(picture, {{17, 20, red}, {20, 20, white}, {23, 20, white}, {1, 5, red}});
  expectPixels(picture, {{10, 20, white}, {30, 8, white}});
  // The blue disc on (30, 20) lay outside the clip; the translucent pair
  // after the clip's end drew. White, then blue of
  // alpha 128 (premultiplied 0,0,128): 255 * 127 / 255 = 127 left of red and
  // green, 128 + 127 of blue; then red: 128 + 127 * 127 / 255 (63) = 191,
  // 63, 255 * 127 / 255 = 127.
  // The other order: red first (255, 127, 127), then blue: 127, 63, 191.
  expectPixels(picture, {{30, 20, 0xBF3F7F}, {36, 26, 0x7F3FBF}});
}

TEST(RenderPoints, PngDecodesToThePixelsDrawn) {
  // Premultiplied pixels, translucent ones too: written as RGBA without the
  // alpha, and multiplied back by cairo's reader to the same values.
  const std::uint32_t drawn[6] = {0xFFFF0000u, 0x80400000u, 0x00000000u,
                                  0x0A050403u, 0xFF123456u, 0xC0C0C0C0u};
  std::vector<std::uint32_t> pixels(drawn, drawn + 6);
  const device::PixelImage image{reinterpret_cast<unsigned char*>(pixels.data()), 3, 2, 12};
  std::string file, error;
  ASSERT_TRUE(device::writePng(image, file, error)) << error;
  EXPECT_EQ(file[25], 6) << "colour type RGBA";
  const Decoded decoded(file);
  ASSERT_EQ(decoded.width, 3);
  ASSERT_EQ(decoded.height, 2);
  EXPECT_EQ(decoded.pixels, pixels);

  // An opaque picture is written as RGB.
  pixels = {0xFF000000u, 0xFFFFFFFFu, 0xFF808080u, 0xFF010203u, 0xFFFEFDFCu, 0xFF00FF00u};
  file.clear();
  ASSERT_TRUE(device::writePng(image, file, error)) << error;
  EXPECT_EQ(file[25], 2) << "colour type RGB";
  EXPECT_EQ(Decoded(file).pixels, pixels);
}

// Each path of a compact marker group: its stroke colour and the absolute
// positions (tenths of a pixel) its subpaths start at.
std::vector<std::pair<std::string, std::vector<std::pair<long, long>>>> dotPaths(
    const std::string& svg) {
  std::vector<std::pair<std::string, std::vector<std::pair<long, long>>>> out;
  const std::regex path("<path stroke=\"#([0-9a-f]{6})\"[^>]* d=\"([^\"]*)\"");
  const std::regex move("([Mm])(-?[0-9]+) ?(-?[0-9]+)h0");
  for (auto it = std::sregex_iterator(svg.begin(), svg.end(), path); it != std::sregex_iterator();
       ++it) {
    const std::string d = (*it)[2].str();
    std::vector<std::pair<long, long>> starts;
    long x = 0, y = 0;
    std::size_t consumed = 0;
    for (auto m = std::sregex_iterator(d.begin(), d.end(), move); m != std::sregex_iterator();
         ++m) {
      EXPECT_EQ(static_cast<std::size_t>(m->position()), consumed) << "nothing between dots";
      consumed += static_cast<std::size_t>(m->length());
      const long a = std::stol((*m)[2].str()), b = std::stol((*m)[3].str());
      if ((*m)[1].str() == "M") {
        x = a;
        y = b;
      } else {
        x += a;
        y += b;
      }
      starts.emplace_back(x, y);
    }
    EXPECT_EQ(consumed, d.size());
    out.emplace_back((*it)[1].str(), std::move(starts));
  }
  return out;
}

TEST(RenderPoints, SvgWritesManyPointsAsOnePathPerColour) {
  // 1,200 dots of 3 pixels on a grid 10 pixels apart (none touches
  // another), alternating two colours, plus one without a position and one
  // far outside the picture.
  Scene scene = canvas(400, 300);
  PointBatch dots = batch(3, {kRed, kBlue}, {}, {});
  std::map<std::string, std::set<std::pair<long, long>>> expected;
  for (int i = 0; i < 1200; ++i) {
    const float x = 5.04f + static_cast<float>(i % 40) * 10,
                y = 4.96f + static_cast<float>(i / 40) * 10;
    dots.x.push_back(x);
    dots.y.push_back(y);
    dots.colorIndex.push_back(static_cast<std::uint16_t>(i % 2));
    // Tenths of a pixel, rounded: 5.04 -> 50, 4.96 -> 50.
    expected[i % 2 == 0 ? "ff0000" : "0000ff"].insert({50 + (i % 40) * 100, 50 + (i / 40) * 100});
  }
  dots.x.insert(dots.x.end(), {kNaN, 5000});
  dots.y.insert(dots.y.end(), {10, 10});
  dots.colorIndex.insert(dots.colorIndex.end(), {0, 0});
  scene.items.emplace_back(std::move(dots));
  TextEngine text;
  std::string svg, error;
  ASSERT_TRUE(drawSvg(scene, text, svg, error)) << error;
  EXPECT_NE(svg.find("<g class=\"mark point\" transform=\"scale(.1)\" fill=\"none\" "
                     "stroke-linecap=\"round\" stroke-width=\"30\">"),
            std::string::npos);
  const auto paths = dotPaths(svg);
  ASSERT_EQ(paths.size(), 2u) << "one path per colour";
  std::size_t subpaths = 0;
  for (const auto& [color, starts] : paths) {
    subpaths += starts.size();
    using Places = std::set<std::pair<long, long>>;
    EXPECT_EQ(Places(starts.begin(), starts.end()), expected[color]) << color;
  }
  EXPECT_EQ(subpaths, 1200u) << "the NaN point and the one outside are not written";
  EXPECT_LT(svg.size(), 16u * 1200) << "under 16 bytes a point";
}

TEST(RenderPoints, SvgKeepsOverlappingMarkersInTheirOrder) {
  // Red over blue at (20, 20), blue over red at (60, 20): within one path,
  // overlapping dots would paint once; layers keep each drawn, in order.
  Scene scene = canvas(100, 50);
  PointBatch dots = batch(6, {kRed, kBlue}, {{20, 20}, {20, 20}, {60, 20}, {60, 20}}, {1, 0, 0, 1});
  for (int i = 0; i < 1000; ++i) {  // enough points to be written compact, off to the side
    dots.x.push_back(static_cast<float>(5 + (i % 10) * 9));
    dots.y.push_back(45);
    dots.colorIndex.push_back(0);
  }
  scene.items.emplace_back(std::move(dots));
  TextEngine text;
  std::string svg, error;
  ASSERT_TRUE(drawSvg(scene, text, svg, error)) << error;
  // Where each of the four dots is written: path number, in document order.
  const auto paths = dotPaths(svg);
  const auto pathOf = [&](const std::string& color, std::pair<long, long> at) {
    for (std::size_t p = 0; p < paths.size(); ++p) {
      if (paths[p].first != color) continue;
      for (const auto& start : paths[p].second) {
        if (start == at) return static_cast<int>(p);
      }
    }
    return -1;
  };
  const int blueLeft = pathOf("0000ff", {200, 200}), redLeft = pathOf("ff0000", {200, 200});
  const int redRight = pathOf("ff0000", {600, 200}), blueRight = pathOf("0000ff", {600, 200});
  ASSERT_TRUE(blueLeft >= 0 && redRight >= 0) << "every dot is written";
  EXPECT_LT(blueLeft, redLeft);
  EXPECT_LT(redRight, blueRight);
}

TEST(RenderPoints, MarkersBlendAlikeWhetherFourPixelsGoAtOnceOrOne) {
  // Translucent markers close to the clip's right edge at x = 40, but not
  // reaching it: their masks, widened to eight pixels, would cross it, so
  // they blend a pixel at a time; with the clip at the image's edge they
  // blend four at a time. Left of x = 40 the pixels must agree.
  PointBatch dots;
  dots.size = 5;
  dots.palette = {{230, 159, 0, 90}, {0, 114, 178, 200}};
  for (int i = 0; i < 400; ++i) {
    dots.x.push_back(35.5f + static_cast<float>(i % 7) * 0.25f);
    dots.y.push_back(4 + static_cast<float>(i % 37));
    dots.colorIndex.push_back(static_cast<std::uint16_t>(i % 2));
  }
  constexpr int kWidth = 64, kHeight = 48, kStride = 4 * kWidth;
  std::vector<std::uint32_t> narrow(kWidth * kHeight, 0xFFFFFFFFu), wide = narrow;
  const auto image = [](std::vector<std::uint32_t>& pixels) {
    return device::PixelImage{reinterpret_cast<unsigned char*>(pixels.data()), kWidth, kHeight,
                              kStride};
  };
  ASSERT_TRUE(device::blitPoints(dots, {}, {0, 0, 40, kHeight}, image(narrow)));
  ASSERT_TRUE(device::blitPoints(dots, {}, {0, 0, kWidth, kHeight}, image(wide)));
  int differ = 0, drawn = 0;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < 40; ++x) {
      const std::size_t at = static_cast<std::size_t>(y * kWidth + x);
      differ += narrow[at] != wide[at];
      drawn += wide[at] != 0xFFFFFFFFu;
    }
  }
  EXPECT_EQ(differ, 0);
  EXPECT_GT(drawn, 200) << "the markers drew";
}

TEST(RenderPoints, TwoThreadsBlendTheSamePixelsAsOne) {
  // 120,000 translucent outlined markers in three colours crowded onto a
  // 300x200 image, many overlapping across the middle band edge. Drawn as
  // one batch (split between two threads) and as two batches of 60,000 one
  // after the other (each small enough for one thread): OVER is not
  // commutative, so equal pixels mean every pixel saw its points in order.
  PointBatch all;
  all.size = 5;
  all.palette = {{230, 159, 0, 90}, {86, 180, 233, 120}, {0, 158, 115, 200}};
  all.outline = {Color{255, 255, 255, 255}, 0.6, {}, false};
  std::uint32_t state = 1;
  const auto next = [&state] {
    state = state * 1664525u + 1013904223u;
    return static_cast<float>(state >> 8) / 16777216.0f;
  };
  for (int i = 0; i < 120000; ++i) {
    all.x.push_back(-5 + next() * 310);
    all.y.push_back(80 + next() * 40 + (i % 7 == 0 ? next() * 200 - 100 : 0));
    all.colorIndex.push_back(static_cast<std::uint16_t>(i % 3));
  }
  PointBatch first = all, second = all;
  first.x.resize(60000);
  first.y.resize(60000);
  first.colorIndex.resize(60000);
  second.x.erase(second.x.begin(), second.x.begin() + 60000);
  second.y.erase(second.y.begin(), second.y.begin() + 60000);
  second.colorIndex.erase(second.colorIndex.begin(), second.colorIndex.begin() + 60000);
  // A wide stride makes the bands thin (16 rows): the image has many.
  constexpr int kWidth = 300, kHeight = 200, kStride = 4 * 8192;
  std::vector<unsigned char> once(static_cast<std::size_t>(kStride) * kHeight, 0xFF);
  std::vector<unsigned char> twice = once;
  const device::PixelClip clip{0, 0, kWidth, kHeight};
  ASSERT_TRUE(device::blitPoints(all, {}, clip, {once.data(), kWidth, kHeight, kStride}));
  const device::PixelImage image{twice.data(), kWidth, kHeight, kStride};
  ASSERT_TRUE(device::blitPoints(first, {}, clip, image));
  ASSERT_TRUE(device::blitPoints(second, {}, clip, image));
  EXPECT_TRUE(once == twice);
  // And the markers drew: the middle row is no longer white.
  EXPECT_NE(std::memcmp(&once[static_cast<std::size_t>(kStride) * 100],
                        std::vector<unsigned char>(4 * kWidth, 0xFF).data(), 4 * kWidth),
            0);
}

}  // namespace
}  // namespace chartxml::render
