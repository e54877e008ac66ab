// Composite cell texts: a pattern with ^1..^9 places filled by parameters.
#include "chartxml/host/OmComposite.h"

namespace {

constexpr std::size_t kMaxPlaces = 9;
constexpr const char* kListSeparator = ", ";

// A cell without an English form reads as its localised text in English, so
// that texts with no translation (variable names, numbers) still show.
const std::string& formOf(const OmStringCell& cell, bool english) {
  return english && !cell.english.empty() ? cell.english : cell.text;
}

}  // namespace

OmComposite::OmComposite(OmStringCell pattern) : pattern_(std::move(pattern)) {}

void OmComposite::Add(const OmStringCell& parameter) {
  if (ended_) throw OmException("parameter added to an ended composite");
  if (inRepeat_) {
    places_.back().push_back(parameter);
    return;
  }
  if (places_.size() >= kMaxPlaces) throw OmException("more than 9 parameters");
  places_.push_back({parameter});
}

void OmComposite::BeginRepeatList() {
  if (ended_) throw OmException("repeat list begun in an ended composite");
  if (inRepeat_) throw OmException("repeat list begun inside a repeat list");
  if (places_.size() >= kMaxPlaces) throw OmException("more than 9 parameters");
  places_.emplace_back();
  inRepeat_ = true;
}

void OmComposite::EndRepeatList() {
  if (ended_) throw OmException("repeat list ended in an ended composite");
  if (!inRepeat_) throw OmException("repeat list ended without being begun");
  inRepeat_ = false;
}

void OmComposite::End() {
  if (inRepeat_) throw OmException("composite ended inside a repeat list");
  ended_ = true;
}

void OmComposite::Substitute(bool dropUnfilled) {
  dropUnfilled_ = dropUnfilled;
}

std::string OmComposite::GetText() const {
  return substitute(false);
}

std::string OmComposite::GetEnglishText() const {
  return substitute(true);
}

std::string OmComposite::substitute(bool english) const {
  // Until End, more parameters may come, so unfilled places always show.
  const bool drop = ended_ && dropUnfilled_;
  const std::string& pattern = formOf(pattern_, english);
  std::string out;
  out.reserve(pattern.size());
  for (std::size_t i = 0; i < pattern.size(); ++i) {
    const char c = pattern[i];
    const char next = i + 1 < pattern.size() ? pattern[i + 1] : '\0';
    if (c != '^' || (next != '^' && (next < '1' || next > '9'))) {
      out += c;
      continue;
    }
    ++i;
    if (next == '^') {
      out += '^';
      continue;
    }
    const auto place = static_cast<std::size_t>(next - '1');
    if (place >= places_.size()) {
      if (!drop) out.append({'^', next});
      continue;
    }
    const auto& parameters = places_[place];
    for (std::size_t p = 0; p < parameters.size(); ++p) {
      if (p > 0) out += kListSeparator;
      out += formOf(parameters[p], english);
    }
  }
  return out;
}
