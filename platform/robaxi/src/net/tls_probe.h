#ifndef ROBAXI_TLS_PROBE_H
#define ROBAXI_TLS_PROBE_H

#include "net/security.h"
#include "net/socket_address.h"

#include <optional>

namespace robaxi {

struct Failure;

/**
 * Finds out, after gRPC could not connect, whether TLS is why: gRPC reports every reason alike.
 *
 * @param security with which it was tried
 * @return the reason, when it is one of TLS
 */
std::optional<Failure> findTlsFailure(const SocketAddress& listener, const ClientSecurity& security,
                                      Deadline deadline);

}  // namespace robaxi

#endif
