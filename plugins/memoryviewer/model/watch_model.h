#ifndef OBVISTA_MEMORYVIEWER_WATCH_MODEL_H
#define OBVISTA_MEMORYVIEWER_WATCH_MODEL_H

#include "session/key_store.h"

#include <QAbstractTableModel>
#include <QStringList>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

/**
 * The watched keys, in the user's order, with the columns of MemoryModel.
 *
 * A key that the robot does not have at present keeps its row, which shows that. Keys are dropped
 * from the tree, and can be reordered by dragging. Used on the GUI thread.
 */
class WatchModel : public QAbstractTableModel {
    Q_OBJECT

  public:
    static constexpr int a_maxNames = 500;

    /** @param keys outlives the model */
    explicit WatchModel(KeyStore* keys, QObject* parent = nullptr);

    const QStringList& names() const { return fNames; }
    bool contains(const QString& name) const { return fNames.contains(name); }
    /** Replaces all names; empty and duplicate ones, and those beyond a_maxNames, are left out. */
    void setNames(const QStringList& names);
    /** Inserts before `row`, or at the end; an existing name is moved. */
    void insert(const QStringList& names, int row = -1);
    void remove(const QString& name);
    /** Moves a row by one, up (-1) or down (1). @return its new row */
    int move(int row, int by);

    /** Returns the key of a row; null while the robot does not have it. */
    const MemoryKey* keyOf(const QModelIndex& index) const;

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    bool removeRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;
    Qt::DropActions supportedDragActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

  Q_SIGNALS:
    /** Emitted when the names or their order have changed. */
    void namesChanged();

  private:
    void xReset(const QStringList& names);
    void xFind(int row);
    void xOnAdded(const std::vector<const MemoryKey*>& keys);
    void xOnRemoved(const std::vector<const MemoryKey*>& keys);
    void xOnChanged(const std::vector<ChangedKey>& keys);
    void xSignalRow(int row, int firstColumn);
    QVariant xMissingData(int row, int column, int role) const;

    KeyStore* const fKeys;
    QStringList fNames;
    std::vector<const MemoryKey*> fFound;  // for each name; null while it is missing
    std::unordered_map<std::string, int> fRows;
};

}  // namespace memoryviewer

#endif
