#include "scene/Panels.h"

#include <algorithm>

namespace chartxml::render {
namespace {

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

// One term of a blend: a variable, and the constant that names it.
struct BlendTerm {
  std::string variable;
  std::string label;
};

// The terms of "a/alabel + b/blabel", or nothing when `expression` is not
// such a blend of variables the model declares.
std::optional<std::vector<BlendTerm>> blendOf(const std::string& expression,
                                              const ChartModel& model) {
  std::vector<BlendTerm> terms;
  std::string_view rest = expression;
  while (!rest.empty()) {
    const std::size_t plus = rest.find('+');
    const std::string_view term = trimmed(rest.substr(0, plus));
    rest = plus == std::string_view::npos ? std::string_view() : rest.substr(plus + 1);
    const std::size_t slash = term.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const std::string id(trimmed(term.substr(0, slash)));
    const Variable* variable = model.variable(id);
    const Variable* name = model.variable(trimmed(term.substr(slash + 1)));
    if (variable == nullptr || variable->derived || name == nullptr) return std::nullopt;
    // The naming constant carries the name as the label of its one value.
    const std::string label =
        !name->relabels.empty() ? name->relabels.front().second : variable->title();
    terms.push_back({id, label});
  }
  if (terms.empty()) return std::nullopt;
  return terms;
}

const Variable* derivedAt(const Element& element, Role role, const ChartModel& model) {
  const std::string* id = element.position(role);
  const Variable* variable = id ? model.variable(*id) : nullptr;
  return variable != nullptr && variable->derived ? variable : nullptr;
}

// A scatter-plot matrix: columns are the x blend's terms, rows the y
// blend's, the first term at the bottom (y grows upwards).
bool makeMatrix(const DataFrame& frame, const Element& element, ChartModel& model,
                PanelGrid& grid) {
  const Variable* xBlend = derivedAt(element, Role::kX, model);
  const Variable* yBlend = derivedAt(element, Role::kY, model);
  if (xBlend == nullptr || yBlend == nullptr) return false;
  const auto across = blendOf(xBlend->expression, model);
  const auto up = blendOf(yBlend->expression, model);
  if (!across || !up) return false;
  grid.matrix = true;
  grid.columns = grid.xScales = across->size();
  grid.rows = grid.yScales = up->size();
  for (std::size_t row = 0; row < grid.rows; ++row) {
    const BlendTerm& y = (*up)[grid.rows - 1 - row];
    for (std::size_t column = 0; column < grid.columns; ++column) {
      const BlendTerm& x = (*across)[column];
      Panel panel;
      panel.column = column;
      panel.row = row;
      panel.xScale = column;
      panel.yScale = grid.rows - 1 - row;
      panel.diagonal = x.variable == y.variable;
      panel.diagonalLabel = x.label;
      if (!panel.diagonal) {
        Element cell = element;
        cell.positions[Role::kX] = x.variable;
        cell.positions[Role::kY] = y.variable;
        grid.made.push_back(std::move(cell));
        panel.elements.push_back(&grid.made.back());
      }
      grid.panels.push_back(std::move(panel));
    }
  }
  for (const Element& other : frame.elements) {
    if (&other != &element) model.skip("element " + other.id + " beside a scatter-plot matrix");
  }
  return true;
}

bool makeFacets(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error) {
  const BoundColumn* byColumn = nullptr;
  const BoundColumn* byRow = nullptr;
  for (const auto& [role, id] : frame.facets) {
    const Variable* variable = model.variable(id);
    if (variable != nullptr && variable->derived) {
      model.skip("facets by the computed variable " + id);
      continue;
    }
    const BoundColumn*& slot = role == Role::kX ? byColumn : byRow;
    if (slot != nullptr) {
      model.skip("a second " + std::string(roleName(role)) + " facet of frame " + frame.id);
      continue;
    }
    slot = binder.bind(id, true, error);
    if (slot == nullptr) return false;
  }
  if (byColumn && byRow && byColumn->rows() != byRow->rows()) {
    model.skip("facets of frame " + frame.id + " (from different data sources)");
    byRow = nullptr;
  }
  grid.columns = byColumn ? std::max<std::size_t>(1, byColumn->categories.size()) : 1;
  grid.rows = byRow ? std::max<std::size_t>(1, byRow->categories.size()) : 1;
  grid.panels.resize(grid.columns * grid.rows);
  for (std::size_t i = 0; i < grid.panels.size(); ++i) {
    Panel& panel = grid.panels[i];
    panel.column = i % grid.columns;
    panel.row = i / grid.columns;
    panel.allRows = byColumn == nullptr && byRow == nullptr;
    if (byColumn) panel.columnLabel = byColumn->categories.labels[panel.column];
    if (byRow) panel.rowLabel = byRow->categories.labels[panel.row];
    for (const Element& element : frame.elements) panel.elements.push_back(&element);
  }
  if (byColumn || byRow) {
    const std::size_t n = byColumn ? byColumn->rows() : byRow->rows();
    for (std::size_t row = 0; row < n; ++row) {
      const int c = byColumn ? byColumn->codes[row] : 0;
      const int r = byRow ? byRow->codes[row] : 0;
      if (c < 0 || r < 0) continue;
      grid.panels[static_cast<std::size_t>(r) * grid.columns + static_cast<std::size_t>(c)]
          .rows.push_back(static_cast<std::uint32_t>(row));
    }
  }
  return true;
}

}  // namespace

bool makePanels(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error) {
  for (const Element& element : frame.elements) {
    if (makeMatrix(frame, element, model, grid)) {
      if (!frame.facets.empty()) model.skip("facets of the scatter-plot matrix " + element.id);
      return true;
    }
  }
  return makeFacets(frame, model, binder, grid, error);
}

bool makeLayers(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error) {
  for (Panel& panel : grid.panels) {
    for (const Element* element : panel.elements) {
      auto layer = computeLayer(*element, frame, panel.allRows ? nullptr : &panel.rows, binder,
                                model, error);
      if (!error.empty()) return false;
      if (layer) panel.layers.push_back(std::move(*layer));
    }
  }
  return true;
}

}  // namespace chartxml::render
