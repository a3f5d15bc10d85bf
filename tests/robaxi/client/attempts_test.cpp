// Our client with robots that answer its attempts to resume a session late or wrongly.
#include "connection_states.h"
#include "frame_listener.h"
#include "latch.h"
#include "raw_peer.h"
#include "recording_listener.h"
#include "relay.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_frame_stream.h>
#include <robaxi/kv_subscription.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

using namespace robaxi_test;
using State = KVConnection::State;

namespace {

class Attempts : public testing::Test {
  protected:
    Attempts() {
        fRobot.fHelloReply.set_resumes(true);
        fRobot.fAnswer = [](const v1::ClientMessage& message, v1::ServerMessage& answer) {
            answer.mutable_module_list()->set_call_id(message.list_modules().call_id());
            answer.mutable_module_list()->add_modules()->set_name("Robot");
            return message.has_list_modules();
        };
    }
    ~Attempts() override {
        if (fConnection) {
            fConnection->setStateHandler(nullptr);
        }
    }

    void connect() { connect(quickSettings(), fRobot.port()); }

    void connect(const KVSettings& settings, int port) {
        fConnection = KVConnection::open(makeClient(settings), a_loopback, port, a_timeOut);
        fStates.watch(*fConnection);
    }

    /** Accepts an attempt on this stream, which is then the session's. */
    grpc::Status resume(RawServer::SessionStream& stream) const {
        v1::ServerBatch answer;
        *answer.add_messages()->mutable_hello_reply() = fRobot.fHelloReply;
        answer.mutable_messages(0)->mutable_hello_reply()->set_resumed(true);
        stream.Write(answer);
        v1::ClientBatch batch;
        while (stream.Read(&batch)) {
        }
        return grpc::Status::OK;
    }

    /** Waits until the client has handled what the robot had sent before this call. */
    void settle() {
        for (int i = 0; i < 10; ++i) {
            FrameListener frames;
            const auto stream =
                KVFrameStream::start(fConnection, "Robot", "head", frames.callbacks());
            EXPECT_TRUE(frames.waitForFrame(1));
        }
    }

    Latch fLatch;
    std::atomic<int> fSubscriptions{0};
    std::atomic<int> fHeartbeats{0};
    std::atomic<bool> fIsAttempted{false};
    RawServer fRobot;
    ConnectionStates fStates;
    std::shared_ptr<KVConnection> fConnection;
};

}  // namespace

TEST_F(Attempts, ThatAreRefusedTooLateDoNotEndTheSession) {
    fRobot.fResumption = [this](RawServer::SessionStream&) -> grpc::Status {
        fLatch.enter();
        return {grpc::StatusCode::PERMISSION_DENIED, "a copy was dropped"};
    };
    connect();
    fRobot.fIsSilent = true;
    ASSERT_TRUE(fStates.waitFor(State::Silent));
    ASSERT_TRUE(fLatch.waitForEntries(1));
    fRobot.fIsSilent = false;  // the former connection answers first
    ASSERT_TRUE(fStates.waitFor(State::Connected));
    fLatch.open();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(fConnection->getModules(a_timeOut).size(), 1U);
    }
    EXPECT_EQ(fConnection->getState(), State::Connected);
}

TEST_F(Attempts, ThatAreAnsweredWithMoreThanHelloReplyAreGivenUp) {
    fRobot.fResumption = [this](RawServer::SessionStream& stream) {
        v1::ServerBatch answer;
        *answer.add_messages()->mutable_hello_reply() = fRobot.fHelloReply;
        answer.mutable_messages(0)->mutable_hello_reply()->set_resumed(true);
        answer.add_messages()->mutable_heartbeat();
        stream.Write(answer);
        v1::ClientBatch batch;
        while (stream.Read(&batch)) {
        }
        fLatch.enter();
        return grpc::Status::OK;
    };
    connect();
    fRobot.fIsSilent = true;
    EXPECT_TRUE(fLatch.waitForEntries(1)) << "the client has ended that connection";
    ASSERT_TRUE(fStates.waitFor(State::Silent));
    fRobot.fIsSilent = false;
    EXPECT_TRUE(fStates.waitFor(State::Connected)) << "on the former one";
    fLatch.open();
}

TEST_F(Attempts, KeepAStreamThatTheRobotRefusesSinceItHasMovedTheSession) {
    fRobot.fResumption = [this](RawServer::SessionStream& stream) {
        fLatch.enter();
        return resume(stream);
    };
    fRobot.fStreamStatus = {grpc::StatusCode::PERMISSION_DENIED, "another number"};
    fRobot.fSubscription = [this](RawServer::SubscriptionStream& stream) {
        if (++fSubscriptions == 1) {
            return;
        }
        v1::SubscriptionUpdate update;
        v1::Key* key = update.mutable_keys_added()->add_keys();
        key->set_id(1);
        key->set_name("key");
        stream.Write(update);
        v1::SubscriptionRequest request;
        while (stream.Read(&request)) {
        }
    };
    fRobot.fWatch = [](RawServer::WatchStream& stream) {
        v1::WatchUpdate update;
        update.mutable_header()->set_number(1);
        update.mutable_header()->set_size(1);
        update.set_data("x");
        stream.Write(update);
    };
    // An attempt after a second, which is a second before the client reports the silence.
    KVSettings settings;
    settings.fLimits.fHeartbeat = std::chrono::milliseconds(100);
    settings.fLimits.fLoss = std::chrono::seconds(2);
    settings.fLimits.fSilence = std::chrono::seconds(30);
    connect(settings, fRobot.port());
    fRobot.fIsSilent = true;
    ASSERT_TRUE(fLatch.waitForEntries(1));
    RecordingListener listener;
    const auto subscription = KVSubscription::start(
        fConnection, "Robot", KVSubscription::Selection::AllKeys, 1, listener.callbacks());
    settle();
    fLatch.open();
    EXPECT_TRUE(listener.waitUntil([&] { return listener.fEnd || !listener.fKeys.empty(); }));
    EXPECT_FALSE(listener.fEnd) << listener.fEnd->toString();
}

TEST_F(Attempts, AreNotMadeWhenTheRobotHasBeenHeardAgain) {
    fRobot.fResumption = [this](RawServer::SessionStream& stream) {
        fIsAttempted = true;
        return resume(stream);
    };
    fRobot.fHeartbeat = [this] { ++fHeartbeats; };
    // The client tries to connect at the second heartbeat of a silence. The system repeats that
    // after a second, which is before the third one.
    constexpr std::chrono::milliseconds period(1200);
    KVSettings settings;
    settings.fLimits.fHeartbeat = period;
    settings.fLimits.fLoss = 2 * period;
    settings.fLimits.fSilence = std::chrono::seconds(30);
    Relay relay(fRobot.port());
    connect(settings, relay.port());
    const auto waitUntil = [](const auto& condition) {
        const auto end = std::chrono::steady_clock::now() + a_patience;
        while (!condition() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return condition();
    };
    ASSERT_TRUE(waitUntil([this] { return fHeartbeats >= 1; }));
    relay.cut();
    const int atCut = fHeartbeats;
    relay.dropHandshakes();
    const double twoPeriods = std::chrono::duration<double>(2 * period).count();
    ASSERT_TRUE(waitUntil([&] { return fConnection->getSilence() > twoPeriods + 0.05; }));
    relay.restore(true);  // the client's attempt waits until it has heard the robot
    ASSERT_TRUE(
        waitUntil([&] { return fConnection->getSilence() < 1 && fHeartbeats >= atCut + 2; }));
    const int before = fHeartbeats;
    relay.passHandshakes();
    ASSERT_TRUE(waitUntil([&] { return fHeartbeats > before; }));
    EXPECT_FALSE(fIsAttempted);
    fConnection->setStateHandler(nullptr);
    fConnection.reset();
}
