#include <base/pacer.h>
#include <base/time.h>

#include <algorithm>
#include <cmath>

namespace base {

void Pacer::start(Clock::time_point now, double rate) {
    fStart = now;
    fRate = rate;
    fStep = 0;
}

void Pacer::setRate(Clock::time_point now, double rate) {
    if (rate == fRate) {
        return;
    }
    if (fStep == 0) {
        fRate = rate;
        return;
    }
    const auto last = fStart + steadyDuration(static_cast<double>(fStep - 1) / fRate);
    start(std::max(last, now - steadyDuration(1 / rate)), rate);
    fStep = 1;
}

Pacer::Clock::time_point Pacer::due() const {
    return fStart + steadyDuration(static_cast<double>(fStep) / fRate);
}

std::uint64_t Pacer::take(Clock::time_point now) {
    const std::chrono::duration<double> passed = now - fStart;
    const auto present = static_cast<std::int64_t>(std::floor(passed.count() * fRate));
    const std::int64_t leftOut = std::max(present - fStep, std::int64_t{0});
    fStep += leftOut + 1;
    return static_cast<std::uint64_t>(leftOut);
}

}  // namespace base
