#ifndef OBVISTA_TESTS_VIEWER_PROCESS_COMMAND_H
#define OBVISTA_TESTS_VIEWER_PROCESS_COMMAND_H

#include <string>
#include <vector>

namespace obvista_test {

/**
 * Returns the command that runs viewer_process, for the viewer under test, with a robot on this
 * machine.
 */
std::vector<std::string> viewerProcess(const std::string& mode, int robotPort);

}  // namespace obvista_test

#endif
