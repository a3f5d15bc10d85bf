#include "tool_process.h"

#include "project_files.h"

#include <gtest/gtest.h>

namespace obvista_test {

std::vector<std::string> toolCommand(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{builtFile("bin/robaxi")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

ToolResult runTool(const std::vector<std::string>& arguments) {
    ChildProcess process(toolCommand(arguments));
    const std::optional<int> status = process.waitForEnd();
    EXPECT_TRUE(status.has_value()) << "robaxi did not end";
    return {status.value_or(-1), process.output(), process.errors()};
}

}  // namespace obvista_test
