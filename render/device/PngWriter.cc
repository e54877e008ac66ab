#include "device/PngWriter.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <queue>
#include <utility>
#include <vector>

namespace chartxml::render::device {
namespace {

// The "up" filter: a chart's flat areas and repeated rows become runs of
// zeros, which the stream below codes as runs of the byte before (deflate's
// matches at distance 1), each literal and run length in a Huffman code made
// for its block: zlib's run-only strategy, coded for these pictures. A run
// is found eight bytes at a time and a row like the one above skips the
// filter's arithmetic, so a chart is compressed several times faster than by
// zlib at its fastest, into a file a few per cent larger at most.
constexpr unsigned char kFilterUp = 2;

// A block's literals and run lengths before coding: 0-255 a literal,
// 256 + n a run of n (3 to 258) bytes repeating the one before.
using Token = std::uint16_t;
constexpr std::size_t kBlockTokens = std::size_t{1} << 16;
constexpr int kMaxRun = 258;

// Deflate's bit stream: bits fill bytes from their least significant end.
class BitWriter {
 public:
  explicit BitWriter(std::string& out) : out_(out) {}
  // Appends the low `count` bits of `value` (count at most 32).
  void put(std::uint32_t value, int count) {
    bits_ |= static_cast<std::uint64_t>(value) << filled_;
    filled_ += count;
    while (filled_ >= 8) {
      out_.push_back(static_cast<char>(bits_ & 255));
      bits_ >>= 8;
      filled_ -= 8;
    }
  }
  void flushByte() {
    if (filled_ > 0) put(0, 8 - filled_);
  }

 private:
  std::string& out_;
  std::uint64_t bits_ = 0;
  int filled_ = 0;
};

// Code lengths of a Huffman code for `freq`, none longer than `limit`:
// Huffman's construction, repeated on halved counts while a code is too
// long. Symbols of count 0 get no code.
std::vector<int> codeLengths(std::vector<std::uint32_t> freq, int limit) {
  const std::size_t n = freq.size();
  std::vector<int> lengths(n, 0);
  for (;;) {
    // Nodes: leaves first, then the merged ones; each knows its parent.
    std::vector<std::uint64_t> weight;
    std::vector<int> parent;
    std::vector<std::size_t> leafOf;
    using Entry = std::pair<std::uint64_t, int>;
    std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
    for (std::size_t i = 0; i < n; ++i) {
      if (freq[i] == 0) continue;
      queue.emplace(freq[i], static_cast<int>(weight.size()));
      weight.push_back(freq[i]);
      parent.push_back(-1);
      leafOf.push_back(i);
    }
    const std::size_t leaves = weight.size();
    if (leaves == 1) {
      lengths[leafOf[0]] = 1;
      return lengths;
    }
    while (queue.size() > 1) {
      const Entry a = queue.top();
      queue.pop();
      const Entry b = queue.top();
      queue.pop();
      const int node = static_cast<int>(weight.size());
      weight.push_back(a.first + b.first);
      parent.push_back(-1);
      parent[static_cast<std::size_t>(a.second)] = node;
      parent[static_cast<std::size_t>(b.second)] = node;
      queue.emplace(a.first + b.first, node);
    }
    int longest = 0;
    for (std::size_t leaf = 0; leaf < leaves; ++leaf) {
      int depth = 0;
      for (int at = parent[leaf]; at >= 0; at = parent[static_cast<std::size_t>(at)]) ++depth;
      lengths[leafOf[leaf]] = depth;
      longest = std::max(longest, depth);
    }
    if (longest <= limit) return lengths;
    for (std::uint32_t& f : freq) {
      if (f > 0) f = (f + 1) / 2;
    }
  }
}

// The canonical codes of `lengths` (deflate's rule: shorter codes first,
// then by symbol), bit-reversed: a code goes into the stream from its most
// significant bit.
std::vector<std::uint32_t> canonicalCodes(const std::vector<int>& lengths) {
  int longest = 0;
  for (int length : lengths) longest = std::max(longest, length);
  std::vector<std::uint32_t> count(static_cast<std::size_t>(longest) + 1, 0);
  for (int length : lengths) {
    if (length > 0) ++count[static_cast<std::size_t>(length)];
  }
  std::vector<std::uint32_t> next(count.size(), 0);
  std::uint32_t code = 0;
  for (std::size_t bits = 1; bits < count.size(); ++bits) {
    code = (code + count[bits - 1]) << 1;
    next[bits] = code;
  }
  std::vector<std::uint32_t> codes(lengths.size(), 0);
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    if (lengths[i] == 0) continue;
    const std::uint32_t code = next[static_cast<std::size_t>(lengths[i])]++;
    for (int bit = 0; bit < lengths[i]; ++bit)
      codes[i] |= ((code >> bit) & 1u) << (lengths[i] - 1 - bit);
  }
  return codes;
}

// Deflate's length symbols: 257 + index, with that many extra bits above
// the base length.
constexpr int kLengthBase[29] = {3,  4,  5,  6,  7,  8,  9,  10, 11,  13,  15,  17,  19,  23, 27,
                                 31, 35, 43, 51, 59, 67, 83, 99, 115, 131, 163, 195, 227, 258};
constexpr int kLengthExtra[29] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2,
                                  2, 3, 3, 3, 3, 4, 4, 4, 4, 5, 5, 5, 5, 0};

int lengthIndex(int run) {
  int index = 28;
  while (kLengthBase[index] > run) --index;
  return index;
}

// Writes `tokens` as one deflate block with a code of its own.
void writeBlock(BitWriter& bits, const std::vector<Token>& tokens, bool last) {
  std::vector<std::uint32_t> freq(286, 0);
  for (Token t : tokens) ++freq[t < 256 ? t : 257u + static_cast<unsigned>(lengthIndex(t - 256))];
  freq[256] = 1;  // the block's end
  if (std::count_if(freq.begin(), freq.end(), [](std::uint32_t f) { return f > 0; }) < 2) {
    freq[0] = std::max<std::uint32_t>(freq[0], 1);  // a complete code needs two symbols
  }
  const std::vector<int> litLengths = codeLengths(freq, 15);
  const std::vector<std::uint32_t> litCodes = canonicalCodes(litLengths);
  std::size_t hlit = 286;
  while (hlit > 257 && litLengths[hlit - 1] == 0) --hlit;

  // The code lengths of both codes (the distance code: distance 1 alone,
  // one bit), run-length coded with symbols 16 to 18.
  std::vector<int> all(litLengths.begin(), litLengths.begin() + static_cast<std::ptrdiff_t>(hlit));
  all.push_back(1);
  std::vector<std::pair<int, int>> lengthSymbols;  // symbol, extra bits' value
  for (std::size_t i = 0; i < all.size();) {
    std::size_t same = 1;
    while (i + same < all.size() && all[i + same] == all[i]) ++same;
    if (all[i] == 0 && same >= 3) {
      const std::size_t take = std::min<std::size_t>(same, 138);
      lengthSymbols.emplace_back(take >= 11 ? 18 : 17,
                                 static_cast<int>(take - (take >= 11 ? 11 : 3)));
      i += take;
    } else if (all[i] != 0 && same >= 4) {
      lengthSymbols.emplace_back(all[i], 0);
      const std::size_t take = std::min<std::size_t>(same - 1, 6);
      lengthSymbols.emplace_back(16, static_cast<int>(take - 3));
      i += 1 + take;
    } else {
      lengthSymbols.emplace_back(all[i], 0);
      ++i;
    }
  }
  std::vector<std::uint32_t> lengthFreq(19, 0);
  for (const auto& [symbol, extra] : lengthSymbols) ++lengthFreq[static_cast<std::size_t>(symbol)];
  if (std::count_if(lengthFreq.begin(), lengthFreq.end(), [](std::uint32_t f) { return f > 0; }) <
      2) {
    lengthFreq[lengthFreq[0] > 0 ? 1 : 0] = 1;
  }
  const std::vector<int> lengthLengths = codeLengths(lengthFreq, 7);
  const std::vector<std::uint32_t> lengthCodes = canonicalCodes(lengthLengths);
  static constexpr int kOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                     11, 4,  12, 3, 13, 2, 14, 1, 15};
  int hclen = 19;
  while (hclen > 4 && lengthLengths[static_cast<std::size_t>(kOrder[hclen - 1])] == 0) --hclen;

  bits.put(last ? 1 : 0, 1);
  bits.put(2, 2);  // a dynamic code
  bits.put(static_cast<std::uint32_t>(hlit - 257), 5);
  bits.put(0, 5);  // one distance code
  bits.put(static_cast<std::uint32_t>(hclen - 4), 4);
  for (int i = 0; i < hclen; ++i) {
    bits.put(static_cast<std::uint32_t>(lengthLengths[static_cast<std::size_t>(kOrder[i])]), 3);
  }
  for (const auto& [symbol, extra] : lengthSymbols) {
    const auto s = static_cast<std::size_t>(symbol);
    bits.put(lengthCodes[s], lengthLengths[s]);
    if (symbol == 16) bits.put(static_cast<std::uint32_t>(extra), 2);
    if (symbol == 17) bits.put(static_cast<std::uint32_t>(extra), 3);
    if (symbol == 18) bits.put(static_cast<std::uint32_t>(extra), 7);
  }
  for (Token t : tokens) {
    if (t < 256) {
      bits.put(litCodes[t], litLengths[t]);
      continue;
    }
    const int run = t - 256;
    const int index = lengthIndex(run);
    const auto symbol = static_cast<std::size_t>(257 + index);
    bits.put(litCodes[symbol], litLengths[symbol]);
    if (kLengthExtra[index] > 0) {
      bits.put(static_cast<std::uint32_t>(run - kLengthBase[index]), kLengthExtra[index]);
    }
    bits.put(0, 1);  // distance 1: the distance code's only code
  }
  bits.put(litCodes[256], litLengths[256]);
}

// The zlib stream of the filtered rows: tokens gathered row by row, a block
// written whenever enough are gathered, the checksum kept alongside.
class ZlibStream {
 public:
  explicit ZlibStream(std::string& out) : bits_(out) {
    out.push_back(0x78);  // deflate, 32 KiB window
    out.push_back(0x01);  // no dictionary, header check
    tokens_.reserve(kBlockTokens + kMaxRun);
  }

  void add(const unsigned char* data, std::size_t size) {
    std::size_t i = 0;
    while (i < size) {
      const unsigned char b = data[i];
      if (b != previous_) {
        tokens_.push_back(b);
        previous_ = b;
        checkByte(b);
        ++i;
        continue;
      }
      const std::size_t run = runOf(data + i, size - i, b);
      checkRun(b, run);
      for (std::size_t left = run; left > 0;) {
        if (left < 3) {
          for (; left > 0; --left) tokens_.push_back(b);
          break;
        }
        const std::size_t take = std::min<std::size_t>(left, kMaxRun);
        tokens_.push_back(static_cast<Token>(256 + take));
        left -= take;
      }
      i += run;
    }
    if (tokens_.size() >= kBlockTokens) {
      writeBlock(bits_, tokens_, false);
      tokens_.clear();
    }
  }

  void finish(std::string& out) {
    writeBlock(bits_, tokens_, true);
    bits_.flushByte();
    reduce();
    const std::uint64_t adler = (b_ << 16) | a_;
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>(adler >> shift));
  }

 private:
  // The Adler-32 checksum of the bytes, kept as its two sums: a byte at a
  // time, or a run at once (n bytes of v add n * v to the first sum and
  // n * a + v * n (n + 1) / 2 to the second).
  static constexpr std::uint64_t kAdlerBase = 65521;
  void checkByte(unsigned char v) {
    a_ += v;
    b_ += a_;
    if (++unreduced_ == 1u << 16) reduce();  // far below the sums' overflow
  }
  void checkRun(unsigned char v, std::uint64_t n) {
    reduce();
    b_ = (b_ + n % kAdlerBase * a_ + v * (n * (n + 1) / 2 % kAdlerBase)) % kAdlerBase;
    a_ = (a_ + n % kAdlerBase * v) % kAdlerBase;
  }
  void reduce() {
    a_ %= kAdlerBase;
    b_ %= kAdlerBase;
    unreduced_ = 0;
  }

  // How many bytes from `data` on equal `b`, eight at a time.
  static std::size_t runOf(const unsigned char* data, std::size_t size, unsigned char b) {
    const std::uint64_t pattern = 0x0101010101010101ull * b;
    std::size_t n = 0;
    while (n + 8 <= size) {
      std::uint64_t word;
      std::memcpy(&word, data + n, 8);
      if (word != pattern) break;
      n += 8;
    }
    while (n < size && data[n] == b) ++n;
    return n;
  }

  BitWriter bits_;
  std::vector<Token> tokens_;
  int previous_ = -1;  // the byte before, or none
  std::uint64_t a_ = 1, b_ = 0;
  unsigned unreduced_ = 0;
};

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

// Whether every pixel's alpha is 255: a row's pixels ANDed together (a loop
// the compiler vectorizes; a test per pixel took longer than the rest of
// the PNG's writing).
bool opaque(const PixelImage& image) {
  for (int y = 0; y < image.height; ++y) {
    const auto* row = reinterpret_cast<const std::uint32_t*>(
        image.data + static_cast<std::ptrdiff_t>(y) * image.stride);
    std::uint32_t all = ~0u;
    for (int x = 0; x < image.width; ++x) all &= row[x];
    if ((all >> 24) != 255) return false;
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

bool writePng(const PixelImage& image, std::string& out, std::string& /*error*/) {
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

  const std::size_t rowBytes = static_cast<std::size_t>(image.width) * channels;
  const std::size_t pixelBytes = static_cast<std::size_t>(image.width) * 4;
  // A row's filter byte and bytes; a row like the one above is all zeros.
  std::vector<unsigned char> previous(rowBytes, 0), current(rowBytes), filtered(rowBytes + 1, 0),
      same(rowBytes + 1, 0);
  filtered[0] = same[0] = kFilterUp;
  chunk = beginChunk(out, "IDAT");
  ZlibStream stream(out);
  const unsigned char* above = nullptr;
  for (int y = 0; y < image.height; ++y) {
    const unsigned char* row = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
    if (above != nullptr && std::memcmp(row, above, pixelBytes) == 0) {
      stream.add(same.data(), same.size());
    } else {
      unpack(reinterpret_cast<const std::uint32_t*>(row), image.width, alpha, current.data());
      for (std::size_t i = 0; i < rowBytes; ++i) {
        filtered[i + 1] = static_cast<unsigned char>(current[i] - previous[i]);
      }
      previous.swap(current);
      stream.add(filtered.data(), filtered.size());
    }
    above = row;
  }
  stream.finish(out);
  endChunk(out, chunk);
  endChunk(out, beginChunk(out, "IEND"));
  return true;
}

}  // namespace chartxml::render::device
