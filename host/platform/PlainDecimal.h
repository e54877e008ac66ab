// Plain decimals read quickly and exactly, for the CSV readers of the host
// and the renderer (header only: the renderer does not link the host).
//
// A plain decimal is an optional '-', then digits with at most one '.' among
// them (at least one digit), and no exponent. It is a whole number m over a
// power of ten 10^k.
// - With at most 15 digits, m is below 2^53 and k at most 15: both are exact
//   as doubles, so the correctly rounded quotient m / 10^k is the value a
//   correctly rounded reader (std::from_chars) gives the text.
// - With 16 to 19 digits (numbers written in full precision), m is below
//   2^64 and 10^k = 2^k * 5^k with 5^k below 2^64: both are exact in the x87
//   extended format, whose quotient is correctly rounded to 64 bits. Rounding
//   that to a double's 53 bits is rounding twice, which differs from rounding
//   once only when the first rounding lands exactly halfway between two
//   doubles (the 11 bits dropped are 10000000000): the halfway points are
//   exact in 64 bits, so a quotient on either side of one stays on that
//   side. Those few are left to the caller, as is everything where long
//   double is not that format.
// The texts data mostly holds are such; the rest is the caller's to read the
// general way.
#ifndef CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_
#define CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_

#include <cfloat>
#include <cstdint>
#include <cstring>

namespace cxio {

// The value of `whole` / 10^`decimals` (16 to 19 digits in all), correctly
// rounded to a double; false when it cannot be had this way.
inline bool longDecimalValue(std::uint64_t whole, int decimals, double& magnitude) {
#if LDBL_MANT_DIG == 64
  static constexpr long double kPowers[] = {1e0L,  1e1L,  1e2L,  1e3L,  1e4L,  1e5L,  1e6L,
                                            1e7L,  1e8L,  1e9L,  1e10L, 1e11L, 1e12L, 1e13L,
                                            1e14L, 1e15L, 1e16L, 1e17L, 1e18L, 1e19L};
  const long double quotient = static_cast<long double>(whole) / kPowers[decimals];
  std::uint64_t significand = 0;  // the first 8 bytes, with the explicit leading bit
  std::memcpy(&significand, &quotient, sizeof significand);
  constexpr std::uint64_t kDropped = 0x7FF, kHalfway = 0x400;
  if ((significand & kDropped) == kHalfway) return false;
  magnitude = static_cast<double>(quotient);
  return true;
#else
  (void)whole;
  (void)decimals;
  (void)magnitude;
  return false;
#endif
}

// Reads the digits at `p` into `whole` (wrapping past 19 digits), counted
// in `digits`, and returns where they end: eight at a time while eight
// follow (a few multiplications instead of eight dependent steps).
inline const char* digitRun(const char* p, const char* end, std::uint64_t& whole, int& digits) {
  while (end - p >= 8) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, p, sizeof eight);
    // Every byte '0' to '9': neither above '9' (a carry into the top bit
    // when 0x46 is added) nor below '0' (a borrow when 0x30 is taken).
    constexpr std::uint64_t kOnes = 0x0101010101010101, kTops = 0x8080808080808080;
    if ((((eight + 0x46 * kOnes) | (eight - 0x30 * kOnes)) & kTops) != 0) break;
    // Digit values; then pairs, fours and the eight combined, the first
    // character (the lowest byte) the most significant.
    eight -= 0x30 * kOnes;
    eight = eight * 10 + (eight >> 8);
    constexpr std::uint64_t kMask = 0x000000FF000000FF;
    constexpr std::uint64_t kHundredAndMillion = 100 + (std::uint64_t{1000000} << 32);
    constexpr std::uint64_t kOneAndTenThousand = 1 + (std::uint64_t{10000} << 32);
    eight =
        (((eight & kMask) * kHundredAndMillion) + (((eight >> 16) & kMask) * kOneAndTenThousand)) >>
        32;
    whole = whole * 100000000 + static_cast<std::uint32_t>(eight);
    digits += 8;
    p += 8;
  }
  for (; p != end; ++p) {
    const unsigned digit = static_cast<unsigned char>(*p) - unsigned{'0'};
    if (digit >= 10) break;
    whole = whole * 10 + digit;
    ++digits;
  }
  return p;
}

// Reads a plain decimal of at most 19 digits at `p`: where it ends, with
// `value` and `decimals` (the digits after the point) set; null when the
// text there is not one (a '+', an exponent, more digits) or is one of the
// rare long ones read the general way, `value` and `decimals` then
// unspecified.
inline const char* scanPlainDecimal(const char* p, const char* end, double& value, int& decimals) {
  static constexpr double kPowers[] = {1,   1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                       1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr int kMostExactDigits = 15, kMostDigits = 19;
  const bool negative = p != end && *p == '-';
  if (negative) ++p;
  std::uint64_t whole = 0;
  int digits = 0;
  p = digitRun(p, end, whole, digits);
  const char* point = nullptr;
  if (p != end && *p == '.') {
    point = p;
    p = digitRun(p + 1, end, whole, digits);
  }
  if (digits == 0 || digits > kMostDigits) return nullptr;
  if (p != end && (*p == 'e' || *p == 'E')) return nullptr;
  decimals = point == nullptr ? 0 : static_cast<int>(p - point - 1);
  double magnitude = 0;
  if (digits <= kMostExactDigits) {
    magnitude = static_cast<double>(whole) / kPowers[decimals];
  } else if (!longDecimalValue(whole, decimals, magnitude)) {
    return nullptr;
  }
  value = negative ? -magnitude : magnitude;
  return p;
}

}  // namespace cxio

#endif  // CHARTXML_HOST_PLATFORM_PLAINDECIMAL_H_
