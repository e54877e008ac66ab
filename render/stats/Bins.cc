#include "stats/Bins.h"

#include <cmath>

#include "scales/Ticks.h"

namespace chartxml::render {

std::optional<std::size_t> Bins::binOf(double value) const {
  if (!std::isfinite(value)) return std::nullopt;
  const double position = (value - start) / width;
  if (position < 0) return std::nullopt;
  auto bin = static_cast<std::size_t>(std::floor(position));
  // The upper edge of the last bin belongs to it.
  if (bin == count && position <= static_cast<double>(count) + 1e-9) bin = count - 1;
  if (bin >= count) return std::nullopt;
  return bin;
}

std::optional<Bins> makeBins(double lo, double hi, std::optional<double> width, std::size_t cases,
                             std::size_t maxBins) {
  if (!std::isfinite(lo) || !std::isfinite(hi) || lo > hi) return std::nullopt;
  Bins bins;
  if (!width) {
    const double sturges = std::ceil(std::log2(static_cast<double>(cases > 0 ? cases : 1)) + 1);
    if (hi > lo) {
      const Ticks ticks = niceTicks(lo, hi, static_cast<int>(std::max(2.0, sturges)));
      width = ticks.step > 0 ? ticks.step : (hi - lo) / sturges;
    } else {
      width = lo != 0 ? std::fabs(lo) / 10 : 1.0;
    }
  }
  if (!(*width > 0) || !std::isfinite(*width)) return std::nullopt;
  bins.width = *width;
  bins.start = std::floor(lo / bins.width) * bins.width;
  const double span = (hi - bins.start) / bins.width;
  if (!(span < static_cast<double>(maxBins))) return std::nullopt;
  // A largest value on an edge opens no bin of its own: the last bin is
  // closed on the right.
  bins.count = static_cast<std::size_t>(std::max(1.0, std::ceil(span)));
  return bins;
}

std::optional<Bins> makeBinsByCount(double lo, double hi, std::size_t count, std::size_t maxBins) {
  if (!std::isfinite(lo) || !std::isfinite(hi) || lo > hi || count == 0 || count > maxBins) {
    return std::nullopt;
  }
  Bins bins;
  bins.count = count;
  if (hi > lo) {
    bins.start = lo;
    bins.width = (hi - lo) / static_cast<double>(count);
  } else {
    bins.start = lo - static_cast<double>(count) / 2;
  }
  return bins;
}

}  // namespace chartxml::render
