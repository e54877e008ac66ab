// chartxml check FILE.xml...: whether each file is a well-formed XML document,
// as the host's parser sees it (no DTD, no external entity is read).
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "chartxml/chartxml_host.h"
#include "chartxml/cx.h"
#include "chartxml/host/ChartBase.h"
#include "cli/Args.h"
#include "cli/Commands.h"

namespace chartxml::cli {
namespace {

constexpr std::array<Option, 0> kOptions{};

constexpr const char* kHelpText =
    "usage: chartxml check FILE.xml...\n"
    "\n"
    "Tells whether each file is a well-formed XML document. A file that is not\n"
    "is named on standard error with the line and column of its first error,\n"
    "as FILE:LINE:COLUMN: MESSAGE.\n"
    "\n"
    "Exit status: 0 every file is well formed, 1 a file is not or cannot be\n"
    "read, 2 the command line is wrong.\n"
    "\n"
    "options:\n";

bool readFile(const std::string& path, std::string& content, std::string& error) {
  std::error_code ec;
  if (std::filesystem::is_directory(path, ec)) {
    error = path + ": is a folder, not a file";
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    error = path + ": cannot open: " + std::strerror(errno);
    return false;
  }
  std::ostringstream text;
  text << in.rdbuf();
  content = std::move(text).str();
  return true;
}

// The host reports "XML is not well-formed at line L, column C: MESSAGE";
// that becomes "FILE:L:C: MESSAGE".
std::string placeError(const std::string& path, const std::string& report) {
  long line = 0;
  long column = 0;
  int consumed = 0;
  if (std::sscanf(report.c_str(), "XML is not well-formed at line %ld, column %ld: %n", &line,
                  &column, &consumed) == 2 &&
      consumed > 0) {
    return path + ":" + std::to_string(line) + ":" + std::to_string(column) +
           ": not well formed: " + report.substr(static_cast<std::size_t>(consumed));
  }
  return path + ": not well formed: " + report;
}

}  // namespace

int runCheck(std::span<char* const> args) {
  std::string error;
  const auto parsed = parseArgs(args, kOptions, error);
  if (!parsed) return complain("check", error, kExitUsage);
  if (parsed->has("help")) {
    std::printf("%s%s", kHelpText, optionHelp(kOptions).c_str());
    return kExitOk;
  }
  if (parsed->positional.empty()) {
    return complain("check", "name the XML files to check (chartxml check FILE.xml...)",
                    kExitUsage);
  }

  // The library's instance brings up the XML platform the host parses with.
  VORN_FortranDictionary* none = nullptr;
  const int64_t length = 5;
  CX_INIT(nullptr, &none, "CHECK", &length);
  int status = kExitOk;
  for (const std::string& path : parsed->positional) {
    std::string text;
    if (!readFile(path, text, error)) {
      status = complain("check", error, kExitFailure);
      continue;
    }
    const int mark = cxh_report_count();
    if (ChartBase::ValidXML(text)) {
      std::printf("%s: well formed\n", path.c_str());
      continue;
    }
    const std::string report = mark < cxh_report_count() ? cxh_report_message(mark) : "";
    status = complain("check", placeError(path, report), kExitFailure);
  }
  CX_TERMINATE();
  return status;
}

}  // namespace chartxml::cli
