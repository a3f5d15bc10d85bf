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
    double fZoom = 0;         ///< 0 when the zoom follows the size of the view
    int fQuarterTurns = 0;    ///< clockwise, 0 to 3
    bool fIsFlipped = false;  ///< left and right, before it is turned

    bool operator==(const ViewForm& other) const;
};

/**
 * Where and how large a picture stands in its view: rotated by quarter turns, flipped, zoomed and
 * panned.
 *
 * A zoom of 1 shows a pixel of the picture as one pixel of the screen, whatever the scale of the
 * desktop. The picture never leaves the view: where it is smaller it is in the middle, where it is
 * larger it covers the view.
 */
class ViewGeometry {
  public:
    static constexpr double a_largestZoom = 32;
    static constexpr double a_smallestZoom = 1.0 / 16;

    /** @param pixelRatio pixels of the screen for one unit of the view */
    void setView(const QSizeF& size, double pixelRatio);
    double pixelRatio() const { return fPixelRatio; }
    void setPicture(const QSize& size);
    const QSize& picture() const { return fPicture; }

    double zoom() const;
    /** Whether the zoom follows the size of the view. */
    bool isFitted() const { return fIsFitted; }
    void fit();
    void zoomTo(double zoom);
    /** To the next step up (1) or down (-1), around the middle. */
    void zoomByStep(int direction);
    /** @param at the point of the view that keeps its place in the picture */
    void zoomAround(const QPointF& at, double factor);
    /** @param by in units of the view, the way the picture moves */
    void panBy(const QPointF& by);

    /** By quarter turns, clockwise as it is seen. */
    void rotate(int quarterTurns);
    /** Left and right, or top and bottom, as they are seen. */
    void flipHorizontally();
    void flipVertically();
    /** Neither rotated nor flipped. */
    void straighten();

    ViewForm form() const;
    /** Values that no form has, as a file may hold them, become the nearest that one has. */
    void setForm(const ViewForm& form);

    QTransform pictureToView() const;
    /** What the picture covers of the view's plane. */
    QRectF pictureRect() const;
    /** The pixel of the picture at a point of the view; perhaps outside the picture. */
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
    QTransform fTurn;  // rotation and flips around the origin, in whole numbers
    bool fIsFitted = true;
    double fZoom = 1;
    QPointF fCentre;  // of the view, in pixels of the turned picture
};

}  // namespace cameraviewer

#endif
