#include "scene/Cube.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>

#include "scales/Palette.h"
#include "scene/Axes.h"
#include "scene/Projection.h"

namespace chartxml::render {
namespace {

constexpr double kLineSpace = 2;  // the least room between two labels one above the other
constexpr double kHair = 1e-9;    // how far outside the cube a point may lie and still count
// An edge shorter than this share of the cube's size is seen end on: its
// axis is left out rather than crowd its labels into a point.
constexpr double kEndOn = 0.05;
// Labels that would shrink the cube below this share of its unlabelled size
// are left out: a readable cube says more than unreadable labels.
constexpr double kLeastLabelledScale = 0.2;

// Planes light enough to sit behind the data, grid lines dark enough to show on them.
constexpr Color kPlaneFill{242, 242, 242, 255};
constexpr Color kPlaneEdge{204, 204, 204, 255};
constexpr Color kPlaneGrid{214, 214, 214, 255};
constexpr Color kOutline{255, 255, 255, 255};

const char* const kAxisNames[3] = {"x", "y", "z"};

using Point3 = std::array<double, 3>;

struct Vec {
  double x = 0, y = 0;
};

Vec operator+(Vec a, Vec b) {
  return {a.x + b.x, a.y + b.y};
}
Vec operator-(Vec a, Vec b) {
  return {a.x - b.x, a.y - b.y};
}
Vec operator*(double s, Vec a) {
  return {s * a.x, s * a.y};
}
double dot(Vec a, Vec b) {
  return a.x * b.x + a.y * b.y;
}
double length(Vec a) {
  return std::hypot(a.x, a.y);
}

// A rectangle on screen, y down.
struct Box {
  double left = 0, top = 0, right = 0, bottom = 0;
};

Box shifted(const Box& box, Vec by) {
  return {box.left + by.x, box.top + by.y, box.right + by.x, box.bottom + by.y};
}

bool apart(const Box& a, const Box& b, double across, double down) {
  return a.right + across <= b.left || b.right + across <= a.left || a.bottom + down <= b.top ||
         b.bottom + down <= a.top;
}

// Where a text's anchor sits in its box: 0 left or top, 1 right or bottom.
struct Alignment {
  double h = 0.5, v = 0.5;
};

// The alignment that puts a text's box beyond its anchor in direction `out`
// (a box's corner toward the anchor when `out` is diagonal).
Alignment alignFor(Vec out) {
  const double most = std::max(std::fabs(out.x), std::fabs(out.y));
  if (!(most > 0)) return {};
  return {0.5 - 0.5 * out.x / most, 0.5 - 0.5 * out.y / most};
}

// The box of a text `width` x `height` whose anchor sits at the origin.
Box boxAround(double width, double height, Alignment align) {
  return {-align.h * width, -align.v * height, (1 - align.h) * width, (1 - align.v) * height};
}

// Something placed at a point of the cube plus an offset in pixels: the
// offset keeps its size whatever the cube's scale, which is why fitting the
// cube into its area needs both.
struct Placed {
  Vec at;   // cube units on screen (y down), multiplied by the scale
  Box box;  // pixels around the scaled point
};

// One axis laid along an edge of the cube.
struct EdgeAxis {
  bool shown = false;
  const CubeAxis* axis = nullptr;
  int index = 0;
  Point3 from{}, to{};  // the edge, from the scale's low end to its high end
  Vec a, b;             // its ends on screen
  Vec normal;           // unit, away from the cube on screen
  Alignment labelAlign;
  std::vector<double> fractions;  // the ticks along the edge
  std::vector<std::string> labels;
  std::vector<TextBox> boxes;
  bool labelled = false;  // the labels fit and are drawn
  bool titled = false;
  Placed title;     // at the edge's middle; its box is the title's
  Vec titleAnchor;  // the title's anchor, from the edge's middle
  TextItem titleText;
};

class CubeLayout {
 public:
  CubeLayout(const CubeContent& content, TextEngine& text)
      : content_(content), text_(text), projection_(content.camera) {}

  void draw(Scene& scene, const Rect& area, double markerSize);

 private:
  Vec onScreen(const Point3& p) const {
    const Projected q = projection_.project(p[0], p[1], p[2]);
    return {q.x, -q.y};
  }
  double depth(const Point3& p) const { return projection_.project(p[0], p[1], p[2]).depth; }
  Point3 along(const EdgeAxis& axis, double fraction) const {
    Point3 p = axis.from;
    p[static_cast<std::size_t>(axis.index)] = fraction;
    return p;
  }
  Vec pixel(Vec at) const { return origin_ + scale_ * at; }

  void chooseEdge(EdgeAxis& axis) const;
  void planTicks(EdgeAxis& axis, double scale, bool withLabels);
  bool labelsFit(const EdgeAxis& axis, const AxisScale::TickSet& set, double scale);
  void placeTitle(EdgeAxis& axis);
  std::vector<Placed> placedItems(double pad) const;
  double fit(const std::vector<Placed>& items, double most) const;
  void keepApart();

  void drawPlanes(Scene& scene) const;
  void drawFrame(Scene& scene) const;
  void drawPoints(Scene& scene, double unsized) const;
  void drawAxes(Scene& scene) const;

  const CubeContent& content_;
  TextEngine& text_;
  CubeProjection projection_;
  std::array<Vec, 8> corners_;
  Vec centre_;
  std::array<EdgeAxis, 3> axes_;
  Rect area_;
  double scale_ = 1;
  Vec origin_;
};

bool usable(const AxisScale* scale) {
  return scale != nullptr && std::isfinite(scale->lo()) && std::isfinite(scale->hi()) &&
         scale->lo() < scale->hi();
}

// The data fraction of `value`, or NaN when it lies outside the cube.
double inCube(const AxisScale& scale, double value) {
  const double f = scale.fraction(value);
  if (!(f >= -kHair && f <= 1 + kHair)) return std::numeric_limits<double>::quiet_NaN();
  return std::clamp(f, 0.0, 1.0);
}

void CubeLayout::chooseEdge(EdgeAxis& axis) const {
  // The four edges parallel to the axis differ in the other two coordinates.
  const std::size_t k = static_cast<std::size_t>(axis.index);
  const std::size_t i = (k + 1) % 3, j = (k + 2) % 3;
  bool found = false;
  double bestKey = 0, bestDepth = 0;
  for (int corner = 0; corner < 4; ++corner) {
    const int ci = corner & 1, cj = (corner >> 1) & 1;
    // Only an edge on the cube's outline keeps its labels clear of the data:
    // one of its faces turned to the eye, the other away.
    if (projection_.facesEye(static_cast<int>(i), ci) ==
        projection_.facesEye(static_cast<int>(j), cj)) {
      continue;
    }
    Point3 mid{};
    mid[k] = 0.5;
    mid[i] = ci;
    mid[j] = cj;
    const Vec at = onScreen(mid);
    // x and z hang below the cube, y stands at its left.
    const double key = axis.index == 1 ? -at.x : at.y;
    const double d = depth(mid);
    if (!found || key > bestKey + kHair || (key > bestKey - kHair && d < bestDepth - kHair)) {
      found = true;
      bestKey = key;
      bestDepth = d;
      axis.from = mid;
    }
  }
  if (!found) {
    // The axis points at the eye, or nearly: nowhere to lay it.
    axis.shown = false;
    return;
  }
  axis.from[k] = 0;
  axis.to = axis.from;
  axis.to[k] = 1;
  axis.a = onScreen(axis.from);
  axis.b = onScreen(axis.to);
  const Vec mid = 0.5 * (axis.a + axis.b);
  const Vec edge = axis.b - axis.a;
  const double edgeLength = length(edge);
  if (edgeLength < kEndOn) {
    axis.shown = false;
    return;
  }
  Vec normal = (1 / edgeLength) * Vec{-edge.y, edge.x};
  if (dot(normal, mid - centre_) < 0) normal = -1 * normal;
  axis.normal = normal;
  axis.labelAlign = alignFor(axis.normal);
}

bool CubeLayout::labelsFit(const EdgeAxis& axis, const AxisScale::TickSet& set, double scale) {
  const Vec offset = (kTickLength + kLabelGap) * axis.normal;
  bool first = true;
  Box last;
  for (std::size_t n = 0; n < set.values.size() && n < set.labels.size(); ++n) {
    const double f = inCube(*axis.axis->scale, set.values[n]);
    if (std::isnan(f)) continue;
    const TextBox size = text_.measure(set.labels[n], kTickFont);
    const Box box = shifted(boxAround(size.width, size.height, axis.labelAlign),
                            scale * onScreen(along(axis, f)) + offset);
    if (!first && !apart(last, box, kLabelSpace, kLineSpace)) return false;
    first = false;
    last = box;
  }
  return true;
}

void CubeLayout::planTicks(EdgeAxis& axis, double scale, bool withLabels) {
  axis.fractions.clear();
  axis.labels.clear();
  axis.boxes.clear();
  axis.labelled = false;
  const AxisScale& s = *axis.axis->scale;
  const double edgeLength = scale * length(axis.b - axis.a);
  const auto fits = [&](const AxisScale::TickSet& set) { return labelsFit(axis, set, scale); };
  const AxisScale::TickSet set = s.ticks(std::max(edgeLength, 1.0), axis.axis->format, fits);
  // An edge seen end on, or too short for two labels, shows no labels.
  axis.labelled = withLabels && edgeLength >= 1 && fits(set);
  for (std::size_t n = 0; n < set.values.size() && n < set.labels.size(); ++n) {
    const double f = inCube(s, set.values[n]);
    if (std::isnan(f)) continue;
    axis.fractions.push_back(f);
    axis.labels.push_back(set.labels[n]);
    axis.boxes.push_back(text_.measure(set.labels[n], kTickFont));
  }
}

void CubeLayout::placeTitle(EdgeAxis& axis) {
  axis.titled = false;
  const std::string& title = axis.axis->title;
  if (title.empty()) return;
  // Beyond the farthest reach of the labels from the edge; along the normal
  // that reach is the same wherever on the edge a label sits.
  double reach = kTickLength;
  if (axis.labelled) {
    const Vec offset = (kTickLength + kLabelGap) * axis.normal;
    for (const TextBox& size : axis.boxes) {
      const Box box = shifted(boxAround(size.width, size.height, axis.labelAlign), offset);
      for (const Vec corner : {Vec{box.left, box.top}, Vec{box.right, box.top},
                               Vec{box.left, box.bottom}, Vec{box.right, box.bottom}}) {
        reach = std::max(reach, dot(corner, axis.normal));
      }
    }
  }
  const TextBox size = text_.measure(title, kAxisTitleFont);
  const Alignment align = alignFor(axis.normal);
  const Vec anchor = (reach + kTitleGap) * axis.normal;
  TextItem& item = axis.titleText;
  item = {};
  item.text = title;
  item.font = kAxisTitleFont;
  item.color = kTextColor;
  item.role = std::string("axis-title ") + kAxisNames[axis.index];
  Box box;
  if (axis.index == 1) {
    // Read bottom to top: the text's box turns a quarter counter-clockwise,
    // so its height lies across the screen and its alignments swap.
    item.angle = -90;
    item.hAlign = 1 - align.v;
    item.vAlign = align.h;
    box = boxAround(size.height, size.width, align);
  } else {
    item.hAlign = align.h;
    item.vAlign = align.v;
    box = boxAround(size.width, size.height, align);
  }
  axis.title = {0.5 * (axis.a + axis.b), shifted(box, anchor)};
  axis.titleAnchor = anchor;
  axis.titled = true;
}

std::vector<Placed> CubeLayout::placedItems(double pad) const {
  std::vector<Placed> items;
  for (const Vec corner : corners_) items.push_back({corner, {-pad, -pad, pad, pad}});
  for (const EdgeAxis& axis : axes_) {
    if (!axis.shown) continue;
    const Vec tickEnd = kTickLength * axis.normal;
    const Vec offset = (kTickLength + kLabelGap) * axis.normal;
    for (std::size_t n = 0; n < axis.fractions.size(); ++n) {
      const Vec at = onScreen(along(axis, axis.fractions[n]));
      items.push_back({at,
                       {std::min(0.0, tickEnd.x), std::min(0.0, tickEnd.y),
                        std::max(0.0, tickEnd.x), std::max(0.0, tickEnd.y)}});
      if (!axis.labelled) continue;
      const TextBox& size = axis.boxes[n];
      items.push_back({at, shifted(boxAround(size.width, size.height, axis.labelAlign), offset)});
    }
    if (axis.titled) items.push_back(axis.title);
  }
  return items;
}

// The box around `items` at `scale`, in pixels from the cube's centre.
Box extent(const std::vector<Placed>& items, double scale) {
  Box all{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
  for (const Placed& item : items) {
    all.left = std::min(all.left, scale * item.at.x + item.box.left);
    all.right = std::max(all.right, scale * item.at.x + item.box.right);
    all.top = std::min(all.top, scale * item.at.y + item.box.top);
    all.bottom = std::max(all.bottom, scale * item.at.y + item.box.bottom);
  }
  return all;
}

// The largest scale up to `most` at which every item fits the area; 0 when
// the items' fixed parts alone do not fit.
double CubeLayout::fit(const std::vector<Placed>& items, double most) const {
  const auto fits = [&](double scale) {
    const Box all = extent(items, scale);
    return all.right - all.left <= area_.width && all.bottom - all.top <= area_.height;
  };
  // The extents grow with the scale (a maximum of linear functions less a
  // minimum of them is convex, and holds at 0): bisect.
  if (fits(most)) return most;
  if (!fits(0)) return 0;
  double lo = 0, hi = most;
  for (int round = 0; round < 60; ++round) {
    const double mid = (lo + hi) / 2;
    (fits(mid) ? lo : hi) = mid;
  }
  return lo;
}

// Labels of different axes can meet near the corners the edges share: the
// later one gives way, and keeps well clear so that "10" and "0" of two axes
// do not read as one number.
void CubeLayout::keepApart() {
  struct Kept {
    Box box;
    int axis;
    bool title;
  };
  std::vector<Kept> kept;
  for (const EdgeAxis& axis : axes_) {
    if (axis.shown && axis.titled) {
      kept.push_back({shifted(axis.title.box, pixel(axis.title.at)), axis.index, true});
    }
  }
  // Axes with fewer labels keep theirs first, so that none is left with one.
  std::array<std::size_t, 3> order{0, 2, 1};
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return axes_[a].labels.size() < axes_[b].labels.size();
  });
  for (const std::size_t index : order) {
    EdgeAxis& axis = axes_[index];
    if (!axis.shown || !axis.labelled) continue;
    const Vec offset = (kTickLength + kLabelGap) * axis.normal;
    for (std::size_t n = 0; n < axis.labels.size(); ++n) {
      const TextBox& size = axis.boxes[n];
      const Box box = shifted(boxAround(size.width, size.height, axis.labelAlign),
                              pixel(onScreen(along(axis, axis.fractions[n]))) + offset);
      const bool clear = std::all_of(kept.begin(), kept.end(), [&](const Kept& other) {
        if (other.axis != axis.index) return apart(box, other.box, 2 * kLabelSpace, 2 * kLineSpace);
        // An axis's own title already keeps its distance from the labels.
        return other.title || apart(box, other.box, kLabelSpace, kLineSpace);
      });
      if (clear) {
        kept.push_back({box, axis.index, false});
      } else {
        axis.labels[n].clear();  // the tick stays, unlabelled
      }
    }
  }
}

void addLine(Scene& scene, Vec a, Vec b, Color color, double width, std::string role) {
  ShapeItem line;
  line.path.moveTo(a.x, a.y);
  line.path.lineTo(b.x, b.y);
  line.stroke = {color, width, {}, false};
  line.role = std::move(role);
  scene.items.emplace_back(std::move(line));
}

void CubeLayout::drawPlanes(Scene& scene) const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (!content_.backPlanes[k]) continue;
    const std::size_t i = (k + 1) % 3, j = (k + 2) % 3;
    // Of the two faces with this normal, the one farther from the eye.
    Point3 near{0.5, 0.5, 0.5}, far = near;
    near[k] = 0;
    far[k] = 1;
    const double side = depth(far) > depth(near) + kHair ? 1 : 0;
    const auto face = [&](double a, double b) {
      Point3 p{};
      p[k] = side;
      p[i] = a;
      p[j] = b;
      return pixel(onScreen(p));
    };
    ShapeItem plane;
    const Vec c0 = face(0, 0), c1 = face(1, 0), c2 = face(1, 1), c3 = face(0, 1);
    plane.path.moveTo(c0.x, c0.y);
    plane.path.lineTo(c1.x, c1.y);
    plane.path.lineTo(c2.x, c2.y);
    plane.path.lineTo(c3.x, c3.y);
    plane.path.close();
    plane.filled = true;
    plane.fill = kPlaneFill;
    plane.stroke = {kPlaneEdge, 1, {}, false};
    plane.role = "cube-plane";
    scene.items.emplace_back(std::move(plane));
    // Grid lines at the ticks of the two axes that span the plane.
    for (const std::size_t spanning : {i, j}) {
      const EdgeAxis& axis = axes_[spanning];
      if (!axis.shown) continue;
      for (const double f : axis.fractions) {
        const bool first = spanning == i;
        addLine(scene, first ? face(f, 0) : face(0, f), first ? face(f, 1) : face(1, f), kPlaneGrid,
                1, "grid cube");
      }
    }
  }
}

void CubeLayout::drawFrame(Scene& scene) const {
  const auto corner = [](int c) {
    return Point3{static_cast<double>(c & 1), static_cast<double>((c >> 1) & 1),
                  static_cast<double>((c >> 2) & 1)};
  };
  int nearest = 0;
  for (int c = 1; c < 8; ++c) {
    if (depth(corner(c)) < depth(corner(nearest)) - kHair) nearest = c;
  }
  ShapeItem edges;
  for (int c = 0; c < 8; ++c) {
    for (const int bit : {1, 2, 4}) {
      if ((c & bit) != 0) continue;
      if (!content_.frameComplete && (c == nearest || (c | bit) == nearest)) continue;
      const Vec a = pixel(onScreen(corner(c))), b = pixel(onScreen(corner(c | bit)));
      edges.path.moveTo(a.x, a.y);
      edges.path.lineTo(b.x, b.y);
    }
  }
  edges.stroke = {Color{150, 150, 150, 255}, 1, {}, false};
  edges.role = "cube-frame";
  scene.items.emplace_back(std::move(edges));
}

std::size_t groupCount(const Layer& layer) {
  return layer.groups ? std::max<std::size_t>(1, layer.groups->categories.size()) : 1;
}

// A 3-D point's look by the aesthetics of its layer: shape, marker size,
// colour (group or gradient) and opacity.
struct CubeMark {
  double depth;
  std::uint32_t layer;
  std::uint32_t point;  // its case in the layer's order
  float x, y;
  MarkerShape shape;
  double size;
  Color color;
};

void CubeLayout::drawPoints(Scene& scene, double unsized) const {
  const AxisScale* sx = content_.axes[0].scale;
  const AxisScale* sy = content_.axes[1].scale;
  const AxisScale* sz = content_.axes[2].scale;
  if (!usable(sx) || !usable(sy) || !usable(sz)) return;
  std::vector<CubeMark> marks;
  for (std::size_t l = 0; l < content_.layers.size(); ++l) {
    const Layer* layer = content_.layers[l];
    if (layer == nullptr || layer->kind != LayerKind::kPoints) continue;
    const std::size_t groups = groupCount(*layer);
    const bool hollow = layer->element != nullptr && layer->element->hollow;
    const std::size_t n = std::min({layer->px.size(), layer->py.size(), layer->pz.size()});
    for (std::size_t p = 0; p < n; ++p) {
      const Point3 at{inCube(*sx, layer->px[p]), inCube(*sy, layer->py[p]),
                      inCube(*sz, layer->pz[p])};
      if (std::isnan(at[0]) || std::isnan(at[1]) || std::isnan(at[2])) continue;
      const Projected q = projection_.project(at[0], at[1], at[2]);
      const Vec px = pixel({q.x, -q.y});
      const std::size_t group =
          p < layer->pointGroup.size() && layer->pointGroup[p] < groups ? layer->pointGroup[p] : 0;
      const MarkerShape shape = layer->styles && p < layer->pointStyle.size()
                                    ? styleShape(*layer, layer->pointStyle[p])
                                    : categoryShape(group, groups);
      // Sizes snap to quarter pixels, so that neighbours in depth share batches.
      const double size = layer->sizes && p < layer->pointSize.size()
                              ? std::round(markerSize(*layer, layer->pointSize[p]) * 4) / 4
                              : unsized;
      const double shade = layer->shades && p < layer->pointShade.size()
                               ? layer->pointShade[p]
                               : std::numeric_limits<double>::quiet_NaN();
      Color color = markColor(*layer, group, shade);
      color.a = hollow ? 40 : content_.look.alpha;
      if (layer->transparency && p < layer->pointAlpha.size()) {
        color.a = static_cast<std::uint8_t>(
            std::lround(color.a * alphaOfStep(alphaStep(layer->pointAlpha[p])) / 255.0));
      }
      marks.push_back({q.depth, static_cast<std::uint32_t>(l), static_cast<std::uint32_t>(p),
                       static_cast<float>(px.x), static_cast<float>(px.y), shape, size, color});
    }
  }
  // Farthest first, so nearer markers cover farther ones; ties keep the data's order.
  std::stable_sort(marks.begin(), marks.end(),
                   [](const CubeMark& a, const CubeMark& b) { return a.depth > b.depth; });

  // A batch holds a run of markers of one layer, shape and size; its palette
  // holds the colours they use, up to what a 16-bit index reaches.
  constexpr std::size_t kPaletteLimit = 65536;
  PointBatch batch;
  std::uint32_t batchLayer = 0;
  std::map<std::uint32_t, std::uint16_t> paletteIndex;  // by packed RGBA
  const auto flush = [&] {
    if (!batch.x.empty()) scene.items.emplace_back(std::move(batch));
    batch = {};
    paletteIndex.clear();
  };
  // Each layer's cases once, shared by its batches; a marker names its case.
  std::vector<std::shared_ptr<const CaseTable>> cases(content_.layers.size());
  for (std::size_t l = 0; l < content_.layers.size(); ++l) {
    if (content_.layers[l] != nullptr) cases[l] = casesOf(scene, *content_.layers[l]);
  }
  for (const CubeMark& mark : marks) {
    if (batch.x.empty() || mark.layer != batchLayer || mark.shape != batch.shape ||
        mark.size != batch.size || batch.palette.size() == kPaletteLimit) {
      flush();
      batchLayer = mark.layer;
      batch.shape = mark.shape;
      batch.size = mark.size;
      batch.role = "mark point";
      batch.cases = cases[mark.layer];
      if (content_.look.outlined) batch.outline = {kOutline, 0.6, {}, false};
    }
    const Color& c = mark.color;
    const std::uint32_t key =
        std::uint32_t{c.r} << 24 | std::uint32_t{c.g} << 16 | std::uint32_t{c.b} << 8 | c.a;
    const auto [entry, added] =
        paletteIndex.try_emplace(key, static_cast<std::uint16_t>(batch.palette.size()));
    if (added) batch.palette.push_back(c);
    batch.x.push_back(mark.x);
    batch.y.push_back(mark.y);
    batch.colorIndex.push_back(entry->second);
    if (batch.cases) batch.caseIndex.push_back(mark.point);
  }
  flush();
}

void CubeLayout::drawAxes(Scene& scene) const {
  for (const EdgeAxis& axis : axes_) {
    if (!axis.shown) continue;
    const std::string name = kAxisNames[axis.index];
    addLine(scene, pixel(axis.a), pixel(axis.b), kAxisColor, 1, "axis-line cube");
    const Vec tickEnd = kTickLength * axis.normal;
    const Vec offset = (kTickLength + kLabelGap) * axis.normal;
    for (std::size_t n = 0; n < axis.fractions.size(); ++n) {
      const Vec at = pixel(onScreen(along(axis, axis.fractions[n])));
      addLine(scene, at, at + tickEnd, kAxisColor, 1, "tick " + name);
      if (!axis.labelled || axis.labels[n].empty()) continue;
      TextItem label;
      label.text = axis.labels[n];
      label.font = kTickFont;
      label.color = kMutedTextColor;
      const Vec anchor = at + offset;
      label.x = anchor.x;
      label.y = anchor.y;
      label.hAlign = axis.labelAlign.h;
      label.vAlign = axis.labelAlign.v;
      label.role = "tick-label " + name;
      scene.items.emplace_back(std::move(label));
    }
    if (axis.titled) {
      TextItem title = axis.titleText;
      const Vec anchor = pixel(axis.title.at) + axis.titleAnchor;
      title.x = anchor.x;
      title.y = anchor.y;
      scene.items.emplace_back(std::move(title));
    }
  }
}

void CubeLayout::draw(Scene& scene, const Rect& area, double markerSize) {
  area_ = area;
  for (int c = 0; c < 8; ++c) {
    corners_[static_cast<std::size_t>(c)] =
        onScreen({static_cast<double>(c & 1), static_cast<double>((c >> 1) & 1),
                  static_cast<double>((c >> 2) & 1)});
  }
  centre_ = {};
  for (const Vec corner : corners_) centre_ = centre_ + 0.125 * corner;
  for (int k = 0; k < 3; ++k) {
    EdgeAxis& axis = axes_[static_cast<std::size_t>(k)];
    axis.index = k;
    axis.axis = &content_.axes[static_cast<std::size_t>(k)];
    axis.shown = axis.axis->drawn && usable(axis.axis->scale);
    if (axis.shown) chooseEdge(axis);
  }

  // Markers keep their centres inside the area, and their size around them
  // when the area has room.
  const double pad = std::min(markerSize / 2 + 1, std::min(area.width, area.height) / 4);
  double left = std::numeric_limits<double>::infinity(), right = -left, top = left, bottom = -left;
  for (const Vec corner : corners_) {
    left = std::min(left, corner.x);
    right = std::max(right, corner.x);
    top = std::min(top, corner.y);
    bottom = std::max(bottom, corner.y);
  }
  const double bare =
      std::max(0.0, std::min((area.width - 2 * pad) / std::max(right - left, 1e-9),
                             (area.height - 2 * pad) / std::max(bottom - top, 1e-9)));

  // Labels take room that depends on how many there are, and how many fit
  // depends on the room left for the cube: plan at a scale, fit, and plan
  // again at the fitted scale until the labels planned fit at the scale used.
  const auto plan = [&](double scale, bool withText) {
    for (EdgeAxis& axis : axes_) {
      if (!axis.shown) continue;
      planTicks(axis, scale, withText);
      if (withText) {
        placeTitle(axis);
      } else {
        axis.titled = false;
      }
    }
    return fit(placedItems(pad), bare);
  };
  double planned = bare;
  double scale = plan(planned, true);
  for (int round = 0; round < 6 && scale < planned * (1 - 1e-9); ++round) {
    planned = scale;
    scale = plan(planned, true);
  }
  if (scale < bare * kLeastLabelledScale || !(scale > 0)) scale = plan(bare, false);
  if (!(scale > 0)) {
    // Not even the ticks fit: the bare cube.
    for (EdgeAxis& axis : axes_) axis.shown = false;
    scale = bare;
  }
  scale_ = scale;
  const Box all = extent(placedItems(pad), scale_);
  origin_ = {area.x + (area.width - (all.right - all.left)) / 2 - all.left,
             area.y + (area.height - (all.bottom - all.top)) / 2 - all.top};
  keepApart();

  drawPlanes(scene);
  if (content_.frame) drawFrame(scene);
  drawPoints(scene, markerSize);
  drawAxes(scene);
}

}  // namespace

void drawCube(Scene& scene, TextEngine& text, const Rect& area, const CubeContent& content) {
  // Pixels beyond this are no picture's, and would not survive the scene's floats.
  constexpr double kLargest = 1e7;
  for (const double value : {area.x, area.y, area.width, area.height}) {
    if (!(std::fabs(value) <= kLargest)) return;
  }
  if (!(area.width > 0) || !(area.height > 0)) return;
  const double size = content.look.size;
  const double markerSize = std::isfinite(size) && size > 0 ? std::min(size, 1000.0) : 0;
  CubeLayout(content, text).draw(scene, area, markerSize);
}

}  // namespace chartxml::render
