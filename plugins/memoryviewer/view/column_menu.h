#ifndef OBVISTA_MEMORYVIEWER_COLUMN_MENU_H
#define OBVISTA_MEMORYVIEWER_COLUMN_MENU_H

#include <QMenu>

class QHeaderView;

namespace memoryviewer {

/**
 * A menu for showing and hiding columns of keys. The names are always shown, since rows are
 * meaningless without them.
 */
class ColumnMenu : public QMenu {
    Q_OBJECT

  public:
    /** @param header of the columns; must outlive the menu */
    ColumnMenu(QHeaderView* header, QWidget* parent);

  private:
    void xAddColumn(int column);
    void xUpdate();

    QHeaderView* fHeader;
};

}  // namespace memoryviewer

#endif
