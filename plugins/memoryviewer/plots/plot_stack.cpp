#include "plots/plot_stack.h"

#include "plots/plot_canvas.h"
#include "plots/plot_view.h"

#include <QEvent>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr double a_defaultHoldTime = 0.5e6;

}  // namespace

PlotStack::PlotStack(TimeAxis* time, const PlotHistory* history, QWidget* parent)
    : QSplitter(Qt::Vertical, parent),
      fTime(time),
      fHistory(history),
      fHoldTime(a_defaultHoldTime) {
    setObjectName(QStringLiteral("plotStack"));
    setChildrenCollapsible(false);
}

PlotView* PlotStack::addPlot() {
    auto* plot = new PlotView(fTime, fHistory, this);
    plot->setHoldTime(fHoldTime);
    xConnect(plot);
    addWidget(plot);
    fPlots.push_back(plot);
    fCurrent = fPlots.size() - 1;
    return plot;
}

void PlotStack::xConnect(PlotView* plot) {
    const PlotCanvas* canvas = plot->plotCanvas();
    connect(plot, &PlotView::refreshNeeded, this, &PlotStack::refreshNeeded);
    connect(plot, &PlotView::namesDropped, this,
            [this, plot](const QStringList& names, QObject* source) {
                Q_EMIT namesDropped(names, xNumberOf(plot), source);
            });
    connect(canvas, &PlotCanvas::activated, this, [this, plot] { setCurrent(xNumberOf(plot)); });
    connect(canvas, &PlotCanvas::fitRequested, this, [this, plot](bool all) {
        plot->fitValues();
        if (all) {
            Q_EMIT showAllRequested();
        }
    });
    connect(canvas, &PlotCanvas::contextMenuRequested, this, &PlotStack::contextMenuRequested);
}

void PlotStack::removePlot(std::size_t number) {
    PlotView* plot = fPlots[number];
    fPlots.erase(fPlots.begin() + static_cast<std::ptrdiff_t>(number));
    plot->hide();
    // This may be called from one of its signals.
    plot->deleteLater();
    if (fCurrent > 0 && fCurrent >= number) {
        --fCurrent;
    }
}

void PlotStack::setCurrent(int number) {
    const auto wanted = static_cast<std::size_t>(number);
    if (number >= 0 && wanted < fPlots.size() && wanted != fCurrent) {
        fCurrent = wanted;
        Q_EMIT currentChanged(number);
    }
}

int PlotStack::xNumberOf(const PlotView* plot) const {
    const auto found = std::find(fPlots.begin(), fPlots.end(), plot);
    return found != fPlots.end() ? static_cast<int>(found - fPlots.begin()) : -1;
}

void PlotStack::setHoldTime(double microseconds) {
    fHoldTime = microseconds;
    for (PlotView* plot : fPlots) {
        plot->setHoldTime(microseconds);
    }
}

void PlotStack::changeEvent(QEvent* event) {
    QSplitter::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        Q_EMIT paletteChanged();
    }
}

void PlotStack::refresh() {
    double extent = 0;
    for (PlotView* plot : fPlots) {
        plot->refresh();
        extent = std::max(extent, plot->axisExtent());
    }
    for (PlotView* plot : fPlots) {
        plot->setAxisExtent(extent);
    }
}

}  // namespace memoryviewer
