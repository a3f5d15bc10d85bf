#ifndef BASE_ADDRESS_H
#define BASE_ADDRESS_H

#include <string>

namespace base {

/** Host and port as in a URL: "robot1:9559", "127.0.0.1:9559", "[::1]:9559". */
std::string hostAndPort(const std::string& host, int port);

/** Returns true for four numbers with points. */
bool isIPv4(const std::string& text);

/** Returns true for an IPv6 address without an interface. */
bool isIPv6(const std::string& text);

/** Returns true for a numeric address: "127.0.0.1", "::1", "fe80::1%eth0". */
bool isAddress(const std::string& text);

/** Returns true for an address that only this machine reaches: "127.0.0.1", "::1". */
bool isLoopback(const std::string& address);

}  // namespace base

#endif
