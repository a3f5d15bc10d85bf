#include "viewer_driver.h"

#include <QDockWidget>
#include <QLineEdit>
#include <QSettings>
#include <QTreeView>
#include <QtTest>
#include <qt_test_main.h>

#include <lesser_robot_process.h>
#include <memory>

using namespace obvista_test;

/** Tests the viewer with a robot whose "KVMemory" has values and no methods. */
class LesserRobotTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void showsItsValues();
    void saysWhichMethodIsMissingForAnEdit();

  private:
    std::unique_ptr<LesserRobotProcess> fRobot;
    std::unique_ptr<ViewerDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void LesserRobotTest::init() {
    QSettings().clear();
    fRobot = std::make_unique<LesserRobotProcess>();
    fDriver = std::make_unique<ViewerDriver>();
    fViewer = fDriver->dock(fDriver->createWidget(fRobot->port()))->widget();
    QVERIFY(waitForActive(&fDriver->window()));
    QTRY_VERIFY(indexOf(fViewer, "Joint/1").isValid());
}

void LesserRobotTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

void LesserRobotTest::showsItsValues() {
    QTRY_COMPARE(valueOf(fViewer, "Joint/1"), QStringLiteral("1.5"));
    QTRY_COMPARE(valueOf(fViewer, "Robot/Name"), QStringLiteral("lesser"));
    QCOMPARE(cellOf(fViewer, "Joint/1", "Unit"), QStringLiteral("rad"));
    QCOMPARE(noticeOf(fViewer), QString());
}

void LesserRobotTest::saysWhichMethodIsMissingForAnEdit() {
    QTRY_COMPARE(valueOf(fViewer, "Joint/1"), QStringLiteral("1.5"));
    editValue(fViewer, "Joint/1", QStringLiteral("0.25"));
    const auto isSaid = [this] {
        const QString notice = noticeOf(fViewer);
        return notice.startsWith(QStringLiteral("Joint/1 keeps its value: ")) &&
               notice.endsWith(QStringLiteral("Module KVMemory has no method named setData."));
    };
    QTRY_VERIFY2(isSaid(), qPrintable(noticeOf(fViewer)));
    QCOMPARE(valueOf(fViewer, "Joint/1"), QStringLiteral("1.5"));
}

OBVISTA_QTEST_MAIN(LesserRobotTest)
#include "lesser_robot_test.moc"
