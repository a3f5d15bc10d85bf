#include "doctor/checks.h"
#include "doctor/mdns_group.h"

#include <map>
#include <random>
#include <sockets/multicast.h>

namespace robaxi_tool {

namespace {

using sockets::Interface;
using sockets::MulticastOutcome;
using sockets::Packet;

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

std::string blockedAt(const std::vector<Interface>& interfaces, const std::string& way) {
    return interfaces.empty() ? "" : ' ' + way + ' ' + sockets::namesOf(interfaces);
}

}  // namespace

Finding checkMdnsPort(Examination& /*examination*/) {
    std::map<MulticastOutcome, std::vector<Interface>> found;
    for (const Interface& interface : sockets::multicastInterfaces()) {
        found[sockets::tryMulticast(interface, mdnsGroup(), makeQuestion())].push_back(interface);
    }
    if (found.empty()) {
        return {Verdict::Skipped, "There is no network on which to multicast.", {}};
    }
    if (!found[MulticastOutcome::PortKept].empty()) {
        return {Verdict::Skipped,
                "Another program uses UDP port 5353 exclusively, which looks the same as a "
                "firewall.",
                {}};
    }
    const std::string blocked =
        blockedAt(found[MulticastOutcome::SendingStopped], "on the way out of") +
        blockedAt(found[MulticastOutcome::NotHeard], "on the way in at");
    if (blocked.empty()) {
        return {
            Verdict::Good,
            "UDP port 5353 is open on " + sockets::namesOf(found[MulticastOutcome::Heard]) + '.',
            {}};
    }
    // Networks of virtual machines often have separate firewalls; the other networks still work.
    return {found[MulticastOutcome::Heard].empty() ? Verdict::Problem : Verdict::Note,
            "UDP port 5353 is blocked by a firewall of this computer" + blocked + '.',
            "Let mDNS pass: 'sudo ufw allow 5353/udp' or 'sudo firewall-cmd --add-service=mdns', "
            "or look at 'sudo nft list ruleset'."};
}

}  // namespace robaxi_tool
