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
// Other numbers of that magnitude (written in full precision) are written by
// exact integer arithmetic; see `writeFullPrecision`.
#include "chartutl/ShortestNumber.h"

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace cxhost {

namespace {

constexpr double kPowers[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9};
constexpr int kMostDecimals = 9;
constexpr double kExactBelow = 1125899906842624.0;  // 2^50

// 10^k for k up to 19, the most below 2^64.
constexpr auto kTens = [] {
  std::array<std::uint64_t, 20> tens{};
  tens[0] = 1;
  for (std::size_t i = 1; i < tens.size(); ++i) tens[i] = tens[i - 1] * 10;
  return tens;
}();

// "00" to "99", for writing digits two at a time.
constexpr auto kDigitPairs = [] {
  std::array<char, 200> pairs{};
  for (std::size_t i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<char>('0' + i / 10);
    pairs[2 * i + 1] = static_cast<char>('0' + i % 10);
  }
  return pairs;
}();

// 5^s for every scale s the exact way takes (19 at most).
constexpr auto kFives = [] {
  std::array<std::uint64_t, 21> fives{};
  fives[0] = 1;
  for (std::size_t i = 1; i < fives.size(); ++i) fives[i] = fives[i - 1] * 5;
  return fives;
}();

// `scaled` (below 2^51) rounded to a whole number, halfway to even, as
// llrint rounds it, without a call: adding 1.5 * 2^52 leaves no bits for a
// fraction.
std::int64_t roundToWhole(double scaled) {
  constexpr double kNoFraction = 6755399441055744.0;
  return static_cast<std::int64_t>((scaled + kNoFraction) - kNoFraction);
}

// Whether `value` has a text of `k` decimals; `whole` is its digits.
bool readsBackWith(double value, int k, std::int64_t& whole) {
  const double scaled = value * kPowers[k];
  if (!(std::fabs(scaled) < kExactBelow)) return false;
  whole = roundToWhole(scaled);
  return static_cast<double>(whole) / kPowers[k] == value;
}

// The number of digits of `n` (1 for 0): log10 estimated from the bit
// length, then corrected by one comparison.
int digitCount(std::uint64_t n) {
  n |= 1;  // no change to the count, and 0 counts as a digit
  const int estimate = (std::bit_width(n) * 1233) >> 12;
  return estimate + (n >= kTens[static_cast<std::size_t>(estimate)] ? 1 : 0);
}

// Writes the 8 digits of `n` (below 10^8), zeros first: four pairs, each
// found without waiting for the others.
void writeEightDigits(char* out, std::uint32_t n) {
  const std::uint32_t high = n / 10000, low = n % 10000;
  std::memcpy(out, &kDigitPairs[2 * (high / 100)], 2);
  std::memcpy(out + 2, &kDigitPairs[2 * (high % 100)], 2);
  std::memcpy(out + 4, &kDigitPairs[2 * (low / 100)], 2);
  std::memcpy(out + 6, &kDigitPairs[2 * (low % 100)], 2);
}

// Writes `whole` / 10^k with k decimals (k at most 19, and at most 16
// digits before the point). The digits are written in three runs of eight,
// zeros first, and copied out in blocks of fixed size, which compilers
// turn into a few moves: hence kShortestNumberRoom.
char* writeFixed(char* pos, std::int64_t whole, int k) {
  std::uint64_t magnitude = static_cast<std::uint64_t>(whole);
  if (whole < 0) {
    *pos++ = '-';
    magnitude = 0 - magnitude;
  }
  if (k == 0) {
    // A whole number, mostly short: its digits alone, two at a time.
    const int count = digitCount(magnitude);
    char* at = pos + count;
    for (; magnitude >= 10; magnitude /= 100) {
      at -= 2;
      std::memcpy(at, &kDigitPairs[2 * (magnitude % 100)], 2);
    }
    if (at != pos) *--at = static_cast<char>('0' + magnitude);
    return pos + count;
  }
  constexpr std::uint64_t kSixteen = 10000000000000000, kEight = 100000000;
  char digits[48];
  const std::uint64_t last = magnitude % kSixteen;
  writeEightDigits(digits, static_cast<std::uint32_t>(magnitude / kSixteen));
  writeEightDigits(digits + 8, static_cast<std::uint32_t>(last / kEight));
  writeEightDigits(digits + 16, static_cast<std::uint32_t>(last % kEight));
  std::memset(digits + 24, '0', 24);  // read by the copies below, never shown
  const int count = digitCount(magnitude);
  const int before = count > k ? count - k : 1;
  std::memcpy(pos, digits + 24 - k - before, 16);
  pos += before;
  *pos++ = '.';
  std::memcpy(pos, digits + 24 - k, 24);
  return pos + k;
}

// Writes the shortest text of a `value` between 0.001 and 1e9 that is not a
// whole number, with `decimals` set to its decimals, or returns null for the
// rare values left to to_chars.
//
// The value is m * 2^e (m of 53 bits), and the texts that read back to it
// are those within its rounding interval, m +- 1/2 in units of 2^e. Scaled by
// 10^s, where 10^s * 2^e is between 1 and 10, the interval is wider than 1,
// so holds a whole number, and the scaled value is below 2^58. Ends and
// value are exact over the denominator 2^t in 128 bits (m * 5^s is below
// 2^99). The shortest text is the whole number in the interval with the
// most trailing zeros, and of those with as many the nearest to the value,
// as to_chars chooses; an exact tie between two is left to to_chars, as is
// a power of two, whose interval is narrower below than above.
char* writeFullPrecision(char* pos, double value, int& decimals) {
  using u128 = unsigned __int128;
  const std::uint64_t bits = std::bit_cast<std::uint64_t>(value);
  constexpr std::uint64_t kFractionMask = (std::uint64_t{1} << 52) - 1;
  const std::uint64_t fraction = bits & kFractionMask;
  if (fraction == 0) return nullptr;
  const std::uint64_t m = fraction | (std::uint64_t{1} << 52);
  const int e = static_cast<int>((bits >> 52) & 0x7FF) - 1075;
  // floor(-e * log10(2)) + 1: exact for the exponents of this range.
  const int s = ((-e * 78913) >> 18) + 1;
  const int t = 1 - (s + e);
  if (e >= 0 || s >= static_cast<int>(kFives.size()) || t < 1) return nullptr;
  const std::uint64_t five = kFives[s];
  const u128 scaled = static_cast<u128>(2 * m) * five;
  const u128 below = scaled - five, above = scaled + five;
  const u128 mask = (static_cast<u128>(1) << t) - 1;
  // The ends' numerators are odd, so never whole: whether they belong to
  // the interval does not matter.
  std::uint64_t lo = static_cast<std::uint64_t>(below >> t) + 1;
  std::uint64_t hi = static_cast<std::uint64_t>(above >> t);
  // The interval is at most 10 wide, so holds at most one multiple of 10:
  // the shortest text when there is one, with its own trailing zeros
  // dropped too. Else the whole number nearest the scaled value.
  int dropped = 0;
  std::uint64_t digits = hi / 10;
  if (digits * 10 >= lo) {
    for (dropped = 1; digits % 10 == 0; ++dropped) digits /= 10;
  } else {
    digits = static_cast<std::uint64_t>(scaled >> t);
    const u128 rest = scaled & mask, half = static_cast<u128>(1) << (t - 1);
    if (rest == half) return nullptr;
    digits += rest > half ? 1 : 0;
  }
  if (s - dropped < 1) return nullptr;
  decimals = s - dropped;
  return writeFixed(
      pos, value < 0 ? -static_cast<std::int64_t>(digits) : static_cast<std::int64_t>(digits),
      decimals);
}

}  // namespace

char* writeShortest(char* pos, double value, int& decimals) {
  const double magnitude = std::fabs(value);
  if (magnitude >= 1e-3 && magnitude < 1e9) {
    // After a number in full precision, the exact way first: the next one
    // is likely in full precision too.
    if (decimals > kMostDecimals) {
      if (char* written = writeFullPrecision(pos, value, decimals)) return written;
    }
    int k = decimals < 0 || decimals > kMostDecimals ? 0 : decimals;
    std::int64_t whole = 0;
    if (!readsBackWith(value, k, whole)) {
      // More decimals than the guess: the most there are for, or none will do.
      decimals = kMostDecimals;
      if (k == kMostDecimals || !readsBackWith(value, kMostDecimals, whole)) {
        if (char* written = writeFullPrecision(pos, value, decimals)) return written;
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
