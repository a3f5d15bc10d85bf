#ifndef OBVISTA_MEMORYVIEWER_KEY_TREE_VIEW_H
#define OBVISTA_MEMORYVIEWER_KEY_TREE_VIEW_H

#include "view/key_view.h"

#include <QSet>

#include <cstdint>
#include <vector>

namespace memoryviewer {

class MemoryModel;

/** The robot's keys, as a tree or a list. */
class KeyTreeView : public KeyView {
    Q_OBJECT

  public:
    KeyTreeView(MemoryModel* model, QWidget* parent);

    /** Returns the keys of the visible rows, and of a few above and below them. */
    std::vector<std::uint32_t> visibleKeys() const;
    /** Includes all keys below a selected branch, up to a limit. */
    std::vector<const MemoryKey*> chosenKeys() const override;
    bool isEditing() const { return state() == EditingState; }
    /** Expands every branch that leads to a key, up to a limit. */
    void openAll();
    /**
     * Expands branches that were added since; a branch that the user has collapsed stays collapsed,
     * even after it was removed and added again.
     */
    void openNewBranches();
    /** Saves the expanded branches before a filter or a list removes branches. */
    void rememberOpenBranches();
    /**
     * Expands the saved branches in addition to those that are expanded, when all branches exist
     * again.
     */
    void reopenBranches();
    /** Takes the focus, and selects the first key if none is selected. */
    void enter();

  private:
    template <class Use>
    void xForEachBranch(const QModelIndex& parent, Use use);
    QModelIndex xFirstKey() const;
    QString xPathOf(QModelIndex branch) const;
    void xExpandNewBranches(const QModelIndex& parent, int first, int last);
    void xAppendKeys(const QModelIndex& index, std::vector<const MemoryKey*>& keys) const;

    MemoryModel* fModel;
    std::vector<QString> fOpenBranches;  // sorted paths
    QSet<QString> fClosedBranches;       // paths, collapsed by the user since openAll()
    bool fHasRemembered = false;
};

}  // namespace memoryviewer

#endif
