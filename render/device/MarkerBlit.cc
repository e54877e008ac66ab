#include "device/MarkerBlit.h"

#include <cairo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "device/CairoDevice.h"
#include "work/Halves.h"

namespace chartxml::render::device {
namespace {

// Centres snap to quarter pixels: an eighth of a pixel off at most, which
// no eye sees, for 16 masks per marker.
constexpr int kPhases = 4;

// Points are blended in chunks of this many, band by band of about this
// many bytes of pixels (see blitPoints).
constexpr std::size_t kChunkPoints = 1 << 14;
constexpr int kBandBytes = 192 * 1024;

// Past this many points a second thread takes half of the bands.
constexpr std::size_t kThreadedPoints = 1 << 16;

// cairo's mitre limit for outlines (the cairo device's): a mitre reaches
// this many half widths out of a corner at most.
constexpr double kMiterReach = 4;

using SurfacePtr = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using CairoPtr = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

bool lineMarker(MarkerShape shape) {
  return shape == MarkerShape::kCross || shape == MarkerShape::kPlus;
}

bool outlined(const PointBatch& batch) {
  return !lineMarker(batch.shape) && stroked(batch.outline);
}

// How far a marker's ink reaches from its centre along either axis, in
// picture pixels, its outline included.
double reach(const PointBatch& batch) {
  double out = batch.size / 2;
  const MarkerPolygon polygon = markerPolygon(batch.shape, batch.size);
  for (int i = 0; i < polygon.count; ++i) {
    out = std::max({out, std::abs(polygon.x[i]), std::abs(polygon.y[i])});
  }
  if (lineMarker(batch.shape)) out += markerLineWidth(batch.size) / 2;
  if (outlined(batch)) out += batch.outline.width / 2 * kMiterReach;
  return out;
}

// The mask's radius in image pixels: room for the reach, the offset of the
// centre and anti-aliasing.
int maskRadius(const PointBatch& batch, double scale) {
  return static_cast<int>(std::ceil(reach(batch) * scale)) + 2;
}

// v / 255, rounded, for v up to 255 * 255.
inline std::uint32_t div255(std::uint32_t v) {
  v += 128;
  return (v + (v >> 8)) >> 8;
}

// Each channel of `pixel` times m / 255, rounded. Red and blue, then alpha
// and green, go as two 16-bit lanes of one word: a multiply serves two.
inline std::uint32_t scalePixel(std::uint32_t pixel, std::uint32_t m) {
  std::uint32_t rb = (pixel & 0x00FF00FFu) * m + 0x00800080u;
  rb = ((rb + ((rb >> 8) & 0x00FF00FFu)) >> 8) & 0x00FF00FFu;
  std::uint32_t ag = ((pixel >> 8) & 0x00FF00FFu) * m + 0x00800080u;
  ag = (ag + ((ag >> 8) & 0x00FF00FFu)) & 0xFF00FF00u;
  return rb | ag;
}

// Premultiplied `source` OVER `dest`. No channel overflows: a premultiplied
// channel is at most its alpha.
inline std::uint32_t over(std::uint32_t source, std::uint32_t dest) {
  return source + scalePixel(dest, 255 - (source >> 24));
}

std::uint32_t premultiplied(const Color& c) {
  const std::uint32_t a = c.a;
  return a << 24 | div255(c.r * a) << 16 | div255(c.g * a) << 8 | div255(c.b * a);
}

// The non-zero part of an A8 surface's pixels, placed relative to the pixel
// at (`radius`, `radius`).
void readMask(cairo_surface_t* surface, int radius, MarkerMask& mask) {
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int side = cairo_image_surface_get_width(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  int x0 = side, y0 = side, x1 = 0, y1 = 0;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      if (data[y * stride + x] == 0) continue;
      x0 = std::min(x0, x);
      x1 = std::max(x1, x + 1);
      y0 = std::min(y0, y);
      y1 = std::max(y1, y + 1);
    }
  }
  mask = MarkerMask{};
  if (x0 >= x1) return;
  mask.left = x0 - radius;
  mask.top = y0 - radius;
  mask.width = x1 - x0;
  mask.height = y1 - y0;
  mask.coverage.resize(static_cast<std::size_t>(mask.width) * mask.height);
  for (int y = y0; y < y1; ++y) {
    std::memcpy(&mask.coverage[static_cast<std::size_t>(y - y0) * mask.width],
                data + y * stride + x0, static_cast<std::size_t>(mask.width));
  }
}

// The pixels markers may touch, and how much of each the clip covers.
class ClipCover {
 public:
  ClipCover(const PixelClip& clip, const PixelImage& image) {
    const double x0 = std::max(clip.x0, 0.0), y0 = std::max(clip.y0, 0.0);
    const double x1 = std::min(clip.x1, static_cast<double>(image.width));
    const double y1 = std::min(clip.y1, static_cast<double>(image.height));
    if (!(x0 < x1 && y0 < y1)) return;
    x0_ = static_cast<int>(std::floor(x0));
    y0_ = static_cast<int>(std::floor(y0));
    x1_ = static_cast<int>(std::ceil(x1));
    y1_ = static_cast<int>(std::ceil(y1));
    columns_ = shares(x0_, x1_, x0, x1, fullX0_, fullX1_);
    rows_ = shares(y0_, y1_, y0, y1, fullY0_, fullY1_);
    rowBase_ = y0_;
  }

  // The same clip, cut to the rows from `y0` to `y1`.
  ClipCover band(int y0, int y1) const {
    ClipCover out = *this;
    out.y0_ = std::max(y0_, y0);
    out.y1_ = std::min(y1_, y1);
    return out;
  }

  bool empty() const { return x0_ >= x1_ || y0_ >= y1_; }
  int x0() const { return x0_; }
  int y0() const { return y0_; }
  int x1() const { return x1_; }
  int y1() const { return y1_; }
  // Whether every pixel of [x0, x1) x [y0, y1) is wholly inside.
  bool whole(int x0, int y0, int x1, int y1) const {
    return x0 >= fullX0_ && x1 <= fullX1_ && y0 >= fullY0_ && y1 <= fullY1_;
  }
  std::uint32_t column(int x) const { return columns_[static_cast<std::size_t>(x - x0_)]; }
  std::uint32_t row(int y) const { return rows_[static_cast<std::size_t>(y - rowBase_)]; }

 private:
  // The covered share (0..255) of each pixel from `first` to `last`, and
  // the run of wholly covered ones.
  static std::vector<std::uint8_t> shares(int first, int last, double lo, double hi, int& fullLo,
                                          int& fullHi) {
    std::vector<std::uint8_t> out(static_cast<std::size_t>(last - first));
    fullLo = last;
    fullHi = first;
    for (int p = first; p < last; ++p) {
      const double share = std::min<double>(p + 1, hi) - std::max<double>(p, lo);
      const auto value = static_cast<std::uint8_t>(std::lround(std::clamp(share, 0.0, 1.0) * 255));
      out[static_cast<std::size_t>(p - first)] = value;
      if (value == 255) {
        fullLo = std::min(fullLo, p);
        fullHi = std::max(fullHi, p + 1);
      }
    }
    return out;
  }

  int x0_ = 0, y0_ = 0, x1_ = 0, y1_ = 0, rowBase_ = 0;
  int fullX0_ = 0, fullY0_ = 0, fullX1_ = 0, fullY1_ = 0;
  std::vector<std::uint8_t> columns_, rows_;
};

// A mask's coverage again, each row widened with zeros to a multiple of
// four pixels, for blending four pixels at a time.
struct WideMask {
  int width = 0;  // a multiple of 4
  std::vector<std::uint8_t> coverage;
};

WideMask widened(const MarkerMask& mask) {
  WideMask out;
  out.width = (mask.width + 3) & ~3;
  out.coverage.assign(static_cast<std::size_t>(out.width) * mask.height, 0);
  for (int row = 0; row < mask.height; ++row) {
    std::memcpy(&out.coverage[static_cast<std::size_t>(row) * out.width],
                &mask.coverage[static_cast<std::size_t>(row) * mask.width],
                static_cast<std::size_t>(mask.width));
  }
  return out;
}

#if defined(__SSE2__)
// Four pixels at once, as `over(scalePixel(color, cover[k]), pixel[k])`
// does each: the same arithmetic in 16-bit lanes, so the same bytes. A
// coverage of 0 leaves a pixel exactly as it was.
inline void blendFour(std::uint32_t* pixel, const std::uint8_t* cover, __m128i color16) {
  const __m128i zero = _mm_setzero_si128();
  const __m128i bias = _mm_set1_epi16(128);
  const __m128i full = _mm_set1_epi16(255);
  const auto div255 = [&](__m128i v) {
    v = _mm_add_epi16(v, bias);
    return _mm_srli_epi16(_mm_add_epi16(v, _mm_srli_epi16(v, 8)), 8);
  };
  std::uint32_t four;
  std::memcpy(&four, cover, 4);
  // Each pixel's coverage in its four channels' lanes.
  __m128i m = _mm_cvtsi32_si128(static_cast<int>(four));
  m = _mm_unpacklo_epi8(m, zero);  // 16-bit: c0 c1 c2 c3
  m = _mm_unpacklo_epi16(m, m);    // c0 c0 c1 c1 c2 c2 c3 c3
  const __m128i mLo = _mm_unpacklo_epi32(m, m), mHi = _mm_unpackhi_epi32(m, m);
  const __m128i dest = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixel));
  __m128i out[2];
  const __m128i masks[2] = {mLo, mHi};
  const __m128i dests[2] = {_mm_unpacklo_epi8(dest, zero), _mm_unpackhi_epi8(dest, zero)};
  for (int half = 0; half < 2; ++half) {
    const __m128i source = div255(_mm_mullo_epi16(color16, masks[half]));
    // 255 minus each pixel's alpha (lane 3 of 4), in all its lanes.
    __m128i alpha = _mm_shufflelo_epi16(source, _MM_SHUFFLE(3, 3, 3, 3));
    alpha = _mm_shufflehi_epi16(alpha, _MM_SHUFFLE(3, 3, 3, 3));
    const __m128i kept = div255(_mm_mullo_epi16(dests[half], _mm_sub_epi16(full, alpha)));
    out[half] = _mm_add_epi16(source, kept);
  }
  _mm_storeu_si128(reinterpret_cast<__m128i*>(pixel), _mm_packus_epi16(out[0], out[1]));
}
#endif

// Blends `color` through `mask` placed at the pixel (`x`, `y`) of its centre.
// No branch per pixel: a marker's few pixels are as often covered as not,
// which a processor cannot predict; a coverage of 0 leaves the pixel as it
// is all the same. `wide` is `mask` widened: where its wider rows lie wholly
// inside the clip, four pixels go at a time.
void blend(const PixelImage& image, const ClipCover& clip, const MarkerMask& mask,
           const WideMask& wide, int x, int y, std::uint32_t color) {
  const int left = x + mask.left, top = y + mask.top;
  const int x0 = std::max(left, clip.x0()), x1 = std::min(left + mask.width, clip.x1());
  const int y0 = std::max(top, clip.y0()), y1 = std::min(top + mask.height, clip.y1());
  if (x0 >= x1 || y0 >= y1) return;
  const auto rowOf = [&](int row) {
    return reinterpret_cast<std::uint32_t*>(image.data +
                                            static_cast<std::ptrdiff_t>(row) * image.stride);
  };
#if defined(__SSE2__)
  if (x0 == left && clip.whole(left, y0, left + wide.width, y1)) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i color8 = _mm_set1_epi32(static_cast<int>(color));
    const __m128i color16 = _mm_unpacklo_epi8(color8, zero);
    for (int row = y0; row < y1; ++row) {
      const std::uint8_t* cover = &wide.coverage[static_cast<std::size_t>(row - top) * wide.width];
      std::uint32_t* pixel = rowOf(row) + left;
      for (int k = 0; k < wide.width; k += 4) blendFour(pixel + k, cover + k, color16);
    }
    return;
  }
#else
  (void)wide;
#endif
  const bool whole = clip.whole(x0, y0, x1, y1);
  for (int row = y0; row < y1; ++row) {
    const std::uint8_t* cover =
        &mask.coverage[static_cast<std::size_t>(row - top) * mask.width + (x0 - left)];
    std::uint32_t* pixel = rowOf(row) + x0;
    const int n = x1 - x0;
    if (whole) {
      for (int k = 0; k < n; ++k) pixel[k] = over(scalePixel(color, cover[k]), pixel[k]);
      continue;
    }
    const std::uint32_t share = clip.row(row);
    for (int k = 0; k < n; ++k) {
      const std::uint32_t m = div255(cover[k] * div255(share * clip.column(x0 + k)));
      pixel[k] = over(scalePixel(color, m), pixel[k]);
    }
  }
}

// A marker's masks at each quarter-pixel phase.
struct Masks {
  MarkerMask body, outline;
  WideMask wideBody, wideOutline;
};
using PhaseMasks = std::array<Masks, kPhases * kPhases>;

// What a marker's masks depend on: the colours are blended later.
struct MaskKey {
  MarkerShape shape{};
  double size = 0, scale = 0;
  bool outlined = false;
  double outlineWidth = 0;
  std::vector<double> outlineDash;
  bool roundJoins = false;

  bool operator==(const MaskKey&) const = default;
};

// Masks kept past their batch take at most this much memory: a chart's
// markers take a few kilobytes, the largest blittable marker megabytes.
constexpr std::size_t kKeptMaskBytes = std::size_t{256} << 10;

std::size_t bytesOf(const PhaseMasks& masks) {
  std::size_t bytes = 0;
  for (const Masks& m : masks) {
    bytes += m.body.coverage.size() + m.outline.coverage.size() + m.wideBody.coverage.size() +
             m.wideOutline.coverage.size();
  }
  return bytes;
}

// The masks of `batch`'s marker at `scale`: those of the thread's batch
// before when its marker was the same (a chart's groups differ in colour
// alone, and making the sixteen phases costs more than blending a few dozen
// points), else made anew, and kept for the next batch when small, else
// left in `owned`. Null when they cannot be made.
const PhaseMasks* phaseMasks(const PointBatch& batch, double scale,
                             std::unique_ptr<PhaseMasks>& owned) {
  struct Kept {
    MaskKey key;
    std::unique_ptr<PhaseMasks> masks;
  };
  thread_local Kept kept;
  const bool withOutline = outlined(batch);
  MaskKey key{batch.shape,
              batch.size,
              scale,
              withOutline,
              withOutline ? batch.outline.width : 0,
              withOutline ? batch.outline.dash : std::vector<double>{},
              withOutline && batch.outline.roundJoins};
  if (kept.masks && kept.key == key) return kept.masks.get();
  kept.masks.reset();
  auto masks = std::make_unique<PhaseMasks>();
  for (int phase = 0; phase < kPhases * kPhases; ++phase) {
    Masks& m = (*masks)[static_cast<std::size_t>(phase)];
    if (!markerMasks(batch, scale, phase % kPhases, phase / kPhases, m.body, m.outline))
      return nullptr;
    m.wideBody = widened(m.body);
    m.wideOutline = widened(m.outline);
  }
  if (bytesOf(*masks) > kKeptMaskBytes) {
    owned = std::move(masks);
    return owned.get();
  }
  kept.key = std::move(key);
  kept.masks = std::move(masks);
  return kept.masks.get();
}

}  // namespace

bool blittable(const PointBatch& batch, double scale) {
  return drawable(batch) && std::isfinite(scale) && scale > 0 &&
         2.0 * maskRadius(batch, scale) <= kMaxBlitMarker;
}

bool markerMasks(const PointBatch& batch, double scale, int phaseX, int phaseY, MarkerMask& body,
                 MarkerMask& outline) {
  body = MarkerMask{};
  outline = MarkerMask{};
  const int radius = maskRadius(batch, scale);
  const int side = 2 * radius + 1;
  SurfacePtr surface(cairo_image_surface_create(CAIRO_FORMAT_A8, side, side),
                     &cairo_surface_destroy);
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return false;
  CairoPtr cr(cairo_create(surface.get()), &cairo_destroy);
  cairo_translate(cr.get(), radius + static_cast<double>(phaseX) / kPhases,
                  radius + static_cast<double>(phaseY) / kPhases);
  cairo_scale(cr.get(), scale, scale);
  const MarkerPolygon polygon = markerPolygon(batch.shape, batch.size);

  markerPath(cr.get(), batch, polygon, 0, 0);
  if (lineMarker(batch.shape)) {
    Stroke lines;
    lines.width = markerLineWidth(batch.size);
    setStroke(cr.get(), lines);
    cairo_set_source_rgba(cr.get(), 0, 0, 0, 1);
    cairo_stroke(cr.get());
  } else {
    cairo_set_source_rgba(cr.get(), 0, 0, 0, 1);
    cairo_fill(cr.get());
  }
  if (cairo_status(cr.get()) != CAIRO_STATUS_SUCCESS) return false;
  readMask(surface.get(), radius, body);

  if (outlined(batch)) {
    cairo_save(cr.get());
    cairo_set_operator(cr.get(), CAIRO_OPERATOR_CLEAR);
    cairo_paint(cr.get());
    cairo_restore(cr.get());
    markerPath(cr.get(), batch, polygon, 0, 0);
    setStroke(cr.get(), batch.outline);
    cairo_set_source_rgba(cr.get(), 0, 0, 0, 1);
    cairo_stroke(cr.get());
    if (cairo_status(cr.get()) != CAIRO_STATUS_SUCCESS) return false;
    readMask(surface.get(), radius, outline);
  }
  return true;
}

bool blitPoints(const PointBatch& batch, const PixelMap& map, const PixelClip& clip,
                const PixelImage& image) {
  if (!blittable(batch, map.scale) || image.data == nullptr) return false;
  const ClipCover cover(clip, image);
  if (cover.empty()) return true;

  std::vector<std::uint32_t> colors(batch.palette.size());
  std::transform(batch.palette.begin(), batch.palette.end(), colors.begin(), premultiplied);
  const bool withOutline = outlined(batch);
  const std::uint32_t outlineColor = premultiplied(batch.outline.color);

  // Quarter pixels are counted from this far left of and above the image,
  // so that every kept centre's count is positive and truncates as floor.
  constexpr int kBias = 1024;
  static_assert(kMaxBlitMarker < kBias);

  // Every mask first, so that a failure leaves the image untouched.
  std::unique_ptr<PhaseMasks> owned;
  const PhaseMasks* found = phaseMasks(batch, map.scale, owned);
  if (found == nullptr) return false;
  const PhaseMasks& masks = *found;

  const std::size_t count = pointCount(batch);
  const bool oneColor = batch.colorIndex.empty();
  const std::size_t last = oneColor ? count : std::min(count, batch.colorIndex.size());
  // Centres farther than a marker's reach outside the clip draw nothing.
  const int radius = maskRadius(batch, map.scale);
  const double margin = radius + 1;
  const double loX = cover.x0() - margin, hiX = cover.x1() + margin;

  // Points fall anywhere, and a cache miss per row of each marker costs
  // more than its blending. So points go a chunk at a time, and a chunk's
  // points band by band of rows, each band small enough to stay in the
  // processor's cache while every point of the chunk that reaches it is
  // blended. Each pixel still sees its points in their order. A band's rows
  // are a power of two, so that finding a point's band is a shift.
  const int wantRows = std::max({16, kBandBytes / std::max(1, image.stride), 2 * radius + 1});
  int bandShift = 4;
  while ((1 << bandShift) < wantRows) ++bandShift;
  const int bandRows = 1 << bandShift;
  const int bands = (cover.y1() - cover.y0() + bandRows - 1) / bandRows;
  std::vector<ClipCover> bandCovers;
  for (int b = 0; b < bands; ++b) {
    bandCovers.push_back(cover.band(cover.y0() + b * bandRows, cover.y0() + (b + 1) * bandRows));
  }
  struct Placed {
    int x, y;  // the pixel of the centre
    std::uint16_t phase, color;
    std::uint16_t band0, band1;  // the first and last band the marker reaches
  };
  // What one thread needs to blend a chunk into its bands, made before any
  // thread starts: nothing allocates while they run.
  const std::size_t chunk = std::min(last, kChunkPoints);
  struct Work {
    std::vector<Placed> placed;
    std::vector<std::uint16_t> order;
    std::vector<std::uint32_t> starts, fill;
  };
  const auto makeWork = [&] {
    return Work{std::vector<Placed>(chunk), std::vector<std::uint16_t>(2 * chunk),
                std::vector<std::uint32_t>(static_cast<std::size_t>(bands) + 1),
                std::vector<std::uint32_t>(static_cast<std::size_t>(bands))};
  };
  // A marker of the point at row y reaches rows y - radius to y + radius:
  // at most two bands, as a band is taller than a marker.
  const auto bandOf = [&](int row) {
    return std::clamp((row - cover.y0()) >> bandShift, 0, bands - 1);
  };
  // Blends every point into bands `lo` to `hi` (not included) only: bands
  // share no pixel, so two threads can take two runs of bands, and each
  // pixel still sees its points in their order.
  const auto blendBands = [&](Work& work, int lo, int hi) {
    std::vector<Placed>& placed = work.placed;
    std::vector<std::uint32_t>& starts = work.starts;
    // Centres whose markers cannot reach these bands' rows are passed over
    // first, before any other work.
    const double loY = std::max(cover.y0(), cover.y0() + lo * bandRows) - margin;
    const double hiY = std::min(cover.y1(), cover.y0() + hi * bandRows) + margin;
    for (std::size_t first = 0; first < last; first += chunk) {
      const std::size_t end = std::min(last, first + chunk);
      std::size_t kept = 0;
      std::fill(starts.begin(), starts.end(), 0);
      for (std::size_t i = first; i < end; ++i) {
        const double y = batch.y[i] * map.scale + map.dy;
        // Also false for NaN and infinities.
        if (!(y >= loY && y <= hiY)) continue;
        const double x = batch.x[i] * map.scale + map.dx;
        if (!(x >= loX && x <= hiX)) continue;
        const std::size_t index = oneColor ? 0 : batch.colorIndex[i];
        if (index >= colors.size()) continue;
        // Positive before truncating: the counts floor.
        const int qx = static_cast<int>((x + kBias) * kPhases + 0.5);
        const int qy = static_cast<int>((y + kBias) * kPhases + 0.5);
        const int py = (qy >> 2) - kBias;
        static_assert(kPhases == 4);
        Placed& p = placed[kept++];
        p.x = (qx >> 2) - kBias;
        p.y = py;
        p.phase = static_cast<std::uint16_t>((qy & 3) * kPhases + (qx & 3));
        p.color = static_cast<std::uint16_t>(index);
        p.band0 = static_cast<std::uint16_t>(bandOf(py - radius));
        p.band1 = static_cast<std::uint16_t>(bandOf(py + radius));
        ++starts[p.band0 + 1u];
        if (p.band1 != p.band0) ++starts[p.band1 + 1u];
      }
      for (int b = 0; b < bands; ++b) starts[b + 1] += starts[b];
      std::copy(starts.begin(), starts.end() - 1, work.fill.begin());
      for (std::size_t k = 0; k < kept; ++k) {
        const Placed& p = placed[k];
        work.order[work.fill[p.band0]++] = static_cast<std::uint16_t>(k);
        if (p.band1 != p.band0) work.order[work.fill[p.band1]++] = static_cast<std::uint16_t>(k);
      }
      for (int b = lo; b < hi; ++b) {
        const ClipCover& band = bandCovers[static_cast<std::size_t>(b)];
        for (std::uint32_t at = starts[b]; at < starts[b + 1]; ++at) {
          const Placed& p = placed[work.order[at]];
          const Masks& phase = masks[p.phase];
          blend(image, band, phase.body, phase.wideBody, p.x, p.y, colors[p.color]);
          if (withOutline) {
            blend(image, band, phase.outline, phase.wideOutline, p.x, p.y, outlineColor);
          }
        }
      }
    }
  };
  Work work = makeWork();
  // Many points on a picture of several bands go in two halves at once (the
  // machines this draws on have two cores or more); the pixels come out the
  // same as from one thread. The halves split the bands where a sample of
  // the points splits in two, as clouds of points seldom spread evenly.
  if (last >= kThreadedPoints && bands >= 2 && twoCores()) {
    std::vector<std::size_t> sampled(static_cast<std::size_t>(bands), 0);
    std::size_t samples = 0;
    for (std::size_t i = 0; i < last; i += 61) {
      const double y = batch.y[i] * map.scale + map.dy;
      if (!(y >= cover.y0() && y < cover.y1())) continue;
      ++sampled[static_cast<std::size_t>(bandOf(static_cast<int>(y)))];
      ++samples;
    }
    int middle = 1;
    for (std::size_t below = sampled[0]; middle < bands - 1 && 2 * below < samples; ++middle) {
      below += sampled[static_cast<std::size_t>(middle)];
    }
    Work other = makeWork();
    if (!alongside([&] { blendBands(other, middle, bands); },
                   [&] { blendBands(work, 0, middle); })) {
      blendBands(work, 0, bands);
    }
    return true;
  }
  blendBands(work, 0, bands);
  return true;
}

}  // namespace chartxml::render::device
