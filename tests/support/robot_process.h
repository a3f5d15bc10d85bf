#ifndef OBVISTA_TESTS_SUPPORT_ROBOT_PROCESS_H
#define OBVISTA_TESTS_SUPPORT_ROBOT_PROCESS_H

#include "child_process.h"
#include "free_port.h"

#include <memory>
#include <string>
#include <vector>

namespace obvista_test {

/** A robaxi-robot on loopback, not announced. It is killed when the object is destroyed. */
class RobotProcess {
  public:
    struct Settings {
        std::vector<std::string> fArguments;  ///< further options, for instance {"--seed", "7"}
        bool fHttp = false;                   ///< serve HTTP too
        bool fSim = false;                    ///< serve KVSim on a separate port
        int fPort = 0;                        ///< 0 for a free one
    };

    /**
     * Starts it and waits until it can be reached.
     *
     * @throws std::runtime_error with its output if it does not start
     */
    RobotProcess();
    explicit RobotProcess(const Settings& settings);

    static const char* address() { return "127.0.0.1"; }
    int port() const { return fPort; }
    int httpPort() const { return fHttpPort; }  ///< 0 without HTTP
    int simPort() const { return fSimPort; }    ///< 0 without it

    /** Returns the process, for its output, signals and exit. */
    ChildProcess& process() { return *fProcess; }

    /** Kills it like a power cut, without a goodbye, and returns when it is gone. */
    void kill();

    /** Suspends it without closing connections, and resumes it. */
    void suspend();
    void resume();

    /** Terminates it. @return its exit status; nothing if it did not exit in time */
    std::optional<int> terminate();

    /** Returns the path of the program. */
    static std::string program();

  private:
    bool xTryToStart(const Settings& settings);

    std::unique_ptr<ChildProcess> fProcess;
    int fPort = 0;
    int fHttpPort = 0;
    int fSimPort = 0;
};

}  // namespace obvista_test

#endif
