#include "failure.h"
#include "net/connect_attempt.h"
#include "net/socket_address.h"

#include <base/file_descriptor.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <system_error>

namespace robaxi {

namespace {

constexpr int a_attemptsToChoosePort = 20;

std::string errorText(int error) {
    return std::system_category().message(error);
}

Failure connectFailure(int error) {
    switch (error) {
        case ECONNREFUSED:
            return {KVError::Cause::Refused, {}};
        case ETIMEDOUT:
            return {KVError::Cause::TimedOut, {}};
        default:
            return {KVError::Cause::NoRoute, errorText(error)};
    }
}

void waitForOutcomes(std::vector<ConnectAttempt>& attempts, Deadline deadline) {
    std::vector<pollfd> polled;
    polled.reserve(attempts.size());
    for (const ConnectAttempt& attempt : attempts) {
        polled.push_back(attempt.toPoll());
    }
    if (::poll(polled.data(), polled.size(), millisecondsUntil(deadline)) <= 0) {
        return;
    }
    for (std::size_t i = 0; i < polled.size(); ++i) {
        if (polled[i].revents != 0) {
            attempts[i].readOutcome();
        }
    }
}

bool hasIpv6() {
    return base::FileDescriptor(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0)).get() >= 0;
}

/** Returns a listening socket, or none with errno set. */
base::FileDescriptor tryToListen(const SocketAddress& address) {
    base::FileDescriptor socket(
        ::socket(address.fStorage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    const int off = 0;
    ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (address.fStorage.ss_family == AF_INET6) {
        ::setsockopt(socket.get(), IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
    }
    const bool listens = ::bind(socket.get(), address.raw(), address.fLength) == 0 &&
                         ::listen(socket.get(), SOMAXCONN) == 0;
    return listens ? std::move(socket) : base::FileDescriptor(-1);
}

/** Listens on all addresses; on the port that the first one has received if they have none. */
std::vector<base::FileDescriptor> listenOnAll(std::vector<SocketAddress> addresses) {
    std::vector<base::FileDescriptor> listening;
    int error = 0;
    for (SocketAddress& address : addresses) {
        if (!listening.empty()) {
            address.setPort(portOf(listening.front()));
        }
        base::FileDescriptor socket = tryToListen(address);
        if (socket.get() >= 0) {
            listening.push_back(std::move(socket));
        } else if (errno == EADDRINUSE) {
            throw Failure{KVError::Cause::AddressInUse, {}};
        } else {
            error = errno;
        }
    }
    if (listening.empty()) {
        throw Failure{KVError::Cause::CannotListen, errorText(error)};
    }
    return listening;
}

}  // namespace

SocketAddress findListener(const std::vector<SocketAddress>& addresses, Deadline deadline) {
    std::vector<ConnectAttempt> attempts;
    attempts.reserve(addresses.size());
    for (const SocketAddress& address : addresses) {
        attempts.emplace_back(address);
    }
    while (true) {
        for (const ConnectAttempt& attempt : attempts) {
            if (attempt.isConnected()) {
                return attempt.address();
            }
        }
        const bool pending =
            std::any_of(attempts.begin(), attempts.end(),
                        [](const ConnectAttempt& each) { return each.isPending(); });
        if (!pending) {
            // The first address is the one preferred by the system, so its outcome is the most
            // informative.
            throw connectFailure(attempts.empty() ? EHOSTUNREACH : attempts.front().error());
        }
        if (Clock::now() >= deadline) {
            throw Failure{KVError::Cause::TimedOut, {}};
        }
        waitForOutcomes(attempts, deadline);
    }
}

int portOf(const base::FileDescriptor& listening) {
    sockaddr_storage address{};
    socklen_t length = sizeof address;
    ::getsockname(listening.get(), reinterpret_cast<sockaddr*>(&address), &length);
    return address.ss_family == AF_INET
               ? ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port)
               : ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port);
}

std::vector<base::FileDescriptor> listenOn(const std::string& host, int port, Deadline deadline) {
    const bool isEvery = host.empty() || host == "0.0.0.0";
    const std::string every = hasIpv6() ? "::" : "0.0.0.0";
    const auto addresses = resolve(isEvery ? every : host, port, deadline);
    for (int attempt = 1;; ++attempt) {
        try {
            return listenOnAll(addresses);
        } catch (const Failure& failure) {
            // The port that the system has chosen for the first address is taken at another one.
            if (port != 0 || failure.fCause != KVError::Cause::AddressInUse ||
                attempt == a_attemptsToChoosePort) {
                throw;
            }
        }
    }
}

}  // namespace robaxi
