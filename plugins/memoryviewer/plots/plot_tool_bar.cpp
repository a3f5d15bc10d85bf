#include "plots/plot_tool_bar.h"

#include "plots/plot_saving.h"
#include "plots/time_axis.h"

#include <base/time.h>

#include <QAction>
#include <QMenu>
#include <QToolButton>

#include <cmath>

namespace memoryviewer {

namespace {

struct NamedSpan {
    const char* fName;
    double fSeconds;
};
constexpr NamedSpan a_spans[] = {
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "&5 seconds"), 5},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "&10 seconds"), 10},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "&30 seconds"), 30},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "1 &minute"), 60},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "5 m&inutes"), 300},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "30 mi&nutes"), 1800},
    {QT_TRANSLATE_NOOP("memoryviewer::PlotToolBar", "1 &hour"), 3600},
};

}  // namespace

PlotToolBar::PlotToolBar(TimeAxis* time, PlotSaving* saving, QWidget* parent)
    : QToolBar(tr("Plots"), parent) {
    setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* save = new QMenu(this);
    saving->addTo(*save);

    xAddFollow(time);
    xAddMenu(tr("&Time shown"), tr("Time span shown (+ and -, wheel)"), "plotSpan",
             xMakeSpans(time));
    QAction* all = xAdd(tr("Show &all"), tr("Show all stored points (Home)"), "plotShowAll");
    QAction* add = xAdd(tr("&New plot"), tr("Add an empty plot for the next keys"), "plotNew");
    fClear = xAdd(tr("&Clear"), tr("Clear the points and continue with new ones"), "plotClear");
    QAction* remove =
        xAdd(tr("Remove a&ll"), tr("Remove all keys from the plots"), "plotRemoveAll");
    QAction* saveAction =
        xAddMenu(tr("&Save"), tr("Save the current plot or its points"), "plotSave", save);

    connect(all, &QAction::triggered, this, &PlotToolBar::showAllRequested);
    connect(add, &QAction::triggered, this, &PlotToolBar::newPlotRequested);
    connect(fClear, &QAction::triggered, this, &PlotToolBar::clearRequested);
    // A recording is complete: there are no new points to continue with.
    connect(time, &TimeAxis::replayMoved, fClear,
            [this, time] { fClear->setVisible(!time->replay()); });
    connect(remove, &QAction::triggered, this, &PlotToolBar::removeAllRequested);
    fActionsOnPlots = {all, fClear, remove, saveAction};
}

void PlotToolBar::setHasPlots(bool hasPlots) {
    for (QAction* action : fActionsOnPlots) {
        action->setEnabled(hasPlots);
    }
}

void PlotToolBar::xAddFollow(TimeAxis* time) {
    QAction* follow =
        xAdd(tr("&Follow"), tr("Follow the newest values (Space, End)"), "plotFollow");
    follow->setCheckable(true);
    follow->setChecked(time->isFollowing());
    connect(follow, &QAction::toggled, time, &TimeAxis::setFollowing);
    connect(time, &TimeAxis::followingChanged, follow, &QAction::setChecked);
}

QMenu* PlotToolBar::xMakeSpans(TimeAxis* time) {
    auto* spans = new QMenu(this);
    for (const NamedSpan& span : a_spans) {
        const double microseconds = span.fSeconds * base::a_microsecondsPerSecond;
        QAction* action = spans->addAction(tr(span.fName));
        action->setCheckable(true);
        connect(action, &QAction::triggered, time,
                [time, microseconds] { time->setSpan(microseconds); });
        connect(spans, &QMenu::aboutToShow, action, [time, action, microseconds] {
            action->setChecked(std::abs(time->span() - microseconds) < 1);
        });
    }
    return spans;
}

QAction* PlotToolBar::xAdd(const QString& text, const QString& hint, const char* objectName) {
    QAction* action = addAction(text);
    action->setObjectName(QLatin1String(objectName));
    action->setToolTip(hint);
    // By default tool bars are not in the tab order.
    widgetForAction(action)->setFocusPolicy(Qt::StrongFocus);
    return action;
}

QAction* PlotToolBar::xAddMenu(const QString& text, const QString& hint, const char* objectName,
                               QMenu* menu) {
    QAction* action = xAdd(text, hint, objectName);
    action->setMenu(menu);
    qobject_cast<QToolButton*>(widgetForAction(action))->setPopupMode(QToolButton::InstantPopup);
    return action;
}

}  // namespace memoryviewer
