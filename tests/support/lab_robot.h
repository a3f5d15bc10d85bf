#ifndef OBVISTA_TESTS_SUPPORT_LAB_ROBOT_H
#define OBVISTA_TESTS_SUPPORT_LAB_ROBOT_H

#include "lab_control.h"
#include "robot_process.h"

#include <string>
#include <vector>

namespace obvista_test::lab {

/**
 * Adds a host with a robot that is not announced. Returns when it can be reached.
 *
 * @param options further options of robaxi-robot
 */
inline void addRobot(const std::string& host, const std::string& address, int port,
                     const std::vector<std::string>& options) {
    std::vector<std::string> command{
        "add",         host,         "--address",    address,
        "--ready",     "listens on", "--",           RobotProcess::program(),
        "--address",   "0.0.0.0",    "--port",       std::to_string(port),
        "--http-port", "0",          "--no-announce"};
    command.insert(command.end(), options.begin(), options.end());
    control(command);
}

/**
 * Adds a host with a robot that is not announced and whose values all change 50 times a second.
 * Returns when it can be reached.
 */
inline void addBusyRobot(const std::string& host, const std::string& address, int port, int keys) {
    const std::string number = std::to_string(keys);
    addRobot(host, address, port, {"--keys", number, "--changing", number, "--rate", "50"});
}

}  // namespace obvista_test::lab

#endif
