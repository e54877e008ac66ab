// Markers blended straight into a picture's pixels. Drawing a million
// markers as paths through cairo takes seconds; here each marker is drawn
// once by cairo into small coverage masks (one per quarter-pixel offset of
// its centre), and every point then blends its colour through the mask of
// its offset, as cairo would composite it (premultiplied OVER).
#pragma once

#include <cstdint>
#include <vector>

#include "scene/Scene.h"

namespace chartxml::render::device {

// An ARGB32 image in memory as cairo's image surfaces hold it: native-endian
// 32-bit pixels with premultiplied alpha, rows `stride` bytes apart.
struct PixelImage {
  unsigned char* data = nullptr;
  int width = 0, height = 0, stride = 0;
};

// Picture pixels to image pixels: image = picture * scale + offset.
struct PixelMap {
  double scale = 1, dx = 0, dy = 0;
};

// The rectangle markers are clipped to, in image pixels. Its edges may fall
// inside pixels; those pixels then take the covered share of each marker.
struct PixelClip {
  double x0 = 0, y0 = 0, x1 = 0, y1 = 0;
};

// The largest marker blitted, in image pixels; larger ones (a few, by
// nature) are left to paths.
constexpr double kMaxBlitMarker = 256;

// Whether blitPoints draws `batch` at `scale`: a drawable batch of markers
// no larger than kMaxBlitMarker.
bool blittable(const PointBatch& batch, double scale);

// Draws the markers of a blittable `batch` into `image`, in order, each
// marker's body in its colour and then its outline, clipped to `clip` and
// the image. Points with a coordinate that is not finite or a colour index
// outside the palette are skipped, as every device skips them. False, with
// nothing drawn, when cairo cannot draw a mask (out of memory). The masks
// of a marker are kept, per thread, for the next batch of the same marker
// when they take at most 256 KiB. Throws std::bad_alloc as allocation does.
bool blitPoints(const PointBatch& batch, const PixelMap& map, const PixelClip& clip,
                const PixelImage& image);

// One marker's coverage (0 none, 255 full) for one offset of its centre:
// `width` x `height` bytes whose first lands `left`, `top` pixels from the
// pixel holding the centre.
struct MarkerMask {
  int left = 0, top = 0, width = 0, height = 0;
  std::vector<std::uint8_t> coverage;
};

// The masks of a marker of `batch`'s shape and size at `scale`, centred a
// quarter pixel times `phaseX` and `phaseY` (0..3) right and down of a
// pixel's top-left corner: the body, and the outline (empty when the batch
// has none). False when cairo fails.
bool markerMasks(const PointBatch& batch, double scale, int phaseX, int phaseY, MarkerMask& body,
                 MarkerMask& outline);

}  // namespace chartxml::render::device
