#include "child_process.h"
#include "latch.h"
#include "recording_listener.h"
#include "server_process.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <signal.h>
#include <thread>
#include <vector>

using namespace robaxi_test;
using obvista_test::ChildProcess;

namespace {

using Clock = std::chrono::steady_clock;

/**
 * Seconds: 2 until a silent robot is given up, plus the delay of a busy machine. Much less than the
 * time-outs of the calls.
 */
constexpr double a_soon = 7.5;

KVSettings impatientSettings() {
    KVSettings settings;
    settings.fLimits.fSilence = std::chrono::seconds(2);
    return settings;
}

/** A robot in a separate process, and a connection to it. */
class Loss : public testing::Test {
  protected:
    Loss() {
        startRobot();
        fConnection = KVConnection::open(fClient, a_loopback, fPort, a_timeOut);
    }

    void startRobot() { fRobot = startServerProcess(fPort); }

    /** Sends the robot a signal and returns the seconds until the loss is reported. */
    double secondsUntilLost(int signal) {
        std::promise<KVError> lost;
        fConnection->setLostHandler([&](const KVError& error) { lost.set_value(error); });
        const auto start = Clock::now();
        fRobot->signal(signal);
        auto future = lost.get_future();
        if (future.wait_for(a_patience) != std::future_status::ready) {
            ADD_FAILURE() << "the loss was not told";
            fConnection->setLostHandler(nullptr);
            return 0;
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        fError = std::make_unique<KVError>(future.get());
        return seconds;
    }

    const int fPort = obvista_test::freePort();
    BrokerPtr fClient = makeClient(impatientSettings());
    std::unique_ptr<ChildProcess> fRobot;
    std::shared_ptr<KVConnection> fConnection;
    std::unique_ptr<KVError> fError;
};

}  // namespace

TEST_F(Loss, OfAKilledRobotIsReportedAtOnce) {
    EXPECT_TRUE(fConnection->isConnected());
    EXPECT_LT(secondsUntilLost(SIGKILL), a_soon)
        << "the system closes the sockets of a dead process";
    EXPECT_FALSE(fConnection->isConnected());
    ASSERT_TRUE(fError);
    EXPECT_CAUSE(*fError, ConnectionLost);
    EXPECT_EQ(fError->toString(),
              "The connection to 127.0.0.1 port " + std::to_string(fPort) +
                  " is lost: the robot ended it. Check that the robot is still running and "
                  "connected, then connect again.");
}

TEST_F(Loss, OfASilentRobotIsReportedSoon) {
    EXPECT_LT(secondsUntilLost(SIGSTOP), a_soon) << "eight heartbeats of 250 ms without an answer";
    ASSERT_TRUE(fError);
    EXPECT_CAUSE(*fError, ConnectionLost);
    EXPECT_NE(fError->toString().find("does not answer any more"), std::string::npos)
        << fError->toString();
    fRobot->signal(SIGCONT);
    EXPECT_FALSE(fConnection->isConnected()) << "a lost connection stays lost";
}

TEST_F(Loss, OfASilentRobotIsReportedAfterTheConfiguredTime) {
    KVSettings settings;
    settings.fLimits.fSilence = std::chrono::seconds(4);
    fConnection = KVConnection::open(makeClient(settings), a_loopback, fPort, a_timeOut);
    EXPECT_GT(secondsUntilLost(SIGSTOP), 3.0) << "the others give it up after 2 s";
}

TEST_F(Loss, OfARobotThatEndsProperlyIsReported) {
    EXPECT_LT(secondsUntilLost(SIGTERM), a_soon)
        << "the system closes the sockets of a dead process";
}

TEST_F(Loss, EndsSubscriptionsAndCalls) {
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        fConnection, "Memory", KVSubscription::Selection::AllKeys, 50, listener.callbacks());
    ASSERT_TRUE(listener.waitUntil([&] { return listener.fUpdates.size() > 3; }));
    KVProxy proxy("Echo", a_loopback, fPort, fClient, a_timeOut, 0);

    EXPECT_LT(secondsUntilLost(SIGSTOP), a_soon) << "eight heartbeats of 250 ms without an answer";

    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, ConnectionLost);
    EXPECT_EQ(listener.fEnd->toString().find("The connection to the module Memory at 127.0.0.1"),
              0U)
        << listener.fEnd->toString();
    EXPECT_EQ(listener.fCallsAfterEnd, 0);
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("echo", 1); }), ConnectionLost);
}

TEST_F(Loss, EndsACallInFlightBeforeItsTimeOut) {
    KVProxy proxy("Echo", a_loopback, fPort, fClient, 20, 0);
    fRobot->signal(SIGSTOP);
    const auto start = Clock::now();
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("echo", 1); }), ConnectionLost);
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - start).count(), a_soon)
        << "eight heartbeats of 250 ms without an answer";
}

TEST_F(Loss, IsReportedOnceAndAtOnceToALaterHandler) {
    std::atomic<int> calls{0};
    secondsUntilLost(SIGKILL);
    const auto here = std::this_thread::get_id();
    fConnection->setLostHandler([&](const KVError&) {
        EXPECT_EQ(std::this_thread::get_id(), here);
        ++calls;
    });
    EXPECT_EQ(calls, 1);
    fConnection->setLostHandler(nullptr);
    EXPECT_EQ(calls, 1);
}

TEST_F(Loss, IsNotReportedWhenTheUserClosesTheConnection) {
    std::atomic<int> calls{0};
    fConnection->setLostHandler([&](const KVError&) { ++calls; });
    fConnection.reset();
    fClient.reset();
    EXPECT_EQ(calls, 0);
}

TEST_F(Loss, IsFollowedByANewConnectionToARestartedRobot) {
    KVProxy old("Echo", a_loopback, fPort, fClient, a_timeOut, 0);
    secondsUntilLost(SIGKILL);
    fRobot->waitForEnd();
    startRobot();
    KVProxy proxy("Echo", a_loopback, fPort, fClient, a_timeOut, 0);
    EXPECT_EQ(proxy.call<int>("echo", 7), 7);
    EXPECT_TRUE(KVConnection::open(fClient, a_loopback, fPort, a_timeOut)->isConnected());
    EXPECT_CAUSE(errorOf([&] { old.callVoid("echo", 7); }), ConnectionLost);
    EXPECT_FALSE(fConnection->isConnected());
}

TEST_F(Loss, IsNotReportedFalselyWhileAllProcessorsAreBusy) {
    std::vector<std::unique_ptr<ChildProcess>> burners;
    for (unsigned i = 0; i < 4 * std::thread::hardware_concurrency(); ++i) {
        burners.push_back(std::make_unique<ChildProcess>(
            std::vector<std::string>{"/bin/sh", "-c", "while :; do :; done"}));
    }
    std::promise<std::string> lost;
    fConnection->setLostHandler([&](const KVError& error) { lost.set_value(error.toString()); });
    // Twice the time-out of a silent robot.
    auto loss = lost.get_future();
    const auto outcome = loss.wait_for(std::chrono::seconds(4));
    burners.clear();
    fConnection->setLostHandler(nullptr);
    EXPECT_EQ(outcome, std::future_status::timeout)
        << (outcome == std::future_status::ready ? loss.get() : "");
}

TEST_F(Loss, HandlerMayLetEverythingGo) {
    std::promise<void> done;
    fConnection->setLostHandler([&](const KVError&) {
        fConnection.reset();
        fClient.reset();
        done.set_value();
    });
    fRobot->signal(SIGKILL);
    EXPECT_EQ(done.get_future().wait_for(a_patience), std::future_status::ready);
}

TEST_F(Loss, HandlerDoesNotRunAnyMoreWhenItWasTakenAway) {
    Latch latch;
    std::atomic<bool> ended{false};
    fConnection->setLostHandler([&](const KVError&) {
        latch.enter();
        ended = true;
    });
    fRobot->signal(SIGKILL);
    ASSERT_TRUE(latch.waitForEntries(1));
    auto taken = std::async(std::launch::async, [&] { fConnection->setLostHandler(nullptr); });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    latch.open();
    taken.get();
    EXPECT_TRUE(ended);
}

TEST_F(Loss, HandlerIsWaitedForAlsoAfterItHasSetAnotherOne) {
    Latch latch;
    std::atomic<int> ended{0};
    fConnection->setLostHandler([&](const KVError&) {
        fConnection->setLostHandler([&](const KVError&) { ++ended; });  // runs at once, in this one
        latch.enter();
        ++ended;
    });
    fRobot->signal(SIGKILL);
    ASSERT_TRUE(latch.waitForEntries(1));
    EXPECT_EQ(ended, 1);
    auto taken = std::async(std::launch::async, [&] { fConnection->setLostHandler(nullptr); });
    EXPECT_EQ(taken.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    latch.open();
    taken.get();
    EXPECT_EQ(ended, 2);
}
