// Each limit, set below its default and exceeded.
#include "frame_listener.h"
#include "latch.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_source.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>

using namespace robaxi_test;

namespace {

constexpr std::size_t a_kibibyte = 1024;

KVValue nested(int depth) {
    KVValue value;
    for (int n = 0; n < depth; ++n) {
        value = KVValue::List{value};
    }
    return value;
}

/** Limits of the client or of the server; the other one has the defaults. */
class Limits : public testing::Test {
  protected:
    static KVSettings with(const KVSettings::Limits& limits) {
        KVSettings settings;
        settings.fLimits = limits;
        return settings;
    }

    void serve(const KVSettings::Limits& limits = {}) {
        fServer = makeServer("Robot", with(limits));
        const auto module = makeEcho();
        module->setValues(fTable);
        module->setFrames(fSource);
        fServer->addModule(module);
    }

    std::unique_ptr<KVProxy> proxy(const KVSettings::Limits& limits = {}) const {
        return std::make_unique<KVProxy>("Echo", a_loopback, fServer->getPort(),
                                         makeClient(with(limits)), a_timeOut, 0);
    }

    std::shared_ptr<KVConnection> connect(const KVSettings::Limits& limits = {}) const {
        return KVConnection::open(makeClient(with(limits)), a_loopback, fServer->getPort(),
                                  a_timeOut);
    }

    /** Waits for that many different round trips. */
    static bool waitForHeartbeats(const KVConnection& connection, int count) {
        const auto deadline = std::chrono::steady_clock::now() + a_patience;
        double before = -1;
        int changes = 0;
        while (changes < count && std::chrono::steady_clock::now() < deadline) {
            const double now = connection.getRoundTrip();
            changes += now != before ? 1 : 0;
            before = now;
            std::this_thread::yield();
        }
        return changes >= count;
    }

    static KVKeyInfo key(const std::string& name) {
        KVKeyInfo info;
        info.fName = name;
        return info;
    }

    BrokerPtr fServer;
    std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    std::shared_ptr<KVFrameSource> fSource = std::make_shared<KVFrameSource>();
    KVSettings::Limits fLow;
};

}  // namespace

TEST_F(Limits, OnMessagesHoldForCalls) {
    fLow.fMessage = 64 * a_kibibyte;
    serve();
    const std::string large(65 * a_kibibyte, 'x');
    EXPECT_CAUSE(errorOf([&] { proxy(fLow)->callValue("echo", {large}); }), TooLarge);
    EXPECT_EQ(proxy()->call<std::string>("echo", large), large);
}

TEST_F(Limits, OnMessagesHoldForWhatTheRobotReceivesAndAnswers) {
    fLow.fMessage = 64 * a_kibibyte;
    serve(fLow);
    const auto caller = proxy();
    const auto module = std::make_shared<KVModule>("Talker", "");
    module->bindMethod({"talk", "talk()", ""}, {},
                       [](const KVValue::List&) { return std::string(65 * a_kibibyte, 'x'); });
    fServer->addModule(module);
    KVProxy talker("Talker", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0);
    EXPECT_CAUSE(errorOf([&] { talker.callValue("talk", {}); }), TooLarge);
    EXPECT_ANY_THROW(caller->callValue("echo", {std::string(2048 * a_kibibyte, 'x')}));
    EXPECT_EQ(proxy()->call<int>("echo", 1), 1) << "the robot serves on";
}

TEST_F(Limits, OnMessagesLeaveSmallValuesToSubscribe) {
    fLow.fMessage = 64 * a_kibibyte;
    for (int n = 0; n < 3000; ++n) {
        fTable->addKey(key("a key with a rather long name, number " + std::to_string(n)), n);
    }
    fTable->addKey(key("large"), std::string(65 * a_kibibyte, 'x'));
    serve(fLow);
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        connect(fLow), "Echo", KVSubscription::Selection::AllKeys, 50, listener.callbacks());
    EXPECT_TRUE(listener.waitForValue("a key with a rather long name, number 2999", 2999));
    EXPECT_TRUE(listener.waitForValue("large", KVValue()));
}

TEST_F(Limits, OnDepthHoldForWhatIsSent) {
    fLow.fDepth = 3;
    serve();
    EXPECT_EQ(proxy(fLow)->callValue("echo", {nested(3)}), nested(3));
    EXPECT_CAUSE(errorOf([&] { proxy(fLow)->callValue("echo", {nested(4)}); }), InvalidArgument);
}

TEST_F(Limits, OnDepthHoldForWhatIsReceived) {
    fLow.fDepth = 3;
    serve(fLow);
    EXPECT_EQ(proxy()->callValue("echo", {nested(3)}), nested(3));
    EXPECT_CAUSE(errorOf([&] { proxy()->callValue("echo", {nested(4)}); }), Internal);
}

TEST_F(Limits, OnModulesHold) {
    fLow.fModules = 2;
    serve(fLow);
    fServer->addModule(std::make_shared<KVModule>("Second", ""));
    const auto third = std::make_shared<KVModule>("Third", "");
    const KVError error = errorOf([&] { fServer->addModule(third); });
    EXPECT_CAUSE(error, TooMany);
    EXPECT_EQ(error.toString(),
              "The module Third cannot be hosted: there are 2 already, which is the limit.");
    fServer->removeModule("Second");
    fServer->addModule(third);
}

TEST_F(Limits, OnSessionsHold) {
    fLow.fSessions = 2;
    serve(fLow);
    auto first = connect();
    const auto second = connect();
    const KVError error = errorOf([&] { connect(); });
    EXPECT_CAUSE(error, TooMany);
    EXPECT_EQ(error.toString(),
              "Cannot reach 127.0.0.1 port " + std::to_string(fServer->getPort()) +
                  ": a limit of the robot is reached (too many programs are connected "
                  "to it). End what is not needed, or raise the robot's limit.");
}

TEST_F(Limits, OnSessionsOfAnAddressHold) {
    fLow.fSessionsOfAddress = 2;
    serve(fLow);
    auto first = connect();
    const auto second = connect();
    EXPECT_CAUSE(errorOf([&] { connect(); }), TooMany);
    first.reset();
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    std::shared_ptr<KVConnection> again;
    while (!again && std::chrono::steady_clock::now() < deadline) {
        try {
            again = connect();
        } catch (const KVError&) {
            continue;  // the robot receives the end of the first one a little later
        }
    }
    EXPECT_TRUE(again);
}

TEST_F(Limits, OnSessionsOfAnAddressLeaveOthersIn) {
    fLow.fSessionsOfAddress = 1;
    fServer = makeServer("Robot", with(fLow));
    const auto first = connect();
    EXPECT_CAUSE(errorOf([&] { connect(); }), TooMany);
    // Another address of the loopback represents another computer.
    KVSettings::Limits usual;
    usual.fSessionsOfAddress = 1;
    const auto every = KVBroker::createBroker({"Every", "0.0.0.0", 0, with(usual)});
    const auto fourth = KVConnection::open(makeClient(), "127.0.0.1", every->getPort(), a_timeOut);
    const auto sixth = KVConnection::open(makeClient(), "::1", every->getPort(), a_timeOut);
    EXPECT_CAUSE(
        errorOf([&] { KVConnection::open(makeClient(), "::1", every->getPort(), a_timeOut); }),
        TooMany);
}

TEST_F(Limits, OnSubscriptionsHold) {
    fLow.fSubscriptions = 1;
    fTable->addKey(key("a"), 1);
    serve(fLow);
    const auto connection = connect();
    RecordingListener first;
    RecordingListener second;
    constexpr auto all = KVSubscription::Selection::AllKeys;
    const auto one = KVSubscription::start(connection, "Echo", all, 50, first.callbacks());
    ASSERT_TRUE(first.waitForValue("a", 1));
    const auto two = KVSubscription::start(connection, "Echo", all, 50, second.callbacks());
    ASSERT_TRUE(second.waitForEnd());
    EXPECT_CAUSE(*second.fEnd, TooMany);
}

TEST_F(Limits, OnWatchedCamerasHold) {
    fLow.fCameras = 1;
    fSource->addStream("head");
    fSource->publish("head", makeFrame(1, 10));
    serve(fLow);
    const auto connection = connect();
    FrameListener first;
    FrameListener second;
    const auto one = KVFrameStream::start(connection, "Echo", "head", first.callbacks());
    ASSERT_TRUE(first.waitForFrame(1));
    const auto two = KVFrameStream::start(connection, "Echo", "head", second.callbacks());
    ASSERT_TRUE(second.waitForEnd());
    EXPECT_CAUSE(*second.fEnd, TooMany);
}

TEST_F(Limits, OnKeysHold) {
    fLow.fKeys = 10;
    for (int n = 0; n < 11; ++n) {
        fTable->addKey(key("key" + std::to_string(n)), n);
    }
    serve();
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        connect(fLow), "Echo", KVSubscription::Selection::AllKeys, 50, listener.callbacks());
    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, TooLarge);
}

TEST_F(Limits, OnFramesHoldAtTheProgram) {
    fLow.fFrame = 64 * a_kibibyte;
    fSource->addStream("head");
    fSource->publish("head", makeFrame(1, 64 * a_kibibyte + 1));
    serve();
    FrameListener listener;
    const auto stream = KVFrameStream::start(connect(fLow), "Echo", "head", listener.callbacks());
    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, TooLarge);
}

TEST_F(Limits, OnFramesHoldAtTheRobot) {
    fLow.fFrame = 64 * a_kibibyte;
    fSource->addStream("head");
    fSource->publish("head", makeFrame(1, 64 * a_kibibyte + 1));
    serve(fLow);
    FrameListener listener;
    const auto stream = KVFrameStream::start(connect(), "Echo", "head", listener.callbacks());
    ASSERT_TRUE(listener.waitForEnd());
    EXPECT_CAUSE(*listener.fEnd, TooLarge);
}

TEST_F(Limits, OnTheHeartbeatHold) {
    fLow.fHeartbeat = std::chrono::milliseconds(20);
    serve();
    const auto often = connect(fLow);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(waitForHeartbeats(*often, 100));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20))
        << "every 250 ms they would take 25 s";
}

TEST_F(Limits, OnTheSilenceOfClientsAreKeptByThem) {
    fLow.fHeartbeat = std::chrono::milliseconds(100);  // so that 2 s of silence end a session
    serve(fLow);
    KVSettings::Limits rare;
    rare.fHeartbeat = std::chrono::seconds(5);
    rare.fLoss = std::chrono::seconds(20);
    const auto connection = connect(rare);
    EXPECT_TRUE(waitForHeartbeats(*connection, 10));
    EXPECT_TRUE(connection->isConnected());
}
