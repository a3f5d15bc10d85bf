#include "failure.h"
#include "net/socket_address.h"

#include <base/address.h>

#include <arpa/inet.h>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <thread>

namespace robaxi {

namespace {

struct LookUp {
    std::mutex fMutex;
    std::condition_variable fDone;
    bool fIsDone = false;
    int fStatus = 0;
    std::vector<SocketAddress> fAddresses;
};

int lookUp(const char* host, const std::string& port, int flags,
           std::vector<SocketAddress>& addresses) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | flags;
    addrinfo* found = nullptr;
    const int status = ::getaddrinfo(host, port.c_str(), &hints, &found);
    if (status != 0) {
        return status;
    }
    for (const addrinfo* each = found; each != nullptr; each = each->ai_next) {
        SocketAddress address;
        std::memcpy(&address.fStorage, each->ai_addr, each->ai_addrlen);
        address.fLength = each->ai_addrlen;
        addresses.push_back(address);
    }
    ::freeaddrinfo(found);
    return 0;
}

std::vector<SocketAddress> lookUpInTime(const std::string& host, const std::string& port, int flags,
                                        Deadline deadline) {
    const auto work = std::make_shared<LookUp>();
    std::thread([work, host, port, flags] {
        std::vector<SocketAddress> addresses;
        const int status = lookUp(host.c_str(), port, flags, addresses);
        const std::lock_guard lock(work->fMutex);
        work->fStatus = status;
        work->fAddresses = std::move(addresses);
        work->fIsDone = true;
        work->fDone.notify_all();
    }).detach();

    std::unique_lock lock(work->fMutex);
    if (!work->fDone.wait_until(lock, deadline, [&work] { return work->fIsDone; })) {
        throw Failure{KVError::Cause::TimedOut, "the name was not resolved"};
    }
    if (work->fStatus != 0) {
        throw Failure{KVError::Cause::NameNotFound, ::gai_strerror(work->fStatus)};
    }
    return work->fAddresses;
}

}  // namespace

const sockaddr* SocketAddress::raw() const {
    return reinterpret_cast<const sockaddr*>(&fStorage);
}

std::string SocketAddress::toString() const {
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    if (::getnameinfo(raw(), fLength, host, sizeof host, port, sizeof port,
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0) {
        throw Failure{KVError::Cause::Internal, "an address that cannot be written as text"};
    }
    return base::hostAndPort(host, std::stoi(port));
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
    std::vector<SocketAddress> addresses;
    if (lookUp(host.c_str(), std::to_string(port), AI_NUMERICHOST, addresses) == 0) {
        return addresses;
    }
    return lookUpInTime(host, std::to_string(port), 0, deadline);
}

}  // namespace robaxi
