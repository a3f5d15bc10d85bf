#include "viewer_driver.h"

#include <robaxi/kv_broker.h>
#include <robaxi/kv_connection.h>
#include <robaxi/kv_subscription.h>

#include <QComboBox>
#include <QDockWidget>
#include <QSettings>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <deque>
#include <memory>
#include <mutex>
#include <robot_process.h>
#include <string>
#include <vector>

using namespace obvista_test;

namespace {

constexpr const char* a_changed = "Load/Unit000/Drive0/Changed";
constexpr const char* a_steps = "Load/Unit000/Drive0/Steps";
const QString a_atLeast = QStringLiteral("\u2265 ");

/** Milliseconds; on a busy machine the robot skips changes for a while. */
constexpr int a_patience = 60000;

double secondsSince(qint64 microseconds) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now - std::chrono::microseconds(microseconds)).count();
}

/** Converts "0.018 s" to a number. */
double seconds(const QString& age) {
    bool isNumber = false;
    const double number = age.section(QLatin1Char(' '), 0, 0).toDouble(&isNumber);
    return isNumber && age.endsWith(QLatin1String(" s")) ? number : std::nan("");
}

/** A shown rate as a number, with or without the mark of a lower bound. */
double rateOf(QString text) {
    return text.remove(a_atLeast).toDouble();
}

QString rateIn(QWidget* viewer) {
    return cellOf(viewer, a_steps, "Rate");
}

bool isNear(double actual, double expected) {
    return std::abs(actual - expected) <= 0.05 * expected;
}

/** A second client beside the viewer that counts how often a robot sends a key. */
class SentRate {
  public:
    SentRate(int port, const std::string& key, double rate) {
        KVSubscription::Callbacks callbacks;
        callbacks.fValuesChanged = [this](const std::vector<KVChange>& changes) { xAdd(changes); };
        fSubscription =
            KVSubscription::start(KVConnection::open(KVBroker::createBroker({"SentRate"}),
                                                     RobotProcess::address(), port, 5),
                                  "KVMemory", {key}, rate, callbacks);
    }
    ~SentRate() { fSubscription->stop(); }
    SentRate(const SentRate&) = delete;
    SentRate& operator=(const SentRate&) = delete;

    /**
     * Returns the changes a second among those of the last five seconds; 0 before there are enough.
     */
    double perSecond() const {
        constexpr std::int64_t span = 5'000'000;
        const std::lock_guard<std::mutex> lock(fMutex);
        if (fTimes.empty() || fTimes.back() - fTimes.front() < span) {
            return 0;
        }
        const auto first = std::lower_bound(fTimes.begin(), fTimes.end(), fTimes.back() - span);
        return static_cast<double>(fTimes.end() - first - 1) * 1e6 /
               static_cast<double>(fTimes.back() - *first);
    }

  private:
    void xAdd(const std::vector<KVChange>& changes) {
        const std::lock_guard<std::mutex> lock(fMutex);
        for (const KVChange& change : changes) {
            fTimes.push_back(change.fTime);
        }
    }

    mutable std::mutex fMutex;
    std::deque<std::int64_t> fTimes;
    std::shared_ptr<KVSubscription> fSubscription;
};

/**
 * Measures the error of a value's displayed age in seconds, each time it is painted. The value
 * contains the time at which the robot set it.
 */
class AgeWatch : public QObject {
  public:
    explicit AgeWatch(QWidget* viewer) : fViewer(viewer) {
        treeOf(viewer)->viewport()->installEventFilter(this);
    }

    const std::vector<double>& errors() const { return fErrors; }
    double longestAge() const { return fLongestAge; }

    bool eventFilter(QObject* object, QEvent* event) override {
        // The first value is created a while before the robot starts storing it.
        if (event->type() == QEvent::Paint && cellOf(fViewer, a_steps, "Value").toInt() > 0) {
            const qint64 changed = cellOf(fViewer, a_changed, "Value").toLongLong();
            // Between two readings of the clock, since a busy machine may suspend this thread
            // there.
            const double least = secondsSince(changed);
            const double shown = seconds(cellOf(fViewer, a_changed, "Age"));
            const double most = secondsSince(changed);
            fErrors.push_back(std::isnan(shown) ? shown
                                                : std::max({least - shown, shown - most, 0.0}));
            fLongestAge = std::max(fLongestAge, shown);
        }
        return QObject::eventFilter(object, event);
    }

  private:
    QWidget* fViewer;
    std::vector<double> fErrors;
    double fLongestAge = 0;
};

}  // namespace

/** Compares the viewer's figures with those of the robot. */
class AgreementTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void ratesAreWithinFivePerCent_data();
    void ratesAreWithinFivePerCent();
    void ratesAreThoseThatTheRobotSends_data();
    void ratesAreThoseThatTheRobotSends();
    void agesAreWithinFiveMilliseconds();

  private:
    void xShow(double rate, int followRate = 50);
    QWidget* xShowDock(int followRate);
    QString xRate() const { return rateIn(fViewer); }

    std::unique_ptr<RobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void AgreementTest::init() {
    QSettings().clear();
    fDriver = std::make_unique<ViewerDriver>();
}

void AgreementTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

/** Shows a robot whose keys change `rate` times a second, subscribed at `followRate`. */
void AgreementTest::xShow(double rate, int followRate) {
    RobotProcess::Settings settings;
    settings.fArguments = {"--keys", "100", "--changing", "20", "--rate", std::to_string(rate)};
    fRobot = std::make_unique<RobotProcess>(settings);
    fViewer = xShowDock(followRate);
    QTRY_VERIFY(indexOf(fViewer, a_steps).isValid());
}

/** Shows the robot in another dock. */
QWidget* AgreementTest::xShowDock(int followRate) {
    QWidget* viewer = fDriver->createWidget(fRobot->port());
    fDriver->dock(viewer);
    [this] { QVERIFY(waitForExposed(&fDriver->window())); }();
    auto* follow = viewer->findChild<QComboBox*>(QStringLiteral("memoryRate"));
    follow->setCurrentIndex(follow->findData(followRate));
    typeFilter(viewer, QStringLiteral("Unit000/Drive0"));
    return viewer;
}

void AgreementTest::ratesAreWithinFivePerCent_data() {
    QTest::addColumn<int>("rate");
    QTest::newRow("seldom") << 2;
    QTest::newRow("often") << 20;
    QTest::newRow("nearly as often as can be seen") << 40;
}

void AgreementTest::ratesAreWithinFivePerCent() {
    QFETCH(int, rate);
    xShow(rate);
    QTRY_VERIFY2_WITH_TIMEOUT(isNear(rateOf(xRate()), rate), qPrintable(xRate()), a_patience);
}

void AgreementTest::ratesAreThoseThatTheRobotSends_data() {
    QTest::addColumn<double>("rate");
    QTest::addColumn<int>("followRate");
    QTest::addColumn<QString>("marks");
    QTest::addColumn<int>("docks");
    QTest::newRow("slower than it is asked, in two docks") << 3.1 << 10 << "no" << 2;
    QTest::newRow("as fast as it is asked") << 9.7 << 10 << "yes" << 1;
    QTest::newRow("faster than it is asked, in two docks") << 48.0 << 10 << "yes" << 2;
    // A busy robot's changes may be closer together than intended.
    QTest::newRow("nearly as fast as it is asked") << 35.0 << 50 << "yes or no" << 1;
}

/**
 * Checks every displayed rate for six seconds. Changes wait for the robot's next update and for the
 * viewer's next frame, which must not count as a standstill.
 */
void AgreementTest::ratesAreThoseThatTheRobotSends() {
    constexpr int looks = 6;
    QFETCH(double, rate);
    QFETCH(int, followRate);
    QFETCH(QString, marks);
    QFETCH(int, docks);
    xShow(rate, followRate);
    QList<QWidget*> viewers{fViewer};
    while (viewers.size() < docks) {
        viewers += xShowDock(followRate);
        QTRY_VERIFY(indexOf(viewers.last(), a_steps).isValid());
    }
    const SentRate sent(fRobot->port(), a_steps, followRate);
    int agreed = 0;
    QString last;
    QTimer turns;
    connect(&turns, &QTimer::timeout, this, [&] {
        const double expected = sent.perSecond();
        QStringList shown;
        bool agrees = expected > 0;
        for (QWidget* viewer : viewers) {
            shown += rateIn(viewer);
            const QString mark =
                shown.last().startsWith(a_atLeast) ? QStringLiteral("yes") : QStringLiteral("no");
            agrees = agrees && isNear(rateOf(shown.last()), expected) && marks.contains(mark);
        }
        agreed = agrees ? agreed + 1 : 0;
        last = QStringLiteral("%1 for %2")
                   .arg(shown.join(QStringLiteral(" and ")), QString::number(expected));
    });
    turns.start(1000);
    QTRY_VERIFY2_WITH_TIMEOUT(agreed >= looks, qPrintable(last), a_patience);
}

void AgreementTest::agesAreWithinFiveMilliseconds() {
    constexpr std::size_t looks = 30;
    constexpr double allowed = 0.005;
    xShow(2);
    AgeWatch watch(fViewer);
    QTRY_VERIFY_WITH_TIMEOUT(watch.errors().size() >= looks && watch.longestAge() > 0.3,
                             a_patience);
    for (const double error : watch.errors()) {
        QVERIFY2(error <= allowed, qPrintable(QString::number(error)));
    }
}

OBVISTA_QTEST_MAIN(AgreementTest)
#include "agreement_test.moc"
