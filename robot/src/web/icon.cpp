#include "web/icon.h"

#include <array>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace robot {

namespace {

constexpr std::size_t a_longestIcon = 4UL * 1024 * 1024;

constexpr std::array<std::pair<const char*, IconTrouble>, 6> a_troubles{{
    {"ok", IconTrouble::None},
    {"hang", IconTrouble::Hang},
    {"trickle", IconTrouble::Trickle},
    {"404", IconTrouble::Missing},
    {"huge", IconTrouble::Huge},
    {"broken", IconTrouble::Broken},
}};

}  // namespace

std::optional<IconTrouble> iconTroubleNamed(const std::string& word) {
    for (const auto& [name, trouble] : a_troubles) {
        if (word == name) {
            return trouble;
        }
    }
    return std::nullopt;
}

const char* nameOf(IconTrouble trouble) {
    for (const auto& [name, known] : a_troubles) {
        if (known == trouble) {
            return name;
        }
    }
    throw std::logic_error("an icon trouble without a name");
}

std::string iconTroubleNames() {
    std::string names;
    for (const auto& [name, trouble] : a_troubles) {
        names += names.empty() ? "" : ", ";
        names += name;
    }
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
