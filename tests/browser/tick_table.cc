// Prints the pictures' ticks for a spread of ranges as JSON, for the browser
// test to compare with the page script's port of the same rules: number
// ranges of every scale and sign, log ranges from within a decade to
// hundreds of decades, and date ranges from minutes to centuries.
#include <cstdio>
#include <string>
#include <vector>

#include "format/CivilTime.h"
#include "scales/DateTicks.h"
#include "scales/Ticks.h"

namespace {

void printValues(const std::vector<double>& values) {
  std::printf("[");
  for (std::size_t i = 0; i < values.size(); ++i) std::printf(i ? ",%.17g" : "%.17g", values[i]);
  std::printf("]");
}

}  // namespace

int main() {
  using chartxml::render::fromCivil;
  struct Range {
    double lo, hi;
  };
  const std::vector<Range> numbers = {
      {0, 1},        {0, 10},          {-3.7, 12.2}, {0.001, 0.0093}, {1e6, 3.3e6},
      {-1e-9, 1e-9}, {98.5, 101.25},   {-250, -10},  {1959, 2023},    {0, 0.3},
      {5, 5},        {123456, 123457}, {-0.5, 1e5},  {2.5, 2.75},     {1e15, 1e16},
      {3.1, 3.2},    {-7e-5, 4.2e-4},  {0.95, 1.05}, {4, 19},         {17.5, 1e3}};
  // Inside one decade (nice fallback), a few decades (multiples of each
  // power), many (powers every few decades), at the ends of double, and
  // bounds a log axis cannot take.
  const std::vector<Range> logs = {
      {1, 10},     {2, 9},          {1, 1000},        {0.03, 70},       {5e-5, 2e-2}, {1, 1e12},
      {3e-7, 4e9}, {1e-300, 1e300}, {4e-320, 1e-310}, {1e300, 1.7e308}, {0.95, 1.05}, {7, 7},
      {-5, 100},   {0, 0},          {12.5, 13.5},     {1e15, 1e16}};
  const double day = 86400;
  const double y2000 = fromCivil(2000, 1, 1);
  const std::vector<Range> dates = {{fromCivil(1959, 1, 1), fromCivil(2023, 1, 1)},
                                    {fromCivil(1990, 3, 17), fromCivil(1994, 8, 2)},
                                    {fromCivil(2020, 1, 5), fromCivil(2020, 11, 20)},
                                    {y2000, y2000 + 40 * day},
                                    {y2000 + 3 * day, y2000 + 12 * day},
                                    {y2000 + 0.3 * day, y2000 + 1.7 * day},
                                    {y2000 + 3600, y2000 + 5 * 3600},
                                    {y2000 + 61, y2000 + 1500},
                                    {y2000 + 1, y2000 + 40},
                                    {fromCivil(1600, 1, 1), fromCivil(2100, 1, 1)},
                                    {fromCivil(1582, 10, 20), fromCivil(1583, 2, 1)},
                                    {y2000, y2000}};
  std::printf("[\n");
  bool first = true;
  for (const int target : {2, 4, 5, 8}) {
    for (const Range& r : numbers) {
      const chartxml::render::Ticks t = chartxml::render::niceTicks(r.lo, r.hi, target);
      std::printf(
          "%s{\"kind\":\"nice\",\"lo\":%.17g,\"hi\":%.17g,\"target\":%d,\"digits\":%d,"
          "\"values\":",
          first ? "" : ",\n", r.lo, r.hi, target, t.fractionDigits);
      printValues(t.values);
      std::printf("}");
      first = false;
    }
    for (const Range& r : logs) {
      const chartxml::render::Ticks t = chartxml::render::logTicks(r.lo, r.hi, target);
      std::printf(
          ",\n{\"kind\":\"log\",\"lo\":%.17g,\"hi\":%.17g,\"target\":%d,\"digits\":%d,"
          "\"values\":",
          r.lo, r.hi, target, t.fractionDigits);
      printValues(t.values);
      std::printf("}");
    }
    for (const Range& r : dates) {
      const chartxml::render::DateTicks t = chartxml::render::dateTicks(r.lo, r.hi, target);
      std::printf(",\n{\"kind\":\"date\",\"lo\":%.17g,\"hi\":%.17g,\"target\":%d,\"values\":", r.lo,
                  r.hi, target);
      printValues(t.values);
      std::printf("}");
    }
  }
  std::printf("\n]\n");
  return 0;
}
