#include "server/expiry_warning.h"

#include <utility>

namespace robaxi {

ExpiryWarning::ExpiryWarning(std::shared_ptr<TimerThread> timers,
                             std::chrono::system_clock::time_point expiry,
                             std::chrono::milliseconds period, std::function<void()> warn)
    : fExpiry(expiry),
      fPeriod(period),
      fWarn(std::move(warn)),
      fTimer(std::move(timers), [this] { xCheck(); }) {
    xCheck();
}

void ExpiryWarning::xCheck() {
    if (std::chrono::system_clock::now() >= fExpiry) {
        fWarn();
    }
    fTimer.startAt(TimerThread::Clock::now() + fPeriod);
}

}  // namespace robaxi
