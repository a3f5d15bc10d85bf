#ifndef OBVISTA_MEMORYVIEWER_COLUMN_MENU_H
#define OBVISTA_MEMORYVIEWER_COLUMN_MENU_H

#include <QMenu>

class QHeaderView;

namespace memoryviewer {

/** Chooses which columns of keys are shown. The names always are: without them no row says what it
 *  is. */
class ColumnMenu : public QMenu {
    Q_OBJECT

  public:
    /** @param header of the columns, outlives the menu */
    ColumnMenu(QHeaderView* header, QWidget* parent);

  private:
    void xAddColumn(int column);
    void xUpdate();

    QHeaderView* fHeader;
};

}  // namespace memoryviewer

#endif
