#include "application_arguments.h"

#include "command_line.h"
#include "qt_test_main.h"

#include <QtTest>

#include <boost/program_options/parsers.hpp>
#include <boost/program_options/variables_map.hpp>

#include <sstream>

using obvista::ApplicationArguments;
using obvista::CommandLine;

namespace {

QStringList textsOf(ApplicationArguments& arguments) {
    QStringList texts;
    for (int i = 0; i < arguments.count(); ++i) {
        texts += QString::fromLocal8Bit(arguments.values()[i]);
    }
    if (arguments.values()[arguments.count()] != nullptr) {
        texts += QStringLiteral("no null at the end");
    }
    return texts;
}

}  // namespace

class ApplicationArgumentsTest : public QObject {
    Q_OBJECT
  private Q_SLOTS:
    void keepsPluginsFromQt_data() {
        QTest::addColumn<QByteArrayList>("given");
        QTest::addColumn<QStringList>("handedToQt");
        const auto row = [](const char* name, const QByteArrayList& given, const char* expected) {
            QTest::newRow(name) << given << QString::fromLatin1(expected).split(QLatin1Char('|'));
        };
        row("no arguments", {"obvista"}, "obvista");
        row("a name", {"obvista", "--plugin", "memoryviewer"}, "obvista|plugin|memoryviewer");
        row("an empty name", {"obvista", "--plugin", ""}, "obvista|plugin|");
        row("with an equal sign", {"obvista", "--plugin=x", "y"}, "obvista|--plugin=x|y");
        row("last", {"obvista", "--plugin"}, "obvista|plugin");
        row("followed by an option", {"obvista", "--plugin", "--ip", "x"}, "obvista|plugin|--ip|x");
        row("twice", {"obvista", "--plugin", "x", "--plugin", "y"}, "obvista|plugin|x|plugin|y");
        row("named like the text that hides it", {"obvista", "--plugin", "plugin"},
            "obvista|plugin|plugin");
        row("another option", {"obvista", "--plugins", "x"}, "obvista|--plugins|x");
        row("Qt's own spelling is Qt's", {"obvista", "-plugin", "evdevmouse"},
            "obvista|-plugin|evdevmouse");
    }

    void keepsPluginsFromQt() {
        QFETCH(QByteArrayList, given);
        QFETCH(QStringList, handedToQt);
        std::vector<const char*> argv;
        QStringList texts;
        for (const QByteArray& argument : given) {
            argv.push_back(argument.constData());
            texts += QString::fromLatin1(argument);
        }
        ApplicationArguments arguments(given.size(), argv.data());
        QCOMPARE(textsOf(arguments), handedToQt);
        arguments.showPlugin();
        QCOMPARE(textsOf(arguments), texts);
    }

    void showsPluginsWhereQtHasLeftThem() {
        const char* const argv[] = {"obvista", "-reverse", "--plugin", "x"};
        ApplicationArguments arguments(4, argv);
        std::copy(arguments.values() + 2, arguments.values() + 5, arguments.values() + 1);
        arguments.count() = 3;
        arguments.showPlugin();
        QCOMPARE(textsOf(arguments), (QStringList{"obvista", "--plugin", "x"}));
    }

    void hasDefaults() {
        CommandLine commandLine;
        boost::program_options::variables_map values;
        const char* const argv[] = {"obvista"};
        store(boost::program_options::parse_command_line(1, argv, commandLine.description()),
              values);
        notify(values);
        QVERIFY(commandLine.pluginName().empty());
        QCOMPARE(commandLine.ip(), std::string("127.0.0.1"));
        QCOMPARE(commandLine.port(), 9559);
        QCOMPARE(commandLine.brokerPort(), 0);
    }

    void listsTheOptionsInTheirOrderAndWords() {
        const CommandLine commandLine;
        struct Option {
            const char* fLong;
            const char* fShort;
            const char* fText;
        };
        const Option expected[] = {
            {"help", "-h", "Produces help message"},
            {"version", "", "Outputs version"},
            {"plugin", "-p", "Starts Obvista and automatically load a plugin."},
            {"ip", "", "Can be specifed to connect Obvista's plugin to the given Robaxi's IP"},
            {"port", "-p",
             " Can be specifed to connect Obvista's plugin to the given Robaxi's port"},
            {"force-port", "",
             "Obvista will use this port for its broker. If 0 is set, it runs on first port "
             "available after 54010 (included)."},
        };
        const auto& options = commandLine.description().options();
        QCOMPARE(options.size(), std::size(expected));
        for (std::size_t i = 0; i < options.size(); ++i) {
            QCOMPARE(options[i]->long_name().c_str(), expected[i].fLong);
            QCOMPARE(options[i]->description().c_str(), expected[i].fText);
            QCOMPARE(options[i]
                         ->canonical_display_name(
                             boost::program_options::command_line_style::allow_dash_for_short)
                         .c_str(),
                     *expected[i].fShort != '\0' ? expected[i].fShort : expected[i].fLong);
        }
        std::ostringstream text;
        text << commandLine.description();
        QVERIFY(
            QString::fromStdString(text.str()).startsWith(QStringLiteral("Allowed options:\n")));
    }
};

OBVISTA_QTEST_MAIN(ApplicationArgumentsTest)

#include "application_arguments_test.moc"
