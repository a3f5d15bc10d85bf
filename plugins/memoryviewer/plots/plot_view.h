#ifndef OBVISTA_MEMORYVIEWER_PLOT_VIEW_H
#define OBVISTA_MEMORYVIEWER_PLOT_VIEW_H

#include "plots/thinning.h"

#include <QPen>
#include <qwt_plot.h>

#include <memory>
#include <optional>
#include <vector>

class QwtPlotGrid;

namespace memoryviewer {

class CurveItem;
class PlotCanvas;
class PlotHistory;
class TimeAxis;
class TimeScaleDraw;

/**
 * A plot: curves over a shared time axis, and a separate value axis that is fitted to the visible
 * points until the user selects values.
 */
class PlotView : public QwtPlot {
    Q_OBJECT

  public:
    /** Both must outlive the plot. */
    PlotView(TimeAxis* time, const PlotHistory* history, QWidget* parent);
    ~PlotView() override;

    /** Adds the curve of a key in the history, or changes an existing one. */
    void setCurve(int key, CurveShape shape, const QPen& pen);
    void removeCurve(int key);
    /** Returns the keys in the order in which they were added. */
    const std::vector<int>& keys() const { return fKeys; }
    bool contains(int key) const;
    QPen penOf(int key) const;

    /** Sets the unit of the values; it is cut to fit. May come from the robot. */
    void setUnit(const QString& unit);
    /** Sets whether this plot has the labels of the time axis below it. */
    void setShowsTimes(bool showsTimes);
    /** Sets the time in microseconds after which a value of a line is drawn as constant. */
    void setHoldTime(double microseconds) { fHoldTime = microseconds; }

    /** Selects the points to draw, fits the axes and repaints. */
    void refresh();

    /** Fits the value axis automatically again. */
    void fitValues();
    void setValues(double low, double high);
    /** Returns the values selected by the user; empty while the axis is fitted automatically. */
    const std::optional<ValueSpan>& chosenValues() const { return fChosen; }

    /** Returns the width of the value axis; plots one below the other share the widest. */
    double axisExtent() const;
    void setAxisExtent(double extent);

    PlotCanvas* plotCanvas() const { return fCanvas; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    /**
     * Emitted when the size or the user's selection of values has changed, so the plot must be
     * redrawn.
     */
    void refreshNeeded();
    void namesDropped(const QStringList& names, QObject* source);

  protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void xApplyPalette();
    void xFitTimes();
    QString xTitleOfTimes() const;
    void xFitValues();
    CurveItem* xItem(int key) const;

    TimeAxis* fTime;
    const PlotHistory* fHistory;
    PlotCanvas* fCanvas;
    TimeScaleDraw* fTimeLabels;  // the plot's
    std::unique_ptr<QwtPlotGrid> fGrid;
    std::vector<int> fKeys;
    std::vector<std::unique_ptr<CurveItem>> fItems;
    std::optional<ValueSpan> fChosen;
    double fHoldTime;
};

}  // namespace memoryviewer

#endif
