#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_TARGET_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_TARGET_H

#include <optional>
#include <string>

namespace robaxi_tool {

/** What the user wrote for HOST. */
struct Target {
    std::string fHost;  ///< an IPv6 address stands without brackets
    std::optional<int> fPort;
};

/**
 * Reads HOST, HOST:PORT, [IPv6] or [IPv6]:PORT; a bare IPv6 address is taken as one.
 *
 * @throws UsageError
 */
Target parseTarget(const std::string& text);

/** Whether it is an IPv4 or IPv6 address, the latter perhaps with its interface ("fe80::1%eth0").
 */
bool isAddress(const std::string& host);

/** Host and port as they are written together. */
std::string joined(const std::string& host, int port);

}  // namespace robaxi_tool

#endif
