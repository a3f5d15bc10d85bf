#include <base/address.h>

#include <arpa/inet.h>

namespace base {

std::string hostAndPort(const std::string& host, int port) {
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? '[' + host + ']' : host) + ':' + std::to_string(port);
}

bool isIPv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool isIPv6(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isAddress(const std::string& text) {
    return isIPv4(text) || isIPv6(text.substr(0, text.find('%')));
}

bool isLoopback(const std::string& address) {
    return address == "::1" || address.rfind("127.", 0) == 0;
}

}  // namespace base
