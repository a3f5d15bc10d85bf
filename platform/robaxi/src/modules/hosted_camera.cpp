#include "modules/hosted_camera.h"

#include "modules/camera_settings.h"
#include "start_thread.h"

#include <base/time.h>

#include <utility>

namespace robaxi {

namespace {

constexpr const char* a_h264 = "h264";

}  // namespace

HostedCamera::HostedCamera(KVCamera camera, Send send, IsKeyWanted isKeyWanted)
    : fCamera(std::move(camera)),
      fSend(std::move(send)),
      fIsKeyWanted(std::move(isKeyWanted)),
      fSettings(fCamera.fInfo.fSettings) {
    if (fCamera.fMakeFrame) {
        fThread = startThread([this] { xRun(); });
    }
}

HostedCamera::~HostedCamera() {
    end();
}

KVCameraInfo HostedCamera::info() const {
    KVCameraInfo info = fCamera.fInfo;
    const std::lock_guard lock(fMutex);
    info.fSettings = fSettings;
    return info;
}

KVCameraSettings HostedCamera::change(const KVValue::Map& changes) {
    const std::lock_guard change(fChangeMutex);
    if (fIsEnded) {
        throw noSuchCamera(fCamera.fInfo.fName);
    }
    KVCameraSettings settings = changedSettings(info(), changes);
    if (fCamera.fApply) {
        fCamera.fApply(settings);
    }
    {
        const std::lock_guard lock(fMutex);
        fSettings = settings;
        fPacer.setRate(base::Pacer::Clock::now(), settings.fRate);
    }
    fWake.notify_all();
    return settings;
}

void HostedCamera::setWatched(bool isWatched) {
    const std::lock_guard watch(fWatchMutex);
    if (!fIsEnded) {
        xSetWatched(isWatched);
    }
}

/** Requires fWatchMutex. */
void HostedCamera::xSetWatched(bool isWatched) {
    {
        const std::lock_guard lock(fMutex);
        if (isWatched == fIsWatched) {
            return;
        }
        fIsWatched = isWatched;
        // Started here, since the camera's thread may sleep through a short rest.
        fPacer.start(base::Pacer::Clock::now(), fSettings.fRate);
    }
    fWake.notify_all();
    if (fCamera.fWatch) {
        fCamera.fWatch(isWatched);
    }
}

void HostedCamera::publish(KVFrame frame) {
    if (frame.fTime == 0) {
        frame.fTime = base::microsecondsNow();
    }
    if (frame.fNumber == 0) {
        const std::lock_guard lock(fMutex);
        frame.fNumber = ++fNumber;
    }
    fSend(frame);
}

void HostedCamera::end() {
    {
        const std::lock_guard watch(fWatchMutex);
        if (!fIsEnded) {
            fIsEnded = true;
            xSetWatched(false);
        }
    }
    {
        const std::lock_guard lock(fMutex);
        fIsStopping = true;
    }
    fWake.notify_all();
    if (fThread.joinable()) {
        fThread.join();
    }
    const std::lock_guard change(fChangeMutex);  // waits for a change that is being applied
}

void HostedCamera::xRun() {
    std::unique_lock lock(fMutex);
    while (!fIsStopping) {
        if (!fIsWatched) {
            fWake.wait(lock);
            continue;
        }
        const base::Pacer::Clock::time_point due = fPacer.due();
        const auto hasChanged = [&] { return fIsStopping || !fIsWatched || fPacer.due() != due; };
        if (!fWake.wait_until(lock, due, hasChanged)) {
            xMakeNext(lock);
        }
    }
}

void HostedCamera::xSend(const KVFrame& frame) const {
    try {
        fSend(frame);
    } catch (const KVError&) {
        // The camera has just been removed, or the frame is too large to be sent: it is dropped.
    }
}

/** Makes the frame that is due, without blocking other operations. */
void HostedCamera::xMakeNext(std::unique_lock<std::mutex>& lock) {
    fNumber += fPacer.take(base::Pacer::Clock::now()) + 1;
    KVFrame frame;
    frame.fNumber = fNumber;
    frame.fTime = base::microsecondsNow();
    frame.fWidth = static_cast<std::uint32_t>(fSettings.fWidth);
    frame.fHeight = static_cast<std::uint32_t>(fSettings.fHeight);
    const KVCameraSettings settings = fSettings;
    lock.unlock();
    frame.fIsKey = settings.fFormat == a_h264 && fIsKeyWanted();
    fCamera.fMakeFrame(settings, frame);
    if (frame.fData) {
        xSend(frame);
    }
    lock.lock();
}

}  // namespace robaxi
