#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>
#include <qt_test_main.h>

#include <child_process.h>
#include <matroska_reading.h>
#include <memory>
#include <viewer_case.h>
#include <viewer_process_command.h>

using namespace obvista_test;

class RecordingExitTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void completesTheRecordingOfAViewerThatNobodyDeletes();
};

void RecordingExitTest::completesTheRecordingOfAViewerThatNobodyDeletes() {
    const QTemporaryDir folder;
    QSettings settings;
    settings.setValue(QStringLiteral("CameraViewer/folder"), folder.path());
    settings.setValue(QStringLiteral("CameraViewer/recordingFormat"), QStringLiteral("mkv"));
    settings.sync();
    const std::unique_ptr<ShownRobot> robot = viewer_case::makeRobot();
    ChildProcess viewer(viewerProcess(viewer_case::pluginName(), "exit-while-busy", robot->port()));
    for (int step = 0; !viewer.waitForEnd(std::chrono::milliseconds(10)) && step < 6000; ++step) {
        robot->show(step % 200);
    }
    QCOMPARE(viewer.waitForEnd(std::chrono::milliseconds(1)).value_or(-1), 0);
    QCOMPARE(viewer.errors(), std::string());
    QCOMPARE(viewer.output(), std::string("ready\nconnection closed\nroot object deleted\n"));

    const QStringList files = QDir(folder.path()).entryList({QStringLiteral("*.mkv")});
    QCOMPARE(files.size(), 1);
    const MatroskaContent recording = readMatroska(folder.filePath(files.first()));
    QCOMPARE(recording.fError, std::string());
    QVERIFY(recording.fPictures.size() >= 5);
    QVERIFY(recording.fDuration > 0);
}

OBVISTA_QTEST_MAIN(RecordingExitTest)
#include "recording_exit_test.moc"
