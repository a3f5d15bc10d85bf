#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H

#include "memory_texts.h"
#include "subscription_planner.h"
#include "view_settings.h"

#include <robaxi/kv_value_table.h>

#include <QElapsedTimer>
#include <QTimer>

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>
#include <viewer_widget.h>

class QLabel;
class QSplitter;
class QStackedLayout;

namespace memoryviewer {

class CsvRecorder;
class KeyStore;
class KeyTree;
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
struct MemoryKey;
struct RecordedKey;

/**
 * Shows the memory of one robot as it changes: the keys as a tree or list, plots, a recording, and
 * writes values that the user enters. Asks the robot only for the keys that are needed for what can
 * be seen. When the link is closed it says so.
 */
class MemoryViewerWidget : public viewer::ViewerWidget {
    Q_OBJECT

  public:
    MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin, QWidget* parent);
    ~MemoryViewerWidget() override;

    QSize sizeHint() const override;

  private:
    void xBuild();
    void xAddShortcuts();
    void xConnect();
    void xRestore();
    void xSave();

    void xOnNotice();
    void xOnFrame();
    void xApply(MemoryBatch& batch);
    void xApplyFollowed(const std::vector<KVChange>& changes);
    void xOnEnd(const MemoryBatch& batch);
    void xSetPhase(MemoryPhase phase);
    void xOnTick();
    void xOnSecond();
    void xOnKeysAdded(const std::vector<const MemoryKey*>& keys);
    void xOnKeysGoing(const std::vector<const MemoryKey*>& keys);
    void xArrange();
    void xOnPause();
    void xOnWriteRefused(const std::string& key, const QString& reason);
    void xShowMenu(const QPoint& position);
    void xShowWatchMenu(const QPoint& position);
    void xAlignColumns();
    void xShowPlots(bool isShown);
    void xRepaint();

    bool xIsSeen() const;
    void xPlan();
    void xFollowClosely();
    std::vector<std::uint32_t> xIdsOf(const QStringList& names) const;
    std::vector<std::uint32_t> xRecordedIds() const;
    std::vector<std::uint32_t> xAllIds() const;
    void xPlot(bool inNewPlot);
    void xWatch();
    QStringList xChosenNames() const;
    void xDescribePlotted(const MemoryKey& key);
    void xUpdateTexts();
    QString xRobotText() const;

    std::shared_ptr<MemoryLink> fLink;
    ViewSettings fSettings;
    MemorySituation fSituation;

    KeyStore* fKeys;
    MemoryModel* fModel;
    WatchModel* fWatched;
    std::unique_ptr<WriteQueue> fWrites;
    std::unique_ptr<KeyValueSource> fValues;
    std::unordered_map<std::uint32_t, std::shared_ptr<const RecordedKey>> fRecordedKeys;
    CsvRecorder* fRecorder;

    MemoryToolBar* fToolBar;
    KeyTree* fTree;
    WatchView* fWatchView;
    MemoryDelegate* fDelegate;
    PlotPanel* fPlots;
    RecordingBar* fRecording;
    QSplitter* fSplitter;
    QStackedLayout* fPages;
    QLabel* fMessage;
    QLabel* fNotice;
    QLabel* fStatus;

    QTimer fFrameTimer;
    QElapsedTimer fSinceFrame;
    QTimer fTickTimer;
    QTimer fSecondTimer;
    QTimer fFilterTimer;
    QElapsedTimer fSinceSecond;
    QElapsedTimer fSinceValue;
    QElapsedTimer fSinceRefusal;
    std::size_t fUpdates = 0;
    std::unordered_set<std::uint32_t> fFollowedClosely;
    bool fWasFollowing = false;
};

}  // namespace memoryviewer

#endif
