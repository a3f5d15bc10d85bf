// Calls without a session, by a client that speaks the protocol without the library.
#include "latch.h"
#include "raw_peer.h"
#include "test_broker.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>

using namespace robaxi_test;

namespace {

class UnaryCalls : public testing::Test {
  protected:
    explicit UnaryCalls(const KVSettings& settings = KVSettings()) {
        fServer = makeServer("Robot", settings);
        fServer->addModule(makeEcho());
        const auto slow = std::make_shared<KVModule>("Slow", "");
        slow->bindMethod("wait", [this] { fLatch.enter(); });
        slow->bindMethod("end", [this] {
            fServer.reset();
            fHasEnded.set_value();
        });
        fServer->addModule(slow);
        fStub = v1::Robaxi::NewStub(
            grpc::CreateChannel("ipv4:127.0.0.1:" + std::to_string(fServer->getPort()),
                                grpc::InsecureChannelCredentials()));
    }

    ~UnaryCalls() override { fLatch.open(); }

    grpc::Status call(const std::string& method, std::chrono::milliseconds time = a_patience) {
        grpc::ClientContext context;
        context.set_deadline(std::chrono::system_clock::now() + time);
        v1::Call request;
        request.set_module("Slow");
        request.set_method(method);
        v1::Result result;
        return fStub->Call(&context, request, &result);
    }

    Latch fLatch;
    std::promise<void> fHasEnded;
    BrokerPtr fServer;
    std::unique_ptr<v1::Robaxi::Stub> fStub;
};

/** A robot that closes connections without a hello after two seconds. */
class ImpatientRobot : public UnaryCalls {
  protected:
    ImpatientRobot() : UnaryCalls(impatience()) {}

    static KVSettings impatience() {
        KVSettings settings;
        settings.fLimits.fHeartbeat = std::chrono::milliseconds(100);
        return settings;
    }
};

}  // namespace

TEST_F(UnaryCalls, EndAtTheirDeadlineThoughTheMethodRuns) {
    EXPECT_EQ(call("wait", std::chrono::milliseconds(300)).error_code(),
              grpc::StatusCode::DEADLINE_EXCEEDED);
}

TEST_F(UnaryCalls, EndWithTheBrokerThatRunsThem) {
    auto running = std::async(std::launch::async, [this] { return call("wait"); });
    ASSERT_TRUE(fLatch.waitForEntries(1));
    auto ended = std::async(std::launch::async, [this] { fServer.reset(); });
    EXPECT_FALSE(running.get().ok());
    fLatch.open();
    ended.get();
}

TEST_F(UnaryCalls, MayEndTheirBroker) {
    call("end");
    EXPECT_EQ(fHasEnded.get_future().wait_for(a_patience), std::future_status::ready);
}

TEST_F(ImpatientRobot, DoesNotCloseAConnectionOnWhichACallRuns) {
    auto running = std::async(std::launch::async, [this] { return call("wait"); });
    ASSERT_TRUE(fLatch.waitForEntries(1));
    const auto start = std::chrono::steady_clock::now();
    // The connection would be closed in this time: a condition that cannot be waited for.
    EXPECT_EQ(running.wait_until(start + std::chrono::seconds(3)), std::future_status::timeout);
    fLatch.open();
    EXPECT_TRUE(running.get().ok());
}
