#ifndef ROBAXI_SOCKET_ADDRESS_H
#define ROBAXI_SOCKET_ADDRESS_H

#include "deadline.h"
#include "net/file_descriptor.h"

#include <string>
#include <sys/socket.h>
#include <vector>

namespace robaxi {

/** An address of the network layer with its port, ready to connect to or to listen on. */
struct SocketAddress {
    sockaddr_storage fStorage{};
    socklen_t fLength = 0;

    const sockaddr* raw() const;
    /** "127.0.0.1:9559" or "[::1]:9559". */
    std::string toString() const;
    /** As a client of gRPC takes it, without any look-up left to do: "ipv4:127.0.0.1:9559". */
    std::string toTarget() const;
};

/**
 * The addresses of a host name or of a numeric address.
 *
 * The system's look-up knows no time-out and cannot be stopped, so it runs on a thread of its own
 * that is left alone when the deadline passes; it owns what it writes to.
 *
 * @throws Failure NameNotFound, TimedOut
 */
std::vector<SocketAddress> resolve(const std::string& host, int port, Deadline deadline);

/**
 * Listens on all addresses that a host name or a numeric address has on this machine, or on every
 * address of the machine, of IPv4 and IPv6, when `host` is empty or "0.0.0.0".
 *
 * @return the sockets, which do not block
 * @throws Failure NameNotFound, TimedOut; AddressInUse when one of them is taken, CannotListen when
 *         none can be used
 */
std::vector<FileDescriptor> listenOn(const std::string& host, int port, Deadline deadline);

/**
 * Finds out which of some addresses something listens on, by connecting to all of them at once.
 *
 * gRPC reports every failure to connect alike; the sockets tell them apart.
 *
 * @return the first that took the connection
 * @throws Failure Refused, NoRoute, TimedOut
 */
SocketAddress findListener(const std::vector<SocketAddress>& addresses, Deadline deadline);

}  // namespace robaxi

#endif
