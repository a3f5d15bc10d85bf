#include "modules/camera_settings.h"
#include "modules/hosted_camera.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_video_module.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

struct KVVideoModule::Private {
    using Camera = std::shared_ptr<robaxi::HostedCamera>;

    /** @throws KVError InvalidArgument if there is no such camera */
    Camera find(const std::string& name) const;
    /** Returns null if there is no such camera. */
    Camera take(const std::string& name);
    std::vector<Camera> all() const;

    const std::shared_ptr<KVFrameSource> fFrames = std::make_shared<KVFrameSource>();
    mutable std::mutex fMutex;  // guards fCameras, and that they are the streams of fFrames
    std::vector<std::pair<std::string, Camera>> fCameras;  // in the order of their addition
};

KVVideoModule::Private::Camera KVVideoModule::Private::find(const std::string& name) const {
    const std::lock_guard lock(fMutex);
    for (const auto& [known, camera] : fCameras) {
        if (known == name) {
            return camera;
        }
    }
    throw robaxi::noSuchCamera(name);
}

KVVideoModule::Private::Camera KVVideoModule::Private::take(const std::string& name) {
    const std::lock_guard lock(fMutex);
    const auto found = std::find_if(fCameras.begin(), fCameras.end(),
                                    [&name](const auto& each) { return each.first == name; });
    if (found == fCameras.end()) {
        return nullptr;
    }
    Camera camera = std::move(found->second);
    fCameras.erase(found);
    fFrames->removeStream(name);
    return camera;
}

std::vector<KVVideoModule::Private::Camera> KVVideoModule::Private::all() const {
    const std::lock_guard lock(fMutex);
    std::vector<Camera> cameras;
    for (const auto& [name, camera] : fCameras) {
        cameras.push_back(camera);
    }
    return cameras;
}

KVVideoModule::KVVideoModule(const std::string& description)
    : KVModule("KVVideo", description), fPrivate(std::make_unique<Private>()) {
    fPrivate->fFrames->setDemandHandler([this](const std::string& name, int watchers) {
        try {
            fPrivate->find(name)->setWatched(watchers > 0);
        } catch (const KVError&) {
            // The camera has just been removed.
        }
    });
    setFrames(fPrivate->fFrames);
    bindMethod(
        "getCameras",
        [this] {
            KVValue::List cameras;
            for (const Private::Camera& camera : fPrivate->all()) {
                cameras.push_back(camera->info().toValue());
            }
            return cameras;
        },
        "Returns the cameras: name, description, modes and current settings of each.");
    bindMethod(
        "getSettings",
        [this](const std::string& camera) { return getSettings(camera).toValue().toMap(); },
        "Returns a camera's width, height, format and rate.");
    bindMethod(
        "setSettings",
        [this](const std::string& camera, const KVValue::Map& settings) {
            return fPrivate->find(camera)->change(settings).toValue().toMap();
        },
        "Changes the given settings and returns all; a refusal lists what the camera supports.");
}

KVVideoModule::~KVVideoModule() {
    fPrivate->fFrames->setDemandHandler({});
    for (const Private::Camera& camera : fPrivate->all()) {
        removeCamera(camera->info().fName);
    }
}

void KVVideoModule::addCamera(const KVCamera& camera) {
    KVCamera added = camera;
    const KVCameraSettings& settings = added.fInfo.fSettings;
    if (added.fInfo.fModes.empty()) {
        added.fInfo.fModes = {
            {settings.fWidth, settings.fHeight, {settings.fFormat}, {settings.fRate}}};
    }
    const std::string& name = camera.fInfo.fName;
    if (settings.fWidth <= 0 || settings.fHeight <= 0 || !(settings.fRate > 0)) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "The camera " + name + " needs a width, a height and a rate above 0.");
    }
    robaxi::requireMode(added.fInfo, settings);
    const auto send = [frames = fPrivate->fFrames, name](const KVFrame& frame) {
        frames->publish(name, frame);
    };
    const auto isKeyWanted = [frames = fPrivate->fFrames, name] {
        return frames->takeKeyFrameRequest(name);
    };
    auto hosted = std::make_shared<robaxi::HostedCamera>(added, send, isKeyWanted);
    const std::lock_guard lock(fPrivate->fMutex);
    fPrivate->fFrames->addStream(name);
    fPrivate->fCameras.emplace_back(name, std::move(hosted));
}

void KVVideoModule::removeCamera(const std::string& name) {
    if (const Private::Camera camera = fPrivate->take(name)) {
        camera->end();
    }
}

void KVVideoModule::publish(const std::string& camera, KVFrame frame) {
    fPrivate->find(camera)->publish(std::move(frame));
}

bool KVVideoModule::takeKeyFrameRequest(const std::string& camera) {
    return fPrivate->fFrames->takeKeyFrameRequest(camera);
}

KVCameraSettings KVVideoModule::getSettings(const std::string& camera) const {
    return fPrivate->find(camera)->info().fSettings;
}
