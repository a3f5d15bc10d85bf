#ifndef ROBAXI_WRITE_GATE_H
#define ROBAXI_WRITE_GATE_H

#include <mutex>
#include <utility>

namespace robaxi {

/**
 * Lets one write at a time onto a gRPC stream, and none after its end was decided: a stream may
 * only be finished, and its reactor only go, when no write is in flight.
 */
class WriteGate {
  public:
    WriteGate() = default;
    WriteGate(const WriteGate&) = delete;
    WriteGate& operator=(const WriteGate&) = delete;

    /** When true, the caller starts one write and calls leave() when it is done. */
    bool enter() {
        const std::lock_guard lock(fMutex);
        if (fInside || fClosed) {
            return false;
        }
        fInside = true;
        return true;
    }

    /** Returns true when the gate was closed meanwhile: the caller ends the stream now. */
    [[nodiscard]] bool leave() {
        const std::lock_guard lock(fMutex);
        fInside = false;
        return fClosed;
    }

    /** Lets nothing in any more. Returns true when the caller is to end the stream now; otherwise
     *  somebody else is, or has done so. */
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
