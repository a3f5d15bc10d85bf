#include "memory_model.h"

#include "memory_node.h"
#include "value_text.h"

#include <QDateTime>

#include <algorithm>
#include <functional>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace memoryviewer {

namespace {

constexpr int a_maxUnitLength = 40;

/** Rows of one parent, to be told in one signal. */
struct RowRun {
    MemoryNode* fParent;
    int fFirst;
    int fLast;
};

/**
 * Walks nodes that are sorted by parent and row as runs of neighbours, and calls
 * `use(first, last)` with the positions of each.
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

/** Whether values of the type stand below one another better by their ends, next to the unit. */
bool isReadFromTheRight(KVValue::Type type) {
    return type == KVValue::Type::Int || type == KVValue::Type::Float ||
           type == KVValue::Type::Bool;
}

/** A line of a tool tip, which Qt would otherwise take for rich text when it looks like it. */
QString toolTipLine(const QString& label, const QString& text) {
    return QStringLiteral("<br/>%1: %2").arg(label, text.toHtmlEscaped());
}

QString cellText(const MemoryNode& node, int column) {
    if (column == MemoryModel::NameColumn) {
        return node.name();
    }
    if (!node.fKey) {
        return {};
    }
    switch (column) {
        case MemoryModel::ValueColumn:
            return valueText(node.fKey->fValue);
        case MemoryModel::UnitColumn:
            return plainText(node.fKey->fInfo.fUnit, a_maxUnitLength);
        case MemoryModel::TypeColumn:
            return QLatin1String(KVValue::typeName(node.fKey->type()));
        default:
            return {};
    }
}

QString toolTipText(const MemoryKey& key) {
    QString text = QStringLiteral("<p><b>%1</b>").arg(plainText(key.fInfo.fName).toHtmlEscaped());
    if (!key.fInfo.fDescription.empty()) {
        text += QStringLiteral("<br/>") + plainText(key.fInfo.fDescription).toHtmlEscaped();
    }
    if (key.fTime == 0) {
        return text + QStringLiteral("</p>");
    }
    const QString unit = plainText(key.fInfo.fUnit, a_maxUnitLength);
    text += toolTipLine(MemoryModel::tr("Value"),
                        (exactValueText(key.fValue) + QLatin1Char(' ') + unit).trimmed());
    const QDateTime time = QDateTime::fromMSecsSinceEpoch(key.fTime / 1000);
    text += toolTipLine(MemoryModel::tr("Changed"),
                        time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")));
    return text + QStringLiteral("</p>");
}

}  // namespace

MemoryModel::MemoryModel(QObject* parent)
    : QAbstractItemModel(parent), fRoot(std::make_unique<MemoryNode>(std::string())) {
}

MemoryModel::~MemoryModel() = default;

void MemoryModel::addKeys(const std::vector<KVKeyInfo>& keys) {
    const std::unique_ptr<MemoryNode> fresh = MemoryNode::buildTree(xUnknownKeys(keys));
    xMerge(*fRoot, *fresh);
}

void MemoryModel::removeKeys(const std::vector<std::uint32_t>& ids) {
    std::vector<ChangedNode> branches;
    std::unordered_map<const MemoryNode*, int> emptyChildren;
    std::unordered_set<const MemoryNode*> empty;
    std::vector<MemoryNode*> emptyNodes;
    for (const std::uint32_t id : ids) {
        const auto found = fNodes.find(id);
        if (found == fNodes.end()) {
            continue;
        }
        MemoryNode* node = found->second;
        fNodes.erase(found);
        node->fKey.reset();
        branches.push_back({node, TypeColumn});
        // The node goes when nothing is left below it, and its parent when it was the last there.
        for (; node != fRoot.get() && !node->fKey && emptyChildren[node] == node->childCount();
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

void MemoryModel::changeValues(std::vector<KVChange> changes) {
    std::vector<ChangedNode> changed;
    changed.reserve(changes.size());
    for (KVChange& change : changes) {
        const auto found = fNodes.find(change.fId);
        if (found == fNodes.end()) {
            continue;
        }
        MemoryKey& key = *found->second->fKey;
        const KVValue::Type oldType = key.type();
        const bool isSame = key.fTime != 0 && key.fValue == change.fValue;
        key.fTime = change.fTime;
        if (isSame) {
            continue;
        }
        key.fValue = std::move(change.fValue);
        changed.push_back({found->second, key.type() == oldType ? ValueColumn : TypeColumn});
    }
    xSignalChanges(changed);
}

QModelIndex MemoryModel::indexOfKey(std::uint32_t id, int column) const {
    const auto found = fNodes.find(id);
    return found == fNodes.end() ? QModelIndex() : xIndex(*found->second, column);
}

std::optional<std::uint32_t> MemoryModel::keyOf(const QModelIndex& index) const {
    const MemoryNode& node = xNode(index);
    return node.fKey ? std::optional<std::uint32_t>(node.fKey->fInfo.fId) : std::nullopt;
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
    switch (role) {
        case Qt::DisplayRole:
            return cellText(node, index.column());
        case Qt::ToolTipRole:
            return node.fKey ? QVariant(toolTipText(*node.fKey)) : QVariant();
        case Qt::TextAlignmentRole: {
            const bool isRight =
                index.column() == ValueColumn && node.fKey && isReadFromTheRight(node.fKey->type());
            return QVariant(Qt::AlignVCenter | (isRight ? Qt::AlignRight : Qt::AlignLeft));
        }
        default:
            return {};
    }
}

QVariant MemoryModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) {
        return {};
    }
    if (role == Qt::TextAlignmentRole) {
        return QVariant(Qt::AlignVCenter | Qt::AlignLeft);
    }
    if (role != Qt::DisplayRole) {
        return {};
    }
    switch (section) {
        case NameColumn:
            return tr("Name");
        case ValueColumn:
            return tr("Value");
        case UnitColumn:
            return tr("Unit");
        case TypeColumn:
            return tr("Type");
        default:
            return {};
    }
}

MemoryNode& MemoryModel::xNode(const QModelIndex& index) const {
    return index.isValid() ? *static_cast<MemoryNode*>(index.internalPointer()) : *fRoot;
}

QModelIndex MemoryModel::xIndex(MemoryNode& node, int column) const {
    return &node == fRoot.get() ? QModelIndex() : createIndex(node.row(), column, &node);
}

std::vector<KVKeyInfo> MemoryModel::xUnknownKeys(const std::vector<KVKeyInfo>& keys) const {
    std::vector<KVKeyInfo> unknown;
    std::unordered_set<std::uint32_t> seen;
    for (const KVKeyInfo& key : keys) {
        if (fNodes.count(key.fId) == 0 && seen.insert(key.fId).second) {
            unknown.push_back(key);
        }
    }
    return unknown;
}

/** Takes the children of `source`, in the same order as those of `target`, into `target`. */
void MemoryModel::xMerge(MemoryNode& target, MemoryNode& source) {
    // From the back, so that what is still to come keeps its rows in both.
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
    if (source.fKey) {
        target.fKey = std::move(source.fKey);
        fNodes[target.fKey->fInfo.fId] = &target;
        Q_EMIT dataChanged(xIndex(target, ValueColumn), xIndex(target, TypeColumn));
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
    if (node.fKey) {
        fNodes[node.fKey->fInfo.fId] = &node;
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
    // From the back, so that the runs still to be removed keep their rows.
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
