// Host settings: setter value, else environment, else built-in default.
#include "platform/Settings.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>

namespace cxhost::settings {
namespace {

// Values set through the C API; std::nullopt means "not set".
struct Overrides {
  std::optional<std::string> language;
  std::optional<std::string> codePage;
  std::optional<std::string> stringTables;
  std::optional<std::string> outputDir;
  std::optional<bool> quiet;
  bool bootstrapping = false;
};

Overrides& overrides() {
  static Overrides values;
  return values;
}

std::optional<std::string> fromSetter(const char* value) {
  if (value == nullptr || *value == '\0') return std::nullopt;
  return std::string(value);
}

std::string resolve(const std::optional<std::string>& set, const char* variable,
                    const std::string& fallback) {
  if (set) return *set;
  const char* env = std::getenv(variable);
  if (env != nullptr && *env != '\0') return env;
  return fallback;
}

std::string shippedStringTables() {
  // An installed copy wins, so that an installed library does not depend on
  // the source tree it was built from.
  std::error_code ec;
  if (std::filesystem::is_directory(CHARTXML_INSTALL_STRINGS_DIR, ec)) {
    return CHARTXML_INSTALL_STRINGS_DIR;
  }
  return CHARTXML_SOURCE_STRINGS_DIR;
}

}  // namespace

std::string language() {
  return resolve(overrides().language, "CHARTXML_LANG", "en");
}

std::string codePage() {
  return resolve(overrides().codePage, "CHARTXML_CODEPAGE", "UTF-8");
}

std::string stringTables() {
  return resolve(overrides().stringTables, "CHARTXML_STRINGS", shippedStringTables());
}

std::string outputDir() {
  return resolve(overrides().outputDir, "CHARTXML_OUTPUT", "");
}

bool bootstrapping() {
  return overrides().bootstrapping;
}

bool quiet() {
  if (overrides().quiet) return *overrides().quiet;
  // Any value but "0" turns echoing off, so CHARTXML_QUIET=yes works too.
  const char* env = std::getenv("CHARTXML_QUIET");
  return env != nullptr && *env != '\0' && std::strcmp(env, "0") != 0;
}

const char* codePageForLanguage(const std::string& language) {
  // Exact, case-sensitive codes: the table mirrors what the host's output
  // language setting can hold.
  static constexpr struct {
    const char* language;
    const char* codePage;
  } kTable[] = {{"ru", "CP1251"},   {"pl", "CP1250"}, {"zh-tw", "CP950"},
                {"zh-cn", "CP936"}, {"ko", "CP949"},  {"ja", "CP932"}};
  for (const auto& entry : kTable) {
    if (language == entry.language) return entry.codePage;
  }
  return "CP1252";
}

void setLanguage(const char* code) {
  overrides().language = fromSetter(code);
}
void setCodePage(const char* name) {
  overrides().codePage = fromSetter(name);
}
void setStringTables(const char* dir) {
  overrides().stringTables = fromSetter(dir);
}
void setOutputDir(const char* dir) {
  overrides().outputDir = fromSetter(dir);
}
void setBootstrapping(bool on) {
  overrides().bootstrapping = on;
}

void setQuiet(int on) {
  if (on < 0) {
    overrides().quiet.reset();
  } else {
    overrides().quiet = on != 0;
  }
}

}  // namespace cxhost::settings
