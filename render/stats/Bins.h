// Histogram bins: equal widths over a variable's range.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace chartxml::render {

struct Bins {
  double start = 0;  // the left edge of the first bin
  double width = 1;
  std::size_t count = 1;

  // The bin of `value` (bins are closed on the left, the last also on the
  // right), or nothing outside them.
  std::optional<std::size_t> binOf(double value) const;
};

// Bins over [lo, hi] (finite). With a width, bins start at a multiple of it,
// so that 0.25-wide bins have edges at 0, 0.25, 0.5, ...; without one, about
// Sturges' number of bins for `cases` values with a nice width. Nothing when
// the width would make more than `maxBins` bins.
std::optional<Bins> makeBins(double lo, double hi, std::optional<double> width, std::size_t cases,
                             std::size_t maxBins = 100000);

// `count` bins of equal width from lo to hi exactly (a range of one value
// gets bins of width 1 around it). Nothing for no bins or more than `maxBins`.
std::optional<Bins> makeBinsByCount(double lo, double hi, std::size_t count,
                                    std::size_t maxBins = 100000);

}  // namespace chartxml::render
