#ifndef OBVISTA_TESTS_SUPPORT_LESSER_ROBOT_PROCESS_H
#define OBVISTA_TESTS_SUPPORT_LESSER_ROBOT_PROCESS_H

#include "child_process.h"

namespace obvista_test {

/** A robot that offers less than programs expect (lesser_robot.cpp), in a separate process. */
class LesserRobotProcess {
  public:
    /** Starts it and waits until it listens. @throws std::runtime_error with its errors */
    LesserRobotProcess();

    int port() const { return fPort; }

  private:
    ChildProcess fProcess;
    int fPort = 0;
};

}  // namespace obvista_test

#endif
