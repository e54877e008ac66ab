// Command-line options of the tool's commands: "--name VALUE", "--name=VALUE"
// and flags, with positional arguments anywhere among them.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace chartxml::cli {

// Exit statuses of every command.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailure = 1;  // the data, a file or the library refused
inline constexpr int kExitUsage = 2;    // the command line is wrong

// Writes "chartxml COMMAND: MESSAGE" to standard error and returns `status`.
int complain(std::string_view command, std::string_view message, int status);

struct Option {
  std::string_view name;     // without the leading "--"
  std::string_view value;    // what the value is called in help ("" for a flag)
  std::string_view summary;  // one line of help
  char alias = 0;            // a one-letter form, "-o" for 'o'; 0 for none
};

struct Parsed {
  std::vector<std::string> positional;
  std::map<std::string, std::string, std::less<>> values;  // options with a value
  std::vector<std::string> flags;                          // flags given

  bool has(std::string_view flag) const;
  std::optional<std::string> value(std::string_view name) const;
};

// Parses `args` (the words after the command's name). "--help" and "-h" are
// always accepted as the flag "help". Nothing, with `error` set, for an
// unknown option (the message lists the valid ones), a missing value or an
// option given twice.
std::optional<Parsed> parseArgs(std::span<char* const> args, std::span<const Option> options,
                                std::string& error);

// The options as help text: one line each, aligned.
std::string optionHelp(std::span<const Option> options);

// A positive finite number spelled by the whole text.
std::optional<double> parsePositive(std::string_view text);

}  // namespace chartxml::cli
