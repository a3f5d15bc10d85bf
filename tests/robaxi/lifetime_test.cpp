#include "child_process.h"
#include "latch.h"
#include "recording_listener.h"
#include "support/project_files.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>
#include <robaxi/kv_value_table.h>

#include <boost/weak_ptr.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <future>
#include <memory>
#include <numeric>
#include <string>
#include <sys/wait.h>
#include <thread>

using namespace robaxi_test;

namespace {

/** All objects that a program may have, in use: a call in flight, values that change. */
class World {
  public:
    enum Part { Server, Client, Proxy, Connection, Subscription, a_parts };

    World() {
        const auto table = std::make_shared<KVValueTable>();
        const std::uint32_t id = table->addKey(named("a"), 0);
        const auto module = std::make_shared<KVModule>("World", "");
        module->setValues(table);
        module->bindMethod({"wait", "", ""}, {}, [this](const KVValue::List&) {
            fLatch.enter();
            return KVValue();
        });
        fServer->addModule(module);
        fProxy = std::make_shared<KVProxy>("World", a_loopback, fServer->getPort(), fClient, 20, 0);
        fConnection = KVConnection::open(fClient, a_loopback, fServer->getPort(), 20);
        fSubscription = KVSubscription::start(
            fConnection, "World", KVSubscription::Selection::AllKeys, 1000, fListener.callbacks());
        fCall = std::async(std::launch::async, [this] { call(); });
        EXPECT_TRUE(fLatch.waitForEntries(1));
        fChanger = std::thread([this, table, id] {
            for (int n = 0; !fStop; ++n) {
                table->setValue(id, n);
                std::this_thread::yield();
            }
        });
    }

    ~World() {
        fStop = true;
        fChanger.join();
    }

    void destroy(int part) {
        switch (part) {
            case Server:
                fLatch.open();  // the server waits for running methods
                fServer.reset();
                break;
            case Client:
                fClient.reset();
                break;
            case Proxy:
                fProxy.reset();
                break;
            case Connection:
                fConnection.reset();
                break;
            default:
                fSubscription.reset();
                break;
        }
    }

    bool callHasEnded() { return fCall.wait_for(a_patience) == std::future_status::ready; }

  private:
    static KVKeyInfo named(const std::string& name) {
        KVKeyInfo info;
        info.fName = name;
        return info;
    }

    void call() {
        try {
            const auto proxy = fProxy.get();
            proxy->callVoid("wait");
        } catch (const KVError& error) {
            EXPECT_TRUE(error.cause() == KVError::Cause::Cancelled ||
                        error.cause() == KVError::Cause::ConnectionLost)
                << error.toString();
        }
    }

    Latch fLatch;
    RecordingListener fListener;
    BrokerPtr fServer = makeServer();
    BrokerPtr fClient = makeClient();
    std::shared_ptr<KVProxy> fProxy;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
    std::future<void> fCall;
    std::atomic<bool> fStop{false};
    std::thread fChanger;
};

}  // namespace

TEST(Lifetime, MayEndInAnyOrderWithACallInFlight) {
    std::array<int, World::a_parts> order{};
    std::iota(order.begin(), order.end(), 0);
    do {
        World world;
        for (const int part : order) {
            world.destroy(part);
        }
        ASSERT_TRUE(world.callHasEnded());
    } while (std::next_permutation(order.begin(), order.end()));
}

TEST(Lifetime, MayEndOnSeveralThreadsAtOnce) {
    for (int round = 0; round < 20; ++round) {
        World world;
        std::vector<std::thread> threads;
        threads.reserve(World::a_parts);
        for (int part = 0; part < World::a_parts; ++part) {
            threads.emplace_back([&world, part] { world.destroy(part); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        ASSERT_TRUE(world.callHasEnded());
    }
}

TEST(Lifetime, OfABrokerMayEndInItsOwnMethod) {
    auto server = makeServer();
    const int port = server->getPort();
    std::promise<void> gone;
    const auto module = std::make_shared<KVModule>("Last", "");
    module->bindMethod({"end", "", ""}, {}, [&](const KVValue::List&) {
        server.reset();
        gone.set_value();
        return KVValue();
    });
    server->addModule(module);
    KVProxy proxy("Last", a_loopback, port, makeClient(), a_timeOut, 0);
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("end"); }), ConnectionLost);
    EXPECT_EQ(gone.get_future().wait_for(a_patience), std::future_status::ready);
}

TEST(Lifetime, OfABrokerLastsAsLongAsItsUsers) {
    const auto server = makeServer();
    server->addModule(makeEcho());
    auto client = makeClient();
    const boost::weak_ptr<KVBroker> weak = client;
    auto proxy =
        std::make_unique<KVProxy>("Echo", a_loopback, server->getPort(), client, a_timeOut, 0);
    client.reset();
    EXPECT_EQ(proxy->call<int>("echo", 1), 1);
    EXPECT_FALSE(weak.expired());
    proxy.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(Lifetime, OfSeveralBrokersIsTheirOwn) {
    const auto one = makeServer("One");
    auto two = makeServer("Two");
    one->addModule(makeEcho());
    two->addModule(makeEcho());
    const auto client = makeClient();
    KVProxy toOne("Echo", a_loopback, one->getPort(), client, a_timeOut, 0);
    KVProxy toTwo("Echo", a_loopback, two->getPort(), client, a_timeOut, 0);
    KVProxy fromTwo("Echo", a_loopback, one->getPort(), two, a_timeOut, 0);
    KVProxy other("Echo", a_loopback, one->getPort(), makeClient(), a_timeOut, 0);
    two->removeModule("Echo");
    EXPECT_CAUSE(errorOf([&] { toTwo.callVoid("echo", 1); }), NoSuchModule);
    EXPECT_EQ(toOne.call<int>("echo", 1), 1);
    EXPECT_EQ(fromTwo.call<int>("echo", 2), 2);
    EXPECT_EQ(other.call<int>("echo", 3), 3);
}

/** Code that runs after main(): the plugin's static object has brokers in use. */
class AfterMain : public testing::TestWithParam<const char*> {};

TEST_P(AfterMain, EndsCleanly) {
    obvista_test::ChildProcess program({obvista_test::builtFile("tests/robaxi_exit_program"),
                                        obvista_test::builtFile("lib/librobaxi_exit_plugin.so"),
                                        GetParam()});
    EXPECT_EQ(program.waitForEnd(), 0);
    EXPECT_EQ(program.output(), "main ends\n");
    EXPECT_EQ(program.errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Lifetime, AfterMain, testing::Values("static", "exit", "thrown", "unload"),
                         [](const auto& instance) { return std::string(instance.param); });
