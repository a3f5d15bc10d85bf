#include "robot_process.h"

#include "tcp_client.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <csignal>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <unistd.h>

using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using testing::AllOf;
using testing::Field;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

namespace {

constexpr int a_timeOut = 20;  // seconds; generous, since the machine may be busy

boost::shared_ptr<KVBroker> makeBroker() {
    return KVBroker::createBroker({"test"});
}

/** Polls for a condition that only time brings about. */
bool comesTrue(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + ChildProcess::a_patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

class RobotProcessTest : public testing::Test {
  protected:
    std::unique_ptr<KVProxy> proxy(const std::string& module, int port) {
        return std::make_unique<KVProxy>(module, RobotProcess::address(), port, fBroker, a_timeOut,
                                         0);
    }

    std::unique_ptr<KVProxy> proxy(const std::string& module, const RobotProcess& robot) {
        return proxy(module, robot.port());
    }

    static std::string refusal(const std::function<void()>& call) {
        try {
            call();
        } catch (const KVError& error) {
            return error.toString();
        }
        return "it was accepted";
    }

    boost::shared_ptr<KVBroker> fBroker = makeBroker();
};

TEST_F(RobotProcessTest, saysInOneLineWhereItListens) {
    RobotProcess robot({{"--name", "Rob 7"}});
    EXPECT_EQ(robot.process().output(),
              "robaxi-robot: Rob 7 listens on 127.0.0.1:" + std::to_string(robot.port()) + "\n");
    EXPECT_EQ(robot.process().errors(), "");
}

TEST_F(RobotProcessTest, reportsItsNameAndModules) {
    RobotProcess robot({{"--name", "Rob 7"}});
    const auto connection =
        KVConnection::open(fBroker, RobotProcess::address(), robot.port(), a_timeOut);
    EXPECT_EQ(connection->getPeerName(), "Rob 7");
    EXPECT_THAT(
        connection->getModules(a_timeOut),
        UnorderedElementsAre(
            AllOf(Field(&KVModuleInfo::fName, "KVMemory"), Field(&KVModuleInfo::fHasValues, true)),
            Field(&KVModuleInfo::fName, "KVLeds"), Field(&KVModuleInfo::fName, "KVBallamor"),
            Field(&KVModuleInfo::fName, "KVSim"),
            AllOf(Field(&KVModuleInfo::fName, "KVVideo"), Field(&KVModuleInfo::fHasFrames, true))));
}

TEST_F(RobotProcessTest, memoryIsReadAndWritten) {
    RobotProcess robot;
    const auto memory = proxy("KVMemory", robot);
    EXPECT_EQ(memory->call<KVValue::List>("getDataList", "Battery/").size(), 7U);
    EXPECT_GT(memory->call<double>("getData", "Battery/Charge"), 80);
    EXPECT_EQ(memory->call<std::string>("getData", "Robaxi/Kind"), "robot");
    memory->callValue("setData", {"Joint/HeadYaw/Target", 0.75});
    EXPECT_EQ(memory->call<double>("getData", "Joint/HeadYaw/Target"), 0.75);
    EXPECT_TRUE(comesTrue([&] {
        return std::abs(memory->call<double>("getData", "Joint/HeadYaw/Position") - 0.75) < 0.01;
    }));
    EXPECT_THAT(refusal([&] {
                    memory->callValue("setData", {"Joint/HeadYaw/Target", 3});
                }),
                HasSubstr("it accepts -2 to 2 rad, not 3"));
    EXPECT_THAT(refusal([&] {
                    memory->callValue("setData", {"Battery/Charge", 100.0});
                }),
                HasSubstr("Battery/Charge"));
}

/** Stores the newest values sent by a robot, by name. */
class Values {
  public:
    KVSubscription::Callbacks callbacks() {
        KVSubscription::Callbacks callbacks;
        callbacks.fKeysAdded = [this](const std::vector<KVKeyInfo>& keys) {
            const std::lock_guard lock(fMutex);
            for (const KVKeyInfo& key : keys) {
                fNames[key.fId] = key.fName;
            }
        };
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) {
            const std::lock_guard lock(fMutex);
            for (const KVChange& change : changes) {
                fHistory[fNames[change.fId]].push_back(change.fValue);
            }
            fChanged.notify_all();
        };
        return callbacks;
    }

    /** Waits until the history of a key meets a condition. */
    bool waitFor(const std::string& name,
                 const std::function<bool(const std::vector<KVValue>&)>& condition) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, ChildProcess::a_patience,
                                 [&] { return condition(fHistory[name]); });
    }

    std::size_t count() {
        const std::lock_guard lock(fMutex);
        return fNames.size();
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::map<std::uint32_t, std::string> fNames;
    std::map<std::string, std::vector<KVValue>> fHistory;
};

class SubscribedRobotTest : public RobotProcessTest {
  protected:
    SubscribedRobotTest()
        : fConnection(
              KVConnection::open(fBroker, RobotProcess::address(), fRobot.port(), a_timeOut)),
          fSubscription(KVSubscription::start(fConnection, "KVMemory",
                                              KVSubscription::Selection::AllKeys, 100,
                                              fValues.callbacks())) {}

    ~SubscribedRobotTest() override { fSubscription->stop(); }

    RobotProcess fRobot;
    Values fValues;
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

TEST_F(SubscribedRobotTest, valuesMove) {
    EXPECT_TRUE(fValues.waitFor("Inertial/Accelerometer/Z",
                                [](const auto& history) { return history.size() >= 20; }));
    EXPECT_GE(fValues.count(), 280U);
}

TEST_F(SubscribedRobotTest, rastaPlaysOnTheFaceAndEndsWithTheLedsAsBefore) {
    const char* const led = "Leds/Face/Left/0";
    ASSERT_TRUE(fValues.waitFor(led, [](const auto& history) { return !history.empty(); }));
    const auto leds = proxy("KVLeds", fRobot);
    // Long enough for several updates on a busy machine.
    EXPECT_GT(leds->pCall<float>("rasta", 3.0F), 0);
    EXPECT_TRUE(fValues.waitFor(led, [](const auto& history) {
        return history.size() >= 4 && history.back() == history.front() && history[1] != history[0];
    }));
}

TEST_F(SubscribedRobotTest, clipboardIsShownOnOneLineAndInTheMemory) {
    const auto ballamor = proxy("KVBallamor", fRobot);
    ballamor->callVoid<std::string>("sendClipboard", "first\nrobaxi-robot: forged");
    EXPECT_TRUE(
        fRobot.process().waitForOutput("robaxi-robot: clipboard: first\\nrobaxi-robot: forged\n"));
    EXPECT_TRUE(fValues.waitFor("Ballamor/Clipboard", [](const auto& history) {
        return !history.empty() && history.back() == KVValue("first\nrobaxi-robot: forged");
    }));
}

TEST_F(RobotProcessTest, theSameSeedMakesTheSameRobot) {
    RobotProcess one({{"--seed", "5"}});
    RobotProcess same({{"--seed", "5"}});
    RobotProcess other({{"--seed", "6"}});
    const auto cycles = [this](const RobotProcess& robot) {
        return proxy("KVMemory", robot)->call<int>("getData", "Battery/Cycles");
    };
    EXPECT_EQ(cycles(one), cycles(same));
    EXPECT_NE(cycles(one), cycles(other));
}

TEST_F(RobotProcessTest, aComputerShowsItsOwnFiguresAndHasNoLeds) {
    RobotProcess computer({{"--kind", "computer"}});
    const auto memory = proxy("KVMemory", computer);
    std::ifstream uptime("/proc/uptime");
    double expected = 0;
    uptime >> expected;
    EXPECT_NEAR(memory->call<double>("getData", "System/Uptime"), expected, 5);
    EXPECT_THAT(refusal([&] {
                    memory->callValue("setData", {"System/Uptime", 1});
                }),
                HasSubstr("System/Uptime"));
    EXPECT_THAT(refusal([&] { proxy("KVLeds", computer); }), HasSubstr("KVLeds"));
    proxy("KVBallamor", computer)->callVoid<std::string>("sendClipboard", "text");
    // Rates and shares appear with the second reading.
    EXPECT_TRUE(comesTrue(
        [&] { return !memory->call<KVValue::List>("getDataList", "Cpu/Usage").empty(); }));
}

TEST_F(RobotProcessTest, aPortInUseEndsItWithStatusOneAndSaysSo) {
    RobotProcess robot;
    ChildProcess second({RobotProcess::program(), "--port", std::to_string(robot.port()),
                         "--http-port", "0", "--no-announce"});
    EXPECT_EQ(second.waitForEnd(), 1);
    EXPECT_EQ(second.output(), "");
    EXPECT_THAT(second.errors(), StartsWith("robaxi-robot: "));
    EXPECT_THAT(second.errors(), HasSubstr(std::to_string(robot.port())));
    EXPECT_THAT(second.errors(), HasSubstr("in use"));
    EXPECT_EQ(proxy("KVMemory", robot)->call<int>("getData", "Robot/Joints"), 25);
}

TEST_F(RobotProcessTest, anHttpPortInUseEndsItWithStatusOneAndSaysSo) {
    RobotProcess robot({{}, true});
    ChildProcess second({RobotProcess::program(), "--port",
                         std::to_string(obvista_test::freePort()), "--http-port",
                         std::to_string(robot.httpPort()), "--no-announce"});
    EXPECT_EQ(second.waitForEnd(), 1);
    EXPECT_EQ(second.output(), "");
    EXPECT_THAT(second.errors(), HasSubstr(std::to_string(robot.httpPort()) + " for HTTP"));
}

TEST_F(RobotProcessTest, anIconThatCannotBeReadEndsItWithStatusOne) {
    ChildProcess robot({RobotProcess::program(), "--port", std::to_string(obvista_test::freePort()),
                        "--http-port", std::to_string(obvista_test::freePort()), "--no-announce",
                        "--icon", "/nonexistent/buddy.png"});
    EXPECT_EQ(robot.waitForEnd(), 1);
    EXPECT_EQ(robot.errors(),
              "robaxi-robot: the icon /nonexistent/buddy.png cannot be read or is empty\n");
}

TEST_F(RobotProcessTest, wrongOptionsEndItWithStatusTwo) {
    ChildProcess robot({RobotProcess::program(), "--kind", "toaster"});
    EXPECT_EQ(robot.waitForEnd(), 2);
    EXPECT_THAT(robot.errors(), HasSubstr("toaster"));
    EXPECT_EQ(robot.output(), "");
}

TEST_F(RobotProcessTest, helpEndsItWithStatusZero) {
    ChildProcess robot({RobotProcess::program(), "--help"});
    EXPECT_EQ(robot.waitForEnd(), 0);
    EXPECT_THAT(robot.output(), StartsWith("Usage: robaxi-robot"));
    EXPECT_EQ(robot.errors(), "");
}

TEST_F(RobotProcessTest, bothEndingSignalsEndItWithStatusZero) {
    for (const int signal : {SIGTERM, SIGINT}) {
        RobotProcess robot({{}, true, true});
        robot.process().signal(signal);
        EXPECT_EQ(robot.process().waitForEnd(std::chrono::seconds(10)), 0) << signal;
        EXPECT_EQ(robot.process().errors(), "");
    }
}

TEST_F(RobotProcessTest, endsInTimeAndCleanlyDuringCallsAndSubscriptions) {
    RobotProcess robot({{}, true});
    std::atomic<int> calls{0};
    std::atomic<bool> over{false};
    std::vector<std::thread> callers(4);
    for (std::thread& caller : callers) {
        caller = std::thread([&] {
            try {
                const auto memory = proxy("KVMemory", robot);
                while (!over) {
                    memory->call<double>("getData", "Battery/Charge");
                    ++calls;
                }
            } catch (const KVError&) {
                // The robot ends while it is called: that is the point.
            }
        });
    }
    Values values;
    const auto connection =
        KVConnection::open(fBroker, RobotProcess::address(), robot.port(), a_timeOut);
    const auto subscription = KVSubscription::start(
        connection, "KVMemory", KVSubscription::Selection::AllKeys, 1000, values.callbacks());
    EXPECT_TRUE(comesTrue([&] { return calls > 100; }));
    robot.process().signal(SIGTERM);
    EXPECT_EQ(robot.process().waitForEnd(std::chrono::seconds(20)), 0) << robot.process().errors();
    EXPECT_EQ(robot.process().errors(), "");
    over = true;
    for (std::thread& caller : callers) {
        caller.join();
    }
    subscription->stop();
}

TEST_F(RobotProcessTest, manyClientsAtOnceGetTheirOwnAnswers) {
    RobotProcess robot;
    std::vector<std::thread> clients(8);
    std::atomic<int> right{0};
    for (std::size_t i = 0; i < clients.size(); ++i) {
        clients[i] = std::thread([&, i] {
            const auto memory = proxy("KVMemory", robot);
            const std::string key = i % 2 == 0 ? "Robot/Joints" : "Audio/Volume";
            for (int call = 0; call < 50; ++call) {
                right += memory->call<int>("getData", key) == (i % 2 == 0 ? 25 : 60) ? 1 : 0;
            }
        });
    }
    for (std::thread& client : clients) {
        client.join();
    }
    EXPECT_EQ(right, 400);
}

TEST_F(RobotProcessTest, servesItsPageWithItsNameAndLiveValues) {
    RobotProcess robot({{"--name", "<i>Rob</i>"}, true});
    const HttpAnswer page = httpGet(robot.httpPort(), "/");
    EXPECT_THAT(page.fBody, HasSubstr("<h1>&lt;i&gt;Rob&lt;/i&gt;</h1>"));
    EXPECT_THAT(page.fBody, Not(HasSubstr("<i>")));
    EXPECT_THAT(page.fBody, HasSubstr("KVBallamor"));
    EXPECT_THAT(page.fBody, HasSubstr("<h2>Battery</h2>"));
    const std::string before = httpGet(robot.httpPort(), "/values.json").fBody;
    EXPECT_TRUE(
        comesTrue([&] { return httpGet(robot.httpPort(), "/values.json").fBody != before; }));
}

TEST_F(RobotProcessTest, servesTheGivenIcon) {
    const std::string file = testing::TempDir() + "robot_process_test_icon.png";
    std::ofstream(file, std::ios::binary) << "\x89PNG icon";
    RobotProcess robot({{"--icon", file}, true});
    EXPECT_EQ(httpGet(robot.httpPort(), "//media/buddy.icon").fBody, "\x89PNG icon");
}

TEST_F(RobotProcessTest, servesAPictureOfItsOwn) {
    for (const char* kind : {"robot", "computer"}) {
        RobotProcess robot({{"--kind", kind}, true});
        const HttpAnswer icon = httpGet(robot.httpPort(), "//media/buddy.icon");
        EXPECT_EQ(icon.fStatus, 200);
        EXPECT_THAT(icon.fBody, StartsWith("\x89PNG"));
        EXPECT_EQ(robot.process().errors(), "");
    }
}

TEST_F(RobotProcessTest, iconTroubleIsAskedFor) {
    RobotProcess robot({{}, true});
    const auto sim = proxy("KVSim", robot);
    sim->callVoid<std::string>("setIcon", "404");
    EXPECT_EQ(httpGet(robot.httpPort(), "//media/buddy.icon").fStatus, 404);
    EXPECT_EQ(sim->call<KVValue::Map>("getState").at("icon"), KVValue("404"));
    sim->callVoid<std::string>("setIcon", "ok");
    EXPECT_EQ(httpGet(robot.httpPort(), "//media/buddy.icon").fStatus, 200);
    EXPECT_THAT(refusal([&] { sim->callVoid<std::string>("setIcon", "melt"); }),
                HasSubstr("ok, hang, trickle, 404, huge, broken"));
}

TEST_F(RobotProcessTest, faultsOfWhatItWasStartedWithoutAreRefused) {
    RobotProcess robot;
    const auto sim = proxy("KVSim", robot);
    EXPECT_THAT(refusal([&] { sim->callVoid<std::string>("setIcon", "404"); }),
                HasSubstr("--http-port 0"));
    EXPECT_THAT(refusal([&] { sim->callVoid("setAnnounced", false); }), HasSubstr("not announced"));
    EXPECT_THAT(refusal([&] { sim->callVoid<std::string>("setAddress", "10.1.2.3"); }),
                HasSubstr("not announced"));
    EXPECT_THAT(refusal([&] { sim->callVoid("setMiddleware", false); }), HasSubstr("--sim-port"));
    EXPECT_THAT(refusal([&] { sim->callVoid("interruptMiddleware", 1e9); }), HasSubstr("3600"));
    EXPECT_THAT(refusal([&] { sim->callVoid<std::string>("setAddress", "ten"); }),
                HasSubstr("four numbers"));
}

TEST_F(RobotProcessTest, theMiddlewareGoesAndComesBack) {
    RobotProcess robot({{}, false, true});
    const auto sim = proxy("KVSim", robot.simPort());
    const auto isUp = [&] {
        try {
            proxy("KVMemory", robot);
            return true;
        } catch (const KVError&) {
            return false;
        }
    };
    EXPECT_TRUE(isUp());
    sim->callVoid("setMiddleware", false);
    EXPECT_TRUE(comesTrue([&] { return !isUp(); }));
    EXPECT_EQ(sim->call<KVValue::Map>("getState").at("middleware"), KVValue(false));
    sim->callVoid("setMiddleware", true);
    EXPECT_TRUE(comesTrue(isUp));
    EXPECT_EQ(proxy("KVMemory", robot)->call<int>("getData", "Robot/Joints"), 25);
    EXPECT_EQ(robot.terminate(), 0);
}

TEST_F(RobotProcessTest, theInterruptionIsAnsweredAndEndsByItself) {
    RobotProcess robot;
    const auto connection =
        KVConnection::open(fBroker, RobotProcess::address(), robot.port(), a_timeOut);
    proxy("KVSim", robot)->callVoid("interruptMiddleware", 0.5);
    // A busy machine may be too slow for an attempt to connect, but every connection ends.
    EXPECT_TRUE(comesTrue([&] { return !connection->isConnected(); }));
    EXPECT_TRUE(
        comesTrue([&] { return refusal([&] { proxy("KVMemory", robot); }) == "it was accepted"; }));
}

TEST_F(RobotProcessTest, aPortThatWasTakenIsTriedAgain) {
    RobotProcess robot({{}, false, true});
    const auto sim = proxy("KVSim", robot.simPort());
    sim->callVoid("setMiddleware", false);
    boost::shared_ptr<KVBroker> squatter;
    EXPECT_TRUE(comesTrue([&] {
        try {
            squatter = KVBroker::createBroker({"squatter", RobotProcess::address(), robot.port()});
        } catch (const KVError&) {
        }
        return squatter != nullptr;
    }));
    sim->callVoid("setMiddleware", true);
    EXPECT_TRUE(robot.process().waitForErrors("Trying again.\n"));
    squatter.reset();
    EXPECT_TRUE(comesTrue(
        [&] { return sim->call<KVValue::Map>("getState").at("middleware") == KVValue(true); }));
}

/** The program with its standard output in a pipe, which the test need not read. */
class PipedRobot {
  public:
    PipedRobot() : fPort(obvista_test::freePort()) {
        EXPECT_EQ(pipe(fEnds.data()), 0);
        fProcess = std::make_unique<ChildProcess>(
            std::vector<std::string>{"bash", "-c", "exec \"$@\" >&" + std::to_string(fEnds[1]),
                                     "bash", RobotProcess::program(), "--no-announce",
                                     "--http-port", "0", "--port", std::to_string(fPort)});
        close(fEnds[1]);
        std::array<char, 256> line{};
        EXPECT_GT(read(fEnds[0], line.data(), line.size()), 0);
        EXPECT_THAT(line.data(), HasSubstr(" listens on "));
    }
    ~PipedRobot() { stopReading(); }
    PipedRobot(const PipedRobot&) = delete;
    PipedRobot& operator=(const PipedRobot&) = delete;

    int port() const { return fPort; }
    ChildProcess& process() { return *fProcess; }

    void stopReading() {
        close(fEnds[0]);
        fEnds[0] = -1;
    }

  private:
    int fPort;
    std::array<int, 2> fEnds{-1, -1};
    std::unique_ptr<ChildProcess> fProcess;
};

TEST_F(RobotProcessTest, goesOnWhenNobodyReadsWhatItSays) {
    PipedRobot robot;
    const auto ballamor = proxy("KVBallamor", robot.port());
    // Far more than the capacity of a pipe.
    for (int i = 0; i < 400; ++i) {
        ballamor->callVoid("sendClipboard", std::string(1000, 'x'));
    }
    robot.process().signal(SIGTERM);
    EXPECT_EQ(robot.process().waitForEnd(), 0);
}

TEST_F(RobotProcessTest, goesOnWhenItsReaderHasGone) {
    PipedRobot robot;
    robot.stopReading();
    const auto ballamor = proxy("KVBallamor", robot.port());
    ballamor->callVoid<std::string>("sendClipboard", "one");
    ballamor->callVoid<std::string>("sendClipboard", "two");
    robot.process().signal(SIGTERM);
    EXPECT_EQ(robot.process().waitForEnd(), 0);
}

TEST_F(RobotProcessTest, withoutMiddlewareItServesHttpAlone) {
    const int port = obvista_test::freePort();
    const int http = obvista_test::freePort();
    ChildProcess robot({RobotProcess::program(), "--name", "bare", "--port", std::to_string(port),
                        "--http-port", std::to_string(http), "--no-announce", "--no-middleware"});
    ASSERT_TRUE(robot.waitForOutput(
        "robaxi-robot: bare listens on 127.0.0.1:" + std::to_string(http) + " for HTTP alone\n"))
        << robot.errors();
    EXPECT_EQ(httpGet(http, "/").fStatus, 200);
    EXPECT_THROW(TcpClient{port}, std::system_error);
    robot.signal(SIGTERM);
    EXPECT_EQ(robot.waitForEnd(), 0);
}

}  // namespace
