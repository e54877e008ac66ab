#include "fit/CurveFit.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

namespace chartxml::fit {

namespace {

constexpr std::array<std::string_view, 11> kNames = {
    "linear", "logarithmic", "inverse", "quadratic",   "cubic",    "compound",
    "power",  "s",           "growth",  "exponential", "logistic",
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// Shortest text that reads back as the same double ("-2", "0.1", "inf", "nan").
std::string text(double value) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return std::string(buffer, end);
}

std::string text(std::size_t value) {
  return std::to_string(value);
}

// How the family meets its linear model: the transform of x that is the
// regressor, the transform of y that is the response, and the degree.
enum class XScale { kPlain, kLog, kReciprocal };
enum class YScale { kPlain, kLog, kLogistic };

struct Shape {
  XScale x;
  YScale y;
  int degree;
};

Shape shapeOf(Family family) {
  switch (family) {
    case Family::kLinear:
      return {XScale::kPlain, YScale::kPlain, 1};
    case Family::kLogarithmic:
      return {XScale::kLog, YScale::kPlain, 1};
    case Family::kInverse:
      return {XScale::kReciprocal, YScale::kPlain, 1};
    case Family::kQuadratic:
      return {XScale::kPlain, YScale::kPlain, 2};
    case Family::kCubic:
      return {XScale::kPlain, YScale::kPlain, 3};
    case Family::kCompound:
      return {XScale::kPlain, YScale::kLog, 1};
    case Family::kPower:
      return {XScale::kLog, YScale::kLog, 1};
    case Family::kS:
      return {XScale::kReciprocal, YScale::kLog, 1};
    case Family::kGrowth:
      return {XScale::kPlain, YScale::kLog, 1};
    case Family::kExponential:
      return {XScale::kPlain, YScale::kLog, 1};
    case Family::kLogistic:
      return {XScale::kPlain, YScale::kLogistic, 1};
  }
  return {XScale::kPlain, YScale::kPlain, 1};
}

// Least-squares polynomial of the given degree through (u, v), coefficients
// from the constant term up. The regressor is centred and scaled onto [-1, 1]
// and the system solved by Householder QR, so that the normal equations'
// squared condition number never arises; the coefficients are then expanded
// back to powers of u. Nothing when the design matrix is (numerically) rank
// deficient.
std::optional<std::vector<double>> polynomialFit(const std::vector<double>& u,
                                                 const std::vector<double>& v, int degree) {
  const std::size_t n = u.size();
  const std::size_t k = static_cast<std::size_t>(degree) + 1;

  double centre = 0.0;
  for (double value : u) centre += value;
  centre /= static_cast<double>(n);
  double scale = 0.0;
  for (double value : u) scale = std::max(scale, std::abs(value - centre));
  if (!(scale > 0.0) || !std::isfinite(scale)) return std::nullopt;

  // Column-major n x (k + 1): the powers of t, then v.
  std::vector<double> m(n * (k + 1));
  auto at = [&](std::size_t row, std::size_t col) -> double& { return m[col * n + row]; };
  for (std::size_t i = 0; i < n; ++i) {
    const double t = (u[i] - centre) / scale;
    double power = 1.0;
    for (std::size_t j = 0; j < k; ++j) {
      at(i, j) = power;
      power *= t;
    }
    at(i, k) = v[i];
  }

  // Householder reflections; column j of R ends on and above the diagonal.
  double largestPivot = 0.0;
  std::vector<double> diagonal(k);
  for (std::size_t j = 0; j < k; ++j) {
    double norm = 0.0;
    for (std::size_t i = j; i < n; ++i) norm = std::hypot(norm, at(i, j));
    if (norm == 0.0) return std::nullopt;
    const double alpha = at(j, j) > 0.0 ? -norm : norm;
    // Reflector w = column - alpha e_j, stored in place of the column.
    at(j, j) -= alpha;
    const double wNormSquared = -2.0 * alpha * at(j, j);  // |w|^2 = 2 norm (norm + |x_j|)
    for (std::size_t col = j + 1; col <= k; ++col) {
      double dot = 0.0;
      for (std::size_t i = j; i < n; ++i) dot += at(i, j) * at(i, col);
      const double factor = 2.0 * dot / wNormSquared;
      for (std::size_t i = j; i < n; ++i) at(i, col) -= factor * at(i, j);
    }
    diagonal[j] = alpha;
    largestPivot = std::max(largestPivot, std::abs(alpha));
  }
  for (double pivot : diagonal) {
    if (std::abs(pivot) <= 1e-12 * largestPivot) return std::nullopt;
  }

  // Back substitution: R gamma = (Q^T v)[0..k).
  std::vector<double> gamma(k);
  for (std::size_t j = k; j-- > 0;) {
    double sum = at(j, k);
    for (std::size_t col = j + 1; col < k; ++col) sum -= at(j, col) * gamma[col];
    gamma[j] = sum / diagonal[j];
  }

  // sum_j gamma_j ((u - centre) / scale)^j  =  sum_i coefficient_i u^i.
  std::vector<double> coefficients(k, 0.0);
  double scalePower = 1.0;
  for (std::size_t j = 0; j < k; ++j) {
    const double delta = gamma[j] / scalePower;
    double binomial = 1.0;  // C(j, i), walked down from i = j
    double shift = 1.0;     // (-centre)^(j - i)
    for (std::size_t i = j + 1; i-- > 0;) {
      coefficients[i] += delta * binomial * shift;
      binomial = binomial * static_cast<double>(i) / static_cast<double>(j - i + 1);
      shift *= -centre;
    }
    scalePower *= scale;
  }
  return coefficients;
}

FitResult refuse(std::string message) {
  FitResult result;
  result.reason = message;
  result.error = std::move(message);
  return result;
}

// A refusal about one point: the message names it by its 1-based number, and
// the result keeps its index for callers that know the point by another name.
FitResult refuseAt(std::size_t point, std::string message, std::string_view tail = "") {
  FitResult result;
  result.reason = message + std::string(tail);
  result.error = message + " at point " + text(point + 1) + std::string(tail);
  result.point = point;
  return result;
}

// What stands in the way of a fit, or nothing when the next stage may go on.
using Refusal = std::optional<FitResult>;

// The logistic c comes from the bound, so it fits two coefficients like the
// other transformed families.
std::size_t fittedCount(const Shape& shape) {
  return static_cast<std::size_t>(shape.degree) + 1;
}

// Lengths, the number of points, and each point's finiteness and place in
// the family's domain, the first offending point named.
Refusal checkPoints(const std::string& name, const Shape& shape, std::span<const double> x,
                    std::span<const double> y) {
  if (x.size() != y.size()) {
    return refuse(name + " needs as many x as y values; got " + text(x.size()) + " x and " +
                  text(y.size()) + " y");
  }
  const std::size_t n = x.size();
  if (n < fittedCount(shape)) {
    return refuse(name + " needs at least " + text(fittedCount(shape)) + " points; got " + text(n));
  }
  for (std::size_t i = 0; i < n; ++i) {
    if (!std::isfinite(x[i])) return refuseAt(i, name + " needs finite values; x = " + text(x[i]));
    if (!std::isfinite(y[i])) return refuseAt(i, name + " needs finite values; y = " + text(y[i]));
    if (shape.x == XScale::kLog && !(x[i] > 0.0)) {
      return refuseAt(i, name + " needs x > 0; x = " + text(x[i]));
    }
    if (shape.x == XScale::kReciprocal && x[i] == 0.0) {
      return refuseAt(i, name + " needs x != 0; x = " + text(x[i]));
    }
    if (shape.y != YScale::kPlain && !(y[i] > 0.0)) {
      return refuseAt(i, name + " needs y > 0; y = " + text(y[i]));
    }
  }
  return std::nullopt;
}

// The logistic c = 1 / u, u being the caller's bound (checked to lie above
// every y) or the largest y with headroom.
Refusal logisticConstant(const std::string& name, std::span<const double> y, const Options& options,
                         double& c) {
  double bound;
  if (options.logisticUpperBound) {
    bound = *options.logisticUpperBound;
    if (!std::isfinite(bound) || !(bound > 0.0)) {
      return refuse(name + " needs a finite upper bound above 0; got " + text(bound));
    }
    for (std::size_t i = 0; i < y.size(); ++i) {
      if (!(y[i] < bound)) {
        return refuseAt(
            i, name + " needs y below the upper bound " + text(bound) + "; y = " + text(y[i]));
      }
    }
  } else {
    bound = *std::max_element(y.begin(), y.end()) * (1.0 + kLogisticHeadroom);
  }
  c = 1.0 / bound;
  return std::nullopt;
}

// A polynomial of degree k needs k + 1 distinct x; every family needs x to vary.
Refusal checkDistinctX(const std::string& name, const Shape& shape, std::span<const double> x) {
  std::vector<double> sorted(x.begin(), x.end());
  std::sort(sorted.begin(), sorted.end());
  const auto distinct =
      static_cast<std::size_t>(std::unique(sorted.begin(), sorted.end()) - sorted.begin());
  if (distinct == 1) return refuse(name + " needs x values that vary; every x = " + text(x[0]));
  if (distinct < fittedCount(shape)) {
    return refuse(name + " needs at least " + text(fittedCount(shape)) +
                  " distinct x values; got " + text(distinct));
  }
  return std::nullopt;
}

// The regressor u and response v of the family's linear model; a point the
// transform takes out of the finite doubles (an overflowing reciprocal, say)
// is refused rather than left to poison the solve.
Refusal transform(const std::string& name, const Shape& shape, std::span<const double> x,
                  std::span<const double> y, double c, std::vector<double>& u,
                  std::vector<double>& v) {
  const std::size_t n = x.size();
  u.assign(n, 0.0);
  v.assign(n, 0.0);
  for (std::size_t i = 0; i < n; ++i) {
    switch (shape.x) {
      case XScale::kPlain:
        u[i] = x[i];
        break;
      case XScale::kLog:
        u[i] = std::log(x[i]);
        break;
      case XScale::kReciprocal:
        u[i] = 1.0 / x[i];
        break;
    }
    switch (shape.y) {
      case YScale::kPlain:
        v[i] = y[i];
        break;
      case YScale::kLog:
        v[i] = std::log(y[i]);
        break;
      case YScale::kLogistic:
        v[i] = std::log(1.0 / y[i] - c);
        break;
    }
    if (!std::isfinite(u[i]) || !std::isfinite(v[i])) {
      return refuseAt(i, name + " cannot transform x = " + text(x[i]) + ", y = " + text(y[i]),
                      " into finite values");
    }
  }
  return std::nullopt;
}

// The family's coefficients from the linear model's p (constant term first).
Curve backTransform(Family family, const std::vector<double>& p, double c) {
  Curve curve;
  curve.family = family;
  switch (family) {
    case Family::kLinear:
    case Family::kLogarithmic:
    case Family::kInverse:
    case Family::kQuadratic:
    case Family::kCubic:
    case Family::kS:       // ln y = a + b / x
    case Family::kGrowth:  // ln y = a + b x
      std::copy(p.begin(), p.end(), curve.coefficients.begin());
      break;
    case Family::kCompound:  // ln y = ln a + x ln b
      curve.coefficients = {std::exp(p[0]), std::exp(p[1]), 0.0, 0.0};
      break;
    case Family::kPower:        // ln y = ln a + b ln x
    case Family::kExponential:  // ln y = ln a + b x
      curve.coefficients = {std::exp(p[0]), p[1], 0.0, 0.0};
      break;
    case Family::kLogistic:  // ln(1/y - c) = ln a + x ln b
      curve.coefficients = {std::exp(p[0]), std::exp(p[1]), c, 0.0};
      break;
  }
  return curve;
}

// exp of a large fitted term overflows: such a curve cannot be drawn.
Refusal checkCoefficients(const std::string& name, const Curve& curve) {
  static constexpr char kLetters[] = "abcd";
  for (std::size_t i = 0; i < curve.coefficients.size(); ++i) {
    if (!std::isfinite(curve.coefficients[i])) {
      return refuse(name + " gives a coefficient out of range: " + kLetters[i] + " = " +
                    text(curve.coefficients[i]));
    }
  }
  return std::nullopt;
}

// R squared of the curve as returned, on the scale of y; not a number when
// y does not vary.
double rSquared(const Curve& curve, std::span<const double> x, std::span<const double> y) {
  const auto [low, high] = std::minmax_element(y.begin(), y.end());
  if (*low == *high) return kNaN;
  double mean = 0.0;
  for (double value : y) mean += value;
  mean /= static_cast<double>(y.size());
  double total = 0.0, residual = 0.0;
  for (std::size_t i = 0; i < y.size(); ++i) {
    total += (y[i] - mean) * (y[i] - mean);
    const double error = y[i] - curve.at(x[i]);
    residual += error * error;
  }
  return 1.0 - residual / total;
}

}  // namespace

std::string_view familyName(Family family) {
  return kNames[static_cast<std::size_t>(family)];
}

std::optional<Family> parseFamily(std::string_view name) {
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    if (kNames[i] == name) return static_cast<Family>(i);
  }
  return std::nullopt;
}

std::string familyNames() {
  std::string names;
  for (std::string_view name : kNames) {
    if (!names.empty()) names += ", ";
    names += name;
  }
  return names;
}

int coefficientCount(Family family) {
  switch (family) {
    case Family::kQuadratic:
    case Family::kLogistic:
      return 3;
    case Family::kCubic:
      return 4;
    default:
      return 2;
  }
}

double Curve::at(double x) const {
  const auto [a, b, c, d] = coefficients;
  switch (family) {
    case Family::kLinear:
      return a + b * x;
    case Family::kLogarithmic:
      return a + b * std::log(x);
    case Family::kInverse:
      return a + b / x;
    case Family::kQuadratic:
      return a + x * (b + x * c);
    case Family::kCubic:
      return a + x * (b + x * (c + x * d));
    case Family::kCompound:
      return a * std::pow(b, x);
    case Family::kPower:
      return a * std::pow(x, b);
    case Family::kS:
      return std::exp(a + b / x);
    case Family::kGrowth:
      return std::exp(a + b * x);
    case Family::kExponential:
      return a * std::exp(b * x);
    case Family::kLogistic:
      return 1.0 / (c + a * std::pow(b, x));
  }
  return kNaN;
}

FitResult fit(Family family, std::span<const double> x, std::span<const double> y,
              const Options& options) {
  const std::string name = std::string(familyName(family)) + " fit";
  const Shape shape = shapeOf(family);

  if (auto refusal = checkPoints(name, shape, x, y)) return std::move(*refusal);
  double c = 0.0;
  if (shape.y == YScale::kLogistic) {
    if (auto refusal = logisticConstant(name, y, options, c)) return std::move(*refusal);
  }
  if (auto refusal = checkDistinctX(name, shape, x)) return std::move(*refusal);

  std::vector<double> u, v;
  if (auto refusal = transform(name, shape, x, y, c, u, v)) return std::move(*refusal);
  const auto linear = polynomialFit(u, v, shape.degree);
  if (!linear) return refuse(name + " has x values too close together to fit reliably");

  Curve curve = backTransform(family, *linear, c);
  if (auto refusal = checkCoefficients(name, curve)) return std::move(*refusal);
  curve.rSquared = rSquared(curve, x, y);
  FitResult result;
  result.curve = curve;
  return result;
}

}  // namespace chartxml::fit
