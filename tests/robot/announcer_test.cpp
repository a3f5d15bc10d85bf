#include "announcer.h"

#include "child_process.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

using obvista_test::ChildProcess;
using robot::AnnouncedService;
using robot::Announcer;
using testing::HasSubstr;
using testing::Not;

namespace {

const char* const a_robax = "_robax._tcp";
const char* const a_robaxi = "_robaxi._tcp";

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

/** Runs a command of the lab to its end. */
std::string inLab(const std::vector<std::string>& arguments) {
    std::vector<std::string> command{std::string(std::getenv("OBVISTA_LAB")) + "/ctl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess process(command);
    EXPECT_EQ(process.waitForEnd(), 0) << process.errors();
    return process.output();
}

/** avahi-browse, which follows the services of a type while the object lives. */
class Browser {
  public:
    explicit Browser(const std::string& type)
        : fProcess({"stdbuf", "-oL", "avahi-browse", "--parsable", "--resolve", type}) {}

    /** Waits until a service was announced and resolved. */
    bool sawResolved(const std::string& line,
                     ChildProcess::Timeout timeout = ChildProcess::a_patience) {
        return fProcess.waitForOutput(line, timeout);
    }

    /** Waits until a service was withdrawn. */
    bool lost(const std::string& nameAndType) {
        return fProcess.waitForOutput("-;eth0;IPv4;" + nameAndType);
    }

    std::string output() const { return fProcess.output(); }

  private:
    ChildProcess fProcess;
};

/** What avahi-browse --parsable writes about a service on the observer's host. */
std::string resolved(const std::string& name, const std::string& type, int port,
                     const std::string& host = "observer.local",
                     const std::string& address = "10.77.0.1") {
    return "=;eth0;IPv4;" + name + ';' + type + ";local;" + host + ';' + address + ';' +
           std::to_string(port) + ';';
}

/** Whether somebody who asks now, or a little later, is told so. */
bool isSeenInTheEnd(const std::string& line) {
    const auto end = std::chrono::steady_clock::now() + ChildProcess::a_patience;
    while (std::chrono::steady_clock::now() < end) {
        if (Browser(a_robax).sawResolved(line, std::chrono::seconds(2))) {
            return true;
        }
    }
    return false;
}

class AnnouncerTest : public testing::Test {
  protected:
    std::unique_ptr<Announcer> announcer(const std::string& name) {
        return std::make_unique<Announcer>(name, fLines.writer());
    }

    Lines fLines;
};

TEST_F(AnnouncerTest, servicesAreSeenWithNameHostAddressAndPort) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    const auto robot = announcer("robot1");
    robot->announce({{a_robax, 80}, {a_robaxi, 9559}});
    EXPECT_TRUE(robots.sawResolved(resolved("robot1", a_robax, 80))) << robots.output();
    EXPECT_TRUE(middlewares.sawResolved(resolved("robot1", a_robaxi, 9559)))
        << middlewares.output();
    EXPECT_EQ(fLines.count(), 0);
}

TEST_F(AnnouncerTest, goodbyeIsHeardWhenItEnds) {
    Browser robots(a_robax);
    auto robot = announcer("robot2");
    robot->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.sawResolved(resolved("robot2", a_robax, 80)));
    robot.reset();
    EXPECT_TRUE(robots.lost("robot2;_robax._tcp;local")) << robots.output();
}

TEST_F(AnnouncerTest, oneServiceGoesAndComesWithoutDisturbingTheOther) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    const auto robot = announcer("robot3");
    robot->announce({{a_robax, 80}, {a_robaxi, 9559}});
    ASSERT_TRUE(robots.sawResolved(resolved("robot3", a_robax, 80)));
    ASSERT_TRUE(middlewares.sawResolved(resolved("robot3", a_robaxi, 9559)));
    robot->announce({{a_robax, 80}});
    EXPECT_TRUE(middlewares.lost("robot3;_robaxi._tcp;local"));
    robot->announce({{a_robax, 80}, {a_robaxi, 9560}});
    EXPECT_TRUE(middlewares.sawResolved(resolved("robot3", a_robaxi, 9560)));
    EXPECT_THAT(robots.output(), Not(HasSubstr("-;eth0")));
}

TEST_F(AnnouncerTest, aNameTakenOnThisMachineGetsANumber) {
    Browser robots(a_robax);
    const auto first = announcer("twin");
    first->announce({{a_robax, 80}});
    ASSERT_TRUE(robots.sawResolved(resolved("twin", a_robax, 80)));
    const auto second = announcer("twin");
    second->announce({{a_robax, 81}});
    EXPECT_TRUE(robots.sawResolved(resolved("twin\\032\\0352", a_robax, 81))) << robots.output();
    EXPECT_TRUE(fLines.waitFor("the name is taken; announced as twin #2"));
}

TEST_F(AnnouncerTest, aNameTakenOnTheNetworkGetsANumberForAllServices) {
    Browser robots(a_robax);
    Browser middlewares(a_robaxi);
    inLab({"add", "other", "--ready", "Established", "--", "avahi-publish", "-s", "marie", a_robax,
           "7"});
    ASSERT_TRUE(robots.sawResolved("=;eth0;IPv4;marie;")) << robots.output();
    const auto robot = announcer("marie");
    robot->announce({{a_robaxi, 9559}, {a_robax, 80}});
    EXPECT_TRUE(robots.sawResolved(resolved("marie\\032\\0352", a_robax, 80))) << robots.output();
    EXPECT_TRUE(middlewares.sawResolved(resolved("marie\\032\\0352", a_robaxi, 9559)))
        << middlewares.output();
    EXPECT_TRUE(fLines.waitFor("announced as marie #2"));
    inLab({"stop", "other"});
}

TEST_F(AnnouncerTest, aRestartOfTheDaemonIsSurvived) {
    const auto robot = announcer("phoenix");
    robot->announce({{a_robax, 80}});
    {
        Browser robots(a_robax);
        ASSERT_TRUE(robots.sawResolved(resolved("phoenix", a_robax, 80)));
    }
    inLab({"avahi", "restart"});
    Browser robots(a_robax);
    EXPECT_TRUE(robots.sawResolved(resolved("phoenix", a_robax, 80))) << robots.output();
}

TEST_F(AnnouncerTest, aDaemonThatComesLateIsWaitedFor) {
    inLab({"avahi", "stop"});
    const auto robot = announcer("early");
    robot->announce({{a_robax, 80}});
    EXPECT_TRUE(fLines.waitFor("not announced: there is no Avahi daemon"));
    EXPECT_EQ(fLines.count(), 1);
    inLab({"avahi", "start"});
    Browser robots(a_robax);
    EXPECT_TRUE(robots.sawResolved(resolved("early", a_robax, 80))) << robots.output();
}

TEST_F(AnnouncerTest, anotherAddressIsAnnouncedUnderAHostNameOfItsOwn) {
    const auto robot = announcer("my robot");
    robot->announce({{a_robax, 80}});
    const std::string own = resolved("my\\032robot", a_robax, 80);
    EXPECT_TRUE(isSeenInTheEnd(own));
    robot->setAddress("10.77.9.9");
    EXPECT_TRUE(
        isSeenInTheEnd(resolved("my\\032robot", a_robax, 80, "my-robot.local", "10.77.9.9")));
    robot->setAddress("");
    EXPECT_TRUE(isSeenInTheEnd(own));
}

TEST(HostNameFor, keepsWhatAHostNameMayHave) {
    EXPECT_EQ(robot::hostNameFor("Rob 7"), "Rob-7.local");
    EXPECT_EQ(robot::hostNameFor("-- a.b --"), "a-b.local");
    EXPECT_EQ(robot::hostNameFor("\xc3\xa9"), "robot.local");
}

}  // namespace
