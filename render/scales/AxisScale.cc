#include "scales/AxisScale.h"

#include <algorithm>
#include <cmath>

#include "scales/DateTicks.h"
#include "scales/Extent.h"
#include "scales/Ticks.h"

namespace chartxml::render {

void AxisScale::train(double value) {
  if (!std::isfinite(value)) return;
  if (kind_ == Kind::kLog && value <= 0) {
    ++dropped_;
    return;
  }
  lo_ = std::min(lo_, value);
  hi_ = std::max(hi_, value);
}

void AxisScale::trainAll(const double* values, std::size_t count) {
  if (kind_ == Kind::kLog) {
    for (std::size_t i = 0; i < count; ++i) train(values[i]);
    return;
  }
  Extent extent{lo_, hi_};
  widen(extent, values, count);
  lo_ = extent.lo;
  hi_ = extent.hi;
}

namespace {

// A power scale's position of `value`: sign(v)·|v|^p, so negative values
// mirror positive ones.
double powered(double value, double exponent) {
  return std::copysign(std::pow(std::fabs(value), exponent), value);
}

}  // namespace

void AxisScale::usePower(double exponent) {
  kind_ = Kind::kPower;
  // Past these the powered range leaves double's range for ordinary data.
  exponent_ = std::isfinite(exponent) && exponent > 0 ? std::clamp(exponent, 0.01, 100.0) : 1;
}

void AxisScale::useCategories(const Categories& categories) {
  kind_ = Kind::kBand;
  categories_ = &categories;
}

void AxisScale::finish(const Dimension* dimension) {
  if (kind_ == Kind::kBand) {
    lo_ = -0.5;
    hi_ = categories_ ? static_cast<double>(categories_->size()) - 0.5 : 0.5;
    if (hi_ < lo_ + 1) hi_ = lo_ + 1;
    return;
  }
  for (const double anchor : anchors_) train(anchor);
  if (dimension != nullptr) {
    if (dimension->min && std::isfinite(*dimension->min)) lo_ = *dimension->min;
    if (dimension->max && std::isfinite(*dimension->max)) hi_ = *dimension->max;
  }
  if (!(lo_ <= hi_)) {
    // Nothing to show: a unit range still gives the axis its ticks.
    lo_ = kind_ == Kind::kLog ? 1 : 0;
    hi_ = kind_ == Kind::kLog ? 10 : 1;
    return;
  }
  if (kind_ == Kind::kLog) {
    double a = std::log10(lo_), b = std::log10(hi_);
    if (a == b) {
      a -= 0.5;
      b += 0.5;
    }
    const double span = b - a;
    if (dimension != nullptr) {
      a -= span * dimension->lowerMargin;
      b += span * dimension->upperMargin;
    }
    lo_ = std::pow(10.0, a);
    hi_ = std::pow(10.0, b);
    return;
  }
  if (kind_ == Kind::kPower && lo_ < hi_ && dimension != nullptr) {
    // Margins are shares of the drawn length, so they widen the powered range.
    const double a = powered(lo_, exponent_), b = powered(hi_, exponent_);
    const double span = b - a;
    const auto anchored = [&](double edge) {
      return std::find(anchors_.begin(), anchors_.end(), edge) != anchors_.end();
    };
    const double below = anchored(lo_) ? a : a - span * dimension->lowerMargin;
    const double above = anchored(hi_) ? b : b + span * dimension->upperMargin;
    lo_ = powered(below, 1 / exponent_);
    hi_ = powered(above, 1 / exponent_);
    return;
  }
  if (lo_ == hi_) {
    const double pad = lo_ == 0 ? 1 : std::fabs(lo_) * 0.1;
    lo_ -= pad;
    hi_ += pad;
    return;
  }
  const double span = hi_ - lo_;
  const auto anchored = [&](double edge) {
    return std::find(anchors_.begin(), anchors_.end(), edge) != anchors_.end();
  };
  if (dimension != nullptr) {
    const double below = anchored(lo_) ? 0 : span * dimension->lowerMargin;
    const double above = anchored(hi_) ? 0 : span * dimension->upperMargin;
    lo_ -= below;
    hi_ += above;
  }
}

double AxisScale::fraction(double value) const {
  if (kind_ == Kind::kLog) {
    if (!(value > 0)) return std::numeric_limits<double>::quiet_NaN();
    const double a = std::log10(lo_);
    return (std::log10(value) - a) / (std::log10(hi_) - a);
  }
  if (kind_ == Kind::kPower) {
    const double a = powered(lo_, exponent_);
    return (powered(value, exponent_) - a) / (powered(hi_, exponent_) - a);
  }
  return (value - lo_) / (hi_ - lo_);
}

double AxisScale::valueAt(double share) const {
  if (kind_ == Kind::kLog) {
    const double a = std::log10(lo_);
    return std::pow(10.0, a + share * (std::log10(hi_) - a));
  }
  if (kind_ == Kind::kPower) {
    const double a = powered(lo_, exponent_);
    return powered(a + share * (powered(hi_, exponent_) - a), 1 / exponent_);
  }
  return lo_ + share * (hi_ - lo_);
}

std::vector<double> AxisScale::minorTicks(const std::vector<double>& major, int count) const {
  std::vector<double> out;
  if (kind_ == Kind::kBand || major.size() < 2 || !(lo_ < hi_)) return out;
  const auto inside = [&](double value) {
    const double f = fraction(value);
    return f > -1e-9 && f < 1 + 1e-9;
  };
  if (kind_ == Kind::kLog) {
    // 1..9 × 10^k wherever no major tick stands.
    const auto isMajor = [&](double value) {
      return std::any_of(major.begin(), major.end(),
                         [&](double m) { return std::fabs(m - value) <= 1e-9 * value; });
    };
    const int first = static_cast<int>(std::floor(std::log10(lo_)));
    const int last = static_cast<int>(std::ceil(std::log10(hi_)));
    for (int power = first; power <= last && out.size() < 2000; ++power) {
      for (int digit = 1; digit <= 9; ++digit) {
        const double value = digit * std::pow(10.0, power);
        if (inside(value) && !isMajor(value)) out.push_back(value);
      }
    }
    return out;
  }
  const double step = major[1] - major[0];
  if (!(step > 0)) return out;
  // Uneven majors (months of dates, a log scale's 1-2-5) have no even minors.
  for (std::size_t i = 2; i < major.size(); ++i) {
    if (std::fabs(major[i] - major[i - 1] - step) > step * 1e-6) return out;
  }
  if (count <= 0) {
    // Halves of a 2 × 10^k step read best; fifths of the others.
    const double mantissa = step / std::pow(10.0, std::floor(std::log10(step)));
    count = std::fabs(mantissa - 2) < 1e-6 ? 3 : 4;
  }
  const double minor = step / (count + 1);
  // From one step before the first major to one after the last.
  const double start = major.front() - step;
  const std::size_t intervals = major.size() + 1;
  for (std::size_t i = 0; i < intervals && out.size() < 2000; ++i) {
    for (int k = 1; k <= count; ++k) {
      const double value = start + static_cast<double>(i) * step + k * minor;
      if (inside(value)) out.push_back(value);
    }
  }
  return out;
}

AxisScale::TickSet AxisScale::candidate(int target, const ValueFormat& format) const {
  TickSet set;
  if (kind_ == Kind::kBand) {
    const std::size_t n = categories_ ? categories_->size() : 0;
    // Every category, or every k-th when they do not all fit.
    const std::size_t step =
        std::max<std::size_t>(1, (n + static_cast<std::size_t>(target) - 1) /
                                     static_cast<std::size_t>(std::max(target, 1)));
    for (std::size_t i = 0; i < n; i += step) {
      set.values.push_back(static_cast<double>(i));
      set.labels.push_back(categories_->labels[i]);
    }
    return set;
  }
  if (kind_ == Kind::kDate) {
    const DateTicks ticks = dateTicks(lo_, hi_, target);
    set.values = ticks.values;
    for (const double value : set.values) set.labels.push_back(formatValue(value, format));
    return set;
  }
  // A power scale's ticks are nice in data units; where they lie follows the power.
  Ticks ticks = kind_ == Kind::kLog ? logTicks(lo_, hi_, target) : niceTicks(lo_, hi_, target);
  if (whole_ && ticks.step < 1) {
    std::erase_if(ticks.values, [](double value) { return value != std::floor(value); });
    ticks.fractionDigits = 0;
  }
  set.values = ticks.values;
  // Ticks show the digits their step needs: the format's prefix, suffix and
  // grouping, but not its padding with zeros (4, 6, 8 rather than 4.00).
  ValueFormat tickFormat = format;
  tickFormat.number.minFractionDigits = -1;
  for (const double value : set.values) {
    set.labels.push_back(formatValue(value, tickFormat, ticks.fractionDigits));
  }
  return set;
}

AxisScale::TickSet AxisScale::ticks(double length, const ValueFormat& format,
                                    const FitTest& fits) const {
  // Start from one tick per 70 pixels, at least 4 and at most 8 (every
  // category for bands), and thin until the labels fit. A search may give
  // somewhat more ticks than asked; more than 10 are never kept.
  const int most = kind_ == Kind::kBand && categories_
                       ? static_cast<int>(std::max<std::size_t>(1, categories_->size()))
                       : std::clamp(static_cast<int>(std::lround(length / 70)), 4, 8);
  TickSet last;
  for (int target = most; target >= 2; --target) {
    TickSet set = candidate(target, format);
    const bool tooMany = kind_ != Kind::kBand && set.values.size() > 10;
    if (!tooMany && fits(set)) return set;
    last = std::move(set);
    if (kind_ == Kind::kBand && target > 2) {
      // Halve quickly: long category lists need not try every count.
      target = std::max(3, target * 2 / 3 + 1);
    }
  }
  if (last.values.empty()) last = candidate(2, format);
  return last;
}

}  // namespace chartxml::render
