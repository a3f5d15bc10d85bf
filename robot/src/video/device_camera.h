#ifndef OBVISTA_ROBOT_VIDEO_DEVICE_CAMERA_H
#define OBVISTA_ROBOT_VIDEO_DEVICE_CAMERA_H

#include "video/camera.h"
#include "video/capture_device.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace robot {

/**
 * A camera of this computer, by way of GStreamer. It has the sizes and rates of the device; formats
 * that the device does not deliver are made from those that it does.
 */
class DeviceCamera : public Camera {
  public:
    /**
     * Does not touch the device before it is started.
     *
     * @param name of its stream
     * @param device with at least one mode
     * @param complain told when the device fails, on any thread
     * @throws std::runtime_error when GStreamer does not start
     */
    DeviceCamera(const std::string& name, const CaptureDevice& device,
                 std::function<void(const std::string&)> complain);
    ~DeviceCamera() override;

    CameraSettings settings() const override;
    void apply(const CameraSettings& settings) override;
    void start(Sink sink) override;
    void stop() override;

  private:
    class Pipeline;

    void xStartPipeline();
    void xEndPipeline();

    const CaptureDevice fDevice;
    const std::function<void(const std::string&)> fComplain;
    mutable std::mutex fMutex;  // guards what follows
    CameraSettings fSettings;
    Sink fSink;                 // empty while it rests
    std::uint64_t fNumber = 0;  // of the last frame of the last pipeline
    std::unique_ptr<Pipeline> fPipeline;
};

/** What turns the device's pictures into those of the settings, as gst-launch takes it. */
std::string captureDescription(const CaptureDevice& device, const CameraSettings& settings);

}  // namespace robot

#endif
