#include "wire/frame_buffers.h"

#include <algorithm>
#include <utility>

namespace robaxi {

namespace {

/** As many as are in use at one time: received, waiting, displayed. */
constexpr std::size_t a_mostUnused = 3;

}  // namespace

std::shared_ptr<FrameBuffers> FrameBuffers::create() {
    return std::shared_ptr<FrameBuffers>(new FrameBuffers);
}

std::shared_ptr<unsigned char> FrameBuffers::obtain(std::size_t size) {
    auto buffer = std::make_shared<Buffer>(xTake(size));
    unsigned char* const bytes = buffer->fBytes.get();
    return {bytes, [weak = weak_from_this(), buffer](unsigned char*) {
                if (const auto self = weak.lock()) {
                    self->xGiveBack(std::move(*buffer));
                }
            }};
}

FrameBuffers::Buffer FrameBuffers::xTake(std::size_t size) {
    {
        const std::lock_guard lock(fMutex);
        const auto fits = std::find_if(fUnused.begin(), fUnused.end(), [size](const Buffer& each) {
            return each.fSize >= size && each.fSize / 2 <= size;
        });
        if (fits != fUnused.end()) {
            Buffer buffer = std::move(*fits);
            fUnused.erase(fits);
            return buffer;
        }
    }
    return {std::unique_ptr<unsigned char[]>(new unsigned char[size]), size};
}

void FrameBuffers::xGiveBack(Buffer buffer) {
    const std::lock_guard lock(fMutex);
    if (fUnused.size() == a_mostUnused) {
        fUnused.erase(fUnused.begin());  // the camera may no longer use its size
    }
    fUnused.push_back(std::move(buffer));
}

}  // namespace robaxi
