// The SVG device: the scene written as SVG 1.1 text, drawing what the cairo
// device draws (device/CairoDevice.h holds the rules both follow), with texts
// kept as <text> placed where pango places them.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "device/CairoDevice.h"
#include "device/Devices.h"
#include "device/HtmlText.h"

namespace chartxml::render {
namespace {

constexpr double kPi = 3.14159265358979323846;

class SvgWriter {
 public:
  SvgWriter(const Scene& scene, TextEngine& text, std::string& out, bool forPage = false)
      : scene_(scene), text_(text), out_(out), forPage_(forPage) {}

  void write() {
    if (!forPage_) out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out_ += "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\"";
    attribute("width", scene_.width);
    attribute("height", scene_.height);
    out_ += " viewBox=\"0 0 ";
    number(scene_.width);
    out_ += ' ';
    number(scene_.height);
    out_ += "\" role=\"img\" aria-labelledby=\"chart-title";
    if (!scene_.description.empty()) out_ += " chart-desc";
    out_ += "\">\n<title id=\"chart-title\">";
    // An untitled chart is named by its description's first sentence, so
    // that the name a screen reader announces is never empty.
    if (scene_.title.empty()) {
      const std::size_t stop = scene_.description.find(". ");
      escaped(std::string_view(scene_.description).substr(0, stop));
    } else {
      escaped(scene_.title);
    }
    out_ += "</title>\n";
    if (!scene_.description.empty()) {
      out_ += "<desc id=\"chart-desc\">";
      escaped(scene_.description);
      out_ += "</desc>\n";
    }
    if (scene_.background.a > 0) {
      out_ += "<rect";
      attribute("width", scene_.width);
      attribute("height", scene_.height);
      paint("fill", scene_.background);
      out_ += "/>\n";
    }

    int open = 0;
    for (const SceneItem& item : scene_.items) {
      if (const auto* shape = std::get_if<ShapeItem>(&item)) {
        writeShape(*shape);
      } else if (const auto* batch = std::get_if<PointBatch>(&item)) {
        writeBatch(*batch);
      } else if (const auto* label = std::get_if<TextItem>(&item)) {
        writeText(*label);
      } else if (const auto* clip = std::get_if<ClipBegin>(&item)) {
        writeClip(*clip);
        ++open;
      } else if (open > 0) {
        out_ += "</g>\n";
        --open;
      }
    }
    for (; open > 0; --open) out_ += "</g>\n";
    out_ += "</svg>\n";
  }

 private:
  // At most two decimals, no trailing zeros, no "-0": short, and the same
  // bytes in every locale.
  void number(double value) {
    if (!std::isfinite(value)) value = 0;
    char text[400];
    auto [end, error] = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 2);
    if (error != std::errc()) {
      out_ += '0';
      return;
    }
    std::string_view digits(text, static_cast<std::size_t>(end - text));
    while (digits.back() == '0') digits.remove_suffix(1);
    if (digits.back() == '.') digits.remove_suffix(1);
    if (digits == "-0") digits = "0";
    out_ += digits;
  }

  void attribute(const char* name, double value) {
    out_ += ' ';
    out_ += name;
    out_ += "=\"";
    number(value);
    out_ += '"';
  }

  void attribute(const char* name, std::string_view value) {
    out_ += ' ';
    out_ += name;
    out_ += "=\"";
    escaped(value, true);
    out_ += '"';
  }

  // `name`="#rrggbb" and, for a translucent colour, its opacity with three
  // decimals (two would make 254 of 255 opaque).
  void paint(const char* name, const Color& color) {
    static const char kHex[] = "0123456789abcdef";
    out_ += ' ';
    out_ += name;
    out_ += "=\"#";
    for (std::uint8_t channel : {color.r, color.g, color.b}) {
      out_ += kHex[channel >> 4];
      out_ += kHex[channel & 15];
    }
    out_ += '"';
    if (color.a == 255) return;
    out_ += ' ';
    out_ += name;
    out_ += "-opacity=\"";
    const long thousandths = std::lround(color.a / 255.0 * 1000);
    if (thousandths == 0) {
      out_ += '0';
    } else {
      std::string digits = std::to_string(thousandths + 1000).substr(1);  // three digits
      while (digits.back() == '0') digits.pop_back();
      out_ += "0.";
      out_ += digits;
    }
    out_ += '"';
  }

  void role(const std::string& name) {
    if (!name.empty()) attribute("class", name);
  }

  // In a page: the legend group an item belongs to, and a mark's tooltip.
  void pageAttributes(std::int32_t group, const std::string& tip) {
    if (!forPage_) return;
    if (group >= 0) {
      out_ += " data-group=\"";
      integer(group);
      out_ += '"';
    }
    if (!tip.empty()) {
      attribute("data-tip", tip);
      out_ += " tabindex=\"0\"";
    }
  }

  void strokeAttributes(const Stroke& stroke) {
    paint("stroke", stroke.color);
    attribute("stroke-width", stroke.width);
    if (device::dashed(stroke.dash)) {
      out_ += " stroke-dasharray=\"";
      for (std::size_t i = 0; i < stroke.dash.size(); ++i) {
        if (i > 0) out_ += ',';
        number(stroke.dash[i]);
      }
      out_ += '"';
    }
    if (stroke.roundJoins) out_ += " stroke-linejoin=\"round\" stroke-linecap=\"round\"";
  }

  // XML text: &, <, > and " escaped; invalid UTF-8 (and so lone surrogates)
  // becomes U+FFFD; characters XML 1.0 cannot hold are dropped. In attribute
  // values, tab and line breaks are written as references, which keeps them
  // from being normalised to spaces.
  void escaped(std::string_view text, bool inAttribute = false) {
    std::size_t i = 0;
    while (i < text.size()) {
      const auto c = static_cast<unsigned char>(text[i]);
      if (c < 0x80) {
        ++i;
        switch (c) {
          case '&':
            out_ += "&amp;";
            break;
          case '<':
            out_ += "&lt;";
            break;
          case '>':
            out_ += "&gt;";
            break;
          case '"':
            out_ += "&quot;";
            break;
          case '\t':
            out_ += inAttribute ? "&#9;" : "\t";
            break;
          case '\n':
            out_ += inAttribute ? "&#10;" : "\n";
            break;
          case '\r':
            out_ += "&#13;";
            break;
          default:
            if (c >= 0x20) out_ += static_cast<char>(c);
        }
        continue;
      }
      const auto [code, length] = decodeUtf8At(text, i);
      if (code == 0xfffd && length == 1) {
        out_ += "\xef\xbf\xbd";
        ++i;
        continue;
      }
      if (code != 0xfffe && code != 0xffff) out_.append(text.substr(i, length));
      i += length;
    }
  }

  void point(double x, double y) {
    number(x);
    out_ += ' ';
    number(y);
  }

  void moveOrLine(bool line, double x, double y) {
    out_ += line ? 'L' : 'M';
    point(x, y);
    out_ += ' ';
  }

  // The path data of `path`, with cairo's meaning of every op: a line or arc
  // without a current point starts a new subpath where it begins, and an arc
  // after one first draws a line to its start.
  void pathData(const Path& path) {
    const std::vector<double>& a = path.args();
    std::size_t k = 0;
    bool current = false;
    auto lineTo = [&](double x, double y) {
      moveOrLine(current, x, y);
      current = true;
    };
    for (Path::Op op : path.ops()) {
      switch (op) {
        case Path::Op::kMove:
          if (k + 2 > a.size()) return;
          current = false;
          lineTo(a[k], a[k + 1]);
          k += 2;
          break;
        case Path::Op::kLine:
          if (k + 2 > a.size()) return;
          lineTo(a[k], a[k + 1]);
          k += 2;
          break;
        case Path::Op::kArc:
        case Path::Op::kArcNegative: {
          if (k + 5 > a.size()) return;
          const double cx = a[k], cy = a[k + 1], radius = a[k + 2], angle1 = a[k + 3];
          const bool forward = op == Path::Op::kArc;
          const double sweep = device::arcSweep(forward, angle1, a[k + 4]);
          k += 5;
          if (radius <= 0) {  // cairo: a point at the centre
            lineTo(cx, cy);
            break;
          }
          lineTo(cx + radius * std::cos(angle1), cy + radius * std::sin(angle1));
          if (sweep == 0) break;
          // Pieces of at most half a turn: an SVG arc between two points
          // draws nothing for a whole turn.
          const int pieces = std::max(1, static_cast<int>(std::ceil(std::abs(sweep) / kPi)));
          for (int piece = 1; piece <= pieces; ++piece) {
            const double angle = angle1 + sweep * piece / pieces;
            out_ += 'A';
            point(radius, radius);
            out_ += forward ? " 0 0 1 " : " 0 0 0 ";
            point(cx + radius * std::cos(angle), cy + radius * std::sin(angle));
            out_ += ' ';
          }
          break;
        }
        case Path::Op::kClose:
          // After Z, SVG like cairo continues from the subpath's start.
          if (current) out_ += "Z ";
          break;
      }
    }
  }

  void writeShape(const ShapeItem& shape) {
    const bool outline = device::stroked(shape.stroke);
    if ((!shape.filled && !outline) || !device::drawable(shape.path)) return;
    const std::size_t mark = out_.size();
    out_ += "<path";
    role(shape.role);
    pageAttributes(shape.group, shape.tip);
    out_ += " d=\"";
    const std::size_t data = out_.size();
    pathData(shape.path);
    while (out_.size() > data && out_.back() == ' ') out_.pop_back();
    if (out_.size() == data) {  // nothing to draw
      out_.resize(mark);
      return;
    }
    out_ += '"';
    if (shape.filled) {
      paint("fill", shape.fill);
    } else {
      out_ += " fill=\"none\"";
    }
    if (outline) strokeAttributes(shape.stroke);
    out_ += "/>\n";
  }

  // Batches of this many points and more are written compact (writeCompact);
  // smaller ones keep an element per mark, for readers that look at each.
  static constexpr std::size_t kCompactFrom = 1000;

  void integer(long value) {
    char text[24];
    out_.append(text, std::to_chars(text, text + sizeof text, value).ptr);
  }

  // A relative move or line of (dx, dy) tenths: the minus sign separates.
  void step(char command, long dx, long dy) {
    out_ += command;
    integer(dx);
    if (dy >= 0) out_ += ' ';
    integer(dy);
  }

  // Many markers in few bytes: positions in tenths of a pixel under
  // scale(.1), each marker a short relative subpath, one <path> per colour
  // in each layer. Within a path, overlapping markers would paint once, not
  // once each as every other device blends them: so points are dealt into
  // layers in which no two markers come near each other, a point into the
  // layer after those of every earlier point close to it. Layers are drawn
  // in order, so overlapping markers keep their order; markers within a
  // layer do not touch, and their order (by colour, then along rows) does
  // not matter. A circle is a zero-length line with round caps as wide as
  // the circle.
  void writeCompact(const PointBatch& batch) {
    const bool lines = batch.shape == MarkerShape::kCross || batch.shape == MarkerShape::kPlus;
    const bool outlined = !lines && device::stroked(batch.outline);
    const bool dots = batch.shape == MarkerShape::kCircle && !outlined;
    const double half = batch.size / 2;
    const device::MarkerPolygon polygon = device::markerPolygon(batch.shape, batch.size);
    double reach = half;
    for (int v = 0; v < polygon.count; ++v) {
      reach = std::max({reach, std::abs(polygon.x[v]), std::abs(polygon.y[v])});
    }
    if (lines) reach += device::markerLineWidth(batch.size) / 2;
    if (outlined) reach += batch.outline.width * 2;  // a mitre of limit 4
    // Cells at least a marker plus a pixel of smoothing wide: markers in
    // cells that are not neighbours never touch.
    const double cell = std::max({2 * reach + 1, scene_.width / 2048, scene_.height / 2048});
    const auto columns = static_cast<long>(std::ceil((scene_.width + 2 * reach) / cell)) + 1;
    const auto rows = static_cast<long>(std::ceil((scene_.height + 2 * reach) / cell)) + 1;
    std::vector<std::uint32_t> nextLayer(static_cast<std::size_t>(columns * rows), 0);

    struct Mark {
      std::uint32_t layer;
      std::uint16_t color;
      std::uint64_t along;  // place along rows, back and forth
      std::int32_t x, y;    // tenths of a pixel
    };
    std::vector<Mark> marks;
    const std::size_t count = device::pointCount(batch);
    for (std::size_t i = 0; i < count; ++i) {
      const Color* color = device::pointColor(batch, i);
      if (color == nullptr) continue;
      const double x = batch.x[i], y = batch.y[i];
      // What lies wholly outside the picture is not seen.
      if (x < -reach || y < -reach || x > scene_.width + reach || y > scene_.height + reach) {
        continue;
      }
      const long cx = static_cast<long>((x + reach) / cell);
      const long cy = static_cast<long>((y + reach) / cell);
      std::uint32_t layer = 0;
      for (long ny = std::max(0L, cy - 1); ny <= std::min(rows - 1, cy + 1); ++ny) {
        for (long nx = std::max(0L, cx - 1); nx <= std::min(columns - 1, cx + 1); ++nx) {
          layer = std::max(layer, nextLayer[static_cast<std::size_t>(ny * columns + nx)]);
        }
      }
      nextLayer[static_cast<std::size_t>(cy * columns + cx)] = layer + 1;
      Mark mark;
      mark.layer = layer;
      mark.color = static_cast<std::uint16_t>(color - batch.palette.data());
      mark.x = static_cast<std::int32_t>(std::lround(x * 10));
      mark.y = static_cast<std::int32_t>(std::lround(y * 10));
      // Rows of 8 pixels, left to right, then right to left.
      const auto band = static_cast<std::uint64_t>(std::max(0L, (mark.y + 100000L) / 80));
      const auto across = static_cast<std::uint64_t>(mark.x + 100000L);
      mark.along = band << 32 | (band % 2 == 0 ? across : 0xFFFFFFFFu - across);
      marks.push_back(mark);
    }
    std::sort(marks.begin(), marks.end(), [](const Mark& a, const Mark& b) {
      return std::tie(a.layer, a.color, a.along) < std::tie(b.layer, b.color, b.along);
    });

    // Each marker's subpath, from the point where the one before left off.
    const long r = std::lround(half * 10);
    std::vector<long> corners;  // the polygon's vertices, in tenths from the centre
    for (int v = 0; v < polygon.count; ++v) {
      corners.push_back(std::lround(polygon.x[v] * 10));
      corners.push_back(std::lround(polygon.y[v] * 10));
    }
    long atX = 0, atY = 0;
    auto subpath = [&](const Mark& mark, bool first) {
      // The subpath's start, as an offset from the centre.
      long sx = 0, sy = 0;
      if (batch.shape == MarkerShape::kCircle && !dots) sx = -r;
      if (lines) sx = -r, sy = batch.shape == MarkerShape::kCross ? -r : 0;
      if (!corners.empty()) sx = corners[0], sy = corners[1];
      const long x = mark.x + sx, y = mark.y + sy;
      if (first) {
        out_ += 'M';
        integer(x);
        out_ += ' ';
        integer(y);
      } else {
        step('m', x - atX, y - atY);
      }
      atX = x;
      atY = y;
      if (dots) {
        out_ += "h0";
      } else if (batch.shape == MarkerShape::kCircle) {
        out_ += 'a';
        integer(r);
        out_ += ' ';
        integer(r);
        out_ += " 0 1 0 ";
        integer(2 * r);
        out_ += " 0a";
        integer(r);
        out_ += ' ';
        integer(r);
        out_ += " 0 1 0 ";
        integer(-2 * r);
        out_ += " 0z";
      } else if (batch.shape == MarkerShape::kCross) {
        step('l', 2 * r, 2 * r);
        step('m', -2 * r, 0);
        step('l', 2 * r, -2 * r);
        atX += 2 * r;
        atY -= 2 * r;
      } else if (batch.shape == MarkerShape::kPlus) {
        step('l', 2 * r, 0);
        step('m', -r, -r);
        step('l', 0, 2 * r);
        atX += r;
        atY += r;
      } else {
        for (std::size_t v = 2; v < corners.size(); v += 2) {
          step('l', corners[v] - corners[v - 2], corners[v + 1] - corners[v - 1]);
        }
        out_ += 'z';  // back at the start
      }
    };
    auto path = [&](std::size_t from, std::size_t to, const Color& color, bool outline) {
      out_ += "<path";
      if (outline) {
        out_ += " fill=\"none\"";
        paint("stroke", batch.outline.color);
      } else {
        paint(dots || lines ? "stroke" : "fill", color);
      }
      out_ += " d=\"";
      for (std::size_t k = from; k < to; ++k) subpath(marks[k], k == from);
      out_ += "\"/>\n";
    };

    out_ += "<g";
    role(batch.role);
    out_ += " transform=\"scale(.1)\"";
    if (dots) {
      out_ += " fill=\"none\" stroke-linecap=\"round\" stroke-width=\"";
      number(batch.size * 10);
      out_ += '"';
    } else if (lines) {
      out_ += " fill=\"none\" stroke-width=\"";
      number(device::markerLineWidth(batch.size) * 10);
      out_ += '"';
    } else if (outlined) {
      out_ += " stroke-width=\"";
      number(batch.outline.width * 10);
      out_ += '"';
      if (device::dashed(batch.outline.dash)) {
        out_ += " stroke-dasharray=\"";
        for (std::size_t i = 0; i < batch.outline.dash.size(); ++i) {
          if (i > 0) out_ += ',';
          number(batch.outline.dash[i] * 10);
        }
        out_ += '"';
      }
    }
    out_ += ">\n";
    for (std::size_t first = 0; first < marks.size();) {
      std::size_t layerEnd = first;
      while (layerEnd < marks.size() && marks[layerEnd].layer == marks[first].layer) ++layerEnd;
      for (std::size_t from = first; from < layerEnd;) {
        std::size_t to = from;
        while (to < layerEnd && marks[to].color == marks[from].color) ++to;
        path(from, to, batch.palette[marks[from].color], false);
        from = to;
      }
      if (outlined) path(first, layerEnd, batch.outline.color, true);
      first = layerEnd;
    }
    out_ += "</g>\n";
  }

  void writeBatch(const PointBatch& batch) {
    if (forPage_ && batch.hoverable()) {
      // The page's script draws these; the group keeps their place.
      out_ += "<g";
      role(batch.role);
      out_ += " data-batch=\"";
      integer(batches_++);
      out_ += "\"></g>\n";
      return;
    }
    if (!device::drawable(batch)) return;
    if (device::pointCount(batch) >= kCompactFrom) {
      writeCompact(batch);
      return;
    }
    const bool lines = batch.shape == MarkerShape::kCross || batch.shape == MarkerShape::kPlus;
    const double half = batch.size / 2;
    const device::MarkerPolygon polygon = device::markerPolygon(batch.shape, batch.size);

    out_ += "<g";
    role(batch.role);
    pageAttributes(batch.group, batch.tip);
    if (lines) {
      out_ += " fill=\"none\"";
      attribute("stroke-width", device::markerLineWidth(batch.size));
    } else if (device::stroked(batch.outline)) {
      strokeAttributes(batch.outline);
    }
    out_ += ">\n";
    const std::size_t count = device::pointCount(batch);
    for (std::size_t i = 0; i < count; ++i) {
      const Color* color = device::pointColor(batch, i);
      if (color == nullptr) continue;
      const double x = batch.x[i], y = batch.y[i];
      switch (batch.shape) {
        case MarkerShape::kCircle:
          out_ += "<circle";
          attribute("cx", x);
          attribute("cy", y);
          attribute("r", half);
          paint("fill", *color);
          break;
        case MarkerShape::kSquare:
          out_ += "<rect";
          attribute("x", x - half);
          attribute("y", y - half);
          attribute("width", batch.size);
          attribute("height", batch.size);
          paint("fill", *color);
          break;
        case MarkerShape::kCross:
        case MarkerShape::kPlus: {
          const bool cross = batch.shape == MarkerShape::kCross;
          out_ += "<path d=\"M";
          point(x - half, cross ? y - half : y);
          out_ += " L";
          point(x + half, cross ? y + half : y);
          out_ += " M";
          point(cross ? x - half : x, cross ? y + half : y - half);
          out_ += " L";
          point(cross ? x + half : x, cross ? y - half : y + half);
          out_ += '"';
          paint("stroke", *color);
          break;
        }
        default:
          out_ += "<path d=\"";
          for (int v = 0; v < polygon.count; ++v)
            moveOrLine(v > 0, x + polygon.x[v], y + polygon.y[v]);
          out_ += "Z\"";
          paint("fill", *color);
          break;
      }
      out_ += "/>\n";
    }
    out_ += "</g>\n";
  }

  void writeText(const TextItem& item) {
    const double values[] = {item.x, item.y, item.hAlign, item.vAlign, item.angle};
    if (!std::all_of(std::begin(values), std::end(values),
                     [](double v) { return std::isfinite(v); }))
      return;
    const TextBox box = text_.measure(item.text, item.font);
    const std::vector<TextLine>& lines = text_.lines(item.text, item.font, item.hAlign);
    if (std::all_of(lines.begin(), lines.end(),
                    [](const TextLine& line) { return line.text.empty(); }))
      return;
    const double left = item.x - item.hAlign * box.width;
    const double top = item.y - item.vAlign * box.height;

    out_ += "<text";
    role(item.role);
    pageAttributes(item.group, "");
    // Chinese and Korean texts name their language's face, as drawn in PNG.
    attribute("font-family", text_.familiesOf(item.text));
    attribute("font-size", item.font.size);
    if (item.font.bold) out_ += " font-weight=\"bold\"";
    paint("fill", item.color);
    if (item.angle != 0) {
      out_ += " transform=\"rotate(";
      number(item.angle);
      out_ += ' ';
      point(item.x, item.y);
      out_ += ")\"";
    }
    // Spaces within a line count, as they do for pango.
    // A right-to-left text is laid out by the viewer from its right end, in
    // the order pango gives it: its paragraph direction is said, and each
    // line placed at the right end of the extent pango measured.
    const auto first = std::find_if(lines.begin(), lines.end(),
                                    [](const TextLine& line) { return !line.text.empty(); });
    const bool rightToLeft = first != lines.end() && first->rightToLeft;
    if (rightToLeft) out_ += " direction=\"rtl\" unicode-bidi=\"embed\"";
    out_ += " xml:space=\"preserve\">";
    for (const TextLine& line : lines) {
      if (line.text.empty()) continue;
      out_ += "<tspan";
      // The start of a line is its right end in a right-to-left text; a line
      // of the other direction is anchored at its end instead.
      const bool fromRight = line.rightToLeft;
      attribute("x", left + line.left + (fromRight ? line.width : 0));
      attribute("y", top + line.baseline);
      if (fromRight != rightToLeft) out_ += " text-anchor=\"end\"";
      out_ += '>';
      escaped(line.text);
      out_ += "</tspan>";
    }
    out_ += "</text>\n";
  }

  void writeClip(const ClipBegin& clip) {
    if (!clip.path.empty()) {
      if (!device::drawable(clip.path)) {
        out_ += "<g>\n";
        return;
      }
      const std::string id = "clip" + std::to_string(++clips_);
      out_ += "<clipPath id=\"" + id + "\"><path d=\"";
      pathData(clip.path);
      out_ += "\"/></clipPath>\n<g clip-path=\"url(#" + id + ")\">\n";
      return;
    }
    if (!std::isfinite(clip.x) || !std::isfinite(clip.y) || !std::isfinite(clip.width) ||
        !std::isfinite(clip.height)) {
      out_ += "<g>\n";
      return;
    }
    const std::string id = "clip" + std::to_string(++clips_);
    out_ += "<clipPath id=\"" + id + "\"><rect";
    attribute("x", std::min(clip.x, clip.x + clip.width));
    attribute("y", std::min(clip.y, clip.y + clip.height));
    attribute("width", std::abs(clip.width));
    attribute("height", std::abs(clip.height));
    out_ += "/></clipPath>\n<g clip-path=\"url(#" + id + ")\">\n";
  }

  const Scene& scene_;
  TextEngine& text_;
  std::string& out_;
  bool forPage_ = false;
  int clips_ = 0;
  long batches_ = 0;
};

}  // namespace

namespace {

bool writeSvg(const Scene& scene, TextEngine& text, bool forPage, std::string& out,
              std::string& error) {
  out.clear();
  error.clear();
  for (double side : {scene.width, scene.height}) {
    if (!std::isfinite(side) || side <= 0) {
      error = "cannot write the picture: its width and height must be positive numbers";
      return false;
    }
  }
  try {
    std::string svg;
    svg.reserve(4096 + scene.items.size() * 128);
    SvgWriter(scene, text, svg, forPage).write();
    out.swap(svg);
    return true;
  } catch (...) {
    out.clear();
    error = "cannot write the picture: out of memory";
    return false;
  }
}

}  // namespace

bool drawSvg(const Scene& scene, TextEngine& text, std::string& out, std::string& error) {
  return writeSvg(scene, text, false, out, error);
}

bool drawSvgForPage(const Scene& scene, TextEngine& text, std::string& out, std::string& error) {
  return writeSvg(scene, text, true, out, error);
}

}  // namespace chartxml::render
