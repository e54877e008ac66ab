// CSV data sources: the file read (CsvReader.h), its columns typed
// (CsvColumnTypes.h) and its dictionary applied (CsvDictionary.h).
#include "datasrc/CsvDataSource.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

#include "chartxml/host/Platform.h"
#include "datasrc/CsvColumnTypes.h"
#include "datasrc/CsvDictionary.h"
#include "datasrc/CsvReader.h"

namespace fs = std::filesystem;

namespace cxhost {

namespace {

constexpr const char* kDictionarySuffix = ".dict.json";

// A name on one line of ColumnKinds().
std::string oneLine(std::string_view name) {
  std::string text;
  for (const char c : name) {
    if (c == '\n') {
      text += "\\n";
    } else if (c == '\r') {
      text += "\\r";
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace

std::unique_ptr<CsvDataSource> CsvDataSource::Open(const std::string& path,
                                                   const CsvOptions& options) {
  const bool standardInput = path == csv::kStandardInputPath;
  const std::string name = standardInput ? csv::kStandardInputName : path;
  std::string content;
  if (!csv::readText(path, name, options.encoding, content)) return nullptr;
  const char delimiter = options.delimiter != 0 ? options.delimiter : csv::detectDelimiter(content);
  std::unique_ptr<CsvDataSource> source(new CsvDataSource(path));
  std::vector<std::string> names;
  csv::Body body;
  if (!csv::readHeader(name, content, delimiter, names, body)) return nullptr;

  // The dictionary is read before the rows: its formats say which columns
  // must be numbers or dates, and the rows are typed as they are read.
  const std::string dictionaryPath = path + kDictionarySuffix;
  std::unique_ptr<CsvDictionary> dictionary;
  std::error_code ec;
  if (!standardInput && fs::exists(dictionaryPath, ec)) {
    dictionary = CsvDictionary::Load(dictionaryPath);
    if (!dictionary) return nullptr;
  }
  const std::size_t rowsAtMost = csv::rowsAtMost(content, body);
  std::vector<csv::ColumnTyper> typers;
  typers.reserve(names.size());
  for (const std::string& column : names) {
    const csv::Wanted wanted =
        csv::Wanted::byFormatType(dictionary ? dictionary->formatType(column) : 0);
    typers.emplace_back(name, column, delimiter, wanted, wanted.dateOrder(options.dateOrder),
                        rowsAtMost);
  }
  if (!csv::readRows(name, content, delimiter, body, rowsAtMost, typers, source->columns_,
                     source->lines_, source->rows_)) {
    return nullptr;
  }
  std::string().swap(content);

  source->variables_.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    csv::Typed typed;
    typers[i].finish(source->columns_[i], typed);
    source->kinds_ += oneLine(names[i]) + ": " + typed.kind + "\n";
    VORN_Variable& variable = source->variables_.emplace_back(std::move(names[i]), !typed.numeric);
    variable.SetFormat(typed.format);
  }
  if (dictionary && !dictionary->apply(source->variables_)) return nullptr;
  return source;
}

VORN_Variable* CsvDataSource::GetVariable(int column) {
  return column >= 0 && column < ColumnCount() ? &variables_[column] : nullptr;
}

double CsvDataSource::GetNumber(int row, int column) const {
  if (!inRange(row, column)) return kVornMissingValue;
  const VORN_Variable& variable = variables_[column];
  double value;
  if (variable.IsString()) {
    return csv::parseNumber(columns_[column].cell(row), value) ? value : kVornMissingValue;
  }
  value = columns_[column].numbers[row];
  return variable.HasUserMissing() && variable.IsUserMissing(value) ? kVornMissingValue : value;
}

void CsvDataSource::GetNumbers(int column, int first, int count, double* out) const {
  const bool inside = count > 0 && inRange(first, column) && count <= RowCount() - first;
  if (!inside || variables_[column].IsString() || variables_[column].HasUserMissing()) {
    VORN_DataSource::GetNumbers(column, first, count, out);
    return;
  }
  const double* numbers = columns_[column].numbers.data() + first;
  std::copy(numbers, numbers + count, out);
}

int CsvDataSource::LineOfRow(int row) const {
  return row >= 0 && row < rows_ ? lines_[static_cast<std::size_t>(row)] : -1;
}

std::string CsvDataSource::GetString(int row, int column) const {
  if (!inRange(row, column)) return std::string();
  if (variables_[column].IsString()) return std::string(columns_[column].cell(row));
  const double value = columns_[column].numbers[row];
  if (value == kVornMissingValue) return std::string();
  char text[32];
  std::snprintf(text, sizeof text, "%.16g", value);
  return text;
}

}  // namespace cxhost
