#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H

#include <QElapsedTimer>
#include <QTimer>

#include <cstddef>
#include <memory>
#include <viewer_widget.h>

class QLabel;
class QStackedLayout;
class QTreeView;

namespace memoryviewer {

class MemoryDelegate;
class MemoryLink;
class KeyStore;
class MemoryModel;
struct MemoryBatch;

/** Shows the memory of one robot as it changes. When the link is closed it says so. */
class MemoryViewerWidget : public viewer::ViewerWidget {
    Q_OBJECT

  public:
    MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin, QWidget* parent);
    ~MemoryViewerWidget() override;

    QSize sizeHint() const override;

  private:
    enum class Phase { WaitingForKeys, Live, Refused, Lost, Closed };

    void xBuild();
    void xBuildTree();
    void xOnNotice();
    void xOnFrame();
    void xApply(MemoryBatch& batch);
    void xSetPhase(Phase phase);
    void xExpandNewBranches(const QModelIndex& parent, int first, int last);
    void xUpdateRate();
    void xUpdateTexts();
    QString xRobotText() const;
    QString xKeyCountText() const;
    QString xPhaseText() const;
    QString xActivityText() const;

    std::shared_ptr<MemoryLink> fLink;
    Phase fPhase = Phase::WaitingForKeys;
    QString fRefusal;

    KeyStore* fKeys;
    MemoryModel* fModel;
    MemoryDelegate* fDelegate;
    QTreeView* fTree;
    QStackedLayout* fPages;
    QLabel* fMessage;
    QLabel* fNotice;
    QLabel* fStatus;

    QTimer fFrameTimer;
    QElapsedTimer fSinceFrame;
    QTimer fRateTimer;
    QElapsedTimer fSinceRate;
    std::size_t fUpdates = 0;
    int fRate = 0;
};

}  // namespace memoryviewer

#endif
