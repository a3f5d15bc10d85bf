#include "discovery_lab.h"

#include "bonjour_listening_thread.h"
#include "discovery_profiles.h"
#include "discovery_resolver.h"
#include "project_files.h"
#include "qt_test_main.h"
#include "scripted_http_server.h"

#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include <chrono>
#include <csignal>
#include <memory>
#include <optional>
#include <random>

using KD::BonjourListeningThread;
using KV::BonjourDiscovery;
using obvista_test::addressOf;
using obvista_test::answerThenSilence;
using obvista_test::answerWith;
using obvista_test::builtFile;
using obvista_test::ChildProcess;
using obvista_test::iconOf;
using obvista_test::ProfilePointer;
using obvista_test::ScriptedAnswer;
using obvista_test::ScriptedHttpServer;
using obvista_test::lab::Announcement;
using obvista_test::lab::control;
using obvista_test::lab::hostName;
using obvista_test::lab::nobodyAnnounces;
using obvista_test::lab::PausedDaemon;
using obvista_test::lab::service;
using obvista_test::lab::webServer;
namespace resolver = obvista_test::resolver;

namespace {

// For discovery, lookup and download on a machine that is busy with other tests.
constexpr int a_patience = 60000;

const std::string a_robot = BonjourDiscovery::fRobaxServiceType;
const std::string a_middleware = BonjourDiscovery::fRobaxiServiceType;

/** Returns the profile in the map with this host name, or null. */
ProfilePointer find(const std::string& host) {
    const KVCriticalSectionRead lock(BonjourDiscovery::fRobaxsMapMutex);
    for (const auto& entry : BonjourDiscovery::getMap()) {
        if (entry.second->fHostName == host) {
            return entry.second;
        }
    }
    return ProfilePointer();
}

std::string addressOfHost(const std::string& host) {
    const ProfilePointer profile = find(host);
    return profile ? addressOf(profile) : std::string();
}

QByteArray iconOfHost(const std::string& host) {
    const ProfilePointer profile = find(host);
    return profile ? iconOf(profile) : QByteArray();
}

bool mapIsEmpty() {
    const KVCriticalSectionRead lock(BonjourDiscovery::fRobaxsMapMutex);
    return BonjourDiscovery::getMap().empty();
}

/** A robot on an address of this machine; the test serves the icon. */
struct Robot {
    Robot(const std::string& name, const char* address, const std::vector<std::string>& types,
          const ScriptedAnswer& answer = answerWith("200 OK", "icon"))
        : fServer({answer}, QHostAddress(QLatin1String(address)), 80),
          fName(hostName(name, address)) {
        if (!fName.isEstablished()) {
            qFatal("the name %s is not established", name.c_str());
        }
        for (const std::string& type : types) {
            fServices.push_back(std::make_unique<Announcement>(service(name, type)));
        }
    }

    ScriptedHttpServer fServer;
    Announcement fName;
    std::vector<std::unique_ptr<Announcement>> fServices;
};

/** Returns a shell command that announces a robot with middleware, and then runs another one. */
std::string announceThen(const std::string& name, const std::string& command) {
    return "avahi-publish --service " + name + " " + a_robot + " 9559 & avahi-publish --service " +
           name + " " + a_middleware + " 9559 & exec " + command;
}

/** A host of the lab; the destructor shuts it down in order. */
struct Host {
    Host(const std::string& name, const std::string& address, const std::string& shellCommand)
        : fName(name) {
        control({"add", name, "--address", address, "--", "sh", "-c", shellCommand});
    }
    ~Host() { control({"stop", fName}); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    std::string fName;
};

/** Robots that come and go, and start and stop their middleware, some of them every second. */
class Churn {
  public:
    Churn() {
        for (const char* name : {"churn0.local", "churn1.local", "churn2.local"}) {
            fNames.push_back(std::make_unique<Announcement>(hostName(name, "127.0.0.90")));
        }
        for (const auto& name : fNames) {
            if (!name->isEstablished()) {
                qFatal("a name is not established");
            }
        }
        fServices.resize(8);
    }

    /** Ends the oldest service and starts another one. */
    void step() {
        const std::string name = "churn" + std::to_string(fStep % 3) + ".local";
        fServices[fStep % fServices.size()] = nullptr;
        fServices[fStep % fServices.size()] =
            std::make_unique<Announcement>(service(name, fStep % 2 == 0 ? a_robot : a_middleware));
        ++fStep;
    }

  private:
    ScriptedHttpServer fServer{{answerWith("200 OK", "icon")}, QHostAddress("127.0.0.90"), 80};
    std::vector<std::unique_ptr<Announcement>> fNames;
    std::vector<std::unique_ptr<Announcement>> fServices;
    std::size_t fStep = 0;
};

}  // namespace

class DiscoveryLabTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void showsARobotOfOtherMakersUntilItIsGone();
    void showsTheTrueAddressOfARobotThatComesBack();
    void findsAHostWhoseNameHasCapitals();
    void givesNoAddressToAHostWithIPv6Only();
    void asksNoIconOfAComputer();
    void asksForTheIconWhenTheMiddlewareStarts();
    void showsGoodRobotsBesideBadOnes();
    void fillsAgainAfterARestartOfTheDaemon();
    void exitEndsDiscovery();
    void mayBeReleasedAtAnyTime();
    void aProgramMayQuitAtAnyTime();
    void aProgramQuitsWhileADaemonThatHangsHoldsUpItsStart();
    void aProgramQuitsWhileADaemonHangsThatItHasListenedTo();
    void aProgramSurvivesChurn();

  private:
    boost::shared_ptr<BonjourListeningThread> fThread;
    QStringList fExceptions;
};

void DiscoveryLabTest::init() {
    fExceptions.clear();
    fThread = BonjourListeningThread::createBonjourListeningThread();
    connect(fThread.get(), &BonjourListeningThread::exceptionCaught, this,
            [this](const QString& message) { fExceptions.append(message); });
    fThread->start();
}

void DiscoveryLabTest::cleanup() {
    fThread.reset();
    QVERIFY(mapIsEmpty());
    QVERIFY2(fExceptions.isEmpty(), qPrintable(fExceptions.join(QLatin1Char('\n'))));
    // The goodbyes of one test must not reach the next one.
    QTRY_VERIFY_WITH_TIMEOUT(nobodyAnnounces(a_robot) && nobodyAnnounces(a_middleware), a_patience);
}

void DiscoveryLabTest::showsARobotOfOtherMakersUntilItIsGone() {
    const QTemporaryDir folder(QDir::tempPath() + QStringLiteral("/web-XXXXXX"));
    const std::string icon("\x89PNG\r\n\x1a\n\0rest", 13);
    {
        const Host host("marie", "10.77.5.5",
                        announceThen("marie", webServer(folder.path().toStdString(),
                                                        "/media/buddy.icon", icon)));
        QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("marie.local"), std::string("10.77.5.5"),
                                  a_patience);
        QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("marie.local"), QByteArray::fromStdString(icon),
                                  a_patience);
    }
    QTRY_VERIFY_WITH_TIMEOUT(!find("marie.local"), a_patience);
}

/**
 * Qt caches lookup results for a minute. Robots were shown, and called, at the address that they
 * had before their restart.
 */
void DiscoveryLabTest::showsTheTrueAddressOfARobotThatComesBack() {
    for (const std::string address : {"10.77.6.1", "10.77.6.2", "10.77.6.3"}) {
        {
            const Host host("paul", address, announceThen("paul", "sleep infinity"));
            QTRY_VERIFY_WITH_TIMEOUT(!addressOfHost("paul.local").empty(), a_patience);
            QCOMPARE(addressOfHost("paul.local"), address);
        }
        QTRY_VERIFY_WITH_TIMEOUT(!find("paul.local"), a_patience);
    }
}

void DiscoveryLabTest::findsAHostWhoseNameHasCapitals() {
    const Robot robot("Emma.local", "127.0.0.80", {a_robot, a_middleware});
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("Emma.local"), std::string("127.0.0.80"), a_patience);
    QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("Emma.local"), QByteArray("icon"), a_patience);
}

void DiscoveryLabTest::givesNoAddressToAHostWithIPv6Only() {
    const Announcement name(hostName("six.local", "fd00::7"));
    const Announcement robot(service("six.local", a_robot));
    const Announcement middleware(service("six.local", a_middleware));
    QTRY_VERIFY_WITH_TIMEOUT(resolver::answers("six.local") > 0, a_patience);
    const ProfilePointer profile = find("six.local");
    QVERIFY(profile);
    // Answers are delivered in order: when the next host has its address, the answer for this one
    // has been handled.
    const Announcement nextName(hostName("next.local", "127.0.0.80"));
    const Announcement nextService(service("next.local", a_middleware));
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("next.local"), std::string("127.0.0.80"), a_patience);
    QCOMPARE(addressOf(profile), std::string());
    QVERIFY(!profile->hasBitmapBinary());
}

void DiscoveryLabTest::asksNoIconOfAComputer() {
    const Robot computer("office.local", "127.0.0.80", {a_middleware});
    const Robot robot("robot.local", "127.0.0.81", {a_robot, a_middleware});
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("office.local"), std::string("127.0.0.80"), a_patience);
    QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("robot.local"), QByteArray("icon"), a_patience);
    QVERIFY(computer.fServer.requests().isEmpty());
}

void DiscoveryLabTest::asksForTheIconWhenTheMiddlewareStarts() {
    Robot robot("late.local", "127.0.0.80", {a_robot});
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("late.local"), std::string("127.0.0.80"), a_patience);
    const ProfilePointer before = find("late.local");
    QVERIFY(robot.fServer.requests().isEmpty());
    const int lookUps = resolver::lookUps("late.local");
    robot.fServices.push_back(std::make_unique<Announcement>(service("late.local", a_middleware)));
    QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("late.local"), QByteArray("icon"), a_patience);
    QCOMPARE(find("late.local"), before);
    QCOMPARE(resolver::lookUps("late.local"), lookUps);
}

void DiscoveryLabTest::showsGoodRobotsBesideBadOnes() {
    ScriptedAnswer endless;
    endless.fBytes = "HTTP/1.1 200 OK\r\n\r\n";
    endless.fEndless = QByteArray(64 * 1024, 'x');
    const std::vector<std::string> both{a_robot, a_middleware};
    const Robot hangs("hangs.local", "127.0.0.81", both, answerThenSilence(""));
    const Robot floods("floods.local", "127.0.0.82", both, endless);
    const Robot refuses("refuses.local", "127.0.0.83", both, answerWith("404 Not Found", "no"));
    const Robot empty("empty.local", "127.0.0.84", both, answerWith("200 OK", ""));
    const Robot good("good.local", "127.0.0.80", both);
    QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("good.local"), QByteArray("icon"), a_patience);
    for (const Robot* robot : {&hangs, &floods, &refuses, &empty}) {
        QTRY_VERIFY_WITH_TIMEOUT(!robot->fServer.requests().isEmpty(), a_patience);
    }
    for (const Robot* robot : {&floods, &refuses, &empty}) {
        QTRY_COMPARE_WITH_TIMEOUT(robot->fServer.openConnections(), 0, a_patience);
    }
    for (const char* host : {"hangs.local", "floods.local", "refuses.local", "empty.local"}) {
        QVERIFY2(!find(host)->hasBitmapBinary(), host);
        QVERIFY2(!addressOfHost(host).empty(), host);
    }
}

void DiscoveryLabTest::fillsAgainAfterARestartOfTheDaemon() {
    const Host host("clara", "10.77.7.1", announceThen("clara", "sleep infinity"));
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("clara.local"), std::string("10.77.7.1"), a_patience);
    const ProfilePointer before = find("clara.local");
    control({"avahi", "stop"});
    QTRY_VERIFY_WITH_TIMEOUT(mapIsEmpty(), a_patience);
    control({"avahi", "start"});
    QTRY_COMPARE_WITH_TIMEOUT(addressOfHost("clara.local"), std::string("10.77.7.1"), a_patience);
    QVERIFY(find("clara.local") != before);
}

void DiscoveryLabTest::exitEndsDiscovery() {
    const Robot robot("robot.local", "127.0.0.80", {a_robot, a_middleware});
    QTRY_COMPARE_WITH_TIMEOUT(iconOfHost("robot.local"), QByteArray("icon"), a_patience);
    const ProfilePointer profile = find("robot.local");
    fThread->exit(0);
    QVERIFY(fThread->isFinished());
    QVERIFY(mapIsEmpty());
    QCOMPARE(profile.use_count(), 1L);
}

void DiscoveryLabTest::mayBeReleasedAtAnyTime() {
    const Robot robot("robot.local", "127.0.0.80", {a_robot, a_middleware});
    fThread.reset();
    std::mt19937 random(1);  // the same delays in every run
    for (int i = 0; i < 100; ++i) {
        auto thread = BonjourListeningThread::createBonjourListeningThread();
        thread->start();
        QTest::qWait(static_cast<int>(random() % 20));
        if (i % 2 == 0) {
            thread->exit(0);
        }
        thread.reset();
        QVERIFY(mapIsEmpty());
    }
}

void DiscoveryLabTest::aProgramMayQuitAtAnyTime() {
    fThread.reset();
    const int cycles = qEnvironmentVariableIsSet("OBVISTA_QUIT_CYCLES")
                           ? qEnvironmentVariableIntValue("OBVISTA_QUIT_CYCLES")
                           : 40;
    Churn churn;
    std::mt19937 random(1);
    for (int i = 0; i < cycles; ++i) {
        ChildProcess program(
            {builtFile("tests/discovery_program"), std::to_string(random() % 300)});
        churn.step();
        const std::optional<int> status = program.waitForEnd();
        QVERIFY2(status == 0 && program.errors().empty(), program.errors().c_str());
    }
}

/**
 * Each call to the daemon then takes 25 s, the start gives up after 5 s, and lookups never end.
 * Quitting takes one second at most, but longer where processors are busy.
 */
constexpr std::chrono::milliseconds a_quitting(4500);

void DiscoveryLabTest::aProgramQuitsWhileADaemonThatHangsHoldsUpItsStart() {
    fThread.reset();
    const PausedDaemon paused;
    ChildProcess program({builtFile("tests/discovery_program")});
    QVERIFY(program.waitForOutput("starts"));
    program.signal(SIGTERM);
    const std::optional<int> status = program.waitForEnd(a_quitting);
    QVERIFY2(status == 0 && program.errors().empty(), program.errors().c_str());
}

void DiscoveryLabTest::aProgramQuitsWhileADaemonHangsThatItHasListenedTo() {
    fThread.reset();
    ChildProcess program({builtFile("tests/discovery_program")});
    // Its name is not announced, so it is still being looked up when the daemon is suspended.
    const Announcement nameless(service("nameless.local", a_middleware));
    QVERIFY2(program.waitForOutput("found nameless.local"), program.errors().c_str());
    const PausedDaemon paused;
    program.signal(SIGTERM);
    const std::optional<int> status = program.waitForEnd(a_quitting);
    QVERIFY2(status == 0 && program.errors().empty(), program.errors().c_str());
}

void DiscoveryLabTest::aProgramSurvivesChurn() {
    fThread.reset();
    const QByteArray duration = qEnvironmentVariableIsSet("OBVISTA_CHURN_MILLISECONDS")
                                    ? qgetenv("OBVISTA_CHURN_MILLISECONDS")
                                    : QByteArray("5000");
    Churn churn;
    ChildProcess program({builtFile("tests/discovery_program"), duration.toStdString()});
    while (!program.waitForEnd(std::chrono::milliseconds(200))) {
        churn.step();
    }
    QVERIFY2(program.waitForEnd() == 0 && program.errors().empty(), program.errors().c_str());
}

OBVISTA_QTEST_MAIN(DiscoveryLabTest)
#include "discovery_lab_test.moc"
