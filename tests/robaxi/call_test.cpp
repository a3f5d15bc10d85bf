#include "latch.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <thread>
#include <vector>

using namespace robaxi_test;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

class Call : public testing::Test {
  protected:
    Call() {
        fModule->bindMethod({"wait", "wait()", "Waits"}, {}, [this](const KVValue::List&) {
            fLatch.enter();
            return KVValue("waited");
        });
        fServer->addModule(fModule);
        fServer->addModule(makeEcho());
    }

    ~Call() override { fLatch.open(); }

    KVProxy makeProxy(const std::string& module, int timeOut = 20) {
        return KVProxy(module, a_loopback, fServer->getPort(), fClient, timeOut, 0);
    }

    Latch fLatch;
    BrokerPtr fServer = makeServer("Robot");
    BrokerPtr fClient = makeClient();
    ModulePtr fModule = std::make_shared<KVModule>("Slow", "Waits until it is told");
};

std::future<KVError> errorOfCall(KVProxy& proxy, const std::string& method) {
    return std::async(std::launch::async,
                      [&proxy, method] { return errorOf([&] { proxy.callVoid(method); }); });
}

}  // namespace

TEST_F(Call, OfEightCallersReachesEachWithItsOwnResult) {
    KVProxy proxy = makeProxy("Echo");
    std::vector<std::thread> callers;
    callers.reserve(8);
    std::atomic<int> wrong{0};
    for (int caller = 0; caller < 8; ++caller) {
        callers.emplace_back([&proxy, &wrong, caller] {
            for (int n = 0; n < 250; ++n) {
                const int sent = caller * 1000 + n;
                wrong += static_cast<int>(proxy.call<int>("echo", sent) != sent);
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(Call, DoesNotWaitForASlowOneBeforeIt) {
    KVProxy slow = makeProxy("Slow");
    KVProxy quick = makeProxy("Echo");
    auto first = std::async(std::launch::async, [&] { return slow.call<std::string>("wait"); });
    ASSERT_TRUE(fLatch.waitForEntries(1));
    EXPECT_EQ(quick.call<int>("echo", 1), 1);
    fLatch.open();
    EXPECT_EQ(first.get(), "waited");
}

TEST_F(Call, EndsWithTheTimeOutOfItsProxy) {
    KVProxy proxy = makeProxy("Slow", 1);
    const auto start = Clock::now();
    const KVError error = errorOf([&] { proxy.callVoid("wait"); });
    EXPECT_CAUSE(error, TimedOut);
    EXPECT_EQ(error.toString().find("The call of Slow.wait at 127.0.0.1 port "), 0U)
        << error.toString();
    EXPECT_NE(error.toString().find("within 1 s"), std::string::npos) << error.toString();
    EXPECT_GE(secondsSince(start), 1.0);
    EXPECT_LT(secondsSince(start), 5.0) << "the time-out is one second; this machine may be busy";
}

TEST_F(Call, OfAMissingMethodIsReported) {
    KVProxy proxy = makeProxy("Echo");
    const KVError error = errorOf([&] { proxy.callVoid("shout"); });
    EXPECT_CAUSE(error, NoSuchMethod);
    EXPECT_EQ(error.toString(), "The call of Echo.shout at 127.0.0.1 port " +
                                    std::to_string(fServer->getPort()) +
                                    " failed: Module Echo has no method named shout.");
}

TEST_F(Call, WithArgumentsThatDoNotFitSaysSo) {
    KVProxy proxy = makeProxy("Echo");
    const KVError error = errorOf([&] { proxy.callVoid("fail", 7); });
    EXPECT_CAUSE(error, WrongArguments);
    EXPECT_NE(error.toString().find("Echo.fail at 127.0.0.1"), std::string::npos)
        << error.toString();
    EXPECT_NE(error.toString().find("of type int"), std::string::npos) << error.toString();
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("fail"); }), WrongArguments);
}

TEST_F(Call, BringsTheMethodsOwnErrorWithItsCauseAndText) {
    const auto thrower = std::make_shared<KVModule>("Thrower", "");
    using Cause = KVError::Cause;
    const std::vector<Cause> causes{
        Cause::InvalidArgument, Cause::NameNotFound,    Cause::NoRoute,        Cause::Refused,
        Cause::TimedOut,        Cause::ProtocolVersion, Cause::NoSuchModule,   Cause::NoSuchMethod,
        Cause::WrongArguments,  Cause::RaisedByModule,  Cause::ConnectionLost, Cause::NotAuthorised,
        Cause::AddressInUse,    Cause::CannotListen,    Cause::TooLarge,       Cause::WrongType,
        Cause::Cancelled,       Cause::Internal};
    thrower->bindMethod({"kv", "", ""}, {KVValue::Type::Int},
                        [](const KVValue::List& a) -> KVValue {
                            throw KVError(static_cast<Cause>(a[0].toInt()), "my own words");
                        });
    thrower->bindMethod({"int", "", ""}, {}, [](const KVValue::List&) -> KVValue { throw 3; });
    fServer->addModule(thrower);
    KVProxy proxy = makeProxy("Thrower");
    for (const Cause cause : causes) {
        const KVError error = errorOf([&] { proxy.callVoid("kv", static_cast<int>(cause)); });
        EXPECT_EQ(error.cause(), cause);
        EXPECT_EQ(error.toString(), "my own words");
    }
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("int"); }), RaisedByModule);
    KVProxy echo = makeProxy("Echo");
    const KVError raised = errorOf([&] { echo.callVoid("fail", std::string("too hot")); });
    EXPECT_CAUSE(raised, RaisedByModule);
    EXPECT_EQ(raised.toString(), "too hot");
    const KVError latin1 = errorOf([&] { echo.callVoid("fail", std::string("caf\xE9")); });
    EXPECT_EQ(latin1.toString(), "caf\xEF\xBF\xBD");
}

TEST_F(Call, MayBeCancelledWithoutTouchingOtherProxies) {
    KVProxy cancelled = makeProxy("Slow");
    KVProxy other = makeProxy("Slow");
    auto first = errorOfCall(cancelled, "wait");
    auto second = std::async(std::launch::async, [&] { return other.call<std::string>("wait"); });
    ASSERT_TRUE(fLatch.waitForEntries(2));

    cancelled.cancel();
    EXPECT_CAUSE(first.get(), Cancelled);
    fLatch.open();
    EXPECT_EQ(second.get(), "waited");
    EXPECT_EQ(cancelled.call<std::string>("wait"), "waited") << "a proxy lives on after cancel()";
}

TEST_F(Call, EndsWithItsProxyAndNoneIsMadeAfterThat) {
    KVProxy proxy = makeProxy("Slow");
    auto call = errorOfCall(proxy, "wait");
    ASSERT_TRUE(fLatch.waitForEntries(1));
    proxy.close();
    EXPECT_CAUSE(call.get(), Cancelled);
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("wait"); }), Cancelled);
    EXPECT_EQ(makeProxy("Echo").call<int>("echo", 1), 1) << "others call on";
}

TEST_F(Call, GoesOverAConnectionThatIsThere) {
    auto connection = KVConnection::open(fClient, a_loopback, fServer->getPort(), a_timeOut);
    KVProxy echo("Echo", connection, 20);
    KVProxy nobody("Nobody", connection, 20);
    EXPECT_CAUSE(errorOf([&] { KVProxy("Echo", connection, 0); }), InvalidArgument);
    connection.reset();
    EXPECT_EQ(echo.call<int>("echo", 3), 3) << "the proxy keeps the link";
    EXPECT_EQ(echo.getInfo().fName, "Echo");
    const KVError error = errorOf([&] { nobody.callVoid("wait"); });
    EXPECT_CAUSE(error, NoSuchModule);
    EXPECT_NE(error.toString().find("Nobody.wait at 127.0.0.1"), std::string::npos)
        << error.toString();
    EXPECT_CAUSE(errorOf([&] { KVProxy("Echo", connection, 20); }), InvalidArgument);
}

TEST_F(Call, ThatWaitsForAThreadIsNotRunAfterItIsCancelled) {
    std::vector<std::future<KVError>> blockers;
    constexpr int threadsOfServer = 8;
    blockers.reserve(threadsOfServer);
    KVProxy blocker = makeProxy("Slow");
    for (int i = 0; i < threadsOfServer; ++i) {
        blockers.push_back(errorOfCall(blocker, "wait"));
    }
    ASSERT_TRUE(fLatch.waitForEntries(threadsOfServer));
    KVProxy waiting = makeProxy("Slow", 1);
    EXPECT_CAUSE(errorOf([&] { waiting.callVoid("wait"); }), TimedOut);
    waiting.getInfo();  // answered after the server has read the cancellation
    blocker.cancel();
    for (auto& each : blockers) {
        EXPECT_CAUSE(each.get(), Cancelled);
    }
    fLatch.open();
    KVProxy echo = makeProxy("Echo");
    EXPECT_EQ(echo.call<int>("echo", 1), 1);
    EXPECT_EQ(fLatch.countEntries(), threadsOfServer);
}

TEST_F(Call, ThatKeepsAllThreadsBusyDoesNotStopTheHeartbeat) {
    KVProxy blocker = makeProxy("Slow");
    std::vector<std::future<KVError>> blocked;
    constexpr int moreThanThreads = 12;
    blocked.reserve(moreThanThreads);
    for (int i = 0; i < moreThanThreads; ++i) {
        blocked.push_back(errorOfCall(blocker, "wait"));
    }
    ASSERT_TRUE(fLatch.waitForEntries(8));
    std::promise<void> lost;
    const auto connection = KVConnection::open(fClient, a_loopback, fServer->getPort(), a_timeOut);
    connection->setLostHandler([&](const KVError&) { lost.set_value(); });
    // A lost heartbeat would be detected within two seconds.
    EXPECT_EQ(lost.get_future().wait_for(std::chrono::milliseconds(2500)),
              std::future_status::timeout);
    EXPECT_TRUE(connection->isConnected());
    EXPECT_GE(connection->getRoundTrip(), 0.0);
    EXPECT_LT(connection->getRoundTrip(), 1.0);
    EXPECT_EQ(connection->getModules(a_timeOut).size(), 2U) << "questions are answered meanwhile";
    connection->setLostHandler(nullptr);
    blocker.cancel();
}

TEST_F(Call, PostedIsNotWaitedForAndHasAUniqueTaskIdentifier) {
    KVProxy proxy = makeProxy("Slow");
    KVProxy other = makeProxy("Echo");
    std::set<int> tasks;
    tasks.insert(proxy.postValue("wait", {}));
    for (int i = 0; i < 100; ++i) {
        tasks.insert(other.pCall("echo", i));
    }
    EXPECT_EQ(tasks.size(), 101U);
    EXPECT_GT(*tasks.begin(), 0);
    EXPECT_TRUE(fLatch.waitForEntries(1)) << "the posted method runs";
}

TEST_F(Call, PostedRunsAlthoughItsProxyGoesAtOnce) {
    KVProxy("Slow", a_loopback, fServer->getPort(), makeClient(), a_timeOut, 0)
        .postValue("wait", {});
    EXPECT_TRUE(fLatch.waitForEntries(1));
}

TEST_F(Call, PostedToAMethodThatIsNotThereIsDropped) {
    KVProxy proxy = makeProxy("Echo");
    EXPECT_GT(proxy.pCall("shout", 1.0F), 0);
    EXPECT_GT(proxy.pCall("fail", std::string("unheard")), 0);
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
}

TEST_F(Call, FailsAfterTheServerIsGoneAndSoDoesAPost) {
    KVProxy proxy = makeProxy("Echo");
    fServer.reset();
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("echo", 1); }), ConnectionLost);
    const KVError error = errorOf([&] { proxy.pCall("echo", 1); });
    EXPECT_CAUSE(error, ConnectionLost);
    EXPECT_NE(error.toString().find("Echo.echo at 127.0.0.1 port"), std::string::npos)
        << error.toString();
}

TEST_F(Call, InFlightEndsWhenTheProxyGoes) {
    auto proxy = std::make_unique<KVProxy>("Slow", a_loopback, fServer->getPort(), fClient, 20, 0);
    auto call = errorOfCall(*proxy, "wait");
    ASSERT_TRUE(fLatch.waitForEntries(1));
    proxy.reset();
    EXPECT_CAUSE(call.get(), Cancelled);
}

TEST_F(Call, MayComeFromAMethodOfTheSameBroker) {
    const auto relay = std::make_shared<KVModule>("Relay", "Calls itself through the network");
    relay->bindMethod({"down", "", ""}, {KVValue::Type::Int}, [this](const KVValue::List& a) {
        if (a[0].toInt() == 0) {
            return KVValue("bottom");
        }
        KVProxy next("Relay", a_loopback, fServer->getPort(), fServer, a_timeOut, 0);
        return next.callValue("down", {a[0].toInt() - 1});
    });
    fServer->addModule(relay);
    KVProxy proxy = makeProxy("Relay");
    EXPECT_EQ(proxy.call<std::string>("down", 5), "bottom");
}

TEST_F(Call, ToAModuleThatWasRemovedSaysSo) {
    KVProxy proxy = makeProxy("Echo");
    fServer->removeModule("Echo");
    fServer->removeModule("Echo");
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("echo", 1); }), NoSuchModule);
    fServer->addModule(makeEcho());
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    EXPECT_CAUSE(errorOf([&] { fServer->addModule(makeEcho()); }), InvalidArgument);
}

TEST_F(Call, IsWaitedForWhenItsModuleIsRemoved) {
    KVProxy proxy = makeProxy("Slow");
    auto call = std::async(std::launch::async, [&] { return proxy.call<std::string>("wait"); });
    ASSERT_TRUE(fLatch.waitForEntries(1));
    std::atomic<bool> removed{false};
    auto removal = std::async(std::launch::async, [&] {
        fServer->removeModule("Slow");
        removed = true;
    });
    EXPECT_EQ(removal.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_FALSE(removed);
    fLatch.open();
    removal.get();
    EXPECT_EQ(call.get(), "waited");
}

TEST_F(Call, MayRemoveItsOwnModule) {
    const auto suicidal = std::make_shared<KVModule>("Once", "");
    suicidal->bindMethod({"go", "", ""}, {}, [this](const KVValue::List&) {
        fServer->removeModule("Once");
        return KVValue("gone");
    });
    fServer->addModule(suicidal);
    KVProxy proxy = makeProxy("Once");
    EXPECT_EQ(proxy.call<std::string>("go"), "gone");
    EXPECT_CAUSE(errorOf([&] { proxy.callVoid("go"); }), NoSuchModule);
}

TEST_F(Call, ShowsTheModulesAndTheirMethods) {
    const auto connection = KVConnection::open(fClient, a_loopback, fServer->getPort(), a_timeOut);
    EXPECT_EQ(connection->getPeerName(), "Robot");
    EXPECT_EQ(connection->getIP(), a_loopback);
    EXPECT_EQ(connection->getPort(), fServer->getPort());
    const auto modules = connection->getModules(a_timeOut);
    ASSERT_EQ(modules.size(), 2U);
    EXPECT_EQ(modules[0].fName, "Echo");
    EXPECT_EQ(modules[1].fName, "Slow");
    EXPECT_EQ(modules[1].fDescription, "Waits until it is told");
    const KVModuleInfo info = makeProxy("Echo").getInfo();
    ASSERT_EQ(info.fMethods.size(), 2U);
    EXPECT_EQ(info.fMethods[0].fSignature, "echo(value)");
    EXPECT_FALSE(info.fHasValues);
}

TEST_F(Call, BeyondWhatTheRobotTakesWaitsWithoutALoss) {
    constexpr int posts = 3000;
    fModule->bindMethod({"hold", "hold(number: int)", "Waits"}, {KVValue::Type::Int},
                        [this](const KVValue::List&) {
                            fLatch.enter();
                            return KVValue();
                        });
    KVProxy proxy = makeProxy("Slow");
    const auto connection = KVConnection::open(fClient, a_loopback, fServer->getPort(), 20);
    for (int n = 0; n < posts; ++n) {
        proxy.pCall("hold", n);
    }
    ASSERT_TRUE(fLatch.waitForEntries(8));
    // Longer than the time-out of a silent robot, which now answers no heartbeat.
    const auto start = Clock::now();
    while (secondsSince(start) < 2.5) {
        ASSERT_TRUE(connection->isConnected());
        std::this_thread::yield();
    }
    fLatch.open();
    EXPECT_TRUE(fLatch.waitForEntries(posts));
    EXPECT_EQ(proxy.call<std::string>("wait"), "waited");
}
