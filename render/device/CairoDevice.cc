#include "device/CairoDevice.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <glib.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <memory>
#include <string>
#include <system_error>

#include "device/Devices.h"
#include "device/MarkerBlit.h"
#include "device/PngWriter.h"
#include "read/LargeBuffer.h"

namespace chartxml::render {
namespace device {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// Cairo's own limit for a side of an image surface.
constexpr double kMaxPixels = 32767;

// Markers filled as one path; see drawBatch.
constexpr std::size_t kMarkersPerFill = 8;

// SVG's default mitre limit: both formats then bevel the same sharp corners.
constexpr double kMiterLimit = 4;

using CairoPtr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;
using SurfacePtr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;

void setColor(cairo_t* cr, const Color& c) {
  cairo_set_source_rgba(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0, c.a / 255.0);
}

}  // namespace

void setStroke(cairo_t* cr, const Stroke& stroke) {
  setColor(cr, stroke.color);
  cairo_set_line_width(cr, stroke.width);
  cairo_set_line_join(cr, stroke.roundJoins ? CAIRO_LINE_JOIN_ROUND : CAIRO_LINE_JOIN_MITER);
  cairo_set_line_cap(cr, stroke.roundJoins ? CAIRO_LINE_CAP_ROUND : CAIRO_LINE_CAP_BUTT);
  cairo_set_miter_limit(cr, kMiterLimit);
  if (dashed(stroke.dash)) {
    cairo_set_dash(cr, stroke.dash.data(), static_cast<int>(stroke.dash.size()), 0);
  } else {
    cairo_set_dash(cr, nullptr, 0, 0);
  }
}

namespace {

void buildPath(cairo_t* cr, const Path& path) {
  cairo_new_path(cr);
  const std::vector<double>& a = path.args();
  std::size_t k = 0;
  for (Path::Op op : path.ops()) {
    switch (op) {
      case Path::Op::kMove:
        if (k + 2 > a.size()) return;
        cairo_move_to(cr, a[k], a[k + 1]);
        k += 2;
        break;
      case Path::Op::kLine:
        if (k + 2 > a.size()) return;
        cairo_line_to(cr, a[k], a[k + 1]);
        k += 2;
        break;
      case Path::Op::kArc:
      case Path::Op::kArcNegative: {
        if (k + 5 > a.size()) return;
        const bool forward = op == Path::Op::kArc;
        const double end = a[k + 3] + arcSweep(forward, a[k + 3], a[k + 4]);
        if (forward) {
          cairo_arc(cr, a[k], a[k + 1], a[k + 2], a[k + 3], end);
        } else {
          cairo_arc_negative(cr, a[k], a[k + 1], a[k + 2], a[k + 3], end);
        }
        k += 5;
        break;
      }
      case Path::Op::kClose:
        cairo_close_path(cr);
        break;
    }
  }
}

void drawShape(cairo_t* cr, const ShapeItem& shape) {
  const bool outline = stroked(shape.stroke);
  if ((!shape.filled && !outline) || !drawable(shape.path)) return;
  buildPath(cr, shape.path);
  if (shape.filled) {
    setColor(cr, shape.fill);
    cairo_fill_preserve(cr);
  }
  if (outline) {
    setStroke(cr, shape.stroke);
    cairo_stroke_preserve(cr);
  }
  cairo_new_path(cr);
}

}  // namespace

void markerPath(cairo_t* cr, const PointBatch& batch, const MarkerPolygon& polygon, double x,
                double y) {
  const double half = batch.size / 2;
  switch (batch.shape) {
    case MarkerShape::kCircle:
      cairo_new_sub_path(cr);
      cairo_arc(cr, x, y, half, 0, 2 * kPi);
      cairo_close_path(cr);
      return;
    case MarkerShape::kCross:
      cairo_move_to(cr, x - half, y - half);
      cairo_line_to(cr, x + half, y + half);
      cairo_move_to(cr, x - half, y + half);
      cairo_line_to(cr, x + half, y - half);
      return;
    case MarkerShape::kPlus:
      cairo_move_to(cr, x - half, y);
      cairo_line_to(cr, x + half, y);
      cairo_move_to(cr, x, y - half);
      cairo_line_to(cr, x, y + half);
      return;
    default:
      cairo_move_to(cr, x + polygon.x[0], y + polygon.y[0]);
      for (int i = 1; i < polygon.count; ++i) cairo_line_to(cr, x + polygon.x[i], y + polygon.y[i]);
      cairo_close_path(cr);
      return;
  }
}

namespace {

// The clip in force, for markers blitted past cairo: a rectangle in picture
// pixels (infinite when nothing clips), or a shape that only cairo applies.
struct ClipState {
  bool shaped = false;
  double x0 = -kInfinity, y0 = -kInfinity, x1 = kInfinity, y1 = kInfinity;
};

// Markers on an image are blitted (device/MarkerBlit.h): straight into its
// pixels under a rectangular clip, else onto a clear layer that cairo then
// paints through the clip. False when the batch is left to paths: another
// surface (PDF stays vector), a turned or stretched transform, markers too
// large, or no memory for the masks.
bool blitBatch(cairo_t* cr, const PointBatch& batch, const ClipState& clip) {
  cairo_surface_t* target = cairo_get_target(cr);
  if (cairo_surface_get_type(target) != CAIRO_SURFACE_TYPE_IMAGE ||
      cairo_image_surface_get_format(target) != CAIRO_FORMAT_ARGB32)
    return false;
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  if (m.xy != 0 || m.yx != 0 || m.xx != m.yy || !blittable(batch, m.xx)) return false;
  const PixelMap map{m.xx, m.x0, m.y0};
  const PixelClip box{clip.x0 * m.xx + m.x0, clip.y0 * m.yy + m.y0, clip.x1 * m.xx + m.x0,
                      clip.y1 * m.yy + m.y0};
  PixelImage image{nullptr, cairo_image_surface_get_width(target),
                   cairo_image_surface_get_height(target), 0};
  if (!clip.shaped) {
    cairo_surface_flush(target);
    image.data = cairo_image_surface_get_data(target);
    image.stride = cairo_image_surface_get_stride(target);
    const bool drawn = blitPoints(batch, map, box, image);
    cairo_surface_mark_dirty(target);
    return drawn;
  }
  // Blending onto a clear layer and the layer onto the picture is the same
  // OVER as blending onto the picture.
  SurfacePtr layer(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, image.width, image.height),
                   &cairo_surface_destroy);
  if (cairo_surface_status(layer.get()) != CAIRO_STATUS_SUCCESS) return false;
  cairo_surface_flush(layer.get());
  image.data = cairo_image_surface_get_data(layer.get());
  image.stride = cairo_image_surface_get_stride(layer.get());
  if (!blitPoints(batch, map, box, image)) return false;
  cairo_surface_mark_dirty(layer.get());
  cairo_save(cr);
  cairo_identity_matrix(cr);
  cairo_set_source_surface(cr, layer.get(), 0, 0);
  cairo_paint(cr);
  cairo_restore(cr);
  return true;
}

// A few markers of one colour in a row make one path, filled (or stroked)
// once. Not many more: cairo fills one path of thousands of overlapping
// markers several times slower than the same markers a few at a time
// (100,000 circles: 2.5 s as one path, 0.35 s eight by eight). Translucent
// or outlined markers are drawn one by one, as the SVG shows them: overlaps
// of translucent markers darken, and each outline lies over the markers
// before it.
void drawBatch(cairo_t* cr, const PointBatch& batch, const ClipState& clip) {
  if (!drawable(batch) || blitBatch(cr, batch, clip)) return;
  const bool lines = batch.shape == MarkerShape::kCross || batch.shape == MarkerShape::kPlus;
  const bool outlined = !lines && stroked(batch.outline);
  const MarkerPolygon polygon = markerPolygon(batch.shape, batch.size);
  Stroke lineStroke;
  lineStroke.width = markerLineWidth(batch.size);

  const Color* runColor = nullptr;
  std::size_t inRun = 0;
  auto flush = [&] {
    if (runColor == nullptr) return;
    if (lines) {
      lineStroke.color = *runColor;
      setStroke(cr, lineStroke);
      cairo_stroke(cr);
    } else {
      setColor(cr, *runColor);
      if (outlined) {
        cairo_fill_preserve(cr);
        setStroke(cr, batch.outline);
        cairo_stroke(cr);
      } else {
        cairo_fill(cr);
      }
    }
    runColor = nullptr;
  };

  cairo_new_path(cr);
  const std::size_t count = pointCount(batch);
  for (std::size_t i = 0; i < count; ++i) {
    const Color* color = pointColor(batch, i);
    if (color == nullptr) continue;
    if (runColor != nullptr &&
        (*color != *runColor || color->a != 255 || outlined || inRun == kMarkersPerFill)) {
      flush();
      inRun = 0;
    }
    ++inRun;
    runColor = color;
    markerPath(cr, batch, polygon, batch.x[i], batch.y[i]);
  }
  flush();
}

// Clips `cr` as `clip` asks; returns the clip then in force inside `outer`.
ClipState drawClip(cairo_t* cr, const ClipBegin& clip, ClipState outer) {
  cairo_save(cr);
  if (!clip.path.empty()) {
    if (drawable(clip.path)) {
      cairo_new_path(cr);
      buildPath(cr, clip.path);
      cairo_clip(cr);
      outer.shaped = true;
    }
    return outer;
  }
  if (std::isfinite(clip.x) && std::isfinite(clip.y) && std::isfinite(clip.width) &&
      std::isfinite(clip.height)) {
    cairo_new_path(cr);
    cairo_rectangle(cr, clip.x, clip.y, clip.width, clip.height);
    cairo_clip(cr);
    outer.x0 = std::max(outer.x0, std::min(clip.x, clip.x + clip.width));
    outer.x1 = std::min(outer.x1, std::max(clip.x, clip.x + clip.width));
    outer.y0 = std::max(outer.y0, std::min(clip.y, clip.y + clip.height));
    outer.y1 = std::min(outer.y1, std::max(clip.y, clip.y + clip.height));
  }
  return outer;
}

cairo_status_t appendTo(void* closure, const unsigned char* data, unsigned int length) {
  try {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
  } catch (...) {
    return CAIRO_STATUS_NO_MEMORY;
  }
}

bool failed(cairo_status_t status, std::string& error) {
  if (status == CAIRO_STATUS_SUCCESS) return false;
  error = std::string("cannot draw the picture: ") + cairo_status_to_string(status);
  return true;
}

std::string formatSize(double value) {
  char text[32];
  const auto [end, error] =
      std::to_chars(text, text + sizeof text, value, std::chars_format::general, 6);
  return error == std::errc() ? std::string(text, end) : std::string("?");
}

// The side of a picture in whole pixels (or points), or 0 with `error` set
// when it is not a size cairo can draw.
int pictureSide(double side, const char* what, std::string& error) {
  if (!std::isfinite(side) || side <= 0) {
    error = std::string("cannot draw the picture: its ") + what + " (" + formatSize(side) +
            ") is not a positive number";
    return 0;
  }
  // A hair of tolerance, so that 800 * 1.1 makes 880 pixels and not 881.
  const double whole = std::max(1.0, std::ceil(side - 1e-6));
  if (whole > kMaxPixels) {
    error = std::string("cannot draw the picture: its ") + what + " of " + formatSize(side) +
            " is above the limit of 32767";
    return 0;
  }
  return static_cast<int>(whole);
}

}  // namespace

bool drawable(const Path& path) {
  const std::vector<double>& a = path.args();
  return std::all_of(a.begin(), a.end(), [](double v) { return std::isfinite(v); });
}

bool stroked(const Stroke& stroke) {
  return std::isfinite(stroke.width) && stroke.width > 0;
}

bool dashed(const std::vector<double>& dash) {
  bool some = false;
  for (double length : dash) {
    if (!std::isfinite(length) || length < 0) return false;
    some = some || length > 0;
  }
  return some;
}

double arcSweep(bool forward, double angle1, double angle2) {
  constexpr double kTurn = 2 * kPi;
  double sweep = angle2 - angle1;
  if (forward && sweep < 0) {
    sweep = std::fmod(sweep, kTurn);
    if (sweep < 0) sweep += kTurn;
  } else if (!forward && sweep > 0) {
    sweep = std::fmod(sweep, kTurn);
    if (sweep > 0) sweep -= kTurn;
  }
  if (std::abs(sweep) > kTurn) {
    sweep = std::copysign(kTurn + std::fmod(std::abs(sweep) - kTurn, kTurn), sweep);
  }
  return sweep;
}

bool drawable(const PointBatch& batch) {
  return !batch.pageOnly && std::isfinite(batch.size) && batch.size > 0 && !batch.palette.empty();
}

std::size_t pointCount(const PointBatch& batch) {
  return std::min(batch.x.size(), batch.y.size());
}

const Color* pointColor(const PointBatch& batch, std::size_t i) {
  if (!std::isfinite(batch.x[i]) || !std::isfinite(batch.y[i])) return nullptr;
  if (batch.colorIndex.empty()) return &batch.palette.front();
  if (i >= batch.colorIndex.size()) return nullptr;
  const std::size_t index = batch.colorIndex[i];
  return index < batch.palette.size() ? &batch.palette[index] : nullptr;
}

MarkerPolygon markerPolygon(MarkerShape shape, double size) {
  MarkerPolygon polygon;
  auto add = [&polygon](double x, double y) {
    polygon.x[polygon.count] = x;
    polygon.y[polygon.count] = y;
    ++polygon.count;
  };
  const double half = size / 2;
  switch (shape) {
    case MarkerShape::kSquare:
      add(-half, -half);
      add(half, -half);
      add(half, half);
      add(-half, half);
      break;
    case MarkerShape::kTriangle: {
      // Equilateral, of the square's area: side² · √3/4 = size².
      const double side = size * 2 / std::pow(3.0, 0.25);
      const double height = side * std::sqrt(3.0) / 2;
      add(0, -height / 2);
      add(side / 2, height / 2);
      add(-side / 2, height / 2);
      break;
    }
    case MarkerShape::kDiamond: {
      // The square turned by 45 degrees.
      const double reach = size / std::sqrt(2.0);
      add(0, -reach);
      add(reach, 0);
      add(0, reach);
      add(-reach, 0);
      break;
    }
    default:
      break;
  }
  return polygon;
}

double markerLineWidth(double size) {
  return std::max(1.0, size / 5);
}

void paint(cairo_t* cr, const Scene& scene, TextEngine& text) {
  setColor(cr, scene.background);
  cairo_paint(cr);

  // The clips in force, innermost last, above the whole picture.
  std::vector<ClipState> clips{ClipState{}};
  for (const SceneItem& item : scene.items) {
    if (const auto* shape = std::get_if<ShapeItem>(&item)) {
      drawShape(cr, *shape);
    } else if (const auto* batch = std::get_if<PointBatch>(&item)) {
      drawBatch(cr, *batch, clips.back());
    } else if (const auto* label = std::get_if<TextItem>(&item)) {
      text.draw(cr, *label);
    } else if (const auto* clip = std::get_if<ClipBegin>(&item)) {
      clips.push_back(drawClip(cr, *clip, clips.back()));
    } else if (clips.size() > 1) {
      cairo_restore(cr);
      clips.pop_back();
    }
  }
  for (; clips.size() > 1; clips.pop_back()) cairo_restore(cr);
}

}  // namespace device

bool drawPng(const Scene& scene, TextEngine& text, double scale, std::string& out,
             std::string& error) {
  out.clear();
  error.clear();
  try {
    if (!std::isfinite(scale) || scale <= 0) {
      error = "cannot draw the picture: the scale (" + device::formatSize(scale) +
              ") is not a positive number";
      return false;
    }
    const int width = device::pictureSide(scene.width * scale, "width in pixels", error);
    if (width == 0) return false;
    const int height = device::pictureSide(scene.height * scale, "height in pixels", error);
    if (height == 0) return false;

    // The pixels come from the kernel in huge pages, zeroed: a picture's
    // megabytes then fault in once or twice instead of hundreds of times,
    // which in a short process costs more than drawing a small chart.
    const int stride = cairo_format_stride_for_width(CAIRO_FORMAT_ARGB32, width);
    const std::size_t bytes = std::max(
        static_cast<std::size_t>(stride) * static_cast<std::size_t>(height), kLargeBlockBytes);
    const auto release = [bytes](unsigned char* block) { releaseLarge(block, bytes); };
    std::unique_ptr<unsigned char, decltype(release)> pixels(
        static_cast<unsigned char*>(allocateLarge(bytes)), release);
    device::SurfacePtr surface(cairo_image_surface_create_for_data(
                                   pixels.get(), CAIRO_FORMAT_ARGB32, width, height, stride),
                               &cairo_surface_destroy);
    if (device::failed(cairo_surface_status(surface.get()), error)) return false;
    {
      device::CairoPtr cr(cairo_create(surface.get()), &cairo_destroy);
      if (device::failed(cairo_status(cr.get()), error)) return false;
      cairo_scale(cr.get(), scale, scale);
      device::paint(cr.get(), scene, text);
      if (device::failed(cairo_status(cr.get()), error)) return false;
    }
    cairo_surface_flush(surface.get());
    const device::PixelImage image{cairo_image_surface_get_data(surface.get()), width, height,
                                   cairo_image_surface_get_stride(surface.get())};
    std::string png;
    if (!device::writePng(image, png, error)) return false;
    out.swap(png);
    return true;
  } catch (...) {
    out.clear();
    error = "cannot draw the picture: out of memory";
    return false;
  }
}

namespace {

std::string reproducibleDate() {
  const char* epoch = std::getenv("SOURCE_DATE_EPOCH");
  if (epoch == nullptr || *epoch == '\0') return "";
  long long seconds = 0;
  const char* end = epoch + std::strlen(epoch);
  const auto [ptr, ec] = std::from_chars(epoch, end, seconds);
  // Years past 9999 do not fit the date's four digits.
  if (ec != std::errc() || ptr != end || seconds < 0 || seconds > 253402300799LL) return "";
  const auto time = static_cast<std::time_t>(seconds);
  std::tm utc{};
  if (gmtime_r(&time, &utc) == nullptr) return "";
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

// `text` as cairo takes a metadata string: valid UTF-8 without the
// noncharacters (U+FFFE, U+FDD0, ...) it refuses, which become U+FFFD; a
// refused string would fail the whole picture.
std::string metadataText(const std::string& text) {
  std::unique_ptr<gchar, decltype(&g_free)> valid(
      g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())), &g_free);
  std::string out;
  for (const gchar* p = valid.get(); *p != '\0'; p = g_utf8_next_char(p)) {
    const gunichar c = g_utf8_get_char(p);
    if ((c >= 0xFDD0 && c <= 0xFDEF) || (c & 0xFFFE) == 0xFFFE) {
      out += "\xEF\xBF\xBD";
    } else {
      out.append(p, static_cast<std::size_t>(g_utf8_next_char(p) - p));
    }
  }
  return out;
}

}  // namespace

bool drawPdf(const Scene& scene, TextEngine& text, std::string& out, std::string& error) {
  out.clear();
  error.clear();
  try {
    if (device::pictureSide(scene.width, "width in points", error) == 0 ||
        device::pictureSide(scene.height, "height in points", error) == 0)
      return false;

    std::string pdf;
    device::SurfacePtr surface(
        cairo_pdf_surface_create_for_stream(&device::appendTo, &pdf, scene.width, scene.height),
        &cairo_surface_destroy);
    if (device::failed(cairo_surface_status(surface.get()), error)) return false;

    // No clock in the file, so that the same scene gives the same bytes: the
    // date of a reproducible build when one is set, else none (an empty
    // text keeps cairo from writing the time of day).
    const std::string date = reproducibleDate();
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, date.c_str());
    cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_MOD_DATE, date.c_str());
    if (!scene.title.empty()) {
      std::unique_ptr<gchar, decltype(&g_free)> title(
          g_utf8_make_valid(scene.title.data(), static_cast<gssize>(scene.title.size())), &g_free);
      cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_TITLE, title.get());
    }
    if (!scene.description.empty()) {
      // What the chart shows, for readers that cannot see it.
      const std::string subject = metadataText(scene.description);
      cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_SUBJECT, subject.c_str());
    }
    {
      device::CairoPtr cr(cairo_create(surface.get()), &cairo_destroy);
      if (device::failed(cairo_status(cr.get()), error)) return false;
      device::paint(cr.get(), scene, text);
      cairo_show_page(cr.get());
      if (device::failed(cairo_status(cr.get()), error)) return false;
    }
    cairo_surface_finish(surface.get());
    if (device::failed(cairo_surface_status(surface.get()), error)) return false;
    surface.reset();
    out.swap(pdf);
    return true;
  } catch (...) {
    out.clear();
    error = "cannot draw the picture: out of memory";
    return false;
  }
}

}  // namespace chartxml::render
