#pragma once

#include <string>
#include <vector>

namespace TestSupport {

struct ToolRun {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Runs the built metamodel tool with the arguments, no standard input, and the installation
// folders pointed at `appDir` (empty: a folder that does not exist) so that runs do not depend
// on the machine.
ToolRun runTool(const std::vector<std::string>& arguments, const std::string& appDir = "");

} // namespace TestSupport
