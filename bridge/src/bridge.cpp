#include "bridge.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <memory>
#include <utility>

namespace bridge {

namespace {

constexpr std::size_t a_mostCameras = 256;
// Data from the network must not fill a log.
constexpr std::chrono::minutes a_linePeriod(1);
constexpr int a_mostLines = 60;
constexpr double a_rate = 30;  // frames a second that a camera claims; a source does not know it

}  // namespace

Bridge::Bridge(std::function<void(const std::string&)> complain)
    : fComplain(std::move(complain)),
      fMemory(std::make_shared<KVMemoryModule>()),
      fVideo(std::make_shared<KVVideoModule>()),
      fKeys(fMemory) {
}

void Bridge::setValues(const std::string& group, const std::vector<SourceValue>& values) {
    const std::lock_guard lock(fMutex);
    xReportLimit(group, fKeys.set(group, values));
}

void Bridge::replaceValues(const std::string& group, const std::vector<SourceValue>& values) {
    const std::lock_guard lock(fMutex);
    xReportLimit(group, fKeys.replace(group, values));
}

void Bridge::xReportLimit(const std::string& group, bool isComplete) {
    if (!isComplete && !std::exchange(fHasReportedLimit, true)) {
        complain("values of the " + base::oneLine(group) +
                 " are left out: their names are taken or too long, or there are too many");
    }
}

void Bridge::addWritable(const std::string& group, const SourceValue& value,
                         std::function<void(const KVValue&)> write) {
    const std::lock_guard lock(fMutex);
    fKeys.addWritable(group, value, std::move(write));
}

void Bridge::removeGroup(const std::string& group) {
    const std::lock_guard lock(fMutex);
    fKeys.remove(group);
}

void Bridge::addCamera(const SourceCamera& camera) {
    removeCamera(camera.fName);
    const std::lock_guard lock(fMutex);
    if (fCameras.size() >= a_mostCameras) {
        complain("the camera " + base::oneLine(camera.fName) + " is left out: there are too many");
        return;
    }
    try {
        fVideo->addCamera({{camera.fName,
                            camera.fDescription,
                            {},
                            {camera.fWidth, camera.fHeight, camera.fFormat, a_rate}},
                           nullptr,
                           nullptr,
                           camera.fWatch});
        fCameras.insert(camera.fName);
    } catch (const KVError& failure) {
        complain(base::oneLine(failure.toString()));
    }
}

void Bridge::removeCamera(const std::string& name) {
    fVideo->removeCamera(name);
    const std::lock_guard lock(fMutex);
    fCameras.erase(name);
}

void Bridge::publish(const std::string& camera, const KVFrame& frame) {
    try {
        fVideo->publish(camera, frame);
    } catch (const KVError& failure) {
        complain(base::oneLine(failure.toString()));
    }
}

void Bridge::complain(const std::string& line) {
    const std::lock_guard lock(fLineMutex);
    const auto now = std::chrono::steady_clock::now();
    if (now - fLinesBegin > a_linePeriod) {
        fLinesBegin = now;
        fLines = 0;
    }
    if (++fLines < a_mostLines) {
        fComplain(line);
    } else if (fLines == a_mostLines) {
        fComplain("further lines are left out for a while");
    }
}

}  // namespace bridge
