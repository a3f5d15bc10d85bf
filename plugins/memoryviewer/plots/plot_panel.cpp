#include "plot_panel.h"

#include "axis_scales.h"
#include "curve_colours.h"
#include "curve_legend.h"
#include "key_mime.h"
#include "plot_canvas.h"
#include "plot_export.h"
#include "plot_history.h"
#include "plot_view.h"
#include "time_axis.h"

#include <QAction>
#include <QDateTime>
#include <QDropEvent>
#include <QFileInfo>
#include <QLabel>
#include <QLocale>
#include <QMenu>
#include <QScrollArea>
#include <QSplitter>
#include <QStackedLayout>
#include <QToolBar>
#include <QToolButton>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>
#include <cmath>
#include <file_question.h>
#include <labels.h>
#include <plain_text.h>
#include <set>
#include <utility>

namespace memoryviewer {

namespace {

constexpr int a_dataFrameTime = 40;
/** A hand sees more. */
constexpr int a_handFrameTime = 16;
constexpr int a_idleTime = 250;
/** Milliseconds without a sample from which on time is taken to pass without one. */
constexpr int a_silence = 300;
constexpr double a_microsecondsPerMillisecond = 1000;
constexpr double a_secondInMicroseconds = 1e6;
constexpr double a_defaultHoldTime = 0.5e6;
constexpr double a_intervalsHeld = 3;
/** Further from this computer's clock, a time is followed only when no better one comes. */
constexpr double a_plausibleDistance = 86400 * a_secondInMicroseconds;
constexpr int a_plausibleFor = 2000;
constexpr int a_significantDigits = 7;
constexpr int a_widthInCharacters = 110;
constexpr int a_heightInLines = 30;

struct NamedSpan {
    const char* fName;
    double fSeconds;
};
constexpr NamedSpan a_spans[] = {
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "&5 seconds"), 5},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "&10 seconds"), 10},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "&30 seconds"), 30},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "1 &minute"), 60},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "5 m&inutes"), 300},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "30 mi&nutes"), 1800},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotPanel", "1 &hour"), 3600},
};

double computerTime() {
    return static_cast<double>(QDateTime::currentMSecsSinceEpoch()) * a_microsecondsPerMillisecond;
}

}  // namespace

PlotPanel::PlotPanel(QWidget* parent)
    : QWidget(parent),
      fHistory(std::make_unique<PlotHistory>()),
      fTime(new TimeAxis(this)),
      fHoldTime(a_defaultHoldTime),
      fPages(new QStackedLayout),
      fContent(new QWidget(this)),
      fMessage(viewer::makeMessage("plotMessage", this)),
      fStatus(viewer::makeStatusLine("plotStatus", this)),
      fNotice(viewer::makeNotice("plotNotice", this)),
      fStack(new QSplitter(Qt::Vertical)),
      fLegend(new CurveLegend(this)),
      fExport(new PointExport(this)) {
    setObjectName(QStringLiteral("plotPanel"));
    setAcceptDrops(true);
    xBuild();
    xConnectTime();

    fFrameTimer.setSingleShot(true);
    fFrameTimer.setTimerType(Qt::PreciseTimer);
    connect(&fFrameTimer, &QTimer::timeout, this, &PlotPanel::xOnFrame);
    connect(&fIdleTimer, &QTimer::timeout, this, &PlotPanel::xOnIdle);
    connect(fExport, &PointExport::finished, this, &PlotPanel::xOnExported);
    fSinceFrame.start();
    xUpdatePlots();
}

PlotPanel::~PlotPanel() = default;

QSize PlotPanel::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {a_widthInCharacters * metrics.averageCharWidth(), a_heightInLines * metrics.height()};
}

void PlotPanel::xBuild() {
    auto* area = new QScrollArea(this);
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(fStack);
    fStack->setObjectName(QStringLiteral("plotStack"));
    fStack->setChildrenCollapsible(false);
    auto* columns = new QSplitter(this);
    columns->setChildrenCollapsible(false);
    columns->addWidget(area);
    columns->addWidget(fLegend);
    columns->setStretchFactor(0, 1);
    auto* content = new QVBoxLayout(fContent);
    content->setContentsMargins(0, 0, 0, 0);
    content->addWidget(columns);

    fMessage->setText(tr(
        "Nothing is plotted yet.\n\nDrag keys with numbers here, or plot them from their menu."));
    fNotice->hide();
    fPages->addWidget(fMessage);
    fPages->addWidget(fContent);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    xBuildToolBar();
    column->addWidget(fNotice);
    column->addLayout(fPages, 1);
    column->addWidget(fStatus);

    connect(fLegend, &CurveLegend::plotChosen, this, &PlotPanel::xSetCurrentPlot);
    connect(fLegend, &CurveLegend::namesDropped, this, &PlotPanel::xTakeDrop);
    connect(fLegend, &CurveLegend::contextMenuRequested, this, &PlotPanel::xShowMenu);
    connect(fLegend, &CurveLegend::removeRequested, this, [this](int plot, int key) {
        xChange([this, plot = static_cast<std::size_t>(plot), key] {
            if (key >= 0) {
                xUnplot(plot, key);
            } else {
                xRemovePlot(plot);
            }
        });
    });
}

QAction* PlotPanel::xAddAction(QToolBar* bar, const QString& text, const QString& hint,
                               const char* objectName, void (PlotPanel::*slot)()) {
    QAction* action = bar->addAction(text);
    action->setObjectName(QLatin1String(objectName));
    action->setToolTip(hint);
    if (slot != nullptr) {
        connect(action, &QAction::triggered, this, slot);
    }
    // Tool bars take no part in tabbing by themselves.
    bar->widgetForAction(action)->setFocusPolicy(Qt::StrongFocus);
    return action;
}

void PlotPanel::xBuildToolBar() {
    auto* bar = new QToolBar(tr("Plots"), this);
    bar->setToolButtonStyle(Qt::ToolButtonTextOnly);
    fFollowAction = xAddAction(bar, tr("&Follow"), tr("Follow the newest values (Space, End)"),
                               "plotFollow", nullptr);
    fFollowAction->setCheckable(true);
    fFollowAction->setChecked(true);
    connect(fFollowAction, &QAction::toggled, fTime, &TimeAxis::setFollowing);
    connect(fTime, &TimeAxis::followingChanged, fFollowAction, &QAction::setChecked);

    auto* spans = new QMenu(this);
    for (const NamedSpan& span : a_spans) {
        const double microseconds = span.fSeconds * a_secondInMicroseconds;
        connect(spans->addAction(tr(span.fName)), &QAction::triggered, this,
                [this, microseconds] { fTime->setSpan(microseconds); });
    }
    const auto addMenu = [this, bar](const QString& text, const QString& hint, const char* name,
                                     QMenu* menu) {
        QAction* action = xAddAction(bar, text, hint, name, nullptr);
        action->setMenu(menu);
        qobject_cast<QToolButton*>(bar->widgetForAction(action))
            ->setPopupMode(QToolButton::InstantPopup);
        return action;
    };
    addMenu(tr("&Time shown"), tr("Length of time shown (+ and -, wheel)"), "plotSpan", spans);
    QAction* all = xAddAction(bar, tr("Show &all"), tr("Show all points that are kept (Home)"),
                              "plotShowAll", &PlotPanel::showAll);
    xAddAction(bar, tr("&New plot"), tr("Add an empty plot for the next keys"), "plotNew",
               &PlotPanel::addPlot);
    QAction* clear = xAddAction(bar, tr("&Clear"), tr("Forget the points and go on with new ones"),
                                "plotClear", &PlotPanel::clearPoints);
    QAction* remove = xAddAction(bar, tr("Remove a&ll"), tr("Take all keys from the plots"),
                                 "plotRemoveAll", &PlotPanel::removeAll);
    auto* save = new QMenu(this);
    xAddSaveActions(*save);
    QAction* saveAction =
        addMenu(tr("&Save"), tr("Save the current plot or its points"), "plotSave", save);
    fActionsOnPoints = {all, clear, remove, saveAction};
    qobject_cast<QVBoxLayout*>(layout())->addWidget(bar);
}

void PlotPanel::xAddSaveActions(QMenu& menu) {
    menu.addAction(tr("Save &picture (PNG)\u2026"), this, &PlotPanel::askToSavePicture);
    menu.addAction(tr("Save p&oints shown (CSV)\u2026"), this, [this] { askToSavePoints(true); });
    menu.addAction(tr("Save all poin&ts (CSV)\u2026"), this, [this] { askToSavePoints(false); });
}

void PlotPanel::xConnectTime() {
    connect(fTime, &TimeAxis::changed, this, [this] { xSchedule(Pace::Hand); });
    connect(fTime, &TimeAxis::followingChanged, this, [this] {
        xUpdateStatus();
        xSchedule(Pace::Hand);
    });
    connect(fTime, &TimeAxis::cursorMoved, this, [this] { xUpdateValues(); });
}

bool PlotPanel::addCurve(const QString& keyName, const QString& unit, CurveShape shape) {
    return xPlot(keyName, unit, shape, fCurrent);
}

bool PlotPanel::addCurveToNewPlot(const QString& keyName, const QString& unit, CurveShape shape) {
    return xPlot(keyName, unit, shape, fPlots.size());
}

/** @param plot one behind the last makes a new one */
bool PlotPanel::xPlot(const QString& name, const QString& unit, CurveShape shape,
                      std::size_t plot) {
    bool isPlotted = false;
    xChange([&] {
        const int key = xKeyFor(name, unit, shape);
        if (key < 0) {
            xSay(tr("No more than %1 keys are plotted at a time.").arg(a_maxKeys));
        } else if (plot < fPlots.size() || xAddPlot()) {
            const Key& description = fKeys.at(key);
            fPlots[std::min(plot, fPlots.size() - 1)]->setCurve(
                key, description.fShape, curvePen(description.fColour, palette()));
            isPlotted = true;
        }
    });
    return isPlotted;
}

/** Does something to the choice of keys and plots, and what follows from it. */
void PlotPanel::xChange(const std::function<void()>& change) {
    const QStringList before = plottedKeys();
    change();
    xForgetUnplotted();
    xUpdatePlots();
    if (plottedKeys() != before) {
        Q_EMIT plottedKeysChanged();
    }
}

/** @return the handle of a key, newly made when it is not plotted; -1 when there are too many */
int PlotPanel::xKeyFor(const QString& name, const QString& unit, CurveShape shape) {
    const int known = keyHandle(name);
    if (known >= 0 || static_cast<int>(fKeys.size()) >= a_maxKeys) {
        return known;
    }
    const int key = fNextKey++;
    fKeys[key] = {name, unit, shape, xFreeColour()};
    fHistory->add(key);
    return key;
}

int PlotPanel::xFreeColour() const {
    std::set<int> used;
    for (const auto& [key, description] : fKeys) {
        used.insert(description.fColour);
    }
    int colour = 0;
    while (used.count(colour) != 0) {
        ++colour;
    }
    return colour;
}

void PlotPanel::removeCurve(const QString& keyName) {
    const int key = keyHandle(keyName);
    xChange([this, key] {
        for (std::size_t plot = fPlots.size(); plot-- > 0;) {
            xUnplot(plot, key);
        }
    });
}

/** A plot that becomes empty is removed. To be called in xChange(). */
void PlotPanel::xUnplot(std::size_t plot, int key) {
    if (fPlots[plot]->contains(key)) {
        fPlots[plot]->removeCurve(key);
        if (fPlots[plot]->keys().empty()) {
            xRemovePlot(plot);
        }
    }
}

void PlotPanel::xForgetUnplotted() {
    for (auto key = fKeys.begin(); key != fKeys.end();) {
        const bool isPlotted =
            std::any_of(fPlots.begin(), fPlots.end(),
                        [key](const PlotView* plot) { return plot->contains(key->first); });
        if (isPlotted) {
            ++key;
        } else {
            fHistory->remove(key->first);
            key = fKeys.erase(key);
        }
    }
}

void PlotPanel::describeKey(const QString& keyName, const QString& unit, CurveShape shape) {
    const int key = keyHandle(keyName);
    if (key < 0 || (fKeys.at(key).fUnit == unit && fKeys.at(key).fShape == shape)) {
        return;
    }
    fKeys.at(key).fUnit = unit;
    fKeys.at(key).fShape = shape;
    xUpdatePlots();
}

QStringList PlotPanel::plottedKeys() const {
    QStringList names;
    for (const auto& [key, description] : fKeys) {
        names += description.fName;
    }
    return names;
}

int PlotPanel::keyHandle(const QString& keyName) const {
    const auto key = std::find_if(fKeys.begin(), fKeys.end(), [&keyName](const auto& each) {
        return each.second.fName == keyName;
    });
    return key != fKeys.end() ? key->first : -1;
}

void PlotPanel::append(const std::vector<PlotSample>& samples) {
    if (samples.empty()) {
        return;
    }
    for (const PlotSample& sample : samples) {
        fHistory->append(sample.fKey, {sample.fTime, sample.fValue});
    }
    xFollow(samples);
    const bool isInView = fTime->isFollowing() || fTime->right() >= fNewest;
    if (isInView) {
        xSchedule(Pace::Data);
    }
}

/**
 * Chooses the newest time that the plots follow. A robot may send nonsense for some keys, which
 * must not take the others out of sight, and its clock may be set back, which must.
 */
void PlotPanel::xFollow(const std::vector<PlotSample>& samples) {
    const double here = computerTime();
    double newest = -std::numeric_limits<double>::infinity();
    double newestPlausible = newest;
    for (const PlotSample& sample : samples) {
        const auto time = static_cast<double>(sample.fTime);
        newest = std::max(newest, time);
        if (std::fabs(time - here) < a_plausibleDistance) {
            newestPlausible = std::max(newestPlausible, time);
        }
    }
    if (std::isfinite(newestPlausible)) {
        newest = newestPlausible;
        fSincePlausible.start();
    } else if (fSincePlausible.isValid() && fSincePlausible.elapsed() < a_plausibleFor) {
        return;
    }
    // Keys of one robot come in slightly other orders; only a clock that was set goes back further.
    const bool isDisorder = newest < fNewest && fNewest - newest < a_secondInMicroseconds;
    if (!isDisorder) {
        fNewest = newest;
        fSinceSample.start();
    }
}

/** The newest time: that of the newest sample, and when none comes although curves go on, since
 *  nothing changes, what has passed since. */
double PlotPanel::xNow() const {
    const bool isSilent = fSinceSample.isValid() && fSinceSample.elapsed() > a_silence;
    const bool isGoingOn = std::any_of(fKeys.begin(), fKeys.end(), [this](const auto& key) {
        return fHistory->curve(key.first).isGoingOn();
    });
    if (!isSilent || !isGoingOn) {
        return fNewest;
    }
    return fNewest +
           static_cast<double>(fSinceSample.elapsed() - a_silence) * a_microsecondsPerMillisecond;
}

void PlotPanel::keyGone(const QString& keyName) {
    fNewest = xNow();
    fHistory->interrupt(keyHandle(keyName), pointTime(fNewest));
    xSchedule(Pace::Data);
}

void PlotPanel::breakCurves() {
    fNewest = xNow();
    fHistory->interruptAll(pointTime(fNewest));
    xSchedule(Pace::Data);
}

void PlotPanel::setMaximumPoints(std::size_t points) {
    fHistory->setMaximum(points);
    xSchedule(Pace::Data);
}

void PlotPanel::setUpdateInterval(qint64 microseconds) {
    fHoldTime = a_intervalsHeld * static_cast<double>(microseconds);
    for (PlotView* plot : fPlots) {
        plot->setHoldTime(fHoldTime);
    }
    xSchedule(Pace::Data);
}

void PlotPanel::setKeyCheck(std::function<bool(const QString&)> isPlottable) {
    fIsPlottable = std::move(isPlottable);
}

QVariantMap PlotPanel::saveState() const {
    QVariantList plots;
    for (const PlotView* plot : fPlots) {
        QVariantList curves;
        for (const int key : plot->keys()) {
            const Key& description = fKeys.at(key);
            curves +=
                QVariantMap{{QStringLiteral("key"), description.fName},
                            {QStringLiteral("unit"), description.fUnit},
                            {QStringLiteral("steps"), description.fShape == CurveShape::Steps}};
        }
        plots.push_back(curves);
    }
    return {{QStringLiteral("plots"), plots}, {QStringLiteral("span"), fTime->span()}};
}

void PlotPanel::restoreState(const QVariantMap& state) {
    removeAll();
    const double span = state.value(QStringLiteral("span")).toDouble();
    if (std::isfinite(span) && span > 0) {
        fTime->setSpan(span);
    }
    xChange([&] {
        for (const QVariant& plot : state.value(QStringLiteral("plots")).toList()) {
            xRestorePlot(plot.toList());
        }
    });
}

void PlotPanel::xRestorePlot(const QVariantList& curves) {
    const std::size_t before = fPlots.size();
    for (const QVariant& curve : curves) {
        const QVariantMap saved = curve.toMap();
        const bool hasSteps = saved.value(QStringLiteral("steps")).toBool();
        xPlot(saved.value(QStringLiteral("key")).toString(),
              saved.value(QStringLiteral("unit")).toString(),
              hasSteps ? CurveShape::Steps : CurveShape::Line, before);
    }
}

void PlotPanel::removeAll() {
    xChange([this] {
        while (!fPlots.empty()) {
            xRemovePlot(fPlots.size() - 1);
        }
    });
}

void PlotPanel::clearPoints() {
    fHistory->clear();
    fSinceSample.invalidate();
    fTime->setFollowing(true);
    fIsStale = true;
    xSchedule(Pace::Hand);
}

void PlotPanel::addPlot() {
    xChange([this] { xAddPlot(); });
}

/** To be called in xChange(). @return whether there is a new plot */
bool PlotPanel::xAddPlot() {
    if (static_cast<int>(fPlots.size()) >= a_maxPlots) {
        xSay(tr("No more than %1 plots are shown at a time.").arg(a_maxPlots));
        return false;
    }
    fPlots.push_back(xMakePlot());
    fCurrent = fPlots.size() - 1;
    return true;
}

PlotView* PlotPanel::xMakePlot() {
    auto* plot = new PlotView(fTime, fHistory.get(), this);
    plot->setHoldTime(fHoldTime);
    fStack->addWidget(plot);
    const PlotCanvas* canvas = plot->plotCanvas();
    connect(plot, &PlotView::refreshNeeded, this, [this] { xSchedule(Pace::Hand); });
    connect(plot, &PlotView::namesDropped, this,
            [this, plot](const QStringList& names, const QObject* source) {
                const bool isMoved = source == fLegend;
                xTakeDrop(names, xIndexOf(plot), isMoved ? fLegend->currentPlot() : -1);
            });
    connect(canvas, &PlotCanvas::activated, this,
            [this, plot] { xSetCurrentPlot(xIndexOf(plot)); });
    connect(canvas, &PlotCanvas::fitRequested, this, [this, plot](bool all) {
        plot->fitValues();
        if (all) {
            showAll();
        }
    });
    connect(canvas, &PlotCanvas::contextMenuRequested, this, &PlotPanel::xShowMenu);
    return plot;
}

/** To be called in xChange(). */
void PlotPanel::xRemovePlot(std::size_t plot) {
    PlotView* view = fPlots[plot];
    fPlots.erase(fPlots.begin() + static_cast<std::ptrdiff_t>(plot));
    view->hide();
    // It may be one of its own signals that asks for this.
    view->deleteLater();
    if (fCurrent > 0 && fCurrent >= plot) {
        --fCurrent;
    }
}

void PlotPanel::xSetCurrentPlot(int plot) {
    if (plot >= 0 && static_cast<std::size_t>(plot) != fCurrent) {
        fCurrent = static_cast<std::size_t>(plot);
        fLegend->setCurrentPlot(plot);
    }
}

int PlotPanel::xIndexOf(const PlotView* plot) const {
    const auto found = std::find(fPlots.begin(), fPlots.end(), plot);
    return found != fPlots.end() ? static_cast<int>(found - fPlots.begin()) : -1;
}

void PlotPanel::xTakeDrop(const QStringList& names, int toPlot, int fromPlot) {
    const std::size_t to = toPlot >= 0 ? static_cast<std::size_t>(toPlot) : fPlots.size();
    QStringList refused;
    for (const QString& name : names) {
        if (fromPlot >= 0) {
            xMove(name, static_cast<std::size_t>(fromPlot), to);
        } else if (fIsPlottable && !fIsPlottable(name)) {
            refused += viewer::plainText(name.toStdString());
        } else if (!xPlot(name, QString(), CurveShape::Line, std::min(to, fPlots.size()))) {
            return;
        }
    }
    if (!refused.isEmpty()) {
        xSay(tr("Not plotted, since its values are no numbers: %1.")
                 .arg(refused.join(QStringLiteral(", "))));
    }
}

void PlotPanel::xMove(const QString& name, std::size_t fromPlot, std::size_t toPlot) {
    const int key = keyHandle(name);
    if (key < 0 || fromPlot == toPlot) {
        return;
    }
    xChange([&] {
        if (xPlot(name, QString(), CurveShape::Line, toPlot)) {
            xUnplot(fromPlot, key);
        }
    });
}

void PlotPanel::xApplyPens() {
    for (PlotView* plot : fPlots) {
        for (const int key : std::vector<int>(plot->keys())) {
            const Key& description = fKeys.at(key);
            plot->setCurve(key, description.fShape, curvePen(description.fColour, palette()));
        }
    }
}

/** Brings all that depends on the choice of keys and plots up to date. */
void PlotPanel::xUpdatePlots() {
    xApplyPens();
    std::vector<std::vector<LegendEntry>> legend;
    for (std::size_t i = 0; i < fPlots.size(); ++i) {
        PlotView* plot = fPlots[i];
        const std::vector<LegendEntry> entries = xEntriesOf(*plot);
        const bool haveOneUnit =
            !entries.empty() && std::all_of(entries.begin(), entries.end(), [&](const auto& entry) {
                return entry.fUnit == entries.front().fUnit;
            });
        plot->setUnit(haveOneUnit ? entries.front().fUnit : QString());
        plot->setShowsTimes(i + 1 == fPlots.size());
        plot->plotCanvas()->setAccessibleName(tr("Plot %1").arg(i + 1));
        QStringList names;
        for (const LegendEntry& entry : entries) {
            names += legendText(entry);
        }
        plot->plotCanvas()->setAccessibleDescription(names.join(QStringLiteral(", ")));
        legend.push_back(entries);
    }
    fLegend->setPlots(legend);
    fLegend->setCurrentPlot(static_cast<int>(fCurrent));
    fPages->setCurrentWidget(fPlots.empty() ? static_cast<QWidget*>(fMessage) : fContent);
    for (QAction* action : fActionsOnPoints) {
        action->setEnabled(!fPlots.empty());
    }
    fIsStale = true;
    xUpdateTexts();
    xSchedule(Pace::Hand);
}

std::vector<LegendEntry> PlotPanel::xEntriesOf(const PlotView& plot) const {
    std::vector<LegendEntry> entries;
    for (const int key : plot.keys()) {
        const Key& description = fKeys.at(key);
        entries.push_back({key, description.fName, description.fUnit, plot.penOf(key)});
    }
    return entries;
}

bool PlotPanel::xCanBeSeen() const {
    const QWindow* handle = window()->windowHandle();
    return isVisible() && handle != nullptr && handle->isExposed();
}

void PlotPanel::xSchedule(Pace pace) {
    fIsStale = true;
    if (!xCanBeSeen()) {
        return;
    }
    const int frame = pace == Pace::Hand ? a_handFrameTime : a_dataFrameTime;
    const int rest =
        std::max(0, frame - static_cast<int>(std::min<qint64>(fSinceFrame.elapsed(), frame)));
    if (!fFrameTimer.isActive() || fFrameTimer.remainingTime() > rest) {
        fFrameTimer.start(rest);
    }
}

void PlotPanel::xOnFrame() {
    if (!xCanBeSeen()) {
        return;
    }
    fSinceFrame.start();
    fIsStale = false;
    fTime->setNow(xNow());
    double extent = 0;
    for (PlotView* plot : fPlots) {
        plot->refresh();
        extent = std::max(extent, plot->axisExtent());
    }
    for (PlotView* plot : fPlots) {
        plot->setAxisExtent(extent);
    }
    // What the axis has just told is drawn already.
    fFrameTimer.stop();
    fIsStale = false;
}

/** Also finds out that the panel can be seen again, which no event tells in a minimised window. */
void PlotPanel::xOnIdle() {
    if (!xCanBeSeen()) {
        return;
    }
    xUpdateTexts();
    if (fIsStale || (fTime->isFollowing() && xNow() > fTime->now())) {
        xSchedule(Pace::Data);
    }
}

void PlotPanel::xUpdateTexts() {
    xUpdateValues();
    xUpdateStatus();
}

void PlotPanel::xUpdateValues() {
    if (!xCanBeSeen()) {
        return;
    }
    const auto cursor = fTime->cursor();
    fLegend->setValuesTitle(cursor ? timeText(*cursor, fTime->span() / std::max(1, width()))
                                   : tr("Newest value"));
    for (const auto& [key, description] : fKeys) {
        fLegend->setValue(key, xValueText(key));
    }
}

QString PlotPanel::xValueText(int key) const {
    const CurveHistory& curve = fHistory->curve(key);
    if (curve.isEmpty()) {
        return tr("no value yet");
    }
    const auto cursor = fTime->cursor();
    const auto point = cursor ? curve.pointAt(*cursor) : curve.last();
    if (!point || (cursor && *cursor > fTime->now())) {
        return tr("none");
    }
    return std::isnan(point->fValue) ? tr("none")
                                     : QLocale().toString(point->fValue, 'g', a_significantDigits);
}

/** An answer to something that the user did; it stays until the next one. */
void PlotPanel::xSay(const QString& text) {
    fNotice->setText(text);
    fNotice->setAccessibleName(text);
    fNotice->setVisible(!text.isEmpty());
    xUpdateStatus();
}

void PlotPanel::xShowMenu(const QPoint& position) {
    if (fPlots.empty()) {
        return;
    }
    const std::size_t plot = fCurrent;
    const int key = fLegend->currentPlot() == static_cast<int>(plot) ? fLegend->currentKey() : -1;
    auto* menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("plotMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    if (key >= 0) {
        const QString name = fKeys.at(key).fName;
        menu->addAction(tr("&Remove curve"), this,
                        [this, plot, key] { xChange([=] { xUnplot(plot, key); }); });
        QMenu* targets = menu->addMenu(tr("&Move curve to"));
        for (std::size_t to = 0; to < fPlots.size(); ++to) {
            QAction* target = targets->addAction(tr("Plot %1").arg(to + 1));
            target->setEnabled(to != plot);
            connect(target, &QAction::triggered, this,
                    [this, name, plot, to] { xMove(name, plot, to); });
        }
        targets->addAction(tr("&New plot"), this,
                           [this, name, plot] { xMove(name, plot, fPlots.size()); });
        menu->addSeparator();
    }
    menu->addAction(tr("&Fit values"), fPlots[plot], &PlotView::fitValues);
    menu->addAction(tr("Show &all points"), this, &PlotPanel::showAll);
    xAddSaveActions(*menu);
    menu->addSeparator();
    menu->addAction(tr("Remove p&lot"), this,
                    [this, plot] { xChange([=] { xRemovePlot(plot); }); });
    menu->popup(position);
}

void PlotPanel::showAll() {
    bool isEmpty = true;
    double left = 0;
    double right = 0;
    for (const auto& [key, description] : fKeys) {
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

void PlotPanel::askToSavePicture() {
    askForFile(
        this,
        {tr("Save picture"), tr("Pictures (*.png)"), QStringLiteral("png"), QStringLiteral("plot")},
        [this](const QString& file) { savePicture(file); });
}

void PlotPanel::askToSavePoints(bool onlyShown) {
    askForFile(this,
               {tr("Save points"), tr("Comma-separated values (*.csv)"), QStringLiteral("csv"),
                QStringLiteral("plot")},
               [this, onlyShown](const QString& file) { savePoints(file, onlyShown); });
}

void PlotPanel::savePicture(const QString& fileName) {
    if (fPlots.empty()) {
        return;
    }
    PlotView& plot = *fPlots[fCurrent];
    const QString error = memoryviewer::savePicture(plotPicture(plot, xEntriesOf(plot)), fileName);
    const QString name = viewer::plainText(QFileInfo(fileName).fileName().toStdString());
    xSay(error.isEmpty() ? tr("Picture saved in %1.").arg(name) : error);
}

void PlotPanel::savePoints(const QString& fileName, bool onlyShown) {
    if (fPlots.empty()) {
        return;
    }
    if (fExport->isRunning()) {
        xSay(tr("Points are being saved already."));
        return;
    }
    std::vector<ExportedCurve> curves;
    for (const int key : fPlots[fCurrent]->keys()) {
        const Key& description = fKeys.at(key);
        curves.push_back({{description.fName.toStdString(), description.fUnit.toStdString()},
                          fHistory->curve(key)});
    }
    constexpr double forever = std::numeric_limits<double>::infinity();
    fExport->start(std::move(curves), onlyShown ? fTime->left() : -forever,
                   onlyShown ? fTime->right() : forever, fileName);
    xUpdateStatus();
}

void PlotPanel::xOnExported(const QString& fileName, qint64 rows, const QString& error) {
    const QString name = viewer::plainText(QFileInfo(fileName).fileName().toStdString());
    const QString done = rows == 1
                             ? tr("1 point saved in %1.").arg(name)
                             : tr("%1 points saved in %2.").arg(QLocale().toString(rows), name);
    xSay(error.isEmpty() ? done : error);
}

void PlotPanel::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    fIdleTimer.start(a_idleTime);
    fIsStale = true;
}

void PlotPanel::hideEvent(QHideEvent* event) {
    fIdleTimer.stop();
    fFrameTimer.stop();
    QWidget::hideEvent(event);
}

void PlotPanel::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        xUpdatePlots();
    }
}

void PlotPanel::dragEnterEvent(QDragEnterEvent* event) {
    event->setAccepted(!keysFromMime(event->mimeData()).isEmpty());
}

/** Beside the plots: a new one. */
void PlotPanel::dropEvent(QDropEvent* event) {
    const bool isMoved = event->source() == fLegend;
    event->acceptProposedAction();
    xTakeDrop(keysFromMime(event->mimeData()), -1, isMoved ? fLegend->currentPlot() : -1);
}

void PlotPanel::xUpdateStatus() {
    if (fPlots.empty()) {
        viewer::setStatus(*fStatus, tr("No plots"));
        return;
    }
    const QLocale locale;
    const QString points = tr("%1 of %2 points kept")
                               .arg(locale.toString(static_cast<qulonglong>(fHistory->size())),
                                    locale.toString(static_cast<qulonglong>(fHistory->maximum())));
    const QString state = fTime->isFollowing()
                              ? tr("following")
                              : tr("paused: Space or End follows the newest values");
    QStringList parts{state, points};
    if (fExport->isRunning()) {
        parts += tr("saving points\u2026");
    }
    viewer::setStatus(*fStatus, parts.join(viewer::statusSeparator()));
}

}  // namespace memoryviewer
