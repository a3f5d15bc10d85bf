#include "curve_legend.h"
#include "key_mime.h"
#include "plot_canvas.h"
#include "plot_history.h"
#include "plot_panel.h"
#include "plot_view.h"
#include "time_axis.h"

#include <QAction>
#include <QDateTime>
#include <QLabel>
#include <QSignalSpy>
#include <QtTest>
#include <qt_test_main.h>

#include <cmath>
#include <limits>
#include <memory>

using namespace memoryviewer;

namespace {

constexpr qint64 a_second = 1000000;

qint64 nowByThisComputer() {
    return QDateTime::currentMSecsSinceEpoch() * 1000;
}

}  // namespace

/** The panel in a real window. */
class PanelTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void saysWhatToDoWhenNothingIsPlotted();
    void showsTheNewestValuesAndFollowsThem();

  private:
    void xAppend(const QString& key, qint64 time, double value);

    std::unique_ptr<PlotPanel> fPanel;
    qint64 fStart = 0;
};

void PanelTest::init() {
    fStart = nowByThisComputer();
    fPanel = std::make_unique<PlotPanel>();
    fPanel->resize(900, 500);
    fPanel->show();
    QVERIFY(QTest::qWaitForWindowActive(fPanel.get()));
}

void PanelTest::cleanup() {
    fPanel.reset();
}

void PanelTest::xAppend(const QString& key, qint64 time, double value) {
    fPanel->append({{fPanel->keyHandle(key), time, value}});
}

void PanelTest::saysWhatToDoWhenNothingIsPlotted() {
    auto* message = fPanel->findChild<QLabel*>(QStringLiteral("plotMessage"));
    QVERIFY(message->isVisible());
    QVERIFY(message->text().contains(QStringLiteral("Drag keys")));
    fPanel->addCurve(QStringLiteral("A"), QString());
    QVERIFY(!message->isVisible());
    fPanel->removeCurve(QStringLiteral("A"));
    QVERIFY(message->isVisible());
}

void PanelTest::showsTheNewestValuesAndFollowsThem() {
    fPanel->addCurve(QStringLiteral("Head/Yaw"), QStringLiteral("rad"));
    fPanel->addCurve(QStringLiteral("Head/Pitch"), QStringLiteral("rad"));
    fPanel->addCurveToNewPlot(QStringLiteral("Battery"), QStringLiteral("%"), CurveShape::Steps);
    for (int i = 0; i <= 1500; ++i) {
        const qint64 time = fStart - 30 * a_second + i * a_second / 50;
        xAppend(QStringLiteral("Head/Yaw"), time, std::sin(i / 40.0));
        if (i < 500 || i > 700) {
            xAppend(QStringLiteral("Head/Pitch"), time, std::cos(i / 70.0) / 2);
        } else if (i == 500) {
            xAppend(QStringLiteral("Head/Pitch"), time, std::nan(""));
        }
        if (i % 300 == 0) {
            xAppend(QStringLiteral("Battery"), time, 90 - i / 300);
        }
    }
    QTRY_VERIFY(fPanel->timeAxis().now() >= double(fStart));
    if (qEnvironmentVariableIsSet("SHOT")) {
        QTest::qWait(600);
        fPanel->grab().save(qEnvironmentVariable("SHOT"));
    }
    QCOMPARE(fPanel->timeAxis().right(), fPanel->timeAxis().now());
}

OBVISTA_QTEST_MAIN(PanelTest)
#include "panel_test.moc"
