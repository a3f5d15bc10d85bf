#include "network/target.h"

#include "process/failure.h"

#include <base/address.h>

#include <charconv>

namespace robaxi_tool {

namespace {

constexpr std::size_t a_longestName = 255;

int parsePort(const std::string& text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, port);
    if (result.ec != std::errc() || result.ptr != end || port < 1 || port > 65535) {
        throw UsageError("a port is a number from 1 to 65535, not '" + text + "'");
    }
    return port;
}

Target parseBracketed(const std::string& text) {
    const std::size_t end = text.find(']');
    const std::string host = text.substr(1, end == std::string::npos ? end : end - 1);
    if (end == std::string::npos || !base::isAddress(host) || host.find(':') == std::string::npos) {
        throw UsageError("'" + text + "' is not an IPv6 address in brackets");
    }
    const std::string rest = text.substr(end + 1);
    if (rest.empty()) {
        return {host, std::nullopt};
    }
    if (rest[0] != ':') {
        throw UsageError("after ']' only ':' and a port may follow in '" + text + "'");
    }
    return {host, parsePort(rest.substr(1))};
}

Target parseUnbracketed(const std::string& text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos || base::isAddress(text)) {
        return {text, std::nullopt};
    }
    if (text.find(':', colon + 1) != std::string::npos) {
        throw UsageError("'" + text +
                         "' is not an address; an IPv6 address with a port is written "
                         "[IPv6]:PORT");
    }
    return {text.substr(0, colon), parsePort(text.substr(colon + 1))};
}

}  // namespace

Target parseTarget(const std::string& text) {
    Target target = !text.empty() && text[0] == '[' ? parseBracketed(text) : parseUnbracketed(text);
    if (target.fHost.empty() || target.fHost.size() > a_longestName) {
        throw UsageError("HOST must have 1 to 255 bytes");
    }
    return target;
}

}  // namespace robaxi_tool
