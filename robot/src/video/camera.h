#ifndef OBVISTA_ROBOT_VIDEO_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_CAMERA_H

#include "video/camera_settings.h"

#include <robaxi/kv_frame.h>

#include <functional>
#include <utility>

namespace robot {

/** Makes the frames of one stream. All operations may be called from any thread. */
class Camera {
  public:
    /** Takes a frame, on a thread of the camera, one call at a time. */
    using Sink = std::function<void(const KVFrame&)>;

    explicit Camera(CameraDescription description) : fDescription(std::move(description)) {}
    virtual ~Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const CameraDescription& description() const { return fDescription; }
    virtual CameraSettings settings() const = 0;

    /**
     * Makes its pictures so from the next one on; runs on without a break.
     *
     * @param settings that fit one of its modes
     */
    virtual void apply(const CameraSettings& settings) = 0;

    /** Makes frames from now on, the first at once; changes nothing when it does already. */
    virtual void start(Sink sink) = 0;
    /** Rests; returns when the sink is not being called any more. */
    virtual void stop() = 0;

  private:
    const CameraDescription fDescription;
};

}  // namespace robot

#endif
