#ifndef OBVISTA_ROBOT_VIDEO_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_CAMERA_H

#include <picture/camera_info.h>
#include <robaxi/kv_frame.h>

#include <functional>
#include <utility>

namespace robot {

/** A source of frames for one stream. All operations may be called from any thread. */
class Camera {
  public:
    /** Receives a frame, on a thread of the camera, one call at a time. */
    using Sink = std::function<void(const KVFrame&)>;

    /** @param description with its first settings */
    explicit Camera(picture::CameraInfo description) : fDescription(std::move(description)) {}
    virtual ~Camera() = default;
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    const std::string& name() const { return fDescription.fName; }
    /** Has its first settings, not the present ones. */
    const picture::CameraInfo& description() const { return fDescription; }
    virtual picture::CameraSettings settings() const = 0;

    /**
     * Applies the settings from the next picture on; the stream is not interrupted.
     *
     * @param settings settings that match one of its modes
     */
    virtual void apply(const picture::CameraSettings& settings) = 0;

    /** Starts making frames, the first one at once; does nothing if it is already running. */
    virtual void start(Sink sink) = 0;
    /** Stops; returns when the sink is no longer being called. */
    virtual void stop() = 0;

  private:
    const picture::CameraInfo fDescription;
};

}  // namespace robot

#endif
