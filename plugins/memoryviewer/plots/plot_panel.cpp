#include "plots/plot_panel.h"

#include "plots/curve_legend.h"
#include "plots/curve_reading.h"
#include "plots/frame_pacer.h"
#include "plots/key_mime.h"
#include "plots/plot_canvas.h"
#include "plots/plot_choice.h"
#include "plots/plot_history.h"
#include "plots/plot_menu.h"
#include "plots/plot_saving.h"
#include "plots/plot_stack.h"
#include "plots/plot_tool_bar.h"
#include "plots/plot_view.h"
#include "plots/time_axis.h"

#include <obvista/viewer/labels.h>
#include <obvista/viewer/value_text.h>

#include <QDropEvent>
#include <QLabel>
#include <QScrollArea>
#include <QSplitter>
#include <QStackedLayout>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>
#include <utility>

namespace memoryviewer {

namespace {

constexpr double a_intervalsHeld = 3;
constexpr int a_widthInCharacters = 110;
constexpr int a_heightInLines = 30;
constexpr int a_narrowInCharacters = 90;
/** The same in a low panel, where a legend below would take the room of the plots. */
constexpr int a_narrowAndLowInCharacters = 45;
constexpr int a_lowInLines = 14;
/** Of the legend below the plots: titles, a plot and two curves. */
constexpr int a_linesBelow = 4;
/** Milliseconds for which a success message is shown. */
constexpr int a_savedTime = 10000;

}  // namespace

PlotPanel::PlotPanel(QWidget* parent)
    : QWidget(parent),
      fHistory(std::make_unique<PlotHistory>()),
      fTime(new TimeAxis(this)),
      fPacer(new FramePacer(this)),
      fPlots(new PlotStack(fTime, fHistory.get(), this)),
      fChoice(new PlotChoice(fPlots, fHistory.get(), this)),
      fSaving(new PlotSaving(fPlots, fChoice, fHistory.get(), fTime, this)),
      fToolBar(new PlotToolBar(fTime, fSaving, this)),
      fPages(new QStackedLayout),
      fContent(new QWidget(this)),
      fColumns(new QSplitter(this)),
      fMessage(obvista::makeMessage("plotMessage", this)),
      fStatus(obvista::makeStatusLine("plotStatus", this)),
      fNotice(obvista::makeBanner("plotNotice", this)),
      fLegend(new CurveLegend(this)) {
    setObjectName(QStringLiteral("plotPanel"));
    setAcceptDrops(true);
    xBuild();
    xConnectTime();
    xConnectLegend();
    xConnectPlots();
    xConnectActions();
    xShowChoice();
}

PlotPanel::~PlotPanel() = default;

QSize PlotPanel::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {a_widthInCharacters * metrics.averageCharWidth(), a_heightInLines * metrics.height()};
}

void PlotPanel::xBuild() {
    fColumns->setChildrenCollapsible(false);
    fColumns->addWidget(xMakePlotArea());
    fColumns->addWidget(fLegend);
    fColumns->setStretchFactor(0, 1);
    auto* content = new QVBoxLayout(fContent);
    content->setContentsMargins(0, 0, 0, 0);
    content->addWidget(fColumns);

    fMessage->setText(tr(
        "Nothing is plotted yet.\n\nDrag keys with numbers here, or plot them from their menu."));
    fNotice->hide();
    // A path, which is one long word, must not widen the dock.
    QSizePolicy policy = fNotice->sizePolicy();
    policy.setHorizontalPolicy(QSizePolicy::Ignored);
    fNotice->setSizePolicy(policy);
    fSavedTimer.setObjectName(QStringLiteral("savedTimer"));
    fSavedTimer.setSingleShot(true);
    connect(&fSavedTimer, &QTimer::timeout, this, [this] { xSay(QString()); });
    fPages->addWidget(fMessage);
    fPages->addWidget(fContent);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(fToolBar);
    column->addWidget(fNotice);
    column->addLayout(fPages, 1);
    column->addWidget(fStatus);
}

void PlotPanel::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    xPlaceLegend();
}

/** Below the plots where there is no room for it beside them; a width that the user has set stays.
 */
void PlotPanel::xPlaceLegend() {
    const bool isLow = height() < a_lowInLines * fontMetrics().height();
    fStatus->setHidden(isLow);
    const int narrow = isLow ? a_narrowAndLowInCharacters : a_narrowInCharacters;
    const bool isNarrow = width() < narrow * fontMetrics().averageCharWidth();
    const Qt::Orientation orientation = isNarrow ? Qt::Vertical : Qt::Horizontal;
    const bool isTurned = orientation != fColumns->orientation();
    const bool isChosen = fColumns->sizes().value(1) != fLegendSize;
    if (!isTurned && (isNarrow || isChosen)) {
        return;
    }
    fColumns->setOrientation(orientation);
    const int room = isNarrow ? fColumns->height() : width();
    const int legend = isNarrow ? a_linesBelow * fontMetrics().height() * 5 / 4
                                : std::min(fLegend->sizeHint().width(), room * 2 / 5);
    fColumns->setSizes({std::max(1, room - legend), legend});
    fLegendSize = fColumns->sizes().value(1);
}

QWidget* PlotPanel::xMakePlotArea() {
    auto* area = new QScrollArea(this);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setFocusPolicy(Qt::NoFocus);  // its plots get the focus
    area->setWidget(fPlots);
    return area;
}

void PlotPanel::xConnectTime() {
    const auto draw = [this] { fPacer->schedule(FramePacer::Pace::Hand); };
    connect(fTime, &TimeAxis::changed, this, draw);
    connect(fTime, &TimeAxis::followingChanged, this, draw);
    connect(fTime, &TimeAxis::followingChanged, this, &PlotPanel::xUpdateStatus);
    connect(fTime, &TimeAxis::cursorMoved, this, &PlotPanel::xUpdateValues);
    connect(fPacer, &FramePacer::frameDue, this, &PlotPanel::xOnFrame);
    connect(fPacer, &FramePacer::idle, this, &PlotPanel::xOnIdle);
}

void PlotPanel::xConnectLegend() {
    connect(fLegend, &CurveLegend::plotChosen, fPlots, &PlotStack::setCurrent);
    connect(fLegend, &CurveLegend::namesDropped, fChoice, &PlotChoice::take);
    connect(fLegend, &CurveLegend::contextMenuRequested, this, &PlotPanel::xShowMenu);
    connect(fLegend, &CurveLegend::removeRequested, this, [this](int plot, int key) {
        if (key >= 0) {
            fChoice->removeKey(static_cast<std::size_t>(plot), key);
        } else {
            fChoice->removePlot(static_cast<std::size_t>(plot));
        }
    });
}

void PlotPanel::xConnectPlots() {
    connect(fPlots, &PlotStack::currentChanged, fLegend, &CurveLegend::setCurrentPlot);
    connect(fPlots, &PlotStack::refreshNeeded, this,
            [this] { fPacer->schedule(FramePacer::Pace::Hand); });
    connect(fPlots, &PlotStack::showAllRequested, this, &PlotPanel::showAll);
    connect(fPlots, &PlotStack::contextMenuRequested, this, &PlotPanel::xShowMenu);
    connect(fPlots, &PlotStack::namesDropped, this, &PlotPanel::xTake);
    connect(fChoice, &PlotChoice::changed, this, &PlotPanel::xShowChoice);
    connect(fChoice, &PlotChoice::keysChanged, this, &PlotPanel::plottedKeysChanged);
    connect(fChoice, &PlotChoice::said, this, &PlotPanel::xSay);
}

void PlotPanel::xConnectActions() {
    connect(fToolBar, &PlotToolBar::showAllRequested, this, &PlotPanel::showAll);
    connect(fToolBar, &PlotToolBar::newPlotRequested, this, &PlotPanel::addPlot);
    connect(fToolBar, &PlotToolBar::clearRequested, this, &PlotPanel::clearPoints);
    connect(fToolBar, &PlotToolBar::removeAllRequested, this, &PlotPanel::removeAll);
    connect(fSaving, &PlotSaving::said, this, &PlotPanel::xSay);
    connect(fSaving, &PlotSaving::saved, this, [this](const QString& text) {
        xSay(text);
        fSavedTimer.start(a_savedTime);
    });
}

bool PlotPanel::addCurve(const QString& keyName, const QString& unit, CurveShape shape) {
    return fChoice->addKey(keyName, unit, shape, fPlots->current());
}

bool PlotPanel::addCurveToNewPlot(const QString& keyName, const QString& unit, CurveShape shape) {
    return fChoice->addKey(keyName, unit, shape, fPlots->size());
}

void PlotPanel::addCurves(const QStringList& keyNames, bool byThemselves) {
    fChoice->take(keyNames, byThemselves ? -1 : static_cast<int>(fPlots->current()), -1);
}

void PlotPanel::removeCurve(const QString& keyName) {
    fChoice->removeKey(keyName);
}

void PlotPanel::describeKey(const QString& keyName, const QString& unit, CurveShape shape) {
    fChoice->describe(keyName, unit, shape);
}

QStringList PlotPanel::plottedKeys() const {
    return fChoice->keys().names();
}

int PlotPanel::keyHandle(const QString& keyName) const {
    return fChoice->keys().find(keyName);
}

void PlotPanel::setKeyLookup(KeyLookup lookup) {
    fChoice->setKeyLookup(std::move(lookup));
}

void PlotPanel::append(const std::vector<PlotSample>& samples) {
    if (samples.empty()) {
        return;
    }
    for (const PlotSample& sample : samples) {
        fHistory->append(sample.fKey, {sample.fTime, sample.fValue});
    }
    fNewest.take(samples);
    const bool isInView =
        fTime->isFollowing() || fTime->replay() || fTime->right() >= fNewest.ofSamples();
    if (isInView) {
        fPacer->schedule(FramePacer::Pace::Data);
    }
}

void PlotPanel::setReplay(const ReplayTimes& replay) {
    if (!fTime->replay()) {
        fSavedSpan = fTime->span();
    }
    fTime->setReplay(replay);
}

void PlotPanel::endReplay() {
    if (fTime->replay()) {
        fTime->endReplay();
        fTime->setSpan(fSavedSpan);
        clearPoints();
    }
}

void PlotPanel::setRecorded(const QString& keyName, const std::vector<CurvePoint>& points) {
    fHistory->setRecorded(keyHandle(keyName), points);
    fPacer->schedule(FramePacer::Pace::Data);
}

bool PlotPanel::xIsGoingOn() const {
    const auto& keys = fChoice->keys().all();
    return std::any_of(keys.begin(), keys.end(),
                       [this](const auto& key) { return fHistory->curve(key.first).isGoingOn(); });
}

void PlotPanel::keyGone(const QString& keyName) {
    fHistory->interrupt(keyHandle(keyName), pointTime(fNewest.hold(xIsGoingOn())));
    fPacer->schedule(FramePacer::Pace::Data);
}

void PlotPanel::breakCurves() {
    fHistory->interruptAll(pointTime(fNewest.hold(xIsGoingOn())));
    fPacer->schedule(FramePacer::Pace::Data);
}

void PlotPanel::endCurves(qint64 lastReceived) {
    fNewest.takeBack(xIsGoingOn(), static_cast<double>(lastReceived));
    fHistory->interruptAll(pointTime(fNewest.ofSamples()));
    fPacer->schedule(FramePacer::Pace::Data);
}

void PlotPanel::endCurve(int keyHandle) {
    if (fHistory->contains(keyHandle) && !fHistory->curve(keyHandle).isEmpty()) {
        fHistory->interrupt(keyHandle, fHistory->curve(keyHandle).last().fTime);
        fPacer->schedule(FramePacer::Pace::Data);
    }
}

void PlotPanel::setUpdateInterval(qint64 microseconds) {
    fPlots->setHoldTime(a_intervalsHeld * static_cast<double>(microseconds));
    fPacer->schedule(FramePacer::Pace::Data);
}

QVariantMap PlotPanel::saveState() const {
    return {{QStringLiteral("plots"), fChoice->saved()},
            {QStringLiteral("span"), fTime->replay() ? fSavedSpan : fTime->span()}};
}

void PlotPanel::restoreState(const QVariantMap& state) {
    removeAll();
    const double span = state.value(QStringLiteral("span")).toDouble();
    if (std::isfinite(span) && span > 0) {
        fTime->setSpan(span);
    }
    fChoice->restore(state.value(QStringLiteral("plots")).toList());
}

void PlotPanel::removeAll() {
    fChoice->removeAll();
}

void PlotPanel::clearPoints() {
    fHistory->clear();
    fNewest.stop();
    fTime->setFollowing(true);
    fPacer->schedule(FramePacer::Pace::Hand);
}

void PlotPanel::addPlot() {
    fChoice->addPlot();
}

void PlotPanel::showAll() {
    if (const auto& replay = fTime->replay()) {
        fTime->show(replay->fStart, replay->fEnd);
        return;
    }
    bool isEmpty = true;
    double left = 0;
    double right = 0;
    for (const auto& [key, description] : fChoice->keys().all()) {
        const CurveHistory& curve = fHistory->curve(key);
        if (!curve.isEmpty()) {
            const auto earliest = static_cast<double>(curve.earliest());
            const auto latest = static_cast<double>(curve.latest());
            left = isEmpty ? earliest : std::min(left, earliest);
            right = isEmpty ? latest : std::max(right, latest);
            isEmpty = false;
        }
    }
    if (!isEmpty) {
        fTime->show(left, right);
    }
}

void PlotPanel::savePicture(const QString& fileName) {
    fSaving->savePicture(fileName);
}

void PlotPanel::savePoints(const QString& fileName, bool onlyShown) {
    fSaving->savePoints(fileName, onlyShown);
}

/** Updates everything that depends on the selected keys and plots. */
void PlotPanel::xShowChoice() {
    std::vector<std::vector<LegendEntry>> legend;
    for (std::size_t i = 0; i < fPlots->size(); ++i) {
        PlotView& plot = fPlots->plot(i);
        legend.push_back(fChoice->entriesOf(plot));
        xDescribePlot(plot, i, legend.back());
    }
    fLegend->setPlots(legend);
    fLegend->setCurrentPlot(static_cast<int>(fPlots->current()));
    fPages->setCurrentWidget(fPlots->isEmpty() ? static_cast<QWidget*>(fMessage) : fContent);
    fToolBar->setHasPlots(!fPlots->isEmpty());
    xOrderForKeyboard();
    xUpdateValues();
    xUpdateStatus();
    fPacer->schedule(FramePacer::Pace::Hand);
}

/**
 * Tool bar, plots, legend. By default a new plot would come after everything else in the window.
 */
void PlotPanel::xOrderForKeyboard() {
    QWidget* before = fToolBar->widgetForAction(fToolBar->actions().last());
    for (const PlotView* plot : fPlots->plots()) {
        setTabOrder(before, plot->plotCanvas());
        before = plot->plotCanvas();
    }
    setTabOrder(before, fLegend);
}

void PlotPanel::xDescribePlot(PlotView& plot, std::size_t number,
                              const std::vector<LegendEntry>& entries) {
    plot.setUnit(fChoice->unitOf(plot).value_or(QString()));
    plot.setShowsTimes(number + 1 == fPlots->size());
    QStringList names;
    for (const LegendEntry& entry : entries) {
        names += legendText(entry);
    }
    //: %1 is the number of a plot
    plot.plotCanvas()->setAccessibleName(tr("Plot %1").arg(number + 1));
    plot.plotCanvas()->setAccessibleDescription(names.join(QStringLiteral(", ")));
}

void PlotPanel::xOnFrame() {
    if (!fTime->replay()) {
        fTime->setNow(fNewest.at(xIsGoingOn()));
    }
    fPlots->refresh();
}

void PlotPanel::xOnIdle() {
    xUpdateValues();
    xUpdateStatus();
    if (!fTime->replay() && fTime->isFollowing() && fNewest.at(xIsGoingOn()) > fTime->now()) {
        fPacer->schedule(FramePacer::Pace::Data);
    }
}

void PlotPanel::xUpdateValues() {
    if (!fPacer->canBeSeen()) {
        return;
    }
    fLegend->setValuesTitle(readingTitle(*fTime, width()));
    for (const auto& [key, description] : fChoice->keys().all()) {
        fLegend->setValue(key, xReadingOf(key, description.fName));
    }
}

QString PlotPanel::xReadingOf(int key, const QString& keyName) const {
    const bool isAtPosition = fTime->replay() && !fTime->cursor() && fValueLookup;
    const auto value = isAtPosition ? fValueLookup(keyName) : std::nullopt;
    return value ? readingOf(*value) : readingOf(fHistory->curve(key), *fTime);
}

void PlotPanel::xUpdateStatus() {
    if (fPlots->isEmpty()) {
        obvista::setStatus(*fStatus, tr("No plots"));
        return;
    }
    const QString points =
        //: two numbers
        tr("%1 of %2 points kept")
            .arg(obvista::countText(fHistory->size()), obvista::countText(fHistory->maximum()));
    //: the plots move with the newest values; in the status line
    const QString state = fTime->isFollowing() ? tr("following")
                          : fTime->replay() ? tr("Space or End follows the position of the replay")
                                            : tr("paused: Space or End follows the newest values");
    obvista::setStatus(*fStatus, state + obvista::statusSeparator() + points);
}

/** Shows a response to a user's action, until the next one. */
void PlotPanel::xSay(const QString& text) {
    fSavedTimer.stop();
    fNotice->setText(text);
    fNotice->setAccessibleName(text);
    fNotice->setVisible(!text.isEmpty());
}

void PlotPanel::xShowMenu(const QPoint& position) {
    if (fPlots->isEmpty()) {
        return;
    }
    const bool isInCurrentPlot = fLegend->currentPlot() == static_cast<int>(fPlots->current());
    const int key = isInCurrentPlot ? fLegend->currentKey() : -1;
    auto* menu = new PlotMenu(fPlots, fChoice, fSaving, key, this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    connect(menu, &PlotMenu::showAllRequested, this, &PlotPanel::showAll);
    menu->popup(position);
}

void PlotPanel::dragEnterEvent(QDragEnterEvent* event) {
    event->setAccepted(!keysFromMime(event->mimeData()).isEmpty());
}

/** Beside the plots: creates a new plot. */
void PlotPanel::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    xTake(keysFromMime(event->mimeData()), -1, event->source());
}

/** Keys from the legend are moved. */
void PlotPanel::xTake(const QStringList& names, int toPlot, const QObject* source) {
    fChoice->take(names, toPlot, source == fLegend ? fLegend->currentPlot() : -1);
}

}  // namespace memoryviewer
