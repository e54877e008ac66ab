// chartxml: charts of data files through the chartxml library's flat CX_
// entry points, written out as the reference host is sent them.
#include <cstdio>
#include <span>
#include <string_view>

#include "chartxml/chartxml_host.h"
#include "cli/Args.h"
#include "cli/Commands.h"

namespace {

constexpr const char* kUsage =
    "usage: chartxml COMMAND [OPTIONS]\n"
    "       chartxml --help | --version\n"
    "\n"
    "Describes charts through the chartxml library, as a statistics procedure\n"
    "does, and writes the documents and data the host is sent.\n"
    "\n"
    "commands:\n"
    "  demo    a gallery of charts of the data sets built into the tool\n"
    "  plot    one chart of a CSV file\n"
    "  check   whether XML files are well formed\n"
    "  render  a picture of a sent chart (PNG, SVG or PDF)\n"
    "\n"
    "'chartxml COMMAND --help' tells a command's options. Exit status: 0 done,\n"
    "1 the data, a file or the library refused, 2 the command line is wrong.\n";

}  // namespace

int main(int argc, char** argv) {
  using namespace chartxml::cli;
  // The tool tells of the host's reports itself, with what they concern.
  cxh_set_quiet(1);
  const std::span<char* const> words(argv + 1, argc > 1 ? static_cast<std::size_t>(argc - 1) : 0);
  if (words.empty()) {
    std::fputs(kUsage, stderr);
    return kExitUsage;
  }
  const std::string_view command = words.front();
  const auto rest = words.subspan(1);
  if (command == "--help" || command == "-h" || command == "help") {
    std::fputs(kUsage, stdout);
    return kExitOk;
  }
  if (command == "--version") {
    std::printf("chartxml %s\n", CHARTXML_VERSION);
    return kExitOk;
  }
  if (command == "demo") return runDemo(rest);
  if (command == "plot") return runPlot(rest);
  if (command == "check") return runCheck(rest);
  if (command == "render") return runRender(rest);
  std::fprintf(stderr,
               "chartxml: unknown command '%.*s'; valid commands: demo, plot, check, render\n",
               static_cast<int>(command.size()), command.data());
  return kExitUsage;
}
