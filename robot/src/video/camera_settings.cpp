#include "video/camera_settings.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <algorithm>
#include <array>
#include <optional>
#include <sstream>

namespace robot {

namespace {

constexpr std::size_t a_longestShown = 100;  // bytes of a client's text in a refusal
constexpr int a_largestSide = 65535;

struct FormatName {
    KVPixelFormat fFormat;
    const char* fName;
};

constexpr std::array<FormatName, 4> a_formats{{{KVPixelFormat::Rgb888, "rgb"},
                                               {KVPixelFormat::Yuv422, "yuv422"},
                                               {KVPixelFormat::Grey8, "grey"},
                                               {KVPixelFormat::Jpeg, "jpeg"}}};

const char* nameOf(KVPixelFormat format) {
    const auto* const found =
        std::find_if(a_formats.begin(), a_formats.end(),
                     [format](const FormatName& entry) { return entry.fFormat == format; });
    return found != a_formats.end() ? found->fName : "unknown";
}

KVPixelFormat formatNamed(const std::string& name) {
    const auto* const found =
        std::find_if(a_formats.begin(), a_formats.end(),
                     [&name](const FormatName& entry) { return name == entry.fName; });
    return found != a_formats.end() ? found->fFormat : KVPixelFormat::Unknown;
}

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

KVError refusal(const CameraDescription& camera, const std::string& reason) {
    return {KVError::Cause::RaisedByModule, "The camera " + camera.fName + " " + reason};
}

/** Reads one of the changes, if it is present. */
template <class Read>
auto changeNamed(const CameraDescription& camera, const KVValue::Map& changes,
                 const std::string& name, Read read)
    -> std::optional<decltype(read(std::declval<const KVValue&>()))> {
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

void requireKnownNames(const CameraDescription& camera, const KVValue::Map& changes) {
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
        std::clamp(value.toInt(), std::int64_t{-1}, std::int64_t{a_largestSide}));
}

void requireFit(const CameraDescription& camera, const CameraSettings& settings) {
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
        throw refusal(camera, "cannot do the format " + std::string(nameOf(settings.fFormat)) +
                                  size + "; it can do " + listed(formats, nameOf) + '.');
    }
    const auto& rates = mode->fRates;
    if (std::find(rates.begin(), rates.end(), settings.fRate) == rates.end()) {
        throw refusal(camera, "cannot do " + textOf(settings.fRate) + " frames a second" + size +
                                  "; it can do " + listed(rates, textOf) + '.');
    }
}

KVPixelFormat toFormat(const CameraDescription& camera, const std::string& name) {
    const KVPixelFormat format = formatNamed(name);
    if (format == KVPixelFormat::Unknown) {
        throw refusal(camera, "knows no format '" +
                                  base::oneLine(base::shortened(name, a_longestShown)) +
                                  "'; formats are rgb, yuv422, grey and jpeg.");
    }
    return format;
}

KVValue toValue(const CameraMode& mode) {
    KVValue::List formats;
    for (const KVPixelFormat format : mode.fFormats) {
        formats.emplace_back(nameOf(format));
    }
    return KVValue::Map{{"width", mode.fWidth},
                        {"height", mode.fHeight},
                        {"formats", formats},
                        {"rates", KVValue::List(mode.fRates.begin(), mode.fRates.end())}};
}

}  // namespace

bool operator==(const CameraSettings& a, const CameraSettings& b) {
    return a.fWidth == b.fWidth && a.fHeight == b.fHeight && a.fFormat == b.fFormat &&
           a.fRate == b.fRate;
}

KVValue toValue(const CameraSettings& settings) {
    return KVValue::Map{{"width", settings.fWidth},
                        {"height", settings.fHeight},
                        {"format", nameOf(settings.fFormat)},
                        {"rate", settings.fRate}};
}

KVValue toValue(const CameraDescription& description, const CameraSettings& settings) {
    KVValue::List modes;
    for (const CameraMode& mode : description.fModes) {
        modes.push_back(toValue(mode));
    }
    return KVValue::Map{{"name", description.fName},
                        {"description", description.fText},
                        {"modes", modes},
                        {"settings", toValue(settings)}};
}

CameraSettings changed(const CameraDescription& description, const CameraSettings& settings,
                       const KVValue::Map& changes) {
    requireKnownNames(description, changes);
    const auto width = changeNamed(description, changes, "width", toSide);
    const auto height = changeNamed(description, changes, "height", toSide);
    const auto format = changeNamed(description, changes, "format",
                                    [](const KVValue& value) { return value.toString(); });
    const auto rate = changeNamed(description, changes, "rate",
                                  [](const KVValue& value) { return value.toFloat(); });
    CameraSettings result = settings;
    result.fWidth = width.value_or(settings.fWidth);
    result.fHeight = height.value_or(settings.fHeight);
    result.fFormat = format ? toFormat(description, *format) : settings.fFormat;
    result.fRate = rate.value_or(settings.fRate);
    requireFit(description, result);
    return result;
}

}  // namespace robot
