// The HTML device: a page holding the scene's SVG inline, the cases the
// marks show as JSON, and our own script (device/page.js, embedded at build
// time) that draws the points and answers the reader. Nothing is fetched:
// the page works from a file, offline.
//
// Every text from the data is escaped for where it lands: HTML text and
// attributes by entities, JSON strings by \u escapes of '<', '>', '&' and the
// two JavaScript line separators, so that no text can close the script
// element or start markup.
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "device/CairoDevice.h"
#include "device/Devices.h"
#include "device/HtmlText.h"
#include "device/PageScript.h"

namespace chartxml::render {
namespace {

// Batches up to this many points get an element per mark (reached by Tab
// when the chart's total is at most kTabbableMarks); bigger ones are drawn
// on a canvas and searched through a grid.
constexpr std::size_t kElementMarks = 3000;
constexpr std::size_t kTabbableMarks = 300;

class HtmlWriter {
 public:
  HtmlWriter(const Scene& scene, std::string& out) : scene_(scene), out_(out) {}

  void write(const std::string& svg) {
    out_ += "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
    out_ += "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n<title>";
    const std::string name = pageName();
    appendHtmlEscaped(out_, name);
    out_ += "</title>\n<style>\n";
    out_ += kPageStyle;
    out_ += "</style>\n</head>\n<body>\n<figure class=\"chart\" aria-labelledby=\"chart-name\"";
    if (!scene_.description.empty()) out_ += " aria-describedby=\"chart-text\"";
    out_ += ">\n<h1 id=\"chart-name\" class=\"name\">";
    appendHtmlEscaped(out_, name);
    out_ += "</h1>\n<div class=\"plot\" style=\"width:";
    number(scene_.width);
    out_ += "px;height:";
    number(scene_.height);
    out_ += "px\">\n";
    out_ += svg;
    out_ += "<div class=\"tip\" role=\"tooltip\" id=\"chart-tip\" hidden></div>\n</div>\n";
    if (!scene_.description.empty()) {
      out_ += "<figcaption id=\"chart-text\">";
      appendHtmlEscaped(out_, scene_.description);
      out_ += "</figcaption>\n";
    }
    out_ +=
        "<p class=\"help\">Point at a mark for its values; click a legend entry to hide or "
        "show its group; on a continuous axis, scroll to zoom and drag to pan; double-click "
        "or press Escape to reset.</p>\n</figure>\n";
    out_ += "<script type=\"application/json\" id=\"chart-data\">";
    data();
    out_ += "</script>\n";
    for (std::size_t i = 0; i < blobs_.size(); ++i) {
      out_ += "<script type=\"application/octet-stream\" id=\"chart-blob-";
      out_ += std::to_string(i);
      out_ += "\">";
      out_ += blobs_[i];
      out_ += "</script>\n";
      std::string().swap(blobs_[i]);
    }
    out_ += "<script>\n";
    out_ += kPageScript;
    out_ += "</script>\n</body>\n</html>\n";
  }

 private:
  std::string pageName() const {
    if (!scene_.title.empty()) return scene_.title;
    const std::size_t stop = scene_.description.find(". ");
    const std::string first = scene_.description.substr(0, stop);
    return first.empty() ? "Chart" : first;
  }

  // Shortest text that reads back as the same double; NaN and infinities
  // are null (JSON has no such numbers).
  void number(double value) {
    if (!std::isfinite(value)) {
      out_ += "null";
      return;
    }
    if (value == 0) value = 0;  // no "-0"
    char text[32];
    out_.append(text, std::to_chars(text, text + sizeof text, value).ptr);
  }

  void key(const char* name) {
    if (out_.back() != '{') out_ += ',';
    out_ += '"';
    out_ += name;
    out_ += "\":";
  }

  void color(const Color& c) {
    out_ += '[';
    for (const int v : {int{c.r}, int{c.g}, int{c.b}, int{c.a}}) {
      if (out_.back() != '[') out_ += ',';
      number(v);
    }
    out_ += ']';
  }

  void format(const ValueFormat& f) {
    static const char* const kKinds[] = {"plain", "number", "date", "string"};
    out_ += '{';
    key("kind");
    out_ += '"';
    out_ += kKinds[static_cast<int>(f.kind)];
    out_ += '"';
    if (f.kind == ValueFormat::Kind::kNumber) {
      const NumberFormat& n = f.number;
      key("min");
      number(n.minFractionDigits);
      key("max");
      number(n.maxFractionDigits);
      key("grouping");
      out_ += n.grouping ? "true" : "false";
      key("groupSep");
      appendJsonString(out_, n.groupingSeparator);
      key("decimalSep");
      appendJsonString(out_, n.decimalSeparator);
      key("prefix");
      appendJsonString(out_, n.prefix);
      key("suffix");
      appendJsonString(out_, n.suffix);
      key("scientific");
      out_ += n.scientific ? "true" : "false";
      key("minInt");
      number(n.minIntegerDigits);
      key("negPrefix");
      appendJsonString(out_, n.negativePrefix.value_or("-"));
      key("negSuffix");
      appendJsonString(out_, n.negativeSuffix.value_or(""));
    }
    if (f.kind == ValueFormat::Kind::kDate) {
      key("pattern");
      appendJsonString(out_, f.datePattern.empty() ? "yyyy-MM-dd" : f.datePattern);
    }
    out_ += '}';
  }

  // An array of numbers as base64 of the smallest type that holds them
  // exactly: {"type":"u8"|"u16"|"f32"|"f64","base":b,"blob":K} (blob: see blob()); stored
  // values are value - base (base lets dates keep seconds in f32).
  void values(const std::vector<double>& v, bool codes) {
    out_ += '{';
    double lo = std::numeric_limits<double>::infinity(), hi = -lo;
    for (const double x : v) {
      if (std::isfinite(x)) lo = std::min(lo, x), hi = std::max(hi, x);
    }
    if (!(lo <= hi)) lo = hi = 0;
    key("type");
    if (codes && hi < 255) {
      out_ += "\"u8\"";
      std::vector<std::uint8_t> bytes(v.size());
      for (std::size_t i = 0; i < v.size(); ++i)
        bytes[i] = std::isfinite(v[i]) ? static_cast<std::uint8_t>(v[i]) : 255;
      key("blob");
      blob(bytes.data(), bytes.size());
    } else if (codes && hi < 65535) {
      out_ += "\"u16\"";
      std::vector<std::uint16_t> words(v.size());
      for (std::size_t i = 0; i < v.size(); ++i)
        words[i] = std::isfinite(v[i]) ? static_cast<std::uint16_t>(v[i]) : 65535;
      key("blob");
      blob(words.data(), words.size() * 2);
    } else {
      // Floats when every value survives them (or the column is not one of
      // exact values, so 7 digits are what it shows); else doubles.
      const double base = std::fabs(lo) > 1e6 ? lo : 0;
      bool exact = true;
      for (const double x : v) {
        if (std::isfinite(x) && static_cast<double>(static_cast<float>(x - base)) + base != x) {
          exact = false;
          break;
        }
      }
      const bool wide = !exact && base != 0;
      out_ += wide ? "\"f64\"" : "\"f32\"";
      key("base");
      number(base);
      key("blob");
      if (wide) {
        std::vector<double> d(v.size());
        for (std::size_t i = 0; i < v.size(); ++i) d[i] = v[i] - base;
        blob(d.data(), d.size() * 8);
      } else {
        std::vector<float> f(v.size());
        for (std::size_t i = 0; i < v.size(); ++i) f[i] = static_cast<float>(v[i] - base);
        blob(f.data(), f.size() * 4);
      }
    }
    out_ += '}';
  }

  // Little-endian bytes, as typed arrays read them on every machine we build
  // for: base64 in a script element of its own after the JSON, named by its
  // number, so that parsing the JSON does not scan millions of digits and
  // a column is decoded only when it is needed.
  void blob(const void* data, std::size_t bytes) {
    number(static_cast<double>(blobs_.size()));
    std::string& text = blobs_.emplace_back();
    appendBase64(text, data, bytes);
  }

  void batch(const PointBatch& b, int clipGroup) {
    out_ += '{';
    key("clipGroup");
    number(clipGroup);
    static const char* const kShapes[] = {"circle",  "square", "triangle",
                                          "diamond", "cross",  "plus"};
    key("shape");
    out_ += '"';
    out_ += kShapes[static_cast<int>(b.shape)];
    out_ += '"';
    key("size");
    number(b.size);
    const device::MarkerPolygon polygon = device::markerPolygon(b.shape, b.size);
    key("polygon");
    out_ += '[';
    for (int v = 0; v < polygon.count; ++v) {
      if (v > 0) out_ += ',';
      number(polygon.x[v]);
      out_ += ',';
      number(polygon.y[v]);
    }
    out_ += ']';
    key("lineWidth");
    number(device::markerLineWidth(b.size));
    key("palette");
    out_ += '[';
    for (std::size_t i = 0; i < b.palette.size(); ++i) {
      if (i > 0) out_ += ',';
      color(b.palette[i]);
    }
    out_ += ']';
    if (device::stroked(b.outline)) {
      key("outline");
      color(b.outline.color);
      key("outlineWidth");
      number(b.outline.width);
    }
    // The points that can be drawn, in order; their positions quantised to
    // 16 bits over the batch's extent (a hundredth of a pixel for a panel).
    const std::size_t count = device::pointCount(b);
    std::vector<std::size_t> kept;
    kept.reserve(count);
    float x0 = std::numeric_limits<float>::infinity(), x1 = -x0, y0 = x0, y1 = -x0;
    for (std::size_t i = 0; i < count; ++i) {
      if (!std::isfinite(b.x[i]) || !std::isfinite(b.y[i]) || device::pointColor(b, i) == nullptr)
        continue;
      kept.push_back(i);
      x0 = std::min(x0, b.x[i]), x1 = std::max(x1, b.x[i]);
      y0 = std::min(y0, b.y[i]), y1 = std::max(y1, b.y[i]);
    }
    if (kept.empty()) x0 = x1 = y0 = y1 = 0;
    const double dx = (static_cast<double>(x1) - x0) / 65535,
                 dy = (static_cast<double>(y1) - y0) / 65535;
    key("count");
    number(static_cast<double>(kept.size()));
    key("elements");
    out_ += kept.size() <= kElementMarks ? "true" : "false";
    key("x");
    quantised(b.x, kept, x0, dx);
    key("y");
    quantised(b.y, kept, y0, dy);
    if (b.palette.size() > 1) {
      std::vector<double> colours(kept.size());
      for (std::size_t k = 0; k < kept.size(); ++k) colours[k] = b.colorIndex[kept[k]];
      key("color");
      values(colours, true);
    }
    if (b.cases) {
      key("columns");
      out_ += '[';
      std::vector<double> column(kept.size());
      for (std::size_t c = 0; c < b.cases->columns.size(); ++c) {
        const CaseColumn& source = b.cases->columns[c];
        if (c > 0) out_ += ',';
        out_ += '{';
        key("title");
        appendJsonString(out_, source.title);
        key("format");
        format(source.format);
        if (source.categorical) {
          key("labels");
          out_ += '[';
          for (std::size_t i = 0; i < source.labels.size(); ++i) {
            if (i > 0) out_ += ',';
            appendJsonString(out_, source.labels[i]);
          }
          out_ += ']';
        }
        for (std::size_t k = 0; k < kept.size(); ++k) {
          const std::size_t row = b.caseIndex.empty() ? kept[k] : b.caseIndex[kept[k]];
          column[k] = row < source.values.size() ? source.values[row]
                                                 : std::numeric_limits<double>::quiet_NaN();
        }
        key("values");
        values(column, source.categorical);
        out_ += '}';
      }
      out_ += ']';
      key("groupColumn");
      number(b.cases->groupColumn);
    }
    out_ += '}';
  }

  void quantised(const LargeVector<float>& v, const std::vector<std::size_t>& kept, double origin,
                 double step) {
    std::vector<std::uint16_t> q(kept.size());
    for (std::size_t k = 0; k < kept.size(); ++k) {
      q[k] = step > 0 ? static_cast<std::uint16_t>(std::lround((v[kept[k]] - origin) / step)) : 0;
    }
    out_ += "{\"type\":\"u16\",\"origin\":";
    number(origin);
    out_ += ",\"step\":";
    number(step);
    out_ += ",\"blob\":";
    blob(q.data(), q.size() * 2);
    out_ += '}';
  }

  void axis(const AxisView& a) {
    out_ += '{';
    key("vertical");
    out_ += a.vertical ? "true" : "false";
    key("lo");
    number(a.lo);
    key("hi");
    number(a.hi);
    key("start");
    number(a.start);
    key("length");
    number(a.length);
    key("edge");
    number(a.edge);
    key("outward");
    number(a.outward);
    key("panel");
    out_ += '[';
    number(a.panelX);
    out_ += ',';
    number(a.panelY);
    out_ += ',';
    number(a.panelWidth);
    out_ += ',';
    number(a.panelHeight);
    out_ += ']';
    key("labelled");
    out_ += a.labelled ? "true" : "false";
    key("date");
    out_ += a.date ? "true" : "false";
    key("log");
    out_ += a.log ? "true" : "false";
    key("exponent");
    number(a.exponent);
    key("clipGroup");
    number(a.clipGroup);
    key("format");
    format(a.format);
    out_ += '}';
  }

  void data() {
    out_ += '{';
    key("width");
    number(scene_.width);
    key("height");
    number(scene_.height);
    std::size_t marks = 0;
    for (const SceneItem& item : scene_.items) {
      if (const auto* b = std::get_if<PointBatch>(&item); b && b->hoverable()) {
        marks += device::pointCount(*b);
      }
    }
    key("tabbable");
    out_ += marks <= kTabbableMarks ? "true" : "false";
    // Each batch with the outermost clip group it lies in (its panel), as
    // the axes name theirs.
    key("batches");
    out_ += '[';
    bool first = true;
    int depth = 0, clips = 0, group = -1;
    for (const SceneItem& item : scene_.items) {
      if (std::holds_alternative<ClipBegin>(item)) {
        if (depth++ == 0) group = clips++;
        continue;
      }
      if (std::holds_alternative<ClipEnd>(item) && depth > 0) {
        if (--depth == 0) group = -1;
        continue;
      }
      const auto* b = std::get_if<PointBatch>(&item);
      if (b == nullptr || !b->hoverable()) continue;
      if (!first) out_ += ',';
      first = false;
      batch(*b, group);
    }
    out_ += ']';
    // A panel zooms with at most one axis each way: a second scale on a
    // side could not follow the view.
    key("axes");
    out_ += '[';
    first = true;
    for (const AxisView& a : scene_.axes) {
      if (a.clipGroup < 0) continue;
      const bool alone =
          std::none_of(scene_.axes.begin(), scene_.axes.end(), [&](const AxisView& o) {
            return &o != &a && o.clipGroup == a.clipGroup && o.vertical == a.vertical;
          });
      if (!alone) continue;
      if (!first) out_ += ',';
      first = false;
      axis(a);
    }
    out_ += "]}";
  }

  const Scene& scene_;
  std::string& out_;
  std::vector<std::string> blobs_;
};

}  // namespace

bool drawHtml(const Scene& scene, TextEngine& text, std::string& out, std::string& error) {
  out.clear();
  if (!scene.keepsCases) {
    error =
        "cannot write the page: the chart was loaded without its cases (RenderOptions::pageCases)";
    return false;
  }
  std::string svg;
  if (!drawSvgForPage(scene, text, svg, error)) return false;
  try {
    std::string page;
    page.reserve(svg.size() + sizeof kPageScript + 65536);
    HtmlWriter(scene, page).write(svg);
    out.swap(page);
    return true;
  } catch (...) {
    out.clear();
    error = "cannot write the page: out of memory";
    return false;
  }
}

}  // namespace chartxml::render
