#ifndef OBVISTA_BENCH_MEMORYVIEWER_MACHINE_WATCH_H
#define OBVISTA_BENCH_MEMORYVIEWER_MACHINE_WATCH_H

#include <atomic>
#include <thread>

namespace bench {

/**
 * Longest scheduling delay of a thread with next to nothing to do, a lower bound for the stalls of
 * any event loop on the machine.
 */
class MachineWatch {
  public:
    MachineWatch();
    ~MachineWatch();
    MachineWatch(const MachineWatch&) = delete;
    MachineWatch& operator=(const MachineWatch&) = delete;

    /** Returns the longest delay of a wake-up in milliseconds. */
    double longestDelay() const { return fLongest; }

  private:
    void xRun();

    std::atomic<double> fLongest{0};
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

}  // namespace bench

#endif
