// chartxml: charts of data files through the chartxml library's flat CX_
// entry points, written out as the reference host is sent them.
#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

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

// Loads the commands module: beside the tool (the build tree), then where an
// install puts it relative to the tool, then wherever the loader looks. The
// tool's folder is asked of the kernel, since a sanitizer's runtime that
// intercepts dlopen hides the tool's run path from the loader. Null, with
// `why` set, when no attempt loads it.
void* loadCommandsModule(std::string& why) {
  std::vector<std::filesystem::path> places;
  std::error_code error;
  const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) {
    const std::filesystem::path folder = self.parent_path();
    places.push_back(folder / CHARTXML_COMMANDS_MODULE);
    const std::filesystem::path libraries = CHARTXML_COMMANDS_FROM_BINDIR;
    places.push_back((libraries.is_absolute() ? libraries : folder / libraries) /
                     CHARTXML_COMMANDS_MODULE);
  }
  for (const std::filesystem::path& place : places) {
    if (!std::filesystem::exists(place, error)) continue;
    if (void* module = dlopen(place.c_str(), RTLD_NOW | RTLD_GLOBAL)) return module;
    const char* text = dlerror();
    why = text ? text : place.string() + " does not load";
    return nullptr;
  }
  if (void* module = dlopen(CHARTXML_COMMANDS_MODULE, RTLD_NOW | RTLD_GLOBAL)) return module;
  const char* text = dlerror();
  why = text ? text : "it is not found";
  return nullptr;
}

// A data file this large is read into blocks of tens of megabytes. Where
// the kernel gives huge pages only to memory that asks for them, each 4 KiB
// page of those blocks costs a fault of its own, which on a virtual machine
// is most of the time of a big plot (halved with huge pages). The C library
// asks for them when its tunable says so, and reads tunables only as a
// process starts: for such a file the tool starts itself again with it.
constexpr std::uintmax_t kLargeInput = std::uintmax_t{16} << 20;
constexpr std::string_view kHugePages = "glibc.malloc.hugetlb=1";

bool hasLargeInput(int argc, char** argv) {
  for (int i = 2; i < argc; ++i) {
    std::error_code error;
    if (argv[i][0] != '-' && std::filesystem::is_regular_file(argv[i], error) &&
        std::filesystem::file_size(argv[i], error) >= kLargeInput && !error) {
      return true;
    }
  }
  return false;
}

void startAgainWithHugePages(char** argv) {
  const char* tunables = std::getenv("GLIBC_TUNABLES");
  // Set already (by this tool or by the user, who then decides).
  if (tunables != nullptr && std::strstr(tunables, "glibc.malloc.hugetlb") != nullptr) return;
  const std::string before = tunables != nullptr ? tunables : "";
  const std::string value =
      before.empty() ? std::string(kHugePages) : before + ":" + std::string(kHugePages);
  if (::setenv("GLIBC_TUNABLES", value.c_str(), 1) != 0) return;
  ::execv("/proc/self/exe", argv);
  // Not started again: go on as this process, as it was.
  if (tunables != nullptr) {
    ::setenv("GLIBC_TUNABLES", before.c_str(), 1);
  } else {
    ::unsetenv("GLIBC_TUNABLES");
  }
}

// A big plot passes its data from stage to stage (the file's text, the
// host's columns, the tool's copy, the chart's feed, the renderer's), each
// tens of megabytes freed before the next is made. Blocks that big come
// from the kernel and go back to it on release, so every stage faults in
// fresh pages; kept in the heap instead (as large as the C library lets a
// heap block be), each stage reuses the memory of the one before.
void keepLargeBlocksInTheHeap() {
  constexpr int kLargestHeapBlock = 32 << 20;
  mallopt(M_MMAP_THRESHOLD, kLargestHeapBlock);
  mallopt(M_TRIM_THRESHOLD, 2 * kLargestHeapBlock);
}

// Runs one of the commands of the commands module, loaded now. The module
// stays loaded until the process ends: the library's and the host's
// teardown runs at exit, as it would in a tool linked with them.
int runFromModule(std::string_view command, std::span<char* const> rest) {
  using namespace chartxml::cli;
  const std::string name(command);
  std::string why;
  void* module = loadCommandsModule(why);
  if (module == nullptr) {
    return complain(name, "cannot load the commands module: " + why, kExitFailure);
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
    if (command == "plot" && hasLargeInput(argc, argv)) {
      startAgainWithHugePages(argv);
      keepLargeBlocksInTheHeap();
    }
    return runFromModule(command, rest);
  }
  std::fprintf(stderr,
               "chartxml: unknown command '%.*s'; valid commands: demo, plot, check, render\n",
               static_cast<int>(command.size()), command.data());
  return kExitUsage;
}
