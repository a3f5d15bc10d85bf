#include "camera_driver.h"
#include "video_robot.h"

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QtTest>
#include <qt_test_main.h>

#include <held_key.h>
#include <memory>
#include <tab_ring.h>

using namespace obvista_test;

/** Tests the window without a mouse. */
class KeyboardTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void leadsToEveryControlWithAPicture();
    void leadsToEveryControlWithoutAPicture();
    void givesTheKeyboardToThePicture();
    void listsTheKeys();
    void repeatsOnlyWhatMovesThePicture_data();
    void repeatsOnlyWhatMovesThePicture();

  private:
    void xVerifyRing(const QStringList& expected);

    std::unique_ptr<VideoRobot> fRobot;
    std::unique_ptr<CameraDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void KeyboardTest::init() {
    QSettings().clear();
    fRobot = std::make_unique<VideoRobot>();
    fRobot->addCamera("head");
    fDriver = std::make_unique<CameraDriver>();
    QVERIFY(waitForActive(&fDriver->window()));
    fViewer = fDriver->show(fRobot->port());
    QTRY_COMPARE(fRobot->watchers("head"), 1);
}

void KeyboardTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

/** Visits every control in both directions; none may be left out, or visited twice. */
void KeyboardTest::xVerifyRing(const QStringList& expected) {
    boxOf(fViewer, "cameraBox")->setFocus();
    const QStringList forward = walkedByTab(fDriver->window(), Qt::Key_Tab);
    QCOMPARE(forward.join(QLatin1String(", ")), expected.join(QLatin1String(", ")));
    QStringList backward = walkedByTab(fDriver->window(), Qt::Key_Backtab);
    // From the first control back to it: all but the first in reverse order.
    std::reverse(backward.begin() + 1, backward.end());
    QCOMPARE(backward.join(QLatin1String(", ")), expected.join(QLatin1String(", ")));
    QStringList sorted = forward;
    sorted.sort();
    QCOMPARE(sorted, tabStops(*fViewer));
}

void KeyboardTest::leadsToEveryControlWithAPicture() {
    actionOf(fViewer, "histogramAction")->trigger();
    fRobot->publish("head", plainFrame(QColor(77, 77, 77), KVPixelFormat::Grey8));
    QTRY_COMPARE(labelText(fViewer, "histogramText"), QStringLiteral("Range 77 to 77\nMean 77.0"));
    xVerifyRing({"cameraBox", "sizeBox", "formatBox", "rateBox", "Pause", "Fit", "1:1",
                 "viewButton", "Snapshot", "Record", "cameraPicture", "stretchBox",
                 "connectionButton"});
}

void KeyboardTest::leadsToEveryControlWithoutAPicture() {
    xVerifyRing({"cameraBox", "sizeBox", "formatBox", "rateBox", "Pause", "Fit", "1:1",
                 "viewButton", "Record", "connectionButton"});
}

/** When a host sets the focus to the viewer, the picture gets it, where the single keys work. */
void KeyboardTest::givesTheKeyboardToThePicture() {
    fViewer->setFocus();
    QCOMPARE(fDriver->window().focusWidget(), boxOf(fViewer, "cameraBox"));
    fRobot->publish("head", plainFrame(Qt::red));
    QTRY_VERIFY(pictureOf(fViewer)->isVisible());
    fViewer->setFocus();
    QCOMPARE(fDriver->window().focusWidget(), pictureOf(fViewer));
}

void KeyboardTest::listsTheKeys() {
    boxOf(fViewer, "rateBox")->setFocus();
    QTest::keyClick(fDriver->window().focusWidget(), Qt::Key_F1);
    auto* list = fViewer->findChild<QDialog*>(QStringLiteral("keyList"));
    QVERIFY(list != nullptr);
    QVERIFY2(list->windowTitle().contains(QLatin1String("TestRobot")),
             qPrintable(list->windowTitle()));
    const auto* tree = list->findChild<QTreeWidget*>();
    for (const char* keys : {"Space", "Ctrl+S", "Ctrl+R", "R", "Shift+R", "Ctrl+Shift+C", "Esc"}) {
        const auto found =
            tree->findItems(QLatin1String(keys), Qt::MatchExactly | Qt::MatchRecursive);
        QVERIFY2(found.size() == 1 && !found.first()->text(1).isEmpty(), keys);
    }
    list->close();
}

void KeyboardTest::repeatsOnlyWhatMovesThePicture_data() {
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("isWithControl");
    QTest::addColumn<int>("times");
    QTest::newRow("record") << "recordAction" << int(Qt::Key_R) << true << 1;
    QTest::newRow("snapshot") << "snapshotAction" << int(Qt::Key_S) << true << 1;
    QTest::newRow("pause") << "pauseAction" << int(Qt::Key_Space) << false << 1;
    QTest::newRow("grid") << "gridAction" << int(Qt::Key_G) << false << 1;
    QTest::newRow("flip") << "flipHorizontallyAction" << int(Qt::Key_H) << false << 1;
    QTest::newRow("zoom") << "zoomInAction" << int(Qt::Key_Plus) << false << 4;
    QTest::newRow("rotate") << "rotateRightAction" << int(Qt::Key_R) << false << 4;
}

void KeyboardTest::repeatsOnlyWhatMovesThePicture() {
    QFETCH(QString, action);
    QFETCH(int, key);
    QFETCH(bool, isWithControl);
    QFETCH(int, times);
    const QTemporaryDir folder;
    QSettings().setValue(QStringLiteral("CameraViewer/folder"), folder.path());
    fRobot->publish("head", plainFrame(Qt::red));
    QTRY_VERIFY(pictureOf(fViewer)->isVisible());
    fViewer->setFocus();
    QSignalSpy triggered(actionOf(fViewer, qPrintable(action)), &QAction::triggered);
    holdKey(static_cast<Qt::Key>(key), isWithControl ? Qt::ControlModifier : Qt::NoModifier);
    QCOMPARE(triggered.size(), times);
}

OBVISTA_QTEST_MAIN(KeyboardTest)
#include "keyboard_test.moc"
