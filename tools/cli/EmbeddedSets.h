// The data sets compiled into the tool (data/sets), written out on demand to
// a private temporary folder, since the host opens data sources from files.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace chartxml::cli {

// A folder of its own under the system's temporary folder, removed with
// everything in it when the object goes.
class TempDir {
 public:
  // Nothing, with `error` set, when no folder could be made.
  static std::optional<TempDir> make(std::string& error);
  TempDir(TempDir&& other) noexcept : path_(std::move(other.path_)) { other.path_.clear(); }
  TempDir& operator=(TempDir&&) = delete;
  TempDir(const TempDir&) = delete;
  ~TempDir();

  const std::string& path() const { return path_; }

 private:
  explicit TempDir(std::string path) : path_(std::move(path)) {}
  std::string path_;
};

// The names of the embedded files ("anscombe.csv", "anscombe.csv.dict.json", ...).
std::vector<std::string_view> embeddedFiles();

// Writes the embedded data set NAME ("anscombe.csv") and its dictionary into
// `dir`; the path of the CSV file, or nothing with `error` set.
std::optional<std::string> writeEmbeddedSet(std::string_view name, const std::string& dir,
                                            std::string& error);

}  // namespace chartxml::cli
