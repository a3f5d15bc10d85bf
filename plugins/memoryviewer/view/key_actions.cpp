#include "view/key_actions.h"

#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "model/key_value_source.h"
#include "model/watch_model.h"
#include "view/key_curves.h"
#include "view/key_tree_view.h"
#include "view/watch_view.h"

#include <QMenu>
#include <QShortcut>

#include <algorithm>
#include <initializer_list>

namespace memoryviewer {

namespace {

const QKeySequence a_watchKeys(Qt::CTRL + Qt::Key_D);
const QKeySequence a_plotKeys(Qt::CTRL + Qt::Key_P);

}  // namespace

KeyActions::KeyActions(const Parts& parts, QWidget* viewer) : QObject(viewer), fParts(parts) {
    xAddShortcut(a_watchKeys, &KeyActions::xWatch);
    xAddShortcut(a_plotKeys, &KeyActions::xPlot);
    xAddShortcut(QKeySequence::Undo, &KeyActions::xUndo);
    for (KeyView* view : std::initializer_list<KeyView*>{fParts.fTree, fParts.fWatchView}) {
        auto* copy = new QShortcut(QKeySequence::Copy, view);
        copy->setContext(Qt::WidgetShortcut);
        copy->setAutoRepeat(false);
        connect(copy, &QShortcut::activated, view, &KeyView::copyRows);
    }

    connect(fParts.fTree, &QWidget::customContextMenuRequested, this, &KeyActions::xShowTreeMenu);
    connect(fParts.fWatchView, &QWidget::customContextMenuRequested, this,
            &KeyActions::xShowWatchMenu);
}

template <typename Slot>
void KeyActions::xAddShortcut(const QKeySequence& keys, Slot slot) {
    auto* shortcut = new QShortcut(keys, qobject_cast<QWidget*>(parent()));
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    shortcut->setAutoRepeat(false);
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

void KeyActions::xAddEditing(QMenu& menu, KeyView* view) {
    const QPersistentModelIndex value = view->currentIndex().siblingAtColumn(ValueColumn);
    menu.addSeparator();
    // Queued, since the view gets the focus back when the menu closes, which would close the
    // editor.
    xAddAction(menu, tr("Edit value"), Qt::Key_F2, fParts.fValues->editableValue(value).has_value(),
               [view, value] {
                   QMetaObject::invokeMethod(
                       view, [view, value] { view->edit(value); }, Qt::QueuedConnection);
               });
    xAddAction(menu, tr("Undo last write"), QKeySequence::Undo, fParts.fWrites->canUndo(),
               &KeyActions::xUndo);
}

void KeyActions::xAddCopying(QMenu& menu, KeyView* view) {
    const bool hasKeys = !view->chosenKeys().empty();
    menu.addSeparator();
    xAddAction(menu, tr("Copy name"), {}, !view->chosenNames().isEmpty(),
               [view] { view->copyNames(); });
    xAddAction(menu, tr("Copy value"), {}, hasKeys, [view] { view->copyValues(); });
    xAddAction(menu, tr("Copy row"), QKeySequence::Copy, hasKeys, [view] { view->copyRows(); });
}

void KeyActions::xShowTreeMenu(const QPoint& position) {
    KeyTreeView* tree = fParts.fTree;
    const bool hasKeys = !tree->chosenKeys().empty();
    QMenu menu(tree);
    //: verb: add the key to the list of watched values
    xAddAction(menu, tr("Watch"), a_watchKeys, hasKeys, &KeyActions::xWatch);
    //: verb: show the key as a curve
    xAddAction(menu, tr("Plot"), a_plotKeys, hasKeys, &KeyActions::xPlot);
    //: verb: show the key in a separate plot
    xAddAction(menu, tr("Plot separately"), {}, hasKeys, &KeyActions::xPlotByItself);
    xAddEditing(menu, tree);
    xAddCopying(menu, tree);
    menu.exec(tree->viewport()->mapToGlobal(position));
}

void KeyActions::xShowWatchMenu(const QPoint& position) {
    WatchView* view = fParts.fWatchView;
    const bool hasRows = view->selectionModel()->hasSelection();
    QMenu menu(view);
    xAddAction(menu, tr("Plot"), a_plotKeys, hasRows, &KeyActions::xPlot);
    xAddAction(menu, tr("Plot separately"), {}, hasRows, &KeyActions::xPlotByItself);
    xAddAction(menu, tr("Stop watching"), Qt::Key_Delete, hasRows,
               [view] { view->removeChosen(); });
    xAddEditing(menu, view);
    xAddCopying(menu, view);
    menu.exec(view->viewport()->mapToGlobal(position));
}

/** Returns the area in which the user works. */
KeyView* KeyActions::xView() const {
    return fParts.fWatchView->hasFocus() ? static_cast<KeyView*>(fParts.fWatchView) : fParts.fTree;
}

/** Watches the selected keys, or removes them if all of them are watched. */
void KeyActions::xWatch() {
    WatchModel* watched = fParts.fWatched;
    const QStringList names = xView()->chosenNames();
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
    fParts.fCurves->plot(xView()->chosenNames(), KeyCurves::Place::CurrentPlot);
}

void KeyActions::xPlotByItself() {
    fParts.fCurves->plot(xView()->chosenNames(), KeyCurves::Place::NewPlot);
}

void KeyActions::xUndo() {
    fParts.fWrites->undo();
}

}  // namespace memoryviewer
