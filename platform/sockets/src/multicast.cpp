#include <chrono>
#include <poll.h>
#include <sockets/multicast.h>
#include <sys/socket.h>

namespace sockets {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds a_patience(300);
constexpr int a_attempts = 3;

template <class Value>
bool setOption(const Socket& socket, int level, int option, const Value& value) {
    return setsockopt(socket.number(), level, option, &value, sizeof value) == 0;
}

ip_mreqn membershipOf(const sockaddr_in& group, const Interface& interface) {
    ip_mreqn membership{};
    membership.imr_multiaddr = group.sin_addr;
    membership.imr_ifindex = interface.fIndex;
    return membership;
}

bool send(const Socket& socket, const sockaddr_in& group, const Packet& packet) {
    return sendto(socket.number(), packet.data(), packet.size(), 0,
                  reinterpret_cast<const sockaddr*>(&group), sizeof group) >= 0;
}

bool hears(const Socket& socket, const Packet& expected) {
    const Clock::time_point deadline = Clock::now() + a_patience;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waited{socket.number(), POLLIN, 0};
        if (left.count() <= 0 || poll(&waited, 1, static_cast<int>(left.count())) <= 0) {
            return false;
        }
        Packet received(expected.size() + 1);
        const ssize_t size = recv(socket.number(), received.data(), received.size(), MSG_DONTWAIT);
        received.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
        if (received == expected) {
            return true;
        }
    }
}

}  // namespace

sockaddr_in groupAddress(std::uint32_t address, std::uint16_t port) {
    sockaddr_in group{};
    group.sin_family = AF_INET;
    group.sin_port = htons(port);
    group.sin_addr.s_addr = htonl(address);
    return group;
}

bool bindTo(const Socket& socket, const sockaddr_in& group) {
    // A socket that is bound to the group does not take packets away from other programs.
    return setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1) &&
           setOption(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0) &&
           bind(socket.number(), reinterpret_cast<const sockaddr*>(&group), sizeof group) == 0;
}

bool join(const Socket& socket, const sockaddr_in& group, const Interface& interface) {
    return setOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membershipOf(group, interface));
}

MulticastOutcome tryMulticast(const Interface& interface, const sockaddr_in& group,
                              const Packet& packet) {
    const Socket listener;
    const Socket sender;
    if (!bindTo(listener, group) || !join(listener, group, interface)) {
        return MulticastOutcome::PortKept;
    }
    if (!setOption(sender, IPPROTO_IP, IP_MULTICAST_IF, membershipOf(group, interface))) {
        return MulticastOutcome::SendingStopped;
    }
    for (int attempt = 0; attempt < a_attempts; ++attempt) {
        if (!send(sender, group, packet)) {
            return MulticastOutcome::SendingStopped;
        }
        if (hears(listener, packet)) {
            return MulticastOutcome::Heard;
        }
    }
    return MulticastOutcome::NotHeard;
}

}  // namespace sockets
