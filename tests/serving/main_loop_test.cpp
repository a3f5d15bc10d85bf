#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <serving/main_loop.h>
#include <thread>
#include <unistd.h>
#include <vector>

using serving::MainLoop;
using testing::ElementsAre;

namespace {

void endProcess(int signal) {
    ASSERT_EQ(kill(getpid(), signal), 0);
}

TEST(MainLoop, endsOnBothSignals) {
    for (const int signal : {SIGTERM, SIGINT}) {
        MainLoop loop;
        loop.post([signal] { endProcess(signal); });
        loop.run();
    }
}

TEST(MainLoop, runsWhatOtherThreadsPostOnItsOwnThread) {
    MainLoop loop;
    std::vector<int> order;
    const auto mainThread = std::this_thread::get_id();
    std::thread other([&] {
        loop.post([&] {
            EXPECT_EQ(std::this_thread::get_id(), mainThread);
            order.push_back(1);
        });
        loop.post([&] { order.push_back(2); });
        loop.post([] { endProcess(SIGTERM); });
    });
    loop.run();
    other.join();
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(MainLoop, runsDelayedFunctionsInTheOrderOfTheirTimesAndNotEarly) {
    // Far enough apart for a machine that holds this thread up between the calls.
    using std::chrono::seconds;
    MainLoop loop;
    std::vector<int> order;
    const auto start = MainLoop::Clock::now();
    loop.post([] { endProcess(SIGTERM); }, seconds(3));
    loop.post([&] { order.push_back(2); }, seconds(2));
    loop.post([&] { order.push_back(1); }, seconds(1));
    loop.post([] { ADD_FAILURE() << "ran before its time"; }, std::chrono::hours(1));
    loop.run();
    EXPECT_THAT(order, ElementsAre(1, 2));
    EXPECT_GE(MainLoop::Clock::now() - start, seconds(3));
}

TEST(MainLoop, aPostedFunctionMayPostAnother) {
    MainLoop loop;
    loop.post([&] { loop.post([] { endProcess(SIGINT); }); });
    loop.run();
}

}  // namespace
