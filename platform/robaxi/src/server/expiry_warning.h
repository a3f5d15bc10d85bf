#ifndef ROBAXI_EXPIRY_WARNING_H
#define ROBAXI_EXPIRY_WARNING_H

#include "timer_thread.h"

#include <chrono>
#include <functional>
#include <memory>

namespace robaxi {

/**
 * Warns that a certificate has expired: at once, and again after each period while it exists. A
 * certificate may also expire later.
 */
class ExpiryWarning {
  public:
    /** @param warn called on the constructing thread and on the timer thread */
    ExpiryWarning(std::shared_ptr<TimerThread> timers, std::chrono::system_clock::time_point expiry,
                  std::chrono::milliseconds period, std::function<void()> warn);
    ExpiryWarning(const ExpiryWarning&) = delete;
    ExpiryWarning& operator=(const ExpiryWarning&) = delete;

  private:
    void xCheck();

    const std::chrono::system_clock::time_point fExpiry;
    const std::chrono::milliseconds fPeriod;
    const std::function<void()> fWarn;
    Timer fTimer;
};

}  // namespace robaxi

#endif
