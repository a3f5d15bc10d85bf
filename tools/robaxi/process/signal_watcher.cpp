#include "process/signal_watcher.h"

#include "process/exit_status.h"

#include <chrono>
#include <csignal>
#include <pthread.h>
#include <unistd.h>

namespace robaxi_tool {

namespace {

using boost::system::error_code;

constexpr std::chrono::milliseconds a_grace(500);

bool isIgnored(int signal) {
    struct sigaction action {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

SignalWatcher::SignalWatcher(Interruption& interruption) : fSignals(fContext), fGrace(fContext) {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    sigset_t watched;
    sigemptyset(&watched);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        if (!isIgnored(signal)) {
            fSignals.add(signal);
            sigaddset(&watched, signal);
        }
    }
    fSignals.async_wait([this, &interruption](const error_code& error, int signal) {
        if (error) {
            return;
        }
        interruption.interrupt(signal);
        fGrace.expires_after(a_grace);
        fGrace.async_wait([this, &interruption, signal](const error_code&) {
            if (!interruption.isCompleting()) {
                _exit(exitStatusOfSignal(signal));
            }
            fSignals.async_wait(
                [](const error_code&, int second) { _exit(exitStatusOfSignal(second)); });
        });
    });
    fThread = std::thread([this] { fContext.run(); });
    pthread_sigmask(SIG_BLOCK, &watched, nullptr);  // so that they interrupt that thread only
}

SignalWatcher::~SignalWatcher() {
    fContext.stop();
    fThread.join();
}

}  // namespace robaxi_tool
