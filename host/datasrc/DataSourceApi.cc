// Data sources and procedure dictionaries as the host C API gives them.
//
// Handles are VORN_FortranDictionary pointers (a data source is one too), so
// that the library can take either as its dictionary argument and cxh_close
// can release either through the virtual destructor.
#include <cstdint>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "chartutl/ReportLog.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/VORN_DataSource.h"
#include "datasrc/CsvDataSource.h"

namespace {

constexpr const char* kSource = "host/datasrc";

// A procedure's variable numbers, each naming a column of one data source.
class ColumnDictionary final : public VORN_FortranDictionary {
 public:
  ColumnDictionary(VORN_DataSource* source, std::vector<std::int64_t> columns)
      : source_(source), columns_(std::move(columns)) {}

  VORN_DataSource* Source() override { return source_; }
  std::int64_t Count() const override { return static_cast<std::int64_t>(columns_.size()); }
  std::int64_t Column(std::int64_t position) const override {
    return position >= 0 && position < Count() ? columns_[static_cast<std::size_t>(position)] : -1;
  }

 private:
  VORN_DataSource* source_;
  std::vector<std::int64_t> columns_;
};

void* toHandle(VORN_FortranDictionary* dictionary) {
  return dictionary;
}

VORN_FortranDictionary* fromHandle(void* handle) {
  return static_cast<VORN_FortranDictionary*>(handle);
}

void reportFailure(const char* operation, int line) {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    cxhost::report(std::string(operation) + ": out of memory", kSource, line);
  } catch (const std::exception& e) {
    cxhost::report(std::string(operation) + ": " + e.what(), kSource, line);
  } catch (...) {
    cxhost::report(std::string(operation) + ": unexpected failure", kSource, line);
  }
}

// The caller's options as the reader takes them; false (reported) when one
// is out of range.
bool toOptions(const cxh_csv_options& options, cxhost::CsvOptions& read) {
  const auto delimiter = static_cast<unsigned char>(options.delimiter);
  if (delimiter == '"') {
    cxhost::report("cxh_open_csv_ex: the delimiter cannot be the quote '\"'", kSource, __LINE__);
    return false;
  }
  // Any other byte would be a line break, or could be part of a character.
  if (delimiter != 0 && delimiter != '\t' && (delimiter < 0x20 || delimiter > 0x7E)) {
    char code[8];
    std::snprintf(code, sizeof code, "0x%02X", delimiter);
    cxhost::report(std::string("cxh_open_csv_ex: delimiter ") + code +
                       " is neither a tab nor a printable ASCII character",
                   kSource, __LINE__);
    return false;
  }
  if (options.date_order < 0 || options.date_order > 2) {
    cxhost::report("cxh_open_csv_ex: date_order " + std::to_string(options.date_order) +
                       " is not 0 (numeric dates stay texts), 1 (month first) or 2 (day first)",
                   kSource, __LINE__);
    return false;
  }
  read.delimiter = options.delimiter;
  if (options.encoding != nullptr) read.encoding = options.encoding;
  read.dateOrder = options.date_order == 1   ? cxhost::DateOrder::MonthFirst
                   : options.date_order == 2 ? cxhost::DateOrder::DayFirst
                                             : cxhost::DateOrder::None;
  return true;
}

}  // namespace

extern "C" {

void* cxh_open_csv(const char* path) {
  try {
    if (path == nullptr) {
      cxhost::report("cxh_open_csv: no file name", kSource, __LINE__);
      return nullptr;
    }
    return toHandle(cxhost::CsvDataSource::Open(path).release());
  } catch (...) {
    reportFailure("cxh_open_csv", __LINE__);
    return nullptr;
  }
}

void* cxh_open_csv_ex(const char* path, const cxh_csv_options* options) {
  try {
    if (path == nullptr) {
      cxhost::report("cxh_open_csv_ex: no file name", kSource, __LINE__);
      return nullptr;
    }
    cxhost::CsvOptions read;
    if (options != nullptr) {
      if (!toOptions(*options, read)) return nullptr;
    }
    return toHandle(cxhost::CsvDataSource::Open(path, read).release());
  } catch (...) {
    reportFailure("cxh_open_csv_ex", __LINE__);
    return nullptr;
  }
}

const char* cxh_csv_column_kinds(void* source) {
  try {
    if (source == nullptr) return "";
    const auto* csv = dynamic_cast<const cxhost::CsvDataSource*>(fromHandle(source));
    if (csv == nullptr) {
      cxhost::report("cxh_csv_column_kinds: the handle is not a CSV data source", kSource,
                     __LINE__);
      return "";
    }
    return csv->ColumnKinds().c_str();
  } catch (...) {
    reportFailure("cxh_csv_column_kinds", __LINE__);
    return "";
  }
}

void cxh_close(void* source_or_dictionary) {
  try {
    delete fromHandle(source_or_dictionary);
  } catch (...) {
    reportFailure("cxh_close", __LINE__);
  }
}

void* cxh_dictionary(void* source, const int64_t* columns, int64_t count) {
  try {
    if (source == nullptr) {
      cxhost::report("cxh_dictionary: no data source", kSource, __LINE__);
      return nullptr;
    }
    if (count < 0) {
      cxhost::report("cxh_dictionary: negative variable count " + std::to_string(count), kSource,
                     __LINE__);
      return nullptr;
    }
    if (count > 0 && columns == nullptr) {
      cxhost::report("cxh_dictionary: no column list for " + std::to_string(count) + " variables",
                     kSource, __LINE__);
      return nullptr;
    }
    VORN_DataSource* data = fromHandle(source)->Source();
    if (data == nullptr) {
      cxhost::report("cxh_dictionary: the handle names no data source", kSource, __LINE__);
      return nullptr;
    }
    const std::int64_t columnCount = data->ColumnCount();
    std::vector<std::int64_t> list(columns, columns + count);
    for (std::size_t k = 0; k < list.size(); ++k) {
      if (list[k] < 0 || list[k] >= columnCount) {
        cxhost::report("cxh_dictionary: variable " + std::to_string(k + 1) + " names column " +
                           std::to_string(list[k]) + "; the data source has " +
                           std::to_string(columnCount) + " columns (0-based)",
                       kSource, __LINE__);
        return nullptr;
      }
    }
    return toHandle(new ColumnDictionary(data, std::move(list)));
  } catch (...) {
    reportFailure("cxh_dictionary", __LINE__);
    return nullptr;
  }
}

}  // extern "C"
