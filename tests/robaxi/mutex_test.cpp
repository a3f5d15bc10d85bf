#include <robaxi/kv_mutex.h>

#include <boost/weak_ptr.hpp>
#include <gtest/gtest.h>

#include <future>
#include <thread>
#include <vector>

TEST(Mutex, LetsOneThreadIntoACriticalSection) {
    const auto mutex = KVMutex::createKVMutex();
    int counter = 0;
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 10000; ++n) {
                const KVCriticalSection section(mutex);
                ++counter;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 40000);
}

TEST(Mutex, LivesAsLongAsACriticalSectionHoldsIt) {
    auto mutex = KVMutex::createKVMutex();
    const boost::weak_ptr<KVMutex> weak = mutex;
    {
        const KVCriticalSection section(mutex);
        mutex.reset();
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}

TEST(MutexRW, LetsReadersInTogether) {
    const auto lock = KVMutexRW::createKVMutexRW();
    const KVCriticalSectionRead here(lock);
    auto there = std::async(std::launch::async, [&] { const KVCriticalSectionRead read(lock); });
    EXPECT_EQ(there.wait_for(std::chrono::seconds(20)), std::future_status::ready);
}

TEST(MutexRW, LetsTheReaderInOnceMore) {
    const auto lock = KVMutexRW::createKVMutexRW();
    const KVCriticalSectionRead once(lock);
    const KVCriticalSectionRead twice(lock);
}

TEST(MutexRW, KeepsWritersOutWhileOneReads) {
    const auto lock = KVMutexRW::createKVMutexRW();
    bool written = false;
    std::thread writer;
    {
        const KVCriticalSectionRead read(lock);
        writer = std::thread([&] {
            const KVCriticalSectionWrite write(lock);
            written = true;
        });
        EXPECT_FALSE(written);
    }
    writer.join();
    const KVCriticalSectionRead read(lock);
    EXPECT_TRUE(written);
}
