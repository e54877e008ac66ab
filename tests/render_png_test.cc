// The PNG writer's own compression, checked by decoding with libpng (through
// cairo): every kind of row it codes must come back pixel for pixel.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "device/PngWriter.h"
#include "render_documents.h"

namespace chartxml::render {
namespace {

struct Pixels {
  int width, height;
  std::vector<std::uint32_t> argb;  // premultiplied, as cairo draws
  std::uint32_t& at(int x, int y) { return argb[static_cast<std::size_t>(y) * width + x]; }
};

// `pixels` written and decoded again; fails the test when they differ.
std::string roundTrip(Pixels& pixels) {
  const device::PixelImage image{reinterpret_cast<unsigned char*>(pixels.argb.data()), pixels.width,
                                 pixels.height, pixels.width * 4};
  std::string png, error;
  EXPECT_TRUE(device::writePng(image, png, error)) << error;
  const rendertest::Image decoded(png);
  EXPECT_EQ(decoded.width, pixels.width);
  EXPECT_EQ(decoded.height, pixels.height);
  EXPECT_TRUE(decoded.pixels == pixels.argb);
  return png;
}

TEST(RenderPng, RunsLiteralsAndRepeatedRowsComeBackExactly) {
  std::mt19937 random(7);
  // Noise: literals of every value, in blocks of a code each (more tokens
  // than one block holds).
  Pixels noise{300, 200, {}};
  for (int i = 0; i < noise.width * noise.height; ++i) noise.argb.push_back(0xFF000000u | random());
  roundTrip(noise);

  // A chart-like picture: a flat background, runs longer than one match
  // reaches and crossing rows' ends, repeated rows, and single changes.
  Pixels chart{700, 300, std::vector<std::uint32_t>(700 * 300, 0xFFFFFFFFu)};
  for (int y = 40; y < 260; ++y) chart.at(60, y) = 0xFF333333u;  // an axis
  for (int x = 0; x < 700; ++x) chart.at(x, 120) = 0xFF0072B2u;  // a rule across
  for (int y = 150; y < 156; ++y) {
    for (int x = 300; x < 306; ++x) chart.at(x, y) = 0xFFE69F00u;  // a marker
  }
  chart.at(699, 299) = 0xFF000001u;  // the very last byte
  const std::string png = roundTrip(chart);
  // 630 kB of filtered rows, nearly all runs of zeros.
  EXPECT_LT(png.size(), 6000u) << "flat areas and repeated rows are coded as runs";

  // One colour everywhere: the code holds a literal and runs alone.
  Pixels flat{1000, 3, std::vector<std::uint32_t>(3000, 0xFF808080u)};
  roundTrip(flat);
  Pixels one{1, 1, {0xFF123456u}};
  roundTrip(one);
}

TEST(RenderPng, TranslucentPicturesKeepTheirAlpha) {
  // Fully clear and opaque pixels (no rounding of the colours) in runs and
  // alone: written as RGBA.
  Pixels pixels{90, 40, std::vector<std::uint32_t>(90 * 40, 0)};
  for (int y = 0; y < 40; ++y) {
    for (int x = y; x < 90; x += 7) pixels.at(x, y) = 0xFF10A0F0u;
  }
  const std::string png = roundTrip(pixels);
  ASSERT_GT(png.size(), 25u);
  EXPECT_EQ(png[25], 6) << "colour type RGBA";
}

}  // namespace
}  // namespace chartxml::render
