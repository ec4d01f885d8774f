#pragma once

#include "cli/commandline.h"

namespace Cli {

// Runs a parsed command; answers the exit status.
int runCommand(const CommandLine& line);

} // namespace Cli
