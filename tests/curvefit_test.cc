// Curve fits: exact recovery for every family, R squared of a noisy line, and
// the refusals with their messages.
#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fit/CurveFit.h"

namespace {

using chartxml::fit::Curve;
using F = chartxml::fit::Family;
using chartxml::fit::fit;
using chartxml::fit::Options;

struct ExactCase {
  F family;
  std::vector<double> coefficients;  // a, b (c, d)
  std::vector<double> x;
  std::function<double(double)> f;  // the family's formula with those coefficients
};

TEST(CurveFit, RecoversEveryFamilyFromExactData) {
  const std::vector<double> positive = {0.5, 1, 1.5, 2, 3, 4.5, 6, 8};
  const std::vector<double> mixed = {-4, -2.5, -1, -0.5, 0.5, 1, 2.5, 4};
  // clang-format off
  const std::vector<ExactCase> cases = {
    {F::kLinear, {2, -3}, mixed, [](double x) { return 2 - 3 * x; }},
    {F::kLogarithmic, {1.5, 2}, positive, [](double x) { return 1.5 + 2 * std::log(x); }},
    {F::kInverse, {4, -2.5}, mixed, [](double x) { return 4 - 2.5 / x; }},
    {F::kQuadratic, {1, -2, 0.5}, mixed, [](double x) { return 1 - 2 * x + 0.5 * x * x; }},
    {F::kCubic, {-1, 0.5, -0.25, 0.125}, mixed,
     [](double x) { return -1 + 0.5 * x - 0.25 * x * x + 0.125 * x * x * x; }},
    {F::kCompound, {3, 1.2}, mixed, [](double x) { return 3 * std::pow(1.2, x); }},
    {F::kPower, {2, 1.5}, positive, [](double x) { return 2 * std::pow(x, 1.5); }},
    {F::kS, {1, -2}, mixed, [](double x) { return std::exp(1 - 2 / x); }},
    {F::kGrowth, {0.5, 0.3}, mixed, [](double x) { return std::exp(0.5 + 0.3 * x); }},
    {F::kExponential, {2.5, -0.4}, mixed, [](double x) { return 2.5 * std::exp(-0.4 * x); }},
    {F::kLogistic, {2, 0.5, 0.1}, mixed, [](double x) { return 1 / (0.1 + 2 * std::pow(0.5, x)); }},
  };
  // clang-format on
  ASSERT_EQ(cases.size(), 11u);
  for (const ExactCase& c : cases) {
    SCOPED_TRACE(std::string(chartxml::fit::familyName(c.family)));
    std::vector<double> y;
    for (double x : c.x) y.push_back(c.f(x));
    Options options;
    if (c.family == F::kLogistic) options.logisticUpperBound = 1 / 0.1;
    const auto result = fit(c.family, c.x, y, options);
    ASSERT_TRUE(result) << result.error;
    ASSERT_EQ(chartxml::fit::coefficientCount(c.family), static_cast<int>(c.coefficients.size()));
    for (std::size_t i = 0; i < 4; ++i) {
      const double expected = i < c.coefficients.size() ? c.coefficients[i] : 0.0;
      EXPECT_NEAR(result.curve->coefficients[i], expected, 1e-10) << "coefficient " << i;
    }
    EXPECT_NEAR(result.curve->rSquared, 1.0, 1e-12);
    EXPECT_NEAR(result.curve->at(3.25), c.f(3.25), 1e-9 * std::abs(c.f(3.25)));
  }
}

TEST(CurveFit, PolynomialFarFromTheOriginKeepsItsPrecision) {
  // y = 7 - 2 t + 0.3 t^2 - 0.01 t^3 with t = x - m, x spread over 10 around
  // m = 10005: in powers of x the coefficients span 10 orders of magnitude.
  const double m = 10005;
  std::vector<double> x, y;
  for (int i = 0; i <= 20; ++i) {
    x.push_back(m - 5 + 0.5 * i);
    const double t = x.back() - m;
    y.push_back(7 - 2 * t + 0.3 * t * t - 0.01 * t * t * t);
  }
  const double expected[] = {7 + 2 * m + 0.3 * m * m + 0.01 * m * m * m,
                             -2 - 0.6 * m - 0.03 * m * m, 0.3 + 0.03 * m, -0.01};
  const auto result = fit(F::kCubic, x, y);
  ASSERT_TRUE(result) << result.error;
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_NEAR(result.curve->coefficients[i], expected[i], 1e-10 * std::abs(expected[i]));
  }
  EXPECT_NEAR(result.curve->rSquared, 1.0, 1e-9);
}

TEST(CurveFit, NoisyLineAndSpecialCases) {
  // Slope 0.6, intercept 2.2, residual sum 2.4 out of a total 6.
  const auto noisy =
      fit(F::kLinear, std::vector<double>{1, 2, 3, 4, 5}, std::vector<double>{2, 4, 5, 4, 5});
  ASSERT_TRUE(noisy) << noisy.error;
  EXPECT_NEAR(noisy.curve->a(), 2.2, 1e-12);
  EXPECT_NEAR(noisy.curve->b(), 0.6, 1e-12);
  EXPECT_NEAR(noisy.curve->rSquared, 0.6, 1e-12);

  // Constant y: a flat line whose R squared is undefined.
  const auto flat = fit(F::kLinear, std::vector<double>{1, 2, 3}, std::vector<double>{4, 4, 4});
  ASSERT_TRUE(flat) << flat.error;
  EXPECT_NEAR(flat.curve->at(10), 4, 1e-12);
  EXPECT_TRUE(std::isnan(flat.curve->rSquared));

  // Logistic without a bound: u just above the largest y. Fitted on
  // ln(1/y - c), its R squared still measures the curve against y itself.
  const std::vector<double> x = {0, 1, 2, 3, 4, 5, 6};
  std::vector<double> y;
  for (double v : x) y.push_back(1 / (0.1 + 2 * std::pow(0.5, v)));
  const auto logistic = fit(F::kLogistic, x, y);
  ASSERT_TRUE(logistic) << logistic.error;
  const Curve& curve = *logistic.curve;
  EXPECT_DOUBLE_EQ(curve.c(), 1 / (y.back() * (1 + chartxml::fit::kLogisticHeadroom)));
  const double mean = std::accumulate(y.begin(), y.end(), 0.0) / y.size();
  double total = 0, residual = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    total += std::pow(y[i] - mean, 2);
    residual += std::pow(y[i] - 1 / (curve.c() + curve.a() * std::pow(curve.b(), x[i])), 2);
  }
  EXPECT_LT(curve.rSquared, 1.0);
  EXPECT_NEAR(curve.rSquared, 1 - residual / total, 1e-12);
}

TEST(CurveFit, FamilyNames) {
  const std::string names = chartxml::fit::familyNames();
  int count = 0;
  for (std::size_t start = 0, end = 0; end < names.size(); start = end + 2, ++count) {
    end = std::min(names.find(", ", start), names.size());
    const auto family = chartxml::fit::parseFamily(names.substr(start, end - start));
    ASSERT_TRUE(family) << names.substr(start, end - start);
    EXPECT_EQ(chartxml::fit::familyName(*family), names.substr(start, end - start));
  }
  EXPECT_EQ(count, 11);
  EXPECT_EQ(chartxml::fit::parseFamily("s"), F::kS);
  EXPECT_FALSE(chartxml::fit::parseFamily("Linear") || chartxml::fit::parseFamily("loess"));
}

TEST(CurveFit, RefusesWithAMessage) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double inf = std::numeric_limits<double>::infinity();
  struct Refusal {
    F family;
    std::vector<double> x, y;
    std::optional<double> bound;
    std::string message;
  };
  // clang-format off
  const std::vector<Refusal> refusals = {
    {F::kLinear, {1, 2}, {1, 2, 3}, {}, "linear fit needs as many x as y values; got 2 x and 3 y"},
    {F::kLinear, {}, {}, {}, "linear fit needs at least 2 points; got 0"},
    {F::kQuadratic, {1, 2}, {1, 2}, {}, "quadratic fit needs at least 3 points; got 2"},
    {F::kCubic, {1, 2, 2, 3}, {1, 2, 3, 4}, {},
     "cubic fit needs at least 4 distinct x values; got 3"},
    {F::kLinear, {3, 3, 3}, {1, 2, 3}, {}, "linear fit needs x values that vary; every x = 3"},
    {F::kLinear, {1, nan}, {1, 2}, {}, "linear fit needs finite values; x = nan at point 2"},
    {F::kGrowth, {1, 2}, {-inf, 2}, {}, "growth fit needs finite values; y = -inf at point 1"},
    {F::kLogarithmic, {1, 2, -2}, {1, 2, 3}, {}, "logarithmic fit needs x > 0; x = -2 at point 3"},
    {F::kPower, {0, 1}, {1, 2}, {}, "power fit needs x > 0; x = 0 at point 1"},
    {F::kInverse, {1, 0}, {1, 2}, {}, "inverse fit needs x != 0; x = 0 at point 2"},
    {F::kS, {-1, 0, 1}, {1, 2, 3}, {}, "s fit needs x != 0; x = 0 at point 2"},
    {F::kCompound, {1, 2, 3, 4}, {1, 2, 3, -1}, {}, "compound fit needs y > 0; y = -1 at point 4"},
    {F::kExponential, {1, 2}, {0, 1}, {}, "exponential fit needs y > 0; y = 0 at point 1"},
    {F::kLogistic, {1, 2}, {-0.5, 1}, {}, "logistic fit needs y > 0; y = -0.5 at point 1"},
    {F::kLogistic, {1, 2}, {1, 5}, 5.0,
     "logistic fit needs y below the upper bound 5; y = 5 at point 2"},
    {F::kLogistic, {1, 2}, {1, 2}, -1.0, "logistic fit needs a finite upper bound above 0; got -1"},
    {F::kInverse, {1, 5e-324}, {1, 2}, {},
     "inverse fit cannot transform x = 5e-324, y = 2 at point 2 into finite values"},
    {F::kCompound, {0, 0.5}, {1, 1e300}, {},
     "compound fit gives a coefficient out of range: b = inf"},
  };
  // clang-format on
  for (const Refusal& r : refusals) {
    const auto result = fit(r.family, r.x, r.y, Options{r.bound});
    EXPECT_FALSE(result.curve);
    EXPECT_EQ(result.error, r.message);
  }
}

}  // namespace
