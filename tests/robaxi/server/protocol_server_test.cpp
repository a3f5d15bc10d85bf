// Our server with clients that break the protocol, or implement only a minimum of it.
#include "eventually.h"
#include "latch.h"
#include "process_figures.h"
#include "raw_peer.h"
#include "server_process.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>

using namespace robaxi_test;
using obvista_test::eventually;
using obvista_test::residentBytes;

namespace {

constexpr std::size_t a_mebibyte = std::size_t{1} << 20U;

class ProtocolServer : public testing::Test {
  protected:
    ProtocolServer() { fServer->addModule(makeEcho()); }

    /** The server must continue to serve others, whatever the one client does. */
    ~ProtocolServer() override {
        KVProxy proxy("Echo", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0);
        EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    }

    BrokerPtr fServer = makeServer("Robot");
    RawClient fClient{fServer->getPort()};
};

}  // namespace

TEST_F(ProtocolServer, AnswersHelloWithItsNameAndASession) {
    const v1::HelloReply reply = fClient.hello();
    EXPECT_EQ(reply.protocol_version(), 1U);
    EXPECT_EQ(reply.name(), "Robot");
    EXPECT_NE(reply.session_id(), 0U);
    EXPECT_EQ(reply.silence_limit(), 5000U) << "of a client that cannot resume";
    EXPECT_TRUE(reply.takes_fragments());
}

TEST_F(ProtocolServer, RefusesAnotherVersion) {
    EXPECT_EQ(fClient.hello(2).session_id(), 0U);
    const grpc::Status status = fClient.finish();
    EXPECT_EQ(status.error_code(), grpc::StatusCode::FAILED_PRECONDITION);
    EXPECT_EQ(status.error_message(), "it speaks version 1, this program version 2");
    EXPECT_EQ(fClient.details().cause(), v1::Error::PROTOCOL_VERSION);
}

TEST_F(ProtocolServer, RefusesAClientThatDoesNotSayHello) {
    v1::ClientMessage message;
    message.mutable_list_modules()->set_call_id(1);
    ASSERT_TRUE(fClient.send(message));
    v1::ServerMessage answer;
    EXPECT_FALSE(fClient.receive(answer));
    EXPECT_EQ(fClient.finish().error_code(), grpc::StatusCode::FAILED_PRECONDITION);
}

TEST_F(ProtocolServer, EndsASessionThatIsSilent) {
    const auto start = std::chrono::steady_clock::now();
    fClient.hello();
    EXPECT_EQ(fClient.finish().error_code(), grpc::StatusCode::DEADLINE_EXCEEDED);
    EXPECT_EQ(fClient.details().cause(), v1::Error::TIMED_OUT);
    const auto seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    EXPECT_GE(seconds, 4.5) << "a client may be silent for five seconds";
    EXPECT_LT(seconds, 25.0) << "this machine may be busy";
}

TEST_F(ProtocolServer, TakesSeveralMessagesTogether) {
    fClient.hello();
    v1::ClientBatch batch;
    for (std::uint64_t id = 1; id <= 3; ++id) {
        v1::Call* call = batch.add_messages()->mutable_call();
        call->set_call_id(id);
        call->set_module("Echo");
        call->set_method("echo");
        *call->add_arguments() = textValue("x");
    }
    ASSERT_TRUE(fClient.send(batch));
    std::uint64_t sum = 0;
    for (int i = 0; i < 3; ++i) {
        v1::ServerMessage answer;
        ASSERT_TRUE(fClient.receive(answer));
        sum += answer.result().call_id();
    }
    EXPECT_EQ(sum, 6U);
}

TEST_F(ProtocolServer, PassesOverWhatHasNoEffect) {
    const std::uint64_t session = fClient.hello().session_id();
    v1::ClientBatch batch;
    ASSERT_TRUE(fClient.send(batch)) << "an empty one";
    batch.add_messages();
    batch.add_messages()->mutable_hello()->set_protocol_version(1);
    batch.add_messages()->mutable_list_modules();
    batch.add_messages()->mutable_list_modules()->set_module("Nobody");
    batch.add_messages()->mutable_call()->set_module("Nobody");
    ASSERT_TRUE(fClient.send(batch));
    EXPECT_TRUE(fClient.echo(textValue("x")).has_value()) << "the first answer";
    EXPECT_NE(session, 0U);
}

TEST_F(ProtocolServer, AnswersValuesThatBreakTheProtocolWithAnError) {
    fClient.hello();
    v1::Value unknownType;
    unknownType.set_type(static_cast<v1::Value::Type>(42));
    v1::Value mapWithoutKeys;
    mapWithoutKeys.set_type(v1::Value::MAP);
    mapWithoutKeys.add_elements();
    v1::Value keyTwice;
    keyTwice.set_type(v1::Value::MAP);
    for (int i = 0; i < 2; ++i) {
        keyTwice.add_keys("same");
        keyTwice.add_elements();
    }
    for (const v1::Value& value : {unknownType, mapWithoutKeys, keyTwice, nestedValue(65)}) {
        const v1::Result result = fClient.echo(value);
        EXPECT_TRUE(result.has_error());
        EXPECT_FALSE(result.error().by_method());
        EXPECT_FALSE(result.error().text().empty());
    }
    EXPECT_TRUE(fClient.echo(nestedValue(64)).has_value());
}

TEST_F(ProtocolServer, SendsATextThatIsNotUtf8AsBytes) {
    const std::string latin1 = "caf\xE9";
    const auto quoting = std::make_shared<KVModule>("Quoting", "");
    quoting->bindMethod("latin1", [latin1] { return latin1; });
    quoting->bindMethod("key", [latin1] { return KVValue::Map{{latin1, 1}, {"plain", 2}}; });
    fServer->addModule(quoting);
    fClient.hello();
    v1::Value bytes;
    bytes.set_type(v1::Value::STRING);
    bytes.set_bytes_value(latin1);
    EXPECT_EQ(fClient.echo(bytes).value().SerializeAsString(), bytes.SerializeAsString());

    v1::ClientBatch batch;
    for (const char* method : {"latin1", "key"}) {
        v1::Call* call = batch.add_messages()->mutable_call();
        call->set_call_id(method == std::string("latin1") ? 1 : 2);
        call->set_module("Quoting");
        call->set_method(method);
    }
    ASSERT_TRUE(fClient.send(batch));
    std::map<std::uint64_t, v1::Result> results;
    v1::ServerMessage answer;
    while (results.size() < 2 && fClient.receive(answer)) {
        results[answer.result().call_id()] = answer.result();
    }
    EXPECT_EQ(results[1].value().bytes_value(), latin1);
    ASSERT_EQ(results[2].value().bytes_keys_size(), 2);
    EXPECT_EQ(results[2].value().bytes_keys(0), latin1);
    EXPECT_EQ(results[2].value().keys_size(), 0);
}

TEST_F(ProtocolServer, SurvivesAValueNestedBeyondReading) {
    fClient.hello();
    EXPECT_FALSE(fClient.echo(nestedValue(400)).has_value());
}

TEST_F(ProtocolServer, SurvivesAMessageAboveTheLimit) {
    fClient.hello();
    EXPECT_FALSE(fClient.echo(textValue(std::string(18 * a_mebibyte, 'x'))).has_value());
}

TEST_F(ProtocolServer, EndsASessionWhosePartsGrowAboveTheLimit) {
    fClient.hello();
    v1::ClientMessage part;
    part.mutable_fragment()->set_data(std::string(a_mebibyte, 'x'));
    for (int i = 0; i < 20 && fClient.send(part); ++i) {
    }
    EXPECT_EQ(fClient.finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(ProtocolServer, EndsASessionWhosePartsCannotBeRead) {
    fClient.hello();
    v1::ClientMessage part;
    part.mutable_fragment()->set_data("\xFF\xFF\xFF");
    part.mutable_fragment()->set_last(true);
    fClient.send(part);
    EXPECT_EQ(fClient.finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(ProtocolServer, SendsPartsOnlyToAClientThatTakesThem) {
    const std::string large(3 * a_mebibyte, 'x');
    fClient.hello(1, false);
    EXPECT_EQ(fClient.echo(textValue(large)).value().string_value(), large);

    RawClient takesParts(fServer->getPort());
    takesParts.hello(1, true);
    EXPECT_FALSE(takesParts.echo(textValue(large)).has_value()) << "it comes in parts";
}

TEST_F(ProtocolServer, LetsCallsBeyondTheLimitWait) {
    Latch latch;
    const auto slow = std::make_shared<KVModule>("Slow", "");
    slow->bindMethod({"wait", "", ""}, {}, [&](const KVValue::List&) {
        latch.enter();
        return KVValue();
    });
    fServer->addModule(slow);
    fClient.hello();
    constexpr std::uint64_t calls = 3000;
    v1::ClientBatch batch;
    for (std::uint64_t id = 1; id <= calls; ++id) {
        v1::Call* call = batch.add_messages()->mutable_call();
        call->set_call_id(id);
        call->set_module("Slow");
        call->set_method("wait");
    }
    ASSERT_TRUE(fClient.send(batch));
    EXPECT_TRUE(fClient.receiveSignOfLife()) << "though it reads nothing";
    latch.open();
    std::set<std::uint64_t> answered;
    v1::ServerMessage answer;
    while (answered.size() < calls && fClient.receive(answer)) {
        EXPECT_TRUE(answer.result().has_value()) << answer.result().error().text();
        answered.insert(answer.result().call_id());
    }
    EXPECT_EQ(answered.size(), calls);
}

// In a separate process, so that the client's memory does not count.
TEST(ProtocolServerProcess, KeepsLittleForAClientThatDoesNotReadAndGivesItBack) {
    const char* sanitizers = std::getenv("OBVISTA_SANITIZE");
    if (sanitizers != nullptr && *sanitizers != '\0') {
        GTEST_SKIP() << "a sanitizer keeps memory that was freed";
    }
    constexpr std::uint64_t calls = 5000;
    constexpr std::size_t sizeOfResult = 100 * 1024;  // half a gigabyte in total
    constexpr std::size_t mostOfSession = 64 * a_mebibyte;
    constexpr std::size_t network = 16 * a_mebibyte;
    const int port = obvista_test::freePort();
    const auto server = startServerProcess(port);
    KVProxy talker("Talker", a_loopback, port, makeClient(), a_timeOut, 0);
    talker.call<KVValue::List>("talk");
    const std::size_t before = residentBytes(server->pid());
    {
        RawClient client(port);
        client.hello();
        v1::ClientBatch batch;
        for (std::uint64_t id = 1; id <= calls; ++id) {
            v1::Call* call = batch.add_messages()->mutable_call();
            call->set_call_id(id);
            call->set_module("Talker");
            call->set_method("talk");
        }
        ASSERT_TRUE(client.send(batch));
        // Until it has run no more of them for a second: a result takes less than a millisecond.
        const auto patience = std::chrono::steady_clock::now() + a_patience;
        auto lastRun = std::chrono::steady_clock::now();
        std::size_t seen = 0;
        while (
            std::chrono::steady_clock::now() < patience &&
            (seen < 300 || std::chrono::steady_clock::now() - lastRun < std::chrono::seconds(1))) {
            const auto runs = static_cast<std::size_t>(talker.call<int>("runs"));
            if (runs != seen) {
                seen = runs;
                lastRun = std::chrono::steady_clock::now();
            }
        }
        EXPECT_GE(seen, 300U) << "it works for the client, as far as it may";
        EXPECT_LT(seen * sizeOfResult, mostOfSession + network);
        EXPECT_LT(residentBytes(server->pid()) - before, mostOfSession + network);
        std::uint64_t answered = 0;
        v1::ServerMessage answer;
        while (answered < calls / 10 && client.receive(answer)) {
            ASSERT_TRUE(answer.result().has_value());
            ++answered;
        }
        EXPECT_EQ(answered, calls / 10) << "nothing is lost";
    }
    const std::size_t rest = before + 16 * a_mebibyte;  // arenas and stacks of threads
    EXPECT_TRUE(eventually([&] { return residentBytes(server->pid()) <= rest; }))
        << "it gives the memory back";
}

TEST_F(ProtocolServer, RefusesASubscriptionWithoutASession) {
    const std::uint64_t session = fClient.hello().session_id();
    grpc::ClientContext context;
    const auto stream = fClient.stub().Subscribe(&context);
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(session + 1);
    request.mutable_start()->set_module("Echo");
    request.mutable_start()->set_rate(1);
    ASSERT_TRUE(stream->Write(request));
    v1::SubscriptionUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::PERMISSION_DENIED);
    EXPECT_EQ(detailsOf(context).cause(), v1::Error::NOT_AUTHORISED);
    EXPECT_TRUE(fClient.echo(textValue("still")).has_value()) << "the session lives on";
}

TEST_F(ProtocolServer, RefusesASubscriptionThatDoesNotStart) {
    fClient.hello();
    grpc::ClientContext context;
    const auto stream = fClient.stub().Subscribe(&context);
    v1::SubscriptionRequest request;
    request.set_rate(1);
    ASSERT_TRUE(stream->Write(request));
    v1::SubscriptionUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(ProtocolServer, SaysWhichModuleASubscriptionDoesNotFind) {
    grpc::ClientContext context;
    const auto stream = fClient.stub().Subscribe(&context);
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(fClient.hello().session_id());
    request.mutable_start()->set_module("Nobody");
    request.mutable_start()->set_rate(1);
    ASSERT_TRUE(stream->Write(request));
    v1::SubscriptionUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    const grpc::Status status = stream->Finish();
    EXPECT_EQ(status.error_code(), grpc::StatusCode::NOT_FOUND);
    EXPECT_EQ(status.error_message(), "there is no module of that name");
    EXPECT_EQ(detailsOf(context).cause(), v1::Error::NO_SUCH_MODULE);
}

TEST_F(ProtocolServer, RefusesASubscriptionWithARateOutOfRange) {
    const std::uint64_t session = fClient.hello().session_id();
    const auto memory = std::make_shared<KVModule>("Memory", "");
    memory->setValues(std::make_shared<KVValueTable>());
    fServer->addModule(memory);
    grpc::ClientContext context;
    const auto stream = fClient.stub().Subscribe(&context);
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(session);
    request.mutable_start()->set_module("Memory");
    request.mutable_start()->set_rate(1e6);
    ASSERT_TRUE(stream->Write(request));
    v1::SubscriptionUpdate update;
    while (stream->Read(&update)) {
    }
    EXPECT_EQ(stream->Finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
    EXPECT_EQ(detailsOf(context).cause(), v1::Error::INVALID_ARGUMENT);
}

TEST_F(ProtocolServer, EndsSubscriptionsWithTheirSession) {
    const auto memory = std::make_shared<KVModule>("Memory", "");
    memory->setValues(std::make_shared<KVValueTable>());
    fServer->addModule(memory);
    grpc::ClientContext context;
    RawClient other(fServer->getPort());
    const auto stream = other.stub().Subscribe(&context);
    {
        RawClient session(fServer->getPort());
        v1::SubscriptionRequest request;
        request.mutable_start()->set_session_id(session.hello().session_id());
        request.mutable_start()->set_module("Memory");
        request.mutable_start()->set_all_keys(true);
        request.mutable_start()->set_rate(1);
        ASSERT_TRUE(stream->Write(request));
        v1::SubscriptionUpdate update;
        ASSERT_TRUE(stream->Read(&update));
        EXPECT_TRUE(update.has_keys_added());
    }
    v1::SubscriptionUpdate update;
    EXPECT_FALSE(stream->Read(&update));
    EXPECT_FALSE(stream->Finish().ok());
}

TEST(ProtocolServerConnection, MayBeSilentAsLongAsASession) {
    KVSettings settings;
    settings.fLimits.fHeartbeat = std::chrono::milliseconds(150);
    constexpr std::chrono::milliseconds silence(20 * 150);
    const auto server = makeServer("Robot", settings);
    const auto channel = grpc::CreateChannel("127.0.0.1:" + std::to_string(server->getPort()),
                                             grpc::InsecureChannelCredentials());
    const auto start = std::chrono::steady_clock::now();
    const auto deadline = std::chrono::system_clock::now() + a_patience;
    ASSERT_TRUE(channel->WaitForConnected(deadline));
    ASSERT_TRUE(channel->WaitForStateChange(GRPC_CHANNEL_READY, deadline)) << "it is never closed";
    EXPECT_GE(std::chrono::steady_clock::now() - start, silence);
}

/** A server whose connections must send their hello within two seconds. */
class HelloTime : public testing::Test {
  protected:
    static constexpr std::chrono::milliseconds a_heartbeat{100};
    static constexpr std::chrono::milliseconds a_longer = 25 * a_heartbeat;

    HelloTime() {
        KVSettings settings;
        settings.fLimits.fHeartbeat = a_heartbeat;
        settings.fLimits.fLoss = std::chrono::seconds(20);
        fServer = KVBroker::createBroker({"Robot", "0.0.0.0", 0, settings});
        KVKeyInfo key;
        key.fName = "a";
        fKey = fTable->addKey(key, 0);
        const auto memory = std::make_shared<KVModule>("Memory", "");
        memory->setValues(fTable);
        fServer->addModule(memory);
    }

    BrokerPtr fServer;
    std::shared_ptr<KVValueTable> fTable = std::make_shared<KVValueTable>();
    std::uint32_t fKey = 0;
};

TEST_F(HelloTime, DoesNotApplyToConnectionsWithASession) {
    for (const char* address : {"127.0.0.1", "::1"}) {
        const auto connection = KVConnection::open(makeClient(), address, fServer->getPort(), 20);
        const auto start = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - start < a_longer) {
            ASSERT_EQ(connection->getModules(20).size(), 1U) << address;
        }
    }
}

TEST_F(HelloTime, IsNotForTheConnectionOfASubscription) {
    RawClient session(fServer->getPort());
    RawClient other(fServer->getPort());
    grpc::ClientContext context;
    const auto stream = other.stub().Subscribe(&context);
    v1::SubscriptionRequest request;
    request.mutable_start()->set_session_id(session.hello().session_id());
    request.mutable_start()->set_module("Memory");
    request.mutable_start()->set_all_keys(true);
    request.mutable_start()->set_rate(20);
    ASSERT_TRUE(stream->Write(request));
    const auto start = std::chrono::steady_clock::now();
    v1::ClientMessage beat;
    for (int n = 1; std::chrono::steady_clock::now() - start < a_longer; ++n) {
        beat.mutable_heartbeat()->set_number(static_cast<std::uint64_t>(n));
        ASSERT_TRUE(session.send(beat));
        fTable->setValue(fKey, n);
        v1::SubscriptionUpdate update;
        ASSERT_TRUE(stream->Read(&update)) << "after " << n << " updates";
        v1::SubscriptionRequest consumed;
        consumed.set_consumed(update.number());
        ASSERT_TRUE(stream->Write(consumed));
    }
}
