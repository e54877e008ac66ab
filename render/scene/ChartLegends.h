// The legends a chart's document asks for, as entries ready to measure: the
// categories of the aesthetic each legend targets, in category order, keyed
// with the look of the element they colour, and the guides it names.
#pragma once

#include <vector>

#include "model/ChartModel.h"
#include "scene/Legend.h"
#include "stats/Layers.h"

namespace chartxml::render {

// The legends of `model` over the layers of one panel (every panel holds the
// same groups). Named function lines of `frame` join the first legend.
// Targets that cannot be keyed are noted in `model`.
std::vector<LegendBlock> makeLegends(ChartModel& model, const DataFrame* frame,
                                     const std::vector<Layer>& layers);

}  // namespace chartxml::render
