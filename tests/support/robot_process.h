#ifndef OBVISTA_TESTS_SUPPORT_ROBOT_PROCESS_H
#define OBVISTA_TESTS_SUPPORT_ROBOT_PROCESS_H

#include "child_process.h"
#include "free_port.h"

#include <memory>
#include <string>
#include <vector>

namespace obvista_test {

/**
 * A robaxi-robot that runs on loopback beside a test, unannounced. It is killed when the object
 * goes.
 */
class RobotProcess {
  public:
    struct Settings {
        std::vector<std::string> fArguments;  ///< further options, for instance {"--seed", "7"}
        bool fHttp = false;                   ///< serve HTTP too
        bool fSim = false;                    ///< serve KVSim on a port of its own too
        int fPort = 0;                        ///< 0 for a free one
    };

    /**
     * Starts it and waits until it can be reached.
     *
     * @throws std::runtime_error with what it wrote when it does not start
     */
    RobotProcess();
    explicit RobotProcess(const Settings& settings);

    static const char* address() { return "127.0.0.1"; }
    int port() const { return fPort; }
    int httpPort() const { return fHttpPort; }  ///< 0 without HTTP
    int simPort() const { return fSimPort; }    ///< 0 without it

    /** The program itself: its output, its signals, its end. */
    ChildProcess& process() { return *fProcess; }

    /** Kills it without a word, as a power cut would, and returns when it is gone. */
    void kill();

    /** Lets it fall silent without closing anything, and go on again. */
    void suspend();
    void resume();

    /** Asks it to end. @return its exit status; nothing when it did not end in time */
    std::optional<int> terminate();

    /** The program with which it is started. */
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
