#include "view/memory_viewer_widget.h"

#include "editing/write_queue.h"
#include "model/key_cells.h"
#include "model/key_value_source.h"
#include "model/memory_model.h"
#include "model/watch_model.h"
#include "plots/plot_panel.h"
#include "recording/csv_recorder.h"
#include "recording/recording_bar.h"
#include "session/key_recording.h"
#include "session/key_store.h"
#include "session/key_subscriber.h"
#include "session/memory_link.h"
#include "view/column_menu.h"
#include "view/key_actions.h"
#include "view/key_columns.h"
#include "view/key_curves.h"
#include "view/key_tree_view.h"
#include "view/memory_delegate.h"
#include "view/memory_shortcuts.h"
#include "view/memory_tool_bar.h"
#include "view/watch_view.h"

#include <base/time.h>
#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>
#include <obvista/viewer/widget_seen.h>

#include <QHeaderView>
#include <QLabel>
#include <QShortcut>
#include <QSplitter>
#include <QStackedLayout>
#include <QTime>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace memoryviewer {

namespace {

/**
 * Period in milliseconds of reading the feed: shorter than the eye can follow, and a limit on the
 * GUI thread's time for a fast robot.
 */
constexpr int a_frameTime = 40;
/** Period of checking visibility, and of updating ages and highlights. */
constexpr int a_tickTime = 200;
constexpr int a_secondTime = 1000;
constexpr qint64 a_refusalTime = 10000;
constexpr int a_maxKeyNameLength = 60;
constexpr int a_widthInCharacters = 120;
constexpr int a_heightInLines = 44;
constexpr int a_leastLines = 8;
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

MemoryViewerWidget::MemoryViewerWidget(std::shared_ptr<MemoryLink> link, WidgetInterface* plugin,
                                       QWidget* parent)
    : ViewerWidget(link, plugin, parent),
      fLink(std::move(link)),
      fSettings(QStringLiteral("MemoryViewer"), fLink->robotName()),
      fKeys(new KeyStore(this)),
      fModel(new MemoryModel(fKeys, this)),
      fWatched(new WatchModel(fKeys, this)),
      fWrites(std::make_unique<WriteQueue>(fLink->makeWriter())),
      fValues(std::make_unique<KeyValueSource>(fKeys, fWrites.get())),
      fRecorder(new CsvRecorder(this)),
      fToolBar(new MemoryToolBar(this)),
      fTree(new KeyTreeView(fModel, this)),
      fColumnMenu(new ColumnMenu(fTree->header(), this)),
      fWatchView(new WatchView(fWatched, this)),
      fColumns(new KeyColumns(fTree, fWatchView, this)),
      fDelegate(new MemoryDelegate(fValues.get(), this)),
      fPlots(new PlotPanel(this)),
      fRecording(new RecordingBar(fRecorder, this)),
      fCurves(new KeyCurves(fKeys, fPlots, this)),
      fKeyRecording(new KeyRecording(fKeys, fRecorder, this)),
      fSubscriber(std::make_unique<KeySubscriber>(fLink, fKeys, fCurves)),
      fSplitter(new QSplitter(Qt::Vertical, this)),
      fPages(new QStackedLayout),
      fMessage(obvista::makeMessage("memoryMessage", this)),
      fStatus(obvista::makeStatusLine("memoryStatus", this)) {
    fSituation.fRobot = xRobotText();
    xBuild();
    xRestore();
    xConnect();
    xUpdateTexts();

    fSinceFrame.start();
    fSinceSecond.start();
    fSinceValue.start();
    fTickTimer.start(a_tickTime);
    fSecondTimer.start(a_secondTime);
}

MemoryViewerWidget::~MemoryViewerWidget() {
    xSave();
    fWrites.reset();  // its signals would reach a partly destroyed widget
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
    fRecording->setRobotName(QString::fromStdString(fLink->robotName()));

    auto* keys = new QWidget(this);
    keys->setLayout(fPages);
    fPages->addWidget(fMessage);
    fPages->addWidget(fTree);
    fSplitter->addWidget(keys);
    fSplitter->addWidget(fWatchView);
    fSplitter->addWidget(fPlots);
    fSplitter->setStretchFactor(0, 3);
    fSplitter->setStretchFactor(1, 0);
    fSplitter->setStretchFactor(2, 2);
    fSplitter->setCollapsible(0, false);
    keys->setMinimumHeight(a_leastLines * fontMetrics().height());
    fPlots->hide();

    layOut(fToolBar, {fSplitter, fRecording, fStatus}, fSplitter);

    for (const obvista::KeyGroup& group : memoryShortcuts()) {
        addKeys(group);
    }
    new KeyActions({fTree, fWatchView, fWatched, fCurves, fValues.get(), fWrites.get()}, this);
}

void MemoryViewerWidget::xConnect() {
    fFrameTimer.setSingleShot(true);
    fFilterTimer.setSingleShot(true);
    connect(this, &ViewerWidget::newsArrived, this, &MemoryViewerWidget::xOnNews);
    connect(this, &ViewerWidget::linkEnded, this, &MemoryViewerWidget::xOnLinkEnded);
    connect(&fFrameTimer, &QTimer::timeout, this, &MemoryViewerWidget::xOnFrame);
    connect(&fTickTimer, &QTimer::timeout, this, &MemoryViewerWidget::xOnTick);
    connect(&fSecondTimer, &QTimer::timeout, this, &MemoryViewerWidget::xOnSecond);
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
    connect(fKeys, &KeyStore::added, this, &MemoryViewerWidget::xPlanSoon);
    connect(fPlots, &PlotPanel::plottedKeysChanged, this, [this] {
        xShowPlots(!fPlots->plottedKeys().isEmpty());
        xPlan();
    });
    connect(fRecording, &RecordingBar::recordingChanged, this, &MemoryViewerWidget::xOnRecording);
    connect(fWrites.get(), &WriteQueue::stateChanged, this, [this] { xRepaint(); });
    connect(fWrites.get(), &WriteQueue::refused, this, &MemoryViewerWidget::xOnWriteRefused);
    connect(fDelegate, &MemoryDelegate::entryRefused, this, &MemoryViewerWidget::xOnEntryRefused);
    connect(fWatched, &WatchModel::namesChanged, this, &MemoryViewerWidget::xPlan);
    connect(fWatched, &WatchModel::namesChanged, this, &MemoryViewerWidget::xFitWatchView);
    connect(fTree->header(), &QWidget::customContextMenuRequested, fColumnMenu,
            [this](const QPoint& at) { fColumnMenu->popup(fTree->header()->mapToGlobal(at)); });
}

void MemoryViewerWidget::xAddShortcut(const QKeySequence& keys, void (MemoryToolBar::*slot)()) {
    auto* shortcut = new QShortcut(keys, this);
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    connect(shortcut, &QShortcut::activated, fToolBar, slot);
}

void MemoryViewerWidget::xRestore() {
    fColumns->restore(fSettings.value(a_columnsKey).toByteArray(),
                      fSettings.value(a_widthsKey).toList());
    fToolBar->setFlat(fSettings.value(a_flatKey).toBool());
    fToolBar->setRate(fSettings.value(a_rateKey, fToolBar->rate()).toInt());
    fToolBar->setFilter(fSettings.value(a_filterKey).toString());
    fWatched->setNames(fSettings.value(a_watchedKey).toStringList());
    fPlots->restoreState(fSettings.value(a_plotsKey).toMap());
    fSaved = xState();
    xShowPlots(!fPlots->plottedKeys().isEmpty());
    xArrange();
    xOnRate();
}

void MemoryViewerWidget::xShowPlots(bool isShown) {
    if (isShown == !fPlots->isHidden()) {
        return;
    }
    fPlots->setVisible(isShown);
    const int height = fSplitter->height();
    const int watched = fWatchView->sizeHint().height();
    const int plots = isShown ? height * 3 / 5 : 0;
    fSplitter->setSizes({height - watched - plots, watched, plots});
}

/** The watch list is short while it is empty; the tree gives and takes the difference. */
void MemoryViewerWidget::xFitWatchView() {
    const bool isEmpty = fWatched->names().isEmpty();
    if (isEmpty == fIsWatchViewShort) {
        return;
    }
    fIsWatchViewShort = isEmpty;
    const QList<int> sizes = fSplitter->sizes();
    const int more = fWatchView->sizeHint().height() - sizes[1];
    if (sizes[0] > more) {
        fSplitter->setSizes({sizes[0] - more, sizes[1] + more, sizes[2]});
    }
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

/**
 * Saves what has changed in this viewer; other settings may be newer in another viewer of the
 * robot.
 */
void MemoryViewerWidget::xSave() {
    const QVariantMap state = xState();
    for (auto each = state.begin(); each != state.end(); ++each) {
        if (each.value() != fSaved.value(each.key())) {
            fSettings.setValue(each.key(), each.value());
        }
    }
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

void MemoryViewerWidget::xOnNews() {
    if (!fFrameTimer.isActive()) {
        const qint64 rest = a_frameTime - fSinceFrame.elapsed();
        fFrameTimer.start(static_cast<int>(std::max<qint64>(rest, 0)));
    }
}

void MemoryViewerWidget::xOnFrame() {
    fSinceFrame.restart();
    MemoryBatch batch = fLink->feed().take();
    xApply(batch);
    if (linkState() != obvista::LinkState::Connected) {
        return;
    }
    if (batch.fRefusal) {
        fSituation.fRefusal = obvista::plainText(*batch.fRefusal);
        xSetPhase(MemoryPhase::Refused);
    } else {
        xSetPhase(batch.fHasTable ? MemoryPhase::Live : fSituation.fPhase);
    }
}

/** With the values that came before the end. */
void MemoryViewerWidget::xOnLinkEnded() {
    xOnFrame();
    const bool isLost = linkState() == obvista::LinkState::Lost;
    xSetPhase(isLost ? MemoryPhase::Lost : MemoryPhase::Closed);
}

void MemoryViewerWidget::xApply(MemoryBatch& batch) {
    fUpdates += batch.fUpdates;
    if (batch.fUpdates > 0) {
        fSinceValue.restart();
    }
    fKeys->remove(batch.fRemoved);
    fKeys->add(batch.fAdded);
    if (!batch.fAdded.empty()) {
        xOpenNewBranches();
    }
    fKeys->change(std::move(batch.fChanged), batch.fArrival);
    fCurves->append(batch.fEveryChange);
    fKeyRecording->append(batch.fEveryChange);
}

void MemoryViewerWidget::xSetPhase(MemoryPhase phase) {
    const bool hasContent = fModel->keyCount() > 0;
    if (phase == fSituation.fPhase && hasContent == (fPages->currentWidget() == fTree)) {
        return;
    }
    fSituation.fPhase = phase;
    if (phase != MemoryPhase::WaitingForKeys && phase != MemoryPhase::Live) {
        fTickTimer.stop();
        fSecondTimer.stop();
        fDelegate->setStale(true);
        xRepaint();
        fPlots->endCurves(fKeys->newestTime());
        fWrites->giveUp(tr("the robot is lost"));
        fRecorder->stop();
    }
    xUpdateTexts();
}

void MemoryViewerWidget::xOnTick() {
    xPlan();
    if (fSubscriber->isUpdating()) {
        // Ages go on, and marks go out.
        fTree->repaintColumns(ValueColumn, AgeColumn);
        fWatchView->repaintColumns(ValueColumn, AgeColumn);
    }
    const bool isOld = fSinceRefusal.isValid() && fSinceRefusal.hasExpired(a_refusalTime);
    if (isOld && !fSituation.fWriteRefusal.isEmpty()) {
        fSituation.fWriteRefusal.clear();
        xUpdateTexts();
    }
}

void MemoryViewerWidget::xOnSecond() {
    const double seconds = static_cast<double>(fSinceSecond.restart()) / a_secondTime;
    fSituation.fUpdates = static_cast<int>(std::lround(static_cast<double>(fUpdates) / seconds));
    fUpdates = 0;
    if (fSubscriber->isUpdating()) {
        fKeys->endTurn();
        if (fModel->arrangement().isLive() && !fTree->isEditing()) {
            fModel->rearrange();
            xOpenNewBranches();
        }
    } else {
        fSinceValue.restart();
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
    fSituation.fFilter = fToolBar->filter();
    fSituation.fFilterFault = arrangement.fFilter.fault();
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

void MemoryViewerWidget::xOnRecording(bool isRecording) {
    if (isRecording) {
        fKeyRecording->begin(xRecordedIds());
    }
    xPlan();
}

void MemoryViewerWidget::xOnPause() {
    fSituation.fPausedSince = fToolBar->isPaused()
                                  ? QTime::currentTime().toString(QStringLiteral("HH:mm:ss"))
                                  : QString();
    xPlan();
    xUpdateTexts();
}

void MemoryViewerWidget::xOnWriteRefused(const std::string& key, const QString& reason) {
    xSayRefusal(
        tr("%1 keeps its value: %2").arg(obvista::plainText(key, a_maxKeyNameLength), reason));
}

void MemoryViewerWidget::xOnEntryRefused(const QString& problem) {
    xSayRefusal(tr("Nothing was written. %1").arg(problem));
}

void MemoryViewerWidget::xSayRefusal(const QString& text) {
    fSituation.fWriteRefusal = text;
    fSinceRefusal.start();
    xUpdateTexts();
}

void MemoryViewerWidget::xRepaint() {
    fTree->viewport()->update();
    fWatchView->viewport()->update();
}

void MemoryViewerWidget::xPlan() {
    fSubscriber->subscribe(xNeeds(), fToolBar->rate());
}

/** Called when new rows have their position on the screen. */
void MemoryViewerWidget::xPlanSoon() {
    QMetaObject::invokeMethod(
        this, [this] { xPlan(); }, Qt::QueuedConnection);
}

SubscriptionNeeds MemoryViewerWidget::xNeeds() const {
    SubscriptionNeeds needs;
    needs.fIsSeen = obvista::isSeen(*this);
    needs.fIsPaused = fToolBar->isPaused();
    needs.fRecorded = xRecordedIds();
    if (!needs.fIsSeen || needs.fIsPaused) {
        return needs;
    }
    needs.fVisible = fTree->isVisible() ? fTree->visibleKeys() : std::vector<std::uint32_t>();
    needs.fWatched = xIdsOf(fWatched->names());
    needs.fPlotted = xIdsOf(fPlots->plottedKeys());
    if (fModel->arrangement().isLive()) {
        needs.fCompared = xAllIds();
    }
    return needs;
}

void MemoryViewerWidget::xOnRate() {
    fPlots->setUpdateInterval(base::a_microsecondsPerSecond / fToolBar->rate());
    xPlan();
}

std::vector<std::uint32_t> MemoryViewerWidget::xIdsOf(const QStringList& names) const {
    std::vector<std::uint32_t> ids;
    for (const QString& name : names) {
        if (const MemoryKey* key = fKeys->find(name.toStdString())) {
            ids.push_back(key->fInfo.fId);
        }
    }
    return ids;
}

/** Returns the watched and plotted keys or, if there are none, every key. */
std::vector<std::uint32_t> MemoryViewerWidget::xRecordedIds() const {
    if (!fRecorder->isRecording()) {
        return {};
    }
    QStringList names = fWatched->names() + fPlots->plottedKeys();
    names.removeDuplicates();
    const std::vector<std::uint32_t> ids = xIdsOf(names);
    return ids.empty() ? xAllIds() : ids;
}

std::vector<std::uint32_t> MemoryViewerWidget::xAllIds() const {
    std::vector<std::uint32_t> ids;
    ids.reserve(fKeys->size());
    for (const MemoryKey* key : fKeys->sorted()) {
        ids.push_back(key->fInfo.fId);
    }
    return ids;
}

void MemoryViewerWidget::xUpdateTexts() {
    fSituation.fKeys = fKeys->size();
    fSituation.fShown = static_cast<std::size_t>(fModel->keyCount());
    fSituation.fRoundTrip = fLink->roundTrip();
    fSituation.fAge = xAge();
    const bool isQuiet = fSubscriber->isUpdating() && fSinceValue.isValid();
    fSituation.fQuietSeconds =
        isQuiet ? static_cast<double>(fSinceValue.elapsed()) / a_secondTime : 0;

    const QString message = messageFor(fSituation);
    fMessage->setText(message);
    setBanner(message.isEmpty() || fSituation.isLive() ? noticeFor(fSituation) : QString());
    fPages->setCurrentWidget(message.isEmpty() ? static_cast<QWidget*>(fTree) : fMessage);
    obvista::setStatus(*fStatus, statusFor(fSituation));
}

/** Returns the age of the newest value in seconds; negative if there is none. */
double MemoryViewerWidget::xAge() const {
    const std::int64_t newest = fKeys->newestTime();
    const std::int64_t age = fKeys->clock().now() - newest;
    return newest == 0 ? -1
                       : std::max(0.0, static_cast<double>(age) / base::a_microsecondsPerSecond);
}

QString MemoryViewerWidget::xRobotText() const {
    return robotName() + obvista::statusSeparator() + robotAddress();
}

}  // namespace memoryviewer
