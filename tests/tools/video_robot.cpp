#include "video_robot.h"

#include "test_broker.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>

#include <boost/make_shared.hpp>

#include <algorithm>
#include <chrono>

namespace obvista_test {

namespace {

KVValue::Map describedCamera(const std::string& name) {
    const KVValue::Map settings{{"width", 4}, {"height", 2}, {"format", "grey"}, {"rate", 10.0}};
    return {
        {"name", name}, {"description", "A camera in the " + name + "."}, {"settings", settings}};
}

}  // namespace

VideoRobot::VideoRobot()
    : fFrames(boost::make_shared<KVFrameSource>()), fBroker(createTestBroker("seer")) {
    fPlace = "127.0.0.1:" + std::to_string(fBroker->getPort());
    fFrames->addStream("head");
    fFrames->addStream("chest");
    fFrames->setDemandHandler([this](const std::string& stream, int watchers) {
        if (stream != "head" || watchers == 0) {
            return;
        }
        std::function<void()> watched;
        {
            const std::lock_guard lock(fMutex);
            fIsWatched = true;
            std::swap(watched, fWatched);
            fChanged.notify_all();
        }
        if (watched) {
            watched();
        }
    });
    const auto module = boost::make_shared<KVModule>("KVVideo", "The cameras.");
    module->bindMethod({"getCameras", "getCameras() -> list", ""}, {},
                       [](const KVValue::List& /*arguments*/) {
                           return KVValue::List{describedCamera("head"), describedCamera("chest")};
                       });
    module->setFrames(fFrames);
    fBroker->addModule(module);
}

VideoRobot::~VideoRobot() {
    fFrames->setDemandHandler({});
}

std::string VideoRobot::place() const {
    return fPlace;
}

void VideoRobot::setWatched(std::function<void()> watched) {
    const std::lock_guard lock(fMutex);
    fWatched = std::move(watched);
}

bool VideoRobot::waitForWatcher() {
    std::unique_lock lock(fMutex);
    return fChanged.wait_for(lock, std::chrono::minutes(1), [this] { return fIsWatched; });
}

void VideoRobot::vanish() {
    fBroker.reset();
}

KVFrame makeFrame(std::uint64_t number, KVPixelFormat format, std::uint32_t width,
                  std::uint32_t height, const std::string& bytes) {
    KVFrame frame;
    frame.fNumber = number;
    frame.fTime = 1714566896789012;
    frame.fWidth = width;
    frame.fHeight = height;
    frame.fStride = format == KVPixelFormat::Jpeg ? 0 : width;
    frame.fFormat = format;
    // As long as its bytes and no longer, so that the sanitizer sees reads beyond them.
    const std::shared_ptr<unsigned char> data(new unsigned char[bytes.size()],
                                              std::default_delete<unsigned char[]>());
    std::copy(bytes.begin(), bytes.end(), data.get());
    frame.fData = data;
    frame.fSize = bytes.size();
    return frame;
}

}  // namespace obvista_test
