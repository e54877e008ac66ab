// Host settings: setter value, else environment, else built-in default.
#include "platform/Settings.h"

#include <dlfcn.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

namespace cxhost::settings {
namespace {

// Values set through the C API; std::nullopt means "not set".
struct Overrides {
  std::optional<std::string> language;
  std::optional<std::string> codePage;
  std::optional<std::string> stringTables;
  std::optional<std::string> outputDir;
  std::optional<bool> quiet;
  std::optional<bool> validate;
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

// The folders the host library was loaded from: the path it was loaded by
// and, when symbolic links lead there, the folder it really lives in.
std::vector<std::filesystem::path> libraryFolders() {
  Dl_info info{};
  if (dladdr(reinterpret_cast<const void*>(&libraryFolders), &info) == 0 ||
      info.dli_fname == nullptr || *info.dli_fname == '\0') {
    return {};
  }
  std::error_code ec;
  const std::filesystem::path loaded = std::filesystem::absolute(info.dli_fname, ec);
  if (ec) return {};
  std::vector<std::filesystem::path> folders{loaded.parent_path()};
  const std::filesystem::path real = std::filesystem::canonical(loaded, ec);
  if (!ec && real.parent_path() != folders.front()) folders.push_back(real.parent_path());
  return folders;
}

// Found once, as the library loads: a relative loading path is read against
// the working folder of that moment, before the program can change it.
const std::vector<std::filesystem::path>& loadedFrom() {
  static const std::vector<std::filesystem::path> folders = libraryFolders();
  return folders;
}
[[maybe_unused]] const auto& kLoadedFrom = loadedFrom();

// A file or folder shipped with the host (`relative` under its data folder):
// the installed one, found from where the library is now, so that an install
// tree works wherever it has been moved; else the source tree's, which
// serves the library in its build tree.
std::string shippedData(const char* relative) {
  std::error_code ec;
  for (const std::filesystem::path& folder : loadedFrom()) {
    // Whatever lies beside the build tree is no install of this build.
    if (std::filesystem::equivalent(folder, CHARTXML_BUILD_LIBRARY_DIR, ec)) break;
    const std::filesystem::path shipped =
        (folder / CHARTXML_DATA_FROM_LIBDIR / relative).lexically_normal();
    if (std::filesystem::exists(shipped, ec)) return shipped.string();
  }
  return (std::filesystem::path(CHARTXML_SOURCE_DATA_DIR) / relative).string();
}

}  // namespace

std::string language() {
  return resolve(overrides().language, "CHARTXML_LANG", "en");
}

std::string codePage() {
  return resolve(overrides().codePage, "CHARTXML_CODEPAGE", "UTF-8");
}

std::string stringTables() {
  return resolve(overrides().stringTables, "CHARTXML_STRINGS", shippedData("strings"));
}

std::string shippedDataFile(const char* relative) {
  return shippedData(relative);
}

std::string outputDir() {
  return resolve(overrides().outputDir, "CHARTXML_OUTPUT", "");
}

bool bootstrapping() {
  return overrides().bootstrapping;
}

namespace {
// A switch: the setter's value, else any value of VARIABLE but "0" (so
// CHARTXML_QUIET=yes works too), else off.
bool flag(const std::optional<bool>& set, const char* variable) {
  if (set) return *set;
  const char* env = std::getenv(variable);
  return env != nullptr && *env != '\0' && std::strcmp(env, "0") != 0;
}
}  // namespace

bool quiet() {
  return flag(overrides().quiet, "CHARTXML_QUIET");
}

bool validate() {
  return flag(overrides().validate, "CHARTXML_VALIDATE");
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

void setValidate(int on) {
  if (on < 0) {
    overrides().validate.reset();
  } else {
    overrides().validate = on != 0;
  }
}

}  // namespace cxhost::settings
