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
  std::string_view name;   // as given on the command line and as the method written
  int summaryCode;         // the variable's summary function (CX_SETSUMMARYFUNCTION)
  int methodCode;          // vocabulary code of the method, or 0 when it has none
  std::string_view title;  // as axis titles name it: "Mean", "Count"
};

std::optional<Stat> parseStat(std::string_view name);
std::string statNames();

struct ChartRequest {
  Kind kind = Kind::kScatter;
  std::vector<int> x;  // the x column; every column of a scatter-plot matrix
  int y = -1;
  int z = -1;  // the third axis of a 3-D scatter
  int color = -1;
  // The colour column is a scale: a continuous colour with a gradient legend
  // rather than one colour for each value.
  bool colorScale = false;
  int panel = -1;
  std::optional<Stat> stat;
  std::optional<fit::Curve> fit;
  std::optional<double> binWidth;
  std::optional<double> yReference;  // a reference line across at this y
  std::string title;                 // the title's text ("": none) ...
  std::string titleKey;              // ... or the message key of a translated title
  std::string description;           // sent with the chart
};

// The statistic the chart's marks show: the one asked for, else the mean of y
// (bars) or its sum (pies), or the count of cases when there is no y.
// Nothing for marks that show the values themselves.
std::optional<Stat> statisticOf(const ChartRequest& request);

// What the chart's y axis shows: the y column's label ("Temperature"), or the
// statistic of it ("Mean of Temperature", "Count").
std::string yTitle(const Table& table, const ChartRequest& request);

// What the chart shows, from the columns' labels: "Mean of Score by Group",
// "Count by Group", "Height by Age", "Weight" (a histogram).
std::string defaultTitle(const Table& table, const ChartRequest& request);

// Fits `family` to the rows where both columns have a value.
// A refusal about one point names it by its row of the table (`row`).
struct ColumnFit {
  fit::FitResult result;
  std::optional<std::size_t> row;
};
ColumnFit fitColumns(const Table& table, fit::Family family, int x, int y);

// "y = a + b x" and the like, for the family.
std::string_view formulaOf(fit::Family family);

// The mean of a numeric column (NaN when no row has a value).
double meanOf(const Table& table, int column);

}  // namespace chartxml::cli
