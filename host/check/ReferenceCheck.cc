#include "check/ReferenceCheck.h"

#include <algorithm>
#include <unordered_map>

namespace cxhost::check {
namespace {

bool endsWith(std::string_view text, std::string_view end) {
  return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

const char* kindName(RefKind kind) {
  switch (kind) {
    case RefKind::kVariable:
      return "a variable";
    case RefKind::kDomain:
      return "a domain";
    case RefKind::kDomainOrVariable:
      return "a domain or variable";
    case RefKind::kSourceOrVariable:
      return "a source or variable";
    case RefKind::kStyle:
      return "a style of the style container";
    case RefKind::kStyleCycle:
      return "a styleCycle";
    case RefKind::kLegendTarget:
      return "an element, element group or guide";
  }
  return "";
}

// The variable ids of an expression variable: "a + b" (an overlay) or
// "a/1 + b/2" (a scatter-plot matrix), as the library writes them.
std::vector<std::string_view> expressionIds(std::string_view expression) {
  std::vector<std::string_view> ids;
  while (!expression.empty()) {
    const std::size_t plus = expression.find(" + ");
    std::string_view term = expression.substr(0, plus);
    term = term.substr(0, term.find('/'));
    while (!term.empty() && term.front() == ' ') term.remove_prefix(1);
    while (!term.empty() && term.back() == ' ') term.remove_suffix(1);
    ids.push_back(term);
    if (plus == std::string_view::npos) break;
    expression.remove_prefix(plus + 3);
  }
  return ids;
}

}  // namespace

bool referenceKind(std::string_view tag, std::string_view attribute, RefKind& kind) {
  if (attribute == "variable" || attribute == "sourceVariable" || attribute == "statVariable") {
    kind = RefKind::kVariable;
  } else if (attribute == "domain" && (tag == "variable" || tag == "domainReference")) {
    kind = RefKind::kDomain;
  } else if (attribute == "domain" && tag == "dimension") {
    kind = RefKind::kDomainOrVariable;
  } else if (attribute == "source" && tag == "variable") {
    kind = RefKind::kSourceOrVariable;
  } else if (attribute == "styleCycle") {
    kind = RefKind::kStyleCycle;
  } else if (attribute == "element" && tag == "legendTarget") {
    kind = RefKind::kLegendTarget;
  } else if (attribute == "style" || (endsWith(attribute, "Style") && attribute != "cellStyle")) {
    // A facet label's cell style names a cell class of the host's chart
    // look, not a style of this document.
    kind = RefKind::kStyle;
  } else {
    return false;
  }
  return true;
}

void ReferenceIndex::element(std::string_view tag,
                             const std::vector<std::pair<std::string, std::string>>& attrs,
                             std::size_t line, std::size_t column, std::size_t depth) {
  if (containerChildDepth_ != 0 && depth < containerChildDepth_) containerChildDepth_ = 0;
  const bool inContainer = containerChildDepth_ != 0 && depth == containerChildDepth_;
  for (const auto& [name, value] : attrs) {
    if (name == "id") {
      ids_.emplace_back(value, Target{std::string(tag), inContainer && tag == "style"});
      // The style container is the root's <style> child that holds the
      // document's styles; cycles hold styles of their own elsewhere.
      if (tag == "style" && depth == 2 && value == "container") containerChildDepth_ = depth + 1;
      continue;
    }
    RefKind kind;
    if (tag == "variable" && name == "expression") {
      for (const std::string_view id : expressionIds(value)) {
        references_.push_back(
            {RefKind::kVariable, std::string(tag), name, std::string(id), line, column});
      }
    } else if (referenceKind(tag, name, kind)) {
      references_.push_back({kind, std::string(tag), name, value, line, column});
    }
  }
}

bool ReferenceIndex::accepts(RefKind kind, const Target& target) const {
  switch (kind) {
    case RefKind::kVariable:
      return target.tag == "variable";
    case RefKind::kDomain:
      return target.tag == "domain";
    case RefKind::kDomainOrVariable:
      return target.tag == "domain" || target.tag == "variable";
    case RefKind::kSourceOrVariable:
      return target.tag == "source" || target.tag == "variable";
    case RefKind::kStyle:
      return target.inStyleContainer;
    case RefKind::kStyleCycle:
      return target.tag == "styleCycle";
    case RefKind::kLegendTarget:
      return target.tag == "element" || target.tag == "elementGroup" || target.tag == "guide";
  }
  return false;
}

std::vector<CheckFinding> ReferenceIndex::findings() const {
  // The first element with an id wins, as in a DOM look-up; the schema
  // reports a repeated id on its own.
  std::unordered_map<std::string_view, const Target*> byId;
  byId.reserve(ids_.size());
  for (const auto& [id, target] : ids_) byId.emplace(id, &target);
  std::vector<CheckFinding> found;
  for (const Reference& ref : references_) {
    const auto it = byId.find(ref.value);
    const std::string where = ref.attribute + "=\"" + ref.value + "\" of <" + ref.tag + ">";
    if (it == byId.end()) {
      found.push_back({ref.line, ref.column,
                       "dangling reference: " + where + " names no part of the document (" +
                           kindName(ref.kind) + " expected)"});
    } else if (!accepts(ref.kind, *it->second)) {
      found.push_back({ref.line, ref.column,
                       "wrong reference: " + where + " names a <" + it->second->tag + ">, not " +
                           kindName(ref.kind)});
    }
  }
  return found;
}

}  // namespace cxhost::check
