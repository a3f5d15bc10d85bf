#include "model/watch_model.h"

#include "model/key_cells.h"
#include "plots/key_mime.h"

#include <obvista/viewer/value_text.h>

#include <QMimeData>

#include <algorithm>

namespace memoryviewer {

WatchModel::WatchModel(KeyStore* keys, QObject* parent) : QAbstractTableModel(parent), fKeys(keys) {
    connect(keys, &KeyStore::added, this, &WatchModel::xOnAdded);
    connect(keys, &KeyStore::aboutToRemove, this, &WatchModel::xOnRemoved);
    connect(keys, &KeyStore::changed, this, &WatchModel::xOnChanged);
}

void WatchModel::setNames(const QStringList& names) {
    QStringList kept = names;
    kept.removeAll(QString());
    kept.removeDuplicates();
    kept = kept.mid(0, a_maxNames);
    if (kept != fNames) {
        xReset(kept);
    }
}

void WatchModel::insert(const QStringList& names, int row) {
    const bool isAtEnd = row < 0 || row > fNames.size();
    QStringList before = fNames.mid(0, isAtEnd ? fNames.size() : row);
    QStringList after = isAtEnd ? QStringList() : fNames.mid(row);
    for (const QString& name : names) {
        before.removeAll(name);
        after.removeAll(name);
    }
    setNames(before + names + after);
}

void WatchModel::remove(const QString& name) {
    const int row = fNames.indexOf(name);
    if (row >= 0) {
        removeRows(row, 1);
    }
}

int WatchModel::move(int row, int by) {
    const int to = row + by;
    if (row < 0 || row >= fNames.size() || to < 0 || to >= fNames.size() || by == 0) {
        return row;
    }
    beginMoveRows({}, row, row, {}, by > 0 ? to + 1 : to);
    fNames.move(row, to);
    for (int each = std::min(row, to); each <= std::max(row, to); ++each) {
        xFind(each);
    }
    endMoveRows();
    Q_EMIT namesChanged();
    return to;
}

bool WatchModel::removeRows(int row, int count, const QModelIndex& parent) {
    if (parent.isValid() || row < 0 || count < 1 || row + count > fNames.size()) {
        return false;
    }
    beginRemoveRows({}, row, row + count - 1);
    for (int i = 0; i < count; ++i) {
        fRows.erase(fNames.at(row).toStdString());
        fNames.removeAt(row);
    }
    fFound.resize(static_cast<std::size_t>(fNames.size()));
    for (int each = row; each < fNames.size(); ++each) {
        xFind(each);
    }
    endRemoveRows();
    Q_EMIT namesChanged();
    return true;
}

void WatchModel::xReset(const QStringList& names) {
    beginResetModel();
    fNames = names;
    fRows.clear();
    fFound.assign(static_cast<std::size_t>(names.size()), nullptr);
    for (int row = 0; row < names.size(); ++row) {
        xFind(row);
    }
    endResetModel();
    Q_EMIT namesChanged();
}

void WatchModel::xFind(int row) {
    const std::string name = fNames.at(row).toStdString();
    fRows[name] = row;
    fFound[static_cast<std::size_t>(row)] = fKeys->find(name);
}

void WatchModel::xOnAdded(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        const auto row = fRows.find(key->fInfo.fName);
        if (row != fRows.end()) {
            xFind(row->second);
            xSignalRow(row->second, NameColumn);
        }
    }
}

void WatchModel::xOnRemoved(const std::vector<const MemoryKey*>& keys) {
    for (const MemoryKey* key : keys) {
        const auto row = fRows.find(key->fInfo.fName);
        if (row != fRows.end() && fFound[static_cast<std::size_t>(row->second)] == key) {
            xFind(row->second);
            xSignalRow(row->second, NameColumn);
        }
    }
}

void WatchModel::xOnChanged(const std::vector<ChangedKey>& keys) {
    if (fNames.isEmpty()) {
        return;
    }
    for (const ChangedKey& changed : keys) {
        const auto row = fRows.find(changed.fKey->fInfo.fName);
        if (row != fRows.end()) {
            xSignalRow(row->second, ValueColumn);
        }
    }
}

void WatchModel::xSignalRow(int row, int firstColumn) {
    Q_EMIT dataChanged(index(row, firstColumn), index(row, ColumnCount - 1));
}

const MemoryKey* WatchModel::keyOf(const QModelIndex& index) const {
    return index.isValid() ? fFound[static_cast<std::size_t>(index.row())] : nullptr;
}

int WatchModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : fNames.size();
}

int WatchModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(ColumnCount);
}

QVariant WatchModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    if (role == Qt::DisplayRole && index.column() == NameColumn) {
        return obvista::plainText(fNames.at(index.row()).toStdString());
    }
    const MemoryKey* key = keyOf(index);
    return key != nullptr ? keyCellData(*fKeys, *key, index.column(), role)
                          : xMissingData(index.row(), index.column(), role);
}

QVariant WatchModel::xMissingData(int row, int column, int role) const {
    switch (role) {
        case Qt::DisplayRole:
            //: instead of the value of a watched key
            return column == ValueColumn ? QVariant(tr("not there")) : QVariant();
        case Qt::ToolTipRole:
            return tr(
                "<p>The robot does not have this key at present. It is shown again when it "
                "returns.</p>");
        case MissingRole:
            return true;
        case KeyNameRole:
            return fNames.at(row);
        default:
            return {};
    }
}

QVariant WatchModel::headerData(int section, Qt::Orientation orientation, int role) const {
    return keyHeaderData(section, orientation, role);
}

Qt::ItemFlags WatchModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = QAbstractTableModel::flags(index);
    if (!index.isValid()) {
        return flags | Qt::ItemIsDropEnabled;  // between the rows, not on one
    }
    const MemoryKey* key = keyOf(index);
    return flags | Qt::ItemNeverHasChildren |
           (key != nullptr ? keyCellFlags(*key, index.column()) : Qt::ItemIsDragEnabled);
}

/**
 * No moves: the drop moves dragged rows within the list, and a view would then remove them again.
 */
Qt::DropActions WatchModel::supportedDragActions() const {
    return Qt::CopyAction;
}

QStringList WatchModel::mimeTypes() const {
    return {QLatin1String(a_keyMimeType)};
}

QMimeData* WatchModel::mimeData(const QModelIndexList& indexes) const {
    QStringList names;
    for (const QModelIndex& index : indexes) {
        if (index.column() == NameColumn) {
            names += fNames.at(index.row());
        }
    }
    return names.isEmpty() ? nullptr : keysToMime(names);
}

bool WatchModel::canDropMimeData(const QMimeData* data, Qt::DropAction /*action*/, int /*row*/,
                                 int /*column*/, const QModelIndex& /*parent*/) const {
    return !keysFromMime(data).isEmpty();
}

bool WatchModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int /*column*/,
                              const QModelIndex& parent) {
    const QStringList names = keysFromMime(data);
    if (action == Qt::IgnoreAction || names.isEmpty()) {
        return false;
    }
    insert(names, row < 0 && parent.isValid() ? parent.row() : row);
    return true;
}

}  // namespace memoryviewer
