#include "picture/camera_info.h"

#include <robaxi/kv_error.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <set>
#include <tuple>

namespace picture {

namespace {

constexpr double a_maxRate = 10000;
constexpr std::size_t a_maxDescriptionLength = 1000;

const KVValue* member(const KVValue& value, const char* key, KVValue::Type type) {
    if (value.type() != KVValue::Type::Map) {
        return nullptr;
    }
    const KVValue::Map& map = value.toMap();
    const auto found = map.find(key);
    return found != map.end() && found->second.type() == type ? &found->second : nullptr;
}

std::string text(const KVValue& value, const char* key, std::size_t maxLength) {
    const KVValue* found = member(value, key, KVValue::Type::String);
    return found != nullptr && found->toString().size() <= maxLength ? found->toString()
                                                                     : std::string();
}

int side(const KVValue& value, const char* key) {
    const KVValue* found = member(value, key, KVValue::Type::Int);
    const std::int64_t pixels = found != nullptr ? found->toInt() : 0;
    return pixels > 0 && pixels <= a_maxSide ? static_cast<int>(pixels) : 0;
}

/** Returns a valid rate, or 0. */
double rate(const KVValue& value) {
    if (value.type() != KVValue::Type::Float && value.type() != KVValue::Type::Int) {
        return 0;
    }
    const double number = value.toFloat();
    return number > 0 && number <= a_maxRate ? number : 0;
}

const KVValue::List& list(const KVValue& value, const char* key) {
    static const KVValue::List empty;
    const KVValue* found = member(value, key, KVValue::Type::List);
    return found != nullptr ? found->toList() : empty;
}

template <class T>
void addOnce(std::vector<T>& all, const T& one) {
    if (all.size() < a_maxChoices && std::find(all.begin(), all.end(), one) == all.end()) {
        all.push_back(one);
    }
}

std::optional<CameraMode> readMode(const KVValue& value) {
    CameraMode mode;
    mode.fWidth = side(value, "width");
    mode.fHeight = side(value, "height");
    for (const KVValue& format : list(value, "formats")) {
        if (format.type() == KVValue::Type::String && !format.toString().empty() &&
            format.toString().size() <= a_maxNameLength) {
            addOnce(mode.fFormats, format.toString());
        }
    }
    for (const KVValue& one : list(value, "rates")) {
        if (rate(one) > 0) {
            addOnce(mode.fRates, rate(one));
        }
    }
    const bool makesSense =
        mode.fWidth > 0 && mode.fHeight > 0 && !mode.fFormats.empty() && !mode.fRates.empty();
    return makesSense ? std::make_optional(mode) : std::nullopt;
}

CameraInfo readCamera(const KVValue& value) {
    CameraInfo camera;
    camera.fName = text(value, "name", a_maxNameLength);
    camera.fDescription = text(value, "description", a_maxDescriptionLength);
    for (const KVValue& one : list(value, "modes")) {
        const std::optional<CameraMode> mode = readMode(one);
        if (mode && camera.fModes.size() < a_maxModes) {
            camera.fModes.push_back(*mode);
        }
    }
    if (const KVValue* settings = member(value, "settings", KVValue::Type::Map)) {
        camera.fSettings = readSettings(*settings);
    }
    return camera;
}

std::int64_t pixels(int width, int height) {
    return std::int64_t(width) * height;
}

/** Returns the distance of a mode from the wanted settings; earlier elements have priority. */
std::tuple<std::int64_t, bool, double> distance(const CameraMode& mode,
                                                const CameraSettings& wanted) {
    const bool sameSize = mode.fWidth == wanted.fWidth && mode.fHeight == wanted.fHeight;
    const std::int64_t size =
        sameSize
            ? -1
            : std::abs(pixels(mode.fWidth, mode.fHeight) - pixels(wanted.fWidth, wanted.fHeight));
    const bool hasOtherFormat = std::find(mode.fFormats.begin(), mode.fFormats.end(),
                                          wanted.fFormat) == mode.fFormats.end();
    double rateDistance = std::numeric_limits<double>::infinity();
    for (const double one : mode.fRates) {
        rateDistance = std::min(rateDistance, std::fabs(one - wanted.fRate));
    }
    return {size, hasOtherFormat, rateDistance};
}

}  // namespace

std::vector<CameraInfo> readCameras(const KVValue& answer) {
    std::vector<CameraInfo> cameras;
    std::set<std::string> names;
    for (const KVValue& one : answer.toList()) {
        CameraInfo camera = readCamera(one);
        if (!camera.fName.empty() && names.insert(camera.fName).second &&
            cameras.size() < a_maxCameras) {
            cameras.push_back(std::move(camera));
        }
    }
    return cameras;
}

CameraSettings readSettings(const KVValue& value) {
    CameraSettings settings;
    settings.fWidth = side(value, "width");
    settings.fHeight = side(value, "height");
    settings.fFormat = text(value, "format", a_maxNameLength);
    if (value.type() == KVValue::Type::Map) {
        const auto found = value.toMap().find("rate");
        settings.fRate = found != value.toMap().end() ? rate(found->second) : 0;
    }
    const KVValue* const bitRate = member(value, "bitRate", KVValue::Type::Int);
    if (bitRate != nullptr && bitRate->toInt() >= CameraSettings::a_lowestBitRate &&
        bitRate->toInt() <= CameraSettings::a_highestBitRate) {
        settings.fBitRate = static_cast<int>(bitRate->toInt());
    }
    return settings;
}

std::vector<CameraMode> modesOfSize(const CameraInfo& camera, int width, int height) {
    std::vector<CameraMode> modes;
    std::copy_if(
        camera.fModes.begin(), camera.fModes.end(), std::back_inserter(modes),
        [&](const CameraMode& mode) { return mode.fWidth == width && mode.fHeight == height; });
    return modes;
}

CameraSettings fittedSettings(const CameraInfo& camera, const CameraSettings& wanted) {
    const auto nearest =
        std::min_element(camera.fModes.begin(), camera.fModes.end(),
                         [&](const CameraMode& left, const CameraMode& right) {
                             return distance(left, wanted) < distance(right, wanted);
                         });
    if (nearest == camera.fModes.end()) {
        return wanted;
    }
    CameraSettings fitted = wanted;
    fitted.fWidth = nearest->fWidth;
    fitted.fHeight = nearest->fHeight;
    const auto& formats = nearest->fFormats;
    if (std::find(formats.begin(), formats.end(), wanted.fFormat) == formats.end()) {
        fitted.fFormat = formats.front();
    }
    fitted.fRate = *std::min_element(
        nearest->fRates.begin(), nearest->fRates.end(), [&](double left, double right) {
            return std::fabs(left - wanted.fRate) < std::fabs(right - wanted.fRate);
        });
    return fitted;
}

}  // namespace picture
