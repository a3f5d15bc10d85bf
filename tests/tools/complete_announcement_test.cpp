#include "doctor/checks.h"

#include <bonjour/bonjour_discovery.h>

#include <gtest/gtest.h>

namespace robaxi_tool {
namespace {

using KV::BonjourDiscovery;
using Hosts = std::map<std::string, AnnouncedHost>;

AnnouncedHost robot(const std::string& hostName, const std::string& serviceName) {
    AnnouncedHost host;
    host.fHostName = hostName;
    host.fServices = {{BonjourDiscovery::fRobaxServiceType, 9559, serviceName},
                      {BonjourDiscovery::fRobaxiServiceType, 9559, serviceName}};
    host.fLookedUp = true;
    host.fAddresses = {"10.77.1.1"};
    return host;
}

bool isComplete(const std::string& name, const Hosts& hosts) {
    return completeAnnouncement({name, std::nullopt}, hosts) != nullptr;
}

TEST(CompleteAnnouncement, IsThatOfARobotWithTheNameOrTheAddress) {
    const Hosts hosts{{"buddy.local", robot("buddy.local", "Walker of Marie")},
                      {"robot1.local", robot("robot1.local", "robot1")}};
    for (const std::string name : {"robot1", "robot1.local", "Walker of Marie", "10.77.1.1"}) {
        EXPECT_TRUE(isComplete(name, hosts)) << name;
    }
    EXPECT_EQ("robot1.local", completeAnnouncement({"robot1", std::nullopt}, hosts)->fHostName);
    for (const std::string name : {"robot2", "robot2.local", "10.77.1.2"}) {
        EXPECT_FALSE(isComplete(name, hosts)) << name;
    }
}

// Another host may still announce a service with the name "buddy", which is then the one examined.
TEST(CompleteAnnouncement, NeedsMoreThanABareHostName) {
    EXPECT_FALSE(isComplete("buddy", {{"buddy.local", robot("buddy.local", "Walker of Marie")}}));
}

// Another name of the host is recognised by its addresses.
TEST(CompleteAnnouncement, HasTheAddressesOfTheHost) {
    AnnouncedHost host = robot("robot1.local", "robot1");
    host.fLookedUp = false;
    host.fAddresses.clear();
    EXPECT_FALSE(isComplete("robot1", {{"robot1.local", host}}));
}

// The other announcement may still arrive.
TEST(CompleteAnnouncement, IsOfARobotWithTheMiddleware) {
    AnnouncedHost host = robot("robot1.local", "robot1");
    host.fServices.pop_back();
    EXPECT_FALSE(isComplete("robot1.local", {{"robot1.local", host}}));
    host = robot("robot1.local", "robot1");
    host.fServices.erase(host.fServices.begin());
    EXPECT_FALSE(isComplete("robot1.local", {{"robot1.local", host}}));
}

}  // namespace
}  // namespace robaxi_tool
