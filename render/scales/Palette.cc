#include "scales/Palette.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace chartxml::render {
namespace {

constexpr std::array<Color, 18> kColors{{
    {230, 159, 0, 255},    // orange
    {0, 114, 178, 255},    // blue
    {0, 158, 115, 255},    // bluish green
    {213, 94, 0, 255},     // vermillion
    {86, 180, 233, 255},   // sky blue
    {204, 121, 167, 255},  // reddish purple
    {240, 228, 66, 255},   // yellow
    {153, 153, 153, 255},  // grey
    {78, 121, 167, 255},   // steel blue
    {242, 142, 43, 255},   // tangerine
    {225, 87, 89, 255},    // red
    {118, 183, 178, 255},  // teal
    {89, 161, 79, 255},    // green
    {237, 201, 72, 255},   // gold
    {176, 122, 161, 255},  // mauve
    {255, 157, 167, 255},  // pink
    {156, 117, 95, 255},   // brown
    {186, 176, 172, 255},  // warm grey
}};

constexpr std::array<MarkerShape, 5> kShapes{MarkerShape::kCircle, MarkerShape::kSquare,
                                             MarkerShape::kTriangle, MarkerShape::kDiamond,
                                             MarkerShape::kPlus};

// Ten stops of the gradient, evenly spaced; between them, straight lines in
// RGB keep it smooth enough at 256 steps.
constexpr std::array<Color, 10> kGradient{{
    {68, 1, 84, 255},
    {72, 40, 120, 255},
    {62, 74, 137, 255},
    {49, 104, 142, 255},
    {38, 130, 142, 255},
    {31, 158, 137, 255},
    {53, 183, 121, 255},
    {109, 205, 89, 255},
    {180, 222, 44, 255},
    {253, 231, 37, 255},
}};

}  // namespace

Color gradientColor(double share) {
  if (!(share > 0)) share = 0;
  if (share > 1) share = 1;
  const double at = share * static_cast<double>(kGradient.size() - 1);
  const std::size_t low = std::min(static_cast<std::size_t>(at), kGradient.size() - 2);
  const double t = at - static_cast<double>(low);
  const auto mix = [&](std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::lround(a + (b - a) * t));
  };
  const Color& a = kGradient[low];
  const Color& b = kGradient[low + 1];
  return {mix(a.r, b.r), mix(a.g, b.g), mix(a.b, b.b), 255};
}

Color categoryColor(std::size_t index) {
  return kColors[index % kColors.size()];
}

std::size_t distinctColors() {
  return kColors.size();
}

MarkerShape categoryShape(std::size_t index, std::size_t categories) {
  if (categories <= kColors.size()) return MarkerShape::kCircle;
  return kShapes[(index / kColors.size()) % kShapes.size()];
}

}  // namespace chartxml::render
