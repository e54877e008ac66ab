// Legends: measured first, so that the layout can make room for them, then
// drawn where the layout puts them. Keys are drawn with the marks' own
// look (a dot for points, a stroke for lines, a block for bars and areas).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "layout/Geometry.h"
#include "scene/Scene.h"
#include "text/TextEngine.h"

namespace chartxml::render {

enum class KeyKind { kPoint, kLine, kBlock, kGuideLine, kReferenceLine };

struct LegendEntry {
  std::string label;
  Color color;
  KeyKind key = KeyKind::kBlock;
  MarkerShape shape = MarkerShape::kCircle;
  std::vector<double> dash;  // kLine: the line's dashes
  std::size_t hatch = 0;     // kBlock: the style of its hatching (0 plain)
  double size = 0;           // kPoint: the marker's diameter (0: the usual)
  std::int32_t group = -1;   // the colour group whose marks it keys, if any
};

inline LegendEntry legendEntry(std::string label, Color color, KeyKind key,
                               MarkerShape shape = MarkerShape::kCircle) {
  LegendEntry entry;
  entry.label = std::move(label);
  entry.color = color;
  entry.key = key;
  entry.shape = shape;
  return entry;
}

// A continuous colour's key: a bar of the gradient from lo (bottom) to hi
// (top), labelled at ticks.
struct LegendGradient {
  double lo = 0, hi = 1;
  std::vector<double> ticks;
  std::vector<std::string> labels;
};

struct LegendBlock {
  std::string title;
  std::vector<LegendEntry> entries;
  std::optional<LegendGradient> gradient;  // instead of entries
  // Set by measureLegend:
  double width = 0, height = 0;
  std::size_t columns = 1;
  std::vector<double> columnWidths;
  double rowHeight = 0, titleHeight = 0;
  double keySide = 14;  // the keys' square: the largest sized marker's or more
};

// Sizes `legend` to fit within `maxHeight`, in as many columns as it needs.
void measureLegend(LegendBlock& legend, TextEngine& text, double maxHeight);

// Draws a measured legend with its top-left corner at (x, y).
void drawLegend(Scene& scene, const LegendBlock& legend, double x, double y);

}  // namespace chartxml::render
