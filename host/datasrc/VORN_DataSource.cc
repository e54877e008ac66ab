// Variables, value labels and the procedure's view of a data source.
#include "chartxml/host/VORN_DataSource.h"

#include <algorithm>
#include <limits>

#include "chartxml/codes.h"
#include "chartxml/host/Platform.h"

namespace {

// What a variable shows before a dictionary says otherwise: eight places
// with two decimals for numbers, eight bytes for texts.
constexpr std::uint8_t kFixedType = CX_FORMAT_FIXED;
constexpr std::uint16_t kDefaultWidth = 8;
constexpr std::uint8_t kDefaultDecimals = 2;

}  // namespace

void VORN_ValueLabelMap::Add(VORN_Value value, std::string label) {
  pairs_.emplace_back(std::move(value), std::move(label));
}

bool VORN_ValueLabelMap::GetNextPair(VORN_Value& value, std::string& label) {
  if (cursor_ >= pairs_.size()) return false;
  value = pairs_[cursor_].first;
  label = pairs_[cursor_].second;
  ++cursor_;
  return true;
}

const std::string* VORN_ValueLabelMap::Find(double value) const {
  for (const auto& [key, label] : pairs_) {
    if (!key.isString && key.number == value) return &label;
  }
  return nullptr;
}

const std::string* VORN_ValueLabelMap::Find(const std::string& value) const {
  for (const auto& [key, label] : pairs_) {
    if (key.isString && key.text == value) return &label;
  }
  return nullptr;
}

VORN_Variable::VORN_Variable(std::string name, bool isString)
    : name_(std::move(name)),
      format_(isString ? VORN_Format(VORN_Format::kStringType, kDefaultWidth, 0)
                       : VORN_Format(kFixedType, kDefaultWidth, kDefaultDecimals)),
      measure_(isString ? VORN_Measure::Nominal : VORN_Measure::Scale),
      isString_(isString) {}

bool VORN_Variable::IsUserMissing(double value) const {
  if (isString_) return false;
  return std::find(userMissing_.begin(), userMissing_.end(), value) != userMissing_.end();
}

ProcedureDataSource::ProcedureDataSource(void* data, VORN_FortranDictionary* dictionary)
    : data_(data),
      dictionary_(dictionary),
      parent_(dictionary != nullptr ? dictionary->Source() : nullptr) {}

int ProcedureDataSource::DicPtr(std::int64_t position) const {
  if (dictionary_ == nullptr || position < 0 || position >= dictionary_->Count()) return -1;
  const std::int64_t column = dictionary_->Column(position);
  if (column < 0 || column > std::numeric_limits<int>::max()) return -1;
  return static_cast<int>(column);
}

int ProcedureDataSource::ColumnCount() const {
  return parent_ != nullptr ? parent_->ColumnCount() : 0;
}

int ProcedureDataSource::RowCount() const {
  return parent_ != nullptr ? parent_->RowCount() : 0;
}

VORN_Variable* ProcedureDataSource::GetVariable(int column) {
  return parent_ != nullptr ? parent_->GetVariable(column) : nullptr;
}

double ProcedureDataSource::GetNumber(int row, int column) const {
  return parent_ != nullptr ? parent_->GetNumber(row, column) : kVornMissingValue;
}

std::string ProcedureDataSource::GetString(int row, int column) const {
  return parent_ != nullptr ? parent_->GetString(row, column) : std::string();
}

int ProcedureDataSource::LineOfRow(int row) const {
  return parent_ != nullptr ? parent_->LineOfRow(row) : -1;
}
