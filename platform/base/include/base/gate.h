#ifndef BASE_GATE_H
#define BASE_GATE_H

#include <mutex>
#include <utility>

namespace base {

/**
 * A passage for calls from one object to another that can be closed, so that an object whose end
 * takes too long can be left to a thread while its callbacks' targets are destroyed.
 */
class Gate {
  public:
    /** Makes the call unless the gate is closed; one call at a time. */
    template <class Call>
    void pass(Call&& call) {
        const std::lock_guard lock(fMutex);
        if (!fIsClosed) {
            std::forward<Call>(call)();
        }
    }

    /** Returns when no call is running, and none will be made. Must not be called by a call. */
    void close() {
        const std::lock_guard lock(fMutex);
        fIsClosed = true;
    }

  private:
    std::mutex fMutex;  ///< held while a call runs
    bool fIsClosed = false;
};

}  // namespace base

#endif
