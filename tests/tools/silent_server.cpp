#include "silent_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace obvista_test {

SilentServer::SilentServer() : fSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    if (bind(fSocket, generic, size) != 0 || listen(fSocket, SOMAXCONN) != 0 ||
        getsockname(fSocket, generic, &size) != 0) {
        throw std::runtime_error("cannot listen on loopback");
    }
    fPort = ntohs(address.sin_port);
}

SilentServer::~SilentServer() {
    close(fSocket);
}

std::string SilentServer::place() const {
    return "127.0.0.1:" + std::to_string(fPort);
}

bool SilentServer::waitForClient(std::chrono::milliseconds timeout) const {
    pollfd waited{fSocket, POLLIN, 0};
    return poll(&waited, 1, static_cast<int>(timeout.count())) == 1;
}

}  // namespace obvista_test
