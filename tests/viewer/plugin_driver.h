#ifndef OBVISTA_TESTS_PLUGIN_DRIVER_H
#define OBVISTA_TESTS_PLUGIN_DRIVER_H

#include <obvista/widget_interface.h>

#include <QHash>
#include <QMainWindow>
#include <QPointer>
#include <QString>
#include <QVariant>

#include <functional>
#include <string>

class QDockWidget;
class QLabel;

Q_DECLARE_METATYPE(WidgetInterface*)

namespace obvista_test {

/** A host of one viewer: a window, and the plugin loaded from its library. */
class PluginDriver : public QObject {
    Q_OBJECT

  public:
    explicit PluginDriver(const QString& pluginName);
    /** Deletes the plugin, unless it is deleted already, before the window with its docks. */
    ~PluginDriver() override;

    /** Null after deletePlugin(). */
    WidgetInterface* plugin() const { return fRoot ? fPlugin : nullptr; }
    QMainWindow& window() { return fWindow; }

    /** Connects to a robot, by default on this machine. @throws KVError */
    QWidget* createWidget(int port, const std::string& address = "127.0.0.1");
    QDockWidget* dock(QWidget* widget);
    void deletePlugin();
    void onDisconnected(QWidget* widget, std::function<void(WidgetInterface*)> action);

  private Q_SLOTS:
    void xOnDisconnected(WidgetInterface* plugin);

  private:
    QString fPluginName;
    QMainWindow fWindow;
    QPointer<QObject> fRoot;
    WidgetInterface* fPlugin = nullptr;
    QHash<QObject*, std::function<void(WidgetInterface*)>> fActions;
};

/**
 * Handles everything that is queued, and the viewer's periodic look at its window and robot: the
 * effects of what has happened have then appeared, wanted or not.
 */
void settle(QWidget* viewer);

/** Returns the path of a plugin's library in the build tree. */
QString pluginLibrary(const QString& pluginName);

/**
 * Returns a value of the settings' file, where another process may have written it. The first
 * value whose name ends so; invalid if there is none.
 */
QVariant savedValue(const QString& endOfName);

/** Returns the text of a viewer's label; empty if it is hidden or missing. */
QString labelText(QWidget* viewer, const char* objectName);

}  // namespace obvista_test

#endif
