#include "stats/Formula.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

#include "format/CivilTime.h"

namespace chartxml::render {

// Recursive descent over the text; nesting is bounded so that a hostile
// formula cannot exhaust the stack.
class FormulaParser {
 public:
  FormulaParser(std::string_view text, Formula& out) : text_(text), out_(out) {}

  bool run(std::string& error) {
    if (!sum() || (skipBlanks(), pos_ != text_.size())) {
      if (error_.empty()) error_ = "unexpected text";
      error = error_ + " at character " + std::to_string(pos_ + 1) + " of \"" + std::string(text_) +
              "\"";
      return false;
    }
    return true;
  }

 private:
  static constexpr int kMaxNesting = 200;

  void skipBlanks() {
    while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t')) ++pos_;
  }
  bool take(std::string_view token) {
    skipBlanks();
    if (text_.substr(pos_, token.size()) != token) return false;
    pos_ += token.size();
    return true;
  }
  void emit(Formula::Op op, double number = 0) {
    out_.program_.push_back({op, number});
    using Op = Formula::Op;
    if (op == Op::kNumber || op == Op::kX) {
      ++height_;
      out_.depth_ = std::max(out_.depth_, height_);
    } else if (op != Op::kNeg && op != Op::kExp && op != Op::kLog) {
      --height_;
    }
  }
  bool fail(std::string message) {
    if (error_.empty()) error_ = std::move(message);
    return false;
  }

  bool sum() {
    if (!product()) return false;
    for (;;) {
      if (take("+")) {
        if (!product()) return false;
        emit(Formula::Op::kAdd);
      } else if (take("-")) {
        if (!product()) return false;
        emit(Formula::Op::kSub);
      } else {
        return true;
      }
    }
  }

  bool product() {
    if (!unary()) return false;
    for (;;) {
      if (take("*")) {
        if (!unary()) return false;
        emit(Formula::Op::kMul);
      } else if (take("/")) {
        if (!unary()) return false;
        emit(Formula::Op::kDiv);
      } else {
        return true;
      }
    }
  }

  bool unary() {
    if (take("-")) {
      if (!nest()) return false;
      const bool ok = unary();
      --nesting_;
      if (ok) emit(Formula::Op::kNeg);
      return ok;
    }
    if (take("+")) return unary();
    return power();
  }

  // a ** b ** c is a ** (b ** c); -a ** b is -(a ** b).
  bool power() {
    if (!atom()) return false;
    if (!take("**")) return true;
    if (!nest()) return false;
    const bool ok = unary();
    --nesting_;
    if (ok) emit(Formula::Op::kPow);
    return ok;
  }

  bool nest() {
    if (++nesting_ > kMaxNesting) return fail("the formula nests too deep");
    return true;
  }

  bool atom() {
    skipBlanks();
    if (pos_ >= text_.size()) return fail("the formula ends early");
    if (take("(")) {
      if (!nest()) return false;
      const bool ok = sum();
      --nesting_;
      if (!ok) return false;
      return take(")") || fail("a ')' is missing");
    }
    if (take("exp")) return call(Formula::Op::kExp);
    if (take("log")) return call(Formula::Op::kLog);
    if (take("datetodouble")) return date();
    if (take("x")) {
      emit(Formula::Op::kX);
      return true;
    }
    double value = 0;
    const char* begin = text_.data() + pos_;
    const auto [ptr, ec] = std::from_chars(begin, text_.data() + text_.size(), value);
    if (ec != std::errc() || ptr == begin) return fail("a number, x or '(' is expected");
    pos_ += static_cast<std::size_t>(ptr - begin);
    emit(Formula::Op::kNumber, value);
    return true;
  }

  bool call(Formula::Op op) {
    if (!take("(")) return fail("a '(' is expected after the function's name");
    if (!nest()) return false;
    const bool ok = sum();
    --nesting_;
    if (!ok) return false;
    if (!take(")")) return fail("a ')' is missing");
    emit(op);
    return true;
  }

  // datetodouble("1582-10-14T00:00:00.000"): the instant as a date value.
  bool date() {
    if (!take("(") || !take("\"")) return fail("datetodouble takes a quoted date");
    const std::size_t end = text_.find('"', pos_);
    if (end == std::string_view::npos) return fail("the date's quote is not closed");
    const std::string_view stamp = text_.substr(pos_, end - pos_);
    pos_ = end + 1;
    if (!take(")")) return fail("a ')' is missing");
    long long year = 0;
    int month = 0, day = 0, hour = 0, minute = 0;
    double second = 0;
    const std::string copy(stamp);
    if (std::sscanf(copy.c_str(), "%lld-%d-%dT%d:%d:%lf", &year, &month, &day, &hour, &minute,
                    &second) < 3) {
      return fail("datetodouble takes a date as yyyy-MM-ddTHH:mm:ss");
    }
    emit(Formula::Op::kNumber, fromCivil(year, month, day, hour, minute, second));
    return true;
  }

  std::string_view text_;
  Formula& out_;
  std::size_t pos_ = 0;
  std::size_t height_ = 0;
  int nesting_ = 0;
  std::string error_;
};

std::optional<Formula> Formula::parse(std::string_view text, std::string& error) {
  Formula formula;
  FormulaParser parser(text, formula);
  if (!parser.run(error)) return std::nullopt;
  return formula;
}

double Formula::operator()(double x) const {
  double stack[64];
  std::vector<double> big;
  double* top = stack;
  if (depth_ > 64) {
    big.resize(depth_);
    top = big.data();
  }
  double* base = top;
  for (const Step& step : program_) {
    switch (step.op) {
      case Op::kNumber:
        *top++ = step.number;
        break;
      case Op::kX:
        *top++ = x;
        break;
      case Op::kNeg:
        top[-1] = -top[-1];
        break;
      case Op::kExp:
        top[-1] = std::exp(top[-1]);
        break;
      case Op::kLog:
        top[-1] = top[-1] > 0 ? std::log(top[-1]) : std::nan("");
        break;
      default: {
        const double b = *--top;
        double& a = top[-1];
        switch (step.op) {
          case Op::kAdd:
            a += b;
            break;
          case Op::kSub:
            a -= b;
            break;
          case Op::kMul:
            a *= b;
            break;
          case Op::kDiv:
            a /= b;
            break;
          case Op::kPow:
            a = std::pow(a, b);
            break;
          default:
            break;
        }
      }
    }
  }
  return top == base + 1 && std::isfinite(base[0]) ? base[0]
                                                   : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace chartxml::render
