#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H

#include "session/subscription_planner.h"
#include "view/memory_texts.h"

#include <obvista/viewer/robot_settings.h>
#include <obvista/viewer/viewer_widget.h>

#include <QElapsedTimer>
#include <QTimer>
#include <QVariantMap>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class QKeySequence;
class QLabel;
class QSplitter;
class QStackedLayout;

namespace memoryviewer {

class ColumnMenu;
class CsvRecorder;
class KeyColumns;
class KeyCurves;
class KeySubscriber;
class KeyRecording;
class KeyStore;
class KeyTreeView;
class KeyValueSource;
class MemoryDelegate;
class MemoryLink;
class MemoryModel;
class MemoryToolBar;
class PlotPanel;
class RecordingBar;
class WatchModel;
class WatchView;
class WriteQueue;
struct MemoryBatch;

/**
 * Shows a robot's live memory: the keys as a tree or list, plots and a recording; writes values
 * that the user enters. Subscribes only to the keys that are needed. Shows when the link is closed.
 */
class MemoryViewerWidget : public obvista::ViewerWidget {
    Q_OBJECT

  public:
    MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin, QWidget* parent);
    ~MemoryViewerWidget() override;

    QSize sizeHint() const override;

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void xBuild();
    void xConnect();
    void xAddShortcut(const QKeySequence& keys, void (MemoryToolBar::*slot)());
    void xRestore();
    void xSave();
    QVariantMap xState() const;

    void xOnNews();
    void xOnFrame();
    void xApply(MemoryBatch& batch);
    void xOnLinkEnded();
    void xSetPhase(MemoryPhase phase);
    void xOnTick();
    void xOnSecond();
    void xArrange();
    void xOpenNewBranches();
    void xOnRecording(bool isRecording);
    void xOnPause();
    void xOnWriteRefused(const std::string& key, const QString& reason);
    void xOnEntryRefused(const QString& problem);
    void xSayRefusal(const QString& text);
    void xShowPlots(bool isShown);
    void xFitWatchView();
    void xRepaint();

    void xPlan();
    void xPlanSoon();
    SubscriptionNeeds xNeeds() const;
    void xOnRate();
    std::vector<std::uint32_t> xIdsOf(const QStringList& names) const;
    std::vector<std::uint32_t> xRecordedIds() const;
    std::vector<std::uint32_t> xAllIds() const;
    void xUpdateTexts();
    double xAge() const;
    QString xRobotText() const;

    std::shared_ptr<MemoryLink> fLink;
    obvista::RobotSettings fSettings;
    QVariantMap fSaved;
    MemorySituation fSituation;

    KeyStore* fKeys;
    MemoryModel* fModel;
    WatchModel* fWatched;
    std::unique_ptr<WriteQueue> fWrites;
    std::unique_ptr<KeyValueSource> fValues;
    CsvRecorder* fRecorder;

    MemoryToolBar* fToolBar;
    KeyTreeView* fTree;
    ColumnMenu* fColumnMenu;
    WatchView* fWatchView;
    KeyColumns* fColumns;
    MemoryDelegate* fDelegate;
    PlotPanel* fPlots;
    RecordingBar* fRecording;
    KeyCurves* fCurves;
    KeyRecording* fKeyRecording;
    std::unique_ptr<KeySubscriber> fSubscriber;
    QSplitter* fSplitter;
    bool fIsWatchViewShort = true;
    QStackedLayout* fPages;
    QLabel* fMessage;
    QLabel* fStatus;

    QTimer fFrameTimer;
    QElapsedTimer fSinceFrame;
    QTimer fTickTimer;
    QTimer fSecondTimer;
    QTimer fFilterTimer;
    QTimer fSaveTimer;
    QElapsedTimer fSinceSecond;
    QElapsedTimer fSinceValue;
    QElapsedTimer fSinceRefusal;
    std::size_t fUpdates = 0;
};

}  // namespace memoryviewer

#endif
