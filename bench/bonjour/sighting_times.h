#ifndef OBVISTA_BENCH_BONJOUR_SIGHTING_TIMES_H
#define OBVISTA_BENCH_BONJOUR_SIGHTING_TIMES_H

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

namespace bench {

using Clock = std::chrono::steady_clock;

/**
 * Times at which robots appeared or disappeared; one thread adds them, another one waits for them.
 */
class SightingTimes {
  public:
    /** Records the current time for a robot, unless it already has one. */
    void add(const std::string& robot) {
        const Clock::time_point now = Clock::now();
        const std::lock_guard<std::mutex> lock(fMutex);
        fTimes.insert({robot, now});
        fChanged.notify_all();
    }

    void clear() {
        const std::lock_guard<std::mutex> lock(fMutex);
        fTimes.clear();
    }

    /**
     * Waits until there are times of `count` robots; returns the existing ones after the time-out.
     */
    std::map<std::string, Clock::time_point> waitFor(std::size_t count,
                                                     std::chrono::seconds bound) const {
        std::unique_lock<std::mutex> lock(fMutex);
        fChanged.wait_for(lock, bound, [this, count] { return fTimes.size() >= count; });
        return fTimes;
    }

  private:
    mutable std::mutex fMutex;
    mutable std::condition_variable fChanged;
    std::map<std::string, Clock::time_point> fTimes;
};

}  // namespace bench

#endif
