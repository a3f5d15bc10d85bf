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
 * The application's window: finds the plugins, loads them on request, docks and removes their
 * widgets.
 *
 * While no plugin is docked it shows the launcher. This window deletes every plugin object once:
 * when its dock is closed, when it reports its connection lost, or with the window. A closed dock
 * remains a hidden child of the window, so that the plugin's widget may outlive the plugin object.
 *
 * GUI thread only. A plugin may emit `disconnected` on another thread; it is then delivered queued.
 */
class MainWindow : public QMainWindow {
    Q_OBJECT
  public:
    /** Creates an empty window. Call setAppFolder() and init() before it is shown. */
    MainWindow();
    ~MainWindow() override;

    /** @param folder folder of the executable, without a trailing separator */
    void setAppFolder(const QString& folder);

    /** Builds the launcher and the menus; reads the plugins folder once. */
    void init();

    /** Returns the files of a folder that may be plugins, sorted by name, case-insensitively. */
    QList<QFileInfo> getPluginList(const QString& folder) const;

    /**
     * Loads a plugin without user interaction, for the command line.
     *
     * Only a failure inside the plugin is reported, on standard error.
     *
     * @param brokerPort passed to the plugin, see WidgetInterface::brokerPort
     * @return false if there is no such plugin or it could not be loaded or connected; true even if
     *         the plugin has nothing to show
     */
    bool loadPlugin(const QString& pluginName, const QString& ip, int port, int brokerPort);

  Q_SIGNALS:
    /** Hides the launcher if true, shows it if false. */
    void backgroundInvisible(bool);

  public Q_SLOTS:
    /** Reports to the user that robots cannot be discovered. The application continues without. */
    void onBonjourListeningException(const QString& fErrMsg);

  private Q_SLOTS:
    void xOnDisconnected(WidgetInterface*);
    void xOnLoadPlugin(QAction*);
    void xOnHelpAbout();
    void xOnClosePlugin(QClosableDockWidget* pluginWidget);
    void xLoadPlugin(const QString& pluginName);

  private:
    /** Creates the dialog in which the user chooses a robot. */
    virtual std::unique_ptr<RobotChoice> xCreateRobotChoice();

    void xInitMenuBar();
    void xLoadPluginsMenu(QMenu* menu);

    void xLoadOnRobot(const QString& pluginName, QPluginLoader& loader, RobotChoice& choice);
    /** Returns the plugin's object, or null after reporting the reason to the user. */
    WidgetInterface* xPluginObject(const QString& pluginName, QPluginLoader& loader);
    void xRefusePlugin(const QString& qtMessage);
    /**
     * Returns true if a call into a plugin returned normally; otherwise reports the failure to the
     * user.
     */
    bool xSucceeded(const QString& pluginName, const PluginCall& call);

    QClosableDockWidget* xCreateDock(const QString& pluginName, QWidget* widget);
    void xAddDock(QClosableDockWidget* dock, WidgetInterface* plugin);
    void xAddPanelAndWidgetInterface(QClosableDockWidget* dock, WidgetInterface* plugin);
    int xIndexOf(const QClosableDockWidget* dock) const;
    std::string xMediaFolder() const;

    static const QString fPluginsFolder;
    static const QString fMediaFolder;

    // One pair for each docked widget, in docking order. The plugin is null if an earlier pair
    // contains the same object, so that each object is deleted once.
    QList<QPair<QClosableDockWidget*, WidgetInterface*>> fPlugins;
    QString fAppFolder;
    QMap<QString, QString> fPluginPaths;
    PluginLoader* fBackground = nullptr;
};

#endif
