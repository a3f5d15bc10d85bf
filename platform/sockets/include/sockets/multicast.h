#ifndef SOCKETS_MULTICAST_H
#define SOCKETS_MULTICAST_H

#include <cstdint>
#include <netinet/in.h>
#include <sockets/interfaces.h>
#include <vector>

namespace sockets {

/** The bytes of a datagram. */
using Packet = std::vector<unsigned char>;

/** Returns the address of a group. @param address in the byte order of the machine */
sockaddr_in groupAddress(std::uint32_t address, std::uint16_t port);

/** Binds a socket to a group: it receives the group's packets from the interfaces that it joins,
 *  besides the sockets of other programs. Returns false if another program excludes that. */
bool bindTo(const Socket& socket, const sockaddr_in& group);
bool join(const Socket& socket, const sockaddr_in& group, const Interface& interface);

/** Result of sending a packet to a group through one interface. */
enum class MulticastOutcome {
    Heard,
    SendingStopped,  ///< the system refuses to send
    NotHeard,        ///< the packet does not come back
    PortKept         ///< another program uses the port exclusively
};

/**
 * Sends a packet through an interface and waits, for at most 0.9 s, until it arrives there. This
 * finds firewalls of this computer: the packet need not leave it to come back.
 *
 * @param packet harmless to the members of the group, and not the same as others
 */
MulticastOutcome tryMulticast(const Interface& interface, const sockaddr_in& group,
                              const Packet& packet);

}  // namespace sockets

#endif
