// Shows the camera viewer in a window, like the host, until it is killed.
//
//   cameraviewer_bench_viewer PLUGIN ROBOT_PORT WIDTH HEIGHT
#include "shown_rect.h"

#include <obvista/widget_interface.h>

#include <QAction>
#include <QApplication>
#include <QMainWindow>
#include <QPluginLoader>
#include <QTimer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    if (argc != 5) {
        std::fputs("usage: cameraviewer_bench_viewer PLUGIN ROBOT_PORT WIDTH HEIGHT\n", stderr);
        return EXIT_FAILURE;
    }
    QPluginLoader loader(QString::fromLocal8Bit(argv[1]));
    auto* plugin = qobject_cast<WidgetInterface*>(loader.instance());
    if (plugin == nullptr) {
        std::fprintf(stderr, "%s\n", qPrintable(loader.errorString()));
        return EXIT_FAILURE;
    }
    QMainWindow window;
    QWidget* viewer = plugin->createWidget(&window, "127.0.0.1", std::atoi(argv[2]), "/nowhere/");
    window.setCentralWidget(viewer);
    bench::showLarge(window);
    auto* view = viewer->findChild<QWidget*>(QStringLiteral("cameraPicture"));
    const QSize picture(std::atoi(argv[3]), std::atoi(argv[4]));
    // One picture pixel per screen pixel if there is room, as in the bare window.
    QTimer::singleShot(bench::a_settling, view, [viewer, view, picture] {
        if (view->width() >= picture.width() && view->height() >= picture.height()) {
            viewer->findChild<QAction*>(QStringLiteral("oneToOneAction"))->trigger();
        }
        bench::tellWhereShown(view, picture);
    });
    return QApplication::exec();
}
