#ifndef OBVISTA_BENCH_MEMORYVIEWER_MACHINE_WATCH_H
#define OBVISTA_BENCH_MEMORYVIEWER_MACHINE_WATCH_H

#include <atomic>
#include <thread>

namespace bench {

/** How long the machine keeps a thread from running that has next to nothing to do: what no event
 *  loop on it can do without. */
class MachineWatch {
  public:
    MachineWatch();
    ~MachineWatch();
    MachineWatch(const MachineWatch&) = delete;
    MachineWatch& operator=(const MachineWatch&) = delete;

    /** Milliseconds by which it woke too late, at most. */
    double longestDelay() const { return fLongest; }

  private:
    void xRun();

    std::atomic<double> fLongest{0};
    std::atomic<bool> fStop{false};
    std::thread fThread;
};

}  // namespace bench

#endif
