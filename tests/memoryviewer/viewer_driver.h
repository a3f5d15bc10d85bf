#ifndef OBVISTA_TESTS_VIEWER_DRIVER_H
#define OBVISTA_TESTS_VIEWER_DRIVER_H

#include <QHash>
#include <QMainWindow>
#include <QModelIndex>
#include <QPointer>
#include <QString>

#include <functional>
#include <string>
#include <vector>
#include <widget_interface.h>

class QDockWidget;

Q_DECLARE_METATYPE(WidgetInterface*)

namespace obvista_test {

/** A host of the memory viewer: a window, and the plugin loaded from its library. */
class ViewerDriver : public QObject {
    Q_OBJECT

  public:
    ViewerDriver();
    /** Deletes the plugin, unless that is done, before the window with its docks. */
    ~ViewerDriver() override;

    /** Null after deletePlugin(). */
    WidgetInterface* plugin() const { return fRoot ? fPlugin : nullptr; }
    QMainWindow& window() { return fWindow; }

    /** Connects to a robot on this machine. @throws KVError */
    QWidget* createWidget(int port);
    QDockWidget* dock(QWidget* widget);
    void deletePlugin();
    void onDisconnected(QWidget* widget, std::function<void(WidgetInterface*)> action);

    /** Turns the event loop for several of the viewer's frames: long enough for what must not
     *  happen to happen. */
    void letTimePass();

  private Q_SLOTS:
    void xOnDisconnected(WidgetInterface* plugin);

  private:
    QMainWindow fWindow;
    QPointer<QObject> fRoot;
    WidgetInterface* fPlugin = nullptr;
    QHash<QObject*, std::function<void(WidgetInterface*)>> fActions;
};

/** The command that runs the program viewer_process beside a robot on this machine. */
std::vector<std::string> viewerProcess(const std::string& mode, int robotPort);

/** The path of the plugin's library in the build tree. */
QString viewerLibrary();

/** The name column's index of a row of the viewer's tree by its path of shown names. */
QModelIndex indexOf(QWidget* viewer, const QString& path);
QModelIndex indexOf(QWidget* viewer, const char* path);
QString valueOf(QWidget* viewer, const QString& path);
QString valueOf(QWidget* viewer, const char* path);
QString statusOf(QWidget* viewer);
/** What stands in the place of the tree; empty while the tree is there. */
QString messageOf(QWidget* viewer);
/** What stands above the tree; empty when nothing does. */
QString noticeOf(QWidget* viewer);

}  // namespace obvista_test

#endif
