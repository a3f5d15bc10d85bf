#include "plots/plot_canvas.h"

#include "plots/time_axis.h"

#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QStyleHints>
#include <QWheelEvent>
#include <qwt_plot.h>
#include <qwt_scale_map.h>

#include <cmath>

namespace memoryviewer {

namespace {

constexpr double a_zoomStep = 1.25;
constexpr double a_positionWidth = 2;
constexpr double a_degreesPerStep = 120;  // of the wheel, in eighths of a degree
constexpr double a_panStep = 0.1;
constexpr double a_cursorStep = 0.01;
constexpr double a_largestValue = 1e300;
constexpr double a_smallestSpan = 1e-290;
/** Relative to the values' size: below this a double has no distinct neighbours. */
constexpr double a_smallestShare = 1e-12;

}  // namespace

PlotCanvas::PlotCanvas(TimeAxis* time, QwtPlot* plot) : QwtPlotCanvas(plot), fTime(time) {
    setFocusPolicy(Qt::StrongFocus);
    setFocusIndicator(CanvasFocusIndicator);
    setFrameStyle(QFrame::NoFrame);
    setMouseTracking(true);
    setCursor(Qt::CrossCursor);
    connect(time, &TimeAxis::cursorMoved, this, [this] { update(); });
    connect(time, &TimeAxis::replayMoved, this, [this] { update(); });
}

void PlotCanvas::setDropTarget(bool isTarget) {
    fIsDropTarget = isTarget;
    update();
}

void PlotCanvas::paintEvent(QPaintEvent* event) {
    QwtPlotCanvas::paintEvent(event);
    QPainter painter(this);
    const QColor highlight = palette().color(QPalette::Highlight);
    if (const auto& replay = fTime->replay()) {
        const double x = plot()->canvasMap(QwtPlot::xBottom).transform(replay->fPosition);
        painter.setPen(QPen(highlight, a_positionWidth));
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
    }
    if (const auto cursor = fTime->cursor()) {
        const double x = plot()->canvasMap(QwtPlot::xBottom).transform(*cursor);
        painter.setPen(palette().color(QPalette::Text));
        painter.drawLine(QPointF(x, 0), QPointF(x, height()));
    }
    if (fDrag == Drag::Rectangle) {
        QColor inside = highlight;
        inside.setAlphaF(0.2);
        painter.setPen(highlight);
        painter.setBrush(inside);
        painter.drawRect(xRectangle());
    }
    if (fIsDropTarget) {
        painter.setPen(QPen(highlight, 3));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(rect().adjusted(1, 1, -2, -2));
    }
}

void PlotCanvas::mousePressEvent(QMouseEvent* event) {
    Q_EMIT activated();
    const bool isRectangle =
        event->button() == Qt::RightButton ||
        (event->button() == Qt::LeftButton && (event->modifiers() & Qt::ShiftModifier) != 0);
    if (isRectangle) {
        fDrag = Drag::Rectangle;
    } else if (event->button() == Qt::LeftButton || event->button() == Qt::MiddleButton) {
        fDrag = Drag::Pan;
        setCursor(Qt::ClosedHandCursor);
    }
    fDragStart = event->pos();
    fDragNow = event->pos();
}

void PlotCanvas::mouseMoveEvent(QMouseEvent* event) {
    fTime->setCursor(xTimeAt(event->pos().x()));
    if (fDrag == Drag::Pan) {
        xPanBy(event->pos() - fDragNow);
    }
    fDragNow = event->pos();
    if (fDrag == Drag::Rectangle) {
        update();
    }
}

void PlotCanvas::mouseReleaseEvent(QMouseEvent* event) {
    const Drag drag = fDrag;
    fDrag = Drag::None;
    setCursor(Qt::CrossCursor);
    update();
    const int distance = QGuiApplication::styleHints()->startDragDistance();
    const QRect rectangle = QRect(fDragStart, event->pos()).normalized();
    if (drag == Drag::Rectangle && rectangle.width() >= distance) {
        xZoomInto(rectangle);
    } else if (event->button() == Qt::RightButton) {
        Q_EMIT contextMenuRequested(event->globalPos());
    }
}

void PlotCanvas::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        Q_EMIT fitRequested(false);
    }
}

void PlotCanvas::wheelEvent(QWheelEvent* event) {
    const QPoint angle = event->angleDelta();
    const bool isAcross = std::abs(angle.x()) > std::abs(angle.y());
    event->accept();
    if (isAcross) {
        fTime->pan(-a_panStep * angle.x() / a_degreesPerStep);
        return;
    }
    const double factor = std::pow(a_zoomStep, -angle.y() / a_degreesPerStep);
    if ((event->modifiers() & Qt::ControlModifier) != 0) {
        xZoomValues(factor, plot()->invTransform(QwtPlot::yLeft, qRound(event->position().y())));
    } else {
        fTime->zoom(factor, xTimeAt(qRound(event->position().x())));
    }
}

void PlotCanvas::leaveEvent(QEvent* event) {
    fTime->setCursor({});
    QwtPlotCanvas::leaveEvent(event);
}

void PlotCanvas::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Space && event->isAutoRepeat()) {
        return;  // a held space bar pauses once
    }
    if (!xHandleKey(event->key(), event->modifiers() & ~Qt::KeypadModifier)) {
        QwtPlotCanvas::keyPressEvent(event);
    }
}

bool PlotCanvas::xHandleKey(int key, Qt::KeyboardModifiers modifiers) {
    const bool hasShift = (modifiers & Qt::ShiftModifier) != 0;
    const bool hasControl = (modifiers & Qt::ControlModifier) != 0;
    if ((modifiers & ~(Qt::ShiftModifier | Qt::ControlModifier)) != 0) {
        return false;
    }
    const double later = key == Qt::Key_Right || key == Qt::Key_PageDown ? 1 : -1;
    const double factor = key == Qt::Key_Minus ? a_zoomStep : 1 / a_zoomStep;
    const ValueSpan values = xValues();
    switch (key) {
        case Qt::Key_Left:
        case Qt::Key_Right:
            if (hasShift) {
                xMoveCursor(later * a_cursorStep * (hasControl ? 1 / a_panStep : 1));
            } else {
                fTime->pan(later * a_panStep);
            }
            return true;
        case Qt::Key_PageUp:
        case Qt::Key_PageDown:
            fTime->pan(later);
            return true;
        case Qt::Key_Up:
        case Qt::Key_Down:
            xPanValues(key == Qt::Key_Up ? a_panStep : -a_panStep);
            return true;
        case Qt::Key_Plus:
        case Qt::Key_Equal:
        case Qt::Key_Minus:
            if (hasControl) {
                xZoomValues(factor, (values.fMinimum + values.fMaximum) / 2);
            } else {
                fTime->zoom(factor, fTime->cursor().value_or(fTime->right() - fTime->span() / 2));
            }
            return true;
        case Qt::Key_0:
        case Qt::Key_Home:
            Q_EMIT fitRequested(true);
            return true;
        case Qt::Key_End:
            fTime->setFollowing(true);
            return true;
        case Qt::Key_Space:
            fTime->setFollowing(!fTime->isFollowing());
            return true;
        case Qt::Key_F:
            Q_EMIT fitRequested(false);
            return true;
        case Qt::Key_Escape:
            if (fDrag == Drag::None && !fTime->cursor()) {
                return false;
            }
            fDrag = Drag::None;
            fTime->setCursor({});
            update();
            return true;
        default:
            return false;
    }
}

void PlotCanvas::focusInEvent(QFocusEvent* event) {
    Q_EMIT activated();
    QwtPlotCanvas::focusInEvent(event);
}

/**
 * By the keyboard; the mouse's right button may begin a rectangle and opens the menu when released.
 */
void PlotCanvas::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Mouse) {
        Q_EMIT contextMenuRequested(mapToGlobal(rect().center()));
    }
}

double PlotCanvas::xTimeAt(int x) const {
    return plot()->canvasMap(QwtPlot::xBottom).invTransform(x);
}

ValueSpan PlotCanvas::xValues() const {
    const QwtScaleMap map = plot()->canvasMap(QwtPlot::yLeft);
    return {map.s1(), map.s2()};
}

void PlotCanvas::xPanBy(const QPoint& pixels) {
    if (pixels.x() != 0) {
        fTime->pan(-static_cast<double>(pixels.x()) / width());
    }
    const bool isMeant =
        std::abs((fDragNow - fDragStart).y()) >= QGuiApplication::styleHints()->startDragDistance();
    // Panning in time is never exactly horizontal; only a larger vertical movement ends the
    // automatic fit of the value axis.
    if (pixels.y() != 0 && isMeant) {
        xPanValues(static_cast<double>(pixels.y()) / height());
    }
}

void PlotCanvas::xPanValues(double share) {
    const ValueSpan values = xValues();
    const double by = (values.fMaximum - values.fMinimum) * share;
    const double low = values.fMinimum + by;
    const double high = values.fMaximum + by;
    if (std::fabs(low) < a_largestValue && std::fabs(high) < a_largestValue && low < high) {
        Q_EMIT valuesChosen(low, high);
    }
}

void PlotCanvas::xZoomValues(double factor, double anchor) {
    const ValueSpan values = xValues();
    const double low = anchor + (values.fMinimum - anchor) * factor;
    const double high = anchor + (values.fMaximum - anchor) * factor;
    const double size = std::max(std::fabs(low), std::fabs(high));
    if (size < a_largestValue && high - low > std::max(a_smallestSpan, size * a_smallestShare)) {
        Q_EMIT valuesChosen(low, high);
    }
}

void PlotCanvas::xZoomInto(const QRect& rectangle) {
    fTime->show(xTimeAt(rectangle.left()), xTimeAt(rectangle.right()));
    // A flat rectangle only selects a time.
    if (rectangle.height() >= QGuiApplication::styleHints()->startDragDistance()) {
        const QwtScaleMap map = plot()->canvasMap(QwtPlot::yLeft);
        const double low = map.invTransform(rectangle.bottom());
        const double high = map.invTransform(rectangle.top());
        if (high - low > std::max(std::fabs(low), std::fabs(high)) * a_smallestShare) {
            Q_EMIT valuesChosen(low, high);
        }
    }
}

void PlotCanvas::xMoveCursor(double share) {
    const double from = fTime->cursor().value_or(fTime->right() - fTime->span() / 2);
    const double to = from + share * fTime->span();
    fTime->setCursor(std::min(std::max(to, fTime->left()), fTime->right()));
}

QRect PlotCanvas::xRectangle() const {
    return QRect(fDragStart, fDragNow).normalized();
}

}  // namespace memoryviewer
