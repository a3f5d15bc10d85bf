#include "ticker.h"

#include <gtest/gtest.h>

#include <future>
#include <mutex>
#include <vector>

using robot::Ticker;

namespace {

constexpr std::chrono::seconds a_bound(20);

TEST(Ticker, countsStepsUpwardWithTheClock) {
    std::mutex mutex;
    std::vector<std::uint64_t> steps;
    std::promise<void> enough;
    const auto start = std::chrono::steady_clock::now();
    const Ticker ticker(std::chrono::milliseconds(5), [&](std::uint64_t step) {
        const std::lock_guard lock(mutex);
        steps.push_back(step);
        if (steps.size() == 10) {
            enough.set_value();
        }
    });
    ASSERT_EQ(enough.get_future().wait_for(a_bound), std::future_status::ready);
    const auto passed = std::chrono::steady_clock::now() - start;
    const std::lock_guard lock(mutex);
    EXPECT_GE(steps.front(), 1U);
    for (std::size_t i = 1; i < steps.size(); ++i) {
        EXPECT_GT(steps[i], steps[i - 1]);
    }
    EXPECT_LE(steps[9] * std::chrono::milliseconds(5), passed + std::chrono::milliseconds(5));
}

TEST(Ticker, stepsThatWereMissedAreLeftOut) {
    std::promise<std::uint64_t> second;
    std::promise<void> waited;
    auto release = waited.get_future();
    int calls = 0;
    const Ticker ticker(std::chrono::milliseconds(1), [&](std::uint64_t step) {
        if (++calls == 1) {
            release.wait();
        } else if (calls == 2) {
            second.set_value(step);
        }
    });
    // Block the first call until many more would have been due.
    const auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(30);
    while (std::chrono::steady_clock::now() < until) {
        std::this_thread::yield();
    }
    waited.set_value();
    auto answer = second.get_future();
    ASSERT_EQ(answer.wait_for(a_bound), std::future_status::ready);
    EXPECT_GE(answer.get(), 20U);
}

TEST(Ticker, endsAtOnceHoweverLongItsPeriodIs) {
    const auto start = std::chrono::steady_clock::now();
    {
        const Ticker ticker(std::chrono::hours(1), [](std::uint64_t) {});
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, a_bound);
}

}  // namespace
