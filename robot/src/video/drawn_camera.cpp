#include "video/drawn_camera.h"

#include "clock.h"
#include "video/pacer.h"
#include "video/stamp.h"

namespace robot {

DrawnCamera::DrawnCamera(const CameraDescription& description, const CameraSettings& settings,
                         Draw draw)
    : Camera(description),
      fDraw(std::move(draw)),
      fSettings(settings),
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
    }
    fWake.notify_all();
}

void DrawnCamera::start(Sink sink) {
    {
        const std::lock_guard lock(fMutex);
        fSink = std::move(sink);
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
        fWake.wait(lock, [this] { return fStopping || fSink; });
        xWork(lock);
    }
}

/** Makes frames until it is to rest. */
void DrawnCamera::xWork(std::unique_lock<std::mutex>& lock) {
    Pacer pacer;
    pacer.start(Pacer::Clock::now(), fSettings.fRate);
    while (fSink) {
        const double rate = fSettings.fRate;
        pacer.setRate(Pacer::Clock::now(), rate);
        const auto hasChanged = [&] { return !fSink || fSettings.fRate != rate; };
        if (fWake.wait_until(lock, pacer.due(), hasChanged)) {
            continue;
        }
        fNumber += pacer.take(Pacer::Clock::now()) + 1;
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
}

void DrawnCamera::xMakeFrame(const CameraSettings& settings, std::uint64_t number,
                             const Sink& sink) {
    const std::int64_t time = microsecondsNow();
    fCanvas.resize(settings.fWidth, settings.fHeight);
    fDraw(fCanvas);
    drawStamp(fCanvas, number, time);
    KVFrame frame = fEncoder.encode(fCanvas, settings.fFormat);
    frame.fNumber = number;
    frame.fTime = time;
    sink(frame);
}

}  // namespace robot
