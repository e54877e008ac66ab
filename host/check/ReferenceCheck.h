// The references between the parts of a chart document (internal): what a
// schema cannot say alone, that an attribute naming another part names one
// that exists and is of the right kind.
#ifndef CHARTXML_HOST_CHECK_REFERENCECHECK_H_
#define CHARTXML_HOST_CHECK_REFERENCECHECK_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "chartxml/host/DocumentCheck.h"

namespace cxhost::check {

// The kinds of part an attribute may name. Most name one tag; a legend
// target names whatever can carry a legend; a style must be one of the
// styles in the document's style container (not a cycle's).
enum class RefKind {
  kVariable,
  kDomain,
  kDomainOrVariable,  // a dimension's domain: its own, or that of a variable
  kSourceOrVariable,  // a variable's source: a data source, or an aggregate's variable
  kStyle,
  kStyleCycle,
  kLegendTarget
};

// The kind that `attribute` of an element `tag` names, if it is a reference.
bool referenceKind(std::string_view tag, std::string_view attribute, RefKind& kind);

// Collects ids and references from the parse events, then resolves them.
class ReferenceIndex {
 public:
  // An element's start: its tag, and its attributes as (name, value) pairs,
  // all UTF-8, at the element's place in the text.
  void element(std::string_view tag, const std::vector<std::pair<std::string, std::string>>& attrs,
               std::size_t line, std::size_t column, std::size_t depth);

  // Every reference that names nothing or a part of the wrong kind, in
  // document order.
  std::vector<CheckFinding> findings() const;

 private:
  struct Target {
    std::string tag;
    bool inStyleContainer = false;
  };
  struct Reference {
    RefKind kind;
    std::string tag;
    std::string attribute;
    std::string value;  // one id
    std::size_t line;
    std::size_t column;
  };
  bool accepts(RefKind kind, const Target& target) const;

  std::vector<std::pair<std::string, Target>> ids_;
  std::vector<Reference> references_;
  // The depth of the style container's children while inside it, else 0.
  std::size_t containerChildDepth_ = 0;
};

}  // namespace cxhost::check

#endif  // CHARTXML_HOST_CHECK_REFERENCECHECK_H_
