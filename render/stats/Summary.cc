#include "stats/Summary.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

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
};

// Kahan summation: long groups of similar values lose no digits.
double sum(const std::vector<double>& values) {
  double total = 0, carry = 0;
  for (const double value : values) {
    const double y = value - carry;
    const double t = total + y;
    carry = (t - total) - y;
    total = t;
  }
  return total;
}

double mean(const std::vector<double>& values) {
  return sum(values) / static_cast<double>(values.size());
}

double variance(const std::vector<double>& values) {
  if (values.size() < 2) return kNaN;
  const double m = mean(values);
  double squares = 0;
  for (const double value : values) squares += (value - m) * (value - m);
  return squares / static_cast<double>(values.size() - 1);
}

double median(std::vector<double>& values) {
  const std::size_t n = values.size();
  auto middle = values.begin() + static_cast<std::ptrdiff_t>(n / 2);
  std::nth_element(values.begin(), middle, values.end());
  const double upper = *middle;
  if (n % 2 == 1) return upper;
  const double lower = *std::max_element(values.begin(), middle);
  return lower + (upper - lower) / 2;
}

// The most frequent value; the smallest of equally frequent ones.
double mode(std::vector<double>& values) {
  std::sort(values.begin(), values.end());
  double best = values.front();
  std::size_t bestCount = 0;
  for (std::size_t i = 0; i < values.size();) {
    std::size_t j = i;
    while (j < values.size() && values[j] == values[i]) ++j;
    if (j - i > bestCount) {
      bestCount = j - i;
      best = values[i];
    }
    i = j;
  }
  return best;
}

}  // namespace

std::optional<Summary> summaryOf(std::string_view method) {
  for (const Name& name : kNames) {
    if (name.method == method) return name.summary;
  }
  return std::nullopt;
}

bool isAdditive(Summary summary) {
  return summary == Summary::kSum || summary == Summary::kCount || summary == Summary::kValidN ||
         summary == Summary::kPercent;
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
  }
  return "";
}

double summarize(Summary summary, std::vector<double>& values, double cases, double total) {
  switch (summary) {
    case Summary::kCount:
      return cases;
    case Summary::kValidN:
      return static_cast<double>(values.size());
    case Summary::kPercent:
      return total > 0 ? 100 * cases / total : kNaN;
    default:
      break;
  }
  if (values.empty()) return summary == Summary::kSum ? 0 : kNaN;
  switch (summary) {
    case Summary::kMean:
      return mean(values);
    case Summary::kMedian:
      return median(values);
    case Summary::kSum:
      return sum(values);
    case Summary::kMinimum:
      return *std::min_element(values.begin(), values.end());
    case Summary::kMaximum:
      return *std::max_element(values.begin(), values.end());
    case Summary::kRange: {
      const auto [low, high] = std::minmax_element(values.begin(), values.end());
      return *high - *low;
    }
    case Summary::kMode:
      return mode(values);
    case Summary::kStdDev:
      return std::sqrt(variance(values));
    case Summary::kVariance:
      return variance(values);
    default:
      return kNaN;
  }
}

}  // namespace chartxml::render
