#include "process/bell.h"

namespace robaxi_tool {

Bell::Bell(Interruption& interruption)
    : fInterruption(interruption), fHandler(interruption, [this] { ring(); }) {
}

void Bell::ring() {
    const std::lock_guard lock(fMutex);
    ++fRings;
    fRang.notify_all();
}

bool Bell::waitUntil(Clock::time_point deadline, const std::function<bool()>& condition) {
    std::unique_lock lock(fMutex);
    for (;;) {
        const std::uint64_t seen = fRings;
        lock.unlock();
        fInterruption.check();
        if (condition()) {
            return true;
        }
        lock.lock();
        if (!fRang.wait_until(lock, deadline, [&] { return fRings != seen; })) {
            return false;
        }
    }
}

void Bell::sleepUntil(Clock::time_point deadline) {
    waitUntil(deadline, [] { return false; });
}

}  // namespace robaxi_tool
