#include <robaxi/kv_mutex.h>

#include <boost/weak_ptr.hpp>
#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <future>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

int threadId() {
    return static_cast<int>(::syscall(SYS_gettid));
}

/**
 * Waits until a thread sleeps, because it waits for a lock, or has completed its work after the
 * lock. Returns true if it sleeps.
 */
bool blocks(int thread, const std::atomic<bool>& isDone) {
    const std::string file = "/proc/self/task/" + std::to_string(thread) + "/stat";
    char state = 0;
    while (!isDone && state != 'S') {
        std::string line;
        std::ifstream stream(file);
        std::getline(stream, line);
        const std::size_t nameEnd = line.rfind(')');
        state = nameEnd == std::string::npos ? '\0' : line.at(nameEnd + 2);
        std::this_thread::yield();
    }
    return !isDone;
}

/** Checks that a section of one kind waits for the end of a section of another kind. */
template <class Inside, class Outside>
void expectKeptOut() {
    const auto lock = KVMutexRW::createKVMutexRW();
    std::atomic<bool> hasEntered = false;
    std::promise<int> id;
    std::thread thread;
    {
        const Inside inside(lock);
        thread = std::thread([&] {
            id.set_value(threadId());
            const Outside outside(lock);
            hasEntered = true;
        });
        EXPECT_TRUE(blocks(id.get_future().get(), hasEntered));
    }
    thread.join();
    EXPECT_TRUE(hasEntered);
}

}  // namespace

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

TEST(MutexRW, KeepsWritersOutWhileOneReads) {
    expectKeptOut<KVCriticalSectionRead, KVCriticalSectionWrite>();
}

TEST(MutexRW, KeepsReadersOutWhileOneWrites) {
    expectKeptOut<KVCriticalSectionWrite, KVCriticalSectionRead>();
}
