// A system that permits no further thread, simulated by a replaced function.
#include "latch.h"
#include "test_broker.h"

#include <base/lookups.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <limits>
#include <memory>
#include <pthread.h>
#include <string>
#include <thread>

using namespace robaxi_test;

namespace {

constexpr int a_unlimited = std::numeric_limits<int>::max();

std::atomic<int> permitted{a_unlimited};
std::atomic<int> refused{0};

using Start = void* (*)(void*);

/** gRPC ends the process if it cannot start its own threads, so only those of std::thread count. */
bool isOfTheStandardLibrary(Start start) {
    Dl_info info{};
    return ::dladdr(reinterpret_cast<void*>(start), &info) != 0 &&
           std::string(info.dli_fname).find("libstdc++") != std::string::npos;
}

}  // namespace

/** Replaces the system's function of this name, which it calls for every permitted thread. */
extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attributes, Start start, void* argument) {
    if (permitted != a_unlimited && isOfTheStandardLibrary(start) && permitted-- <= 0) {
        ++refused;
        return EAGAIN;
    }
    using Function = int (*)(pthread_t*, const pthread_attr_t*, Start, void*);
    static const auto system = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "pthread_create"));
    return system(thread, attributes, start, argument);
}

namespace {

class Threads : public testing::Test {
  protected:
    ~Threads() override { permit(a_unlimited); }

    static void permit(int count) {
        refused = 0;
        permitted = count;
    }

    static bool waitForRefusal() {
        const auto deadline = std::chrono::steady_clock::now() + a_patience;
        while (refused == 0 && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        return refused > 0;
    }
};

}  // namespace

TEST_F(Threads, ThatCannotBeStartedLeaveTheirCallsToTheOthers) {
    constexpr int calls = 3;
    Latch latch;
    const auto module = std::make_shared<KVModule>("Slow", "");
    module->bindMethod("wait", [&](int number) {
        latch.enter();
        return number;
    });
    const auto server = makeServer();
    server->addModule(module);
    KVProxy proxy("Slow", a_loopback, server->getPort(), makeClient(), 20, 0);
    permit(0);
    for (int i = 0; i < calls; ++i) {
        proxy.pCall("wait", i);
    }
    EXPECT_TRUE(waitForRefusal());
    latch.open();
    EXPECT_TRUE(latch.waitForEntries(calls));
}

TEST_F(Threads, ThatABrokerNeedsAreAnError) {
    const auto loaded = makeServer();  // loads the engine
    constexpr int needed = 4;          // for callbacks, timers, methods and new connections
    for (int count = 0; count < needed; ++count) {
        permit(count);
        const KVError error = errorOf([] {
            KVBroker::createBroker({"Broker", a_loopback, 0, KVSettings()});
        });
        EXPECT_CAUSE(error, Internal);
        EXPECT_EQ(error.toString().find("A thread cannot be started: "), 0U) << error.toString();
    }
    permit(needed);
    EXPECT_TRUE(KVBroker::createBroker({"Broker", a_loopback, 0, KVSettings()})->isListening());
}

TEST_F(Threads, ThatALookupOfANameNeedsAreAnError) {
    const auto client = makeClient();
    permit(0);
    EXPECT_CAUSE(errorOf([&] { KVConnection::open(client, "robot.test", 9559, 20); }), Internal);
}

TEST_F(Threads, ThatCannotBeStartedLeaveAQuestionToTheNextOne) {
    Latch latch;
    base::Lookups lookups(2);
    const auto question = [&]() -> base::Lookups::Answer { return [&] { latch.enter(); }; };
    latch.open();
    permit(0);
    lookups.start(question);
    EXPECT_EQ(refused, 1);
    permit(a_unlimited);
    lookups.start(question);
    EXPECT_TRUE(latch.waitForEntries(2));
}

TEST_F(Threads, ThatCannotBeStartedLeaveTheEndOfAnObjectToItsOwner) {
    auto object = std::make_shared<int>(1);
    const std::weak_ptr<int> weak = object;
    permit(0);
    base::releaseInTime(std::move(object));
    EXPECT_TRUE(weak.expired());
}
