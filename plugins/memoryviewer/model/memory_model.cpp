#include "model/memory_model.h"

#include "model/key_cells.h"
#include "model/memory_node.h"
#include "plots/key_mime.h"

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>

namespace memoryviewer {

namespace {

/** Rows of one parent to be reported by one signal. */
struct RowRun {
    MemoryNode* fParent;
    int fFirst;
    int fLast;
};

/**
 * Groups nodes that are sorted by parent and row into runs of neighbours, and calls `use(first,
 * last)` with the positions of each run.
 */
template <class Container, class NodeOf, class Use>
void forEachRun(const Container& sorted, NodeOf nodeOf, Use use) {
    std::size_t first = 0;
    for (std::size_t at = 1; at <= sorted.size(); ++at) {
        const bool continues = at < sorted.size() &&
                               nodeOf(sorted[at])->parent() == nodeOf(sorted[first])->parent() &&
                               nodeOf(sorted[at])->row() == nodeOf(sorted[at - 1])->row() + 1;
        if (!continues) {
            use(first, at - 1);
            first = at;
        }
    }
}

bool isBefore(const MemoryNode* left, const MemoryNode* right) {
    return left->parent() != right->parent()
               ? std::less<const MemoryNode*>()(left->parent(), right->parent())
               : left->row() < right->row();
}

}  // namespace

MemoryModel::MemoryModel(KeyStore* keys, QObject* parent)
    : QAbstractItemModel(parent), fKeys(keys), fRoot(fArrangement.build(*keys)) {
    xRegisterKeys(*fRoot);
    connect(keys, &KeyStore::added, this, &MemoryModel::xAddKeys);
    connect(keys, &KeyStore::aboutToRemove, this, &MemoryModel::xRemoveKeys);
    connect(keys, &KeyStore::changed, this, &MemoryModel::xChangeValues);
    fRearrangeTimer.setSingleShot(true);
    connect(&fRearrangeTimer, &QTimer::timeout, this, &MemoryModel::rearrange);
}

MemoryModel::~MemoryModel() = default;

void MemoryModel::setArrangement(const Arrangement& arrangement) {
    fArrangement = arrangement;
    rearrange();
}

void MemoryModel::sort(int column, Qt::SortOrder order) {
    if (column < 0 || column >= ColumnCount) {
        return;
    }
    fArrangement.fSortColumn = column;
    fArrangement.fOrder = order;
    rearrange();
}

void MemoryModel::rearrange() {
    fRearrangeTimer.stop();
    Q_EMIT layoutAboutToBeChanged();
    const std::unique_ptr<MemoryNode> old = std::move(fRoot);
    fRoot = fArrangement.build(*fKeys);
    fNodes.clear();
    xRegisterKeys(*fRoot);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before) {
        after += xCounterpart(index);
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

/** Returns the row of the same key, or of the same branch, in the current arrangement. */
QModelIndex MemoryModel::xCounterpart(const QModelIndex& index) const {
    const auto* node = static_cast<const MemoryNode*>(index.internalPointer());
    if (node->fKey != nullptr) {
        const auto found = fNodes.find(node->fKey);
        return found == fNodes.end() ? QModelIndex() : xIndex(*found->second, index.column());
    }
    std::vector<const MemoryNode*> path;
    for (; node->parent() != nullptr; node = node->parent()) {
        path.push_back(node);
    }
    const MemoryNode* here = fRoot.get();
    for (auto step = path.rbegin(); step != path.rend(); ++step) {
        here = here->findChild((*step)->segment());
        if (here == nullptr) {
            return {};
        }
    }
    return xIndex(*here, index.column());
}

void MemoryModel::xAddKeys(const std::vector<const MemoryKey*>& keys) {
    if (!fArrangement.hasNaturalOrder()) {
        xRearrangeSoon();
        return;
    }
    const MemoryNode::Keys shown = fArrangement.filtered(keys, fKeys->clock().now());
    const std::unique_ptr<MemoryNode> fresh = MemoryNode::buildTree(shown);
    xMerge(*fRoot, *fresh);
}

/** Delayed, since a robot may add keys one by one, and rearranging takes some milliseconds. */
void MemoryModel::xRearrangeSoon() {
    constexpr int delay = 250;
    if (!fRearrangeTimer.isActive()) {
        fRearrangeTimer.start(delay);
    }
}

void MemoryModel::xRemoveKeys(const std::vector<const MemoryKey*>& keys) {
    std::vector<ChangedNode> branches;
    std::unordered_map<const MemoryNode*, int> emptyChildren;
    std::unordered_set<const MemoryNode*> empty;
    std::vector<MemoryNode*> emptyNodes;
    for (const MemoryKey* key : keys) {
        const auto found = fNodes.find(key);
        if (found == fNodes.end()) {
            continue;
        }
        MemoryNode* node = found->second;
        fNodes.erase(found);
        node->fKey = nullptr;
        branches.push_back({node, AgeColumn});
        // A node is removed when nothing is left below it, and so is its parent if it was the last
        // child.
        for (; node != fRoot.get() && node->fKey == nullptr &&
               emptyChildren[node] == node->childCount();
             node = node->parent()) {
            empty.insert(node);
            emptyNodes.push_back(node);
            ++emptyChildren[node->parent()];
        }
    }
    const auto isEmpty = [&empty](const MemoryNode* node) { return empty.count(node) != 0; };
    branches.erase(std::remove_if(branches.begin(), branches.end(),
                                  [&](const ChangedNode& branch) { return isEmpty(branch.fNode); }),
                   branches.end());
    emptyNodes.erase(
        std::remove_if(emptyNodes.begin(), emptyNodes.end(),
                       [&](const MemoryNode* node) { return isEmpty(node->parent()); }),
        emptyNodes.end());
    xSignalChanges(branches);
    xRemoveRows(std::move(emptyNodes));
}

void MemoryModel::xChangeValues(const std::vector<ChangedKey>& keys) {
    std::vector<ChangedNode> changed;
    changed.reserve(keys.size());
    for (const ChangedKey& key : keys) {
        const auto found = fNodes.find(key.fKey);
        if (found != fNodes.end()) {
            changed.push_back({found->second, key.fHasOtherType ? TypeColumn : ValueColumn});
        }
    }
    xSignalChanges(changed);
}

QModelIndex MemoryModel::indexOfKey(std::uint32_t id, int column) const {
    const auto found = fNodes.find(fKeys->find(id));
    return found == fNodes.end() ? QModelIndex() : xIndex(*found->second, column);
}

const MemoryKey* MemoryModel::keyOf(const QModelIndex& index) const {
    return xNode(index).fKey;
}

QModelIndex MemoryModel::index(int row, int column, const QModelIndex& parent) const {
    return hasIndex(row, column, parent)
               ? createIndex(row, column, &xNode(parent).child(static_cast<std::size_t>(row)))
               : QModelIndex();
}

QModelIndex MemoryModel::parent(const QModelIndex& index) const {
    return index.isValid() ? xIndex(*xNode(index).parent(), NameColumn) : QModelIndex();
}

int MemoryModel::rowCount(const QModelIndex& parent) const {
    return parent.column() > NameColumn ? 0 : xNode(parent).childCount();
}

int MemoryModel::columnCount(const QModelIndex&) const {
    return ColumnCount;
}

QVariant MemoryModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const MemoryNode& node = xNode(index);
    if (role == Qt::DisplayRole && index.column() == NameColumn) {
        return node.name();
    }
    return node.fKey != nullptr ? keyCellData(*fKeys, *node.fKey, index.column(), role)
                                : QVariant();
}

QVariant MemoryModel::headerData(int section, Qt::Orientation orientation, int role) const {
    return keyHeaderData(section, orientation, role);
}

Qt::ItemFlags MemoryModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    const MemoryKey* key = index.isValid() ? xNode(index).fKey : nullptr;
    return key == nullptr ? flags : flags | keyCellFlags(*key, index.column());
}

QStringList MemoryModel::mimeTypes() const {
    return {QLatin1String(a_keyMimeType), QStringLiteral("text/plain")};
}

QMimeData* MemoryModel::mimeData(const QModelIndexList& indexes) const {
    QStringList names;
    for (const QModelIndex& index : indexes) {
        const MemoryKey* key = keyOf(index);
        if (key != nullptr && index.column() == NameColumn) {
            names += QString::fromStdString(key->fInfo.fName);
        }
    }
    return names.isEmpty() ? nullptr : keysToMime(names);
}

MemoryNode& MemoryModel::xNode(const QModelIndex& index) const {
    return index.isValid() ? *static_cast<MemoryNode*>(index.internalPointer()) : *fRoot;
}

QModelIndex MemoryModel::xIndex(const MemoryNode& node, int column) const {
    return &node == fRoot.get() ? QModelIndex()
                                : createIndex(node.row(), column, const_cast<MemoryNode*>(&node));
}

/** Moves the children of `source`, sorted like those of `target`, into `target`. */
void MemoryModel::xMerge(MemoryNode& target, MemoryNode& source) {
    // From the end, so that the remaining children keep their rows in both.
    auto end = static_cast<std::size_t>(source.childCount());
    while (end > 0) {
        MemoryNode& last = source.child(end - 1);
        if (MemoryNode* same = target.mergeableChild(last)) {
            xMergeNode(*same, last);
            --end;
            continue;
        }
        const std::size_t row = target.insertRow(last.segment());
        std::size_t begin = end - 1;
        while (begin > 0 && target.mergeableChild(source.child(begin - 1)) == nullptr &&
               target.insertRow(source.child(begin - 1).segment()) == row) {
            --begin;
        }
        xInsertRows(target, row, source, begin, end);
        end = begin;
    }
}

void MemoryModel::xMergeNode(MemoryNode& target, MemoryNode& source) {
    if (source.fKey != nullptr) {
        target.fKey = source.fKey;
        fNodes[target.fKey] = &target;
        Q_EMIT dataChanged(xIndex(target, ValueColumn), xIndex(target, AgeColumn));
    }
    xMerge(target, source);
}

void MemoryModel::xInsertRows(MemoryNode& target, std::size_t row, MemoryNode& source,
                              std::size_t first, std::size_t last) {
    const auto end = row + (last - first);
    beginInsertRows(xIndex(target, NameColumn), static_cast<int>(row), static_cast<int>(end) - 1);
    target.takeChildren(row, source, first, last);
    for (std::size_t at = row; at < end; ++at) {
        xRegisterKeys(target.child(at));
    }
    endInsertRows();
}

void MemoryModel::xRegisterKeys(MemoryNode& node) {
    if (node.fKey != nullptr) {
        fNodes[node.fKey] = &node;
    }
    for (std::size_t row = 0; row < static_cast<std::size_t>(node.childCount()); ++row) {
        xRegisterKeys(node.child(row));
    }
}

void MemoryModel::xRemoveRows(std::vector<MemoryNode*> nodes) {
    std::sort(nodes.begin(), nodes.end(), isBefore);
    std::vector<RowRun> runs;
    forEachRun(
        nodes, [](const MemoryNode* node) { return node; },
        [&](std::size_t first, std::size_t last) {
            runs.push_back({nodes[first]->parent(), nodes[first]->row(), nodes[last]->row()});
        });
    // From the end, so that the remaining runs keep their rows.
    for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
        beginRemoveRows(xIndex(*run->fParent, NameColumn), run->fFirst, run->fLast);
        run->fParent->removeChildren(static_cast<std::size_t>(run->fFirst),
                                     static_cast<std::size_t>(run->fLast) + 1);
        endRemoveRows();
    }
}

void MemoryModel::xSignalChanges(std::vector<ChangedNode>& changed) {
    std::sort(changed.begin(), changed.end(),
              [](const ChangedNode& left, const ChangedNode& right) {
                  return isBefore(left.fNode, right.fNode);
              });
    forEachRun(
        changed, [](const ChangedNode& node) { return node.fNode; },
        [&](std::size_t first, std::size_t last) {
            int lastColumn = ValueColumn;
            for (std::size_t at = first; at <= last; ++at) {
                lastColumn = std::max(lastColumn, changed[at].fLastColumn);
            }
            Q_EMIT dataChanged(xIndex(*changed[first].fNode, ValueColumn),
                               xIndex(*changed[last].fNode, lastColumn));
        });
}

}  // namespace memoryviewer
