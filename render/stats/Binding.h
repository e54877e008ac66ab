// Variables bound to their data: each variable of the model read from its
// source's column, once, as numbers or as categories.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "model/ChartModel.h"
#include "read/DataTable.h"
#include "read/LargeBuffer.h"

namespace chartxml::render {

// The categories of a variable in drawing order: numbers ascending, then
// texts in byte order.
struct Categories {
  std::vector<std::string> keys;    // the value as text: "1", "2.5", "Male"
  std::vector<std::string> labels;  // what a reader sees: the value label, else the key
  std::size_t size() const { return keys.size(); }
};

struct BoundColumn {
  const Variable* variable = nullptr;
  const DataTable* table = nullptr;
  bool categorical = false;
  // Continuous: one per row, NaN when missing: the data table's own numbers,
  // which outlive the binding (a million rows are not copied).
  std::span<const double> numbers;
  LargeVector<std::int32_t> codes;  // categorical: one per row, -1 when missing
  Categories categories;

  std::size_t rows() const { return categorical ? codes.size() : numbers.size(); }
};

class DataBinder {
 public:
  // `tables`: each data source's rows by the source's id.
  DataBinder(const ChartModel& model, const std::map<std::string, DataTable>& tables)
      : model_(model), tables_(tables) {}

  // The variable `id` as numbers (asCategories false) or as categories.
  // Null, with `error` naming the data file and what is wrong, when the
  // variable is unknown, its column is missing, or a cell that must be a
  // number is not one.
  const BoundColumn* bind(const std::string& id, bool asCategories, std::string& error);

 private:
  const ChartModel& model_;
  const std::map<std::string, DataTable>& tables_;
  std::map<std::pair<std::string, bool>, std::unique_ptr<BoundColumn>> bound_;
};

}  // namespace chartxml::render
