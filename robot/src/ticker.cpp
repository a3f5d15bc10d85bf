#include "ticker.h"

#include <algorithm>
#include <utility>

namespace robot {

Ticker::Ticker(std::chrono::microseconds period, std::function<void(std::uint64_t)> function)
    : fPeriod(period), fFunction(std::move(function)), fThread([this] { xRun(); }) {
}

Ticker::~Ticker() {
    {
        const std::lock_guard lock(fMutex);
        fStopping = true;
    }
    fWake.notify_all();
    fThread.join();
}

void Ticker::xRun() {
    const auto start = std::chrono::steady_clock::now();
    std::uint64_t step = 0;
    std::unique_lock lock(fMutex);
    while (!fStopping) {
        const auto late = (std::chrono::steady_clock::now() - start) / fPeriod;
        step = std::max(step + 1, static_cast<std::uint64_t>(late));
        const auto due = start + fPeriod * static_cast<std::int64_t>(step);
        if (fWake.wait_until(lock, due, [this] { return fStopping; })) {
            return;
        }
        lock.unlock();
        fFunction(step);
        lock.lock();
    }
}

}  // namespace robot
