// Plain decimals read quickly and exactly, for the CSV readers of the host
// and the renderer (header only: the renderer does not link the host).
//
// A plain decimal is an optional '-', then digits with at most one '.' among
// them (at least one digit), and no exponent. With at most 15 digits it is a
// whole number m below 2^53 over a power of ten 10^k with k at most 15, both
// exact as doubles, so the correctly rounded quotient m / 10^k is the value
// a correctly rounded reader (std::from_chars) gives the text. The texts
// data mostly holds are such; the rest is the caller's to read the general
// way.
#ifndef CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_
#define CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_

#include <cstdint>

namespace cxio {

// Reads a plain decimal of at most 15 digits at `p`: where it ends, with
// `value` and `decimals` (the digits after the point) set; null when the
// text there is not one (a '+', an exponent, more digits), `value` and
// `decimals` then unspecified.
inline const char* scanPlainDecimal(const char* p, const char* end, double& value, int& decimals) {
  static constexpr double kPowers[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr int kMostDigits = 15;
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  std::uint64_t whole = 0;
  int digits = 0;
  const char* point = nullptr;
  for (; p != end; ++p) {
    const unsigned digit = static_cast<unsigned char>(*p) - unsigned{'0'};
    if (digit < 10) {
      whole = whole * 10 + digit;
      ++digits;
    } else if (*p == '.' && point == nullptr) {
      point = p;
    } else {
      break;
    }
  }
  if (digits == 0 || digits > kMostDigits) return nullptr;
  if (p != end && (*p == 'e' || *p == 'E')) return nullptr;
  decimals = point == nullptr ? 0 : static_cast<int>(p - point - 1);
  const double magnitude = static_cast<double>(whole) / kPowers[decimals];
  value = negative ? -magnitude : magnitude;
  return p;
}

}  // namespace cxio

#endif  // CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_
