#include "cli/Commands.h"

#include <cstdio>
#include <filesystem>

#include "chartxml/chartxml_host.h"

namespace chartxml::cli {

int complain(std::string_view command, std::string_view message, int status) {
  std::fprintf(stderr, "chartxml %.*s: %.*s\n", static_cast<int>(command.size()), command.data(),
               static_cast<int>(message.size()), message.data());
  return status;
}

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

bool validLanguage(std::string_view code) {
  // Two or three letters, then optionally "-" and a region or script.
  std::size_t letters = 0;
  while (letters < code.size() && code[letters] >= 'a' && code[letters] <= 'z') ++letters;
  if (letters < 2 || letters > 3) return false;
  if (letters == code.size()) return true;
  if (code[letters] != '-' || letters + 1 == code.size()) return false;
  for (const char c : code.substr(letters + 1)) {
    if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'))) return false;
  }
  return true;
}

}  // namespace chartxml::cli
