#include "recording/change_recorder.h"

#include "recording/csv_file.h"
#include "recording/recording_bar.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>
#include <qt_test_main.h>

#include <file_size_limit.h>
#include <recording/check.h>
#include <recording/reader.h>
#include <robot_recording/csv_rows.h>
#include <set>
#include <sys/stat.h>
#include <thread>

using namespace memoryviewer;

namespace {

constexpr int a_columns = 6;
const QByteArray a_header = QByteArray::fromRawData(robot_recording::a_csvHeader.data(),
                                                    int(robot_recording::a_csvHeader.size()));

std::vector<RecordedChange> changes(int first, int count) {
    static const auto key = std::make_shared<KVKeyInfo>(
        KVKeyInfo{0, "Head/Yaw", "rad", "an angle", KVValue::Type::Nothing, false});
    std::vector<RecordedChange> changes;
    for (int i = first; i < first + count; ++i) {
        changes.push_back({std::int64_t(i) * 1000, key, KVValue(i), 0});
    }
    return changes;
}

QByteArray contentOf(const QString& fileName) {
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/** Returns true if the file consists of the header and whole rows of changes(). */
bool hasWholeRowsOnly(const QByteArray& content) {
    if (!content.startsWith(a_header) || !content.endsWith("\r\n")) {
        return false;
    }
    const QList<QByteArray> rows = content.mid(a_header.size()).split('\n');
    for (int i = 0; i + 1 < rows.size(); ++i) {
        const QList<QByteArray> fields = rows[i].trimmed().split(',');
        if (fields.size() != a_columns || fields[3].toLongLong() != i) {
            return false;
        }
    }
    return true;
}

/** Returns topic and data of each message. */
std::vector<std::string> messagesOf(recording::Reader& reader) {
    std::vector<std::string> all;
    recording::Selection selection;
    selection.fOrder = recording::Order::File;
    recording::Messages messages = reader.messages(selection);
    while (const std::optional<recording::Message> message = messages.next()) {
        all.push_back(reader.channels().at(message->fChannelId).fTopic + ' ' +
                      std::string(message->fData));
    }
    return all;
}

}  // namespace

class RecorderTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void writesARowForEachChange();
    void writesAllThatWasRecordedBeforeItsEnd();
    void recordsNothingBeforeItsStartAndAfterItsEnd();
    void canBeUsedAgain();
    void takesChangesFromSeveralThreads();
    void countsWhatTheDiskIsTooSlowFor();
    void leavesWholeRowsWhenTheFileMayNotGrow();
    void saysThatTheDiskIsFull();
    void saysWhyAFileCannotBeMade_data();
    void saysWhyAFileCannotBeMade();
    void waitsForNoReaderOfAPipe();
    void leavesAValidFileWhenItIsKilled();
    void writesTheMessagesOfRobaxi();
    void marksWhatTheDiskIsTooSlowForInMcapToo();
    void leavesAnMcapFileThatOpensWhenItMayNotGrow();
    void startsAndStopsByTheBar();
    void asksForAFileByKeyboard();
    void tellsInTheBarWhatWentWrong();

  private:
    QString xFile() const { return fFolder->filePath(QStringLiteral("values.csv")); }
    /** @return the error with which the recording ended */
    QString xEndOf(ChangeRecorder& recorder);

    std::unique_ptr<QTemporaryDir> fFolder;
};

void RecorderTest::init() {
    fFolder = std::make_unique<QTemporaryDir>();
}

QString RecorderTest::xEndOf(ChangeRecorder& recorder) {
    QString result = QStringLiteral("it did not end");
    QSignalSpy finished(&recorder, &ChangeRecorder::finished);
    const bool isOver = obvista_test::waitFor([&recorder] { return !recorder.isRecording(); });
    if (isOver && finished.size() == 1) {
        result = finished.first().first().toString();
    }
    return result;
}

void RecorderTest::writesARowForEachChange() {
    ChangeRecorder recorder;
    recorder.start(xFile());
    QVERIFY(recorder.isRecording());
    recorder.record(changes(0, 3));
    recorder.stop();
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(contentOf(xFile()), a_header +
                                     "0,1970-01-01T00:00:00.000000Z,Head/Yaw,0,rad,int\r\n"
                                     "1000,1970-01-01T00:00:00.001000Z,Head/Yaw,1,rad,int\r\n"
                                     "2000,1970-01-01T00:00:00.002000Z,Head/Yaw,2,rad,int\r\n");
    QCOMPARE(recorder.progress().fChanges, std::uint64_t(3));
    QCOMPARE(recorder.progress().fBytes, std::int64_t(contentOf(xFile()).size()));
    QCOMPARE(recorder.progress().fLost, std::uint64_t(0));
}

void RecorderTest::writesAllThatWasRecordedBeforeItsEnd() {
    {
        ChangeRecorder recorder;
        recorder.start(xFile());
        recorder.record(changes(0, 50000));
    }
    const QByteArray content = contentOf(xFile());
    QVERIFY(hasWholeRowsOnly(content));
    QCOMPARE(content.count('\n'), 50001);
}

void RecorderTest::recordsNothingBeforeItsStartAndAfterItsEnd() {
    ChangeRecorder recorder;
    recorder.record(changes(0, 5));
    recorder.start(xFile());
    recorder.stop();
    recorder.record(changes(0, 5));
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(contentOf(xFile()), a_header);
}

void RecorderTest::canBeUsedAgain() {
    ChangeRecorder recorder;
    for (int round = 0; round < 3; ++round) {
        recorder.start(xFile());
        recorder.record(changes(0, 10 * (3 - round)));
        recorder.stop();
        QCOMPARE(xEndOf(recorder), QString());
        QCOMPARE(contentOf(xFile()).count('\n'), 1 + 10 * (3 - round));
        QVERIFY(hasWholeRowsOnly(contentOf(xFile())));
    }
}

void RecorderTest::takesChangesFromSeveralThreads() {
    ChangeRecorder recorder;
    recorder.start(xFile());
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&recorder] {
            for (int part = 0; part < 100; ++part) {
                recorder.record(changes(part * 10, 10));
            }
        });
    }
    while (recorder.progress().fChanges < 100) {
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    recorder.stop();
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(contentOf(xFile()).count('\n'), 4001);
}

void RecorderTest::countsWhatTheDiskIsTooSlowFor() {
    // More at once than may wait.
    ChangeRecorder recorder({100, 1 << 20}, nullptr);
    recorder.start(xFile());
    recorder.record(changes(0, 1000));
    recorder.stop();
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(recorder.progress().fLost, std::uint64_t(900));
    QCOMPARE(recorder.progress().fChanges, std::uint64_t(100));
    QVERIFY(contentOf(xFile()).endsWith("99000,1970-01-01T00:00:00.099000Z,,900,,lost\r\n"));
}

void RecorderTest::leavesWholeRowsWhenTheFileMayNotGrow() {
    const obvista_test::FileSizeLimit limit(100003);
    ChangeRecorder recorder;
    recorder.start(xFile());
    recorder.record(changes(0, 20000));
    QCOMPARE(xEndOf(recorder), QStringLiteral("values.csv cannot be written: The file has reached "
                                              "the largest size allowed."));
    const QByteArray content = contentOf(xFile());
    QVERIFY(hasWholeRowsOnly(content));
    QVERIFY2(content.size() > 99900 && content.size() <= 100003,
             qPrintable(QString::number(content.size())));
    QCOMPARE(recorder.progress().fBytes, std::int64_t(content.size()));
    QCOMPARE(recorder.progress().fChanges, std::uint64_t(content.count('\n') - 1));
}

void RecorderTest::saysThatTheDiskIsFull() {
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), xFile()));
    ChangeRecorder recorder;
    recorder.start(xFile());
    QCOMPARE(xEndOf(recorder), QStringLiteral("values.csv cannot be written: The disk is full."));
    QCOMPARE(recorder.progress().fBytes, std::int64_t(0));
}

void RecorderTest::saysWhyAFileCannotBeMade_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("no folder") << "none/values.csv"
                               << "values.csv cannot be written: The folder does not exist.";
    QTest::newRow("a folder") << "folder.csv"
                              << "folder.csv cannot be written: It is a folder.";
}

void RecorderTest::saysWhyAFileCannotBeMade() {
    QFETCH(QString, name);
    QFETCH(QString, reason);
    QVERIFY(QDir(fFolder->path()).mkdir(QStringLiteral("folder.csv")));
    ChangeRecorder recorder;
    QSignalSpy started(&recorder, &ChangeRecorder::started);
    recorder.start(fFolder->filePath(name));
    QCOMPARE(xEndOf(recorder), reason);
    QCOMPARE(started.size(), 0);
}

void RecorderTest::waitsForNoReaderOfAPipe() {
    QCOMPARE(mkfifo(QFile::encodeName(xFile()).constData(), 0600), 0);
    ChangeRecorder recorder;
    recorder.start(xFile());
    QVERIFY(xEndOf(recorder).startsWith(QStringLiteral("values.csv cannot be written: ")));
}

/** This program, recording endlessly, is the one that is killed. */
void RecorderTest::leavesAValidFileWhenItIsKilled() {
    for (int round = 0; round < 5; ++round) {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("--record"), xFile()});
        QVERIFY(process.waitForStarted());
        const qint64 enough = 300000 * (round + 1);
        QTRY_VERIFY(QFile(xFile()).size() > enough);
        process.kill();
        QVERIFY(process.waitForFinished());
        QByteArray content = contentOf(xFile());
        // At most the last row may be incomplete.
        content.truncate(content.lastIndexOf('\n') + 1);
        QVERIFY(hasWholeRowsOnly(content));
        QVERIFY(content.size() > enough - 1000);
        QVERIFY(QFile::remove(xFile()));
    }
}

void RecorderTest::writesTheMessagesOfRobaxi() {
    ChangeRecorder recorder;
    recorder.setRobot({"robot1", "127.0.0.1", "127.0.0.1", 9559});
    const QString file = fFolder->filePath(QStringLiteral("values.mcap"));
    recorder.start(file);
    recorder.record(changes(0, 3));
    recorder.record(RecordedEvent{"key removed", "Head/Yaw", {}});
    recorder.stop();
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(recorder.progress().fChanges, std::uint64_t(3));
    QCOMPARE(recorder.progress().fBytes, QFileInfo(file).size());
    QCOMPARE(recording::check(file.toStdString()).fFaultCount, std::uint64_t(0));

    recording::Reader reader(file.toStdString());
    QCOMPARE(reader.readMetadata(reader.metadata().at(0)).fEntries.at("port"), std::string("9559"));
    const std::vector<std::string> expected{
        R"(/robot1/events {"event":"begin","text":""})",
        R"(/robot1/memory/Head/Yaw {"value":0})",
        R"(/robot1/memory/Head/Yaw {"value":1})",
        R"(/robot1/memory/Head/Yaw {"value":2})",
        R"(/robot1/events {"event":"key removed","text":"Head/Yaw"})",
        R"(/robot1/events {"event":"end","text":""})"};
    QCOMPARE(messagesOf(reader), expected);
    recording::Selection values;
    values.fChannels = std::set<std::uint16_t>{};
    for (const auto& [id, channel] : reader.channels()) {
        if (channel.fTopic == "/robot1/memory/Head/Yaw") {
            QCOMPARE(channel.fMetadata.at("unit"), std::string("rad"));
            QCOMPARE(channel.fMetadata.at("description"), std::string("an angle"));
            QCOMPARE(reader.schemas().at(channel.fSchemaId).fName, std::string("robaxi.Int"));
            values.fChannels->insert(id);
        }
    }
    recording::Messages messages = reader.messages(values);
    messages.next();
    const std::optional<recording::Message> second = messages.next();
    QVERIFY(second);
    QCOMPARE(second->fPublishTime, std::uint64_t(1'000'000));
    QVERIFY(second->fLogTime > second->fPublishTime);
}

void RecorderTest::marksWhatTheDiskIsTooSlowForInMcapToo() {
    // More at once than may wait.
    ChangeRecorder recorder({100, 1 << 20}, nullptr);
    recorder.setRobot({"robot1", "", "", 0});
    const QString file = fFolder->filePath(QStringLiteral("values.mcap"));
    recorder.start(file);
    recorder.record(changes(0, 1000));
    recorder.stop();
    QCOMPARE(xEndOf(recorder), QString());
    QCOMPARE(recorder.progress().fLost, std::uint64_t(900));
    recording::Reader reader(file.toStdString());
    const std::vector<std::string> messages = messagesOf(reader);
    QCOMPARE(messages.size(), std::size_t(103));
    const std::string& loss = messages[101];
    QVERIFY2(loss.find(R"("event":"dropped")") != std::string::npos, loss.c_str());
    QVERIFY2(loss.find(R"("messages":900,)") != std::string::npos, loss.c_str());
}

void RecorderTest::leavesAnMcapFileThatOpensWhenItMayNotGrow() {
    const obvista_test::FileSizeLimit limit(100003);
    ChangeRecorder recorder;
    const QString file = fFolder->filePath(QStringLiteral("values.mcap"));
    recorder.start(file);
    // The recorder notices it with the change after the chunk that does not fit.
    for (int i = 0; recorder.isRecording(); i += 100) {
        recorder.record(changes(i, 100));
        QCoreApplication::processEvents();
    }
    QVERIFY2(recorder.progress().fChanges > 0, "nothing was recorded");
    QVERIFY(QFileInfo(file).size() <= 100003);
    recording::Reader reader(file.toStdString());
    QVERIFY(recorder.progress().fBytes <= 100003);
}

void RecorderTest::startsAndStopsByTheBar() {
    ChangeRecorder recorder;
    RecordingBar bar(&recorder);
    bar.show();
    QVERIFY(obvista_test::waitForExposed(&bar));
    auto* button = bar.findChild<QToolButton*>(QStringLiteral("recordingButton"));
    auto* text = bar.findChild<QLabel*>(QStringLiteral("recordingStatus"));
    QCOMPARE(text->text(), QStringLiteral("Not recording."));
    QCOMPARE(button->accessibleName(), QStringLiteral("Record to a file"));

    QSignalSpy changed(&bar, &RecordingBar::recordingChanged);
    bar.start(xFile());
    QCOMPARE(changed.size(), 1);
    QCOMPARE(changed.first().first().toBool(), true);
    QCOMPARE(button->accessibleName(), QStringLiteral("Stop recording"));
    recorder.record(changes(0, 1234));
    QTRY_VERIFY(text->text().contains(QStringLiteral("1\u202F234 values")));
    QVERIFY(text->text().startsWith(QStringLiteral("values.csv")));

    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    QTRY_COMPARE(changed.size(), 2);
    QCOMPARE(changed.last().first().toBool(), false);
    QVERIFY(text->text().startsWith(QStringLiteral("Recorded")));
    QCOMPARE(text->accessibleName(), QStringLiteral("Status: ") + text->text());
}

void RecorderTest::asksForAFileByKeyboard() {
    ChangeRecorder recorder;
    RecordingBar bar(&recorder);
    bar.setRobotName(QStringLiteral("-./=evil\nrobot"));
    bar.show();
    QVERIFY(obvista_test::waitForActive(&bar));
    auto* button = bar.findChild<QToolButton*>(QStringLiteral("recordingButton"));
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Space);
    auto* dialog = bar.findChild<QFileDialog*>(QStringLiteral("fileQuestion"));
    QVERIFY(dialog != nullptr);
    QVERIFY(obvista_test::waitForActive(dialog));
    auto* name = dialog->findChild<QLineEdit*>();
    QVERIFY2(name->text().startsWith(QStringLiteral("_.__evil_robot-")), qPrintable(name->text()));
    // Another format.
    QVERIFY(name->text().endsWith(QStringLiteral(".mcap")));
    auto* formats = dialog->findChild<QComboBox*>(QStringLiteral("fileTypeCombo"));
    QCOMPARE(formats->count(), 2);
    formats->setFocus();
    QTest::keyClick(formats, Qt::Key_Down);
    QVERIFY2(name->text().endsWith(QStringLiteral(".csv")), qPrintable(name->text()));
    QTest::keyClick(formats, Qt::Key_Up);
    QVERIFY2(name->text().endsWith(QStringLiteral(".mcap")), qPrintable(name->text()));
    dialog->setDirectory(fFolder->path());
    name->setFocus();
    name->setText(QStringLiteral("typed"));
    QTest::keyClick(name, Qt::Key_Return);
    QTRY_VERIFY(recorder.isRecording());
    QCOMPARE(recorder.fileName(), fFolder->filePath(QStringLiteral("typed.mcap")));
}

void RecorderTest::tellsInTheBarWhatWentWrong() {
    ChangeRecorder recorder;
    RecordingBar bar(&recorder);
    QSignalSpy changed(&bar, &RecordingBar::recordingChanged);
    QVERIFY(QFile::link(QStringLiteral("/dev/full"), xFile()));
    bar.start(xFile());
    QTRY_COMPARE(changed.size(), 2);
    auto* text = bar.findChild<QLabel*>(QStringLiteral("recordingStatus"));
    QVERIFY2(text->text().contains(QStringLiteral("The disk is full.")), qPrintable(text->text()));
}

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    obvista_test::setApplicationIdentity();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QStringLiteral("--record")) {
        ChangeRecorder recorder;
        recorder.start(arguments.value(2));
        for (int i = 0;; i += 100) {
            recorder.record(changes(i, 100));
            // No faster than it is written, so that nothing is lost.
            while (recorder.progress().fChanges + 1000 < std::uint64_t(i)) {
                std::this_thread::yield();
            }
        }
    }
    QLocale::setDefault(QLocale(QLocale::English));
    RecorderTest test;
    return obvista_test::runQtTest(&test, arguments);
}
#include "change_recorder_test.moc"
