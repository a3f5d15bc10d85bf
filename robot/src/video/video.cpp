#include "video/video.h"

#include <base/safe_text.h>
#include <robaxi/kv_error.h>

#include <algorithm>

namespace robot {

namespace {

/** Applies a fault; returns false if the frame is not sent. */
bool spoil(KVFrame& frame, FrameTrouble trouble) {
    if (trouble == FrameTrouble::Stopped) {
        return false;
    }
    frame = spoilt(frame, trouble);
    return true;
}

}  // namespace

Video::~Video() {
    for (const auto& channel : fChannels) {
        fModule->removeCamera(channel->name());
    }
}

void Video::add(const std::vector<KVCamera>& cameras) {
    for (const KVCamera& camera : cameras) {
        fChannels.push_back(std::make_unique<Channel>());
        Channel& channel = *fChannels.back();
        channel.fCamera = camera;
        if (camera.fMakeFrame) {
            channel.fCamera.fMakeFrame = [&channel, make = camera.fMakeFrame](
                                             const KVCameraSettings& settings, KVFrame& frame) {
                make(settings, frame);
                if (!spoil(frame, channel.fTrouble)) {
                    frame.fData.reset();
                }
            };
        }
    }
    for (const auto& channel : fChannels) {
        fModule->addCamera(channel->fCamera);
    }
}

void Video::publish(const std::string& camera, const KVFrame& frame) {
    KVFrame sent = frame;
    if (!spoil(sent, xFind(camera).fTrouble)) {
        return;
    }
    try {
        fModule->publish(camera, sent);
    } catch (const KVError&) {
        // The camera has just been removed, or the frame is too large to be sent: it is dropped.
    }
}

void Video::setTrouble(const std::string& camera, FrameTrouble trouble) {
    const std::lock_guard change(fChangeMutex);
    Channel& channel = xFind(camera);
    const bool wasHere = channel.isHere();
    channel.fTrouble = trouble;
    if (wasHere && !channel.isHere()) {
        channel.fCamera.fInfo.fSettings = fModule->getSettings(camera);
        fModule->removeCamera(camera);
    }
    if (!wasHere && channel.isHere()) {
        fModule->addCamera(channel.fCamera);
    }
}

Video::Channel& Video::xFind(const std::string& name) const {
    const auto found =
        std::find_if(fChannels.begin(), fChannels.end(),
                     [&name](const auto& channel) { return channel->name() == name; });
    if (found == fChannels.end()) {
        throw KVError(KVError::Cause::InvalidArgument,
                      "The robot has no camera '" + base::oneLine(name) + "'.");
    }
    return **found;
}

}  // namespace robot
