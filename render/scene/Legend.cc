#include "scene/Legend.h"

#include <algorithm>
#include <cmath>

#include "scales/Palette.h"
#include "scene/Marks.h"

namespace chartxml::render {
namespace {

constexpr Font kTitleFont{12, true};
constexpr Font kLabelFont{11, false};
constexpr double kKeySize = 14;
constexpr double kKeyGap = 6;  // between a key and its label
constexpr double kColumnGap = 14;
constexpr double kRowGap = 4;
constexpr double kTitleGap = 6;

// The width and height a key takes: sized markers may outgrow the usual key.
double keySize(const LegendEntry& entry) {
  return std::max(kKeySize, entry.key == KeyKind::kPoint ? entry.size : 0.0);
}

void drawKey(Scene& scene, const LegendEntry& entry, double x, double y, double side) {
  const double cx = x + side / 2, cy = y + side / 2;
  switch (entry.key) {
    case KeyKind::kPoint: {
      PointBatch dot;
      dot.shape = entry.shape;
      dot.size = entry.size > 0 ? entry.size : 8;
      dot.x = {static_cast<float>(cx)};
      dot.y = {static_cast<float>(cy)};
      dot.palette = {entry.color};
      dot.role = "legend-key";
      dot.group = entry.group;
      scene.items.emplace_back(std::move(dot));
      return;
    }
    case KeyKind::kLine:
    case KeyKind::kGuideLine:
    case KeyKind::kReferenceLine: {
      ShapeItem line;
      line.path.moveTo(x, cy);
      line.path.lineTo(x + side, cy);
      const bool reference = entry.key == KeyKind::kReferenceLine;
      line.stroke = {entry.color, entry.key == KeyKind::kLine ? 2.5 : 1.75,
                     reference ? std::vector<double>{4, 2} : entry.dash, false};
      line.role = "legend-key";
      line.group = entry.group;
      scene.items.emplace_back(std::move(line));
      return;
    }
    case KeyKind::kBlock: {
      ShapeItem block;
      block.path.rectangle(x + 1, y + 1, side - 2, side - 2);
      block.filled = true;
      block.fill = entry.color;
      block.role = "legend-key";
      block.group = entry.group;
      const Path region = block.path;
      scene.items.emplace_back(std::move(block));
      addHatch(scene, region, {x + 1, y + 1, side - 2, side - 2}, entry.hatch);
      return;
    }
  }
}

constexpr double kBarWidth = 14;
constexpr double kBarLength = 160;
constexpr int kBarSlices = 64;

double gradientBarLength(const LegendBlock& legend) {
  return legend.height - (legend.titleHeight > 0 ? legend.titleHeight + kTitleGap : 0) -
         legend.rowHeight;
}

void drawGradient(Scene& scene, const LegendBlock& legend, double x, double top) {
  const LegendGradient& gradient = *legend.gradient;
  const double length = gradientBarLength(legend);
  const double bar = top + legend.rowHeight / 2;  // room for the top label's upper half
  for (int i = 0; i < kBarSlices; ++i) {
    ShapeItem slice;
    const double y0 = bar + length * i / kBarSlices;
    slice.path.rectangle(x, y0, kBarWidth, length / kBarSlices + 0.5);
    slice.filled = true;
    slice.fill = gradientColor(1 - (i + 0.5) / kBarSlices);
    slice.role = "legend-gradient";
    scene.items.emplace_back(std::move(slice));
  }
  const double span = gradient.hi - gradient.lo;
  for (std::size_t i = 0; i < gradient.ticks.size(); ++i) {
    const double share = span > 0 ? (gradient.ticks[i] - gradient.lo) / span : 0.5;
    const double y = bar + length * (1 - share);
    ShapeItem tick;
    tick.path.moveTo(x + kBarWidth - 3, y);
    tick.path.lineTo(x + kBarWidth, y);
    tick.stroke = {Color{255, 255, 255, 255}, 1, {}, false};
    tick.role = "legend-tick";
    scene.items.emplace_back(std::move(tick));
    TextItem label;
    label.text = gradient.labels[i];
    label.font = kLabelFont;
    label.color = kTextColor;
    label.x = x + kBarWidth + kKeyGap;
    label.y = y;
    label.vAlign = 0.5;
    label.role = "legend-entry";
    scene.items.emplace_back(std::move(label));
  }
}

}  // namespace

void measureLegend(LegendBlock& legend, TextEngine& text, double maxHeight) {
  if (legend.gradient) {
    legend.titleHeight = legend.title.empty() ? 0 : text.measure(legend.title, kTitleFont).height;
    double widest = 0;
    legend.rowHeight = text.measure("0", kLabelFont).height;
    for (const std::string& label : legend.gradient->labels) {
      widest = std::max(widest, text.measure(label, kLabelFont).width);
    }
    const double titleSpace = legend.titleHeight > 0 ? legend.titleHeight + kTitleGap : 0;
    const double length = std::clamp(maxHeight - titleSpace - legend.rowHeight, 20.0, kBarLength);
    legend.width =
        std::max(kBarWidth + kKeyGap + widest,
                 legend.title.empty() ? 0 : text.measure(legend.title, kTitleFont).width);
    legend.height = titleSpace + length + legend.rowHeight;
    return;
  }
  legend.titleHeight = legend.title.empty() ? 0 : text.measure(legend.title, kTitleFont).height;
  double labelHeight = kKeySize;
  double side = kKeySize;
  std::vector<double> labelWidths;
  for (const LegendEntry& entry : legend.entries) {
    const TextBox box = text.measure(entry.label, kLabelFont);
    labelWidths.push_back(box.width);
    side = std::max(side, keySize(entry));
    labelHeight = std::max({labelHeight, box.height, side});
  }
  legend.keySide = side;
  legend.rowHeight = labelHeight + kRowGap;
  const double titleSpace = legend.titleHeight > 0 ? legend.titleHeight + kTitleGap : 0;
  const std::size_t n = legend.entries.size();
  const std::size_t fit = static_cast<std::size_t>(
      std::max(1.0, std::floor((maxHeight - titleSpace) / legend.rowHeight)));
  legend.columns = n == 0 ? 1 : (n + fit - 1) / fit;
  const std::size_t rows = n == 0 ? 0 : (n + legend.columns - 1) / legend.columns;
  legend.columnWidths.assign(legend.columns, 0);
  for (std::size_t i = 0; i < n; ++i) {
    double& width = legend.columnWidths[i / std::max<std::size_t>(rows, 1)];
    width = std::max(width, side + kKeyGap + labelWidths[i]);
  }
  double entriesWidth = 0;
  for (const double width : legend.columnWidths) entriesWidth += width;
  entriesWidth += kColumnGap * static_cast<double>(legend.columns - 1);
  const double titleWidth = legend.title.empty() ? 0 : text.measure(legend.title, kTitleFont).width;
  legend.width = std::max(entriesWidth, titleWidth);
  legend.height = titleSpace + legend.rowHeight * static_cast<double>(rows);
}

void drawLegend(Scene& scene, const LegendBlock& legend, double x, double y) {
  if (!legend.title.empty()) {
    TextItem title;
    title.text = legend.title;
    title.font = kTitleFont;
    title.color = kTextColor;
    title.x = x;
    title.y = y;
    title.role = "legend-title";
    scene.items.emplace_back(std::move(title));
  }
  const double top = y + (legend.titleHeight > 0 ? legend.titleHeight + kTitleGap : 0);
  if (legend.gradient) {
    drawGradient(scene, legend, x, top);
    return;
  }
  const std::size_t n = legend.entries.size();
  const std::size_t rows = n == 0 ? 1 : (n + legend.columns - 1) / legend.columns;
  double columnX = x;
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t column = i / rows, row = i % rows;
    if (row == 0 && column > 0) columnX += legend.columnWidths[column - 1] + kColumnGap;
    const double rowY = top + legend.rowHeight * static_cast<double>(row);
    const double side = legend.keySide;
    const double keyY = rowY + (legend.rowHeight - kRowGap - side) / 2;
    drawKey(scene, legend.entries[i], columnX, keyY, side);
    TextItem label;
    label.text = legend.entries[i].label;
    label.font = kLabelFont;
    label.color = kTextColor;
    label.x = columnX + side + kKeyGap;
    label.y = rowY + (legend.rowHeight - kRowGap) / 2;
    label.vAlign = 0.5;
    label.role = "legend-entry";
    label.group = legend.entries[i].group;
    scene.items.emplace_back(std::move(label));
  }
}

}  // namespace chartxml::render
