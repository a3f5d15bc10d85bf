#include "plots/plot_view.h"

#include "plots/axis_scales.h"
#include "plots/curve_item.h"
#include "plots/key_mime.h"
#include "plots/plot_canvas.h"
#include "plots/plot_history.h"
#include "plots/time_axis.h"

#include <obvista/viewer/plain_text.h>

#include <QDropEvent>
#include <QMimeData>
#include <qwt_plot_grid.h>
#include <qwt_plot_layout.h>
#include <qwt_scale_widget.h>

#include <algorithm>

namespace memoryviewer {

namespace {

constexpr int a_maxUnitLength = 24;
constexpr double a_defaultHoldTime = 0.5e6;
constexpr int a_charactersPerTime = 16;
constexpr int a_linesPerValue = 3;
constexpr int a_minimumLines = 5;
/** Height in lines from which the axis of time has a title. */
constexpr int a_linesWithTitle = 9;
constexpr int a_lines = 14;
constexpr int a_minimumCharacters = 30;
constexpr int a_characters = 70;
constexpr qreal a_gridStrength = 0.15;

}  // namespace

PlotView::PlotView(TimeAxis* time, const PlotHistory* history, QWidget* parent)
    : QwtPlot(parent),
      fTime(time),
      fHistory(history),
      fCanvas(new PlotCanvas(time, this)),
      fTimeLabels(new TimeScaleDraw),
      fGrid(std::make_unique<QwtPlotGrid>()),
      fHoldTime(a_defaultHoldTime) {
    setObjectName(QStringLiteral("plot"));
    setCanvas(fCanvas);
    setAcceptDrops(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAutoReplot(false);
    setAxisScaleDraw(xBottom, fTimeLabels);
    setAxisScaleDraw(yLeft, new ValueScaleDraw);
    plotLayout()->setAlignCanvasToScales(true);
    for (const int axis : {int(xBottom), int(yLeft)}) {
        axisWidget(axis)->setMargin(0);
        // Qwt's default fonts are smaller than the user's.
        setAxisFont(axis, font());
    }
    fGrid->attach(this);
    connect(fCanvas, &PlotCanvas::valuesChosen, this, &PlotView::setValues);
    xApplyPalette();
}

PlotView::~PlotView() {
    // Otherwise Qwt deletes the attached items.
    for (const auto& item : fItems) {
        item->detach();
    }
    fGrid->detach();
}

void PlotView::setCurve(int key, CurveShape shape, const QPen& pen) {
    CurveItem* item = xItem(key);
    if (item == nullptr) {
        fItems.push_back(std::make_unique<CurveItem>(key));
        fKeys.push_back(key);
        item = fItems.back().get();
        item->attach(this);
    }
    item->setShape(shape);
    item->setPen(pen);
}

void PlotView::removeCurve(int key) {
    const auto item = std::find_if(fItems.begin(), fItems.end(),
                                   [key](const auto& each) { return each->key() == key; });
    if (item != fItems.end()) {
        (*item)->detach();
        fItems.erase(item);
        fKeys.erase(std::find(fKeys.begin(), fKeys.end(), key));
    }
}

bool PlotView::contains(int key) const {
    return xItem(key) != nullptr;
}

QPen PlotView::penOf(int key) const {
    const CurveItem* item = xItem(key);
    return item != nullptr ? item->pen() : QPen();
}

CurveItem* PlotView::xItem(int key) const {
    const auto item = std::find_if(fItems.begin(), fItems.end(),
                                   [key](const auto& each) { return each->key() == key; });
    return item != fItems.end() ? item->get() : nullptr;
}

void PlotView::setUnit(const QString& unit) {
    // A blank reserves the space of a unit, so that all plots start at the same position.
    const QString text = obvista::plainText(unit.toStdString(), a_maxUnitLength);
    QwtText title(text.isEmpty() ? QStringLiteral(" ") : text, QwtText::PlainText);
    title.setFont(font());
    setAxisTitle(yLeft, title);
}

void PlotView::setShowsTimes(bool showsTimes) {
    enableAxis(xBottom, showsTimes);
}

void PlotView::refresh() {
    DrawnPart part;
    part.fLeft = fTime->left();
    part.fRight = fTime->right();
    part.fColumns = std::max(1, qRound(fCanvas->width() * devicePixelRatioF()));
    part.fNow = fTime->knownUntil();
    part.fHoldTime = fHoldTime;
    for (const auto& item : fItems) {
        item->prepare(fHistory->curve(item->key()), part);
    }
    xFitTimes();
    xFitValues();
    replot();
}

void PlotView::xFitTimes() {
    const int character = fontMetrics().averageCharWidth();
    const int labels = fCanvas->width() / std::max(1, a_charactersPerTime * character);
    fTimeLabels->setLabelRoom(a_charactersPerTime * character / 2.0);
    setAxisScaleDiv(xBottom, timeScale(fTime->left(), fTime->right(), labels));
    if (axisEnabled(xBottom)) {
        QwtText title(xTitleOfTimes(), QwtText::PlainText);
        title.setFont(font());
        setAxisTitle(xBottom, title);
    }
}

/** Returns an empty text where it would take the room of the curves. */
QString PlotView::xTitleOfTimes() const {
    if (height() < a_linesWithTitle * fontMetrics().height()) {
        return {};
    }
    const QString day = dayText(fTime->right());
    //: title of the time axis; %1 is a date
    return day.isEmpty() ? tr("Robot's time") : tr("Robot's time, %1").arg(day);
}

void PlotView::xFitValues() {
    ValueSpan values;
    if (fChosen) {
        values = *fChosen;
    } else {
        for (const auto& item : fItems) {
            addValues(values, item->drawn(), fTime->left(), fTime->right());
        }
        values = roomFor(values);
    }
    const int labels = fCanvas->height() / std::max(1, a_linesPerValue * fontMetrics().height());
    setAxisScaleDiv(yLeft, valueScale(values.fMinimum, values.fMaximum, std::max(labels, 2)));
}

void PlotView::fitValues() {
    fChosen.reset();
    Q_EMIT refreshNeeded();
}

void PlotView::setValues(double low, double high) {
    fChosen = ValueSpan{low, high};
    Q_EMIT refreshNeeded();
}

double PlotView::axisExtent() const {
    const QwtScaleDraw* labels = axisScaleDraw(yLeft);
    const QFont font = axisWidget(yLeft)->font();
    return labels->maxLabelWidth(font) + labels->spacing() + labels->maxTickLength();
}

void PlotView::setAxisExtent(double extent) {
    if (extent != axisScaleDraw(yLeft)->minimumExtent()) {
        axisScaleDraw(yLeft)->setMinimumExtent(extent);
        updateLayout();
        replot();
    }
}

QSize PlotView::sizeHint() const {
    return {a_characters * fontMetrics().averageCharWidth(), a_lines * fontMetrics().height()};
}

QSize PlotView::minimumSizeHint() const {
    return {a_minimumCharacters * fontMetrics().averageCharWidth(),
            a_minimumLines * fontMetrics().height()};
}

void PlotView::changeEvent(QEvent* event) {
    QwtPlot::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::FontChange) {
        xApplyPalette();
        Q_EMIT refreshNeeded();
    }
}

void PlotView::resizeEvent(QResizeEvent* event) {
    QwtPlot::resizeEvent(event);
    Q_EMIT refreshNeeded();
}

void PlotView::xApplyPalette() {
    if (!fGrid) {
        return;  // while Qwt constructs the plot
    }
    setCanvasBackground(palette().brush(QPalette::Base));
    QColor line = palette().color(QPalette::Text);
    line.setAlphaF(a_gridStrength);
    fGrid->setPen(line, 0);
}

void PlotView::dragEnterEvent(QDragEnterEvent* event) {
    if (!keysFromMime(event->mimeData()).isEmpty()) {
        event->acceptProposedAction();
        fCanvas->setDropTarget(true);
    }
}

void PlotView::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    fCanvas->setDropTarget(false);
}

void PlotView::dropEvent(QDropEvent* event) {
    fCanvas->setDropTarget(false);
    event->acceptProposedAction();
    Q_EMIT namesDropped(keysFromMime(event->mimeData()), event->source());
}

}  // namespace memoryviewer
