#include "video/camera_settings.h"

#include <base/safe_text.h>
#include <picture/pixel_format.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <optional>
#include <sstream>

namespace robot {

using picture::CameraInfo;
using picture::CameraMode;
using picture::CameraSettings;

namespace {

constexpr std::size_t a_longestShown = 100;  // bytes of a client's text in a refusal

std::string textOf(double rate) {
    std::ostringstream text;
    text << rate;
    return text.str();
}

std::string sizeText(int width, int height) {
    return std::to_string(width) + 'x' + std::to_string(height);
}

/** Returns the distinct items separated by commas. */
template <class Item, class ToText>
std::string listed(const std::vector<Item>& items, ToText toText) {
    std::string text;
    for (const Item& item : items) {
        text += (text.empty() ? "" : ", ") + std::string(toText(item));
    }
    return text;
}

KVError refusal(const CameraInfo& camera, const std::string& reason) {
    return {KVError::Cause::RaisedByModule, "The camera " + camera.fName + " " + reason};
}

/** Reads one of the changes, if it is present. */
template <class Read>
auto changeNamed(const CameraInfo& camera, const KVValue::Map& changes, const std::string& name,
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

void requireKnownNames(const CameraInfo& camera, const KVValue::Map& changes) {
    for (const auto& [name, value] : changes) {
        if (name != "width" && name != "height" && name != "format" && name != "rate") {
            throw refusal(camera, "has no setting '" +
                                      base::oneLine(base::shortened(name, a_longestShown)) +
                                      "'; it has width, height, format and rate.");
        }
    }
}

int toSide(const KVValue& value) {
    // A value out of range matches no mode; it must only not become a number that does.
    return static_cast<int>(
        std::clamp(value.toInt(), std::int64_t{-1}, std::int64_t{picture::a_maxSide}));
}

void requireFit(const CameraInfo& camera, const CameraSettings& settings) {
    const auto mode = std::find_if(
        camera.fModes.begin(), camera.fModes.end(), [&settings](const CameraMode& candidate) {
            return candidate.fWidth == settings.fWidth && candidate.fHeight == settings.fHeight;
        });
    if (mode == camera.fModes.end()) {
        throw refusal(camera, "cannot do " + sizeText(settings.fWidth, settings.fHeight) +
                                  " pixels; it can do " +
                                  listed(camera.fModes,
                                         [](const CameraMode& candidate) {
                                             return sizeText(candidate.fWidth, candidate.fHeight);
                                         }) +
                                  '.');
    }
    const std::string size = " at " + sizeText(settings.fWidth, settings.fHeight) + " pixels";
    const auto& formats = mode->fFormats;
    if (std::find(formats.begin(), formats.end(), settings.fFormat) == formats.end()) {
        throw refusal(camera, "cannot do the format " + settings.fFormat + size + "; it can do " +
                                  listed(formats, [](const std::string& name) { return name; }) +
                                  '.');
    }
    const auto& rates = mode->fRates;
    if (std::find(rates.begin(), rates.end(), settings.fRate) == rates.end()) {
        throw refusal(camera, "cannot do " + textOf(settings.fRate) + " frames a second" + size +
                                  "; it can do " + listed(rates, textOf) + '.');
    }
}

void requireKnownFormat(const CameraInfo& camera, const std::string& name) {
    if (picture::formatNamed(name) == KVPixelFormat::Unknown) {
        throw refusal(camera, "knows no format '" +
                                  base::oneLine(base::shortened(name, a_longestShown)) +
                                  "'; formats are rgb, yuv422, grey and jpeg.");
    }
}

}  // namespace

CameraSettings changed(const CameraInfo& camera, const KVValue::Map& changes) {
    requireKnownNames(camera, changes);
    const auto width = changeNamed(camera, changes, "width", toSide);
    const auto height = changeNamed(camera, changes, "height", toSide);
    const auto format = changeNamed(camera, changes, "format",
                                    [](const KVValue& value) { return value.toString(); });
    const auto rate =
        changeNamed(camera, changes, "rate", [](const KVValue& value) { return value.toFloat(); });
    CameraSettings result = camera.fSettings;
    result.fWidth = width.value_or(result.fWidth);
    result.fHeight = height.value_or(result.fHeight);
    result.fFormat = format.value_or(result.fFormat);
    result.fRate = rate.value_or(result.fRate);
    requireKnownFormat(camera, result.fFormat);
    requireFit(camera, result);
    return result;
}

}  // namespace robot
