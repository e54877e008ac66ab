// Statistics per element: raw rows for points and lines, summaries per
// category and group, histogram bins, slices; then stacking and dodging.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <tuple>

#include "stats/Bins.h"
#include "stats/Layers.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
// The share of a category's band that its bars fill.
constexpr double kBarShare = 0.8;

template <typename Visit>
void forEachRow(const RowSet* rows, std::size_t count, Visit visit) {
  if (rows != nullptr) {
    for (const std::uint32_t row : *rows) visit(row);
  } else {
    for (std::size_t row = 0; row < count; ++row) visit(static_cast<std::uint32_t>(row));
  }
}

// A position of a row: the category number, or the value; NaN when missing.
double positionOf(const BoundColumn& column, std::uint32_t row) {
  if (column.categorical) {
    const std::int32_t code = column.codes[row];
    return code < 0 ? kNaN : static_cast<double>(code);
  }
  return column.numbers[row];
}

std::optional<double> numberParameter(const Statistic& statistic, std::string_view name) {
  std::optional<double> found;
  // Later parameters win: a procedure that sets the width twice means the last.
  for (const auto& [key, text] : statistic.parameters) {
    if (key != name) continue;
    double value = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec == std::errc() && ptr == text.data() + text.size()) found = value;
  }
  return found;
}

class LayerMaker {
 public:
  LayerMaker(const Element& element, const DataFrame& frame, const RowSet* rows, DataBinder& binder,
             ChartModel& model, std::string& error)
      : element_(element),
        frame_(frame),
        rows_(rows),
        binder_(binder),
        model_(model),
        error_(error) {}

  std::optional<Layer> make() {
    std::optional<Layer> layer = arrange();
    if (layer) splitCells(*layer);
    return layer;
  }

 private:
  std::optional<Layer> arrange() {
    layer_.element = &element_;
    const std::string& type = element_.type;
    const bool polar = frame_.coordinates == "polar";
    if (type == "point") {
      layer_.kind = LayerKind::kPoints;
    } else if (type == "line") {
      layer_.kind = LayerKind::kLines;
    } else if (type == "area") {
      layer_.kind = LayerKind::kAreas;
    } else if (type == "interval") {
      layer_.kind = polar ? LayerKind::kSlices : LayerKind::kBars;
    } else {
      return skip("element " + element_.id + " of type '" + type + "'");
    }
    if (polar && layer_.kind != LayerKind::kSlices) {
      return skip(type + " element " + element_.id + " in polar coordinates");
    }
    if (!bindGroups() || !bindSizes()) return std::nullopt;

    std::string method = element_.statistic ? element_.statistic->method : "";
    if (method == "histogram") {
      if (layer_.kind != LayerKind::kBars) return skip("histogram statistic of " + element_.id);
      return histogram();
    }
    if (!method.empty()) {
      layer_.summary = summaryOf(method);
      if (!layer_.summary) {
        return skip("statistic '" + method + "' of element " + element_.id);
      }
    }
    switch (layer_.kind) {
      case LayerKind::kSlices:
        return slices();
      case LayerKind::kBars:
        return bars();
      default:
        return xy();
    }
  }

  std::optional<Layer> skip(const std::string& what) {
    model_.skip(what);
    return std::nullopt;
  }

  const BoundColumn* bind(const std::string& id, bool asCategories) {
    const BoundColumn* column = binder_.bind(id, asCategories, error_);
    if (column == nullptr) return nullptr;
    if (rowCount_ == kNoRows) {
      rowCount_ = column->rows();
    } else if (column->rows() != rowCount_) {
      model_.skip("element " + element_.id + " (its variables come from different data sources)");
      return nullptr;
    }
    return column;
  }

  // A variable on an axis, as categories or as numbers by its own measure.
  // False when a variable is derived (an expression) or cannot be read.
  bool usable(const std::string& id) {
    const Variable* variable = model_.variable(id);
    if (variable != nullptr && variable->derived) {
      model_.skip("element " + element_.id + " (its variable " + id +
                  " is computed by an expression)");
      return false;
    }
    return true;
  }

  // Colour comes from the colour aesthetic, or from a style-by whose cycle is
  // of colours; a style-by whose cycle is of patterns (or the default cycle
  // beside a colour) draws shapes, dashes or hatching.
  bool bindGroups() {
    const std::string& cycle = element_.styleCycle;
    const bool colour = !element_.color.empty();
    const bool style = !element_.styleBy.empty();
    const bool styleColours = style && (cycle == "styleCycleColor" || cycle == "color_pattern" ||
                                        (!colour && cycle != "styleCyclePattern"));
    const bool stylePatterns = style && (cycle == "styleCyclePattern" || cycle == "color_pattern" ||
                                         (colour && cycle != "styleCycleColor"));
    if (colour && styleColours && !stylePatterns) {
      model_.skip("style-by colours of element " + element_.id + " (its colour aesthetic wins)");
    }
    const std::string colourId = colour ? element_.color : styleColours ? element_.styleBy : "";
    if (colour && continuousColour()) {
      // Points take a scale variable's colours from a gradient; other marks
      // have no one value to colour by.
      if (layer_.kind != LayerKind::kPoints) {
        model_.skip("continuous colour of element " + element_.id + " (drawn in one colour)");
      } else if (!bindShades()) {
        return false;
      }
    } else if (!colourId.empty()) {
      if (!usable(colourId)) return false;
      layer_.groups = bind(colourId, true);
      if (layer_.groups == nullptr) return false;
    }
    if (stylePatterns) {
      if (!usable(element_.styleBy)) return false;
      layer_.styles = bind(element_.styleBy, true);
      if (layer_.styles == nullptr) return false;
    }
    return true;
  }

  // A colour variable that is not categorical colours by its values.
  bool continuousColour() const {
    const Variable* variable = model_.variable(element_.color);
    return variable != nullptr && !variable->categorical && !variable->derived;
  }

  bool bindShades() {
    layer_.shades = bind(element_.color, false);
    if (layer_.shades == nullptr) return false;
    const auto [lo, hi] = finiteRange(layer_.shades->numbers);
    layer_.shadeLo = lo;
    layer_.shadeHi = hi;
    return true;
  }

  // The least and greatest finite value (0, 0 for none).
  static std::pair<double, double> finiteRange(const std::vector<double>& values) {
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const double value : values) {
      if (!std::isfinite(value)) continue;
      lo = std::min(lo, value);
      hi = std::max(hi, value);
    }
    return lo <= hi ? std::pair{lo, hi} : std::pair{0.0, 0.0};
  }

  // Points take the size aesthetic: marker areas grow with its values.
  bool bindSizes() {
    if (element_.size.empty()) return true;
    if (layer_.kind != LayerKind::kPoints) {
      model_.skip("size aesthetic of element " + element_.id);
      return true;
    }
    if (!usable(element_.size)) return false;
    layer_.sizes = bind(element_.size, false);
    if (layer_.sizes == nullptr) return false;
    std::tie(layer_.sizeLo, layer_.sizeHi) = finiteRange(layer_.sizes->numbers);
    return true;
  }

  std::size_t styleCount() const {
    return layer_.styles == nullptr ? 1
                                    : std::max<std::size_t>(1, layer_.styles->categories.size());
  }

  // A row's cell: its colour group and style together (group * styles +
  // style), so that dodging and stacking treat each pair as one; -1 when
  // either is missing.
  int cellOf(std::uint32_t row) const {
    const int group = layer_.groups == nullptr ? 0 : layer_.groups->codes[row];
    const int style = layer_.styles == nullptr ? 0 : layer_.styles->codes[row];
    if (group < 0 || style < 0) return -1;
    return group * static_cast<int>(styleCount()) + style;
  }

  bool bindAxis(Role role, bool asCategories, const BoundColumn*& out) {
    const std::string* id = element_.position(role);
    if (id == nullptr || id->empty()) return true;
    if (!usable(*id)) return false;
    const Variable* variable = model_.variable(*id);
    out = bind(*id, asCategories || (variable != nullptr && variable->categorical));
    return out != nullptr;
  }

  std::size_t cellCount() const {
    const std::size_t groups =
        layer_.groups == nullptr ? 1 : std::max<std::size_t>(1, layer_.groups->categories.size());
    return groups * styleCount();
  }

  // Cells back into colour groups and styles, once the marks are arranged.
  void splitCells(Layer& layer) const {
    const std::size_t styles = styleCount();
    layer.styleCount = styles;
    if (layer.styles == nullptr) return;
    const auto split = [&](std::uint16_t& group, std::uint16_t& style) {
      style = static_cast<std::uint16_t>(group % styles);
      group = static_cast<std::uint16_t>(group / styles);
    };
    layer.pointStyle.resize(layer.pointGroup.size());
    for (std::size_t i = 0; i < layer.pointGroup.size(); ++i) {
      split(layer.pointGroup[i], layer.pointStyle[i]);
    }
    for (Series& series : layer.series) split(series.group, series.style);
    for (Bar& bar : layer.bars) split(bar.group, bar.style);
  }

  // Points, lines and areas: raw rows, or a summary of y per x and group.
  std::optional<Layer> xy() {
    if (!bindAxis(Role::kX, false, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr) return skip("element " + element_.id + " without an x variable");
    if (layer_.y == nullptr && !layer_.summary) {
      return skip("element " + element_.id + " without a y variable");
    }
    if (layer_.summary) return summarizedXy();
    if (layer_.kind == LayerKind::kPoints) {
      if (!bindAxis(Role::kZ, false, layer_.z)) return std::nullopt;
      forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
        const double x = positionOf(*layer_.x, row);
        const double y = positionOf(*layer_.y, row);
        const double z = layer_.z ? positionOf(*layer_.z, row) : 0.0;
        const int group = cellOf(row);
        if (std::isnan(x) || std::isnan(y) || std::isnan(z) || group < 0) return;
        layer_.px.push_back(x);
        layer_.py.push_back(y);
        const double size = layer_.sizes ? layer_.sizes->numbers[row] : 0.0;
        const double shade = layer_.shades ? layer_.shades->numbers[row] : 0.0;
        if (!std::isfinite(size) || !std::isfinite(shade)) return;
        if (layer_.shades) layer_.pointShade.push_back(shade);
        if (layer_.z) layer_.pz.push_back(z);
        if (layer_.sizes) layer_.pointSize.push_back(size);
        layer_.pointGroup.push_back(static_cast<std::uint16_t>(group));
      });
      return std::move(layer_);
    }
    // Lines and areas: one series per group (and split category), in x order.
    const BoundColumn* split = nullptr;
    if (!element_.split.empty()) {
      if (!usable(element_.split)) return std::nullopt;
      split = bind(element_.split, true);
      if (split == nullptr) return std::nullopt;
    }
    std::map<std::pair<int, int>, std::vector<std::pair<double, double>>> byGroup;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double x = positionOf(*layer_.x, row);
      const int group = cellOf(row);
      const int part = split ? split->codes[row] : 0;
      if (std::isnan(x) || group < 0 || part < 0) return;
      byGroup[{group, part}].emplace_back(x, positionOf(*layer_.y, row));
    });
    for (auto& [key, points] : byGroup) {
      std::stable_sort(points.begin(), points.end(),
                       [](const auto& a, const auto& b) { return a.first < b.first; });
      Series series;
      series.group = static_cast<std::uint16_t>(key.first);
      for (const auto& [x, y] : points) {
        series.x.push_back(x);
        series.y.push_back(y);
      }
      layer_.series.push_back(std::move(series));
    }
    finishAreas();
    return std::move(layer_);
  }

  // Values of y (or of nothing, for counts) gathered per (position, group).
  struct Cell {
    std::vector<double> values;
    double cases = 0;
  };

  std::map<std::pair<double, int>, Cell> gather(const BoundColumn& position,
                                                const BoundColumn* values, double& total) {
    std::map<std::pair<double, int>, Cell> cells;
    total = 0;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double at = positionOf(position, row);
      const int group = cellOf(row);
      if (std::isnan(at) || group < 0) return;
      Cell& cell = cells[{at, group}];
      cell.cases += 1;
      total += 1;
      if (values != nullptr) {
        const double value = positionOf(*values, row);
        if (std::isfinite(value)) cell.values.push_back(value);
      }
    });
    return cells;
  }

  // The summary of y per x and group, as points or as series.
  std::optional<Layer> summarizedXy() {
    const Summary summary = *layer_.summary;
    // A count needs no y; any other summary needs numbers to summarise.
    const BoundColumn* values = layer_.y;
    if (values != nullptr && values->categorical && summary != Summary::kCount &&
        summary != Summary::kPercent) {
      return skip("statistic of the categorical y of element " + element_.id);
    }
    layer_.countsOnY = values == nullptr;
    double total = 0;
    auto cells = gather(*layer_.x, values, total);
    std::map<int, Series> series;
    for (auto& [key, cell] : cells) {
      const double y = summarize(summary, cell.values, cell.cases, total);
      if (layer_.kind == LayerKind::kPoints) {
        if (std::isnan(y)) continue;
        layer_.px.push_back(key.first);
        layer_.py.push_back(y);
        layer_.pointGroup.push_back(static_cast<std::uint16_t>(key.second));
        continue;
      }
      Series& s = series[key.second];
      s.group = static_cast<std::uint16_t>(key.second);
      s.x.push_back(key.first);
      s.y.push_back(y);
    }
    for (auto& [group, s] : series) layer_.series.push_back(std::move(s));
    finishAreas();
    return std::move(layer_);
  }

  // Areas fill down to zero, or onto the groups below them when stacked.
  void finishAreas() {
    if (layer_.kind != LayerKind::kAreas) return;
    if (element_.positionModifier != "stack" || layer_.series.size() < 2) {
      for (Series& s : layer_.series) s.y0.assign(s.x.size(), 0.0);
      return;
    }
    // Stacked areas share their x values: every series gets every x, a
    // series without a value at an x adding nothing there.
    std::vector<double> xs;
    for (const Series& s : layer_.series) xs.insert(xs.end(), s.x.begin(), s.x.end());
    std::sort(xs.begin(), xs.end());
    xs.erase(std::unique(xs.begin(), xs.end()), xs.end());
    std::vector<double> running(xs.size(), 0.0);
    for (Series& s : layer_.series) {
      std::vector<double> own(xs.size(), 0.0);
      for (std::size_t i = 0; i < s.x.size(); ++i) {
        const auto at = std::lower_bound(xs.begin(), xs.end(), s.x[i]) - xs.begin();
        if (std::isfinite(s.y[i])) own[static_cast<std::size_t>(at)] += s.y[i];
      }
      s.x = xs;
      s.y0 = running;
      for (std::size_t i = 0; i < xs.size(); ++i) running[i] += own[i];
      s.y = running;
    }
  }

  // Bars of a summary of y (or of counts) in each category of x.
  std::optional<Layer> bars() {
    if (!bindAxis(Role::kX, true, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr) return skip("interval element " + element_.id + " without an x");
    if (layer_.y == nullptr && !layer_.summary) layer_.summary = Summary::kCount;
    if (layer_.y != nullptr && layer_.y->categorical) {
      return skip("interval element " + element_.id + " with a categorical y");
    }
    layer_.countsOnY = layer_.y == nullptr;
    double total = 0;
    auto cells = gather(*layer_.x, layer_.y, total);
    std::vector<Bar> bars;
    for (auto& [key, cell] : cells) {
      if (!layer_.summary) {
        // No statistic: a bar for each case.
        for (const double value : cell.values) {
          bars.push_back({key.first, key.first, 0, value, static_cast<std::uint16_t>(key.second)});
        }
        continue;
      }
      const double value = summarize(*layer_.summary, cell.values, cell.cases, total);
      if (std::isnan(value)) continue;
      bars.push_back({key.first, key.first, 0, value, static_cast<std::uint16_t>(key.second)});
    }
    // Bars stand in the middle of their category; groups share it side by
    // side or stacked.
    for (Bar& bar : bars) {
      bar.x0 = bar.x0 - kBarShare / 2;
      bar.x1 = bar.x1 + kBarShare / 2;
    }
    arrangeGroups(bars, !layer_.summary || isAdditive(*layer_.summary));
    layer_.bars = std::move(bars);
    return std::move(layer_);
  }

  // Groups in one place: stacked when the document says so (or when the
  // values add up and it says nothing), else side by side.
  void arrangeGroups(std::vector<Bar>& bars, bool additive) {
    if (cellCount() == 1) {
      layer_.overlapping = !layer_.summary;
      return;
    }
    const std::string& modifier = element_.positionModifier;
    const bool stack = modifier == "stack" || (modifier.empty() && additive);
    if (stack) {
      // Each place stacks its groups in group order; negatives downwards.
      std::map<double, std::pair<double, double>> tops;  // place → (up, down)
      std::stable_sort(bars.begin(), bars.end(),
                       [](const Bar& a, const Bar& b) { return a.group < b.group; });
      for (Bar& bar : bars) {
        auto& [up, down] = tops[bar.x0];
        const double value = bar.y1 - bar.y0;
        double& base = value >= 0 ? up : down;
        bar.y0 = base;
        bar.y1 = base + value;
        base = bar.y1;
      }
      return;
    }
    const double slot = (bar0Width(bars)) / static_cast<double>(cellCount());
    for (Bar& bar : bars) {
      bar.x0 = bar.x0 + slot * bar.group;
      bar.x1 = bar.x0 + slot;
    }
  }

  static double bar0Width(const std::vector<Bar>& bars) {
    return bars.empty() ? kBarShare : bars.front().x1 - bars.front().x0;
  }

  std::optional<Layer> histogram() {
    if (!bindAxis(Role::kX, false, layer_.x)) return std::nullopt;
    if (layer_.x == nullptr) return skip("histogram " + element_.id + " without an x");
    if (layer_.x->categorical) {
      return skip("histogram " + element_.id + " of a categorical variable");
    }
    layer_.countsOnY = true;
    layer_.summary = Summary::kCount;
    // Bins span the variable over all rows, so that panels share them.
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    std::size_t cases = 0;
    for (const double value : layer_.x->numbers) {
      if (!std::isfinite(value)) continue;
      lo = std::min(lo, value);
      hi = std::max(hi, value);
      ++cases;
    }
    if (cases == 0) return std::move(layer_);
    const std::optional<double> width = numberParameter(*element_.statistic, "bin-width");
    const auto bins = makeBins(lo, hi, width && *width > 0 ? width : std::nullopt, cases);
    if (!bins) {
      return skip("histogram " + element_.id + " (its bin width makes too many bins)");
    }
    std::map<std::pair<std::size_t, int>, double> counts;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const int group = cellOf(row);
      const auto bin = bins->binOf(layer_.x->numbers[row]);
      if (group >= 0 && bin) counts[{*bin, group}] += 1;
    });
    std::vector<Bar> bars;
    for (const auto& [key, count] : counts) {
      const double x0 = bins->start + bins->width * static_cast<double>(key.first);
      bars.push_back({x0, x0 + bins->width, 0, count, static_cast<std::uint16_t>(key.second)});
    }
    arrangeGroups(bars, true);
    layer_.bars = std::move(bars);
    return std::move(layer_);
  }

  // A pie's slices: the summary of the angle variable for each group.
  std::optional<Layer> slices() {
    const std::string* id = element_.position(Role::kTheta);
    if (id == nullptr) id = element_.position(Role::kY);
    if (id == nullptr) id = element_.position(Role::kR);
    const BoundColumn* values = nullptr;
    if (id != nullptr) {
      if (!usable(*id)) return std::nullopt;
      const Variable* variable = model_.variable(*id);
      const bool categorical = variable != nullptr && variable->categorical;
      // A categorical angle variable can only be counted.
      if (!categorical) values = bind(*id, false);
      if (!categorical && values == nullptr) return std::nullopt;
      if (categorical && !bind(*id, true)) return std::nullopt;
    }
    if (!layer_.summary) layer_.summary = values != nullptr ? Summary::kSum : Summary::kCount;
    if (rowCount_ == kNoRows) return skip("pie element " + element_.id + " without variables");
    const std::size_t groups = cellCount();
    std::vector<Cell> cells(groups);
    double total = 0;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const int group = cellOf(row);
      if (group < 0) return;
      Cell& cell = cells[static_cast<std::size_t>(group)];
      cell.cases += 1;
      total += 1;
      if (values != nullptr && std::isfinite(values->numbers[row])) {
        cell.values.push_back(values->numbers[row]);
      }
    });
    bool negative = false;
    for (Cell& cell : cells) {
      double value = summarize(*layer_.summary, cell.values, cell.cases, total);
      if (!(value >= 0)) {
        negative = negative || value < 0;
        value = 0;
      }
      layer_.slices.push_back(value);
    }
    if (negative) model_.skip("negative slices of pie " + element_.id);
    return std::move(layer_);
  }

  static constexpr std::size_t kNoRows = static_cast<std::size_t>(-1);

  const Element& element_;
  const DataFrame& frame_;
  const RowSet* rows_;
  DataBinder& binder_;
  ChartModel& model_;
  std::string& error_;
  Layer layer_;
  std::size_t rowCount_ = kNoRows;
};

}  // namespace

std::optional<Layer> computeLayer(const Element& element, const DataFrame& frame,
                                  const RowSet* rows, DataBinder& binder, ChartModel& model,
                                  std::string& error) {
  error.clear();
  return LayerMaker(element, frame, rows, binder, model, error).make();
}

}  // namespace chartxml::render
