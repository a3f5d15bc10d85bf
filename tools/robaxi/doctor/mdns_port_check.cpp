#include "doctor/checks.h"
#include "doctor/interfaces.h"

#include <array>
#include <map>
#include <poll.h>
#include <random>
#include <sys/socket.h>
#include <system_error>

namespace robaxi_tool {

namespace {

/** Generous: the packet need not leave the computer to come back. */
constexpr std::chrono::milliseconds a_patience(300);
constexpr int a_attempts = 3;

/** Result of sending a packet to the group through one interface. */
enum class Outcome { Heard, SendingStopped, NotHeard, PortKept };

using Packet = std::vector<unsigned char>;

/** Creates a harmless query for the types of service. Its random id identifies it. */
Packet makeQuestion() {
    std::random_device random;
    const unsigned number = random();
    Packet packet = {static_cast<unsigned char>(number >> 8U),
                     static_cast<unsigned char>(number),
                     0,
                     0,
                     0,
                     1,
                     0,
                     0,
                     0,
                     0,
                     0,
                     0};
    for (const std::string label : {"_services", "_dns-sd", "_udp", "local", ""}) {
        packet.push_back(static_cast<unsigned char>(label.size()));
        packet.insert(packet.end(), label.begin(), label.end());
    }
    packet.insert(packet.end(), {0, 12, 0, 1});  // type PTR, class IN
    return packet;
}

template <class Value>
bool setOption(const Socket& socket, int level, int option, const Value& value) {
    return setsockopt(socket.number(), level, option, &value, sizeof value) == 0;
}

ip_mreqn membershipOf(const Interface& interface) {
    ip_mreqn membership{};
    membership.imr_multiaddr = mdnsGroup().sin_addr;
    membership.imr_ifindex = interface.fIndex;
    return membership;
}

/** Listens to packets that arrive for the group through this interface. */
bool listen(const Socket& socket, const Interface& interface) {
    const sockaddr_in group = mdnsGroup();
    // The Avahi daemon uses the port, too; a socket bound to the group does not take its packets
    // away.
    return setOption(socket, SOL_SOCKET, SO_REUSEADDR, 1) &&
           setOption(socket, IPPROTO_IP, IP_MULTICAST_ALL, 0) &&
           bind(socket.number(), reinterpret_cast<const sockaddr*>(&group), sizeof group) == 0 &&
           setOption(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, membershipOf(interface));
}

bool send(const Socket& socket, const Packet& packet) {
    const sockaddr_in group = mdnsGroup();
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

Outcome tryInterface(const Interface& interface) {
    const Socket listener;
    const Socket sender;
    if (!listen(listener, interface)) {
        return Outcome::PortKept;
    }
    const Packet question = makeQuestion();
    if (!setOption(sender, IPPROTO_IP, IP_MULTICAST_IF, membershipOf(interface))) {
        return Outcome::SendingStopped;
    }
    for (int attempt = 0; attempt < a_attempts; ++attempt) {
        if (!send(sender, question)) {
            return Outcome::SendingStopped;
        }
        if (hears(listener, question)) {
            return Outcome::Heard;
        }
    }
    return Outcome::NotHeard;
}

std::string blockedAt(const std::vector<Interface>& interfaces, const std::string& way) {
    return interfaces.empty() ? "" : ' ' + way + ' ' + namesOf(interfaces);
}

}  // namespace

Finding checkMdnsPort(Examination& /*examination*/) {
    std::map<Outcome, std::vector<Interface>> found;
    for (const Interface& interface : multicastInterfaces()) {
        found[tryInterface(interface)].push_back(interface);
    }
    if (found.empty()) {
        return {Verdict::Skipped, "There is no network on which to multicast.", {}};
    }
    if (!found[Outcome::PortKept].empty()) {
        return {Verdict::Skipped,
                "Another program uses UDP port 5353 exclusively, which looks the same as a "
                "firewall.",
                {}};
    }
    const std::string blocked = blockedAt(found[Outcome::SendingStopped], "on the way out of") +
                                blockedAt(found[Outcome::NotHeard], "on the way in at");
    if (blocked.empty()) {
        return {
            Verdict::Good, "UDP port 5353 is open on " + namesOf(found[Outcome::Heard]) + '.', {}};
    }
    // Networks of virtual machines often have separate firewalls; the other networks still work.
    return {found[Outcome::Heard].empty() ? Verdict::Problem : Verdict::Note,
            "UDP port 5353 is blocked by a firewall of this computer" + blocked + '.',
            "Let mDNS pass: 'sudo ufw allow 5353/udp' or 'sudo firewall-cmd --add-service=mdns', "
            "or look at 'sudo nft list ruleset'."};
}

}  // namespace robaxi_tool
