#include "net/received_bytes.h"

// Its tcp_info has more fields than that of netinet/tcp.h, which must not be included beside it.
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace robaxi {

std::uint64_t receivedBytes(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    ::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info.tcpi_bytes_received;
}

}  // namespace robaxi
