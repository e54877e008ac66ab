#include "cli/Args.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace chartxml::cli {
namespace {

constexpr Option kHelp{"help", "", "show this help and exit"};

const Option* findOption(std::span<const Option> options, std::string_view name) {
  if (name == kHelp.name) return &kHelp;
  const auto it = std::find_if(options.begin(), options.end(),
                               [&](const Option& option) { return option.name == name; });
  return it == options.end() ? nullptr : &*it;
}

const Option* findAlias(std::span<const Option> options, std::string_view word) {
  if (word.size() != 2 || word[0] != '-') return nullptr;
  const auto it = std::find_if(options.begin(), options.end(),
                               [&](const Option& option) { return option.alias == word[1]; });
  return it == options.end() ? nullptr : &*it;
}

std::string validOptions(std::span<const Option> options) {
  std::string out;
  for (const Option& option : options) out += "--" + std::string(option.name) + ", ";
  return out + "--help";
}

}  // namespace

int complain(std::string_view command, std::string_view message, int status) {
  std::fprintf(stderr, "chartxml %.*s: %.*s\n", static_cast<int>(command.size()), command.data(),
               static_cast<int>(message.size()), message.data());
  return status;
}

bool Parsed::has(std::string_view flag) const {
  return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

std::optional<std::string> Parsed::value(std::string_view name) const {
  const auto it = values.find(name);
  if (it == values.end()) return std::nullopt;
  return it->second;
}

std::optional<Parsed> parseArgs(std::span<char* const> args, std::span<const Option> options,
                                std::string& error) {
  Parsed parsed;
  std::vector<std::string> expanded;  // "-o" spelled as its long form
  for (char* const arg : args) {
    const Option* alias = findAlias(options, arg);
    expanded.push_back(alias ? "--" + std::string(alias->name) : std::string(arg));
  }
  std::vector<char*> words;
  for (std::string& word : expanded) words.push_back(word.data());
  args = words;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string_view word = args[i];
    if (word == "-h") {
      parsed.flags.emplace_back("help");
      continue;
    }
    if (word.size() < 2 || word.substr(0, 2) != "--") {
      if (word.size() > 1 && word.front() == '-') {
        error = "unknown option " + std::string(word) + "; valid options: " + validOptions(options);
        return std::nullopt;
      }
      parsed.positional.emplace_back(word);
      continue;
    }
    const std::size_t equals = word.find('=');
    const std::string_view name =
        word.substr(2, equals == std::string_view::npos ? equals : equals - 2);
    const Option* option = findOption(options, name);
    if (option == nullptr) {
      error = "unknown option --" + std::string(name) + "; valid options: " + validOptions(options);
      return std::nullopt;
    }
    if (option->value.empty()) {
      if (equals != std::string_view::npos) {
        error = "--" + std::string(name) + " takes no value";
        return std::nullopt;
      }
      if (!parsed.has(name)) parsed.flags.emplace_back(name);
      continue;
    }
    std::string value;
    if (equals != std::string_view::npos) {
      value = word.substr(equals + 1);
    } else if (i + 1 < args.size() &&
               !(std::string_view(args[i + 1]).substr(0, 2) == "--" &&
                 findOption(options, std::string_view(args[i + 1]).substr(2)) != nullptr)) {
      value = args[++i];
    } else {
      error = "--" + std::string(name) + " needs a value (" + std::string(option->value) + ")";
      return std::nullopt;
    }
    if (!parsed.values.emplace(std::string(name), std::move(value)).second) {
      error = "--" + std::string(name) + " is given twice";
      return std::nullopt;
    }
  }
  return parsed;
}

std::string optionHelp(std::span<const Option> options) {
  std::vector<const Option*> all;
  for (const Option& option : options) all.push_back(&option);
  all.push_back(&kHelp);
  const auto left = [](const Option& option) {
    std::string text = option.alias ? std::string("  -") + option.alias + ", --" : "  --";
    text += std::string(option.name);
    if (!option.value.empty()) text += " " + std::string(option.value);
    return text;
  };
  std::size_t width = 0;
  for (const Option* option : all) width = std::max(width, left(*option).size());
  // Summaries wrap at word boundaries to fit 80 columns, under themselves.
  constexpr std::size_t kColumns = 79;
  const std::size_t room = width + 22 < kColumns ? kColumns - width - 2 : 20;
  std::string out;
  for (const Option* option : all) {
    std::string line = left(*option);
    line.resize(width + 2, ' ');
    std::string_view rest = option->summary;
    while (rest.size() > room) {
      std::size_t cut = rest.rfind(' ', room);
      if (cut == std::string_view::npos) cut = rest.find(' ');
      if (cut == std::string_view::npos) break;
      line += std::string(rest.substr(0, cut)) + "\n" + std::string(width + 2, ' ');
      rest.remove_prefix(cut + 1);
    }
    out += line + std::string(rest) + "\n";
  }
  return out;
}

std::optional<double> parsePositive(std::string_view text) {
  double value = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (text.empty() || error != std::errc() || stop != end || !std::isfinite(value) || value <= 0) {
    return std::nullopt;
  }
  return value;
}

}  // namespace chartxml::cli
