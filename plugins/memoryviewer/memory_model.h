#ifndef OBVISTA_MEMORYVIEWER_MEMORY_MODEL_H
#define OBVISTA_MEMORYVIEWER_MEMORY_MODEL_H

#include <robaxi/kv_value_table.h>

#include <QAbstractItemModel>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace memoryviewer {

class MemoryNode;

/**
 * The keys of a robot's memory as a tree by "/", with their newest values.
 *
 * Made for thousands of keys that change many times a second: a key's row is found from its
 * identifier in constant time, a change of values signals only the rows that changed, merged into
 * runs, and neither it nor a key that comes or goes ever resets the model. Used on the GUI thread.
 */
class MemoryModel : public QAbstractItemModel {
    Q_OBJECT

  public:
    enum Column { NameColumn, ValueColumn, UnitColumn, TypeColumn, ColumnCount };

    explicit MemoryModel(QObject* parent = nullptr);
    ~MemoryModel() override;

    /** Inserts keys at their place in the order of names. Identifiers already known are passed
     *  over. */
    void addKeys(const std::vector<KVKeyInfo>& keys);
    /** Takes keys out, and the branches that hold no key any more. Unknown ones are passed over. */
    void removeKeys(const std::vector<std::uint32_t>& ids);
    /** Takes new values over. Unknown keys are passed over, and a value equal to the present one
     *  signals nothing. */
    void changeValues(std::vector<KVChange> changes);

    int keyCount() const { return static_cast<int>(fNodes.size()); }
    /** The row of a key; invalid when there is no such key. */
    QModelIndex indexOfKey(std::uint32_t id, int column = NameColumn) const;
    /** The key of a row; nothing for a row that is a branch only. */
    std::optional<std::uint32_t> keyOf(const QModelIndex& index) const;

    QModelIndex index(int row, int column,
                      const QModelIndex& parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    using QObject::parent;
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

  private:
    struct ChangedNode {
        MemoryNode* fNode;
        int fLastColumn;
    };

    MemoryNode& xNode(const QModelIndex& index) const;
    QModelIndex xIndex(MemoryNode& node, int column) const;
    std::vector<KVKeyInfo> xUnknownKeys(const std::vector<KVKeyInfo>& keys) const;
    void xMerge(MemoryNode& target, MemoryNode& source);
    void xMergeNode(MemoryNode& target, MemoryNode& source);
    void xInsertRows(MemoryNode& target, std::size_t row, MemoryNode& source, std::size_t first,
                     std::size_t last);
    void xRegisterKeys(MemoryNode& node);
    void xRemoveRows(std::vector<MemoryNode*> nodes);
    void xSignalChanges(std::vector<ChangedNode>& changed);

    std::unique_ptr<MemoryNode> fRoot;
    std::unordered_map<std::uint32_t, MemoryNode*> fNodes;
};

}  // namespace memoryviewer

#endif
