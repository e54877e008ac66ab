// PNG files written from cairo's image pixels with a compression of our
// own: cairo's writer, or zlib at its fastest, takes longer to compress a
// chart than the renderer takes to draw a small one.
#pragma once

#include <string>

#include "device/MarkerBlit.h"

namespace chartxml::render::device {

// Appends `image` to `out` as an 8-bit PNG: RGB when every pixel is opaque,
// else RGBA with the alpha taken out of the colours again. No chunk holds a
// time or anything else that changes between runs. Always true (`error`
// untouched): only running out of memory, which throws, stops it.
bool writePng(const PixelImage& image, std::string& out, std::string& error);

}  // namespace chartxml::render::device
