#ifndef OBVISTA_CAMERAVIEWER_PICTURE_VIEW_H
#define OBVISTA_CAMERAVIEWER_PICTURE_VIEW_H

#include "picture/picture_decoder.h"
#include "view_geometry.h"

#include <QPoint>
#include <QVector>
#include <QWidget>

#include <optional>

namespace cameraviewer {

/**
 * A widget that shows one picture, with zoom, panning, rotation and inspection of pixels.
 *
 * The wheel zooms around the cursor, dragging pans, and a double click switches between fitted and
 * one to one. The arrow keys pan, or with Shift move a mark from pixel to pixel. Only changes are
 * painted. Used on the GUI thread.
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
    /** Returns the pixel under the cursor or the mark; nothing if there is neither. */
    std::optional<QPoint> pixel() const;

    /** Shows grey from `darkest` to `brightest` as black to white; the picture is not changed. */
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
     * Emitted when a picture has been painted for the first time.
     *
     * @param number,time of the frame, see KVFrame
     */
    void pictureShown(quint64 number, qint64 time);
    /** Emitted when zoom, rotation or flips have changed. */
    void geometryChanged();
    /** Emitted when another pixel is selected, or the picture under it has changed. */
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
    bool fIsNew = false;  // true until the picture has been painted
    bool fHasGrid = false;
    QVector<QRgb> fGreys;  // colour table for grey; empty if unchanged
    std::optional<QPointF> fCursorAt;
    std::optional<QPoint> fMark;
    std::optional<QPoint> fDragged;  // last mouse position while dragging
};

}  // namespace cameraviewer

#endif
