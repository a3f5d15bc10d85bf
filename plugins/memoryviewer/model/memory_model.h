#ifndef OBVISTA_MEMORYVIEWER_MEMORY_MODEL_H
#define OBVISTA_MEMORYVIEWER_MEMORY_MODEL_H

#include "model/arrangement.h"
#include "session/key_store.h"

#include <QAbstractItemModel>
#include <QTimer>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

class MemoryNode;

/**
 * The keys of a robot's memory as a tree by "/" or as a list, filtered and sorted, with their
 * newest values.
 *
 * Designed for thousands of keys that change many times a second. A key's row is found in constant
 * time. A change of values signals only the changed rows, merged into runs; neither it nor adding
 * or removing a key in a tree ordered by name affects other rows. Every other arrangement is
 * rebuilt completely, with selection and expansion preserved; a live one when rearrange() is
 * called. Used on the GUI thread.
 */
class MemoryModel : public QAbstractItemModel {
    Q_OBJECT

  public:
    /** @param keys outlives the model */
    explicit MemoryModel(KeyStore* keys, QObject* parent = nullptr);
    ~MemoryModel() override;

    const Arrangement& arrangement() const { return fArrangement; }
    void setArrangement(const Arrangement& arrangement);
    void sort(int column, Qt::SortOrder order) override;
    /** Filters and sorts again, by the current values. */
    void rearrange();

    /** Returns the number of displayed keys. */
    int keyCount() const { return static_cast<int>(fNodes.size()); }
    /** Returns the row of a key; invalid if there is no such key. */
    QModelIndex indexOfKey(std::uint32_t id, int column = NameColumn) const;
    /** Returns the key of a row; null for a row that is only a branch. */
    const MemoryKey* keyOf(const QModelIndex& index) const;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;

  private:
    struct ChangedNode {
        MemoryNode* fNode;
        int fLastColumn;
    };

    void xAddKeys(const std::vector<const MemoryKey*>& keys);
    void xRemoveKeys(const std::vector<const MemoryKey*>& keys);
    void xChangeValues(const std::vector<ChangedKey>& keys);
    void xRearrangeSoon();
    MemoryNode& xNode(const QModelIndex& index) const;
    QModelIndex xIndex(const MemoryNode& node, int column) const;
    QModelIndex xCounterpart(const QModelIndex& index) const;
    void xMerge(MemoryNode& target, MemoryNode& source);
    void xMergeNode(MemoryNode& target, MemoryNode& source);
    void xInsertRows(MemoryNode& target, std::size_t row, MemoryNode& source, std::size_t first,
                     std::size_t last);
    void xRegisterKeys(MemoryNode& node);
    void xRemoveRows(std::vector<MemoryNode*> nodes);
    void xSignalChanges(std::vector<ChangedNode>& changed);

    KeyStore* const fKeys;
    Arrangement fArrangement;
    std::unique_ptr<MemoryNode> fRoot;
    std::unordered_map<const MemoryKey*, MemoryNode*> fNodes;
    QTimer fRearrangeTimer;
};

}  // namespace memoryviewer

#endif
