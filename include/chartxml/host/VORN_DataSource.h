// The host's data library: a table of columns (variables) with names, labels,
// display formats, measurement levels, value labels and missing values.
//
// The reference host serves it from a CSV file with an optional dictionary
// file beside it (cxh_open_csv in chartxml_host.h). Texts (names, labels,
// value labels, string values) are narrow strings in the host's default code
// page. A missing numeric value reads as kVornMissingValue (Platform.h).
//
// Ownership: a data source belongs to whoever opened it; variables and value
// label maps belong to their data source. Not thread-safe.
#ifndef CHARTXML_HOST_VORN_DATASOURCE_H_
#define CHARTXML_HOST_VORN_DATASOURCE_H_

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "chartxml/export.h"
#include "chartxml/host/VORN_Format.h"

// A value of a value label: numeric, or a string for string variables.
struct CHARTXML_HOST_EXPORT VORN_Value {
  bool isString = false;
  double number = 0;
  std::string text;
};

// A variable's value labels, walked with Reset and GetNextPair.
class CHARTXML_HOST_EXPORT VORN_ValueLabelMap {
 public:
  void Add(VORN_Value value, std::string label);
  std::size_t Count() const { return pairs_.size(); }
  // Starts the walk over the pairs, in the order they were added.
  void Reset() { cursor_ = 0; }
  // The next pair; false (and nothing written) when the walk is over.
  bool GetNextPair(VORN_Value& value, std::string& label);
  // The label of a numeric or string value, or null.
  const std::string* Find(double value) const;
  const std::string* Find(const std::string& value) const;

 private:
  std::vector<std::pair<VORN_Value, std::string>> pairs_;
  std::size_t cursor_ = 0;
};

enum class VORN_Measure { Nominal, Ordinal, Scale };

class CHARTXML_HOST_EXPORT VORN_Variable {
 public:
  // Until set otherwise: measure scale with fixed-point format (5, 8, 2) for
  // numbers, measure nominal with string format (1, 8, 0) for texts.
  VORN_Variable(std::string name, bool isString);

  const std::string& GetName() const { return name_; }
  // The label, "" when the variable has none.
  const std::string& GetLabel() const { return label_; }
  // The display format (type, width, decimals).
  const VORN_Format& GetFormatEx() const { return format_; }
  VORN_Measure GetMeasure() const { return measure_; }
  bool IsString() const { return isString_; }
  VORN_ValueLabelMap& GetValueLabels() { return valueLabels_; }
  const VORN_ValueLabelMap& GetValueLabels() const { return valueLabels_; }
  // True for the user-missing values of a numeric variable.
  bool IsUserMissing(double value) const;
  // Whether any value is user-missing (IsUserMissing is false throughout when not).
  bool HasUserMissing() const { return !userMissing_.empty(); }

  void SetLabel(std::string label) { label_ = std::move(label); }
  void SetFormat(const VORN_Format& format) { format_ = format; }
  void SetMeasure(VORN_Measure measure) { measure_ = measure; }
  void AddUserMissing(double value) { userMissing_.push_back(value); }

 private:
  std::string name_;
  std::string label_;
  VORN_Format format_;
  VORN_Measure measure_;
  bool isString_;
  VORN_ValueLabelMap valueLabels_;
  std::vector<double> userMissing_;
};

class VORN_DataSource;

// How a compiled procedure names columns: its variable numbers (positions
// 1..Count) map to columns of a data source. A data source is itself a
// dictionary whose positions are its columns.
class CHARTXML_HOST_EXPORT VORN_FortranDictionary {
 public:
  virtual ~VORN_FortranDictionary() = default;
  // The data source whose columns the dictionary names.
  virtual VORN_DataSource* Source() = 0;
  // Number of positions.
  virtual std::int64_t Count() const = 0;
  // The 0-based column of position (0-based), or -1 when out of range.
  virtual std::int64_t Column(std::int64_t position) const = 0;
};

class CHARTXML_HOST_EXPORT VORN_DataSource : public VORN_FortranDictionary {
 public:
  ~VORN_DataSource() override = default;

  virtual int ColumnCount() const = 0;
  virtual int RowCount() const = 0;
  // The column's variable, or null when the index is out of range.
  virtual VORN_Variable* GetVariable(int column) = 0;
  // The cell as a number (kVornMissingValue when empty, not a number, or
  // user-missing), and as its text ("" when empty).
  virtual double GetNumber(int row, int column) const = 0;
  virtual std::string GetString(int row, int column) const = 0;
  // GetNumber of rows `first` to `first + count - 1` of the column, into
  // `out` (room for `count`): for a source that holds its numbers in
  // columns, a copy rather than a call a cell.
  virtual void GetNumbers(int column, int first, int count, double* out) const {
    for (int i = 0; i < count; ++i) out[i] = GetNumber(first + i, column);
  }
  // The file line on which the row begins (the header is line 1), or -1 when
  // the source has no lines or the row is out of range.
  virtual int LineOfRow(int /*row*/) const { return -1; }

  // As a dictionary: position k is column k.
  VORN_DataSource* Source() override { return this; }
  std::int64_t Count() const override { return ColumnCount(); }
  std::int64_t Column(std::int64_t position) const override {
    return position >= 0 && position < ColumnCount() ? position : -1;
  }
};

// A procedure's view of the data: a data area and a dictionary that maps the
// procedure's variable numbers to the columns of the dictionary's source.
// The data source's own services are those of the parent.
class CHARTXML_HOST_EXPORT ProcedureDataSource : public VORN_DataSource {
 public:
  // `dictionary` must outlive this object; `data` is the host's data area.
  ProcedureDataSource(void* data, VORN_FortranDictionary* dictionary);

  // The data source the dictionary names (never null for a valid dictionary).
  VORN_DataSource* Parent() const { return parent_; }
  // The column of 0-based `position`, or -1 outside 0..dictionary count - 1.
  int DicPtr(std::int64_t position) const;
  void* Data() const { return data_; }

  int ColumnCount() const override;
  int RowCount() const override;
  VORN_Variable* GetVariable(int column) override;
  double GetNumber(int row, int column) const override;
  std::string GetString(int row, int column) const override;
  int LineOfRow(int row) const override;

 private:
  void* data_;
  VORN_FortranDictionary* dictionary_;
  VORN_DataSource* parent_;
};

#endif  // CHARTXML_HOST_VORN_DATASOURCE_H_
