#include "camera.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_module.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

namespace {

constexpr const char* a_module = "Video";
constexpr const char* a_name = "head";
constexpr std::chrono::seconds a_patience{10};

KVFrame makeFrame(std::uint32_t width, std::uint32_t height) {
    const auto bytes = std::make_shared<std::vector<unsigned char>>(
        std::size_t{width} * height * a_bytesOfPixel, 'x');
    KVFrame frame;
    frame.fWidth = width;
    frame.fHeight = height;
    frame.fStride = static_cast<std::uint32_t>(width * a_bytesOfPixel);
    frame.fFormat = KVPixelFormat::Rgb888;
    frame.fData = std::shared_ptr<const unsigned char>(bytes, bytes->data());
    frame.fSize = bytes->size();
    return frame;
}

}  // namespace

Camera::Camera(KVBroker& broker, std::uint32_t width, std::uint32_t height,
               std::chrono::microseconds period)
    : fSource(std::make_shared<KVFrameSource>()) {
    fSource->addStream(a_name);
    const auto video = std::make_shared<KVModule>(a_module, "");
    video->setFrames(fSource);
    broker.addModule(video);
    fThread = std::thread([this, frame = makeFrame(width, height), period]() mutable {
        for (auto due = std::chrono::steady_clock::now(); !fStop; due += period) {
            std::this_thread::sleep_until(due);
            if (fSource->getWatchers(a_name) != 0) {
                ++frame.fNumber;
                fSource->publish(a_name, frame);
            }
        }
    });
}

Camera::~Camera() {
    fStop = true;
    fThread.join();
}

Watcher::Watcher(const std::shared_ptr<KVConnection>& connection)
    : fStream(KVFrameStream::start(
          connection, a_module, a_name,
          {[this](const KVFrame& frame, std::uint64_t passedOver) { xTake(frame, passedOver); },
           [](const KVError& error) {
               std::fprintf(stderr, "the camera's frames ended: %s\n", error.toString().c_str());
           }})) {
    if (fFirst.get_future().wait_for(a_patience) != std::future_status::ready) {
        throw std::runtime_error("no frame came");
    }
}

void Watcher::xTake(const KVFrame& frame, std::uint64_t passedOver) {
    fBytes += frame.fSize * (passedOver + 1);
    if (fFrames == 0) {
        fFirst.set_value();
    } else {
        fFramesLeftOut += frame.fNumber - fLastNumber - 1;
    }
    fLastNumber = frame.fNumber;
    ++fFrames;
}

}  // namespace bench
