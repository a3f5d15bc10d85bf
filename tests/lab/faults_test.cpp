// Injects faults into a robot, its network and its clients, and checks that they leave no resources
// behind. The robot is a process on a separate host. Each fault hits a busy client, several times,
// and neither side may leak descriptors, threads or memory.
#include "eventually.h"
#include "lab_network.h"
#include "lab_robot.h"
#include "process_figures.h"
#include "project_files.h"
#include "robot_process.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <future>
#include <malloc.h>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using lab::control;
using obvista_test::ChildProcess;
using obvista_test::eventually;
using obvista_test::RobotProcess;
using obvista_test::lab::addBusyRobot;

constexpr const char* a_host = "walker";
constexpr const char* a_address = "10.77.50.1";
constexpr const char* a_otherAddress = "10.77.50.2";
constexpr int a_port = 9559;
constexpr int a_timeOut = 5;  // seconds
/** The shortest silence after which the other end is lost. */
constexpr std::chrono::milliseconds a_silence{2000};
constexpr std::chrono::seconds a_patience{30};
/** Eight unanswered heartbeats of 250 ms, and one in flight. */
constexpr std::chrono::seconds a_longestSilence{3};

KVSettings impatientSettings() {
    KVSettings settings;
    settings.fLimits.fSilence = a_silence;
    return settings;
}

/**
 * Resources of a process. Memory is measured for this process only, and not under a sanitizer,
 * which has a leak check.
 */
struct Holdings {
    std::size_t fDescriptors = 0;
    std::size_t fThreads = 0;
    std::size_t fBytes = 0;
};

Holdings holdingsOf(const std::string& process) {
    return {obvista_test::countDescriptors(process), obvista_test::countThreads(process), 0};
}

Holdings ownHoldings() {
    Holdings holdings = holdingsOf("self");
    const struct mallinfo2 memory = ::mallinfo2();
    holdings.fBytes = memory.uordblks + memory.hblkhd;
    return holdings;
}

/**
 * Returns true if the programs are built with a sanitizer, under which their memory always grows.
 */
bool keepsFreedMemory() {
    const char* sanitizers = std::getenv("OBVISTA_SANITIZE");
    return sanitizers != nullptr && *sanitizers != '\0';
}

/** Pool threads start when they are needed, and the allocator keeps a little memory for each. */
constexpr Holdings a_slack{0, 16, std::size_t{512} * 1024};

bool isBackAt(const Holdings& before, const Holdings& now) {
    return now.fDescriptors <= before.fDescriptors + a_slack.fDescriptors &&
           now.fThreads <= before.fThreads + a_slack.fThreads &&
           now.fBytes <= before.fBytes + a_slack.fBytes;
}

std::ostream& operator<<(std::ostream& stream, const Holdings& holdings) {
    return stream << holdings.fDescriptors << " descriptors, " << holdings.fThreads << " threads, "
                  << holdings.fBytes << " bytes";
}

/** A program with a connection, a subscription to all values, and eight callers. */
class Visit {
  public:
    Visit()
        : fConnection(KVConnection::open(fBroker, a_address, a_port, a_timeOut)),
          fProxy("KVMemory", a_address, a_port, fBroker, a_timeOut, 0) {
        fConnection->setLostHandler([this](const KVError& error) { xKeep(fLoss, error); });
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [this](const auto& /*changes*/) { ++fUpdates; };
        callbacks.fEnded = [this](const KVError& error) { xKeep(fEnd, error); };
        fSubscription = KVSubscription::start(
            fConnection, "KVMemory", KVSubscription::Selection::AllKeys, a_rate, callbacks);
        for (int i = 0; i < a_callers; ++i) {
            fCallers.push_back(std::async(std::launch::async, [this] { return xCall(); }));
        }
    }

    ~Visit() {
        fConnection->setLostHandler(nullptr);
        fSubscription->stop();
        fIsLeaving = true;
        fProxy.cancel();
    }

    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    bool isInFullSwing() {
        return waitForUpdates(10) && eventually([this] { return fCalls > 20; });
    }

    bool waitForUpdates(std::uint64_t count) {
        const std::uint64_t wanted = fUpdates + count;
        return eventually([&] { return fUpdates >= wanted; });
    }

    /** Fails unless the loss is reported in time, and ends every call and the subscription. */
    void expectLossWithin(std::chrono::milliseconds longest) {
        {
            std::unique_lock lock(fMutex);
            EXPECT_TRUE(fChanged.wait_for(lock, longest, [this] { return fLoss.has_value(); }))
                << "the loss is not told in time";
            EXPECT_TRUE(fChanged.wait_for(lock, a_patience, [this] { return fEnd.has_value(); }))
                << "the subscription does not end";
        }
        for (auto& caller : fCallers) {
            ASSERT_EQ(caller.wait_for(a_patience), std::future_status::ready)
                << "a call does not end";
            EXPECT_EQ(caller.get(), KVError::Cause::ConnectionLost);
        }
        EXPECT_FALSE(fConnection->isConnected());
    }

  private:
    static constexpr double a_rate = 50;
    static constexpr int a_callers = 8;

    void xKeep(std::optional<KVError>& place, const KVError& error) {
        const std::lock_guard lock(fMutex);
        place = error;
        fChanged.notify_all();
    }

    /** Calls until a call fails, and returns its cause. */
    KVError::Cause xCall() {
        try {
            while (!fIsLeaving) {
                fProxy.callVoid("getData", std::string("Robaxi/Name"));
                ++fCalls;
            }
            return KVError::Cause::Cancelled;
        } catch (const KVError& error) {
            return error.cause();
        }
    }

    std::atomic<std::uint64_t> fUpdates{0};
    std::atomic<std::uint64_t> fCalls{0};
    std::atomic<bool> fIsLeaving{false};
    std::mutex fMutex;  // guards the following three
    std::condition_variable fChanged;
    std::optional<KVError> fLoss;
    std::optional<KVError> fEnd;

    boost::shared_ptr<KVBroker> fBroker =
        KVBroker::createBroker({"Visitor", {}, 0, impatientSettings()});
    std::shared_ptr<KVConnection> fConnection;
    KVProxy fProxy;
    std::shared_ptr<KVSubscription> fSubscription;
    std::vector<std::future<KVError::Cause>> fCallers;  // destroyed first, before the others
};

/** A robot with 2,000 values that all change 50 times a second, on a separate host. */
class Faults : public testing::Test {
  protected:
    /** The programs on the hosts are as impatient as the one in this process. */
    static void SetUpTestSuite() {
        ASSERT_EQ(::setenv("ROBAXI_SILENCE", std::to_string(a_silence.count()).c_str(), 1), 0);
    }
    void SetUp() override { addHost(); }
    ~Faults() override { control({"kill", a_host}); }

    /** Adds the robot's host to the network. */
    static void addHost() {
        // The previous owner of that address is cached here for some seconds.
        lab::run({"ip", "neighbour", "flush", "dev", "eth0"});
        addBusyRobot(a_host, a_address, a_port, 2000);
    }

    static void killHost() { control({"kill", a_host}); }

    /** Sends the robot's process a signal. */
    static void signalRobot(const std::string& signal) {
        control({"exec", a_host, "--", "pkill", "-" + signal, "-x", "robaxi-robot"});
    }

    /** Returns the id of the robot's process outside its host. */
    static std::string robotProcess() {
        const std::string lines = lab::run({"pgrep", "-x", "robaxi-robot"}).fOutput;
        return lines.substr(0, lines.find('\n'));
    }

    static void expectConnectError(const std::string& address) {
        const auto broker = KVBroker::createBroker({"Late"});
        const auto start = Clock::now();
        try {
            KVConnection::open(broker, address, a_port, a_timeOut);
            ADD_FAILURE() << "there is a robot at " << address;
        } catch (const KVError& error) {
            EXPECT_TRUE(error.cause() == KVError::Cause::TimedOut ||
                        error.cause() == KVError::Cause::NoRoute)
                << error.toString();
        }
        // The system itself would try for two minutes.
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(5 * a_timeOut));
    }

    static bool canConnect(const std::string& address) {
        try {
            const auto broker = KVBroker::createBroker({"Back"});
            KVProxy proxy("KVMemory", address, a_port, broker, a_timeOut, 0);
            return proxy.call<std::string>("getData", std::string("Robaxi/Kind")) == "robot";
        } catch (const KVError&) {
            return false;
        }
    }

    /**
     * Injects a fault into busy clients and removes it, several times.
     *
     * @param mend makes a robot reachable at the robot's address again
     */
    static void expectNothingLeftOf(const std::function<void()>& fault,
                                    const std::function<void()>& mend,
                                    std::chrono::milliseconds longest = a_longestSilence) {
        constexpr int rounds = 2;
        const auto happen = [&] {
            Visit visit;
            ASSERT_TRUE(visit.isInFullSwing());
            fault();
            visit.expectLossWithin(longest);
            mend();
            ASSERT_TRUE(eventually([] { return canConnect(a_address); }));
        };
        happen();
        const std::string robot = robotProcess();
        ASSERT_FALSE(robot.empty());
        const Holdings ownBefore = ownHoldings();
        const Holdings robotsBefore = awaitRobotWithoutVisitors(robot);
        for (int round = 0; round < rounds && !HasFatalFailure(); ++round) {
            happen();
        }
        EXPECT_TRUE(eventually([&] { return isBackAt(ownBefore, ownHoldings()); }))
            << "here: " << ownHoldings() << "; before: " << ownBefore;
        if (robotProcess() == robot) {
            EXPECT_TRUE(eventually([&] { return isBackAt(robotsBefore, holdingsOf(robot)); }))
                << "at the robot: " << holdingsOf(robot) << "; before: " << robotsBefore;
        }
    }

    /** Returns the robot's resources after the sessions of silent clients have ended. */
    static Holdings awaitRobotWithoutVisitors(const std::string& robot) {
        EXPECT_TRUE(eventually([&] { return countConnectionsOf(robot) == 0; }));
        return holdingsOf(robot);
    }

    /**
     * Returns the number of established connections in the robot's network, all of which are the
     * robot's.
     */
    static std::size_t countConnectionsOf(const std::string& robot) {
        std::size_t count = 0;
        for (const char* table : {"/net/tcp", "/net/tcp6"}) {
            std::ifstream file("/proc/" + robot + table);
            for (std::string line; std::getline(file, line);) {
                constexpr const char* established = " 01 ";
                count += static_cast<std::size_t>(line.find(established) != std::string::npos);
            }
        }
        return count;
    }

    static std::size_t residentKilobytes(const std::string& process) {
        std::ifstream file("/proc/" + process + "/status");
        std::string word;
        while (file >> word && word != "VmRSS:") {
        }
        std::size_t kilobytes = 0;
        file >> kilobytes;
        return kilobytes;
    }
};

/** A program on a separate host that watches all values of the robot. */
class Visitor {
  public:
    /** @param reader command that reads its output */
    explicit Visitor(const std::string& reader, std::string host = "visitor")
        : fHost(std::move(host)) {
        control({"add", fHost, "--ready", "watching", "--", "sh", "-c",
                 std::string("echo watching; ") + obvista_test::builtFile("bin/robaxi") +
                     " watch --rate 1000 " + a_address + " 'Load/*' | " + reader});
    }
    ~Visitor() { control({"kill", fHost}); }
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    /** The robot receives no notice of its end. */
    void pullCable() const { control({"link", fHost, "down"}); }
    void stop() const { control({"exec", fHost, "--", "pkill", "-STOP", "-x", "robaxi"}); }

  private:
    const std::string fHost;
};

}  // namespace

TEST_F(Faults, ARobotIsKilledAndStartsAgainOnTheSamePort) {
    std::unique_ptr<ChildProcess> restarted;
    const auto restart = [&restarted] {
        restarted = std::make_unique<ChildProcess>(
            lab::controlCommand({"exec", a_host, "--", RobotProcess::program(), "--address",
                                 "0.0.0.0", "--port", std::to_string(a_port), "--http-port", "0",
                                 "--no-announce", "--keys", "2000", "--changing", "2000"}));
        ASSERT_TRUE(restarted->waitForOutput("listens on")) << restarted->errors();
    };
    expectNothingLeftOf([] { signalRobot("KILL"); }, restart, std::chrono::seconds(1));
}

TEST_F(Faults, ARobotIsStoppedAndGoesOn) {
    expectNothingLeftOf([] { signalRobot("STOP"); }, [] { signalRobot("CONT"); });
}

TEST_F(Faults, ACableIsPulledAndPluggedInAgain) {
    expectNothingLeftOf(
        [] {
            control({"link", a_host, "down"});
        },
        [] {
            expectConnectError(a_address);
            control({"link", a_host, "up"});
        });
}

TEST_F(Faults, ARobotComesBackThatKnowsNothingOfTheConnection) {
    expectNothingLeftOf(
        [] {
            control({"link", a_host, "down"});
            killHost();
            addHost();
        },
        [] {});
}

TEST_F(Faults, AnAddressChangesAndChangesBack) {
    expectNothingLeftOf(
        [] {
            control({"address", a_host, a_otherAddress});
        },
        [] {
            EXPECT_TRUE(eventually([] { return canConnect(a_otherAddress); }));
            expectConnectError(a_address);
            control({"address", a_host, a_address});
        });
}

TEST_F(Faults, VisitorsVanishWithoutAWord) {
    const std::string robot = robotProcess();
    const Holdings before = holdingsOf(robot);
    const Visitor one("cat >/dev/null", "visitor1");
    const Visitor another("cat >/dev/null", "visitor2");
    ASSERT_TRUE(eventually([&] { return countConnectionsOf(robot) == 2; }));
    one.pullCable();
    another.pullCable();
    EXPECT_TRUE(eventually([&] { return countConnectionsOf(robot) == 0; }));
    EXPECT_TRUE(eventually([&] { return isBackAt(before, holdingsOf(robot)); }))
        << holdingsOf(robot) << "; before: " << before;
}

TEST_F(Faults, AVisitorStops) {
    const std::string robot = robotProcess();
    const Holdings before = holdingsOf(robot);
    const Visitor visitor("cat >/dev/null");
    ASSERT_TRUE(eventually([&] { return countConnectionsOf(robot) != 0; }));
    visitor.stop();
    EXPECT_TRUE(eventually([&] { return countConnectionsOf(robot) == 0; }));
    EXPECT_TRUE(eventually([&] { return isBackAt(before, holdingsOf(robot)); }))
        << holdingsOf(robot) << "; before: " << before;
}

TEST_F(Faults, AVisitorReadsTooSlowly) {
    const std::string robot = robotProcess();
    const Visitor slow("{ sleep 1000; cat; }");
    ASSERT_TRUE(eventually([&] { return countConnectionsOf(robot) != 0; }));
    Visit quick;
    ASSERT_TRUE(quick.isInFullSwing());
    const std::size_t before = residentKilobytes(robot);
    // During three seconds 300,000 values change: five megabytes, if they were queued.
    ASSERT_TRUE(quick.waitForUpdates(150));
    constexpr std::size_t mostKilobytes = 2048;
    if (!keepsFreedMemory()) {
        EXPECT_LT(residentKilobytes(robot), before + mostKilobytes);
    }
    EXPECT_EQ(countConnectionsOf(robot), 2U) << "slowness is no loss";
}
