#include "picture_view.h"

#include "picture_grid.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace cameraviewer {

namespace {

/** Wheel units for doubling the zoom: two notches of an ordinary mouse. */
constexpr double a_wheelForDoubling = 240;
/** Fraction of the view by which one key press pans. */
constexpr int a_panDivisor = 8;
/** Zoom from which pixels are shown as squares. */
constexpr double a_sharpZoom = 4;
constexpr int a_greys = 256;

/**
 * Neutral and dark, independent of the desktop's colours, so that a picture looks the same
 * everywhere.
 */
const QColor& background() {
    static const QColor color(38, 38, 38);
    return color;
}

QPoint direction(int key) {
    switch (key) {
        case Qt::Key_Left:
            return {-1, 0};
        case Qt::Key_Right:
            return {1, 0};
        case Qt::Key_Up:
            return {0, -1};
        case Qt::Key_Down:
            return {0, 1};
        default:
            return {};
    }
}

}  // namespace

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("cameraPicture"));
    setAccessibleName(tr("Picture of the camera"));
    setFocusPolicy(Qt::WheelFocus);  // keys work after zooming with the wheel
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    xUpdateGeometry();
}

void PictureView::setPicture(const Picture& picture) {
    const bool isOtherSize = picture.fImage.size() != fPicture.fImage.size();
    const QRectF before = fGeometry.pictureRect();
    fPicture = picture;
    fIsNew = true;
    if (isOtherSize) {
        fGeometry.setPicture(picture.fImage.size());
        Q_EMIT geometryChanged();
    }
    update((isOtherSize ? before | fGeometry.pictureRect() : before).toAlignedRect() & rect());
    if (pixel()) {
        Q_EMIT pixelChanged();
    }
}

void PictureView::clear() {
    fPicture = Picture();
    fIsNew = false;
    update();
    Q_EMIT pixelChanged();
}

std::optional<QPoint> PictureView::pixel() const {
    if (!hasPicture()) {
        return std::nullopt;
    }
    const std::optional<QPoint> at =
        fMark || !fCursorAt ? fMark : std::make_optional(fGeometry.pixelAt(*fCursorAt));
    return at && fPicture.fImage.valid(*at) ? at : std::nullopt;
}

void PictureView::setGreyRange(int darkest, int brightest) {
    fGreys.resize(a_greys);
    const int range = std::max(brightest - darkest, 1);
    for (int value = 0; value < a_greys; ++value) {
        const int grey = std::clamp((value - darkest) * (a_greys - 1) / range, 0, a_greys - 1);
        fGreys[value] = qRgb(grey, grey, grey);
    }
    update();
}

void PictureView::setFullGreyRange() {
    fGreys.clear();
    update();
}

void PictureView::setForm(const ViewForm& form) {
    fGeometry.setForm(form);
    xApply();
}

QSize PictureView::sizeHint() const {
    return {640, 480};
}

QSize PictureView::minimumSizeHint() const {
    return {120, 90};
}

void PictureView::fit() {
    fGeometry.fit();
    xApply();
}

void PictureView::showOneToOne() {
    fGeometry.zoomTo(1);
    xApply();
}

void PictureView::zoomIn() {
    fGeometry.zoomByStep(1);
    xApply();
}

void PictureView::zoomOut() {
    fGeometry.zoomByStep(-1);
    xApply();
}

void PictureView::rotateRight() {
    fGeometry.rotate(1);
    xApply();
}

void PictureView::rotateLeft() {
    fGeometry.rotate(-1);
    xApply();
}

void PictureView::flipHorizontally() {
    fGeometry.flipHorizontally();
    xApply();
}

void PictureView::flipVertically() {
    fGeometry.flipVertically();
    xApply();
}

void PictureView::straighten() {
    fGeometry.straighten();
    xApply();
}

void PictureView::setGrid(bool isShown) {
    fHasGrid = isShown;
    update();
}

bool PictureView::event(QEvent* event) {
    // The view handles the arrows even if an ancestor uses them as shortcuts.
    if (event->type() == QEvent::ShortcutOverride &&
        !direction(static_cast<QKeyEvent*>(event)->key()).isNull()) {
        event->accept();
        return true;
    }
    return QWidget::event(event);
}

void PictureView::paintEvent(QPaintEvent* event) {
    if (fGeometry.pixelRatio() != devicePixelRatioF()) {
        xUpdateGeometry();  // the window may be on another screen
    }
    QPainter painter(this);
    // Also under the picture's edges, which may cover a screen pixel in part.
    const QRectF inside = fGeometry.pictureRect().adjusted(1, 1, -1, -1);
    const QRegion around = event->region() - inside.toRect();
    for (const QRect& part : hasPicture() ? around : event->region()) {
        painter.fillRect(part, background());
    }
    if (!hasPicture()) {
        return;
    }
    xPaintPicture(painter, event->rect());
    if (fIsNew) {
        fIsNew = false;
        Q_EMIT pictureShown(fPicture.fFrame.fNumber, fPicture.fFrame.fTime);
    }
}

void PictureView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    xUpdateGeometry();
}

void PictureView::wheelEvent(QWheelEvent* event) {
    const int turned = event->angleDelta().y();
    if (turned != 0) {
        fGeometry.zoomAround(event->position(), std::exp2(turned / a_wheelForDoubling));
        xApply();
    }
    event->accept();
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        fDragged = event->pos();
        xUpdateCursor();
    }
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    fMark.reset();
    if (fDragged && *fDragged != event->pos()) {
        fGeometry.panBy(event->pos() - *fDragged);
        fDragged = event->pos();
        xApply();
    }
    // The centre of the cursor's pixel, so that rounding cannot select its neighbour.
    xSetCursorAt(QPointF(event->pos()) + QPointF(0.5, 0.5) / devicePixelRatioF());
}

void PictureView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        fDragged.reset();
        xUpdateCursor();
    }
}

void PictureView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    if (fGeometry.isFitted()) {
        fGeometry.zoomAround(event->localPos(), 1 / fGeometry.zoom());
    } else {
        fGeometry.fit();
    }
    xApply();
}

void PictureView::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    xSetCursorAt(std::nullopt);
}

void PictureView::keyPressEvent(QKeyEvent* event) {
    const QPoint towards = direction(event->key());
    if (event->key() == Qt::Key_Escape && fMark) {
        fMark.reset();
        update();
        Q_EMIT pixelChanged();
    } else if (towards.isNull()) {
        QWidget::keyPressEvent(event);
    } else if ((event->modifiers() & Qt::ShiftModifier) != 0) {
        xMoveMark(towards);
    } else {
        fGeometry.panBy(-QPointF(towards.x() * width(), towards.y() * height()) / a_panDivisor);
        xApply();
    }
}

/** Called after a change of the geometry. */
void PictureView::xApply() {
    xUpdateCursor();
    update();
    Q_EMIT geometryChanged();
    Q_EMIT pixelChanged();
}

void PictureView::xUpdateGeometry() {
    fGeometry.setView(size(), devicePixelRatioF());
    xApply();
}

void PictureView::xUpdateCursor() {
    const bool isLarger = !QRectF(rect()).adjusted(-1, -1, 1, 1).contains(fGeometry.pictureRect());
    setCursor(fDragged && isLarger ? Qt::ClosedHandCursor : Qt::CrossCursor);
}

void PictureView::xPaintPicture(QPainter& painter, const QRect& exposed) {
    const double zoom = fGeometry.zoom();
    const QRect pixels = xPixelsIn(exposed);
    painter.save();
    painter.setTransform(fGeometry.pictureToView());
    painter.setRenderHint(QPainter::SmoothPixmapTransform,
                          zoom < a_sharpZoom && zoom != std::floor(zoom));
    painter.drawImage(pixels, xShownImage(), pixels);
    painter.restore();
    if (fHasGrid) {
        paintGrid(painter, fGeometry, pixels);
    }
    if (fMark && pixel()) {
        paintMark(painter, fGeometry, *fMark);
    }
}

/** Moves in the visible direction, independent of the rotation. It starts in the middle. */
void PictureView::xMoveMark(const QPoint& by) {
    if (!hasPicture()) {
        return;
    }
    const QRect picture = fPicture.fImage.rect();
    if (!fMark || !picture.contains(*fMark)) {
        const QPoint middle = fGeometry.pixelAt(QPointF(rect().center()));
        fMark = picture.contains(middle) ? middle : picture.center();
    } else {
        const QTransform toPicture = fGeometry.pictureToView().inverted();
        const QPointF moved = toPicture.map(QPointF(by)) - toPicture.map(QPointF());
        const auto sign = [](double value) { return (value > 0) - (value < 0); };
        const QPoint step(std::abs(moved.x()) > std::abs(moved.y()) ? sign(moved.x()) : 0,
                          std::abs(moved.y()) > std::abs(moved.x()) ? sign(moved.y()) : 0);
        const QPoint next = *fMark + step;
        fMark = picture.contains(next) ? next : *fMark;
    }
    update();
    Q_EMIT pixelChanged();
}

void PictureView::xSetCursorAt(const std::optional<QPointF>& at) {
    fCursorAt = at;
    Q_EMIT pixelChanged();
}

/** Returns the picture pixels that are at least partly inside an area of the view. */
QRect PictureView::xPixelsIn(const QRectF& area) const {
    const QRectF covered = fGeometry.pictureToView().inverted().mapRect(area);
    return covered.adjusted(-1, -1, 1, 1).toAlignedRect() & fPicture.fImage.rect();
}

/** Another range of grey uses the same bytes with another colour table. */
QImage PictureView::xShownImage() const {
    const QImage& image = fPicture.fImage;
    if (fGreys.isEmpty() || image.format() != QImage::Format_Grayscale8) {
        return image;
    }
    QImage shown(image.constBits(), image.width(), image.height(), image.bytesPerLine(),
                 QImage::Format_Indexed8);
    shown.setColorTable(fGreys);
    return shown;
}

}  // namespace cameraviewer
