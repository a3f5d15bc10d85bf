#include <base/gate.h>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

namespace base {
namespace {

TEST(Gate, LetsCallsPassUntilItIsClosed) {
    Gate gate;
    int calls = 0;
    gate.pass([&] { ++calls; });
    EXPECT_EQ(calls, 1);
    gate.close();
    gate.pass([&] { ++calls; });
    gate.close();
    EXPECT_EQ(calls, 1);
}

TEST(Gate, IsClosedWhenTheCallHasEnded) {
    Gate gate;
    std::promise<void> begun;
    std::promise<void> mayEnd;
    std::atomic<bool> hasEnded{false};
    std::thread caller([&] {
        gate.pass([&] {
            begun.set_value();
            mayEnd.get_future().wait();
            hasEnded = true;
        });
    });
    begun.get_future().wait();
    std::thread closer([&] {
        gate.close();
        EXPECT_TRUE(hasEnded);
    });
    mayEnd.set_value();
    caller.join();
    closer.join();
}

}  // namespace
}  // namespace base
