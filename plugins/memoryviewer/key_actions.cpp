#include "key_actions.h"

#include "arrangement.h"
#include "key_curves.h"
#include "key_text.h"
#include "key_tree.h"
#include "key_value_source.h"
#include "watch_model.h"
#include "watch_view.h"

#include <QMenu>
#include <QShortcut>

#include <algorithm>
#include <write_queue.h>

namespace memoryviewer {

namespace {

const QKeySequence a_watchKeys(Qt::CTRL + Qt::Key_D);
const QKeySequence a_plotKeys(Qt::CTRL + Qt::Key_P);

}  // namespace

KeyActions::KeyActions(const Parts& parts, QWidget* viewer) : QObject(viewer), fParts(parts) {
    xAddShortcut(a_watchKeys, &KeyActions::xWatch);
    xAddShortcut(a_plotKeys, &KeyActions::xPlot);
    xAddShortcut(QKeySequence::Undo, &KeyActions::xUndo);
    auto* copy = new QShortcut(QKeySequence::Copy, fParts.fTree);
    copy->setContext(Qt::WidgetShortcut);
    connect(copy, &QShortcut::activated, fParts.fTree, &KeyTree::copyRows);

    connect(fParts.fTree, &QWidget::customContextMenuRequested, this, &KeyActions::xShowTreeMenu);
    connect(fParts.fWatchView, &QWidget::customContextMenuRequested, this,
            &KeyActions::xShowWatchMenu);
}

template <typename Slot>
void KeyActions::xAddShortcut(const QKeySequence& keys, Slot slot) {
    auto* shortcut = new QShortcut(keys, qobject_cast<QWidget*>(parent()));
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    connect(shortcut, &QShortcut::activated, this, slot);
}

template <typename Slot>
void KeyActions::xAddAction(QMenu& menu, const QString& text, const QKeySequence& keys,
                            bool isEnabled, Slot slot) {
    QAction* action = menu.addAction(text);
    action->setShortcut(keys);
    action->setEnabled(isEnabled);
    connect(action, &QAction::triggered, this, slot);
}

void KeyActions::xShowTreeMenu(const QPoint& position) {
    KeyTree* tree = fParts.fTree;
    const bool hasKeys = !tree->chosenKeys().empty();
    const QModelIndex current = tree->currentIndex();
    const QModelIndex value = current.sibling(current.row(), ValueColumn);
    QMenu menu(tree);
    xAddAction(menu, tr("Watch"), a_watchKeys, hasKeys, &KeyActions::xWatch);
    xAddAction(menu, tr("Plot"), a_plotKeys, hasKeys, &KeyActions::xPlot);
    xAddAction(menu, tr("Plot by itself"), {}, hasKeys, &KeyActions::xPlotByItself);
    menu.addSeparator();
    xAddAction(menu, tr("Edit value"), Qt::Key_F2, fParts.fValues->editableValue(value).has_value(),
               [tree, value] { tree->edit(value); });
    xAddAction(menu, tr("Undo last write"), QKeySequence::Undo, fParts.fWrites->canUndo(),
               &KeyActions::xUndo);
    menu.addSeparator();
    xAddAction(menu, tr("Copy name"), {}, hasKeys, [tree] { tree->copyNames(); });
    xAddAction(menu, tr("Copy value"), {}, hasKeys, [tree] { tree->copyValues(); });
    xAddAction(menu, tr("Copy row"), QKeySequence::Copy, hasKeys, [tree] { tree->copyRows(); });
    menu.exec(tree->viewport()->mapToGlobal(position));
}

void KeyActions::xShowWatchMenu(const QPoint& position) {
    WatchView* view = fParts.fWatchView;
    const bool hasRows = view->selectionModel()->hasSelection();
    QMenu menu(view);
    xAddAction(menu, tr("Plot"), a_plotKeys, hasRows, &KeyActions::xPlot);
    xAddAction(menu, tr("No longer watch"), Qt::Key_Delete, hasRows,
               [view] { view->removeChosen(); });
    menu.exec(view->viewport()->mapToGlobal(position));
}

/** Of the area in which the user works. */
QStringList KeyActions::xChosenNames() const {
    QStringList names;
    if (fParts.fWatchView->hasFocus()) {
        for (const QModelIndex& index : fParts.fWatchView->selectionModel()->selectedRows()) {
            names += index.data(KeyNameRole).toString();
        }
        return names;
    }
    for (const MemoryKey* key : fParts.fTree->chosenKeys()) {
        names += QString::fromStdString(key->fInfo.fName);
    }
    return names;
}

/** Watches the chosen keys, or no longer when all of them are watched. */
void KeyActions::xWatch() {
    WatchModel* watched = fParts.fWatched;
    const QStringList names = xChosenNames();
    const bool areWatched = std::all_of(names.begin(), names.end(), [watched](const QString& name) {
        return watched->contains(name);
    });
    if (!areWatched) {
        watched->insert(names);
        return;
    }
    for (const QString& name : names) {
        watched->remove(name);
    }
}

void KeyActions::xPlot() {
    fParts.fCurves->plot(xChosenNames(), KeyCurves::Place::CurrentPlot);
}

void KeyActions::xPlotByItself() {
    fParts.fCurves->plot(xChosenNames(), KeyCurves::Place::NewPlot);
}

void KeyActions::xUndo() {
    fParts.fWrites->undo();
}

}  // namespace memoryviewer
