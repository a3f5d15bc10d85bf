#ifndef BASE_ADDRESS_H
#define BASE_ADDRESS_H

#include <string>

namespace base {

/** Host and port as in a URL: "robot1:9559", "127.0.0.1:9559", "[::1]:9559". */
std::string hostAndPort(const std::string& host, int port);

}  // namespace base

#endif
