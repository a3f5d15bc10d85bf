#include "snapshot/camera.h"

#include "process/failure.h"
#include "values/value_text.h"

#include <base/safe_text.h>

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_nameWidth = 12;
constexpr int a_sizeWidth = 10;
constexpr int a_formatWidth = 8;
constexpr int a_rateWidth = 8;

/** Returns an entry of a map, or nothing. */
KVValue entry(const KVValue& map, const char* key) {
    if (map.type() != KVValue::Type::Map) {
        return {};
    }
    const auto found = map.toMap().find(key);
    return found == map.toMap().end() ? KVValue() : found->second;
}

std::string textEntry(const KVValue& map, const char* key) {
    const KVValue value = entry(map, key);
    return value.type() == KVValue::Type::String ? value.toString() : std::string();
}

std::int64_t sizeEntry(const KVValue& map, const char* key) {
    const KVValue value = entry(map, key);
    return value.type() == KVValue::Type::Int ? std::max<std::int64_t>(value.toInt(), 0) : 0;
}

double rateEntry(const KVValue& map, const char* key) {
    const KVValue value = entry(map, key);
    const bool isNumber =
        value.type() == KVValue::Type::Int || value.type() == KVValue::Type::Float;
    const double rate = isNumber ? value.toFloat() : 0;
    return std::isfinite(rate) && rate > 0 ? rate : 0;
}

std::string listed(const std::vector<Camera>& cameras) {
    std::string names;
    for (const Camera& camera : cameras) {
        names += (names.empty() ? "" : ", ") + camera.fName;
    }
    return names;
}

}  // namespace

std::vector<Camera> camerasOf(const KVValue& described) {
    std::vector<Camera> cameras;
    if (described.type() != KVValue::Type::List) {
        return cameras;
    }
    for (const KVValue& one : described.toList()) {
        const KVValue settings = entry(one, "settings");
        const Camera camera{textEntry(one, "name"),        textEntry(one, "description"),
                            sizeEntry(settings, "width"),  sizeEntry(settings, "height"),
                            textEntry(settings, "format"), rateEntry(settings, "rate")};
        if (!camera.fName.empty()) {
            cameras.push_back(camera);
        }
    }
    return cameras;
}

const Camera& findCamera(const std::vector<Camera>& cameras, const std::string& name) {
    const auto found = std::find_if(cameras.begin(), cameras.end(),
                                    [&](const Camera& camera) { return camera.fName == name; });
    if (found == cameras.end()) {
        throw Failure(ExitStatus::NotOffered, "There is no camera named " + name +
                                                  ". The robot has: " + listed(cameras) + '.');
    }
    return *found;
}

std::string textOfCamera(const Camera& camera) {
    std::ostringstream line;
    const std::string size = std::to_string(camera.fWidth) + 'x' + std::to_string(camera.fHeight);
    line << std::left << std::setw(a_nameWidth) << base::oneLine(camera.fName) << ' '
         << std::setw(a_sizeWidth) << size << ' ' << std::setw(a_formatWidth)
         << base::oneLine(camera.fFormat) << ' ' << std::setw(a_rateWidth)
         << valueText(KVValue(camera.fRate)) + "/s" << ' ' << base::oneLine(camera.fDescription)
         << '\n';
    return line.str();
}

std::string jsonOfCamera(const Camera& camera) {
    return jsonLine({{"name", camera.fName},
                     {"description", camera.fDescription},
                     {"width", camera.fWidth},
                     {"height", camera.fHeight},
                     {"format", camera.fFormat},
                     {"rate", camera.fRate}});
}

}  // namespace robaxi_tool
