// Small chart documents and readers of what the renderer draws from them,
// shared by the render suites that check marks against hand-worked values.
#pragma once

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/render.h"
#include "model/ModelBuilder.h"
#include "read/XmlTree.h"

namespace rendertest {

// A document of one data frame around `body` (dimensions, elements), with
// `variables`, a title and `extra` (legends) beside the data frame, and
// `top` (style cycles) at the end of the document.
inline std::string document(const std::string& variables, const std::string& body,
                            const std::string& extra = "", const std::string& top = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<visualization>\n"
         "<source id=\"source0\"/>\n" +
         variables + "<frame id=\"frame_graph_1\">\n<frame id=\"frame_data_1\">\n" + body +
         "</frame>\n<frame id=\"frame_title_1\"><label id=\"label_title_1\">The title</label>"
         "</frame>\n" +
         extra + "</frame>\n" + top + "</visualization>\n";
}

// A pie of the sums of vv by vc, which `variables` declare.
inline std::string pie(const std::string& variables) {
  return "<visualization><source id=\"source0\"/>" + variables +
         "<frame id=\"frame_graph_1\"><frame id=\"frame_pie_1\">"
         "<coordinateTransform method=\"polar\"/><dimension role=\"theta\"/>"
         "<element id=\"e\" type=\"interval\" positionModifier=\"stack\"><statistic "
         "method=\"sum\"/><theta variable=\"vv\"/><color variable=\"vc\"/></element></frame>"
         "</frame></visualization>";
}

inline std::string variable(const std::string& id, const std::string& column, bool categorical,
                            const std::string& inner = "") {
  return "<variable id=\"" + id + "\" label=\"" + id + "\" source=\"source0\" sourceName=\"" +
         column + "\" categorical=\"" + (categorical ? "true" : "false") + "\">" + inner +
         "</variable>\n";
}

// Axes with a margin around the data, so that no mark sits on an axis line.
inline const std::string kAxes =
    "<dimension role=\"x\" lowerMargin=\"8%\" upperMargin=\"8%\"><axis id=\"axis_x\">"
    "<majorTicks/></axis></dimension>\n"
    "<dimension role=\"y\" lowerMargin=\"8%\" upperMargin=\"8%\"><axis id=\"axis_y\">"
    "<majorTicks/></axis></dimension>\n";

inline std::size_t count(const std::string& text, const std::string& piece) {
  std::size_t n = 0;
  for (std::size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) {
    ++n;
  }
  return n;
}

// Each match of `pattern`'s first group, in order.
inline std::vector<std::string> matches(const std::string& text, const std::string& pattern) {
  std::vector<std::string> out;
  const std::regex re(pattern);
  for (auto it = std::sregex_iterator(text.begin(), text.end(), re); it != std::sregex_iterator();
       ++it) {
    out.push_back((*it)[1].str());
  }
  return out;
}

// The texts of the <text> elements of class `role`, in document order, their
// lines joined by `lineBreak`.
inline std::vector<std::string> texts(const std::string& svg, const std::string& role,
                                      const std::string& lineBreak = "") {
  std::vector<std::string> out;
  for (std::string inner : matches(svg, "<text class=\"" + role + "\"[^>]*>(.*?)</text>")) {
    inner = std::regex_replace(inner, std::regex("</tspan><tspan[^>]*>"), lineBreak);
    out.push_back(std::regex_replace(inner, std::regex("<[^>]*>"), ""));
  }
  return out;
}

// The numbers of the path data of each <path> of class `role`, in order.
inline std::vector<std::vector<double>> paths(const std::string& svg, const std::string& role) {
  std::vector<std::vector<double>> out;
  for (const std::string& d : matches(svg, "<path class=\"" + role + "\" d=\"([^\"]*)\"")) {
    out.emplace_back();
    for (const std::string& n : matches(d, "(-?[0-9.]+(e[-+]?[0-9]+)?)")) {
      out.back().push_back(std::stod(n));
    }
  }
  return out;
}

// Every number of the paths of class `role`, one after another.
inline std::vector<double> coordinates(const std::string& svg, const std::string& role) {
  std::vector<double> out;
  for (const auto& path : paths(svg, role)) out.insert(out.end(), path.begin(), path.end());
  return out;
}

// The first point of each path of class `role`: "M<x> <y>".
inline std::vector<std::pair<double, double>> starts(const std::string& svg,
                                                     const std::string& role) {
  std::vector<std::pair<double, double>> out;
  for (const auto& path : paths(svg, role)) {
    if (path.size() >= 2) out.emplace_back(path[0], path[1]);
  }
  return out;
}

// The centres of the circles inside the group of class `role`.
inline std::vector<std::pair<double, double>> circles(const std::string& svg,
                                                      const std::string& role) {
  std::vector<std::pair<double, double>> out;
  const std::regex group("<g class=\"" + role + "\"[^>]*>([^]*?)</g>");
  const std::regex circle("<circle cx=\"([-0-9.]+)\" cy=\"([-0-9.]+)\"");
  for (auto g = std::sregex_iterator(svg.begin(), svg.end(), group); g != std::sregex_iterator();
       ++g) {
    const std::string inner = (*g)[1].str();
    for (auto it = std::sregex_iterator(inner.begin(), inner.end(), circle);
         it != std::sregex_iterator(); ++it) {
      out.emplace_back(std::stod((*it)[1].str()), std::stod((*it)[2].str()));
    }
  }
  return out;
}

// A linear map from data to picture pixels along one axis, learnt from two
// of its tick labels and their ticks.
struct AxisMap {
  double a = 0, b = 0;  // pixel = a + b * value
  double operator()(double value) const { return a + b * value; }
};

// The map of axis `axis` ("x" or "y") from its numeric tick labels.
inline std::optional<AxisMap> axisMap(const std::string& svg, const std::string& axis) {
  const std::vector<std::string> labels = texts(svg, "tick-label " + axis);
  const auto ticks = starts(svg, "tick " + axis);
  if (labels.size() != ticks.size() || labels.size() < 2) return std::nullopt;
  const double v0 = std::stod(labels.front()), v1 = std::stod(labels.back());
  if (v0 == v1) return std::nullopt;
  const auto at = [&](const std::pair<double, double>& p) {
    return axis == "x" ? p.first : p.second;
  };
  AxisMap map;
  map.b = (at(ticks.back()) - at(ticks.front())) / (v1 - v0);
  map.a = at(ticks.front()) - map.b * v0;
  return map;
}

// `png` decoded by cairo; the caller destroys it. Its status is an error
// when `png` does not decode.
inline cairo_surface_t* decodePng(const std::string& png) {
  std::string_view rest(png);
  return cairo_image_surface_create_from_png_stream(
      [](void* closure, unsigned char* out, unsigned int length) {
        auto* left = static_cast<std::string_view*>(closure);
        if (left->size() < length) return CAIRO_STATUS_READ_ERROR;
        std::copy_n(left->data(), length, out);
        left->remove_prefix(length);
        return CAIRO_STATUS_SUCCESS;
      },
      &rest);
}

// A PNG decoded once: cairo's premultiplied ARGB pixels, none when it does
// not decode.
struct Image {
  explicit Image(const std::string& png) {
    cairo_surface_t* surface = decodePng(png);
    if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS) {
      width = cairo_image_surface_get_width(surface);
      height = cairo_image_surface_get_height(surface);
      for (int y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const std::uint32_t*>(
            cairo_image_surface_get_data(surface) + y * cairo_image_surface_get_stride(surface));
        pixels.insert(pixels.end(), row, row + width);
      }
    }
    cairo_surface_destroy(surface);
  }
  // Pixel (x, y) as 0xRRGGBB: a plain colour in the opaque pictures drawn here.
  unsigned rgb(int x, int y) const {
    return pixels.at(static_cast<std::size_t>(y) * width + x) & 0xFFFFFF;
  }

  int width = 0, height = 0;
  std::vector<std::uint32_t> pixels;
};

// A pixel and the colour, 0xRRGGBB, it should have.
struct Probe {
  int x, y;
  unsigned rgb;
};

// Expects each probe's colour in `image`, naming the pixel that differs.
inline void expectPixels(const Image& image, std::initializer_list<Probe> probes) {
  for (const Probe& p : probes) {
    const unsigned got = image.rgb(p.x, p.y);
    EXPECT_EQ(got, p.rgb) << "pixel (" << p.x << ", " << p.y << "): " << std::hex << got
                          << " where " << p.rgb << " was due";
  }
}

// The colour of pixel (x, y) of a PNG as 0xRRGGBB (0xFFFFFFFF when it does
// not decode).
inline unsigned pixel(const std::string& png, int x, int y) {
  const Image image(png);
  return image.pixels.empty() ? 0xFFFFFFFF : image.rgb(x, y);
}

// The colour of the pixel at a mark's centre (x, y).
inline unsigned pixel(const std::string& png, std::pair<double, double> at) {
  return pixel(png, static_cast<int>(at.first), static_cast<int>(at.second));
}

// The model of chart document `xml`, which must read.
inline chartxml::render::ChartModel modelOf(const std::string& xml) {
  std::string error;
  const auto tree = chartxml::render::parseXml(xml, error);
  EXPECT_TRUE(tree) << error;
  auto model = tree ? chartxml::render::buildModel(*tree, error) : std::nullopt;
  EXPECT_TRUE(model) << error;
  return model ? std::move(*model) : chartxml::render::ChartModel{};
}

// A renderer loaded with a document and source0's data.
class Drawn {
 public:
  bool load(const std::string& xml, const std::string& csv) {
    return renderer.loadText(xml, "test.xml", [csv](const std::string& source) {
      return source == "source0" ? std::optional<std::string>(csv) : std::nullopt;
    });
  }
  std::string svg() { return renderer.picture(chartxml::PictureFormat::kSvg).value_or(""); }
  std::string png() { return renderer.picture(chartxml::PictureFormat::kPng).value_or(""); }
  // The SVG of `xml` over `csv`, which must load with every part drawn.
  std::string draw(const std::string& xml, const std::string& csv) {
    EXPECT_TRUE(load(xml, csv)) << renderer.error();
    EXPECT_EQ(renderer.skipped(), std::vector<std::string>{});
    return svg();
  }

  chartxml::ChartRenderer renderer;
};

}  // namespace rendertest
