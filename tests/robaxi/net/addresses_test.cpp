// A robot with several addresses, of which some do not answer.
#include "certificates.h"
#include "plain_listener.h"
#include "test_broker.h"

#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <memory>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

using namespace robaxi_test;

namespace {

using Addresses = std::vector<std::string>;

constexpr const char* a_host = "robot.test";  // never looked up, and does not resolve
constexpr const char* a_black = "127.0.0.2";
/** Far above the time of an outcome that does not wait for it, even on a busy machine. */
constexpr double a_longTimeOut = 30;

std::shared_ptr<KVConnection> open(const BrokerPtr& client, int port, const Addresses& addresses,
                                   double timeOut = a_longTimeOut) {
    return KVConnection::open(client, a_host, port, timeOut, addresses);
}

std::size_t countDescriptors() {
    using Entries = std::filesystem::directory_iterator;
    return static_cast<std::size_t>(std::distance(Entries("/proc/self/fd"), Entries()));
}

/** Returns the sentence that reports a refusal at each of some addresses. */
std::string refusedAt(int port, const std::string& tried) {
    return "Cannot reach robot.test port " + std::to_string(port) +
           ": nothing listens on that port (tried " + tried +
           "). Check that the robot's middleware is running and that the port is right.";
}

/** Holds up this thread in its next call of poll(), which then returns as if nothing had happened.
 */
thread_local bool isHeldUp = false;

}  // namespace

/** Replaces the system's function of this name, which it calls. */
extern "C" __attribute__((visibility("default"))) int poll(pollfd* polled, nfds_t count,
                                                           int timeOut) {
    using Function = int (*)(pollfd*, nfds_t, int);
    static const auto system = reinterpret_cast<Function>(::dlsym(RTLD_NEXT, "poll"));
    if (count == 0 || !std::exchange(isHeldUp, false)) {
        return system(polled, count, timeOut);
    }
    EXPECT_EQ(system(polled, count, -1), 1);
    return system(nullptr, 0, timeOut);
}

TEST(Addresses, TheFirstThatAnswersIsUsed) {
    const auto server = makeServer();
    server->addModule(makeEcho());
    Listener black(0, a_black, server->getPort());
    black.fillQueue();
    const auto client = makeClient();
    const auto connection = open(client, server->getPort(), {a_black, a_loopback});
    EXPECT_EQ(connection->getAddress(), a_loopback);
    EXPECT_EQ(connection->getIP(), a_host);
    EXPECT_EQ(KVProxy("Echo", connection, 5).call<int>("echo", 42), 42);
    // Shares the link, or the name would be looked up.
    EXPECT_EQ(KVProxy("Echo", a_host, server->getPort(), client, 5, 0).call<int>("echo", 43), 43);
}

TEST(Addresses, TheNextIsNotTriedWhileTheFirstMayAnswer) {
    const auto server = makeServer();
    const Listener spare(8, "127.0.0.2", server->getPort());
    EXPECT_EQ(open(makeClient(), server->getPort(), {a_loopback, "127.0.0.2"})->getAddress(),
              a_loopback);
    EXPECT_FALSE(spare.isTried());
}

TEST(Addresses, AThreadThatWasHeldUpLooksBeforeItTriesTheNext) {
    const auto server = makeServer();
    const Listener spare(8, "127.0.0.2", server->getPort());
    const auto client = makeClient();
    isHeldUp = true;
    EXPECT_EQ(open(client, server->getPort(), {a_loopback, "127.0.0.2"})->getAddress(), a_loopback);
    EXPECT_FALSE(isHeldUp) << "the attempts do not wait in poll()";
    EXPECT_FALSE(spare.isTried());
}

TEST(Addresses, ARefusalIsFollowedByTheNext) {
    const auto server = makeServer();
    EXPECT_EQ(
        open(makeClient(), server->getPort(), {"127.0.0.2", "127.0.0.3", a_loopback})->getAddress(),
        a_loopback);
}

TEST(Addresses, AllThatWereTriedAreNamed) {
    const int port = obvista_test::freePort();
    const auto client = makeClient();
    const auto textWith = [&](const Addresses& addresses) {
        const KVError error = errorOf([&] { open(client, port, addresses); });
        EXPECT_CAUSE(error, Refused);
        return error.toString();
    };
    EXPECT_EQ(textWith({"127.0.0.2"}), refusedAt(port, "127.0.0.2"));
    EXPECT_EQ(textWith({"127.0.0.2", "127.0.0.3"}), refusedAt(port, "127.0.0.2 and 127.0.0.3"));
    // The families in turn, and each address once.
    EXPECT_EQ(textWith({"127.0.0.2", "127.0.0.3", "127.0.0.2", "::1", "127.0.0.4"}),
              refusedAt(port, "127.0.0.2, ::1, 127.0.0.3 and 127.0.0.4"));
}

TEST(Addresses, TheirNumberIsBounded) {
    const auto server = makeServer();
    Addresses many;
    for (int i = 10; i < 18; ++i) {
        many.push_back("127.0.0." + std::to_string(i));
    }
    many.emplace_back(a_loopback);
    const KVError error = errorOf([&] { open(makeClient(), server->getPort(), many); });
    EXPECT_EQ(error.toString(),
              refusedAt(server->getPort(),
                        "127.0.0.10, 127.0.0.11, 127.0.0.12, 127.0.0.13, 127.0.0.14, 127.0.0.15, "
                        "127.0.0.16 and 127.0.0.17"));
}

TEST(Addresses, NoConnectionIsLeftWhenTimeIsOver) {
    Listener first(0, "127.0.0.2");
    first.fillQueue();
    Listener second(0, "127.0.0.3", first.port());
    second.fillQueue();
    const auto client = makeClient();
    const auto textOfFailure = [&] {
        const KVError error = errorOf([&] {
            open(client, first.port(), {"127.0.0.2", "127.0.0.3"}, 2);
        });
        EXPECT_CAUSE(error, TimedOut);
        return error.toString();
    };
    EXPECT_EQ(textOfFailure(),
              "Cannot reach robot.test port " + std::to_string(first.port()) +
                  ": no answer came within 2 s (tried 127.0.0.2 and 127.0.0.3). Check that the "
                  "robot is switched on and on this network, and that no firewall blocks the "
                  "connection.");
    const std::size_t before = countDescriptors();
    textOfFailure();
    EXPECT_EQ(countDescriptors(), before);
}

TEST(Addresses, OneOfAnInterfaceThatIsGoneIsLeftOut) {
    const auto server = makeServer();
    EXPECT_EQ(open(makeClient(), server->getPort(), {"fe80::1%nosuch0", a_loopback})->getAddress(),
              a_loopback);
    EXPECT_CAUSE(errorOf([&] { open(makeClient(), server->getPort(), {"fe80::1%nosuch0"}); }),
                 NoRoute);
}

TEST(Addresses, ALinkToAnotherOneIsNotShared) {
    const auto here = makeServer("Here");
    const auto there = KVBroker::createBroker({"There", "127.0.0.2", here->getPort(), {}});
    const auto client = makeClient();
    const auto first = open(client, here->getPort(), {a_loopback});
    const auto second = open(client, here->getPort(), {"127.0.0.2"});
    EXPECT_EQ(first->getPeerName(), "Here");
    EXPECT_EQ(second->getPeerName(), "There");
}

TEST(Addresses, ALinkElsewhereIsNotThatOfAnAddress) {
    const auto here = makeServer("Here");
    const auto there = KVBroker::createBroker({"There", "127.0.0.2", here->getPort(), {}});
    const auto client = makeClient();
    const auto moved = KVConnection::open(client, "127.0.0.2", here->getPort(), a_longTimeOut,
                                          Addresses{a_loopback});
    EXPECT_EQ(moved->getPeerName(), "Here");
    EXPECT_EQ(
        KVConnection::open(client, "127.0.0.2", here->getPort(), a_longTimeOut)->getPeerName(),
        "There");
}

TEST(Addresses, ALinkIsSharedByAllSpellingsOfItsAddress) {
    KVSettings settings;
    settings.fLimits.fSessions = 1;
    const auto server = KVBroker::createBroker({"Robot", "::1", 0, settings});
    const auto client = makeClient();
    const auto first =
        KVConnection::open(client, "0::1", server->getPort(), a_longTimeOut, Addresses{"::0001"});
    EXPECT_EQ(KVConnection::open(client, "0::1", server->getPort(), a_longTimeOut)->getPeerName(),
              "Robot");
    EXPECT_CAUSE(errorOf([&] { open(makeClient(), server->getPort(), {"::1"}); }), TooMany);
}

TEST(Addresses, AFailedAttemptElsewhereLeavesTheLink) {
    const auto server = makeServer();
    const auto client = makeClient();
    const auto first = open(client, server->getPort(), {a_loopback});
    EXPECT_CAUSE(errorOf([&] { open(client, server->getPort(), {"127.0.0.2"}); }), Refused);
    // Without the link, the name would be looked up.
    EXPECT_EQ(KVConnection::open(client, a_host, server->getPort(), a_longTimeOut)->getAddress(),
              a_loopback);
}

TEST(Addresses, SettingsAndCertificateAreThoseOfTheName) {
    const obvista_test::Folder folder;
    const obvista_test::Certificate named =
        obvista_test::makeCertificate(folder, "named", "DNS:robot.test");
    const obvista_test::Certificate other =
        obvista_test::makeCertificate(folder, "other", "IP:127.0.0.1");
    const auto serve = [](const obvista_test::Certificate& certificate) {
        KVSettings settings;
        settings.fServer.fCertificate = certificate.fFile;
        settings.fServer.fKey = certificate.fKey;
        return makeServer("Robot", settings);
    };
    const auto clientOf = [](const obvista_test::Certificate& trusted) {
        KVSettings settings;
        settings.fRobots[a_host].fUsesTls = true;
        settings.fRobots[a_host].fTrust = trusted.fFile;
        return makeClient(settings);
    };
    const auto right = serve(named);
    EXPECT_EQ(open(clientOf(named), right->getPort(), {"127.0.0.2", a_loopback})->getAddress(),
              a_loopback);
    const auto wrong = serve(other);
    const KVError error = errorOf([&] { open(clientOf(other), wrong->getPort(), {a_loopback}); });
    EXPECT_CAUSE(error, NotTrusted);
    EXPECT_NE(error.toString().find("its certificate is for another name than robot.test"),
              std::string::npos)
        << error.toString();
}
