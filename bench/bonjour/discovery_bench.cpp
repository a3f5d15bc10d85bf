// Measures the time from a robot's announcement to its entry in the discovery map, from its goodbye
// to its removal, and from the start of a new Avahi daemon to the complete map, compared with
// avahi-browse in the same run. A robot is a host of a lab that runs "avahi-publish".
//
//   lab/run -- build/release/bench/bonjour_discovery_bench [ROBOTS]

#include "browse_peer.h"
#include "child_process.h"
#include "lab_control.h"
#include "sighting_times.h"

#include <bonjour/bonjour_discovery.h>

#include <boost/signals2/connection.hpp>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using bench::BrowsePeer;
using bench::Clock;
using bench::SightingTimes;
using KV::BonjourDiscovery;
using obvista_test::ChildProcess;
using obvista_test::lab::control;
using obvista_test::lab::controlCommand;

using Profile = boost::shared_ptr<KV::BonjourProfile>;
using Times = std::map<std::string, Clock::time_point>;

constexpr std::chrono::seconds a_patience(60);

/** A host of the lab that announces itself on request. */
class Robot {
  public:
    explicit Robot(const std::string& name) : fName(name) { control({"add", fName}); }

    const std::string& name() const { return fName; }

    /** Starts announcing the robot. The child ends with the thread that calls this. */
    void announce() {
        fAnnouncement = std::make_unique<ChildProcess>(
            controlCommand({"exec", fName, "--", "avahi-publish", "-s", fName,
                            BonjourDiscovery::fRobaxServiceType, "9559"}));
    }

    /** Returns the time at which the robot's daemon has announced it. */
    Clock::time_point waitForAnnouncement() {
        if (!fAnnouncement->waitForErrors("Established")) {
            throw std::runtime_error(fName + " is not announced: " + fAnnouncement->errors());
        }
        return Clock::now();
    }

    /** Ends the announcement, and returns the time of the goodbye. */
    Clock::time_point sayGoodbye() {
        fAnnouncement->signal(SIGTERM);
        if (!fAnnouncement->waitForErrors("Got SIGTERM")) {
            throw std::runtime_error(fName + " says no goodbye: " + fAnnouncement->errors());
        }
        return Clock::now();
    }

  private:
    std::string fName;
    std::unique_ptr<ChildProcess> fAnnouncement;
};

using Robots = std::vector<std::unique_ptr<Robot>>;

Robots makeRobots(int count) {
    Robots robots;
    for (int number = 1; number <= count; ++number) {
        robots.push_back(std::make_unique<Robot>("bench" + std::to_string(number)));
    }
    return robots;
}

/** Runs an action on all robots at once, and returns the time of each. */
Times letAll(const Robots& robots, const std::function<Clock::time_point(Robot&)>& action) {
    std::map<std::string, std::future<Clock::time_point>> pending;
    for (const auto& robot : robots) {
        pending[robot->name()] =
            std::async(std::launch::async, [&action, &robot] { return action(*robot); });
    }
    Times times;
    for (auto& [name, future] : pending) {
        times[name] = future.get();
    }
    return times;
}

double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

Times allAt(const Robots& robots, Clock::time_point time) {
    Times times;
    for (const auto& robot : robots) {
        times[robot->name()] = time;
    }
    return times;
}

/** Prints the figures of one line; requires a time for every robot. */
void print(const char* what, const Times& starts, const Times& ends) {
    std::vector<double> figures;
    for (const auto& [name, start] : starts) {
        const auto end = ends.find(name);
        if (end == ends.end()) {
            throw std::runtime_error(std::string(what) + ": " + name + " is missing");
        }
        figures.push_back(milliseconds(end->second - start));
    }
    std::sort(figures.begin(), figures.end());
    const auto at = [&figures](double share) {
        return figures[static_cast<std::size_t>(share * static_cast<double>(figures.size() - 1))];
    };
    std::printf("%-46s %9.0f %9.0f %9.0f\n", what, at(0.5), at(0.95), at(1.0));
}

/** Records the times of changes of the discovery map, in the library's signals. */
class MapTimes {
  public:
    MapTimes()
        : fAddConnection(BonjourDiscovery::fAddProfile.connect(
              [this](const Profile& profile) { fAdded.add(xRobotOf(*profile)); })),
          fRemoveConnection(BonjourDiscovery::fRemoveProfile.connect(
              [this](const Profile& profile) { fRemoved.add(xRobotOf(*profile)); })) {
        BonjourDiscovery::startListening();
    }
    MapTimes(const MapTimes&) = delete;
    MapTimes& operator=(const MapTimes&) = delete;
    ~MapTimes() { BonjourDiscovery::stopListening(); }

    SightingTimes fAdded;
    SightingTimes fRemoved;

  private:
    static std::string xRobotOf(const KV::BonjourProfile& profile) {
        return profile.fHostName.substr(0, profile.fHostName.find('.'));
    }

    boost::signals2::scoped_connection fAddConnection;
    boost::signals2::scoped_connection fRemoveConnection;
};

void measureAnnouncement(const Robots& robots, MapTimes& map, BrowsePeer& peer) {
    for (const auto& robot : robots) {
        robot->announce();
    }
    const Times announced = letAll(robots, &Robot::waitForAnnouncement);
    print("announcement to the map", announced, map.fAdded.waitFor(robots.size(), a_patience));
    print("announcement to avahi-browse -r", announced,
          peer.fResolved.waitFor(robots.size(), a_patience));
}

void measureRestart(const Robots& robots, MapTimes& map) {
    control({"avahi", "stop"});
    map.fRemoved.waitFor(robots.size(), a_patience);
    map.fAdded.clear();
    map.fRemoved.clear();
    const Times started = allAt(robots, Clock::now());
    control({"avahi", "start"});
    const BrowsePeer peer(BonjourDiscovery::fRobaxServiceType);
    print("start of the daemon to the map", started, map.fAdded.waitFor(robots.size(), a_patience));
    print("start of the daemon to avahi-browse -r", started,
          peer.fResolved.waitFor(robots.size(), a_patience));
}

void measureGoodbye(const Robots& robots, MapTimes& map) {
    BrowsePeer peer(BonjourDiscovery::fRobaxServiceType);
    peer.fResolved.waitFor(robots.size(), a_patience);
    const Times gone = letAll(robots, &Robot::sayGoodbye);
    print("goodbye out of the map", gone, map.fRemoved.waitFor(robots.size(), a_patience));
    print("goodbye out of avahi-browse -r", gone, peer.fRemoved.waitFor(robots.size(), a_patience));
}

void run(int count) {
    const Robots robots = makeRobots(count);
    MapTimes map;
    std::printf("%-46s %9s %9s %9s\n",
                (std::to_string(count) + " robots, times in milliseconds").c_str(), "median",
                "95 %", "worst");
    {
        BrowsePeer peer(BonjourDiscovery::fRobaxServiceType);
        measureAnnouncement(robots, map, peer);
    }
    measureRestart(robots, map);
    measureGoodbye(robots, map);
    std::printf(
        "Targets at 95 %%: map 1000, full map 3000, removal 1000. A goodbye takes effect "
        "after one second\nby the rules of multicast DNS, in the daemon, for everybody.\n");
}

}  // namespace

int main(int argc, char** argv) {
    try {
        run(argc > 1 ? std::max(1, std::atoi(argv[1])) : 50);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
    return EXIT_SUCCESS;
}
