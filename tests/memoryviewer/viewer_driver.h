#ifndef OBVISTA_TESTS_VIEWER_DRIVER_H
#define OBVISTA_TESTS_VIEWER_DRIVER_H

#include <QModelIndex>
#include <QString>

#include <plugin_driver.h>

class QLineEdit;
class QTreeView;

namespace obvista_test {

/** A host of the memory viewer. */
class ViewerDriver : public PluginDriver {
  public:
    ViewerDriver();
};

QTreeView* treeOf(QWidget* viewer);
QTreeView* watchOf(QWidget* viewer);
QLineEdit* filterOf(QWidget* viewer);
/** The name column's index of a row of the viewer's tree by its path of shown names. */
QModelIndex indexOf(QWidget* viewer, const QString& path);
QModelIndex indexOf(QWidget* viewer, const char* path);
/** Brings the row onto the screen first, since only what is there is followed. */
QString valueOf(QWidget* viewer, const QString& path);
QString valueOf(QWidget* viewer, const char* path);
/** What stands in the column of that title; brings the row onto the screen first. */
QString cellOf(QWidget* viewer, const QString& path, const QString& title);
QString cellOf(QWidget* viewer, const char* path, const char* title);
/** Makes the row the current one of the tree, on the screen and with the keyboard's focus. */
void choose(QWidget* viewer, const char* path);
/** Types a filter in place of the present one. */
void typeFilter(QWidget* viewer, const QString& filter);
QString statusOf(QWidget* viewer);
/** What stands in the place of the tree; empty while the tree is there. */
QString messageOf(QWidget* viewer);
/** What stands above the tree; empty when nothing does. */
QString noticeOf(QWidget* viewer);

}  // namespace obvista_test

#endif
