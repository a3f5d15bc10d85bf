#include "plugin_driver.h"
#include "viewer_case.h"

#include <bonjour/bonjour_discovery.h>

#include <QLabel>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <lab_control.h>
#include <robot_process.h>

using namespace obvista_test;
using namespace obvista_test::viewer_case;
using KV::BonjourDiscovery;

namespace {

constexpr char a_host[] = "walker";
constexpr char a_firstAddress[] = "10.77.62.1";
constexpr char a_secondAddress[] = "10.77.62.2";
constexpr int a_port = 9559;
/** Milliseconds: sufficient for a machine that is busy with other tests. */
constexpr int a_patience = 60000;

/** Writes the host's address into its profile, as the host does after its lookup. */
bool setLookedUpAddress(const std::string& address) {
    const KVCriticalSectionWrite lock(BonjourDiscovery::fRobaxsMapMutex);
    const auto found = BonjourDiscovery::getMap().find(std::string(a_host) + ".local");
    if (found == BonjourDiscovery::getMap().end() ||
        !found->second->hasService(BonjourDiscovery::fRobaxiServiceType)) {
        return false;
    }
    found->second->fIP = address;
    return true;
}

/** Sends this host's packets to an address to a card that nobody has, so that they are lost. */
void losePacketsTo(const char* address) {
    const QStringList arguments{"neighbour", "replace",   address, "lladdr", "02:00:00:00:00:01",
                                "nud",       "permanent", "dev",   "eth0"};
    QCOMPARE(QProcess::execute(QStringLiteral("ip"), arguments), 0);
}

}  // namespace

/** Tests "Reconnect when the robot returns" with a robot that is announced by a real daemon. */
class MovingRobotTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase();
    void cleanupTestCase();
    void isFoundAtAnotherAddress();
    void isFoundAtItsOtherFamilyWhenPacketsAreLost();

  private:
    /** Returns the text of a label, which may be hidden for lack of space. */
    QString xLabel(const char* name) const {
        return fWidget->findChild<QLabel*>(QLatin1String(name))->text();
    }

    std::unique_ptr<PluginDriver> fViewer;
    QWidget* fWidget = nullptr;
};

void MovingRobotTest::initTestCase() {
    qputenv("ROBAXI_SILENCE", "2000");  // of the broker that the plugin creates
    QSettings().setValue(QStringLiteral("Viewers/reconnect"), true);
    lab::control({"add", a_host, "--address", a_firstAddress, "--ready", "listens on", "--",
                  RobotProcess::program(), "--address", "0.0.0.0", "--http-port", "0"});
    BonjourDiscovery::startListening();
    QTRY_VERIFY_WITH_TIMEOUT(setLookedUpAddress(a_firstAddress), a_patience);
    fViewer = std::make_unique<PluginDriver>(pluginName());
    fWidget = fViewer->createWidget(a_port, a_firstAddress);
    fViewer->dock(fWidget);
    QTRY_VERIFY_WITH_TIMEOUT(isLive(fWidget), a_patience);
}

void MovingRobotTest::cleanupTestCase() {
    fViewer.reset();
    BonjourDiscovery::stopListening();
}

/** The host's lookup of the new address has not ended: its resolver may wait for a DNS server. */
void MovingRobotTest::isFoundAtAnotherAddress() {
    lab::control({"address", a_host, a_secondAddress});
    QTRY_COMPARE_WITH_TIMEOUT(xLabel("robotAddress"),
                              QStringLiteral("%1:%2").arg(a_secondAddress).arg(a_port), a_patience);
    QTRY_COMPARE_WITH_TIMEOUT(xLabel("viewerBanner"), QString(), a_patience);
    QTRY_VERIFY_WITH_TIMEOUT(isLive(fWidget), a_patience);
}

/** The IPv4 address is tried first; the IPv6 address is that of the link, with its interface. */
void MovingRobotTest::isFoundAtItsOtherFamilyWhenPacketsAreLost() {
    QTRY_VERIFY_WITH_TIMEOUT(setLookedUpAddress(a_secondAddress), a_patience);
    losePacketsTo(a_secondAddress);
    const QRegularExpression expected(QStringLiteral("^\\[fe80::[0-9a-f:]+%eth0\\]:9559$"));
    QTRY_VERIFY_WITH_TIMEOUT(expected.match(xLabel("robotAddress")).hasMatch(), a_patience);
    QTRY_COMPARE_WITH_TIMEOUT(xLabel("viewerBanner"), QString(), a_patience);
    QTRY_VERIFY_WITH_TIMEOUT(isLive(fWidget), a_patience);
}

OBVISTA_QTEST_MAIN(MovingRobotTest)
#include "moving_robot_test.moc"
