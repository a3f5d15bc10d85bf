#ifndef OBVISTA_MAIN_WINDOW_H
#define OBVISTA_MAIN_WINDOW_H

#include <QFileInfo>
#include <QList>
#include <QMainWindow>
#include <QMap>
#include <QPair>
#include <QString>

#include <memory>
#include <string>

class PluginLoader;
class QAction;
class QClosableDockWidget;
class QMenu;
class QPluginLoader;
class RobotChoice;
class WidgetInterface;
struct PluginCall;

/**
 * The application's window: finds the plugins, loads them on request, docks their widgets and
 * takes them down again.
 *
 * While no plugin is docked it shows the launcher. Every plugin object is deleted by this window,
 * once: when its dock is closed, when it reports its connection lost, or with the window. A dock
 * that was closed stays a hidden child of the window, so that the plugin's widget may outlive the
 * plugin object.
 *
 * GUI thread only. A plugin may emit `disconnected` on another thread; it is then delivered queued.
 */
class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    /** Builds an empty window: setAppFolder() and init() come before it is shown. */
    MainWindow();
    ~MainWindow() override;

    /** @param folder folder of the executable, without a separator at its end */
    void setAppFolder(const QString& folder);

    /** Builds the menus, reading the plugins folder once, and the launcher. */
    void init();

    /** The files of a folder that may be plugins, by name without regard to case. */
    QList<QFileInfo> getPluginList(const QString& folder) const;

    /**
     * Loads a plugin without asking anybody, for the command line.
     *
     * Only a failure inside the plugin is written, to standard error.
     *
     * @param brokerPort handed to the plugin, see WidgetInterface::brokerPort
     * @return false when there is no such plugin or it could not be loaded or connected; true
     *         also when the plugin has nothing to show
     */
    bool loadPlugin(const QString& pluginName, const QString& ip, int port, int brokerPort);

  Q_SIGNALS:
    /** True hides the launcher, false shows it. */
    void backgroundInvisible(bool);

  public Q_SLOTS:
    /** Tells the user that robots cannot be discovered. The application goes on without. */
    void onBonjourListeningException(const QString& fErrMsg);

  private Q_SLOTS:
    void xOnDisconnected(WidgetInterface*);
    void xOnLoadPlugin(QAction*);
    void xOnHelpAbout();
    void xOnClosePlugin(QClosableDockWidget* pluginWidget);
    void xLoadPlugin(const QString& pluginName);

  private:
    /** The dialog in which the user chooses a robot. */
    virtual std::unique_ptr<RobotChoice> xCreateRobotChoice();

    void xInitMenuBar();
    void xLoadPluginsMenu(QMenu* menu);

    void xLoadOnRobot(const QString& pluginName, QPluginLoader& loader, RobotChoice& choice);
    /** The plugin's object, or null: the user has then been told why. */
    WidgetInterface* xPluginObject(const QString& pluginName, QPluginLoader& loader);
    void xRefusePlugin(const QString& qtMessage);
    /** Whether a call into a plugin returned. The user is told when it did not. */
    bool xSucceeded(const QString& pluginName, const PluginCall& call);

    QClosableDockWidget* xCreateDock(const QString& pluginName, QWidget* widget);
    void xAddDock(QClosableDockWidget* dock, WidgetInterface* plugin);
    void xAddPanelAndWidgetInterface(QClosableDockWidget* dock, WidgetInterface* plugin);
    int xIndexOf(const QClosableDockWidget* dock) const;
    std::string xMediaFolder() const;

    static const QString fPluginsFolder;
    static const QString fMediaFolder;

    // One pair for each docked widget, in docking order. The plugin is null where an earlier pair
    // holds the same object, so that each object is deleted once.
    QList<QPair<QClosableDockWidget*, WidgetInterface*>> fPlugins;
    QString fAppFolder;
    QMap<QString, QString> fPluginPaths;
    PluginLoader* fBackground = nullptr;
};

#endif
