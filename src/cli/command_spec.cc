#include "cli/command_spec.h"

#include "cli/commands.h"

namespace vorno::cli {

std::string OptionSpec::valueName() const {
  // "<all-variants>" style placeholders from the field name: camelCase to kebab.
  std::string name;
  for (char c : field) {
    if (c >= 'A' && c <= 'Z') {
      name += '-';
      name += static_cast<char>(c - 'A' + 'a');
    } else {
      name += c;
    }
  }
  return "<" + name + ">";
}

std::optional<std::string> ParsedArguments::string(const std::string& field) const {
  auto it = strings.find(field);
  if (it == strings.end()) return std::nullopt;
  return it->second;
}

std::optional<double> ParsedArguments::number(const std::string& field) const {
  auto it = numbers.find(field);
  if (it == numbers.end()) return std::nullopt;
  return it->second;
}

bool ParsedArguments::flag(const std::string& field) const {
  auto it = flags.find(field);
  return it != flags.end() && it->second;
}

std::vector<std::string> ParsedArguments::list(const std::string& field) const {
  auto it = lists.find(field);
  if (it == lists.end()) return {};
  return it->second;
}

namespace {

using Kind = OptionSpec::Kind;

OptionSpec projectOption() {
  return {"project", "-p", "--project", Kind::string, "Path to the .vorno package.", ".", false};
}

OptionSpec localeOption() {
  return {"locale", "-l", "--locale", Kind::string, "Locale. Defaults to the project's first locale.", {}, false};
}

std::vector<CommandSpec> makeCommands() {
  std::vector<CommandSpec> list;
  list.push_back({"mcp", "Run the MCP server on stdio.", {}, runMCP});
  list.push_back({"setup",
                  "Connect Vorno to Claude Code: install the skill and register the MCP server.",
                  {
                      {"project", "", "--project", Kind::string,
                       "Install the skill into this project's .claude/skills instead of your personal skills.", {}, false},
                      {"skillOnly", "", "--skill-only", Kind::flag, "Only install the skill; don't register the MCP server.", {},
                       false},
                  },
                  runSetup});
  list.push_back({"devices", "List device frames and booted simulators.", {}, runDevices});
  list.push_back({"render",
                  "Render one slide or creative to PNG.",
                  {
                      projectOption(),
                      {"slide", "-s", "--slide", Kind::string, "Slide or creative id. Defaults to the first slide.", {}, false},
                      {"target", "-t", "--target", Kind::string, "Target id, e.g. ios.iphone-6.9.", {}, false},
                      localeOption(),
                      {"out", "-o", "--out", Kind::string, "Output PNG path.", {}, false},
                      {"layers", "", "--layers", Kind::string,
                       "Also write each layer (background, then every element, back to front) as a PNG into this folder, with "
                       "layers.json.",
                       {}, false},
                      {"variant", "", "--variant", Kind::string, "Render this variant instead of the base.", {}, false},
                      {"guides", "", "--guides", Kind::flag,
                       "For a creative: outline its safe area and dim the rest (a preview, never for upload).", {}, false},
                      {"time", "", "--time", Kind::number,
                       "For a creative in motion: the moment to render, in seconds. Default: its poster frame.", {}, false},
                      {"filmstrip", "", "--filmstrip", Kind::flag, "For a creative in motion: frames across the loop in one image.",
                       {}, false},
                  },
                  runRender});
  list.push_back({"video",
                  "Render a creative in motion to its looping MP4.",
                  {
                      projectOption(),
                      {"creative", "-c", "--creative", Kind::string, "Creative id.", {}, true},
                      localeOption(),
                      {"out", "-o", "--out", Kind::string, "Output .mp4 path. Default: renders/<id>-<canvas>-<locale>.mp4.", {},
                       false},
                      {"variant", "", "--variant", Kind::string, "Render this variant instead of the base.", {}, false},
                  },
                  runVideo});
  list.push_back({"overview",
                  "Render all slides side by side and print the story outline.",
                  {
                      projectOption(),
                      {"target", "-t", "--target", Kind::string, "Target id. Defaults to the project's first target.", {}, false},
                      localeOption(),
                      {"out", "-o", "--out", Kind::string, "Output PNG path.", {}, false},
                      {"wordsOnly", "", "--words-only", Kind::flag, "Hide devices and images: read the words alone.", {}, false},
                      {"variant", "", "--variant", Kind::string, "Show this variant instead of the base.", {}, false},
                      {"allVariants", "", "--all-variants", Kind::flag,
                       "One sheet for the base and one per variant, to compare looks.", {}, false},
                  },
                  runOverview});
  list.push_back({"export",
                  "Render every slide for every target and locale.",
                  {
                      projectOption(),
                      {"layout", "", "--layout", Kind::string, "Folder layout: vorno or fastlane.", "vorno", false},
                      {"variant", "", "--variant", Kind::string,
                       "Export this variant instead of the base, into exports/variants/<id>/.", {}, false},
                      {"allVariants", "", "--all-variants", Kind::flag, "Export the base and every variant.", {}, false},
                      {"target", "-t", "--target", Kind::list,
                       "Export only this target or creative canvas; repeat for more. Default: the project's targets and "
                       "every canvas.",
                       {}, false},
                      {"locale", "-l", "--locale", Kind::list,
                       "Export only this locale; repeat for more. Default: the project's locales.", {}, false},
                  },
                  runExport});
  list.push_back({"variant-import",
                  "Store another package's look as a variant of this project: only what differs is kept.",
                  {
                      projectOption(),
                      {"id", "", "--id", Kind::string, "Variant id.", {}, true},
                      {"from", "", "--from", Kind::string, "The .vorno package whose project.json is the variant's look.", {},
                       true},
                      {"name", "", "--name", Kind::string, "Display name.", {}, false},
                  },
                  runVariantImport});
  list.push_back({"lint", "Check the project against store rules.", {projectOption()}, runLint});
  list.push_back({"capture",
                  "Screenshot a booted simulator into the project.",
                  {
                      projectOption(),
                      {"name", "", "name", Kind::positional, "Capture name, e.g. today.", {}, true},
                      {"device", "", "--device", Kind::string, "Simulator name or UDID. Defaults to the only booted one.", {},
                       false},
                      {"locale", "", "--locale", Kind::string, "Locale folder. Defaults to the project's first locale.", {}, false},
                      {"url", "", "--url", Kind::string, "Deep link to open before capturing.", {}, false},
                      {"platform", "", "--platform", Kind::string, "ios or android. Default: inferred.", {}, false},
                      {"video", "", "--video", Kind::number,
                       "Record the iOS simulator's screen for this many seconds into captures/<locale>/<name>.mov instead of a "
                       "screenshot.",
                       {}, false},
                  },
                  runCapture});
  return list;
}

}  // namespace

const std::vector<CommandSpec>& commands() {
  static const std::vector<CommandSpec> list = makeCommands();
  return list;
}

}  // namespace vorno::cli
