// A robot that is out of reach for some seconds: with the carrier down, and with packets dropped
// silently. All cases run at the same time, each with a robot on a separate host.
#include "lab_network.h"
#include "lab_robot.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_subscription.h>

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
using lab::control;
using obvista_test::lab::addBusyRobot;

constexpr int a_port = 9559;
constexpr int a_timeOut = 5;  // seconds
constexpr std::chrono::seconds a_patience{30};
/**
 * Seconds until values flow again. On an idle machine 0.3, and up to 1 if the robot's carrier was
 * down: its system asks for the program's hardware address once a second. TCP alone would need 5.7
 * after packets were dropped for 8 s.
 */
constexpr double a_soon = 4;

/** A robot on a separate host, and a program that watches its values. */
class Visit {
  public:
    Visit(std::string host, std::string address)
        : fHost(std::move(host)), fAddress(std::move(address)) {
        addBusyRobot(fHost, fAddress, a_port, 20);
        fConnection = KVConnection::open(fBroker, fAddress, a_port, a_timeOut);
        fConnection->setLostHandler([this](const KVError&) { xNote([this] { fIsLost = true; }); });
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [this](const std::vector<KVChange>&) {
            xNote([this] { ++fUpdates; });
        };
        callbacks.fEnded = [this](const KVError&) { xNote([this] { fHasEnded = true; }); };
        fSubscription = KVSubscription::start(
            fConnection, "KVMemory", KVSubscription::Selection::AllKeys, 50, std::move(callbacks));
    }

    ~Visit() {
        fConnection->setLostHandler(nullptr);
        fSubscription->stop();
        control({"kill", fHost});
    }
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;

    void setLink(const std::string& state) { control({"link", fHost, state}); }

    /** Returns the seconds until the second next update; negative if there is none. */
    double secondsUntilUpdates() {
        const auto start = Clock::now();
        std::unique_lock lock(fMutex);
        const int wanted = fUpdates + 2;
        if (!fChanged.wait_for(lock, a_patience, [&] { return fUpdates >= wanted; })) {
            return -1;
        }
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    bool hasEnded() {
        const std::lock_guard lock(fMutex);
        return fIsLost || fHasEnded;
    }

    /** Returns true if a call is answered. */
    bool isAnswered() {
        KVProxy proxy("KVMemory", fAddress, a_port, fBroker, a_timeOut, 0);
        return proxy.call<std::string>("getData", std::string("Robaxi/Kind")) == "robot";
    }

  private:
    template <class Change>
    void xNote(const Change& change) {
        const std::lock_guard lock(fMutex);
        change();
        fChanged.notify_all();
    }

    const std::string fHost;
    const std::string fAddress;
    std::mutex fMutex;
    std::condition_variable fChanged;
    int fUpdates = 0;
    bool fIsLost = false;
    bool fHasEnded = false;
    boost::shared_ptr<KVBroker> fBroker = KVBroker::createBroker({"Visitor"});
    std::shared_ptr<KVConnection> fConnection;
    std::shared_ptr<KVSubscription> fSubscription;
};

/** A link that is cut for some time. */
struct Cut {
    const char* fHost;
    const char* fAddress;
    const char* fHow;
    std::chrono::seconds fTime;
};

/** The program's view of it. */
struct Outcome {
    bool fHasEnded = false;    // during the cut
    double fUntilUpdates = 0;  // seconds after it
    bool fIsAnswered = false;
};

Outcome experience(Visit& visit, const Cut& cut) {
    Outcome outcome;
    visit.setLink(cut.fHow);
    std::this_thread::sleep_for(cut.fTime);  // the fault itself
    outcome.fHasEnded = visit.hasEnded();
    visit.setLink("up");
    if (!outcome.fHasEnded) {
        outcome.fUntilUpdates = visit.secondsUntilUpdates();
        outcome.fIsAnswered = visit.isAnswered();
    }
    return outcome;
}

}  // namespace

TEST(Silence, OfALinkEndsWithItAndIsALossAfterTenSeconds) {
    using std::chrono::seconds;
    const std::vector<Cut> cuts{
        {"one-down", "10.77.60.1", "down", seconds(1)},
        {"one-drop", "10.77.60.2", "drop", seconds(1)},
        {"three-down", "10.77.60.3", "down", seconds(3)},
        {"three-drop", "10.77.60.4", "drop", seconds(3)},
        {"eight-down", "10.77.60.5", "down", seconds(8)},
        {"eight-drop", "10.77.60.6", "drop", seconds(8)},
        {"twelve-down", "10.77.60.7", "down", seconds(12)},
        {"twelve-drop", "10.77.60.8", "drop", seconds(12)},
    };
    std::vector<std::unique_ptr<Visit>> visits;
    for (const Cut& cut : cuts) {
        visits.push_back(std::make_unique<Visit>(cut.fHost, cut.fAddress));
        ASSERT_GE(visits.back()->secondsUntilUpdates(), 0);
    }
    std::vector<std::future<Outcome>> outcomes;
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        outcomes.push_back(std::async(std::launch::async, [&visit = *visits[i], &cut = cuts[i]] {
            return experience(visit, cut);
        }));
    }
    for (std::size_t i = 0; i < cuts.size(); ++i) {
        const Outcome outcome = outcomes[i].get();
        SCOPED_TRACE(cuts[i].fHost);
        RecordProperty(cuts[i].fHost, std::to_string(outcome.fUntilUpdates));
        if (cuts[i].fTime > seconds(10)) {
            EXPECT_TRUE(outcome.fHasEnded);
            continue;
        }
        EXPECT_FALSE(outcome.fHasEnded) << "the session survives";
        EXPECT_GE(outcome.fUntilUpdates, 0);
        EXPECT_LT(outcome.fUntilUpdates, a_soon);
        EXPECT_TRUE(outcome.fIsAnswered);
        std::printf("%s: values after %.2f s\n", cuts[i].fHost, outcome.fUntilUpdates);
    }
}
