// Summaries of a group's values, as an element's statistic asks for them.
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
};

// The summary a statistic method names ("mean", "median", "count", ...), or
// nothing for a method that is not a summary of values.
std::optional<Summary> summaryOf(std::string_view method);

// Whether summaries of parts add up to the summary of the whole (sums and
// counts stack; means do not).
bool isAdditive(Summary summary);

// The words a reader sees before the variable's name: "Mean of".
const char* summaryTitle(Summary summary);

// The summary of `values` (finite values only; reordered in place).
// `cases` is the group's number of cases and `total` that of all groups,
// for counts and percentages. NaN when the summary has no value (the mean
// of nothing, the deviation of one value).
double summarize(Summary summary, std::vector<double>& values, double cases, double total);

}  // namespace chartxml::render
