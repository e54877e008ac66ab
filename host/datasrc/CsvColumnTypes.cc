// Column typing: numbers, missing values, dates, and the guessed formats.
#include "datasrc/CsvColumnTypes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <iterator>

#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"
#include "datasrc/CsvSupport.h"
#include "platform/PlainDecimal.h"

namespace cxhost::csv {

namespace {

constexpr std::uint8_t kFixedType = CX_FORMAT_FIXED;
// A guessed numeric format is never narrower than this, so that small whole
// numbers still line up with the values of neighbouring columns.
constexpr int kMinGuessedWidth = 8;

// Date display formats (formatter.h) and the widths they print in.
constexpr std::uint8_t kDateDmyName = CX_FORMAT_DATE_DMY;  // 26-SEP-1994
constexpr std::uint8_t kDateMdy = CX_FORMAT_DATE_MDY;      // 09/26/1994
constexpr std::uint8_t kDateDmy = CX_FORMAT_DATE_DOTTED;   // 26.09.1994
constexpr std::uint8_t kDateYmd = CX_FORMAT_DATE_YMD;      // 1994/09/26
constexpr std::uint8_t kDateTime = CX_FORMAT_DATE_TIME;    // 26-SEP-1994 23:06:40
constexpr std::uint8_t kDuration = CX_FORMAT_DURATION;
constexpr std::uint8_t kIsoDateTime = CX_FORMAT_ISO_DATE_TIME;  // 1994-09-26T23:06:40
constexpr int kDateWidth = 10;
constexpr int kDateNameWidth = 11;
constexpr int kDateTimeWidth = 20;
constexpr int kIsoDateTimeWidth = 19;
// Seconds since 1582 keep milliseconds exactly up to the year 9999; finer
// fractions are kept as read but not shown by the guessed format.
constexpr int kMaxGuessedSecondDecimals = 3;

std::string_view trimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

// How people write a missing value in a numeric column, besides leaving
// the field empty (`text` is trimmed).
bool isMissingToken(std::string_view text) {
  static constexpr std::string_view kTokens[] = {"NA", "N/A", "NaN", "nan", "null", "NULL", "."};
  return text.empty() ||
         std::find(std::begin(kTokens), std::end(kTokens), text) != std::end(kTokens);
}

// Decimals that fixed-point notation needs to show a number spelled as
// `text` (already known to be a number): "1.50" needs 2, "2.5e-3" needs 4.
int decimalsOf(std::string_view text) {
  // One pass: find_first_of would look each character up in the set
  // through a call, and this runs on every number of a file.
  std::size_t exponentAt = text.size();
  std::size_t point = text.size();
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == 'e' || text[i] == 'E') {
      exponentAt = i;
      break;
    }
    if (text[i] == '.') point = i;
  }
  long decimals = point < exponentAt ? static_cast<long>(exponentAt - point - 1) : 0;
  if (exponentAt < text.size()) {
    long exponent = 0;
    std::string_view digits = text.substr(exponentAt + 1);
    if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
    std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    decimals -= std::clamp(exponent, -1000L, 1000L);
  }
  return static_cast<int>(std::clamp(decimals, 0L, static_cast<long>(kMaxDecimals)));
}

}  // namespace

// What the date values of a column have in common.
class DateColumn {
 public:
  // False, with `problem`, when `value` mixes zone offsets with the values
  // before it; a date alone has none.
  bool add(const DateValue& value, std::string& problem) {
    const bool offset = value.form.offset;
    if (offset ? local_ : zoned_) {
      problem = offset ? "has a zone offset, unlike the values above it"
                       : "has no zone offset, unlike the date-times above it";
      return false;
    }
    (offset ? zoned_ : local_) = true;
    time_ = time_ || value.form.hasTime();
    fractionDigits_ = std::max(fractionDigits_, value.fractionDigits);
    using Date = DateForm::Date;
    iso_ = iso_ && value.form.date == Date::Iso;
    for (auto [date, all] : {std::pair{Date::MonthDayYear, &monthFirst_},
                             {Date::DayMonthYear, &dayFirst_},
                             {Date::YearMonthDay, &yearFirst_}}) {
      *all = *all && value.form.date == date;
    }
    if (std::find(forms_.begin(), forms_.end(), value.form) == forms_.end()) {
      if (forms_.size() < kFormsShown) {
        forms_.push_back(value.form);
      } else {
        moreForms_ = true;
      }
    }
    return true;
  }

  // The format that shows the values as they were written, or as near as
  // the host's date formats come.
  VORN_Format format() const {
    if (time_) {
      const int decimals = std::min(fractionDigits_, kMaxGuessedSecondDecimals);
      const int width =
          (iso_ ? kIsoDateTimeWidth : kDateTimeWidth) + (decimals > 0 ? decimals + 1 : 0);
      return VORN_Format(iso_ ? kIsoDateTime : kDateTime, static_cast<std::uint16_t>(width),
                         static_cast<std::uint8_t>(decimals));
    }
    const std::uint8_t type = iso_ || yearFirst_ ? kDateYmd
                              : monthFirst_      ? kDateMdy
                              : dayFirst_        ? kDateDmy
                                                 : kDateDmyName;
    return VORN_Format(type, type == kDateDmyName ? kDateNameWidth : kDateWidth, 0);
  }

  std::string kind() const {
    if (zoned_) return "date-time with offsets converted to UTC";
    std::string patterns;
    for (const DateForm& form : forms_) patterns += (patterns.empty() ? "" : "; ") + form.pattern();
    if (moreForms_) patterns += "; ...";
    return (time_ ? "date-time (" : "date (") + patterns + ")";
  }

 private:
  static constexpr std::size_t kFormsShown = 3;
  bool zoned_ = false;
  bool local_ = false;
  bool time_ = false;
  int fractionDigits_ = 0;
  bool iso_ = true;
  bool monthFirst_ = true;
  bool dayFirst_ = true;
  bool yearFirst_ = true;
  std::vector<DateForm> forms_;
  bool moreForms_ = false;
};

bool parseNumber(std::string_view text, double& value, bool infinities) {
  text = trimBlanks(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && text.front() == '-') return false;
  }
  if (text.empty()) return false;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) return false;
  return infinities ? !std::isnan(value) : std::isfinite(value);
}

Wanted Wanted::byFormatType(int type) {
  if (type < 1 || type > kMaxType) return {};
  if (type == VORN_Format::kStringType) return {Kind::Text, type};
  const bool date = type >= kDateDmyName && type <= kIsoDateTime && type != kDuration;
  return {date ? Kind::Date : Kind::Numeric, type};
}

DateOrder Wanted::dateOrder(DateOrder given) const {
  if (given != DateOrder::None || kind != Kind::Date) return given;
  return type == kDateMdy ? DateOrder::MonthFirst : DateOrder::DayFirst;
}

ColumnTyper::ColumnTyper(const std::string& file, const std::string& name, char delimiter,
                         const Wanted& wanted, DateOrder order, std::size_t rowsAtMost)
    : file_(file), name_(name), delimiter_(delimiter), wanted_(wanted), order_(order) {
  numbers_.reserve(rowsAtMost);
}

ColumnTyper::ColumnTyper(ColumnTyper&&) noexcept = default;
ColumnTyper::~ColumnTyper() = default;

ColumnTyper::Step ColumnTyper::add(std::string_view cell, bool quoted, int line) {
  cell = trimBlanks(cell);
  DateValue date;
  std::string problem;
  // Dates go to a column of texts as they were written when the dictionary
  // gives the string format: a date makes such a column text either way.
  const auto addDate = [&] {
    if (!dates_) dates_ = std::make_unique<DateColumn>();
    if (!dates_->add(date, problem)) return false;
    if (wanted_.kind == Wanted::Kind::Text) {
      text_ = true;
      return true;
    }
    seen_ = Seen::Dates;
    numbers_.push_back(date.seconds);
    return true;
  };
  if (quoted && !wanted_.strict()) {
    if (seen_ != Seen::Numbers && cell.find(delimiter_) != std::string_view::npos &&
        parseDate(cell, order_, date) && addDate()) {
      return text_ ? Step::Text : Step::Typed;
    }
    text_ = true;
    return Step::Text;
  }
  // A number first: missing-value tokens never read as numbers (NaN is refused).
  if (seen_ != Seen::Dates) {
    double value = 0;
    int decimals = 0;
    const char* const end = cell.data() + cell.size();
    if (cxio::scanPlainDecimal(cell.data(), end, value, decimals) == end && !cell.empty()) {
      addNumber(value, decimals);
      return Step::Typed;
    }
    if (parseNumber(cell, value, true)) {
      addNumber(value, std::isfinite(value) ? decimalsOf(cell) : 0);
      return Step::Typed;
    }
  }
  if (isMissingToken(cell)) {
    numbers_.push_back(kVornMissingValue);
    return Step::Typed;
  }
  if (seen_ != Seen::Numbers && parseDate(cell, order_, date) && addDate()) {
    return text_ ? Step::Text : Step::Typed;
  }
  if (!wanted_.strict()) {
    text_ = true;
    return Step::Text;
  }
  return refuse(cell, line, std::move(problem));
}

void ColumnTyper::addNumber(double value, int decimals) {
  seen_ = Seen::Numbers;
  numbers_.push_back(value);
  if (!std::isfinite(value)) return;
  largest_ = std::max(largest_, std::fabs(value));
  negative_ = negative_ || std::signbit(value);
  decimals_ = std::max(decimals_, decimals);
}

ColumnTyper::Step ColumnTyper::refuse(std::string_view cell, int line, std::string problem) const {
  if (problem.empty()) {
    const bool dateExpected =
        seen_ == Seen::Dates || (seen_ == Seen::Nothing && wanted_.kind == Wanted::Kind::Date);
    problem = dateExpected ? "is not a date" : "is not a number";
  }
  csv::refuse(file_, line,
              "variable \"" + name_ + "\": \"" + std::string(cell) + "\" " + problem +
                  "; the dictionary gives it " +
                  (wanted_.kind == Wanted::Kind::Date ? "date" : "numeric") + " format type " +
                  std::to_string(wanted_.type));
  return Step::Refused;
}

void ColumnTyper::finish(CsvColumn& column, Typed& typed) {
  if (text_) {
    std::vector<double>().swap(numbers_);
    std::size_t longest = 1;
    for (std::size_t row = 0; row < column.ends.size(); ++row) {
      longest = std::max(longest, column.cell(row).size());
    }
    typed.numeric = false;
    typed.format =
        VORN_Format(VORN_Format::kStringType,
                    static_cast<std::uint16_t>(std::min<std::size_t>(longest, kMaxStringWidth)), 0);
    typed.kind = "text";
    return;
  }
  column.numbers = std::move(numbers_);
  column.text = std::string();
  column.ends = std::vector<std::size_t>();
  typed.numeric = true;
  if (seen_ == Seen::Dates) {
    typed.format = dates_->format();
    typed.kind = dates_->kind();
    return;
  }
  // Long plain decimals are counted as written; a format shows fewer.
  decimals_ = std::min(decimals_, kMaxDecimals);
  const int printed = std::snprintf(nullptr, 0, "%.*f", decimals_, largest_) + (negative_ ? 1 : 0);
  const int width = std::clamp(printed, kMinGuessedWidth, static_cast<int>(VORN_Format::kMaxWidth));
  typed.format = VORN_Format(kFixedType, static_cast<std::uint16_t>(width),
                             static_cast<std::uint8_t>(decimals_));
  typed.kind = seen_ == Seen::Nothing ? "number (all missing)"
                                      : "number (" + std::to_string(decimals_) +
                                            (decimals_ == 1 ? " decimal)" : " decimals)");
}

}  // namespace cxhost::csv
