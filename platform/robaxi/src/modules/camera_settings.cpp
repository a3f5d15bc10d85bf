#include "modules/camera_settings.h"

#include <base/listed.h>
#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <vector>

namespace robaxi {

namespace {

constexpr std::size_t a_longestShown = 100;    // bytes of a client's text in a refusal
constexpr std::int64_t a_largestSide = 65535;  // pixels

std::string shown(const std::string& text) {
    return base::oneLine(base::shortened(text, a_longestShown));
}

template <class Item>
bool contains(const std::vector<Item>& items, const Item& item) {
    return std::find(items.begin(), items.end(), item) != items.end();
}

template <class Item>
void addOnce(std::vector<Item>& items, const Item& item) {
    if (!contains(items, item)) {
        items.push_back(item);
    }
}

std::string textOf(double rate) {
    std::ostringstream text;
    text << rate;
    return text.str();
}

std::string sizeText(int width, int height) {
    return std::to_string(width) + 'x' + std::to_string(height);
}

KVError refusal(const KVCameraInfo& camera, const std::string& reason) {
    return {KVError::Cause::RaisedByModule, "The camera " + camera.fName + " " + reason};
}

/** Reads one of the changes, if it is present. */
template <class Read>
auto changeNamed(const KVCameraInfo& camera, const KVValue::Map& changes, const std::string& name,
                 Read read) -> std::optional<decltype(read(std::declval<const KVValue&>()))> {
    const auto found = changes.find(name);
    if (found == changes.end()) {
        return std::nullopt;
    }
    try {
        return read(found->second);
    } catch (const KVError& error) {
        throw refusal(camera, "cannot take this " + name + ": " + error.toString());
    }
}

void requireKnownNames(const KVCameraInfo& camera, const KVValue::Map& changes) {
    const bool hasBitRate = camera.fSettings.fBitRate > 0;
    for (const auto& [name, value] : changes) {
        if (name != "width" && name != "height" && name != "format" && name != "rate" &&
            (name != "bitRate" || !hasBitRate)) {
            throw refusal(camera,
                          "has no setting '" + shown(name) + "'; it has width, height, " +
                              (hasBitRate ? "format, rate and bitRate." : "format and rate."));
        }
    }
}

int toSide(const KVValue& value) {
    // A value out of range matches no mode; it must only not become a number that does.
    return static_cast<int>(std::clamp(value.toInt(), std::int64_t{-1}, a_largestSide));
}

void requireBitRate(const KVCameraInfo& camera, std::int64_t bitRate) {
    constexpr int lowest = KVCameraSettings::a_lowestBitRate;
    constexpr int highest = KVCameraSettings::a_highestBitRate;
    if (bitRate < lowest || bitRate > highest) {
        throw refusal(camera, "cannot do " + std::to_string(bitRate) +
                                  " bits a second; it can do " + std::to_string(lowest) + " to " +
                                  std::to_string(highest) + '.');
    }
}

}  // namespace

void requireMode(const KVCameraInfo& camera, const KVCameraSettings& settings) {
    std::vector<std::string> sizes;
    std::vector<std::string> formats;  // of the size
    std::vector<double> rates;         // of the size and format
    for (const KVCameraMode& mode : camera.fModes) {
        addOnce(sizes, sizeText(mode.fWidth, mode.fHeight));
        if (mode.fWidth != settings.fWidth || mode.fHeight != settings.fHeight) {
            continue;
        }
        for (const std::string& format : mode.fFormats) {
            addOnce(formats, format);
        }
        if (contains(mode.fFormats, settings.fFormat)) {
            for (const double rate : mode.fRates) {
                addOnce(rates, rate);
            }
        }
    }
    const std::string size = sizeText(settings.fWidth, settings.fHeight);
    if (!contains(sizes, size)) {
        throw refusal(camera,
                      "cannot do " + size + " pixels; it can do " + base::listed(sizes) + '.');
    }
    if (!contains(formats, settings.fFormat)) {
        throw refusal(camera, "cannot do the format " + shown(settings.fFormat) + " at " + size +
                                  " pixels; it can do " + base::listed(formats) + '.');
    }
    if (!contains(rates, settings.fRate)) {
        throw refusal(camera, "cannot do " + textOf(settings.fRate) + " frames a second at " +
                                  size + " pixels; it can do " + base::listed(rates, textOf) + '.');
    }
}

KVError noSuchCamera(const std::string& name) {
    return {KVError::Cause::InvalidArgument, "The robot has no camera '" + shown(name) + "'."};
}

KVCameraSettings changedSettings(const KVCameraInfo& camera, const KVValue::Map& changes) {
    requireKnownNames(camera, changes);
    const auto width = changeNamed(camera, changes, "width", toSide);
    const auto height = changeNamed(camera, changes, "height", toSide);
    const auto format = changeNamed(camera, changes, "format",
                                    [](const KVValue& value) { return value.toString(); });
    const auto rate =
        changeNamed(camera, changes, "rate", [](const KVValue& value) { return value.toFloat(); });
    const auto bitRate =
        changeNamed(camera, changes, "bitRate", [](const KVValue& value) { return value.toInt(); });
    KVCameraSettings result = camera.fSettings;
    if (bitRate) {
        requireBitRate(camera, *bitRate);
        result.fBitRate = static_cast<int>(*bitRate);
    }
    result.fWidth = width.value_or(result.fWidth);
    result.fHeight = height.value_or(result.fHeight);
    result.fFormat = format.value_or(result.fFormat);
    result.fRate = rate.value_or(result.fRate);
    requireMode(camera, result);
    return result;
}

}  // namespace robaxi
