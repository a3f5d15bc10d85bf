#ifndef ROBAXI_WRITE_GATE_H
#define ROBAXI_WRITE_GATE_H

#include <mutex>
#include <utility>

namespace robaxi {

/**
 * Admits one write at a time to a gRPC stream, and none after its end was decided: a stream may be
 * finished, and its reactor destroyed, only when no write is in flight.
 */
class WriteGate {
  public:
    WriteGate() = default;
    WriteGate(const WriteGate&) = delete;
    WriteGate& operator=(const WriteGate&) = delete;

    /** If it returns true, the caller starts one write and calls leave() when it is done. */
    bool enter() {
        const std::lock_guard lock(fMutex);
        if (fInside || fClosed) {
            return false;
        }
        fInside = true;
        return true;
    }

    /** Returns true if the gate has been closed since enter(): the caller then ends the stream. */
    [[nodiscard]] bool leave() {
        const std::lock_guard lock(fMutex);
        fInside = false;
        return fClosed;
    }

    /**
     * Closes the gate. Returns true if the caller is to end the stream now; otherwise the end is up
     * to another caller.
     */
    [[nodiscard]] bool close() {
        const std::lock_guard lock(fMutex);
        return !std::exchange(fClosed, true) && !fInside;
    }

  private:
    std::mutex fMutex;
    bool fInside = false;
    bool fClosed = false;
};

}  // namespace robaxi

#endif
