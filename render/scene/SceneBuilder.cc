#include "scene/SceneBuilder.h"

#include <algorithm>
#include <cmath>

#include "scales/AxisScale.h"
#include "scales/Palette.h"
#include "scene/Axes.h"
#include "scene/Legend.h"
#include "scene/Marks.h"
#include "stats/Layers.h"

namespace chartxml::render {
namespace {

constexpr Font kTitleFont{16, true};
constexpr Font kSubtitleFont{13, false};
constexpr Font kFootnoteFont{11, false};
constexpr Font kStripFont{11, false};
constexpr Font kNoteFont{12, false};
constexpr double kOuter = 14;      // the picture's margin
constexpr double kPanelGap = 10;   // between panels
constexpr double kLegendGap = 18;  // between the panels and the legends
constexpr double kStripPad = 4;    // around a panel label's text
constexpr double kMinPanel = 10;   // panels never shrink below this

struct Panel {
  RowSet rows;
  bool allRows = true;
  std::size_t column = 0, row = 0;
  std::string columnLabel, rowLabel;
  std::vector<Layer> layers;
  Rect area;
};

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

const char* kindWord(const Layer& layer) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      return "points";
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
      if (!makePanels() || !makeLayers()) return std::nullopt;
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
    threeD_ = frame_->coordinates == "rectangular" || frame_->dimension(Role::kZ) != nullptr;
    if (threeD_) model_.skip("3-D coordinates of frame " + frame_->id);
    if (!polar_ && !transposed_ && !threeD_ && !frame_->coordinates.empty()) {
      model_.skip("coordinates '" + frame_->coordinates + "' of frame " + frame_->id);
    }
  }

  // One panel, or one for each category (pair) of the facet variables.
  bool makePanels() {
    const BoundColumn* byColumn = nullptr;
    const BoundColumn* byRow = nullptr;
    for (const auto& [role, id] : frame_->facets) {
      const Variable* variable = model_.variable(id);
      if (variable != nullptr && variable->derived) {
        model_.skip("facets by the computed variable " + id);
        continue;
      }
      const BoundColumn*& slot = role == Role::kX ? byColumn : byRow;
      if (slot != nullptr) {
        model_.skip("a second " + std::string(roleName(role)) + " facet of frame " + frame_->id);
        continue;
      }
      slot = binder_.bind(id, true, error_);
      if (slot == nullptr) return false;
    }
    columns_ = byColumn ? std::max<std::size_t>(1, byColumn->categories.size()) : 1;
    rows_ = byRow ? std::max<std::size_t>(1, byRow->categories.size()) : 1;
    if (byColumn && byRow && byColumn->rows() != byRow->rows()) {
      model_.skip("facets of frame " + frame_->id + " (from different data sources)");
      byRow = nullptr;
      rows_ = 1;
    }
    panels_.resize(columns_ * rows_);
    for (std::size_t i = 0; i < panels_.size(); ++i) {
      Panel& panel = panels_[i];
      panel.column = i % columns_;
      panel.row = i / columns_;
      panel.allRows = byColumn == nullptr && byRow == nullptr;
      if (byColumn) panel.columnLabel = byColumn->categories.labels[panel.column];
      if (byRow) panel.rowLabel = byRow->categories.labels[panel.row];
    }
    if (byColumn || byRow) {
      const std::size_t n = byColumn ? byColumn->rows() : byRow->rows();
      for (std::size_t row = 0; row < n; ++row) {
        const int c = byColumn ? byColumn->codes[row] : 0;
        const int r = byRow ? byRow->codes[row] : 0;
        if (c < 0 || r < 0) continue;
        panels_[static_cast<std::size_t>(r) * columns_ + static_cast<std::size_t>(c)]
            .rows.push_back(static_cast<std::uint32_t>(row));
      }
    }
    return true;
  }

  bool makeLayers() {
    if (threeD_) return true;
    for (Panel& panel : panels_) {
      for (const Element& element : frame_->elements) {
        auto layer = computeLayer(element, *frame_, panel.allRows ? nullptr : &panel.rows, binder_,
                                  model_, error_);
        if (!error_.empty()) return false;
        if (layer) panel.layers.push_back(std::move(*layer));
      }
    }
    return true;
  }

  // The variable a layer shows along `role`, if any.
  static const BoundColumn* along(const Layer& layer, Role role) {
    return role == Role::kX ? layer.x : layer.y;
  }

  // Decides the kind of the scale along `role` and trains it on every layer.
  void prepareScale(AxisScale& scale, Role role) {
    const Dimension* dimension = frame_->dimension(role);
    const BoundColumn* categorical = nullptr;
    bool dates = false;
    for (const Panel& panel : panels_) {
      for (const Layer& layer : panel.layers) {
        const BoundColumn* column = along(layer, role);
        if (column == nullptr) continue;
        if (column->categorical && categorical == nullptr) categorical = column;
        const bool summarised = role == Role::kY && (layer.summary || layer.countsOnY);
        if (!column->categorical && !summarised &&
            column->variable->format.kind == ValueFormat::Kind::kDate) {
          dates = true;
        }
      }
    }
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
    for (const Panel& panel : panels_) {
      for (const Layer& layer : panel.layers) trainOn(scale, layer, role);
    }
    for (const Guide& guide : frame_->guides) {
      if (guide.type != "line") continue;
      if (const std::string* value = findParameter(guide.parameters, roleName(role))) {
        char* end = nullptr;
        const double number = std::strtod(value->c_str(), &end);
        if (end != value->c_str() && *end == '\0') scale.train(number);
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
    for (const double value : x ? layer.px : layer.py) scale.train(value);
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
    if (polar_ || threeD_) return;
    prepareScale(xScale_, Role::kX);
    prepareScale(yScale_, Role::kY);
    // Counts are whole: their axis has no ticks between them.
    bool counts = false, other = false;
    for (const Panel& panel : panels_) {
      for (const Layer& layer : panel.layers) {
        const bool counted = layer.countsOnY || layer.summary == Summary::kCount ||
                             layer.summary == Summary::kValidN;
        (counted ? counts : other) = true;
      }
    }
    yScale_.setWholeNumbers(counts && !other);
    // A layer whose positions the scale cannot show is left out.
    for (Panel& panel : panels_) {
      std::erase_if(panel.layers, [&](const Layer& layer) {
        const bool xBand = xScale_.kind() == AxisScale::Kind::kBand;
        const bool yBand = yScale_.kind() == AxisScale::Kind::kBand;
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
  // `role` gives its axis: the variable's, or the count's.
  void titleFromData(AxisPlan& plan, Role role) const {
    for (const Panel& panel : panels_) {
      for (const Layer& layer : panel.layers) {
        const BoundColumn* column = along(layer, role);
        const bool counted = role == Role::kY && layer.countsOnY;
        if (column == nullptr && !counted) continue;
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
                              layer.summary == Summary::kPercent ||
                              layer.summary == Summary::kValidN;
          if (role != Role::kY || !counts) plan.format = column->variable->format;
          if (layer.summary == Summary::kPercent) plan.format.number.suffix = "%";
        }
        if (plan.title.empty()) plan.title = title;
        return;
      }
    }
  }

  // What the axis along `role` is titled and how its labels are written.
  void describeAxis(AxisPlan& plan, Role role) {
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
    titleFromData(plan, role);
    if (dimension != nullptr && dimension->axis && dimension->axis->percent) {
      plan.format.kind = ValueFormat::Kind::kNumber;
      plan.format.number.suffix = "%";
    }
  }

  std::vector<LegendBlock> makeLegends() {
    std::vector<LegendBlock> blocks;
    const std::vector<Layer>* layers = panels_.empty() ? nullptr : &panels_.front().layers;
    for (const Legend& legend : model_.legends) {
      LegendBlock block;
      block.title = legend.title;
      for (const LegendTarget& target : legend.targets) addTarget(block, target, layers);
      if (block.entries.empty()) continue;
      blocks.push_back(std::move(block));
    }
    // Named function lines join the first legend, so a reader knows them.
    if (!blocks.empty() && frame_ != nullptr && !threeD_) {
      for (const Guide& guide : frame_->guides) {
        if (guide.type == "function" && !guide.name.empty()) {
          blocks.front().entries.push_back({guide.name, kGuideColor, KeyKind::kGuideLine});
        }
      }
    }
    return blocks;
  }

  void addTarget(LegendBlock& block, const LegendTarget& target, const std::vector<Layer>* layers) {
    const Layer* layer = nullptr;
    if (layers != nullptr) {
      for (const Layer& candidate : *layers) {
        if (candidate.element->id == target.element) layer = &candidate;
      }
    }
    if (layer == nullptr) {
      // A guide, or an element that draws nothing: nothing to key.
      if (model_.element(target.element) != nullptr) return;
      for (const DataFrame& frame : model_.frames) {
        for (const Guide& guide : frame.guides) {
          if (guide.id != target.element) continue;
          const bool reference = guide.type == "line";
          block.entries.push_back({guide.name.empty() ? guide.id : guide.name, kGuideColor,
                                   reference ? KeyKind::kReferenceLine : KeyKind::kGuideLine});
          return;
        }
      }
      model_.skip("legend target " + target.element + " (names nothing drawn)");
      return;
    }
    const Element& element = *layer->element;
    const bool grouping = target.aesthetic == "color" || target.aesthetic == element.styleById;
    if (!grouping || layer->groups == nullptr) {
      model_.skip("legend of the " + target.aesthetic + " aesthetic of element " + element.id);
      return;
    }
    if (block.title.empty()) block.title = layer->groups->variable->title();
    const KeyKind key = layer->kind == LayerKind::kPoints  ? KeyKind::kPoint
                        : layer->kind == LayerKind::kLines ? KeyKind::kLine
                                                           : KeyKind::kBlock;
    const std::size_t n = layer->groups->categories.size();
    for (std::size_t i = 0; i < n; ++i) {
      block.entries.push_back(
          {layer->groups->categories.labels[i], groupColor(*layer, i), key, categoryShape(i, n)});
    }
  }

  std::string describe() const {
    std::string out;
    if (frame_ == nullptr || panels_.empty()) return model_.title;
    for (const Layer& layer : panels_.front().layers) {
      std::string part = kindWord(layer);
      const auto name = [](const BoundColumn* column) { return column->variable->title(); };
      if (layer.kind == LayerKind::kSlices) {
        if (layer.groups) part += " of " + name(layer.groups);
      } else if (layer.y != nullptr && layer.x != nullptr) {
        part += " of " + (layer.summary ? std::string(summaryTitle(*layer.summary)) + " " : "") +
                name(layer.y) + " by " + name(layer.x);
      } else if (layer.x != nullptr) {
        part += " of " + name(layer.x);
      }
      if (layer.groups && layer.kind != LayerKind::kSlices)
        part += ", coloured by " + name(layer.groups);
      out += (out.empty() ? "" : "; ") + part;
    }
    if (panels_.size() > 1) out += ", in " + std::to_string(panels_.size()) + " panels";
    if (!model_.title.empty()) out = model_.title + (out.empty() ? "" : ": " + out);
    return out;
  }

  // Titles at the top; returns the height they take.
  double drawTitles(double centre) {
    double y = kOuter;
    for (const auto& [content, font, role] :
         {std::tuple{&model_.title, kTitleFont, "title"},
          std::tuple{&model_.subtitle, kSubtitleFont, "subtitle"}}) {
      if (content->empty()) continue;
      scene_.items.emplace_back(text(*content, font, kTextColor, centre, y, 0.5, role));
      y += text_.measure(*content, font).height + 4;
    }
    return y > kOuter ? y - kOuter + 8 : 0;
  }

  void draw() {
    const double footnoteHeight =
        model_.footnote.empty() ? 0 : text_.measure(model_.footnote, kFootnoteFont).height + 8;
    std::vector<LegendBlock> legends = makeLegends();
    Rect region{kOuter, kOuter, size_.width - 2 * kOuter, size_.height - 2 * kOuter};
    double legendWidth = 0;
    for (LegendBlock& legend : legends) {
      measureLegend(legend, text_, region.height);
      legendWidth = std::max(legendWidth, legend.width);
    }
    if (legendWidth > 0) region.width -= legendWidth + kLegendGap;
    const double titles = drawTitles(region.x + region.width / 2);
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

  void drawPanels(const Rect& region) {
    AxisPlan horizontal, vertical;
    horizontal.side = AxisSide::kBottom;
    vertical.side = AxisSide::kLeft;
    const bool axes = !polar_ && !threeD_;
    if (axes) {
      horizontal.scale = transposed_ ? &yScale_ : &xScale_;
      vertical.scale = transposed_ ? &xScale_ : &yScale_;
      describeAxis(horizontal, transposed_ ? Role::kY : Role::kX);
      describeAxis(vertical, transposed_ ? Role::kX : Role::kY);
    } else {
      horizontal.drawn = vertical.drawn = false;
    }
    const bool columnStrips = !panels_.front().columnLabel.empty();
    const bool rowStrips = !panels_.front().rowLabel.empty();
    const double stripDepth = text_.measure("Ag", kStripFont).height + 2 * kStripPad;
    const double top = columnStrips ? stripDepth : 0;
    const double side = rowStrips ? stripDepth : 0;
    const double columns = static_cast<double>(columns_), rows = static_cast<double>(rows_);
    Rect panels;
    double panelWidth = 0, panelHeight = 0;
    // Ticks depend on the panels' size and the panels on the labels' room:
    // a few rounds settle both.
    for (int round = 0; round < 3; ++round) {
      const double left = axisDepth(vertical), bottom = axisDepth(horizontal);
      panels = {region.x + left, region.y + (axes ? 6 : 0),
                region.width - left - std::max(axes ? 10.0 : 0.0, side + 4),
                region.height - bottom - (axes ? 6 : 0)};
      panelWidth = std::max(kMinPanel, (panels.width - (columns - 1) * kPanelGap) / columns);
      panelHeight =
          std::max(kMinPanel, (panels.height - rows * top - (rows - 1) * kPanelGap) / rows);
      planAxis(horizontal, panelWidth, text_);
      planAxis(vertical, panelHeight, text_);
    }
    const PointLook look = pointLook(pointCount());
    Rect span{panels.x, panels.y, 0, 0};
    for (Panel& panel : panels_) {
      const double x = panels.x + static_cast<double>(panel.column) * (panelWidth + kPanelGap);
      const double y =
          panels.y + static_cast<double>(panel.row) * (panelHeight + kPanelGap + top) + top;
      panel.area = {x, y, panelWidth, panelHeight};
      span.width = std::max(span.width, panel.area.right() - span.x);
      span.height = std::max(span.height, panel.area.bottom() - span.y);
      drawStrips(panel, stripDepth);
      if (!axes) {
        for (const Layer& layer : panel.layers) {
          if (layer.kind == LayerKind::kSlices) drawSlices(scene_, layer, panel.area);
        }
        continue;
      }
      const PanelView view{panel.area, &xScale_, &yScale_, transposed_};
      drawGrid(scene_, horizontal, view);
      drawGrid(scene_, vertical, view);
      scene_.items.emplace_back(
          ClipBegin{panel.area.x, panel.area.y, panel.area.width, panel.area.height});
      for (const Layer& layer : panel.layers) drawLayer(scene_, layer, view, look);
      drawGuides(scene_, *frame_, view, model_);
      scene_.items.emplace_back(ClipEnd{});
      drawAxis(scene_, horizontal, view, panel.row + 1 == rows_);
      drawAxis(scene_, vertical, view, panel.column == 0);
    }
    span.y = panels.y + top;
    span.height -= top;
    drawAxisTitle(scene_, horizontal, span);
    drawAxisTitle(scene_, vertical, span);
    plotArea_ = span;
  }

  void drawStrips(const Panel& panel, double depth) {
    const Rect& area = panel.area;
    const auto strip = [&](const Rect& box, const std::string& label, double angle) {
      ShapeItem back;
      back.path.rectangle(box.x, box.y, box.width, box.height);
      back.filled = true;
      back.fill = kStripColor;
      back.role = "panel-strip";
      scene_.items.emplace_back(std::move(back));
      TextItem item = text(label, kStripFont, kTextColor, box.x + box.width / 2,
                           box.y + box.height / 2, 0.5, "panel-label");
      item.vAlign = 0.5;
      item.angle = angle;
      scene_.items.emplace_back(std::move(item));
    };
    if (!panel.columnLabel.empty()) {
      strip({area.x, area.y - depth, area.width, depth}, panel.columnLabel, 0);
    }
    if (!panel.rowLabel.empty() && panel.column + 1 == columns_) {
      strip({area.right() + 2, area.y, depth, area.height}, panel.rowLabel, 90);
    }
  }

  std::size_t pointCount() const {
    std::size_t n = 0;
    for (const Panel& panel : panels_) {
      for (const Layer& layer : panel.layers) n += layer.px.size();
    }
    return n;
  }

  // A frame that draws nothing says why, where its data would be.
  void noteWhatIsMissing(const Rect& region) {
    if (frame_ == nullptr) return;
    for (const Panel& panel : panels_) {
      if (!panel.layers.empty()) return;
    }
    if (frame_->elements.empty() || model_.skipped.empty()) return;
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
  bool polar_ = false, transposed_ = false, threeD_ = false;
  std::vector<Panel> panels_;
  std::size_t columns_ = 1, rows_ = 1;
  AxisScale xScale_, yScale_;
  Rect plotArea_;
};

}  // namespace

std::optional<Scene> buildScene(ChartModel& model, const std::map<std::string, DataTable>& tables,
                                TextEngine& text, SceneSize size, std::string& error) {
  error.clear();
  return Builder(model, tables, text, size, error).build();
}

}  // namespace chartxml::render
