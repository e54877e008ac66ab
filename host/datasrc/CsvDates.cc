// Dates and times in text: the forms the CSV reader recognises.
#include "datasrc/CsvDates.h"

#include <array>
#include <cstddef>

namespace cxhost {

namespace {

constexpr std::int64_t kSecondsPerDay = 86400;
// Fraction digits beyond these cannot change a double that counts seconds
// since 1582.
constexpr int kFractionDigitsRead = 9;

// Days from 1 March of year 0, proleptic Gregorian (as the formatter counts).
constexpr std::int64_t daysFromCivil(std::int64_t year, int month, int day) {
  if (month <= 2) --year;
  const std::int64_t cycle = (year >= 0 ? year : year - 399) / 400;
  const std::int64_t yearOfCycle = year - cycle * 400;
  const int shiftedMonth = month > 2 ? month - 3 : month + 9;
  const std::int64_t dayOfYear = (153 * shiftedMonth + 2) / 5 + day - 1;
  return cycle * 146097 + yearOfCycle * 365 + yearOfCycle / 4 - yearOfCycle / 100 + dayOfYear;
}

constexpr std::int64_t kEpochDay = daysFromCivil(1582, 10, 14);
static_assert(daysFromCivil(1582, 10, 15) - kEpochDay == 1);

int daysInMonth(int year, int month) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

constexpr std::array<std::string_view, 12> kMonthNames = {
    "january", "february", "march",     "april",   "may",      "june",
    "july",    "august",   "september", "october", "november", "december"};

char lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
bool isDigit(char c) {
  return c >= '0' && c <= '9';
}
bool isLetter(char c) {
  return lower(c) >= 'a' && lower(c) <= 'z';
}

// Reads a value from left to right; every read either takes what it wants
// or leaves the position where it was.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}

  bool done() const { return at_ == text_.size(); }
  bool next(char c) const { return at_ < text_.size() && text_[at_] == c; }
  bool nextIsDigit() const { return at_ < text_.size() && isDigit(text_[at_]); }
  bool nextIsLetter() const { return at_ < text_.size() && isLetter(text_[at_]); }
  // `c`, then a letter.
  bool letterAfter(char c) const {
    return next(c) && at_ + 1 < text_.size() && isLetter(text_[at_ + 1]);
  }
  bool take(char c) {
    if (!next(c)) return false;
    ++at_;
    return true;
  }
  bool digit(int& value) {
    if (!nextIsDigit()) return false;
    value = text_[at_++] - '0';
    return true;
  }
  // Exactly two digits, whatever follows ("+0530").
  bool twoDigits(int& value) {
    const std::size_t start = at_;
    int high = 0;
    int low = 0;
    if (digit(high) && digit(low)) {
      value = high * 10 + low;
      return true;
    }
    at_ = start;
    return false;
  }
  // One or more spaces.
  bool spaces() {
    if (!next(' ')) return false;
    while (take(' ')) {
    }
    return true;
  }
  // From `fewest` to `most` digits, no more.
  bool number(int fewest, int most, int& value) {
    std::size_t end = at_;
    value = 0;
    while (end < text_.size() && isDigit(text_[end]) && static_cast<int>(end - at_) < most) {
      value = value * 10 + (text_[end] - '0');
      ++end;
    }
    const int count = static_cast<int>(end - at_);
    if (count < fewest || (end < text_.size() && isDigit(text_[end]))) return false;
    at_ = end;
    return true;
  }
  // An English month name, whole or its first three letters ("Sept" too),
  // an abbreviation optionally followed by a full stop.
  bool monthName(int& month, bool& full) {
    std::size_t end = at_;
    while (end < text_.size() && isLetter(text_[end])) ++end;
    std::string word;
    for (std::size_t i = at_; i < end; ++i) word.push_back(lower(text_[i]));
    for (std::size_t m = 0; m < kMonthNames.size(); ++m) {
      const std::string_view name = kMonthNames[m];
      full = word == name;
      const bool shortened = word == name.substr(0, 3) || (m == 8 && word == name.substr(0, 4));
      if (!full && !shortened) continue;
      month = static_cast<int>(m) + 1;
      at_ = end;
      if (!full) take('.');
      return true;
    }
    return false;
  }

 private:
  std::string_view text_;
  std::size_t at_ = 0;
};

struct Civil {
  int year = 0;
  int month = 0;
  int day = 0;
};

bool year(Cursor& in, int& value) {
  return in.number(4, 4, value) && value >= 1;
}

// The numbers of a numeric date after its first one (`first`, 1 or 2
// digits, or the year when it had 4): the same separator twice.
bool numericDate(Cursor& in, int first, bool yearFirst, DateOrder order, Civil& date,
                 DateForm& form) {
  if (order == DateOrder::None) return false;
  const char separator = in.next('/') ? '/' : in.next('.') ? '.' : '-';
  int second = 0;
  int third = 0;
  if (!in.take(separator) || !in.number(1, 2, second) || !in.take(separator)) return false;
  form.separator = separator;
  if (yearFirst) {
    if (!in.number(1, 2, third)) return false;
    form.date = DateForm::Date::YearMonthDay;
    date = {first, second, third};
    return true;
  }
  if (!year(in, third)) return false;
  if (order == DateOrder::MonthFirst) {
    form.date = DateForm::Date::MonthDayYear;
    date = {third, first, second};
  } else {
    form.date = DateForm::Date::DayMonthYear;
    date = {third, second, first};
  }
  return true;
}

bool datePart(Cursor& in, DateOrder order, Civil& date, DateForm& form) {
  if (in.nextIsLetter()) {
    // Jan 31 2012, January 31, 2012
    form.date = DateForm::Date::MonthNameDayYear;
    if (!in.monthName(date.month, form.fullMonthName) || !in.spaces() ||
        !in.number(1, 2, date.day)) {
      return false;
    }
    form.comma = in.take(',');
    if (!in.spaces() && !form.comma) return false;
    return year(in, date.year);
  }
  int first = 0;
  if (in.number(4, 4, first)) {
    if (first < 1) return false;
    if (!in.take('-')) return numericDate(in, first, true, order, date, form);
    form.date = DateForm::Date::Iso;
    date.year = first;
    return in.number(1, 2, date.month) && in.take('-') && in.number(1, 2, date.day);
  }
  if (!in.number(1, 2, first)) return false;
  date.day = first;
  if (in.letterAfter('-')) {
    // 31-Jan-2012
    form.date = DateForm::Date::DayMonthNameDashed;
    in.take('-');
    return in.monthName(date.month, form.fullMonthName) && in.take('-') && year(in, date.year);
  }
  if (in.next(' ')) {
    // 31 January 2012
    form.date = DateForm::Date::DayMonthNameYear;
    in.spaces();
    if (!in.monthName(date.month, form.fullMonthName)) return false;
    form.comma = in.take(',');
    return (in.spaces() || form.comma) && year(in, date.year);
  }
  return numericDate(in, first, false, order, date, form);
}

// HH:mm[:ss[.fraction]]; the fraction's value goes to `fraction`.
bool timePart(Cursor& in, std::int64_t& seconds, double& fraction, int& fractionDigits,
              DateForm& form) {
  int hour = 0;
  int minute = 0;
  int second = 0;
  if (!in.number(1, 2, hour) || hour > 23 || !in.take(':') || !in.number(2, 2, minute) ||
      minute > 59) {
    return false;
  }
  if (in.take(':')) {
    form.seconds = true;
    if (!in.number(2, 2, second) || second > 59) return false;
    if (in.take('.')) {
      form.fraction = true;
      std::int64_t digits = 0;
      std::int64_t scale = 1;
      int digit = 0;
      while (in.digit(digit)) {
        if (fractionDigits < kFractionDigitsRead) {
          digits = digits * 10 + digit;
          scale *= 10;
        }
        ++fractionDigits;
      }
      if (fractionDigits == 0) return false;
      fraction = static_cast<double>(digits) / static_cast<double>(scale);
    }
  }
  seconds = hour * 3600 + minute * 60 + second;
  return true;
}

// Z, +hh, +hh:mm or +hhmm (or with '-'), after at most one space; the
// offset east of UTC in seconds.
bool zonePart(Cursor& in, std::int64_t& offset) {
  in.take(' ');
  if (in.take('Z') || in.take('z')) return in.done();
  const bool east = in.take('+');
  if (!east && !in.take('-')) return false;
  int hours = 0;
  int minutes = 0;
  if (!in.twoDigits(hours) || hours > 23) return false;
  if (in.take(':') || in.nextIsDigit()) {
    if (!in.twoDigits(minutes) || minutes > 59) return false;
  }
  offset = (east ? 1 : -1) * (hours * 3600 + minutes * 60);
  return in.done();
}

}  // namespace

std::string DateForm::pattern() const {
  const std::string month = fullMonthName ? "MMMM" : "MMM";
  const std::string comma = this->comma ? "," : "";
  const std::string numeric(1, separator);
  std::string text;
  switch (date) {
    case Date::Iso:
      text = "yyyy-MM-dd";
      break;
    case Date::MonthNameDayYear:
      text = month + " d" + comma + " yyyy";
      break;
    case Date::DayMonthNameYear:
      text = "d " + month + comma + " yyyy";
      break;
    case Date::DayMonthNameDashed:
      text = "d-" + month + "-yyyy";
      break;
    case Date::MonthDayYear:
      text = "MM" + numeric + "dd" + numeric + "yyyy";
      break;
    case Date::DayMonthYear:
      text = "dd" + numeric + "MM" + numeric + "yyyy";
      break;
    case Date::YearMonthDay:
      text = "yyyy" + numeric + "MM" + numeric + "dd";
      break;
  }
  if (!hasTime()) return text;
  text += timeSeparator;
  text += "HH:mm";
  if (seconds) text += ":ss";
  if (fraction) text += ".S";
  if (offset) text += "XXX";
  return text;
}

bool parseDate(std::string_view text, DateOrder order, DateValue& value) {
  // Every form starts with a digit or a letter and is short: this keeps the
  // cost of trying a text that is no date small.
  if (text.empty() || text.size() > 64 || !(isDigit(text[0]) || isLetter(text[0]))) return false;
  Cursor in(text);
  Civil date;
  DateForm form;
  if (!datePart(in, order, date, form) || date.month < 1 || date.month > 12 || date.day < 1 ||
      date.day > daysInMonth(date.year, date.month)) {
    return false;
  }
  std::int64_t clock = 0;
  std::int64_t offset = 0;
  double fraction = 0;
  int fractionDigits = 0;
  if (!in.done()) {
    if (form.date == DateForm::Date::Iso && (in.take('T') || in.take('t'))) {
      form.timeSeparator = 'T';
    } else if (in.take(' ')) {
      form.timeSeparator = ' ';
    } else {
      return false;
    }
    if (!timePart(in, clock, fraction, fractionDigits, form)) return false;
    if (!in.done()) {
      if (!zonePart(in, offset)) return false;
      form.offset = true;
    }
  }
  const std::int64_t days = daysFromCivil(date.year, date.month, date.day) - kEpochDay;
  value.seconds = static_cast<double>(days * kSecondsPerDay + clock - offset) + fraction;
  value.fractionDigits = fractionDigits;
  value.form = form;
  return true;
}

}  // namespace cxhost
