#include "view/watch_view.h"

#include "model/key_cells.h"
#include "model/watch_model.h"

#include <obvista/viewer/colours.h>

#include <QHeaderView>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr int a_leastRows = 2;  // also of the text shown while no key is watched
constexpr int a_mostRowsAtFirst = 5;

}  // namespace

WatchView::WatchView(WatchModel* model, QWidget* parent) : KeyView(model, parent), fModel(model) {
    setObjectName(QStringLiteral("memoryWatch"));
    setAccessibleName(tr("Watched values"));
    setRootIsDecorated(false);
    setDragDropMode(DragDrop);
    setDefaultDropAction(Qt::MoveAction);
    header()->hide();
}

std::vector<const MemoryKey*> WatchView::chosenKeys() const {
    std::vector<const MemoryKey*> keys;
    for (const QModelIndex& row : chosenRows()) {
        if (const MemoryKey* key = fModel->keyOf(row)) {
            keys.push_back(key);
        }
    }
    return keys;
}

QStringList WatchView::chosenNames() const {
    QStringList names;
    for (const QModelIndex& row : chosenRows()) {
        names += row.data(KeyNameRole).toString();
    }
    return names;
}

QSize WatchView::sizeHint() const {
    const int rows = std::clamp(fModel->rowCount(), a_leastRows, a_mostRowsAtFirst);
    return {KeyView::sizeHint().width(), rows * fontMetrics().height() * 5 / 4};
}

QSize WatchView::minimumSizeHint() const {
    return {KeyView::minimumSizeHint().width(), a_leastRows * fontMetrics().height() * 5 / 4};
}

void WatchView::removeChosen() {
    for (const QString& name : chosenNames()) {
        fModel->remove(name);
    }
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
        KeyView::keyPressEvent(event);
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
    KeyView::paintEvent(event);
    if (fModel->rowCount() == 0) {
        QPainter painter(viewport());
        painter.setPen(obvista::dimmedText(palette()));
        painter.drawText(viewport()->rect(), Qt::AlignCenter | Qt::TextWordWrap,
                         tr("Drag keys here, or press Ctrl+D, to watch them."));
    }
}

}  // namespace memoryviewer
