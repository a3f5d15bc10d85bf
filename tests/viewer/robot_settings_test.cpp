#include <obvista/viewer/robot_settings.h>

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QSettings>
#include <QtTest>
#include <qt_test_main.h>

#include <project_files.h>

using obvista::RobotSettings;

namespace {

const QString a_viewer = QStringLiteral("Viewer");

/** The contents of the file as another process finds it. */
QByteArray fileContents() {
    QFile file(QSettings().fileName());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

class RobotSettingsTest : public QObject {
    Q_OBJECT

  private Q_SLOTS:
    void init() { QSettings().clear(); }

    void keepsValuesForEachViewerAndRobot();
    void sharesValuesWithinTheProcess();
    void writesTheFileWhileItIsInUse();
    void replacesTheFileAsAWhole();
    void keepsWhatAnotherProcessSets();
    void setsOnlyWhatHasChanged();
    void keepsNamesOfEveryKindApart_data();
    void keepsNamesOfEveryKindApart();
};

void RobotSettingsTest::keepsValuesForEachViewerAndRobot() {
    RobotSettings(a_viewer, "One").setValue("rate", 10);
    RobotSettings(a_viewer, "Two").setValue("rate", 20);
    RobotSettings("Other", "One").setValue("rate", 30);
    QCOMPARE(RobotSettings(a_viewer, "One").value("rate").toInt(), 10);
    QCOMPARE(RobotSettings(a_viewer, "Two").value("rate").toInt(), 20);
    QCOMPARE(RobotSettings("Other", "One").value("rate").toInt(), 30);
    QCOMPARE(RobotSettings(a_viewer, "Three").value("rate", 40).toInt(), 40);
}

void RobotSettingsTest::sharesValuesWithinTheProcess() {
    const RobotSettings later(a_viewer, "One");
    RobotSettings settings(a_viewer, "One");
    settings.setValue("filter", QStringLiteral("head"));
    QCOMPARE(later.value("filter").toString(), QStringLiteral("head"));
}

void RobotSettingsTest::writesTheFileWhileItIsInUse() {
    RobotSettings settings(a_viewer, "One");
    settings.setValue("filter", QStringLiteral("shoulder"));
    QTRY_VERIFY(fileContents().contains("shoulder"));
}

/** Whoever has the old file open, as a crash leaves it, keeps the whole of it. */
void RobotSettingsTest::replacesTheFileAsAWhole() {
    RobotSettings settings(a_viewer, "One");
    settings.setValue("filter", QStringLiteral("shoulder"));
    QTRY_VERIFY(fileContents().contains("shoulder"));
    QFile before(QSettings().fileName());
    QVERIFY(before.open(QIODevice::ReadOnly));
    settings.setValue("filter", QStringLiteral("elbow"));
    QTRY_VERIFY(fileContents().contains("elbow"));
    QVERIFY(before.readAll().contains("shoulder"));
}

/** Both processes have the settings open, and each sets a value that the other does not know. */
void RobotSettingsTest::keepsWhatAnotherProcessSets() {
    RobotSettings settings(a_viewer, "One");
    settings.setValue("filter", QStringLiteral("shoulder"));
    QTRY_VERIFY(fileContents().contains("shoulder"));
    settings.setValue("filter", QStringLiteral("elbow"));
    const auto program = QString::fromStdString(obvista_test::builtFile("tests/settings_process"));
    QCOMPARE(QProcess::execute(program, {a_viewer, "One", "rate", "20"}), 0);
    settings.setValue("flat", true);
    QTRY_VERIFY(fileContents().contains("elbow"));
    const QByteArray contents = fileContents();
    QVERIFY2(contents.contains("rate=20") && contents.contains("flat=true"), contents.constData());
    QTRY_COMPARE(RobotSettings(a_viewer, "One").value("rate").toInt(), 20);
}

/** Two viewers of a robot begin with the same settings, and each changes one of them. */
void RobotSettingsTest::setsOnlyWhatHasChanged() {
    const QVariantMap loaded{{"filter", "head"}, {"rate", 10}};
    RobotSettings settings(a_viewer, "One");
    settings.setChanged({}, loaded);
    QCOMPARE(settings.value("rate").toInt(), 10);
    RobotSettings(a_viewer, "One").setChanged(loaded, {{"filter", "head"}, {"rate", 20}});
    settings.setChanged(loaded, {{"filter", "arm"}, {"rate", 10}});
    QCOMPARE(settings.value("rate").toInt(), 20);
    QCOMPARE(settings.value("filter").toString(), QStringLiteral("arm"));
}

void RobotSettingsTest::keepsNamesOfEveryKindApart_data() {
    QTest::addColumn<QByteArray>("one");
    QTest::addColumn<QByteArray>("other");
    QTest::newRow("slash") << QByteArray("a/b") << QByteArray("a");
    QTest::newRow("parent folder") << QByteArray("..") << QByteArray(".");
    QTest::newRow("empty") << QByteArray("") << QByteArray(" ");
    QTest::newRow("empty and percent") << QByteArray("") << QByteArray("%");
    QTest::newRow("case") << QByteArray("Head") << QByteArray("head");
    QTest::newRow("control") << QByteArray("a\nb") << QByteArray("a\rb");
    QTest::newRow("no UTF-8") << QByteArray("\xff") << QByteArray("\xfe");
    QTest::newRow("long") << QByteArray(5000, 'x') << QByteArray(5001, 'x');
}

void RobotSettingsTest::keepsNamesOfEveryKindApart() {
    QFETCH(QByteArray, one);
    QFETCH(QByteArray, other);
    RobotSettings(a_viewer, one.toStdString()).setValue("rate", 10);
    RobotSettings(a_viewer, other.toStdString()).setValue("rate", 20);
    QCOMPARE(RobotSettings(a_viewer, one.toStdString()).value("rate").toInt(), 10);
    QCOMPARE(RobotSettings(a_viewer, other.toStdString()).value("rate").toInt(), 20);
    const QStringList keys = QSettings().allKeys();
    QCOMPARE(keys.size(), 2);
    for (const QString& key : keys) {
        QVERIFY2(key.startsWith(QLatin1String("Viewer/robots/")), qPrintable(key));
        QCOMPARE(key.count(QLatin1Char('/')), 3);
    }
}

OBVISTA_QTEST_MAIN(RobotSettingsTest)
#include "robot_settings_test.moc"
