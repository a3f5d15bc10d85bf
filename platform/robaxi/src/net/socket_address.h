#ifndef ROBAXI_SOCKET_ADDRESS_H
#define ROBAXI_SOCKET_ADDRESS_H

#include "deadline.h"

#include <base/file_descriptor.h>

#include <string>
#include <sys/socket.h>
#include <vector>

namespace robaxi {

/** A network address with a port, for connecting or listening. */
struct SocketAddress {
    sockaddr_storage fStorage{};
    socklen_t fLength = 0;

    const sockaddr* raw() const;
    void setPort(int port);
    int port() const;
    /** Returns the address without the port: "127.0.0.1", "fe80::1%eth0". */
    std::string host() const;
    /** "127.0.0.1:9559" or "[::1]:9559". */
    std::string toString() const;
    /** Returns the address in gRPC's form, which needs no lookup: "ipv4:127.0.0.1:9559". */
    std::string toTarget() const;
};

/**
 * Returns the addresses of a host name or of a numeric address.
 *
 * The system's lookup has no time-out and cannot be cancelled, so it runs on a separate thread,
 * which is abandoned when the deadline passes; that thread owns the memory to which it writes.
 *
 * @throws Failure NameNotFound, TimedOut
 */
std::vector<SocketAddress> resolve(const std::string& host, int port, Deadline deadline);

/**
 * Parses numeric addresses. One on an interface that does not exist (any more) is left out.
 */
std::vector<SocketAddress> parseAddresses(const std::vector<std::string>& addresses, int port);

/**
 * Listens on all addresses that a host name or a numeric address has on this machine, or on every
 * address of the machine, IPv4 and IPv6, if `host` is empty or "0.0.0.0".
 *
 * @param port 0 for any port that is free at all of these addresses
 * @return the non-blocking sockets, at least one
 * @throws Failure NameNotFound, TimedOut; AddressInUse if one of them is taken, CannotListen if
 *         none can be used
 */
std::vector<base::FileDescriptor> listenOn(const std::string& host, int port, Deadline deadline);

/** Returns the port of a listening socket. */
int portOf(const base::FileDescriptor& listening);

/**
 * Finds an address of a host on which something listens: connects to one after the other (RFC
 * 8305), to IPv4 and IPv6 addresses in turn, to the next one after limits::a_betweenAddresses or
 * when an attempt has failed. At most limits::a_mostAddresses of them are tried.
 *
 * gRPC reports every failure to connect alike, and tries one address after the other; the sockets
 * do neither.
 *
 * @param addresses numeric ones to try; if there are none, those of `host`
 * @return the first one that accepted the connection; all connections are closed
 * @throws Failure NameNotFound; Refused, NoRoute or TimedOut with a detail that names the tried
 *         addresses unless `host` is one
 */
SocketAddress findListener(const std::string& host, int port,
                           const std::vector<std::string>& addresses, Deadline deadline);

}  // namespace robaxi

#endif
