#include "stats/Binding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

#include "work/Halves.h"

namespace chartxml::render {
namespace {

// A number as the key of its category: the shortest text that reads back
// as the same double, as the sink writes numbers ("1", "2.5").
std::string keyOf(double value) {
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return std::string(buffer, end);
}

std::string quoteVariable(const Variable& variable) {
  return "variable '" + variable.title() + "' (" + variable.id + ")";
}

// The distinct numbers of `values[begin..end)` in ascending order, gathered
// as they come and skipping runs of one value (categories are few and rows
// many); more than `most` when there are more than that.
std::vector<double> distinctFew(const NumberVector& values, std::size_t begin, std::size_t end,
                                std::size_t most) {
  std::vector<double> numbers;
  double previous = std::numeric_limits<double>::quiet_NaN();
  for (std::size_t row = begin; row < end && numbers.size() <= most; ++row) {
    const double value = values[row];
    if (std::isnan(value) || value == previous) continue;
    previous = value;
    const auto at = std::lower_bound(numbers.begin(), numbers.end(), value);
    if (at == numbers.end() || *at != value) numbers.insert(at, value);
  }
  return numbers;
}

void bindCategories(const DataColumn& column, const Variable& variable, BoundColumn& out) {
  const std::size_t rows = column.numbers.size();
  // Distinct numbers and texts, then their order, then each row's code.
  // Past a few thousand distinct values, all are sorted at once instead.
  constexpr std::size_t kFewCategories = 4096;
  std::vector<double> halves[2];
  inHalves(rows, [&](std::size_t begin, std::size_t end) {
    halves[begin == 0 ? 0 : 1] = distinctFew(column.numbers, begin, end, kFewCategories);
  });
  std::vector<double> numbers;
  std::set_union(halves[0].begin(), halves[0].end(), halves[1].begin(), halves[1].end(),
                 std::back_inserter(numbers));
  if (numbers.size() > kFewCategories) {
    numbers.clear();
    for (std::size_t row = 0; row < rows; ++row) {
      if (!std::isnan(column.numbers[row])) numbers.push_back(column.numbers[row]);
    }
    std::sort(numbers.begin(), numbers.end());
    numbers.erase(std::unique(numbers.begin(), numbers.end()), numbers.end());
  }
  std::vector<std::size_t> textOrder(column.texts.size());
  std::iota(textOrder.begin(), textOrder.end(), 0);
  std::sort(textOrder.begin(), textOrder.end(),
            [&](std::size_t a, std::size_t b) { return column.texts[a] < column.texts[b]; });
  std::vector<std::int32_t> textCode(column.texts.size());
  for (const double number : numbers) out.categories.keys.push_back(keyOf(number));
  for (const std::size_t index : textOrder) {
    textCode[index] = static_cast<std::int32_t>(out.categories.keys.size());
    out.categories.keys.push_back(column.texts[index]);
  }
  for (const std::string& key : out.categories.keys) {
    const std::string* label = variable.valueLabel(key);
    out.categories.labels.push_back(label ? *label : key);
  }
  out.codes.resize(rows);
  // Few numbers and no texts, the usual group variable: a value's code is
  // how many categories lie below it, counted without a search.
  constexpr std::size_t kCounted = 16;
  if (column.texts.empty() && numbers.size() <= kCounted) {
    std::array<double, kCounted> below;
    below.fill(std::numeric_limits<double>::infinity());
    std::copy(numbers.begin(), numbers.end(), below.begin());
    inHalves(rows, [&](std::size_t begin, std::size_t end) {
      for (std::size_t row = begin; row < end; ++row) {
        const double value = column.numbers[row];
        std::int32_t code = 0;
        for (const double category : below) code += category < value;
        out.codes[row] = std::isnan(value) ? -1 : code;
      }
    });
    return;
  }
  inHalves(rows, [&](std::size_t begin, std::size_t end) {
    for (std::size_t row = begin; row < end; ++row) {
      if (const std::string* text = column.text(row); text != nullptr) {
        out.codes[row] = textCode[static_cast<std::size_t>(column.textIndex[row])];
      } else if (!std::isnan(column.numbers[row])) {
        const auto it = std::lower_bound(numbers.begin(), numbers.end(), column.numbers[row]);
        out.codes[row] = static_cast<std::int32_t>(it - numbers.begin());
      } else {
        out.codes[row] = -1;
      }
    }
  });
}

// Puts the categories in `order` (old category numbers, new first).
void reorder(BoundColumn& out, const std::vector<std::size_t>& order) {
  Categories sorted;
  std::vector<std::int32_t> code(order.size());
  for (std::size_t k = 0; k < order.size(); ++k) {
    sorted.keys.push_back(std::move(out.categories.keys[order[k]]));
    sorted.labels.push_back(std::move(out.categories.labels[order[k]]));
    code[order[k]] = static_cast<std::int32_t>(k);
  }
  out.categories = std::move(sorted);
  for (std::int32_t& c : out.codes) {
    if (c >= 0) c = code[static_cast<std::size_t>(c)];
  }
}

// The order `asked` gives the categories of `out`: by first appearance, or
// by `values` (a statistic per category, ascending; ties keep the natural
// order); then reversed when descending.
std::vector<std::size_t> orderOf(const BoundColumn& out, const CategoryOrder& asked,
                                 const std::vector<double>& values) {
  std::vector<std::size_t> order(out.categories.size());
  std::iota(order.begin(), order.end(), 0);
  if (asked.by == CategoryOrder::By::kData) {
    std::vector<std::size_t> first(order.size(), out.codes.size());
    for (std::size_t row = out.codes.size(); row-- > 0;) {
      if (out.codes[row] >= 0) first[static_cast<std::size_t>(out.codes[row])] = row;
    }
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return first[a] < first[b]; });
  } else if (asked.by == CategoryOrder::By::kStatistic && values.size() == order.size()) {
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return values[a] < values[b]; });
  }
  if (asked.descending) std::reverse(order.begin(), order.end());
  return order;
}

bool bindNumbers(const DataColumn& column, const Variable& variable, const DataTable& table,
                 BoundColumn& out, std::string& error) {
  const std::size_t rows = column.numbers.size();
  for (std::size_t row = 0; row < rows; ++row) {
    if (const std::string* text = column.text(row); text != nullptr) {
      error = table.origin + ": line " + std::to_string(table.line(row)) + ": '" + *text +
              "' in column " + column.name + " is not a number, but " + quoteVariable(variable) +
              " is numeric";
      return false;
    }
  }
  out.numbers = column.numbers;
  return true;
}

}  // namespace

const BoundColumn* DataBinder::bind(const std::string& id, bool asCategories, std::string& error) {
  const auto key = std::make_pair(id, asCategories);
  if (const auto it = bound_.find(key); it != bound_.end()) return it->second.get();
  const Variable* variable = model_.variable(id);
  if (variable == nullptr) {
    error = "the document refers to variable '" + id + "', which it does not declare";
    return nullptr;
  }
  const auto table = tables_.find(variable->source);
  if (table == tables_.end()) {
    error = quoteVariable(*variable) + " comes from data source '" + variable->source +
            "', whose data was not found";
    return nullptr;
  }
  const DataColumn* column = table->second.column(variable->sourceName);
  if (column == nullptr) {
    error = table->second.origin + ": has no column " + variable->sourceName + " for " +
            quoteVariable(*variable);
    return nullptr;
  }
  auto bound = std::make_unique<BoundColumn>();
  bound->variable = variable;
  bound->table = &table->second;
  bound->categorical = asCategories;
  if (asCategories) {
    bindCategories(*column, *variable, *bound);
    if (variable->order) {
      // A statistic's values per category: the sum of the variable it
      // names (the mean when it notes one), or the count of cases.
      std::vector<double> values;
      const CategoryOrder& asked = *variable->order;
      if (asked.by == CategoryOrder::By::kStatistic) {
        values.assign(bound->categories.size(), 0.0);
        std::vector<double> cases(values.size(), 0.0);
        std::string ignored;
        const Variable* of = model_.variable(asked.statistic);
        const BoundColumn* stat = of != nullptr && of != variable && !of->categorical
                                      ? bind(asked.statistic, false, ignored)
                                      : nullptr;
        const bool mean = of != nullptr && of->summary.find("mean") != std::string::npos;
        for (std::size_t row = 0; row < bound->codes.size(); ++row) {
          const int code = bound->codes[row];
          if (code < 0) continue;
          const double value = stat != nullptr && row < stat->numbers.size() ? stat->numbers[row]
                               : stat != nullptr                             ? NAN
                                                                             : 1.0;
          if (!std::isfinite(value)) continue;
          values[static_cast<std::size_t>(code)] += value;
          cases[static_cast<std::size_t>(code)] += 1;
        }
        if (mean) {
          for (std::size_t k = 0; k < values.size(); ++k) {
            values[k] = cases[k] > 0 ? values[k] / cases[k] : 0;
          }
        }
      }
      reorder(*bound, orderOf(*bound, asked, values));
    }
  } else if (!bindNumbers(*column, *variable, table->second, *bound, error)) {
    return nullptr;
  }
  return bound_.emplace(key, std::move(bound)).first->second.get();
}

}  // namespace chartxml::render
