#include "snapshot/camera.h"

#include "process/failure.h"
#include "values/value_text.h"

#include <base/listed.h>
#include <base/safe_text.h>

#include <algorithm>
#include <iomanip>
#include <sstream>

namespace robaxi_tool {

namespace {

constexpr int a_nameWidth = 12;
constexpr int a_sizeWidth = 10;
constexpr int a_formatWidth = 8;
constexpr int a_rateWidth = 8;

}  // namespace

Cameras camerasOf(const KVValue& described) {
    return described.type() == KVValue::Type::List ? picture::readCameras(described) : Cameras();
}

const picture::CameraInfo& findCamera(const Cameras& cameras, const std::string& name) {
    const auto found =
        std::find_if(cameras.begin(), cameras.end(),
                     [&](const picture::CameraInfo& camera) { return camera.fName == name; });
    if (found == cameras.end()) {
        const auto nameOf = [](const picture::CameraInfo& camera) { return camera.fName; };
        throw Failure(ExitStatus::NotOffered,
                      "There is no camera named " + name +
                          ". The robot has: " + base::listed(cameras, nameOf) + '.');
    }
    return *found;
}

std::string textOfCamera(const picture::CameraInfo& camera) {
    std::ostringstream line;
    const std::string size =
        std::to_string(camera.fSettings.fWidth) + 'x' + std::to_string(camera.fSettings.fHeight);
    line << std::left << std::setw(a_nameWidth) << base::oneLine(camera.fName) << ' '
         << std::setw(a_sizeWidth) << size << ' ' << std::setw(a_formatWidth)
         << base::oneLine(camera.fSettings.fFormat) << ' ' << std::setw(a_rateWidth)
         << valueText(KVValue(camera.fSettings.fRate)) + "/s" << ' '
         << base::oneLine(camera.fDescription) << '\n';
    return line.str();
}

std::string jsonOfCamera(const picture::CameraInfo& camera) {
    return jsonLine({{"name", camera.fName},
                     {"description", camera.fDescription},
                     {"width", camera.fSettings.fWidth},
                     {"height", camera.fSettings.fHeight},
                     {"format", camera.fSettings.fFormat},
                     {"rate", camera.fSettings.fRate}});
}

}  // namespace robaxi_tool
