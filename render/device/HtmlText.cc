// Escaping and encoding for HTML: each appends to `out`. Pure functions,
// safe on any input, any thread. The page device and the tool's gallery
// both write through these.
#include "device/HtmlText.h"

#include <cstdint>
#include <utility>

namespace chartxml::render {

std::pair<char32_t, std::size_t> decodeUtf8At(std::string_view text, std::size_t i) {
  const auto c = static_cast<unsigned char>(text[i]);
  if (c < 0x80) return {c, 1};
  const std::size_t length = c >= 0xf0 ? 4 : c >= 0xe0 ? 3 : c >= 0xc0 ? 2 : 0;
  char32_t code = c & (length == 4 ? 0x07 : length == 3 ? 0x0f : 0x1f);
  bool valid = length > 0 && c < 0xf5 && i + length <= text.size();
  for (std::size_t k = 1; valid && k < length; ++k) {
    const auto next = static_cast<unsigned char>(text[i + k]);
    valid = (next & 0xc0) == 0x80;
    code = (code << 6) | (next & 0x3f);
  }
  static constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
  valid = valid && code >= kLeast[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff);
  if (!valid) return {0xfffd, 1};
  return {code, length};
}

void appendHtmlEscaped(std::string& out, std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto [code, length] = decodeUtf8At(text, i);
    switch (code) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      case 0xfffd:
        out += "\xef\xbf\xbd";
        break;
      default:
        // Controls other than tab and line breaks have no place in HTML.
        if (code >= 0x20 || code == '\t' || code == '\n') out.append(text.substr(i, length));
    }
    i += length;
  }
}

void appendJsonString(std::string& out, std::string_view text) {
  static const char kHex[] = "0123456789abcdef";
  const auto unicode = [&](char32_t code) {
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) out += kHex[(code >> shift) & 15];
  };
  out += '"';
  for (std::size_t i = 0; i < text.size();) {
    const auto [code, length] = decodeUtf8At(text, i);
    if (code == '"' || code == '\\') {
      out += '\\';
      out += static_cast<char>(code);
    } else if (code == '\n') {
      out += "\\n";
    } else if (code < 0x20 || code == '<' || code == '>' || code == '&' || code == 0x2028 ||
               code == 0x2029 || code == 0xfffd) {
      unicode(code);
    } else {
      out.append(text.substr(i, length));
    }
    i += length;
  }
  out += '"';
}

void appendBase64(std::string& out, const void* data, std::size_t bytes) {
  static const char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const auto* p = static_cast<const unsigned char*>(data);
  const std::size_t start = out.size();
  out.resize(start + (bytes + 2) / 3 * 4);
  char* to = out.data() + start;
  std::size_t i = 0;
  for (; i + 3 <= bytes; i += 3) {
    const std::uint32_t v = std::uint32_t{p[i]} << 16 | std::uint32_t{p[i + 1]} << 8 | p[i + 2];
    *to++ = kDigits[v >> 18];
    *to++ = kDigits[(v >> 12) & 63];
    *to++ = kDigits[(v >> 6) & 63];
    *to++ = kDigits[v & 63];
  }
  if (i < bytes) {
    std::uint32_t v = std::uint32_t{p[i]} << 16;
    if (i + 1 < bytes) v |= std::uint32_t{p[i + 1]} << 8;
    *to++ = kDigits[v >> 18];
    *to++ = kDigits[(v >> 12) & 63];
    *to++ = i + 1 < bytes ? kDigits[(v >> 6) & 63] : '=';
    *to++ = '=';
  }
}

}  // namespace chartxml::render
