// Numbers with at most nine decimals and a magnitude between 0.001 and 1e9
// are written as their decimals scaled to a whole number: the fewest
// decimals k for which round(value * 10^k) / 10^k gives the value back.
// Why that is std::to_chars' text:
// - Division is correctly rounded, as reading a number is: when m / 10^k
//   gives the value back, so does the text of m with k decimals.
// - Below 2^50, value * 10^k is within a quarter of the whole number m of
//   any k-decimal text that reads back, so rounding finds it, and it is the
//   only one: the value's rounding interval is narrower than 10^-k.
// - A text that reads back with k decimals does so with k + 1: the fewest
//   are found by going down from a guess (or from nine, when the guess has
//   too few) until one fails, and none are when nine fail.
// - Fewest decimals means fewest significant digits, and above 0.001 the
//   fixed form is never longer than the scientific one, which to_chars
//   prefers only when shorter; whole numbers with many trailing zeros are
//   shorter in scientific form and are left to to_chars.
#include "chartutl/ShortestNumber.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace cxhost {

namespace {

constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr int kMostDecimals = 9;
constexpr double kExactBelow = 1125899906842624.0;  // 2^50

// Whether `value` has a text of `k` decimals; `whole` is its digits.
bool readsBackWith(double value, int k, std::int64_t& whole) {
  const double scaled = value * kPowers[k];
  if (!(std::fabs(scaled) < kExactBelow)) return false;
  whole = std::llrint(scaled);
  return static_cast<double>(whole) / kPowers[k] == value;
}

char* writeFixed(char* pos, std::int64_t whole, int k) {
  std::uint64_t magnitude = static_cast<std::uint64_t>(whole);
  if (whole < 0) {
    *pos++ = '-';
    magnitude = 0 - magnitude;
  }
  char digits[24];
  const int count =
      static_cast<int>(std::to_chars(digits, digits + sizeof digits, magnitude).ptr - digits);
  if (k == 0) {
    std::memcpy(pos, digits, static_cast<std::size_t>(count));
    return pos + count;
  }
  if (count <= k) {
    *pos++ = '0';
    *pos++ = '.';
    for (int i = count; i < k; ++i) *pos++ = '0';
    std::memcpy(pos, digits, static_cast<std::size_t>(count));
    return pos + count;
  }
  std::memcpy(pos, digits, static_cast<std::size_t>(count - k));
  pos += count - k;
  *pos++ = '.';
  std::memcpy(pos, digits + count - k, static_cast<std::size_t>(k));
  return pos + k;
}

}  // namespace

char* writeShortest(char* pos, double value, int& decimals) {
  const double magnitude = std::fabs(value);
  if (magnitude >= 1e-3 && magnitude < 1e9) {
    int k = decimals < 0 || decimals > kMostDecimals ? 0 : decimals;
    std::int64_t whole = 0;
    if (!readsBackWith(value, k, whole)) {
      // More decimals than the guess: the most there are for, or none will
      // do (a column of numbers in full precision costs one try a value).
      decimals = kMostDecimals;
      if (k == kMostDecimals || !readsBackWith(value, kMostDecimals, whole)) {
        return std::to_chars(pos, pos + kShortestNumberRoom, value).ptr;
      }
      k = kMostDecimals;
    }
    std::int64_t fewer = 0;
    while (k > 0 && readsBackWith(value, k - 1, fewer)) {
      --k;
      whole = fewer;
    }
    decimals = k;
    // 100000 is "1e+05" to to_chars: the scientific form is the shorter.
    const bool scientific = k == 0 && whole % 10 == 0 && (whole >= 100000 || whole <= -100000);
    if (!scientific) return writeFixed(pos, whole, k);
  }
  return std::to_chars(pos, pos + kShortestNumberRoom, value).ptr;
}

}  // namespace cxhost
