// A program that shows a memory viewer and leaves the plugin object to Qt, which deletes it when
// the process exits.
//
//   viewer_process MODE ROBOT_PORT

#include "viewer_driver.h"

#include <QApplication>
#include <QPluginLoader>
#include <QTimer>

#include <cstdio>
#include <cstdlib>
#include <sockets.h>
#include <widget_interface.h>

namespace {

void say(const char* line) {
    std::printf("%s\n", line);
    std::fflush(stdout);
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

/** Turns the event loop until the viewer has shown a value. */
void runUntilLive(QApplication& application, QWidget* viewer) {
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, viewer, [&] {
        if (!obvista_test::valueOf(viewer, "Uptime").isEmpty()) {
            application.quit();
        }
    });
    look.start(10);
    QApplication::exec();
}

int run(QApplication& application, WidgetInterface& plugin, const QString& mode, int port) {
    if (mode == QLatin1String("no-widget")) {
        return EXIT_SUCCESS;
    }
    LastResort lastResort;
    // Without a window that owns it, it lasts until the process ends, and is no leak.
    static QWidget* viewer = nullptr;
    viewer = plugin.createWidget(nullptr, "127.0.0.1", port, "/nowhere/");
    runUntilLive(application, viewer);
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
    if (mode == QLatin1String("exit-on-loss")) {
        QObject::connect(viewer, SIGNAL(disconnected(WidgetInterface*)), &lastResort,
                         SLOT(onDisconnected(WidgetInterface*)));
    }
    return QApplication::exec();  // "widget-live": until it is killed
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: viewer_process MODE ROBOT_PORT\n");
        return EXIT_FAILURE;
    }
    int status = EXIT_FAILURE;
    {
        QApplication application(argc, argv);
        // The loader is gone before the plugin is used, as in the host: Qt keeps a plugin whose
        // loader still stands when the process exits.
        QObject* root = QPluginLoader(obvista_test::viewerLibrary()).instance();
        // Said by the root object's own end, so that its absence is seen.
        QObject::connect(root, &QObject::destroyed, [] { say("root object deleted"); });
        auto* plugin = qobject_cast<WidgetInterface*>(root);
        const int robotPort = std::atoi(argv[2]);
        static const ExitWitness witness(robotPort);
        status = run(application, *plugin, QString::fromLocal8Bit(argv[1]), robotPort);
    }
    say("main returns");
    return status;
}

#include "viewer_process.moc"
