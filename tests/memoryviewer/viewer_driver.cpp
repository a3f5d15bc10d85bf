#include "viewer_driver.h"

#include <QAbstractItemModel>
#include <QCoreApplication>
#include <QDockWidget>
#include <QLabel>
#include <QPluginLoader>
#include <QTest>
#include <QTreeView>

namespace obvista_test {

namespace {

constexpr int a_valueColumn = 1;

QString labelText(QWidget* viewer, const char* name) {
    const auto* label = viewer->findChild<QLabel*>(QLatin1String(name));
    return label != nullptr && label->isVisibleTo(viewer) ? label->text() : QString();
}

}  // namespace

ViewerDriver::ViewerDriver() {
    qRegisterMetaType<WidgetInterface*>();
    fWindow.resize(900, 700);
    fWindow.show();
    QPluginLoader loader(viewerLibrary());
    fRoot = loader.instance();
    fPlugin = qobject_cast<WidgetInterface*>(fRoot.data());
    if (fPlugin == nullptr) {
        qFatal("no plugin in %s: %s", qPrintable(viewerLibrary()),
               qPrintable(loader.errorString()));
    }
}

ViewerDriver::~ViewerDriver() {
    deletePlugin();
}

QWidget* ViewerDriver::createWidget(int port) {
    return fPlugin->createWidget(&fWindow, "127.0.0.1", port, "/nowhere/");
}

QDockWidget* ViewerDriver::dock(QWidget* widget) {
    auto* dock = new QDockWidget(QStringLiteral("memoryviewer"), &fWindow);
    dock->setWidget(widget);
    dock->show();
    fWindow.addDockWidget(Qt::TopDockWidgetArea, dock);
    return dock;
}

void ViewerDriver::deletePlugin() {
    if (fRoot) {
        delete fPlugin;
    }
}

void ViewerDriver::onDisconnected(QWidget* widget, std::function<void(WidgetInterface*)> action) {
    fActions[widget] = std::move(action);
    connect(widget, SIGNAL(disconnected(WidgetInterface*)), this,
            SLOT(xOnDisconnected(WidgetInterface*)));
}

void ViewerDriver::letTimePass() {
    constexpr int frames = 10;
    constexpr int frameTime = 40;
    QTest::qWait(frames * frameTime);
}

void ViewerDriver::xOnDisconnected(WidgetInterface* plugin) {
    const auto action = fActions.value(sender());
    action(plugin);
}

std::vector<std::string> viewerProcess(const std::string& mode, int robotPort) {
    const QString program =
        QCoreApplication::applicationDirPath() + QStringLiteral("/viewer_process");
    return {program.toStdString(), mode, std::to_string(robotPort)};
}

QString viewerLibrary() {
    return QString::fromLocal8Bit(qgetenv("OBVISTA_BUILD_DIR")) +
           QStringLiteral("/lib/obvista/libmemoryviewer.so");
}

QModelIndex indexOf(QWidget* viewer, const QString& path) {
    const QAbstractItemModel* model = viewer->findChild<QTreeView*>()->model();
    QModelIndex at;
    for (const QString& segment : path.split(QLatin1Char('/'))) {
        const QModelIndex parent = at;
        at = QModelIndex();
        for (int row = 0; row < model->rowCount(parent) && !at.isValid(); ++row) {
            const QModelIndex index = model->index(row, 0, parent);
            at = index.data().toString() == segment ? index : QModelIndex();
        }
        if (!at.isValid()) {
            return at;
        }
    }
    return at;
}

QModelIndex indexOf(QWidget* viewer, const char* path) {
    return indexOf(viewer, QString::fromUtf8(path));
}

QString valueOf(QWidget* viewer, const QString& path) {
    const QModelIndex index = indexOf(viewer, path);
    return index.isValid() ? index.sibling(index.row(), a_valueColumn).data().toString()
                           : QString();
}

QString valueOf(QWidget* viewer, const char* path) {
    return valueOf(viewer, QString::fromUtf8(path));
}

QString statusOf(QWidget* viewer) {
    return labelText(viewer, "memoryStatus");
}

QString messageOf(QWidget* viewer) {
    return labelText(viewer, "memoryMessage");
}

QString noticeOf(QWidget* viewer) {
    return labelText(viewer, "memoryNotice");
}

}  // namespace obvista_test
