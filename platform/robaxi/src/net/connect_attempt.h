#ifndef ROBAXI_CONNECT_ATTEMPT_H
#define ROBAXI_CONNECT_ATTEMPT_H

#include "net/socket_address.h"

#include <base/file_descriptor.h>

#include <poll.h>

namespace robaxi {

/** An attempt to connect to one address, which does not wait. */
class ConnectAttempt {
  public:
    /** Starts it. */
    explicit ConnectAttempt(const SocketAddress& address);

    bool isPending() const;
    bool isConnected() const { return fError == 0; }
    int error() const { return fError; }
    const SocketAddress& address() const { return fAddress; }

    /** Returns what to poll for the outcome; ignored by poll() if there already is one. */
    pollfd toPoll() const;
    /** Sets the outcome, after poll() has reported it. */
    void readOutcome();

  private:
    bool xIsConnectedToItself() const;

    SocketAddress fAddress;
    base::FileDescriptor fSocket;
    int fError = 0;
};

}  // namespace robaxi

#endif
