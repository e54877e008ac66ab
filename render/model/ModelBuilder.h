// The model stage: a parsed chart document becomes a ChartModel.
#pragma once

#include <optional>
#include <string>

#include "model/ChartModel.h"
#include "read/XmlTree.h"

namespace chartxml::render {

// The model of `document`. Nothing, with `error` set, when the document is
// not a chart (its root is not a visualization). A chart without data
// frames is a model all the same: its titles are still drawn.
// Parts the model does not take in (unknown element kinds, facet algebra,
// ...) are noted in the model's `skipped`.
std::optional<ChartModel> buildModel(const XmlNode& document, std::string& error);

}  // namespace chartxml::render
