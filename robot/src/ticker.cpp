#include "ticker.h"

#include <algorithm>
#include <utility>

namespace robot {

Ticker::Ticker(std::chrono::microseconds period, std::function<void(std::uint64_t)> function)
    : fPeriod(period), fFunction(std::move(function)), fTimer(fContext) {
    xWait();
    fThread = std::thread([this] { fContext.run(); });
}

Ticker::~Ticker() {
    fContext.stop();
    fThread.join();
}

void Ticker::xWait() {
    const auto late = (std::chrono::steady_clock::now() - fStart) / fPeriod;
    fStep = std::max(fStep + 1, static_cast<std::uint64_t>(late));
    fTimer.expires_at(fStart + fPeriod * static_cast<std::int64_t>(fStep));
    fTimer.async_wait([this](const boost::system::error_code&) {
        fFunction(fStep);
        xWait();
    });
}

}  // namespace robot
