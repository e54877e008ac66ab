// Fuzzes the host's CSV data source and its dictionary.
//
// Input: the CSV file's bytes, then optionally a 0xFF byte and the bytes of
// PATH.dict.json (without a 0xFF there is no dictionary file). Both are
// written to a folder of their own, opened with cxh_open_csv, and every
// variable and cell is read back through VORN_DataSource, directly and
// through a procedure dictionary, and formatted in its display format.
#include <unistd.h>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "chartxml/chartxml_host.h"
#include "chartxml/host/Platform.h"
#include "chartxml/host/VORN_DataSource.h"
#include "chartxml/host/formatter.h"

namespace {

std::string folder;
std::string csvPath;
std::string dictionaryPath;

// A broken promise of the data source: say which and stop, so that libFuzzer
// keeps the input.
[[noreturn]] void fail(const std::string& what) {
  std::fprintf(stderr, "fuzz_csv: %s\n", what.c_str());
  std::abort();
}

void check(bool ok, const std::string& what) {
  if (!ok) fail(what);
}

// A new file each time: rewriting one in place makes some file systems
// flush it to disk on close, which would slow every input down.
bool writeFile(const std::string& path, const std::uint8_t* data, std::size_t size) {
  std::remove(path.c_str());
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) return false;
  const bool written = size == 0 || std::fwrite(data, 1, size, file) == size;
  return std::fclose(file) == 0 && written;
}

void removeFiles() {
  std::remove(csvPath.c_str());
  std::remove(dictionaryPath.c_str());
  ::rmdir(folder.c_str());
}

// Value labels: the walk gives exactly Count() pairs, each found again by
// its value, of the kind the variable holds.
void readValueLabels(VORN_Variable& variable) {
  VORN_ValueLabelMap& labels = variable.GetValueLabels();
  labels.Reset();
  VORN_Value value;
  std::string label;
  std::size_t walked = 0;
  while (labels.GetNextPair(value, label)) {
    ++walked;
    check(value.isString == variable.IsString(), "a value label of the wrong kind");
    const std::string* found = value.isString ? labels.Find(value.text) : labels.Find(value.number);
    check(found != nullptr, "a value label not found by its own value");
  }
  check(walked == labels.Count(), "the value-label walk and Count() disagree");
  check(!labels.GetNextPair(value, label), "the value-label walk goes on after its end");
}

void readVariable(VORN_Variable& variable, std::set<std::string>& names) {
  check(!variable.GetName().empty(), "a variable without a name");
  check(names.insert(variable.GetName()).second, "two variables named " + variable.GetName());
  (void)variable.GetLabel().size();
  (void)variable.GetMeasure();

  const VORN_Format& format = variable.GetFormatEx();
  const bool text = format.type == VORN_Format::kStringType;
  check(text == variable.IsString(), "the format type does not match the variable's kind");
  check(format.width >= 1 && (text || format.width <= VORN_Format::kMaxWidth),
        "a format width out of range");
  check(text ? format.decimals == 0 : format.decimals < format.width,
        "format decimals that do not fit the width");
  check(VORN_Format::FromCode(format.ToCode()) == format, "the format does not survive its code");
  readValueLabels(variable);
}

// Every cell of `source`, as a number and as a text. A cell is never NaN (a
// numeric column may hold infinities, a text cell reads as a finite number or
// the missing value), and an empty numeric cell is missing.
void readCells(VORN_DataSource& source) {
  const int rows = source.RowCount();
  const int columns = source.ColumnCount();
  for (int column = 0; column < columns; ++column) {
    VORN_Variable* variable = source.GetVariable(column);
    const VORN_Format format = variable->GetFormatEx();
    for (int row = 0; row < rows; ++row) {
      const double number = source.GetNumber(row, column);
      const std::string text = source.GetString(row, column);
      check(!std::isnan(number), "a cell that reads as NaN");
      check(!variable->IsString() || std::isfinite(number), "a text cell read as an infinity");
      if (!variable->IsString() && text.empty()) {
        check(number == kVornMissingValue, "an empty numeric cell that is not missing");
      }
      (void)formatter::AsString(number, format, true);
      (void)formatter::AsString(number, format, false);
    }
  }
  check(source.GetNumber(rows, 0) == kVornMissingValue && source.GetString(-1, 0).empty(),
        "a cell outside the table");
}

void readSource(VORN_DataSource& source) {
  const int rows = source.RowCount();
  const int columns = source.ColumnCount();
  check(rows >= 0 && columns >= 1, "a table without a header");
  check(source.GetVariable(-1) == nullptr && source.GetVariable(columns) == nullptr,
        "a variable outside the table");
  std::set<std::string> names;
  for (int column = 0; column < columns; ++column) {
    VORN_Variable* variable = source.GetVariable(column);
    check(variable != nullptr, "a column without a variable");
    readVariable(*variable, names);
  }
  // The header is line 1; each row begins on a later line than the last.
  int previous = 1;
  for (int row = 0; row < rows; ++row) {
    const int line = source.LineOfRow(row);
    check(line > previous, "rows whose lines do not increase");
    previous = line;
  }
  check(source.LineOfRow(-1) == -1 && source.LineOfRow(rows) == -1, "a line of no row");
  readCells(source);
}

// The same columns through a procedure's dictionary, in reverse order.
void readThroughDictionary(void* handle, VORN_DataSource& source) {
  const int columns = source.ColumnCount();
  std::vector<std::int64_t> order;
  for (int column = columns - 1; column >= 0; --column) order.push_back(column);
  void* dictionary = cxh_dictionary(handle, order.data(), static_cast<std::int64_t>(order.size()));
  check(dictionary != nullptr, "no procedure dictionary over a valid source");
  {
    ProcedureDataSource procedure(nullptr, static_cast<VORN_FortranDictionary*>(dictionary));
    check(procedure.Parent() == &source, "the procedure's data source is another");
    for (int position = 0; position < columns; ++position) {
      const int column = procedure.DicPtr(position);
      check(column == order[static_cast<std::size_t>(position)], "the dictionary moved a column");
      for (int row = 0; row < source.RowCount(); ++row) {
        check(procedure.GetString(row, column) == source.GetString(row, column),
              "a cell reads differently through the dictionary");
      }
    }
    check(procedure.DicPtr(columns) == -1, "a dictionary position past its end");
  }
  cxh_close(dictionary);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  cxh_set_quiet(1);
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern =
      std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") + "/chartxml_fuzz_csv_XXXXXX";
  if (::mkdtemp(pattern.data()) == nullptr) {
    std::perror("fuzz_csv: mkdtemp");
    std::exit(1);
  }
  folder = pattern;
  csvPath = folder + "/data.csv";
  dictionaryPath = csvPath + ".dict.json";
  std::atexit(removeFiles);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* split = static_cast<const std::uint8_t*>(std::memchr(data, 0xFF, size));
  const std::size_t csvSize = split != nullptr ? static_cast<std::size_t>(split - data) : size;
  if (!writeFile(csvPath, data, csvSize)) fail("cannot write " + csvPath);
  if (split != nullptr) {
    if (!writeFile(dictionaryPath, split + 1, size - csvSize - 1)) {
      fail("cannot write " + dictionaryPath);
    }
  } else {
    std::remove(dictionaryPath.c_str());
  }

  const int reportsBefore = cxh_report_count();
  void* handle = cxh_open_csv(csvPath.c_str());
  if (handle == nullptr) {
    check(cxh_report_count() > reportsBefore, "a refused file without a report");
  } else {
    VORN_DataSource* source = static_cast<VORN_FortranDictionary*>(handle)->Source();
    check(source != nullptr, "a data source that is not its own source");
    readSource(*source);
    readThroughDictionary(handle, *source);
    cxh_close(handle);
  }
  cxh_clear_reports();
  cxh_clear_debug();
  return 0;
}
