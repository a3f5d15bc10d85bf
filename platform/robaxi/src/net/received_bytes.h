#ifndef ROBAXI_RECEIVED_BYTES_H
#define ROBAXI_RECEIVED_BYTES_H

#include <cstdint>

namespace robaxi {

/** Returns how many bytes the other end of a TCP connection has sent; 0 if the system does not
 * count them. */
std::uint64_t receivedBytes(int socket);

}  // namespace robaxi

#endif
