#include "watch_view.h"

#include "arrangement.h"
#include "key_text.h"
#include "watch_model.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

#include <colours.h>

namespace memoryviewer {

namespace {

constexpr int a_rowsAtFirst = 5;

}  // namespace

WatchView::WatchView(WatchModel* model, QWidget* parent) : QTreeView(parent), fModel(model) {
    setObjectName(QStringLiteral("memoryWatch"));
    setAccessibleName(tr("Watched values"));
    setModel(model);
    setRootIsDecorated(false);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setTextElideMode(Qt::ElideRight);
    setSelectionMode(ExtendedSelection);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    setEditTriggers(DoubleClicked | EditKeyPressed);
    setContextMenuPolicy(Qt::CustomContextMenu);
    header()->setStretchLastSection(false);
    header()->setSectionResizeMode(NameColumn, QHeaderView::Stretch);
    header()->hide();
}

QSize WatchView::sizeHint() const {
    return {QTreeView::sizeHint().width(), a_rowsAtFirst * fontMetrics().height() * 5 / 4};
}

void WatchView::removeChosen() {
    QStringList names;
    for (const QModelIndex& index : selectionModel()->selectedRows()) {
        names += index.data(KeyNameRole).toString();
    }
    for (const QString& name : names) {
        fModel->remove(name);
    }
}

bool WatchView::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    const bool isByKey = trigger == EditKeyPressed;
    return QTreeView::edit(isByKey ? index.siblingAtColumn(ValueColumn) : index, trigger, event);
}

void WatchView::keyPressEvent(QKeyEvent* event) {
    const bool isMove = event->modifiers() == Qt::AltModifier;
    if (event->key() == Qt::Key_Delete && state() != EditingState) {
        removeChosen();
    } else if (isMove && event->key() == Qt::Key_Up) {
        xMove(-1);
    } else if (isMove && event->key() == Qt::Key_Down) {
        xMove(1);
    } else {
        QTreeView::keyPressEvent(event);
    }
}

void WatchView::xMove(int by) {
    const QModelIndex current = currentIndex();
    if (current.isValid()) {
        const int row = fModel->move(current.row(), by);
        setCurrentIndex(fModel->index(row, current.column()));
    }
}

void WatchView::paintEvent(QPaintEvent* event) {
    QTreeView::paintEvent(event);
    if (fModel->rowCount() == 0) {
        QPainter painter(viewport());
        painter.setPen(viewer::dimmedText(palette()));
        painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap,
                         tr("Drag keys here, or press Ctrl+D, to watch them."));
    }
}

}  // namespace memoryviewer
