#include "ros2/node_info.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace bridge {

namespace {

using ros2_message::Bytes;
using ros2_message::CdrReader;

Guid readGuid(CdrReader& reader, std::size_t size) {
    Guid guid{};
    const Bytes bytes = reader.bytes(size);
    std::copy_n(bytes.fData, std::min(bytes.fSize, guid.size()), guid.begin());
    return guid;
}

std::vector<Guid> readGuids(CdrReader& reader, std::size_t size) {
    const std::uint32_t count = reader.length(size);
    std::vector<Guid> guids;
    guids.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        guids.push_back(readGuid(reader, size));
    }
    return guids;
}

std::string fullName(std::string_view space, std::string_view name) {
    std::string result(space);
    if (result.empty() || result.back() != '/') {
        result += '/';
    }
    return result.append(name);
}

std::optional<NodeInfo> parsed(Bytes message, std::size_t guidSize) {
    constexpr std::size_t smallestNode = 16;  // two texts and two sequences, all empty
    CdrReader reader(message);
    NodeInfo info;
    info.fParticipant = readGuid(reader, guidSize);
    const std::uint32_t count = reader.length(smallestNode);
    for (std::uint32_t i = 0; i < count && reader.isGood(); ++i) {
        const std::string_view space = reader.text();
        const std::string_view name = reader.text();
        Node node{fullName(space, name), readGuids(reader, guidSize), readGuids(reader, guidSize)};
        if (info.fNodes.size() < a_mostNodes) {
            info.fNodes.push_back(std::move(node));
        }
    }
    return reader.isAtEnd() ? std::optional(std::move(info)) : std::nullopt;
}

}  // namespace

std::optional<NodeInfo> nodeInfoOf(Bytes message) {
    constexpr std::size_t current = 16;
    constexpr std::size_t former = 24;
    std::optional<NodeInfo> info = parsed(message, current);
    return info ? info : parsed(message, former);
}

}  // namespace bridge
