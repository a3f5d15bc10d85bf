// A program that shows the viewer under test and leaves the plugin object to Qt, which deletes it
// when the process exits.
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
#include <functional>
#include <plugin_driver.h>
#include <sockets.h>

namespace {

void say(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
}

/** What Qt says on standard error, but for what its offscreen platform cannot do. */
void passOn(QtMsgType /*type*/, const QMessageLogContext& /*context*/, const QString& text) {
    if (!text.startsWith(QLatin1String("This plugin does not support"))) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/**
 * Says at exit whether the robot is still connected. Made before the viewer connects, it goes after
 * what the viewer closes at exit, and before Qt deletes the root object.
 */
class ExitWitness {
  public:
    explicit ExitWitness(int robotPort) : fRobotPort(robotPort) {}
    ~ExitWitness() {
        const bool isConnected = obvista_test::connectionsTo(fRobotPort) > 0;
        say(isConnected ? "still connected" : "connection closed");
    }
    ExitWitness(const ExitWitness&) = delete;
    ExitWitness& operator=(const ExitWitness&) = delete;

  private:
    int fRobotPort;
};

/** Ends the process from inside the report of a loss, as a host does that knows no better. */
class LastResort : public QObject {
    Q_OBJECT

  public Q_SLOTS:
    void onDisconnected(WidgetInterface*) { std::exit(0); }
};

/** Turns the event loop until it is so. */
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
    // Without a window that owns it, it lasts until the process ends, and is no leak.
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
        // The loader is gone before the plugin is used, as in the host: Qt keeps a plugin whose
        // loader still stands when the process exits.
        QObject* root =
            QPluginLoader(obvista_test::pluginLibrary(obvista_test::viewer_case::pluginName()))
                .instance();
        // Said by the root object's own end, so that its absence is seen.
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
