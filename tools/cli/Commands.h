// The tool's commands. Each takes the words after its name and returns the
// process's exit status (kExitOk, kExitFailure or kExitUsage of Args.h);
// messages go to standard error as "chartxml COMMAND: ...".
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace chartxml::cli {

int runDemo(std::span<char* const> args);
int runPlot(std::span<char* const> args);
int runCheck(std::span<char* const> args);
int runRender(std::span<char* const> args);

// Writes "chartxml COMMAND: MESSAGE" to standard error and returns `status`.
int complain(std::string_view command, std::string_view message, int status);

// Makes the output folder (and its parents) and has the host write sent
// charts there. False, with `error` set, when it cannot be made.
bool useOutputFolder(const std::string& dir, std::string& error);

// A language code as the string tables name their folders ("en", "ja", "zh-tw").
bool validLanguage(std::string_view code);

}  // namespace chartxml::cli
