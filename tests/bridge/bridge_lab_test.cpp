// The bridge in one host of a private network, robots of ROS 2 in others, and their viewer in the
// test's.

#include "bridge_lab.h"

#include "certificates.h"
#include "child_process.h"

#include <robaxi/kv_error.h>
#include <robaxi/kv_proxy.h>
#include <robaxi/kv_settings.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <ctime>
#include <regex>
#include <string>

using testing::HasSubstr;
using testing::Not;
using namespace obvista_test;

TEST(Bridge, aRobotOfRos2IsARobotOfTheList) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);

    // Joints: names, units, and the message's time, not that of its arrival.
    const auto velocity = values.wait("Joint/LeftKnee/Velocity");
    ASSERT_TRUE(velocity);
    EXPECT_NEAR(static_cast<double>(velocity->fTime) / 1e6, velocity->fValue.toFloat(), 1e-5);
    EXPECT_EQ(values.unit("Joint/LeftKnee/Position"), "rad");
    EXPECT_EQ(values.unit("Joint/LeftKnee/Effort"), "Nm");
    EXPECT_TRUE(values.wait("battery/voltage", isAbove(24)));
    EXPECT_TRUE(values.wait("robot_name", textIs("marvin of ROS 2"))) << "was published before";

    // Topics and nodes.
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Type", textIs("sensor_msgs/msg/JointState")));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Rate", isAbove(10)));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Nodes", textIs("/body")));
    EXPECT_TRUE(values.wait("ROS/Topics/strange/Type", textIs("my_msgs/msg/Unheard")));
    EXPECT_TRUE(values.wait("ROS/Topics/strange/Rate", isAbove(0)));
    EXPECT_TRUE(values.wait("ROS/Nodes/body/Publishers"));

    // The camera is read while somebody watches.
    const std::string cameraRate = "ROS/Topics/camera/image_raw/Rate";
    const auto idle = values.wait(cameraRate);
    ASSERT_TRUE(idle);
    EXPECT_EQ(idle->fValue.toFloat(), 0);
    FrameCounter watcher;
    {
        const auto stream = KVFrameStream::start(values.connection(), "KVVideo", "camera/image_raw",
                                                 watcher.callbacks());
        EXPECT_TRUE(watcher.waitFor(3));
        EXPECT_TRUE(values.wait(cameraRate, isAbove(0)));
    }
    EXPECT_EQ(watcher.frame().fWidth, 640U);
    EXPECT_EQ(watcher.frame().fHeight, 480U);
    EXPECT_EQ(watcher.frame().fFormat, KVPixelFormat::Rgb888);
    EXPECT_TRUE(values.wait(cameraRate, [](const KVValue& rate) { return rate.toFloat() == 0; }));

    // Obvista's discovery.
    ChildProcess list({builtProgram("bin/robaxi"), "list"});
    ASSERT_TRUE(list.waitForEnd());
    EXPECT_THAT(list.output(), HasSubstr("marvin"));
    EXPECT_THAT(list.output(), HasSubstr("robot"));
}

TEST(Bridge, conformsToTheProtocol) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);
    ASSERT_TRUE(values.wait("Joint/LeftKnee/Velocity"));
    ChildProcess conform({builtProgram("bin/robaxi"), "conform", "--json", "--group", "announcing",
                          "--group", "values", "--group", "subscriptions", "--group", "frames",
                          bridge.address()});
    EXPECT_EQ(conform.waitForEnd(), 0);
    EXPECT_THAT(conform.output(), Not(HasSubstr("\"failed\"")));
    for (const std::string check : {"announcing.name", "announcing.icon", "frames.cameras"}) {
        EXPECT_THAT(conform.output(), HasSubstr("{\"check\":\"" + check + "\""));
    }
}

TEST(Bridge, valuesAreWatchedWithTheStampsOfTheirMessages) {
    const BridgeHost bridge = makeBridge();
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);
    ASSERT_TRUE(values.wait("Joint/LeftKnee/Velocity"));
    ChildProcess watch({builtProgram("bin/robaxi"), "watch", "--json", "--count", "5",
                        bridge.address(), "Joint/LeftKnee/Velocity"});
    ASSERT_EQ(watch.waitForEnd(), 0) << watch.errors();
    const std::regex line(R"re("time":"([^"]*)".*"value":([0-9.]*),"unit":"rad/s")re");
    const std::string output = watch.output();
    const std::sregex_iterator end;
    int lines = 0;
    for (std::sregex_iterator found(output.begin(), output.end(), line); found != end; ++found) {
        // The robot publishes the time of the stamp as the joint's velocity.
        std::tm time{};
        const std::string text = (*found)[1];
        const char* const fraction = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &time);
        ASSERT_NE(fraction, nullptr);
        EXPECT_NEAR(static_cast<double>(timegm(&time)) + std::stod(fraction),
                    std::stod((*found)[2]), 1e-5);
        ++lines;
    }
    EXPECT_EQ(lines, 5) << output;
}

TEST(Bridge, itStartsWithoutAnIconUnlessTheCommandLineRequiresIt) {
    const std::string program = builtProgram("bin/robaxi-bridge");
    // A program without its pictures, as in an incomplete installation.
    const std::string folder = std::string(std::getenv("TMPDIR")) + "/bare";
    ChildProcess copy({"sh", "-c", "mkdir -p $1/bin && cp $0 $1/bin && ln -s $2 $1/lib", program,
                       folder, builtProgram("lib")});
    ASSERT_EQ(copy.waitForEnd(), 0) << copy.errors();
    ChildProcess bare({folder + "/bin/robaxi-bridge", "--http-port", "8080"});
    EXPECT_TRUE(bare.waitForErrors("no icon: the icon"));
    EXPECT_TRUE(bare.waitForOutput("listens on"));
    ChildProcess wrong({program, "--port", "9560", "--icon", "/nowhere.png"});
    EXPECT_EQ(wrong.waitForEnd(), 1);
    EXPECT_THAT(wrong.errors(), HasSubstr("/nowhere.png"));
}

TEST(Bridge, requiresTlsAndATokenAndEndsOnSigterm) {
    Folder folder;
    const Certificate certificate = makeCertificate(folder, "bridge", "IP:127.0.0.1");
    const std::string token = folder.write("token", "the-token-of-the-bridge-in-this-test\n");
    ChildProcess bridge({builtProgram("bin/robaxi-bridge"), "--http-port", "0", "--tls-certificate",
                         certificate.fFile, "--tls-key", certificate.fKey, "--token-file", token});
    ASSERT_TRUE(bridge.waitForOutput("listens on")) << bridge.errors();
    const auto connect = [](const KVSettings& settings) {
        return KVConnection::open(KVBroker::createBroker({"test", "", 0, settings}), "127.0.0.1",
                                  9559, 20);
    };
    KVSettings settings;
    EXPECT_THROW(connect(settings), KVError);
    settings.fAccess.fUsesTls = true;
    settings.fAccess.fTrust = certificate.fFile;
    EXPECT_THROW(connect(settings), KVError) << "without the token";
    settings.fAccess.fTokenFile = token;
    EXPECT_NO_THROW(connect(settings));
    ::kill(bridge.pid(), SIGTERM);
    EXPECT_EQ(bridge.waitForEnd(), 0);
}

TEST(Bridge, onlyNamedTopicsAreWritten) {
    const BridgeHost bridge = makeBridge({"--allow-write", "/volume"});
    const BridgeHost robot = makeRos2Robot("listen");
    BridgeValues values(bridge);
    ASSERT_TRUE(values.wait("volume"));
    KVProxy memory("KVMemory", values.connection(), 20);
    // The first ones may be sent before the writer and the robot know each other.
    bool isHeard = false;
    for (double volume = 0.5; !isHeard && volume < 1000; ++volume) {
        memory.callValue("setData", {"volume", volume});
        isHeard = robot.output().find("volume") != std::string::npos;
    }
    EXPECT_TRUE(isHeard);
    EXPECT_THROW(memory.callValue("setData", {"volume", "loud"}), KVError);
    EXPECT_THROW(memory.callValue("setData", {"ROS/Domain", 1}), KVError);
}

TEST(Bridge, topicsAreSelected) {
    const BridgeHost bridge =
        makeBridge({"--topics", "/joint*", "/robot_name", "--interface", "eth0"});
    const BridgeHost robot = makeRos2Robot("robot");
    BridgeValues values(bridge);
    EXPECT_TRUE(values.wait("Joint/LeftKnee/Position"));
    EXPECT_TRUE(values.wait("robot_name"));
    EXPECT_TRUE(values.wait("ROS/Topics/joint_states/Rate", isAbove(0)));
    EXPECT_TRUE(values.waitForCount("ROS/Topics/", 10)) << "two topics with five rows each";
    EXPECT_TRUE(values.waitForNone("battery"));
}

TEST(Bridge, aRobotWithCycloneDdsAndATypeThatItDescribes) {
    const BridgeHost bridge = makeBridge({"--domain", "7"});
    const BridgeHost robot("ready", {builtProgram("tests/cyclone_writer"), "7"});
    BridgeValues values(bridge);
    const auto wrist = values.wait("Joint/Wrist/Position", isAbove(0.5));
    ASSERT_TRUE(wrist);
    EXPECT_LT(wrist->fTime, 2'000'000'000) << "the message's time";
    EXPECT_TRUE(values.wait("gripper/closed"));
    EXPECT_TRUE(
        values.wait("gripper/steps/1", [](const KVValue& steps) { return steps.toInt() == -7; }));
    EXPECT_TRUE(values.wait("gripper/fingers/1/force", isAbove(2)));
    EXPECT_TRUE(values.wait("gripper/fingers/0/label", textIs("Wrist")));
    EXPECT_TRUE(values.wait("ROS/Topics/gripper/Rate", isAbove(15)));
    EXPECT_FALSE(values.has("ROS/Topics/gripper/Problem")) << "samples before the description";
}
