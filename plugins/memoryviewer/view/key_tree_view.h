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

    /** Keys of the rows on the screen, and of a few above and below them. */
    std::vector<std::uint32_t> visibleKeys() const;
    /** All keys below a chosen branch too; not more than can be looked at. */
    std::vector<const MemoryKey*> chosenKeys() const override;
    bool isEditing() const { return state() == EditingState; }
    /** Opens every branch that leads to a key, as long as there are not too many of them. */
    void openAll();
    /** Opens those that have come since; what the user has closed stays closed, also when it
     *  returns. */
    void openNewBranches();
    /** Before branches go, since a filter or a list shows others or none. */
    void rememberOpenBranches();
    /** Once all branches are there again, opens those of then beside those that are open. */
    void reopenBranches();
    /** Takes the keyboard, with the first key chosen when none is. */
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
    QSet<QString> fClosedBranches;       // paths, by the user since openAll()
    bool fHasRemembered = false;
};

}  // namespace memoryviewer

#endif
