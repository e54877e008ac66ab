// Checking a chart document before it is trusted.
//
// A document passes when it is well formed, valid against the chart schema
// (data/schema/chart.xsd, installed beside the string tables), and every
// reference in it (a `variable`, `domain`, `source`, `style`, `styleCycle`
// or legend-target `element` attribute, and the variables of an expression)
// names a part of the document of the right kind.
//
// Parsing is as safe as the host's other parsers: no DTD, no external entity,
// no schema named by the document itself is read, and nesting is bounded.
//
// Threads: one check at a time per process (the XML platform is shared).
// Errors: nothing is thrown; every problem is a finding.
#ifndef CHARTXML_HOST_DOCUMENTCHECK_H_
#define CHARTXML_HOST_DOCUMENTCHECK_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/export.h"

namespace cxhost {

// One problem of a document, at its place in the text (line and column from
// 1; both 0 when the problem has no place, such as an unreadable schema).
struct CheckFinding {
  std::size_t line = 0;
  std::size_t column = 0;
  std::string message;  // UTF-8
};

// What to check beyond well-formedness.
struct CheckOptions {
  std::string schemaPath;  // the schema to validate against; empty: none
  bool references = true;  // whether references must name parts of their kind
};

// The findings of `xml`, in the order of the stages: a document that is not
// well formed gives that one finding and no more; then every schema
// violation (at most 100); then every bad reference. An empty result means
// the document passed. Brings up the XML platform for the time of the check
// when no one else has.
CHARTXML_HOST_EXPORT std::vector<CheckFinding> checkChartDocument(std::string_view xml,
                                                                  const CheckOptions& options);

// The chart schema shipped with the host: the installed one, found from
// where the host library was loaded, or the source tree's in a build tree.
// CHARTXML_SCHEMA names another.
CHARTXML_HOST_EXPORT std::string shippedSchemaPath();

}  // namespace cxhost

#endif  // CHARTXML_HOST_DOCUMENTCHECK_H_
