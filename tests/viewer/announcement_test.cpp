#include <bonjour/bonjour_discovery.h>

#include <gtest/gtest.h>

#include <announced.h>
#include <announcement.h>

using obvista::announcedAt;
using obvista::placeOf;
using obvista::RobotPlace;
using obvista_test::Announced;

namespace {

const std::string& robaxi() {
    return KV::BonjourDiscovery::fRobaxiServiceType;
}

}  // namespace

TEST(Announcement, IsFoundByAddressAndPort) {
    Announced announced;
    announced.robot("marvin.local", 9559, "10.0.0.1");
    announced.robot("trillian.local", 9559, "10.0.0.2");
    const auto robot = announcedAt({"10.0.0.2", 9559});
    ASSERT_TRUE(robot);
    EXPECT_EQ(robot->fHostName, "trillian.local");
    EXPECT_TRUE(announcedAt({"marvin.local", 9559}));
    EXPECT_FALSE(announcedAt({"10.0.0.2", 9560}));
    EXPECT_FALSE(announcedAt({"10.0.0.2", 80}));
    EXPECT_FALSE(announcedAt({"10.0.0.3", 9559}));
}

TEST(Announcement, KeepsItsNameWhenTheRobotMoves) {
    Announced announced;
    announced.robot("marvin.local", 9559, "10.0.0.1");
    const auto robot = announcedAt({"10.0.0.1", 9559});
    ASSERT_TRUE(robot);
    announced.withdraw("marvin.local");
    EXPECT_FALSE(placeOf(*robot));
    announced.robot("marvin.local", 9560, "");
    EXPECT_TRUE(placeOf(*robot) == (RobotPlace{"", 9560})) << "its address is not known yet";
    announced.robot("marvin.local", 9560, "10.0.0.7");
    EXPECT_TRUE(placeOf(*robot) == (RobotPlace{"10.0.0.7", 9560}));
}

TEST(Announcement, DistinguishesRobotsOfOneHost) {
    Announced announced;
    announced.set("lab.local", {{robaxi(), 9559, "one"}, {robaxi(), 9560, "two"}}, "10.0.0.1");
    const auto second = announcedAt({"10.0.0.1", 9560});
    ASSERT_TRUE(second);
    announced.set("lab.local", {{robaxi(), 9561, "two"}, {robaxi(), 9560, "one"}}, "10.0.0.1");
    EXPECT_TRUE(placeOf(*second) == (RobotPlace{"10.0.0.1", 9561}));
}
