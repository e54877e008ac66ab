// What a chart is to show: its kind, the columns in each role and what is
// drawn over the data. Commands fill it in; ChartKinds.cc turns it into CX_
// calls.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Table.h"
#include "fit/CurveFit.h"

namespace chartxml::cli {

enum class Kind { kScatter, kLine, kBar, kArea, kHistogram, kPie, kSplom, kScatter3d };

std::optional<Kind> parseKind(std::string_view name);
std::string_view kindName(Kind kind);
// Every kind's name in order, separated by ", ".
std::string kindNames();

// What the kinds take beyond --x: a y column, a third column, a colour, panels,
// a statistic, a fitted curve.
bool takesY(Kind kind);
bool needsY(Kind kind);
bool takesColor(Kind kind);
bool takesPanel(Kind kind);
bool takesStat(Kind kind);
bool takesFit(Kind kind);
// The kinds for which one of the predicates holds, separated by ", ".
std::string kindsWhere(bool (*predicate)(Kind));

// A summary statistic of the y values in each category.
struct Stat {
  std::string_view name;  // as given on the command line and as the method written
  int summaryCode;        // the variable's summary function (CX_SETSUMMARYFUNCTION)
  int methodCode;         // vocabulary code of the method, or 0 when it has none
};

std::optional<Stat> parseStat(std::string_view name);
std::string statNames();

struct ChartRequest {
  Kind kind = Kind::kScatter;
  std::vector<int> x;  // the x column; every column of a scatter-plot matrix
  int y = -1;
  int z = -1;  // the third axis of a 3-D scatter
  int color = -1;
  int panel = -1;
  std::optional<Stat> stat;
  std::optional<fit::Curve> fit;
  std::optional<double> binWidth;
  std::optional<double> yReference;  // a reference line across at this y
  std::string title;                 // the title's text ("": none) ...
  std::string titleKey;              // ... or the message key of a translated title
  std::string description;           // sent with the chart
};

// Fits `family` to the rows where both columns have a value.
fit::FitResult fitColumns(const Table& table, fit::Family family, int x, int y);

// "y = a + b x" and the like, for the family.
std::string_view formulaOf(fit::Family family);

// The mean of a numeric column (NaN when no row has a value).
double meanOf(const Table& table, int column);

}  // namespace chartxml::cli
