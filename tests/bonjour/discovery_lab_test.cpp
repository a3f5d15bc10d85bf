#include "discovery_recorder.h"
#include "eventually.h"
#include "lab_network.h"
#include "process_figures.h"
#include "project_files.h"

#include <bonjour/bonjour_discovery.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <signal.h>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using KV::BonjourDiscovery;
using KV::BonjourProfile;
using obvista_test::countDescriptors;
using obvista_test::countThreads;
using obvista_test::eventually;
using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Profile = boost::shared_ptr<BonjourProfile>;

const std::string a_robot = BonjourDiscovery::fRobaxServiceType;
const std::string a_middleware = BonjourDiscovery::fRobaxiServiceType;

/** Time-out of a call to a daemon that hangs. */
constexpr seconds a_callToTheDaemon(25);
/** Much longer than stopping takes, since processors may be busy, but shorter than such a call. */
constexpr seconds a_ending(15);

std::string exceptionOfStart() {
    try {
        BonjourDiscovery::startListening();
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

/** Adds a second interface to the test's host, connected to the same network. */
class SecondInterface {
  public:
    SecondInterface() {
        EXPECT_EQ(lab::run({"ip", "link", "add", "link", "eth0", "name", "eth1", "type", "macvlan",
                            "mode", "bridge"})
                      .fStatus,
                  0);
        EXPECT_EQ(lab::run({"ip", "address", "add", "10.77.0.2/16", "dev", "eth1"}).fStatus, 0);
        EXPECT_EQ(lab::run({"ip", "link", "set", "eth1", "up"}).fStatus, 0);
    }
    SecondInterface(const SecondInterface&) = delete;
    SecondInterface& operator=(const SecondInterface&) = delete;
    ~SecondInterface() { remove(); }
    void remove() {
        if (fThere) {
            EXPECT_EQ(lab::run({"ip", "link", "delete", "eth1"}).fStatus, 0);
            fThere = false;
        }
    }

  private:
    bool fThere = true;
};

/** Announces and withdraws services of a host, one after another, until it is destroyed. */
class Churn {
  public:
    Churn(const lab::Host& host, const std::string& type, int firstPort)
        : fThread([this, &host, type, firstPort] {
              for (int round = 0; !fEnding; ++round) {
                  const auto process = host.announce(type, firstPort + round % 3);
                  std::this_thread::sleep_for(milliseconds(400 + 137 * (round % 5)));
              }
          }) {}
    Churn(const Churn&) = delete;
    Churn& operator=(const Churn&) = delete;
    ~Churn() {
        fEnding = true;
        fThread.join();
    }

  private:
    std::atomic<bool> fEnding = {false};
    std::thread fThread;
};

class DiscoveryLab : public testing::Test {
  protected:
    // Threads and descriptors of a search that was stopped may outlive the call that stopped it, by
    // little on an idle machine. So that each test counts only its own, it begins when there are no
    // more than before the first one.
    void SetUp() override {
        static const std::size_t threads = countThreads();
        static const std::size_t descriptors = countDescriptors();
        ASSERT_TRUE(eventually(
            [] { return countThreads() <= threads && countDescriptors() <= descriptors; }));
    }
    ~DiscoveryLab() override { BonjourDiscovery::stopListening(); }

    DiscoveryRecorder fRecorder;
};

TEST_F(DiscoveryLab, aRobotThatIsAnnouncedIsInTheMapUntilItsGoodbye) {
    const lab::Host host("robot1");
    BonjourDiscovery::startListening();
    auto announcement = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot1.local", "_robax._tcp:9559"));
    const HostView view = viewMap().at("robot1.local");
    EXPECT_EQ(view.fHostName, "robot1.local");
    EXPECT_EQ(view.fProfile->fKey, "robot1.local");
    EXPECT_EQ(view.fIP, "") << "the users of the library look addresses up";

    announcement.reset();
    ASSERT_TRUE(fRecorder.waitForNoHost("robot1.local"));
    const auto events = fRecorder.eventsOf("robot1.local");
    ASSERT_EQ(events.size(), 2U);
    EXPECT_TRUE(events[0].fAdded);
    EXPECT_FALSE(events[1].fAdded);
    EXPECT_EQ(events[0].fProfile, events[1].fProfile);
}

TEST_F(DiscoveryLab, aRobotThatWasThereBeforeIsFound) {
    const lab::Host host("robot2");
    const auto announcement = host.announce(a_robot, 9559);
    ASSERT_TRUE(eventually([] { return lab::countBrowsed(a_robot, "eth0") > 0; }));
    BonjourDiscovery::startListening();
    EXPECT_TRUE(fRecorder.waitForHost("robot2.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, gainedAndLostServicesUpdateTheProfileInPlace) {
    const lab::Host host("robot3");
    BonjourDiscovery::startListening();
    auto robot = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot3.local", "_robax._tcp:9559"));
    const Profile profile = viewMap().at("robot3.local").fProfile;
    {
        const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
        profile->fIP = "10.77.3.3";
    }

    const auto middleware = host.announce(a_middleware, 9560);
    ASSERT_TRUE(fRecorder.waitForHost("robot3.local", "_robax._tcp:9559 _robaxi._tcp:9560"));
    robot.reset();
    ASSERT_TRUE(fRecorder.waitForHost("robot3.local", "_robaxi._tcp:9560"));

    EXPECT_EQ(viewMap().at("robot3.local").fProfile, profile);
    EXPECT_EQ(viewMap().at("robot3.local").fIP, "10.77.3.3");
    EXPECT_THAT(fRecorder.wordsOf("robot3.local"),
                ElementsAre("+ _robax._tcp:9559", "+ _robax._tcp:9559 _robaxi._tcp:9560",
                            "+ _robaxi._tcp:9560"));
    for (const DiscoveryRecorder::Event& event : fRecorder.eventsOf("robot3.local")) {
        EXPECT_EQ(event.fProfile, profile);
    }
}

TEST_F(DiscoveryLab, aRobotThatComesBackIsANewProfileWithoutAnAddress) {
    const lab::Host host("robot4");
    BonjourDiscovery::startListening();
    auto announcement = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot4.local", "_robax._tcp:9559"));
    const Profile before = viewMap().at("robot4.local").fProfile;
    {
        const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
        before->fIP = "10.77.3.4";
    }
    announcement.reset();
    ASSERT_TRUE(fRecorder.waitForNoHost("robot4.local"));
    announcement = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot4.local", "_robax._tcp:9559"));
    const HostView after = viewMap().at("robot4.local");
    EXPECT_NE(after.fProfile, before);
    EXPECT_EQ(after.fIP, "");
}

TEST_F(DiscoveryLab, aRobotThatChangesItsAddressIsANewProfileWithoutOne) {
    const lab::Host host("robot29");
    const auto announcement = host.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    ASSERT_TRUE(fRecorder.waitForHost("robot29.local", "_robax._tcp:9559"));
    const Profile before = viewMap().at("robot29.local").fProfile;
    const std::string addressBefore = lab::addressOf("robot29.local");
    {
        const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
        before->fIP = addressBefore;
    }
    // The search receives the address before a service that is announced after it.
    const auto later = host.announce(a_middleware, 9560);
    ASSERT_TRUE(fRecorder.waitForHost("robot29.local", "_robax._tcp:9559 _robaxi._tcp:9560"));
    lab::control({"address", "robot29", "10.77.99.29"});
    ASSERT_TRUE(fRecorder.waitForMap([&before](const MapView& map) {
        const auto found = map.find("robot29.local");
        return found != map.end() && found->second.fProfile != before;
    }));
    EXPECT_EQ(viewMap().at("robot29.local").fIP, "");
    EXPECT_THAT(fRecorder.wordsOf("robot29.local"),
                ElementsAre("+ _robax._tcp:9559", "+ _robax._tcp:9559 _robaxi._tcp:9560", "-",
                            "+ _robax._tcp:9559 _robaxi._tcp:9560"));
    EXPECT_EQ(lab::addressOf("robot29.local"), "10.77.99.29")
        << "whoever looks it up now finds the new one";
}

TEST_F(DiscoveryLab, aServiceSeenOnTwoInterfacesIsOneAndOutlivesOneOfThem) {
    SecondInterface second;
    const lab::Host host("robot5");
    BonjourDiscovery::startListening();
    auto announcement = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot5.local", "_robax._tcp:9559"));
    ASSERT_TRUE(eventually([] {
        return lab::countBrowsed(a_robot, "eth0") == 2 && lab::countBrowsed(a_robot, "eth1") == 2;
    })) << "IPv4 and IPv6 on both";

    second.remove();
    ASSERT_TRUE(eventually([] { return lab::countBrowsed(a_robot, "eth1") == 0; }));
    // An announcement after the loss is received after it.
    const auto later = host.announce(a_middleware, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot5.local", "_robax._tcp:9559 _robaxi._tcp:9559"));
    EXPECT_THAT(fRecorder.wordsOf("robot5.local"),
                ElementsAre("+ _robax._tcp:9559", "+ _robax._tcp:9559 _robaxi._tcp:9559"));
}

TEST_F(DiscoveryLab, aChangedPortAndHostNameAreFollowed) {
    const lab::Host host("robot6");
    BonjourDiscovery::startListening();
    auto announcement = host.announce(a_middleware, 9559, "Robot six");
    ASSERT_TRUE(fRecorder.waitForHost("robot6.local", "_robaxi._tcp:9559"));
    announcement.reset();
    announcement = host.announce(a_middleware, 9560, "Robot six");
    ASSERT_TRUE(fRecorder.waitForHost("robot6.local", "_robaxi._tcp:9560"));
    announcement.reset();
    announcement = host.announce(a_middleware, 9560, "Robot six", "six.local");
    ASSERT_TRUE(fRecorder.waitForHost("six.local", "_robaxi._tcp:9560"));
    EXPECT_TRUE(fRecorder.waitForNoHost("robot6.local"));
}

TEST_F(DiscoveryLab, aServiceThatChangesWithoutAGoodbyeIsFollowedInPlace) {
    const lab::Host host("robot7");
    const lab::Host successor("successor7");
    const auto announceFrom = [](const lab::Host& from, const std::string& port) {
        return from.announceRaw({"1", "60", "60", "_robaxi._tcp.local", "Seven._robaxi._tcp.local",
                                 "seven.local", port});
    };
    BonjourDiscovery::startListening();
    const auto before = announceFrom(host, "9559");
    ASSERT_TRUE(fRecorder.waitForHost("seven.local", "_robaxi._tcp:9559"));
    const Profile profile = viewMap().at("seven.local").fProfile;

    lab::control({"link", "robot7", "drop"});
    const auto changed = announceFrom(successor, "9560");
    ASSERT_TRUE(fRecorder.waitForHost("seven.local", "_robaxi._tcp:9560"));
    EXPECT_EQ(viewMap().at("seven.local").fProfile, profile);
    EXPECT_THAT(fRecorder.wordsOf("seven.local"),
                ElementsAre("+ _robaxi._tcp:9559", "+ _robaxi._tcp:9560"));
}

// A robot whose plug was pulled sends no goodbye, and the pointer to its service stays valid for
// more than an hour. Host and port of the service expire much sooner.
TEST_F(DiscoveryLab, aHostThatAnswersNoMoreIsRemovedAndFoundAgain) {
    const lab::Host host("robot8");
    BonjourDiscovery::startListening();
    const auto announcement = host.announceRaw(
        {"1", "60", "2", "_robax._tcp.local", "Eight._robax._tcp.local", "eight.local", "9559"});
    ASSERT_TRUE(fRecorder.waitForHost("eight.local", "_robax._tcp:9559"));
    lab::control({"link", "robot8", "drop"});
    ASSERT_TRUE(fRecorder.waitForNoHost("eight.local"));
    lab::control({"link", "robot8", "up"});
    EXPECT_TRUE(fRecorder.waitForHost("eight.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, hostileAnnouncementsAreLeftOutOrMadeSafe) {
    const lab::Host host("robot9");
    const std::string longLabel(63, 'x');
    const std::string longName = longLabel + "." + longLabel + "." + longLabel + "." +
                                 std::string(253 - 3 * 64 - 6, 'y') + ".local";
    std::vector<std::unique_ptr<lab::Process>> announcements;
    const auto announce = [&](const std::string& instance, const std::string& target,
                              const std::string& port) {
        announcements.push_back(
            host.announceRaw({"1", "60", "60", "_robax._tcp.local", instance, target, port}));
    };
    announce("literal4._robax._tcp.local", "192.168.1.12", "9559");
    announce("literal6._robax._tcp.local", "fe80\\058\\0581", "9559");
    announce("noport._robax._tcp.local", "noport.local", "0");
    announce("foreign._http._tcp.local", "foreign.local", "80");
    announce("bytes._robax._tcp.local", "bytes\\255.local", "9559");
    announce("bad._robax._tcp.local", "<b>\\010.local", "9559");
    announce("long._robax._tcp.local", longName, "65535");
    BonjourDiscovery::startListening();

    EXPECT_TRUE(fRecorder.waitForHost("<b>\xEF\xBF\xBD.local", "_robax._tcp:9559"));
    EXPECT_TRUE(fRecorder.waitForHost(longName, "_robax._tcp:65535"));
    ASSERT_TRUE(eventually([] {
        return lab::areBrowsed(
            a_robot, {"literal4", "literal6", "noport", "foreign", "bytes", "bad", "long"});
    }));
    // An announcement after all of them is received after them.
    const auto sentinel = host.announce(a_robot, 9559);
    ASSERT_TRUE(fRecorder.waitForHost("robot9.local", "_robax._tcp:9559"));
    const MapView map = viewMap();
    for (const char* const unwanted :
         {"192.168.1.12", "fe80::1", "noport.local", "foreign.local"}) {
        EXPECT_EQ(map.count(unwanted), 0U) << unwanted;
    }
}

// The daemon gives one client some thousand resolvers, and no more.
TEST_F(DiscoveryLab, moreRobotsThanOneClientMayFollowAreFound) {
    constexpr std::size_t robots = 1100;
    const lab::Host host("robot10");
    BonjourDiscovery::startListening();
    auto crowd = host.announceRaw({std::to_string(robots), "120", "120", "_robax._tcp.local",
                                   "crowd%._robax._tcp.local", "crowd%.local", "9559"});
    EXPECT_TRUE(eventually([] { return mapSize() >= robots; }, seconds(120)));
    crowd.reset();
    // The daemon may miss some of so many goodbyes; a restart clears its cache.
    lab::control({"avahi", "restart"});
    EXPECT_TRUE(eventually([] { return mapSize() == 0; }, seconds(120)));
}

TEST_F(DiscoveryLab, aRestartOfTheDaemonEmptiesTheMapAndFillsItAgain) {
    const lab::Host host("robot11");
    const lab::Host other("robot12");
    const auto announcement = host.announce(a_robot, 9559);
    const auto otherAnnouncement = other.announce(a_middleware, 9559);
    BonjourDiscovery::startListening();
    ASSERT_TRUE(fRecorder.waitForHost("robot11.local", "_robax._tcp:9559"));
    ASSERT_TRUE(fRecorder.waitForHost("robot12.local", "_robaxi._tcp:9559"));
    const Profile before = viewMap().at("robot11.local").fProfile;

    lab::control({"avahi", "stop"});
    ASSERT_TRUE(fRecorder.waitForMap([](const MapView& map) { return map.empty(); }));
    lab::control({"avahi", "start"});
    ASSERT_TRUE(fRecorder.waitForHost("robot11.local", "_robax._tcp:9559"));
    ASSERT_TRUE(fRecorder.waitForHost("robot12.local", "_robaxi._tcp:9559"));
    EXPECT_NE(viewMap().at("robot11.local").fProfile, before);
    EXPECT_THAT(fRecorder.wordsOf("robot11.local"),
                ElementsAre("+ _robax._tcp:9559", "-", "+ _robax._tcp:9559"));
}

TEST_F(DiscoveryLab, aDaemonThatIsKilledIsSurvivedTimeAndAgain) {
    const lab::Host host("robot13");
    const auto announcement = host.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    for (int round = 0; round < 3; ++round) {
        ASSERT_TRUE(fRecorder.waitForHost("robot13.local", "_robax._tcp:9559"));
        lab::control({"avahi", "kill"});
        ASSERT_TRUE(fRecorder.waitForNoHost("robot13.local"));
        lab::control({"avahi", "start"});
    }
    EXPECT_TRUE(fRecorder.waitForHost("robot13.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, aRestartOfTheSystemBusIsSurvived) {
    const lab::Host host("robot14");
    const auto announcement = host.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    ASSERT_TRUE(fRecorder.waitForHost("robot14.local", "_robax._tcp:9559"));

    const lab::Result answer = lab::run(
        {"dbus-send", "--system", "--print-reply=literal", "--dest=org.freedesktop.DBus", "/",
         "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:org.freedesktop.DBus"});
    const std::size_t number = answer.fOutput.find("uint32 ");
    ASSERT_NE(number, std::string::npos) << answer.fOutput;
    lab::control({"avahi", "stop"});
    ASSERT_EQ(kill(std::stoi(answer.fOutput.substr(number + 7)), SIGTERM), 0);
    ASSERT_TRUE(fRecorder.waitForNoHost("robot14.local"));

    // The old bus removes the socket when it ends, even if it belongs to a new bus.
    ASSERT_TRUE(eventually([] { return access("/run/dbus/system_bus_socket", F_OK) != 0; }));
    const std::string configuration = std::string(std::getenv("OBVISTA_LAB")) + "/etc/bus.conf";
    ASSERT_EQ(lab::run({"dbus-daemon", "--config-file=" + configuration, "--fork", "--nopidfile"})
                  .fStatus,
              0);
    lab::control({"avahi", "start"});
    EXPECT_TRUE(fRecorder.waitForHost("robot14.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, startingWithADaemonThatHangsSaysSoAndMayBeTriedAgain) {
    const lab::Host host("robot15");
    const auto announcement = host.announce(a_robot, 9559);
    {
        const lab::PausedDaemon paused;
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_THAT(exceptionOfStart(), HasSubstr("Avahi daemon does not answer"));
        // It gives up after 5 s; what waits for the daemon itself takes longer than this.
        EXPECT_LT(std::chrono::steady_clock::now() - begin, a_callToTheDaemon);
    }
    BonjourDiscovery::startListening();
    EXPECT_TRUE(fRecorder.waitForHost("robot15.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, stoppingEndsAStartThatADaemonHoldsUp) {
    const lab::PausedDaemon paused;
    std::thread starter([] { BonjourDiscovery::startListening(); });
    std::chrono::steady_clock::duration longest{};
    std::atomic<bool> ended{false};
    std::thread waiter([&] {
        starter.join();
        ended = true;
    });
    // The start may not have begun yet; then there is nothing to stop.
    ASSERT_TRUE(eventually([&] {
        const auto begin = std::chrono::steady_clock::now();
        BonjourDiscovery::stopListening();
        longest = std::max(longest, std::chrono::steady_clock::now() - begin);
        return ended.load();
    }));
    waiter.join();
    EXPECT_LT(longest, a_ending);
}

TEST_F(DiscoveryLab, stoppingDoesNotWaitForADaemonThatHangsAfterTheStart) {
    const lab::Host host("robot30");
    const auto announcement = host.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    ASSERT_TRUE(fRecorder.waitForHost("robot30.local", "_robax._tcp:9559"));
    {
        const lab::PausedDaemon paused;
        const auto begin = std::chrono::steady_clock::now();
        BonjourDiscovery::stopListening();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, a_ending);
        EXPECT_THAT(viewMap(), IsEmpty());
        // Another start does not wait for the end of the search that was left behind.
        EXPECT_THAT(exceptionOfStart(), HasSubstr("Avahi daemon does not answer"));
    }
    BonjourDiscovery::startListening();
    EXPECT_TRUE(fRecorder.waitForHost("robot30.local", "_robax._tcp:9559"));
    EXPECT_THAT(fRecorder.wordsOf("robot30.local"),
                ElementsAre("+ _robax._tcp:9559", "+ _robax._tcp:9559"));
}

TEST_F(DiscoveryLab, startingWithoutADaemonSaysSoAndMayBeTriedAgain) {
    lab::control({"avahi", "stop"});
    const std::size_t descriptors = countDescriptors();
    EXPECT_THAT(exceptionOfStart(), HasSubstr("the Avahi daemon is not running"));
    EXPECT_TRUE(eventually([&] { return countDescriptors() <= descriptors; }));
    lab::control({"avahi", "start"});
    EXPECT_EQ(exceptionOfStart(), "");
    const lab::Host host("robot31");
    const auto announcement = host.announce(a_robot, 9559);
    EXPECT_TRUE(fRecorder.waitForHost("robot31.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, stoppingEmptiesTheMapAndFiresNothing) {
    const lab::Host host("robot16");
    const auto announcement = host.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    ASSERT_TRUE(fRecorder.waitForHost("robot16.local", "_robax._tcp:9559"));
    BonjourDiscovery::stopListening();
    EXPECT_THAT(viewMap(), IsEmpty());
    EXPECT_THAT(fRecorder.wordsOf("robot16.local"), ElementsAre("+ _robax._tcp:9559"));

    BonjourDiscovery::startListening();
    EXPECT_TRUE(fRecorder.waitForHost("robot16.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, startingTwiceAndStoppingTwiceDoNothingMore) {
    const std::size_t threads = countThreads();
    BonjourDiscovery::startListening();
    const std::size_t threadsWithASearch = countThreads();
    BonjourDiscovery::startListening();
    EXPECT_TRUE(eventually([&] { return countThreads() <= threadsWithASearch; }));
    BonjourDiscovery::stopListening();
    BonjourDiscovery::stopListening();
    EXPECT_TRUE(eventually([&] { return countThreads() <= threads; }));
}

TEST_F(DiscoveryLab, startAndStopLeaveNoDescriptorAndNoThread) {
    const lab::Host host("robot17");
    const auto announcement = host.announce(a_robot, 9559);
    const std::size_t descriptors = countDescriptors();
    const std::size_t threads = countThreads();
    for (int round = 0; round < 50; ++round) {
        BonjourDiscovery::startListening();
        if (round % 10 == 0) {
            ASSERT_TRUE(fRecorder.waitForHost("robot17.local", "_robax._tcp:9559"));
        }
        BonjourDiscovery::stopListening();
    }
    EXPECT_TRUE(eventually([&] { return countDescriptors() <= descriptors; }));
    EXPECT_TRUE(eventually([&] { return countThreads() <= threads; }));
}

TEST_F(DiscoveryLab, noHandlerRunsAfterStoppingWhileAnnouncementsPourIn) {
    const lab::Host host("robot18");
    const auto crowd = host.announceRaw({"200", "120", "120", "_robax._tcp.local",
                                         "pour%._robax._tcp.local", "pour%.local", "9559"});
    std::atomic<bool> stopped = {true};
    std::atomic<int> calls = {0};
    std::atomic<int> late = {0};
    const auto connection = connectToAdd([&](const Profile&) {
        ++calls;
        late += stopped ? 1 : 0;
    });
    for (int round = 1; round <= 20; ++round) {
        stopped = false;
        const int before = calls;
        BonjourDiscovery::startListening();
        ASSERT_TRUE(fRecorder.waitForMap(
            [&](const MapView&) { return calls >= before + 1 + (round * 7) % 100; }));
        BonjourDiscovery::stopListening();
        stopped = true;
    }
    EXPECT_EQ(late, 0);
}

TEST_F(DiscoveryLab, stoppingWaitsForAHandlerThatIsSlow) {
    const lab::Host host("robot19");
    const auto announcement = host.announce(a_robot, 9559);
    std::atomic<bool> entered = {false};
    std::atomic<bool> released = {false};
    std::atomic<bool> left = {false};
    const auto connection = connectToAdd([&](const Profile&) {
        entered = true;
        EXPECT_TRUE(eventually([&] { return released.load(); }));
        left = true;
    });
    BonjourDiscovery::startListening();
    ASSERT_TRUE(eventually([&] { return entered.load(); }));
    std::thread stopper([&] {
        BonjourDiscovery::stopListening();
        EXPECT_TRUE(left);
    });
    released = true;
    stopper.join();
}

TEST_F(DiscoveryLab, stoppingFromAHandlerIsRefused) {
    const lab::Host host("robot20");
    const auto announcement = host.announce(a_robot, 9559);
    std::atomic<bool> refused = {false};
    const auto connection = connectToAdd([&](const Profile&) {
        EXPECT_THROW(BonjourDiscovery::stopListening(), std::logic_error);
        refused = true;
    });
    BonjourDiscovery::startListening();
    ASSERT_TRUE(eventually([&] { return refused.load(); }));
    EXPECT_TRUE(fRecorder.waitForHost("robot20.local", "_robax._tcp:9559"));
}

TEST_F(DiscoveryLab, aHandlerThatThrowsEndsNothing) {
    const lab::Host host("robot21");
    const lab::Host other("robot22");
    const auto connection =
        connectToAdd([](const Profile&) { throw std::runtime_error("trouble"); });
    testing::internal::CaptureStderr();
    BonjourDiscovery::startListening();
    const auto announcement = host.announce(a_robot, 9559);
    EXPECT_TRUE(fRecorder.waitForHost("robot21.local", "_robax._tcp:9559"));
    const auto later = other.announce(a_robot, 9559);
    EXPECT_TRUE(fRecorder.waitForHost("robot22.local", "_robax._tcp:9559"));
    BonjourDiscovery::stopListening();
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("bonjour: a handler failed: trouble\n"));
}

TEST_F(DiscoveryLab, startAndStopOnSeveralThreadsExcludeEachOther) {
    const lab::Host host("robot23");
    const auto announcement = host.announce(a_robot, 9559);
    const auto startAndStop = [] {
        for (int round = 0; round < 20; ++round) {
            BonjourDiscovery::startListening();
            BonjourDiscovery::stopListening();
        }
    };
    std::thread threads[] = {std::thread(startAndStop), std::thread(startAndStop),
                             std::thread(startAndStop)};
    for (std::thread& thread : threads) {
        thread.join();
    }
    BonjourDiscovery::startListening();
    EXPECT_TRUE(fRecorder.waitForHost("robot23.local", "_robax._tcp:9559"));
}

// Readers of the map, handlers and services all come and go at the same time.
TEST_F(DiscoveryLab, theMapIsTrueAfterAWhileOfChurn) {
    const lab::Host first("robot24");
    const lab::Host second("robot25");
    const lab::Host third("robot26");
    const auto constant = third.announce(a_robot, 9559);
    BonjourDiscovery::startListening();
    {
        const Churn churns[] = {{first, a_robot, 9559},
                                {first, a_middleware, 9600},
                                {second, a_middleware, 9700},
                                {third, a_middleware, 9800}};
        std::atomic<int> calls = {0};
        const auto end = std::chrono::steady_clock::now() + seconds(8);
        while (std::chrono::steady_clock::now() < end) {
            const auto connection = connectToAdd([&calls](const Profile&) { ++calls; });
            for (const auto& [key, view] : viewMap()) {
                EXPECT_EQ(key, view.fHostName);
                EXPECT_NE(view.fServices, "");
            }
        }
    }
    EXPECT_TRUE(fRecorder.waitForNoHost("robot24.local"));
    EXPECT_TRUE(fRecorder.waitForNoHost("robot25.local"));
    EXPECT_TRUE(fRecorder.waitForHost("robot26.local", "_robax._tcp:9559"));
}

int runForgetfulProgram(const lab::Arguments& arguments) {
    lab::Arguments command = {obvista_test::builtFile("tests/forgetful_program")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return lab::run(command).fStatus;
}

TEST_F(DiscoveryLab, aProgramThatForgetsToStopEndsInOrder) {
    const lab::Host host("robot27");
    const auto crowd = host.announceRaw({"100", "120", "120", "_robax._tcp.local",
                                         "forget%._robax._tcp.local", "forget%.local", "9559"});
    for (int round = 0; round < 30; ++round) {
        const std::string delay = std::to_string(round * 37 % 100);
        EXPECT_EQ(runForgetfulProgram({"main", delay}), 0) << delay << " ms";
        EXPECT_EQ(runForgetfulProgram({"starting", delay}), 0) << delay << " ms";
        EXPECT_EQ(runForgetfulProgram({"connecting", delay}), 0) << delay << " ms";
    }
}

TEST_F(DiscoveryLab, aHandlerMayEndTheProgram) {
    const lab::Host host("robot28");
    const auto announcement = host.announce(a_robot, 9559);
    EXPECT_EQ(runForgetfulProgram({"handler"}), 3);
}

}  // namespace
