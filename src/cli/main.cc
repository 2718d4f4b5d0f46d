#include "cli/vorno_command.h"

int main(int argc, char** argv) { return vorno::cli::run(argc, argv); }
