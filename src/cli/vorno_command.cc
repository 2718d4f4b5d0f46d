#include "cli/vorno_command.h"

#include "cli/command_spec.h"
#include "cli/help.h"
#include "cli/valid_text_output.h"
#include "kit/image/image_decode.h"
#include "kit/model/vorno_info.h"
#include "kit/util/program_location.h"
#include "kit/util/vorno_error.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

namespace vorno::cli {
namespace {

constexpr int usageStatus = 64;

// Holds the parsed text of every option while CLI11 parses; map nodes keep their addresses.
struct OptionStorage {
  std::map<std::pair<std::string, std::string>, std::string> strings;
  std::map<std::pair<std::string, std::string>, double> numbers;
  std::map<std::pair<std::string, std::string>, bool> flags;
  std::map<std::pair<std::string, std::string>, std::vector<std::string>> lists;
};

std::string cliFlags(const OptionSpec& option) {
  return option.shortFlag.empty() ? option.longFlag : option.shortFlag + "," + option.longFlag;
}

void addOptions(CLI::App& sub, const CommandSpec& command, OptionStorage& storage) {
  for (const auto& option : command.options) {
    std::pair key{command.name, option.field};
    CLI::Option* added = nullptr;
    switch (option.kind) {
      case OptionSpec::Kind::string:
        added = sub.add_option(cliFlags(option), storage.strings[key], option.help);
        break;
      case OptionSpec::Kind::positional:
        added = sub.add_option(option.field, storage.strings[key], option.help);
        break;
      case OptionSpec::Kind::number:
        added = sub.add_option(cliFlags(option), storage.numbers[key], option.help);
        break;
      case OptionSpec::Kind::flag:
        added = sub.add_flag(cliFlags(option), storage.flags[key], option.help);
        break;
      case OptionSpec::Kind::list:
        // One value per occurrence: "--target a --target b", never "--target a b".
        added = sub.add_option(cliFlags(option), storage.lists[key], option.help)->allow_extra_args(false);
        break;
    }
    if (option.required) added->required();
  }
}

ParsedArguments collect(const CLI::App& sub, const CommandSpec& command, OptionStorage& storage) {
  ParsedArguments args;
  for (const auto& option : command.options) {
    std::pair key{command.name, option.field};
    const std::string name = option.kind == OptionSpec::Kind::positional ? option.field : option.longFlag;
    bool given = sub.get_option(name)->count() > 0;
    switch (option.kind) {
      case OptionSpec::Kind::string:
      case OptionSpec::Kind::positional:
        if (given) {
          args.strings[option.field] = storage.strings[key];
        } else if (option.defaultValue) {
          args.strings[option.field] = *option.defaultValue;
        }
        break;
      case OptionSpec::Kind::number:
        if (given) args.numbers[option.field] = storage.numbers[key];
        break;
      case OptionSpec::Kind::flag: args.flags[option.field] = given; break;
      case OptionSpec::Kind::list:
        if (given) args.lists[option.field] = storage.lists[key];
        break;
    }
  }
  return args;
}

const CommandSpec* findCommand(const std::string& name) {
  for (const auto& command : commands())
    if (command.name == name) return &command;
  return nullptr;
}

// The command that was being parsed when parsing stopped, for help and usage lines.
const CommandSpec* parsedCommand(const CLI::App& app) {
  for (const auto* sub : app.get_subcommands())
    if (const auto* command = findCommand(sub->get_name())) return command;
  return nullptr;
}

int usageFailure(const std::string& message, const CommandSpec* command) {
  std::cerr << "Error: " << message << "\n" << usageLine(command) << "\n";
  return usageStatus;
}

}  // namespace

int run(int argc, char** argv) {
  const ValidTextOutput validText;  // names read from the disk may hold any bytes
  if (argc > 0) rememberProgramArgument(argv[0]);
  // Checks that read an image fill's pixels (text contrast over a photo) read them from the file.
  installImageLoaders();
  CLI::App app{rootAbstract, "vorno"};
  app.set_help_flag("-h,--help", "Show help information.");
  app.set_version_flag("--version", std::string(VornoInfo::version), "Show the version.");
  app.require_subcommand(0, 1);

  OptionStorage storage;
  for (const auto& command : commands()) {
    CLI::App* sub = app.add_subcommand(command.name, command.abstract);
    sub->set_help_flag("-h,--help", "Show help information.");
    addOptions(*sub, command, storage);
  }
  CLI::App* help = app.add_subcommand("help", "Show subcommand help information.");
  std::vector<std::string> helpTopics;
  help->add_option("subcommand", helpTopics);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const CommandSpec* command = parsedCommand(app);
    std::cout << (command ? commandHelp(*command) : rootHelp());
    return 0;
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << "\n";
    return 0;
  } catch (const CLI::ParseError& error) {
    return usageFailure(error.what(), parsedCommand(app));
  }

  if (help->parsed()) {
    if (helpTopics.empty()) {
      std::cout << rootHelp();
      return 0;
    }
    const CommandSpec* command = findCommand(helpTopics.front());
    if (!command || helpTopics.size() > 1) return usageFailure("Unknown subcommand: " + helpTopics.back(), nullptr);
    std::cout << commandHelp(*command);
    return 0;
  }

  const CommandSpec* command = parsedCommand(app);
  if (!command) {
    std::cout << rootHelp();
    return 0;
  }

  ParsedArguments args = collect(*app.get_subcommand(command->name), *command, storage);
  try {
    int status = command->run(args);
    std::cout.flush();
    return status;
  } catch (const UsageError& error) {
    std::cout.flush();
    return usageFailure(error.what(), command);
  } catch (const VornoError& error) {
    std::cout.flush();
    std::cerr << "Error: " << error.what() << "\n";
    return 1;
  } catch (const std::exception& error) {
    std::cout.flush();
    std::cerr << "Error: " << error.what() << "\n";
    return 1;
  }
}

}  // namespace vorno::cli
