#ifndef OBVISTA_BENCH_BONJOUR_SIGHTING_TIMES_H
#define OBVISTA_BENCH_BONJOUR_SIGHTING_TIMES_H

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>

namespace bench {

using Clock = std::chrono::steady_clock;

/** When each of the robots came, or went; filled by one thread, waited for by another. */
class SightingTimes {
  public:
    /** Notes the present time for a robot, unless it has one. */
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

    /** Waits until there is a time of so many robots, and gives what there is when the bound is
     * over. */
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
