// The dictionary beside a CSV data source (internal to the host): the JSON
// file PATH.dict.json that describes variables by name.
//
// { "variables": { NAME: { "label": TEXT, "format": { "type", "width",
// "decimals" }, "measure": "nominal" | "ordinal" | "scale", "valueLabels":
// { VALUE: TEXT }, "missing": [NUMBER, ...] } } }, every key optional. Keys
// left out of "format" keep the guessed format's values. Every problem (an
// unknown key or variable, a value of the wrong kind or out of range, a key
// given twice in one object, malformed JSON) is reported with the file and
// the line and column of the key it concerns, and refuses the whole source.
#ifndef CHARTXML_HOST_DATASRC_CSVDICTIONARY_H_
#define CHARTXML_HOST_DATASRC_CSVDICTIONARY_H_

#include <memory>
#include <string>
#include <vector>

#include "chartxml/host/VORN_DataSource.h"

namespace cxhost {

class CsvDictionary {
 public:
  // Reads and parses the dictionary at `path`; null (reported) when it
  // cannot be read or is malformed.
  static std::unique_ptr<CsvDictionary> Load(const std::string& path);
  ~CsvDictionary();
  CsvDictionary(const CsvDictionary&) = delete;
  CsvDictionary& operator=(const CsvDictionary&) = delete;

  // The format type given for `variable`, or 0 when there is none in
  // 1..40; apply() says what is wrong with one that is not. Columns are
  // typed by it before the dictionary is applied.
  int formatType(const std::string& variable) const;

  // Describes `variables` as the dictionary says; false (reported) at the
  // first problem.
  bool apply(std::vector<VORN_Variable>& variables);

 private:
  class Loader;
  CsvDictionary();

  // The file's text, which the loader's places refer to: declared first so
  // that it outlives the loader.
  std::string text_;
  std::unique_ptr<Loader> loader_;
};

}  // namespace cxhost

#endif  // CHARTXML_HOST_DATASRC_CSVDICTIONARY_H_
