// UTF-8 encoding shared by the chart strings and the document printer.
#ifndef CHARTXML_HOST_KYTOCHART_UTF8_H_
#define CHARTXML_HOST_KYTOCHART_UTF8_H_

#include <string>

namespace cxhost {

// Writes the UTF-8 bytes of the code point `c` (at most 0x10FFFF, not a
// surrogate: callers replace those first) at `out`, which has room for 4,
// and returns the end of what was written.
inline char* putCodePoint(char* out, char32_t c) {
  if (c < 0x80) {
    *out++ = static_cast<char>(c);
  } else if (c < 0x800) {
    *out++ = static_cast<char>(0xC0 | (c >> 6));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    *out++ = static_cast<char>(0xE0 | (c >> 12));
    *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  } else {
    *out++ = static_cast<char>(0xF0 | (c >> 18));
    *out++ = static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    *out++ = static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

// Appends the UTF-8 bytes of `c`, as putCodePoint.
inline void appendCodePoint(std::string& out, char32_t c) {
  char bytes[4];
  out.append(bytes, static_cast<std::size_t>(putCodePoint(bytes, c) - bytes));
}

}  // namespace cxhost

#endif  // CHARTXML_HOST_KYTOCHART_UTF8_H_
