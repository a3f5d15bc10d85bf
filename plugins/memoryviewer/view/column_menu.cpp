#include "view/column_menu.h"

#include "model/key_cells.h"

#include <QHeaderView>

namespace memoryviewer {

ColumnMenu::ColumnMenu(QHeaderView* header, QWidget* parent) : QMenu(parent), fHeader(header) {
    setObjectName(QStringLiteral("memoryColumnMenu"));
    for (int column = 0; column < header->count(); ++column) {
        if (column != NameColumn) {
            xAddColumn(column);
        }
    }
    connect(this, &QMenu::aboutToShow, this, &ColumnMenu::xUpdate);
}

void ColumnMenu::xAddColumn(int column) {
    const QAbstractItemModel* model = fHeader->model();
    QAction* action = addAction(model->headerData(column, Qt::Horizontal).toString());
    action->setCheckable(true);
    action->setData(column);
    connect(action, &QAction::triggered, this,
            [this, column](bool isShown) { fHeader->setSectionHidden(column, !isShown); });
}

void ColumnMenu::xUpdate() {
    for (QAction* action : actions()) {
        action->setChecked(!fHeader->isSectionHidden(action->data().toInt()));
    }
}

}  // namespace memoryviewer
