#include "cli/ChartRequest.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "chartxml/codes.h"

namespace chartxml::cli {
namespace {

constexpr std::array<std::pair<Kind, std::string_view>, 8> kKinds{{
    {Kind::kScatter, "scatter"},
    {Kind::kLine, "line"},
    {Kind::kBar, "bar"},
    {Kind::kArea, "area"},
    {Kind::kHistogram, "histogram"},
    {Kind::kPie, "pie"},
    {Kind::kSplom, "splom"},
    {Kind::kScatter3d, "scatter3d"},
}};

// Summary-function codes and the vocabulary codes of the methods' words.
constexpr std::array<Stat, 6> kStats{{
    {"mean", CX_SUMMARY_MEAN_OF_VALUES, CX_WORD_MEAN, "Mean"},
    {"median", CX_SUMMARY_MEDIAN_OF_VALUES, CX_WORD_MEDIAN, "Median"},
    {"sum", CX_SUMMARY_SUM_OF_VALUES, CX_WORD_SUM, "Sum"},
    {"count", CX_SUMMARY_NUMBER_OF_CASES, 0, "Count"},
    {"min", CX_SUMMARY_MINIMUM_VALUE, CX_WORD_MIN, "Minimum"},
    {"max", CX_SUMMARY_MAXIMUM_VALUE, CX_WORD_MAX, "Maximum"},
}};

}  // namespace

std::optional<Kind> parseKind(std::string_view name) {
  for (const auto& [kind, kindText] : kKinds) {
    if (kindText == name) return kind;
  }
  return std::nullopt;
}

std::string_view kindName(Kind kind) {
  for (const auto& [k, name] : kKinds) {
    if (k == kind) return name;
  }
  return "";
}

std::string kindNames() {
  return kindsWhere([](Kind) { return true; });
}

bool takesY(Kind kind) {
  return kind != Kind::kHistogram && kind != Kind::kSplom;
}

bool needsY(Kind kind) {
  return kind == Kind::kScatter || kind == Kind::kLine || kind == Kind::kArea ||
         kind == Kind::kScatter3d;
}

bool takesColor(Kind kind) {
  return kind != Kind::kPie;
}

bool takesPanel(Kind kind) {
  return kind != Kind::kPie && kind != Kind::kSplom && kind != Kind::kScatter3d;
}

bool takesStat(Kind kind) {
  return kind == Kind::kBar || kind == Kind::kPie || kind == Kind::kLine || kind == Kind::kArea;
}

bool takesFit(Kind kind) {
  return kind == Kind::kScatter || kind == Kind::kLine || kind == Kind::kArea;
}

std::string kindsWhere(bool (*predicate)(Kind)) {
  std::string out;
  for (const auto& [kind, name] : kKinds) {
    if (!predicate(kind)) continue;
    if (!out.empty()) out += ", ";
    out += name;
  }
  return out;
}

std::optional<Stat> parseStat(std::string_view name) {
  for (const Stat& stat : kStats) {
    if (stat.name == name) return stat;
  }
  return std::nullopt;
}

std::string statNames() {
  std::string out;
  for (const Stat& stat : kStats) {
    if (!out.empty()) out += ", ";
    out += stat.name;
  }
  return out;
}

std::optional<Stat> statisticOf(const ChartRequest& request) {
  if (request.stat) return request.stat;
  if (request.kind == Kind::kBar) return parseStat(request.y >= 0 ? "mean" : "count");
  if (request.kind == Kind::kPie) return parseStat(request.y >= 0 ? "sum" : "count");
  return std::nullopt;
}

std::string yTitle(const Table& table, const ChartRequest& request) {
  const auto stat = statisticOf(request);
  if (request.y < 0 || (stat && stat->name == "count")) return stat ? "Count" : "";
  const std::string& label = table.labelOf(static_cast<std::size_t>(request.y));
  return stat ? std::string(stat->title) + " of " + label : label;
}

std::string defaultTitle(const Table& table, const ChartRequest& request) {
  const auto label = [&](int column) { return table.labelOf(static_cast<std::size_t>(column)); };
  switch (request.kind) {
    case Kind::kSplom: {
      std::string shows;
      for (const int column : request.x) shows += (shows.empty() ? "" : ", ") + label(column);
      return shows;
    }
    case Kind::kHistogram:
      return label(request.x.front());
    case Kind::kScatter3d:
      return label(request.z) + " by " + label(request.x.front()) + " and " + label(request.y);
    default: {
      const std::string y = yTitle(table, request);
      return y.empty() ? label(request.x.front()) : y + " by " + label(request.x.front());
    }
  }
}

ColumnFit fitColumns(const Table& table, fit::Family family, int x, int y) {
  std::vector<double> xs;
  std::vector<double> ys;
  std::vector<std::size_t> rows;  // the row of each point
  const Column& xc = table.column(static_cast<std::size_t>(x));
  const Column& yc = table.column(static_cast<std::size_t>(y));
  for (std::size_t row = 0; row < table.rows(); ++row) {
    if (std::isnan(xc.numbers[row]) || std::isnan(yc.numbers[row])) continue;
    xs.push_back(xc.numbers[row]);
    ys.push_back(yc.numbers[row]);
    rows.push_back(row);
  }
  ColumnFit fitted{fit::fit(family, xs, ys), std::nullopt};
  if (fitted.result.point) fitted.row = rows[*fitted.result.point];
  return fitted;
}

std::string_view formulaOf(fit::Family family) {
  switch (family) {
    case fit::Family::kLinear:
      return "y = a + b x";
    case fit::Family::kLogarithmic:
      return "y = a + b ln(x)";
    case fit::Family::kInverse:
      return "y = a + b / x";
    case fit::Family::kQuadratic:
      return "y = a + b x + c x^2";
    case fit::Family::kCubic:
      return "y = a + b x + c x^2 + d x^3";
    case fit::Family::kCompound:
      return "y = a b^x";
    case fit::Family::kPower:
      return "y = a x^b";
    case fit::Family::kS:
      return "y = exp(a + b / x)";
    case fit::Family::kGrowth:
      return "y = exp(a + b x)";
    case fit::Family::kExponential:
      return "y = a exp(b x)";
    case fit::Family::kLogistic:
      return "y = 1 / (c + a b^x)";
  }
  return "";
}

double meanOf(const Table& table, int column) {
  const Column& c = table.column(static_cast<std::size_t>(column));
  double sum = 0;
  std::size_t count = 0;
  for (std::size_t row = 0; row < table.rows(); ++row) {
    if (std::isnan(c.numbers[row])) continue;
    sum += c.numbers[row];
    ++count;
  }
  return count == 0 ? std::numeric_limits<double>::quiet_NaN() : sum / static_cast<double>(count);
}

}  // namespace chartxml::cli
