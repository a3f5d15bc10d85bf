#include "server_process.h"

#include "support/project_files.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace robaxi_test {

std::unique_ptr<obvista_test::ChildProcess> startServerProcess(int port) {
    auto process = std::make_unique<obvista_test::ChildProcess>(std::vector<std::string>{
        obvista_test::builtFile("tests/robaxi_test_server"), std::to_string(port)});
    if (!process->waitForOutput("ready\n")) {
        throw std::runtime_error("the robot did not start: " + process->output() +
                                 process->errors());
    }
    return process;
}

}  // namespace robaxi_test
