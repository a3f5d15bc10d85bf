#include "video/drawn_camera.h"

#include "video/stamp.h"

#include <base/time.h>
#include <picture/pixel_format.h>

namespace robot {

using picture::CameraSettings;

DrawnCamera::DrawnCamera(const picture::CameraInfo& description, Draw draw)
    : Camera(description),
      fDraw(std::move(draw)),
      fSettings(description.fSettings),
      fThread([this] { xRun(); }) {
}

DrawnCamera::~DrawnCamera() {
    {
        const std::lock_guard lock(fMutex);
        fStopping = true;
        fSink = {};
    }
    fWake.notify_all();
    fThread.join();
}

CameraSettings DrawnCamera::settings() const {
    const std::lock_guard lock(fMutex);
    return fSettings;
}

void DrawnCamera::apply(const CameraSettings& settings) {
    {
        const std::lock_guard lock(fMutex);
        fSettings = settings;
        fPacer.setRate(Pacer::Clock::now(), settings.fRate);
    }
    fWake.notify_all();
}

void DrawnCamera::start(Sink sink) {
    {
        const std::lock_guard lock(fMutex);
        if (fSink) {
            return;
        }
        fSink = std::move(sink);
        // Started here, since the camera's thread may sleep through a short rest.
        fPacer.start(Pacer::Clock::now(), fSettings.fRate);
    }
    fWake.notify_all();
}

void DrawnCamera::stop() {
    std::unique_lock lock(fMutex);
    fSink = {};
    fWake.notify_all();
    fWake.wait(lock, [this] { return !fIsBusy; });
}

void DrawnCamera::xRun() {
    std::unique_lock lock(fMutex);
    while (!fStopping) {
        if (!fSink) {
            fWake.wait(lock);
            continue;
        }
        const Pacer::Clock::time_point due = fPacer.due();
        const auto hasChanged = [&] { return !fSink || fPacer.due() != due; };
        if (!fWake.wait_until(lock, due, hasChanged)) {
            xMakeNext(lock);
        }
    }
}

/** Makes the frame that is due, without blocking other operations. */
void DrawnCamera::xMakeNext(std::unique_lock<std::mutex>& lock) {
    fNumber += fPacer.take(Pacer::Clock::now()) + 1;
    fIsBusy = true;
    const CameraSettings settings = fSettings;
    const Sink sink = fSink;
    const std::uint64_t number = fNumber;
    lock.unlock();
    xMakeFrame(settings, number, sink);
    lock.lock();
    fIsBusy = false;
    fWake.notify_all();
}

void DrawnCamera::xMakeFrame(const CameraSettings& settings, std::uint64_t number,
                             const Sink& sink) {
    const std::int64_t time = base::microsecondsNow();
    fCanvas.resize(settings.fWidth, settings.fHeight);
    fDraw(fCanvas);
    drawStamp(fCanvas, number, time);
    KVFrame frame = fEncoder.encode(fCanvas, picture::formatNamed(settings.fFormat));
    frame.fNumber = number;
    frame.fTime = time;
    sink(frame);
}

}  // namespace robot
