#ifndef ROBAXI_RETURN_PROBE_H
#define ROBAXI_RETURN_PROBE_H

#include "net/connect_attempt.h"

#include <deque>

namespace robaxi {

/**
 * Finds out, without waiting, whether an address answers again, with several attempts to connect:
 * the system repeats a lost one only after a second, then two, then four.
 */
class ReturnProbe {
  public:
    enum class Outcome { Pending, Connected, Refused };

    explicit ReturnProbe(const SocketAddress& address) : fAddress(address) {}

    /** Starts one more attempt; stops the oldest one if there are many. */
    void start();
    /** Returns the outcome of the attempts, and stops them if there is one. */
    Outcome poll();
    void stop() { fAttempts.clear(); }

  private:
    const SocketAddress fAddress;
    std::deque<ConnectAttempt> fAttempts;  // oldest first
};

}  // namespace robaxi

#endif
