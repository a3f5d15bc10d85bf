#include "plain_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <thread>
#include <vector>

using namespace robaxi_test;

namespace {

using Clock = std::chrono::steady_clock;

/** Error and duration of creating a proxy to "KVLeds". */
struct Outcome {
    KVError fError;
    double fSeconds;
};

Outcome connectProxy(const std::string& address, int port, int timeOut = 2) {
    const auto client = makeClient();
    const auto start = Clock::now();
    const KVError error =
        errorOf([&] { KVProxy proxy("KVLeds", address, port, client, timeOut, 0); });
    return {error, std::chrono::duration<double>(Clock::now() - start).count()};
}

void expectAddressed(const KVError& error, const std::string& address, int port) {
    EXPECT_EQ(error.toString().find("Cannot reach the module KVLeds at " + address + " port " +
                                    std::to_string(port) + ": "),
              0U)
        << error.toString();
}

/**
 * Tolerance for a busy machine in addition to the promised time. Without a time-out of ours, the
 * peers here would be waited for longer: gRPC for 20 s, a socket for minutes.
 */
constexpr double a_margin = 8;
/** A time-out far above the time of an outcome that comes at once, even on a busy machine. */
constexpr int a_longTimeOut = 20;
constexpr double a_atOnce = 10;

}  // namespace

TEST(ConnectError, NothingListensOnThePort) {
    const int port = obvista_test::freePort();
    const Outcome outcome = connectProxy(a_loopback, port, a_longTimeOut);
    EXPECT_CAUSE(outcome.fError, Refused);
    EXPECT_EQ(outcome.fError.toString(),
              "Cannot reach the module KVLeds at 127.0.0.1 port " + std::to_string(port) +
                  ": nothing listens on that port. Check that the robot's middleware is running "
                  "and that the port is right.");
    EXPECT_LT(outcome.fSeconds, a_atOnce) << "a refusal comes at once";
}

TEST(ConnectError, TheAddressSwallowsPackets) {
    Listener listener(0);
    listener.fillQueue();
    const Outcome outcome = connectProxy(a_loopback, listener.port());
    EXPECT_CAUSE(outcome.fError, TimedOut);
    expectAddressed(outcome.fError, a_loopback, listener.port());
    EXPECT_NE(outcome.fError.toString().find("no answer came within 2 s"), std::string::npos)
        << outcome.fError.toString();
    EXPECT_GE(outcome.fSeconds, 2.0);
    EXPECT_LT(outcome.fSeconds, 2.0 + a_margin);
}

TEST(ConnectError, TheListenerNeverAnswers) {
    const Listener listener(8);
    const Outcome outcome = connectProxy(a_loopback, listener.port(), 1);
    EXPECT_CAUSE(outcome.fError, TimedOut);
    expectAddressed(outcome.fError, a_loopback, listener.port());
    EXPECT_LT(outcome.fSeconds, 1.0 + a_margin);
}

TEST(ConnectError, TheListenerSpeaksAnotherLanguage) {
    for (const std::string answer : {"HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n",
                                     "SSH-2.0-Example_1.0\r\n", "\r\nlogin: "}) {
        const Listener listener(8);
        std::thread program([&] {
            listener.answerWith("");  // the connection that probes the port
            listener.answerWith(answer);
        });
        const Outcome outcome = connectProxy(a_loopback, listener.port());
        program.join();
        EXPECT_CAUSE(outcome.fError, ProtocolVersion);
        expectAddressed(outcome.fError, a_loopback, listener.port());
        EXPECT_LT(outcome.fSeconds, 2.0 + a_margin);
    }
}

TEST(ConnectError, TheListenerHangsUp) {
    const Listener listener(8);
    std::thread program([&] {
        listener.answerWith("");
        listener.answerWith("");
    });
    const Outcome outcome = connectProxy(a_loopback, listener.port());
    program.join();
    EXPECT_CAUSE(outcome.fError, ConnectionLost);
    EXPECT_LT(outcome.fSeconds, 2.0 + a_margin);
}

TEST(ConnectError, ThereIsNoSuchModule) {
    const auto server = makeServer();
    const Outcome outcome = connectProxy(a_loopback, server->getPort(), a_longTimeOut);
    EXPECT_CAUSE(outcome.fError, NoSuchModule);
    EXPECT_EQ(outcome.fError.toString(),
              "Cannot reach the module KVLeds at 127.0.0.1 port " +
                  std::to_string(server->getPort()) +
                  ": there is no module named KVLeds. Check the module's name, and that it is "
                  "started on the robot.");
    EXPECT_LT(outcome.fSeconds, a_atOnce) << "the robot answers at once";
}

TEST(ConnectError, TheNameDoesNotResolve) {
    // A label of more than 63 characters is never a valid name.
    const std::string name = std::string(70, 'x') + ".local";
    const Outcome outcome = connectProxy(name, 9559);
    EXPECT_CAUSE(outcome.fError, NameNotFound);
    expectAddressed(outcome.fError, name, 9559);
    EXPECT_LT(outcome.fSeconds, 2.0 + a_margin);
    EXPECT_CAUSE(connectProxy("", 9559).fError, NameNotFound);
}

TEST(ConnectError, ThereIsNoRouteToTheAddress) {
    // A connection to a multicast address fails on any network.
    const Outcome outcome = connectProxy("224.0.0.1", 9559, a_longTimeOut);
    EXPECT_CAUSE(outcome.fError, NoRoute);
    expectAddressed(outcome.fError, "224.0.0.1", 9559);
    EXPECT_NE(outcome.fError.toString().find("there is no route to that address"),
              std::string::npos)
        << outcome.fError.toString();
    EXPECT_LT(outcome.fSeconds, a_atOnce) << "the system says so at once";
}

TEST(ConnectError, ThePortIsOutOfRange) {
    for (const int port : {0, -1, 65536, 65536 + 9559, INT_MIN, INT_MAX}) {
        const Outcome outcome = connectProxy(a_loopback, port);
        EXPECT_CAUSE(outcome.fError, InvalidArgument);
        EXPECT_NE(outcome.fError.toString().find(std::to_string(port)), std::string::npos)
            << outcome.fError.toString();
        EXPECT_CAUSE(errorOf([&] { KVConnection::open(makeClient(), a_loopback, port, 1); }),
                     InvalidArgument);
    }
}

TEST(ConnectError, TheArgumentsMakeNoSense) {
    const auto client = makeClient();
    EXPECT_CAUSE(errorOf([&] { KVProxy proxy("", a_loopback, 9559, client, a_timeOut, 0); }),
                 InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { KVProxy proxy("Echo", a_loopback, 9559, nullptr, a_timeOut, 0); }),
                 InvalidArgument);
    EXPECT_CAUSE(errorOf([&] { KVProxy proxy("Echo", a_loopback, 9559, client, 0, 0); }),
                 InvalidArgument);
    for (const double timeOut : {0.0, -1.0, std::nan("")}) {
        EXPECT_CAUSE(errorOf([&] { KVConnection::open(client, a_loopback, 9559, timeOut); }),
                     InvalidArgument);
    }
    EXPECT_CAUSE(errorOf([&] { KVConnection::open(nullptr, a_loopback, 9559, 1); }),
                 InvalidArgument);
}

TEST(ConnectError, OfOneCallerDoesNotShortenTheTimeOfAnother) {
    const Listener listener(8);
    const auto client = makeClient();
    const auto open = [&](double timeOut) {
        const auto start = Clock::now();
        const KVError error =
            errorOf([&] { KVConnection::open(client, a_loopback, listener.port(), timeOut); });
        EXPECT_CAUSE(error, TimedOut);
        return std::chrono::duration<double>(Clock::now() - start).count();
    };
    double shortTime = 0;
    double longTime = 0;
    std::thread first([&] { shortTime = open(0.3); });
    std::thread second([&] { longTime = open(3.0); });
    first.join();
    second.join();
    EXPECT_GE(shortTime, 0.3);
    EXPECT_LT(shortTime, longTime);
    EXPECT_GE(longTime, 3.0);
    EXPECT_LT(longTime, 3.0 + a_margin);
}

TEST(Connect, IsSharedByAllUsersOfOneBroker) {
    const auto server = makeServer();
    server->addModule(makeEcho());
    const auto client = makeClient();
    std::vector<std::thread> threads;
    threads.reserve(8);
    std::atomic<int> reached{0};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            KVProxy proxy("Echo", a_loopback, server->getPort(), client, a_timeOut, 0);
            reached += proxy.call<int>("echo", 1);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(reached, 8);
}

TEST(Connect, TakesAHostName) {
    const auto server = makeServer();
    server->addModule(makeEcho());
    KVProxy proxy("Echo", "localhost", server->getPort(), makeClient(), a_timeOut, 0);
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
}

TEST(Connect, DoesNotUseTheProxyForWebPages) {
    ::setenv("http_proxy", "http://127.0.0.1:1", 1);
    ::setenv("https_proxy", "http://127.0.0.1:1", 1);
    const auto server = makeServer();
    server->addModule(makeEcho());
    KVProxy proxy("Echo", a_loopback, server->getPort(), makeClient(), a_timeOut, 0);
    EXPECT_EQ(proxy.call<int>("echo", 1), 1);
    ::unsetenv("http_proxy");
    ::unsetenv("https_proxy");
}
