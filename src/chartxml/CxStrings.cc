// Entry points of strings, composites, numbers, value texts and split groups.
#include "chartxml/cx.h"

#include <string>

#include "chartxml/ChartXml.h"
#include "chartxml/CxArguments.h"

using chartxml::cx::call;
using chartxml::cx::DataArea;
using chartxml::cx::integer;
using chartxml::cx::run;
using chartxml::cx::Text;

namespace {

using ValueLabelOf = int (ChartXml::*)(int, double, int);

// The host passes integers where a value builder wants a double.
int64_t integerValue(const char* entry, const int64_t* value, const int64_t* format,
                     int (ChartXml::*operation)(double, int)) {
  return run(
      entry,
      [&](ChartXml& cx) -> int64_t {
        return (cx.*operation)(static_cast<double>(integer(value)), integer(format));
      },
      value, format);
}

}  // namespace

extern "C" {

// ---- Strings ---------------------------------------------------------------

int64_t CX_STRING(const void*, const char* text, const int64_t* textLength) {
  return call(__func__, &ChartXml::NStringNoTranslate, Text{text, textLength});
}

int64_t CX_NSTRINGNOTRANSLATE(const char* text, const int64_t* textLength) {
  return call(__func__, &ChartXml::NStringNoTranslate, Text{text, textLength});
}

int64_t CX_NSTRING(const void*, const char* key, const int64_t* keyLength) {
  return call(__func__, &ChartXml::NString, Text{key, keyLength});
}

int64_t CX_COMPOSITESTRING(const char* key, const int64_t* keyLength) {
  return call(__func__, &ChartXml::CompositeString, Text{key, keyLength});
}

int64_t CX_ADDPARAMETER(const int64_t* composite, const int64_t* parameter) {
  return call(__func__, &ChartXml::AddParameter, composite, parameter);
}

int64_t CX_BEGINREPEAT(const int64_t* composite) {
  return call(__func__, &ChartXml::BeginRepeat, composite);
}

int64_t CX_ENDREPEAT(const int64_t* composite) {
  return call(__func__, &ChartXml::EndRepeat, composite);
}

int64_t CX_ENDCOMPOSITESTRING(const int64_t* composite) {
  return call(__func__, &ChartXml::EndCompositeString, composite);
}

int64_t CX_STYLESTRING(const int64_t* string, const int64_t* index) {
  return call(__func__, &ChartXml::StyleString, string, index);
}

int64_t CX_TOTS(const int64_t* string) {
  return call(__func__, &ChartXml::ToTS, string);
}

// ---- Numbers and value texts -------------------------------------------------

int64_t CX_DOUBLE(const double* value) {
  return call(__func__, &ChartXml::Double, value);
}

int64_t CX_INTEGER(const void*, const int64_t* value) {
  static const int64_t kNoFormat = -1;
  return integerValue(__func__, value, &kNoFormat, &ChartXml::LRValue);
}

int64_t CX_LRVALUE(const double* value, const int64_t* format) {
  return call(__func__, &ChartXml::LRValue, value, format);
}

int64_t CX_IVALUE(const void*, const int64_t* value, const int64_t* format) {
  return integerValue(__func__, value, format, &ChartXml::LRValue);
}

int64_t CX_LRVALUEASSTRING(const double* value, const int64_t* format) {
  return call(__func__, &ChartXml::LRValueAsString, value, format);
}

int64_t CX_IVALUEASSTRING(const int64_t* value, const int64_t* format) {
  return integerValue(__func__, value, format, &ChartXml::LRValueAsString);
}

int64_t CX_VARIABLENAME(const int64_t* variable) {
  return call(__func__, &ChartXml::VariableName, variable);
}

int64_t CX_VARIABLELABEL(const int64_t* variable) {
  return call(__func__, &ChartXml::VariableLabel, variable);
}

int64_t CX_VARIABLELABELFROMDICTIONARY(void* data, VORN_FortranDictionary** dictionary,
                                       const int64_t* variable) {
  return call(__func__, &ChartXml::VariableLabelFromDataSource, DataArea{data}, dictionary,
              variable);
}

int64_t CX_VALUELABEL(const int64_t* variable, const double* value, const int64_t* maxLength) {
  return call(__func__, static_cast<ValueLabelOf>(&ChartXml::ValueLabel), variable, value,
              maxLength);
}

int64_t CX_VALUELABELSHORT(const int64_t* variable, const double* value, const int64_t* maxLength) {
  return call(__func__, static_cast<ValueLabelOf>(&ChartXml::ValueLabel), variable, value,
              maxLength);
}

int64_t CX_VALUE(const int64_t* variable, const double* value) {
  return call(__func__, &ChartXml::Value, variable, value);
}

int64_t CX_MEANVALUE(const int64_t* variable, const double* value) {
  return call(__func__, &ChartXml::MeanValue, variable, value);
}

int64_t CX_OBJECTLABEL(const int64_t* variable, const double* value) {
  return call(__func__, &ChartXml::ObjectLabel, variable, value);
}

// ---- Split groups ------------------------------------------------------------

int64_t CX_SPLITLIST(const int64_t* chart, const int64_t* variable, const int64_t* count,
                     const double* numbers, const char* texts, const int64_t* textWidth,
                     const int64_t* maxLength) {
  // The fields share one width, checked as a text length is.
  const Text fields{texts, textWidth};
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return cx.SplitList(integer(chart), integer(variable), integer(count), numbers, texts,
                            integer(textWidth), integer(maxLength));
      },
      chart, variable, count, numbers, fields, maxLength);
}

int64_t CX_SPLITHEADER(const int64_t* header, const int64_t* flag) {
  return call(__func__, &ChartXml::SplitHeader, header, flag);
}

int64_t CX_SETSPLITCOMPOSITE(const int64_t* composite, const int64_t* text) {
  return call(__func__, &ChartXml::SetSplitComposite, composite, text);
}

}  // extern "C"
