#ifndef OBVISTA_MEMORYVIEWER_KEY_TREE_H
#define OBVISTA_MEMORYVIEWER_KEY_TREE_H

#include <QStringList>
#include <QTreeView>

#include <cstdint>
#include <vector>

namespace memoryviewer {

class MemoryModel;
struct MemoryKey;

/** The robot's keys as rows that can be chosen, dragged, copied and edited. */
class KeyTree : public QTreeView {
    Q_OBJECT

  public:
    KeyTree(MemoryModel* model, QWidget* parent);

    using QTreeView::edit;

    /** Keys of the rows on the screen, and of a few above and below them. */
    std::vector<std::uint32_t> visibleKeys() const;
    /** Keys of the chosen rows, from the top; all keys below a chosen branch. */
    std::vector<const MemoryKey*> chosenKeys() const;
    bool isEditing() const { return state() == EditingState; }
    /** Opens every branch that leads to a key, as long as there are not too many of them. */
    void openAll();
    /** Before branches go, since a filter or a list shows others or none. */
    void rememberOpenBranches();
    /** Once all branches are there again, opens those of then beside those that are open. */
    void reopenBranches();
    /** Takes the keyboard, with the first key chosen when none is. */
    void enter();

  public Q_SLOTS:
    void copyNames();
    void copyValues();
    void copyRows();

  protected:
    /** F2 edits the value of the row, whichever column the user is in. */
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;

  private:
    void xArrangeHeader();
    template <class Use>
    void xForEachBranch(const QModelIndex& parent, const QString& path, Use use);
    QModelIndex xFirstKey() const;
    void xExpandNewBranches(const QModelIndex& parent, int first, int last);
    void xAppendKeys(const QModelIndex& index, std::vector<const MemoryKey*>& keys) const;
    void xCopy(QString (*textOf)(const MemoryKey&)) const;

    MemoryModel* fModel;
    std::vector<QString> fOpenBranches;  // sorted paths
    bool fHasRemembered = false;
};

}  // namespace memoryviewer

#endif
