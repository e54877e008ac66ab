// Each kind of chart as a procedure describes it through the flat CX_ entry
// points: frames, variables, dimensions and axes, the element and what it is
// coloured, stacked or panelled by, lines drawn over the data, the data rows
// case by case, and the end of the chart, which sends it to the host.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "chartxml/cx.h"
#include "cli/ChartRequest.h"
#include "cli/Table.h"

namespace chartxml::cli {

// Builds, feeds and ends one chart over `dictionary` (the data source the
// running instance was started on) for procedure `procedure`. How many charts
// the host has been sent, this one the last; or nothing with `error` set: the
// step that failed and what the library reported. A chart that fails is removed unsent.
std::optional<int> buildChart(const Table& table, VORN_FortranDictionary* dictionary,
                              std::string_view procedure, const ChartRequest& request,
                              std::string& error);

}  // namespace chartxml::cli
