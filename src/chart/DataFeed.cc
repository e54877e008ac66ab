// The per-case data path: rows opened with AddRow, one value per variable per
// row. It runs once per case and variable, so it builds no strings and
// allocates nothing once the feed's columns have grown.
#include <string>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"

namespace {
constexpr std::uint32_t kProgressEvery = 10000;
}

int Chart::AddRow() {
  if (fatalError()) return -1;
  ++rowCounter_;
  if (rowCounter_ % kProgressEvery == 0) {
    printDebugInfo("Added " + std::to_string(rowCounter_) + " rows of data");
  }
  return static_cast<int>(rowCounter_);
}

int Chart::AddDataValue(int variable, int text) {
  if (fatalError()) return -1;
  if (variable < 0 || static_cast<std::size_t>(variable) >= feedRecords_.size()) return 0;
  VarDataProcessor::_varinfo* record = feedRecords_[variable];
  if (record == nullptr) return 0;  // not a data-source variable: nothing stored
  const std::uint32_t row = rowCounter_ - 1;  // before the first row: the feed refuses it
  const ChartString* value = strings().peek(text);
  if (value == nullptr) {
    // Reported by the string table; what it yields (empty text) is stored.
    const ChartString missing = strings().getString(text);
    dataProcessor_.SetStringVariableValue(record, row, missing.toUTF8());
    return 0;
  }
  if (!allDoubles_ && !value->isNumber()) {
    utf8Scratch_.clear();
    ChartString::appendUTF8(value->str(), utf8Scratch_);
    dataProcessor_.SetStringVariableValue(record, row, utf8Scratch_);
  } else {
    dataProcessor_.SetVariableValue(record, row, value->convertToDouble());
  }
  return 0;
}

int Chart::AddDoubleDataValue(int variable, double value) {
  if (fatalError()) return -1;
  if (variable < 0 || static_cast<std::size_t>(variable) >= feedRecords_.size()) return -1;
  VarDataProcessor::_varinfo* record = feedRecords_[variable];
  if (record == nullptr) return -1;
  dataProcessor_.SetVariableValue(record, rowCounter_ - 1, value);
  return 0;
}
