#ifndef OBVISTA_TESTS_ROBAXI_SERVER_PROCESS_H
#define OBVISTA_TESTS_ROBAXI_SERVER_PROCESS_H

#include "child_process.h"

#include <memory>

namespace robaxi_test {

/**
 * Starts a robot in a separate process (test_server.cpp) and waits until it listens.
 *
 * @throws std::runtime_error if it does not start
 */
std::unique_ptr<obvista_test::ChildProcess> startServerProcess(int port);

}  // namespace robaxi_test

#endif
