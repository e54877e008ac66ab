// PNG files written from cairo's image pixels with a fixed, fast
// compression: cairo's own writer takes longer to compress a picture than
// the renderer takes to draw a million points.
#pragma once

#include <string>

#include "device/MarkerBlit.h"

namespace chartxml::render::device {

// Appends `image` to `out` as an 8-bit PNG: RGB when every pixel is opaque,
// else RGBA with the alpha taken out of the colours again. No chunk holds a
// time or anything else that changes between runs. False, with `error` set,
// when zlib fails.
bool writePng(const PixelImage& image, std::string& out, std::string& error);

}  // namespace chartxml::render::device
