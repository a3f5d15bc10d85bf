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
 * One plot: curves over the time axis that it shares with others, and a values axis of its own that
 * fits itself to what is seen until the user chooses values.
 */
class PlotView : public QwtPlot {
    Q_OBJECT

  public:
    /** Both must outlive the plot. */
    PlotView(TimeAxis* time, const PlotHistory* history, QWidget* parent);
    ~PlotView() override;

    /** Adds the curve of a key that the history has; changes it when it is there. */
    void setCurve(int key, CurveShape shape, const QPen& pen);
    void removeCurve(int key);
    /** In the order in which they were added. */
    const std::vector<int>& keys() const { return fKeys; }
    bool contains(int key) const;
    QPen penOf(int key) const;

    /** Says what the values are; not more than fits. May come from the robot. */
    void setUnit(const QString& unit);
    /** Whether this plot has the labels of the time axis below it. */
    void setShowsTimes(bool showsTimes);
    /** Microseconds after which a value of a line counts as one that held. */
    void setHoldTime(double microseconds) { fHoldTime = microseconds; }

    /** Chooses the points to draw, fits the axes and has the picture painted. */
    void refresh();

    /** Makes the values axis fit itself again. */
    void fitValues();
    void setValues(double low, double high);
    /** The values that the user has chosen; empty while the axis fits itself. */
    const std::optional<ValueSpan>& chosenValues() const { return fChosen; }

    /** Width of the values axis, for plots below each other to share the widest. */
    double axisExtent() const;
    void setAxisExtent(double extent);

    PlotCanvas* plotCanvas() const { return fCanvas; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  Q_SIGNALS:
    /** The size or the user's choice of values has changed, so the picture is to be drawn again. */
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
