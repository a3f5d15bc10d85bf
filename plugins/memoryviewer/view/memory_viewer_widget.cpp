#include "view/memory_viewer_widget.h"

#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "model/key_value_source.h"
#include "model/memory_model.h"
#include "model/watch_model.h"
#include "plots/plot_panel.h"
#include "recording/change_recorder.h"
#include "recording/recording_bar.h"
#include "session/key_store.h"
#include "session/memory_link.h"
#include "session/memory_session.h"
#include "view/column_menu.h"
#include "view/key_actions.h"
#include "view/key_columns.h"
#include "view/key_curves.h"
#include "view/key_tree_view.h"
#include "view/memory_delegate.h"
#include "view/memory_panes.h"
#include "view/memory_shortcuts.h"
#include "view/memory_tool_bar.h"
#include "view/replay_curves.h"
#include "view/watch_view.h"

#include <base/time.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/widget_seen.h>

#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QShortcut>
#include <QTime>

#include <utility>

namespace memoryviewer {

namespace {

/** Period in milliseconds of checking visibility, and of updating ages and highlights. */
constexpr int a_tickTime = 200;
constexpr qint64 a_refusalTime = 10000;
constexpr int a_maxKeyNameLength = 60;
constexpr int a_widthInCharacters = 120;
constexpr int a_heightInLines = 44;
/** Period of checking for changes of the saved settings, which have many sources. */
constexpr int a_saveTime = 500;
const QLatin1String a_columnsKey("columns");
const QLatin1String a_widthsKey("widths");
const QLatin1String a_flatKey("flat");
const QLatin1String a_rateKey("rate");
const QLatin1String a_filterKey("filter");
const QLatin1String a_watchedKey("watched");
const QLatin1String a_plotsKey("plots");

}  // namespace

MemoryViewerWidget::MemoryViewerWidget(const std::shared_ptr<MemoryLink>& link,
                                       WidgetInterface* plugin, QWidget* parent)
    : ViewerWidget(link, plugin, parent),
      fLink(link),
      fSession(new MemorySession(link, this)),
      fModel(new MemoryModel(&fSession->keys(), this)),
      fWatched(new WatchModel(&fSession->keys(), this)),
      fValues(std::make_unique<KeyValueSource>(&fSession->keys(), &fSession->writes())),
      fToolBar(new MemoryToolBar(this)),
      fTree(new KeyTreeView(fModel, this)),
      fColumnMenu(new ColumnMenu(fTree->header(), this)),
      fWatchView(new WatchView(fWatched, this)),
      fColumns(new KeyColumns(fTree, fWatchView, this)),
      fDelegate(new MemoryDelegate(fValues.get(), this)),
      fPlots(new PlotPanel(this)),
      fRecording(new RecordingBar(&fSession->recorder(), this)),
      fCurves(new KeyCurves(&fSession->keys(), fPlots, this)),
      fReplayCurves(new ReplayCurves(link, fPlots, this)),
      fPanes(new MemoryPanes(fTree, fWatchView, fPlots, this)),
      fStatus(obvista::makeStatusLine("memoryStatus", this)) {
    xBuild();
    xSetRobot();
    xConnect();
    xUpdateTexts();
    fTickTimer.start(a_tickTime);
}

MemoryViewerWidget::~MemoryViewerWidget() {
    xSave();
}

/** Room for the columns and some thirty rows; a docked widget gets its size from here. */
QSize MemoryViewerWidget::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {a_widthInCharacters * metrics.averageCharWidth(), a_heightInLines * metrics.height()};
}

void MemoryViewerWidget::xBuild() {
    setObjectName(QStringLiteral("memoryViewer"));
    setWindowTitle(tr("Memory viewer"));
    resize(sizeHint());
    setMainPart(fTree);
    fTree->setItemDelegate(fDelegate);
    fWatchView->setItemDelegate(fDelegate);
    fToolBar->setColumnMenu(fColumnMenu);

    layOut(fToolBar, {fPanes, fRecording, fStatus}, fPanes);
    for (const obvista::KeyGroup& group : memoryShortcuts()) {
        addKeys(group);
    }
    new KeyActions({fTree, fWatchView, fWatched, fCurves, fValues.get(), &fSession->writes()},
                   this);
}

void MemoryViewerWidget::xConnect() {
    fFilterTimer.setSingleShot(true);
    fSaveTimer.setObjectName(QStringLiteral("saveTimer"));
    connect(this, &ViewerWidget::newsArrived, fSession, &MemorySession::takeNews);
    connect(this, &ViewerWidget::newsArrived, fReplayCurves, &ReplayCurves::takeNews);
    connect(this, &ViewerWidget::replayChanged, this, &MemoryViewerWidget::xOnReplayChanged);
    connect(this, &ViewerWidget::linkEnded, fSession, [this] { fSession->end(linkState()); });
    connect(this, &ViewerWidget::linkInterrupted, fSession, &MemorySession::interrupt);
    connect(this, &ViewerWidget::robotReplaced, this, &MemoryViewerWidget::xOnRobotReplaced);
    connect(this, &ViewerWidget::linkRestored, fSession, &MemorySession::resume);
    connect(this, &ViewerWidget::linkRestored, fReplayCurves, &ReplayCurves::restart);
    connect(this, &ViewerWidget::silenceChanged, fSession, &MemorySession::setSilent);
    connect(fSession, &MemorySession::silenceBegan, this, &MemoryViewerWidget::xEndCurves);
    connect(fSession, &MemorySession::silenceBegan, fCurves, &KeyCurves::beginSilence);
    connect(fSession, &MemorySession::silenceEnded, fCurves, &KeyCurves::endSilence);
    connect(fSession, &MemorySession::newsTaken, this, &MemoryViewerWidget::xOnNewsTaken);
    connect(fSession, &MemorySession::changesTaken, fCurves, &KeyCurves::append);
    connect(fSession, &MemorySession::plottingBegan, fCurves, &KeyCurves::begin);
    connect(fSession, &MemorySession::updatesStopped, fPlots, &PlotPanel::breakCurves);
    connect(fSession, &MemorySession::secondPassed, this, &MemoryViewerWidget::xOnSecond);
    connect(fSession, &MemorySession::phaseChanged, this, &MemoryViewerWidget::xOnPhase);
    connect(&fTickTimer, &QTimer::timeout, this, &MemoryViewerWidget::xOnTick);
    connect(&fFilterTimer, &QTimer::timeout, this, &MemoryViewerWidget::xArrange);
    connect(&fSaveTimer, &QTimer::timeout, this, &MemoryViewerWidget::xSave);
    connect(fToolBar, &MemoryToolBar::filterChanged, this,
            [this] { fFilterTimer.start(0); });  // once for all keys that wait
    connect(fToolBar, &MemoryToolBar::filterLeft, fTree, &KeyTreeView::enter);
    connect(fToolBar, &MemoryToolBar::formChanged, this, &MemoryViewerWidget::xArrange);
    connect(fToolBar, &MemoryToolBar::rateChanged, this, &MemoryViewerWidget::xOnRate);
    connect(fToolBar, &MemoryToolBar::pauseChanged, this, &MemoryViewerWidget::xOnPause);
    xAddShortcut(QKeySequence::Find, &MemoryToolBar::focusFilter);
    xAddShortcut(Qt::CTRL + Qt::Key_Space, &MemoryToolBar::togglePause);
    connect(&fSession->keys(), &KeyStore::added, this, &MemoryViewerWidget::xOnKeysAdded);
    connect(fPlots, &PlotPanel::plottedKeysChanged, this, [this] {
        fPanes->showPlots(!fPlots->plottedKeys().isEmpty());
        xPlan();
    });
    connect(fRecording, &RecordingBar::recordingChanged, this, &MemoryViewerWidget::xPlan);
    connect(&fSession->writes(), &WriteQueue::stateChanged, this, &MemoryViewerWidget::xRepaint);
    connect(&fSession->writes(), &WriteQueue::refused, this, &MemoryViewerWidget::xOnWriteRefused);
    connect(fDelegate, &MemoryDelegate::entryRefused, this, &MemoryViewerWidget::xOnEntryRefused);
    connect(fWatched, &WatchModel::namesChanged, this, &MemoryViewerWidget::xPlan);
    connect(fWatched, &WatchModel::namesChanged, fPanes, &MemoryPanes::fitWatchList);
    connect(fTree->header(), &QWidget::customContextMenuRequested, fColumnMenu,
            [this](const QPoint& at) { fColumnMenu->popup(fTree->header()->mapToGlobal(at)); });
}

void MemoryViewerWidget::xAddShortcut(const QKeySequence& keys, void (MemoryToolBar::*slot)()) {
    auto* shortcut = new QShortcut(keys, this);
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    shortcut->setAutoRepeat(false);
    connect(shortcut, &QShortcut::activated, fToolBar, slot);
}

void MemoryViewerWidget::xSetRobot() {
    fRecording->setRobotName(QString::fromStdString(fLink->robotName()));
    fSettings.emplace(QStringLiteral("MemoryViewer"), fLink->robotName());
    xRestore();
}

void MemoryViewerWidget::xRestore() {
    fColumns->restore(fSettings->value(a_columnsKey).toByteArray(),
                      fSettings->value(a_widthsKey).toList());
    fToolBar->setFlat(fSettings->value(a_flatKey).toBool());
    fToolBar->setRate(fSettings->value(a_rateKey, fToolBar->rate()).toInt());
    fToolBar->setFilter(fSettings->value(a_filterKey).toString());
    fWatched->setNames(fSettings->value(a_watchedKey).toStringList());
    fPanes->fitWatchList();
    fPlots->restoreState(fSettings->value(a_plotsKey).toMap());
    fSaved = xState();
    fPanes->showPlots(!fPlots->plottedKeys().isEmpty());
    xArrange();
    xOnRate();
}

QVariantMap MemoryViewerWidget::xState() const {
    return {{a_columnsKey, fTree->header()->saveState()},
            {a_widthsKey, fColumns->saved()},
            {a_flatKey, fToolBar->isFlat()},
            {a_rateKey, fToolBar->rate()},
            {a_filterKey, fToolBar->filter()},
            {a_watchedKey, fWatched->names()},
            {a_plotsKey, fPlots->saveState()}};
}

void MemoryViewerWidget::xSave() {
    const QVariantMap state = xState();
    fSettings->setChanged(fSaved, state);
    fSaved = state;
}

void MemoryViewerWidget::showEvent(QShowEvent* event) {
    ViewerWidget::showEvent(event);
    fSaveTimer.start(a_saveTime);
}

/** Nothing changes while it is hidden, and a viewer that is opened next loads the changes. */
void MemoryViewerWidget::hideEvent(QHideEvent* event) {
    ViewerWidget::hideEvent(event);
    fSaveTimer.stop();
    xSave();
}

void MemoryViewerWidget::xOnReplayChanged() {
    fSession->setReplay(replayState());
    fReplayCurves->setReplay(replayState());
    if (const QString text = obvista::replayText(replayState()); text != fReplayText) {
        fReplayText = text;
        xUpdateTexts();
    }
}

/** When new rows have their position on the screen, other keys are visible. */
void MemoryViewerWidget::xOnKeysAdded() {
    xOpenNewBranches();
    QMetaObject::invokeMethod(
        this, [this] { xPlan(); }, Qt::QueuedConnection);
}

/** The tree replaces the message when it has its first row, and the other way round. */
void MemoryViewerWidget::xOnNewsTaken() {
    if ((fModel->keyCount() > 0) != fPanes->isTreeShown()) {
        xUpdateTexts();
    }
}

void MemoryViewerWidget::xOnPhase() {
    const MemorySituation situation = fSession->situation();
    if (situation.isOver()) {
        fTickTimer.stop();
    } else if (!fTickTimer.isActive()) {
        fTickTimer.start(a_tickTime);
    }
    if (situation.isOver() || situation.fPhase == MemoryPhase::Interrupted) {
        xEndCurves();
    }
    fDelegate->setStale(!situation.isLive());
    xRepaint();
    xUpdateTexts();
}

/** At the last value, since the robot is not heard any more. */
void MemoryViewerWidget::xEndCurves() {
    fPlots->endCurves(fSession->keys().newestTime());
}

void MemoryViewerWidget::xOnRobotReplaced() {
    fSession->recorder().stop();
    fSession->writes().forgetUndo();
    xSave();  // for the robot before
    xSetRobot();
}

void MemoryViewerWidget::xOnTick() {
    xPlan();
    if (fSession->isUpdating()) {
        // Ages go on, and marks go out.
        fTree->repaintColumns(ValueColumn, AgeColumn);
        fWatchView->repaintColumns(ValueColumn, AgeColumn);
    }
    const bool isOld = fSinceRefusal.isValid() && fSinceRefusal.hasExpired(a_refusalTime);
    if (isOld && !fWriteRefusal.isEmpty()) {
        fWriteRefusal.clear();
        xUpdateTexts();
    }
}

void MemoryViewerWidget::xOnSecond() {
    if (fSession->isUpdating() && fModel->arrangement().isLive() && !fTree->isEditing()) {
        fModel->rearrange();
        xOpenNewBranches();
    }
    xUpdateTexts();
}

void MemoryViewerWidget::xArrange() {
    Arrangement arrangement = fModel->arrangement();
    const bool wasEmpty = arrangement.fFilter.isEmpty();
    const bool wasWhole = arrangement.isWholeTree();
    arrangement.fIsFlat = fToolBar->isFlat();
    arrangement.fFilter = FilterExpression(fToolBar->filter());
    if (fTree->rootIsDecorated() == arrangement.fIsFlat) {
        fTree->setRootIsDecorated(!arrangement.fIsFlat);
        fColumns->forgetNames();
    }
    if (wasWhole && !arrangement.isWholeTree()) {
        fTree->rememberOpenBranches();
    }
    fModel->setArrangement(arrangement);
    if (!wasWhole && arrangement.isWholeTree()) {
        fTree->reopenBranches();
    }
    if (!arrangement.fFilter.isEmpty()) {
        fTree->openAll();
    } else if (!wasEmpty) {
        fTree->scrollTo(fTree->currentIndex());
    }
    fToolBar->setFilterFault(arrangement.fFilter.fault());
    xUpdateTexts();
    xPlan();
}

/** When the filter was entered, or restored, fewer keys may have matched than now. */
void MemoryViewerWidget::xOpenNewBranches() {
    if (!fModel->arrangement().fFilter.isEmpty()) {
        fTree->openNewBranches();
    }
}

void MemoryViewerWidget::xOnPause() {
    const obvista::ReplayState& replay = replayState();
    const QTime time =
        replay.isReplay()
            ? QDateTime::fromMSecsSinceEpoch(replay.fPosition / base::a_microsecondsPerMillisecond)
                  .time()
            : QTime::currentTime();
    fPausedSince = fToolBar->isPaused() ? time.toString(QStringLiteral("HH:mm:ss")) : QString();
    xPlan();
    xUpdateTexts();
}

void MemoryViewerWidget::xOnWriteRefused(const std::string& key, const QString& reason) {
    xSayRefusal(
        //: %1 is a key; %2 says why it was not changed
        tr("%1 keeps its value: %2").arg(obvista::plainText(key, a_maxKeyNameLength), reason));
}

void MemoryViewerWidget::xOnEntryRefused(const QString& problem) {
    //: %1 says why
    xSayRefusal(tr("Nothing was written. %1").arg(problem));
}

void MemoryViewerWidget::xSayRefusal(const QString& text) {
    fWriteRefusal = text;
    fSinceRefusal.start();
    xUpdateTexts();
}

void MemoryViewerWidget::xRepaint() {
    fTree->viewport()->update();
    fWatchView->viewport()->update();
}

void MemoryViewerWidget::xPlan() {
    fSession->subscribe(xNeeds(), fToolBar->rate());
}

SubscriptionNeeds MemoryViewerWidget::xNeeds() const {
    SubscriptionNeeds needs;
    needs.fIsSeen = obvista::isSeen(*this);
    needs.fIsPaused = fToolBar->isPaused();
    needs.fWatched = fSession->keys().ids(fWatched->names());
    needs.fPlotted = fSession->keys().ids(fPlots->plottedKeys());
    if (!needs.fIsSeen || needs.fIsPaused) {
        return needs;
    }
    needs.fVisible = fTree->isVisible() ? fTree->visibleKeys() : std::vector<std::uint32_t>();
    if (fModel->arrangement().isLive()) {
        needs.fCompared = fSession->keys().ids();
    }
    return needs;
}

void MemoryViewerWidget::xOnRate() {
    fPlots->setUpdateInterval(base::a_microsecondsPerSecond / fToolBar->rate());
    xPlan();
}

void MemoryViewerWidget::xUpdateTexts() {
    ViewerSituation situation(fSession->situation());
    situation.fFilter = fToolBar->filter();
    situation.fFilterFault = fModel->arrangement().fFilter.fault();
    situation.fPausedSince = fPausedSince;
    situation.fWriteRefusal = fWriteRefusal;
    situation.fShown = static_cast<std::size_t>(fModel->keyCount());

    const QString message = messageFor(situation);
    fPanes->setMessage(message);
    setBanner(message.isEmpty() || situation.isLive() ? noticeFor(situation) : QString());
    obvista::setStatus(*fStatus, statusFor(situation));
}

}  // namespace memoryviewer
