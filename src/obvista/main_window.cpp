#include "main_window.h"

#include "dock_buttons.h"
#include "error_dialog.h"
#include "identity.h"
#include "plugin_call.h"
#include "plugin_loader.h"
#include "qclosabledock_widget.h"
#include "robot_browser.h"

#include <obvista/widget_interface.h>

#include <QAction>
#include <QDir>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPluginLoader>
#include <QPointer>

#include <algorithm>
#include <cstdlib>
#include <iostream>

const QString MainWindow::fPluginsFolder = QStringLiteral("/../lib/obvista/");
const QString MainWindow::fMediaFolder = QStringLiteral("/../share/obvista/");

namespace {

/**
 * Returns the plugin object of a library; it is created on first use and again after it was
 * deleted. Null if the file is not a library, not a plugin or a plugin of another kind.
 */
WidgetInterface* rootInterface(QPluginLoader& loader) {
    // Qt resolves functions when they are first called. A library with a missing one would load and
    // terminate the process later, so all are resolved while it can still be refused.
    loader.setLoadHints(loader.loadHints() | QLibrary::ResolveAllSymbolsHint);
    return qobject_cast<WidgetInterface*>(loader.instance());
}

}  // namespace

MainWindow::MainWindow() {
    // Allows a plugin to emit disconnected() on another thread.
    qRegisterMetaType<WidgetInterface*>("WidgetInterface*");
    setWindowTitle(QLatin1String(obvista::a_applicationName));
}

MainWindow::~MainWindow() {
    // The widgets may emit signals while they and their plugins are destroyed.
    const auto docks = findChildren<QClosableDockWidget*>();
    for (const QClosableDockWidget* dock : docks) {
        if (const QWidget* widget = dock->widget()) {
            widget->disconnect(this);
        }
    }
    while (!fPlugins.isEmpty()) {
        const auto [dock, plugin] = fPlugins.takeLast();
        delete plugin;
        delete dock;
    }
}

void MainWindow::setAppFolder(const QString& folder) {
    fAppFolder = folder;
}

void MainWindow::init() {
    xInitMenuBar();
    fBackground = new PluginLoader(fAppFolder + fMediaFolder, this);
    setCentralWidget(fBackground);
    connect(fBackground, &PluginLoader::loadPlugin, this, &MainWindow::xLoadPlugin);
    connect(this, &MainWindow::backgroundInvisible, fBackground, &PluginLoader::setHidden);
}

void MainWindow::xInitMenuBar() {
    QMenu* plugins = menuBar()->addMenu(QStringLiteral("Load Plugin"));
    xLoadPluginsMenu(plugins);
    connect(plugins, &QMenu::triggered, this, &MainWindow::xOnLoadPlugin);

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(tr("About Obvista"), this, &MainWindow::xOnHelpAbout, QKeySequence());
}

QList<QFileInfo> MainWindow::getPluginList(const QString& folder) const {
    QList<QFileInfo> plugins = QDir(folder).entryInfoList(QDir::Files);
    const auto isNoLibrary = [](const QFileInfo& file) {
        return file.completeSuffix() != QLatin1String("so");
    };
    plugins.erase(std::remove_if(plugins.begin(), plugins.end(), isNoLibrary), plugins.end());
    return plugins;
}

void MainWindow::xLoadPluginsMenu(QMenu* menu) {
    const QList<QFileInfo> files = getPluginList(fAppFolder + fPluginsFolder);
    for (const QFileInfo& file : files) {
        QString name = file.completeBaseName();
        if (name.startsWith(QLatin1String("lib"))) {
            name.remove(0, 3);
        }
        menu->addAction(name);
        fPluginPaths[name] = file.absoluteFilePath();
    }
}

void MainWindow::xOnLoadPlugin(QAction* action) {
    xLoadPlugin(action->text());
}

void MainWindow::xLoadPlugin(const QString& pluginName) {
    const auto path = fPluginPaths.constFind(pluginName);
    if (path == fPluginPaths.constEnd()) {
        return;
    }
    QPluginLoader loader(*path);
    if (xPluginObject(pluginName, loader) == nullptr) {
        return;
    }
    const std::unique_ptr<RobotChoice> choice = xCreateRobotChoice();
    if (choice->exec() != 0) {
        xLoadOnRobot(pluginName, loader, *choice);
    }
}

std::unique_ptr<RobotChoice> MainWindow::xCreateRobotChoice() {
    return std::make_unique<RobotBrowser>(this, fAppFolder + fMediaFolder);
}

void MainWindow::xLoadOnRobot(const QString& pluginName, QPluginLoader& loader,
                              RobotChoice& choice) {
    // Requested again: while the dialog was open, a docked widget of the same plugin may have lost
    // its robot, and the plugin object with it. The loader then creates a new one.
    WidgetInterface* plugin = xPluginObject(pluginName, loader);
    if (plugin == nullptr) {
        return;
    }
    bool needsRobot = false;
    if (!xSucceeded(pluginName, callPlugin([&] { needsRobot = plugin->needsRobotConnection(); }))) {
        return;
    }
    QString ip;
    int port = 0;
    if (needsRobot && !choice.getIPandPort(ip, port)) {
        return;
    }

    QWidget* widget = nullptr;
    const auto create = [&] {
        widget = plugin->createWidget(this, ip.toStdString(), port, xMediaFolder());
    };
    PluginCall creation = callPlugin(create);
    if (creation.fOutcome == PluginCall::Outcome::NotConnected && choice.refreshIP() &&
        choice.getIPandPort(ip, port)) {
        creation = callPlugin(create);
    }
    if (!xSucceeded(pluginName, creation) || widget == nullptr) {
        return;
    }
    QClosableDockWidget* dock = xCreateDock(pluginName, widget);
    // Removes the fixed size set when the last plugin was closed: Qt treats its maximum size as no
    // limit.
    setFixedSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
    xAddDock(dock, plugin);
}

WidgetInterface* MainWindow::xPluginObject(const QString& pluginName, QPluginLoader& loader) {
    WidgetInterface* plugin = nullptr;
    if (xSucceeded(pluginName, callPlugin([&] { plugin = rootInterface(loader); })) &&
        plugin == nullptr) {
        xRefusePlugin(loader.errorString());
    }
    return plugin;
}

bool MainWindow::loadPlugin(const QString& pluginName, const QString& ip, int port,
                            int brokerPort) {
    const auto path = fPluginPaths.constFind(pluginName);
    if (path == fPluginPaths.constEnd()) {
        return false;
    }
    QPluginLoader loader(*path);
    WidgetInterface* plugin = nullptr;
    QWidget* widget = nullptr;
    const PluginCall load = callPlugin([&] {
        plugin = rootInterface(loader);
        if (plugin != nullptr) {
            plugin->brokerPort = brokerPort;
            widget = plugin->createWidget(this, ip.toStdString(), port, xMediaFolder());
        }
    });
    if (load.fOutcome != PluginCall::Outcome::Returned) {
        std::cerr << "Failed to load plugin: " << load.fError << '\n';
        return false;
    }
    if (plugin == nullptr) {
        return false;
    }
    if (widget != nullptr) {
        xAddDock(xCreateDock(pluginName, widget), plugin);
    }
    return true;
}

void MainWindow::xRefusePlugin(const QString& qtMessage) {
    QString message = QStringLiteral(
        "Plugin does not comply with Obvista requirements, and therefore cannot be loaded.");
    if (!qtMessage.isEmpty()) {
        message += QStringLiteral("\nMessage from Qt: \"%1\"").arg(qtMessage);
    }
    QMessageBox::warning(this, QStringLiteral("Error while loading plugin"), message,
                         QMessageBox::Ok);
}

bool MainWindow::xSucceeded(const QString& pluginName, const PluginCall& call) {
    if (call.fOutcome == PluginCall::Outcome::Returned) {
        return true;
    }
    const QString text =
        call.fOutcome == PluginCall::Outcome::NotConnected
            ? tr("Could not connect to Robaxi. Make sure Robaxi is executed on the right IP and "
                 "listening to the port you have set...\n"
                 "Also make sur that another Obvista is not already connected to this Robaxi.")
            : tr("The plugin \"%1\" failed and cannot be loaded.").arg(pluginName);
    KD::ErrorDialog dialog(tr("Error"), text, this, QMessageBox::NoButton);
    dialog.setTextFormat(Qt::PlainText);
    dialog.setDetailedText(QString::fromStdString(call.fError));
    dialog.displayDialog();
    return false;
}

QClosableDockWidget* MainWindow::xCreateDock(const QString& pluginName, QWidget* widget) {
    // By name: the signal belongs to a class that only the plugin knows.
    connect(widget, SIGNAL(disconnected(WidgetInterface*)), this,
            SLOT(xOnDisconnected(WidgetInterface*)));
    auto* dock = new QClosableDockWidget(pluginName, this);
    obvista::keepButtonsVisible(dock);
    dock->resize(widget->size());
    dock->setWidget(widget);
    dock->show();
    return dock;
}

void MainWindow::xAddDock(QClosableDockWidget* dock, WidgetInterface* plugin) {
    addDockWidget(Qt::TopDockWidgetArea, dock);
    xAddPanelAndWidgetInterface(dock, plugin);
    Q_EMIT backgroundInvisible(true);
    connect(dock, &QClosableDockWidget::askToBeClosed, this, &MainWindow::xOnClosePlugin);
}

void MainWindow::xAddPanelAndWidgetInterface(QClosableDockWidget* dock, WidgetInterface* plugin) {
    const bool isRecorded =
        std::any_of(fPlugins.cbegin(), fPlugins.cend(),
                    [plugin](const auto& docked) { return docked.second == plugin; });
    fPlugins.append({dock, isRecorded ? nullptr : plugin});
}

void MainWindow::xOnDisconnected(WidgetInterface* plugin) {
    const auto docked = std::find_if(fPlugins.cbegin(), fPlugins.cend(),
                                     [plugin](const auto& pair) { return pair.second == plugin; });
    const QString title = tr("Robaxi has been disconnected");
    if (docked == fPlugins.cend()) {
        KD::ErrorDialog dialog(
            title, tr("Obvista will exit now. You have to restart it and connect again."), nullptr,
            QMessageBox::NoButton);
        dialog.displayDialog();
        std::exit(EXIT_SUCCESS);
    }
    // The dialog runs an event loop in which the same plugin may report again, another may be lost
    // or the user may close docks. Only the dock's identity remains valid.
    const QPointer<QClosableDockWidget> dock = docked->first;
    KD::ErrorDialog dialog(
        title, tr("Obvista will close this plugin now. You have to restart it and connect again."),
        nullptr, QMessageBox::NoButton);
    dialog.displayDialog();
    if (dock != nullptr) {
        xOnClosePlugin(dock);
    }
}

void MainWindow::xOnClosePlugin(QClosableDockWidget* pluginWidget) {
    removeDockWidget(pluginWidget);
    const int index = xIndexOf(pluginWidget);
    if (index < 0) {
        return;
    }
    // Removed from the list before it is deleted: if the plugin reports a lost connection in its
    // destructor, it must not be found, and deleted, again.
    delete fPlugins.takeAt(index).second;
    if (fPlugins.isEmpty()) {
        Q_EMIT backgroundInvisible(false);
        setFixedSize(fBackground->size());
    }
    // Even while other docks remain.
    resize(fBackground->pictureSize());
}

int MainWindow::xIndexOf(const QClosableDockWidget* dock) const {
    for (int i = fPlugins.size() - 1; i >= 0; --i) {
        if (fPlugins[i].first == dock) {
            return i;
        }
    }
    return -1;
}

std::string MainWindow::xMediaFolder() const {
    return (fAppFolder + fMediaFolder).toStdString();
}

void MainWindow::xOnHelpAbout() {
    const QString text =
        QStringLiteral("%1\n\nVersion %2\n\nWebsite : %3\n")
            .arg(QLatin1String(obvista::a_productName), QLatin1String(obvista::a_version),
                 QLatin1String(obvista::a_organisationDomain));
    QMessageBox::about(this, tr("About Obvista"), tr(text.toUtf8().constData()));
}

void MainWindow::onBonjourListeningException(const QString& fErrMsg) {
    KD::ErrorDialog dialog(
        tr("Cannot listen to Bonjour Network"),
        tr("Make sure Bonjour is properly installed. Browsing function will not be available."),
        nullptr, QMessageBox::NoButton);
    dialog.setDetailedText(fErrMsg);
    dialog.displayDialog();
}
