#include "ros2/domain_search.h"

#include "ros2/domain.h"

#include <base/listed.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <poll.h>
#include <random>
#include <sockets/multicast.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <utility>

namespace bridge {

namespace {

using sockets::Interface;
using Clock = std::chrono::steady_clock;

// The group and the ports at which participants announce themselves, unless they are configured
// otherwise.
constexpr std::uint32_t a_group = 0xefff0001;  // 239.255.0.1
constexpr const char* a_groupText = "239.255.0.1";
constexpr int a_firstPort = 7400;
constexpr int a_portsOfDomain = 250;

// A packet begins with "RTPS", version and vendor, and the first bytes of the sender's identifier.
constexpr std::size_t a_headerSize = 20;
constexpr std::ptrdiff_t a_prefixSize = 12;

constexpr std::chrono::seconds a_listening(4);
constexpr std::chrono::milliseconds a_slice(100);
// A round begins at most so often, and takes one packet of each domain.
constexpr std::chrono::milliseconds a_rest(2);
constexpr std::size_t a_mostInterfaces = 8;
// Once this computer could multicast, one failure proves nothing: while it is busy, a packet may
// come too late.
constexpr int a_failuresOfAFirewall = 2;
// Descriptors that stay free for the bridge's clients while the search listens: gRPC accepts no
// client any more once a connection has failed for lack of one.
constexpr rlim_t a_spareDescriptors = 64;

constexpr const char* a_peers = "name the robot as a peer in CYCLONEDDS_URI";

int portOf(int domain) {
    return a_firstPort + a_portsOfDomain * domain;
}

sockaddr_in groupOfDomain(int domain) {
    return sockets::groupAddress(a_group, static_cast<std::uint16_t>(portOf(domain)));
}

/** Returns a packet without contents, of a sender that nobody knows. */
sockets::Packet makeEmptyPacket() {
    sockets::Packet packet{'R', 'T', 'P', 'S', 2, 1, 0, 0};
    std::random_device random;
    while (packet.size() < a_headerSize) {
        packet.push_back(static_cast<unsigned char>(random()));
    }
    return packet;
}

/** Returns the interface through which a packet has arrived. */
std::optional<int> interfaceOf(msghdr& message) {
    for (cmsghdr* part = CMSG_FIRSTHDR(&message); part != nullptr;
         part = CMSG_NXTHDR(&message, part)) {
        if (part->cmsg_level == IPPROTO_IP && part->cmsg_type == IP_PKTINFO) {
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(part), sizeof info);
            return info.ipi_ifindex;
        }
    }
    return std::nullopt;
}

/** Throws if a new socket leaves too few descriptors. Its number is the lowest that was free. */
void requireSpareDescriptors(const sockets::Socket& socket) {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
        static_cast<rlim_t>(socket.number()) + a_spareDescriptors >= limit.rlim_cur) {
        throw std::runtime_error("the search needs " + std::to_string(a_highestDomain + 1) +
                                 " sockets, and this program may open only " +
                                 std::to_string(limit.rlim_cur) + " files (ulimit -n)");
    }
}

std::string onlyLoopback(const std::string& interface) {
    return (interface.empty()
                ? std::string("Only loopback: no network interface is up with an IPv4 address")
                : "Only loopback: the interface " + interface +
                      " is not one of the network, or is down") +
           ", so only programs of this computer can be found. Connect it to the robot's network, "
           "or run the bridge on the robot.";
}

std::string switchedOff(const std::vector<Interface>& interfaces) {
    return "Multicast is switched off for " + sockets::namesOf(interfaces) +
           ". Enable it: sudo ip link set dev " + interfaces.front().fName + " multicast on; or " +
           a_peers + '.';
}

std::string blocked(int domain, const std::vector<Interface>& interfaces) {
    const std::string first = std::to_string(portOf(domain));
    return "Multicast is blocked: a firewall of this computer drops packets to " +
           std::string(a_groupText) + ", UDP port " + first + ", on " +
           sockets::namesOf(interfaces) + ". Let it pass UDP from port " + first + " to " +
           std::to_string(portOf(domain + 1) - 1) + ", or " + a_peers + '.';
}

}  // namespace

DomainSearch::DomainSearch(int domain, std::string interface, const Guid& own)
    : fDomain(domain),
      fInterface(std::move(interface)),
      fOwn(own),
      fFailures(a_failuresOfAFirewall - 1) {
}

std::string DomainSearch::run() {
    try {
        return xFindCause();
    } catch (const std::exception& failure) {
        return std::string("Nothing is found: ") + failure.what() + '.';
    }
}

std::string DomainSearch::xFindCause() {
    std::vector<Interface> interfaces = sockets::networkInterfaces();
    const auto isDown = [](const Interface& each) { return !each.fIsUp; };
    interfaces.erase(std::remove_if(interfaces.begin(), interfaces.end(), isDown),
                     interfaces.end());
    const auto isChosen = [&](const Interface& each) { return each.fName == fInterface; };
    if (interfaces.empty() ||
        (!fInterface.empty() && std::none_of(interfaces.begin(), interfaces.end(), isChosen))) {
        return onlyLoopback(fInterface);
    }
    const auto cannot = [](const Interface& each) { return !each.fIsMulticast; };
    const auto able = std::stable_partition(interfaces.begin(), interfaces.end(),
                                            [&](const Interface& each) { return !cannot(each); });
    if (able == interfaces.begin()) {
        return switchedOff(interfaces);
    }
    interfaces.erase(able, interfaces.end());
    interfaces.resize(std::min(interfaces.size(), a_mostInterfaces));

    // In every run, since a firewall may start after the bridge.
    fFailures = xCanMulticast(interfaces) ? 0 : fFailures + 1;
    if (fFailures >= a_failuresOfAFirewall) {
        return blocked(fDomain, interfaces);
    }
    xListen(interfaces);
    const std::string domain = std::to_string(fDomain);
    if (const auto here = fHeard.find(fDomain); here != fHeard.end()) {
        const std::string names = base::listed(here->second);
        return "Programs announce themselves in domain " + domain + " on " + names +
               ", but do not answer. Use the right interface: --interface " +
               *here->second.begin() + "; or let a firewall pass UDP from port " +
               std::to_string(portOf(fDomain)) + " to " + std::to_string(portOf(fDomain + 1) - 1) +
               '.';
    }
    if (!fHeard.empty()) {
        std::set<std::string> domains;
        for (const auto& [other, names] : fHeard) {
            domains.insert(std::to_string(other));
        }
        return "Wrong domain: nothing is announced in domain " + domain + ", but in domain " +
               base::listed(domains) + ". Start the bridge with --domain " + *domains.begin() + '.';
    }
    return "Nothing is announced in any domain. Check that the robot is on, and in this network "
           "(--interface); where the network drops multicast, " +
           std::string(a_peers) +
           "; if the robot sets ROS_LOCALHOST_ONLY=1, run the bridge on the robot.";
}

void DomainSearch::xListen(const std::vector<Interface>& interfaces) {
    std::vector<std::pair<int, std::unique_ptr<sockets::Socket>>> listeners;
    std::vector<pollfd> polled;
    for (int domain = 0; domain <= a_highestDomain; ++domain) {
        auto socket = std::make_unique<sockets::Socket>();
        requireSpareDescriptors(*socket);
        const sockaddr_in group = groupOfDomain(domain);
        const int enabled = 1;
        if (!sockets::bindTo(*socket, group) ||
            setsockopt(socket->number(), IPPROTO_IP, IP_PKTINFO, &enabled, sizeof enabled) != 0) {
            continue;
        }
        for (const Interface& interface : interfaces) {
            sockets::join(*socket, group, interface);
        }
        polled.push_back({socket->number(), POLLIN, 0});
        listeners.emplace_back(domain, std::move(socket));
    }
    const Clock::time_point end = Clock::now() + a_listening;
    // After an earlier run has heard something, for what others announce.
    const bool hasHeard = !fHeard.empty();
    while (!fIsStopped && (hasHeard || fHeard.empty()) && Clock::now() < end) {
        const auto begin = Clock::now();
        if (poll(polled.data(), polled.size(), static_cast<int>(a_slice.count())) > 0) {
            for (std::size_t i = 0; i < polled.size(); ++i) {
                if (polled[i].revents != 0) {
                    xNote(listeners[i].first, *listeners[i].second, interfaces);
                }
            }
            std::this_thread::sleep_until(begin + a_rest);
        }
    }
}

void DomainSearch::xNote(int domain, const sockets::Socket& socket,
                         const std::vector<Interface>& interfaces) {
    std::array<unsigned char, a_headerSize> packet{};
    alignas(cmsghdr) std::array<unsigned char, CMSG_SPACE(sizeof(in_pktinfo))> control{};
    iovec bytes{packet.data(), packet.size()};
    msghdr message{};
    message.msg_iov = &bytes;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    const ssize_t size = recvmsg(socket.number(), &message, MSG_DONTWAIT);
    const auto prefix = packet.cend() - a_prefixSize;
    // A late packet of xCanMulticast(), or one of another bridge, has a header only.
    const bool isAnnouncement = size == static_cast<ssize_t>(a_headerSize) &&
                                (message.msg_flags & MSG_TRUNC) != 0 &&
                                std::memcmp(packet.data(), "RTPS", 4) == 0;
    if (!isAnnouncement || std::equal(prefix, packet.cend(), fOwn.begin())) {
        return;
    }
    const std::optional<int> index = interfaceOf(message);
    for (const Interface& interface : interfaces) {
        if (index == interface.fIndex) {
            fHeard[domain].insert(interface.fName);
        }
    }
}

bool DomainSearch::xCanMulticast(const std::vector<Interface>& interfaces) const {
    return std::any_of(interfaces.begin(), interfaces.end(), [this](const Interface& interface) {
        const auto outcome =
            sockets::tryMulticast(interface, groupOfDomain(fDomain), makeEmptyPacket());
        return outcome == sockets::MulticastOutcome::Heard ||
               outcome == sockets::MulticastOutcome::PortKept;
    });
}

}  // namespace bridge
