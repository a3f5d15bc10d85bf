#ifndef OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H
#define OBVISTA_MEMORYVIEWER_MEMORY_VIEWER_WIDGET_H

#include "session/subscription_planner.h"
#include "view/memory_texts.h"

#include <obvista/viewer/robot_settings.h>
#include <obvista/viewer/viewer_widget.h>

#include <QElapsedTimer>
#include <QTimer>
#include <QVariantMap>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

class QKeySequence;
class QLabel;

namespace memoryviewer {

class ColumnMenu;
class KeyColumns;
class KeyCurves;
class KeyTreeView;
class KeyValueSource;
class MemoryDelegate;
class MemoryLink;
class MemoryModel;
class MemoryPanes;
class MemorySession;
class MemoryToolBar;
class PlotPanel;
class ReplayCurves;
class RecordingBar;
class WatchModel;
class WatchView;

/**
 * Shows a robot's live memory: the keys as a tree or list, plots and a recording; writes values
 * that the user enters. Subscribes only to the keys that are needed. Shows when the link is closed.
 */
class MemoryViewerWidget : public obvista::ViewerWidget {
    Q_OBJECT

  public:
    MemoryViewerWidget(const std::shared_ptr<MemoryLink>& link, WidgetInterface* plugin,
                       QWidget* parent);
    ~MemoryViewerWidget() override;

    QSize sizeHint() const override;

  protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    void xBuild();
    void xConnect();
    void xAddShortcut(const QKeySequence& keys, void (MemoryToolBar::*slot)());
    void xSetRobot();
    void xRestore();
    void xSave();
    QVariantMap xState() const;

    void xOnReplayChanged();
    void xOnKeysAdded();
    void xOnNewsTaken();
    void xOnPhase();
    void xEndCurves();
    void xOnRobotReplaced();
    void xOnTick();
    void xOnSecond();
    void xArrange();
    void xOpenNewBranches();
    void xOnPause();
    void xOnWriteRefused(const std::string& key, const QString& reason);
    void xOnEntryRefused(const QString& problem);
    void xSayRefusal(const QString& text);
    void xRepaint();

    void xPlan();
    SubscriptionNeeds xNeeds() const;
    void xOnRate();
    void xUpdateTexts();

    const std::shared_ptr<MemoryLink> fLink;
    std::optional<obvista::RobotSettings> fSettings;  // of the present robot
    QVariantMap fSaved;

    MemorySession* fSession;
    MemoryModel* fModel;
    WatchModel* fWatched;
    std::unique_ptr<KeyValueSource> fValues;

    MemoryToolBar* fToolBar;
    KeyTreeView* fTree;
    ColumnMenu* fColumnMenu;
    WatchView* fWatchView;
    KeyColumns* fColumns;
    MemoryDelegate* fDelegate;
    PlotPanel* fPlots;
    RecordingBar* fRecording;
    KeyCurves* fCurves;
    ReplayCurves* fReplayCurves;
    MemoryPanes* fPanes;
    QLabel* fStatus;

    QTimer fTickTimer;
    QTimer fFilterTimer;
    QTimer fSaveTimer{this};
    QString fPausedSince;
    QString fReplayText;
    QString fWriteRefusal;
    QElapsedTimer fSinceRefusal;
};

}  // namespace memoryviewer

#endif
