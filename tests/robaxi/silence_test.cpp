// A robot that does not answer for a while: the session, its calls and streams continue afterwards,
// on the former connection or on another one.
#include "child_process.h"
#include "connection_states.h"
#include "eventually.h"
#include "frame_listener.h"
#include "latch.h"
#include "process_figures.h"
#include "recording_listener.h"
#include "relay.h"
#include "server_process.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_value_table.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <future>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <string>
#include <sys/socket.h>
#include <vector>

using namespace robaxi_test;
using obvista_test::ChildProcess;
using State = KVConnection::State;

namespace {

/** A robot in this process, reached through a relay. */
class Silence : public testing::Test {
  protected:
    Silence() {
        KVKeyInfo key;
        for (const char* name : {"first", "second", "third"}) {
            key.fName = name;
            fIds.push_back(fTable->addKey(key, 0));
        }
        fSource->addStream("head");
        fMemory->setValues(fTable);
        fMemory->setFrames(fSource);
        fServer->addModule(fMemory);
        fServer->addModule(makeEcho());
        fConnection = KVConnection::open(fClient, a_loopback, fRelay.port(), a_timeOut);
        fStates.watch(*fConnection);
    }

    ~Silence() override { fConnection->setStateHandler(nullptr); }

    void cut() {
        fRelay.cut();
        ASSERT_TRUE(fStates.waitFor(State::Silent));
    }

    void restore(bool keepsFormer = false) {
        fRelay.restore(keepsFormer);
        ASSERT_TRUE(fStates.waitFor(State::Connected));
    }

    std::shared_ptr<KVSubscription> subscribe(
        KVSubscription::Selection selection = KVSubscription::Selection::AllKeys) {
        return KVSubscription::start(fConnection, "Memory", selection, 100, fValues.callbacks());
    }

    const ModulePtr fMemory = std::make_shared<KVModule>("Memory", "Has values and a camera");
    const std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    const std::shared_ptr<KVFrameSource> fSource = std::make_shared<KVFrameSource>();
    std::vector<std::uint32_t> fIds;
    BrokerPtr fServer = makeServer("Robot", quickSettings());
    Relay fRelay{fServer->getPort()};
    BrokerPtr fClient = makeClient(quickSettings());
    RecordingListener fValues;
    FrameListener fFrames;
    ConnectionStates fStates;
    std::shared_ptr<KVConnection> fConnection;
};

}  // namespace

TEST_F(Silence, IsReportedWithItsEnd) {
    EXPECT_EQ(fConnection->getState(), State::Connected);
    cut();
    EXPECT_EQ(fConnection->getState(), State::Silent);
    EXPECT_TRUE(fConnection->isConnected());
    EXPECT_GE(fConnection->getSilence(), 0.5);
    restore(true);
    EXPECT_EQ(fConnection->getState(), State::Connected);
    EXPECT_THAT(fStates.lastTwo(), testing::ElementsAre(State::Silent, State::Connected));
}

TEST_F(Silence, IsReportedToALaterHandlerAtOnce) {
    cut();
    ConnectionStates later;
    later.watch(*fConnection);
    EXPECT_THAT(later.all(), testing::ElementsAre(State::Silent));
    fConnection->setStateHandler(nullptr);
}

TEST_F(Silence, IsNotReportedByTheDestructorOfAConnection) {
    constexpr int moreThanThreads = 16;
    const auto client = makeClient(quickSettings());
    const auto open = [&] {
        return KVConnection::open(client, a_loopback, fRelay.port(), a_timeOut);
    };
    Latch latch;
    std::vector<std::shared_ptr<KVConnection>> others;
    for (int i = 0; i < moreThanThreads; ++i) {
        others.push_back(open());
        others.back()->setStateHandler([&](State) { latch.enter(); });
    }
    auto last = open();
    ConnectionStates states;
    states.watch(*last);
    fRelay.cut();
    EXPECT_TRUE(latch.waitForEntries(1)) << "the handler of the last one waits for a thread";
    last.reset();
    EXPECT_THAT(states.all(), testing::IsEmpty());
    latch.open();
}

TEST_F(Silence, MayBeReportedToAHandlerThatDestroysTheConnection) {
    auto connection = KVConnection::open(fClient, a_loopback, fRelay.port(), a_timeOut);
    ConnectionStates states;
    states.watch(*connection);
    cut();
    ASSERT_TRUE(states.waitFor(State::Silent)) << "one connection after the other learns of it";
    connection->setStateHandler([&](State) { connection.reset(); });
    EXPECT_EQ(connection, nullptr) << "it was called at once";
}

TEST_F(Silence, ContinuesASubscriptionWithTheNewestValues) {
    const auto subscription = subscribe();
    ASSERT_TRUE(fValues.waitForValue("third", 0));
    const std::size_t before = fValues.countUpdates();
    cut();
    for (int value = 1; value <= 1000; ++value) {
        fTable->setValue(fIds[0], value);
    }
    restore();
    ASSERT_TRUE(fValues.waitForValue("first", 1000));
    const auto updates = fValues.updates();
    ASSERT_GT(updates.size(), before);
    std::vector<std::uint32_t> changed;
    for (std::size_t i = before; i < updates.size(); ++i) {
        for (const KVChange& change : updates[i].fChanges) {
            changed.push_back(change.fId);
        }
    }
    EXPECT_THAT(changed, testing::Each(fIds[0])) << "the others have not changed";
    EXPECT_FALSE(fValues.fEnd);
    fTable->setValue(fIds[1], "later");
    EXPECT_TRUE(fValues.waitForValue("second", "later"));
}

TEST_F(Silence, ContinuesASubscriptionToChosenKeys) {
    const auto subscription = subscribe(KVSubscription::Selection::ChosenKeys);
    ASSERT_TRUE(fValues.waitForKeys(3));
    subscription->setKeys({fIds[0]});
    ASSERT_TRUE(fValues.waitForValue("first", 0));
    cut();
    fTable->setValue(fIds[0], "changed");
    fTable->setValue(fIds[2], "not chosen");
    subscription->setKeys({fIds[0], fIds[1]});
    restore();
    EXPECT_TRUE(fValues.waitForValue("first", "changed"));
    EXPECT_TRUE(fValues.waitForValue("second", 0)) << "chosen while the robot was silent";
    fValues.waitUntil([&] {
        EXPECT_EQ(fValues.fValues.count("third"), 0U);
        return true;
    });
}

TEST_F(Silence, ReportsTheKeysThatWereAddedAndRemoved) {
    const auto subscription = subscribe();
    ASSERT_TRUE(fValues.waitForValue("third", 0));
    cut();
    fTable->removeKey(fIds[1]);
    KVKeyInfo key;
    key.fName = "fourth";
    fTable->addKey(key, 4);
    restore();
    EXPECT_TRUE(fValues.waitForValue("fourth", 4));
    fValues.waitUntil([&] {
        EXPECT_THAT(fValues.fRemoved, testing::ElementsAre(fIds[1]));
        return true;
    });
}

TEST_F(Silence, ContinuesACameraAtTheNextFrame) {
    const auto stream = KVFrameStream::start(fConnection, "Memory", "head", fFrames.callbacks());
    fSource->publish("head", makeFrame(1, 1000));
    ASSERT_TRUE(fFrames.waitForFrame(1));
    cut();
    restore();
    fSource->publish("head", makeFrame(2, 1000));
    ASSERT_TRUE(fFrames.waitForFrame(2));
    fFrames.waitUntil([&] {
        EXPECT_THAT(fFrames.fNumbers, testing::ElementsAre(1, 2)) << "no frame comes twice";
        EXPECT_FALSE(fFrames.fEnd);
        return true;
    });
}

TEST_F(Silence, ContinuesAnH264CameraWithoutRepeatingFrames) {
    const auto stream = KVFrameStream::start(fConnection, "Memory", "head", fFrames.callbacks());
    publishH264(*fSource, 1, 3, true);
    ASSERT_TRUE(fFrames.waitForFrame(3));
    cut();
    restore();
    publishH264(*fSource, 4, 5);
    ASSERT_TRUE(fFrames.waitForFrame(5));
    fFrames.waitUntil([&] {
        EXPECT_THAT(fFrames.fNumbers, testing::ElementsAre(1, 2, 3, 4, 5));
        EXPECT_EQ(fFrames.fPassedOver, 0U);
        return true;
    });
}

TEST_F(Silence, ContinuesAnH264CameraWithAKeyFrameAfterFramesAreLost) {
    const auto stream = KVFrameStream::start(fConnection, "Memory", "head", fFrames.callbacks());
    publishH264(*fSource, 1, 3, true);
    ASSERT_TRUE(fFrames.waitForFrame(3));
    cut();
    constexpr std::uint64_t afterTheBacklog = 20;
    publishH264(*fSource, 4, afterTheBacklog);
    while (fSource->takeKeyFrameRequest("head")) {
    }
    restore();
    ASSERT_TRUE(waitForKeyFrameRequest(*fSource));
    publishH264(*fSource, 21, 21);
    publishH264(*fSource, 22, 23, true);
    ASSERT_TRUE(fFrames.waitForFrame(23));
    fFrames.waitUntil([&] {
        EXPECT_THAT(fFrames.fNumbers, testing::ElementsAre(1, 2, 3, 22, 23));
        return true;
    });
}

TEST_F(Silence, LetsCallsWait) {
    KVProxy proxy("Echo", a_loopback, fRelay.port(), fClient, 1, 0);
    cut();
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("echo", 1); }), TimedOut) << "by their own time-outs";
}

TEST_F(Silence, ExecutesEachCallOnce) {
    std::mutex mutex;
    std::vector<std::int64_t> executed;
    Latch latch;
    auto counter = std::make_shared<KVModule>("Counter", "Counts");
    counter->bindMethod("count", [&](std::int64_t number) {
        {
            const std::lock_guard lock(mutex);
            executed.push_back(number);
        }
        if (number == 0) {
            latch.enter();
        }
        return number;
    });
    fServer->addModule(counter);
    KVProxy proxy("Counter", a_loopback, fRelay.port(), fClient, 30, 0);
    const auto call = [&](std::int64_t number) {
        return std::async(std::launch::async,
                          [&proxy, number] { return proxy.call<std::int64_t>("count", number); });
    };
    std::vector<std::future<std::int64_t>> results;
    results.push_back(call(0));
    ASSERT_TRUE(latch.waitForEntries(1));
    fRelay.cut();
    results.push_back(call(1));  // does not arrive
    proxy.pCall("count", std::int64_t{2});
    ASSERT_TRUE(fStates.waitFor(State::Silent));
    latch.open();  // the result does not arrive
    results.push_back(call(3));
    restore();
    results.push_back(call(4));
    EXPECT_EQ(results[0].get(), 0);
    EXPECT_EQ(results[1].get(), 1);
    EXPECT_EQ(results[2].get(), 3);
    EXPECT_EQ(results[3].get(), 4);
    const std::lock_guard lock(mutex);
    EXPECT_THAT(executed, testing::UnorderedElementsAre(0, 1, 2, 3, 4));
}

TEST_F(Silence, RepeatsLargeMessages) {
    const std::string large(3'000'000, 'x');
    KVProxy proxy("Echo", a_loopback, fRelay.port(), fClient, 30, 0);
    for (int round = 0; round < 3; ++round) {
        auto result =
            std::async(std::launch::async, [&] { return proxy.call<std::string>("echo", large); });
        cut();
        restore();
        EXPECT_EQ(result.get(), large);
    }
}

TEST_F(Silence, LeavesNothingBehind) {
    const auto subscription = subscribe();
    const auto stream = KVFrameStream::start(fConnection, "Memory", "head", fFrames.callbacks());
    KVProxy proxy("Echo", a_loopback, fRelay.port(), fClient, 30, 0);
    std::uint64_t number = 0;
    const auto cycle = [&] {
        cut();
        restore();
        ++number;
        fTable->setValue(fIds[0], static_cast<std::int64_t>(number));
        fSource->publish("head", makeFrame(number, 1000));
        EXPECT_TRUE(fValues.waitForValue("first", static_cast<std::int64_t>(number)));
        EXPECT_TRUE(fFrames.waitForFrame(number));
        EXPECT_EQ(proxy.call<int>("echo", 7), 7);
    };
    const auto hasOnlyTheNewest = [&] {
        return obvista_test::eventually(
            [&] { return fRelay.countConnections() == 1 && fSource->getWatchers("head") == 1; });
    };
    for (int i = 0; i < 3; ++i) {
        cycle();
    }
    const std::size_t threads = obvista_test::countThreads();
    for (int i = 0; i < 6; ++i) {
        cycle();
    }
    // gRPC starts and ends some by itself. A leak would leave one of each cycle.
    EXPECT_TRUE(
        obvista_test::eventually([&] { return obvista_test::countThreads() <= threads + 4; }));
    EXPECT_TRUE(hasOnlyTheNewest()) << "both ends close those that they have left";
    EXPECT_FALSE(fFrames.fEnd);
    EXPECT_FALSE(fValues.fEnd);
}

TEST_F(Silence, IsTheLossOfARobotThatWasRestarted) {
    cut();
    const int port = fServer->getPort();
    fServer.reset();
    fServer = KVBroker::createBroker({"Robot", a_loopback, port, quickSettings()});
    fRelay.restore(false);
    EXPECT_TRUE(fStates.waitFor(State::Lost));
    EXPECT_THAT(fStates.lastTwo(), testing::ElementsAre(State::Silent, State::Lost));
}

TEST_F(Silence, ReplacesTheKeysOfAModuleThatWasReplaced) {
    const auto subscription = subscribe();
    ASSERT_TRUE(fValues.waitForValue("third", 0));
    cut();
    fServer->removeModule("Memory");
    const auto table = std::make_shared<KVValueTable>();
    KVKeyInfo key;
    for (const char* name : {"new first", "new second", "new third"}) {
        key.fName = name;
        table->addKey(key, 7);
    }
    const auto other = std::make_shared<KVModule>("Memory", "Another one of the same size");
    other->setValues(table);
    fServer->addModule(other);
    restore();
    EXPECT_TRUE(fValues.waitForValue("new third", 7));
    fValues.waitUntil([&] {
        EXPECT_THAT(fValues.fRemoved, testing::UnorderedElementsAreArray(fIds));
        return true;
    });
    EXPECT_FALSE(fValues.fEnd);
    cut();
    table->setValue(1, 8);
    restore();
    EXPECT_TRUE(fValues.waitForValue("new first", 8));
    EXPECT_FALSE(fValues.fEnd);
}

TEST_F(Silence, ForgetsTheChosenKeysOfAModuleThatWasReplaced) {
    const auto subscription = subscribe(KVSubscription::Selection::ChosenKeys);
    ASSERT_TRUE(fValues.waitForKeys(3));
    subscription->setKeys({fIds[0]});
    ASSERT_TRUE(fValues.waitForValue("first", 0));
    cut();
    fServer->removeModule("Memory");
    const auto table = std::make_shared<KVValueTable>();
    KVKeyInfo key;
    key.fName = "not chosen";
    const std::uint32_t notChosen = table->addKey(key, 7);
    ASSERT_EQ(notChosen, fIds[0]);
    key.fName = "chosen";
    const std::uint32_t chosen = table->addKey(key, 8);
    const auto other = std::make_shared<KVModule>("Memory", "Another one");
    other->setValues(table);
    fServer->addModule(other);
    restore();
    ASSERT_TRUE(fValues.waitUntil([&] { return fValues.fKeys[chosen].fName == "chosen"; }));
    subscription->setKeys({chosen});
    EXPECT_TRUE(fValues.waitForValue("chosen", 8));
    fValues.waitUntil([&] {
        EXPECT_EQ(fValues.fValues.count("not chosen"), 0U);
        return true;
    });
}

TEST_F(Silence, ContinuesASubscriptionWhoseKeysAreChosenMeanwhile) {
    constexpr std::size_t count = 8;
    std::vector<RecordingListener> values(count);
    std::vector<std::shared_ptr<KVSubscription>> subscriptions;
    for (RecordingListener& each : values) {
        subscriptions.push_back(KVSubscription::start(
            fConnection, "Memory", KVSubscription::Selection::ChosenKeys, 100, each.callbacks()));
        ASSERT_TRUE(each.waitForKeys(3));
    }
    std::atomic<bool> ends{false};
    auto choosing = std::async(std::launch::async, [&] {
        while (!ends) {
            for (const auto& each : subscriptions) {
                each->setKeys({fIds[0], fIds[1]});
                each->setKeys({fIds[0]});
            }
        }
    });
    for (int round = 1; round <= 5; ++round) {
        cut();
        fTable->setValue(fIds[0], round);
        restore();
        for (RecordingListener& each : values) {
            EXPECT_TRUE(each.waitForValue("first", round));
        }
    }
    ends = true;
    choosing.get();
    subscriptions.clear();
}

TEST_F(Silence, DoesNotHoldUpAProgramThatLeavesWhileItEnds) {
    const auto client = makeClient(quickSettings());
    auto proxy = std::make_unique<KVProxy>("Echo", a_loopback, fRelay.port(), client, a_timeOut, 0);
    ConnectionStates states;
    {
        const auto connection = KVConnection::open(client, a_loopback, fRelay.port(), a_timeOut);
        states.watch(*connection);
        proxy->pCall("echo", 1);
        EXPECT_EQ(proxy->call<int>("echo", 2), 2) << "the posted call has arrived";
        cut();
        ASSERT_TRUE(states.waitFor(State::Silent));
        connection->setStateHandler(nullptr);
    }
    // It waits up to half a second for the robot, on whichever connection.
    auto left = std::async(std::launch::async, [&] { proxy.reset(); });
    fRelay.restore(false);
    EXPECT_EQ(left.wait_for(a_patience), std::future_status::ready);
}

TEST_F(Silence, MayBeLeftByTheUser) {
    const auto subscription = subscribe();
    ASSERT_TRUE(fValues.waitForValue("third", 0));
    cut();
    fConnection->setStateHandler(nullptr);
    subscription->stop();
    EXPECT_FALSE(fValues.fEnd);
}

namespace {

/** Returns TCP_USER_TIMEOUT of this process's connections from and to a port. */
std::vector<int> timeOutsOfTransport(int port) {
    std::vector<int> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        sockaddr_in local{};
        sockaddr_in remote{};
        socklen_t length = sizeof remote;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&remote), &length) != 0) {
            continue;
        }
        length = sizeof local;
        ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &length);
        if (ntohs(local.sin_port) != port && ntohs(remote.sin_port) != port) {
            continue;
        }
        int timeOut = 0;
        length = sizeof timeOut;
        ::getsockopt(descriptor, IPPROTO_TCP, TCP_USER_TIMEOUT, &timeOut, &length);
        found.push_back(timeOut);
    }
    return found;
}

}  // namespace

TEST(Transport, IsNotGivenUpBeforeTheLimitOfSilence) {
    KVSettings settings;
    settings.fLimits.fSilence = std::chrono::seconds(120);
    const auto server = makeServer("Robot", settings);
    const auto client = makeClient(settings);
    const auto connection = KVConnection::open(client, a_loopback, server->getPort(), a_timeOut);
    const std::vector<int> timeOuts = timeOutsOfTransport(server->getPort());
    EXPECT_GE(timeOuts.size(), 2U) << "that of the client and that of the robot";
    EXPECT_THAT(timeOuts, testing::Each(testing::Gt(120'000))) << "milliseconds";
}

namespace {

/** A robot in a separate process, with the limits of the default settings except for the last one.
 */
class StoppedRobot : public testing::Test {
  protected:
    void connect(std::chrono::milliseconds limit) {
        KVSettings settings;
        settings.fLimits.fSilence = limit;
        fClient = makeClient(settings);
        fConnection = KVConnection::open(fClient, a_loopback, fPort, a_timeOut);
        fStates.watch(*fConnection);
        fSubscription = KVSubscription::start(
            fConnection, "Memory", KVSubscription::Selection::AllKeys, 50, fValues.callbacks());
        ASSERT_TRUE(fValues.waitUntil([&] { return fValues.fUpdates.size() > 3; }));
    }

    const int fPort = obvista_test::freePort();
    std::unique_ptr<ChildProcess> fRobot = startServerProcess(fPort);
    BrokerPtr fClient;
    RecordingListener fValues;
    ConnectionStates fStates;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

}  // namespace

TEST_F(StoppedRobot, Continues) {
    connect(std::chrono::seconds(30));
    for (int i = 0; i < 2; ++i) {
        fRobot->signal(SIGSTOP);
        ASSERT_TRUE(fStates.waitFor(State::Silent));
        const std::size_t before = fValues.countUpdates();
        fRobot->signal(SIGCONT);
        ASSERT_TRUE(fStates.waitFor(State::Connected));
        EXPECT_TRUE(fValues.waitUntil([&] { return fValues.fUpdates.size() > before + 3; }));
    }
    EXPECT_FALSE(fValues.fEnd);
    KVProxy proxy("Echo", a_loopback, fPort, fClient, 30, 0);
    EXPECT_EQ(proxy.call<int>("echo", 7), 7);
}

TEST_F(StoppedRobot, IsLostAfterTheLimit) {
    connect(std::chrono::seconds(2));
    fRobot->signal(SIGSTOP);
    ASSERT_TRUE(fStates.waitFor(State::Lost));
    EXPECT_THAT(fStates.all(), testing::ElementsAre(State::Silent, State::Lost));
    ASSERT_TRUE(fValues.waitForEnd());
    EXPECT_CAUSE(*fValues.fEnd, ConnectionLost);
    fRobot->signal(SIGCONT);
    EXPECT_EQ(fConnection->getState(), State::Lost);
}

TEST_F(StoppedRobot, IsLostWhenItIsKilled) {
    connect(std::chrono::seconds(120));
    fRobot->signal(SIGSTOP);
    ASSERT_TRUE(fStates.waitFor(State::Silent));
    fRobot->signal(SIGKILL);
    EXPECT_TRUE(fStates.waitFor(State::Lost));
}
