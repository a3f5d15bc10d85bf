#include "robot_window.h"

#include <QAction>
#include <QDateTime>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QMap>
#include <QSettings>
#include <QTemporaryDir>
#include <QToolButton>
#include <QtTest>
#include <qt_test_main.h>

#include <algorithm>
#include <file_size_limit.h>
#include <memory>
#include <recording/reader.h>

using namespace obvista_test;

namespace {

constexpr char a_header[] = "time_us,time_utc,key,value,unit,type\r\n";

enum Field { TimeField, DateField, KeyField, ValueField, UnitField, TypeField, FieldCount };
using Row = QList<QByteArray>;

/**
 * Returns the rows of a complete file; nothing if it is incomplete. The recorded texts need no
 * quoting.
 */
QList<Row> rowsOf(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly) || file.readLine() != a_header) {
        return {};
    }
    QList<Row> rows;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        const Row row = line.trimmed().split(',');
        if (!line.endsWith("\r\n") || row.size() != FieldCount) {
            return {};
        }
        rows.push_back(row);
    }
    return rows;
}

QList<QByteArray> keysOf(const QList<Row>& rows) {
    QList<QByteArray> keys;
    for (const Row& row : rows) {
        if (!keys.contains(row[KeyField])) {
            keys.push_back(row[KeyField]);
        }
    }
    return keys;
}

/** Returns the names of the events in an MCAP file. */
QStringList eventsIn(const QString& fileName) {
    QStringList events;
    recording::Reader reader(fileName.toStdString());
    recording::Messages messages = reader.messages();
    while (const std::optional<recording::Message> message = messages.next()) {
        const QJsonDocument json =
            QJsonDocument::fromJson(QByteArray(message->fData.data(), int(message->fData.size())));
        const QJsonValue event = json.object()[QLatin1String("event")];
        if (event.isString()) {
            events += event.toString();
        }
    }
    return events;
}

}  // namespace

/** Tests recordings in the viewer's window with values of a robot. */
class RecordingTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init();
    void cleanup();
    void recordsWhatIsWatchedWithTheRobotsTimes();
    void recordsOnceWhatIsWatchedAndPlotted();
    void recordsAllKeysWhenNoneIsWatched();
    void goesOnWhilePaused();
    void saysHowFarItIs();
    void endsWithAWholeFileWhenTheRobotIsKilled();
    void marksTheLossOfTheRobotInAnMcapFile();
    void goesOnWhenTheRobotReturns();
    void marksASilenceOfTheRobot();
    void endsWithAWholeFileWhenTheViewerIsClosed();
    void endsWithAWholeFileWhenTheDiskIsFull();
    void saysThatAFileCannotBeMade();
    void writesNumbersWithAPointInEveryLocale();

  private:
    void xWatch(const char* key);
    void xStart();
    void xStop();
    QString xText() const { return labelText(fWindow->viewer(), "recordingStatus"); }
    /** Returns the number of values in the file, as displayed. */
    int xValuesSaid() const;

    std::unique_ptr<RobotWindow> fWindow;
    std::unique_ptr<QTemporaryDir> fFolder;
    QString fFile;
};

void RecordingTest::init() {
    QSettings().clear();
    QLocale::setDefault(QLocale::c());
    fFolder = std::make_unique<QTemporaryDir>();
    fFile = fFolder->filePath(QStringLiteral("robot.csv"));
    fWindow = std::make_unique<RobotWindow>();
    QVERIFY(fWindow->open());
}

void RecordingTest::cleanup() {
    fWindow.reset();
}

void RecordingTest::xWatch(const char* key) {
    QTRY_VERIFY(!fWindow->value(key).isEmpty());
    fWindow->choose(key);
    QTest::keyClick(fWindow->tree(), Qt::Key_D, Qt::ControlModifier);
}

void RecordingTest::xStart() {
    fWindow->find<QToolButton>("recordingButton")->click();
    QVERIFY(fWindow->answerFileQuestion(fFile));
}

void RecordingTest::xStop() {
    fWindow->find<QToolButton>("recordingButton")->click();
    QTRY_VERIFY2(xText().startsWith(QLatin1String("Recorded")), qPrintable(xText()));
}

int RecordingTest::xValuesSaid() const {
    const QRegularExpressionMatch match =
        QRegularExpression(QStringLiteral("(\\d+) values")).match(xText());
    return match.hasMatch() ? match.captured(1).toInt() : -1;
}

void RecordingTest::recordsWhatIsWatchedWithTheRobotsTimes() {
    xWatch("Battery/Voltage");
    xWatch("Audio/Volume");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 20);
    xStop();
    const QList<Row> rows = rowsOf(fFile);
    QCOMPARE(rows.size(), xValuesSaid());
    // Values that do not change are recorded once.
    QList<QByteArray> keys = keysOf(rows);
    std::sort(keys.begin(), keys.end());
    QCOMPARE(keys, (QList<QByteArray>{"Audio/Volume", "Battery/Voltage"}));
    QCOMPARE(std::count_if(rows.begin(), rows.end(),
                           [](const Row& row) { return row[KeyField] == "Audio/Volume"; }),
             1);
    qint64 before = 0;
    const qint64 now = QDateTime::currentMSecsSinceEpoch() * 1000;
    for (const Row& row : rows) {
        if (row[KeyField] != "Battery/Voltage") {
            continue;
        }
        const qint64 time = row[TimeField].toLongLong();
        QVERIFY(time > before);
        QVERIFY(qAbs(now - time) < 60'000'000);
        const QDateTime date = QDateTime::fromString(row[DateField], Qt::ISODateWithMs);
        QVERIFY(qAbs(date.toMSecsSinceEpoch() - time / 1000) <= 1);
        QVERIFY(row[ValueField].toDouble() > 20);
        QCOMPARE(row.mid(UnitField), (Row{"V", "float"}));
        before = time;
    }
}

void RecordingTest::recordsOnceWhatIsWatchedAndPlotted() {
    xWatch("Audio/Volume");
    QTest::keyClick(fWindow->tree(), Qt::Key_P, Qt::ControlModifier);
    QTRY_COMPARE(fWindow->plots().size(), 1);
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 5);
    xStop();
    const QList<Row> rows = rowsOf(fFile);
    QCOMPARE(std::count_if(rows.begin(), rows.end(),
                           [](const Row& row) { return row[KeyField] == "Audio/Volume"; }),
             1);
}

void RecordingTest::recordsAllKeysWhenNoneIsWatched() {
    xStart();
    const int keys = statusOf(fWindow->viewer())
                         .section(QLatin1String(" keys"), 0, 0)
                         .section(QLatin1Char(' '), -1)
                         .toInt();
    QVERIFY(keys > 100);
    QTRY_VERIFY(xValuesSaid() >= keys);
    xStop();
    QVERIFY2(keysOf(rowsOf(fFile)).size() > keys / 2, qPrintable(xText()));
}

void RecordingTest::goesOnWhilePaused() {
    xWatch("Battery/Voltage");
    xStart();
    QTest::keyClick(fWindow->tree(), Qt::Key_Space, Qt::ControlModifier);
    QTRY_VERIFY(noticeOf(fWindow->viewer()).startsWith(QLatin1String("Paused.")));
    const int rows = xValuesSaid();
    QTRY_VERIFY(xValuesSaid() > rows + 10);
}

void RecordingTest::saysHowFarItIs() {
    QCOMPARE(xText(), QStringLiteral("Not recording."));
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY2(QRegularExpression(
                     QString::fromUtf8("^robot\\.csv  ·  \\d+ values  ·  [\\d.]+ kB  ·  0:0[1-9]$"))
                     .match(xText())
                     .hasMatch(),
                 qPrintable(xText()));
    xStop();
    const QString size =
        QLocale::c().formattedDataSize(QFileInfo(fFile).size(), 1, QLocale::DataSizeSIFormat);
    QVERIFY2(xText().contains(size), qPrintable(xText()));
}

void RecordingTest::endsWithAWholeFileWhenTheRobotIsKilled() {
    xWatch("Battery/Voltage");
    fWindow->setRate(50);
    xStart();
    QTRY_VERIFY(xValuesSaid() > 10);
    fWindow->robot().kill();
    QTRY_VERIFY2(xText().startsWith(QLatin1String("Recorded")), qPrintable(xText()));
    const QList<Row> rows = rowsOf(fFile);
    QVERIFY(rows.size() > 10);
    QCOMPARE(rows.size(), xValuesSaid());
}

void RecordingTest::marksTheLossOfTheRobotInAnMcapFile() {
    fFile = fFolder->filePath(QStringLiteral("robot.mcap"));
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 5);
    fWindow->robot().kill();
    QTRY_VERIFY2(xText().startsWith(QLatin1String("Recorded")), qPrintable(xText()));
    QCOMPARE(eventsIn(fFile).join(QLatin1Char(',')), QStringLiteral("begin,lost,end"));
    const recording::Reader reader(fFile.toStdString());
    QCOMPARE(int(reader.statistics().fMessageCount), xValuesSaid() + 3);
}

void RecordingTest::goesOnWhenTheRobotReturns() {
    fWindow->find<QAction>("reconnectAction")->trigger();
    fFile = fFolder->filePath(QStringLiteral("robot.mcap"));
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 5);
    fWindow->robot().kill();
    QTRY_VERIFY(noticeOf(fWindow->viewer()).startsWith(QLatin1String("Lost ")));
    const int before = xValuesSaid();
    const QString voltage = fWindow->value("Battery/Voltage");
    QVERIFY(voltage.toDouble() > 20);
    QVERIFY(statusOf(fWindow->viewer()).contains(QLatin1String("age ")));
    fWindow->restartRobot();
    QTRY_VERIFY(xValuesSaid() > before + 5);
    QTRY_VERIFY(fWindow->value("Battery/Voltage") != voltage);
    QTRY_COMPARE(noticeOf(fWindow->viewer()), QString());
    QCOMPARE(watchOf(fWindow->viewer())->model()->rowCount(), 1);
    xStop();
    QCOMPARE(eventsIn(fFile), (QStringList{"begin", "lost", "connected", "end"}));
}

/** Values that did not change while the robot was silent are in the file again. */
void RecordingTest::marksASilenceOfTheRobot() {
    xWatch("Battery/Voltage");
    xWatch("Audio/Volume");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 5);
    fWindow->robot().suspend();
    QTRY_VERIFY(noticeOf(fWindow->viewer()).startsWith(QLatin1String("No answer for ")));
    const int before = xValuesSaid();
    fWindow->robot().resume();
    QTRY_VERIFY(xValuesSaid() > before + 30);
    xStop();
    for (const char* key : {"Battery/Voltage", "Audio/Volume"}) {
        QStringList types;
        for (const Row& row : rowsOf(fFile)) {
            const QString type = QString::fromLatin1(row[TypeField]);
            if (row[KeyField] == key && (types.isEmpty() || types.last() != type)) {
                types += type;
            }
        }
        // A busy machine may cause further gaps.
        QVERIFY2(types.size() >= 3 && types.size() % 2 == 1, qPrintable(types.join(' ')));
        for (int i = 1; i < types.size(); ++i) {
            QCOMPARE(types[i], i % 2 == 1 ? QStringLiteral("gap") : types[0]);
        }
    }
}

void RecordingTest::endsWithAWholeFileWhenTheViewerIsClosed() {
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 10);
    const int rows = xValuesSaid();
    fWindow->close();
    QVERIFY(rowsOf(fFile).size() >= rows);
}

void RecordingTest::endsWithAWholeFileWhenTheDiskIsFull() {
    constexpr int bytes = 5000;
    xWatch("Battery/Voltage");
    const FileSizeLimit limit(bytes);
    xStart();
    QTRY_VERIFY2(xText().contains(QLatin1String("robot.csv cannot be written: ")),
                 qPrintable(xText()));
    QVERIFY2(xText().contains(QLatin1String("The file contains the values up to that point.")),
             qPrintable(xText()));
    QVERIFY(rowsOf(fFile).size() > 10);
    QCOMPARE(rowsOf(fFile).size(), xValuesSaid());
    QVERIFY(QFileInfo(fFile).size() > bytes - 1000);
    // The viewer continues to run.
    QVERIFY(waitFor([this, before = fWindow->value("Battery/Voltage")] {
        return fWindow->value("Battery/Voltage") != before;
    }));
}

void RecordingTest::saysThatAFileCannotBeMade() {
    fFile = QStringLiteral("/proc/robot.csv");
    xStart();
    QTRY_VERIFY2(xText().startsWith(QLatin1String("robot.csv cannot be written: ")),
                 qPrintable(xText()));
}

void RecordingTest::writesNumbersWithAPointInEveryLocale() {
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    QVERIFY(fWindow->open());
    xWatch("Battery/Voltage");
    xStart();
    QTRY_VERIFY(xValuesSaid() > 5);
    xStop();
    const QList<Row> rows = rowsOf(fFile);
    QVERIFY(!rows.isEmpty());
    for (const Row& row : rows) {
        QVERIFY2(row[ValueField].contains('.'), row[ValueField].constData());
    }
}

OBVISTA_QTEST_MAIN(RecordingTest)
#include "recording_test.moc"
