#ifndef OBVISTA_ROBOT_ENDPOINT_H
#define OBVISTA_ROBOT_ENDPOINT_H

#include <string>

namespace robot {

/** Address and port as in a URL: an IPv6 address stands in brackets. */
inline std::string endpointText(const std::string& address, int port) {
    const bool bare = address.find(':') == std::string::npos;
    return (bare ? address : '[' + address + ']') + ':' + std::to_string(port);
}

}  // namespace robot

#endif
