// The entry points of the commands module (CommandsModule.h).
#include "cli/CommandsModule.h"

#include <span>
#include <string_view>

#include "chartxml/chartxml_host.h"
#include "cli/Commands.h"

#define CHARTXML_COMMANDS_API extern "C" __attribute__((visibility("default")))

CHARTXML_COMMANDS_API const char* chartxml_commands_version() {
  return CHARTXML_VERSION;
}

CHARTXML_COMMANDS_API int chartxml_commands_run(const char* command, int count,
                                                char* const* words) {
  using namespace chartxml::cli;
  // The tool tells of the host's reports itself, with what they concern.
  cxh_set_quiet(1);
  const std::span<char* const> rest(words, count > 0 ? static_cast<std::size_t>(count) : 0);
  const std::string_view name = command == nullptr ? "" : command;
  if (name == "demo") return runDemo(rest);
  if (name == "plot") return runPlot(rest);
  if (name == "check") return runCheck(rest);
  return complain(name, "not a command of this module", kExitUsage);
}
