// What a chart document asks for, as plain values: the model stage's output
// and every later stage's input. Nothing here refers to the XML any more;
// references between parts (an element's variables, a legend's targets) are
// kept as the document's ids and resolved through ChartModel's look-ups.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "format/ValueFormat.h"

namespace chartxml::render {

using Parameters = std::vector<std::pair<std::string, std::string>>;

// The value of the parameter `name`, or null.
const std::string* findParameter(const Parameters& parameters, std::string_view name);

// The order a sorting domain gives a variable's categories: the natural one
// (numbers ascending, then texts), that of their first appearance in the
// data, or by a statistic of another variable in each (`statistic` the
// variable's id: the sum of its values, or their mean when it notes a mean;
// its own id or an empty one: the count of cases); reversed when descending.
struct CategoryOrder {
  enum class By { kNatural, kData, kStatistic };
  By by = By::kNatural;
  std::string statistic;
  bool descending = false;
};

struct Variable {
  std::string id;
  std::string label;
  std::string shortLabel;
  std::string source;      // the data source's id
  std::string sourceName;  // its column in the source's data
  bool categorical = false;
  ValueFormat format;
  std::vector<std::pair<std::string, std::string>> relabels;  // value text → label
  std::string summary;                 // the summary function the procedure noted ("meanOfValues")
  bool derived = false;                // computed by an expression or a constant: not from a column
  std::string expression;              // the expression of a derived variable
  std::optional<CategoryOrder> order;  // when a dimension's domain sorts its categories

  // What a reader calls the variable: its label, else its short label, else its id.
  const std::string& title() const;
  // The label of a category whose value text is `value`, or null.
  const std::string* valueLabel(std::string_view value) const;
};

struct Statistic {
  std::string method;  // "mean", "histogram", "count", ...
  Parameters parameters;
};

// Roles a variable plays for an element.
enum class Role { kX, kY, kZ, kTheta, kR, kPhi };
const char* roleName(Role role);

struct Element {
  std::string id;
  std::string type;              // "point", "line", "area", "interval", ...
  std::string positionModifier;  // "", "dodge", "stack", ...
  std::string name;
  std::optional<Statistic> statistic;
  std::map<Role, std::string> positions;  // role → variable id
  std::string color;                      // variable id of the colour aesthetic
  std::string styleBy;                    // variable id of a style-by aesthetic
  std::string styleById;                  // the style-by's own id (legend targets name it)
  std::string styleCycle;                 // which cycle the style-by takes
  std::string size;                       // variable id of the size aesthetic
  std::string split;                      // variable id that splits lines and areas
  std::string transparency;               // variable id of the transparency aesthetic
  std::string weight;                     // variable id whose values weigh the cases
  bool labeled = false;                   // its marks show their values (a labeling)
  std::string labeling;                   // the labeling's variable id, if it names one
  std::string labelSize;                  // variable id whose values size the labels' text
  bool hollow = false;                    // its style says "fill:transparent"
  bool hideCollidingLabels = false;       // a label overlapping one placed before is left out
  // A label colliding with one placed before first tries other places
  // around its mark (labelCollisionHandling "shift"); else it stays put.
  bool shiftCollidingLabels = false;
  bool dot = false;  // points of an x alone stack as a dot plot
  // The marker diameters (pixels) the size aesthetic's least and greatest
  // values take; unset: the renderer's own range.
  std::optional<double> sizeLow, sizeHigh;

  const std::string* position(Role role) const;
};

struct Axis {
  std::string id;
  std::string title;  // the axis's own label; empty: the variable's title
  bool opposite = false;
  bool majorTicks = false;
  bool majorGrid = false;
  std::optional<double> labelAngle;
  bool minorTicks = false;
  bool minorGrid = false;
  int minorCount = 0;  // minor ticks between two major ones; 0: the scale's own choice
  bool percent = false;
};

struct Dimension {
  Role role = Role::kX;
  std::string domain;              // id of a domain or variable the dimension spans
  std::optional<double> min, max;  // the range its domain fixes, when it does
  double lowerMargin = 0;          // fractions of the data range added below and above
  double upperMargin = 0;
  std::string scale;          // "", "log", "power"
  double scaleParameter = 0;  // the log base or the power's exponent
  bool inverted = false;
  bool sharedByPanels = true;  // false: each panel (column, row) gets its own scale
  std::optional<Axis> axis;
};

struct Guide {
  std::string id;
  std::string type;  // "line" (a reference line), "function", "plane", ...
  std::string name;
  Parameters parameters;
};

// How a frame splits into panels: a facet variable, or a combination of
// terms. A cross makes every combination of its terms' levels, a nest only
// the combinations that hold cases (two terms: outer and inner), a blend the
// union of its terms' levels along one dimension.
struct FacetTerm {
  enum class Kind { kVariable, kCross, kNest, kBlend };
  Kind kind = Kind::kVariable;
  Role role = Role::kX;  // a variable's: x side by side, y stacked
  std::string variable;
  std::vector<FacetTerm> terms;
};

struct DataFrame {
  std::string id;
  std::string coordinates;  // "", "polar", "transpose", "rectangular" (3-D), ...
  Parameters coordinateParameters;
  std::vector<Dimension> dimensions;
  std::vector<Element> elements;
  std::vector<Guide> guides;
  // Panels: the cross of the coordinate facet's terms, or nothing; and every
  // facet variable with its role, in document order.
  std::optional<FacetTerm> facet;
  std::vector<std::pair<Role, std::string>> facets;
  // The facet labeling: levels of the columns' facets (its level 1) or
  // the rows' (level 2) in reverse order, and each panel's height as a
  // multiple of its width.
  bool reverseColumns = false, reverseRows = false;
  std::optional<double> cellAspect;
  // The room (pixels) between columns (level 1) and rows (level 2) of
  // panels, when the labeling says.
  std::optional<double> columnGap, rowGap;
  // An axis along the columns' (rows') labels names those levels once, at
  // the grid's edge, in place of a strip over each panel; turned by its
  // tick labels' angle.
  std::optional<double> columnAxisAngle, rowAxisAngle;
  // Marks are cut at the edge of their panel; false: they may reach past it
  // (a marker on the edge is whole), up to the picture's edge.
  bool clip = true;

  const Dimension* dimension(Role role) const;
};

struct LegendTarget {
  std::string element;    // the id of an element or guide
  std::string aesthetic;  // "color", "size", ... or a style-by's id
};

struct Legend {
  std::string id;
  std::string title;
  std::vector<LegendTarget> targets;
};

// One entry of a style cycle: what the n-th group of an element styled by
// the cycle looks like. Each part is optional; what an entry leaves out
// the renderer's own choice fills in.
struct CycleStyle {
  std::optional<std::uint32_t> color;  // 0xRRGGBB
  std::string shape;                   // a marker's shape: "circle", "square", ...
  std::vector<double> dash;            // a line's dashes; empty: solid or unsaid
  std::optional<int> pattern;          // a fill's hatching (0 plain)
};

struct ChartModel {
  std::vector<std::string> sources;  // data source ids
  std::vector<Variable> variables;   // in document order
  std::vector<DataFrame> frames;     // the frames that draw data
  std::vector<Legend> legends;
  std::map<std::string, std::vector<CycleStyle>> styleCycles;  // by the cycle's id
  std::string weight;  // the variable whose values weigh every case, if any
  std::string title, subtitle, footnote;
  // What the document asks that the renderer does not draw, one line each,
  // each said once ("3-D coordinates of frame frame_data_1").
  std::vector<std::string> skipped;

  const Variable* variable(std::string_view id) const;
  const Element* element(std::string_view id) const;
  // Says once that `what` is not drawn.
  void skip(const std::string& what);
};

}  // namespace chartxml::render
