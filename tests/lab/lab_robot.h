#ifndef OBVISTA_TESTS_LAB_LAB_ROBOT_H
#define OBVISTA_TESTS_LAB_LAB_ROBOT_H

#include "lab_control.h"
#include "robot_process.h"

#include <string>

namespace obvista_test::lab {

/**
 * Adds a host with a robot that is not announced and whose values all change 50 times a second.
 * Returns when it can be reached.
 */
inline void addBusyRobot(const std::string& host, const std::string& address, int port, int keys) {
    const std::string number = std::to_string(keys);
    control({"add",
             host,
             "--address",
             address,
             "--ready",
             "listens on",
             "--",
             RobotProcess::program(),
             "--address",
             "0.0.0.0",
             "--port",
             std::to_string(port),
             "--http-port",
             "0",
             "--no-announce",
             "--keys",
             number,
             "--changing",
             number,
             "--rate",
             "50"});
}

}  // namespace obvista_test::lab

#endif
