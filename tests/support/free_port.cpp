#include "free_port.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace obvista_test {

namespace {

constexpr int a_firstPort = 21000;
constexpr int a_numberOfPorts = 8000;

/** Tests run in parallel, so each process starts at another port. */
int nextPort() {
    static unsigned next = static_cast<unsigned>(getpid()) * 37;
    return a_firstPort + static_cast<int>(++next % a_numberOfPorts);
}

bool isFree(int port) {
    const int socketNumber = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(static_cast<in_port_t>(port));
    place.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const bool isBound =
        bind(socketNumber, reinterpret_cast<const sockaddr*>(&place), sizeof place) == 0;
    close(socketNumber);
    return isBound;
}

}  // namespace

int freePort() {
    for (int attempt = 0; attempt < a_numberOfPorts; ++attempt) {
        const int port = nextPort();
        if (isFree(port)) {
            return port;
        }
    }
    throw std::runtime_error("no port of loopback is free");
}

}  // namespace obvista_test
