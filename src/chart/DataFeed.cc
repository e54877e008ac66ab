// The per-case data path: rows opened with AddRow, one value per variable per
// row. It runs once per case and variable, so it builds no strings and
// allocates nothing once the feed's columns have grown.
#include <memory>
#include <new>
#include <string>

#include "chart/Chart.h"
#include "chartstringhandler/ChartStringHandler.h"

void Chart::reportProgress() const {
  printDebugInfo("Added " + std::to_string(rowCounter_) + " rows of data");
}

int Chart::AddDataValue(int variable, int text) {
  if (fatalError()) return -1;
  VarDataProcessor::_varinfo* record = feedRecord(variable);
  if (record == nullptr) return 0;  // not a data-source variable: nothing stored
  if (const TextSlot* slot = cachedText(variable, text)) {
    storeCached(record, *slot);
    return 0;
  }
  const std::uint32_t row = rowCounter_ - 1;  // before the first row: the feed refuses it
  const ChartString* value = strings().peek(text);
  if (value == nullptr) {
    // Reported by the string table; what it yields (empty text) is stored.
    const ChartString missing = strings().getString(text);
    dataProcessor_.SetStringVariableValue(record, row, missing.toUTF8());
    return 0;
  }
  TextSlot made;
  made.key = textKey(strings().generation(), text);
  if (!allDoubles_ && !value->isNumber()) {
    utf8Scratch_.clear();
    ChartString::appendUTF8(value->str(), utf8Scratch_);
    // A refused row must not add to the dictionary: the text goes the
    // uncached way, which refuses it first.
    if (row >= VarDataProcessor::kMaxRows) {
      dataProcessor_.SetStringVariableValue(record, row, utf8Scratch_);
      return 0;
    }
    made.code = dataProcessor_.TextCode(record, utf8Scratch_);
    if (made.code == 0) return 0;  // the dictionary is full or memory ran out
  } else {
    made.number = value->convertToDouble();
  }
  remember(variable, made);
  storeCached(record, made);
  return 0;
}

void Chart::remember(int variable, const TextSlot& made) {
  try {
    if (static_cast<std::size_t>(variable) >= textCaches_.size()) {
      textCaches_.resize(static_cast<std::size_t>(variable) + 1);
    }
    std::unique_ptr<TextSlot[]>& slots = textCaches_[variable];
    if (!slots) slots = std::make_unique<TextSlot[]>(kTextSlots);
    slots[static_cast<std::uint32_t>(made.key) % kTextSlots] = made;
  } catch (const std::bad_alloc&) {
    // Only a shortcut is lost: the value is stored all the same.
  }
}
