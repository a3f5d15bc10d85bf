#ifndef OBVISTA_TESTS_TOOLS_TOOL_PROCESS_H
#define OBVISTA_TESTS_TOOLS_TOOL_PROCESS_H

#include "child_process.h"

#include <string>
#include <vector>

namespace obvista_test {

/** Returns the command line that starts "robaxi" with the arguments. */
std::vector<std::string> toolCommand(const std::vector<std::string>& arguments);

struct ToolResult {
    int fStatus = -1;
    std::string fOutput;
    std::string fErrors;
};

/** Runs "robaxi" and waits for its end. The test fails if it does not end. */
ToolResult runTool(const std::vector<std::string>& arguments);

}  // namespace obvista_test

#endif
