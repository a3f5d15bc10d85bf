#ifndef OBVISTA_TESTS_VIEWER_DRIVER_H
#define OBVISTA_TESTS_VIEWER_DRIVER_H

#include <QModelIndex>
#include <QString>

#include <plugin_driver.h>

class QTreeView;

namespace obvista_test {

/** A host of the memory viewer. */
class ViewerDriver : public PluginDriver {
  public:
    ViewerDriver();
};

QTreeView* treeOf(QWidget* viewer);
/** The name column's index of a row of the viewer's tree by its path of shown names. */
QModelIndex indexOf(QWidget* viewer, const QString& path);
QModelIndex indexOf(QWidget* viewer, const char* path);
/** Brings the row onto the screen first, since only what is there is followed. */
QString valueOf(QWidget* viewer, const QString& path);
QString valueOf(QWidget* viewer, const char* path);
QString statusOf(QWidget* viewer);
/** What stands in the place of the tree; empty while the tree is there. */
QString messageOf(QWidget* viewer);
/** What stands above the tree; empty when nothing does. */
QString noticeOf(QWidget* viewer);

}  // namespace obvista_test

#endif
