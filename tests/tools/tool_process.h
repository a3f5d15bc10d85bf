#ifndef OBVISTA_TESTS_TOOLS_TOOL_PROCESS_H
#define OBVISTA_TESTS_TOOLS_TOOL_PROCESS_H

#include "child_process.h"

#include <string>
#include <vector>

namespace obvista_test {

/** The command line that starts "robaxi" with the arguments. */
std::vector<std::string> toolCommand(const std::vector<std::string>& arguments);

struct ToolResult {
    int fStatus = -1;
    std::string fOutput;
    std::string fErrors;
};

/** Runs "robaxi" to its end. The test fails when it does not end. */
ToolResult runTool(const std::vector<std::string>& arguments);

}  // namespace obvista_test

#endif
