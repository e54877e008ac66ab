#include "scene/Panels.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>

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
      panel.bottomEdge = row + 1 == grid.rows;
      panel.topEdge = row == 0;
      panel.leftEdge = column == 0;
      panel.rightEdge = column + 1 == grid.columns;
      panel.diagonal = x.variable == y.variable;
      panel.diagonalLabel = x.label;
      panel.columnName = x.label;
      panel.rowName = y.label;
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

// The panels along one side of the grid: each level's label and the rows
// it holds (ascending). `all` stands for every row, before any facet splits.
struct Level {
  std::string label;
  RowSet rows;
  bool all = false;
};
using Levels = std::vector<Level>;

// Grids past this many panels are not drawn: nobody can read them.
constexpr std::size_t kMostPanels = 400;

RowSet intersect(const Level& a, const Level& b) {
  if (a.all) return b.rows;
  if (b.all) return a.rows;
  RowSet out;
  std::set_intersection(a.rows.begin(), a.rows.end(), b.rows.begin(), b.rows.end(),
                        std::back_inserter(out));
  return out;
}

std::string joined(const std::string& outer, const std::string& inner) {
  if (outer.empty()) return inner;
  if (inner.empty()) return outer;
  return outer + " / " + inner;
}

// Every combination of `outer`'s and `inner`'s levels, outer first; a nest
// keeps only those that hold cases.
Levels combine(const Levels& outer, const Levels& inner, bool present) {
  Levels out;
  for (const Level& a : outer) {
    for (const Level& b : inner) {
      Level level{joined(a.label, b.label), intersect(a, b), a.all && b.all};
      if (present && !level.all && level.rows.empty()) continue;
      out.push_back(std::move(level));
    }
  }
  return out;
}

// The union of the terms' levels: a level that several terms share (by its
// label) holds the cases of each.
Levels blend(const std::vector<Levels>& parts) {
  Levels out;
  std::map<std::string, std::size_t> index;
  for (const Levels& levels : parts) {
    for (const Level& level : levels) {
      const auto [at, added] = index.try_emplace(level.label, out.size());
      if (added) {
        out.push_back(level);
        continue;
      }
      Level& into = out[at->second];
      RowSet merged;
      std::set_union(into.rows.begin(), into.rows.end(), level.rows.begin(), level.rows.end(),
                     std::back_inserter(merged));
      into.rows = std::move(merged);
      into.all = into.all || level.all;
    }
  }
  return out;
}

std::optional<Role> roleOf(const FacetTerm& term) {
  if (term.kind == FacetTerm::Kind::kVariable) return term.role;
  std::optional<Role> role;
  for (const FacetTerm& inner : term.terms) {
    const auto own = roleOf(inner);
    if (!own || (role && *role != *own)) return std::nullopt;
    role = own;
  }
  return role;
}

class FacetMaker {
 public:
  FacetMaker(const DataFrame& frame, ChartModel& model, DataBinder& binder, std::string& error)
      : frame_(frame), model_(model), binder_(binder), error_(error) {}

  // The levels of `term`, all along one side. Nothing when the data cannot
  // be read (`error` set) or the term cannot be drawn (noted).
  std::optional<Levels> levelsOf(const FacetTerm& term) {
    using Kind = FacetTerm::Kind;
    if (term.kind == Kind::kVariable) return levelsOfVariable(term.variable);
    std::vector<Levels> parts;
    for (const FacetTerm& inner : term.terms) {
      auto levels = levelsOf(inner);
      if (!levels) return std::nullopt;
      parts.push_back(std::move(*levels));
    }
    if (term.kind == Kind::kBlend) return blend(parts);
    if (term.kind == Kind::kNest && parts.size() != 2) {
      model_.skip("a nest of " + std::to_string(parts.size()) + " facets in frame " + frame_.id +
                  " (a nest takes an outer and an inner one)");
    }
    Levels out{Level{"", {}, true}};
    for (const Levels& part : parts) {
      out = combine(out, part, term.kind == Kind::kNest);
      if (out.size() > kMostPanels) return tooMany();
    }
    return out;
  }

  // The grid's columns and rows: the terms of role x across, of role y up.
  // A nest of an x and a y term makes a grid whose empty cells stay empty.
  bool split(const FacetTerm& term, std::vector<Levels>& across, std::vector<Levels>& up,
             bool& holes) {
    if (const auto role = roleOf(term)) {
      auto levels = levelsOf(term);
      if (!levels) return false;
      (*role == Role::kX ? across : up).push_back(std::move(*levels));
      return true;
    }
    if (term.kind == FacetTerm::Kind::kCross) {
      for (const FacetTerm& inner : term.terms) {
        if (!split(inner, across, up, holes)) return false;
      }
      return true;
    }
    if (term.kind == FacetTerm::Kind::kNest && term.terms.size() == 2 && roleOf(term.terms[0]) &&
        roleOf(term.terms[1])) {
      holes = true;
      for (const FacetTerm& inner : term.terms) {
        if (!split(inner, across, up, holes)) return false;
      }
      return true;
    }
    model_.skip("a blend of facets of both roles in frame " + frame_.id);
    return error_.empty();
  }

 private:
  std::optional<Levels> levelsOfVariable(const std::string& id) {
    const Variable* variable = model_.variable(id);
    if (variable != nullptr && variable->derived) {
      model_.skip("facets by the computed variable " + id);
      return Levels{Level{"", {}, true}};
    }
    const BoundColumn* column = binder_.bind(id, true, error_);
    if (column == nullptr) return std::nullopt;
    if (rows_ == kUnknown) rows_ = column->rows();
    if (column->rows() != rows_) {
      model_.skip("facets of frame " + frame_.id + " (from different data sources)");
      return Levels{Level{"", {}, true}};
    }
    Levels levels(column->categories.size());
    for (std::size_t k = 0; k < levels.size(); ++k) levels[k].label = column->categories.labels[k];
    for (std::size_t row = 0; row < column->codes.size(); ++row) {
      const int code = column->codes[row];
      if (code >= 0)
        levels[static_cast<std::size_t>(code)].rows.push_back(static_cast<std::uint32_t>(row));
    }
    if (levels.size() > kMostPanels) return tooMany();
    return levels;
  }

  std::optional<Levels> tooMany() {
    model_.skip("facets of frame " + frame_.id + " (more than " + std::to_string(kMostPanels) +
                " panels)");
    return Levels{Level{"", {}, true}};
  }

  static constexpr std::size_t kUnknown = static_cast<std::size_t>(-1);
  const DataFrame& frame_;
  ChartModel& model_;
  DataBinder& binder_;
  std::string& error_;
  std::size_t rows_ = kUnknown;
};

bool makeFacets(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error) {
  std::vector<Levels> across, up;
  bool holes = false;
  if (frame.facet) {
    FacetMaker maker(frame, model, binder, error);
    if (!maker.split(*frame.facet, across, up, holes)) return false;
  }
  // Several terms along one side are crossed.
  const auto crossed = [](const std::vector<Levels>& parts) {
    Levels out{Level{"", {}, true}};
    for (const Levels& part : parts) out = combine(out, part, false);
    return out;
  };
  Levels columns = crossed(across), rows = crossed(up);
  if (frame.reverseColumns) std::reverse(columns.begin(), columns.end());
  if (frame.reverseRows) std::reverse(rows.begin(), rows.end());
  if (columns.empty() || rows.empty() || columns.size() * rows.size() > kMostPanels) {
    if (!columns.empty() && !rows.empty()) {
      model.skip("facets of frame " + frame.id + " (more than " + std::to_string(kMostPanels) +
                 " panels)");
    }
    columns = rows = Levels{Level{"", {}, true}};
    holes = false;
  }
  grid.columns = columns.size();
  grid.rows = rows.size();
  const Dimension* x = frame.dimension(Role::kX);
  const Dimension* y = frame.dimension(Role::kY);
  const bool split = grid.columns * grid.rows > 1;
  grid.ownX = split && x != nullptr && !x->sharedByPanels;
  grid.ownY = split && y != nullptr && !y->sharedByPanels;
  std::vector<int> at(grid.columns * grid.rows, -1);
  for (std::size_t r = 0; r < grid.rows; ++r) {
    for (std::size_t c = 0; c < grid.columns; ++c) {
      Panel panel;
      panel.column = c;
      panel.row = r;
      panel.allRows = columns[c].all && rows[r].all;
      if (!panel.allRows) panel.rows = intersect(columns[c], rows[r]);
      if (holes && !panel.allRows && panel.rows.empty()) continue;
      panel.columnLabel = columns[c].label;
      panel.rowLabel = rows[r].label;
      for (const Element& element : frame.elements) panel.elements.push_back(&element);
      at[r * grid.columns + c] = static_cast<int>(grid.panels.size());
      grid.panels.push_back(std::move(panel));
    }
  }
  const auto taken = [&](std::size_t c, std::size_t r) { return at[r * grid.columns + c] >= 0; };
  for (std::size_t i = 0; i < grid.panels.size(); ++i) {
    Panel& panel = grid.panels[i];
    if (grid.ownX) panel.xScale = i;
    if (grid.ownY) panel.yScale = i;
    for (std::size_t r = 0; r < grid.rows; ++r) {
      if (r == panel.row || !taken(panel.column, r)) continue;
      (r > panel.row ? panel.bottomEdge : panel.topEdge) = false;
    }
    for (std::size_t c = 0; c < grid.columns; ++c) {
      if (c == panel.column || !taken(c, panel.row)) continue;
      (c > panel.column ? panel.rightEdge : panel.leftEdge) = false;
    }
  }
  grid.xScales = grid.ownX ? grid.panels.size() : 1;
  grid.yScales = grid.ownY ? grid.panels.size() : 1;
  return true;
}

}  // namespace

bool makePanels(const DataFrame& frame, ChartModel& model, DataBinder& binder, PanelGrid& grid,
                std::string& error) {
  for (const Element& element : frame.elements) {
    if (makeMatrix(frame, element, model, grid)) {
      if (frame.facet) model.skip("facets of the scatter-plot matrix " + element.id);
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
