#ifndef OBVISTA_TESTS_HOST_HOST_WINDOW_H
#define OBVISTA_TESTS_HOST_HOST_WINDOW_H

#include "main_window.h"
#include "robot_choice.h"

#include <QPair>

#include <functional>

class PluginLoader;
class QClosableDockWidget;

namespace obvista_test {

class Installation;

/** Scripted behaviour of user and network when a robot is chosen, and a record of the calls. */
struct ChoiceScript {
    int fExecResult = 1;
    /** Runs while the dialog is open. */
    std::function<void()> fWhileOpen;
    /** Results of successive getIPandPort() calls; it fails after the last one. */
    QList<QPair<QString, int>> fAddresses{{QStringLiteral("192.0.2.1"), 9559}};
    bool fRefreshed = false;
    QStringList fCalls;
};

/** The main window of an installation, with a scripted choice instead of the robot browser. */
class HostWindow : public MainWindow {
  public:
    explicit HostWindow(const Installation& installation);

    /** Loads a plugin as the menu and the launcher do. */
    void load(const QString& pluginName);

    ChoiceScript& choice() { return fChoice; }
    PluginLoader& launcher() const;

    /** Returns every dock, including closed ones, in the order of creation. */
    QList<QClosableDockWidget*> docks() const;
    /** Returns the visible docks. */
    QList<QClosableDockWidget*> openDocks() const;

    /** Makes the widget in a dock report that its robot is lost. */
    static void lose(const QClosableDockWidget& dock);

    /** Returns the texts of the "Load Plugin" menu. */
    QStringList pluginMenu() const;

  private:
    std::unique_ptr<RobotChoice> xCreateRobotChoice() override;

    ChoiceScript fChoice;
};

}  // namespace obvista_test

#endif
