#include "scene/SceneBuilder.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <tuple>

#include "scales/AxisScale.h"
#include "scales/Palette.h"
#include "scene/Axes.h"
#include "scene/ChartLegends.h"
#include "scene/Cube.h"
#include "scene/Legend.h"
#include "scene/Marks.h"
#include "scene/Panels.h"
#include "stats/Layers.h"

namespace chartxml::render {
namespace {

constexpr Font kTitleFont{16, true};
constexpr Font kSubtitleFont{13, false};
constexpr Font kFootnoteFont{11, false};
constexpr Font kStripFont{11, false};
constexpr Font kDiagonalFont{12, true};
constexpr Font kNoteFont{12, false};
constexpr double kOuter = 14;      // the picture's margin
constexpr double kPanelGap = 10;   // between panels
constexpr double kLegendGap = 18;  // between the panels and the legends
constexpr double kStripPad = 4;    // around a panel label's text
constexpr double kMinPanel = 10;   // panels never shrink below this

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

const char* kindWord(const Layer& layer) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      return layer.z ? "3-D points" : "points";
    case LayerKind::kLines:
      return "lines";
    case LayerKind::kAreas:
      return "areas";
    case LayerKind::kBars:
      return layer.element->statistic && layer.element->statistic->method == "histogram"
                 ? "histogram"
                 : "bars";
    case LayerKind::kSlices:
      return "pie";
  }
  return "marks";
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

class Builder {
 public:
  Builder(ChartModel& model, const std::map<std::string, DataTable>& tables, TextEngine& text,
          SceneSize size, std::string& error)
      : model_(model), binder_(model, tables), text_(text), size_(size), error_(error) {}

  std::optional<Scene> build() {
    scene_.width = size_.width;
    scene_.height = size_.height;
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
    const Dimension* dimension = frame_->dimension(role);
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
    if (dimension != nullptr && !dimension->scale.empty()) {
      if (dimension->scale == "log" && !dates) {
        scale.setKind(AxisScale::Kind::kLog);
      } else {
        model_.skip(dimension->scale + " scale of the " + roleName(role) + " dimension");
      }
    }
    forLayersOf(role, index, [&](const Layer& layer) { trainOn(scale, layer, role); });
    for (const Guide& guide : frame_->guides) {
      if (guide.type != "line") continue;
      if (const std::string* value = findParameter(guide.parameters, roleName(role))) {
        if (const auto number = numberOf(*value)) scale.train(*number);
      }
    }
    scale.finish(dimension);
    if (scale.dropped() > 0) {
      model_.skip(std::to_string(scale.dropped()) + " values of " + roleName(role) +
                  " that a log scale cannot show (zero or negative)");
    }
  }

  static void trainOn(AxisScale& scale, const Layer& layer, Role role) {
    const bool x = role == Role::kX;
    for (const double value : x ? layer.px : role == Role::kY ? layer.py : layer.pz) {
      scale.train(value);
    }
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
    if (layer.kind == LayerKind::kBars && !x) scale.anchorAt(0);
  }

  void trainScales() {
    if (polar_) return;
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
    if (!grid_.matrix) yScales_[0].setWholeNumbers(counts && !other);
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
        const bool percent = layer.summary == Summary::kPercent;
        title = percent ? "Percent" : "Count";
        plan.format.kind = ValueFormat::Kind::kNumber;
        if (percent) plan.format.number.suffix = "%";
      } else {
        title = column->variable->title();
        if (role == Role::kY && layer.summary) {
          title = std::string(summaryTitle(*layer.summary)) + " " + title;
        }
        const bool counts = layer.summary == Summary::kCount ||
                            layer.summary == Summary::kPercent || layer.summary == Summary::kValidN;
        if (role != Role::kY || !counts) plan.format = column->variable->format;
        if (layer.summary == Summary::kPercent) plan.format.number.suffix = "%";
      }
      if (plan.title.empty()) plan.title = title;
    });
  }

  // What the axis along `role` (on scale `index`) shows and how.
  AxisPlan describeAxis(AxisSide side, const AxisScale* scale, Role role, std::size_t index) {
    AxisPlan plan;
    plan.side = side;
    plan.scale = scale;
    const Dimension* dimension = frame_->dimension(role);
    plan.drawn = dimension == nullptr || dimension->axis.has_value();
    if (dimension != nullptr && dimension->axis) {
      const Axis& axis = *dimension->axis;
      plan.title = axis.title;
      plan.grid = axis.majorGrid;
      plan.angle = axis.labelAngle;
      if (axis.minorTicks) model_.skip("minor ticks of axis " + axis.id);
      if (axis.opposite) model_.skip("the opposite side of axis " + axis.id);
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

  std::string describe() const {
    if (frame_ == nullptr) return model_.title;
    std::string out;
    for (const Layer& layer : sampleLayers()) {
      std::string part = kindWord(layer);
      const auto name = [](const BoundColumn* column) { return column->variable->title(); };
      if (grid_.matrix) {
        part = "scatter-plot matrix";
      } else if (layer.kind == LayerKind::kSlices) {
        if (layer.groups) part += " of " + name(layer.groups);
      } else if (layer.y != nullptr && layer.x != nullptr) {
        part += " of " + (layer.summary ? std::string(summaryTitle(*layer.summary)) + " " : "") +
                name(layer.y) + " by " + name(layer.x);
        if (layer.z != nullptr) part += " and " + name(layer.z);
      } else if (layer.x != nullptr) {
        part += " of " + name(layer.x);
      }
      if (layer.groups && layer.kind != LayerKind::kSlices) {
        part += ", coloured by " + name(layer.groups);
      }
      out += (out.empty() ? "" : "; ") + part;
      if (grid_.matrix) break;
    }
    if (grid_.panels.size() > 1) out += ", in " + std::to_string(grid_.panels.size()) + " panels";
    if (!model_.title.empty()) out = model_.title + (out.empty() ? "" : ": " + out);
    return out;
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
    Rect region{kOuter, kOuter, size_.width - 2 * kOuter, size_.height - 2 * kOuter};
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
                                     size_.height - kOuter - footnoteHeight + 8, 0, "footnote"));
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

  void drawPanels(const Rect& region) {
    std::vector<AxisPlan> bottom, left;
    planAxes(bottom, left);
    const bool axes = !bottom.empty();
    const double stripDepth = text_.measure("Ag", kStripFont).height + 2 * kStripPad;
    const bool columnStrips = !grid_.panels.front().columnLabel.empty();
    const bool rowStrips = !grid_.panels.front().rowLabel.empty();
    const double top = columnStrips ? stripDepth : 0;
    const double side = rowStrips ? stripDepth + 2 : 0;
    const double columns = static_cast<double>(grid_.columns);
    const double rows = static_cast<double>(grid_.rows);
    Rect panels;
    double panelWidth = 0, panelHeight = 0;
    // Ticks depend on the panels' size and the panels on the labels' room:
    // a few rounds settle both.
    for (int round = 0; round < 3; ++round) {
      const double leftDepth = deepest(left), bottomDepth = deepest(bottom);
      panels = {region.x + leftDepth, region.y + (axes ? 6 : 0),
                region.width - leftDepth - std::max(axes ? 10.0 : 0.0, side + 4),
                region.height - bottomDepth - (axes ? 6 : 0)};
      panelWidth = std::max(kMinPanel, (panels.width - (columns - 1) * kPanelGap) / columns);
      panelHeight =
          std::max(kMinPanel, (panels.height - rows * top - (rows - 1) * kPanelGap) / rows);
      for (AxisPlan& plan : bottom) planAxis(plan, panelWidth, text_);
      for (AxisPlan& plan : left) planAxis(plan, panelHeight, text_);
    }
    const PointLook look = pointLook(pointCount());
    Rect span{panels.x, panels.y + top, 0, 0};
    for (Panel& panel : grid_.panels) {
      const double x = panels.x + static_cast<double>(panel.column) * (panelWidth + kPanelGap);
      const double y =
          panels.y + static_cast<double>(panel.row) * (panelHeight + kPanelGap + top) + top;
      panel.area = {x, y, panelWidth, panelHeight};
      span.width = std::max(span.width, panel.area.right() - span.x);
      span.height = std::max(span.height, panel.area.bottom() - span.y);
      drawStrips(panel, stripDepth);
      if (polar_) {
        for (const Layer& layer : panel.layers) {
          if (layer.kind == LayerKind::kSlices) drawSlices(scene_, layer, panel.area);
        }
      } else if (cube_) {
        drawCubePanel(panel, look);
      } else {
        drawCartesian(panel, look, bottom, left);
      }
    }
    for (const std::vector<AxisPlan>* plans : {&bottom, &left}) {
      if (!plans->empty()) drawAxisTitle(scene_, plans->front(), span);
    }
    plotArea_ = span;
  }

  void drawCartesian(const Panel& panel, const PointLook& look, const std::vector<AxisPlan>& bottom,
                     const std::vector<AxisPlan>& left) {
    const PanelView view{panel.area, &xScales_[panel.xScale], &yScales_[panel.yScale], transposed_};
    const AxisPlan& across = bottom[transposed_ ? panel.yScale : panel.xScale];
    const AxisPlan& upward = left[transposed_ ? panel.xScale : panel.yScale];
    if (panel.diagonal) {
      drawDiagonal(panel);
    } else {
      drawGrid(scene_, across, view);
      drawGrid(scene_, upward, view);
      scene_.items.emplace_back(
          ClipBegin::rectangle(panel.area.x, panel.area.y, panel.area.width, panel.area.height));
      for (const Layer& layer : panel.layers) drawLayer(scene_, layer, view, look);
      drawGuides(scene_, *frame_, view, model_);
      scene_.items.emplace_back(ClipEnd{});
    }
    drawAxis(scene_, across, view, panel.row + 1 == grid_.rows);
    drawAxis(scene_, upward, view, panel.column == 0);
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
      } else {
        model_.skip("guide " + guide.id + " of type '" + guide.type + "' in 3-D coordinates");
      }
    }
    for (const Layer& layer : panel.layers) cube.layers.push_back(&layer);
    cube.look = look;
    drawCube(scene_, text_, panel.area, cube);
  }

  void drawStrips(const Panel& panel, double depth) {
    const Rect& area = panel.area;
    const auto strip = [&](const Rect& box, const std::string& label, double angle) {
      labelledBox(box, label, kStripFont, angle, "panel-strip");
    };
    if (!panel.columnLabel.empty()) {
      strip({area.x, area.y - depth, area.width, depth}, panel.columnLabel, 0);
    }
    if (!panel.rowLabel.empty() && panel.column + 1 == grid_.columns) {
      strip({area.right() + 2, area.y, depth, area.height}, panel.rowLabel, 90);
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
  SceneSize size_;
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
                                TextEngine& text, SceneSize size, std::string& error) {
  error.clear();
  return Builder(model, tables, text, size, error).build();
}

}  // namespace chartxml::render
