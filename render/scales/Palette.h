// Colours and marker shapes for categories.
#pragma once

#include <cstddef>

#include "scene/Scene.h"

namespace chartxml::render {

// The colour of category `index`: the colour-blind-safe set of eight first,
// ordered so that the first few differ most in hue and lightness (orange,
// blue, bluish green, vermillion, sky blue, reddish purple, yellow, grey;
// yellow late, being weak on white), then ten further distinct hues.
// Past those the colours repeat, and markers take shapes as well (see
// shapeFor) so that no two categories look the same.
Color categoryColor(std::size_t index);
std::size_t distinctColors();

// The marker shape of category `index` when colours alone cannot tell the
// categories apart (more categories than distinct colours): circle for the
// first round of colours, then square, triangle, diamond, ...
MarkerShape categoryShape(std::size_t index, std::size_t categories);

// The colour of a continuous value at `share` of its range (0..1): a
// perceptually even scale from dark blue-violet through teal and green to
// yellow, lightness rising throughout, so it reads in grey too and for
// colour-blind readers. Values outside 0..1 are clamped, NaN takes 0.
Color gradientColor(double share);
// The number of distinct colours a gradient is drawn with.
inline constexpr std::size_t kGradientSteps = 256;

// Marks of a chart with no colour aesthetic.
inline constexpr Color kSingleColor{0, 114, 178, 255};

// Texts, axes and guides.
inline constexpr Color kTextColor{34, 34, 34, 255};
inline constexpr Color kMutedTextColor{85, 85, 85, 255};
inline constexpr Color kAxisColor{68, 68, 68, 255};
inline constexpr Color kGridColor{229, 229, 229, 255};
inline constexpr Color kGuideColor{34, 34, 34, 255};
inline constexpr Color kStripColor{235, 235, 235, 255};

}  // namespace chartxml::render
