// The bridge with robots of ROS 2 that are large or hostile, in a private network.

#include "bridge_lab.h"
#include "eventually.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

using testing::HasSubstr;
using namespace obvista_test;

namespace {

/** The resources of the bridge's process. */
struct Resources {
    long fDescriptors = 0;
    long fThreads = 0;
    long fMemory = 0;  // KiB
};

Resources resourcesOf(const BridgeHost& bridge) {
    std::istringstream figures(
        bridge.run("pid=$(pidof robaxi-bridge); ls /proc/$pid/fd | wc -l; "
                   "ls /proc/$pid/task | wc -l; awk '/^VmRSS/ { print $2 }' /proc/$pid/status"));
    Resources resources;
    figures >> resources.fDescriptors >> resources.fThreads >> resources.fMemory;
    return resources;
}

}  // namespace

TEST(BridgeLoad, publishersThatComeAndGoLeaveNothingBehind) {
    const BridgeHost bridge = makeBridge();
    BridgeValues values(bridge);
    const auto comeAndGo = [&](const std::string& times) {
        const BridgeHost robot = makeRos2Robot("churn", {times});
        ASSERT_TRUE(robot.waitForOutput("done")) << "each waits until the bridge reads it";
        EXPECT_TRUE(values.wait("ROS/Participants", isAbove(0)));
        EXPECT_TRUE(values.waitForCount("", 2)) << "the domain's own keys";
    };
    comeAndGo("10");
    // Until the first robot is found, the bridge listens in all domains.
    Resources before = resourcesOf(bridge);
    while (before.fDescriptors > 200) {
        before = resourcesOf(bridge);
    }
    ASSERT_GT(before.fMemory, 0);
    comeAndGo("100");
    // The bridge releases the last one a moment after its keys.
    Resources after;
    EXPECT_TRUE(eventually([&] {
        after = resourcesOf(bridge);
        return after.fDescriptors <= before.fDescriptors && after.fThreads <= before.fThreads;
    })) << after.fDescriptors
        << " descriptors and " << after.fThreads << " threads, before " << before.fDescriptors
        << " and " << before.fThreads;
    // AddressSanitizer keeps memory that is released.
    if (std::getenv("OBVISTA_SANITIZE") == nullptr) {
        EXPECT_LT(after.fMemory, before.fMemory + 8 * 1024) << "KiB";
    }
}

TEST(BridgeLoad, manyTopics) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("many", {"500"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.waitForCount("many/", 500));
    EXPECT_TRUE(values.waitForCount("ROS/Topics/many/", 5 * 500));
}

TEST(BridgeLoad, manyNodes) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("nodes", {"20", "100"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.waitForCount("ROS/Nodes/", 2 * 2000));
    EXPECT_TRUE(values.wait("ROS/Nodes/part19/node99/Publishers"));
}

TEST(BridgeLoad, nodesBeyondTheLimitAreLeftOut) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("nodes", {"2", "2500"});
    BridgeValues values(bridge);
    EXPECT_TRUE(bridge.waitForOutput("there are more than 4096 nodes"));
    EXPECT_TRUE(values.waitForCount("ROS/Nodes/", 2 * 4096));
}

TEST(BridgeLoad, aNodeThatRestartsStaysListed) {
    const BridgeHost bridge = makeBridge();
    BridgeValues values(bridge);
    const BridgeHost robot = makeRos2Robot("restart");
    EXPECT_TRUE(values.wait("ROS/Participants", isAbove(1)));
    robot.run("kill -USR1 $(pidof ros2_writer)");
    EXPECT_TRUE(values.wait("ROS/Participants",
                            [](const KVValue& participants) { return participants.toInt() == 1; }));
    EXPECT_TRUE(values.wait("ROS/Nodes/twin/Publishers"));
}

TEST(BridgeLoad, messagesThatAreNotOfTheirTypeAreNamedAndDropped) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("wrong");
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Topics/imu/Problem",
                            textIs("a message of 12 bytes is not a sensor_msgs/msg/Imu")));
    EXPECT_TRUE(values.wait("ROS/Topics/text/Problem",
                            textIs("a message of 8 bytes is not a std_msgs/msg/String")));
    FrameCounter watcher;
    const auto stream =
        KVFrameStream::start(values.connection(), "KVVideo", "image", watcher.callbacks());
    EXPECT_TRUE(
        values.wait("ROS/Topics/image/Problem",
                    textIs("a picture cannot be shown: it is not a sensor_msgs/msg/Image")));
    EXPECT_TRUE(values.waitForNone("imu/"));
    EXPECT_THAT(bridge.output(), HasSubstr("/imu: a message of 12 bytes"));
}

TEST(BridgeLoad, aFloodKeepsTheNewest) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("flood", {"10000"});
    BridgeValues values(bridge);
    const auto early = values.wait("flood");
    ASSERT_TRUE(early);
    const double first = early->fValue.toFloat();
    EXPECT_TRUE(values.wait("flood", isAbove(first + 10'000)));
    EXPECT_TRUE(values.wait("ROS/Topics/flood/Rate", isAbove(200))) << "a client receives 100";
}

TEST(BridgeLoad, peersInADomainWithoutMulticast) {
    const BridgeHost robot = makeRos2Robot("robot");
    const BridgeHost bridge = makeBridgeBehindAFirewall(
        {"CYCLONEDDS_URI=<CycloneDDS><Domain><General><AllowMulticast>false</AllowMulticast>"
         "</General><Discovery><ParticipantIndex>auto</ParticipantIndex><Peers><Peer "
         "address=\"" +
         robot.address() + "\"/></Peers></Discovery></Domain></CycloneDDS>"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("Joint/LeftKnee/Position"));
}
