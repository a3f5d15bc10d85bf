#ifndef OBVISTA_CAMERAVIEWER_VIEW_GEOMETRY_H
#define OBVISTA_CAMERAVIEWER_VIEW_GEOMETRY_H

#include <QPoint>
#include <QPointF>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QTransform>

namespace cameraviewer {

/** Zoom and orientation, independent of the sizes of picture and view. */
struct ViewForm {
    double fZoom = 0;         ///< 0 if the zoom follows the size of the view
    int fQuarterTurns = 0;    ///< clockwise, 0 to 3
    bool fIsFlipped = false;  ///< left and right, before the rotation

    bool operator==(const ViewForm& other) const;
};

/**
 * Position and size of a picture in its view: rotated by quarter turns, flipped, zoomed and panned.
 *
 * A zoom of 1 shows one picture pixel as one screen pixel, at any scale of the desktop. The picture
 * never leaves the view: if it is smaller it is centred, if it is larger it covers the view.
 */
class ViewGeometry {
  public:
    static constexpr double a_largestZoom = 32;
    static constexpr double a_smallestZoom = 1.0 / 16;

    /** @param pixelRatio screen pixels in one unit of the view */
    void setView(const QSizeF& size, double pixelRatio);
    double pixelRatio() const { return fPixelRatio; }
    void setPicture(const QSize& size);
    const QSize& picture() const { return fPicture; }

    double zoom() const;
    /** Returns true if the zoom follows the size of the view. */
    bool isFitted() const { return fIsFitted; }
    void fit();
    void zoomTo(double zoom);
    /** Zooms to the next step up (1) or down (-1), around the middle. */
    void zoomByStep(int direction);
    /** @param at the point of the view whose picture position does not change */
    void zoomAround(const QPointF& at, double factor);
    /** @param by movement of the picture in units of the view */
    void panBy(const QPointF& by);

    /** Rotates by quarter turns, clockwise as seen. */
    void rotate(int quarterTurns);
    /** Flips left and right, or top and bottom, as seen. */
    void flipHorizontally();
    void flipVertically();
    /** Removes rotation and flips. */
    void straighten();

    ViewForm form() const;
    /**
     * Sets zoom and orientation; invalid values, for instance from a file, become the closest valid
     * ones.
     */
    void setForm(const ViewForm& form);

    QTransform pictureToView() const;
    /** Returns the area of the view that the picture covers. */
    QRectF pictureRect() const;
    /** Returns the picture pixel at a point of the view; it may be outside the picture. */
    QPoint pixelAt(const QPointF& at) const;

  private:
    QTransform xOrientation() const;
    QSizeF xOrientedSize() const;
    QPointF xMiddle() const { return {fView.width() / 2, fView.height() / 2}; }
    double xFittingZoom() const;
    double xScale() const { return zoom() / fPixelRatio; }
    void xSetZoom(double zoom, const QPointF& at);
    void xTurn(const QTransform& turn);
    void xKeepInView();

    QSizeF fView{1, 1};
    double fPixelRatio = 1;
    QSize fPicture;
    QTransform fTurn;  // rotation and flips around the origin, in integers
    bool fIsFitted = true;
    double fZoom = 1;
    QPointF fCentre;  // of the view, in pixels of the turned picture
};

}  // namespace cameraviewer

#endif
