// Entry points of the builders and setters: each forwards to the ChartXml
// operation of its name with the arguments in the same order.
#include "chartxml/cx.h"

#include "chartxml/ChartXml.h"
#include "chartxml/codes.h"
#include "facade/CxArguments.h"

using chartxml::cx::call;
using chartxml::cx::integer;
using chartxml::cx::run;

extern "C" {

// ---- Frames, elements, positions and aesthetics ----------------------------

int64_t CX_ADDLABELINGINSIDE(const int64_t* chart, const int64_t* element,
                             const int64_t* variable) {
  return run(
      __func__,
      [&](ChartXml& cx) -> int64_t {
        return cx.AddLabelingSuffix(integer(chart), integer(element), integer(variable),
                                    CX_WORD_INSIDE);
      },
      chart, element, variable);
}

// ---- Coordinates, dimensions, axes, guides and legends ---------------------

int64_t CX_SETDIMENSIONUPPER(const int64_t* chart, const int64_t* dimension,
                             const int64_t* mapping) {
  return CX_SETDIMENSIONUPPERMAPPING(chart, dimension, mapping);
}

// ---- Fitted-function lines -------------------------------------------------

// ---- Facets ----------------------------------------------------------------

// ---- Domains, sorts, statistics and aggregates -----------------------------

}  // extern "C"
