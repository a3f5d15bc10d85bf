// The RPCs of `robaxi conform` with a robot that sends without end.
#include "conform/wire.h"

#include "raw_peer.h"

#include <gtest/gtest.h>

#include <functional>
#include <future>
#include <memory>
#include <string>

namespace robaxi_tool {
namespace {

constexpr std::chrono::seconds a_patience(60);
constexpr std::size_t a_mebibyte = std::size_t{1} << 20U;
/** Together they fill the bytes that an RPC keeps; the first one alone does not. */
constexpr std::size_t a_first = 63 * a_mebibyte;
constexpr std::size_t a_second = 2 * a_mebibyte;

v1::SubscriptionUpdate updateOf(std::size_t bytes) {
    v1::SubscriptionUpdate update;
    update.mutable_keys_added()->add_keys()->set_description(std::string(bytes, 'x'));
    return update;
}

class WireTest : public testing::Test {
  protected:
    WireTest() {
        fRobot.fSubscription = [this](robaxi_test::RawServer::SubscriptionStream& stream) {
            stream.Write(updateOf(a_first));
            fHasSentFirst.set_value();
            fMaySendSecond.get_future().wait();
            stream.Write(updateOf(a_second));
            fHasSentSecond.set_value();
        };
        grpc::ChannelArguments arguments;
        arguments.SetMaxReceiveMessageSize(-1);
        fChannel = grpc::CreateCustomChannel("ipv4:127.0.0.1:" + std::to_string(fRobot.port()),
                                             grpc::InsecureChannelCredentials(), arguments);
    }

    /** Repeats an action until the robot has sent a message, and runs it once more after that. */
    static void repeatUntil(std::promise<void>& isSent, const std::function<void()>& action) {
        const auto sent = isSent.get_future();
        const Clock::time_point deadline = Clock::now() + a_patience;
        while (sent.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            ASSERT_LT(Clock::now(), deadline);
            action();
        }
        action();
    }

    std::promise<void> fHasSentFirst;
    std::promise<void> fMaySendSecond;
    std::promise<void> fHasSentSecond;
    robaxi_test::RawServer fRobot;
    std::shared_ptr<grpc::Channel> fChannel;
    Interruption fInterruption;
};

TEST_F(WireTest, AnRpcEndsAlthoughTheMessageThatFillsItsBoundHasJustArrived) {
    Wire wire(fChannel, fInterruption);
    auto flooded = std::make_unique<Rpc>(wire, "/robaxi.v1.Robaxi/Subscribe");
    flooded->send(v1::SubscriptionRequest());
    repeatUntil(fHasSentFirst, [&] {
        // Runs the events of both. Its end comes behind what the robot has sent.
        Rpc other(wire, "/robaxi.v1.Robaxi/Unknown");
        EXPECT_NE(other.end(Clock::now() + a_patience), nullptr);
    });
    fMaySendSecond.set_value();
    const auto stub = v1::Robaxi::NewStub(fChannel);
    repeatUntil(fHasSentSecond, [&] {
        // Receives for both, but runs no events: that of the second message waits.
        grpc::ClientContext context;
        v1::ModuleList modules;
        stub->ListModules(&context, v1::ListModules(), &modules);
    });
    flooded.reset();
}

}  // namespace
}  // namespace robaxi_tool
