// The command tree as data: every command's name, abstract and options in the order help lists
// them. The parser, the help text and the usage line are all built from this one table.
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorno::cli {

struct OptionSpec {
  enum class Kind { string, number, flag, positional, list };  ///< list: a string option given any number of times

  std::string field;      ///< the record's field name, e.g. "allVariants"
  std::string shortFlag;  ///< "-p", or empty
  std::string longFlag;   ///< "--project"; for a positional, its value name
  Kind kind = Kind::string;
  std::string help;
  std::optional<std::string> defaultValue;
  bool required = false;

  /// "<project>": the value's placeholder in help and usage.
  std::string valueName() const;
};

/// The values one run parsed, by field name.
struct ParsedArguments {
  std::map<std::string, std::string> strings;
  std::map<std::string, double> numbers;
  std::map<std::string, bool> flags;
  std::map<std::string, std::vector<std::string>> lists;

  std::optional<std::string> string(const std::string& field) const;
  std::optional<double> number(const std::string& field) const;
  bool flag(const std::string& field) const;
  /// The values of a repeatable option in the order given; empty when it wasn't given.
  std::vector<std::string> list(const std::string& field) const;
};

/// A validation error a command raises itself: exit 64 with the usage line, like a parse error.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct CommandSpec {
  std::string name;
  std::string abstract;
  std::vector<OptionSpec> options;
  /// Runs the command and returns its exit status; throws VornoError or UsageError.
  std::function<int(const ParsedArguments&)> run;
};

/// The subcommands of `vorno`, in the order help lists them.
const std::vector<CommandSpec>& commands();

inline constexpr const char* rootAbstract = "Store screenshots your agent can drive.";

}  // namespace vorno::cli
