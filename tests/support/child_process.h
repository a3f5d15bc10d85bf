#ifndef OBVISTA_TESTS_SUPPORT_CHILD_PROCESS_H
#define OBVISTA_TESTS_SUPPORT_CHILD_PROCESS_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace obvista_test {

/**
 * A program run by a test, with its output. It is killed when the object is destroyed, or when the
 * thread that created it ends.
 */
class ChildProcess {
  public:
    using Timeout = std::chrono::milliseconds;

    /** Sufficient for every program on a loaded machine under a sanitizer. */
    static constexpr Timeout a_patience = std::chrono::seconds(60);

    /**
     * Starts a program with empty standard input.
     *
     * @param command the program, looked up in PATH, and its arguments
     * @throws std::system_error if no process can be created; a missing program exits with status
     *         127
     */
    explicit ChildProcess(const std::vector<std::string>& command);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return fPid; }

    /** Returns the output so far, to standard output or standard error. */
    std::string output() const;
    std::string errors() const;

    /**
     * Waits for a text in its standard output (or error).
     *
     * @return false if it exited without the text, or the time was over
     */
    bool waitForOutput(const std::string& text, Timeout timeout = a_patience);
    bool waitForErrors(const std::string& text, Timeout timeout = a_patience);

    /**
     * Waits until its standard output has more than so many bytes.
     *
     * @return false if it exited without, or the time was over
     */
    bool waitForMoreOutput(std::size_t bytes, Timeout timeout = a_patience);

    /**
     * Sends a signal; does nothing if it has exited. For SIGSTOP, returns when all its threads have
     * stopped.
     */
    void signal(int number);

    /**
     * Waits until it has exited and all its output is read, but not for processes that it left
     * behind.
     *
     * @return its exit status, or the negative number of the signal that ended it; nothing if the
     *         time was over
     */
    std::optional<int> waitForEnd(Timeout timeout = a_patience);

  private:
    struct Stream {
        int fDescriptor = -1;
        std::string fText;
    };

    bool xWaitFor(const std::function<bool()>& condition, Timeout timeout);
    bool xRead(Stream& stream);
    void xRun();

    pid_t fPid = -1;
    int fEnd = -1;              // readable when it has exited
    mutable std::mutex fMutex;  // guards all members below
    std::condition_variable fChanged;
    Stream fOutput;
    Stream fErrors;
    std::optional<int> fStatus;
    std::thread fReader;
};

}  // namespace obvista_test

#endif
