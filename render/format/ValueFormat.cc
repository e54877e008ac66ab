#include "format/ValueFormat.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "format/CivilTime.h"

namespace chartxml::render {
namespace {

// Past this many fraction digits every double's decimal expansion has ended.
constexpr int kMaxDigits = 340;
constexpr int kFreeSignificantDigits = 15;
constexpr int kMaxSecondFractionDigits = 9;

// |value| as decimal digits d0 d1 d2 ... with `point` of them before the decimal
// point (point may be negative or beyond the digits).
struct Decimal {
  std::string digits;
  int point = 1;
  bool negative = false;

  char at(int i) const { return i >= 0 && i < static_cast<int>(digits.size()) ? digits[i] : '0'; }
  bool isZero() const { return digits.find_first_not_of('0') == std::string::npos; }

  // Keeps the first `keep` digits, rounding half away from zero on the
  // magnitude; a negative `keep` rounds everything away.
  void roundTo(int keep) {
    if (keep >= static_cast<int>(digits.size())) return;
    const bool up = keep >= 0 && digits[keep] >= '5';
    digits.resize(std::max(keep, 0));
    if (up) {
      int i = keep - 1;
      while (i >= 0 && digits[i] == '9') digits[i--] = '0';
      if (i < 0) {
        digits.insert(digits.begin(), '1');
        ++point;
      } else {
        ++digits[i];
      }
    }
    if (digits.empty() || isZero()) {
      digits = "0";
      point = 1;
      negative = false;
    }
  }
};

// The shortest digits that read back as `value`. Rounding these rather than the
// exact binary expansion makes 2.5 and 1.005 round the way people expect.
Decimal shortestDecimal(double value) {
  char text[64];
  const auto end =
      std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific).ptr;
  Decimal d;
  d.negative = std::signbit(value) && value != 0;
  const char* p = text;
  for (; p != end && *p != 'e'; ++p) {
    if (*p != '.') d.digits += *p;
  }
  int exponent = 0;
  if (p != end) {
    ++p;
    if (*p == '+') ++p;  // from_chars takes '-' but not '+'
    std::from_chars(p, end, exponent);
  }
  d.point = exponent + 1;
  return d;
}

std::string grouped(const std::string& integer, const std::string& separator) {
  std::string text;
  const int n = static_cast<int>(integer.size());
  for (int i = 0; i < n; ++i) {
    if (i > 0 && (n - i) % 3 == 0) text += separator;
    text += integer[i];
  }
  return text;
}

// How many fraction digits to round to, and how far trailing zeros may be
// dropped; `free` is the "as few as needed" mode.
struct FractionPlan {
  bool free = false;
  int round = 0;
  int minShown = 0;
};

FractionPlan planFraction(const NumberFormat& f, int fractionDigits) {
  const int minF = std::clamp(f.minFractionDigits, 0, kMaxDigits);
  if (fractionDigits >= 0) {
    const int n = std::max(std::min(fractionDigits, kMaxDigits), minF);
    return {false, n, n};
  }
  if (f.maxFractionDigits >= 0) {
    return {false, std::max(std::min(f.maxFractionDigits, kMaxDigits), minF), minF};
  }
  return {true, 0, minF};
}

// Fraction digits of `d` to show: `round` of them, less trailing zeros down to
// `minShown`.
int shownFraction(const Decimal& d, int round, int minShown, int firstFractionDigit) {
  int n = round;
  while (n > minShown && d.at(firstFractionDigit + n - 1) == '0') --n;
  return n;
}

std::string fixed(double value, const NumberFormat& f, const FractionPlan& plan) {
  Decimal d = shortestDecimal(value);
  int round = plan.round;
  if (plan.free) {
    d.roundTo(kFreeSignificantDigits);
    round = std::clamp(static_cast<int>(d.digits.size()) - d.point, 0, kMaxDigits);
  } else {
    d.roundTo(d.point + round);
  }
  const int fraction = shownFraction(d, std::max(round, plan.minShown), plan.minShown, d.point);

  std::string integer;
  for (int i = 0; i < d.point; ++i) integer += d.at(i);
  if (integer.empty()) integer = "0";
  const auto minInteger = static_cast<std::size_t>(std::clamp(f.minIntegerDigits, 1, kMaxDigits));
  if (integer.size() < minInteger) integer.insert(0, minInteger - integer.size(), '0');
  std::string text = f.grouping ? grouped(integer, f.groupingSeparator) : integer;
  if (fraction > 0) {
    text += f.decimalSeparator;
    for (int i = 0; i < fraction; ++i) text += d.at(d.point + i);
  }
  return d.negative ? "-" + text : text;
}

std::string scientific(double value, const NumberFormat& f, const FractionPlan& plan) {
  Decimal d = shortestDecimal(value);
  int round = plan.round;
  if (plan.free) {
    d.roundTo(kFreeSignificantDigits);
    round = static_cast<int>(d.digits.size()) - 1;
  } else {
    d.roundTo(round + 1);
  }
  const int fraction = shownFraction(d, std::max(round, plan.minShown), plan.minShown, 1);
  const int exponent = d.isZero() ? 0 : d.point - 1;

  std::string text(1, d.at(0));
  if (fraction > 0) {
    text += f.decimalSeparator;
    for (int i = 1; i <= fraction; ++i) text += d.at(i);
  }
  text += exponent < 0 ? "E-" : "E+";
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, std::abs(exponent)).ptr;
  if (end - digits < 2) text += '0';
  text.append(digits, end);
  return d.negative ? "-" + text : text;
}

}  // namespace

std::string formatNumber(double value, const NumberFormat& format, int fractionDigits) {
  if (std::isnan(value)) return "";
  if (std::isinf(value)) return value > 0 ? "\u221E" : "-\u221E";
  const FractionPlan plan = planFraction(format, fractionDigits);
  std::string digits =
      format.scientific ? scientific(value, format, plan) : fixed(value, format, plan);
  // The sign is decided after rounding, so -0.001 at two digits shows "0.00".
  const bool negative = !digits.empty() && digits[0] == '-';
  if (negative) digits.erase(0, 1);
  std::string text = format.prefix + digits + format.suffix;
  if (!negative) return text;
  return format.negativePrefix.value_or("-") + text + format.negativeSuffix.value_or("");
}

namespace {

constexpr const char* kMonthNames[] = {"January",   "February", "March",    "April",
                                       "May",       "June",     "July",     "August",
                                       "September", "October",  "November", "December"};
constexpr const char* kWeekdayNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                         "Thursday", "Friday", "Saturday"};

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// `value` in decimal, zero-padded to `width` digits; a minus sign comes first.
std::string padded(long long value, std::size_t width) {
  char text[32];
  const unsigned long long magnitude =
      value < 0 ? 0ULL - static_cast<unsigned long long>(value) : value;
  const auto end = std::to_chars(text, text + sizeof text, magnitude).ptr;
  std::string digits(text, end);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return value < 0 ? "-" + digits : digits;
}

// The longest run of S outside quotes: the finest fraction the pattern shows.
int fractionDigitsShown(std::string_view pattern) {
  int longest = 0;
  bool quoted = false;
  for (std::size_t i = 0; i < pattern.size();) {
    if (pattern[i] == '\'') {
      quoted = !quoted;
      ++i;
      continue;
    }
    std::size_t run = 1;
    while (i + run < pattern.size() && pattern[i + run] == pattern[i]) ++run;
    if (!quoted && pattern[i] == 'S') longest = std::max(longest, static_cast<int>(run));
    i += run;
  }
  return std::min(longest, kMaxSecondFractionDigits);
}

}  // namespace

std::string formatDate(double seconds, std::string_view pattern) {
  if (!std::isfinite(seconds)) return "";
  // Round once, to the finest place shown, so that every field agrees: 59.9996 s
  // shown to three places is the next minute, not 59.1000.
  const int places = fractionDigitsShown(pattern);
  const double scale = std::pow(10.0, places);
  double whole = std::floor(seconds);
  double fraction = std::round((seconds - whole) * scale);
  if (fraction >= scale) {
    whole += 1;
    fraction = 0;
  }
  const CivilTime t = toCivil(whole);
  const std::string fractionText = padded(static_cast<long long>(fraction), places);

  std::string text;
  for (std::size_t i = 0; i < pattern.size();) {
    const char c = pattern[i];
    if (c == '\'') {
      if (i + 1 < pattern.size() && pattern[i + 1] == '\'') {
        text += '\'';
        i += 2;
        continue;
      }
      // Quoted text up to the closing quote; '' inside it is one quote. An
      // unclosed quote runs to the end.
      for (++i; i < pattern.size(); ++i) {
        if (pattern[i] != '\'') {
          text += pattern[i];
        } else if (i + 1 < pattern.size() && pattern[i + 1] == '\'') {
          text += '\'';
          ++i;
        } else {
          ++i;
          break;
        }
      }
      continue;
    }
    if (!isLetter(c)) {
      text += c;
      ++i;
      continue;
    }
    std::size_t n = 1;
    while (i + n < pattern.size() && pattern[i + n] == c) ++n;
    i += n;
    switch (c) {
      case 'y':
        text += n == 2 ? padded((t.year % 100 + 100) % 100, 2) : padded(t.year, n);
        break;
      case 'M':
        text += n >= 4   ? std::string(kMonthNames[t.month - 1])
                : n == 3 ? std::string(kMonthNames[t.month - 1], 3)
                         : padded(t.month, n);
        break;
      case 'd':
        text += padded(t.day, n);
        break;
      case 'D':
        text += padded(t.dayOfYear, n);
        break;
      case 'H':
        text += padded(t.hour, n);
        break;
      case 'h':
        text += padded(t.hour % 12 == 0 ? 12 : t.hour % 12, n);
        break;
      case 'a':
        text += t.hour < 12 ? "AM" : "PM";
        break;
      case 'm':
        text += padded(t.minute, n);
        break;
      case 's':
        text += padded(static_cast<long long>(t.second), n);
        break;
      case 'S':
        text += fractionText.substr(0, std::min<std::size_t>(n, fractionText.size()));
        if (n > fractionText.size()) text.append(n - fractionText.size(), '0');
        break;
      case 'E':
        text += n >= 4 ? std::string(kWeekdayNames[t.weekday])
                       : std::string(kWeekdayNames[t.weekday], 3);
        break;
      case 'Q':
      case 'q':
        text += padded((t.month - 1) / 3 + 1, n);
        break;
      default:
        text.append(n, c);
        break;
    }
  }
  return text;
}

std::string formatValue(double value, const ValueFormat& format, int fractionDigits) {
  switch (format.kind) {
    case ValueFormat::Kind::kNumber:
      return formatNumber(value, format.number, fractionDigits);
    case ValueFormat::Kind::kDate:
      return formatDate(value, format.datePattern.empty() ? "yyyy-MM-dd" : format.datePattern);
    case ValueFormat::Kind::kPlain:
    case ValueFormat::Kind::kString:
      break;
  }
  return formatNumber(value, NumberFormat{}, fractionDigits);
}

}  // namespace chartxml::render
