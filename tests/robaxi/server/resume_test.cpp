// Our server with clients that resume sessions, rightly or wrongly.
#include "connection_states.h"
#include "raw_peer.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

using namespace robaxi_test;

namespace {

v1::Hello firstHello() {
    v1::Hello hello;
    hello.set_protocol_version(1);
    hello.set_name("Walker");
    hello.set_resumes(true);
    return hello;
}

v1::ClientBatch echoBatch(std::uint64_t number, std::uint64_t callId) {
    v1::ClientBatch batch;
    batch.set_number(number);
    v1::Call* call = batch.add_messages()->mutable_call();
    call->set_call_id(callId);
    call->set_module("Echo");
    call->set_method("echo");
    *call->add_arguments() = textValue("x");
    return batch;
}

/** A token in a file that only its owner can read. */
class TokenFile {
  public:
    TokenFile() {
        std::ofstream(fPath) << "secret\n";
        std::filesystem::permissions(fPath, std::filesystem::perms::owner_read);
    }
    ~TokenFile() { std::filesystem::remove(fPath); }
    TokenFile(const TokenFile&) = delete;
    TokenFile& operator=(const TokenFile&) = delete;
    std::string path() const { return fPath.string(); }

  private:
    const std::filesystem::path fPath = std::filesystem::temp_directory_path() / "token";
};

/** Limits with one session, which gives way after 500 ms. */
KVSettings oneSession() {
    KVSettings settings = quickSettings();
    settings.fLimits.fSessions = 1;
    return settings;
}

class Resume : public testing::Test {
  protected:
    void serve(const KVSettings& settings = {}) {
        fServer = makeServer("Robot", settings);
        fServer->addModule(makeEcho());
        const auto memory = std::make_shared<KVModule>("Memory", "");
        memory->setValues(std::make_shared<KVValueTable>());
        fServer->addModule(memory);
        fFirst = std::make_unique<RawClient>(fServer->getPort());
    }

    void serveWithToken(KVSettings settings = {}) {
        settings.fServer.fTokenFile = fToken.path();
        settings.fServer.fAllowsPlainToken = true;
        serve(settings);
        fHello.set_token("secret");
    }

    v1::Hello resumption(std::uint64_t number, std::uint64_t received = 0) const {
        v1::Hello hello = fHello;
        hello.mutable_resume()->set_session_id(fReply.session_id());
        hello.mutable_resume()->set_resumption(number);
        hello.mutable_resume()->set_received(received);
        return hello;
    }

    /** Returns true if the robot refuses the hello, on a fresh connection. */
    bool refuses(const v1::Hello& hello, v1::Error::Cause cause = v1::Error::NOT_AUTHORISED) const {
        RawClient client(fServer->getPort());
        return client.hello(hello).session_id() == 0 && !client.finish().ok() &&
               client.details().cause() == cause;
    }

    /** Returns true if the session still answers calls. */
    static bool answers(RawClient& client, std::uint64_t batch) {
        v1::ServerMessage answer;
        return client.send(echoBatch(batch, 100 + batch)) && client.receive(answer) &&
               answer.result().call_id() == 100 + batch;
    }

    const TokenFile fToken;
    BrokerPtr fServer;
    std::unique_ptr<RawClient> fFirst;
    std::unique_ptr<RawClient> fSecond;
    v1::Hello fHello = firstHello();
    v1::HelloReply fReply;
};

}  // namespace

TEST_F(Resume, MovesTheSessionToTheNewConnection) {
    serve();
    fReply = fFirst->hello(fHello);
    EXPECT_TRUE(fReply.resumes());
    EXPECT_EQ(fReply.silence_limit(), 10000U);
    ASSERT_TRUE(answers(*fFirst, 1));
    RawClient second(fServer->getPort());
    const v1::HelloReply reply = second.hello(resumption(1, 1));
    EXPECT_TRUE(reply.resumed());
    EXPECT_EQ(reply.session_id(), fReply.session_id());
    EXPECT_EQ(reply.received(), 1U);
    EXPECT_TRUE(answers(second, 2));
    v1::ServerMessage message;
    EXPECT_FALSE(fFirst->receive(message)) << "the former connection is closed";
}

TEST_F(Resume, RepeatsAnswersThatHaveNotArrivedAndIgnoresRepeatedCalls) {
    serve();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    ASSERT_TRUE(answers(*fFirst, 2));
    RawClient second(fServer->getPort());
    ASSERT_TRUE(second.hello(resumption(1, 1)).resumed());
    v1::ServerMessage answer;
    ASSERT_TRUE(second.receive(answer));
    EXPECT_EQ(answer.result().call_id(), 102U) << "the first one had arrived";
    ASSERT_TRUE(second.send(echoBatch(2, 102)));
    EXPECT_TRUE(answers(second, 3)) << "without a second answer to the repeated call";
}

TEST_F(Resume, ForgetsWhatHasBeenAcknowledged) {
    serve();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    v1::ClientMessage heartbeat;
    heartbeat.mutable_heartbeat()->set_received(1);
    ASSERT_TRUE(fFirst->send(heartbeat));
    ASSERT_TRUE(answers(*fFirst, 2));
    EXPECT_TRUE(refuses(resumption(1, 0)));
    EXPECT_TRUE(answers(*fFirst, 3)) << "a refusal has no effect";
}

TEST_F(Resume, IsRefusedToOthers) {
    serve();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    v1::Hello hello = resumption(1, 1);
    hello.mutable_resume()->set_session_id(fReply.session_id() + 1);
    EXPECT_TRUE(refuses(hello)) << "a guessed session";
    hello = resumption(1, 1);
    hello.set_name("Another");
    EXPECT_TRUE(refuses(hello)) << "a client of another name";
    EXPECT_TRUE(refuses(resumption(0, 1))) << "not above the last resumption";
    EXPECT_TRUE(refuses(resumption(1, 1000))) << "batches that were never sent";
    EXPECT_TRUE(answers(*fFirst, 2));
}

TEST_F(Resume, IsRefusedForASessionThatCannotBeResumed) {
    serve();
    fHello.set_resumes(false);
    fReply = fFirst->hello(fHello);
    EXPECT_EQ(fReply.silence_limit(), 5000U);
    EXPECT_TRUE(refuses(resumption(1)));
}

TEST_F(Resume, IsRefusedForASessionThatHasEnded) {
    serve();
    fReply = fFirst->hello(fHello);
    fFirst.reset();
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    while (!refuses(resumption(1)) && std::chrono::steady_clock::now() < deadline) {
        // It has been resumed before the robot noticed the end; that connection has ended, too.
    }
    EXPECT_TRUE(refuses(resumption(1000)));
}

TEST_F(Resume, NeedsTheTokenAgain) {
    serveWithToken();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    v1::Hello hello = resumption(1, 1);
    hello.clear_token();
    EXPECT_TRUE(refuses(hello, v1::Error::TOKEN_MISSING));
    hello.set_token("guess");
    EXPECT_TRUE(refuses(hello, v1::Error::TOKEN_WRONG));
    EXPECT_TRUE(answers(*fFirst, 2));
    RawClient second(fServer->getPort());
    EXPECT_TRUE(second.hello(resumption(1, 2)).resumed());
}

TEST_F(Resume, TakesNoPlaceOfASession) {
    KVSettings settings;
    settings.fLimits.fSessions = 1;
    settings.fLimits.fLoss = std::chrono::seconds(60);  // it does not give way either
    serve(settings);
    fReply = fFirst->hello(fHello);
    EXPECT_TRUE(refuses(fHello, v1::Error::TOO_MANY));
    RawClient second(fServer->getPort());
    EXPECT_TRUE(second.hello(resumption(1)).resumed());
    EXPECT_TRUE(refuses(fHello, v1::Error::TOO_MANY));
}

TEST_F(Resume, ComesAfterATokenThatHadToWait) {
    serveWithToken();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    v1::Hello wrong = fHello;
    wrong.set_token("guess");
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(refuses(wrong, v1::Error::TOKEN_WRONG));
    }
    RawClient second(fServer->getPort());
    ASSERT_TRUE(second.hello(resumption(1, 1)).resumed()) << "a second later";
    EXPECT_TRUE(answers(second, 2));
    EXPECT_TRUE(answers(second, 3));
}

TEST_F(Resume, LeavesItsPlaceToANewClientWhenItIsSilent) {
    serve(oneSession());
    fReply = fFirst->hello(fHello);
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    std::uint64_t newcomer = 0;
    while (newcomer == 0 && std::chrono::steady_clock::now() < deadline) {
        fSecond = std::make_unique<RawClient>(fServer->getPort());
        newcomer = fSecond->hello(fHello).session_id();
    }
    ASSERT_NE(newcomer, 0U);
    EXPECT_FALSE(fFirst->finish().ok());
    EXPECT_EQ(fFirst->details().cause(), v1::Error::TOO_MANY);
}

TEST_F(Resume, LeavesNoPlaceToAClientWithoutTheToken) {
    serveWithToken(oneSession());
    fReply = fFirst->hello(fHello);
    v1::Hello wrong = fHello;
    wrong.set_token("guess");
    const auto deadline = std::chrono::steady_clock::now() + a_patience;
    while (refuses(wrong, v1::Error::TOO_MANY) && std::chrono::steady_clock::now() < deadline) {
        // The first one is not silent yet.
    }
    RawClient second(fServer->getPort());
    EXPECT_TRUE(second.hello(resumption(1)).resumed()) << "a wrong token has no effect";
}

TEST_F(Resume, EndsTheStreamsOfTheFormerConnection) {
    serve();
    fReply = fFirst->hello(fHello);
    const auto subscribe = [&](RawClient& client, grpc::ClientContext& context,
                               std::uint64_t resumption) {
        auto stream = client.stub().Subscribe(&context);
        v1::SubscriptionRequest request;
        request.mutable_start()->set_session_id(fReply.session_id());
        request.mutable_start()->set_resumption(resumption);
        request.mutable_start()->set_module("Memory");
        request.mutable_start()->set_rate(10);
        stream->Write(request);
        return stream;
    };
    v1::SubscriptionUpdate update;
    grpc::ClientContext former;
    const auto stream = subscribe(*fFirst, former, 0);
    ASSERT_TRUE(stream->Read(&update));
    RawClient second(fServer->getPort());
    ASSERT_TRUE(second.hello(resumption(1)).resumed());
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::CANCELLED);

    grpc::ClientContext late;
    const auto refused = subscribe(second, late, 0);
    EXPECT_FALSE(refused->Read(&update)) << "a request that the former connection has delayed";
    EXPECT_EQ(refused->Finish().error_code(), grpc::StatusCode::PERMISSION_DENIED);
    grpc::ClientContext context;
    const auto next = subscribe(second, context, 1);
    EXPECT_TRUE(next->Read(&update));
    context.TryCancel();
    next->Finish();
}

TEST_F(Resume, EndsASessionWhoseClientLeavesOutABatch) {
    serve();
    fReply = fFirst->hello(fHello);
    ASSERT_TRUE(answers(*fFirst, 1));
    ASSERT_TRUE(fFirst->send(echoBatch(3, 3)));
    EXPECT_EQ(fFirst->finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}
