#include "process/interruption.h"

#include "process/bell.h"
#include "process/failure.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace robaxi_tool {
namespace {

constexpr std::chrono::seconds a_patience(60);

Clock::time_point later() {
    return Clock::now() + a_patience;
}

TEST(Interruption, OnlyTheFirstSignalCounts) {
    Interruption interruption;
    EXPECT_NO_THROW(interruption.check());
    interruption.interrupt(SIGTERM);
    interruption.interrupt(SIGINT);
    EXPECT_EQ(SIGTERM, interruption.signal());
    EXPECT_THROW(interruption.check(), Interrupted);
}

TEST(Interruption, EachHandlerRunsOnce) {
    Interruption interruption;
    int early = 0;
    int late = 0;
    int gone = 0;
    const InterruptionHandler first(interruption, [&] { ++early; });
    {
        const InterruptionHandler removed(interruption, [&] { ++gone; });
    }
    interruption.interrupt(SIGINT);
    interruption.interrupt(SIGINT);
    const InterruptionHandler second(interruption, [&] { ++late; });
    EXPECT_EQ(1, early);
    EXPECT_EQ(1, late) << "a handler that comes after the signal runs at once";
    EXPECT_EQ(0, gone);
}

TEST(Bell, WhatHoldsAlreadyIsNotWaitedFor) {
    Interruption interruption;
    Bell bell(interruption);
    EXPECT_TRUE(bell.waitUntil(Clock::now(), [] { return true; }));
}

TEST(Bell, TheDeadlineEndsTheWait) {
    Interruption interruption;
    Bell bell(interruption);
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(20);
    EXPECT_FALSE(bell.waitUntil(deadline, [] { return false; }));
    EXPECT_GE(Clock::now(), deadline);
}

TEST(Bell, ARingLetsTheConditionBeAskedAgain) {
    Interruption interruption;
    Bell bell(interruption);
    std::atomic<int> value{0};
    std::thread other([&] {
        for (int i = 0; i < 1000; ++i) {
            ++value;
            bell.ring();
        }
    });
    EXPECT_TRUE(bell.waitUntil(later(), [&] { return value == 1000; }));
    other.join();
}

TEST(Bell, AnInterruptionEndsTheWait) {
    Interruption interruption;
    Bell bell(interruption);
    std::thread other([&] { interruption.interrupt(SIGINT); });
    EXPECT_THROW(bell.sleepUntil(later()), Interrupted);
    other.join();
    EXPECT_THROW(Bell(interruption).sleepUntil(later()), Interrupted);
}

}  // namespace
}  // namespace robaxi_tool
