#include "stats/Summary.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numeric>
#include <string>
#include <utility>

namespace chartxml::render {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Name {
  std::string_view method;
  Summary summary;
};

// Method words of statistics and the summary-function descriptions that
// name the same summaries.
constexpr Name kNames[] = {
    {"mean", Summary::kMean},
    {"meanOfValues", Summary::kMean},
    {"median", Summary::kMedian},
    {"medianOfValues", Summary::kMedian},
    {"sum", Summary::kSum},
    {"sumOfValues", Summary::kSum},
    {"count", Summary::kCount},
    {"numberOfCases", Summary::kCount},
    {"validN", Summary::kValidN},
    {"percent", Summary::kPercent},
    {"percentageOfCases", Summary::kPercent},
    {"min", Summary::kMinimum},
    {"minimum", Summary::kMinimum},
    {"minimumValue", Summary::kMinimum},
    {"max", Summary::kMaximum},
    {"maximum", Summary::kMaximum},
    {"maximumValue", Summary::kMaximum},
    {"range", Summary::kRange},
    {"mode", Summary::kMode},
    {"modeOfValues", Summary::kMode},
    {"standardDeviation", Summary::kStdDev},
    {"stddev", Summary::kStdDev},
    {"variance", Summary::kVariance},
    {"percentile", Summary::kPercentile},
    {"gMedian", Summary::kGroupedMedian},
    {"gPtile", Summary::kGroupedPercentile},
    {"percentageBelow", Summary::kPercentBelow},
    {"percentageAbove", Summary::kPercentAbove},
    {"numberBelow", Summary::kNumberBelow},
    {"numberAbove", Summary::kNumberAbove},
    {"percentageInside", Summary::kPercentInside},
    {"numberInside", Summary::kNumberInside},
    {"percentSum", Summary::kPercentOfSum},
    {"percentageOfSum", Summary::kPercentOfSum},
    {"cumulativeSum", Summary::kCumulativeSum},
    {"cumulativeNumberOfCases", Summary::kCumulativeCount},
    {"cumulativeCount", Summary::kCumulativeCount},
    {"cumulativePercentageOfCases", Summary::kCumulativePercent},
    {"cumulativePercent", Summary::kCumulativePercent},
    {"cumulativePercentSum", Summary::kCumulativePercentOfSum},
    {"cumulativePercentageOfSum", Summary::kCumulativePercentOfSum},
};

double weightOf(const Sample& sample, std::size_t i) {
  return sample.weights.empty() ? 1.0 : sample.weights[i];
}

// Kahan summation: long groups of similar values lose no digits.
class Accumulator {
 public:
  void add(double value) {
    const double y = value - carry_;
    const double t = total_ + y;
    carry_ = (t - total_) - y;
    total_ = t;
  }
  double total() const { return total_; }

 private:
  double total_ = 0, carry_ = 0;
};

double totalWeight(const Sample& sample) {
  if (sample.weights.empty()) return static_cast<double>(sample.values.size());
  Accumulator total;
  for (const double w : sample.weights) total.add(w);
  return total.total();
}

double weightedSum(const Sample& sample) {
  Accumulator total;
  for (std::size_t i = 0; i < sample.values.size(); ++i) {
    total.add(sample.values[i] * weightOf(sample, i));
  }
  return total.total();
}

double weightedMean(const Sample& sample) {
  const double w = totalWeight(sample);
  return w > 0 ? weightedSum(sample) / w : kNaN;
}

// Frequency weights: a case of weight w stands for w cases, so the divisor
// is the total weight less one.
double weightedVariance(const Sample& sample) {
  const double w = totalWeight(sample);
  if (!(w > 1)) return kNaN;
  const double m = weightedMean(sample);
  Accumulator squares;
  for (std::size_t i = 0; i < sample.values.size(); ++i) {
    const double d = sample.values[i] - m;
    squares.add(d * d * weightOf(sample, i));
  }
  return squares.total() / (w - 1);
}

// Values in order with their weights, equal values merged.
std::vector<std::pair<double, double>> ordered(const std::vector<double>& values,
                                               const std::vector<double>& weights) {
  std::vector<std::pair<double, double>> pairs;
  pairs.reserve(values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    const double w = weights.empty() ? 1.0 : weights[i];
    if (w > 0) pairs.emplace_back(values[i], w);
  }
  std::sort(pairs.begin(), pairs.end());
  std::vector<std::pair<double, double>> merged;
  for (const auto& [value, w] : pairs) {
    if (!merged.empty() && merged.back().first == value) {
      merged.back().second += w;
    } else {
      merged.emplace_back(value, w);
    }
  }
  return merged;
}

// The most frequent value (by weight); the smallest of equally frequent ones.
double mode(const Sample& sample) {
  double best = kNaN, bestWeight = 0;
  for (const auto& [value, w] : ordered(sample.values, sample.weights)) {
    if (w > bestWeight) {
      bestWeight = w;
      best = value;
    }
  }
  return best;
}

double unweightedMedian(std::vector<double>& values) {
  const std::size_t n = values.size();
  auto middle = values.begin() + static_cast<std::ptrdiff_t>(n / 2);
  std::nth_element(values.begin(), middle, values.end());
  const double upper = *middle;
  if (n % 2 == 1) return upper;
  const double lower = *std::max_element(values.begin(), middle);
  return lower + (upper - lower) / 2;
}

// Each distinct value stands for a class reaching half way to its
// neighbours (the end classes as wide as their inner halves); the
// percentile is interpolated within its class as if the class's cases were
// spread evenly over it.
double groupedPercentile(const Sample& sample, double p) {
  const auto classes = ordered(sample.values, sample.weights);
  if (classes.empty()) return kNaN;
  if (classes.size() == 1) return classes.front().first;
  double total = 0;
  for (const auto& entry : classes) total += entry.second;
  const double target = total * std::clamp(p, 0.0, 100.0) / 100;
  double below = 0;
  for (std::size_t i = 0; i < classes.size(); ++i) {
    const double value = classes[i].first, w = classes[i].second;
    const double left =
        i > 0 ? (value + classes[i - 1].first) / 2 : value - (classes[1].first - value) / 2;
    const double right = i + 1 < classes.size() ? (value + classes[i + 1].first) / 2
                                                : value + (value - classes[i - 1].first) / 2;
    if (below + w >= target || i + 1 == classes.size()) {
      return left + (right - left) * std::clamp((target - below) / w, 0.0, 1.0);
    }
    below += w;
  }
  return kNaN;
}

// The weight of values below, above or inside cuts.
double weightWhere(const Sample& sample, double lo, double hi) {
  Accumulator total;
  for (std::size_t i = 0; i < sample.values.size(); ++i) {
    const double v = sample.values[i];
    if (v >= lo && v <= hi) total.add(weightOf(sample, i));
  }
  return total.total();
}

double share(double part, double whole) {
  return whole > 0 ? 100 * part / whole : kNaN;
}

// The regularised incomplete beta function I_x(a, b), by its continued
// fraction (modified Lentz), turned about when x lies past the mean.
double incompleteBeta(double x, double a, double b) {
  if (x <= 0) return 0;
  if (x >= 1) return 1;
  if (x > (a + 1) / (a + b + 2)) return 1 - incompleteBeta(1 - x, b, a);
  const double front = std::exp(std::lgamma(a + b) - std::lgamma(a) - std::lgamma(b) +
                                a * std::log(x) + b * std::log1p(-x)) /
                       a;
  constexpr double kTiny = 1e-300;
  double f = 1, c = 1, d = 0;
  for (int i = 0; i <= 400; ++i) {
    const int m = i / 2;
    double numerator;
    if (i == 0) {
      numerator = 1;
    } else if (i % 2 == 0) {
      numerator = m * (b - m) * x / ((a + 2 * m - 1) * (a + 2 * m));
    } else {
      numerator = -((a + m) * (a + b + m) * x) / ((a + 2 * m) * (a + 2 * m + 1));
    }
    d = 1 + numerator * d;
    d = std::fabs(d) < kTiny ? kTiny : d;
    c = 1 + numerator / c;
    c = std::fabs(c) < kTiny ? kTiny : c;
    d = 1 / d;
    f *= c * d;
    if (std::fabs(1 - c * d) < 1e-15) break;
  }
  return front * (f - 1);
}

}  // namespace

std::optional<Summary> summaryOf(std::string_view method) {
  for (const Name& name : kNames) {
    if (name.method == method) return name.summary;
  }
  return std::nullopt;
}

bool isAdditive(Summary summary) {
  switch (summary) {
    case Summary::kSum:
    case Summary::kCount:
    case Summary::kValidN:
    case Summary::kPercent:
    case Summary::kNumberBelow:
    case Summary::kNumberAbove:
    case Summary::kNumberInside:
    case Summary::kPercentOfSum:
    case Summary::kCumulativeSum:
    case Summary::kCumulativeCount:
    case Summary::kCumulativePercent:
    case Summary::kCumulativePercentOfSum:
      return true;
    default:
      return false;
  }
}

bool isCumulative(Summary summary) {
  return summary == Summary::kCumulativeSum || summary == Summary::kCumulativeCount ||
         summary == Summary::kCumulativePercent || summary == Summary::kCumulativePercentOfSum;
}

bool isPercentage(Summary summary) {
  return summary == Summary::kPercent || summary == Summary::kPercentBelow ||
         summary == Summary::kPercentAbove || summary == Summary::kPercentInside ||
         summary == Summary::kPercentOfSum || summary == Summary::kCumulativePercent ||
         summary == Summary::kCumulativePercentOfSum;
}

bool isCount(Summary summary) {
  return summary == Summary::kCount || summary == Summary::kPercent ||
         summary == Summary::kCumulativeCount || summary == Summary::kCumulativePercent;
}

const char* summaryTitle(Summary summary) {
  switch (summary) {
    case Summary::kMean:
      return "Mean of";
    case Summary::kMedian:
      return "Median of";
    case Summary::kSum:
      return "Sum of";
    case Summary::kCount:
      return "Count of";
    case Summary::kValidN:
      return "Valid N of";
    case Summary::kPercent:
      return "Percent of";
    case Summary::kMinimum:
      return "Minimum of";
    case Summary::kMaximum:
      return "Maximum of";
    case Summary::kRange:
      return "Range of";
    case Summary::kMode:
      return "Mode of";
    case Summary::kStdDev:
      return "Standard deviation of";
    case Summary::kVariance:
      return "Variance of";
    case Summary::kPercentile:
      return "Percentile of";
    case Summary::kGroupedMedian:
      return "Grouped median of";
    case Summary::kGroupedPercentile:
      return "Grouped percentile of";
    case Summary::kPercentBelow:
      return "Percent below a value of";
    case Summary::kPercentAbove:
      return "Percent above a value of";
    case Summary::kNumberBelow:
      return "Number below a value of";
    case Summary::kNumberAbove:
      return "Number above a value of";
    case Summary::kPercentInside:
      return "Percent inside a range of";
    case Summary::kNumberInside:
      return "Number inside a range of";
    case Summary::kPercentOfSum:
      return "Percent of sum of";
    case Summary::kCumulativeSum:
      return "Cumulative sum of";
    case Summary::kCumulativeCount:
      return "Cumulative count of";
    case Summary::kCumulativePercent:
      return "Cumulative percent of";
    case Summary::kCumulativePercentOfSum:
      return "Cumulative percent of sum of";
  }
  return "";
}

double percentile(std::vector<double>& values, const std::vector<double>& weights, double p) {
  const auto pairs = ordered(values, weights);
  if (pairs.empty()) return kNaN;
  double total = 0;
  for (const auto& entry : pairs) total += entry.second;
  const double rank = std::clamp((total + 1) * std::clamp(p, 0.0, 100.0) / 100, 1.0, total);
  // The value at a whole rank r: the first whose cumulative weight reaches r.
  const auto at = [&](double r) {
    double seen = 0;
    for (const auto& [value, w] : pairs) {
      seen += w;
      if (seen >= r - 1e-9) return value;
    }
    return pairs.back().first;
  };
  const double below = std::floor(rank);
  const double low = at(below);
  const double fraction = rank - below;
  return fraction > 0 ? low + fraction * (at(below + 1) - low) : low;
}

double summarize(Summary summary, Sample& sample, const Totals& totals, const SummaryArgs& args) {
  switch (summary) {
    case Summary::kCount:
    case Summary::kCumulativeCount:
      return sample.cases;
    case Summary::kValidN:
      return totalWeight(sample);
    case Summary::kPercent:
    case Summary::kCumulativePercent:
      return share(sample.cases, totals.cases);
    case Summary::kSum:
    case Summary::kCumulativeSum:
      return weightedSum(sample);
    case Summary::kPercentOfSum:
    case Summary::kCumulativePercentOfSum:
      return totals.sum != 0 ? 100 * weightedSum(sample) / totals.sum : kNaN;
    default:
      break;
  }
  if (sample.values.empty()) return kNaN;
  constexpr double kInf = std::numeric_limits<double>::infinity();
  switch (summary) {
    case Summary::kMean:
      return weightedMean(sample);
    case Summary::kMedian:
      return sample.weights.empty() ? unweightedMedian(sample.values)
                                    : percentile(sample.values, sample.weights, 50);
    case Summary::kPercentile:
      return percentile(sample.values, sample.weights, args.p1);
    case Summary::kGroupedMedian:
      return groupedPercentile(sample, 50);
    case Summary::kGroupedPercentile:
      return groupedPercentile(sample, args.p1);
    case Summary::kMinimum:
      return *std::min_element(sample.values.begin(), sample.values.end());
    case Summary::kMaximum:
      return *std::max_element(sample.values.begin(), sample.values.end());
    case Summary::kRange: {
      const auto [low, high] = std::minmax_element(sample.values.begin(), sample.values.end());
      return *high - *low;
    }
    case Summary::kMode:
      return mode(sample);
    case Summary::kStdDev:
      return std::sqrt(weightedVariance(sample));
    case Summary::kVariance:
      return weightedVariance(sample);
    case Summary::kNumberBelow:
      return weightWhere(sample, -kInf, std::nextafter(args.p1, -kInf));
    case Summary::kNumberAbove:
      return weightWhere(sample, std::nextafter(args.p1, kInf), kInf);
    case Summary::kNumberInside:
      return weightWhere(sample, args.p1, args.p2);
    case Summary::kPercentBelow:
      return share(weightWhere(sample, -kInf, std::nextafter(args.p1, -kInf)), totalWeight(sample));
    case Summary::kPercentAbove:
      return share(weightWhere(sample, std::nextafter(args.p1, kInf), kInf), totalWeight(sample));
    case Summary::kPercentInside:
      return share(weightWhere(sample, args.p1, args.p2), totalWeight(sample));
    default:
      return kNaN;
  }
}

double summarize(Summary summary, std::vector<double>& values, double cases, double total) {
  Sample sample;
  sample.values = std::move(values);
  sample.cases = cases;
  Totals totals;
  totals.cases = total;
  const double result = summarize(summary, sample, totals, SummaryArgs{});
  values = std::move(sample.values);
  return result;
}

namespace {

// Fences, whiskers and the values beyond them, once the hinges are known.
void fence(BoxStats& box, const std::vector<double>& sorted) {
  const double spread = box.upperHinge - box.lowerHinge;
  const double innerLo = box.lowerHinge - 1.5 * spread, innerHi = box.upperHinge + 1.5 * spread;
  const double outerLo = box.lowerHinge - 3 * spread, outerHi = box.upperHinge + 3 * spread;
  box.lowWhisker = box.lowerHinge;
  box.highWhisker = box.upperHinge;
  bool lowSet = false;
  for (const double v : sorted) {
    if (v < outerLo || v > outerHi) {
      box.extremes.push_back(v);
    } else if (v < innerLo || v > innerHi) {
      box.outliers.push_back(v);
    } else {
      if (!lowSet) box.lowWhisker = std::min(v, box.lowerHinge);
      lowSet = true;
      box.highWhisker = std::max(v, box.upperHinge);
    }
  }
}

}  // namespace

BoxStats boxStats(std::vector<double>& values) {
  std::sort(values.begin(), values.end());
  const std::size_t n = values.size();
  BoxStats box;
  const auto medianOf = [&](std::size_t from, std::size_t count) {
    const std::size_t mid = from + count / 2;
    return count % 2 == 1 ? values[mid] : values[mid - 1] + (values[mid] - values[mid - 1]) / 2;
  };
  box.median = medianOf(0, n);
  // Halves hold the median when n is odd: 1..5 has hinges 2 and 4.
  const std::size_t half = (n + 1) / 2;
  box.lowerHinge = medianOf(0, half);
  box.upperHinge = medianOf(n - half, half);
  fence(box, values);
  return box;
}

BoxStats boxStats(std::vector<double>& values, const std::vector<double>& weights) {
  if (weights.empty()) return boxStats(values);
  const auto pairs = ordered(values, weights);
  BoxStats box;
  if (pairs.empty()) return box;
  double total = 0;
  for (const auto& entry : pairs) total += entry.second;
  // The value at depth d from the bottom: the case whose cumulative weight
  // first reaches d, a fractional depth interpolating to the next one.
  const auto at = [&](double rank) {
    double seen = 0;
    for (const auto& [value, w] : pairs) {
      seen += w;
      if (seen >= rank - 1e-9) return value;
    }
    return pairs.back().first;
  };
  const auto depth = [&](double d) {
    d = std::clamp(d, 1.0, std::max(1.0, total));
    const double whole = std::floor(d);
    const double low = at(whole);
    return d > whole ? low + (d - whole) * (at(whole + 1) - low) : low;
  };
  // Tukey's depths with W, the total weight, for the count of cases.
  const double medianDepth = (total + 1) / 2;
  const double hingeDepth = (std::floor(medianDepth) + 1) / 2;
  box.median = depth(medianDepth);
  box.lowerHinge = depth(hingeDepth);
  box.upperHinge = depth(total + 1 - hingeDepth);
  std::vector<double> sorted;
  sorted.reserve(pairs.size());
  for (const auto& entry : pairs) sorted.push_back(entry.first);
  fence(box, sorted);
  values = std::move(sorted);
  return box;
}

double studentQuantile(double confidence, double df) {
  if (!(df >= 1) || !(confidence > 0) || !(confidence < 1)) return kNaN;
  // P(|T| <= t) = 1 - I_{df / (df + t^2)}(df / 2, 1 / 2), rising in t: bisect.
  const auto inside = [&](double t) { return 1 - incompleteBeta(df / (df + t * t), df / 2, 0.5); };
  double lo = 0, hi = 1;
  while (inside(hi) < confidence && hi < 1e9) hi *= 2;
  for (int i = 0; i < 200 && hi - lo > 1e-12 * hi; ++i) {
    const double mid = (lo + hi) / 2;
    (inside(mid) < confidence ? lo : hi) = mid;
  }
  return (lo + hi) / 2;
}

std::optional<MeanInterval> meanInterval(const Sample& sample, Spread spread, double amount) {
  const double weight = totalWeight(sample);
  if (!(weight > 1)) return std::nullopt;
  const double mean = weightedMean(sample);
  const double deviation = std::sqrt(weightedVariance(sample));
  double half = 0;
  switch (spread) {
    case Spread::kConfidence:
      half = studentQuantile(amount / 100, weight - 1) * deviation / std::sqrt(weight);
      break;
    case Spread::kStandardError:
      half = amount * deviation / std::sqrt(weight);
      break;
    case Spread::kStandardDeviation:
      half = amount * deviation;
      break;
  }
  if (!std::isfinite(half)) return std::nullopt;
  return MeanInterval{mean, mean - half, mean + half};
}

}  // namespace chartxml::render
