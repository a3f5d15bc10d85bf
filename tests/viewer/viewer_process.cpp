// A program that shows the viewer under test and leaves the plugin object to Qt, which deletes it
// at exit.
//
//   PLUGIN_process MODE ROBOT_PORT
#include "viewer_case.h"

#include <obvista/widget_interface.h>

#include <QApplication>
#include <QPluginLoader>
#include <QTimer>
#include <qt_test_main.h>

#include <cstdio>
#include <cstdlib>
#include <eventually.h>
#include <functional>
#include <plugin_driver.h>
#include <sockets.h>

namespace {

void say(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
}

/**
 * Passes Qt's messages to standard error, except those about missing features of the offscreen
 * platform.
 */
void passOn(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    if (!text.startsWith(QLatin1String("This plugin does not support"))) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/**
 * Reports at exit whether the robot is still connected. Created before the viewer connects, it is
 * destroyed after everything that the viewer closes at exit, and before Qt deletes the root object.
 */
class ExitWitness {
  public:
    explicit ExitWitness(int robotPort) : fRobotPort(robotPort) {}
    ~ExitWitness() {
        // The middleware's threads close the sockets of a connection that has ended.
        const bool isClosed = obvista_test::eventually(
            [this] { return obvista_test::connectionsTo(fRobotPort) == 0; });
        say(isClosed ? "connection closed" : "still connected");
    }
    ExitWitness(const ExitWitness&) = delete;
    ExitWitness& operator=(const ExitWitness&) = delete;

  private:
    int fRobotPort;
};

/** Ends the process inside the report of a loss, like a host that does not know the plugin. */
class LastResort : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    void onDisconnected(WidgetInterface*) { std::exit(0); }
};

/** Runs the event loop until `isSo` is true. */
void runUntil(QWidget* viewer, const std::function<bool(QWidget*)>& isSo) {
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, viewer, [&] {
        if (isSo(viewer)) {
            QApplication::quit();
        }
    });
    look.start(10);
    QApplication::exec();
}

int run(WidgetInterface& plugin, const QString& mode, int port) {
    if (mode == QLatin1String("no-widget")) {
        return EXIT_SUCCESS;
    }
    LastResort lastResort;
    // Without an owning window it exists until the process ends, and is not a leak.
    static QWidget* viewer = nullptr;
    viewer = plugin.createWidget(nullptr, "127.0.0.1", port, "/nowhere/");
    viewer->show();
    runUntil(viewer, &obvista_test::viewer_case::isLive);
    say("ready");
    if (mode == QLatin1String("widget-deleted")) {
        delete viewer;
        return EXIT_SUCCESS;
    }
    if (mode == QLatin1String("widget-kept")) {
        return EXIT_SUCCESS;
    }
    if (mode == QLatin1String("exit-while-live")) {
        QTimer::singleShot(0, viewer, [] { std::exit(EXIT_SUCCESS); });
    }
    if (mode == QLatin1String("exit-while-busy")) {
        runUntil(viewer, &obvista_test::viewer_case::makeBusy);
        std::exit(EXIT_SUCCESS);
    }
    if (mode == QLatin1String("exit-on-loss")) {
        QObject::connect(viewer, SIGNAL(disconnected(WidgetInterface*)), &lastResort,
                         SLOT(onDisconnected(WidgetInterface*)));
    }
    return QApplication::exec();  // "widget-live": until it is killed
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: PLUGIN_process MODE ROBOT_PORT\n");
        return EXIT_FAILURE;
    }
    qInstallMessageHandler(&passOn);
    int status = EXIT_FAILURE;
    {
        const QApplication application(argc, argv);
        obvista_test::setApplicationIdentity();
        // The loader is destroyed before the plugin is used, as in the host: Qt keeps a plugin
        // whose loader still exists when the process exits.
        QObject* root =
            QPluginLoader(obvista_test::pluginLibrary(obvista_test::viewer_case::pluginName()))
                .instance();
        // Reported by the root object's destruction, so that its absence is detected.
        QObject::connect(root, &QObject::destroyed, [] { say("root object deleted"); });
        auto* plugin = qobject_cast<WidgetInterface*>(root);
        const int robotPort = std::atoi(argv[2]);
        static const ExitWitness witness(robotPort);
        status = run(*plugin, QString::fromLocal8Bit(argv[1]), robotPort);
    }
    say("main returns");
    return status;
}

#include "viewer_process.moc"
