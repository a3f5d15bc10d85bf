#include "net/return_probe.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <poll.h>
#include <vector>

namespace robaxi {

namespace {

/** With four attempts a second, an attempt ends before the system would repeat it. */
constexpr std::size_t a_mostAttempts = 4;

}  // namespace

void ReturnProbe::start() {
    fAttempts.emplace_back(fAddress);
    if (fAttempts.size() > a_mostAttempts) {
        fAttempts.pop_front();
    }
}

ReturnProbe::Outcome ReturnProbe::poll() {
    std::vector<pollfd> polled;
    polled.reserve(fAttempts.size());
    for (const ConnectAttempt& attempt : fAttempts) {
        polled.push_back(attempt.toPoll());
    }
    if (::poll(polled.data(), polled.size(), 0) > 0) {
        for (std::size_t i = 0; i < polled.size(); ++i) {
            if (polled[i].revents != 0) {
                fAttempts[i].readOutcome();
            }
        }
    }
    const auto has = [this](int error) {
        return std::any_of(fAttempts.begin(), fAttempts.end(),
                           [error](const ConnectAttempt& each) { return each.error() == error; });
    };
    const Outcome outcome = has(0)              ? Outcome::Connected
                            : has(ECONNREFUSED) ? Outcome::Refused
                                                : Outcome::Pending;
    if (outcome != Outcome::Pending) {
        stop();
    }
    return outcome;
}

}  // namespace robaxi
