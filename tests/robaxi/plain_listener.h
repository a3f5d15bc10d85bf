#ifndef OBVISTA_TESTS_ROBAXI_PLAIN_LISTENER_H
#define OBVISTA_TESTS_ROBAXI_PLAIN_LISTENER_H

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cstdint>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace robaxi_test {

/** A TCP socket on a loopback address that only listens. */
class Listener {
  public:
    /** @param port 0 for any free one */
    explicit Listener(int backlog, const std::string& host = "127.0.0.1", int port = 0)
        : fSocket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), fAddress(host) {
        sockaddr_in address = xAt(port);
        EXPECT_EQ(::bind(fSocket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(fSocket, backlog), 0);
        socklen_t length = sizeof address;
        ::getsockname(fSocket, reinterpret_cast<sockaddr*>(&address), &length);
        fPort = ntohs(address.sin_port);
    }

    ~Listener() {
        for (const int client : fClients) {
            ::close(client);
        }
        ::close(fSocket);
    }

    Listener(const Listener&) = delete;
    Listener& operator=(const Listener&) = delete;

    int port() const { return fPort; }

    /** Accepts one connection, answers any request with a text, and closes it. */
    void answerWith(const std::string& text) const {
        const int connection = ::accept(fSocket, nullptr, nullptr);
        char buffer[1024];
        EXPECT_GE(::recv(connection, buffer, sizeof buffer, 0), 0);
        EXPECT_GE(::send(connection, text.data(), text.size(), MSG_NOSIGNAL), -1);
        ::close(connection);
    }

    /**
     * Accepts connections until a client of HTTP/2 greets, and returns that one's, which the caller
     * closes.
     */
    int acceptHttp2() const {
        constexpr const char* greeting = "PRI * HTTP/2.0";
        while (true) {
            const int connection = ::accept(fSocket, nullptr, nullptr);
            char buffer[1024];
            const auto size = ::recv(connection, buffer, sizeof buffer, 0);
            if (size < 0 ||
                std::string(buffer, static_cast<std::size_t>(size)).find(greeting) == 0) {
                return connection;
            }
            ::close(connection);
        }
    }

    /** Fills the queue of connections, after which the system drops all further packets. */
    void fillQueue() {
        constexpr int enough = 16;
        for (int i = 0; i < enough; ++i) {
            const int client = ::socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
            const sockaddr_in address = xAt(fPort);
            static_cast<void>(
                ::connect(client, reinterpret_cast<const sockaddr*>(&address), sizeof address));
            fClients.push_back(client);
        }
    }

    /** Returns true if a connection waits to be accepted. */
    bool isTried() const {
        pollfd polled{fSocket, POLLIN, 0};
        return ::poll(&polled, 1, 0) == 1;
    }

  private:
    sockaddr_in xAt(int port) const {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        ::inet_pton(AF_INET, fAddress.c_str(), &address.sin_addr);
        return address;
    }

    int fSocket;
    std::string fAddress;
    int fPort = 0;
    std::vector<int> fClients;
};

}  // namespace robaxi_test

#endif
