#ifndef ROBAXI_TLS_PROBE_H
#define ROBAXI_TLS_PROBE_H

#include "net/security.h"
#include "net/socket_address.h"

#include <optional>

namespace robaxi {

struct Failure;

/**
 * Finds out, after gRPC could not connect, whether TLS is the reason: gRPC reports every reason
 * alike.
 *
 * @param security the security of the failed attempt
 * @return the reason, if it is related to TLS
 */
std::optional<Failure> findTlsFailure(const SocketAddress& listener, const ClientSecurity& security,
                                      Deadline deadline);

}  // namespace robaxi

#endif
