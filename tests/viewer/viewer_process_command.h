#ifndef OBVISTA_TESTS_VIEWER_PROCESS_COMMAND_H
#define OBVISTA_TESTS_VIEWER_PROCESS_COMMAND_H

#include <QString>

#include <string>
#include <vector>

namespace obvista_test {

/** Returns the command that runs a plugin's viewer_process with a robot on this machine. */
std::vector<std::string> viewerProcess(const QString& plugin, const std::string& mode,
                                       int robotPort);

}  // namespace obvista_test

#endif
