#include "cli/help.h"

#include "cli/command_spec.h"

namespace vorno::cli {
namespace {

constexpr size_t helpColumn = 30;

std::string column(const std::string& left, const std::string& right) {
  std::string line = "  " + left;
  if (line.size() + 2 > helpColumn) {
    line += "\n" + std::string(helpColumn, ' ');
  } else {
    line.append(helpColumn - line.size(), ' ');
  }
  return line + right + "\n";
}

std::string flagsText(const OptionSpec& option) {
  if (option.kind == OptionSpec::Kind::positional) return option.valueName();
  std::string text = option.shortFlag.empty() ? option.longFlag : option.shortFlag + ", " + option.longFlag;
  if (option.kind != OptionSpec::Kind::flag) text += " " + option.valueName();
  return text;
}

std::string usageItem(const OptionSpec& option) {
  std::string item = option.kind == OptionSpec::Kind::positional ? option.valueName()
                     : option.kind == OptionSpec::Kind::flag     ? option.longFlag
                                                                 : option.longFlag + " " + option.valueName();
  return option.required ? item : "[" + item + "]";
}

}  // namespace

std::string usageLine(const CommandSpec* command) {
  if (!command) return "Usage: vorno <subcommand>";
  std::string line = "Usage: vorno " + command->name;
  for (const auto& option : command->options) line += " " + usageItem(option);
  return line;
}

std::string rootHelp() {
  std::string text = std::string(rootAbstract) + "\n\n" + usageLine(nullptr) + "\n\nOptions:\n";
  text += column("--version", "Show the version.");
  text += column("-h, --help", "Show help information.");
  text += "\nSubcommands:\n";
  for (const auto& command : commands()) text += column(command.name, command.abstract);
  text += column("help", "Show subcommand help information.");
  text += "\nSee 'vorno help <subcommand>' for detailed help.\n";
  return text;
}

std::string commandHelp(const CommandSpec& command) {
  std::string text = command.abstract + "\n\n" + usageLine(&command) + "\n";
  std::string arguments, options;
  for (const auto& option : command.options) {
    std::string help = option.help;
    if (option.defaultValue) help += " (default: " + *option.defaultValue + ")";
    (option.kind == OptionSpec::Kind::positional ? arguments : options) += column(flagsText(option), help);
  }
  options += column("-h, --help", "Show help information.");
  if (!arguments.empty()) text += "\nArguments:\n" + arguments;
  text += "\nOptions:\n" + options;
  return text;
}

}  // namespace vorno::cli
