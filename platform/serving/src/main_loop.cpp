#include "serving/main_loop.h"

#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>

#include <csignal>
#include <memory>
#include <utility>

namespace serving {

namespace {

using boost::system::error_code;

/** @param how SIG_BLOCK or SIG_UNBLOCK */
void changeSignals(int how) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(how, &signals, nullptr);
}

}  // namespace

MainLoop::MainLoop() : fSignals(fContext, SIGTERM, SIGINT) {
    changeSignals(SIG_BLOCK);
    fSignals.async_wait([this](const error_code& error, int) {
        if (!error) {
            fContext.stop();
        }
    });
}

void MainLoop::post(std::function<void()> function, Clock::duration delay) {
    if (delay <= Clock::duration::zero()) {
        boost::asio::post(fContext, std::move(function));
        return;
    }
    auto timer = std::make_shared<boost::asio::steady_timer>(fContext, delay);
    timer->async_wait([timer, function = std::move(function)](const error_code&) { function(); });
}

void MainLoop::run() {
    changeSignals(SIG_UNBLOCK);
    fContext.run();
    changeSignals(SIG_BLOCK);
}

}  // namespace serving
