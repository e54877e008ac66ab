// Formulas of function guides, y as a function of x, in the documents'
// expression language: numbers, x, + - * / and ** (power, right
// associative), unary minus, parentheses, exp(), log() (natural) and
// datetodouble("yyyy-MM-ddTHH:mm:ss.SSS") (a date as seconds since
// 14 October 1582, the unit of date values).
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace chartxml::render {

class Formula {
 public:
  // The formula of `text`, or nothing with `error` saying where it fails.
  static std::optional<Formula> parse(std::string_view text, std::string& error);

  // y at x; NaN where the formula has no value (log of a negative, 0/0).
  double operator()(double x) const;

 private:
  // Postfix program: evaluated with a small stack, no recursion.
  enum class Op : unsigned char { kNumber, kX, kAdd, kSub, kMul, kDiv, kPow, kNeg, kExp, kLog };
  struct Step {
    Op op;
    double number = 0;
  };
  friend class FormulaParser;
  std::vector<Step> program_;
  std::size_t depth_ = 0;  // the stack the program needs
};

}  // namespace chartxml::render
