#include "describe/Description.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <vector>

#include "scales/Extent.h"
#include "stats/Layers.h"

namespace chartxml::render {
namespace {

// Lists longer than this name their first entries and count the rest: a
// sentence of forty categories helps nobody.
constexpr std::size_t kMostListed = 12;

std::string lowerFirst(std::string text) {
  if (!text.empty() && text[0] >= 'A' && text[0] <= 'Z') text[0] = static_cast<char>(text[0] + 32);
  return text;
}

std::string upperFirst(std::string text) {
  if (!text.empty() && text[0] >= 'a' && text[0] <= 'z') text[0] = static_cast<char>(text[0] - 32);
  return text;
}

bool ascii(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// "a", "a and b", "a, b and c"; past kMostListed, "a, b, ... and 7 more".
std::string joined(const std::vector<std::string>& items) {
  std::vector<std::string> shown = items;
  std::string rest;
  if (shown.size() > kMostListed) {
    rest = std::to_string(shown.size() - (kMostListed - 1)) + " more";
    shown.resize(kMostListed - 1);
    shown.push_back(rest);
  }
  std::string out;
  for (std::size_t i = 0; i < shown.size(); ++i) {
    if (i > 0) out += i + 1 == shown.size() ? " and " : ", ";
    out += shown[i];
  }
  return out;
}

// "1 case", "200 cases", "12,345 cases".
std::string count(std::size_t n, const char* noun, const char* nouns = nullptr) {
  NumberFormat grouped;
  grouped.grouping = n >= 10000;
  const std::string many = nouns != nullptr ? nouns : std::string(noun) + "s";
  return formatNumber(static_cast<double>(n), grouped, 0) + " " + (n == 1 ? noun : many);
}

std::optional<double> numberOf(const std::string& text) {
  double value = 0;
  const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || ptr != text.data() + text.size()) return std::nullopt;
  return value;
}

// A data range that also grows a value at a time.
struct Range : Extent {
  void add(double value) { widen(*this, &value, 1); }
};

// "from 0.1 to 9.9", or "is 5 throughout" when the range is one value.
std::string rangeWords(const Range& range, const ValueFormat& format) {
  const double magnitude = std::max(std::abs(range.lo), std::abs(range.hi));
  const std::string lo = sensibleNumber(range.lo, magnitude, format);
  const std::string hi = sensibleNumber(range.hi, magnitude, format);
  if (lo == hi) return "is " + lo + " throughout";
  return "from " + lo + " to " + hi;
}

// Adds "Score runs from 0 to 10" to `spans`; later ones in the same
// sentence drop the verb ("; Hours from 1 to 9").
void addSpan(std::vector<std::string>& spans, const std::string& title, const Range& range,
             const ValueFormat& format) {
  if (range.empty() || title.empty()) return;
  const std::string words = rangeWords(range, format);
  const bool throughout = words.rfind("is ", 0) == 0;
  spans.push_back(title + (throughout || !spans.empty() ? " " : " runs ") + words);
}

// The spans as one sentence: " A runs from 1 to 2; B from 3 to 4."
std::string spanSentence(const std::vector<std::string>& spans) {
  std::string out;
  for (std::size_t i = 0; i < spans.size(); ++i) out += (i == 0 ? " " : "; ") + spans[i];
  return spans.empty() ? out : out + ".";
}

// What one element shows over every panel: its cases (the rows whose
// positions and groups are all there), the ranges of its data and the
// cases of each group and style.
struct Tally {
  const Layer* first = nullptr;  // the element's layer in the first panel that draws it
  std::size_t cases = 0;
  Range x, y, z, values;  // values: what a summary or count puts on y
  std::map<double, double> binTotals;
  std::vector<std::size_t> groupCases, styleCases;
  std::vector<double> slices;  // summed over panels
};

bool present(const BoundColumn* column, std::uint32_t row) {
  if (column == nullptr) return true;
  if (column->categorical) return row < column->codes.size() && column->codes[row] >= 0;
  return row < column->numbers.size() && !std::isnan(column->numbers[row]);
}

const BoundColumn* anyColumn(const Layer& layer) {
  for (const BoundColumn* column : {layer.x, layer.y, layer.z, layer.groups, layer.styles}) {
    if (column != nullptr) return column;
  }
  return nullptr;
}

void tallyRows(const Panel& panel, const Layer& layer, Tally& tally) {
  const BoundColumn* some = anyColumn(layer);
  if (some == nullptr) return;
  // A scatter whose positions view its columns draws every row, each
  // checked for its positions and group when the layer was made: the
  // tally needs no second look at each row.
  if (panel.allRows && layer.kind == LayerKind::kPoints && layer.px.viewing() &&
      layer.py.viewing() && !layer.summary && !layer.countsOnY && layer.z == nullptr &&
      layer.styles == nullptr) {
    tally.cases += layer.px.size();
    widen(tally.x, layer.px.data(), layer.px.size());
    widen(tally.y, layer.py.data(), layer.py.size());
    if (layer.groups != nullptr) {
      for (const std::uint16_t group : layer.pointGroup) {
        if (group < tally.groupCases.size()) ++tally.groupCases[group];
      }
    }
    return;
  }
  // Points need every position; summaries, counts and lines only the place
  // they stand at (a missing y still counts, or breaks a line).
  const bool everyPosition = layer.kind == LayerKind::kPoints && !layer.summary;
  const bool rawY = layer.y != nullptr && !layer.y->categorical && !layer.summary &&
                    !layer.countsOnY && layer.kind != LayerKind::kSlices;
  const auto visit = [&](std::uint32_t row) {
    if (!present(layer.x, row) || !present(layer.groups, row) || !present(layer.styles, row)) {
      return;
    }
    if (everyPosition && (!present(layer.y, row) || !present(layer.z, row))) return;
    ++tally.cases;
    if (layer.x != nullptr && !layer.x->categorical) tally.x.add(layer.x->numbers[row]);
    if (rawY) tally.y.add(layer.y->numbers[row]);
    if (layer.z != nullptr && !layer.z->categorical) tally.z.add(layer.z->numbers[row]);
    const auto countIn = [row](const BoundColumn* column, std::vector<std::size_t>& cases) {
      if (column == nullptr) return;
      const auto code = static_cast<std::size_t>(column->codes[row]);
      if (code < cases.size()) ++cases[code];
    };
    countIn(layer.groups, tally.groupCases);
    countIn(layer.styles, tally.styleCases);
  };
  if (panel.allRows) {
    const auto rows = static_cast<std::uint32_t>(some->rows());
    for (std::uint32_t row = 0; row < rows; ++row) visit(row);
  } else {
    for (const std::uint32_t row : panel.rows) visit(row);
  }
}

void tallyMarks(const Layer& layer, Tally& tally) {
  const bool histogram =
      layer.element->statistic && layer.element->statistic->method == "histogram";
  if (layer.kind == LayerKind::kPoints && layer.countsOnY) {
    // A dot plot's values are its stacks' heights: the top dot's count.
    std::map<double, double> stacks;
    for (std::size_t i = 0; i < layer.px.size(); ++i) {
      double& top = stacks[layer.px[i]];
      top = std::max(top, layer.py[i] + 0.5);
    }
    for (const auto& [x, height] : stacks) tally.values.add(height);
  } else if (layer.summary || layer.countsOnY) {
    for (const double value : layer.py) tally.values.add(value);
    for (const Series& series : layer.series) {
      for (const double value : series.y) tally.values.add(value);
    }
  }
  for (const Bar& bar : layer.bars) {
    if (histogram) {
      tally.binTotals[bar.x0] += bar.y1 - bar.y0;
    } else if (layer.summary || layer.countsOnY) {
      tally.values.add(bar.y1 - bar.y0);
    }
  }
  if (layer.summary) {
    for (const ErrorBar& bar : layer.errorBars) tally.values.add(bar.centre);
  }
  if (tally.slices.size() < layer.slices.size()) tally.slices.resize(layer.slices.size());
  for (std::size_t i = 0; i < layer.slices.size(); ++i) tally.slices[i] += layer.slices[i];
}

// Each element's tally, in the order of the first panel that draws it.
std::vector<Tally> tallies(const PanelGrid& grid) {
  std::vector<Tally> out;
  for (const Panel& panel : grid.panels) {
    for (const Layer& layer : panel.layers) {
      auto found = std::find_if(out.begin(), out.end(), [&](const Tally& tally) {
        return tally.first->element == layer.element;
      });
      if (found == out.end()) {
        out.emplace_back();
        found = std::prev(out.end());
        found->first = &layer;
        if (layer.groups) found->groupCases.resize(layer.groups->categories.size());
        if (layer.styles) found->styleCases.resize(layer.styles->categories.size());
      }
      tallyRows(panel, layer, *found);
      tallyMarks(layer, *found);
    }
  }
  return out;
}

bool isHistogram(const Layer& layer) {
  return layer.kind == LayerKind::kBars && layer.element->statistic &&
         layer.element->statistic->method == "histogram";
}

const std::string& nameOf(const BoundColumn* column) {
  return column->variable->title();
}

// "the mean of Score", "the number of cases", "Score".
std::string measure(const Layer& layer, const std::string& valueName) {
  if (!layer.summary) return valueName;
  // A count of cases is one whatever variable it names.
  const Summary summary = *layer.summary;
  if (layer.countsOnY || valueName.empty() || summary == Summary::kCount ||
      summary == Summary::kPercent) {
    return summary == Summary::kPercent ? "the percentage of cases" : "the number of cases";
  }
  return "the " + lowerFirst(summaryTitle(*layer.summary)) + " " + valueName;
}

// The variable a pie's slices sum (or count), if it names one.
std::string pieValueName(const ChartModel& model, const Layer& layer) {
  for (const Role role : {Role::kTheta, Role::kY, Role::kR}) {
    if (const std::string* id = layer.element->position(role)) {
      if (const Variable* variable = model.variable(*id)) return variable->title();
    }
  }
  return "";
}

// "Scatter plot of Score by Hours studied".
std::string kindPhrase(const DescribedChart& chart, const Layer& layer) {
  const bool transposed = chart.frame->coordinates == "transpose";
  const std::string y = layer.y ? nameOf(layer.y) : "";
  const std::string by = layer.x ? " by " + nameOf(layer.x) : "";
  // Polar points, lines and areas say which variable turns and which reaches out.
  const bool polar = chart.frame->coordinates == "polar" && layer.x != nullptr;
  const std::string around = polar ? ", " + nameOf(layer.x) + " around the circle and " +
                                         (layer.y ? nameOf(layer.y) : measure(layer, y)) +
                                         " out from its centre"
                                   : "";
  switch (layer.kind) {
    case LayerKind::kPoints:
      if (layer.z != nullptr) {
        return "3-D scatter plot of " + y + " by " + nameOf(layer.x) + " and " + nameOf(layer.z);
      }
      if (layer.countsOnY && layer.x != nullptr) {
        return (polar ? "Polar dot plot of " : "Dot plot of ") + nameOf(layer.x) + around;
      }
      return std::string(polar ? (layer.summary ? "Polar dot plot of " : "Polar scatter plot of ")
                               : (layer.summary ? "Dot plot of " : "Scatter plot of ")) +
             measure(layer, y) + by + around;
    case LayerKind::kLines:
      return (polar ? "Polar line chart of " : "Line chart of ") + measure(layer, y) + by + around;
    case LayerKind::kAreas:
      return (polar ? "Polar area chart of " : "Area chart of ") + measure(layer, y) + by + around;
    case LayerKind::kBars:
      if (isHistogram(layer)) return "Histogram of " + nameOf(layer.x);
      return std::string(chart.frame->coordinates == "polar" ? "Rose chart of "
                         : transposed                        ? "Horizontal bar chart of "
                                                             : "Bar chart of ") +
             measure(layer, y) + by;
    case LayerKind::kSlices: {
      const std::string value = pieValueName(*chart.model, layer);
      const std::string shown = value.empty() ? measure(layer, "") : measure(layer, value);
      return "Pie chart of " + shown + (layer.groups ? " by " + nameOf(layer.groups) : "");
    }
    case LayerKind::kBoxes:
      return "Box plot of " + y + by;
    case LayerKind::kErrorBars:
      return "Error bars of " + measure(layer, y) + by;
    case LayerKind::kTiles:
      return "Heat map of " + measure(layer, y) + by;
    case LayerKind::kContours:
      return "Contour plot of " + y + by;
  }
  return "Chart";
}

const AxisWords& axisOf(const DescribedChart& chart, Role role) {
  return chart.axes[static_cast<std::size_t>(role == Role::kX ? 0 : role == Role::kY ? 1 : 2)];
}

// The title an axis shows, else the variable's own.
std::string axisTitle(const DescribedChart& chart, Role role, const BoundColumn* column) {
  const std::string& title = axisOf(chart, role).title;
  if (!title.empty()) return title;
  return column ? nameOf(column) : "";
}

// "Hours studied runs from 0.1 to 9.9; Score from -4.3 to 14.3." and a
// sentence for each categorical axis.
std::string rangeSentences(const DescribedChart& chart, const Tally& tally) {
  const Layer& layer = *tally.first;
  std::vector<std::string> spans;
  std::string categorical;
  const auto continuous = [&](const std::string& title, const Range& range,
                              const ValueFormat& format) { addSpan(spans, title, range, format); };
  const auto categories = [&](const std::string& title, const BoundColumn& column) {
    categorical += " " + title + " has " +
                   count(column.categories.size(), "category", "categories") + ": " +
                   joined(column.categories.labels) + ".";
  };
  if (layer.x != nullptr) {
    const std::string title = axisTitle(chart, Role::kX, layer.x);
    if (layer.x->categorical) {
      categories(title, *layer.x);
    } else if (isHistogram(layer)) {
      std::string bins;
      double fullest = 0;
      for (const auto& [at, total] : tally.binTotals) fullest = std::max(fullest, total);
      if (!layer.bars.empty()) {
        const Bar& bar = layer.bars.front();
        const double width = bar.x1 - bar.x0;
        bins = " in bins " + sensibleNumber(width, width, ValueFormat{}) + " wide";
      }
      continuous(title, tally.x, axisOf(chart, Role::kX).format);
      if (!spans.empty()) {
        spans.back() +=
            bins + "; the fullest bin holds " + count(static_cast<std::size_t>(fullest), "case");
      }
    } else {
      continuous(title, tally.x, axisOf(chart, Role::kX).format);
    }
  }
  if (layer.y != nullptr && layer.y->categorical && !layer.summary) {
    categories(axisTitle(chart, Role::kY, layer.y), *layer.y);
  } else if (!isHistogram(layer)) {
    const std::string title = axisTitle(chart, Role::kY, layer.y);
    const bool summarised = layer.summary || layer.countsOnY;
    continuous(title, summarised ? tally.values : tally.y, axisOf(chart, Role::kY).format);
  }
  if (layer.z != nullptr) {
    if (layer.z->categorical) {
      categories(axisTitle(chart, Role::kZ, layer.z), *layer.z);
    } else {
      continuous(axisTitle(chart, Role::kZ, layer.z), tally.z, axisOf(chart, Role::kZ).format);
    }
  }
  return spanSentence(spans) + categorical;
}

// "a (50 cases), b (150 cases)": the categories that have cases.
std::string categoryCases(const BoundColumn& column, const std::vector<std::size_t>& cases) {
  std::vector<std::string> items;
  for (std::size_t i = 0; i < cases.size() && i < column.categories.size(); ++i) {
    if (cases[i] == 0) continue;
    items.push_back(column.categories.labels[i] + " (" + count(cases[i], "case") + ")");
  }
  std::string out;
  for (std::size_t i = 0; i < items.size() && i < kMostListed; ++i) {
    out += (i > 0 ? ", " : "") + items[i];
  }
  if (items.size() > kMostListed) {
    out += " and " + std::to_string(items.size() - kMostListed) + " more";
  }
  return out;
}

const char* markNoun(const Layer& layer) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      return "Points";
    case LayerKind::kLines:
      return "Lines";
    case LayerKind::kAreas:
      return "Areas";
    case LayerKind::kBars:
      return "Bars";
    case LayerKind::kSlices:
      return "Slices";
    case LayerKind::kBoxes:
      return "Boxes";
    case LayerKind::kErrorBars:
      return "Error bars";
    case LayerKind::kTiles:
      return "Cells";
    case LayerKind::kContours:
      return "Contours";
  }
  return "Marks";
}

const char* styleNoun(const Layer& layer) {
  switch (layer.kind) {
    case LayerKind::kPoints:
      return "Marker shapes";
    case LayerKind::kLines:
      return "Dash patterns";
    default:
      return "Hatchings";
  }
}

// The slices of a pie with their values and shares: "x (1, 25%), y (3, 75%)".
std::string sliceWords(const DescribedChart& chart, const Tally& tally) {
  const Layer& layer = *tally.first;
  double total = 0;
  for (const double value : tally.slices) total += value;
  if (!(total > 0)) return "";
  double magnitude = 0;
  for (const double value : tally.slices) magnitude = std::max(magnitude, value);
  const Variable* valueVariable = nullptr;
  for (const Role role : {Role::kTheta, Role::kY, Role::kR}) {
    if (const std::string* id = layer.element->position(role)) {
      valueVariable = chart.model->variable(*id);
      break;
    }
  }
  const bool counted = !layer.summary || *layer.summary == Summary::kCount ||
                       *layer.summary == Summary::kValidN || *layer.summary == Summary::kPercent;
  const ValueFormat format =
      valueVariable != nullptr && !counted ? valueVariable->format : ValueFormat{};
  std::vector<std::string> items;
  for (std::size_t i = 0; i < tally.slices.size(); ++i) {
    if (!(tally.slices[i] > 0)) continue;
    const std::size_t group = i / std::max<std::size_t>(layer.styleCount, 1);
    std::string name = layer.groups && group < layer.groups->categories.size()
                           ? layer.groups->categories.labels[group]
                           : "all";
    const double share = 100 * tally.slices[i] / total;
    items.push_back(name + " (" + sensibleNumber(tally.slices[i], magnitude, format) + ", " +
                    sensibleNumber(share, 100, ValueFormat{}) + "%)");
  }
  if (items.size() <= 1) return "";
  return " Slices: " + joined(items) + ".";
}

// The value of each bar of a summary over categories, when there are few
// and no groups share a place: "a (5), b (10)".
std::string barValues(const DescribedChart& chart, const Tally& tally) {
  const Layer& layer = *tally.first;
  if (layer.kind != LayerKind::kBars || isHistogram(layer) || !layer.summary || !layer.x ||
      !layer.x->categorical || layer.groups || layer.styles || chart.grid->panels.size() > 1 ||
      layer.bars.empty() || layer.bars.size() > kMostListed) {
    return "";
  }
  double magnitude = 0;
  for (const Bar& bar : layer.bars) magnitude = std::max(magnitude, std::abs(bar.y1 - bar.y0));
  std::vector<std::string> items;
  for (const Bar& bar : layer.bars) {
    const auto at = static_cast<std::size_t>(std::lround((bar.x0 + bar.x1) / 2));
    if (at >= layer.x->categories.size()) continue;
    items.push_back(layer.x->categories.labels[at] + " (" +
                    sensibleNumber(bar.y1 - bar.y0, magnitude, axisOf(chart, Role::kY).format) +
                    ")");
  }
  return " Bar values: " + joined(items) + ".";
}

// Colour, style, size and shade: what each says and of how many cases.
std::string aestheticSentences(const DescribedChart& chart, const Tally& tally) {
  const Layer& layer = *tally.first;
  std::string out;
  if (layer.kind == LayerKind::kSlices) {
    out += sliceWords(chart, tally);
  } else if (layer.groups != nullptr) {
    out += std::string(" ") + markNoun(layer) + " are coloured by " + nameOf(layer.groups) + ": " +
           categoryCases(*layer.groups, tally.groupCases) + ".";
  }
  if (layer.styles != nullptr) {
    out += std::string(" ") + styleNoun(layer) + " show " + nameOf(layer.styles) + ": " +
           categoryCases(*layer.styles, tally.styleCases) + ".";
  }
  if (layer.sizes != nullptr && layer.sizeLo <= layer.sizeHi) {
    Range range;
    range.add(layer.sizeLo);
    range.add(layer.sizeHi);
    out += " Point size shows " + nameOf(layer.sizes) + ", " +
           rangeWords(range, layer.sizes->variable->format) + ".";
  }
  if (layer.shades != nullptr && layer.shadeLo <= layer.shadeHi) {
    Range range;
    range.add(layer.shadeLo);
    range.add(layer.shadeHi);
    out += " Colour shading shows " + nameOf(layer.shades) + ", " +
           rangeWords(range, layer.shades->variable->format) + ".";
  }
  return out + barValues(chart, tally);
}

// "Drawn in 3 panels, one for each Region: North, South and West."
std::string panelSentence(const DescribedChart& chart) {
  const PanelGrid& grid = *chart.grid;
  if (grid.panels.size() < 2 || grid.matrix) return "";
  std::vector<std::string> facets;
  for (const auto& [role, id] : chart.frame->facets) {
    if (const Variable* variable = chart.model->variable(id)) {
      facets.push_back(variable->title() + (chart.frame->facets.size() > 1
                                                ? (role == Role::kX ? " across" : " down")
                                                : ""));
    }
  }
  std::string out = " Drawn in " + count(grid.panels.size(), "panel");
  if (facets.size() == 1) {
    std::vector<std::string> labels;
    for (const Panel& panel : grid.panels) {
      labels.push_back(panel.columnLabel.empty() ? panel.rowLabel : panel.columnLabel);
    }
    out += ", one for each " + facets.front() + ": " + joined(labels);
  } else if (!facets.empty()) {
    out += ", by " + joined(facets);
  }
  return out + ".";
}

// A formula as the document writes it, but with numbers of more than six
// significant digits (a fit's coefficients) cut to four: "0.4999 * x".
std::string readableFormula(const std::string& formula) {
  std::string out;
  std::size_t at = 0;
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const auto isWordChar = [&](char c) {
    return isDigit(c) || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  };
  while (at < formula.size()) {
    const char c = formula[at];
    const bool startsNumber =
        isDigit(c) || (c == '.' && at + 1 < formula.size() && isDigit(formula[at + 1]));
    if (!startsNumber || (at > 0 && isWordChar(formula[at - 1]))) {
      // Words (names such as log10) are copied whole, digits and all.
      std::size_t end = at + 1;
      if (isWordChar(c)) {
        while (end < formula.size() && isWordChar(formula[end])) ++end;
      }
      out.append(formula, at, end - at);
      at = end;
      continue;
    }
    double value = 0;
    const auto [ptr, ec] =
        std::from_chars(formula.data() + at, formula.data() + formula.size(), value);
    const auto length = static_cast<std::size_t>(ptr - (formula.data() + at));
    const std::string text = formula.substr(at, length);
    std::size_t significant = 0;
    bool leading = true;
    for (const char d : text) {
      if (d == 'e' || d == 'E') break;
      if (!isDigit(d) || (leading && d == '0')) continue;
      leading = false;
      ++significant;
    }
    if (ec != std::errc() || significant <= 6) {
      out += text.empty() ? std::string(1, c) : text;
    } else {
      out += sensibleNumber(value, value, ValueFormat{});
    }
    at += std::max<std::size_t>(length, 1);
  }
  return out;
}

// Function lines with their formulas and reference lines with their values.
std::string guideSentences(const DescribedChart& chart) {
  std::string out;
  std::vector<std::string> references;
  for (const Guide& guide : chart.frame->guides) {
    if (guide.type == "function") {
      const std::string* formula = findParameter(guide.parameters, "y");
      if (formula == nullptr) continue;
      std::string name = guide.name;
      if (name.empty()) {
        name = "A function line";
      } else if (ascii(name)) {
        const char first = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
        name = std::string(std::string("aeiou").find(first) != std::string::npos ? "An " : "A ") +
               lowerFirst(name);
      } else {
        name = "A function line (" + name + ")";
      }
      out += " " + name + ": y = " + readableFormula(*formula) + ".";
    } else if (guide.type == "line") {
      for (const auto& [role, text] : guide.parameters) {
        const auto value = numberOf(text);
        if (!value || (role != "x" && role != "y")) continue;
        const Role along = role == "x" ? Role::kX : Role::kY;
        std::string title = axisOf(chart, along).title;
        if (title.empty()) title = role;
        references.push_back(title + " = " +
                             sensibleNumber(*value, *value, axisOf(chart, along).format));
      }
    }
  }
  if (!references.empty()) {
    out += std::string(references.size() == 1 ? " A reference line marks "
                                              : " Reference lines mark ") +
           joined(references) + ".";
  }
  return out;
}

std::string matrixDescription(const DescribedChart& chart, const std::vector<Tally>& all) {
  std::vector<std::string> names;
  for (const Panel& panel : chart.grid->panels) {
    if (panel.diagonal) names.push_back(panel.diagonalLabel);
  }
  std::string out = "Scatter-plot matrix of " + joined(names);
  // Cells lose the cases their own pair lacks: the fullest cell counts them.
  std::size_t cases = 0;
  for (const Tally& tally : all) cases = std::max(cases, tally.cases);
  if (cases > 0) out += ", " + count(cases, "case");
  out += ". Each variable is plotted against every other.";
  // Each variable's range over the cells that show it.
  std::vector<std::string> spans;
  for (const std::string& name : names) {
    Range range;
    const ValueFormat* format = nullptr;
    for (const Tally& tally : all) {
      const Layer& layer = *tally.first;
      for (const auto& [column, part] :
           {std::pair{layer.x, &tally.x}, std::pair{layer.y, &tally.y}}) {
        if (column == nullptr || column->categorical || nameOf(column) != name) continue;
        range.add(part->lo);
        range.add(part->hi);
        format = &column->variable->format;
      }
    }
    if (format != nullptr) addSpan(spans, name, range, *format);
  }
  out += spanSentence(spans);
  if (!all.empty()) out += aestheticSentences(chart, all.front());
  return out;
}

}  // namespace

std::string sensibleNumber(double value, double magnitude, const ValueFormat& format) {
  if (!std::isfinite(value) || format.kind == ValueFormat::Kind::kDate ||
      (format.kind == ValueFormat::Kind::kNumber && format.number.maxFractionDigits >= 0)) {
    return formatValue(value, format);
  }
  magnitude = std::max(std::abs(magnitude), std::abs(value));
  const int most = magnitude > 0
                       ? std::clamp(3 - static_cast<int>(std::floor(std::log10(magnitude))), 0, 15)
                       : 0;
  // The fewest digits that show the value as `most` digits round it.
  const auto rounded = [&](int digits) {
    const double scale = std::pow(10.0, digits);
    return std::round(value * scale) / scale;
  };
  const double target = rounded(most);
  const double tolerance = 1e-9 * std::max(1.0, std::abs(value));
  int digits = 0;
  while (digits < most && std::abs(rounded(digits) - target) > tolerance) ++digits;
  return formatValue(value, format, digits);
}

std::string describeChart(const DescribedChart& chart) {
  if (chart.frame == nullptr || chart.grid == nullptr) return "";
  const std::vector<Tally> all = tallies(*chart.grid);
  if (chart.grid->matrix) return matrixDescription(chart, all) + panelSentence(chart);
  if (all.empty()) return "A chart with no data drawn.";
  std::string out;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Tally& tally = all[i];
    std::string opening = kindPhrase(chart, *tally.first);
    if (i > 0) opening = " It also shows a " + lowerFirst(opening);
    out += opening;
    if (tally.cases > 0) out += ", " + count(tally.cases, "case");
    out += ".";
    if (tally.first->kind != LayerKind::kSlices) out += rangeSentences(chart, tally);
    out += aestheticSentences(chart, tally);
  }
  out += panelSentence(chart);
  out += guideSentences(chart);
  return upperFirst(out);
}

}  // namespace chartxml::render
