#include "conform/subject.h"

#include <base/icon_limits.h>
#include <bonjour/bonjour_discovery.h>

#include <algorithm>
#include <cctype>
#include <download/http_get.h>

namespace robaxi_tool {

namespace {

constexpr unsigned a_httpOk = 200;

void checkPort(Subject& robot) {
    const std::vector<int> ports = robot.announced().ports();
    require(std::find(ports.begin(), ports.end(), robot.request().fEndpoint.fPort) != ports.end(),
            "The host announces no _robaxi._tcp with port " +
                std::to_string(robot.request().fEndpoint.fPort) + ".");
}

void checkName(Subject& robot) {
    const std::vector<KV::BonjourService>& services = robot.announced().fServices;
    for (const KV::BonjourService& service : services) {
        require(service.fName == services.front().fName, "The services have the names '" +
                                                             services.front().fName + "' and '" +
                                                             service.fName + "'.");
    }
}

void checkAddress(Subject& robot) {
    const std::vector<std::string>& addresses = robot.announced().fAddresses;
    require(std::any_of(
                addresses.begin(), addresses.end(),
                [](const std::string& address) { return address.find(':') == std::string::npos; }),
            "The host has no IPv4 address.");
}

/** Returns the icon that was delivered at a path. @throws Fault */
const std::string& iconOf(const download::HttpAnswer& answer, const std::string& path) {
    require(answer.fError.empty(), path + ": " + answer.fError + '.');
    require(answer.fStatus == a_httpOk, path + ": status " + std::to_string(answer.fStatus) + '.');
    return answer.fBody;
}

/** Returns the icon for further checks. @throws NotChecked if there is none: checkIcon() says so */
const std::string& deliveredIcon(Subject& robot) {
    const download::HttpAnswer& answer = robot.iconAnswer();
    try {
        return iconOf(answer, a_iconPath);
    } catch (const Fault& fault) {
        throw NotChecked(std::string("There is no icon. ") + fault.what());
    }
}

void checkIcon(Subject& robot) {
    require(!iconOf(robot.iconAnswer(), a_iconPath).empty(), "The answer has no body.");
}

void checkIconWithOneSlash(Subject& robot) {
    const std::string& withTwo = deliveredIcon(robot);
    const std::string path = a_iconPath + 1;
    require(iconOf(robot.requestIcon(path), path) == withTwo, "It is another answer.");
}

bool startsWith(const std::string& bytes, std::string_view start) {
    return bytes.compare(0, start.size(), start) == 0;
}

bool isPng(const std::string& bytes) {
    return startsWith(bytes, "\x89PNG\r\n\x1a\n") && bytes.size() >= 24;
}

bool isJpeg(const std::string& bytes) {
    return startsWith(bytes, "\xff\xd8\xff");
}

/** Returns true for PBM, PGM, PPM, XBM and XPM, which have the limit of text. */
bool isText(const std::string& bytes) {
    const bool isPortable = bytes.size() > 2 && bytes[0] == 'P' && bytes[1] >= '1' &&
                            bytes[1] <= '6' &&
                            std::isspace(static_cast<unsigned char>(bytes[2])) != 0;
    return isPortable || startsWith(bytes, "#define") || startsWith(bytes, "/* XPM */");
}

void checkIconFormat(Subject& robot) {
    const std::string& bytes = deliveredIcon(robot);
    require(isPng(bytes) || isJpeg(bytes) || isText(bytes) || startsWith(bytes, "GIF8") ||
                startsWith(bytes, "BM") || startsWith(bytes, std::string_view("\0\0\1\0", 4)),
            "The format of the icon is unknown.");
}

unsigned byteAt(const std::string& bytes, std::size_t position) {
    return static_cast<unsigned char>(bytes[position]);
}

/** Returns true for a JPEG whose frame header, which is before the first scan, is progressive. */
bool isProgressive(const std::string& bytes) {
    constexpr unsigned progressive = 0xC2;
    constexpr unsigned scan = 0xDA;
    constexpr unsigned mark = 0xFF;
    constexpr std::size_t sizeOfMarker = 2;
    std::size_t at = sizeOfMarker;  // after the start of the image
    while (at + 2 * sizeOfMarker <= bytes.size() && byteAt(bytes, at) == mark) {
        const unsigned marker = byteAt(bytes, at + 1);
        if (marker == progressive || marker == scan) {
            return marker == progressive;
        }
        // Bytes of the mark may be repeated.
        at += marker == mark ? 1
                             : sizeOfMarker + (byteAt(bytes, at + 2) << 8U | byteAt(bytes, at + 3));
    }
    return false;
}

void checkIconBytes(Subject& robot) {
    const std::string& bytes = deliveredIcon(robot);
    const auto requireAtMost = [&bytes](std::size_t largest, const std::string& format) {
        require(bytes.size() <= largest,
                format + " has " + std::to_string(bytes.size()) + " bytes.");
    };
    requireAtMost(base::a_largestIcon, "The icon");
    if (isJpeg(bytes) && isProgressive(bytes)) {
        requireAtMost(base::a_largestProgressiveJpegIcon, "A progressive JPEG");
    } else if (isJpeg(bytes)) {
        requireAtMost(base::a_largestJpegIcon, "A JPEG");
    } else if (isText(bytes)) {
        requireAtMost(base::a_largestTextIcon, "A PBM, PGM, PPM, XBM or XPM");
    }
}

int numberAt(const std::string& bytes, std::size_t position) {
    int number = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        number = (number << 8) | static_cast<int>(byteAt(bytes, position + i));
    }
    return number;
}

void checkIconPixels(Subject& robot) {
    const std::string& bytes = deliveredIcon(robot);
    if (!isPng(bytes)) {
        throw NotChecked("The size is read of PNG only.");
    }
    const int width = numberAt(bytes, 16);
    const int height = numberAt(bytes, 20);
    require(width >= 1 && width <= base::a_largestIconSide && height >= 1 &&
                height <= base::a_largestIconSide,
            "The icon has " + std::to_string(width) + 'x' + std::to_string(height) + " pixels.");
}

}  // namespace

const std::vector<ConformCheck>& announcingChecks() {
    static const std::vector<ConformCheck> checks = {
        {"announcing.port", "announcing", "that of the middleware, 9559 by default.", &checkPort},
        {"announcing.name", "announcing", "All services of a robot have the same name.",
         &checkName},
        {"announcing.address", "announcing",
         "The robot needs an IPv4 address to be shown with its icon", &checkAddress},
        {"announcing.icon", "announcing", "the answer has status 200 and the picture as its body.",
         &checkIcon},
        {"announcing.icon-with-one-slash", "announcing",
         "answer the same with one slash and with two.", &checkIconWithOneSlash},
        {"announcing.icon-format", "announcing", "The format is recognised by the content.",
         &checkIconFormat},
        {"announcing.icon-bytes", "announcing",
         "512 KiB; JPEG 80 KiB, progressive JPEG 52 KiB; PBM, PGM, PPM, XBM and XPM 40 KiB",
         &checkIconBytes},
        {"announcing.icon-pixels", "announcing", "256 pixels each; it is shown at 60x60",
         &checkIconPixels},
    };
    return checks;
}

}  // namespace robaxi_tool
