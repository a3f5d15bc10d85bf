#include "lesser_robot_process.h"

#include "project_files.h"

#include <stdexcept>
#include <string>

namespace obvista_test {

LesserRobotProcess::LesserRobotProcess() : fProcess({builtFile("tests/lesser_robot")}) {
    if (!fProcess.waitForOutput("\n")) {
        throw std::runtime_error("lesser_robot does not start: " + fProcess.errors());
    }
    const std::string output = fProcess.output();
    fPort = std::stoi(output.substr(output.rfind(' ')));
}

}  // namespace obvista_test
