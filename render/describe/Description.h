// What a reader who cannot see the picture is told: a paragraph of short
// English sentences made from the chart after its statistics stage (the kind
// of chart, each axis's variable and the range of its data as the axis
// formats it, the number of cases, the groups and their counts, the panels,
// function and reference lines).
#pragma once

#include <array>
#include <string>

#include "format/ValueFormat.h"
#include "model/ChartModel.h"
#include "scene/Panels.h"

namespace chartxml::render {

// An axis as the reader sees it: its title and how its labels are written.
struct AxisWords {
  std::string title;
  ValueFormat format;
};

struct DescribedChart {
  const ChartModel* model = nullptr;
  const DataFrame* frame = nullptr;  // null: the document draws no data
  const PanelGrid* grid = nullptr;
  // What the x, y and z axes show (by data role, not by side of the picture).
  std::array<AxisWords, 3> axes;
};

// The chart's description; never empty for a chart that draws data. The
// title is not part of it (it is said separately, as the picture's title).
std::string describeChart(const DescribedChart& chart);

// `value` written as `format` writes it, with as many fraction digits as it
// needs but no more than four significant digits of `magnitude` (the largest
// value it is shown with) call for, unless the format fixes its own digits.
std::string sensibleNumber(double value, double magnitude, const ValueFormat& format);

}  // namespace chartxml::render
