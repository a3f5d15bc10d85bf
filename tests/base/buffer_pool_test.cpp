#include <base/buffer_pool.h>

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <thread>
#include <vector>

namespace base {
namespace {

TEST(BufferPool, UsesMemoryAgainOnceNobodyHoldsIt) {
    BufferPool pool(3);
    auto first = pool.obtain(1000);
    const unsigned char* memory = first.get();
    auto copy = first;
    first.reset();
    EXPECT_NE(pool.obtain(1000).get(), memory);
    EXPECT_EQ(pool.unused(), 1U);
    copy.reset();
    const auto second = pool.obtain(900);
    const auto third = pool.obtain(900);
    EXPECT_TRUE(second.get() == memory || third.get() == memory);
}

TEST(BufferPool, KeepsFewBuffersAndNoneOfAnotherSize) {
    BufferPool pool(3);
    std::vector<std::shared_ptr<unsigned char>> held;
    for (int i = 0; i < 10; ++i) {
        held.push_back(pool.obtain(1000));
    }
    held.clear();
    EXPECT_EQ(pool.unused(), 3U);
    EXPECT_NE(pool.obtain(500), nullptr);
    EXPECT_EQ(pool.unused(), 3U) << "up to half of it may be unused";
    const auto larger = pool.obtain(1001);
    EXPECT_EQ(pool.unused(), 0U);
    held.push_back(pool.obtain(1000));
    held.clear();
    const auto smaller = pool.obtain(400);
    EXPECT_EQ(pool.unused(), 0U);
}

TEST(BufferPool, IsOutlivedByItsMemory) {
    std::optional<BufferPool> pool(3);
    const auto memory = pool->obtain(1000);
    pool.reset();
    std::memset(memory.get(), 7, 1000);
    EXPECT_EQ(memory.get()[999], 7);
}

TEST(BufferPool, TakesMemoryBackOnAnyThread) {
    BufferPool pool(3);
    for (int i = 0; i < 1000; ++i) {
        auto memory = pool.obtain(64);
        std::memset(memory.get(), i % 256, 64);
        std::thread reader([read = std::move(memory), i] { EXPECT_EQ(read.get()[63], i % 256); });
        if (i % 2 == 0) {
            reader.join();
        } else {
            std::memset(pool.obtain(64).get(), 0, 64);
            reader.join();
        }
    }
}

}  // namespace
}  // namespace base
