#ifndef OBVISTA_TESTS_SUPPORT_CHILD_PROCESS_H
#define OBVISTA_TESTS_SUPPORT_CHILD_PROCESS_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace obvista_test {

/**
 * A program that a test runs, with what it writes. It is killed when the object goes, or the
 * thread that made it.
 */
class ChildProcess {
  public:
    using Timeout = std::chrono::milliseconds;

    /** Long enough for every program on a loaded machine under a sanitizer. */
    static constexpr Timeout a_patience = std::chrono::seconds(60);

    /**
     * Starts a program with empty standard input.
     *
     * @param command the program, looked up in PATH, and its arguments
     * @throws std::system_error when no process can be made; a program that is not there ends with
     *         status 127
     */
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return fPid; }

    /** What it wrote to standard output, and to standard error, so far. */
    std::string output() const;
    std::string errors() const;

    /**
     * Waits until a text stands in its standard output (or error).
     *
     * @return false when it ended without it, or the time was over
     */
    bool waitForOutput(const std::string& text, Timeout timeout = a_patience);
    bool waitForErrors(const std::string& text, Timeout timeout = a_patience);

    /** Sends a signal; does nothing when it has ended. Returns from SIGSTOP when all its threads
     * have stopped. */
    void signal(int number);

    /**
     * Waits for its end and everything it wrote; not for programs that it started and left behind.
     *
     * @return its exit status, or the negative number of the signal that ended it; nothing when
     * the time was over
     */
    std::optional<int> waitForEnd(Timeout timeout = a_patience);

  private:
    struct Stream {
        int fDescriptor = -1;
        std::string fText;
    };

    bool xWaitFor(const Stream& stream, const std::string& text, Timeout timeout);
    bool xRead(Stream& stream);
    void xRun();

    pid_t fPid = -1;
    int fEnd = -1;              // readable when it has ended
    mutable std::mutex fMutex;  // guards all below
    std::condition_variable fChanged;
    Stream fOutput;
    Stream fErrors;
    std::optional<int> fStatus;
    std::thread fReader;
};

}  // namespace obvista_test

#endif
