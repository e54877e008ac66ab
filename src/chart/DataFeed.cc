// The per-case data path: rows opened with AddRow, one value per variable per
// row. It runs once per case and variable, so it builds no strings and
// allocates nothing once the feed's columns have grown.
#include <string>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"

void Chart::reportProgress() const {
  printDebugInfo("Added " + std::to_string(rowCounter_) + " rows of data");
}

int Chart::AddDataValue(int variable, int text) {
  if (fatalError()) return -1;
  VarDataProcessor::_varinfo* record = feedRecord(variable);
  if (record == nullptr) return 0;            // not a data-source variable: nothing stored
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
