#include "process/signal_watcher.h"

#include "process/exit_status.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace robaxi_tool {

namespace {

constexpr int a_graceMilliseconds = 500;
constexpr int a_forever = -1;

bool isIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

sigset_t watchedSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(signal)) {
            sigaddset(&set, signal);
        }
    }
    return set;
}

int checked(int descriptor) {
    if (descriptor < 0) {
        throw std::system_error(errno, std::generic_category(), "signals cannot be watched");
    }
    return descriptor;
}

}  // namespace

SignalWatcher::SignalWatcher(Interruption& interruption) : fInterruption(interruption) {
    std::signal(SIGPIPE, SIG_IGN);
    const sigset_t set = watchedSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    fSignals = checked(signalfd(-1, &set, SFD_CLOEXEC));
    fEnd = checked(eventfd(0, EFD_CLOEXEC));
    fThread = std::thread([this] { xRun(); });
}

SignalWatcher::~SignalWatcher() {
    eventfd_write(fEnd, 1);
    fThread.join();
    close(fEnd);
    close(fSignals);
}

void SignalWatcher::xRun() {
    std::array<pollfd, 2> waited{{{fSignals, POLLIN, 0}, {fEnd, POLLIN, 0}}};
    while (poll(waited.data(), waited.size(), a_forever) < 0) {
    }
    signalfd_siginfo received{};
    if (waited[1].revents != 0 || read(fSignals, &received, sizeof received) != sizeof received) {
        return;
    }
    const int signal = static_cast<int>(received.ssi_signo);
    fInterruption.interrupt(signal);
    if (poll(&waited[1], 1, a_graceMilliseconds) == 0) {
        _exit(exitStatusOfSignal(signal));
    }
}

}  // namespace robaxi_tool
