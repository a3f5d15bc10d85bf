#include <base/address.h>

namespace base {

std::string hostAndPort(const std::string& host, int port) {
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? '[' + host + ']' : host) + ':' + std::to_string(port);
}

}  // namespace base
