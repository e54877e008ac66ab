// The scene: what a picture is made of, positioned in picture pixels and
// independent of any device. The scene builder fills it from the chart's
// model, scales and layout; every device (PNG and PDF through cairo, SVG
// through our own writer) draws the same scene, so the formats cannot drift
// apart. Items are drawn in the order they are listed.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "format/ValueFormat.h"
#include "read/LargeBuffer.h"

namespace chartxml::render {

// A colour with straight (not premultiplied) alpha.
struct Color {
  std::uint8_t r = 0, g = 0, b = 0, a = 255;

  friend bool operator==(const Color&, const Color&) = default;
};

// How a path's outline is drawn; width 0 draws no outline.
struct Stroke {
  Color color;
  double width = 0;
  std::vector<double> dash;  // on, off, ... lengths in pixels; empty: solid
  bool roundJoins = false;   // lines through data: round; frames and bars: mitre
};

// A path of straight segments and circular arcs, in picture pixels (y down).
class Path {
 public:
  enum class Op : std::uint8_t {
    kMove,         // x y
    kLine,         // x y
    kArc,          // cx cy radius angle1 angle2: clockwise on screen, as cairo_arc
    kArcNegative,  // cx cy radius angle1 angle2: counter-clockwise, as cairo_arc_negative
    kClose,
  };

  void moveTo(double x, double y);
  void lineTo(double x, double y);
  // Angles in radians, 0 along +x, growing clockwise on screen (y down).
  void arc(double cx, double cy, double radius, double angle1, double angle2);
  void arcNegative(double cx, double cy, double radius, double angle1, double angle2);
  void close();
  void rectangle(double x, double y, double width, double height);

  bool empty() const { return ops_.empty(); }
  const std::vector<Op>& ops() const { return ops_; }
  const std::vector<double>& args() const { return args_; }  // the ops' arguments in order

 private:
  std::vector<Op> ops_;
  std::vector<double> args_;
};

// Every item names what it shows in `role` ("mark bar", "axis-label x",
// "legend-entry", ...): the SVG writer writes it as the element's class, so
// that a reader of the SVG (or a test) can find the chart's parts.
// `group` and `tip` serve interactive devices: the legend group a mark or
// legend entry belongs to (-1: none) and what a mark's tooltip says, one
// "name: value" per line (empty: no tooltip). Pictures ignore both.
struct ShapeItem {
  Path path;
  bool filled = false;
  Color fill;
  Stroke stroke;
  std::string role;
  std::int32_t group = -1;
  std::string tip;
};

enum class MarkerShape : std::uint8_t { kCircle, kSquare, kTriangle, kDiamond, kCross, kPlus };

// The values of the cases a layer's points show, for tooltips: one column
// per variable the layer draws, each value formatted by its variable's
// format, or, for categories, shown by labels[value].
struct CaseColumn {
  std::string title;
  ValueFormat format;
  bool categorical = false;
  std::vector<std::string> labels;  // categorical: the label of each code
  LargeVector<double> values;       // one per case; categorical: the code, NaN when missing
};
struct CaseTable {
  std::vector<CaseColumn> columns;
  int groupColumn = -1;  // the column of legend groups (codes), or -1
};

// Many markers of one shape and size, each with its own colour (an index into
// `palette`): one item for a whole scatter, so devices can draw it fast.
struct PointBatch {
  MarkerShape shape = MarkerShape::kCircle;
  double size = 7;  // the marker's diameter (or side) in pixels
  LargeVector<float> x, y;
  LargeVector<std::uint16_t> colorIndex;  // one per point; empty: every point palette[0]
  std::vector<Color> palette;
  Stroke outline;  // drawn around each marker when its width is above 0
  std::string role;
  std::int32_t group = -1;  // legend keys and marks: the group they stand for
  std::string tip;          // as ShapeItem's, for the whole batch (a single mark's)
  // The cases the points show (null: none known): point i shows case
  // caseIndex[i] of the table, or case i when caseIndex is empty.
  std::shared_ptr<const CaseTable> cases;
  LargeVector<std::uint32_t> caseIndex;
  bool pageOnly = false;  // a page's hover targets (a line's vertices): pictures draw none

  // Whether a page gives each point a hover target with its case (a
  // scatter's markers, a line's vertices), not only a picture.
  bool hoverable() const { return role == "mark point" || pageOnly; }
};

struct Font {
  double size = 11;  // pixels
  bool bold = false;

  friend bool operator==(const Font&, const Font&) = default;
};

// A text placed by an anchor point: `hAlign` 0, 0.5 or 1 puts the anchor at the
// left, centre or right of the text's logical box; `vAlign` likewise 0 top,
// 0.5 middle, 1 bottom. The box turns about the anchor by `angle` degrees
// (clockwise on screen, so -90 reads bottom to top). Lines are separated by
// "\n" and centred within the box when hAlign is 0.5, else aligned the same
// way as the box.
struct TextItem {
  std::string text;  // UTF-8
  Font font;
  Color color;
  double x = 0, y = 0;
  double hAlign = 0, vAlign = 0;
  double angle = 0;
  std::string role;
  std::int32_t group = -1;  // legend entries: the group they name
};

// Later items are clipped to this rectangle, or to `path` when it is not
// empty, until the matching ClipEnd.
struct ClipBegin {
  double x = 0, y = 0, width = 0, height = 0;
  Path path;

  static ClipBegin rectangle(double x, double y, double width, double height) {
    ClipBegin clip;
    clip.x = x;
    clip.y = y;
    clip.width = width;
    clip.height = height;
    return clip;
  }
};
struct ClipEnd {};

using SceneItem = std::variant<ShapeItem, PointBatch, TextItem, ClipBegin, ClipEnd>;

// A panel's continuous linear axis, for devices that let a reader zoom:
// values lo..hi run along [start, start + length] pixels (upward for a
// vertical axis), its ticks at `edge` pointing `outward` (+1 down or right).
struct AxisView {
  bool vertical = false;
  double lo = 0, hi = 1;
  double start = 0, length = 1;
  double edge = 0, outward = 1;
  double panelX = 0, panelY = 0, panelWidth = 0, panelHeight = 0;
  bool labelled = true;
  bool date = false;    // seconds on a calendar: ticks by calendar steps
  bool log = false;     // base-10 log positions: log ticks
  double exponent = 1;  // a power scale's: positions follow sign(v)·|v|^exponent
  // The panel's clip group among the scene's outermost ClipBegin items (its
  // marks, and the point batches inside it), counted from 0.
  int clipGroup = -1;
  ValueFormat format;
};

struct Scene {
  double width = 800;  // picture pixels; a device may scale them (PNG --scale)
  double height = 600;
  Color background{255, 255, 255, 255};
  std::string title;        // the chart's title, for the SVG <title> and PDF metadata
  std::string description;  // what the chart shows, in words
  std::vector<SceneItem> items;
  std::vector<AxisView> axes;  // of each cartesian panel, for devices that zoom them
  bool keepsCases = true;      // point batches hold their cases (SceneOptions::cases)
};

}  // namespace chartxml::render
