// Nice and logarithmic ticks. The extended Wilkinson search scores each
// candidate labelling on simplicity, coverage, density and legibility and
// prunes with upper bounds on those scores, so it visits few candidates.
//
// The search runs on the range scaled by a power of two (exact) so that its
// span is in [1, 2): ranges near the limits of double then neither overflow nor
// underflow. Scores are invariant under scaling; the labels themselves are kept
// as integer × 10^exponent and turned into doubles through decimal text, which
// gives the double nearest each decimal label.
#include "scales/Ticks.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

namespace chartxml::render {
namespace {

constexpr int kMinTarget = 2;
constexpr int kMaxTarget = 100;
constexpr int kMaxFractionDigits = 15;

// Nice step mantissas, most preferred first, and the same in tenths so that
// every label is an integer multiple of kQTenths[q] × 10^exponent.
constexpr double kQ[] = {1, 5, 2, 2.5, 4, 3};
constexpr long long kQTenths[] = {10, 50, 20, 25, 40, 30};
constexpr int kQCount = 6;

constexpr double kWeightSimplicity = 0.25;
constexpr double kWeightCoverage = 0.2;
constexpr double kWeightDensity = 0.5;
constexpr double kWeightLegibility = 0.05;  // legibility counts as 1 for every labelling

// Hard limits that only matter for pathological inputs: the score bounds end
// every loop long before these for ordinary ranges (j cannot pass 13 once any
// labelling scored above -2).
constexpr int kMaxJ = 16;
constexpr int kMaxZSteps = 40;

// Integers held in doubles are exact below 2^53; label indices stay well under
// it so that integer × tenths fits a long long too.
constexpr double kMaxLabelIndex = 4e15;

// mantissa × 10^exponent as the nearest double, or nothing when out of range.
std::optional<double> decimalValue(long long mantissa, int exponent) {
  char text[64];
  auto result = std::to_chars(text, text + 32, mantissa);
  *result.ptr++ = 'e';
  result = std::to_chars(result.ptr, text + sizeof text, exponent);
  double value = 0;
  const auto parsed = std::from_chars(text, result.ptr, value);
  if (parsed.ec != std::errc{} || !std::isfinite(value)) return std::nullopt;
  if (value == 0 && mantissa != 0) return std::nullopt;  // underflowed
  return value;
}

// 10^exponent × 2^-shift. The power is split in halves so that neither the
// power nor the intermediate product leaves double's range.
double scaledPow10(int exponent, int shift) {
  const int half = exponent / 2;
  return std::ldexp(std::pow(10.0, half), -shift) * std::pow(10.0, exponent - half);
}

double simplicity(int q, int j, bool zeroIsLabel) {
  return 1 - static_cast<double>(q) / (kQCount - 1) - j + (zeroIsLabel ? 1 : 0);
}

double simplicityMax(int q, int j) {
  return simplicity(q, j, true);
}

double coverage(double dmin, double dmax, double lmin, double lmax) {
  const double range = dmax - dmin;
  return 1 - 0.5 * ((dmax - lmax) * (dmax - lmax) + (dmin - lmin) * (dmin - lmin)) /
                 ((0.1 * range) * (0.1 * range));
}

double coverageMax(double dmin, double dmax, double span) {
  const double range = dmax - dmin;
  if (span <= range) return 1;
  const double half = (span - range) / 2;
  return 1 - half * half / ((0.1 * range) * (0.1 * range));
}

double density(int k, int m, double dmin, double dmax, double lmin, double lmax) {
  const double r = (k - 1) / (lmax - lmin);
  const double rt = (m - 1) / (std::max(lmax, dmax) - std::min(dmin, lmin));
  return 2 - std::max(r / rt, rt / r);
}

double densityMax(int k, int m) {
  return k >= m ? 2 - static_cast<double>(k - 1) / (m - 1) : 1;
}

// One labelling: labels (start + i·j) × kQTenths[q] × 10^exponent, i < k.
struct Labeling {
  long long start = 0;
  int j = 1;
  int q = 0;
  int k = 0;
  int exponent = 0;
};

// The labels of `l` inside [lo - tol, hi + tol], or nothing when fewer than two
// are inside or neighbours collapse onto the same double.
std::optional<std::vector<double>> insideLabels(const Labeling& l, double lo, double hi,
                                                double tol) {
  std::vector<double> values;
  for (int i = 0; i < l.k; ++i) {
    const long long index = l.start + static_cast<long long>(i) * l.j;
    const std::optional<double> v = decimalValue(index * kQTenths[l.q], l.exponent);
    if (!v || *v < lo - tol || *v > hi + tol) continue;
    if (!values.empty() && *v <= values.back()) return std::nullopt;
    values.push_back(*v);
  }
  if (values.size() < 2) return std::nullopt;
  return values;
}

int fractionDigitsOf(const std::vector<double>& values) {
  int digits = 0;
  for (const double v : values) digits = std::max(digits, fractionDigitsFor(v));
  return digits;
}

// Replaces non-finite bounds, orders them and widens a single value, as the
// header describes.
std::pair<double, double> usableRange(double lo, double hi) {
  std::tie(lo, hi) = finiteOrdered(lo, hi);
  if (lo == hi) {
    const double v = lo;
    if (v == 0) return {-1.0, 1.0};
    constexpr double kMax = std::numeric_limits<double>::max();
    const double d = 0.1 * std::fabs(v);
    lo = std::max(v - d, -kMax);
    hi = std::min(v + d, kMax);
    if (lo == hi) {  // subnormal: a tenth of it rounds away
      lo = std::nextafter(v, -kMax);
      hi = std::nextafter(v, kMax);
    }
  }
  return {lo, hi};
}

}  // namespace

std::pair<double, double> finiteOrdered(double lo, double hi) {
  if (!std::isfinite(lo) && !std::isfinite(hi)) {
    lo = hi = 0;
  } else if (!std::isfinite(lo)) {
    lo = hi;
  } else if (!std::isfinite(hi)) {
    hi = lo;
  }
  if (lo > hi) std::swap(lo, hi);
  return {lo, hi};
}

int fractionDigitsFor(double step) {
  if (!std::isfinite(step) || step == 0) return 0;
  char text[64];
  const auto end =
      std::to_chars(text, text + sizeof text, std::fabs(step), std::chars_format::scientific).ptr;
  int digits = 0;
  const char* p = text;
  for (; p != end && *p != 'e'; ++p) {
    if (*p != '.') ++digits;
  }
  int exponent = 0;
  if (p != end) {
    ++p;
    if (*p == '+') ++p;  // from_chars accepts '-' but not '+'
    std::from_chars(p, end, exponent);
  }
  return std::clamp(digits - 1 - exponent, 0, kMaxFractionDigits);
}

Ticks niceTicks(double lo, double hi, int target) {
  const int m = std::clamp(target, kMinTarget, kMaxTarget);
  std::tie(lo, hi) = usableRange(lo, hi);

  // Scale by 2^-shift so that the span is in [1, 2); hi - lo can overflow, the
  // halves cannot.
  const double rawSpan = hi - lo;
  const int shift = std::isfinite(rawSpan) ? std::ilogb(rawSpan) : std::ilogb(hi / 2 - lo / 2) + 1;
  const double dmin = std::ldexp(lo, -shift);
  const double dmax = std::ldexp(hi, -shift);
  const double range = dmax - dmin;
  const double tol = std::ldexp(range * 1e-9, shift);
  const double log10Scale = shift * std::log10(2.0);
  // Below this a step cannot separate neighbouring labels at this magnitude.
  const double minStep = std::max(std::fabs(dmin), std::fabs(dmax)) * 0x1p-50;
  const int maxK = 8 * m + 16;

  Labeling best;
  std::vector<double> bestValues;
  double bestScore = -2;
  bool done = false;
  for (int j = 1; j <= kMaxJ && !done; ++j) {
    for (int q = 0; q < kQCount; ++q) {
      const double sm = simplicityMax(q, j);
      if (kWeightSimplicity * sm + kWeightCoverage + kWeightDensity + kWeightLegibility <
          bestScore) {
        done = true;
        break;
      }
      // The smallest decimal exponent whose step reaches minStep. When even that
      // step is wider than the range, no tick count can put two labels inside.
      int zMin = std::numeric_limits<int>::min();
      if (minStep > 0) {
        zMin = static_cast<int>(std::floor(std::log10(minStep / (j * kQ[q])) + log10Scale));
        while (j * kQ[q] * scaledPow10(zMin, shift) < minStep) ++zMin;
        if (j * kQ[q] * scaledPow10(zMin, shift) > range * (1 + 4e-9)) continue;
      }
      for (int k = 2; k <= maxK; ++k) {
        const double dm = densityMax(k, m);
        if (kWeightSimplicity * sm + kWeightCoverage + kWeightDensity * dm + kWeightLegibility <
            bestScore) {
          break;
        }
        const double delta = range / (k + 1) / j / kQ[q];
        int z = std::max(static_cast<int>(std::ceil(std::log10(delta) + log10Scale)), zMin);
        for (int zStep = 0; zStep < kMaxZSteps; ++zStep, ++z) {
          const double unit = kQ[q] * scaledPow10(z, shift);
          const double step = j * unit;
          if (!(step >= minStep)) continue;
          // Two labels inside need a step within the range; larger z only grows it.
          if (step > range * (1 + 4e-9)) break;
          const double cm = coverageMax(dmin, dmax, step * (k - 1));
          if (kWeightSimplicity * sm + kWeightCoverage * cm + kWeightDensity * dm +
                  kWeightLegibility <
              bestScore) {
            break;
          }
          const double minStart = std::floor(dmax / step) * j - static_cast<double>(k - 1) * j;
          const double maxStart = std::ceil(dmin / step) * j;
          if (minStart > maxStart) continue;
          if (!(std::fabs(minStart) < kMaxLabelIndex && std::fabs(maxStart) < kMaxLabelIndex)) {
            continue;
          }
          const auto last = static_cast<long long>(maxStart);
          for (auto start = static_cast<long long>(minStart); start <= last; ++start) {
            const double lmin = static_cast<double>(start) * unit;
            const double lmax = lmin + step * (k - 1);
            const bool zeroIsLabel = start % j == 0 && start <= 0 && start + (k - 1) * j >= 0;
            const double score = kWeightSimplicity * simplicity(q, j, zeroIsLabel) +
                                 kWeightCoverage * coverage(dmin, dmax, lmin, lmax) +
                                 kWeightDensity * density(k, m, dmin, dmax, lmin, lmax) +
                                 kWeightLegibility;
            if (!(score > bestScore)) continue;
            const Labeling candidate{start, j, q, k, z - 1};
            if (auto values = insideLabels(candidate, lo, hi, tol)) {
              best = candidate;
              bestValues = std::move(*values);
              bestScore = score;
            }
          }
        }
      }
    }
  }

  Ticks ticks;
  if (bestValues.empty()) {
    // Nothing decimal fits between bounds a few ulps apart.
    ticks.values = {lo, hi};
    ticks.step = std::isfinite(hi - lo) ? hi - lo : 0;
  } else {
    ticks.values = std::move(bestValues);
    // A subnormal step may not read back from its decimal text; the labels did.
    ticks.step = decimalValue(best.j * kQTenths[best.q], best.exponent)
                     .value_or(ticks.values[1] - ticks.values[0]);
  }
  ticks.fractionDigits = fractionDigitsOf(ticks.values);
  return ticks;
}

namespace {

// 10^exponent, 0 below the subnormals and infinity above the largest double.
double powerOfTen(int exponent) {
  if (exponent > 308) return std::numeric_limits<double>::infinity();
  return decimalValue(1, exponent).value_or(0);
}

long long floorDiv(long long a, long long b) {
  return a / b - ((a % b != 0 && (a < 0) != (b < 0)) ? 1 : 0);
}

long long ceilDiv(long long a, long long b) {
  return -floorDiv(-a, b);
}

struct LogCandidate {
  long long decades = 0;           // > 0: powers of ten every `decades`
  const int* multiples = nullptr;  // otherwise these multiples of each power
  int multipleCount = 0;
  long long count = 0;
};

constexpr int kOneTwoFive[] = {1, 2, 5};
constexpr int kOneToNine[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
// Multiples of every power are only tried over a few decades; beyond that the
// powers alone are too many already.
constexpr int kMaxMultipleDecades = 40;

}  // namespace

Ticks logTicks(double lo, double hi, int target) {
  const int m = std::clamp(target, kMinTarget, kMaxTarget);
  const bool loUsable = std::isfinite(lo) && lo > 0;
  const bool hiUsable = std::isfinite(hi) && hi > 0;
  if (!loUsable && !hiUsable) {
    lo = 1;
    hi = 10;
  } else if (!loUsable) {
    lo = hi;
  } else if (!hiUsable) {
    hi = lo;
  }
  if (lo > hi) std::swap(lo, hi);
  if (lo == hi) return niceTicks(lo, hi, m);

  // Relative tolerance: an absolute one would swallow whole decades at the low end.
  const double loLimit = lo * (1 - 1e-9);
  const double hiLimit = std::min(hi * (1 + 1e-9), std::numeric_limits<double>::max());
  const long long cap = std::max(m + 1, m * 3 / 2);
  const auto inside = [&](double v) { return v >= loLimit && v <= hiLimit; };

  // The first and last powers of ten inside the range (first > last: none).
  // Exponents stay within [-330, 310], just past double's range either way.
  int first = static_cast<int>(std::ceil(std::log10(lo)));
  while (first > -330 && powerOfTen(first - 1) >= loLimit) --first;
  while (first < 310 && powerOfTen(first) < loLimit) ++first;
  int last = static_cast<int>(std::floor(std::log10(hi)));
  while (last < 310 && powerOfTen(last + 1) <= hiLimit) ++last;
  while (last > -330 && powerOfTen(last) > hiLimit) --last;

  std::vector<LogCandidate> candidates;
  for (long long scale = 1; scale <= 10000; scale *= 10) {
    for (const long long mantissa : {1, 2, 5}) {
      const long long d = scale * mantissa;
      candidates.push_back({d, nullptr, 0, floorDiv(last, d) - ceilDiv(first, d) + 1});
    }
  }
  const int firstDecade = first - 1;
  if (last - firstDecade <= kMaxMultipleDecades) {
    for (const auto& [multiples, n] : {std::pair{kOneTwoFive, 3}, std::pair{kOneToNine, 9}}) {
      LogCandidate c{0, multiples, n, 0};
      for (int e = firstDecade; e <= last; ++e) {
        for (int i = 0; i < n; ++i) {
          const std::optional<double> v = decimalValue(multiples[i], e);
          if (v && inside(*v)) ++c.count;
        }
      }
      candidates.push_back(c);
    }
  }

  const LogCandidate* chosen = nullptr;
  for (const LogCandidate& c : candidates) {
    if (c.count < 2 || c.count > cap) continue;
    if (chosen == nullptr || std::llabs(c.count - m) < std::llabs(chosen->count - m)) chosen = &c;
  }
  if (chosen == nullptr || chosen->count < (m + 1) / 2) return niceTicks(lo, hi, m);

  Ticks ticks;
  if (chosen->decades > 0) {
    for (long long e = ceilDiv(first, chosen->decades) * chosen->decades; e <= last;
         e += chosen->decades) {
      ticks.values.push_back(powerOfTen(static_cast<int>(e)));
    }
  } else {
    for (int e = firstDecade; e <= last; ++e) {
      for (int i = 0; i < chosen->multipleCount; ++i) {
        const std::optional<double> v = decimalValue(chosen->multiples[i], e);
        if (v && inside(*v)) ticks.values.push_back(*v);
      }
    }
  }
  ticks.fractionDigits = fractionDigitsOf(ticks.values);
  return ticks;
}

}  // namespace chartxml::render
