#include "command_line.h"

#include "installation.h"
#include "program.h"
#include "qt_test_main.h"

#include <QDir>
#include <QImage>
#include <QSettings>
#include <QtTest>

#include <memory>
#include <sstream>

using obvista_test::Installation;
using obvista_test::Program;

namespace {

const QString a_couldNotLoad =
    QStringLiteral("Could not load given plugin and connect it to Robaxi\n");

/** The option table as the program prints it. */
QString options() {
    std::ostringstream text;
    const obvista::CommandLine commandLine;
    text << commandLine.description();
    return QString::fromStdString(text.str());
}

}  // namespace

/** The real program's arguments, streams and exit status. It runs without a display. */
class CommandLineTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void init() {
        QSettings().clear();
        fInstallation = std::make_unique<Installation>();
        fInstallation->addPlugin(QStringLiteral("viewer"));
        fInstallation->addPlugin(QStringLiteral("throws_kv_error"));
        fInstallation->addPlugin(QStringLiteral("throws_std"));
        fInstallation->addPlugin(QStringLiteral("wrong_identifier"));
        fInstallation->addPlugin(QStringLiteral("undefined_symbol"));
    }

    void cleanup() { fInstallation.reset(); }

    // None of these cases creates a window: the offscreen platform would write a message about it
    // to standard error.
    void answersAndEnds_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("output");
        QTest::addColumn<QString>("error");
        const auto answers = [](const QString& arguments, const QString& output,
                                const QString& error = {}) {
            QTest::newRow(qPrintable(arguments))
                << arguments.split(QLatin1Char(' ')) << 0 << output << error;
        };
        const auto refuses = [](const QString& arguments, const QString& message) {
            QTest::newRow(qPrintable(arguments))
                << arguments.split(QLatin1Char(' ')) << 1 << QString()
                << QStringLiteral("Could not parse arguments: ") + message + QLatin1Char('\n') +
                       options() + QLatin1Char('\n');
        };
        const QString help = QStringLiteral("Help: ") + options() + QLatin1Char('\n');
        const QString version = QStringLiteral("Obvista Version 1.14\n");
        const QString ambiguous =
            QStringLiteral("option '-p' is ambiguous and matches '--plugin', and '--port'");

        answers(QStringLiteral("--help"), help);
        answers(QStringLiteral("-h"), help);
        answers(QStringLiteral("--version --help"), help);
        answers(QStringLiteral("--help --plugin nosuchplugin --port 1"), help);
        answers(QStringLiteral("--version"), version);
        answers(QStringLiteral("--plugin viewer --version"), version);
        answers(QStringLiteral("--version -reverse"), version);

        answers(QStringLiteral("--plugin nosuchplugin"), a_couldNotLoad);
        answers(QStringLiteral("--plugin=nosuchplugin"), a_couldNotLoad);
        // As with every other option, the next argument is the value.
        answers(QStringLiteral("--plugin --version"), a_couldNotLoad);
        answers(QStringLiteral("--plugin --help --version"), version);
        answers(QStringLiteral("--plugin wrong_identifier"), a_couldNotLoad);
        answers(QStringLiteral("--plugin undefined_symbol"), a_couldNotLoad);
        answers(QStringLiteral("--plugin throws_kv_error"), a_couldNotLoad,
                QStringLiteral("Failed to load plugin: nothing listens there\n"));
        answers(QStringLiteral("--plugin throws_std"), a_couldNotLoad,
                QStringLiteral("Failed to load plugin: the viewer is out of order\n"));

        refuses(QStringLiteral("--port abc"),
                QStringLiteral("the argument ('abc') for option '--port' is invalid"));
        refuses(QStringLiteral("--force-port 1x"),
                QStringLiteral("the argument ('1x') for option '--force-port' is invalid"));
        refuses(QStringLiteral("--port 99999999999"),
                QStringLiteral("the argument ('99999999999') for option '--port' is invalid"));
        refuses(QStringLiteral("--port"),
                QStringLiteral("the required argument for option '--port' is missing"));
        refuses(QStringLiteral("-p x"), ambiguous);
        refuses(QStringLiteral("-p 9559"), ambiguous);
        refuses(QStringLiteral("--plugin"),
                QStringLiteral("the required argument for option '--plugin' is missing"));
        refuses(QStringLiteral("--plugin="),
                QStringLiteral("the argument for option '--plugin' should follow immediately "
                               "after the equal sign"));
        refuses(QStringLiteral("--unknown"), QStringLiteral("unrecognised option '--unknown'"));
        refuses(QStringLiteral("--help --unknown"),
                QStringLiteral("unrecognised option '--unknown'"));
    }

    void answersAndEnds() {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, output);
        QFETCH(QString, error);
        Program program(*fInstallation, arguments);
        QVERIFY(program.finish());
        QCOMPARE(program.standardOutput(), output);
        QCOMPARE(program.standardError(), error);
        QCOMPARE(program.status(), status);
    }

    void answersWithoutADisplay_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("beginning");
        QTest::newRow("help") << QStringList{"--help"} << "Help: Allowed options:\n";
        QTest::newRow("help, short") << QStringList{"-h"} << "Help: Allowed options:\n";
        QTest::newRow("version") << QStringList{"-reverse", "--version"}
                                 << "Obvista Version 1.14\n";
    }

    void answersWithoutADisplay() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, beginning);
        Program program(*fInstallation, arguments,
                        {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"});
        QVERIFY(program.finish());
        QVERIFY(program.standardOutput().startsWith(beginning));
        QCOMPARE(program.standardError(), QString());
        QCOMPARE(program.status(), 0);
    }

    void opensTheLauncherForAPluginWithoutAName() {
        Program program(*fInstallation, {QStringLiteral("--plugin"), QString()});
        // The offscreen platform's message about a window.
        QString remarks;
        QTRY_VERIFY_WITH_TIMEOUT(!(remarks += program.standardError()).isEmpty(), 30000);
        QVERIFY(program.isRunning());
        QVERIFY2(!remarks.contains(QStringLiteral("arguments")), qPrintable(remarks));
        QCOMPARE(program.standardOutput(), QString());
    }

    void connectsThePlugin_data() {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("connection");
        QTest::newRow("to this machine unless told otherwise")
            << QStringList() << QStringLiteral("ip \"127.0.0.1\", port 9559, brokerPort 0");
        QTest::newRow("to the robot that is named")
            << QStringList{QStringLiteral("--ip"), QStringLiteral("192.0.2.7"),
                           QStringLiteral("--port=1234"), QStringLiteral("--force-port"),
                           QStringLiteral("54321")}
            << QStringLiteral("ip \"192.0.2.7\", port 1234, brokerPort 54321");
        // The plugin defines the meaning of the numbers.
        QTest::newRow("without judging the ports")
            << QStringList{QStringLiteral("--port"), QStringLiteral("-1"),
                           QStringLiteral("--force-port"), QStringLiteral("70000")}
            << QStringLiteral("ip \"127.0.0.1\", port -1, brokerPort 70000");
    }

    void connectsThePlugin() {
        QFETCH(QStringList, arguments);
        QFETCH(QString, connection);
        const Program program(
            *fInstallation,
            QStringList{QStringLiteral("--plugin"), QStringLiteral("viewer")} + arguments);
        QTRY_VERIFY_WITH_TIMEOUT(!fInstallation->journal().isEmpty(), 30000);
        QCOMPARE(fInstallation->journal().first(),
                 QStringLiteral("createWidget parent MainWindow, %1, media \"%2\"")
                     .arg(connection, fInstallation->mediaFolder()));
        QVERIFY(program.isRunning());
    }

    void presentsItself() {
        QImage icon(32, 32, QImage::Format_RGB32);
        icon.fill(QColor(12, 34, 56));
        const QDir folder(fInstallation->appFolder());
        QVERIFY(folder.mkpath(QStringLiteral("media/icons")));
        QVERIFY(icon.save(folder.filePath(QStringLiteral("media/icons/obvista.png"))));
        Installation::setScript({QStringLiteral("introduce")});
        qputenv("QT_PLUGIN_PATH", qgetenv("OBVISTA_BUILD_DIR") + "/tests/plugins/cleanlooks_style");
        const Program program(*fInstallation, {QStringLiteral("--plugin=viewer")});
        qunsetenv("QT_PLUGIN_PATH");
        QTRY_COMPARE_WITH_TIMEOUT(fInstallation->journal().size(), 3, 30000);
        QCOMPARE(fInstallation->journal().mid(1).join(QLatin1Char('\n')),
                 QStringLiteral("Quorvane Robotics, www.quorvane.com, Obvista Desktop, numbers as "
                                "in C\nmenu entry com.quorvane.obvista, style cleanlooks, icon "
                                "#0c2238"));
    }

    // The process ends immediately, with its window and plugins open.
    void endsWithStatusZeroWhenAStrangerIsLost() {
        QSettings().setValue(QStringLiteral("Preferences/remoteControl"), true);
        Installation::setScript({QStringLiteral("stranger")});
        Program program(*fInstallation, {QStringLiteral("--plugin"), QStringLiteral("viewer")});
        QVERIFY(program.finish());
        QCOMPARE(program.status(), 0);
        QCOMPARE(program.standardOutput(), QString());
        QVERIFY(!fInstallation->journal().contains(QStringLiteral("widget deleted")));
    }

  private:
    std::unique_ptr<Installation> fInstallation;
};

OBVISTA_QTEST_MAIN(CommandLineTest)

#include "command_line_test.moc"
