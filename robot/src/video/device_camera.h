#ifndef OBVISTA_ROBOT_VIDEO_DEVICE_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_DEVICE_CAMERA_H

#include "video/capture_device.h"

#include <picture/camera_info.h>
#include <robaxi/kv_frame.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace robot {

/**
 * A camera of this computer, accessed through GStreamer. It has the device's sizes and rates;
 * formats that the device does not deliver are converted from those that it does. All operations
 * may be called from any thread.
 */
class DeviceCamera {
  public:
    /** Receives a frame, on a thread of the camera, one call at a time. */
    using Sink = std::function<void(const KVFrame&)>;
    /** Returns true if a client needs a key frame; called on that thread before each frame that is
     *  encoded here. */
    using IsKeyWanted = std::function<bool()>;

    /**
     * Does not access the device before it is started.
     *
     * @param name of its stream
     * @param device with at least one mode
     * @param complain called with a message when the device fails, on any thread
     * @throws std::runtime_error if GStreamer does not start
     */
    DeviceCamera(const std::string& name, const CaptureDevice& device,
                 std::function<void(const std::string&)> complain);
    ~DeviceCamera();
    DeviceCamera(const DeviceCamera&) = delete;
    DeviceCamera& operator=(const DeviceCamera&) = delete;

    /** Has its first settings, not the present ones. */
    const picture::CameraInfo& description() const { return fDescription; }
    picture::CameraSettings settings() const;

    /**
     * Applies the settings from the next picture on; the stream is not interrupted.
     *
     * @param settings settings that match one of its modes
     */
    void apply(const picture::CameraSettings& settings);

    /** Starts making frames; does nothing if it is already running. */
    void start(
        Sink sink, IsKeyWanted isKeyWanted = [] { return false; });
    /** Stops; returns when the sink is no longer being called. */
    void stop();

  private:
    class Pipeline;

    void xStartPipeline();
    void xEndPipeline();

    const picture::CameraInfo fDescription;
    const CaptureDevice fDevice;
    const std::function<void(const std::string&)> fComplain;
    mutable std::mutex fMutex;  // guards the following members
    picture::CameraSettings fSettings;
    Sink fSink;  // empty while it is stopped
    IsKeyWanted fIsKeyWanted;
    std::uint64_t fNumber = 0;  // of the last frame of the last pipeline
    std::unique_ptr<Pipeline> fPipeline;
};

/**
 * Returns the pipeline, in gst-launch syntax, that converts the device's pictures according to the
 * settings.
 */
std::string captureDescription(const CaptureDevice& device,
                               const picture::CameraSettings& settings);

}  // namespace robot

#endif
