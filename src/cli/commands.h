// The run operation of each command: a thin driver of the library that prints for a person.
#pragma once

namespace vorno::cli {

struct ParsedArguments;

int runMCP(const ParsedArguments& args);
int runSetup(const ParsedArguments& args);
int runDevices(const ParsedArguments& args);
int runRender(const ParsedArguments& args);
int runVideo(const ParsedArguments& args);
int runOverview(const ParsedArguments& args);
int runExport(const ParsedArguments& args);
int runVariantImport(const ParsedArguments& args);
int runLint(const ParsedArguments& args);
int runCapture(const ParsedArguments& args);

}  // namespace vorno::cli
