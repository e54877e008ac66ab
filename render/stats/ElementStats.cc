// Statistics per element: raw rows for points and lines, summaries per
// category and group, histogram bins, slices; then stacking and dodging.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <span>
#include <tuple>
#include <unordered_set>

#include "format/ValueFormat.h"
#include "scales/Palette.h"
#include "scales/Ticks.h"
#include "stats/Bins.h"
#include "stats/Layers.h"
#include "work/Halves.h"

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

// The first of the parameters `names` that holds a number.
std::optional<double> firstParameter(const Statistic& statistic,
                                     std::initializer_list<std::string_view> names) {
  for (const std::string_view name : names) {
    if (const auto value = numberParameter(statistic, name)) return value;
  }
  return std::nullopt;
}

SummaryArgs summaryArgsOf(const Statistic& statistic) {
  SummaryArgs args;
  args.p1 = firstParameter(statistic, {"p1", "value", "percentile", "p", "min", "low", "cut"})
                .value_or(50);
  args.p2 = firstParameter(statistic, {"p2", "max", "high"}).value_or(args.p1);
  return args;
}

// An interval statistic of error bars: what it spans and how far.
struct SpreadAsked {
  Spread spread;
  double amount;
};

std::optional<SpreadAsked> spreadOf(const Statistic& statistic) {
  const std::string& m = statistic.method;
  if (m == "meanCI" || m == "confidenceInterval" || m == "errorbar") {
    return SpreadAsked{Spread::kConfidence,
                       firstParameter(statistic, {"level", "confidence", "percent"}).value_or(95)};
  }
  if (m == "meanSE" || m == "standardError") {
    return SpreadAsked{Spread::kStandardError,
                       firstParameter(statistic, {"multiplier", "times"}).value_or(2)};
  }
  if (m == "meanSD" || m == "meanStandardDeviation") {
    return SpreadAsked{Spread::kStandardDeviation,
                       firstParameter(statistic, {"multiplier", "times"}).value_or(2)};
  }
  return std::nullopt;
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
    if (layer) {
      if (layer->shades != nullptr) spanShades(*layer);
      splitCells(*layer);
      if (element_.labeled) labelMarks(*layer);
    }
    return layer;
  }

 private:
  std::optional<Layer> arrange() {
    layer_.element = &element_;
    const std::string& type = element_.type;
    const bool polar = frame_.coordinates == "polar";
    const std::optional<SpreadAsked> spread =
        element_.statistic ? spreadOf(*element_.statistic) : std::nullopt;
    if (type == "point") {
      layer_.kind = LayerKind::kPoints;
    } else if (type == "line" || type == "path") {
      layer_.kind = LayerKind::kLines;
    } else if (type == "area") {
      layer_.kind = LayerKind::kAreas;
    } else if (type == "interval") {
      // Bars with an x and a y in polar coordinates are a rose; without, a pie.
      const bool rose = element_.position(Role::kX) && element_.position(Role::kY);
      layer_.kind = polar && !rose ? LayerKind::kSlices : LayerKind::kBars;
    } else if (type == "schema") {
      layer_.kind = LayerKind::kBoxes;
    } else if (type == "tile") {
      layer_.kind = LayerKind::kTiles;
    } else if (type == "contour") {
      layer_.kind = LayerKind::kContours;
    } else {
      return skip("element " + element_.id + " of type '" + type + "'");
    }
    if (spread && (layer_.kind == LayerKind::kBars || layer_.kind == LayerKind::kBoxes ||
                   layer_.kind == LayerKind::kPoints)) {
      layer_.kind = LayerKind::kErrorBars;
    }
    // Points, lines and areas turn with the frame; boxes, error bars, cells
    // and contours have no meaning on a circle.
    const bool turns = layer_.kind == LayerKind::kSlices || layer_.kind == LayerKind::kBars ||
                       layer_.kind == LayerKind::kPoints || layer_.kind == LayerKind::kLines ||
                       layer_.kind == LayerKind::kAreas;
    if (polar && !turns) return skip(type + " element " + element_.id + " in polar coordinates");
    if (!bindGroups() || !bindSizes() || !bindWeights() || !bindTransparency()) {
      return std::nullopt;
    }
    switch (layer_.kind) {
      case LayerKind::kBoxes:
        return boxes();
      case LayerKind::kErrorBars:
        return errorBars(*spread);
      case LayerKind::kTiles:
        return tiles();
      case LayerKind::kContours:
        return contours();
      default:
        break;
    }

    std::string method = element_.statistic ? element_.statistic->method : "";
    if (method == "bin" && layer_.kind == LayerKind::kPoints) return binned();
    if (method == "histogram") return histogram();
    if (!method.empty()) {
      layer_.summary = summaryOf(method);
      if (!layer_.summary) {
        return skip("statistic '" + method + "' of element " + element_.id);
      }
      layer_.summaryArgs = summaryArgsOf(*element_.statistic);
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
      // Marks take a scale variable's colours from a gradient: a point its
      // own row's, a mark of many cases their mean; a pie's slices share
      // one whole and are told apart by their groups' colours.
      const bool shaded = layer_.kind != LayerKind::kSlices;
      if (!shaded) {
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
    // The style-by's cycle styles what the style-by drives; colour groups
    // without one take the document's default cycle, when it says anything.
    const std::vector<CycleStyle>* own = style ? cycleOf(cycle) : nullptr;
    if (stylePatterns) layer_.styleCycle = own;
    layer_.groupCycle = styleColours && !colour && own ? own : cycleOf("styleCycleDefault");
    return true;
  }

  // The entries of cycle `id`, or null when it is unknown or its entries
  // leave everything to the renderer.
  const std::vector<CycleStyle>* cycleOf(const std::string& id) const {
    const auto it = model_.styleCycles.find(id);
    if (it == model_.styleCycles.end()) return nullptr;
    for (const CycleStyle& entry : it->second) {
      if (entry.color || !entry.shape.empty() || !entry.dash.empty() || entry.pattern) {
        return &it->second;
      }
    }
    return nullptr;
  }

  // The weight variable: the element's own, else the chart's; only
  // summaries weigh their cases (raw marks draw each case once).
  bool bindWeights() {
    const std::string& id = element_.weight.empty() ? model_.weight : element_.weight;
    if (id.empty()) return true;
    const bool summarises = element_.statistic.has_value() || layer_.kind == LayerKind::kBars ||
                            layer_.kind == LayerKind::kSlices || layer_.kind == LayerKind::kBoxes;
    if (!summarises) return true;
    if (!element_.weight.empty()) {
      if (!usable(id)) return false;
      layer_.weights = bind(id, false);
      return layer_.weights != nullptr;
    }
    // The chart's weight variable may come without data of its own (the
    // procedure weighed the cases itself): then each case weighs 1.
    std::string problem;
    const BoundColumn* weights = binder_.bind(id, false, problem);
    if (weights == nullptr || (rowCount_ != kNoRows && weights->rows() != rowCount_)) {
      model_.skip("weights of element " + element_.id + " (the weight variable " + id +
                  " cannot be read: cases weigh 1)");
      return true;
    }
    layer_.weights = weights;
    if (rowCount_ == kNoRows) rowCount_ = weights->rows();
    return true;
  }

  // What a row's case weighs: 1 without weights; 0 (left out) when its
  // weight is missing, zero or negative.
  double weightOf(std::uint32_t row) const {
    if (layer_.weights == nullptr) return 1;
    const double w = layer_.weights->numbers[row];
    return std::isfinite(w) && w > 0 ? w : 0;
  }

  // Marks fade by a variable's categories (the first opaque, each next
  // clearer) or by its values (the largest opaque): a point by its own row,
  // a mark of many cases (a bar, a box, a line) by the mean opacity of its
  // cases, weighed as the mark weighs them.
  bool bindTransparency() {
    if (element_.transparency.empty()) return true;
    if (layer_.kind == LayerKind::kContours) {
      model_.skip("transparency aesthetic of contour element " + element_.id +
                  " (a line of equal value stands for no cases of its own)");
      return true;
    }
    if (!usable(element_.transparency)) return false;
    const Variable* variable = model_.variable(element_.transparency);
    layer_.transparency = bind(element_.transparency, variable != nullptr && variable->categorical);
    if (layer_.transparency == nullptr) return false;
    if (!layer_.transparency->categorical) {
      std::tie(layer_.transparencyLo, layer_.transparencyHi) =
          finiteRange(layer_.transparency->numbers);
    }
    return true;
  }

  // What a mark of many cases takes from them: the mean opacity under the
  // transparency aesthetic and the mean of a continuous colour variable,
  // each weighed as the mark weighs its cases, over the rows with a value.
  struct CaseMeans {
    double sum = 0, weight = 0;            // opacity × weight, weight
    double shadeSum = 0, shadeWeight = 0;  // colour value × weight, weight
    void add(double alpha, double w) {
      if (std::isnan(alpha) || !(w > 0)) return;
      sum += alpha * w;
      weight += w;
    }
    void addShade(double value, double w) {
      if (!std::isfinite(value) || !(w > 0)) return;
      shadeSum += value * w;
      shadeWeight += w;
    }
    void merge(const CaseMeans& other) {
      sum += other.sum;
      weight += other.weight;
      shadeSum += other.shadeSum;
      shadeWeight += other.shadeWeight;
    }
    double opacity() const { return weight > 0 ? sum / weight : 1.0; }
    double shade() const { return shadeWeight > 0 ? shadeSum / shadeWeight : kNaN; }
  };
  void addCase(CaseMeans& into, std::uint32_t row, double weight) const {
    if (layer_.transparency != nullptr) into.add(alphaOf(row), weight);
    if (layer_.shades != nullptr) into.addShade(layer_.shades->numbers[row], weight);
  }
  const CaseMeans& cellMeans(const std::pair<double, int>& cell) const {
    static const CaseMeans kNone;
    const auto it = means_.find(cell);
    return it == means_.end() ? kNone : it->second;
  }
  template <typename Mark>
  static void take(Mark& mark, const CaseMeans& from) {
    mark.alpha = from.opacity();
    mark.shade = from.shade();
  }

  // A row's opacity (0..1) under the transparency aesthetic; NaN when the
  // row has no value for it.
  double alphaOf(std::uint32_t row) const {
    const BoundColumn& t = *layer_.transparency;
    if (t.categorical) {
      const int code = t.codes[row];
      return code < 0 ? kNaN : categoryOpacity(static_cast<std::size_t>(code), t.categories.size());
    }
    const double value = t.numbers[row];
    return std::isfinite(value) ? valueOpacity(value, layer_.transparencyLo, layer_.transparencyHi)
                                : kNaN;
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
  static std::pair<double, double> finiteRange(std::span<const double> values) {
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
    // In polar coordinates the angle may be named theta and the radius r.
    if (id == nullptr && frame_.coordinates == "polar" && layer_.kind != LayerKind::kSlices &&
        (role == Role::kX || role == Role::kY)) {
      id = element_.position(role == Role::kX ? Role::kTheta : Role::kR);
    }
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
    for (Box& box : layer.boxes) split(box.group, box.style);
    for (ErrorBar& bar : layer.errorBars) split(bar.group, bar.style);
    std::uint16_t unused = 0;
    for (Tile& tile : layer.tiles) split(tile.group, unused);
  }

  // A plain scatter whose every row is drawn as it is: its positions are
  // views of the columns' numbers, not copies (a copy of ten million points
  // costs 160 MB). False, with the layer as it was, for any other.
  bool viewPoints() {
    if (rows_ != nullptr || layer_.z || layer_.x->categorical || layer_.y->categorical ||
        layer_.styles || layer_.sizes || layer_.shades || layer_.transparency || element_.labeled) {
      return false;
    }
    const std::span<const double> x = layer_.x->numbers, y = layer_.y->numbers;
    if (x.size() != rowCount_ || y.size() != rowCount_) return false;
    layer_.pointGroup.resize(rowCount_);
    std::uint16_t* groups = layer_.pointGroup.data();
    const std::int32_t* codes = layer_.groups ? layer_.groups->codes.data() : nullptr;
    bool whole[2] = {true, true};
    inHalves(rowCount_, [&](std::size_t begin, std::size_t end) {
      for (std::size_t row = begin; row < end; ++row) {
        const std::int32_t group = codes ? codes[row] : 0;
        if (std::isnan(x[row]) || std::isnan(y[row]) || group < 0) {
          whole[begin == 0 ? 0 : 1] = false;
          return;
        }
        groups[row] = static_cast<std::uint16_t>(group);
      }
    });
    if (!whole[0] || !whole[1]) {
      layer_.pointGroup.clear();
      return false;
    }
    layer_.px = Coordinates::viewOf(x);
    layer_.py = Coordinates::viewOf(y);
    return true;
  }

  // A dot plot: each case a dot, stacked up from zero over its x (its
  // category, its value when the values are few, else the middle of one of
  // kDotStacks equal bins across their range), one count of y per dot.
  std::optional<Layer> dots() {
    constexpr std::size_t kDotStacks = 40;
    const BoundColumn& x = *layer_.x;
    std::vector<double> values;
    if (!x.categorical) {
      for (const double value : x.numbers) {
        if (std::isfinite(value)) values.push_back(value);
      }
      std::sort(values.begin(), values.end());
      values.erase(std::unique(values.begin(), values.end()), values.end());
    }
    const bool binned = values.size() > kDotStacks;
    const double lo = values.empty() ? 0 : values.front();
    const double width = values.empty() ? 1 : (values.back() - lo) / kDotStacks;
    const auto stackOf = [&](double value) {
      if (!binned) return value;
      const double bin = std::min(std::floor((value - lo) / width), kDotStacks - 1.0);
      return lo + (bin + 0.5) * width;
    };
    std::map<double, double> height;  // by stack: the dots on it so far
    double highest = 0;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double value = positionOf(x, row);
      const int group = cellOf(row);
      if (!std::isfinite(value) || group < 0) return;
      const double size = layer_.sizes ? layer_.sizes->numbers[row] : 0.0;
      const double shade = layer_.shades ? layer_.shades->numbers[row] : 0.0;
      const double alpha = layer_.transparency ? alphaOf(row) : 1.0;
      if (!std::isfinite(size) || !std::isfinite(shade) || std::isnan(alpha)) return;
      const double at = stackOf(value);
      double& dots = height[at];
      layer_.px.push_back(at);
      layer_.py.push_back(dots + 0.5);
      highest = std::max(highest, ++dots);
      layer_.pointGroup.push_back(static_cast<std::uint16_t>(group));
      if (layer_.sizes) layer_.pointSize.push_back(size);
      if (layer_.shades) layer_.pointShade.push_back(shade);
      if (layer_.transparency) layer_.pointAlpha.push_back(alpha);
      if (element_.labeled) pointLabels_.push_back(labelOfRow(row));
    });
    layer_.countsOnY = true;
    layer_.extentY = {0, highest};
    return std::move(layer_);
  }

  // Points, lines and areas: raw rows, or a summary of y per x and group.
  std::optional<Layer> xy() {
    if (!bindAxis(Role::kX, false, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr) return skip("element " + element_.id + " without an x variable");
    if (element_.dot && layer_.kind == LayerKind::kPoints) {
      if (layer_.y == nullptr && !layer_.summary && layer_.z == nullptr) return dots();
      model_.skip("dot plot of element " + element_.id + " with a y (drawn as a scatter)");
    }
    if (layer_.y == nullptr && !layer_.summary) {
      return skip("element " + element_.id + " without a y variable");
    }
    if (layer_.summary) return summarizedXy();
    if (layer_.kind == LayerKind::kPoints) {
      if (!bindAxis(Role::kZ, false, layer_.z)) return std::nullopt;
      if (viewPoints()) return std::move(layer_);
      // Room for every row at once: a million points grown step by step
      // are copied over and over.
      const std::size_t most = rows_ != nullptr ? rows_->size() : rowCount_;
      layer_.px.reserve(most);
      layer_.py.reserve(most);
      layer_.pointGroup.reserve(most);
      forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
        const double x = positionOf(*layer_.x, row);
        const double y = positionOf(*layer_.y, row);
        const double z = layer_.z ? positionOf(*layer_.z, row) : 0.0;
        const int group = cellOf(row);
        if (std::isnan(x) || std::isnan(y) || std::isnan(z) || group < 0) return;
        const double size = layer_.sizes ? layer_.sizes->numbers[row] : 0.0;
        const double shade = layer_.shades ? layer_.shades->numbers[row] : 0.0;
        const double alpha = layer_.transparency ? alphaOf(row) : 1.0;
        if (!std::isfinite(size) || !std::isfinite(shade) || std::isnan(alpha)) return;
        if (layer_.shades) layer_.pointShade.push_back(shade);
        if (layer_.transparency) layer_.pointAlpha.push_back(alpha);
        if (element_.labeled) pointLabels_.push_back(labelOfRow(row));
        layer_.px.push_back(x);
        layer_.py.push_back(y);
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
    std::map<std::pair<int, int>, CaseMeans> means;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double x = positionOf(*layer_.x, row);
      const int group = cellOf(row);
      const int part = split ? split->codes[row] : 0;
      if (std::isnan(x) || group < 0 || part < 0) return;
      byGroup[{group, part}].emplace_back(x, positionOf(*layer_.y, row));
      addCase(means[{group, part}], row, 1);
    });
    // A path goes through its points in data order; lines and areas in x order.
    const bool dataOrder = element_.type == "path";
    for (auto& [key, points] : byGroup) {
      if (!dataOrder) {
        std::stable_sort(points.begin(), points.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
      }
      Series series;
      series.group = static_cast<std::uint16_t>(key.first);
      take(series, means[key]);
      for (const auto& [x, y] : points) {
        series.x.push_back(x);
        series.y.push_back(y);
      }
      layer_.series.push_back(std::move(series));
    }
    finishAreas();
    return std::move(layer_);
  }

  // Values of y (or of nothing, for counts) gathered per (position, group),
  // with their weights; `totals` the weight and sum of all.
  std::map<std::pair<double, int>, Sample> gather(const BoundColumn& position,
                                                  const BoundColumn* values, Totals& totals) {
    std::map<std::pair<double, int>, Sample> cells;
    totals = Totals{};
    means_.clear();
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double at = positionOf(position, row);
      const int group = cellOf(row);
      const double weight = weightOf(row);
      if (std::isnan(at) || group < 0 || weight <= 0) return;
      addCase(means_[{at, group}], row, weight);
      Sample& cell = cells[{at, group}];
      cell.cases += weight;
      totals.cases += weight;
      if (values != nullptr) {
        const double value = positionOf(*values, row);
        if (std::isfinite(value)) {
          cell.values.push_back(value);
          if (layer_.weights != nullptr) cell.weights.push_back(weight);
          totals.sum += value * weight;
        }
      }
    });
    return cells;
  }

  // Each place's summary, in place order (x ascending); running totals per
  // group when the summary is cumulative.
  std::vector<std::pair<std::pair<double, int>, double>> summarizeCells(
      std::map<std::pair<double, int>, Sample>& cells, const Totals& totals) {
    const Summary summary = *layer_.summary;
    std::vector<std::pair<std::pair<double, int>, double>> out;
    std::map<int, double> running;
    for (auto& [key, cell] : cells) {
      double value = summarize(summary, cell, totals, layer_.summaryArgs);
      if (isCumulative(summary) && std::isfinite(value)) value = running[key.second] += value;
      out.emplace_back(key, value);
    }
    return out;
  }

  // The summary of y per x and group, as points or as series.
  std::optional<Layer> summarizedXy() {
    const Summary summary = *layer_.summary;
    // A count needs no y; any other summary needs numbers to summarise.
    const BoundColumn* values = layer_.y;
    if (values != nullptr && values->categorical && !isCount(summary)) {
      return skip("statistic of the categorical y of element " + element_.id);
    }
    layer_.countsOnY = values == nullptr;
    Totals totals;
    auto cells = gather(*layer_.x, values, totals);
    std::map<int, Series> series;
    std::map<int, CaseMeans> means;  // a line's cases are those of all its places
    for (const auto& [key, y] : summarizeCells(cells, totals)) {
      if (layer_.kind == LayerKind::kPoints) {
        // A point whose cases have no colour value has none to be drawn in.
        if (std::isnan(y) || (layer_.shades && std::isnan(cellMeans(key).shade()))) continue;
        layer_.px.push_back(key.first);
        layer_.py.push_back(y);
        layer_.pointGroup.push_back(static_cast<std::uint16_t>(key.second));
        if (layer_.transparency != nullptr) layer_.pointAlpha.push_back(cellMeans(key).opacity());
        if (layer_.shades != nullptr) layer_.pointShade.push_back(cellMeans(key).shade());
        continue;
      }
      Series& s = series[key.second];
      s.group = static_cast<std::uint16_t>(key.second);
      s.x.push_back(key.first);
      s.y.push_back(y);
      means[key.second].merge(cellMeans(key));
    }
    for (auto& [group, s] : series) {
      take(s, means[group]);
      layer_.series.push_back(std::move(s));
    }
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
    Totals totals;
    auto cells = gather(*layer_.x, layer_.y, totals);
    std::vector<Bar> bars;
    if (!layer_.summary) {
      // No statistic: a bar for each case.
      for (const auto& [key, cell] : cells) {
        for (const double value : cell.values) {
          bars.push_back({key.first, key.first, 0, value, static_cast<std::uint16_t>(key.second)});
          take(bars.back(), cellMeans(key));
        }
      }
    } else if (*layer_.summary == Summary::kRange && layer_.y != nullptr) {
      // A range bar spans its cell's values, from the least to the greatest;
      // spans of groups stand side by side, never on one another.
      layer_.spans = true;
      for (const auto& [key, cell] : cells) {
        if (cell.values.empty()) continue;
        const auto [low, high] = std::minmax_element(cell.values.begin(), cell.values.end());
        bars.push_back({key.first, key.first, *low, *high, static_cast<std::uint16_t>(key.second)});
        take(bars.back(), cellMeans(key));
      }
    } else {
      for (const auto& [key, value] : summarizeCells(cells, totals)) {
        if (std::isnan(value)) continue;
        bars.push_back({key.first, key.first, 0, value, static_cast<std::uint16_t>(key.second)});
        take(bars.back(), cellMeans(key));
      }
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
    const bool stack = !layer_.spans && (modifier == "stack" || (modifier.empty() && additive));
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
    // Side by side, a slot per group in group order, so that a group keeps
    // its place in every category; but when no place holds two groups (a
    // category coloured by itself), each bar keeps its whole band, over
    // its tick, rather than a slot among empty ones.
    std::map<double, int> groupsAt;  // place → how many groups it holds
    for (const Bar& bar : bars) ++groupsAt[bar.x0];
    const bool alone = std::all_of(groupsAt.begin(), groupsAt.end(),
                                   [](const auto& place) { return place.second == 1; });
    if (alone) return;
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
    // Bins by their number (equal widths from the least value to the
    // greatest), or by their width, or of a nice width of their own.
    const std::optional<double> width = numberParameter(*element_.statistic, "bin-width");
    const std::optional<double> number =
        firstParameter(*element_.statistic, {"bins", "binCount", "bin-count", "numberOfBins"});
    std::optional<Bins> bins;
    if (number && *number >= 1 && *number <= 100000) {
      bins = makeBinsByCount(lo, hi, static_cast<std::size_t>(*number));
    } else {
      bins = makeBins(lo, hi, width && *width > 0 ? width : std::nullopt, cases);
    }
    if (!bins) {
      return skip("histogram " + element_.id + " (its bin width makes too many bins)");
    }
    std::map<std::pair<std::size_t, int>, double> counts;
    std::map<std::pair<std::size_t, int>, CaseMeans> means;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const int group = cellOf(row);
      const auto bin = bins->binOf(layer_.x->numbers[row]);
      if (group < 0 || !bin) return;
      counts[{*bin, group}] += weightOf(row);
      addCase(means[{*bin, group}], row, weightOf(row));
    });
    if (layer_.kind != LayerKind::kBars) {
      frequencyPolygons(*bins, counts, means);
      return std::move(layer_);
    }
    std::vector<Bar> bars;
    for (const auto& [key, count] : counts) {
      const double x0 = bins->start + bins->width * static_cast<double>(key.first);
      bars.push_back({x0, x0 + bins->width, 0, count, static_cast<std::uint16_t>(key.second)});
      take(bars.back(), means[key]);
    }
    arrangeGroups(bars, true);
    layer_.bars = std::move(bars);
    return std::move(layer_);
  }

  // A histogram as points, lines or areas: each group's count at the middle
  // of every bin (bins without cases count 0), so that a line is the
  // frequency polygon; stacked areas pile up as stacked bars would.
  void frequencyPolygons(const Bins& bins,
                         const std::map<std::pair<std::size_t, int>, double>& counts,
                         std::map<std::pair<std::size_t, int>, CaseMeans>& means) {
    std::map<int, Series> series;
    std::map<int, CaseMeans> whole;
    for (const auto& [key, count] : counts) {
      Series& s = series[key.second];
      s.group = static_cast<std::uint16_t>(key.second);
      whole[key.second].merge(means[key]);
    }
    for (auto& [group, s] : series) {
      for (std::size_t bin = 0; bin < bins.count; ++bin) {
        const auto found = counts.find({bin, group});
        const double x = bins.start + bins.width * (static_cast<double>(bin) + 0.5);
        const double y = found == counts.end() ? 0.0 : found->second;
        if (layer_.kind == LayerKind::kPoints) {
          if (found == counts.end()) continue;
          if (layer_.shades != nullptr && std::isnan(means[{bin, group}].shade())) continue;
          layer_.px.push_back(x);
          layer_.py.push_back(y);
          layer_.pointGroup.push_back(static_cast<std::uint16_t>(group));
          if (layer_.transparency != nullptr) {
            layer_.pointAlpha.push_back(means[{bin, group}].opacity());
          }
          if (layer_.shades != nullptr) layer_.pointShade.push_back(means[{bin, group}].shade());
          continue;
        }
        s.x.push_back(x);
        s.y.push_back(y);
      }
      take(s, whole[group]);
      if (layer_.kind != LayerKind::kPoints) layer_.series.push_back(std::move(s));
    }
    // The bins' edges stay on the axis, as under bars.
    layer_.extentX = {bins.start, bins.start + bins.width * static_cast<double>(bins.count)};
    finishAreas();
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
    layer_.sliceValues = values;
    if (rowCount_ == kNoRows) return skip("pie element " + element_.id + " without variables");
    const std::size_t groups = cellCount();
    std::vector<Sample> cells(groups);
    std::vector<CaseMeans> means(groups);
    Totals totals;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const int group = cellOf(row);
      const double weight = weightOf(row);
      if (group < 0 || weight <= 0) return;
      addCase(means[static_cast<std::size_t>(group)], row, weight);
      Sample& cell = cells[static_cast<std::size_t>(group)];
      cell.cases += weight;
      totals.cases += weight;
      if (values != nullptr && std::isfinite(values->numbers[row])) {
        cell.values.push_back(values->numbers[row]);
        if (layer_.weights != nullptr) cell.weights.push_back(weight);
        totals.sum += values->numbers[row] * weight;
      }
    });
    bool negative = false;
    // Slices share one whole: running totals make no sense around a circle.
    if (isCumulative(*layer_.summary)) {
      model_.skip("cumulative statistic of pie " + element_.id + " (drawn as its parts)");
    }
    for (Sample& cell : cells) {
      double value = summarize(*layer_.summary, cell, totals, layer_.summaryArgs);
      if (!(value >= 0)) {
        negative = negative || value < 0;
        value = 0;
      }
      layer_.slices.push_back(value);
    }
    if (layer_.transparency != nullptr) {
      for (const CaseMeans& f : means) layer_.sliceAlpha.push_back(f.opacity());
    }
    if (negative) model_.skip("negative slices of pie " + element_.id);
    return std::move(layer_);
  }

  // A binned scatter: the cases counted in the cells of a grid over x and
  // y (squares, or hexagons when the statistic's grid is "hex"), each cell
  // with cases a point at its centre whose size grows with its count.
  std::optional<Layer> binned() {
    if (!bindAxis(Role::kX, false, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr || layer_.y == nullptr || layer_.x->categorical ||
        layer_.y->categorical) {
      return skip("binned element " + element_.id + " without a numeric x and y");
    }
    // Plain variables, not structured bindings: the lambda below captures them,
    // which clang before 16 refuses.
    const std::pair<double, double> xr = finiteRange(layer_.x->numbers);
    const std::pair<double, double> yr = finiteRange(layer_.y->numbers);
    const double xlo = xr.first, xhi = xr.second, ylo = yr.first, yhi = yr.second;
    const std::string* grid = findParameter(element_.statistic->parameters, "grid");
    const bool hex = grid != nullptr && *grid == "hex";
    const double across =
        firstParameter(*element_.statistic, {"bins", "binCount", "binsX"}).value_or(20);
    const double n = std::clamp(std::round(across), 1.0, 1000.0);
    // Cells are laid out on x and y each scaled to 0..n.
    const double sx = xhi > xlo ? n / (xhi - xlo) : 1, sy = yhi > ylo ? n / (yhi - ylo) : 1;
    std::map<std::tuple<long, long, int>, double> counts;
    std::map<std::tuple<long, long, int>, CaseMeans> means;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double x = layer_.x->numbers[row], y = layer_.y->numbers[row];
      const int group = cellOf(row);
      const double weight = weightOf(row);
      if (!std::isfinite(x) || !std::isfinite(y) || group < 0 || weight <= 0) return;
      const double u = (x - xlo) * sx, v = (y - ylo) * sy;
      long i = 0, j = 0;
      if (!hex) {
        i = static_cast<long>(std::floor(std::min(u, n - 0.5)));
        j = static_cast<long>(std::floor(std::min(v, n - 0.5)));
      } else {
        // Hexagons of unit width in rows sqrt(3)/2 apart, every other row
        // shifted by half: the nearer of the two candidate centres wins.
        const double h = std::sqrt(3.0) / 2;
        const long r0 = static_cast<long>(std::floor(v / h));
        double best = std::numeric_limits<double>::infinity();
        for (const long r : {r0, r0 + 1}) {
          const double shift = (r % 2 != 0) ? 0.5 : 0.0;
          const long c = static_cast<long>(std::round(u - shift));
          const double du = u - (c + shift), dv = v - r * h;
          if (du * du + dv * dv < best) {
            best = du * du + dv * dv;
            i = c;
            j = r;
          }
        }
      }
      counts[{i, j, group}] += weight;
      addCase(means[{i, j, group}], row, weight);
    });
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const auto& [cell, count] : counts) {
      if (layer_.shades != nullptr && std::isnan(means[cell].shade())) continue;
      const auto [i, j, group] = cell;
      double u = static_cast<double>(i) + 0.5, v = static_cast<double>(j) + 0.5;
      if (hex) {
        u = static_cast<double>(i) + ((j % 2 != 0) ? 0.5 : 0.0);
        v = static_cast<double>(j) * std::sqrt(3.0) / 2;
      }
      layer_.px.push_back(xlo + u / sx);
      layer_.py.push_back(ylo + v / sy);
      layer_.pointGroup.push_back(static_cast<std::uint16_t>(group));
      layer_.pointSize.push_back(count);
      if (layer_.transparency != nullptr) layer_.pointAlpha.push_back(means[cell].opacity());
      if (layer_.shades != nullptr) layer_.pointShade.push_back(means[cell].shade());
      lo = std::min(lo, count);
      hi = std::max(hi, count);
    }
    // Sizes show counts: the size key reads them, whatever variable the
    // document sized by.
    if (layer_.sizes == nullptr) layer_.sizes = layer_.x;
    layer_.sizesCount = true;
    layer_.sizeLo = counts.empty() ? 0 : lo;
    layer_.sizeHi = counts.empty() ? 0 : hi;
    return std::move(layer_);
  }

  // Boxes of y per category of x (and group, side by side), from Tukey's
  // hinges (weighted: as if each case were repeated by its weight); whiskers end at the most
  // extreme values within 1.5 hinge spreads, and values beyond are drawn one by one.
  std::optional<Layer> boxes() {
    if (element_.statistic && element_.statistic->method != "boxplot" &&
        element_.statistic->method != "tukeyHinges" && element_.statistic->method != "schema") {
      model_.skip("statistic '" + element_.statistic->method + "' of box plot " + element_.id +
                  " (boxes show the quartiles)");
    }
    if (!bindAxis(Role::kX, true, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.y == nullptr || layer_.y->categorical) {
      return skip("box plot " + element_.id + " without a numeric y");
    }
    if (layer_.x == nullptr) {
      // One box of all cases, standing in a category named after y.
      auto own = std::make_shared<OwnColumn>();
      own->column.variable = &own->variable;
      own->column.categorical = true;
      own->column.codes.assign(layer_.y->rows(), 0);
      own->column.categories.keys = {layer_.y->variable->title()};
      own->column.categories.labels = {layer_.y->variable->title()};
      layer_.x = &own->column;
      layer_.ownX = std::move(own);
    }
    Totals totals;
    auto cells = gather(*layer_.x, layer_.y, totals);
    const double slot = kBarShare / static_cast<double>(cellCount());
    const double width = cellCount() == 1 ? 0.6 : slot * 0.85;
    for (auto& [key, cell] : cells) {
      if (cell.values.empty()) continue;
      Box box;
      const double left = key.first - kBarShare / 2 + slot * key.second;
      const double centre = cellCount() == 1 ? key.first : left + slot / 2;
      box.x0 = centre - width / 2;
      box.x1 = centre + width / 2;
      box.stats = boxStats(cell.values, cell.weights);
      box.group = static_cast<std::uint16_t>(key.second);
      take(box, cellMeans(key));
      for (const double v : {box.stats.lowWhisker, box.stats.highWhisker}) {
        layer_.extentY.push_back(v);
      }
      for (const double v : box.stats.outliers) layer_.extentY.push_back(v);
      for (const double v : box.stats.extremes) layer_.extentY.push_back(v);
      layer_.extentX.push_back(box.x0);
      layer_.extentX.push_back(box.x1);
      layer_.boxes.push_back(std::move(box));
    }
    return std::move(layer_);
  }

  // Means with the interval the statistic asks for, per place and group.
  std::optional<Layer> errorBars(const SpreadAsked& spread) {
    // Bars and boxes stand in categories; points keep a number axis.
    if (!bindAxis(Role::kX, element_.type != "point", layer_.x) ||
        !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr) return skip("error bars " + element_.id + " without an x");
    if (layer_.y == nullptr || layer_.y->categorical) {
      return skip("error bars " + element_.id + " without a numeric y");
    }
    layer_.summary = Summary::kMean;
    Totals totals;
    auto cells = gather(*layer_.x, layer_.y, totals);
    const bool banded = layer_.x->categorical;
    const double slot = kBarShare / static_cast<double>(cellCount());
    for (const auto& [key, cell] : cells) {
      const auto interval = meanInterval(cell, spread.spread, spread.amount);
      if (!interval) continue;
      ErrorBar bar;
      double centre = key.first;
      if (banded && cellCount() > 1) centre = key.first - kBarShare / 2 + slot * (key.second + 0.5);
      // Caps span half a slot in a band; on a number axis the marks give
      // them a width of their own (x0 = x1).
      const double half = banded ? slot / 6 : 0;
      bar.x0 = centre - half;
      bar.x1 = centre + half;
      bar.low = interval->low;
      bar.centre = interval->mean;
      bar.high = interval->high;
      bar.group = static_cast<std::uint16_t>(key.second);
      take(bar, cellMeans(key));
      layer_.extentY.push_back(bar.low);
      layer_.extentY.push_back(bar.high);
      layer_.extentX.push_back(centre);
      layer_.errorBars.push_back(bar);
    }
    return std::move(layer_);
  }

  // The smallest gap between distinct values (1 for fewer than two).
  static double smallestGap(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    values.erase(std::unique(values.begin(), values.end()), values.end());
    double gap = std::numeric_limits<double>::infinity();
    for (std::size_t i = 1; i < values.size(); ++i) gap = std::min(gap, values[i] - values[i - 1]);
    return std::isfinite(gap) && gap > 0 ? gap : 1.0;
  }

  // A heat map: a cell per pair of x and y, filled by the mean of a
  // continuous colour variable (or by the statistic the element names), by
  // the most common colour category, or by its count of cases.
  std::optional<Layer> tiles() {
    if (!bindAxis(Role::kX, false, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr || layer_.y == nullptr) {
      return skip("tile element " + element_.id + " without an x and a y");
    }
    Summary summary = Summary::kMean;
    if (element_.statistic) {
      if (const auto asked = summaryOf(element_.statistic->method)) summary = *asked;
      layer_.summaryArgs = summaryArgsOf(*element_.statistic);
    }
    struct Place {
      Sample sample;
      std::map<int, double> groups;
      CaseMeans means;
    };
    std::map<std::pair<double, double>, Place> places;
    Totals totals;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      const double x = positionOf(*layer_.x, row), y = positionOf(*layer_.y, row);
      const int group = cellOf(row);
      const double weight = weightOf(row);
      if (std::isnan(x) || std::isnan(y) || group < 0 || weight <= 0) return;
      Place& place = places[{x, y}];
      place.sample.cases += weight;
      totals.cases += weight;
      place.groups[group] += weight;
      addCase(place.means, row, weight);
      if (layer_.shades != nullptr && std::isfinite(layer_.shades->numbers[row])) {
        place.sample.values.push_back(layer_.shades->numbers[row]);
        if (layer_.weights != nullptr) place.sample.weights.push_back(weight);
        totals.sum += layer_.shades->numbers[row] * weight;
      }
    });
    // Cells are as wide and high as the closest neighbouring values.
    std::vector<double> xs, ys;
    for (const auto& entry : places) {
      xs.push_back(entry.first.first);
      ys.push_back(entry.first.second);
    }
    const double w = layer_.x->categorical ? 1.0 : smallestGap(xs);
    const double h = layer_.y->categorical ? 1.0 : smallestGap(ys);
    const bool byValue = layer_.shades != nullptr || layer_.groups == nullptr;
    if (layer_.shades == nullptr && byValue) {
      summary = Summary::kCount;
      layer_.countsOnY = false;
    }
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (auto& [at, place] : places) {
      Tile tile{
          at.first - w / 2,     at.first + w / 2, at.second - h / 2, at.second + h / 2, kNaN, 0,
          place.means.opacity()};
      if (byValue) {
        tile.value = summarize(summary, place.sample, totals, layer_.summaryArgs);
        if (!std::isfinite(tile.value)) continue;
        lo = std::min(lo, tile.value);
        hi = std::max(hi, tile.value);
      } else {
        // The most common category; the first of equally common ones.
        double best = -1;
        for (const auto& [group, weight] : place.groups) {
          if (weight > best) {
            best = weight;
            tile.group = static_cast<std::uint16_t>(group);
          }
        }
      }
      layer_.extentX.insert(layer_.extentX.end(), {tile.x0, tile.x1});
      layer_.extentY.insert(layer_.extentY.end(), {tile.y0, tile.y1});
      layer_.tiles.push_back(tile);
    }
    if (byValue && lo <= hi) {
      layer_.tileLo = lo;
      layer_.tileHi = hi;
      // The colour key shows what the tiles show.
      layer_.shadeLo = lo;
      layer_.shadeHi = hi;
      for (Tile& tile : layer_.tiles) tile.value = hi > lo ? (tile.value - lo) / (hi - lo) : 0.5;
    }
    return std::move(layer_);
  }

  // Lines of equal value through a grid the data spells out: a value (the
  // continuous colour variable, else z) at each pair of x and y, the pairs
  // forming rows and columns. Levels are nice values within the range.
  std::optional<Layer> contours() {
    if (!bindAxis(Role::kX, false, layer_.x) || !bindAxis(Role::kY, false, layer_.y)) {
      return std::nullopt;
    }
    if (layer_.x == nullptr || layer_.y == nullptr || layer_.x->categorical ||
        layer_.y->categorical) {
      return skip("contour element " + element_.id + " without a numeric x and y");
    }
    const BoundColumn* values = layer_.shades;
    if (values == nullptr) {
      const BoundColumn* z = nullptr;
      if (!bindAxis(Role::kZ, false, z)) return std::nullopt;
      if (z == nullptr || z->categorical) {
        return skip("contour element " + element_.id + " without a value at its grid points");
      }
      values = z;
    }
    // The grid's columns and rows are the distinct x and y values; each
    // node takes the mean of its cases (NaN where it has none).
    const auto usable = [&](std::uint32_t row) {
      return std::isfinite(layer_.x->numbers[row]) && std::isfinite(layer_.y->numbers[row]) &&
             std::isfinite(values->numbers[row]);
    };
    // A grid repeats few values many times: they are gathered distinct.
    std::unordered_set<double> distinctX, distinctY;
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      if (!usable(row)) return;
      distinctX.insert(layer_.x->numbers[row]);
      distinctY.insert(layer_.y->numbers[row]);
    });
    std::vector<double> xs(distinctX.begin(), distinctX.end());
    std::vector<double> ys(distinctY.begin(), distinctY.end());
    std::sort(xs.begin(), xs.end());
    std::sort(ys.begin(), ys.end());
    if (xs.size() < 2 || ys.size() < 2 || xs.size() * ys.size() > 4000000) {
      return skip("contour element " + element_.id + " (its data is no grid of x and y)");
    }
    const std::size_t nx = xs.size();
    std::vector<double> grid(nx * ys.size(), 0.0), counts(grid.size(), 0.0);
    forEachRow(rows_, rowCount_, [&](std::uint32_t row) {
      if (!usable(row)) return;
      const double x = layer_.x->numbers[row], y = layer_.y->numbers[row];
      const auto i =
          static_cast<std::size_t>(std::lower_bound(xs.begin(), xs.end(), x) - xs.begin());
      const auto j =
          static_cast<std::size_t>(std::lower_bound(ys.begin(), ys.end(), y) - ys.begin());
      grid[j * nx + i] += values->numbers[row];
      counts[j * nx + i] += 1;
    });
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (std::size_t k = 0; k < grid.size(); ++k) {
      grid[k] = counts[k] > 0 ? grid[k] / counts[k] : kNaN;
      if (counts[k] > 0) {
        lo = std::min(lo, grid[k]);
        hi = std::max(hi, grid[k]);
      }
    }
    std::vector<double> levels;
    if (hi > lo) {
      for (const double level : niceTicks(lo, hi, 8).values) {
        if (level > lo && level < hi) levels.push_back(level);
      }
    }
    if (levels.empty()) levels.push_back(lo + (hi - lo) / 2);
    for (const double level : levels) {
      ContourLine line;
      line.level = level;
      traceLevel(grid, xs, ys, level, line.segments);
      if (!line.segments.empty()) layer_.contours.push_back(std::move(line));
    }
    layer_.tileLo = layer_.shadeLo = lo;
    layer_.tileHi = layer_.shadeHi = hi;
    layer_.extentX = {xs.front(), xs.back()};
    layer_.extentY = {ys.front(), ys.back()};
    return std::move(layer_);
  }

  // Marching squares: in each grid square whose corners lie on both sides
  // of `level`, segments between the edges' crossings (linear along each
  // edge). A square crossed on all four edges is split by its centre's value.
  static void traceLevel(const std::vector<double>& grid, const std::vector<double>& xs,
                         const std::vector<double>& ys, double level, std::vector<double>& out) {
    const std::size_t nx = xs.size();
    for (std::size_t j = 0; j + 1 < ys.size(); ++j) {
      for (std::size_t i = 0; i + 1 < nx; ++i) {
        // Corners a (i, j), b (i+1, j), c (i+1, j+1), d (i, j+1).
        const double v[4] = {grid[j * nx + i], grid[j * nx + i + 1], grid[(j + 1) * nx + i + 1],
                             grid[(j + 1) * nx + i]};
        const double px[4] = {xs[i], xs[i + 1], xs[i + 1], xs[i]};
        const double py[4] = {ys[j], ys[j], ys[j + 1], ys[j + 1]};
        if (std::isnan(v[0]) || std::isnan(v[1]) || std::isnan(v[2]) || std::isnan(v[3])) continue;
        // Edge e runs from corner e to corner e + 1: bottom, right, top, left.
        double cx[4], cy[4];
        bool crossed[4];
        int crossings = 0;
        for (int e = 0; e < 4; ++e) {
          const int f = (e + 1) % 4;
          crossed[e] = (v[e] >= level) != (v[f] >= level);
          if (!crossed[e]) continue;
          const double t = (level - v[e]) / (v[f] - v[e]);
          cx[e] = px[e] + t * (px[f] - px[e]);
          cy[e] = py[e] + t * (py[f] - py[e]);
          ++crossings;
        }
        const auto segment = [&](int e, int f) {
          out.insert(out.end(), {cx[e], cy[e], cx[f], cy[f]});
        };
        if (crossings == 2) {
          int first = -1;
          for (int e = 0; e < 4; ++e) {
            if (!crossed[e]) continue;
            if (first < 0) {
              first = e;
            } else {
              segment(first, e);
            }
          }
        } else if (crossings == 4) {
          const bool centre = (v[0] + v[1] + v[2] + v[3]) / 4 >= level;
          if (centre == (v[0] >= level)) {
            segment(0, 1);  // cut off corners b and d
            segment(2, 3);
          } else {
            segment(3, 0);  // cut off corners a and c
            segment(1, 2);
          }
        }
      }
    }
  }

  // The text of a mark's value: by the y variable's number format when it
  // has one, else with up to two decimals; a percentage with its sign.
  std::string valueText(double value) const {
    ValueFormat format;
    const bool counted =
        layer_.summary && (isCount(*layer_.summary) || *layer_.summary == Summary::kValidN);
    if (layer_.y != nullptr && !counted &&
        layer_.y->variable->format.kind == ValueFormat::Kind::kNumber) {
      format = layer_.y->variable->format;
    } else {
      format.kind = ValueFormat::Kind::kNumber;
      format.number.maxFractionDigits = 2;
    }
    if (layer_.summary && isPercentage(*layer_.summary)) {
      format.number.maxFractionDigits = 1;
      format.number.suffix.assign(1, '%');
    }
    return formatValue(value, format);
  }

  // A raw point's label: the labeling variable's value in its row, or the
  // y value the point is drawn at.
  std::string labelOfRow(std::uint32_t row) {
    if (!labelingBound_) {
      labelingBound_ = true;
      bindLabelSize(layer_);
      const std::string& id = element_.labeling;
      const std::string* y = element_.position(Role::kY);
      const Variable* variable = id.empty() ? nullptr : model_.variable(id);
      if (variable != nullptr && (y == nullptr || *y != id) && !variable->derived) {
        std::string problem;
        labelColumn_ = binder_.bind(id, variable->categorical, problem);
        if (labelColumn_ == nullptr || labelColumn_->rows() != rowCount_) {
          labelColumn_ = nullptr;
          model_.skip("labeling " + id + " of element " + element_.id +
                      " (its values cannot be read: marks show their own values)");
        }
      }
    }
    if (labelSizeColumn_ != nullptr) pointLabelSizes_.push_back(labelSizeColumn_->numbers[row]);
    if (labelColumn_ == nullptr) return valueText(positionOf(*layer_.y, row));
    if (labelColumn_->categorical) {
      const int code = labelColumn_->codes[row];
      return code < 0 ? std::string()
                      : labelColumn_->categories.labels[static_cast<std::size_t>(code)];
    }
    return formatValue(labelColumn_->numbers[row], labelColumn_->variable->format);
  }

  // The labeling's size variable, read for raw points' labels only: a
  // summarised mark stands for many cases, of many sizes.
  void bindLabelSize(const Layer& layer) {
    const std::string& id = element_.labelSize;
    if (id.empty() || labelSizeBound_) return;
    labelSizeBound_ = true;
    const Variable* variable = model_.variable(id);
    std::string problem;
    if (layer.kind == LayerKind::kPoints && !layer.summary && variable != nullptr &&
        !variable->categorical && !variable->derived) {
      labelSizeColumn_ = binder_.bind(id, false, problem);
      if (labelSizeColumn_ != nullptr && labelSizeColumn_->rows() == rowCount_) return;
    }
    labelSizeColumn_ = nullptr;
    model_.skip("size " + id + " of the labels of element " + element_.id +
                " (only the labels of single cases take a size by a number)");
  }

  // Label text from 8 to 16 pixels over the size variable's range; a label
  // whose size is missing keeps the default.
  void sizeLabels(std::vector<MarkLabel>& labels) const {
    constexpr double kSmallest = 8, kLargest = 16;
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const double value : pointLabelSizes_) {
      if (std::isfinite(value)) lo = std::min(lo, value), hi = std::max(hi, value);
    }
    for (std::size_t i = 0; i < labels.size() && i < pointLabelSizes_.size(); ++i) {
      const double value = pointLabelSizes_[i];
      if (!std::isfinite(value)) continue;
      const double share = hi > lo ? (value - lo) / (hi - lo) : 0.5;
      labels[i].size = kSmallest + (kLargest - kSmallest) * share;
    }
  }

  // Each mark's label, at the mark: the value it draws.
  void labelMarks(Layer& layer) {
    bindLabelSize(layer);        // reports a size that the marks' labels cannot take
    const Layer& marks = layer;  // reads positions without copying a view
    const auto add = [&](double x, double y, double value) {
      if (std::isfinite(x) && std::isfinite(y) && std::isfinite(value)) {
        layer.labels.push_back({x, y, valueText(value)});
      }
    };
    switch (layer.kind) {
      case LayerKind::kPoints:
        if (pointLabels_.size() == marks.px.size()) {
          for (std::size_t i = 0; i < marks.px.size(); ++i) {
            layer.labels.push_back({marks.px[i], marks.py[i], pointLabels_[i]});
          }
          if (pointLabelSizes_.size() == pointLabels_.size()) sizeLabels(layer.labels);
        } else {
          for (std::size_t i = 0; i < marks.px.size(); ++i)
            add(marks.px[i], marks.py[i], marks.py[i]);
        }
        break;
      case LayerKind::kLines:
      case LayerKind::kAreas:
        for (const Series& s : layer.series) {
          for (std::size_t i = 0; i < s.x.size(); ++i) {
            add(s.x[i], s.y[i], s.y0.empty() ? s.y[i] : s.y[i] - s.y0[i]);
          }
        }
        break;
      case LayerKind::kBars:
        for (const Bar& bar : layer.bars) add((bar.x0 + bar.x1) / 2, bar.y1, bar.y1 - bar.y0);
        break;
      case LayerKind::kBoxes:
        for (const Box& box : layer.boxes) {
          add((box.x0 + box.x1) / 2, box.stats.median, box.stats.median);
        }
        break;
      case LayerKind::kErrorBars:
        for (const ErrorBar& bar : layer.errorBars) {
          add((bar.x0 + bar.x1) / 2, bar.centre, bar.centre);
        }
        break;
      case LayerKind::kTiles:
        for (const Tile& tile : layer.tiles) {
          if (std::isnan(tile.value)) continue;
          add((tile.x0 + tile.x1) / 2, (tile.y0 + tile.y1) / 2,
              layer.tileLo + tile.value * (layer.tileHi - layer.tileLo));
        }
        break;
      case LayerKind::kSlices:
        // x is the slice's cell: the pie places its labels itself.
        for (std::size_t i = 0; i < layer.slices.size(); ++i) {
          if (layer.slices[i] > 0) add(static_cast<double>(i), layer.slices[i], layer.slices[i]);
        }
        break;
      case LayerKind::kContours:
        for (const ContourLine& line : layer.contours) labelContour(layer, line);
        break;
    }
  }

  // Marks of many cases are coloured by their means: the colour key spans
  // those, not the cases' own values.
  static void spanShades(Layer& layer) {
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    const auto seen = [&](double shade) {
      if (!std::isfinite(shade)) return;
      lo = std::min(lo, shade);
      hi = std::max(hi, shade);
    };
    for (const Series& s : layer.series) seen(s.shade);
    for (const Bar& bar : layer.bars) seen(bar.shade);
    for (const Box& box : layer.boxes) seen(box.shade);
    for (const ErrorBar& bar : layer.errorBars) seen(bar.shade);
    if (lo <= hi) {
      layer.shadeLo = lo;
      layer.shadeHi = hi;
    }
  }

  // A contour line's label, its level, at the middle of the segment nearest
  // the centre of all its segments: mid-line on an open line, on the near
  // side of a ring.
  void labelContour(Layer& layer, const ContourLine& line) const {
    const std::vector<double>& v = line.segments;
    const std::size_t n = v.size() / 4;
    if (n == 0) return;
    double cx = 0, cy = 0;
    for (std::size_t i = 0; i < n; ++i) {
      cx += (v[4 * i] + v[4 * i + 2]) / 2;
      cy += (v[4 * i + 1] + v[4 * i + 3]) / 2;
    }
    cx /= static_cast<double>(n);
    cy /= static_cast<double>(n);
    // Distances in shares of each axis's span, so that units do not matter.
    const double sx = layer.extentX.size() == 2 ? layer.extentX[1] - layer.extentX[0] : 1;
    const double sy = layer.extentY.size() == 2 ? layer.extentY[1] - layer.extentY[0] : 1;
    double best = std::numeric_limits<double>::infinity(), bx = 0, by = 0;
    for (std::size_t i = 0; i < n; ++i) {
      const double mx = (v[4 * i] + v[4 * i + 2]) / 2, my = (v[4 * i + 1] + v[4 * i + 3]) / 2;
      const double dx = (mx - cx) / (sx > 0 ? sx : 1), dy = (my - cy) / (sy > 0 ? sy : 1);
      if (dx * dx + dy * dy < best) {
        best = dx * dx + dy * dy;
        bx = mx;
        by = my;
      }
    }
    ValueFormat format;
    format.kind = ValueFormat::Kind::kNumber;
    format.number.maxFractionDigits = 2;
    layer.labels.push_back({bx, by, formatValue(line.level, format)});
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
  std::vector<std::string> pointLabels_;               // raw points' labels, in point order
  std::map<std::pair<double, int>, CaseMeans> means_;  // by the cells of the last gather
  bool labelingBound_ = false;
  const BoundColumn* labelColumn_ = nullptr;
  const BoundColumn* labelSizeColumn_ = nullptr;
  bool labelSizeBound_ = false;
  std::vector<double> pointLabelSizes_;  // the size variable's value of each raw point's label
};

}  // namespace

std::optional<Layer> computeLayer(const Element& element, const DataFrame& frame,
                                  const RowSet* rows, DataBinder& binder, ChartModel& model,
                                  std::string& error) {
  error.clear();
  return LayerMaker(element, frame, rows, binder, model, error).make();
}

}  // namespace chartxml::render
