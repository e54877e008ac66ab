// Host platform helpers, served from the host settings.
#include "chartxml/host/Platform.h"

#include <unicode/utf8.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "platform/Settings.h"

namespace {
constexpr int kStringTablePathKind = 3;
}  // namespace

OLang::OLang() : code_(cxhost::settings::language()) {}

PathFactory PathFactory::getPathInstance(int kind) {
  return PathFactory(kind == kStringTablePathKind ? cxhost::settings::stringTables()
                                                  : std::string());
}

const char* VORNMBDefaultCodePage() {
  // One name at a time: the text is rewritten only when the setting has
  // changed, so a caller's pointer stays valid until then and the process
  // keeps no trail of every name ever set.
  static std::string name;
  std::string current = cxhost::settings::codePage();
  if (current != name) name = std::move(current);
  return name.c_str();
}

bool QBOOTSTRAPPING() {
  return cxhost::settings::bootstrapping();
}

std::size_t VORNMBStringTruncate_A(std::string& text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text.size();
  // Walk whole characters (or whole ill-formed subsequences, as U8_NEXT
  // groups them) and stop before the first one that would cross the limit.
  // A character is at most 4 bytes, so nothing past maxBytes + 3 matters.
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  const auto length = static_cast<std::ptrdiff_t>(std::min(text.size(), maxBytes + 3));
  std::ptrdiff_t end = 0;
  while (end < length) {
    std::ptrdiff_t next = end;
    UChar32 c;
    U8_NEXT(bytes, next, length, c);
    (void)c;
    if (static_cast<std::size_t>(next) > maxBytes) break;
    end = next;
  }
  text.resize(static_cast<std::size_t>(end));
  return text.size();
}

const double VORN_Globals::infinity = std::numeric_limits<double>::infinity();
