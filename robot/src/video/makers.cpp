#include "video/makers.h"

#include "video/capture_device.h"
#include "video/device_camera.h"
#include "video/drawn_camera.h"
#include "video/frame_encoder.h"
#include "video/robot_views.h"
#include "video/test_card.h"

#include <base/time.h>

#include <stdexcept>
#include <utility>

namespace robot {

namespace {

struct Size {
    int fWidth;
    int fHeight;
};

/** Returns all formats and rates for each size. */
std::vector<KVCameraMode> modes(const std::vector<Size>& sizes, const std::vector<double>& rates) {
    std::vector<KVCameraMode> result;
    result.reserve(sizes.size());
    for (const Size& size : sizes) {
        result.push_back({size.fWidth, size.fHeight, formatsOf(size.fWidth, size.fHeight), rates});
    }
    return result;
}

std::vector<KVCameraMode> largeModes() {
    return modes({{160, 120}, {320, 240}, {640, 480}, {1280, 720}}, {1, 5, 10, 15, 30});
}

KVCamera drawnCamera(KVCameraInfo info, Stamp stamp, const FrameEncoder::Complain& complain,
                     DrawnCamera::Draw draw) {
    info.fSettings.fBitRate = firstBitRate();
    const auto camera = std::make_shared<DrawnCamera>(std::move(draw), stamp, complain);
    return {info, [camera](const KVCameraSettings& settings, KVFrame& frame) {
                camera->makeFrame(settings, frame);
            }};
}

KVCamera deviceCamera(const std::string& name, const CaptureDevice& device, const Publish& publish,
                      const IsKeyWanted& isKeyWanted,
                      const std::function<void(const std::string&)>& complain) {
    const auto camera = std::make_shared<DeviceCamera>(name, device, complain);
    const auto watch = [camera, name, publish, isKeyWanted](bool isWatched) {
        if (isWatched) {
            camera->start([name, publish](const KVFrame& frame) { publish(name, frame); },
                          [name, isKeyWanted] { return isKeyWanted(name); });
        } else {
            camera->stop();
        }
    };
    return {camera->description(),
            {},
            [camera](const KVCameraSettings& settings) { camera->apply(settings); },
            watch};
}

KVCamera testCamera(Stamp stamp, const FrameEncoder::Complain& complain) {
    return drawnCamera({"test",
                        "A test picture: this computer has no camera",
                        largeModes(),
                        {640, 480, "jpeg", 30}},
                       stamp, complain, [](Canvas& canvas) {
                           drawTestCard(canvas, static_cast<double>(base::microsecondsNow()) /
                                                    base::a_microsecondsPerSecond);
                       });
}

}  // namespace

std::vector<KVCamera> makeHumanoidCameras(std::function<Pose()> pose, Stamp stamp,
                                          const std::function<void(const std::string&)>& complain) {
    std::vector<KVCamera> cameras;
    cameras.push_back(drawnCamera(
        {"head", "Between the eyes, turns with the head", largeModes(), {640, 480, "jpeg", 30}},
        stamp, complain, [pose](Canvas& canvas) { drawHeadView(canvas, pose()); }));
    cameras.push_back(drawnCamera({"chest",
                                   "Below the neck, looks at the hands",
                                   modes({{160, 120}, {320, 240}, {640, 480}}, {1, 5, 10, 15}),
                                   {320, 240, "rgb", 15}},
                                  stamp, complain, [pose = std::move(pose)](Canvas& canvas) {
                                      drawChestView(canvas, pose());
                                  }));
    return cameras;
}

std::vector<KVCamera> makeComputerCameras(const Publish& publish, const IsKeyWanted& isKeyWanted,
                                          const std::function<void(const std::string&)>& complain,
                                          Stamp stamp) {
    std::vector<KVCamera> cameras;
    try {
        for (const CaptureDevice& device : findCaptureDevices(complain)) {
            cameras.push_back(deviceCamera("camera" + std::to_string(cameras.size()), device,
                                           publish, isKeyWanted, complain));
        }
    } catch (const std::runtime_error& failure) {
        complain(failure.what());
    }
    if (cameras.empty()) {
        cameras.push_back(testCamera(stamp, complain));
    }
    return cameras;
}

}  // namespace robot
