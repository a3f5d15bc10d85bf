// Our client with robots that answer its attempts to resume a session late or wrongly.
#include "connection_states.h"
#include "latch.h"
#include "raw_peer.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>

#include <gtest/gtest.h>

#include <memory>

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

    void connect() {
        fConnection = KVConnection::open(fBroker, a_loopback, fRobot.port(), 5);
        fStates.watch(*fConnection);
    }

    Latch fLatch;
    RawServer fRobot;
    const BrokerPtr fBroker = makeClient(quickSettings());
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
        ASSERT_EQ(fConnection->getModules(5).size(), 1U);
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
