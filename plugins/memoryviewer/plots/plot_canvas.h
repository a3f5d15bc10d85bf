#ifndef OBVISTA_MEMORYVIEWER_PLOT_CANVAS_H
#define OBVISTA_MEMORYVIEWER_PLOT_CANVAS_H

#include "plots/thinning.h"

#include <QPoint>
#include <qwt_plot_canvas.h>

#include <optional>

class QwtPlot;

namespace memoryviewer {

class TimeAxis;

/**
 * The area of a plot with the curves, and its interaction with mouse and keyboard.
 *
 * Dragging pans, dragging with Shift or the right button zooms into a rectangle, the wheel zooms in
 * time and with Ctrl in values. The position of a replay, the cursor line and the rectangle are
 * painted above the picture,
 * which is not redrawn for them.
 */
class PlotCanvas : public QwtPlotCanvas {
    Q_OBJECT

  public:
    PlotCanvas(TimeAxis* time, QwtPlot* plot);

    /** Highlights the area as the drop target. */
    void setDropTarget(bool isTarget);

  Q_SIGNALS:
    /** Emitted when the user selects values to show. */
    void valuesChosen(double low, double high);
    /** Emitted when the user wants to fit the value axis and, if `all` is true, the time axis. */
    void fitRequested(bool all);
    /** Emitted when the user works with this plot. */
    void activated();
    void contextMenuRequested(const QPoint& globalPosition);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

  private:
    enum class Drag { None, Pan, Rectangle };

    double xTimeAt(int x) const;
    ValueSpan xValues() const;
    void xPanBy(const QPoint& pixels);
    void xPanValues(double share);
    void xZoomValues(double factor, double anchor);
    void xZoomInto(const QRect& rectangle);
    void xMoveCursor(double share);
    bool xHandleKey(int key, Qt::KeyboardModifiers modifiers);
    QRect xRectangle() const;

    TimeAxis* fTime;
    Drag fDrag = Drag::None;
    QPoint fDragStart;
    QPoint fDragNow;
    bool fIsDropTarget = false;
};

}  // namespace memoryviewer

#endif
