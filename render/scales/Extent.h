// The finite range of many values at once, without a branch per value: the
// scales and the description both measure columns of millions.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

#include "work/Halves.h"

namespace chartxml::render {

struct Extent {
  double lo = std::numeric_limits<double>::infinity();
  double hi = -std::numeric_limits<double>::infinity();
  bool empty() const { return lo > hi; }
};

// `extent` widened to hold the finite ones of `values[0..count)`, on this
// thread.
inline void widenHere(Extent& extent, const double* values, std::size_t count) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  // Two of each, so that successive minima do not wait on one another.
  double lo[2] = {extent.lo, extent.lo}, hi[2] = {extent.hi, extent.hi};
  std::size_t i = 0;
  for (; i + 2 <= count; i += 2) {
    for (std::size_t k = 0; k < 2; ++k) {
      const double v = values[i + k];
      const bool finite = std::fabs(v) < kInf;  // false for NaN too
      lo[k] = std::min(lo[k], finite ? v : kInf);
      hi[k] = std::max(hi[k], finite ? v : -kInf);
    }
  }
  for (; i < count; ++i) {
    const double v = values[i];
    if (std::fabs(v) < kInf) {
      lo[0] = std::min(lo[0], v);
      hi[0] = std::max(hi[0], v);
    }
  }
  extent.lo = std::min(lo[0], lo[1]);
  extent.hi = std::max(hi[0], hi[1]);
}

// `extent` widened to hold the finite ones of `values[0..count)`.
inline void widen(Extent& extent, const double* values, std::size_t count) {
  Extent halves[2] = {extent, extent};
  inHalves(count, [&](std::size_t begin, std::size_t end) {
    widenHere(halves[begin == 0 ? 0 : 1], values + begin, end - begin);
  });
  extent.lo = std::min(halves[0].lo, halves[1].lo);
  extent.hi = std::max(halves[0].hi, halves[1].hi);
}

}  // namespace chartxml::render
