#include "device/PngWriter.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace chartxml::render::device {
namespace {

// Level 1 with the "up" filter, matching runs only: a chart's flat areas and
// repeated rows are runs of zeros after the filter, which shrink as well as
// at the default level, in a fraction of the time.
constexpr int kLevel = 1;
constexpr unsigned char kFilterUp = 2;

void putBig32(std::string& out, std::uint32_t value) {
  const char bytes[4] = {static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                         static_cast<char>(value >> 8), static_cast<char>(value)};
  out.append(bytes, 4);
}

// Starts a chunk: its length is filled in by endChunk.
std::size_t beginChunk(std::string& out, const char* type) {
  const std::size_t at = out.size();
  putBig32(out, 0);
  out.append(type, 4);
  return at;
}

void endChunk(std::string& out, std::size_t at) {
  const std::size_t length = out.size() - at - 8;
  for (int i = 0; i < 4; ++i) out[at + i] = static_cast<char>(length >> (24 - 8 * i));
  const auto* data = reinterpret_cast<const Bytef*>(out.data() + at + 4);
  uLong crc = crc32(0L, Z_NULL, 0);
  // crc32 takes at most 4 GiB a call; a chunk of a picture of 32767
  // pixels each way can be larger.
  for (std::size_t done = 0; done < length + 4;) {
    const auto piece = static_cast<uInt>(std::min<std::size_t>(length + 4 - done, 1u << 30));
    crc = crc32(crc, data + done, piece);
    done += piece;
  }
  putBig32(out, static_cast<std::uint32_t>(crc));
}

bool opaque(const PixelImage& image) {
  for (int y = 0; y < image.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        image.data + static_cast<std::ptrdiff_t>(y) * image.stride);
    for (int x = 0; x < image.width; ++x) {
      if ((row[x] >> 24) != 255) return false;
    }
  }
  return true;
}

// One row of pixels as PNG's bytes: R, G, B (and A, straight).
void unpack(const std::uint32_t* pixels, int width, bool alpha, unsigned char* out) {
  for (int x = 0; x < width; ++x) {
    const std::uint32_t p = pixels[x];
    const std::uint32_t a = p >> 24;
    std::uint32_t r = (p >> 16) & 255, g = (p >> 8) & 255, b = p & 255;
    if (alpha) {
      if (a == 0) {
        r = g = b = 0;
      } else if (a != 255) {
        r = (r * 255 + a / 2) / a;
        g = (g * 255 + a / 2) / a;
        b = (b * 255 + a / 2) / a;
      }
    }
    *out++ = static_cast<unsigned char>(r);
    *out++ = static_cast<unsigned char>(g);
    *out++ = static_cast<unsigned char>(b);
    if (alpha) *out++ = static_cast<unsigned char>(a);
  }
}

}  // namespace

bool writePng(const PixelImage& image, std::string& out, std::string& error) {
  static const char kSignature[] = "\x89PNG\r\n\x1a\n";
  out.append(kSignature, 8);
  const bool alpha = !opaque(image);
  const int channels = alpha ? 4 : 3;

  std::size_t chunk = beginChunk(out, "IHDR");
  putBig32(out, static_cast<std::uint32_t>(image.width));
  putBig32(out, static_cast<std::uint32_t>(image.height));
  // 8 bits, RGB(A), deflate, adaptive filtering, not interlaced.
  const char header[5] = {8, static_cast<char>(alpha ? 6 : 2), 0, 0, 0};
  out.append(header, 5);
  endChunk(out, chunk);

  z_stream zs{};
  if (deflateInit2(&zs, kLevel, Z_DEFLATED, 15, 8, Z_RLE) != Z_OK) {
    error = "cannot write the picture: zlib cannot start";
    return false;
  }
  // Ended however the writing ends: the vectors and `out` below may throw.
  struct Ending {
    z_stream& zs;
    ~Ending() { deflateEnd(&zs); }
  } ending{zs};
  const std::size_t rowBytes = static_cast<std::size_t>(image.width) * channels;
  std::vector<unsigned char> previous(rowBytes, 0), current(rowBytes), filtered(rowBytes + 1);
  std::vector<unsigned char> buffer(1 << 16);
  filtered[0] = kFilterUp;
  chunk = beginChunk(out, "IDAT");
  bool ok = true;
  for (int y = 0; y < image.height && ok; ++y) {
    unpack(reinterpret_cast<const std::uint32_t*>(image.data +
                                                  static_cast<std::ptrdiff_t>(y) * image.stride),
           image.width, alpha, current.data());
    for (std::size_t i = 0; i < rowBytes; ++i) {
      filtered[i + 1] = static_cast<unsigned char>(current[i] - previous[i]);
    }
    previous.swap(current);
    zs.next_in = filtered.data();
    zs.avail_in = static_cast<uInt>(filtered.size());
    const int flush = y + 1 == image.height ? Z_FINISH : Z_NO_FLUSH;
    do {
      zs.next_out = buffer.data();
      zs.avail_out = static_cast<uInt>(buffer.size());
      if (deflate(&zs, flush) == Z_STREAM_ERROR) {
        ok = false;
        break;
      }
      out.append(reinterpret_cast<const char*>(buffer.data()), buffer.size() - zs.avail_out);
    } while (zs.avail_out == 0);
  }
  if (!ok) {
    error = "cannot write the picture: zlib failed";
    return false;
  }
  endChunk(out, chunk);
  endChunk(out, beginChunk(out, "IEND"));
  return true;
}

}  // namespace chartxml::render::device
