#include "main_loop.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace robot {

namespace {

int checked(int descriptor) {
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
    }
    return descriptor;
}

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

int openSignals() {
    const sigset_t signals = endingSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return checked(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

}  // namespace

MainLoop::MainLoop()
    : fSignals(openSignals()), fWake(checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))) {
}

MainLoop::~MainLoop() {
    close(fWake);
    close(fSignals);
}

void MainLoop::post(std::function<void()> function, Clock::duration delay) {
    {
        const std::lock_guard lock(fMutex);
        fPosted.emplace(Clock::now() + delay, std::move(function));
    }
    // A full counter makes the write fail, and is readable as well.
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(fWake, &one, sizeof one);
}

void MainLoop::run() {
    for (;;) {
        std::array<pollfd, 2> waited{{{fSignals, POLLIN, 0}, {fWake, POLLIN, 0}}};
        poll(waited.data(), waited.size(), xMillisecondsToNext());
        signalfd_siginfo signal{};
        if (read(fSignals, &signal, sizeof signal) > 0) {
            return;
        }
        std::uint64_t wakes = 0;
        [[maybe_unused]] const ssize_t count = read(fWake, &wakes, sizeof wakes);
        xRunDue();
    }
}

int MainLoop::xMillisecondsToNext() {
    const std::lock_guard lock(fMutex);
    if (fPosted.empty()) {
        return -1;
    }
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(fPosted.begin()->first - Clock::now());
    return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 60000));
}

void MainLoop::xRunDue() {
    for (std::function<void()> function; xTakeNextDue(function);) {
        function();
    }
}

bool MainLoop::xTakeNextDue(std::function<void()>& function) {
    const std::lock_guard lock(fMutex);
    if (fPosted.empty() || fPosted.begin()->first > Clock::now()) {
        return false;
    }
    function = std::move(fPosted.begin()->second);
    fPosted.erase(fPosted.begin());
    return true;
}

}  // namespace robot
