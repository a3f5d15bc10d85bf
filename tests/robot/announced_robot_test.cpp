#include "lab_browser.h"
#include "lab_control.h"
#include "robot_process.h"
#include "tcp_client.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_proxy.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <vector>

using lab_test::a_ownAddress;
using lab_test::a_robax;
using lab_test::a_robaxi;
using lab_test::Browser;
using lab_test::isSeenInTheEnd;
using lab_test::resolved;
using obvista_test::ChildProcess;
using obvista_test::RobotProcess;
using obvista_test::lab::control;
using obvista_test::lab::PausedDaemon;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr int a_simPort = 9600;

/** The program on the observer's address, ready for clients. */
class AnnouncedRobot {
  public:
    explicit AnnouncedRobot(const std::vector<std::string>& arguments,
                            const std::vector<std::string>& wrapper = {})
        : fProcess(command(arguments, wrapper)) {
        EXPECT_TRUE(fProcess.waitForOutput(" listens on ")) << fProcess.errors();
    }

    ChildProcess& process() { return fProcess; }

    std::optional<int> terminate() {
        fProcess.signal(SIGTERM);
        return fProcess.waitForEnd();
    }

  private:
    static std::vector<std::string> command(const std::vector<std::string>& arguments,
                                            const std::vector<std::string>& wrapper) {
        std::vector<std::string> all = wrapper;
        all.insert(all.end(), {RobotProcess::program(), "--address", "0.0.0.0"});
        all.insert(all.end(), arguments.begin(), arguments.end());
        return all;
    }

    ChildProcess fProcess;
};

KVProxy sim(const boost::shared_ptr<KVBroker>& broker) {
    return {"KVSim", a_ownAddress, a_simPort, broker, 20, 0};
}

class AnnouncedRobotTest : public testing::Test {
  protected:
    Browser fRobots{a_robax};
    Browser fMiddlewares{a_robaxi};
};

TEST_F(AnnouncedRobotTest, aRobotIsAnnouncedWithBothTypesAndServesItsIconOnPort80) {
    AnnouncedRobot robot({"--name", "rob1"});
    EXPECT_TRUE(fRobots.saw(resolved("rob1", a_robax, 80))) << fRobots.output();
    EXPECT_TRUE(fMiddlewares.saw(resolved("rob1", a_robaxi, 9559))) << fMiddlewares.output();
    const HttpAnswer icon = httpGet(80, "//media/buddy.icon");
    EXPECT_EQ(icon.fStatus, 200);
    EXPECT_THAT(icon.fBody, StartsWith("\x89PNG"));
    EXPECT_EQ(robot.process().errors(), "");
}

TEST_F(AnnouncedRobotTest, goodbyeIsHeardWhenItIsStopped) {
    AnnouncedRobot robot({"--name", "rob2"});
    ASSERT_TRUE(fRobots.saw(resolved("rob2", a_robax, 80)));
    ASSERT_TRUE(fMiddlewares.saw(resolved("rob2", a_robaxi, 9559)));
    EXPECT_EQ(robot.terminate(), 0);
    EXPECT_TRUE(fRobots.lost("rob2"));
    EXPECT_TRUE(fMiddlewares.lost("rob2"));
}

// Each call to such a daemon takes 25 s; the robot ends without waiting for one.
TEST_F(AnnouncedRobotTest, itEndsWhileTheDaemonHangs) {
    AnnouncedRobot robot({"--name", "rob9"});
    ASSERT_TRUE(fRobots.saw(resolved("rob9", a_robax, 80)));
    ASSERT_TRUE(fMiddlewares.saw(resolved("rob9", a_robaxi, 9559)));
    {
        const PausedDaemon paused;
        robot.process().signal(SIGTERM);
        EXPECT_EQ(robot.process().waitForEnd(std::chrono::seconds(10)), 0);
    }
    EXPECT_TRUE(fRobots.lost("rob9"));
    EXPECT_EQ(robot.process().errors(), "");
}

TEST_F(AnnouncedRobotTest, aComputerIsAnnouncedAsAMiddlewareAlone) {
    AnnouncedRobot computer({"--kind", "computer", "--name", "comp", "--port", "9700"});
    EXPECT_TRUE(fMiddlewares.saw(resolved("comp", a_robaxi, 9700))) << fMiddlewares.output();
    EXPECT_THAT(fRobots.output(), Not(HasSubstr("comp")));
}

TEST_F(AnnouncedRobotTest, withoutMiddlewareItIsAnnouncedAsARobotAlone) {
    AnnouncedRobot robot({"--name", "rob3", "--no-middleware"});
    EXPECT_TRUE(fRobots.saw(resolved("rob3", a_robax, 80))) << fRobots.output();
    EXPECT_THAT(fMiddlewares.output(), Not(HasSubstr("rob3")));
}

TEST_F(AnnouncedRobotTest, withoutHttpItsPortIsTheUsualOneOfTheMiddleware) {
    AnnouncedRobot robot({"--name", "rob4", "--http-port", "0", "--port", "9701"});
    EXPECT_TRUE(fRobots.saw(resolved("rob4", a_robax, 9559))) << fRobots.output();
    EXPECT_TRUE(fMiddlewares.saw(resolved("rob4", a_robaxi, 9701))) << fMiddlewares.output();
}

TEST_F(AnnouncedRobotTest, nothingIsAnnouncedWhenItIsToldSoOrOnlyThisMachineCanReachIt) {
    AnnouncedRobot silent({"--name", "quiet", "--no-announce"});
    ChildProcess local(
        {RobotProcess::program(), "--name", "local", "--port", "9702", "--http-port", "8080"});
    ASSERT_TRUE(local.waitForErrors("not announced: only this machine can reach 127.0.0.1"));
    ASSERT_TRUE(local.waitForOutput(" listens on "));
    AnnouncedRobot loud({"--name", "loud", "--port", "9703", "--http-port", "8081"});
    ASSERT_TRUE(fRobots.saw(resolved("loud", a_robax, 8081)));
    EXPECT_THAT(fRobots.output(), Not(HasSubstr("quiet")));
    EXPECT_THAT(fRobots.output(), Not(HasSubstr("local;_robax")));
}

TEST_F(AnnouncedRobotTest, theMiddlewareIsWithdrawnAndAnnouncedAgainOnRequest) {
    AnnouncedRobot robot({"--name", "rob5", "--sim-port", std::to_string(a_simPort)});
    ASSERT_TRUE(fRobots.saw(resolved("rob5", a_robax, 80)));
    ASSERT_TRUE(fMiddlewares.saw(resolved("rob5", a_robaxi, 9559)));
    const auto broker = KVBroker::createBroker({"test"});
    KVProxy controls = sim(broker);
    controls.callVoid("setMiddleware", false);
    EXPECT_TRUE(fMiddlewares.lost("rob5"));
    EXPECT_THROW(TcpClient{9559}, std::system_error);
    controls.callVoid("setMiddleware", true);
    EXPECT_TRUE(isSeenInTheEnd(a_robaxi, resolved("rob5", a_robaxi, 9559)));
    EXPECT_FALSE(fRobots.hasLost("rob5"));
}

TEST_F(AnnouncedRobotTest, theWholeAnnouncementAndItsAddressChangeOnRequest) {
    AnnouncedRobot robot({"--name", "rob6", "--sim-port", std::to_string(a_simPort)});
    ASSERT_TRUE(fRobots.saw(resolved("rob6", a_robax, 80)));
    const auto broker = KVBroker::createBroker({"test"});
    KVProxy controls = sim(broker);
    controls.callVoid("setAnnounced", false);
    EXPECT_TRUE(fRobots.lost("rob6"));
    controls.callVoid<std::string>("setAddress", "10.77.8.8");
    controls.callVoid("setAnnounced", true);
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("rob6", a_robax, 80, "rob6.local", "10.77.8.8")));
    EXPECT_EQ(controls.call<KVValue::Map>("getState").at("address"), KVValue("10.77.8.8"));
}

TEST_F(AnnouncedRobotTest, withoutABusItSaysSoInOneLineAndGoesOn) {
    AnnouncedRobot robot({"--name", "lonely"},
                         {"env", "DBUS_SYSTEM_BUS_ADDRESS=unix:path=/nonexistent/bus"});
    EXPECT_TRUE(robot.process().waitForErrors("\n"));
    EXPECT_THAT(robot.process().errors(), StartsWith("robaxi-robot: not announced: "));
    EXPECT_EQ(httpGet(80, "/").fStatus, 200);
    EXPECT_EQ(robot.terminate(), 0);
    EXPECT_EQ(robot.process().errors().find('\n'), robot.process().errors().size() - 1);
}

TEST_F(AnnouncedRobotTest, aDaemonThatRestartsTwiceHearsOfItAgain) {
    AnnouncedRobot robot({"--name", "rob7"});
    ASSERT_TRUE(fRobots.saw(resolved("rob7", a_robax, 80)));
    for (int round = 0; round < 2; ++round) {
        control({"avahi", "restart"});
        EXPECT_TRUE(Browser(a_robax).saw(resolved("rob7", a_robax, 80)));
    }
    EXPECT_EQ(robot.terminate(), 0);
}

}  // namespace
