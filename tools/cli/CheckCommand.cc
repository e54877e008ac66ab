// chartxml check FILE.xml...: whether each file is a chart document a host
// can trust: well formed (no DTD, no external entity is read), valid against
// the chart schema, and with every reference naming a part of the right kind.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "chartxml/host/DocumentCheck.h"
#include "cli/Args.h"
#include "cli/Commands.h"

namespace chartxml::cli {
namespace {

constexpr std::array kOptions{
    Option{"no-schema", "", "check only that each file is well formed"},
    Option{"schema", "FILE", "check against this schema instead of the installed chart schema"},
};

constexpr const char* kHelpText =
    "usage: chartxml check [--no-schema | --schema FILE] FILE.xml...\n"
    "\n"
    "Checks each file as a host should check a chart document before it trusts\n"
    "it: that it is well formed XML (no DTD, no external entity is read), that\n"
    "it is valid against the chart schema (installed with the library as\n"
    "share/chartxml/schema/chart.xsd), and that every reference in it (a\n"
    "variable, domain, source, style, style cycle or legend target) names a\n"
    "part of the document of the right kind. Each finding is printed on\n"
    "standard error as FILE:LINE:COLUMN: MESSAGE; a file that passes is named\n"
    "on standard output as FILE: valid.\n"
    "\n"
    "Exit status: 0 every file passes, 1 a file has a finding or cannot be\n"
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

  if (parsed->has("no-schema") && parsed->value("schema")) {
    return complain("check", "--no-schema and --schema exclude each other", kExitUsage);
  }
  // --no-schema keeps to well-formedness, as the command checked before it
  // knew the vocabulary.
  cxhost::CheckOptions options;
  options.references = !parsed->has("no-schema");
  if (options.references) {
    options.schemaPath = parsed->value("schema").value_or(cxhost::shippedSchemaPath());
  }
  int status = kExitOk;
  for (const std::string& path : parsed->positional) {
    std::string text;
    if (!readFile(path, text, error)) {
      status = complain("check", error, kExitFailure);
      continue;
    }
    const auto findings = cxhost::checkChartDocument(text, options);
    if (findings.empty()) {
      std::printf("%s: %s\n", path.c_str(), options.references ? "valid" : "well formed");
      continue;
    }
    for (const cxhost::CheckFinding& finding : findings) {
      const std::string place = finding.line == 0 ? std::string()
                                                  : ":" + std::to_string(finding.line) + ":" +
                                                        std::to_string(finding.column);
      status = complain("check", path + place + ": " + finding.message, kExitFailure);
    }
  }
  return status;
}

}  // namespace chartxml::cli
