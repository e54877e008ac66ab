// The SVG device: the scene written as SVG 1.1 text, drawing what the cairo
// device draws (device/CairoDevice.h holds the rules both follow), with texts
// kept as <text> placed where pango places them.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>
#include <string_view>

#include "device/CairoDevice.h"
#include "device/Devices.h"

namespace chartxml::render {
namespace {

constexpr double kPi = 3.14159265358979323846;

class SvgWriter {
 public:
  SvgWriter(const Scene& scene, TextEngine& text, std::string& out)
      : scene_(scene), text_(text), out_(out) {}

  void write() {
    out_ += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
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
    escaped(scene_.title);
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
      const std::size_t length = c >= 0xf0 ? 4 : c >= 0xe0 ? 3 : c >= 0xc0 ? 2 : 0;
      char32_t code = c & (length == 4 ? 0x07 : length == 3 ? 0x0f : 0x1f);
      bool valid = length > 0 && c < 0xf5 && i + length <= text.size();
      for (std::size_t k = 1; valid && k < length; ++k) {
        const auto next = static_cast<unsigned char>(text[i + k]);
        valid = (next & 0xc0) == 0x80;
        code = (code << 6) | (next & 0x3f);
      }
      static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
      valid =
          valid && code >= kLeast[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
      if (!valid) {
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

  void writeBatch(const PointBatch& batch) {
    if (!device::drawable(batch)) return;
    const bool lines = batch.shape == MarkerShape::kCross || batch.shape == MarkerShape::kPlus;
    const double half = batch.size / 2;
    const device::MarkerPolygon polygon = device::markerPolygon(batch.shape, batch.size);

    out_ += "<g";
    role(batch.role);
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
    attribute("font-family", TextEngine::familyList());
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
    out_ += " xml:space=\"preserve\">";
    for (const TextLine& line : lines) {
      if (line.text.empty()) continue;
      out_ += "<tspan";
      attribute("x", left + line.left);
      attribute("y", top + line.baseline);
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
  int clips_ = 0;
};

}  // namespace

bool drawSvg(const Scene& scene, TextEngine& text, std::string& out, std::string& error) {
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
    SvgWriter(scene, text, svg).write();
    out.swap(svg);
    return true;
  } catch (...) {
    out.clear();
    error = "cannot write the picture: out of memory";
    return false;
  }
}

}  // namespace chartxml::render
