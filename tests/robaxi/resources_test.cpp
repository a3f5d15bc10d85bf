#include "eventually.h"
#include "plain_listener.h"
#include "process_figures.h"
#include "recording_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace robaxi_test;
using obvista_test::countDescriptors;
using obvista_test::countThreads;
using obvista_test::eventually;

namespace {

/** The thread pools of the server and of gRPC start threads when they are needed, up to a limit. */
constexpr std::size_t a_threadsStartedLate = 16;

/** A server with "Echo", and "Memory" with one value. */
class Resources : public testing::Test {
  protected:
    Resources() {
        fServer->addModule(makeEcho());
        const auto table = std::make_shared<KVValueTable>();
        KVKeyInfo key;
        key.fName = "a";
        table->addKey(key, 1);
        const auto memory = std::make_shared<KVModule>("Memory", "");
        memory->setValues(table);
        fServer->addModule(memory);
    }

    /** Fails if a thousand repetitions of an action leak descriptors or threads. */
    void expectNoGrowth(const std::function<void()>& action) {
        constexpr int warmUp = 20;
        constexpr int repetitions = 1000;
        for (int i = 0; i < warmUp; ++i) {
            action();
        }
        // Right after the warm-up the last connection may not be closed completely.
        const std::size_t descriptors = countDescriptors();
        const std::size_t threads = countThreads();
        for (int i = 0; i < repetitions; ++i) {
            action();
        }
        // The far end of a connection is closed a little later than this one.
        EXPECT_TRUE(eventually([&] { return countDescriptors() <= descriptors; }))
            << countDescriptors() << " descriptors, before " << descriptors;
        EXPECT_TRUE(eventually([&] { return countThreads() <= threads + a_threadsStartedLate; }))
            << countThreads() << " threads, before " << threads;
    }

    BrokerPtr fServer = makeServer();
    BrokerPtr fClient = makeClient();
};

}  // namespace

TEST_F(Resources, DoNotGrowWithConnections) {
    expectNoGrowth([this] {
        KVProxy proxy("Echo", a_loopback, fServer->getPort(), fClient, a_timeOut, 0);
        ASSERT_EQ(proxy.call<int>("echo", 1), 1);
    });
}

TEST_F(Resources, DoNotGrowWithSubscriptions) {
    const auto connection = KVConnection::open(fClient, a_loopback, fServer->getPort(), a_timeOut);
    expectNoGrowth([&] {
        RecordingListener listener;
        const auto subscription = KVSubscription::start(
            connection, "Memory", KVSubscription::Selection::AllKeys, 1000, listener.callbacks());
        ASSERT_TRUE(listener.waitUntil([&] { return listener.fEnd || !listener.fValues.empty(); }));
    });
}

TEST_F(Resources, DoNotGrowWithFailedConnections) {
    const int port = obvista_test::freePort();
    expectNoGrowth([this, port] {
        EXPECT_CAUSE(errorOf([&] { KVConnection::open(fClient, a_loopback, port, a_timeOut); }),
                     Refused);
    });
}

TEST_F(Resources, DoNotGrowWithBrokers) {
    expectNoGrowth([this] {
        KVProxy proxy("Echo", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0);
        ASSERT_EQ(proxy.call<int>("echo", 1), 1);
    });
}

// The robot was stopped when its system accepted the connection, and goes on.
TEST_F(Resources, DoNotGrowWithConnectionsThatAreAnsweredAfterTheyWereGivenUp) {
    const Listener robot(1);
    EXPECT_CAUSE(errorOf([&] { KVConnection::open(fClient, a_loopback, robot.port(), 1); }),
                 TimedOut);
    const int connection = robot.acceptHttp2();
    const std::string settings("\0\0\0\4\0\0\0\0\0", 9);
    ASSERT_EQ(::send(connection, settings.data(), settings.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(settings.size()));
    pollfd polled{connection, POLLRDHUP, 0};
    constexpr int patience = 30'000;  // milliseconds
    EXPECT_EQ(::poll(&polled, 1, patience), 1) << "the connection is never closed";
    ::close(connection);
}
