#include "failure.h"
#include "net/socket_address.h"

#include <base/address.h>
#include <base/lookups.h>

#include <arpa/inet.h>
#include <cstdint>
#include <cstring>
#include <netdb.h>
#include <optional>

namespace robaxi {

namespace {

struct LookUp {
    int fStatus = 0;
    std::vector<SocketAddress> fAddresses;
};

LookUp lookUp(const std::string& host, const std::string& port, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo* found = nullptr;
    LookUp result;
    result.fStatus = ::getaddrinfo(host.c_str(), port.c_str(), &hints, &found);
    if (result.fStatus != 0) {
        return result;
    }
    for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
        SocketAddress address;
        std::memcpy(&address.fStorage, each->ai_addr, each->ai_addrlen);
        address.fLength = each->ai_addrlen;
        result.fAddresses.push_back(address);
    }
    ::freeaddrinfo(found);
    return result;
}

}  // namespace

const sockaddr* SocketAddress::raw() const {
    return reinterpret_cast<const sockaddr*>(&fStorage);
}

void SocketAddress::setPort(int port) {
    const in_port_t number = htons(static_cast<std::uint16_t>(port));
    if (fStorage.ss_family == AF_INET) {
        reinterpret_cast<sockaddr_in*>(&fStorage)->sin_port = number;
    } else {
        reinterpret_cast<sockaddr_in6*>(&fStorage)->sin6_port = number;
    }
}

std::string SocketAddress::host() const {
    char host[NI_MAXHOST];
    if (::getnameinfo(raw(), fLength, host, sizeof host, nullptr, 0, NI_NUMERICHOST) != 0) {
        throw Failure{KVError::Cause::Internal, "an address that cannot be written as text"};
    }
    return host;
}

int SocketAddress::port() const {
    return ntohs(fStorage.ss_family == AF_INET
                     ? reinterpret_cast<const sockaddr_in*>(&fStorage)->sin_port
                     : reinterpret_cast<const sockaddr_in6*>(&fStorage)->sin6_port);
}

std::string SocketAddress::toString() const {
    return base::hostAndPort(host(), port());
}

std::string SocketAddress::toTarget() const {
    std::string target = (fStorage.ss_family == AF_INET ? "ipv4:" : "ipv6:") + toString();
    const std::size_t zone = target.find('%');
    return zone == std::string::npos ? target : target.replace(zone, 1, "%25");  // for the URI
}

std::vector<SocketAddress> resolve(const std::string& host, int port, Deadline deadline) {
    if (host.empty()) {
        throw Failure{KVError::Cause::NameNotFound, "no address was given"};
    }
    const std::string portText = std::to_string(port);
    const LookUp numeric = lookUp(host, portText, AI_NUMERICHOST);
    if (numeric.fStatus == 0) {
        return numeric.fAddresses;
    }
    const std::optional<LookUp> found =
        base::answerInTime(deadline, [host, portText] { return lookUp(host, portText, 0); });
    if (!found && Clock::now() < deadline) {
        throw Failure{KVError::Cause::Internal, "no thread can be started to resolve the name"};
    }
    if (!found) {
        throw Failure{KVError::Cause::TimedOut, "the name was not resolved"};
    }
    if (found->fStatus != 0) {
        throw Failure{KVError::Cause::NameNotFound, ::gai_strerror(found->fStatus)};
    }
    return found->fAddresses;
}

std::vector<SocketAddress> parseAddresses(const std::vector<std::string>& addresses, int port) {
    std::vector<SocketAddress> parsed;
    for (const std::string& address : addresses) {
        const LookUp found = lookUp(address, std::to_string(port), AI_NUMERICHOST);
        parsed.insert(parsed.end(), found.fAddresses.begin(), found.fAddresses.end());
    }
    return parsed;
}

}  // namespace robaxi
