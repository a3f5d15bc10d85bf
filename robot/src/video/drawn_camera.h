#ifndef OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_DRAWN_CAMERA_H

#include "video/canvas.h"
#include "video/frame_encoder.h"

#include <robaxi/kv_camera.h>
#include <robaxi/kv_frame.h>

#include <functional>
#include <utility>

namespace robot {

/** Number and time of each frame, drawn across the top of its picture for tests (video/stamp.h). */
enum class Stamp { None, Drawn };

/** A camera with drawn pictures. For one thread at a time. */
class DrawnCamera {
  public:
    /** Draws the whole current picture. */
    using Draw = std::function<void(Canvas& canvas)>;

    /** @param complain see FrameEncoder */
    DrawnCamera(Draw draw, Stamp stamp, FrameEncoder::Complain complain = {})
        : fDraw(std::move(draw)), fStamp(stamp), fEncoder(std::move(complain)) {}

    /** Completes a frame that has number and time. */
    void makeFrame(const KVCameraSettings& settings, KVFrame& frame);

  private:
    const Draw fDraw;
    const Stamp fStamp;
    Canvas fCanvas;
    FrameEncoder fEncoder;
};

}  // namespace robot

#endif
