#include "camera_driver.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <lesser_robot_process.h>
#include <memory>

using namespace obvista_test;

namespace {

const QColor a_sentColor(200, 200, 200);

QLineEdit* nameFieldOf(QWidget* viewer) {
    return viewer->findChild<QLineEdit*>(QStringLiteral("cameraName"));
}

void enterName(QWidget* viewer, const QString& name) {
    QLineEdit* field = nameFieldOf(viewer);
    field->setFocus();
    field->selectAll();
    QTest::keyClicks(field, name);
    QTest::keyClick(field, Qt::Key_Return);
}

}  // namespace

/** Tests the viewer with a robot whose "KVVideo" has a camera and no methods. */
class LesserRobotTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();

    void saysWhichMethodIsMissing();
    void showsACameraByItsName();
    void saysThatThereIsNoCameraOfTheName();
    void remembersTheName();

  private:
    std::unique_ptr<LesserRobotProcess> fRobot;
    std::unique_ptr<CameraDriver> fDriver;
    QWidget* fViewer = nullptr;
};

void LesserRobotTest::init() {
    QSettings().clear();
    fRobot = std::make_unique<LesserRobotProcess>();
    fDriver = std::make_unique<CameraDriver>();
    fViewer = fDriver->show(fRobot->port());
    QVERIFY(waitForActive(&fDriver->window()));
    QTRY_VERIFY(nameFieldOf(fViewer)->isVisible());
}

void LesserRobotTest::cleanup() {
    fDriver.reset();
    fRobot.reset();
}

void LesserRobotTest::saysWhichMethodIsMissing() {
    QCOMPARE(
        messageOf(fViewer),
        QStringLiteral("This robot does not list its cameras: its module KVVideo has no method "
                       "getCameras. Enter a camera's name above to watch it."));
    QVERIFY(!boxOf(fViewer, "cameraBox")->isVisible());
    for (const char* box : {"sizeBox", "formatBox", "rateBox"}) {
        QVERIFY(!boxOf(fViewer, box)->isEnabled());
    }
}

void LesserRobotTest::showsACameraByItsName() {
    enterName(fViewer, QStringLiteral("eye"));
    QTRY_COMPARE(shownColor(fViewer), a_sentColor);
    QTRY_VERIFY(figureOf(fViewer, QStringLiteral("received")) > 0);
    QVERIFY2(readoutOf(fViewer).startsWith(QString::fromUtf8("4 × 2 Grey")),
             qPrintable(readoutOf(fViewer)));
    QTRY_COMPARE(noticeOf(fViewer), QString());
    QVERIFY(toldOf(fViewer).isEmpty());
}

void LesserRobotTest::saysThatThereIsNoCameraOfTheName() {
    enterName(fViewer, QStringLiteral("nose"));
    QTRY_VERIFY2(messageOf(fViewer).startsWith(
                     QStringLiteral("The robot has ended the stream of camera \"nose\": ")),
                 qPrintable(messageOf(fViewer)));
    enterName(fViewer, QStringLiteral("eye"));
    QTRY_COMPARE(shownColor(fViewer), a_sentColor);
}

void LesserRobotTest::remembersTheName() {
    enterName(fViewer, QStringLiteral("eye"));
    QTRY_COMPARE(shownColor(fViewer), a_sentColor);
    QWidget* other = fDriver->show(fRobot->port());
    QTRY_COMPARE(shownColor(other), a_sentColor);
    QCOMPARE(nameFieldOf(other)->text(), QStringLiteral("eye"));
}

OBVISTA_QTEST_MAIN(LesserRobotTest)
#include "lesser_robot_test.moc"
