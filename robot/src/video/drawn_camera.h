#ifndef OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H

#include "video/camera.h"
#include "video/canvas.h"
#include "video/frame_encoder.h"
#include "video/pacer.h"

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace robot {

/** A camera with drawn pictures, with number and time of each frame drawn across the top. */
class DrawnCamera : public Camera {
  public:
    /** Draws the whole current picture; called on the camera's thread. */
    using Draw = std::function<void(Canvas& canvas)>;

    DrawnCamera(const picture::CameraInfo& description, Draw draw);
    ~DrawnCamera() override;

    picture::CameraSettings settings() const override;
    void apply(const picture::CameraSettings& settings) override;
    void start(Sink sink) override;
    void stop() override;

  private:
    void xRun();
    void xMakeNext(std::unique_lock<std::mutex>& lock);
    void xMakeFrame(const picture::CameraSettings& settings, std::uint64_t number,
                    const Sink& sink);

    const Draw fDraw;
    // Used on the camera's thread.
    Canvas fCanvas;
    FrameEncoder fEncoder;

    mutable std::mutex fMutex;  // guards the following members
    std::condition_variable fWake;
    picture::CameraSettings fSettings;
    Sink fSink;    // empty while it is stopped
    Pacer fPacer;  // for the current run
    bool fIsBusy = false;
    bool fStopping = false;
    std::uint64_t fNumber = 0;

    std::thread fThread;
};

}  // namespace robot

#endif
