#include "net/connect_attempt.h"

#include <cerrno>
#include <cstring>

namespace robaxi {

ConnectAttempt::ConnectAttempt(const SocketAddress& address)
    : fAddress(address),
      fSocket(::socket(address.fStorage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)) {
    const bool started =
        fSocket.get() >= 0 && ::connect(fSocket.get(), address.raw(), address.fLength) == 0;
    fError = started ? 0 : errno;
}

bool ConnectAttempt::isPending() const {
    return fError == EINPROGRESS;
}

pollfd ConnectAttempt::toPoll() const {
    return {isPending() ? fSocket.get() : -1, POLLOUT, 0};
}

void ConnectAttempt::readOutcome() {
    socklen_t length = sizeof fError;
    if (::getsockopt(fSocket.get(), SOL_SOCKET, SO_ERROR, &fError, &length) != 0) {
        fError = errno;
    }
    if (fError == 0 && xIsConnectedToItself()) {
        fError = ECONNREFUSED;
    }
}

/**
 * TCP connects a socket to itself if nothing listens on the port and the system happens to assign
 * the same port to this end.
 */
bool ConnectAttempt::xIsConnectedToItself() const {
    SocketAddress local;
    local.fLength = sizeof local.fStorage;
    return ::getsockname(fSocket.get(), reinterpret_cast<sockaddr*>(&local.fStorage),
                         &local.fLength) == 0 &&
           local.fLength == fAddress.fLength &&
           std::memcmp(&local.fStorage, &fAddress.fStorage, local.fLength) == 0;
}

}  // namespace robaxi
