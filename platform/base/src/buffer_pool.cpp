#include <base/buffer_pool.h>

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace base {

namespace {

struct Buffer {
    std::unique_ptr<unsigned char[]> fBytes;
    std::size_t fSize = 0;
};

}  // namespace

struct BufferPool::Store {
    explicit Store(std::size_t mostUnused) : fMostUnused(mostUnused) {}

    Buffer take(std::size_t size) {
        {
            const std::lock_guard lock(fMutex);
            // Others are of a resolution that the camera no longer has.
            const auto end = std::remove_if(
                fUnused.begin(), fUnused.end(),
                [size](const Buffer& each) { return each.fSize < size || each.fSize / 2 > size; });
            fUnused.erase(end, fUnused.end());
            if (!fUnused.empty()) {
                Buffer buffer = std::move(fUnused.back());
                fUnused.pop_back();
                return buffer;
            }
        }
        return {std::unique_ptr<unsigned char[]>(new unsigned char[size]), size};
    }

    void giveBack(Buffer buffer) {
        const std::lock_guard lock(fMutex);
        if (fUnused.size() < fMostUnused) {
            fUnused.push_back(std::move(buffer));
        }
    }

    const std::size_t fMostUnused;
    std::mutex fMutex;
    std::vector<Buffer> fUnused;
};

BufferPool::BufferPool(std::size_t mostUnused) : fStore(std::make_shared<Store>(mostUnused)) {
}

std::shared_ptr<unsigned char> BufferPool::obtain(std::size_t size) {
    const auto buffer = std::make_shared<Buffer>(fStore->take(size));
    return {buffer->fBytes.get(),
            [store = fStore, buffer](unsigned char*) { store->giveBack(std::move(*buffer)); }};
}

std::size_t BufferPool::unused() const {
    const std::lock_guard lock(fStore->fMutex);
    return fStore->fUnused.size();
}

}  // namespace base
