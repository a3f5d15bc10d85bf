#include "viewer_driver.h"

#include <QAbstractItemModel>
#include <QTreeView>

namespace obvista_test {

namespace {

constexpr int a_valueColumn = 1;

}  // namespace

ViewerDriver::ViewerDriver() : PluginDriver(QStringLiteral("memoryviewer")) {
}

QTreeView* treeOf(QWidget* viewer) {
    return viewer->findChild<QTreeView*>(QStringLiteral("memoryTree"));
}

QModelIndex indexOf(QWidget* viewer, const QString& path) {
    const QAbstractItemModel* model = treeOf(viewer)->model();
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
    treeOf(viewer)->scrollTo(index);
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
