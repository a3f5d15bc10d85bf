#include "video/makers.h"

#include "video/capture_device.h"
#include "video/device_camera.h"
#include "video/drawn_camera.h"
#include "video/robot_views.h"
#include "video/test_card.h"

#include <base/time.h>

#include <stdexcept>
#include <utility>

namespace robot {

using picture::CameraMode;

namespace {

struct Size {
    int fWidth;
    int fHeight;
};

/** Returns all formats and rates for each size. */
std::vector<CameraMode> modes(const std::vector<Size>& sizes, const std::vector<double>& rates) {
    const std::vector<std::string> formats{"rgb", "yuv422", "grey", "jpeg"};
    std::vector<CameraMode> result;
    result.reserve(sizes.size());
    for (const Size& size : sizes) {
        result.push_back({size.fWidth, size.fHeight, formats, rates});
    }
    return result;
}

std::vector<CameraMode> largeModes() {
    return modes({{160, 120}, {320, 240}, {640, 480}, {1280, 720}}, {1, 5, 10, 15, 30});
}

std::unique_ptr<Camera> makeTestCamera() {
    return std::make_unique<DrawnCamera>(
        picture::CameraInfo{"test",
                            "A test picture: this computer has no camera",
                            largeModes(),
                            {640, 480, "jpeg", 30}},
        [](Canvas& canvas) {
            drawTestCard(canvas, static_cast<double>(base::microsecondsNow()) /
                                     base::a_microsecondsPerSecond);
        });
}

}  // namespace

std::vector<std::unique_ptr<Camera>> makeHumanoidCameras(std::function<Pose()> pose) {
    std::vector<std::unique_ptr<Camera>> cameras;
    cameras.push_back(std::make_unique<DrawnCamera>(
        picture::CameraInfo{
            "head", "Between the eyes, turns with the head", largeModes(), {640, 480, "jpeg", 30}},
        [pose](Canvas& canvas) { drawHeadView(canvas, pose()); }));
    cameras.push_back(std::make_unique<DrawnCamera>(
        picture::CameraInfo{"chest",
                            "Below the neck, looks at the hands",
                            modes({{160, 120}, {320, 240}, {640, 480}}, {1, 5, 10, 15}),
                            {320, 240, "rgb", 15}},
        [pose = std::move(pose)](Canvas& canvas) { drawChestView(canvas, pose()); }));
    return cameras;
}

std::vector<std::unique_ptr<Camera>> makeComputerCameras(
    const std::function<void(const std::string&)>& complain) {
    std::vector<std::unique_ptr<Camera>> cameras;
    try {
        for (const CaptureDevice& device : findCaptureDevices(complain)) {
            cameras.push_back(std::make_unique<DeviceCamera>(
                "camera" + std::to_string(cameras.size()), device, complain));
        }
    } catch (const std::runtime_error& failure) {
        complain(failure.what());
    }
    if (cameras.empty()) {
        cameras.push_back(makeTestCamera());
    }
    return cameras;
}

}  // namespace robot
