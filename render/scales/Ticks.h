// Tick positions for numeric axes: nice ticks for linear axes by the extended
// Wilkinson search, and decade-based ticks for base-10 log axes.
//
// All functions are pure and total: any input (NaN, infinities, reversed or
// empty ranges, values near the limits of double) gives a sane result.
#pragma once

#include <utility>
#include <vector>

namespace chartxml::render {

struct Ticks {
  std::vector<double> values;  // ascending, each within [lo, hi] (tolerance 1e-9 of the span)
  double step = 0;             // distance between neighbours (0 with fewer than 2 ticks)
  int fractionDigits = 0;      // digits after the point that show every tick exactly and distinctly
};

// Nice ticks for the visible range [lo, hi] of a linear axis, about `target` of
// them, by the extended Wilkinson algorithm (nice steps 1, 5, 2, 2.5, 4, 3;
// weights .25 simplicity with the zero bonus, .2 coverage, .5 density, .05
// legibility, legibility always 1). Only ticks inside [lo, hi] are returned, and
// among labellings that leave fewer than two ticks inside none is chosen.
//
// Tick values are integer multiples of a decimal unit, each the double nearest
// that decimal (0.3, never 0.30000000000000004; never -0).
//
// Input handling:
//  - target is clamped to [2, 100];
//  - lo > hi is swapped;
//  - a NaN or infinite bound takes the other bound's value; both non-finite
//    give the single value 0;
//  - a single value v (lo == hi) is widened to [v - 0.1|v|, v + 0.1|v|]
//    (limited to the finite doubles), or to [-1, 1] when v is 0;
//  - spans so narrow that no decimal labelling fits (a few units in the last
//    place of the bounds) give the two ticks lo and hi.
Ticks niceTicks(double lo, double hi, int target);

// Ticks for a base-10 log axis over the positive range [lo, hi]. The candidates
// are powers of ten every 1, 2, 5, 10, 20, 50, ... decades, then 1, 2, 5 × 10^k,
// then 1..9 × 10^k; the one whose count is nearest `target` without exceeding
// about 1.5 × target wins (the simpler one on a tie). When none gives at least
// half the target (a range inside one decade, say), the ticks are niceTicks.
// Ticks count as inside within a relative 1e-9 of the bounds (an absolute
// tolerance would swallow whole decades at the low end). step is 0 for
// log-spaced ticks (they are not evenly spaced in value) and the
// linear step for the niceTicks fallback. A non-positive or non-finite bound
// takes the other bound's value (both bad: [1, 10]); a single value falls back
// to niceTicks, which widens it.
Ticks logTicks(double lo, double hi, int target);

// The digits after the decimal point needed to show multiples of `step` exactly,
// judged on its shortest decimal form: 1 → 0, 0.5 → 1, 0.25 → 2, 2.5 → 1,
// 1e-7 → 7, 1000 → 0. Capped at 15; 0 and non-finite steps give 0.
int fractionDigitsFor(double step);

// [lo, hi] made usable: a NaN or infinite bound takes the other bound's
// value (both non-finite: 0), and the bounds come in ascending order.
std::pair<double, double> finiteOrdered(double lo, double hi);

}  // namespace chartxml::render
