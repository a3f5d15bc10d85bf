#include "video/frame_pool.h"

#include <mutex>
#include <vector>

namespace robot {

namespace {

constexpr std::size_t a_mostFree = 4;

}  // namespace

struct FramePool::Store {
    /** @return memory of at least that many bytes, or nothing */
    std::unique_ptr<std::vector<unsigned char>> find(std::size_t size) {
        const std::lock_guard lock(fMutex);
        while (!fFree.empty()) {
            auto memory = std::move(fFree.back());
            fFree.pop_back();
            if (memory->size() >= size) {
                return memory;
            }
        }
        return nullptr;
    }

    void putBack(std::unique_ptr<std::vector<unsigned char>> memory) {
        const std::lock_guard lock(fMutex);
        if (fFree.size() < a_mostFree) {
            fFree.push_back(std::move(memory));
        }
    }

    std::mutex fMutex;
    std::vector<std::unique_ptr<std::vector<unsigned char>>> fFree;
};

FramePool::FramePool() : fStore(std::make_shared<Store>()) {
}

std::shared_ptr<unsigned char> FramePool::take(std::size_t size) {
    auto memory = fStore->find(size);
    if (!memory) {
        memory = std::make_unique<std::vector<unsigned char>>(size);
    }
    unsigned char* const bytes = memory->data();
    const auto giveBack = [store = fStore, owned = memory.release()](unsigned char*) {
        store->putBack(std::unique_ptr<std::vector<unsigned char>>(owned));
    };
    return {bytes, giveBack};
}

}  // namespace robot
