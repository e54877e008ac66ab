#include "chartxml/host/ChartString.h"

#include <locale.h>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>

#include "kytochart/Utf8.h"

using cxhost::appendCodePoint;

namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool isContinuation(unsigned char b) {
  return (b & 0xC0) == 0x80;
}

bool isBlank(char16_t c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
bool isDigit(char16_t c) {
  return c >= '0' && c <= '9';
}

// Numbers are read in the "C" locale whatever the process has set: the texts
// are chart data, and a decimal comma would misread them.
locale_t cLocale() {
  static locale_t locale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
  return locale;
}

// The leading ASCII part of `text`: no number extends past a non-ASCII
// character, so that is all strtod needs to see.
std::string asciiPrefix(std::u16string_view text) {
  std::string out;
  for (char16_t c : text) {
    if (c == 0 || c >= 0x80) break;
    out += static_cast<char>(c);
  }
  return out;
}

double parseNumber(const std::string& text) {
  const char* begin = text.c_str();
  char* end = nullptr;
  double value = strtod_l(begin, &end, cLocale());
  return end == begin ? 0.0 : value;
}

}  // namespace

ChartString::ChartString(std::u16string_view text) : text_(text) {}

ChartString::ChartString(const char16_t* text) {
  if (text) text_ = text;
}

ChartString::ChartString(std::u16string_view text, std::u16string_view english)
    : text_(text), english_(english), hasEnglish_(true) {}

void ChartString::assign(std::u16string_view text, std::u16string_view english) {
  text_ = text;
  english_ = english;
  hasEnglish_ = true;
}

void ChartString::assignUTF8(std::string_view utf8) {
  text_ = fromUTF8(utf8);
}

void ChartString::assignUTF8ForEng(std::string_view utf8) {
  english_ = fromUTF8(utf8);
  hasEnglish_ = true;
}

void ChartString::assignDouble(double value) {
  // to_chars with "general" and a precision is specified as printf("%.*g") in
  // the "C" locale, which snprintf would only give if the process locale is C.
  char buffer[64];
  auto result =
      std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 16);
  text_.assign(buffer, result.ptr);
  english_.clear();
  hasEnglish_ = false;
}

void ChartString::clear() {
  text_.clear();
  english_.clear();
  hasEnglish_ = false;
}

std::string ChartString::toUTF8() const {
  return toUTF8(text_);
}

std::string ChartString::toUTF8ForEng() const {
  return toUTF8(english());
}

ChartString& ChartString::append(std::u16string_view text) {
  text_ += text;
  if (hasEnglish_) english_ += text;
  return *this;
}

ChartString& ChartString::append(const ChartString& other) {
  if (hasEnglish_ || other.hasEnglish_) {
    // Our English form starts as our localised one when we had none.
    std::u16string combined = english();
    combined += other.english();
    english_ = std::move(combined);
    hasEnglish_ = true;
  }
  text_ += other.text_;
  return *this;
}

namespace {

std::size_t replaceAll(std::u16string& text, std::u16string_view from, std::u16string_view to) {
  std::size_t count = 0;
  std::u16string out;
  std::size_t start = 0;
  for (std::size_t at = text.find(from); at != std::u16string::npos; at = text.find(from, start)) {
    out.append(text, start, at - start);
    out += to;
    start = at + from.size();
    ++count;
  }
  if (count == 0) return 0;
  out.append(text, start, std::u16string::npos);
  text = std::move(out);
  return count;
}

}  // namespace

std::size_t ChartString::replace(std::u16string_view from, std::u16string_view to) {
  if (from.empty()) return 0;
  if (hasEnglish_) replaceAll(english_, from, to);
  return replaceAll(text_, from, to);
}

bool ChartString::isNumber() const {
  std::size_t begin = 0, end = text_.size();
  while (begin < end && isBlank(text_[begin])) ++begin;
  while (end > begin && isBlank(text_[end - 1])) --end;
  // strtod alone would also take "nan", "inf" and hexadecimal text, so the
  // decimal syntax is checked first.
  std::size_t i = begin;
  if (i < end && (text_[i] == '+' || text_[i] == '-')) ++i;
  std::size_t digits = 0;
  while (i < end && isDigit(text_[i])) ++i, ++digits;
  if (i < end && text_[i] == '.') {
    ++i;
    while (i < end && isDigit(text_[i])) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < end && (text_[i] == 'e' || text_[i] == 'E')) {
    ++i;
    if (i < end && (text_[i] == '+' || text_[i] == '-')) ++i;
    std::size_t exponentDigits = 0;
    while (i < end && isDigit(text_[i])) ++i, ++exponentDigits;
    if (exponentDigits == 0) return false;
  }
  if (i != end) return false;
  // Decimal text that overflows ("1e999") is not a finite number.
  return std::isfinite(
      parseNumber(asciiPrefix(std::u16string_view(text_).substr(begin, end - begin))));
}

double ChartString::convertToDouble() const {
  return parseNumber(asciiPrefix(text_));
}

std::u16string ChartString::fromUTF8(std::string_view utf8) {
  std::u16string out;
  out.reserve(utf8.size());
  const auto* s = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t n = utf8.size();
  std::size_t i = 0;
  while (i < n) {
    const unsigned char lead = s[i];
    if (lead < 0x80) {
      out += static_cast<char16_t>(lead);
      ++i;
      continue;
    }
    // Length and the allowed range of the second byte, which excludes
    // overlong forms, surrogates and code points above U+10FFFF.
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
      length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
      length = 3;
      if (lead == 0xE0) low = 0xA0;
      if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
      length = 4;
      if (lead == 0xF0) low = 0x90;
      if (lead == 0xF4) high = 0x8F;
    }
    if (length == 0) {
      out += kReplacement;
      ++i;
      continue;
    }
    // One U+FFFD per maximal ill-formed subpart: a broken sequence consumes
    // the bytes that were valid so far, and the offending byte starts anew.
    char32_t c = lead & (0xFF >> (length + 1));
    std::size_t k = 1;
    for (; k < length && i + k < n; ++k) {
      const unsigned char b = s[i + k];
      if (k == 1 ? (b < low || b > high) : !isContinuation(b)) break;
      c = (c << 6) | (b & 0x3F);
    }
    if (k < length) {
      out += kReplacement;
      i += k;
      continue;
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out += static_cast<char16_t>(0xD800 + (c >> 10));
      out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
    } else {
      out += static_cast<char16_t>(c);
    }
    i += length;
  }
  return out;
}

std::string ChartString::toUTF8(std::u16string_view utf16) {
  std::string out;
  appendUTF8(utf16, out);
  return out;
}

void ChartString::appendUTF8(std::u16string_view utf16, std::string& out) {
  out.reserve(out.size() + utf16.size());
  for (std::size_t i = 0; i < utf16.size(); ++i) {
    char32_t c = utf16[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 &&
        utf16[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (utf16[i + 1] - 0xDC00);
      ++i;
    } else if (c >= 0xD800 && c <= 0xDFFF) {
      c = kReplacement;
    }
    appendCodePoint(out, c);
  }
}
