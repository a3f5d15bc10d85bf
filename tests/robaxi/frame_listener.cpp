#include "frame_listener.h"

#include "recording_listener.h"

#include <chrono>
#include <thread>

namespace robaxi_test {

namespace {

unsigned char byteAt(std::size_t place, std::uint64_t number) {
    return static_cast<unsigned char>(place * 31 + place / 4099 + number);
}

}  // namespace

KVFrameStream::Callbacks FrameListener::callbacks() {
    KVFrameStream::Callbacks callbacks;
    callbacks.fFrameReceived = [this](const KVFrame& frame, std::uint64_t passedOver) {
        if (fOnFrame) {
            fOnFrame();
        }
        const std::lock_guard lock(fMutex);
        fLast = frame;
        fNumbers.push_back(frame.fNumber);
        fPassedOver += passedOver;
        fChanged.notify_all();
    };
    callbacks.fEnded = [this](const KVError& error) {
        const std::lock_guard lock(fMutex);
        fEnd = error;
        fChanged.notify_all();
    };
    return callbacks;
}

bool FrameListener::waitUntil(const std::function<bool()>& condition) {
    std::unique_lock lock(fMutex);
    return fChanged.wait_for(lock, a_patience, condition);
}

bool FrameListener::waitForFrame(std::uint64_t number) {
    return waitUntil([&] { return fLast && fLast->fNumber == number; });
}

bool FrameListener::waitForEnd() {
    return waitUntil([this] { return fEnd.has_value(); });
}

KVFrame FrameListener::last() {
    const std::lock_guard lock(fMutex);
    return fLast.value_or(KVFrame());
}

std::size_t FrameListener::count() {
    const std::lock_guard lock(fMutex);
    return fNumbers.size();
}

KVFrame makeFrame(std::uint64_t number, std::size_t size) {
    std::shared_ptr<unsigned char> bytes(new unsigned char[size],
                                         std::default_delete<unsigned char[]>());
    for (std::size_t place = 0; place < size; ++place) {
        bytes.get()[place] = byteAt(place, number);
    }
    KVFrame frame;
    frame.fNumber = number;
    frame.fFormat = KVPixelFormat::Grey8;
    frame.fData = std::move(bytes);
    frame.fSize = size;
    return frame;
}

void publishH264(KVFrameSource& source, std::uint64_t first, std::uint64_t last,
                 bool beginsWithKey) {
    constexpr std::int64_t period = 50'000;
    for (std::uint64_t number = first; number <= last; ++number) {
        KVFrame frame = makeFrame(number, 10);
        frame.fFormat = KVPixelFormat::H264;
        frame.fSequence = number;
        frame.fTime = static_cast<std::int64_t>(number) * period;
        frame.fIsKey = beginsWithKey && number == first;
        source.publish("head", frame);
    }
}

bool waitForKeyFrameRequest(KVFrameSource& source) {
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    while (!source.takeKeyFrameRequest("head")) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

bool hasBytesOf(const KVFrame& frame, std::uint64_t number) {
    for (std::size_t place = 0; place < frame.fSize; ++place) {
        if (frame.fData.get()[place] != byteAt(place, number)) {
            return false;
        }
    }
    return frame.fData != nullptr;
}

}  // namespace robaxi_test
