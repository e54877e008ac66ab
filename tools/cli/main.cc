// chartxml: charts of data files through the chartxml library's flat CX_
// entry points, written out as the reference host is sent them.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "cli/Args.h"
#include "cli/Commands.h"
#include "cli/CommandsModule.h"

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

// Runs one of the commands of the commands module, loaded now. The module
// stays loaded until the process ends: the library's and the host's
// teardown runs at exit, as it would in a tool linked with them.
int runFromModule(std::string_view command, std::span<char* const> rest) {
  using namespace chartxml::cli;
  const std::string name(command);
  void* module = dlopen(CHARTXML_COMMANDS_MODULE, RTLD_NOW | RTLD_GLOBAL);
  if (module == nullptr) {
    const char* why = dlerror();
    return complain(name, std::string("cannot load the commands module: ") + (why ? why : "?"),
                    kExitFailure);
  }
  auto version = reinterpret_cast<chartxml_commands_version_fn>(
      dlsym(module, CHARTXML_COMMANDS_VERSION_SYMBOL));
  auto run =
      reinterpret_cast<chartxml_commands_run_fn>(dlsym(module, CHARTXML_COMMANDS_RUN_SYMBOL));
  if (version == nullptr || run == nullptr || std::strcmp(version(), CHARTXML_VERSION) != 0) {
    return complain(
        name,
        std::string("the commands module found is not the one of chartxml ") + CHARTXML_VERSION,
        kExitFailure);
  }
  return run(name.c_str(), static_cast<int>(rest.size()), rest.data());
}

}  // namespace

int main(int argc, char** argv) {
  using namespace chartxml::cli;
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
  if (command == "render") return runRender(rest);
  if (command == "demo" || command == "plot" || command == "check") {
    return runFromModule(command, rest);
  }
  std::fprintf(stderr,
               "chartxml: unknown command '%.*s'; valid commands: demo, plot, check, render\n",
               static_cast<int>(command.size()), command.data());
  return kExitUsage;
}
