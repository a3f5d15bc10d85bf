#include "failure.h"
#include "net/connect_attempt.h"
#include "net/socket_address.h"
#include "wire/limits.h"

#include <base/file_descriptor.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <deque>
#include <netinet/in.h>
#include <poll.h>
#include <set>
#include <string>
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
        case EINPROGRESS:
            return {KVError::Cause::TimedOut, {}};
        default:
            return {KVError::Cause::NoRoute, errorText(error)};
    }
}

/** Returns the distinct addresses in the order of the attempts. */
std::vector<SocketAddress> inOrderOfAttempts(const std::vector<SocketAddress>& addresses) {
    std::set<std::string> seen;
    std::deque<SocketAddress> preferred;
    std::deque<SocketAddress> others;
    for (const SocketAddress& address : addresses) {
        const bool isPreferred = address.fStorage.ss_family == addresses.front().fStorage.ss_family;
        if (seen.insert(address.toString()).second) {
            (isPreferred ? preferred : others).push_back(address);
        }
    }
    std::vector<SocketAddress> ordered;
    while (!preferred.empty() || !others.empty()) {
        for (std::deque<SocketAddress>* const family : {&preferred, &others}) {
            if (!family->empty() && ordered.size() < limits::a_mostAddresses) {
                ordered.push_back(family->front());
            }
            if (!family->empty()) {
                family->pop_front();
            }
        }
    }
    return ordered;
}

/** Returns "A", "A and B" or "A, B and C". */
std::string listed(const std::vector<ConnectAttempt>& attempts) {
    std::string text;
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        const char* const separator = i == 0 ? "" : i + 1 == attempts.size() ? " and " : ", ";
        text += separator + attempts[i].address().host();
    }
    return text;
}

/**
 * Returns the failure of attempts of which none succeeded: a refusal rather than silence, since
 * the host is there, and silence rather than a missing route.
 */
Failure failureOf(const std::string& host, const std::vector<ConnectAttempt>& attempts) {
    if (attempts.empty()) {
        return connectFailure(EHOSTUNREACH);
    }
    const auto rank = [](const ConnectAttempt& attempt) {
        const KVError::Cause cause = connectFailure(attempt.error()).fCause;
        return cause == KVError::Cause::Refused ? 0 : cause == KVError::Cause::TimedOut ? 1 : 2;
    };
    Failure failure = connectFailure(
        std::min_element(attempts.begin(), attempts.end(), [&](const auto& a, const auto& b) {
            return rank(a) < rank(b);
        })->error());
    const std::string tried = listed(attempts);
    if (tried != host) {
        failure.fDetail += (failure.fDetail.empty() ? "tried " : "; tried ") + tried;
    }
    return failure;
}

/** Returns false if there is no outcome in time. */
bool waitForOutcomes(std::vector<ConnectAttempt>& attempts, Deadline deadline) {
    std::vector<pollfd> polled;
    polled.reserve(attempts.size());
    for (const ConnectAttempt& attempt : attempts) {
        polled.push_back(attempt.toPoll());
    }
    if (::poll(polled.data(), polled.size(), millisecondsUntil(deadline)) <= 0) {
        return false;
    }
    for (std::size_t i = 0; i < polled.size(); ++i) {
        if (polled[i].revents != 0) {
            attempts[i].readOutcome();
        }
    }
    return true;
}

bool hasIpv6() {
    return base::FileDescriptor(::socket(AF_INET6, SOCK_STREAM | SOCK_CLOEXEC, 0)).get() >= 0;
}

/** Returns a listening socket, or none with errno set. */
base::FileDescriptor tryToListen(const SocketAddress& address) {
    base::FileDescriptor socket(
        ::socket(address.fStorage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        return socket;  // the following calls would replace the error
    }
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

SocketAddress findListener(const std::string& host, int port,
                           const std::vector<std::string>& addresses, Deadline deadline) {
    const std::vector<SocketAddress> ordered = inOrderOfAttempts(
        addresses.empty() ? resolve(host, port, deadline) : parseAddresses(addresses, port));
    std::vector<ConnectAttempt> attempts;
    attempts.reserve(ordered.size());
    Clock::time_point next = Clock::now();
    while (true) {
        for (const ConnectAttempt& attempt : attempts) {
            if (attempt.isConnected()) {
                return attempt.address();
            }
        }
        const bool hasFailed = attempts.empty() || !attempts.back().isPending();
        const bool hasMore = attempts.size() < ordered.size();
        if (hasMore && (hasFailed || Clock::now() >= next)) {
            // A thread that was held up looks first whether an attempt has succeeded.
            if (waitForOutcomes(attempts, Clock::now())) {
                continue;
            }
            attempts.emplace_back(ordered[attempts.size()]);
            next = Clock::now() + limits::a_betweenAddresses;
            continue;
        }
        const bool isPending =
            std::any_of(attempts.begin(), attempts.end(),
                        [](const ConnectAttempt& each) { return each.isPending(); });
        if (!isPending || Clock::now() >= deadline) {
            throw failureOf(host, attempts);
        }
        waitForOutcomes(attempts, hasMore ? std::min(next, deadline) : deadline);
    }
}

int portOf(const base::FileDescriptor& listening) {
    SocketAddress address;
    address.fLength = sizeof address.fStorage;
    ::getsockname(listening.get(), reinterpret_cast<sockaddr*>(&address.fStorage),
                  &address.fLength);
    return address.port();
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
