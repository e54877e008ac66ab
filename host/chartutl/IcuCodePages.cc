#include "chartutl/IcuCodePages.h"

#include <strings.h>

namespace cxhost {

const char* icuCodePageName(const std::string& codePage) {
  static constexpr struct {
    const char* name;
    const char* icu;
  } kAliases[] = {
      {"CP932", "windows-31j"},      {"CP936", "windows-936-2000"}, {"CP949", "windows-949-2000"},
      {"CP950", "windows-950-2000"}, {"CP65001", "UTF-8"},          {"CP20127", "US-ASCII"},
      {"CP28591", "ISO-8859-1"},
  };
  for (const auto& alias : kAliases) {
    if (strcasecmp(codePage.c_str(), alias.name) == 0) return alias.icu;
  }
  return codePage.c_str();
}

}  // namespace cxhost
