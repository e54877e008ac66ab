// Entry points of strings, composites, numbers, value texts and split groups.
#include "chartxml/cx.h"

#include <string>

#include "chartxml/ChartXml.h"
#include "facade/CxArguments.h"

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

// ---- Numbers and value texts -------------------------------------------------

int64_t CX_INTEGER(const void*, const int64_t* value) {
  static const int64_t kNoFormat = -1;
  return integerValue(__func__, value, &kNoFormat, &ChartXml::LRValue);
}

int64_t CX_IVALUE(const void*, const int64_t* value, const int64_t* format) {
  return integerValue(__func__, value, format, &ChartXml::LRValue);
}

int64_t CX_IVALUEASSTRING(const int64_t* value, const int64_t* format) {
  return integerValue(__func__, value, format, &ChartXml::LRValueAsString);
}

int64_t CX_VALUELABEL(const int64_t* variable, const double* value, const int64_t* maxLength) {
  return call(__func__, static_cast<ValueLabelOf>(&ChartXml::ValueLabel), variable, value,
              maxLength);
}

int64_t CX_VALUELABELSHORT(const int64_t* variable, const double* value, const int64_t* maxLength) {
  return call(__func__, static_cast<ValueLabelOf>(&ChartXml::ValueLabel), variable, value,
              maxLength);
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

}  // extern "C"
