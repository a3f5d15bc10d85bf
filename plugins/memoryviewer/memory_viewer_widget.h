#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H

#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>
#include <QWidget>

#include <cstddef>
#include <memory>
#include <widget_interface.h>

class QDockWidget;
class QLabel;
class QStackedLayout;
class QTreeView;

namespace memoryviewer {

class MemoryDelegate;
class MemoryLink;
class MemoryModel;
struct MemoryBatch;

/**
 * Shows the memory of one robot as it changes.
 *
 * It outlives the plugin object that made it: when that closes the link, the widget says so and
 * stays silent. It follows the dock that it is put into and ends its link when that dock is closed
 * by the user or by close(); a dock or window that is hidden, minimised or behind a tab changes
 * nothing.
 */
class MemoryViewerWidget : public QWidget {
    Q_OBJECT

  public:
    /** @param plugin is handed back with disconnected() and not used otherwise */
    MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin, QWidget* parent);
    ~MemoryViewerWidget() override;

    QSize sizeHint() const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

  Q_SIGNALS:
    /**
     * The robot is lost. Emitted once, on the GUI thread, and neither after the plugin object is
     * deleted nor after the widget's dock was closed. The receiver may delete the plugin object,
     * the widget, or both.
     */
    void disconnected(WidgetInterface* plugin);

  protected:
    void changeEvent(QEvent* event) override;

  private:
    enum class Phase { WaitingForKeys, Live, Refused, Lost, Closed };

    void xBuild();
    void xBuildTree();
    void xFollowDock();
    void xOnDockAskedToClose();
    void xOnDockDecided();
    void xOnNotice();
    void xOnFrame();
    void xApply(MemoryBatch& batch);
    void xSetPhase(Phase phase);
    void xReportLoss();
    void xExpandNewBranches(const QModelIndex& parent, int first, int last);
    void xUpdateRate();
    void xUpdateTexts();
    QString xRobotText() const;
    QString xKeyCountText() const;
    QString xPhaseText() const;
    QString xActivityText() const;

    std::shared_ptr<MemoryLink> fLink;
    WidgetInterface* fPlugin;
    QPointer<QDockWidget> fDock;
    Phase fPhase = Phase::WaitingForKeys;
    QString fRefusal;
    bool fIsDockClosing = false;
    bool fHasLossToReport = false;

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
