#include "viewer_driver.h"

#include <QAbstractItemModel>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QTreeView>
#include <qt_patience.h>

namespace obvista_test {

namespace {

int columnOf(const QAbstractItemModel& model, const QString& title) {
    for (int column = 0; column < model.columnCount(); ++column) {
        if (model.headerData(column, Qt::Horizontal).toString() == title) {
            return column;
        }
    }
    return -1;
}

}  // namespace

ViewerDriver::ViewerDriver() : PluginDriver(QStringLiteral("memoryviewer")) {
}

QTreeView* treeOf(QWidget* viewer) {
    return viewer->findChild<QTreeView*>(QStringLiteral("memoryTree"));
}

QTreeView* watchOf(QWidget* viewer) {
    return viewer->findChild<QTreeView*>(QStringLiteral("memoryWatch"));
}

QLineEdit* filterOf(QWidget* viewer) {
    return viewer->findChild<QLineEdit*>(QStringLiteral("memoryFilter"));
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
    return cellOf(viewer, path, QStringLiteral("Value"));
}

QString valueOf(QWidget* viewer, const char* path) {
    return valueOf(viewer, QString::fromUtf8(path));
}

QString cellOf(QWidget* viewer, const QString& path, const QString& title) {
    QTreeView* tree = treeOf(viewer);
    const QModelIndex index = indexOf(viewer, path);
    tree->scrollTo(index);
    const int column = columnOf(*tree->model(), title);
    return index.isValid() ? index.sibling(index.row(), column).data().toString() : QString();
}

QString cellOf(QWidget* viewer, const char* path, const char* title) {
    return cellOf(viewer, QString::fromUtf8(path), QString::fromUtf8(title));
}

void choose(QWidget* viewer, const char* path) {
    const QModelIndex index = indexOf(viewer, path);
    QVERIFY2(index.isValid(), path);
    QTreeView* tree = treeOf(viewer);
    tree->setFocus();
    tree->scrollTo(index);
    // The view would extend the selection if it considered Ctrl still pressed.
    tree->selectionModel()->setCurrentIndex(
        index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void editValue(QWidget* viewer, const char* path, const QString& text) {
    constexpr int valueColumn = 1;
    choose(viewer, path);
    QTreeView* tree = treeOf(viewer);
    const QModelIndex index = indexOf(viewer, path);
    tree->setCurrentIndex(index.sibling(index.row(), valueColumn));
    QTest::keyClick(tree, Qt::Key_F2);
    const auto editor = [tree] { return tree->viewport()->findChild<QLineEdit*>(); };
    QTRY_VERIFY(editor() != nullptr);
    editor()->selectAll();
    QTest::keyClicks(editor(), text);
    QTest::keyClick(editor(), Qt::Key_Return);
}

void typeFilter(QWidget* viewer, const QString& filter) {
    QLineEdit* field = filterOf(viewer);
    field->setFocus();
    field->clear();
    QTest::keyClicks(field, filter);
}

QString statusOf(QWidget* viewer) {
    return labelText(viewer, "memoryStatus");
}

QString messageOf(QWidget* viewer) {
    return labelText(viewer, "memoryMessage");
}

QString noticeOf(QWidget* viewer) {
    return labelText(viewer, "viewerBanner");
}

}  // namespace obvista_test
