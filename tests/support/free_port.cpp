#include "free_port.h"

#include <arpa/inet.h>
#include <cstddef>
#include <cstring>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace obvista_test {

namespace {

// free_port.py has the same numbers.
constexpr int a_firstPort = 21000;
constexpr int a_portsOfBlock = 50;
constexpr int a_numberOfBlocks = 160;

/** Claims a block for this process by a name that the system gives to one process at a time. */
bool claim(int block) {
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    const std::string name = "obvista-test-ports-" + std::to_string(block);
    // The name begins with a zero: it is not that of a file, and belongs to the network namespace.
    std::memcpy(place.sun_path + 1, name.data(), name.size());
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const int socketNumber = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(socketNumber, reinterpret_cast<const sockaddr*>(&place), size) == 0) {
        return true;  // the socket stays open until the process ends
    }
    close(socketNumber);
    return false;
}

int claimedBlock() {
    static int block = static_cast<int>(getpid() % a_numberOfBlocks);
    for (int attempt = 0; attempt < a_numberOfBlocks; ++attempt) {
        block = (block + 1) % a_numberOfBlocks;
        if (claim(block)) {
            return block;
        }
    }
    throw std::runtime_error("no port of loopback is free");
}

int nextPort() {
    static int port = 0;
    static int left = 0;
    if (left == 0) {
        port = a_firstPort + claimedBlock() * a_portsOfBlock;
        left = a_portsOfBlock;
    }
    --left;
    return port++;
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
    for (;;) {
        const int port = nextPort();
        if (isFree(port)) {
            return port;
        }
    }
}

}  // namespace obvista_test
