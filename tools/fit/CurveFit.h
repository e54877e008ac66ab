// Least-squares fits of the curve families that a chart's function lines draw.
//
// Each family has coefficients a, b (c, d) in the order the function-line
// formulas use them:
//
//   linear       y = a + b x
//   logarithmic  y = a + b ln x
//   inverse      y = a + b / x
//   quadratic    y = a + b x + c x^2
//   cubic        y = a + b x + c x^2 + d x^3
//   compound     y = a * b^x
//   power        y = a * x^b
//   s            y = exp(a + b / x)
//   growth       y = exp(a + b x)
//   exponential  y = a * exp(b x)
//   logistic     y = 1 / (c + a * b^x),  c = 1 / u for an upper bound u
//
// The polynomial families (linear, quadratic, cubic) and those linear in a
// transformed x (logarithmic, inverse) are ordinary least squares on y. The
// others are least squares after the usual linearising transform: ln y for
// compound, power, s, growth and exponential, ln(1/y - c) for logistic. Their
// coefficients therefore minimise the error on the transformed scale, while
// the reported R squared always measures the curve against y itself.
//
// Logistic: u is not estimated. It is the caller's bound when one is given,
// otherwise the largest y times (1 + kLogisticHeadroom), so that every point
// lies strictly below it. Then c = 1 / u and only a and b are fitted.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace chartxml::fit {

enum class Family {
  kLinear,
  kLogarithmic,
  kInverse,
  kQuadratic,
  kCubic,
  kCompound,
  kPower,
  kS,
  kGrowth,
  kExponential,
  kLogistic,
};

// The default logistic upper bound lies this fraction above the largest y.
inline constexpr double kLogisticHeadroom = 0.05;

// The lower-case name of a family ("linear", ..., "s", ..., "logistic").
std::string_view familyName(Family family);

// The family of a lower-case name; nothing for any other text.
std::optional<Family> parseFamily(std::string_view name);

// Every family name in order, separated by ", ": for "expected one of ..." messages.
std::string familyNames();

// How many coefficients the family's formula has (2, 3 or 4).
int coefficientCount(Family family);

struct Options {
  // Logistic only: the upper bound u (finite, above every y). Unset: the
  // largest y times (1 + kLogisticHeadroom).
  std::optional<double> logisticUpperBound;
};

struct Curve {
  Family family = Family::kLinear;
  // a, b, c, d; those beyond coefficientCount(family) are 0.
  std::array<double, 4> coefficients{};
  // 1 - SS(residual) / SS(total) of this curve against the data's y. It can be
  // negative for a transformed fit. Not a number when every y is the same.
  double rSquared = 0.0;

  double a() const { return coefficients[0]; }
  double b() const { return coefficients[1]; }
  double c() const { return coefficients[2]; }
  double d() const { return coefficients[3]; }

  // The curve's y at x.
  double at(double x) const;
};

// Either a fitted curve or the reason there is none.
struct FitResult {
  std::optional<Curve> curve;
  std::string error;  // empty when curve is set
  // A refusal about one point: its 0-based index, and the message without
  // the "at point N" that `error` names it by, for callers that know the
  // point by another name (a file's line). Otherwise `reason` is `error`.
  std::optional<std::size_t> point;
  std::string reason;

  explicit operator bool() const { return curve.has_value(); }
};

// Fits the family to the points (x[i], y[i]). Refuses, with a message naming
// the family and the first offending value and its 1-based point number:
// x and y of different lengths, fewer points than the family fits coefficients
// (fewer distinct x for the polynomials), x that does not vary, values that
// are not finite, and points outside the family's domain.
FitResult fit(Family family, std::span<const double> x, std::span<const double> y,
              const Options& options = {});

}  // namespace chartxml::fit
