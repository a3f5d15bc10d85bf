#include "host_window.h"

#include "installation.h"
#include "plugin_loader.h"
#include "qclosabledock_widget.h"

#include <QMenu>
#include <QMenuBar>

#include <algorithm>

namespace obvista_test {

namespace {

class ScriptedChoice : public RobotChoice {
  public:
    explicit ScriptedChoice(ChoiceScript& script) : fScript(script) {}

    int exec() override {
        fScript.fCalls += QStringLiteral("exec");
        if (fScript.fWhileOpen) {
            fScript.fWhileOpen();
        }
        return fScript.fExecResult;
    }

    bool getIPandPort(QString& ip, int& port) override {
        fScript.fCalls += QStringLiteral("getIPandPort");
        if (fScript.fAddresses.isEmpty()) {
            return false;
        }
        const QPair<QString, int> address = fScript.fAddresses.takeFirst();
        ip = address.first;
        port = address.second;
        return true;
    }

    bool refreshIP() override {
        fScript.fCalls += QStringLiteral("refreshIP");
        return fScript.fRefreshed;
    }

  private:
    ChoiceScript& fScript;
};

}  // namespace

HostWindow::HostWindow(const Installation& installation) {
    setAppFolder(installation.appFolder());
    init();
}

void HostWindow::load(const QString& pluginName) {
    QMetaObject::invokeMethod(this, "xLoadPlugin", Q_ARG(QString, pluginName));
}

PluginLoader& HostWindow::launcher() const {
    return *static_cast<PluginLoader*>(centralWidget());
}

QList<QClosableDockWidget*> HostWindow::docks() const {
    return findChildren<QClosableDockWidget*>(QString(), Qt::FindDirectChildrenOnly);
}

QList<QClosableDockWidget*> HostWindow::openDocks() const {
    QList<QClosableDockWidget*> open = docks();
    const auto isClosed = [](const QClosableDockWidget* dock) { return dock->isHidden(); };
    open.erase(std::remove_if(open.begin(), open.end(), isClosed), open.end());
    return open;
}

void HostWindow::lose(const QClosableDockWidget& dock) {
    QMetaObject::invokeMethod(dock.widget(), "lose");
}

QStringList HostWindow::pluginMenu() const {
    QStringList texts;
    const auto actions = menuBar()->actions().first()->menu()->actions();
    for (const QAction* action : actions) {
        texts += action->text();
    }
    return texts;
}

std::unique_ptr<RobotChoice> HostWindow::xCreateRobotChoice() {
    return std::make_unique<ScriptedChoice>(fChoice);
}

}  // namespace obvista_test
