// The tool's commands. Each takes the words after its name and returns the
// process's exit status (kExitOk, kExitFailure or kExitUsage of Args.h);
// messages go to standard error as "chartxml COMMAND: ...".
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Args.h"

namespace chartxml::cli {

int runDemo(std::span<char* const> args);
int runPlot(std::span<char* const> args);
int runCheck(std::span<char* const> args);
int runRender(std::span<char* const> args);

// Makes the output folder (and its parents) and has the host write sent
// charts there. False, with `error` set, when it cannot be made.
bool useOutputFolder(const std::string& dir, std::string& error);

// The output languages there are string tables for: the names of the
// folders in the host's string-table folder ("en", "ja", ...), sorted.
std::vector<std::string> shippedLanguages();

// Nothing when `code` names a language there are string tables for; else
// why it is refused, listing those languages.
std::optional<std::string> checkLanguage(const std::string& code);

// The number of a chart file's name ("chart-0012.xml": 12), or nothing for
// any other name.
std::optional<int> chartNumberOf(const std::string& fileName);

// The highest number of the chart files in `dir` (0 for none). Just after the
// host sent a chart into `dir`, that chart's number: the host numbers a chart
// after every chart already in its folder.
int highestChartNumber(const std::string& dir);

// Writes `content` to `path` whole or not at all (under a temporary name
// first). False, with `error` naming the file, when it cannot.
bool writeWhole(const std::string& path, const std::string& content, std::string& error);

}  // namespace chartxml::cli
