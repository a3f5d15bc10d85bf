#include <base/listed.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netinet/in.h>
#include <sockets/interfaces.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace sockets {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string addressText(const sockaddr* address) {
    std::array<char, INET_ADDRSTRLEN> text{};
    const auto* const ipv4 = reinterpret_cast<const sockaddr_in*>(address);
    inet_ntop(AF_INET, &ipv4->sin_addr, text.data(), text.size());
    return text.data();
}

bool has(unsigned flags, unsigned wanted) {
    return (flags & wanted) == wanted;
}

Interface interfaceOf(const ifaddrs& found) {
    return {found.ifa_name, static_cast<int>(if_nametoindex(found.ifa_name)),
            addressText(found.ifa_addr), has(found.ifa_flags, IFF_UP | IFF_RUNNING),
            has(found.ifa_flags, IFF_MULTICAST)};
}

bool contains(const std::vector<Interface>& interfaces, int index) {
    return std::any_of(interfaces.begin(), interfaces.end(),
                       [index](const Interface& interface) { return interface.fIndex == index; });
}

}  // namespace

std::vector<Interface> networkInterfaces() {
    ifaddrs* found = nullptr;
    if (getifaddrs(&found) != 0) {
        fail("the network interfaces cannot be listed");
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(found, &freeifaddrs);
    std::vector<Interface> interfaces;
    for (; found != nullptr; found = found->ifa_next) {
        const bool isIpv4 = found->ifa_addr != nullptr && found->ifa_addr->sa_family == AF_INET;
        if (!isIpv4 || has(found->ifa_flags, IFF_LOOPBACK)) {
            continue;
        }
        const Interface interface = interfaceOf(*found);
        // An interface with several addresses is listed several times.
        if (!contains(interfaces, interface.fIndex)) {
            interfaces.push_back(interface);
        }
    }
    return interfaces;
}

std::vector<Interface> multicastInterfaces() {
    std::vector<Interface> interfaces = networkInterfaces();
    interfaces.erase(std::remove_if(interfaces.begin(), interfaces.end(),
                                    [](const Interface& interface) {
                                        return !interface.fIsUp || !interface.fIsMulticast;
                                    }),
                     interfaces.end());
    return interfaces;
}

std::string namesOf(const std::vector<Interface>& interfaces) {
    return base::listed(interfaces, [](const Interface& interface) { return interface.fName; });
}

Socket::Socket() : fNumber(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    if (fNumber < 0) {
        fail("there is no socket");
    }
}

Socket::~Socket() {
    close(fNumber);
}

}  // namespace sockets
