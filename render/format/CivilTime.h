// Civil (time-zone free) date and time of the values charts store for dates:
// seconds since 14 October 1582 00:00:00 in the proleptic Gregorian calendar.
// Years are astronomical: the year before 1 is 0, the one before that -1.
#pragma once

namespace chartxml::render {

struct CivilTime {
  long long year = 1582;
  int month = 10;  // 1-12
  int day = 14;
  int hour = 0;
  int minute = 0;
  double second = 0;    // [0, 60)
  int weekday = 4;      // 0 Sunday .. 6 Saturday (14 Oct 1582 proleptic Gregorian was a Thursday)
  int dayOfYear = 287;  // 1..366
};

// Seconds beyond ±1e17 (some three billion years) are clamped to it, and a
// non-finite value gives the epoch itself.
CivilTime toCivil(double seconds);

// The seconds of a civil time. Out-of-range fields carry: month 13 is January of
// the next year, day 0 the last day of the month before, hour 25 one in the
// morning of the next day. Years are clamped to ±10^12 so the day count cannot
// overflow; a NaN second gives NaN.
double fromCivil(long long year, int month, int day, int hour = 0, int minute = 0,
                 double second = 0);

}  // namespace chartxml::render
