#include "video_robot.h"

#include "loopback_broker.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_module.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <thread>

namespace obvista_test {

namespace {

KVValue modes() {
    const KVValue::List formats{KVValue("rgb"), KVValue("yuv422"), KVValue("grey"),
                                KVValue("jpeg")};
    const KVValue::List rates{KVValue(5.0), KVValue(15.0), KVValue(30.0)};
    KVValue::List list;
    for (const int width : {160, 320}) {
        list.emplace_back(KVValue::Map{{"width", KVValue(width)},
                                       {"height", KVValue(width * 3 / 4)},
                                       {"formats", KVValue(formats)},
                                       {"rates", KVValue(rates)}});
    }
    return KVValue(list);
}

std::int64_t now() {
    using std::chrono::duration_cast;
    return duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace

VideoRobot::VideoRobot(const std::string& name, Video video, int port)
    : fFrames(std::make_shared<KVFrameSource>()), fBroker(createTestBroker(name, port)) {
    fPort = fBroker->getPort();
    if (video == Video::Missing) {
        return;
    }
    const auto module = std::make_shared<KVModule>("KVVideo", "cameras of a test");
    module->bindMethod({"getCameras", "getCameras()", "Lists the cameras."}, {},
                       [this](const KVValue::List&) {
                           xWait();
                           return xGetCameras();
                       });
    module->bindMethod({"setSettings", "setSettings(camera: string, settings: map)", "Sets one."},
                       {KVValue::Type::String, KVValue::Type::Map},
                       [this](const KVValue::List& arguments) {
                           xWait();
                           return xSetSettings(arguments);
                       });
    module->setFrames(fFrames);
    fBroker->addModule(module);
}

VideoRobot::~VideoRobot() {
    stop();
}

void VideoRobot::addCamera(const std::string& name, const KVValue::Map& settings) {
    KVValue::Map all = settings;
    all.insert({{"width", KVValue(320)},
                {"height", KVValue(240)},
                {"format", KVValue("rgb")},
                {"rate", KVValue(30.0)}});
    const std::lock_guard<std::mutex> lock(fMutex);
    fCameras.push_back({name, all});
    fFrames->addStream(name);
}

void VideoRobot::removeCamera(const std::string& name) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fCameras.erase(xFind(name));
    }
    fFrames->removeStream(name);
}

void VideoRobot::publish(const std::string& camera, KVFrame frame) {
    if (frame.fNumber == 0) {
        const std::lock_guard<std::mutex> lock(fMutex);
        frame.fNumber = ++fNumbers[camera];
    }
    if (frame.fTime == 0) {
        frame.fTime = now();
    }
    fFrames->publish(camera, frame);
}

int VideoRobot::watchers(const std::string& camera) const {
    return fFrames->getWatchers(camera);
}

void VideoRobot::refuse(const std::string& sentence) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fRefusal = sentence;
}

void VideoRobot::delay(std::chrono::milliseconds time) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fDelay = time;
}

int VideoRobot::lists() const {
    const std::lock_guard<std::mutex> lock(fMutex);
    return fLists;
}

void VideoRobot::lieAboutCameras(const KVValue& answer) {
    const std::lock_guard<std::mutex> lock(fMutex);
    fLie = answer;
}

KVValue::Map VideoRobot::settings(const std::string& camera) {
    const std::lock_guard<std::mutex> lock(fMutex);
    return xFind(camera)->fSettings;
}

void VideoRobot::setSettings(const std::string& camera, const KVValue::Map& settings) {
    const std::lock_guard<std::mutex> lock(fMutex);
    for (const auto& [key, value] : settings) {
        xFind(camera)->fSettings[key] = value;
    }
}

void VideoRobot::stop() {
    fBroker.reset();
}

/** Requires fMutex. @throws std::out_of_range for a camera that was not added */
std::vector<VideoRobot::Camera>::iterator VideoRobot::xFind(const std::string& name) {
    const auto found = std::find_if(fCameras.begin(), fCameras.end(),
                                    [&](const Camera& camera) { return camera.fName == name; });
    if (found == fCameras.end()) {
        throw std::out_of_range("no camera " + name);
    }
    return found;
}

KVValue VideoRobot::xGetCameras() {
    const std::lock_guard<std::mutex> lock(fMutex);
    ++fLists;
    if (!fLie.isNothing()) {
        return fLie;
    }
    KVValue::List cameras;
    for (const Camera& camera : fCameras) {
        cameras.emplace_back(KVValue::Map{{"name", KVValue(camera.fName)},
                                          {"description", KVValue("a camera of a test")},
                                          {"modes", modes()},
                                          {"settings", KVValue(camera.fSettings)}});
    }
    return KVValue(cameras);
}

KVValue VideoRobot::xSetSettings(const KVValue::List& arguments) {
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        if (!fRefusal.empty()) {
            throw KVError(KVError::Cause::RaisedByModule, fRefusal);
        }
    }
    setSettings(arguments.at(0).toString(), arguments.at(1).toMap());
    return KVValue(settings(arguments.at(0).toString()));
}

void VideoRobot::xWait() const {
    std::chrono::milliseconds time{0};
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        time = fDelay;
    }
    std::this_thread::sleep_for(time);
}

}  // namespace obvista_test
