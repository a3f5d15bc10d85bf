#ifndef OBVISTA_BENCH_MEMORYVIEWER_MEMORY_SLOPE_H
#define OBVISTA_BENCH_MEMORYVIEWER_MEMORY_SLOPE_H

#include <chrono>
#include <sys/types.h>
#include <vector>

namespace bench {

/** Growth of a process's resident memory: the slope of a line fitted to samples. */
class MemorySlope {
  public:
    explicit MemorySlope(pid_t process) : fProcess(process) {}

    /** Takes a sample, at most once a second. */
    void look();
    double megabytesAnHour() const;

  private:
    using Clock = std::chrono::steady_clock;
    struct Point {
        double fSeconds;
        double fMegabytes;
    };

    pid_t fProcess;
    Clock::time_point fBegin = Clock::now();
    std::vector<Point> fPoints;
};

}  // namespace bench

#endif
