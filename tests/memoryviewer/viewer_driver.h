#ifndef OBVISTA_TESTS_VIEWER_DRIVER_H
#define OBVISTA_TESTS_VIEWER_DRIVER_H

#include <QMainWindow>
#include <QModelIndex>
#include <QPointer>
#include <QProcess>
#include <QString>

#include <functional>
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

/** The program viewer_process, which shows a viewer of its own; killed when this goes. */
class ViewerProcess {
  public:
    ViewerProcess(const QString& mode, int robotPort);
    ~ViewerProcess();

    /** Waits until it has written that line. */
    bool waitForLine(const QByteArray& line);
    /** Waits until it has ended by itself; true when that was with status 0. */
    bool endsWell();
    /** All that it has written to standard output and standard error. */
    QByteArray output() const { return fOutput; }

  private:
    QProcess fProcess;
    QByteArray fOutput;
};

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
