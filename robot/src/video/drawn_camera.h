#ifndef OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H

#include "video/canvas.h"
#include "video/frame_encoder.h"

#include <robaxi/kv_camera.h>
#include <robaxi/kv_frame.h>

#include <functional>
#include <utility>

namespace robot {

/**
 * A camera with drawn pictures, with number and time of each frame drawn across the top. For one
 * thread at a time.
 */
class DrawnCamera {
  public:
    /** Draws the whole current picture. */
    using Draw = std::function<void(Canvas& canvas)>;

    explicit DrawnCamera(Draw draw) : fDraw(std::move(draw)) {}

    /** Completes a frame that has number and time. */
    void makeFrame(const KVCameraSettings& settings, KVFrame& frame);

  private:
    const Draw fDraw;
    Canvas fCanvas;
    FrameEncoder fEncoder;
};

}  // namespace robot

#endif
