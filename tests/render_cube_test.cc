// Three-dimensional frames drawn as scenes: which points become markers and
// in what order, where the camera puts the cube's corners, and that planes,
// axes and labels stay inside the area without overlapping.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "device/Devices.h"
#include "scales/Palette.h"
#include "scene/Cube.h"
#include "scene/Marks.h"

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
const Rect kArea{20, 30, 600, 480};

using Point = std::array<double, 3>;

struct Marker {
  float x, y;
  Color color;
};

class RenderCube : public ::testing::Test {
 protected:
  RenderCube() {
    for (AxisScale& scale : scales_) {
      scale.train(0);
      scale.train(10);
      scale.finish(nullptr);
    }
  }

  CubeContent content(const std::vector<const Layer*>& layers) const {
    CubeContent c;
    const char* titles[3] = {"Width", "Height", "Depth"};
    for (std::size_t k = 0; k < 3; ++k) c.axes[k] = {&scales_[k], {}, titles[k], true};
    c.layers = layers;
    c.look = {8, 255, true};
    return c;
  }

  static Layer layer(const std::vector<Point>& points) {
    Layer l;
    for (const Point& p : points) {
      l.px.push_back(p[0]);
      l.py.push_back(p[1]);
      l.pz.push_back(p[2]);
    }
    l.pointGroup.assign(points.size(), 0);
    return l;
  }

  Scene draw(const CubeContent& c, const Rect& area = kArea) {
    Scene scene;
    drawCube(scene, text_, area, c);
    return scene;
  }

  // Where a lone point lands: the cube's fit does not depend on the points.
  Marker lone(const Point& p, const CubeCamera& camera = {}) {
    const Layer l = layer({p});
    CubeContent c = content({&l});
    c.camera = camera;
    const std::vector<Marker> m = markers(draw(c));
    EXPECT_EQ(m.size(), 1u);
    return m.empty() ? Marker{} : m[0];
  }

  static std::vector<Marker> markers(const Scene& scene) {
    std::vector<Marker> out;
    for (const SceneItem& item : scene.items) {
      const auto* batch = std::get_if<PointBatch>(&item);
      if (batch == nullptr || batch->role != "mark point") continue;
      for (std::size_t i = 0; i < batch->x.size(); ++i) {
        out.push_back({batch->x[i], batch->y[i], batch->palette.at(batch->colorIndex.at(i))});
      }
    }
    return out;
  }

  static std::vector<const TextItem*> texts(const Scene& scene, const std::string& role) {
    std::vector<const TextItem*> out;
    for (const SceneItem& item : scene.items) {
      const auto* text = std::get_if<TextItem>(&item);
      if (text != nullptr && text->role.starts_with(role)) out.push_back(text);
    }
    return out;
  }

  static int count(const Scene& scene, const std::string& role) {
    int n = 0;
    for (const SceneItem& item : scene.items) {
      const auto* shape = std::get_if<ShapeItem>(&item);
      if (shape != nullptr && shape->role == role) ++n;
    }
    return n;
  }

  // A text's box on screen; turned texts (a quarter either way) swap sides.
  Rect box(const TextItem& t) {
    const TextBox size = text_.measure(t.text, t.font);
    if (t.angle == 0) {
      return {t.x - t.hAlign * size.width, t.y - t.vAlign * size.height, size.width, size.height};
    }
    EXPECT_EQ(t.angle, -90);
    return {t.x - t.vAlign * size.height, t.y - (1 - t.hAlign) * size.width, size.height,
            size.width};
  }

  // False for NaN too.
  static bool inside(double x, double y, const Rect& a) {
    return x >= a.x - 1e-6 && x <= a.right() + 1e-6 && y >= a.y - 1e-6 && y <= a.bottom() + 1e-6;
  }

  std::array<AxisScale, 3> scales_;
  TextEngine text_;
};

TEST_F(RenderCube, PointsInsideTheCubeBecomeMarkersFarthestFirst) {
  std::vector<Point> points{{5, 5, 0}, {5, 5, 10}, {5, 5, 5}};
  // Points off the cube, or not finite, in each coordinate.
  for (const double off : {kNaN, kInf, -kInf, 10.5, -0.5, 1e300}) {
    for (std::size_t k = 0; k < 3; ++k)
      points.push_back({k == 0 ? off : 5, k == 1 ? off : 5, k == 2 ? off : 5});
  }
  const Layer plain = layer(points);
  const Marker near = lone({5, 5, 0}), middle = lone({5, 5, 5}), far = lone({5, 5, 10});
  const std::vector<Marker> order = markers(draw(content({&plain})));
  ASSERT_EQ(order.size(), 3u);
  EXPECT_EQ(order[0].y, far.y);
  EXPECT_EQ(order[1].y, middle.y);
  EXPECT_EQ(order[2].y, near.y);

  // Across layers too; markers at one spot keep the data's order, each in
  // its group's colour.
  BoundColumn groups;
  groups.categories.keys = {"a", "b", "c"};
  Layer grouped = layer({{5, 5, 0}, {5, 5, 0}, {5, 5, 0}});
  grouped.groups = &groups;
  grouped.pointGroup = {2, 0, 1};
  const Layer back = layer({{5, 5, 10}});
  const std::vector<Marker> mixed = markers(draw(content({&grouped, &back})));
  ASSERT_EQ(mixed.size(), 4u);
  EXPECT_EQ(mixed[0].y, far.y);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(mixed[i + 1].y, near.y);
    EXPECT_EQ(mixed[i + 1].color, categoryColor(grouped.pointGroup[i])) << i;
  }
}

// Size and transparency aesthetics reach 3-D markers as they reach flat ones:
// the larger value draws the larger marker, the clearer case the fainter one.
TEST_F(RenderCube, PointsTakeTheirSizeAndOpacity) {
  Layer sized = layer({{5, 5, 10}, {5, 5, 0}});
  const BoundColumn values;  // only its presence matters: the values are below
  sized.sizes = &values;
  sized.sizeLo = 1;
  sized.sizeHi = 9;
  sized.pointSize = {1, 9};
  sized.transparency = &values;
  sized.pointAlpha = {0.25, 1};
  std::vector<const PointBatch*> batches;
  const Scene scene = draw(content({&sized}));
  for (const SceneItem& item : scene.items) {
    if (const auto* batch = std::get_if<PointBatch>(&item)) batches.push_back(batch);
  }
  ASSERT_EQ(batches.size(), 2u);  // farthest (the small, faint one) first
  EXPECT_LT(batches[0]->size, batches[1]->size);
  EXPECT_DOUBLE_EQ(batches[1]->size, markerSize(sized, 9));
  const Color faint = batches[0]->palette.at(0), solid = batches[1]->palette.at(0);
  EXPECT_EQ(solid.a, 255);
  EXPECT_EQ(faint.a, alphaOfStep(alphaStep(0.25)));  // the steps of flat markers
  EXPECT_EQ(faint.r, solid.r);  // one group: the same colour at another opacity
}

TEST_F(RenderCube, DefaultCameraRunsXRightYUpAndZAway) {
  const Marker origin = lone({0, 0, 0});
  EXPECT_LT(origin.x, lone({10, 0, 0}).x);
  EXPECT_LT(lone({0, 10, 0}).y, origin.y);
  // Seen from slightly above, the far bottom corner rises.
  EXPECT_LT(lone({0, 0, 10}).y, origin.y);
  // Perspective: the near edge looks longer than the same edge at the back;
  // without it, both are as long.
  const auto ratio = [&](const CubeCamera& camera) {
    return (lone({10, 0, 0}, camera).x - lone({0, 0, 0}, camera).x) /
           (lone({10, 0, 10}, camera).x - lone({0, 0, 10}, camera).x);
  };
  EXPECT_GT(ratio({}), 1.05);
  EXPECT_NEAR(ratio({10, -35, 0}), 1, 1e-4);
}

TEST_F(RenderCube, EverythingStaysInsideTheAreaForAnyCamera) {
  const Layer points = layer({{0, 0, 0}, {10, 0, 0}, {0, 10, 0}, {0, 0, 10}, {10, 10, 10}});
  const double cameras[][3] = {{10, -35, 1.3},       {90, -35, 1.3},     {-90, 0, 0},
                               {10, 180, 1.3},       {0, 0, 0},          {10, -35, 0.01},
                               {45, 720, -5},        {kNaN, kNaN, kNaN}, {kInf, -kInf, kInf},
                               {1e300, 1e300, 1e300}};
  for (const Rect& area : {kArea, Rect{0, 0, 90, 60}, Rect{-5, 0, 12, 9}}) {
    for (const auto& camera : cameras) {
      SCOPED_TRACE(testing::Message()
                   << camera[0] << " " << camera[1] << " " << camera[2] << " in " << area.width);
      CubeContent c = content({&points});
      c.camera = {camera[0], camera[1], camera[2]};
      c.backPlanes = {true, true, true};
      const Scene scene = draw(c, area);
      EXPECT_EQ(markers(scene).size(), 5u);
      for (const SceneItem& item : scene.items) {
        if (const auto* batch = std::get_if<PointBatch>(&item)) {
          for (std::size_t i = 0; i < batch->x.size(); ++i) {
            EXPECT_TRUE(inside(batch->x[i], batch->y[i], area))
                << batch->x[i] << "," << batch->y[i];
          }
        } else if (const auto* shape = std::get_if<ShapeItem>(&item)) {
          const std::vector<double>& args = shape->path.args();
          for (std::size_t i = 0; i + 1 < args.size(); i += 2) {
            EXPECT_TRUE(inside(args[i], args[i + 1], area)) << shape->role;
          }
        } else if (const auto* text = std::get_if<TextItem>(&item)) {
          const Rect b = box(*text);
          EXPECT_TRUE(inside(b.x, b.y, area) && inside(b.right(), b.bottom(), area)) << text->text;
        }
      }
    }
  }
  // An area with no room, or none a picture could have, gets nothing.
  for (const Rect& area : {Rect{0, 0, kNaN, 100}, Rect{0, 0, 0, 100}, Rect{0, 0, 1e300, 1e300}}) {
    EXPECT_TRUE(draw(content({&points}), area).items.empty());
  }
}

TEST_F(RenderCube, TickLabelsDoNotOverlap) {
  const Layer points = layer({{1, 2, 3}});
  const CubeCamera cameras[] = {{}, {30, 40, 2}, {-20, 150, 0}, {0, 0, 0}};
  for (const CubeCamera& camera : cameras) {
    SCOPED_TRACE(testing::Message() << camera.theta << " " << camera.phi);
    CubeContent c = content({&points});
    c.camera = camera;
    const Scene scene = draw(c);
    std::vector<Rect> boxes;
    for (const TextItem* t : texts(scene, "")) boxes.push_back(box(*t));
    for (std::size_t i = 0; i < boxes.size(); ++i) {
      for (std::size_t j = i + 1; j < boxes.size(); ++j) {
        const Rect& a = boxes[i];
        const Rect& b = boxes[j];
        EXPECT_TRUE(a.right() <= b.x || b.right() <= a.x || a.bottom() <= b.y || b.bottom() <= a.y)
            << i << " and " << j;
      }
    }
    for (const std::string axis : {"x", "y", "z"}) {
      if (camera.phi == 0 && axis == "z") continue;  // seen end on
      EXPECT_GE(texts(scene, "tick-label " + axis).size(), 2u) << axis;
      EXPECT_EQ(texts(scene, "axis-title " + axis).size(), 1u) << axis;
    }
  }

  // An axis the document does not draw has neither labels nor title.
  CubeContent c = content({&points});
  c.axes[2].drawn = false;
  const Scene scene = draw(c);
  EXPECT_TRUE(texts(scene, "tick-label z").empty());
  EXPECT_TRUE(texts(scene, "axis-title z").empty());
  EXPECT_EQ(texts(scene, "axis-title y").at(0)->angle, -90);
}

TEST_F(RenderCube, BackPlanesAreDrawnWhenAskedBehindTheData) {
  const Layer points = layer({{5, 5, 5}});
  const Marker middle = lone({5, 5, 5});
  for (const std::array<bool, 3> planes :
       {std::array<bool, 3>{}, {true, false, false}, {false, true, false}, {true, true, true}}) {
    CubeContent c = content({&points});
    c.backPlanes = planes;
    const Scene scene = draw(c);
    const int asked = planes[0] + planes[1] + planes[2];
    EXPECT_EQ(count(scene, "cube-plane"), asked);
    EXPECT_EQ(count(scene, "grid cube") > 0, asked > 0);
    // Planes come before the markers; under the default camera the x plane
    // stands at the left and the floor lies below the middle.
    bool seenPlane = asked == 0;
    for (const SceneItem& item : scene.items) {
      if (std::holds_alternative<PointBatch>(item)) {
        EXPECT_TRUE(seenPlane);
      }
      const auto* shape = std::get_if<ShapeItem>(&item);
      if (shape == nullptr || shape->role != "cube-plane") continue;
      seenPlane = true;
      if (asked != 1) continue;
      double x = 0, y = 0;
      for (std::size_t i = 0; i + 1 < shape->path.args().size(); i += 2) {
        x += shape->path.args()[i] / 4;
        y += shape->path.args()[i + 1] / 4;
      }
      if (planes[0]) {
        EXPECT_LT(x, middle.x - 50);
      } else {
        EXPECT_GT(y, middle.y + 20);
      }
    }
  }
}

TEST_F(RenderCube, SameInputGivesTheSameScene) {
  std::vector<Point> cloud;
  for (int i = 0; i < 200; ++i) cloud.push_back({i % 7 * 1.5, i % 5 * 2.0, i % 3 * 5.0});
  const Layer a = layer(cloud), b = layer(cloud);
  CubeContent c = content({&a, nullptr, &b});
  c.backPlanes = {true, true, true};
  std::string first, second, error;
  ASSERT_TRUE(drawSvg(draw(c), text_, first, error)) << error;
  ASSERT_TRUE(drawSvg(draw(c), text_, second, error)) << error;
  EXPECT_EQ(first, second);

  // Without a usable scale for z there is nowhere to put the points.
  AxisScale unfinished;
  c.axes[2].scale = &unfinished;
  EXPECT_TRUE(markers(draw(c)).empty());
  c.axes[2].scale = nullptr;
  EXPECT_TRUE(markers(draw(c)).empty());
}

}  // namespace
}  // namespace chartxml::render
