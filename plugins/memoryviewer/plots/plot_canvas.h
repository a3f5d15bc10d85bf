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
 * The area of a plot in which the curves are, with the mouse and the keys that move it.
 *
 * Drag pans, drag with Shift or the right button zooms into a rectangle, the wheel zooms in time
 * and with Ctrl in values. The cursor line and the rectangle are painted above the picture, which
 * is not drawn again for them.
 */
class PlotCanvas : public QwtPlotCanvas {
    Q_OBJECT

  public:
    PlotCanvas(TimeAxis* time, QwtPlot* plot);

    /** Marks the area as the one that takes what is being dragged. */
    void setDropTarget(bool isTarget);

  Q_SIGNALS:
    /** The user asks for these values to be shown. */
    void valuesChosen(double low, double high);
    /** The user asks for the values axis to be fitted, and where `all` is set, for all times too.
     */
    void fitRequested(bool all);
    /** The user works with this plot. */
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
