#include "web/icon.h"

#include <fstream>
#include <stdexcept>

namespace robot {

namespace {

constexpr std::size_t a_longestIcon = 4UL * 1024 * 1024;

}  // namespace

const TroubleNames<IconTrouble>& iconTroubles() {
    static const TroubleNames<IconTrouble> names{
        {"ok", IconTrouble::None},         {"hang", IconTrouble::Hang},
        {"trickle", IconTrouble::Trickle}, {"404", IconTrouble::Missing},
        {"huge", IconTrouble::Huge},       {"broken", IconTrouble::Broken},
    };
    return names;
}

std::string readIcon(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    std::string bytes(a_longestIcon + 1, '\0');
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(stream.gcount()));
    if (bytes.empty()) {
        throw std::runtime_error("the icon " + file + " cannot be read or is empty");
    }
    if (bytes.size() > a_longestIcon) {
        throw std::runtime_error("the icon " + file + " is larger than 4 MiB");
    }
    return bytes;
}

std::string brokenPicture(const std::string& picture) {
    constexpr std::size_t head = 8;  // the signature of a PNG
    return picture.substr(0, head) + "this is no picture";
}

}  // namespace robot
