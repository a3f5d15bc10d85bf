#include "doctor/checks.h"
#include "doctor/mdns_group.h"

#include <cerrno>
#include <sockets/interfaces.h>
#include <sys/socket.h>
#include <system_error>

namespace robaxi_tool {

namespace {

using sockets::Interface;
using sockets::multicastInterfaces;
using sockets::namesOf;
using sockets::networkInterfaces;
using sockets::Socket;

/** Returns the sentence "... is not up" for interfaces that have an address and no connection. */
std::string notUp(const std::vector<Interface>& interfaces) {
    return interfaces.empty() ? "it has no other network interface with an IPv4 address."
                              : namesOf(interfaces) + " is down or has no cable.";
}

}  // namespace

Finding checkNetwork(Examination& /*examination*/) {
    const std::vector<Interface> interfaces = networkInterfaces();
    for (const Interface& interface : interfaces) {
        if (interface.fIsUp) {
            return {Verdict::Good,
                    interface.fName + " is up with the address " + interface.fAddress + '.',
                    {}};
        }
    }
    return {Verdict::Problem, "This computer reaches only itself (loopback): " + notUp(interfaces),
            "Plug the cable in or join the robot's wireless network; 'ip address' shows what is "
            "there. In a container, share the computer's network."};
}

Finding checkMulticast(Examination& /*examination*/) {
    const std::vector<Interface> able = multicastInterfaces();
    if (!able.empty()) {
        return {Verdict::Good, "Multicast is switched on for " + namesOf(able) + '.', {}};
    }
    for (const Interface& interface : networkInterfaces()) {
        if (interface.fIsUp) {
            return {Verdict::Problem,
                    "Multicast is switched off for " + interface.fName +
                        ", so announcements neither come in nor go out.",
                    "sudo ip link set dev " + interface.fName +
                        " multicast on (a tunnel, as for a VPN, may not be able to)."};
        }
    }
    return {Verdict::Skipped, "There is no network on which to multicast.", {}};
}

Finding checkMulticastRoute(Examination& /*examination*/) {
    const Socket socket;
    const sockaddr_in group = mdnsGroup();
    if (connect(socket.number(), reinterpret_cast<const sockaddr*>(&group), sizeof group) == 0) {
        return {Verdict::Good, "There is a route for multicast.", {}};
    }
    const std::string reason = std::generic_category().message(errno);
    const std::vector<Interface> able = multicastInterfaces();
    if (able.empty()) {
        return {Verdict::Skipped, "There is no network on which to multicast.", {}};
    }
    return {Verdict::Note,
            "There is no route for multicast (" + reason +
                "). Avahi chooses the interface itself and does without; other programs may not.",
            "sudo ip route add 224.0.0.0/4 dev " + able.front().fName};
}

}  // namespace robaxi_tool
