#include "view/key_tree_view.h"

#include "model/memory_model.h"

#include <QHeaderView>

#include <algorithm>

namespace memoryviewer {

namespace {

/** Rows beyond those on the screen that are subscribed to, so that scrolling finds values there. */
constexpr int a_marginRows = 10;
/** Maximum number of keys that are expanded, copied or plotted at once. */
constexpr int a_mostKeysAtOnce = 2000;

}  // namespace

KeyTreeView::KeyTreeView(MemoryModel* model, QWidget* parent)
    : KeyView(model, parent), fModel(model) {
    setObjectName(QStringLiteral("memoryTree"));
    setAccessibleName(tr("Values in the robot's memory"));
    setDragEnabled(true);
    setDragDropMode(DragOnly);

    sortByColumn(NameColumn, Qt::AscendingOrder);
    setSortingEnabled(true);
    header()->setSectionsMovable(true);
    header()->setContextMenuPolicy(Qt::CustomContextMenu);  // the keys' menu is not for titles
    connect(model, &QAbstractItemModel::rowsInserted, this, &KeyTreeView::xExpandNewBranches);
    connect(this, &QTreeView::collapsed, this,
            [this](const QModelIndex& branch) { fClosedBranches.insert(xPathOf(branch)); });
    connect(this, &QTreeView::expanded, this,
            [this](const QModelIndex& branch) { fClosedBranches.remove(xPathOf(branch)); });
}

std::vector<std::uint32_t> KeyTreeView::visibleKeys() const {
    std::vector<std::uint32_t> ids;
    const auto add = [&](const QModelIndex& index) {
        if (const MemoryKey* key = fModel->keyOf(index)) {
            ids.push_back(key->fInfo.fId);
        }
    };
    QModelIndex index = indexAt(QPoint(0, 0));
    QModelIndex above = index;
    for (int row = 0; row < a_marginRows && above.isValid(); ++row) {
        above = indexAbove(above);
        add(above);
    }
    int margin = 0;
    for (; index.isValid() && margin < a_marginRows; index = indexBelow(index)) {
        add(index);
        margin += visualRect(index).top() > viewport()->height() ? 1 : 0;
    }
    return ids;
}

std::vector<const MemoryKey*> KeyTreeView::chosenKeys() const {
    std::vector<const MemoryKey*> keys;
    for (const QModelIndex& row : chosenRows()) {
        xAppendKeys(row, keys);
    }
    return keys;
}

void KeyTreeView::xAppendKeys(const QModelIndex& index, std::vector<const MemoryKey*>& keys) const {
    const MemoryKey* key = fModel->keyOf(index);
    if (key != nullptr) {
        if (keys.size() < a_mostKeysAtOnce &&
            std::find(keys.begin(), keys.end(), key) == keys.end()) {
            keys.push_back(key);
        }
        return;
    }
    for (int row = 0; row < fModel->rowCount(index); ++row) {
        xAppendKeys(fModel->index(row, NameColumn, index), keys);
    }
}

/**
 * Calls `use(branch)` for the branches below a row, and recursively for those for which it returns
 * true.
 */
template <class Use>
void KeyTreeView::xForEachBranch(const QModelIndex& parent, Use use) {
    for (int row = 0; row < fModel->rowCount(parent); ++row) {
        const QModelIndex index = fModel->index(row, NameColumn, parent);
        if (fModel->hasChildren(index) && use(index)) {
            xForEachBranch(index, use);
        }
    }
}

void KeyTreeView::openAll() {
    fClosedBranches.clear();
    if (fModel->keyCount() <= a_mostKeysAtOnce) {
        expandAll();
    }
}

void KeyTreeView::openNewBranches() {
    if (fModel->keyCount() > a_mostKeysAtOnce) {
        return;
    }
    xForEachBranch({}, [this](const QModelIndex& branch) {
        if (!isExpanded(branch) && !fClosedBranches.contains(xPathOf(branch))) {
            expand(branch);
        }
        return true;
    });
}

QString KeyTreeView::xPathOf(QModelIndex branch) const {
    QString path;
    for (; branch.isValid(); branch = branch.parent()) {
        path.prepend(QLatin1Char('/') + branch.siblingAtColumn(NameColumn).data().toString());
    }
    return path;
}

void KeyTreeView::rememberOpenBranches() {
    fOpenBranches.clear();
    fHasRemembered = fModel->keyCount() > 0;
    xForEachBranch({}, [this](const QModelIndex& branch) {
        if (isExpanded(branch)) {
            fOpenBranches.push_back(xPathOf(branch));
        }
        return isExpanded(branch);
    });
    std::sort(fOpenBranches.begin(), fOpenBranches.end());
}

void KeyTreeView::reopenBranches() {
    xForEachBranch({}, [this](const QModelIndex& branch) {
        const bool isOpen =
            fHasRemembered
                ? std::binary_search(fOpenBranches.begin(), fOpenBranches.end(), xPathOf(branch))
                : !branch.parent().isValid();
        if (isOpen) {
            expand(branch);
        }
        return isOpen;
    });
}

void KeyTreeView::enter() {
    setFocus(Qt::ShortcutFocusReason);
    const QModelIndex first = xFirstKey();
    if (!selectionModel()->hasSelection() && first.isValid()) {
        setCurrentIndex(first);
    }
}

QModelIndex KeyTreeView::xFirstKey() const {
    QModelIndex index = fModel->index(0, NameColumn);
    while (index.isValid() && fModel->keyOf(index) == nullptr) {
        index = fModel->index(0, NameColumn, index);
    }
    return index;
}

void KeyTreeView::xExpandNewBranches(const QModelIndex& parent, int first, int last) {
    if (parent.isValid()) {
        return;
    }
    for (int row = first; row <= last; ++row) {
        const QModelIndex branch = fModel->index(row, NameColumn);
        if (!fClosedBranches.contains(xPathOf(branch))) {
            expand(branch);
        }
    }
}

}  // namespace memoryviewer
