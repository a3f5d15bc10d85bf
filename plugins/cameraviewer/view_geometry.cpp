#include "view_geometry.h"

#include <algorithm>
#include <cmath>

namespace cameraviewer {

namespace {

/** Zoom steps by key for doubling. */
constexpr double a_stepsInDoubling = 2;
constexpr double a_nearlyOneStep = 0.01;

constexpr int a_quarterTurns = 4;

/** Returns a rotation by quarter turns, clockwise. */
QTransform turnBy(int quarterTurns) {
    switch ((quarterTurns % a_quarterTurns + a_quarterTurns) % a_quarterTurns) {
        case 1:
            return {0, 1, -1, 0, 0, 0};
        case 2:
            return {-1, 0, 0, -1, 0, 0};
        case 3:
            return {0, -1, 1, 0, 0, 0};
        default:
            return {};
    }
}

const QTransform a_horizontalFlip(-1, 0, 0, 1, 0, 0);

QTransform orientationOf(int quarterTurns, bool isFlipped) {
    return (isFlipped ? a_horizontalFlip : QTransform()) * turnBy(quarterTurns);
}

double keptInView(double centre, double picture, double view) {
    return picture <= view ? picture / 2 : std::clamp(centre, view / 2, picture - view / 2);
}

}  // namespace

bool ViewForm::operator==(const ViewForm& other) const {
    return fZoom == other.fZoom && fQuarterTurns == other.fQuarterTurns &&
           fIsFlipped == other.fIsFlipped;
}

void ViewGeometry::setView(const QSizeF& size, double pixelRatio) {
    // An empty view would have no zoom.
    fView = size.expandedTo(QSizeF(1, 1));
    fPixelRatio = pixelRatio;
    xKeepInView();
}

/** Keeps the same part of the scene in the middle when a camera changes its resolution. */
void ViewGeometry::setPicture(const QSize& size) {
    if (size == fPicture) {
        return;
    }
    const QSizeF before = xOrientedSize();
    fPicture = size;
    const QSizeF after = xOrientedSize();
    fCentre = before.isEmpty() ? QPointF(after.width() / 2, after.height() / 2)
                               : QPointF(fCentre.x() / before.width() * after.width(),
                                         fCentre.y() / before.height() * after.height());
    xKeepInView();
}

double ViewGeometry::zoom() const {
    return fIsFitted ? xFittingZoom() : fZoom;
}

void ViewGeometry::fit() {
    fIsFitted = true;
    xKeepInView();
}

void ViewGeometry::zoomTo(double zoom) {
    xSetZoom(zoom, xMiddle());
}

void ViewGeometry::zoomByStep(int direction) {
    const double step = std::log2(zoom()) * a_stepsInDoubling;
    const double next = direction > 0 ? std::floor(step + 1 + a_nearlyOneStep)
                                      : std::ceil(step - 1 - a_nearlyOneStep);
    zoomTo(std::exp2(next / a_stepsInDoubling));
}

void ViewGeometry::zoomAround(const QPointF& at, double factor) {
    xSetZoom(zoom() * factor, at);
}

void ViewGeometry::panBy(const QPointF& by) {
    fCentre -= by / xScale();
    xKeepInView();
}

void ViewGeometry::rotate(int quarterTurns) {
    xTurn(fTurn * turnBy(quarterTurns));
}

void ViewGeometry::flipHorizontally() {
    xTurn(fTurn * a_horizontalFlip);
}

void ViewGeometry::flipVertically() {
    xTurn(fTurn * QTransform(1, 0, 0, -1, 0, 0));
}

void ViewGeometry::straighten() {
    xTurn(QTransform());
}

ViewForm ViewGeometry::form() const {
    ViewForm form;
    form.fZoom = fIsFitted ? 0 : fZoom;
    for (const bool isFlipped : {false, true}) {
        for (int turns = 0; turns < a_quarterTurns; ++turns) {
            if (orientationOf(turns, isFlipped) == fTurn) {
                form.fQuarterTurns = turns;
                form.fIsFlipped = isFlipped;
            }
        }
    }
    return form;
}

void ViewGeometry::setForm(const ViewForm& form) {
    xTurn(orientationOf(form.fQuarterTurns, form.fIsFlipped));
    if (form.fZoom > 0 && std::isfinite(form.fZoom)) {
        zoomTo(form.fZoom);
    } else {
        fit();
    }
}

QTransform ViewGeometry::pictureToView() const {
    const double scale = xScale();
    const QPointF corner = xMiddle() - fCentre * scale;
    // Aligned to whole screen pixels, so that the picture is sharp.
    const QTransform place =
        QTransform::fromTranslate(std::round(corner.x() * fPixelRatio) / fPixelRatio,
                                  std::round(corner.y() * fPixelRatio) / fPixelRatio);
    return xOrientation() * QTransform::fromScale(scale, scale) * place;
}

QRectF ViewGeometry::pictureRect() const {
    return pictureToView().mapRect(QRectF(QPointF(), QSizeF(fPicture)));
}

QPoint ViewGeometry::pixelAt(const QPointF& at) const {
    const QPointF pixel = pictureToView().inverted().map(at);
    return {static_cast<int>(std::floor(pixel.x())), static_cast<int>(std::floor(pixel.y()))};
}

/**
 * Returns the transformation from picture pixels to those of the rotated picture, whose corner is
 * at the origin.
 */
QTransform ViewGeometry::xOrientation() const {
    const QRectF turned = fTurn.mapRect(QRectF(QPointF(), QSizeF(fPicture)));
    return fTurn * QTransform::fromTranslate(-turned.left(), -turned.top());
}

QSizeF ViewGeometry::xOrientedSize() const {
    return fTurn.mapRect(QRectF(QPointF(), QSizeF(fPicture))).size();
}

double ViewGeometry::xFittingZoom() const {
    const QSizeF size = xOrientedSize();
    if (size.isEmpty()) {
        return 1;
    }
    const double zoom =
        fPixelRatio * std::min(fView.width() / size.width(), fView.height() / size.height());
    return std::min(zoom, a_largestZoom);
}

void ViewGeometry::xSetZoom(double zoom, const QPointF& at) {
    const QPointF fromMiddle = at - xMiddle();
    const QPointF kept = fCentre + fromMiddle / xScale();
    fZoom = std::clamp(zoom, std::min(a_smallestZoom, xFittingZoom()), a_largestZoom);
    fIsFitted = false;
    fCentre = kept - fromMiddle / xScale();
    xKeepInView();
}

/** The pixel in the middle stays there. */
void ViewGeometry::xTurn(const QTransform& turn) {
    const QPointF pixel = xOrientation().inverted().map(fCentre);
    fTurn = turn;
    fCentre = xOrientation().map(pixel);
    xKeepInView();
}

void ViewGeometry::xKeepInView() {
    const QSizeF size = xOrientedSize();
    const QSizeF view = fView / xScale();
    fCentre = {keptInView(fCentre.x(), size.width(), view.width()),
               keptInView(fCentre.y(), size.height(), view.height())};
}

}  // namespace cameraviewer
