// A position scale: trained on the data of every panel of a frame, it maps
// data units to pixels and chooses its ticks and their labels. Linear, log
// (base 10 positions: the base only names the ticks), power (positions
// follow sign(v)·|v|^p), dates, or categories in bands.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "format/ValueFormat.h"
#include "model/ChartModel.h"
#include "stats/Binding.h"

namespace chartxml::render {

class AxisScale {
 public:
  enum class Kind { kLinear, kLog, kDate, kBand, kPower };

  // Extends the trained range to hold `value` (non-finite values are ignored,
  // and so are values a log scale cannot show, which are counted).
  void train(double value);
  // train(values[i]) for each of `count` values, at the speed of a copy.
  void trainAll(const double* values, std::size_t count);
  // The scale shows categories: positions 0..n-1, each in a band of width 1.
  void useCategories(const Categories& categories);
  // Values that bars stand on: kept at the edge of the range, no margin past them.
  void anchorAt(double value) { anchors_.push_back(value); }

  // Fixes the range once training is done: applies a domain's fixed bounds,
  // the dimension's margins and the anchors; widens an empty or single-value
  // range. `dimension` may be null (no margins).
  void finish(const Dimension* dimension);

  // Ticks only at whole numbers (the scale shows counts).
  void setWholeNumbers(bool whole) { whole_ = whole; }

  Kind kind() const { return kind_; }
  void setKind(Kind kind) { kind_ = kind; }
  // A power scale with `exponent`, held to [0.01, 100] (non-finite or not
  // above 0: 1, linear).
  void usePower(double exponent);
  double exponent() const { return exponent_; }
  bool trained() const { return kind_ == Kind::kBand ? categories_ != nullptr : lo_ <= hi_; }
  double lo() const { return lo_; }
  double hi() const { return hi_; }
  std::size_t dropped() const { return dropped_; }  // values a log scale could not show
  const Categories* categories() const { return categories_; }

  // The scale's position of `value` as a fraction of its length, 0 at lo and
  // 1 at hi (outside [0, 1] for values outside the range).
  double fraction(double value) const;
  // The value at `fraction` of the scale's length (the inverse of fraction).
  double valueAt(double fraction) const;

  // Ticks: positions in data units and their labels, for an axis `length`
  // pixels long, formatted by `format`. `fits(labels, positions)` tells
  // whether a candidate set of labels fits the axis; the densest set that
  // fits (down to 2 ticks) is kept.
  struct TickSet {
    std::vector<double> values;
    std::vector<std::string> labels;
  };
  using FitTest = std::function<bool(const TickSet&)>;
  TickSet ticks(double length, const ValueFormat& format, const FitTest& fits) const;

  // Minor ticks between and beside the major ticks `major`, inside the
  // range: `count` between two evenly spaced majors (0: 4, or 3 when the
  // step is 2 × 10^k); on a log scale 1..9 × 10^k where no major stands.
  // None on categories or between uneven majors.
  std::vector<double> minorTicks(const std::vector<double>& major, int count) const;

 private:
  TickSet candidate(int target, const ValueFormat& format) const;

  Kind kind_ = Kind::kLinear;
  double lo_ = std::numeric_limits<double>::infinity();
  double hi_ = -std::numeric_limits<double>::infinity();
  std::vector<double> anchors_;
  const Categories* categories_ = nullptr;
  std::size_t dropped_ = 0;
  bool whole_ = false;
  double exponent_ = 1;
};

}  // namespace chartxml::render
