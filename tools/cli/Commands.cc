#include "cli/Commands.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "FileIo.h"
#include "chartxml/chartxml_host.h"
#include "chartxml/host/Platform.h"

namespace chartxml::cli {

bool useOutputFolder(const std::string& dir, std::string& error) {
  std::error_code ec;
  std::filesystem::create_directories(dir, ec);
  if (ec || !std::filesystem::is_directory(dir, ec)) {
    error = dir + ": cannot make the output folder" + (ec ? ": " + ec.message() : std::string());
    return false;
  }
  cxh_set_output_dir(dir.c_str());
  return true;
}

std::vector<std::string> shippedLanguages() {
  // Kind 3 is the folder of the string tables the host reads.
  const std::string tables = PathFactory::getPathInstance(3).getPath();
  std::vector<std::string> languages;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(tables, ec), end; !ec && it != end;
       it.increment(ec)) {
    if (it->is_directory(ec)) languages.push_back(it->path().filename().string());
  }
  std::sort(languages.begin(), languages.end());
  return languages;
}

std::optional<std::string> checkLanguage(const std::string& code) {
  const std::vector<std::string> languages = shippedLanguages();
  if (std::find(languages.begin(), languages.end(), code) != languages.end()) return std::nullopt;
  if (languages.empty()) {
    return "unknown language '" + code + "': no string tables in " +
           PathFactory::getPathInstance(3).getPath();
  }
  std::string valid;
  for (const std::string& language : languages) valid += (valid.empty() ? "" : ", ") + language;
  return "unknown language '" + code + "'; valid languages: " + valid;
}

std::optional<int> chartNumberOf(const std::string& fileName) {
  // As the host's output sink reads names: "chart-", digits, then a dot.
  constexpr std::string_view kPrefix = "chart-";
  if (fileName.compare(0, kPrefix.size(), kPrefix) != 0) return std::nullopt;
  const char* digits = fileName.c_str() + kPrefix.size();
  const char* end = fileName.c_str() + fileName.size();
  int number = 0;
  const auto [stop, error] = std::from_chars(digits, end, number);
  if (error != std::errc() || stop == digits || stop == end || *stop != '.') return std::nullopt;
  return number;
}

int highestChartNumber(const std::string& dir) {
  int highest = 0;
  std::error_code ec;
  for (std::filesystem::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
    if (const auto number = chartNumberOf(it->path().filename().string())) {
      highest = std::max(highest, *number);
    }
  }
  return highest;
}

bool writeWhole(const std::string& path, const std::string& content, std::string& error) {
  if (const int failure = cxio::writeWholeFile(path, content)) {
    error = path + ": cannot write: " + cxio::errorText(failure);
    return false;
  }
  return true;
}

}  // namespace chartxml::cli
