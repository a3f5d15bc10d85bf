// Measures the share of a core that the host, its discovery and both viewers need while the viewers
// are hidden in a minimised window, compared with the same window on the screen. The target for
// hidden viewers is 1 %.
//
//   tests/support/run_isolated --display xvfb -- build/release/bench/bench_host_idle [SECONDS]
#include "bench/figures.h"
#include "bonjour_listening_thread.h"
#include "identity.h"
#include "main_window.h"

#include <obvista/viewer/widget_seen.h>

#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QTimer>
#include <QTreeView>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <project_files.h>
#include <robot_process.h>
#include <unistd.h>

namespace {

constexpr int a_usualSeconds = 20;
constexpr double a_target = 1;     // %
constexpr int a_patience = 30000;  // ms
constexpr int a_settling = 3000;   // ms
constexpr int a_millisecondsPerSecond = 1000;

void runLoop(int milliseconds) {
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

template <class Condition>
void waitFor(const char* what, Condition condition) {
    constexpr int interval = 50;
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.hasExpired(a_patience)) {
            qFatal("%s: not within %d ms", what, a_patience);
        }
        runLoop(interval);
    }
}

/** Returns the share of a core that this process uses in some seconds, in percent. */
double share(int seconds) {
    QElapsedTimer timer;
    timer.start();
    const double before = bench::processorSeconds(::getpid());
    runLoop(seconds * a_millisecondsPerSecond);
    const double used = bench::processorSeconds(::getpid()) - before;
    constexpr double percent = 100;
    return percent * used * a_millisecondsPerSecond / static_cast<double>(timer.elapsed());
}

bool areSeen(const MainWindow& window, bool isSeen) {
    const auto docks = window.findChildren<QDockWidget*>();
    return std::all_of(docks.begin(), docks.end(), [isSeen](const QDockWidget* dock) {
        return obvista::isSeen(*dock->widget()) == isSeen;
    });
}

}  // namespace

int main(int argc, char** argv) {
    const QApplication application(argc, argv);
    QCoreApplication::setOrganizationName(QLatin1String(obvista::a_organisationName));
    QCoreApplication::setApplicationName(QLatin1String(obvista::a_applicationName));
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : a_usualSeconds;
    const obvista_test::RobotProcess robot;
    MainWindow window;
    window.setAppFolder(QString::fromStdString(obvista_test::builtFile("bin")));
    window.init();
    for (const char* plugin : {"memoryviewer", "cameraviewer"}) {
        if (!window.loadPlugin(QLatin1String(plugin), obvista_test::RobotProcess::address(),
                               robot.port(), 0)) {
            qFatal("the plugin %s could not be loaded", plugin);
        }
    }
    const auto discovery = KD::BonjourListeningThread::createBonjourListeningThread();
    discovery->start(QThread::InheritPriority);
    window.resize(1200, 900);
    window.show();
    waitFor("keys", [&] {
        const auto* tree = window.findChild<QTreeView*>(QStringLiteral("memoryTree"));
        return tree != nullptr && tree->model()->rowCount() > 0;
    });
    waitFor("cameras", [&] {
        const auto* camera = window.findChild<QComboBox*>(QStringLiteral("cameraBox"));
        return camera != nullptr && camera->count() > 0;
    });
    waitFor("the viewers on the screen", [&] { return areSeen(window, true); });
    runLoop(a_settling);
    const double visible = share(seconds);
    window.showMinimized();
    waitFor("hidden viewers", [&] { return areSeen(window, false); });
    runLoop(a_settling);
    const double hidden = share(seconds);

    std::printf("share of a core in %d s\n", seconds);
    std::printf("%-22s %7.2f %%\n", "both viewers visible", visible);
    std::printf("%-22s %7.2f %%   target %.0f %%, %s\n", "both viewers hidden", hidden, a_target,
                hidden <= a_target ? "met" : "missed");
    return 0;
}
