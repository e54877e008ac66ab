#include "scene/ChartLegends.h"

#include <algorithm>
#include <cmath>

#include "scales/Palette.h"
#include "scales/Ticks.h"
#include "scene/Guides.h"
#include "scene/Marks.h"

namespace chartxml::render {
namespace {

// A guide's entry; false when `id` names no guide.
bool addGuide(LegendBlock& block, const ChartModel& model, const std::string& id) {
  for (const DataFrame& frame : model.frames) {
    for (const Guide& guide : frame.guides) {
      if (guide.id != id) continue;
      const bool reference = guide.type == "line";
      block.entries.push_back(
          legendEntry(guide.name.empty() ? guide.id : guide.name, kGuideColor,
                      reference ? KeyKind::kReferenceLine : KeyKind::kGuideLine));
      return true;
    }
  }
  return false;
}

void addColours(LegendBlock& block, const Layer& layer);
void addGradient(LegendBlock& block, const Layer& layer);
void addStyles(LegendBlock& block, const Layer& layer);
void addSizes(LegendBlock& block, const Layer& layer);
void addTransparency(LegendBlock& block, const Layer& layer);

void addTarget(LegendBlock& block, ChartModel& model, const LegendTarget& target,
               const std::vector<Layer>& layers) {
  const Layer* layer = nullptr;
  for (const Layer& candidate : layers) {
    if (candidate.element->id == target.element) layer = &candidate;
  }
  if (layer == nullptr) {
    // An element that draws nothing (noted where it was left out) keys
    // nothing; a guide keys itself.
    if (model.element(target.element) != nullptr || addGuide(block, model, target.element)) return;
    model.skip("legend target " + target.element + " (names nothing drawn)");
    return;
  }
  const Element& element = *layer->element;
  const bool byStyle = target.aesthetic == element.styleById || target.aesthetic == "styleBy";
  if (target.aesthetic == "transparency" && layer->transparency != nullptr) {
    addTransparency(block, *layer);
  } else if (target.aesthetic == "color" && layer->shades != nullptr) {
    addGradient(block, *layer);
  } else if (target.aesthetic == "size" && layer->sizes != nullptr) {
    addSizes(block, *layer);
  } else if (byStyle && layer->styles != nullptr) {
    addStyles(block, *layer);
  } else if ((target.aesthetic == "color" || byStyle) && layer->groups != nullptr) {
    addColours(block, *layer);
  } else {
    model.skip("legend of the " + target.aesthetic + " aesthetic of element " + element.id);
  }
}

KeyKind keyOf(const Layer& layer) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      return KeyKind::kPoint;
    case LayerKind::kLines:
    case LayerKind::kErrorBars:
    case LayerKind::kContours:
      return KeyKind::kLine;
    default:
      return KeyKind::kBlock;
  }
}

void addColours(LegendBlock& block, const Layer& layer) {
  if (block.title.empty()) block.title = layer.groups->variable->title();
  const std::size_t n = layer.groups->categories.size();
  for (std::size_t i = 0; i < n; ++i) {
    block.entries.push_back(legendEntry(layer.groups->categories.labels[i], groupColor(layer, i),
                                        keyOf(layer), groupShape(layer, i)));
    block.entries.back().group = static_cast<std::int32_t>(i);
  }
}

// Style-by categories keyed in grey: their shape, dashes or hatching is what
// tells them apart, whatever colour the marks take.
void addStyles(LegendBlock& block, const Layer& layer) {
  if (block.title.empty()) block.title = layer.styles->variable->title();
  const KeyKind key = keyOf(layer);
  const Color grey = key == KeyKind::kBlock ? Color{190, 190, 190, 255} : kMutedTextColor;
  for (std::size_t i = 0; i < layer.styles->categories.size(); ++i) {
    LegendEntry entry =
        legendEntry(layer.styles->categories.labels[i], grey, key, styleShape(layer, i));
    if (key == KeyKind::kLine) entry.dash = styleDash(layer, i);
    if (key == KeyKind::kBlock) entry.hatch = styleHatch(layer, i);
    block.entries.push_back(std::move(entry));
  }
}

// A continuous colour: the gradient over the variable's range, labelled at
// nice values.
void addGradient(LegendBlock& block, const Layer& layer) {
  const Variable& variable = *layer.shades->variable;
  if (block.title.empty()) block.title = variable.title();
  LegendGradient gradient;
  gradient.lo = layer.shadeLo;
  gradient.hi = layer.shadeHi;
  const Ticks ticks = niceTicks(layer.shadeLo, layer.shadeHi, 5);
  for (const double value : ticks.values) {
    if (value < layer.shadeLo || value > layer.shadeHi) continue;
    gradient.ticks.push_back(value);
    ValueFormat format = variable.format;
    format.number.minFractionDigits = -1;
    gradient.labels.push_back(formatValue(value, format, ticks.fractionDigits));
  }
  block.gradient = std::move(gradient);
}

// A few nice values across the size variable's range, each with its marker.
void addSizes(LegendBlock& block, const Layer& layer) {
  const Variable& variable = *layer.sizes->variable;
  if (block.title.empty()) block.title = layer.sizesCount ? "Count" : variable.title();
  const ValueFormat format = layer.sizesCount ? ValueFormat{} : variable.format;
  const Ticks ticks = niceTicks(layer.sizeLo, layer.sizeHi, 4);
  for (const double value : ticks.values) {
    LegendEntry entry = legendEntry(formatValue(value, format, ticks.fractionDigits),
                                    kMutedTextColor, KeyKind::kPoint);
    entry.size = markerSize(layer, value);
    block.entries.push_back(std::move(entry));
  }
}

// Transparency: each category's opacity (the first opaque), or a few nice
// values across the variable's range, on a grey marker.
void addTransparency(LegendBlock& block, const Layer& layer) {
  const BoundColumn& column = *layer.transparency;
  if (block.title.empty()) block.title = column.variable->title();
  const auto entry = [&](std::string label, double alpha) {
    Color grey = kMutedTextColor;
    // Points fade in steps; other marks by the opacity itself.
    const bool points = layer.kind == LayerKind::kPoints;
    grey.a = points ? alphaOfStep(alphaStep(alpha))
                    : static_cast<std::uint8_t>(std::lround(255 * std::clamp(alpha, 0.0, 1.0)));
    block.entries.push_back(legendEntry(std::move(label), grey, keyOf(layer)));
  };
  if (column.categorical) {
    const std::size_t n = column.categories.size();
    for (std::size_t i = 0; i < n; ++i) {
      entry(column.categories.labels[i], categoryOpacity(i, n));
    }
    return;
  }
  const double lo = layer.transparencyLo, hi = layer.transparencyHi;
  const Ticks ticks = niceTicks(lo, hi, 4);
  for (const double value : ticks.values) {
    entry(formatValue(value, column.variable->format, ticks.fractionDigits),
          valueOpacity(value, lo, hi));
  }
}

}  // namespace

std::vector<LegendBlock> makeLegends(ChartModel& model, const DataFrame* frame,
                                     const std::vector<Layer>& layers) {
  std::vector<LegendBlock> blocks;
  for (const Legend& legend : model.legends) {
    LegendBlock block;
    block.title = legend.title;
    for (const LegendTarget& target : legend.targets) addTarget(block, model, target, layers);
    // A gradient is a key of its own beside any entries the legend also has.
    if (block.gradient && !block.entries.empty()) {
      LegendBlock bar;
      bar.gradient = std::move(block.gradient);
      block.gradient.reset();
      blocks.push_back(std::move(block));
      blocks.push_back(std::move(bar));
    } else if (!block.entries.empty() || block.gradient) {
      blocks.push_back(std::move(block));
    }
  }
  if (frame != nullptr) {
    // The first legend of entries takes them; a gradient has no room. With
    // no legend, one line needs no key, but several lines alike in colour
    // do: they get a legend of their own.
    auto keyed = std::find_if(blocks.begin(), blocks.end(),
                              [](const LegendBlock& block) { return !block.gradient; });
    const auto named = [](const Guide& guide) {
      return guide.type == "function" && !guide.name.empty();
    };
    const bool keyAlone = std::count_if(frame->guides.begin(), frame->guides.end(), named) > 1;
    for (const Guide& guide : frame->guides) {
      if (!named(guide) || (blocks.empty() && !keyAlone)) continue;
      if (keyed == blocks.end()) keyed = blocks.insert(blocks.end(), LegendBlock{});
      LegendEntry entry = legendEntry(guide.name, kGuideColor, KeyKind::kGuideLine);
      entry.dash = functionDash(*frame, guide);
      keyed->entries.push_back(std::move(entry));
    }
  }
  return blocks;
}

}  // namespace chartxml::render
