#include "video/video.h"

#include "video/camera_settings.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <boost/make_shared.hpp>

#include <algorithm>

namespace robot {

namespace {

constexpr std::size_t a_longestShown = 100;  // bytes of a client's text in a refusal

KVError noSuchCamera(const std::string& name) {
    return {
        KVError::Cause::RaisedByModule,
        "The robot has no camera '" + base::oneLine(base::shortened(name, a_longestShown)) + "'."};
}

/** The description of a camera with its present settings. */
picture::CameraInfo infoOf(const Camera& camera) {
    picture::CameraInfo info = camera.description();
    info.fSettings = camera.settings();
    return info;
}

}  // namespace

Video::Video(std::vector<std::unique_ptr<Camera>> cameras)
    : fFrames(boost::make_shared<KVFrameSource>()),
      fModule(boost::make_shared<KVModule>("KVVideo", "The robot's cameras.")) {
    for (std::unique_ptr<Camera>& camera : cameras) {
        fFrames->addStream(camera->name());
        fChannels.push_back(std::make_unique<Channel>());
        fChannels.back()->fCamera = std::move(camera);
    }
    fFrames->setDemandHandler(
        [this](const std::string& name, int watchers) { xFollowDemand(name, watchers); });
    xBindMethods();
    fModule->setFrames(fFrames);
}

Video::~Video() {
    fFrames->setDemandHandler({});
}

void Video::setTrouble(const std::string& camera, FrameTrouble trouble) {
    const std::lock_guard change(fChangeMutex);
    Channel& channel = xFind(camera);
    const bool wasHere = channel.isHere();
    channel.fTrouble = trouble;
    if (wasHere && !channel.isHere()) {
        fFrames->removeStream(camera);
        channel.fCamera->stop();
    }
    if (!wasHere && channel.isHere()) {
        fFrames->addStream(camera);
    }
}

void Video::xBindMethods() {
    fModule->bindMethod({"getCameras", "getCameras() -> list of map",
                         "The cameras: name, description, modes and present settings of each."},
                        {}, [this](const KVValue::List&) { return xDescriptions(); });
    fModule->bindMethod({"getSettings", "getSettings(camera: string) -> map",
                         "A camera's width, height, format and rate."},
                        {KVValue::Type::String}, [this](const KVValue::List& arguments) {
                            return xSettings(arguments[0].toString());
                        });
    fModule->bindMethod({"setSettings", "setSettings(camera: string, settings: map) -> map",
                         "Changes what is named; says what the camera can do when it refuses."},
                        {KVValue::Type::String, KVValue::Type::Map},
                        [this](const KVValue::List& arguments) {
                            return xChange(arguments[0].toString(), arguments[1].toMap());
                        });
}

void Video::xFollowDemand(const std::string& name, int watchers) {
    Channel& channel = xFind(name);
    if (watchers == 0) {
        channel.fCamera->stop();
        return;
    }
    channel.fCamera->start([this, &channel](const KVFrame& frame) { xPublish(channel, frame); });
}

void Video::xPublish(const Channel& channel, const KVFrame& frame) {
    const FrameTrouble trouble = channel.fTrouble;
    if (trouble == FrameTrouble::Stopped) {
        return;
    }
    try {
        fFrames->publish(channel.name(), spoilt(frame, trouble));
    } catch (const KVError&) {
        // The camera has just been removed, or the frame is too large to be sent: it is dropped.
    }
}

KVValue Video::xDescriptions() const {
    KVValue::List cameras;
    for (const auto& channel : fChannels) {
        if (channel->isHere()) {
            cameras.push_back(cameraValue(infoOf(*channel->fCamera)));
        }
    }
    return cameras;
}

KVValue Video::xSettings(const std::string& name) const {
    return settingsValue(xPresentCamera(name).settings());
}

KVValue Video::xChange(const std::string& name, const KVValue::Map& changes) {
    const std::lock_guard change(fChangeMutex);
    Camera& camera = xPresentCamera(name);
    const picture::CameraSettings settings = changed(infoOf(camera), changes);
    camera.apply(settings);
    return settingsValue(settings);
}

Video::Channel& Video::xFind(const std::string& name) const {
    const auto found =
        std::find_if(fChannels.begin(), fChannels.end(),
                     [&name](const auto& channel) { return channel->name() == name; });
    if (found == fChannels.end()) {
        throw noSuchCamera(name);
    }
    return **found;
}

Camera& Video::xPresentCamera(const std::string& name) const {
    const Channel& channel = xFind(name);
    if (!channel.isHere()) {
        throw noSuchCamera(name);
    }
    return *channel.fCamera;
}

}  // namespace robot
