#ifndef OBVISTA_TOOLS_ROBAXI_NETWORK_TARGET_H
#define OBVISTA_TOOLS_ROBAXI_NETWORK_TARGET_H

#include <optional>
#include <string>

namespace robaxi_tool {

/** The user's HOST argument. */
struct Target {
    std::string fHost;  ///< an IPv6 address without brackets
    std::optional<int> fPort;
};

/**
 * Parses HOST, HOST:PORT, [IPv6] or [IPv6]:PORT, and also a bare IPv6 address.
 *
 * @throws UsageError
 */
Target parseTarget(const std::string& text);

}  // namespace robaxi_tool

#endif
