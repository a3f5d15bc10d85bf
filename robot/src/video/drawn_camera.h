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

/** A camera whose pictures are drawn, with number and time of each frame over its top. */
class DrawnCamera : public Camera {
  public:
    /** Draws the whole picture as it is now; called on the camera's thread. */
    using Draw = std::function<void(Canvas& canvas)>;

    /** @throws std::runtime_error when the JPEG library cannot be started */
    DrawnCamera(const CameraDescription& description, const CameraSettings& settings, Draw draw);
    ~DrawnCamera() override;

    CameraSettings settings() const override;
    void apply(const CameraSettings& settings) override;
    void start(Sink sink) override;
    void stop() override;

  private:
    void xRun();
    void xMakeNext(std::unique_lock<std::mutex>& lock);
    void xMakeFrame(const CameraSettings& settings, std::uint64_t number, const Sink& sink);

    const Draw fDraw;
    // Of the camera's thread.
    Canvas fCanvas;
    FrameEncoder fEncoder;

    mutable std::mutex fMutex;  // guards what follows
    std::condition_variable fWake;
    CameraSettings fSettings;
    Sink fSink;    // empty while it rests
    Pacer fPacer;  // of the present run
    bool fIsBusy = false;
    bool fStopping = false;
    std::uint64_t fNumber = 0;

    std::thread fThread;
};

}  // namespace robot

#endif
