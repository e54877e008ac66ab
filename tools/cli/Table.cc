#include "cli/Table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <unordered_set>

#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"

namespace chartxml::cli {
namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();

bool blank(const std::string& text) {
  return text.find_first_not_of(" \t") == std::string::npos;
}

}  // namespace

Table Table::fromSource(void* handle, const std::string& name) {
  // Handles are dictionaries; a CSV handle is its own data source.
  VORN_DataSource& source = *static_cast<VORN_FortranDictionary*>(handle)->Source();

  Table table;
  table.path_ = name;
  const int rows = source.RowCount();
  // Sized once: growing a million-row column doubling by doubling copies it
  // over and over.
  table.lines_.reserve(static_cast<std::size_t>(rows));
  for (int r = 0; r < rows; ++r) table.lines_.push_back(source.LineOfRow(r));
  table.columns_.reserve(static_cast<std::size_t>(source.ColumnCount()));
  for (int c = 0; c < source.ColumnCount(); ++c) {
    const VORN_Variable& variable = *source.GetVariable(c);
    Column& column = table.columns_.emplace_back();
    column.name = variable.GetName();
    column.label = variable.GetLabel();
    column.numeric = !variable.IsString();
    column.coded =
        variable.GetMeasure() != VORN_Measure::Scale || variable.GetValueLabels().Count() > 0;
    if (column.numeric) {
      column.numbers.resize(static_cast<std::size_t>(rows));
      source.GetNumbers(c, 0, rows, column.numbers.data());
      for (double& value : column.numbers) value = value == kVornMissingValue ? kMissing : value;
      continue;
    }
    column.texts.reserve(static_cast<std::size_t>(rows));
    bool textSeen = false;
    for (int r = 0; r < rows; ++r) {
      const double value = source.GetNumber(r, c);
      column.texts.push_back(source.GetString(r, c));
      if (!textSeen && value == kVornMissingValue && !blank(column.texts.back())) {
        textSeen = true;
        column.firstText = static_cast<std::size_t>(r);
      }
    }
  }
  return table;
}

int Table::find(std::string_view name) const {
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

std::string Table::names() const {
  std::string out;
  for (const Column& column : columns_) {
    if (!out.empty()) out += ", ";
    out += column.name;
  }
  return out;
}

const std::string& Table::labelOf(std::size_t column) const {
  const Column& c = columns_[column];
  return c.label.empty() ? c.name : c.label;
}

std::size_t Table::distinctNumbers(std::size_t column, std::size_t limit) const {
  const std::vector<double>& numbers = columns_[column].numbers;
  // The usual question is whether a column holds a handful of values: a
  // short list looked through beats hashing each of a million of them.
  constexpr std::size_t kListed = 16;
  if (limit < kListed) {
    double seen[kListed];
    std::size_t count = 0;
    for (const double value : numbers) {
      if (std::isnan(value) || std::find(seen, seen + count, value) != seen + count) continue;
      seen[count++] = value;
      if (count > limit) break;
    }
    return count;
  }
  std::unordered_set<double> seen;
  for (const double value : numbers) {
    if (std::isnan(value)) continue;
    seen.insert(value);
    if (seen.size() > limit) break;
  }
  return seen.size();
}

std::string Table::text(std::size_t column, std::size_t row) const {
  const Column& c = columns_[column];
  if (!c.numeric) return c.texts[row];
  if (std::isnan(c.numbers[row])) return std::string();
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.16g", c.numbers[row]);
  return buffer;
}

}  // namespace chartxml::cli
