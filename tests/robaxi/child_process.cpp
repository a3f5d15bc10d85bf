#include "child_process.h"

#include <cerrno>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace robaxi_test {

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    const int error =
        ::posix_spawn(&fPid, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    fPipe = ends[0];
    if (error != 0) {
        ::close(fPipe);
        throw std::runtime_error("cannot start " + command.front());
    }
}

ChildProcess::~ChildProcess() {
    if (!fIsFinished) {
        signal(SIGKILL);
        finish();
    }
    ::close(fPipe);
}

void ChildProcess::signal(int number) const {
    ::kill(fPid, number);
    if (number == SIGSTOP) {
        // Its threads stop one after another, and one that still runs could answer a test.
        siginfo_t info{};
        ::waitid(P_PID, static_cast<id_t>(fPid), &info, WSTOPPED | WEXITED | WNOWAIT);
    }
}

bool ChildProcess::xReadSome() {
    char buffer[4096];
    ssize_t size = 0;
    do {
        size = ::read(fPipe, buffer, sizeof buffer);
    } while (size < 0 && errno == EINTR);
    if (size > 0) {
        fOutput.append(buffer, static_cast<std::size_t>(size));
    }
    return size > 0;
}

bool ChildProcess::readUntil(const std::string& line) {
    while (("\n" + fOutput).find("\n" + line + "\n") == std::string::npos) {
        if (!xReadSome()) {
            return false;
        }
    }
    return true;
}

int ChildProcess::finish() {
    if (fIsFinished) {
        return fStatus;
    }
    while (xReadSome()) {
    }
    while (::waitpid(fPid, &fStatus, 0) < 0 && errno == EINTR) {
    }
    fIsFinished = true;
    return fStatus;
}

}  // namespace robaxi_test
