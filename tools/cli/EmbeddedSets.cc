#include "cli/EmbeddedSets.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "EmbeddedSetsData.h"
#include "cli/Commands.h"

namespace chartxml::cli {
namespace {

const embedded::File* findFile(std::string_view name) {
  for (const embedded::File& file : embedded::kFiles) {
    if (name == file.name) return &file;
  }
  return nullptr;
}

bool writeFile(const embedded::File& file, const std::string& path, std::string& error) {
  return writeWhole(path, std::string(reinterpret_cast<const char*>(file.data), file.size), error);
}

}  // namespace

std::optional<TempDir> TempDir::make(std::string& error) {
  std::string pattern = (std::filesystem::temp_directory_path() / "chartxml-XXXXXX").string();
  if (::mkdtemp(pattern.data()) == nullptr) {
    error = pattern + ": cannot make a temporary folder: " + std::strerror(errno);
    return std::nullopt;
  }
  return TempDir(std::move(pattern));
}

TempDir::~TempDir() {
  if (path_.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string_view> embeddedFiles() {
  std::vector<std::string_view> names;
  for (const embedded::File& file : embedded::kFiles) names.emplace_back(file.name);
  return names;
}

std::optional<std::string> writeEmbeddedSet(std::string_view name, const std::string& dir,
                                            std::string& error) {
  const embedded::File* csv = findFile(name);
  if (csv == nullptr) {
    error = "no embedded data set " + std::string(name);
    return std::nullopt;
  }
  const std::string path = dir + "/" + std::string(name);
  if (!writeFile(*csv, path, error)) return std::nullopt;
  if (const embedded::File* dictionary = findFile(std::string(name) + ".dict.json")) {
    if (!writeFile(*dictionary, path + ".dict.json", error)) return std::nullopt;
  }
  return path;
}

}  // namespace chartxml::cli
