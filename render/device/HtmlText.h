// Escaping and encoding for HTML and SVG (the page device, the SVG writer and
// the tool's gallery): each appends to `out`. Pure functions, safe on
// any input, any thread.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace chartxml::render {

// The code point at text[i] and its length in bytes: U+FFFD and length 1 for
// a byte that does not start valid UTF-8 (overlong forms, surrogates and
// code points past U+10FFFF included).
std::pair<char32_t, std::size_t> decodeUtf8At(std::string_view text, std::size_t i);

// HTML text or a quoted attribute value: & < > " ' as references, invalid
// UTF-8 as U+FFFD, control characters other than tab and newline dropped.
void appendHtmlEscaped(std::string& out, std::string_view text);

// A JSON string, quotes included, safe inside a <script> element: '<', '>',
// '&', U+2028 and U+2029 (and controls) as \u escapes, so that no text can
// end the element; invalid UTF-8 as \ufffd.
void appendJsonString(std::string& out, std::string_view text);

// `bytes` bytes at `data` in base64 (RFC 4648, padded).
void appendBase64(std::string& out, const void* data, std::size_t bytes);

}  // namespace chartxml::render
