#include "scales/Palette.h"

#include <array>

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

}  // namespace

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
