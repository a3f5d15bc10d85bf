#include "loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <stdexcept>
#include <sys/socket.h>

namespace loopback {

namespace {

sockaddr_in addressOf(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void check(bool ok, const char* what) {
    if (!ok) {
        throw std::runtime_error(what);
    }
}

int makeSocket() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    check(socket >= 0, "socket");
    return socket;
}

}  // namespace

int listen(int& port) {
    const int listener = makeSocket();
    sockaddr_in address = addressOf(0);
    check(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
    check(::listen(listener, 1) == 0, "listen");
    socklen_t length = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length);
    port = ntohs(address.sin_port);
    return listener;
}

int connect(int port) {
    const int socket = makeSocket();
    const sockaddr_in address = addressOf(port);
    check(::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
          "connect");
    return socket;
}

void sendAtOnce(int socket) {
    const int on = 1;
    ::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

}  // namespace loopback
