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

/** How the user and the network behave when a robot is to be chosen, and what was asked. */
struct ChoiceScript {
    int fExecResult = 1;
    /** Runs while the dialog is open. */
    std::function<void()> fWhileOpen;
    /** What getIPandPort() gives, call by call; it fails when the list has run out. */
    QList<QPair<QString, int>> fAddresses{{QStringLiteral("192.0.2.1"), 9559}};
    bool fRefreshed = false;
    QStringList fCalls;
};

/** The main window of an installation, with a scripted choice in the robot browser's place. */
class HostWindow : public MainWindow {
  public:
    explicit HostWindow(const Installation& installation);

    /** Loads a plugin as the menu and the launcher do. */
    void load(const QString& pluginName);

    ChoiceScript& choice() { return fChoice; }
    PluginLoader& launcher() const;

    /** Every dock, closed ones included, in the order in which they were made. */
    QList<QClosableDockWidget*> docks() const;
    /** The docks that the user sees. */
    QList<QClosableDockWidget*> openDocks() const;

    /** Makes the widget in a dock report that its robot is lost. */
    static void lose(const QClosableDockWidget& dock);

    /** The texts of the "Load Plugin" menu. */
    QStringList pluginMenu() const;

  private:
    std::unique_ptr<RobotChoice> xCreateRobotChoice() override;

    ChoiceScript fChoice;
};

}  // namespace obvista_test

#endif
