#include "scene/SceneBuilder.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <tuple>

#include "describe/Description.h"
#include "scales/AxisScale.h"
#include "scales/Palette.h"
#include "scene/Axes.h"
#include "scene/ChartLegends.h"
#include "scene/Cube.h"
#include "scene/Guides.h"
#include "scene/Legend.h"
#include "scene/Marks.h"
#include "scene/Panels.h"
#include "scene/Polar.h"
#include "stats/Layers.h"

namespace chartxml::render {
namespace {

constexpr Font kTitleFont{16, true};
constexpr Font kSubtitleFont{13, false};
constexpr Font kFootnoteFont{11, false};
constexpr Font kStripFont{11, false};
constexpr Font kDiagonalFont{12, true};
constexpr Font kNoteFont{12, false};
constexpr double kOuter = 14;            // the picture's margin
constexpr double kPanelGap = 10;         // between panels
constexpr double kLegendGap = 18;        // between the panels and the legends
constexpr double kStripPad = 4;          // around a panel label's text
constexpr double kMinPanel = 10;         // panels never shrink below this
constexpr double kLevelAxisGap = 6;      // between the axes and the names of the levels
constexpr double kMostLevelDepth = 160;  // how far a level's name may reach out

TextItem text(std::string content, Font font, Color color, double x, double y, double hAlign,
              std::string role) {
  TextItem item;
  item.text = std::move(content);
  item.font = font;
  item.color = color;
  item.x = x;
  item.y = y;
  item.hAlign = hAlign;
  item.role = std::move(role);
  return item;
}

std::optional<double> numberOf(const std::string& text) {
  double value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

// The variable a layer shows along `role`, if any.
const BoundColumn* along(const Layer& layer, Role role) {
  switch (role) {
    case Role::kX:
      return layer.x;
    case Role::kY:
      return layer.y;
    case Role::kZ:
      return layer.z;
    default:
      return nullptr;
  }
}

// `text` broken into lines no wider than `width` at its blanks.
std::string wrapped(const std::string& content, const Font& font, double width,
                    TextEngine& engine) {
  std::string out, line;
  std::size_t at = 0;
  while (at < content.size()) {
    std::size_t blank = content.find(' ', at);
    if (blank == std::string::npos) blank = content.size();
    const std::string word = content.substr(at, blank - at);
    const std::string longer = line.empty() ? word : line + " " + word;
    if (!line.empty() && engine.measure(longer, font).width > width) {
      out += (out.empty() ? "" : "\n") + line;
      line = word;
    } else {
      line = longer;
    }
    at = blank + 1;
  }
  if (!line.empty()) out += (out.empty() ? "" : "\n") + line;
  return out;
}

// `text` cut to fit `width`, with an ellipsis for what was cut: from its
// middle, so that the start and the end (which often tell panels apart:
// "Region 1", "Region 2") both stay. Whole UTF-8 characters only.
std::string ellipsized(const std::string& content, const Font& font, double width,
                       TextEngine& engine) {
  if (engine.measure(content, font).width <= width) return content;
  std::vector<std::size_t> starts;  // where each character begins
  for (std::size_t i = 0; i < content.size(); ++i) {
    if ((static_cast<unsigned char>(content[i]) & 0xC0) != 0x80) starts.push_back(i);
  }
  const std::size_t n = starts.size();
  const auto kept = [&](std::size_t keep) {
    const std::size_t head = (keep + 1) / 2, tail = keep / 2;
    std::string text = content.substr(0, starts[head]);
    while (!text.empty() && text.back() == ' ') text.pop_back();
    std::string end = tail > 0 ? content.substr(starts[n - tail]) : "";
    while (!end.empty() && end.front() == ' ') end.erase(0, 1);
    return text + "\u2026" + end;
  };
  // The most characters that fit, found by halving: widths grow with them.
  std::size_t fits = 0, fails = n;
  while (fails - fits > 1) {
    const std::size_t keep = (fits + fails) / 2;
    (engine.measure(kept(keep), font).width <= width ? fits : fails) = keep;
  }
  return kept(fits);
}

// A panel label in at most `lines` lines no wider than `width`: broken at
// blanks, the last line (and any word wider than the room) cut short.
std::string fittedLabel(const std::string& content, const Font& font, double width,
                        std::size_t lines, TextEngine& engine) {
  const std::string broken = wrapped(content, font, width, engine);
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start <= broken.size() && parts.size() < lines) {
    std::size_t end = broken.find('\n', start);
    if (end == std::string::npos) end = broken.size();
    parts.push_back(broken.substr(start, end - start));
    start = end + 1;
  }
  if (start <= broken.size()) parts.back() += " " + broken.substr(start);  // what did not fit
  std::string out;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    out += (i > 0 ? "\n" : "") + ellipsized(parts[i], font, width, engine);
  }
  return out;
}

class Builder {
 public:
  Builder(ChartModel& model, const std::map<std::string, DataTable>& tables, TextEngine& text,
          SceneOptions options, std::string& error)
      : model_(model), binder_(model, tables), text_(text), options_(options), error_(error) {}

  std::optional<Scene> build() {
    scene_.width = options_.width;
    scene_.height = options_.height;
    scene_.keepsCases = options_.cases;
    scene_.title = model_.title;
    pickFrame();
    if (frame_ != nullptr) {
      if (!makePanels(*frame_, model_, binder_, grid_, error_)) return std::nullopt;
      if (!makeLayers(*frame_, model_, binder_, grid_, error_)) return std::nullopt;
      trainScales();
    }
    scene_.description = describe();
    draw();
    return std::move(scene_);
  }

 private:
  // The first frame with elements draws; a chart has one such frame in all
  // but overlays, which are noted.
  void pickFrame() {
    for (DataFrame& frame : model_.frames) {
      if (frame_ == nullptr && !frame.elements.empty()) frame_ = &frame;
    }
    if (frame_ == nullptr && !model_.frames.empty()) frame_ = &model_.frames.front();
    for (const DataFrame& frame : model_.frames) {
      if (&frame != frame_) model_.skip("frame " + frame.id + " (a second frame of data)");
    }
    if (frame_ == nullptr) return;
    polar_ = frame_->coordinates == "polar";
    transposed_ = frame_->coordinates == "transpose";
    cube_ = frame_->coordinates == "rectangular" || frame_->dimension(Role::kZ) != nullptr;
    if (!polar_ && !transposed_ && !cube_ && !frame_->coordinates.empty()) {
      model_.skip("coordinates '" + frame_->coordinates + "' of frame " + frame_->id);
    }
  }

  // The layers along one scale: those of the panels that use scale `index`
  // along `role` (every panel's, but in a matrix).
  template <typename Visit>
  void forLayersOf(Role role, std::size_t index, Visit visit) const {
    for (const Panel& panel : grid_.panels) {
      const std::size_t own = role == Role::kX ? panel.xScale : role == Role::kY ? panel.yScale : 0;
      if (own != index) continue;
      for (const Layer& layer : panel.layers) visit(layer);
    }
  }

  // Decides the kind of the scale along `role` and trains it on its layers.
  void prepareScale(AxisScale& scale, Role role, std::size_t index) {
    const Dimension* dimension = dimensionAlong(role);
    const BoundColumn* categorical = nullptr;
    bool dates = false;
    forLayersOf(role, index, [&](const Layer& layer) {
      const BoundColumn* column = along(layer, role);
      if (column == nullptr) return;
      if (column->categorical && categorical == nullptr) categorical = column;
      const bool summarised = role == Role::kY && (layer.summary || layer.countsOnY);
      if (!column->categorical && !summarised &&
          column->variable->format.kind == ValueFormat::Kind::kDate) {
        dates = true;
      }
    });
    if (categorical != nullptr) {
      scale.useCategories(categorical->categories);
      scale.finish(dimension);
      return;
    }
    if (dates) scale.setKind(AxisScale::Kind::kDate);
    if (dimension != nullptr && !dimension->scale.empty() && dimension->scale != "linear") {
      const std::string& method = dimension->scale;
      const bool power = method == "power" || method == "exponent";
      if (method == "log" && !dates) {
        scale.setKind(AxisScale::Kind::kLog);
      } else if (power && !dates && dimension->scaleParameter > 0) {
        scale.usePower(dimension->scaleParameter);
      } else if (power && !dates) {
        model_.skip("power scale of the " + std::string(roleName(role)) +
                    " dimension without an exponent (drawn linear)");
      } else {
        model_.skip(method + " scale of the " + roleName(role) + " dimension");
      }
    }
    forLayersOf(role, index, [&](const Layer& layer) { trainOn(scale, layer, role); });
    trainOnReferences(scale, role);
    // A polar radius is a distance: it starts at the centre unless the data
    // go below zero.
    if (polar_ && role == Role::kY && scale.trained() && scale.lo() >= 0) scale.anchorAt(0);
    if (polar_ && role == Role::kX && scale.trained() && !(dimension && dimension->max)) {
      closeTurn(scale, index);
    }
    scale.finish(dimension);
    if (scale.dropped() > 0) {
      model_.skip(std::to_string(scale.dropped()) + " values of " + roleName(role) +
                  " that a log scale cannot show (zero or negative)");
    }
  }

  // Reference lines widen the range to hold them, but only within one data
  // span beyond it: a line much farther away (or at infinity, the host's mark
  // of an estimate it has not got) is left to the clip instead of squeezing
  // the data into a sliver.
  void trainOnReferences(AxisScale& scale, Role role) const {
    const bool log = scale.kind() == AxisScale::Kind::kLog;
    const auto measure = [&](double value) { return log ? std::log10(value) : value; };
    const bool data = scale.lo() <= scale.hi();
    const double lo = data ? measure(scale.lo()) : 0, hi = data ? measure(scale.hi()) : 0;
    const double reach = data ? std::max(hi - lo, std::max(std::fabs(lo), std::fabs(hi))) : 0;
    for (const Guide& guide : frame_->guides) {
      if (guide.type != "line") continue;
      const std::string* value = findParameter(guide.parameters, roleName(role));
      const auto number = value ? numberOf(*value) : std::nullopt;
      if (!number || !std::isfinite(*number) || (log && *number <= 0)) continue;
      const double at = measure(*number);
      if (!data || (at >= lo - reach && at <= hi + reach)) scale.train(*number);
    }
  }

  static void trainOn(AxisScale& scale, const Layer& layer, Role role) {
    const bool x = role == Role::kX;
    const Coordinates& points = x ? layer.px : role == Role::kY ? layer.py : layer.pz;
    scale.trainAll(points.data(), points.size());
    if (role == Role::kZ) return;
    for (const Series& series : layer.series) {
      for (const double value : x ? series.x : series.y) scale.train(value);
      if (!x) {
        for (const double value : series.y0) scale.train(value);
      }
    }
    if (layer.kind == LayerKind::kAreas && !x) scale.anchorAt(0);
    for (const Bar& bar : layer.bars) {
      scale.train(x ? bar.x0 : bar.y0);
      scale.train(x ? bar.x1 : bar.y1);
    }
    if (layer.kind == LayerKind::kBars && !x && !layer.spans) scale.anchorAt(0);
    // Whiskers, outliers, error-bar ends and cell edges.
    for (const double value : x ? layer.extentX : layer.extentY) scale.train(value);
  }

  // A numeric angle runs on a circle: its last value must not fall on its
  // first. The turn reaches one step past the greatest value, the step
  // being the smallest gap between the values (hours 0..23 make a 24-hour
  // clock); a lone value gets a whole unit.
  void closeTurn(AxisScale& scale, std::size_t index) const {
    std::vector<double> xs;
    forLayersOf(Role::kX, index, [&](const Layer& layer) {
      xs.insert(xs.end(), layer.px.begin(), layer.px.end());
      for (const Series& series : layer.series)
        xs.insert(xs.end(), series.x.begin(), series.x.end());
    });
    std::erase_if(xs, [](double x) { return !std::isfinite(x); });
    std::sort(xs.begin(), xs.end());
    xs.erase(std::unique(xs.begin(), xs.end()), xs.end());
    double gap = xs.size() < 2 ? 1.0 : INFINITY;
    for (std::size_t i = 1; i < xs.size(); ++i) gap = std::min(gap, xs[i] - xs[i - 1]);
    if (!xs.empty() && std::isfinite(gap) && gap > 0) scale.train(xs.back() + gap);
    // Angles just above zero (0.003 to 359.9 degrees) start the turn at zero.
    if (!xs.empty() && xs.front() > 0 && xs.front() <= 0.02 * (xs.back() - xs.front())) {
      scale.train(0);
    }
  }

  // The dimension along `role`; a polar frame may name its angle theta and
  // its radius r.
  const Dimension* dimensionAlong(Role role) const {
    const Dimension* dimension = frame_->dimension(role);
    if (dimension == nullptr && polar_ && (role == Role::kX || role == Role::kY)) {
      dimension = frame_->dimension(role == Role::kX ? Role::kTheta : Role::kR);
    }
    return dimension;
  }

  // Whether a panel of the polar frame draws a layer of `kinds`.
  bool polarDraws(std::initializer_list<LayerKind> kinds) const {
    for (const Panel& panel : grid_.panels) {
      for (const Layer& layer : panel.layers) {
        if (std::find(kinds.begin(), kinds.end(), layer.kind) != kinds.end()) return true;
      }
    }
    return false;
  }

  void trainScales() {
    // A pie needs no scales; roses, points, lines and areas turn theirs.
    if (polar_ &&
        !polarDraws({LayerKind::kBars, LayerKind::kPoints, LayerKind::kLines, LayerKind::kAreas})) {
      return;
    }
    if (cube_) {
      // Depth takes points only: anything else in a cube is noted.
      for (Panel& panel : grid_.panels) {
        std::erase_if(panel.layers, [&](const Layer& layer) {
          if (layer.kind == LayerKind::kPoints && layer.z != nullptr) return false;
          model_.skip("element " + layer.element->id + " in 3-D coordinates (points only)");
          return true;
        });
      }
      prepareScale(zScale_, Role::kZ, 0);
    }
    xScales_.resize(grid_.xScales);
    yScales_.resize(grid_.yScales);
    for (std::size_t i = 0; i < xScales_.size(); ++i) prepareScale(xScales_[i], Role::kX, i);
    for (std::size_t i = 0; i < yScales_.size(); ++i) prepareScale(yScales_[i], Role::kY, i);
    // Counts are whole: their axis has no ticks between them.
    bool counts = false, other = false;
    forLayersOf(Role::kY, 0, [&](const Layer& layer) {
      const bool counted =
          layer.countsOnY || layer.summary == Summary::kCount || layer.summary == Summary::kValidN;
      (counted ? counts : other) = true;
    });
    if (!grid_.matrix) {
      for (AxisScale& scale : yScales_) scale.setWholeNumbers(counts && !other);
    }
    // A layer whose positions its scales cannot show is left out.
    for (Panel& panel : grid_.panels) {
      const bool xBand = xScales_[panel.xScale].kind() == AxisScale::Kind::kBand;
      const bool yBand = yScales_[panel.yScale].kind() == AxisScale::Kind::kBand;
      std::erase_if(panel.layers, [&](const Layer& layer) {
        const bool fitsX = layer.x == nullptr || layer.x->categorical == xBand;
        const bool fitsY =
            layer.y == nullptr || layer.summary || layer.countsOnY || layer.y->categorical == yBand;
        if (fitsX && fitsY) return false;
        model_.skip("element " + layer.element->id +
                    " (its positions mix categories and numbers with another element's)");
        return true;
      });
    }
  }

  // The title and label format that the first layer showing data along
  // `role` (on scale `index`) gives its axis: the variable's, or the count's.
  void titleFromData(AxisPlan& plan, Role role, std::size_t index) const {
    bool done = false;
    forLayersOf(role, index, [&](const Layer& layer) {
      const BoundColumn* column = along(layer, role);
      const bool counted = role == Role::kY && layer.countsOnY;
      if (done || (column == nullptr && !counted)) return;
      done = true;
      std::string title;
      if (counted) {
        const bool percent = layer.summary && isPercentage(*layer.summary);
        const bool cumulative = layer.summary && isCumulative(*layer.summary);
        title = cumulative ? (percent ? "Cumulative percent" : "Cumulative count")
                           : (percent ? "Percent" : "Count");
        plan.format.kind = ValueFormat::Kind::kNumber;
        if (percent) plan.format.number.suffix = "%";
      } else {
        title = column->variable->title();
        if (role == Role::kY && layer.summary) {
          title = std::string(summaryTitle(*layer.summary)) + " " + title;
        }
        const bool counts =
            layer.summary && (isCount(*layer.summary) || layer.summary == Summary::kValidN ||
                              isPercentage(*layer.summary));
        if (role != Role::kY || !counts) plan.format = column->variable->format;
        if (layer.summary && isPercentage(*layer.summary)) {
          plan.format.kind = ValueFormat::Kind::kNumber;
          plan.format.number.suffix = "%";
        }
      }
      if (plan.title.empty()) plan.title = title;
    });
  }

  // What the axis along `role` (on scale `index`) shows and how.
  AxisPlan describeAxis(AxisSide side, const AxisScale* scale, Role role, std::size_t index) {
    AxisPlan plan;
    plan.side = side;
    plan.scale = scale;
    const Dimension* dimension = dimensionAlong(role);
    plan.drawn = dimension == nullptr || dimension->axis.has_value();
    if (dimension != nullptr && dimension->axis) {
      const Axis& axis = *dimension->axis;
      plan.title = axis.title;
      plan.grid = axis.majorGrid;
      plan.angle = axis.labelAngle;
      plan.minor = axis.minorTicks;
      plan.minorGrid = axis.minorGrid;
      plan.minorCount = axis.minorCount;
      if (axis.opposite) {
        plan.side = side == AxisSide::kBottom ? AxisSide::kTop
                    : side == AxisSide::kLeft ? AxisSide::kRight
                                              : side;
      }
    }
    titleFromData(plan, role, index);
    if (dimension != nullptr && dimension->axis && dimension->axis->percent) {
      plan.format.kind = ValueFormat::Kind::kNumber;
      plan.format.number.suffix = "%";
    }
    // A matrix names its variables in its cells, not under its axes.
    if (grid_.matrix) plan.title.clear();
    return plan;
  }

  // The layers of the first panel that draws something: every panel holds
  // the same groups.
  const std::vector<Layer>& sampleLayers() const {
    static const std::vector<Layer> kNone;
    for (const Panel& panel : grid_.panels) {
      if (!panel.layers.empty()) return panel.layers;
    }
    return kNone;
  }

  // The paragraph a reader who cannot see the picture is told; each axis
  // named and formatted as it is drawn.
  std::string describe() const {
    if (frame_ == nullptr) return "";
    DescribedChart chart;
    chart.model = &model_;
    chart.frame = frame_;
    chart.grid = &grid_;
    for (const Role role : {Role::kX, Role::kY, Role::kZ}) {
      AxisPlan plan;
      const Dimension* dimension = dimensionAlong(role);
      if (dimension != nullptr && dimension->axis) plan.title = dimension->axis->title;
      titleFromData(plan, role, 0);
      if (dimension != nullptr && dimension->axis && dimension->axis->percent) {
        plan.format.kind = ValueFormat::Kind::kNumber;
        plan.format.number.suffix = "%";
      }
      chart.axes[static_cast<std::size_t>(role)] = {plan.title, plan.format};
    }
    return describeChart(chart);
  }

  // Titles at the top; returns the height they take.
  // Titles at the top, broken into lines where they are wider than `width`;
  // returns the height they take.
  double drawTitles(double centre, double width) {
    double y = kOuter;
    for (const auto& [content, font, role] :
         {std::tuple{&model_.title, kTitleFont, "title"},
          std::tuple{&model_.subtitle, kSubtitleFont, "subtitle"}}) {
      if (content->empty()) continue;
      std::string lines;
      std::size_t start = 0;
      while (start <= content->size()) {
        std::size_t end = content->find('\n', start);
        if (end == std::string::npos) end = content->size();
        lines += (start > 0 ? "\n" : "") +
                 wrapped(content->substr(start, end - start), font, width, text_);
        start = end + 1;
      }
      scene_.items.emplace_back(text(lines, font, kTextColor, centre, y, 0.5, role));
      y += text_.measure(lines, font).height + 4;
    }
    return y > kOuter ? y - kOuter + 8 : 0;
  }

  void draw() {
    const double footnoteHeight =
        model_.footnote.empty() ? 0 : text_.measure(model_.footnote, kFootnoteFont).height + 8;
    std::vector<LegendBlock> legends = makeLegends(model_, frame_, sampleLayers());
    Rect region{kOuter, kOuter, options_.width - 2 * kOuter, options_.height - 2 * kOuter};
    double legendWidth = 0;
    for (LegendBlock& legend : legends) {
      measureLegend(legend, text_, region.height);
      legendWidth = std::max(legendWidth, legend.width);
    }
    if (legendWidth > 0) region.width -= legendWidth + kLegendGap;
    const double titles = drawTitles(region.x + region.width / 2, region.width);
    region.y += titles;
    region.height -= titles + footnoteHeight;
    if (!model_.footnote.empty()) {
      scene_.items.emplace_back(text(model_.footnote, kFootnoteFont, kMutedTextColor, kOuter,
                                     options_.height - kOuter - footnoteHeight + 8, 0, "footnote"));
    }
    if (frame_ != nullptr) drawPanels(region);
    drawLegends(legends, region);
    noteWhatIsMissing(region);
  }

  void drawLegends(const std::vector<LegendBlock>& legends, const Rect& region) {
    double total = 0;
    for (const LegendBlock& legend : legends) total += legend.height;
    total += 16 * static_cast<double>(legends.size() > 0 ? legends.size() - 1 : 0);
    double y = region.y + std::max(0.0, (region.height - total) / 2);
    const double x = region.right() + kLegendGap;
    for (const LegendBlock& legend : legends) {
      drawLegend(scene_, legend, x, y);
      y += legend.height + 16;
    }
  }

  // The axes of the grid: one plan per scale along the bottom and the left
  // (the columns' and rows' own in a matrix; transposed frames swap them).
  void planAxes(std::vector<AxisPlan>& bottom, std::vector<AxisPlan>& left) {
    if (polar_ || cube_) return;
    // Each plan takes its side from its dimension's axis (bottom or top, left or right).
    const Role across = transposed_ ? Role::kY : Role::kX;
    const Role upward = transposed_ ? Role::kX : Role::kY;
    std::vector<AxisScale>& horizontal = transposed_ ? yScales_ : xScales_;
    std::vector<AxisScale>& vertical = transposed_ ? xScales_ : yScales_;
    for (std::size_t i = 0; i < horizontal.size(); ++i) {
      bottom.push_back(describeAxis(AxisSide::kBottom, &horizontal[i], across, i));
    }
    for (std::size_t i = 0; i < vertical.size(); ++i) {
      left.push_back(describeAxis(AxisSide::kLeft, &vertical[i], upward, i));
    }
  }

  static double deepest(const std::vector<AxisPlan>& plans) {
    double depth = 0;
    for (const AxisPlan& plan : plans) depth = std::max(depth, axisDepth(plan));
    return depth;
  }

  // The room the panels leave one another and their outer margins: what
  // their strips, axes and tick labels need. Recomputed each layout round.
  struct Layout {
    double stripDepth = 0, rowStripDepth = 0;        // 0: no strips of that kind
    std::vector<std::string> columnTexts, rowTexts;  // each panel's fitted labels
    double hGap = kPanelGap, vGap = kPanelGap;
    double hLabels = 0, vLabels = 0;  // tick labels' depth beside an axis (no title)
    bool ownH = false, ownV = false;  // every panel labels its own axis
  };

  static double labelsDepth(const std::vector<AxisPlan>& plans) {
    double depth = 0;
    for (const AxisPlan& plan : plans) {
      if (plan.drawn) depth = std::max(depth, kTickLength + kLabelGap + plan.labelDepth);
    }
    return depth;
  }

  // Strip labels fitted to the panels' size: two lines at most, then cut
  // short with an ellipsis.
  void fitStrips(Layout& layout, double width, double height) {
    const double lineHeight = text_.measure("Ag", kStripFont).height;
    const auto fit = [&](const std::string& label, double room, std::vector<std::string>& out) {
      out.push_back(fittedLabel(label, kStripFont, std::max(room - 2 * kStripPad, 8.0), 2, text_));
      return static_cast<double>(std::count(out.back().begin(), out.back().end(), '\n') + 1);
    };
    double columnLines = 0, rowLines = 0;
    layout.columnTexts.clear();
    layout.rowTexts.clear();
    // Levels that an axis names have no strips.
    const bool columnStrips = !frame_->columnAxisAngle, rowStrips = !frame_->rowAxisAngle;
    for (const Panel& panel : grid_.panels) {
      const bool column = columnStrips && !panel.columnLabel.empty();
      const bool row = rowStrips && !panel.rowLabel.empty();
      const double c = column ? fit(panel.columnLabel, width, layout.columnTexts) : 0;
      if (!column) layout.columnTexts.emplace_back();
      const double r = row ? fit(panel.rowLabel, height, layout.rowTexts) : 0;
      if (!row) layout.rowTexts.emplace_back();
      columnLines = std::max(columnLines, c);
      rowLines = std::max(rowLines, r);
    }
    layout.stripDepth = columnLines > 0 ? columnLines * lineHeight + 2 * kStripPad : 0;
    layout.rowStripDepth = rowLines > 0 ? rowLines * lineHeight + 2 * kStripPad : 0;
  }

  // Whether the panel labels its horizontal (vertical) axis: every panel with
  // scales of its own, else those at the grid's edge on the axis's side.
  static bool labelsAcross(const Panel& panel, const Layout& layout, const AxisPlan& plan) {
    return layout.ownH || (plan.side == AxisSide::kTop ? panel.topEdge : panel.bottomEdge);
  }
  static bool labelsUp(const Panel& panel, const Layout& layout, const AxisPlan& plan) {
    return layout.ownV || (plan.side == AxisSide::kRight ? panel.rightEdge : panel.leftEdge);
  }

  void drawPanels(const Rect& region) {
    std::vector<AxisPlan> bottom, left;
    planAxes(bottom, left);
    const bool axes = !bottom.empty();
    const AxisSide hSide = axes ? bottom.front().side : AxisSide::kBottom;
    const AxisSide vSide = left.empty() ? AxisSide::kLeft : left.front().side;
    Layout layout;
    layout.ownH = transposed_ ? grid_.ownY : grid_.ownX;
    layout.ownV = transposed_ ? grid_.ownX : grid_.ownY;
    const double columns = static_cast<double>(grid_.columns);
    const double rows = static_cast<double>(grid_.rows);
    Rect panels;
    double panelWidth = region.width / columns, panelHeight = region.height / rows;
    double topOuter = 0, rightOuter = 0;
    // Ticks depend on the panels' size and the panels on the labels' room:
    // a few rounds settle both.
    for (int round = 0; round < 4; ++round) {
      fitStrips(layout, panelWidth, panelHeight);
      const double hDepth = deepest(bottom), vDepth = deepest(left);
      layout.hLabels = labelsDepth(bottom);
      layout.vLabels = labelsDepth(left);
      // Neighbours' tick labels keep apart: what one panel's labels reach
      // past its end and the next one's past its start, plus a space.
      double hStart = 0, hEnd = 0, vStart = 0, vEnd = 0;
      for (const AxisPlan& plan : bottom) {
        hStart = std::max(hStart, labelOverhang(plan, panelWidth, false, text_));
        hEnd = std::max(hEnd, labelOverhang(plan, panelWidth, true, text_));
      }
      for (const AxisPlan& plan : left) {
        vStart = std::max(vStart, labelOverhang(plan, panelHeight, false, text_));
        vEnd = std::max(vEnd, labelOverhang(plan, panelHeight, true, text_));
      }
      const double hReach = hStart + hEnd + kLabelSpace, vReach = vStart + vEnd + 2;
      // The labeling may set the room between panels; labels between them
      // still get theirs.
      const double columnGap = frame_->columnGap.value_or(kPanelGap);
      const double rowGap = frame_->rowGap.value_or(kPanelGap);
      layout.hGap = std::max(columnGap, hReach) + (layout.ownV ? layout.vLabels : 0);
      const double between = layout.stripDepth + (layout.ownH ? layout.hLabels : 0);
      layout.vGap = std::max(rowGap + between, vReach);
      // The outermost tick labels may reach past the panels' corners, into
      // the picture's margin but no farther.
      const double leftOuter =
          std::max(vSide == AxisSide::kLeft ? vDepth : 0, hStart - kOuter / 2) +
          levelAxisRoom(false, panelHeight);
      const double bottomOuter =
          std::max(hSide == AxisSide::kBottom ? hDepth : 0, vStart - kOuter / 2) +
          levelAxisRoom(true, panelWidth);
      topOuter =
          std::max((hSide == AxisSide::kTop ? hDepth : 0) + layout.stripDepth + (axes ? 6 : 0),
                   vEnd - kOuter / 2);
      rightOuter = (vSide == AxisSide::kRight ? vDepth : 0) +
                   (layout.rowStripDepth > 0 ? layout.rowStripDepth + 6 : 0);
      rightOuter = std::max({rightOuter, axes ? 10.0 : 0.0, hEnd - kOuter / 2});
      panels = {region.x + leftOuter, region.y + topOuter, region.width - leftOuter - rightOuter,
                region.height - topOuter - bottomOuter};
      panelWidth = std::max(kMinPanel, (panels.width - (columns - 1) * layout.hGap) / columns);
      panelHeight = std::max(kMinPanel, (panels.height - (rows - 1) * layout.vGap) / rows);
      // Panels of the asked shape: the longer side shrinks to it.
      if (const auto& aspect = frame_->cellAspect) {
        if (panelWidth * *aspect > panelHeight) {
          panelWidth = std::max(kMinPanel, panelHeight / *aspect);
        } else {
          panelHeight = std::max(kMinPanel, panelWidth * *aspect);
        }
      }
      for (AxisPlan& plan : bottom) planAxis(plan, panelWidth, text_);
      for (AxisPlan& plan : left) planAxis(plan, panelHeight, text_);
    }
    const PointLook look = pointLook(pointCount());
    // Panels narrower or lower than the room (their shape is asked) stand
    // in its middle.
    const double spare = panels.width - columns * panelWidth - (columns - 1) * layout.hGap;
    const double spareDown = panels.height - rows * panelHeight - (rows - 1) * layout.vGap;
    panels.x += std::max(0.0, spare / 2);
    panels.y += std::max(0.0, spareDown / 2);
    Rect span{panels.x, panels.y, 0, 0};
    for (std::size_t i = 0; i < grid_.panels.size(); ++i) {
      Panel& panel = grid_.panels[i];
      const double x = panels.x + static_cast<double>(panel.column) * (panelWidth + layout.hGap);
      const double y = panels.y + static_cast<double>(panel.row) * (panelHeight + layout.vGap);
      panel.area = {x, y, panelWidth, panelHeight};
      span.width = std::max(span.width, panel.area.right() - span.x);
      span.height = std::max(span.height, panel.area.bottom() - span.y);
      // Strips sit beyond the tick labels of an axis on their side.
      const bool topLabels =
          axes && hSide == AxisSide::kTop && labelsAcross(panel, layout, bottom.front());
      const bool rightLabels =
          !left.empty() && vSide == AxisSide::kRight && labelsUp(panel, layout, left.front());
      drawStrips(panel, layout, i, topLabels ? layout.hLabels : 0,
                 rightLabels ? layout.vLabels : 0);
      if (polar_) {
        bool rose = false;
        for (const Layer& layer : panel.layers) {
          if (layer.kind == LayerKind::kSlices) drawSlices(scene_, layer, panel.area);
          if (layer.kind == LayerKind::kBars) {
            drawRose(scene_, layer, panel.area, xScales_[panel.xScale], yScales_[panel.yScale],
                     text_);
            rose = true;
          }
        }
        if (polarDraws({LayerKind::kPoints, LayerKind::kLines, LayerKind::kAreas})) {
          const AxisScale& angle = xScales_[panel.xScale];
          const AxisScale& radius = yScales_[panel.yScale];
          drawPolarMarks(scene_, panel.layers, panel.area, clipOf(panel), angle, radius,
                         describeAxis(AxisSide::kBottom, &angle, Role::kX, panel.xScale).format,
                         describeAxis(AxisSide::kLeft, &radius, Role::kY, panel.yScale).format,
                         look, rose, text_);
        }
      } else if (cube_) {
        drawCubePanel(panel, look);
      } else {
        drawCartesian(panel, look, bottom, left, layout);
      }
    }
    // Titles beyond the deepest labels of their side, and beyond the strips
    // on the top and right.
    for (std::vector<AxisPlan>* plans : {&bottom, &left}) {
      if (plans->empty()) continue;
      AxisPlan deepestPlan = plans->front();
      for (const AxisPlan& plan : *plans) {
        deepestPlan.labelDepth = std::max(deepestPlan.labelDepth, plan.labelDepth);
      }
      Rect titled = span;
      if (deepestPlan.side == AxisSide::kTop) {
        titled.y -= layout.stripDepth;
        titled.height += layout.stripDepth;
      } else if (deepestPlan.side == AxisSide::kRight && layout.rowStripDepth > 0) {
        titled.width += layout.rowStripDepth + 4;
      }
      drawAxisTitle(scene_, deepestPlan, titled);
    }
    drawLevelAxes(span, hSide == AxisSide::kBottom ? deepest(bottom) : 0,
                  vSide == AxisSide::kLeft ? deepest(left) : 0, panelWidth, panelHeight);
    plotArea_ = span;
  }

  // Where a panel's marks are cut: at its edge, or, when the frame does not
  // clip, at the picture's (a marker on the panel's edge stays whole).
  Rect clipOf(const Panel& panel) const {
    return frame_->clip ? panel.area : Rect{0, 0, scene_.width, scene_.height};
  }

  void drawCartesian(const Panel& panel, const PointLook& look, const std::vector<AxisPlan>& bottom,
                     const std::vector<AxisPlan>& left, const Layout& layout) {
    const PanelView view{panel.area, &xScales_[panel.xScale], &yScales_[panel.yScale], transposed_};
    const AxisPlan& across = bottom[transposed_ ? panel.yScale : panel.xScale];
    const AxisPlan& upward = left[transposed_ ? panel.xScale : panel.yScale];
    if (panel.diagonal) {
      drawDiagonal(panel);
    } else {
      drawGrid(scene_, across, view);
      drawGrid(scene_, upward, view);
      const Rect clip = clipOf(panel);
      scene_.items.emplace_back(ClipBegin::rectangle(clip.x, clip.y, clip.width, clip.height));
      LabelRoom labels(&text_);
      for (const Layer& layer : panel.layers) drawLayer(scene_, layer, view, look, &labels);
      drawFrameGuides(scene_, *frame_, view, model_);
      scene_.items.emplace_back(ClipEnd{});
    }
    drawAxis(scene_, across, view, labelsAcross(panel, layout, across));
    drawAxis(scene_, upward, view, labelsUp(panel, layout, upward));
    if (!panel.diagonal) {
      noteAxis(across, view, labelsAcross(panel, layout, across));
      noteAxis(upward, view, labelsUp(panel, layout, upward));
    }
  }

  // The number of the last outermost clip of the scene so far (the panel
  // just drawn), counted from 0; -1 when there is none.
  int lastOuterClip() const {
    int depth = 0, count = 0, last = -1;
    for (const SceneItem& item : scene_.items) {
      if (std::holds_alternative<ClipBegin>(item)) {
        if (depth++ == 0) last = count++;
      } else if (std::holds_alternative<ClipEnd>(item) && depth > 0) {
        --depth;
      }
    }
    return last;
  }

  // A continuous axis (linear, log, power or date), for devices that zoom:
  // what they need to place its ticks again and to find its panel's marks.
  void noteAxis(const AxisPlan& plan, const PanelView& view, bool labelled) {
    if (!plan.drawn || plan.scale == nullptr || !(plan.scale->lo() < plan.scale->hi())) return;
    const AxisScale::Kind kind = plan.scale->kind();
    if (kind == AxisScale::Kind::kBand) return;
    AxisView axis;
    axis.date = kind == AxisScale::Kind::kDate;
    axis.log = kind == AxisScale::Kind::kLog;
    if (kind == AxisScale::Kind::kPower) axis.exponent = plan.scale->exponent();
    if (axis.log && !(plan.scale->lo() > 0)) return;
    axis.clipGroup = lastOuterClip();
    axis.vertical = isVertical(plan.side);
    axis.lo = plan.scale->lo();
    axis.hi = plan.scale->hi();
    const Rect& area = view.area;
    axis.start = axis.vertical ? area.bottom() : area.x;
    axis.length = axis.vertical ? area.height : area.width;
    axis.edge = plan.side == AxisSide::kBottom ? area.bottom()
                : plan.side == AxisSide::kTop  ? area.y
                : plan.side == AxisSide::kLeft ? area.x
                                               : area.right();
    axis.outward = plan.side == AxisSide::kBottom || plan.side == AxisSide::kRight ? 1 : -1;
    axis.panelX = area.x;
    axis.panelY = area.y;
    axis.panelWidth = area.width;
    axis.panelHeight = area.height;
    axis.labelled = labelled;
    axis.format = plan.format;
    scene_.axes.push_back(std::move(axis));
  }

  // A grey box with a text in its middle: panel labels and the matrix's
  // diagonal cells.
  void labelledBox(const Rect& box, const std::string& label, const Font& font, double angle,
                   const char* boxRole) {
    ShapeItem back;
    back.path.rectangle(box.x, box.y, box.width, box.height);
    back.filled = true;
    back.fill = kStripColor;
    back.role = boxRole;
    scene_.items.emplace_back(std::move(back));
    TextItem item = text(label, font, kTextColor, box.x + box.width / 2, box.y + box.height / 2,
                         0.5, "panel-label");
    item.vAlign = 0.5;
    item.angle = angle;
    scene_.items.emplace_back(std::move(item));
  }

  // A matrix cell of a variable against itself: the variable's name.
  void drawDiagonal(const Panel& panel) {
    const Rect& area = panel.area;
    labelledBox(area, wrapped(panel.diagonalLabel, kDiagonalFont, area.width - 12, text_),
                kDiagonalFont, 0, "panel-diagonal");
  }

  void drawCubePanel(const Panel& panel, const PointLook& look) {
    CubeContent cube;
    const AxisScale* scales[3] = {&xScales_[0], &yScales_[0], &zScale_};
    for (int i = 0; i < 3; ++i) {
      const Role role = static_cast<Role>(i);
      AxisPlan plan = describeAxis(AxisSide::kBottom, scales[i], role, 0);
      cube.axes[static_cast<std::size_t>(i)] = {scales[i], plan.format, plan.title, plan.drawn};
    }
    const Parameters& camera = frame_->coordinateParameters;
    const auto parameter = [&](const char* name, double fallback) {
      const std::string* value = findParameter(camera, name);
      return value ? numberOf(*value).value_or(fallback) : fallback;
    };
    cube.camera = {parameter("theta", 10), parameter("phi", -35), parameter("distance", 1.3)};
    for (const Guide& guide : frame_->guides) {
      const std::string* normal = findParameter(guide.parameters, "normal");
      if (guide.type == "plane" && normal && (*normal == "x" || *normal == "y" || *normal == "z")) {
        cube.backPlanes[static_cast<std::size_t>(*normal == "x"   ? 0
                                                 : *normal == "y" ? 1
                                                                  : 2)] = true;
      } else if (guide.type == "frame") {
        const std::string* complete = findParameter(guide.parameters, "complete");
        cube.frame = true;
        cube.frameComplete = complete == nullptr || *complete != "false";
      } else {
        model_.skip("guide " + guide.id + " of type '" + guide.type + "' in 3-D coordinates");
      }
    }
    for (const Layer& layer : panel.layers) cube.layers.push_back(&layer);
    cube.look = look;
    drawCube(scene_, text_, panel.area, cube);
  }

  // The name of a panel's column (row) on an axis along the levels: its
  // facet level, or its variable in a matrix.
  static const std::string& levelName(const Panel& panel, bool column) {
    if (column) return panel.columnLabel.empty() ? panel.columnName : panel.columnLabel;
    return panel.rowLabel.empty() ? panel.rowName : panel.rowLabel;
  }

  // A level's name fitted to `along` pixels when it runs along the grid's
  // side (else to kMostLevelDepth), and how far it reaches out from the side
  // (the bottom for columns, the left for rows) at `angle`.
  double levelText(const std::string& name, double angle, bool column, double along,
                   std::string& fitted) const {
    const double a = angle * std::numbers::pi / 180;
    const double c = std::fabs(std::cos(a)), s = std::fabs(std::sin(a));
    const bool runsAlong = (column ? c : s) > 0.99;
    fitted = ellipsized(name, kStripFont, std::max((runsAlong ? along : kMostLevelDepth) - 4, 8.0),
                        text_);
    const TextBox box = text_.measure(fitted, kStripFont);
    return column ? box.width * s + box.height * c : box.width * c + box.height * s;
  }

  // The room the axis along the columns' (rows') levels takes below (left
  // of) the grid: its deepest name and a gap.
  double levelAxisRoom(bool columns, double along) const {
    const std::optional<double>& angle = columns ? frame_->columnAxisAngle : frame_->rowAxisAngle;
    if (!angle) return 0;
    double depth = 0;
    std::string fitted;
    for (const Panel& panel : grid_.panels) {
      const std::string& name = levelName(panel, columns);
      if (!name.empty()) depth = std::max(depth, levelText(name, *angle, columns, along, fitted));
    }
    return depth > 0 ? depth + kLevelAxisGap : 0;
  }

  // The levels' names along the grid's bottom (columns) and left (rows),
  // beyond the axes' `below` and `beside` depth, when an axis names them.
  void drawLevelAxes(const Rect& span, double below, double beside, double width, double height) {
    std::string fitted;
    for (const Panel& panel : grid_.panels) {
      const Rect& area = panel.area;
      const auto& across = frame_->columnAxisAngle;
      if (const std::string& name = levelName(panel, true);
          across && panel.bottomEdge && !name.empty()) {
        levelText(name, *across, true, width, fitted);
        TextItem item = text(fitted, kStripFont, kTextColor, area.x + area.width / 2,
                             span.bottom() + below + kLevelAxisGap, 0.5, "facet-axis-label x");
        item.angle = *across;
        // Turned text hangs from the anchor by its end (reading up) or start.
        if (*across != 0) {
          item.hAlign = *across < 0 ? 1 : 0;
          item.vAlign = 0.5;
        }
        scene_.items.emplace_back(std::move(item));
      }
      const auto& up = frame_->rowAxisAngle;
      if (const std::string& name = levelName(panel, false);
          up && panel.leftEdge && !name.empty()) {
        levelText(name, *up, false, height, fitted);
        const bool turned = std::fabs(*up) > 45;
        TextItem item = text(fitted, kStripFont, kTextColor, span.x - beside - kLevelAxisGap,
                             area.y + area.height / 2, turned ? 0.5 : 1, "facet-axis-label y");
        item.angle = *up;
        // Turned up, the text's foot faces the grid; turned down, its head.
        item.vAlign = !turned ? 0.5 : *up < 0 ? 1 : 0;
        scene_.items.emplace_back(std::move(item));
      }
    }
  }

  // The panel's labels: its column's above it (above its top tick labels,
  // `lift`), its row's beside the last panel of the row (beyond `push`).
  void drawStrips(const Panel& panel, const Layout& layout, std::size_t index, double lift,
                  double push) {
    const Rect& area = panel.area;
    if (!panel.columnLabel.empty() && !frame_->columnAxisAngle) {
      labelledBox({area.x, area.y - lift - layout.stripDepth, area.width, layout.stripDepth},
                  layout.columnTexts[index], kStripFont, 0, "panel-strip");
    }
    if (!panel.rowLabel.empty() && panel.rightEdge && !frame_->rowAxisAngle) {
      labelledBox({area.right() + push + 2, area.y, layout.rowStripDepth, area.height},
                  layout.rowTexts[index], kStripFont, 90, "panel-strip");
    }
  }

  std::size_t pointCount() const {
    std::size_t n = 0;
    for (const Panel& panel : grid_.panels) {
      for (const Layer& layer : panel.layers) n += layer.px.size();
    }
    return n;
  }

  // A frame that draws nothing says why, where its data would be.
  void noteWhatIsMissing(const Rect& region) {
    if (frame_ == nullptr || frame_->elements.empty() || model_.skipped.empty()) return;
    for (const Panel& panel : grid_.panels) {
      if (!panel.layers.empty()) return;
    }
    std::string note = "Not drawn yet:";
    for (std::size_t i = 0; i < model_.skipped.size() && i < 4; ++i) {
      note += "\n" + model_.skipped[i];
    }
    const Rect& area = plotArea_.width > 0 ? plotArea_ : region;
    TextItem item = text(note, kNoteFont, kMutedTextColor, area.x + area.width / 2,
                         area.y + area.height / 2, 0.5, "note");
    item.vAlign = 0.5;
    scene_.items.emplace_back(std::move(item));
  }

  ChartModel& model_;
  DataBinder binder_;
  TextEngine& text_;
  SceneOptions options_;
  std::string& error_;
  Scene scene_;
  DataFrame* frame_ = nullptr;
  bool polar_ = false, transposed_ = false, cube_ = false;
  PanelGrid grid_;
  std::vector<AxisScale> xScales_ = std::vector<AxisScale>(1);
  std::vector<AxisScale> yScales_ = std::vector<AxisScale>(1);
  AxisScale zScale_;
  Rect plotArea_;
};

}  // namespace

std::optional<Scene> buildScene(ChartModel& model, const std::map<std::string, DataTable>& tables,
                                TextEngine& text, SceneOptions options, std::string& error) {
  error.clear();
  return Builder(model, tables, text, options, error).build();
}

}  // namespace chartxml::render
