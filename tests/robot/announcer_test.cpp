#include "lab_browser.h"
#include "lab_control.h"

#include <bonjour/bonjour_announcer.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

using KV::BonjourAnnouncer;
using lab_test::a_robax;
using lab_test::a_robaxi;
using lab_test::Browser;
using lab_test::isSeenInTheEnd;
using lab_test::resolved;
using obvista_test::ChildProcess;
using obvista_test::lab::control;
using obvista_test::lab::PausedDaemon;

namespace {

/** The lines that an announcer writes for the user. */
class Lines {
  public:
    std::function<void(const std::string&)> writer() {
        return [this](const std::string& line) {
            const std::lock_guard lock(fMutex);
            fText += line + '\n';
            ++fCount;
            fChanged.notify_all();
        };
    }

    bool waitFor(const std::string& text) {
        std::unique_lock lock(fMutex);
        return fChanged.wait_for(lock, ChildProcess::a_patience,
                                 [&] { return fText.find(text) != std::string::npos; });
    }

    int count() {
        const std::lock_guard lock(fMutex);
        return fCount;
    }

  private:
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::string fText;
    int fCount = 0;
};

class AnnouncerTest : public testing::Test {
  protected:
    std::unique_ptr<BonjourAnnouncer> announcer(const std::string& name) {
        return std::make_unique<BonjourAnnouncer>(name, fLines.writer());
    }

    Lines fLines;
};

TEST_F(AnnouncerTest, servicesAreSeenWithNameHostAddressAndPort) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    const auto robot = announcer("robot1");
    robot->announce({{a_robax, 80}, {a_robaxi, 9559}});
    EXPECT_TRUE(robots.saw(resolved("robot1", a_robax, 80))) << robots.output();
    EXPECT_TRUE(middlewares.saw(resolved("robot1", a_robaxi, 9559))) << middlewares.output();
    EXPECT_EQ(fLines.count(), 0);
}

TEST_F(AnnouncerTest, goodbyeIsHeardWhenItEnds) {
    Browser robots(a_robax);
    auto robot = announcer("robot2");
    robot->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.saw(resolved("robot2", a_robax, 80)));
    robot.reset();
    EXPECT_TRUE(robots.lost("robot2")) << robots.output();
}

TEST_F(AnnouncerTest, oneServiceGoesAndComesWithoutDisturbingTheOther) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    const auto robot = announcer("robot3");
    robot->announce({{a_robax, 80}, {a_robaxi, 9559}});
    ASSERT_TRUE(robots.saw(resolved("robot3", a_robax, 80)));
    ASSERT_TRUE(middlewares.saw(resolved("robot3", a_robaxi, 9559)));
    robot->announce({{a_robax, 80}});
    EXPECT_TRUE(middlewares.lost("robot3"));
    robot->announce({{a_robax, 80}, {a_robaxi, 9560}});
    EXPECT_TRUE(isSeenInTheEnd(a_robaxi, resolved("robot3", a_robaxi, 9560)));
    EXPECT_FALSE(robots.hasLost("robot3"));
}

TEST_F(AnnouncerTest, aNameTakenOnThisMachineGetsANumber) {
    Browser robots(a_robax);
    const auto first = announcer("twin");
    first->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.saw(resolved("twin", a_robax, 80)));
    const auto second = announcer("twin");
    second->announce({{a_robax, 81}});
    EXPECT_TRUE(robots.saw(resolved("twin\\032\\0352", a_robax, 81))) << robots.output();
    EXPECT_TRUE(fLines.waitFor("the name is taken; announced as twin #2"));
}

TEST_F(AnnouncerTest, aNameTakenOnTheNetworkGetsANumberForAllServices) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    control({"add", "other", "--ready", "Established", "--", "avahi-publish", "-s", "marie",
             a_robax, "7"});
    ASSERT_TRUE(robots.saw("=;eth0;IPv4;marie;")) << robots.output();
    const auto robot = announcer("marie");
    robot->announce({{a_robaxi, 9559}, {a_robax, 80}});
    EXPECT_TRUE(robots.saw(resolved("marie\\032\\0352", a_robax, 80))) << robots.output();
    EXPECT_TRUE(middlewares.saw(resolved("marie\\032\\0352", a_robaxi, 9559)))
        << middlewares.output();
    EXPECT_TRUE(fLines.waitFor("announced as marie #2"));
    control({"stop", "other"});
}

TEST_F(AnnouncerTest, aNameTakenOnThisMachineForOneTypeGetsANumberForAll) {
    Browser robots(a_robax);
    const auto first = announcer("half");
    first->announce({{a_robaxi, 9559}});
    const auto second = announcer("half");
    second->announce({{a_robax, 81}, {a_robaxi, 9560}});
    EXPECT_TRUE(isSeenInTheEnd(a_robaxi, resolved("half\\032\\0352", a_robaxi, 9560)));
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("half\\032\\0352", a_robax, 81)));
}

TEST_F(AnnouncerTest, aHostNameTakenOnThisMachineGetsANumber) {
    const auto first = announcer("double");
    first->setAddress("10.77.9.1");
    first->announce({{a_robax, 80}});
    const auto second = announcer("double");
    second->setAddress("10.77.9.2");
    second->announce({{a_robax, 81}});
    EXPECT_TRUE(isSeenInTheEnd(
        a_robax, resolved("double\\032\\0352", a_robax, 81, "double-2.local", "10.77.9.2")));
    EXPECT_TRUE(
        isSeenInTheEnd(a_robax, resolved("double", a_robax, 80, "double.local", "10.77.9.1")));
}

TEST_F(AnnouncerTest, aNewHostNameOfTheMachineIsFollowed) {
    const auto robot = announcer("loyal");
    robot->announce({{a_robax, 80}});
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("loyal", a_robax, 80)));
    const auto rename = [](const std::string& host) {
        return ChildProcess({"avahi-set-host-name", host}).waitForEnd();
    };
    EXPECT_EQ(rename("renamed"), 0);
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("loyal", a_robax, 80, "renamed.local")));
    control({"add", "taken"});
    control({"wait", "taken"});
    EXPECT_EQ(rename("taken"), 0);
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("loyal", a_robax, 80, "taken-2.local")));
    control({"stop", "taken"});
    EXPECT_EQ(rename("observer"), 0);
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("loyal", a_robax, 80)));
}

TEST_F(AnnouncerTest, aRestartOfTheDaemonIsSurvived) {
    const auto robot = announcer("phoenix");
    robot->announce({{a_robax, 80}});
    {
        Browser robots(a_robax);
        ASSERT_TRUE(robots.saw(resolved("phoenix", a_robax, 80)));
    }
    control({"avahi", "restart"});
    Browser robots(a_robax);
    EXPECT_TRUE(robots.saw(resolved("phoenix", a_robax, 80))) << robots.output();
}

TEST_F(AnnouncerTest, aDaemonThatComesLateIsWaitedFor) {
    control({"avahi", "stop"});
    const auto robot = announcer("early");
    robot->announce({{a_robax, 80}});
    EXPECT_TRUE(fLines.waitFor("not announced: there is no Avahi daemon"));
    EXPECT_EQ(fLines.count(), 1);
    control({"avahi", "start"});
    Browser robots(a_robax);
    EXPECT_TRUE(robots.saw(resolved("early", a_robax, 80))) << robots.output();
}

// Each call to such a daemon takes 25 s; nothing here waits for one.
TEST_F(AnnouncerTest, aDaemonThatHangsHoldsNobodyUp) {
    constexpr std::chrono::seconds callToTheDaemon(25);
    Browser robots(a_robax);
    auto robot = announcer("stuck");
    robot->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.saw(resolved("stuck", a_robax, 80)));
    const auto begin = std::chrono::steady_clock::now();
    {
        const PausedDaemon paused;
        robot->announce({{a_robax, 81}});
        robot->setAddress("10.77.9.9");
        robot.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, callToTheDaemon);
    }
    EXPECT_EQ(fLines.count(), 0);
    EXPECT_TRUE(robots.lost("stuck")) << "the daemon has not received the end";
}

TEST_F(AnnouncerTest, changesAreAnnouncedWhenTheDaemonNoLongerHangs) {
    Browser robots(a_robax);
    const auto robot = announcer("patient");
    robot->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.saw(resolved("patient", a_robax, 80)));
    {
        const PausedDaemon paused;
        robot->announce({});
        robot->announce({{a_robax, 81}});
    }
    EXPECT_TRUE(isSeenInTheEnd(a_robax, resolved("patient", a_robax, 81)));
}

TEST_F(AnnouncerTest, anotherAddressIsAnnouncedUnderAHostNameOfItsOwn) {
    const auto robot = announcer("my robot");
    robot->announce({{a_robax, 80}});
    const std::string own = resolved("my\\032robot", a_robax, 80);
    EXPECT_TRUE(isSeenInTheEnd(a_robax, own));
    robot->setAddress("10.77.9.9");
    EXPECT_TRUE(isSeenInTheEnd(
        a_robax, resolved("my\\032robot", a_robax, 80, "my-robot.local", "10.77.9.9")));
    robot->setAddress("");
    EXPECT_TRUE(isSeenInTheEnd(a_robax, own));
}

}  // namespace
