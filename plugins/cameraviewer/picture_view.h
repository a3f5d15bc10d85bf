#ifndef OBVISTA_CAMERAVIEWER_PICTURE_VIEW_H
#define OBVISTA_CAMERAVIEWER_PICTURE_VIEW_H

#include "view_geometry.h"

#include <QPoint>
#include <QVector>
#include <QWidget>

#include <optional>
#include <picture_decoder.h>

namespace cameraviewer {

/**
 * Shows one picture, which can be zoomed, panned, turned and looked at pixel by pixel.
 *
 * The wheel zooms around the cursor, dragging pans, and a double click changes between fitted and
 * one to one; the arrow keys pan, or with Shift move a mark from pixel to pixel. Nothing is painted
 * but what has changed. Used on the GUI thread.
 */
class PictureView : public QWidget {
    Q_OBJECT

  public:
    explicit PictureView(QWidget* parent);

    /** Shows a picture that has an image. */
    void setPicture(const Picture& picture);
    void clear();
    const Picture& picture() const { return fPicture; }
    bool hasPicture() const { return !fPicture.fImage.isNull(); }

    void setForm(const ViewForm& form);
    const ViewGeometry& geometry() const { return fGeometry; }
    bool hasGrid() const { return fHasGrid; }
    /** The pixel under the cursor or the mark; nothing when there is neither. */
    std::optional<QPoint> pixel() const;

    /** Shows grey from `darkest` to `brightest` as black to white; the picture itself stays. */
    void setGreyRange(int darkest, int brightest);
    void setFullGreyRange();

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  public Q_SLOTS:
    void fit();
    void showOneToOne();
    void zoomIn();
    void zoomOut();
    void rotateRight();
    void rotateLeft();
    void flipHorizontally();
    void flipVertically();
    void straighten();
    void setGrid(bool isShown);

  Q_SIGNALS:
    /**
     * A picture was painted for the first time.
     *
     * @param number,time of the frame, see KVFrame
     */
    void pictureShown(quint64 number, qint64 time);
    /** The zoom has changed, or how the picture is turned. */
    void geometryChanged();
    /** Another pixel is looked at, or the picture under it has changed. */
    void pixelChanged();

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void xApply();
    void xUpdateGeometry();
    void xUpdateCursor();
    void xPaintPicture(QPainter& painter, const QRect& exposed);
    void xMoveMark(const QPoint& by);
    void xSetCursorAt(const std::optional<QPointF>& at);
    QRect xPixelsIn(const QRectF& area) const;
    QImage xShownImage() const;

    Picture fPicture;
    ViewGeometry fGeometry;
    bool fIsNew = false;  // the picture has not been painted yet
    bool fHasGrid = false;
    QVector<QRgb> fGreys;  // how grey is shown; empty for as it is
    std::optional<QPointF> fCursorAt;
    std::optional<QPoint> fMark;
    std::optional<QPoint> fDragged;  // where the mouse was last, while it drags
};

}  // namespace cameraviewer

#endif
