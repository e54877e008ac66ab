// The scene stage: a chart's model and data become a scene of positioned
// marks and texts, through statistics, scales and layout.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "model/ChartModel.h"
#include "read/DataTable.h"
#include "scene/Scene.h"
#include "text/TextEngine.h"

namespace chartxml::render {

struct SceneOptions {
  double width = 800;
  double height = 600;
  // Marks keep the cases they show, for a page's tooltips: a copy of every
  // drawn column, which pictures alone do without.
  bool cases = true;
};

// The scene of `model` over `tables` (each data source's rows by its id).
// Nothing, with `error` set, when the data cannot be read as the document
// declares it. What cannot be drawn yet is noted in `model.skipped`.
std::optional<Scene> buildScene(ChartModel& model, const std::map<std::string, DataTable>& tables,
                                TextEngine& text, SceneOptions options, std::string& error);

}  // namespace chartxml::render
