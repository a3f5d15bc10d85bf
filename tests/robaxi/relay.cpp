#include "relay.h"

#include <array>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <sys/socket.h>
#include <vector>

namespace robaxi_test {

namespace {

constexpr int a_pollMilliseconds = 5;
constexpr std::size_t a_chunk = std::size_t{64} * 1024;

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<in_port_t>(port));
    return address;
}

/** Returns false if the connection is closed. */
bool sendAll(int socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

}  // namespace

struct Relay::Connection {
    base::FileDescriptor fClient;
    base::FileDescriptor fRobot;
    bool fIsFormer = false;  // cut for good
};

Relay::Relay(int robotPort)
    : fRobotPort(robotPort), fListening(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    auto* const raw = reinterpret_cast<sockaddr*>(&address);
    if (::bind(fListening.get(), raw, length) != 0 || ::listen(fListening.get(), SOMAXCONN) != 0 ||
        ::getsockname(fListening.get(), raw, &length) != 0) {
        throw std::runtime_error("the relay cannot listen");
    }
    fPort = ntohs(address.sin_port);
    fThread = std::thread([this] { xRun(); });
}

Relay::~Relay() {
    fEnds = true;
    fThread.join();
}

void Relay::cut() {
    xSet(State::Cut);
}

void Relay::restore(bool keepsFormer) {
    fKeepsFormer = keepsFormer;
    xSet(State::Open);
}

void Relay::dropHandshakes() {
    // The system drops them while its queue of connections to accept is full.
    fDropsHandshakes = true;
    constexpr int longestQueue = 1;
    ::listen(fListening.get(), longestQueue);
    const sockaddr_in address = loopback(fPort);
    for (int i = 0; i <= longestQueue; ++i) {
        fFillers.emplace_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        ::connect(fFillers.back().get(), reinterpret_cast<const sockaddr*>(&address),
                  sizeof address);
    }
}

void Relay::passHandshakes() {
    ::listen(fListening.get(), SOMAXCONN);
    fDropsHandshakes = false;
}

void Relay::xSet(State state) {
    fWanted = state;
    fIsApplied = false;
    while (!fIsApplied) {
        std::this_thread::yield();
    }
}

void Relay::xRun() {
    while (!fEnds) {
        if (!fIsApplied) {
            fIsCut = fWanted == State::Cut;
            for (Connection& connection : fConnections) {
                connection.fIsFormer = connection.fIsFormer || (!fIsCut && !fKeepsFormer);
            }
            fIsApplied = true;
        }
        const bool accepts = !fIsCut && !fDropsHandshakes;
        std::vector<pollfd> polled{{accepts ? fListening.get() : -1, POLLIN, 0}};
        for (const Connection& connection : fConnections) {
            const short events = connection.fIsFormer ? POLLRDHUP : POLLIN;
            polled.push_back({fIsCut ? -1 : connection.fClient.get(), events, 0});
            polled.push_back({fIsCut ? -1 : connection.fRobot.get(), events, 0});
        }
        ::poll(polled.data(), polled.size(), a_pollMilliseconds);
        std::size_t index = 1;
        for (auto each = fConnections.begin(); each != fConnections.end(); index += 2) {
            const bool hasOfClient = polled[index].revents != 0;
            const bool hasOfRobot = polled[index + 1].revents != 0;
            // Neither end of a former connection sees the other one close.
            const bool isOpen =
                each->fIsFormer
                    ? !hasOfClient || !hasOfRobot
                    : (!hasOfClient || xPass(each->fClient.get(), each->fRobot.get())) &&
                          (!hasOfRobot || xPass(each->fRobot.get(), each->fClient.get()));
            each = isOpen ? std::next(each) : fConnections.erase(each);
        }
        if (polled.front().revents != 0) {
            xAccept();
        }
        fCount = fConnections.size();
    }
}

void Relay::xAccept() {
    base::FileDescriptor client(::accept4(fListening.get(), nullptr, nullptr, SOCK_CLOEXEC));
    base::FileDescriptor robot(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(fRobotPort);
    if (client.get() >= 0 &&
        ::connect(robot.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        fConnections.push_back({std::move(client), std::move(robot), false});
    }
}

/** Passes on what there is; returns false at the end of the connection. */
bool Relay::xPass(int from, int to) {
    std::array<char, a_chunk> chunk{};
    const ssize_t size = ::recv(from, chunk.data(), chunk.size(), 0);
    return size > 0 && sendAll(to, {chunk.data(), static_cast<std::size_t>(size)});
}

}  // namespace robaxi_test
