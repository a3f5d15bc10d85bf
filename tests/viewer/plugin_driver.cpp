#include "plugin_driver.h"

#include <QDockWidget>
#include <QLabel>
#include <QPluginLoader>
#include <QSettings>

#include <project_files.h>
#include <timers.h>

namespace obvista_test {

PluginDriver::PluginDriver(const QString& pluginName) : fPluginName(pluginName) {
    qRegisterMetaType<WidgetInterface*>();
    fWindow.resize(900, 700);
    fWindow.show();
    QPluginLoader loader(pluginLibrary(pluginName));
    fRoot = loader.instance();
    fPlugin = qobject_cast<WidgetInterface*>(fRoot.data());
    if (fPlugin == nullptr) {
        qFatal("no plugin in %s: %s", qPrintable(loader.fileName()),
               qPrintable(loader.errorString()));
    }
}

PluginDriver::~PluginDriver() {
    deletePlugin();
}

QWidget* PluginDriver::createWidget(int port, const std::string& address) {
    return fPlugin->createWidget(&fWindow, address, port, "/nowhere/");
}

QDockWidget* PluginDriver::dock(QWidget* widget) {
    auto* dock = new QDockWidget(fPluginName, &fWindow);
    dock->setWidget(widget);
    dock->show();
    fWindow.addDockWidget(Qt::TopDockWidgetArea, dock);
    return dock;
}

void PluginDriver::deletePlugin() {
    if (fRoot) {
        delete fPlugin;
    }
}

void PluginDriver::onDisconnected(QWidget* widget, std::function<void(WidgetInterface*)> action) {
    fActions[widget] = std::move(action);
    connect(widget, SIGNAL(disconnected(WidgetInterface*)), this,
            SLOT(xOnDisconnected(WidgetInterface*)));
}

void PluginDriver::xOnDisconnected(WidgetInterface* plugin) {
    const auto action = fActions.value(sender());
    action(plugin);
}

void settle(QWidget* viewer) {
    QCoreApplication::sendPostedEvents();
    expire(*viewer->findChild<QTimer*>(QStringLiteral("seenTimer")));
    QCoreApplication::sendPostedEvents();
}

QString pluginLibrary(const QString& pluginName) {
    return QString::fromStdString(builtFile("lib/obvista/lib" + pluginName.toStdString() + ".so"));
}

QVariant savedValue(const QString& endOfName) {
    QSettings settings;
    settings.sync();
    for (const QString& name : settings.allKeys()) {
        if (name.endsWith(endOfName)) {
            return settings.value(name);
        }
    }
    return {};
}

QString labelText(QWidget* viewer, const char* objectName) {
    const auto* label = viewer->findChild<QLabel*>(QLatin1String(objectName));
    return label != nullptr && label->isVisibleTo(viewer)
               ? label->text().replace(QChar::Nbsp, QLatin1Char(' '))
               : QString();
}

}  // namespace obvista_test
