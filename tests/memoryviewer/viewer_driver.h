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
/** Returns the name column's index of a row of the viewer's tree by its path of shown names. */
QModelIndex indexOf(QWidget* viewer, const QString& path);
QModelIndex indexOf(QWidget* viewer, const char* path);
/**
 * Returns the shown value. Scrolls the row onto the screen first, since only visible keys are
 * subscribed.
 */
QString valueOf(QWidget* viewer, const QString& path);
QString valueOf(QWidget* viewer, const char* path);
/** Returns the text in the column of that title; scrolls the row onto the screen first. */
QString cellOf(QWidget* viewer, const QString& path, const QString& title);
QString cellOf(QWidget* viewer, const char* path, const char* title);
/** Makes the row the current one of the tree, on the screen and with the keyboard focus. */
void choose(QWidget* viewer, const char* path);
/** Enters another value for a key that has one, by keyboard. */
void editValue(QWidget* viewer, const char* path, const QString& text);
/** Replaces the filter by typing. */
void typeFilter(QWidget* viewer, const QString& filter);
QString statusOf(QWidget* viewer);
/** Returns the placeholder text shown when there is no tree; otherwise empty. */
QString messageOf(QWidget* viewer);
/** Returns the text above the tree; empty if there is none. */
QString noticeOf(QWidget* viewer);

}  // namespace obvista_test

#endif
