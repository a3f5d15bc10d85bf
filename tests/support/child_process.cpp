#include "child_process.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace obvista_test {

namespace {

constexpr int a_notFound = 127;

void check(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

struct Pipe {
    Pipe() { check(pipe2(fEnds.data(), O_CLOEXEC), "pipe"); }
    ~Pipe() { closeEnd(1); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeEnd(std::size_t end) {
        if (fEnds[end] >= 0) {
            close(fEnds[end]);
            fEnds[end] = -1;
        }
    }

    std::array<int, 2> fEnds{-1, -1};
};

/** Runs in the child between fork and exec, where only a few functions are allowed. */
[[noreturn]] void becomeProgram(char* const* arguments, int output, int errors) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int input = open("/dev/null", O_RDONLY);
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(errors, STDERR_FILENO);
    execvp(arguments[0], arguments);
    _exit(a_notFound);
}

int statusOf(int waited) {
    return WIFEXITED(waited) ? WEXITSTATUS(waited) : -WTERMSIG(waited);
}

}  // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    std::vector<std::string> copies = command;
    std::vector<char*> arguments;
    arguments.reserve(copies.size() + 1);
    for (std::string& argument : copies) {
        arguments.push_back(argument.data());
    }
    arguments.push_back(nullptr);
    Pipe output;
    Pipe errors;
    fPid = fork();
    check(fPid, "fork");
    if (fPid == 0) {
        becomeProgram(arguments.data(), output.fEnds[1], errors.fEnds[1]);
    }
    fOutput.fDescriptor = output.fEnds[0];
    fErrors.fDescriptor = errors.fEnds[0];
    output.closeEnd(1);
    errors.closeEnd(1);
    fEnd = static_cast<int>(syscall(SYS_pidfd_open, fPid, 0));
    check(fEnd, "pidfd_open");
    fReader = std::thread([this] { xRun(); });
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    fReader.join();
    close(fOutput.fDescriptor);
    close(fErrors.fDescriptor);
    close(fEnd);
}

std::string ChildProcess::output() const {
    const std::lock_guard lock(fMutex);
    return fOutput.fText;
}

std::string ChildProcess::errors() const {
    const std::lock_guard lock(fMutex);
    return fErrors.fText;
}

bool ChildProcess::waitForOutput(const std::string& text, Timeout timeout) {
    return xWaitFor([&] { return fOutput.fText.find(text) != std::string::npos; }, timeout);
}

bool ChildProcess::waitForErrors(const std::string& text, Timeout timeout) {
    return xWaitFor([&] { return fErrors.fText.find(text) != std::string::npos; }, timeout);
}

bool ChildProcess::waitForMoreOutput(std::size_t bytes, Timeout timeout) {
    return xWaitFor([&] { return fOutput.fText.size() > bytes; }, timeout);
}

void ChildProcess::signal(int number) {
    const std::lock_guard lock(fMutex);
    if (fStatus) {
        return;
    }
    kill(fPid, number);
    if (number == SIGSTOP) {
        // Its threads stop one after another, and one that is still running could answer a test.
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(fPid), &info, WSTOPPED | WEXITED | WNOWAIT);
    }
}

std::optional<int> ChildProcess::waitForEnd(Timeout timeout) {
    std::unique_lock lock(fMutex);
    fChanged.wait_for(lock, timeout, [this] { return fStatus.has_value(); });
    return fStatus;
}

bool ChildProcess::xWaitFor(const std::function<bool()>& condition, Timeout timeout) {
    std::unique_lock lock(fMutex);
    fChanged.wait_for(lock, timeout, [&] { return condition() || fStatus; });
    return condition();
}

bool ChildProcess::xRead(Stream& stream) {
    std::array<char, 4096> buffer{};
    const ssize_t count = read(stream.fDescriptor, buffer.data(), buffer.size());
    const std::lock_guard lock(fMutex);
    if (count > 0) {
        stream.fText.append(buffer.data(), static_cast<std::size_t>(count));
    }
    fChanged.notify_all();
    return count > 0;
}

void ChildProcess::xRun() {
    // Processes started by the program may outlive it and keep the other ends of the pipes open, so
    // that their end may never come.
    std::array<pollfd, 3> waited{
        {{fOutput.fDescriptor, POLLIN, 0}, {fErrors.fDescriptor, POLLIN, 0}, {fEnd, POLLIN, 0}}};
    bool isRunning = true;
    while (waited[0].fd >= 0 || waited[1].fd >= 0) {
        const int count = poll(waited.data(), waited.size(), isRunning ? -1 : 0);
        if (count <= 0 && !isRunning) {
            break;
        }
        if (waited[0].revents != 0 && !xRead(fOutput)) {
            waited[0].fd = -1;
        }
        if (waited[1].revents != 0 && !xRead(fErrors)) {
            waited[1].fd = -1;
        }
        if (waited[2].revents != 0) {
            isRunning = false;
            waited[2].fd = -1;
        }
    }
    // The number must not be given to another process while signal() may use it.
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(fPid), &info, WEXITED | WNOWAIT);
    const std::lock_guard lock(fMutex);
    int waitedStatus = 0;
    waitpid(fPid, &waitedStatus, 0);
    fStatus = statusOf(waitedStatus);
    fChanged.notify_all();
}

}  // namespace obvista_test
