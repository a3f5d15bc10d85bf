#ifndef OBVISTA_TESTS_ROBAXI_LATCH_H
#define OBVISTA_TESTS_ROBAXI_LATCH_H

#include "recording_listener.h"

#include <condition_variable>
#include <mutex>

namespace robaxi_test {

/** A gate for methods and callbacks, which wait in enter() until it is opened. */
class Latch {
  public:
    ~Latch() { open(); }

    /** Waits until the latch is open. */
    void enter() {
        std::unique_lock lock(fMutex);
        ++fEntered;
        fChanged.notify_all();
        fChanged.wait(lock, [this] { return fIsOpen; });
    }

    void open() {
        const std::lock_guard lock(fMutex);
        fIsOpen = true;
        fChanged.notify_all();
    }

    /** Waits for that many entries; returns false if they do not come. */
    bool waitForEntries(int count) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, a_patience, [&] { return fEntered >= count; });
    }

    int countEntries() {
        const std::lock_guard lock(fMutex);
        return fEntered;
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    int fEntered = 0;
    bool fIsOpen = false;
};

}  // namespace robaxi_test

#endif
