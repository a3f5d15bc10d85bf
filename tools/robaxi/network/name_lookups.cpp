#include "network/name_lookups.h"

#include <algorithm>
#include <array>
#include <netdb.h>
#include <sys/socket.h>
#include <utility>

namespace robaxi_tool {

namespace {

std::string numericText(const addrinfo& found) {
    std::array<char, NI_MAXHOST> text{};
    const int status = getnameinfo(found.ai_addr, found.ai_addrlen, text.data(), text.size(),
                                   nullptr, 0, NI_NUMERICHOST);
    return status == 0 ? text.data() : std::string();
}

std::vector<std::string> addressesOfFamily(const addrinfo* found, int family) {
    std::vector<std::string> addresses;
    for (; found != nullptr; found = found->ai_next) {
        if (found->ai_family == family) {
            addresses.push_back(numericText(*found));
        }
    }
    return addresses;
}

}  // namespace

std::vector<std::string> addressesOf(const std::string& hostName) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(hostName.c_str(), nullptr, &hints, &found) != 0) {
        return {};
    }
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    std::vector<std::string> addresses = addressesOfFamily(found, AF_INET);
    const std::vector<std::string> others = addressesOfFamily(found, AF_INET6);
    addresses.insert(addresses.end(), others.begin(), others.end());
    return addresses;
}

void startLookup(base::Lookups& lookups, const std::string& hostName,
                 std::function<void(const std::vector<std::string>& addresses)> answer) {
    lookups.start([hostName, answer = std::move(answer)]() -> base::Lookups::Answer {
        return [answer, addresses = addressesOf(hostName)] { answer(addresses); };
    });
}

std::optional<std::vector<std::string>> addressesInTime(const std::string& hostName,
                                                        Clock::duration time,
                                                        Interruption& interruption) {
    Bell bell(interruption);
    return resultInTime(time, bell, [hostName] { return addressesOf(hostName); });
}

}  // namespace robaxi_tool
