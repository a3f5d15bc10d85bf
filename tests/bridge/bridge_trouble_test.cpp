// Reports of the bridge and of `robaxi doctor` on the usual troubles with ROS 2, in a private
// network.

#include "bridge_lab.h"
#include "child_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <sockets/multicast.h>
#include <string>
#include <thread>

using testing::AllOf;
using testing::HasSubstr;
using namespace obvista_test;

namespace {

/** Returns the line of the doctor's check of the bridge. */
std::string diagnosis(const BridgeHost& bridge) {
    // On a busy machine each of its checks takes long.
    ChildProcess doctor(
        {builtProgram("bin/robaxi"), "doctor", "--json", "--timeout", "60", bridge.address()});
    EXPECT_TRUE(doctor.waitForEnd(std::chrono::minutes(2)));
    const std::string output = doctor.output();
    const std::size_t begin = output.find("{\"check\":\"ros2\"");
    return begin == std::string::npos ? output
                                      : output.substr(begin, output.find('\n', begin) - begin);
}

/**
 * Sends packets without contents to the group of domain 5, as a bridge does that tests whether its
 * computer can multicast.
 */
class OtherBridge {
  public:
    OtherBridge() : fThread([this] { xRun(); }) {}
    ~OtherBridge() {
        fIsEnding = true;
        fThread.join();
    }
    OtherBridge(const OtherBridge&) = delete;
    OtherBridge& operator=(const OtherBridge&) = delete;

  private:
    void xRun() const {
        const sockaddr_in group = sockets::groupAddress(0xefff0001, 7400 + 5 * 250);
        sockets::Packet packet{'R', 'T', 'P', 'S', 2, 1, 0, 0};
        packet.resize(20, 7);
        while (!fIsEnding) {
            for (const sockets::Interface& interface : sockets::multicastInterfaces()) {
                sockets::tryMulticast(interface, group, packet);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    }

    std::atomic<bool> fIsEnding{false};
    std::thread fThread;
};

constexpr const char* a_problem = "\"verdict\":\"problem\"";
constexpr const char* a_note = "\"verdict\":\"note\"";

}  // namespace

TEST(BridgeTrouble, wrongDomain) {
    const BridgeHost bridge = makeBridge({"--domain", "3"});
    const BridgeHost robot("ready", {builtProgram("tests/ros2_writer"), "robot", "7"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Wrong domain: nothing is announced in domain "
                                                   "3, but in domain 7. ")));
    EXPECT_THAT(diagnosis(bridge),
                AllOf(HasSubstr(a_problem), HasSubstr("Wrong domain"),
                      HasSubstr("\"advice\":\"Start the bridge with --domain 7")));
}

TEST(BridgeTrouble, multicastIsBlocked) {
    const BridgeHost bridge = makeBridgeBehindAFirewall();
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Multicast is blocked: a firewall of this "
                                                   "computer drops packets to 239.255.0.1, UDP "
                                                   "port 7400, on eth0. ")));
}

TEST(BridgeTrouble, multicastIsBlockedAfterTheBridgeHasStarted) {
    const BridgeHost bridge = makeBridge();
    BridgeValues values(bridge);
    ASSERT_TRUE(values.wait("ROS/Problem", textHas("Nothing is announced in any domain. ")));
    startFirewall(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Multicast is blocked: ")));
}

TEST(BridgeTrouble, onlyLoopback) {
    const BridgeHost bridge = makeBridge({"--interface", "lo"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Only loopback: the interface lo is not one of "
                                                   "the network")));
}

TEST(BridgeTrouble, aRobotThatIsHeardButDoesNotAnswer) {
    const BridgeHost bridge = makeBridge({}, {"CYCLONEDDS_URI=<CycloneDDS><Domain><General>"
                                              "<AllowMulticast>false</AllowMulticast></General>"
                                              "</Domain></CycloneDDS>"});
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem",
                            textHas("Programs announce themselves in domain 0 on eth0, but")));
}

TEST(BridgeTrouble, nobodyIsThere) {
    const OtherBridge other;
    const BridgeHost bridge = makeBridge();
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Nothing is announced in any domain. ")));
    const BridgeHost robot = makeRos2Robot("robot");
    EXPECT_TRUE(values.wait("Joint/LeftKnee/Position"));
    EXPECT_FALSE(values.has("ROS/Problem")) << "removed before the robot's values are added";
}

TEST(BridgeTrouble, theSearchLeavesFilesForTheClients) {
    const BridgeHost bridge = makeBridge({}, {"prlimit", "--nofile=300"});
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Problem", textHas("Nothing is found: the search needs 233 sockets"
                                                   ", and this program may open only 300 files")));
    const BridgeHost robot = makeRos2Robot("robot");
    EXPECT_TRUE(values.waitForNone("ROS/Problem")) << "after the robot has been found";
}

TEST(BridgeTrouble, typesAndQosThatDoNotMatchAreNamed) {
    const BridgeHost bridge = makeBridge({"--allow-write", "/volume"});
    const BridgeHost robot = makeRos2Robot("trouble");
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("ROS/Topics/strange/Problem", textHas("no known type: ")));
    EXPECT_TRUE(values.wait("ROS/Topics/exclusive/Problem",
                            textIs("the bridge does not match the QoS of a publisher: ownership, "
                                   "partition")));
    EXPECT_TRUE(values.wait("ROS/Topics/scan/Problem",
                            textIs("a subscriber receives nothing, since no publisher matches its "
                                   "QoS: reliability, durability, deadline")));
    EXPECT_TRUE(values.wait("ROS/Topics/angle/Problem",
                            textIs("a subscriber expects another type, std_msgs/msg/Float64")));
    EXPECT_TRUE(values.wait("ROS/Topics/volume/Problem", textHas("deadline")));
    EXPECT_THAT(diagnosis(bridge), AllOf(HasSubstr(a_note), HasSubstr("/strange: no known type"),
                                         HasSubstr("/scan: a subscriber receives nothing"),
                                         HasSubstr("reliability, durability")));
    EXPECT_TRUE(values.wait("scan", isAbove(0))) << "the bridge itself matches";
    EXPECT_TRUE(values.wait("level", isAbove(0)))
        << "a publisher that keeps samples but sends them with best effort";
}

TEST(BridgeTrouble, aRobotWithoutTroublesIsWell) {
    const BridgeHost bridge = makeBridge({"--topics", "/joint_states"});
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);
    ASSERT_TRUE(values.wait("Joint/LeftKnee/Position"));
    EXPECT_THAT(diagnosis(bridge), HasSubstr("The bridge reads the topics of ROS 2."));
}
