#include "viewer_driver.h"

#include <QComboBox>
#include <QDockWidget>
#include <QSettings>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <memory>
#include <robot_process.h>
#include <vector>

using namespace obvista_test;

namespace {

constexpr const char* a_changed = "Load/Unit000/Drive0/Changed";
constexpr const char* a_steps = "Load/Unit000/Drive0/Steps";

/** Milliseconds; on a busy machine the robot itself leaves changes out for a while. */
constexpr int a_patience = 60000;

double secondsSince(qint64 microseconds) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration<double>(now - std::chrono::microseconds(microseconds)).count();
}

/** "0.018 s" as a number. */
double seconds(const QString& age) {
    bool isNumber = false;
    const double number = age.section(QLatin1Char(' '), 0, 0).toDouble(&isNumber);
    return isNumber && age.endsWith(QLatin1String(" s")) ? number : std::nan("");
}

/** By how much the age of a value is wrong, seconds, each time that it is painted. The value itself
 *  says when the robot set it. */
class AgeWatch : public QObject {
  public:
    explicit AgeWatch(QWidget* viewer) : fViewer(viewer) {
        treeOf(viewer)->viewport()->installEventFilter(this);
    }

    const std::vector<double>& errors() const { return fErrors; }
    double longestAge() const { return fLongestAge; }

    bool eventFilter(QObject* object, QEvent* event) override {
        // The first value is put together a while before the robot begins to keep it.
        if (event->type() == QEvent::Paint && cellOf(fViewer, a_steps, "Value").toInt() > 0) {
            const qint64 changed = cellOf(fViewer, a_changed, "Value").toLongLong();
            // Between two looks at the clock, since a busy machine may stop this thread there.
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

/** What the viewer says of a robot that knows what is true. */
class AgreementTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void ratesAreWithinFivePerCent_data();
    void ratesAreWithinFivePerCent();
    void agesAreWithinFiveMilliseconds();

  private:
    void xShow(int rate);

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

/** A robot whose keys change so many times a second, asked as often as the viewer can. */
void AgreementTest::xShow(int rate) {
    RobotProcess::Settings settings;
    settings.fArguments = {"--keys", "100", "--changing", "20", "--rate", std::to_string(rate)};
    fRobot = std::make_unique<RobotProcess>(settings);
    fViewer = fDriver->createWidget(fRobot->port());
    fDriver->dock(fViewer);
    QVERIFY(QTest::qWaitForWindowExposed(&fDriver->window()));
    auto* follow = fViewer->findChild<QComboBox*>(QStringLiteral("memoryRate"));
    follow->setCurrentIndex(follow->findData(50));
    typeFilter(fViewer, QStringLiteral("Unit000/Drive0"));
    QTRY_VERIFY(indexOf(fViewer, a_steps).isValid());
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
    const auto isNear = [this, rate] {
        const double shown = cellOf(fViewer, a_steps, "Rate").toDouble();
        return std::abs(shown - rate) <= 0.05 * rate;
    };
    QTRY_VERIFY2_WITH_TIMEOUT(isNear(), qPrintable(cellOf(fViewer, a_steps, "Rate")), a_patience);
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
