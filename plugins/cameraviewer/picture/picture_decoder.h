#ifndef OBVISTA_CAMERAVIEWER_PICTURE_DECODER_H
#define OBVISTA_CAMERAVIEWER_PICTURE_DECODER_H

#include "frame_check.h"
#include "jpeg_reader.h"
#include "picture_buffers.h"

#include <robaxi/kv_frame.h>

#include <QImage>
#include <QPoint>
#include <QString>

namespace cameraviewer {

/**
 * A frame and what it shows.
 *
 * Cheap to copy, and safe to hand to another thread. Nothing in it may be written to.
 */
struct Picture {
    KVFrame fFrame;
    /** Null when there is a fault. For RGB (Format_RGB888) and grey (Format_Grayscale8) it is the
     *  frame's own bytes, with its stride; YUV 4:2:2 and JPEG become Format_RGB32, a grey JPEG
     *  Format_Grayscale8. */
    QImage fImage;
    FrameFault fFault = FrameFault::None;
};

/**
 * Makes pictures of frames that are not to be trusted. It keeps its memory between pictures, and
 * belongs to one thread at a time; the pictures do not depend on it.
 */
class PictureDecoder {
  public:
    /**
     * Checks the frame (see check()) and decodes it: RGB and grey without a copy, YUV 4:2:2 by
     * convertYuv422Row(). A JPEG that is damaged, or ends early, is BadJpeg and not shown in part.
     *
     * @throws std::bad_alloc when there is no memory for the picture
     */
    Picture decode(const KVFrame& frame);

  private:
    QImage xDecodeYuv422(const KVFrame& frame);
    QImage xDecodeJpeg(const KVFrame& frame);
    QImage xMakeImage(const KVFrame& frame, QImage::Format format);

    JpegReader fJpegReader;
    PictureBuffers fBuffers;
};

/**
 * The value of a pixel as the camera sent it: "R 1 G 2 B 3", "Grey 12", "Y 120 Cb 130 Cr 127". For
 * JPEG, which has none, the decoded one.
 *
 * @return empty for a point outside the picture, and when there is none
 */
QString rawText(const Picture& picture, const QPoint& pixel);

}  // namespace cameraviewer

#endif
