// chartxml: charts of data files through the chartxml library's flat CX_
// entry points, written out as the reference host is sent them.
#include <dlfcn.h>
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
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

// A data file this large is read into blocks of tens of megabytes, passed
// from stage to stage (the file's text, the host's columns, the tool's
// copy, the chart's feed, the renderer's), each freed before the next is
// made.
// - Blocks that big come from the kernel and go back to it on release, so
//   every stage would fault in fresh pages. They are kept in the heap
//   instead (none mapped on its own, none given back), where each stage
//   reuses the memory of the one before.
// - Where the kernel gives huge pages only to memory that asks for them,
//   each 4 KiB page costs a fault of its own, which on a virtual machine is
//   most of the time of a big plot (halved with huge pages). So the heap
//   grows at once by room for every stage, and that room asks for them.
constexpr std::uintmax_t kLargeInput = std::uintmax_t{16} << 20;
// Room for a plot's stages a byte of its data file: its peak was about 4.
constexpr std::uintmax_t kRoomPerInputByte = 8;

// The size of the largest regular file among the arguments.
std::uintmax_t largestInput(std::span<char* const> words) {
  std::uintmax_t largest = 0;
  for (const char* word : words) {
    std::error_code error;
    if (word[0] == '-' || !std::filesystem::is_regular_file(word, error)) continue;
    const std::uintmax_t size = std::filesystem::file_size(word, error);
    if (!error) largest = std::max(largest, size);
  }
  return largest;
}

void keepLargeBlocksInAHugePagedHeap(std::uintmax_t inputBytes) {
  const int room = static_cast<int>(
      std::min<std::uintmax_t>(inputBytes * kRoomPerInputByte, std::numeric_limits<int>::max()));
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
  mallopt(M_TOP_PAD, room);
  // The heap is too small for this block, so grows by it and the room.
  constexpr std::size_t kProbe = std::size_t{1} << 20;
  void* probe = std::malloc(kProbe);
  if (probe == nullptr) return;
  constexpr std::uintptr_t kPage = 4096;
  const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(probe) & ~(kPage - 1);
  const auto top = reinterpret_cast<std::uintptr_t>(::sbrk(0));
  if (top > from) ::madvise(reinterpret_cast<void*>(from), top - from, MADV_HUGEPAGE);
  std::free(probe);
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
    if (command == "plot") {
      if (const std::uintmax_t size = largestInput(rest); size >= kLargeInput) {
        keepLargeBlocksInAHugePagedHeap(size);
      }
    }
    return runFromModule(command, rest);
  }
  std::fprintf(stderr,
               "chartxml: unknown command '%.*s'; valid commands: demo, plot, check, render\n",
               static_cast<int>(command.size()), command.data());
  return kExitUsage;
}
