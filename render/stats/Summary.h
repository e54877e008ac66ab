// Summaries of a group's values, as an element's statistic asks for them.
// Cases may carry weights (a weight variable): a case of weight 3 counts as
// three cases of its value, and weights need not be whole.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace chartxml::render {

enum class Summary {
  kMean,
  kMedian,
  kSum,
  kCount,    // cases in the group, with or without a value
  kValidN,   // cases with a value
  kPercent,  // the group's cases as a percentage of all cases drawn
  kMinimum,
  kMaximum,
  kRange,
  kMode,
  kStdDev,  // sample standard deviation (n - 1)
  kVariance,
  kPercentile,         // the p1-th percentile
  kGroupedMedian,      // the median of values taken as midpoints of classes
  kGroupedPercentile,  // the p1-th percentile of such classes
  kPercentBelow,       // the share of values below p1, in percent
  kPercentAbove,       // ... above p1
  kNumberBelow,        // how many values are below p1
  kNumberAbove,
  kPercentInside,  // the share of values in [p1, p2], in percent
  kNumberInside,
  kPercentOfSum,  // the group's sum as a percentage of the sum of all groups
  // Running totals along x (in category or value order), per group.
  kCumulativeSum,
  kCumulativeCount,
  kCumulativePercent,
  kCumulativePercentOfSum,
};

// The numbers some summaries take: the percentile or the cut (p1), and the
// upper cut of an inside count (p2).
struct SummaryArgs {
  double p1 = 50;
  double p2 = 0;
};

// A group's values and what they weigh.
struct Sample {
  std::vector<double> values;   // finite values only
  std::vector<double> weights;  // one per value; empty: every value weighs 1
  double cases = 0;             // the weight of all its cases, with or without a value
};

// What all groups drawn together hold: the base of percentages.
struct Totals {
  double cases = 0;  // the weight of all cases
  double sum = 0;    // the weighted sum of all values
};

// The summary a statistic method names ("mean", "median", "count",
// "percentile", "cumulativeSum", ...), or nothing for a method that is not a
// summary of values.
std::optional<Summary> summaryOf(std::string_view method);

// Whether summaries of parts add up to the summary of the whole (sums and
// counts stack; means do not).
bool isAdditive(Summary summary);

// Whether the summary is a running total along x. summarize() gives the
// value of one place; the caller adds up the places in order.
bool isCumulative(Summary summary);

// Whether the summary is a percentage (its axis reads "%").
bool isPercentage(Summary summary);

// Whether the summary counts cases: it needs no values, and is whole when
// weights are.
bool isCount(Summary summary);

// The words a reader sees before the variable's name: "Mean of".
const char* summaryTitle(Summary summary);

// The summary of `sample` (reordered in place). NaN when the summary has no
// value (the mean of nothing, the deviation of one value).
double summarize(Summary summary, Sample& sample, const Totals& totals, const SummaryArgs& args);

// The same without weights: `cases` is the group's number of cases and
// `total` that of all groups, for counts and percentages.
double summarize(Summary summary, std::vector<double>& values, double cases, double total);

// The p-th percentile (0..100) of values, each of weight 1 or its weight:
// the value at rank (W + 1) p / 100 of the W cases in order, interpolated
// between neighbouring ranks and held at the ends. NaN for no values.
double percentile(std::vector<double>& values, const std::vector<double>& weights, double p);

// Tukey's hinges and fences of a box plot.
struct BoxStats {
  double lowerHinge = 0, median = 0, upperHinge = 0;
  double lowWhisker = 0, highWhisker = 0;  // the most extreme values within the inner fences
  std::vector<double> outliers;            // beyond 1.5 hinge spreads, within 3
  std::vector<double> extremes;            // beyond 3 hinge spreads
};

// The box of `values` (finite, at least one; reordered in place). Quartiles
// are Tukey's hinges: the medians of the lower and of the upper half of the
// ordered values, each half holding the median when their count is odd.
BoxStats boxStats(std::vector<double>& values);
// The same over weighted cases, weights read as frequencies: Tukey's depths
// with the total weight W in place of the count (the median at depth
// (W + 1) / 2, the hinges at (floor of that + 1) / 2 from either end), the
// value at a depth being the case whose cumulative weight first reaches it
// and a half depth the midpoint of two cases. Whole weights so give the
// hinges of the data with each case repeated; unit weights boxStats's.
// Cases weighing nothing are left out; no weights: boxStats(values).
BoxStats boxStats(std::vector<double>& values, const std::vector<double>& weights);

// What an error bar spans around a group's mean.
enum class Spread {
  kConfidence,         // a confidence interval of the mean at a level (95 %)
  kStandardError,      // a multiple of the standard error of the mean
  kStandardDeviation,  // a multiple of the standard deviation
};
struct MeanInterval {
  double mean = 0, low = 0, high = 0;
};

// The mean of `sample` and its interval: `amount` is the confidence level in
// percent, or the multiple of the standard error or deviation. Nothing when
// the sample has fewer than two cases' weight.
std::optional<MeanInterval> meanInterval(const Sample& sample, Spread spread, double amount);

// The two-sided Student t quantile for `confidence` (0..1) with `df` degrees
// of freedom: t such that P(|T| <= t) = confidence. NaN when df < 1.
double studentQuantile(double confidence, double df);

}  // namespace chartxml::render
